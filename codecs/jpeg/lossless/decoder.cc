// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <string>

#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpeg/lossless/header.h"
#include "codecs/jpeg/lossless/rows.h"
#include "codecs/jpeg/lossless/scan_decoder.h"

namespace zepcodec::jpeg::lossless {
namespace {

class Decoder {
 public:
  Decoder(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
          FileInfo* info)
      : data_(data),
        size_(size),
        options_(options),
        picture_(picture),
        info_(info),
        reader_(data, size, info) {}

  Status Decode() {
    bool found = false;
    if (Status status = reader_.NextScan(&found); !status.ok()) return status;
    if (!found) return Status::Error("the file holds no picture");
    if (Status status = MakePicture(); !status.ok()) return status;
    while (found && !IsRepeated()) {
      if (Status status = DecodeScan(); !status.ok()) return status;
      // Behind the last component nothing is missed.
      if (std::count(decoded_.begin(), decoded_.end(), true) == info_->components) break;
      if (Status status = reader_.NextScan(&found); !status.ok()) {
        info_->messages.AddAt(reader_.position(), status.text());
        break;
      }
    }
    FillMissing();
    return Status();
  }

 private:
  Status MakePicture() {
    const int64_t pixels = int64_t{info_->width} * info_->height;
    const std::string claim =
        std::to_string(info_->width) + " x " + std::to_string(info_->height) + " pixels";
    if (pixels > options_.max_pixels) {
      return Status::TooLarge("the header announces " + claim + ", more than the limit of " +
                              std::to_string(options_.max_pixels));
    }
    const int64_t bits = 8 * static_cast<int64_t>(size_ - reader_.position());
    if (reader_.frame().SampleCount() > std::max(bits, kAlwaysAcceptedSamples)) {
      return Status::Error("the file is too small for the " + claim + " that it announces");
    }
    const bool done =
        picture_->Resize(info_->width, info_->height,
                         LayoutOfComponents(static_cast<size_t>(info_->components)), info_->bits);
    return done ? Status() : Status::NoMemory();
  }

  bool IsRepeated() {
    for (const ScanPart& part : reader_.scan().parts) {
      if (!decoded_[static_cast<size_t>(part.component)]) continue;
      info_->messages.AddAt(reader_.position(), "a second scan of a component, not read");
      return true;
    }
    return false;
  }

  Status DecodeScan() {
    ScanDecoder scan(data_, size_, reader_.position(), reader_.frame(), reader_.scan(), picture_,
                     info_);
    if (Status status = scan.Decode(options_.progress); !status.ok()) return status;
    for (const ScanPart& part : reader_.scan().parts) {
      decoded_[static_cast<size_t>(part.component)] = true;
    }
    reader_.Seek(scan.end());
    return Status();
  }

  void FillMissing() {
    const Row grey(static_cast<size_t>(info_->width), static_cast<int16_t>(1 << (info_->bits - 1)));
    const Row* const rows[kMostComponents] = {&grey};
    for (int c = 0; c < info_->components; ++c) {
      if (decoded_[static_cast<size_t>(c)]) continue;
      info_->messages.Add("component " + std::to_string(c) + " is missing");
      for (int y = 0; y < info_->height; ++y) JoinRows(rows, 1, 0, c, y, picture_);
    }
  }

  const uint8_t* data_;
  size_t size_;
  const DecodeOptions& options_;
  Picture* picture_;
  FileInfo* info_;
  HeaderReader reader_;
  std::array<bool, kMostComponents> decoded_{};
};

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
              FileInfo* info) {
  *info = FileInfo();
  return Decoder(data, size, options, picture, info).Decode();
}

int64_t MemoryNeed(const FileInfo& info) {
  constexpr int64_t kOther = 1 << 16;        // tables, messages
  constexpr int64_t kBytesForInterval = 96;  // lists of markers and of intervals, as vectors grow
  constexpr int64_t kRows = 6;  // of each component: those of an MCU, the one above, one for all
  constexpr int64_t kBytesForSegment = 64;
  const int64_t width = info.width, height = info.height, components = info.components;
  int64_t bytes = width * height * components * (info.bits > 8 ? 2 : 1);
  bytes += (width + 4) * kRows * components * int64_t{sizeof(int16_t)};
  if (info.restart_interval > 0) bytes += height * kBytesForInterval;
  for (const jpeg::Segment& segment : info.metadata.segments) {
    bytes += 2 * static_cast<int64_t>(segment.data.size()) + kBytesForSegment;
  }
  return bytes + kOther;
}

}  // namespace zepcodec::jpeg::lossless
