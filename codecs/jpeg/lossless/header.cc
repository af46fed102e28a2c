// SPDX-License-Identifier: MIT
#include "codecs/jpeg/lossless/header.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string>

#include "codecs/jpeg/lossless/rows.h"
#include "codecs/jpeg/marker_scan.h"
#include "codecs/jpeg/markers.h"

namespace zepcodec::jpeg::lossless {
namespace {

using jpeg::Hex;

constexpr int kLosslessFrame = 0xC3;
constexpr int kMostInMcu = 10;  // samples

int DivideUp(int value, int divisor) { return (value + divisor - 1) / divisor; }

}  // namespace

bool Frame::IsPlain() const {
  return std::all_of(components.begin(), components.end(), [this](const Component& component) {
    return component.sampling.h == most.h && component.sampling.v == most.v;
  });
}

int64_t Frame::SampleCount() const {
  int64_t count = 0;
  for (const Component& component : components) {
    const auto [h, v] = component.sampling;
    count += int64_t{DivideUp(width * h, most.h)} * DivideUp(height * v, most.v);
  }
  return count;
}

ScanGeometry::ScanGeometry(const Frame& frame, const Scan& scan)
    : mcus_per_row(DivideUp(frame.width, frame.most.h)),
      mcu_rows(DivideUp(frame.height, frame.most.v)) {
  for (const ScanPart& part : scan.parts) {
    mcu.push_back(frame.components[static_cast<size_t>(part.component)].sampling);
  }
  if (scan.parts.size() > 1) return;
  mcus_per_row = DivideUp(frame.width * mcu[0].h, frame.most.h);
  mcu_rows = DivideUp(frame.height * mcu[0].v, frame.most.v);
  mcu[0] = Sampling();
}

Status HeaderReader::FindMarker(int* marker) {
  const size_t found = jpeg::FindMarkerInData(data_, size_, position_);
  if (found == size_) return Status::Error("the file ends where a marker should follow");
  const bool is_padding =
      std::all_of(data_ + position_, data_ + found, [](uint8_t byte) { return byte == 0xFF; });
  if (!is_padding) {
    info_->messages.AddAt(position_,
                          std::to_string(found - position_) + " bytes between segments skipped");
  }
  *marker = data_[found + 1];
  position_ = found + 2;
  return Status();
}

Status HeaderReader::OpenSegment(int marker, Cursor* cursor) {
  Cursor rest{data_ + position_, data_ + size_};
  const int length = rest.Word();
  if (rest.failed || length < 2 || static_cast<size_t>(length) > size_ - position_) {
    return Status::Error("segment " + Hex(marker) + " of length " + std::to_string(length) +
                         " does not fit into the file");
  }
  *cursor = Cursor{rest.next, rest.next + length - 2};
  position_ += static_cast<size_t>(length);
  return Status();
}

Status HeaderReader::NextScan(bool* found) {
  *found = false;
  if (position_ == 0) {
    if (size_ < 2 || data_[0] != 0xFF || data_[1] != jpeg::kSoi) {
      return Status::Error("not a JPEG file: it does not begin with FF D8");
    }
    position_ = 2;
  }
  while (true) {
    int marker = 0;
    if (Status status = FindMarker(&marker); !status.ok()) return status;
    if (marker == jpeg::kEoi) return Status();
    if (!jpeg::HasSegment(marker)) {
      info_->messages.AddAt(position_ - 2, "marker " + Hex(marker) + " out of place, skipped");
      continue;
    }
    Cursor cursor{};
    if (Status status = OpenSegment(marker, &cursor); !status.ok()) return status;
    if (Status status = ReadSegment(marker, cursor); !status.ok()) return status;
    *found = marker == jpeg::kSos;
    if (*found) return Status();
  }
}

Status HeaderReader::ReadSegment(int marker, Cursor cursor) {
  if (jpeg::IsFrame(marker)) return ReadFrame(marker, cursor);
  if ((marker >= jpeg::kApp0 && marker <= jpeg::kApp15) || marker == jpeg::kCom) {
    ReadApplication(marker, cursor);
    return Status();
  }
  switch (marker) {
    case jpeg::kDht: return ReadTables(cursor);
    case jpeg::kSos: return ReadScan(cursor);
    case jpeg::kDri:
      info_->restart_interval = cursor.Word();
      return cursor.failed ? Status::Error("the restart interval is missing") : Status();
    case jpeg::kDqt: return Status();  // of no use here
    default:
      info_->messages.AddAt(position_, "a segment " + Hex(marker) + " is unknown, skipped");
      return Status();
  }
}

Status HeaderReader::ReadFrame(int marker, Cursor cursor) {
  if (marker != kLosslessFrame) {
    return Status::Error("a frame of another process (" + Hex(marker) +
                         ") than lossless with Huffman coding");
  }
  if (!frame_.components.empty()) return Status::Error("a second frame header");
  info_->bits = cursor.Byte();
  info_->height = cursor.Word();
  info_->width = cursor.Word();
  info_->components = cursor.Byte();
  if (cursor.failed || cursor.left() < static_cast<size_t>(3 * info_->components)) {
    return Status::Error("the frame header is too short");
  }
  if (info_->bits < 2 || info_->bits > 16) {
    return Status::Error("samples of " + std::to_string(info_->bits) +
                         " bits; 2 to 16 are defined");
  }
  if (info_->width == 0) return Status::Error("the picture has no width");
  if (info_->height == 0) {
    return Status::Error("the height stands behind the first scan (DNL), which is not supported");
  }
  if (info_->components < 1 || info_->components > kMostComponents) {
    return Status::Error("a picture of " + std::to_string(info_->components) +
                         " components; 1 to 4 can be read");
  }
  return ReadComponents(cursor);
}

Status HeaderReader::ReadComponents(Cursor cursor) {
  Frame frame;
  frame.width = info_->width;
  frame.height = info_->height;
  for (int i = 0; i < info_->components; ++i) {
    Component component{};
    component.id = cursor.Byte();
    const int factors = cursor.Byte();
    cursor.Byte();  // the quantization table, which there is none of
    component.sampling = {factors >> 4, factors & 15};
    // The samples of a single component are all there is, whatever its factors say.
    if (info_->components == 1) component.sampling = Sampling();
    const auto [h, v] = component.sampling;
    if (h < 1 || h > 4 || v < 1 || v > 4) {
      return Status::Error("sampling factors " + std::to_string(h) + " x " + std::to_string(v) +
                           "; 1 to 4 are defined");
    }
    frame.most = {std::max(frame.most.h, h), std::max(frame.most.v, v)};
    frame.components.push_back(component);
  }
  frame_ = frame;
  return Status();
}

Status HeaderReader::ReadTables(Cursor cursor) {
  while (cursor.left() > 0) {
    const int head = cursor.Byte();
    const int slot = head & 15;
    if ((head >> 4) > 1 || slot > 3 || cursor.left() < 16) {
      return Status::Error("a bad Huffman table");
    }
    const uint8_t* bits = cursor.next;
    const size_t count = std::accumulate(bits, bits + 16, size_t{0});
    if (count > 256 || count > cursor.left() - 16) return Status::Error("a bad Huffman table");
    cursor.next += 16 + count;
    if ((head >> 4) == 1) continue;  // for coefficients
    if (zepiDecodeHuffmanSpecInit_JPEG_8u(bits, bits + 16, &tables_[slot]) != zepStatusOk) {
      return Status::Error("a Huffman table with too many codes of a length");
    }
    has_table_[slot] = true;
  }
  return Status();
}

Status HeaderReader::ReadScan(Cursor cursor) {
  if (frame_.components.empty()) return Status::Error("a scan before the frame header");
  scan_ = Scan();
  const int count = cursor.Byte();
  if (count < 1 || count > info_->components) return Status::Error("a bad scan header");
  for (int i = 0; i < count; ++i) {
    if (Status status = ReadScanPart(&cursor); !status.ok()) return status;
  }
  scan_.predictor = cursor.Byte();
  cursor.Byte();  // the end of the band, which there is none of
  scan_.point_transform = cursor.Byte() & 15;
  if (cursor.failed) return Status::Error("the scan header is too short");
  info_->predictor = scan_.predictor;
  info_->point_transform = scan_.point_transform;
  return CheckScan();
}

Status HeaderReader::ReadScanPart(Cursor* cursor) {
  const int id = cursor->Byte();
  const int slot = cursor->Byte() >> 4;
  // Where two components have the same name, each part takes the next one.
  const std::vector<Component>& components = frame_.components;
  const auto is_meant = [&](const Component& candidate) {
    const int index = static_cast<int>(&candidate - components.data());
    return candidate.id == id &&
           std::none_of(scan_.parts.begin(), scan_.parts.end(),
                        [&](const ScanPart& p) { return p.component == index; });
  };
  const auto found = std::find_if(components.begin(), components.end(), is_meant);
  if (cursor->failed || found == components.end() || slot > 3 || !has_table_[slot]) {
    return Status::Error("a scan of an unknown component or with an unknown Huffman table");
  }
  scan_.parts.push_back({static_cast<int>(found - components.begin()), &tables_[slot]});
  return Status();
}

Status HeaderReader::CheckScan() const {
  if (scan_.predictor < 1 || scan_.predictor > 7) {
    return Status::Error("predictor " + std::to_string(scan_.predictor) + "; 1 to 7 are defined");
  }
  if (scan_.point_transform >= info_->bits) {
    return Status::Error("a point transform by " + std::to_string(scan_.point_transform) +
                         " leaves nothing of " + std::to_string(info_->bits) + " bits");
  }
  const ScanGeometry geometry(frame_, scan_);
  int samples = 0;
  for (const Sampling& sampling : geometry.mcu) samples += sampling.h * sampling.v;
  if (scan_.parts.size() > 1 && samples > kMostInMcu) {
    return Status::Error("more than " + std::to_string(kMostInMcu) + " samples in an MCU");
  }
  if (info_->restart_interval % geometry.mcus_per_row != 0) {
    return Status::Error("a restart interval of " + std::to_string(info_->restart_interval) +
                         " MCUs is not made of whole rows");
  }
  return Status();
}

void HeaderReader::ReadApplication(int marker, const Cursor& cursor) {
  const size_t size = cursor.left();
  jpeg::SavedSegments& metadata = info_->metadata;
  if (marker == jpeg::kApp0 && size >= 12 && std::memcmp(cursor.next, "JFIF", 5) == 0) {
    const uint8_t* density = cursor.next + 7;
    metadata.density = {density[0], density[1] << 8 | density[2], density[3] << 8 | density[4]};
  } else if (marker == jpeg::kApp14 && size >= 12 && std::memcmp(cursor.next, "Adobe", 5) == 0) {
    info_->adobe_transform = cursor.next[11];
  } else if (metadata.segments.size() < jpeg::kMostSegments) {
    metadata.segments.push_back({marker, {cursor.next, cursor.end}});
  } else {
    info_->messages.AddAt(position_, "too many application segments, dropped");
  }
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  *info = FileInfo();
  bool found = false;
  Status status = HeaderReader(data, size, info).NextScan(&found);
  if (status.ok() && !found) return Status::Error("the file holds no picture");
  return status;
}

bool IsLosslessJpeg(const uint8_t* data, size_t size) {
  size_t at = 0;
  if (size < 2 || data[0] != 0xFF || data[1] != jpeg::kSoi) return false;
  for (at = 2; size - at >= 4;) {
    at = jpeg::FindMarkerInData(data, size, at);
    if (size - at < 4) return false;
    const int marker = data[at + 1];
    if (jpeg::IsFrame(marker)) return marker == kLosslessFrame;
    at += 2;
    if (!jpeg::HasSegment(marker)) continue;
    const auto length = static_cast<size_t>(data[at] << 8 | data[at + 1]);
    if (length > size - at) return false;
    at += length;
  }
  return false;
}

}  // namespace zepcodec::jpeg::lossless
