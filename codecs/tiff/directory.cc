// SPDX-License-Identifier: MIT
#include "codecs/tiff/directory.h"

#include <algorithm>
#include <string>

#include "codecs/support/exif.h"

namespace zepcodec::tiff {
namespace {

constexpr size_t kHeaderSize = 8;
constexpr uint32_t kMostPixelsOnASide = 1 << 28;  // rows then have less than 2^31 bytes

class DirectoryReader {
 public:
  DirectoryReader(const uint8_t* data, size_t size, FileInfo* info, Strips* strips)
      : data_(data), size_(size), info_(info), strips_(strips) {}

  Status Read() {
    if (!IsTiff(data_, size_)) return Status::Error("not a TIFF file");
    if (size_ < kHeaderSize) return Status::Error("the file ends within its header");
    uint32_t first = 0;
    if (!OpenTiff(data_, size_, 0, &file_, &first))
      return Status::Error("BigTIFF is not supported");
    info_->is_big_endian = file_.order() == ByteOrder::kBig;
    if (Status status = ReadFields(file_, first, &info_->notes, &fields_); !status.ok()) {
      return status;
    }
    if (fields_.is_cut) return Status::Error("the file ends within its directory");
    info_->has_more_pictures = fields_.next != 0;
    if (Status status = ReadSize(); !status.ok()) return status;
    ReadMetadata();
    for (const auto read : {&DirectoryReader::ReadSamples, &DirectoryReader::ReadCompression,
                            &DirectoryReader::ReadColors, &DirectoryReader::ReadStrips}) {
      if (Status status = (this->*read)(); !status.ok()) return status;
    }
    return Status();
  }

 private:
  Status ReadSize() {
    const uint32_t width = fields_.Number(kImageWidth, 0);
    const uint32_t height = fields_.Number(kImageLength, 0);
    if (width < 1 || height < 1 || width > kMostPixelsOnASide || height > kMostPixelsOnASide) {
      return Status::Error("the directory announces " + std::to_string(width) + " x " +
                           std::to_string(height) + " pixels");
    }
    info_->width = static_cast<int>(width);
    info_->height = static_cast<int>(height);
    return Status();
  }

  Status ReadSamples() {
    const uint32_t channels = fields_.Number(kSamplesPerPixel, 1);
    if (channels != 1 && channels != 3) {
      return Status::Error(std::to_string(channels) + " samples a pixel; 1 and 3 can be read");
    }
    const std::vector<uint32_t> bits = fields_.Numbers(kBitsPerSample, 4);
    const uint32_t first = bits.empty() ? 1 : bits[0];
    if ((first != 8 && first != 16) ||
        std::any_of(bits.begin(), bits.end(), [&](uint32_t b) { return b != first; })) {
      return Status::Error("samples of " + std::to_string(first) +
                           " bits, or of different ones; 8 and 16 can be read");
    }
    if (fields_.Number(kSampleFormat, 1) != 1) {
      return Status::Error("signed or floating-point samples are not supported");
    }
    info_->channels = static_cast<int>(channels);
    info_->bits = static_cast<int>(first);
    return Status();
  }

  Status ReadCompression() {
    const uint32_t compression = fields_.Number(kCompression, kStored);
    info_->compression = compression == kPacked || compression == kPackedPlanes
                             ? Compression::kPackBits
                             : Compression::kNone;
    info_->has_byte_planes = compression == kStoredPlanes || compression == kPackedPlanes;
    if (compression != kStored && compression != kPacked && !info_->has_byte_planes) {
      return Status::Error("compression " + std::to_string(compression) +
                           "; only none and PackBits can be read");
    }
    if (info_->has_byte_planes && info_->bits != 16) {
      return Status::Error("byte planes of samples of 8 bits");
    }
    if (fields_.Number(kFillOrder, 1) != 1) return Status::Error("reversed bits are not supported");
    return Status();
  }

  Status ReadColors() {
    const uint32_t photometric =
        fields_.Number(kPhotometric, info_->channels == 3 ? kRgb : kBlackIsZero);
    const bool fits = info_->channels == 3
                          ? photometric == kRgb
                          : photometric == kWhiteIsZero || photometric == kBlackIsZero;
    if (!fits) {
      return Status::Error("colours of kind " + std::to_string(photometric) +
                           "; only grey and RGB can be read");
    }
    strips_->is_inverted = photometric == kWhiteIsZero;
    return Status();
  }

  Status ReadStrips() {
    if (fields_.Find(kTileWidth) != nullptr) return Status::Error("tiles are not supported");
    const uint32_t planar = fields_.Number(kPlanarConfiguration, 1);
    if (planar != 1 && planar != 2) return Status::Error("the directory is damaged");
    info_->is_planar = planar == 2 && info_->channels > 1;
    const auto height = static_cast<uint32_t>(info_->height);
    const uint32_t rows = std::min(fields_.Number(kRowsPerStrip, height), height);
    if (rows < 1) return Status::Error("the directory announces strips without rows");
    info_->strip_rows = static_cast<int>(rows);
    const size_t planes = info_->is_planar ? static_cast<size_t>(info_->channels) : 1;
    const size_t strips = planes * ((size_t{height} + rows - 1) / rows);
    strips_->offsets = fields_.Numbers(kStripOffsets, strips);
    strips_->sizes = fields_.Numbers(kStripByteCounts, strips);
    if (strips_->offsets.empty()) return Status::Error("the directory tells no place of strips");
    return Status();
  }

  void ReadMetadata() {
    Metadata& metadata = info_->metadata;
    info_->has_read_metadata = true;
    metadata.icc_profile = fields_.Bytes(kIccProfile);
    metadata.xmp = fields_.Bytes(kXmp);
    metadata.exif = JoinExif(CollectExif(file_, fields_, &info_->notes));
    const uint32_t orientation = fields_.Number(kOrientationTag, 0);
    metadata.orientation = orientation <= 8 ? static_cast<int>(orientation) : 0;
    ReadResolution(&metadata.resolution);
  }

  void ReadResolution(Resolution* resolution) {
    const double x = fields_.Real(kXResolution);
    const double y = fields_.Find(kYResolution) != nullptr ? fields_.Real(kYResolution) : x;
    if (x <= 0 || y <= 0) return;
    switch (fields_.Number(kResolutionUnit, kInch)) {
      case kInch: *resolution = {Resolution::Unit::kInch, x, y}; break;
      case kCentimetre: *resolution = {Resolution::Unit::kCentimetre, x, y}; break;
      case kNoUnit:
        if (x != y) *resolution = {Resolution::Unit::kShape, x, y};
        break;
      default: break;
    }
  }

  const uint8_t* data_;
  size_t size_;
  FileInfo* info_;
  Strips* strips_;
  ByteReader file_;
  FieldList fields_;
};

}  // namespace

bool IsTiff(const uint8_t* data, size_t size) {
  if (size < 4) return false;
  const bool is_little = data[0] == 'I' && data[1] == 'I' && data[3] == 0;
  const bool is_big = data[0] == 'M' && data[1] == 'M' && data[2] == 0;
  const int magic = is_little ? data[2] : data[3];
  return (is_little || is_big) && (magic == 42 || magic == 43);
}

Status ReadDirectory(const uint8_t* data, size_t size, FileInfo* info, Strips* strips) {
  *info = FileInfo();
  *strips = Strips();
  return DirectoryReader(data, size, info, strips).Read();
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  Strips strips;
  return ReadDirectory(data, size, info, &strips);
}

}  // namespace zepcodec::tiff
