// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>
#include <vector>

#include "codecs/tiff/codec.h"
#include "codecs/tiff/directory.h"
#include "zepjp.h"

namespace zepcodec::tiff {
namespace {

constexpr size_t kStripSize = 1 << 16;  // about, of its pixels
constexpr bool kIsBigEndianMachine = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;

// Little-endian numbers behind one another.
class Numbers {
 public:
  void Add(uint32_t value, size_t size) {
    for (size_t i = 0; i < size; ++i) bytes_.push_back(static_cast<uint8_t>(value >> (8 * i)));
  }
  const std::vector<uint8_t>& bytes() const { return bytes_; }

 private:
  std::vector<uint8_t> bytes_;
};

// Entries in the order of their tags, and what does not fit into them, which goes behind the strips.
class DirectoryWriter {
 public:
  explicit DirectoryWriter(size_t data_offset) : data_offset_(data_offset) {}

  void Add(Tag tag, Type type, size_t count, const std::vector<uint8_t>& values) {
    entries_.Add(tag, 2);
    entries_.Add(type, 2);
    entries_.Add(static_cast<uint32_t>(count), 4);
    if (values.size() <= 4) {
      for (size_t i = 0; i < 4; ++i) entries_.Add(i < values.size() ? values[i] : 0U, 1);
    } else {
      entries_.Add(static_cast<uint32_t>(data_offset_ + data_.size()), 4);
      data_.insert(data_.end(), values.begin(), values.end());
      if (data_.size() % 2 != 0) data_.push_back(0);
    }
    ++count_;
  }
  void Add(Tag tag, Type type, const std::vector<uint32_t>& values) {
    Numbers numbers;
    for (const uint32_t value : values) numbers.Add(value, type == kShort ? 2 : 4);
    Add(tag, type, type == kRational ? values.size() / 2 : values.size(), numbers.bytes());
  }

  size_t DirectoryOffset() const { return data_offset_ + data_.size(); }
  std::vector<uint8_t> Finish() const {
    std::vector<uint8_t> bytes = data_;
    Numbers count;
    count.Add(count_, 2);
    bytes.insert(bytes.end(), count.bytes().begin(), count.bytes().end());
    bytes.insert(bytes.end(), entries_.bytes().begin(), entries_.bytes().end());
    bytes.insert(bytes.end(), 4, 0);  // no further directory
    return bytes;
  }

 private:
  size_t data_offset_;
  Numbers entries_;
  uint32_t count_ = 0;
  std::vector<uint8_t> data_;
};

class Encoder {
 public:
  Encoder(const Picture& picture, const EncodeOptions& options, ByteBuffer* file)
      : picture_(picture), options_(options), file_(file) {}

  Status Encode() {
    if (Status status = Check(); !status.ok()) return status;
    rows_in_strip_ = static_cast<int>(std::clamp<size_t>(kStripSize / picture_.Stride(), 1,
                                                         static_cast<size_t>(picture_.height())));
    constexpr uint8_t kHeader[8] = {'I', 'I', 42, 0, 0, 0, 0, 0};
    if (!row_.Resize(picture_.Stride()) || !file_->Resize(0) ||
        !file_->Append(kHeader, sizeof(kHeader))) {
      return Status::NoMemory();
    }
    for (int y = 0; y < picture_.height(); ++y) {
      if (y % rows_in_strip_ == 0) {
        if (Stops(options_.progress, y, picture_.height())) return Status::Cancelled();
        offsets_.push_back(static_cast<uint32_t>(file_->size()));
        sizes_.push_back(0);
      }
      const size_t before = file_->size();
      if (!AppendRow(y)) return Status::NoMemory();
      if (file_->size() > kMostBytes) return Status::Error("the file would exceed 4 GB");
      sizes_.back() += static_cast<uint32_t>(file_->size() - before);
    }
    return AppendDirectory();
  }

 private:
  // What is left holds the directory with its arrays.
  static constexpr uint64_t kMostBytes = uint64_t{0xF0000000};

  Status Check() const {
    if (picture_.width() < 1 || picture_.height() < 1) {
      return Status::Error("a picture must have pixels");
    }
    if (picture_.channels() != 1 && picture_.channels() != 3) {
      return Status::Error("a picture must be grey or RGB");
    }
    if (picture_.bits() != 8 && picture_.bits() != 16) {
      return Status::Error("samples must have 8 or 16 bits");
    }
    if (options_.has_byte_planes && picture_.bits() != 16) {
      return Status::Error("byte planes go with samples of 16 bits");
    }
    if (picture_.Stride() > INT32_MAX / 2) return Status::Error("the picture is too wide");
    return Status();
  }

