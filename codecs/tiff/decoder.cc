// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>
#include <string>

#include "codecs/tiff/codec.h"
#include "codecs/tiff/directory.h"
#include "zepjp.h"

namespace zepcodec::tiff {
namespace {

constexpr bool kIsBigEndianMachine = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
constexpr size_t kUselessBytes = 64;  // that a strip may have besides its packets

constexpr int kRowsAtOnce = 64;  // that are handed out, or fewer

// The rows of a band, from the first one in a strip on. The channels of planar files are in several
// strips, which are loaded for the whole band.
int RowsInBand(const FileInfo& info, bool gives_rows) {
  const int most = gives_rows && !info.is_planar ? kRowsAtOnce : info.strip_rows;
  return std::min(most, info.strip_rows);
}

class Decoder {
 public:
  Decoder(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
          FileInfo* info)
      : data_(data), size_(size), options_(options), picture_(picture), info_(info) {}

  Status Decode() {
    Status status = ReadDirectory(data_, size_, info_, &strips_);
    if (status.ok()) status = Check();
    if (status.ok()) status = options_.region.In(info_->width, info_->height, &region_);
    if (status.ok()) status = MakeMemory();
    const int end = region_.y + region_.height;
    const int strip_rows = info_->strip_rows;
    for (int y = region_.y; y < end && status.ok();) {
      if (Stops(options_.progress, y - region_.y, region_.height)) return Status::Cancelled();
      const int strip = y / strip_rows;
      const int strip_end = strip == (end - 1) / strip_rows ? end : (strip + 1) * strip_rows;
      status = DecodeStrip(strip, y, strip_end);
      y = strip_end;
    }
    return status;
  }

 private:
  Status Check() const {
    const int64_t pixels = int64_t{info_->width} * info_->height;
    const std::string claim =
        std::to_string(info_->width) + " x " + std::to_string(info_->height) + " pixels";
    if (pixels > options_.max_pixels) {
      return Status::TooLarge("the directory announces " + claim + ", more than the limit of " +
                              std::to_string(options_.max_pixels));
    }
    const int64_t most = static_cast<int64_t>(size_) * kMostExpansion;
    const int64_t bytes_in_pixel = int64_t{info_->channels} * info_->bits / 8;
    if (pixels > std::max(most, kAlwaysAcceptedBytes) / bytes_in_pixel) {
      return Status::Error("the file is too small for the " + claim + " that it announces");
    }
    return Status();
  }

  Status MakeMemory() {
    const bool done = row_.Resize(RowSize()) &&
                      (options_.rows != nullptr || MakePicture(region_.height, picture_));
    return done ? Status() : Status::NoMemory();
  }

  bool MakePicture(int height, Picture* picture) const {
    return picture->Resize(region_.width, height, LayoutWithChannels(info_->channels), info_->bits);
  }

  // Rows of the picture from `begin` up to but excluding `end`, which lie in a row of strips.
  Status DecodeStrip(int strip, int begin, int end) {
    const int planes = info_->is_planar ? info_->channels : 1;
    const int per_plane = (info_->height - 1) / info_->strip_rows + 1;
    const int first = strip * info_->strip_rows;
    const int rows = std::min(info_->strip_rows, info_->height - first);
    const int at_once = RowsInBand(*info_, options_.rows != nullptr);
    for (int y = begin; y < end; y += at_once) {
      const int band_end = std::min(y + at_once, end);
      if (options_.rows != nullptr && !MakePicture(band_end - y, &band_)) {
        return Status::NoMemory();
      }
      for (int plane = 0; plane < planes; ++plane) {
        if (info_->is_planar || y == begin) {
          const auto index = static_cast<size_t>(plane) * static_cast<size_t>(per_plane) +
                             static_cast<size_t>(strip);
          if (Status status = LoadStrip(index, rows); !status.ok()) return status;
        }
        for (int row = y; row < band_end; ++row) {
          uint8_t* const out =
              options_.rows != nullptr ? band_.Row(row - y) : picture_->Row(row - region_.y);
          TakeRow(strip_ + static_cast<size_t>(row - first) * RowSize(), plane, out);
        }
      }
      if (options_.rows == nullptr) continue;
      if (Status status = options_.rows->Take(band_, y - region_.y); !status.ok()) return status;
    }
    return Status();
  }

  // Of a strip.
  size_t SamplesInPixel() const {
    return info_->is_planar ? 1 : static_cast<size_t>(info_->channels);
  }
  size_t SamplesInStripRow() const { return static_cast<size_t>(info_->width) * SamplesInPixel(); }
  // Bytes of a row of a strip.
  size_t RowSize() const { return SamplesInStripRow() * static_cast<size_t>(info_->bits / 8); }

