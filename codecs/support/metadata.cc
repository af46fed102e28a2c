// SPDX-License-Identifier: MIT
#include "codecs/support/metadata.h"

namespace zepcodec {
namespace {

// Numbers of a TIFF structure, whose first letter tells their byte order.
class Tiff {
 public:
  explicit Tiff(const std::vector<uint8_t>& bytes) : bytes_(bytes) {}

  bool IsValid() const { return bytes_.size() >= 10 && (bytes_[0] == 'I' || bytes_[0] == 'M'); }
  bool IsBigEndian() const { return bytes_[0] == 'M'; }
  size_t Number(size_t at, size_t bytes) const {
    size_t value = 0;
    for (size_t i = 0; i < bytes; ++i) {
      value = value << 8 | bytes_[at + (IsBigEndian() ? i : bytes - 1 - i)];
    }
    return value;
  }

 private:
  const std::vector<uint8_t>& bytes_;
};

// Where the first directory has the value of the orientation, two bytes; 0: nowhere.
size_t FindOrientation(const std::vector<uint8_t>& exif) {
  constexpr size_t kEntryBytes = 12, kOrientationTag = 0x112, kShortType = 3;
  const Tiff tiff(exif);
  if (!tiff.IsValid()) return 0;
  const size_t directory = tiff.Number(4, 4);
  if (directory > exif.size() - 2) return 0;
  const size_t count = tiff.Number(directory, 2);
  if (count > (exif.size() - directory - 2) / kEntryBytes) return 0;
  for (size_t i = 0; i < count; ++i) {
    const size_t entry = directory + 2 + i * kEntryBytes;
    if (tiff.Number(entry, 2) == kOrientationTag && tiff.Number(entry + 2, 2) == kShortType) {
      return entry + 8;
    }
  }
  return 0;
}

}  // namespace

int OrientationOfExif(const std::vector<uint8_t>& exif) {
  const size_t at = FindOrientation(exif);
  if (at == 0) return 0;
  const size_t value = Tiff(exif).Number(at, 2);
  return value >= 1 && value <= 8 ? static_cast<int>(value) : 0;
}

void SetExifUpright(std::vector<uint8_t>* exif) {
  const size_t at = FindOrientation(*exif);
  if (at == 0) return;
  const bool is_big_endian = Tiff(*exif).IsBigEndian();
  (*exif)[at] = is_big_endian ? 0 : 1;
  (*exif)[at + 1] = is_big_endian ? 1 : 0;
}

}  // namespace zepcodec
