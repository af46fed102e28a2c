// SPDX-License-Identifier: MIT
#include "codecs/jpeg/markers/marker_reader.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "codecs/jpeg/markers/marker_walk.h"
#include "codecs/jpeg/markers/markers.h"
#include "codecs/jpeg/markers/standard_tables.h"

namespace zepcodec::jpeg {
namespace {

const char* UnsupportedProcess(int marker) {
  switch (marker) {
    case 0xC9: return "arithmetic-coded sequential";
    case 0xCA: return "arithmetic-coded progressive";
    case 0xCB: return "arithmetic-coded lossless";
    case 0xC5:
    case 0xC6:
    case 0xC7:
    case 0xCD:
    case 0xCE:
    case 0xCF:
    case 0xDE:
    case 0xDF: return "hierarchical";
    case 0xF7: return "JPEG-LS";
    default: return nullptr;
  }
}

}  // namespace

MarkerReader::MarkerReader(const uint8_t* data, size_t size, Messages* messages)
    : data_(data), size_(size), messages_(messages) {}

Status MarkerReader::Start() {
  if (size_ < 2 || data_[0] != 0xFF || data_[1] != kSoi) {
    return Status::Error("not a JPEG file: it does not begin with FF D8");
  }
  position_ = 2;
  return Status();
}

Status MarkerReader::FindMarker(int* marker) {
  const size_t found = FindMarkerInData(data_, size_, position_);
  marker_offset_ = found;
  if (found == size_) return Status::Error("the file ends where a marker should follow");
  const auto is_padding = [](uint8_t byte) { return byte == 0xFF; };
  if (!std::all_of(data_ + position_, data_ + found, is_padding)) {
    const std::string count = std::to_string(found - position_);
    messages_->AddAt(position_, count + " bytes between segments skipped");
  }
  *marker = data_[found + 1];
  position_ = found + 2;
  return Status();
}

Status MarkerReader::OpenSegment(ByteReader* segment) {
  ByteReader rest = ByteReader(data_, size_).At(position_);
  const int length = rest.Word();
  if (rest.failed() || length < 2 || static_cast<size_t>(length) - 2 > rest.left()) {
    return Status::Error("segment " + MarkerName(data_[marker_offset_ + 1]) + " of length " +
                         std::to_string(length) + " does not fit into the file");
  }
  *segment = rest.Take(static_cast<size_t>(length) - 2);
  position_ = rest.position();
  return Status();
}

Status MarkerReader::Next(Event* event) {
  if (position_ == 0) {
    if (Status status = Start(); !status.ok()) return status;
  }
  while (true) {
    int marker = 0;
    if (Status status = FindMarker(&marker); !status.ok()) return status;
    if (marker == kEoi) {
      *event = Event::kEnd;
      return Status();
    }
    if (!HasSegment(marker)) {
      messages_->AddAt(marker_offset_, "marker " + MarkerName(marker) + " out of place, skipped");
      continue;
    }
    if (const char* process = UnsupportedProcess(marker)) {
      return Status::Error(std::string(process) + " JPEG (" + MarkerName(marker) +
                           "): only baseline, progressive and lossless pictures can be read");
    }
    ByteReader segment;
    if (Status status = OpenSegment(&segment); !status.ok()) return status;
    if (Status status = ReadSegment(marker, segment); !status.ok()) return status;
    if (IsFrame(marker) || marker == kSos) {
      *event = marker == kSos ? Event::kScan : Event::kFrame;
      return Status();
    }
  }
}

Status MarkerReader::ReadSegment(int marker, ByteReader segment) {
  if (IsFrame(marker)) return ReadFrame(marker, segment);
  if ((marker >= kApp0 && marker <= kApp15) || marker == kCom) {
    ReadApplication(marker, segment);
    return Status();
  }
  switch (marker) {
    case kDqt: return ReadQuantization(segment);
    case kDht: return ReadHuffman(segment);
    case kSos: return ReadScan(segment);
    case kDri:
      restart_interval_ = segment.Word();
      return segment.failed() ? Status::Error("the restart interval is missing") : Status();
    case kDnl: return Status();  // FindLineCount() has read it
    default:
      messages_->AddAt(marker_offset_, "segment " + MarkerName(marker) + " is unknown, skipped");
      return Status();
  }
}

Status MarkerReader::ReadFrame(int marker, ByteReader segment) {
  if (!frame_.components.empty()) return Status::Error("a second frame header");
  frame_.is_progressive = marker == kSof2;
  frame_.is_lossless = marker == kSof3;
  frame_.precision = segment.Byte();
  frame_.height = segment.Word();
  frame_.width = segment.Word();
  const int count = segment.Byte();
  if (segment.failed() || segment.left() < static_cast<size_t>(3 * count)) {
    return Status::Error("the frame header is too short");
  }
  if (frame_.height == 0) frame_.height = FindLineCount();
  if (Status status = CheckFrame(marker, count); !status.ok()) return status;
  return ReadComponents(count, &segment);
}

Status MarkerReader::CheckFrame(int marker, int components) {
  const int bits = frame_.precision;
  if (frame_.is_lossless && (bits < 2 || bits > 16)) {
    return Status::Error("samples of " + std::to_string(bits) + " bits; 2 to 16 are defined");
  }
  if (!frame_.is_lossless && bits != 8 && (bits != 12 || marker == kSof0)) {
    return Status::Error(std::to_string(bits) + "-bit JPEG (" + MarkerName(marker) +
                         "): only pictures of 8 bits, and extended ones of 12, can be read");
  }
  if (frame_.width == 0 || frame_.height == 0) {
    return Status::Error("the picture has no width or no height");
  }
  if (components < 1 || components > 4) {
    return Status::Error("a picture of " + std::to_string(components) +
                         " components; 1 to 4 can be read");
  }
  return Status();
}

Status MarkerReader::ReadComponents(int count, ByteReader* segment) {
  for (int i = 0; i < count; ++i) {
    FrameComponent component{};
    component.id = segment->Byte();
    const int sampling = segment->Byte();
    component.h = sampling >> 4;
    component.v = sampling & 15;
    component.quant_table = segment->Byte();
    if (component.h < 1 || component.h > 4 || component.v < 1 || component.v > 4 ||
        (!frame_.is_lossless && component.quant_table >= kTableCount)) {
      frame_.components.clear();
      return Status::Error("component " + std::to_string(component.id) +
                           " has a bad sampling factor or quantization table");
    }
    // The sampling factors of a single component have no meaning.
    if (count == 1) component.h = component.v = 1;
    frame_.max_h = std::max(frame_.max_h, component.h);
    frame_.max_v = std::max(frame_.max_v, component.v);
    frame_.components.push_back(component);
  }
  return Status();
}

Status MarkerReader::ReadScan(ByteReader segment) {
  if (frame_.components.empty()) return Status::Error("a scan before the frame header");
  const int count = segment.Byte();
  if (segment.failed() || count < 1 || count > 4 ||
      segment.left() < static_cast<size_t>(2 * count)) {
    return Status::Error("a bad scan header");
  }
  if (Status status = ReadScanComponents(count, &segment); !status.ok()) return status;
  if (Status status = ReadBand(&segment); !status.ok()) return status;
  if (!saw_huffman_ && !frame_.is_lossless) UseStandardHuffman();
  return Status();
}

Status MarkerReader::ReadBand(ByteReader* segment) {
  scan_.first = segment->Byte();
  scan_.last = segment->Byte();
  const int approximation = segment->Byte();
  scan_.high = approximation >> 4;
  scan_.low = approximation & 15;
  if (segment->failed()) return Status::Error("the scan header is too short");
  if (frame_.is_lossless) return CheckLosslessScan();
  if (frame_.is_progressive) {
    const bool is_dc = scan_.first == 0 && scan_.last == 0;
    const bool is_band = scan_.first >= 1 && scan_.first <= scan_.last && scan_.last <= 63 &&
                         scan_.components.size() == 1;
    const bool is_step = scan_.high == 0 || scan_.high == scan_.low + 1;
    if ((is_dc || is_band) && is_step && scan_.low <= 13) return Status();
    return Status::Error("a scan header that progressive JPEG does not have");
  }
  if (scan_.first != 0 || scan_.last != 63 || approximation != 0) {
    messages_->AddAt(marker_offset_, "the scan header is not that of a baseline scan; read as one");
    scan_.first = scan_.high = scan_.low = 0;
    scan_.last = 63;
  }
  return Status();
}

Status MarkerReader::CheckLosslessScan() const {
  if (scan_.predictor() < 1 || scan_.predictor() > 7) {
    return Status::Error("predictor " + std::to_string(scan_.predictor()) + "; 1 to 7 are defined");
  }
  if (scan_.point_transform() >= frame_.precision) {
    return Status::Error("a point transform by " + std::to_string(scan_.point_transform()) +
                         " leaves nothing of " + std::to_string(frame_.precision) + " bits");
  }
  return Status();
}

Status MarkerReader::ReadScanComponents(int count, ByteReader* segment) {
  scan_.components.clear();
  int units = 0;  // blocks, or samples
  for (int i = 0; i < count; ++i) {
    const int id = segment->Byte();
    const int table = segment->Byte();
    const auto is_meant = [&](const FrameComponent& component) {
      const int index = static_cast<int>(&component - frame_.components.data());
      const auto same = [&](const ScanComponent& other) { return other.index == index; };
      return component.id == id &&
             std::none_of(scan_.components.begin(), scan_.components.end(), same);
    };
    const auto found = std::find_if(frame_.components.begin(), frame_.components.end(), is_meant);
    if (found == frame_.components.end() || (table >> 4) >= kTableCount ||
        (table & 15) >= kTableCount) {
      return Status::Error("a scan of an unknown component or with an unknown Huffman table");
    }
    const int index = static_cast<int>(found - frame_.components.begin());
    scan_.components.push_back({index, table >> 4, table & 15});
    units += found->h * found->v;
  }
  if (count > 1 && units > 10) {
    return Status::Error(std::string("more than 10 ") +
                         (frame_.is_lossless ? "samples" : "blocks") + " in an MCU");
  }
  return Status();
}

Status MarkerReader::ReadQuantization(ByteReader segment) {
  while (segment.left() > 0) {
    const int head = segment.Byte();
    const int slot = head & 15;
    const bool wide = (head >> 4) == 1;
    if ((head >> 4) > 1 || slot >= kTableCount || segment.left() < (wide ? 128u : 64u)) {
      return Status::Error("a bad quantization table");
    }
    uint16_t* steps = tables_.quant[slot];
    if (wide) {  // steps of 16 bits, which the library does not reorder
      for (const uint8_t place : kZigzag) steps[place] = static_cast<uint16_t>(segment.Word());
    } else {
      zepiQuantInvTableInit_JPEG_8u16u(segment.next(), steps);
      segment.Skip(64);
    }
    tables_.has_quant[slot] = true;
  }
  return Status();
}

Status MarkerReader::ReadHuffman(ByteReader segment) {
  saw_huffman_ = true;
  while (segment.left() > 0) {
    const int head = segment.Byte();
    const int slot = head & 15;
    if ((head >> 4) > 1 || slot >= kTableCount || segment.left() < 16) {
      return Status::Error("a bad Huffman table");
    }
    const uint8_t* bits = segment.next();
    const size_t symbol_count = std::accumulate(bits, bits + 16, size_t{0});
    if (symbol_count > 256 || symbol_count > segment.left() - 16)
      return Status::Error("a bad Huffman table");
    const bool is_ac = (head >> 4) == 1;
    zepiDecodeHuffmanSpec* spec = is_ac ? &tables_.ac[slot] : &tables_.dc[slot];
    const zepStatus status = zepiDecodeHuffmanSpecInit_JPEG_8u(bits, bits + 16, spec);
    if (status != zepStatusOk)
      return Status::Error("a Huffman table with too many codes of a length");
    (is_ac ? tables_.has_ac : tables_.has_dc)[slot] = true;
    segment.Skip(16 + symbol_count);
  }
  return Status();
}

// Frames of Motion JPEG leave the tables out.
void MarkerReader::UseStandardHuffman() {
  messages_->AddAt(marker_offset_, "no Huffman tables in the file: the standard's are used");
  saw_huffman_ = true;
  for (int i = 0; i < 2; ++i) {
    const HuffmanList& dc = kDcHuffman[i];
    const HuffmanList& ac = kAcHuffman[i];
    zepiDecodeHuffmanSpecInit_JPEG_8u(dc.bits.data(), dc.symbols, &tables_.dc[i]);
    zepiDecodeHuffmanSpecInit_JPEG_8u(ac.bits.data(), ac.symbols, &tables_.ac[i]);
    tables_.has_dc[i] = tables_.has_ac[i] = true;
  }
}

void MarkerReader::ReadApplication(int marker, ByteReader segment) {
  const size_t size = segment.left();
  const uint8_t* const bytes = segment.next();
  if (marker == kApp0 && size >= 12 && std::memcmp(bytes, "JFIF", 5) == 0) {
    has_jfif_ = true;
    segment.Skip(7);  // name and version
    metadata_.density.unit = segment.Byte();
    metadata_.density.x = segment.Word();
    metadata_.density.y = segment.Word();
    return;
  }
  if (marker == kApp14 && size >= 12 && std::memcmp(bytes, "Adobe", 5) == 0) {
    adobe_transform_ = bytes[11];
    return;
  }
  if (metadata_.segments.size() == kMostSegments) {
    messages_->AddAt(marker_offset_, "too many application segments, dropped");
    return;
  }
  metadata_.segments.push_back({marker, {bytes, bytes + size}, marker_offset_});
}

int MarkerReader::FindLineCount() const {
  bool in_scan = false;
  for (MarkerWalk walk(data_, size_, position_); walk.Next();) {
    ByteReader segment = walk.segment();
    if (walk.marker() == kDnl) return segment.Word();
    if (in_scan && !IsRestart(walk.marker())) return 0;
    if (HasSegment(walk.marker())) in_scan = walk.marker() == kSos;
  }
  return 0;
}

Status MarkerReader::AtMarker(const Status& status) const {
  if (status.kind() != Status::Kind::kError) return status;
  return Status::Error("byte " + std::to_string(marker_offset_) + ": " + status.text());
}

}  // namespace zepcodec::jpeg
