// SPDX-License-Identifier: MIT
#include "codecs/tiff/directory.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

namespace zepcodec::tiff {
namespace {

constexpr size_t kHeaderSize = 8, kEntrySize = 12;
constexpr uint32_t kMostPixelsOnASide = 1 << 28;  // rows then have less than 2^31 bytes

size_t SizeOfType(uint32_t type) {
  switch (type) {
    case kByte:
    case kUndefined: return 1;
    case kShort: return 2;
    case kLong: return 4;
    case kRational: return 8;
    default: return 0;
  }
}

class DirectoryReader {
 public:
  DirectoryReader(const uint8_t* data, size_t size, FileInfo* info, Strips* strips)
      : data_(data), size_(size), info_(info), strips_(strips) {}

  Status Read() {
    if (!IsTiff(data_, size_)) return Status::Error("not a TIFF file");
    info_->is_big_endian = data_[0] == 'M';
    if (size_ < kHeaderSize) return Status::Error("the file ends within its header");
    if (Word(2, 2) == 43) return Status::Error("BigTIFF is not supported");
    if (Status status = ReadEntries(Word(4, 4)); !status.ok()) return status;
    for (const auto read : {&DirectoryReader::ReadSize, &DirectoryReader::ReadSamples,
                            &DirectoryReader::ReadCompression, &DirectoryReader::ReadColors,
                            &DirectoryReader::ReadStrips}) {
      if (Status status = (this->*read)(); !status.ok()) return status;
    }
    ReadResolution();
    ReadProfile();
    return Status();
  }

 private:
  struct Entry {
    uint32_t type;
    uint32_t count;
    size_t offset;  // of the values
  };

  // A number of `bytes` bytes, which the caller knows to be there.
  uint32_t Word(size_t offset, size_t bytes) const {
    uint32_t value = 0;
    for (size_t i = 0; i < bytes; ++i) {
      value = value << 8 | data_[offset + (info_->is_big_endian ? i : bytes - 1 - i)];
    }
    return value;
  }

  Status ReadEntries(size_t at) {
    if (at < kHeaderSize || at > size_ || size_ - at < 2) {
      return Status::Error("the file ends before its directory");
    }
    const size_t count = Word(at, 2);
    at += 2;
    if ((size_ - at) / kEntrySize < count) {
      return Status::Error("the file ends within its directory");
    }
    for (size_t i = 0; i < count; ++i, at += kEntrySize) AddEntry(at);
    info_->has_more_pictures = size_ - at >= 4 && Word(at, 4) != 0;
    return Status();
  }

  void AddEntry(size_t at) {
    Entry entry{Word(at + 2, 2), Word(at + 4, 4), at + 8};
    const size_t value_size = SizeOfType(entry.type);
    if (value_size == 0) return;  // text and the like
    if (entry.count > 4 / value_size) {
      entry.offset = Word(at + 8, 4);
      if (entry.offset > size_ || (size_ - entry.offset) / value_size < entry.count) {
        info_->messages.AddAt(at, "the values of field " + std::to_string(Word(at, 2)) +
                                      " lie outside the file, skipped");
        return;
      }
    }
    entries_.emplace(static_cast<int>(Word(at, 2)), entry);
  }

  // The first whole numbers of a field; none where it is missing.
  std::vector<uint32_t> Values(Tag tag, size_t most) const {
    std::vector<uint32_t> values;
    const auto found = entries_.find(tag);
    if (found == entries_.end() || found->second.type == kRational) return values;
    const Entry& entry = found->second;
    const size_t value_size = SizeOfType(entry.type);
    const size_t count = std::min<size_t>(entry.count, most);
    values.reserve(count);
    for (size_t i = 0; i < count; ++i) {
      values.push_back(Word(entry.offset + i * value_size, value_size));
    }
    return values;
  }

  uint32_t Value(Tag tag, uint32_t by_default) const {
    const std::vector<uint32_t> values = Values(tag, 1);
    return values.empty() ? by_default : values[0];
  }