  // Sets strip_ to the bytes of its rows.
  Status LoadStrip(size_t index, int rows) {
    const size_t wanted = RowSize() * static_cast<size_t>(rows);
    const size_t offset = index < strips_.offsets.size() ? strips_.offsets[index] : SIZE_MAX;
    const size_t left = offset < size_ ? size_ - offset : 0;
    // Some old programs leave out the sizes.
    size_t there = index < strips_.sizes.size() ? strips_.sizes[index] : left;
    if (there > left) there = left;
    const bool is_packed = info_->compression == Compression::kPackBits;
    if (!is_packed && there >= wanted) {
      strip_ = data_ + offset;
      return Status();
    }
    if (wanted > INT32_MAX) return Status::Error("strips of more than 2^31 bytes");
    if (!buffer_.Resize(wanted)) return Status::NoMemory();
    strip_ = buffer_.data();
    std::memset(buffer_.data(), 0, wanted);
    if (!is_packed) {
      if (there > 0) std::memcpy(buffer_.data(), data_ + offset, there);
      ReportLoss(index);
      return Status();
    }
    // Packets should end with their row; some programs let them end with the strip.
    auto used =
        static_cast<int32_t>(std::min<size_t>(std::min(there, MostPacked(wanted)), INT32_MAX));
    const zepStatus status =
        used == 0 ? zepStatusUnpackBitsOverrun
                  : zepiUnpackBitsRow_TIFF_8u_C1(data_ + offset, &used, buffer_.data(),
                                                 static_cast<int32_t>(wanted));
    if (status != zepStatusOk) ReportLoss(index);
    return Status();
  }

  // The longest sensible packing has a packet for each byte, two bytes for one. Packets that stand
  // for no bytes can make it longer. Without a limit all strips could share one long run of those,
  // and decoding would take quadratic time.
  static size_t MostPacked(size_t bytes) { return 2 * bytes + kUselessBytes; }

  void ReportLoss(size_t index) {
    const size_t offset = index < strips_.offsets.size() ? strips_.offsets[index] : size_;
    info_->messages.AddAt(offset, Place("strip", index), "damaged or incomplete");
  }

  // Copies the region's part of a row of a strip, in the machine's byte order.
  void TakeRow(const uint8_t* in, int plane, uint8_t* out) {
    const size_t count = static_cast<size_t>(region_.width) * SamplesInPixel();
    const size_t bytes = count * static_cast<size_t>(info_->bits / 8);
    const size_t start =
        static_cast<size_t>(region_.x) * SamplesInPixel() * static_cast<size_t>(info_->bits / 8);
    if (info_->has_byte_planes) {
      zepiJoinRow_TIFF_8u16u_C1(in, reinterpret_cast<uint16_t*>(row_.data()),
                                static_cast<int32_t>(SamplesInStripRow()));
      in = row_.data();
    }
    uint8_t* const row = info_->is_planar ? row_.data() : out;
    std::memmove(row, in + start, bytes);
    const bool is_swapped = info_->is_big_endian != kIsBigEndianMachine && !info_->has_byte_planes;
    if (info_->bits == 16 && is_swapped) SwapBytes(row, count);
    if (strips_.is_inverted) {
      for (size_t i = 0; i < bytes; ++i) row[i] = static_cast<uint8_t>(~row[i]);
    }
    if (info_->is_planar) Spread(row, plane, out);
  }

  static void SwapBytes(uint8_t* row, size_t samples) {
    for (size_t i = 0; i < samples; ++i) std::swap(row[2 * i], row[2 * i + 1]);
  }

  void Spread(const uint8_t* row, int plane, uint8_t* pixels) const {
    const auto bytes = static_cast<size_t>(info_->bits / 8);
    const auto channels = static_cast<size_t>(info_->channels);
    pixels += static_cast<size_t>(plane) * bytes;
    for (size_t i = 0; i < static_cast<size_t>(region_.width); ++i) {
      std::memcpy(pixels + i * channels * bytes, row + i * bytes, bytes);
    }
  }

  const uint8_t* data_;
  size_t size_;
  const DecodeOptions& options_;
  Picture* picture_;
  FileInfo* info_;
  Region region_;
  Strips strips_;
  const uint8_t* strip_ = nullptr;
  ByteBuffer buffer_;  // a strip
  ByteBuffer row_;     // of a strip
  Picture band_;       // rows that are handed out
};

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
              FileInfo* info) {
  return Decoder(data, size, options, picture, info).Decode();
}

int64_t MemoryToDecode(const FileInfo& info, const DecodeOptions& options) {
  Region region;
  if (!options.region.In(info.width, info.height, &region).ok()) return 0;
  const bool gives_rows = options.rows != nullptr;
  const int rows = gives_rows ? std::min(RowsInBand(info, true), region.height) : region.height;
  const int64_t pixel = int64_t{info.channels} * (info.bits / 8);
  const int64_t strip_row = int64_t{info.width} * (info.is_planar ? info.bits / 8 : pixel);
  return pixel * region.width * rows + strip_row * (std::min(info.strip_rows, info.height) + 1);
}

}  // namespace zepcodec::tiff
