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
  Encoder(RowSource* rows, const EncodeOptions& options, ByteBuffer* file)
      : rows_(rows), form_(rows->form()), options_(options), file_(file) {}

  Status Encode() {
    if (Status status = Check(); !status.ok()) return status;
    rows_in_strip_ = static_cast<int>(
        std::clamp<size_t>(kStripSize / form_.Stride(), 1, static_cast<size_t>(form_.height())));
    if (Status status = AppendHeader(); !status.ok()) return status;
    for (int y = 0; y < form_.height(); y += rows_in_strip_) {
      if (Stops(options_.progress, y, form_.height())) return Status::Cancelled();
      if (Status status = AppendStrip(); !status.ok()) return status;
    }
    return AppendDirectory();
  }

 private:
  // The rest is room for the directory.
  static constexpr uint64_t kMostBytes = uint64_t{0xF0000000};

  Status Check() const {
    if (form_.width() < 1 || form_.height() < 1) {
      return Status::Error("a picture must have pixels");
    }
    if (form_.channels() != 1 && form_.channels() != 3) {
      return Status::Error("a picture must be grey or RGB");
    }
    if (form_.bits() != 8 && form_.bits() != 16) {
      return Status::Error("samples must have 8 or 16 bits");
    }
    if (options_.has_byte_planes && form_.bits() != 16) {
      return Status::Error("byte planes go with samples of 16 bits");
    }
    if (form_.Stride() > INT32_MAX / 2) return Status::Error("the picture is too wide");
    return Status();
  }

  bool IsPacked() const { return options_.compression == Compression::kPackBits; }

  // The place of the directory is known at once if strips are not packed.
  Status AppendHeader() {
    constexpr uint8_t kHeader[8] = {'I', 'I', 42, 0, 0, 0, 0, 0};
    const uint64_t end = sizeof(kHeader) + uint64_t{form_.SizeInBytes()};
    if (!IsPacked() && end > kMostBytes) return TooLarge();
    if (!row_.Resize(form_.Stride()) || !file_->Resize(0) ||
        !file_->Append(kHeader, sizeof(kHeader))) {
      return Status::NoMemory();
    }
    if (IsPacked()) return Status();
    StoreNumber(ByteOrder::kLittle, end + end % 2, 4, file_->data() + 4);
    const bool has_room = options_.sink != nullptr || file_->MakeRoom(form_.SizeInBytes() + 1);
    return has_room ? Status() : Status::NoMemory();
  }

  static Status TooLarge() { return Status::Error("the file would exceed 4 GB"); }

  uint64_t FileSize() const { return passed_on_ + file_->size(); }

  Status AppendStrip() {
    Picture strip;
    int y = 0;
    if (Status status = rows_->Next(rows_in_strip_, &strip, &y); !status.ok()) return status;
    const uint64_t start = FileSize();
    if (Status status = AppendRows(strip); !status.ok()) return status;
    offsets_.push_back(static_cast<uint32_t>(start));
    sizes_.push_back(static_cast<uint32_t>(FileSize() - start));
    if (IsPacked()) return Status();
    const size_t size = file_->size();
    Status status = PassOn(options_.sink, file_);
    passed_on_ += size - file_->size();
    return status;
  }

  Status AppendRows(const Picture& strip) {
    for (int row = 0; row < strip.height(); ++row) {
      if (!AppendRow(strip.Row(row))) return Status::NoMemory();
      if (FileSize() > kMostBytes) return TooLarge();
    }
    return Status();
  }

  // The bytes of a row in the file's order, before packing.
  const uint8_t* ArrangeRow(const uint8_t* row) {
    const size_t samples = form_.SamplesInRow();
    if (options_.has_byte_planes) {
      zepiSplitRow_TIFF_16u8u_C1(reinterpret_cast<const uint16_t*>(row), row_.data(),
                                 static_cast<int32_t>(samples));
      return row_.data();
    }
    if (form_.bits() == 8 || !kIsBigEndianMachine) return row;
    for (size_t i = 0; i < 2 * samples; ++i) row_.data()[i] = row[i ^ 1];
    return row_.data();
  }

  bool AppendRow(const uint8_t* samples) {
    const uint8_t* const row = ArrangeRow(samples);
    const size_t size = form_.Stride();
    if (!IsPacked()) return file_->Append(row, size);
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
    const auto channels = static_cast<uint32_t>(form_.channels());
    const auto bits = static_cast<uint32_t>(form_.bits());
    const Metadata& metadata = form_.metadata();
    std::vector<NewField> fields = SplitExif(metadata.exif);
    const auto add = [&](Tag tag, Type type, const std::vector<uint32_t>& numbers) {
      fields.push_back(NumberField(tag, type, numbers));
    };
    add(kImageWidth, kLong, {static_cast<uint32_t>(form_.width())});
    add(kImageLength, kLong, {static_cast<uint32_t>(form_.height())});
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
    if (FileSize() % 2 != 0 && !file_->Append(&kPadding, 1)) return Status::NoMemory();
    std::vector<uint8_t> bytes;
    AppendFields(MakeFields(), FileSize(), &bytes);
    if (FileSize() + bytes.size() > UINT32_MAX) return TooLarge();
    if (IsPacked()) StoreNumber(ByteOrder::kLittle, FileSize(), 4, file_->data() + 4);
    return file_->Append(bytes.data(), bytes.size()) ? Status() : Status::NoMemory();
  }

  RowSource* rows_;
  const Picture& form_;
  const EncodeOptions& options_;
  ByteBuffer* file_;
  uint64_t passed_on_ = 0;  // bytes before those in `file_`
  ByteBuffer row_;
  int rows_in_strip_ = 0;
  std::vector<uint32_t> offsets_;
  std::vector<uint32_t> sizes_;
};

}  // namespace

Status Encode(RowSource* rows, const EncodeOptions& options, ByteBuffer* file) {
  return Encoder(rows, options, file).Encode();
}

}  // namespace zepcodec::tiff