  // The row's bytes as the file has them, before packing.
  const uint8_t* ArrangeRow(int y) {
    const uint8_t* const row = picture_.Row(y);
    const size_t samples = picture_.SamplesInRow();
    if (options_.has_byte_planes) {
      zepiSplitRow_TIFF_16u8u_C1(reinterpret_cast<const uint16_t*>(row), row_.data(),
                                 static_cast<int32_t>(samples));
      return row_.data();
    }
    if (picture_.bits() == 8 || !kIsBigEndianMachine) return row;
    for (size_t i = 0; i < 2 * samples; ++i) row_.data()[i] = row[i ^ 1];
    return row_.data();
  }

  bool AppendRow(int y) {
    const uint8_t* const row = ArrangeRow(y);
    const size_t size = picture_.Stride();
    if (options_.compression == Compression::kNone) return file_->Append(row, size);
    const size_t start = file_->size();
    const size_t room = size + (size + 127) / 128;
    if (!file_->MakeRoom(room) || !file_->Resize(start + room)) return false;
    auto packed = static_cast<int32_t>(room);
    const zepStatus status =
        zepiPackBitsRow_TIFF_8u_C1(row, static_cast<int32_t>(size), file_->data() + start, &packed);
    return status == zepStatusOk && file_->Resize(start + static_cast<size_t>(packed));
  }

  uint32_t CompressionNumber() const {
    if (options_.compression == Compression::kNone) {
      return options_.has_byte_planes ? kStoredPlanes : kStored;
    }
    return options_.has_byte_planes ? kPackedPlanes : kPacked;
  }

  Status AppendDirectory() {
    constexpr uint8_t kPadding = 0;
    if (file_->size() % 2 != 0 && !file_->Append(&kPadding, 1)) return Status::NoMemory();
    const auto channels = static_cast<uint32_t>(picture_.channels());
    const auto bits = static_cast<uint32_t>(picture_.bits());
    const auto dots = static_cast<uint32_t>(std::max(options_.dots_per_inch, 1));
    DirectoryWriter writer(file_->size());
    writer.Add(kImageWidth, kLong, {static_cast<uint32_t>(picture_.width())});
    writer.Add(kImageLength, kLong, {static_cast<uint32_t>(picture_.height())});
    writer.Add(kBitsPerSample, kShort, std::vector<uint32_t>(channels, bits));
    writer.Add(kCompression, kShort, {CompressionNumber()});
    writer.Add(kPhotometric, kShort, {channels == 3 ? kRgb : kBlackIsZero});
    writer.Add(kStripOffsets, kLong, offsets_);
    writer.Add(kSamplesPerPixel, kShort, {channels});
    writer.Add(kRowsPerStrip, kLong, {static_cast<uint32_t>(rows_in_strip_)});
    writer.Add(kStripByteCounts, kLong, sizes_);
    writer.Add(kXResolution, kRational, {dots, 1});
    const auto down = static_cast<uint32_t>(
        options_.dots_per_inch_down > 0 ? options_.dots_per_inch_down : static_cast<int>(dots));
    writer.Add(kYResolution, kRational, {down, 1});
    writer.Add(kPlanarConfiguration, kShort, {1});
    writer.Add(kResolutionUnit, kShort, {options_.dots_per_inch > 0 ? kInch : 1});
    if (!options_.icc_profile.empty()) {
      writer.Add(kIccProfile, kUndefined, options_.icc_profile.size(), options_.icc_profile);
    }
    const std::vector<uint8_t> bytes = writer.Finish();
    if (!file_->Append(bytes.data(), bytes.size())) return Status::NoMemory();
    Numbers offset;
    offset.Add(static_cast<uint32_t>(writer.DirectoryOffset()), 4);
    std::copy(offset.bytes().begin(), offset.bytes().end(), file_->data() + 4);
    return Status();
  }

  const Picture& picture_;
  const EncodeOptions& options_;
  ByteBuffer* file_;
  ByteBuffer row_;
  int rows_in_strip_ = 0;
  std::vector<uint32_t> offsets_;
  std::vector<uint32_t> sizes_;
};

}  // namespace

Status Encode(const Picture& picture, const EncodeOptions& options, ByteBuffer* file) {
  return Encoder(picture, options, file).Encode();
}

}  // namespace zepcodec::tiff
