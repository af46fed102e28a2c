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

class Decoder {
 public:
  Decoder(const uint8_t* data, size_t size, Picture* picture, FileInfo* info)
      : data_(data), size_(size), picture_(picture), info_(info) {}

  Status Decode(const DecodeOptions& options) {
    if (Status status = ReadDirectory(data_, size_, info_, &strips_); !status.ok()) return status;
    if (Status status = MakePicture(options); !status.ok()) return status;
    const int planes = strips_.is_planar ? info_->channels : 1;
    size_t index = 0;
    for (int plane = 0; plane < planes; ++plane) {
      for (int y = 0; y < info_->height; y += strips_.rows, ++index) {
        if (Stops(options.progress, plane * info_->height + y, planes * info_->height)) {
          return Status::Cancelled();
        }
        const int rows = std::min(strips_.rows, info_->height - y);
        if (Status status = LoadStrip(index, rows); !status.ok()) return status;
        for (int row = 0; row < rows; ++row) {
          TakeRow(strip_ + static_cast<size_t>(row) * RowSize(), plane, y + row);
        }
      }
    }
    return Status();
  }

 private:
  Status MakePicture(const DecodeOptions& options) {
    const int64_t pixels = int64_t{info_->width} * info_->height;
    const std::string claim =
        std::to_string(info_->width) + " x " + std::to_string(info_->height) + " pixels";
    if (pixels > options.max_pixels) {
      return Status::TooLarge("the directory announces " + claim + ", more than the limit of " +
                              std::to_string(options.max_pixels));
    }
    const int64_t most = static_cast<int64_t>(size_) * kMostExpansion;
    const int64_t bytes_in_pixel = int64_t{info_->channels} * info_->bits / 8;
    if (pixels > std::max(most, kAlwaysAcceptedBytes) / bytes_in_pixel) {
      return Status::Error("the file is too small for the " + claim + " that it announces");
    }
    const bool done = picture_->Resize(info_->width, info_->height,
                                       LayoutWithChannels(info_->channels), info_->bits) &&
                      row_.Resize(picture_->Stride());
    return done ? Status() : Status::NoMemory();
  }

  size_t SamplesInStripRow() const {
    const int channels = strips_.is_planar ? 1 : info_->channels;
    return static_cast<size_t>(info_->width) * static_cast<size_t>(channels);
  }
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

  // Copies a row of a strip to the picture, in the machine's byte order.
  void TakeRow(const uint8_t* in, int plane, int y) {
    const size_t count = SamplesInStripRow();
    uint8_t* const row = strips_.is_planar ? row_.data() : picture_->Row(y);
    if (info_->has_byte_planes) {
      zepiJoinRow_TIFF_8u16u_C1(in, reinterpret_cast<uint16_t*>(row), static_cast<int32_t>(count));
    } else {
      std::memcpy(row, in, RowSize());
      if (info_->bits == 16 && info_->is_big_endian != kIsBigEndianMachine) SwapBytes(row, count);
    }
    if (strips_.is_inverted) {
      for (size_t i = 0; i < RowSize(); ++i) row[i] = static_cast<uint8_t>(~row[i]);
    }
    if (strips_.is_planar) Spread(row, plane, picture_->Row(y));
  }

  static void SwapBytes(uint8_t* row, size_t samples) {
    for (size_t i = 0; i < samples; ++i) std::swap(row[2 * i], row[2 * i + 1]);
  }

  void Spread(const uint8_t* row, int plane, uint8_t* pixels) const {
    const auto bytes = static_cast<size_t>(info_->bits / 8);
    const auto channels = static_cast<size_t>(info_->channels);
    pixels += static_cast<size_t>(plane) * bytes;
    for (size_t i = 0; i < static_cast<size_t>(info_->width); ++i) {
      std::memcpy(pixels + i * channels * bytes, row + i * bytes, bytes);
    }
  }

  const uint8_t* data_;
  size_t size_;
  Picture* picture_;
  FileInfo* info_;
  Strips strips_;
  const uint8_t* strip_ = nullptr;
  ByteBuffer buffer_;  // a strip
  ByteBuffer row_;     // of a single channel
};

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
              FileInfo* info) {
  return Decoder(data, size, picture, info).Decode(options);
}

}  // namespace zepcodec::tiff