  Status ReadSize() {
    const uint32_t width = Value(kImageWidth, 0);
    const uint32_t height = Value(kImageLength, 0);
    if (width < 1 || height < 1 || width > kMostPixelsOnASide || height > kMostPixelsOnASide) {
      return Status::Error("the directory announces " + std::to_string(width) + " x " +
                           std::to_string(height) + " pixels");
    }
    info_->width = static_cast<int>(width);
    info_->height = static_cast<int>(height);
    return Status();
  }

  Status ReadSamples() {
    const uint32_t channels = Value(kSamplesPerPixel, 1);
    if (channels != 1 && channels != 3) {
      return Status::Error(std::to_string(channels) + " samples a pixel; 1 and 3 can be read");
    }
    const std::vector<uint32_t> bits = Values(kBitsPerSample, 4);
    const uint32_t first = bits.empty() ? 1 : bits[0];
    if ((first != 8 && first != 16) ||
        std::any_of(bits.begin(), bits.end(), [&](uint32_t b) { return b != first; })) {
      return Status::Error("samples of " + std::to_string(first) +
                           " bits, or of different ones; 8 and 16 can be read");
    }
    if (Value(kSampleFormat, 1) != 1) {
      return Status::Error("signed or floating-point samples are not supported");
    }
    info_->channels = static_cast<int>(channels);
    info_->bits = static_cast<int>(first);
    return Status();
  }

  Status ReadCompression() {
    const uint32_t compression = Value(kCompression, kStored);
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
    if (Value(kFillOrder, 1) != 1) return Status::Error("reversed bits are not supported");
    return Status();
  }

  Status ReadColors() {
    const uint32_t photometric = Value(kPhotometric, info_->channels == 3 ? kRgb : kBlackIsZero);
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
    if (entries_.count(kTileWidth) != 0) return Status::Error("tiles are not supported");
    const uint32_t planar = Value(kPlanarConfiguration, 1);
    if (planar != 1 && planar != 2) return Status::Error("the directory is damaged");
    strips_->is_planar = planar == 2 && info_->channels > 1;
    const auto height = static_cast<uint32_t>(info_->height);
    const uint32_t rows = std::min(Value(kRowsPerStrip, height), height);
    if (rows < 1) return Status::Error("the directory announces strips without rows");
    strips_->rows = static_cast<int>(rows);
    const size_t planes = strips_->is_planar ? static_cast<size_t>(info_->channels) : 1;
    const size_t strips = planes * ((size_t{height} + rows - 1) / rows);
    strips_->offsets = Values(kStripOffsets, strips);
    strips_->sizes = Values(kStripByteCounts, strips);
    if (strips_->offsets.empty()) return Status::Error("the directory tells no place of strips");
    return Status();
  }

  void ReadResolution() {
    info_->dots_per_inch = DotsPerInch(kXResolution);
    info_->dots_per_inch_down = DotsPerInch(kYResolution);
  }

  int DotsPerInch(Tag tag) {
    const auto found = entries_.find(tag);
    if (found == entries_.end() || found->second.type != kRational || found->second.count < 1) {
      return 0;
    }
    const double over = Word(found->second.offset, 4), under = Word(found->second.offset + 4, 4);
    const uint32_t unit = Value(kResolutionUnit, kInch);
    const double dots = over / std::max(under, 1.0) * (unit == kCentimetre ? 2.54 : 1);
    const bool is_known = unit == kInch || unit == kCentimetre;
    return is_known && dots >= 1 && dots <= 65535 ? static_cast<int>(std::lround(dots)) : 0;
  }

  void ReadProfile() {
    const auto found = entries_.find(kIccProfile);
    if (found == entries_.end() || SizeOfType(found->second.type) != 1) return;
    const uint8_t* bytes = data_ + found->second.offset;
    info_->icc_profile.assign(bytes, bytes + found->second.count);
  }

  const uint8_t* data_;
  size_t size_;
  FileInfo* info_;
  Strips* strips_;
  std::map<int, Entry> entries_;  // by tag; of equal ones the first
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
