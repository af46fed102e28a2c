// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>
#include <vector>

#include "codecs/support/byte_order.h"
#include "codecs/support/exif.h"
#include "codecs/support/fraction.h"
#include "codecs/tiff/codec.h"
#include "codecs/tiff/directory.h"
#include "zepjp.h"

namespace zepcodec::tiff {
namespace {

constexpr size_t kStripSize = 1 << 16;  // about, of its pixels
constexpr bool kIsBigEndianMachine = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;

NewField ResolutionField(Tag tag, double resolution) {
  const Fraction fraction = ToFraction(resolution, INT32_MAX);
  return NumberField(tag, kRational, {fraction.over, fraction.under});
}

// TIFF files need a resolution. If it is unknown, they say that pixels are square.
void AddResolution(const Resolution& resolution, std::vector<NewField>* fields) {
  const bool fits = resolution.x > 0 && resolution.y > 0 && resolution.x <= INT32_MAX &&
                    resolution.y <= INT32_MAX;
  const bool is_known = fits && resolution.unit != Resolution::Unit::kNone;
  uint32_t unit = kNoUnit;
  if (is_known && resolution.unit == Resolution::Unit::kInch) unit = kInch;
  if (is_known && resolution.unit == Resolution::Unit::kCentimetre) unit = kCentimetre;
  fields->push_back(ResolutionField(kXResolution, is_known ? resolution.x : 1));
  fields->push_back(ResolutionField(kYResolution, is_known ? resolution.y : 1));
  fields->push_back(NumberField(kResolutionUnit, kShort, {unit}));
}

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
  // The rest is room for the directory.
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

  // The bytes of a row in the file's order, before packing.
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

  std::vector<NewField> MakeFields() const {
    const auto channels = static_cast<uint32_t>(picture_.channels());
    const auto bits = static_cast<uint32_t>(picture_.bits());
    const Metadata& metadata = picture_.metadata();
    std::vector<NewField> fields = SplitExif(metadata.exif);
    const auto add = [&](Tag tag, Type type, const std::vector<uint32_t>& numbers) {
      fields.push_back(NumberField(tag, type, numbers));
    };
    add(kImageWidth, kLong, {static_cast<uint32_t>(picture_.width())});
    add(kImageLength, kLong, {static_cast<uint32_t>(picture_.height())});
    add(kBitsPerSample, kShort, std::vector<uint32_t>(channels, bits));
    add(kCompression, kShort, {CompressionNumber()});
    add(kPhotometric, kShort, {channels == 3 ? kRgb : kBlackIsZero});
    add(kStripOffsets, kLong, offsets_);
    add(kSamplesPerPixel, kShort, {channels});
    add(kRowsPerStrip, kLong, {static_cast<uint32_t>(rows_in_strip_)});
    add(kStripByteCounts, kLong, sizes_);
    add(kPlanarConfiguration, kShort, {1});
    AddResolution(metadata.resolution, &fields);
    if (!metadata.xmp.empty()) fields.push_back(BytesField(kXmp, kByte, metadata.xmp));
    if (!metadata.icc_profile.empty()) {
      fields.push_back(BytesField(kIccProfile, kUndefined, metadata.icc_profile));
    }
    return fields;
  }

  Status AppendDirectory() {
    constexpr uint8_t kPadding = 0;
    if (file_->size() % 2 != 0 && !file_->Append(&kPadding, 1)) return Status::NoMemory();
    std::vector<uint8_t> bytes;
    AppendFields(MakeFields(), file_->size(), &bytes);
    if (file_->size() + uint64_t{bytes.size()} > UINT32_MAX) {
      return Status::Error("the file would exceed 4 GB");
    }
    StoreNumber(ByteOrder::kLittle, file_->size(), 4, file_->data() + 4);
    return file_->Append(bytes.data(), bytes.size()) ? Status() : Status::NoMemory();
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
