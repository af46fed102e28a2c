// SPDX-License-Identifier: MIT
#include "codecs/jpeg/marker_reader.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "codecs/jpeg/marker_scan.h"
#include "codecs/jpeg/markers.h"
#include "codecs/jpeg/standard_tables.h"

namespace zepcodec::jpeg {
namespace {

const char* UnsupportedProcess(int marker) {
  switch (marker) {
    case 0xC3: return "lossless";
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

Status MarkerReader::OpenSegment(Cursor* cursor) {
  Cursor rest{data_ + position_, data_ + size_};
  const int length = rest.Word();
  if (rest.failed || length < 2 || static_cast<size_t>(length) > size_ - position_) {
    return Status::Error("segment " + Hex(data_[marker_offset_ + 1]) + " of length " +
                         std::to_string(length) + " does not fit into the file");
  }
  *cursor = Cursor{rest.next, rest.next + length - 2};
  position_ += static_cast<size_t>(length);
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
      messages_->AddAt(marker_offset_, "marker " + Hex(marker) + " out of place, skipped");
      continue;
    }
    if (const char* process = UnsupportedProcess(marker)) {
      return Status::Error(std::string(process) + " JPEG (" + Hex(marker) +
                           "): only baseline and progressive pictures can be read");
    }
    Cursor cursor{};
    if (Status status = OpenSegment(&cursor); !status.ok()) return status;
    if (Status status = ReadSegment(marker, cursor); !status.ok()) return status;
    if (IsFrame(marker) || marker == kSos) {
      *event = marker == kSos ? Event::kScan : Event::kFrame;
      return Status();
    }
  }
}

Status MarkerReader::ReadSegment(int marker, Cursor cursor) {
  if (IsFrame(marker)) return ReadFrame(marker, cursor);
  if ((marker >= kApp0 && marker <= kApp15) || marker == kCom) {
    ReadApplication(marker, cursor);
    return Status();
  }
  switch (marker) {
    case kDqt: return ReadQuantization(cursor);
    case kDht: return ReadHuffman(cursor);
    case kSos: return ReadScan(cursor);
    case kDri:
      restart_interval_ = cursor.Word();
      return cursor.failed ? Status::Error("the restart interval is missing") : Status();
    case kDnl: return Status();  // was looked for when the frame was read
    default:
      messages_->AddAt(marker_offset_, "segment " + Hex(marker) + " is unknown, skipped");
      return Status();
  }
}

Status MarkerReader::ReadFrame(int marker, Cursor cursor) {
  if (!frame_.components.empty()) return Status::Error("a second frame header");
  const int precision = cursor.Byte();
  frame_.is_progressive = marker == kSof2;
  frame_.precision = precision;
  frame_.height = cursor.Word();
  frame_.width = cursor.Word();
  const int count = cursor.Byte();
  if (cursor.failed || cursor.left() < static_cast<size_t>(3 * count)) {
    return Status::Error("the frame header is too short");
  }
  if (precision != 8 && (precision != 12 || marker == kSof0)) {
    return Status::Error(std::to_string(precision) + "-bit JPEG (" + Hex(marker) +
                         "): only pictures of 8 bits, and extended ones of 12, can be read");
  }
  if (frame_.height == 0) frame_.height = FindLineCount();
  if (frame_.width == 0 || frame_.height == 0)
    return Status::Error("the picture has no width or no height");
  if (count != 1 && count != 3 && count != 4) {
    return Status::Error("a picture of " + std::to_string(count) +
                         " components; 1, 3 or 4 can be read");
  }
  return ReadComponents(count, &cursor);
}

Status MarkerReader::ReadComponents(int count, Cursor* cursor) {
  for (int i = 0; i < count; ++i) {
    FrameComponent component{};
    component.id = cursor->Byte();
    const int sampling = cursor->Byte();
    component.h = sampling >> 4;
    component.v = sampling & 15;
    component.quant_table = cursor->Byte();
    if (component.h < 1 || component.h > 4 || component.v < 1 || component.v > 4 ||
        component.quant_table >= kTableCount) {
      frame_.components.clear();
      return Status::Error("component " + std::to_string(component.id) +
                           " has a bad sampling factor or quantization table");
    }
    // The samples of a single component are all there is, whatever its factors say.
    if (count == 1) component.h = component.v = 1;
    frame_.max_h = std::max(frame_.max_h, component.h);
    frame_.max_v = std::max(frame_.max_v, component.v);
    frame_.components.push_back(component);
  }
  return Status();
}

Status MarkerReader::ReadScan(Cursor cursor) {
  if (frame_.components.empty()) return Status::Error("a scan before the frame header");
  const int count = cursor.Byte();
  if (cursor.failed || count < 1 || count > 4 || cursor.left() < static_cast<size_t>(2 * count)) {
    return Status::Error("a bad scan header");
  }
  if (Status status = ReadScanComponents(count, &cursor); !status.ok()) return status;
  if (Status status = ReadBand(&cursor); !status.ok()) return status;
  if (!saw_huffman_) UseStandardHuffman();
  return Status();
}

Status MarkerReader::ReadBand(Cursor* cursor) {
  scan_.first = cursor->Byte();
  scan_.last = cursor->Byte();
  const int approximation = cursor->Byte();
  scan_.high = approximation >> 4;
  scan_.low = approximation & 15;
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

Status MarkerReader::ReadScanComponents(int count, Cursor* cursor) {
  scan_.components.clear();
  int blocks = 0;
  for (int i = 0; i < count; ++i) {
    const int id = cursor->Byte();
    const int table = cursor->Byte();
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
    blocks += found->h * found->v;
  }
  if (count > 1 && blocks > 10) return Status::Error("more than 10 blocks in an MCU");
  return Status();
}

Status MarkerReader::ReadQuantization(Cursor cursor) {
  while (cursor.left() > 0) {
    const int head = cursor.Byte();
    const int slot = head & 15;
    const bool wide = (head >> 4) == 1;
    if ((head >> 4) > 1 || slot >= kTableCount || cursor.left() < (wide ? 128u : 64u)) {
      return Status::Error("a bad quantization table");
    }
    uint16_t* steps = tables_.quant[slot];
    if (wide) {  // steps beyond 255: no raw table of the library
      for (const uint8_t place : kZigzag) steps[place] = static_cast<uint16_t>(cursor.Word());
    } else {
      zepiQuantInvTableInit_JPEG_8u16u(cursor.next, steps);
      cursor.next += 64;
    }
    tables_.has_quant[slot] = true;
  }
  return Status();
}

Status MarkerReader::ReadHuffman(Cursor cursor) {
  saw_huffman_ = true;
  while (cursor.left() > 0) {
    const int head = cursor.Byte();
    const int slot = head & 15;
    if ((head >> 4) > 1 || slot >= kTableCount || cursor.left() < 16) {
      return Status::Error("a bad Huffman table");
    }
    const uint8_t* bits = cursor.next;
    const size_t symbol_count = std::accumulate(bits, bits + 16, size_t{0});
    if (symbol_count > 256 || symbol_count > cursor.left() - 16)
      return Status::Error("a bad Huffman table");
    const bool is_ac = (head >> 4) == 1;
    zepiDecodeHuffmanSpec* spec = is_ac ? &tables_.ac[slot] : &tables_.dc[slot];
    const zepStatus status = zepiDecodeHuffmanSpecInit_JPEG_8u(bits, bits + 16, spec);
    if (status != zepStatusOk)
      return Status::Error("a Huffman table with too many codes of a length");
    (is_ac ? tables_.has_ac : tables_.has_dc)[slot] = true;
    cursor.next += 16 + symbol_count;
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

void MarkerReader::ReadApplication(int marker, Cursor cursor) {
  const size_t size = cursor.left();
  if (marker == kApp0 && size >= 12 && std::memcmp(cursor.next, "JFIF", 5) == 0) {
    has_jfif_ = true;
    cursor.next += 7;  // name and version
    metadata_.density.unit = cursor.Byte();
    metadata_.density.x = cursor.Word();
    metadata_.density.y = cursor.Word();
    return;
  }
  if (marker == kApp14 && size >= 12 && std::memcmp(cursor.next, "Adobe", 5) == 0) {
    adobe_transform_ = cursor.next[11];
    return;
  }
  if (metadata_.segments.size() == kMostSegments) {
    messages_->AddAt(marker_offset_, "too many application segments, dropped");
    return;
  }
  metadata_.segments.push_back({marker, {cursor.next, cursor.end}});
}

int MarkerReader::FindLineCount() const {
  size_t from = position_;
  bool in_scan = false;
  while (true) {
    from = FindMarkerInData(data_, size_, from);
    if (size_ - from < 4) return 0;
    const int marker = data_[from + 1];
    if (marker == kDnl && size_ - from >= 6) return data_[from + 4] << 8 | data_[from + 5];
    if (in_scan && !IsRestart(marker)) return 0;
    from += 2;
    if (!HasSegment(marker)) continue;
    from += static_cast<size_t>(data_[from] << 8 | data_[from + 1]);
    if (from >= size_) return 0;
    in_scan = marker == kSos;
  }
}

}  // namespace zepcodec::jpeg
