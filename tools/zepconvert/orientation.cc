// SPDX-License-Identifier: MIT
#include "tools/zepconvert/orientation.h"

#include <cstddef>

namespace zepconvert {

int OrientationOf(const std::vector<uint8_t>& exif) {
  constexpr size_t kHeaderBytes = 8, kEntryBytes = 12, kOrientation = 0x112, kShort = 3;
  if (exif.size() < kHeaderBytes + 2 || (exif[0] != 'I' && exif[0] != 'M')) return 1;
  const bool is_big_endian = exif[0] == 'M';
  const auto number = [&](size_t at, size_t bytes) {
    size_t value = 0;
    for (size_t i = 0; i < bytes; ++i) {
      value = value << 8 | exif[at + (is_big_endian ? i : bytes - 1 - i)];
    }
    return value;
  };
  const size_t directory = number(4, 4);
  if (directory > exif.size() - 2) return 1;
  const size_t count = number(directory, 2);
  if (count > (exif.size() - directory - 2) / kEntryBytes) return 1;
  for (size_t i = 0; i < count; ++i) {
    const size_t entry = directory + 2 + i * kEntryBytes;
    if (number(entry, 2) != kOrientation || number(entry + 2, 2) != kShort) continue;
    const size_t value = number(entry + 8, 2);
    return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
  }
  return 1;
}

}  // namespace zepconvert
