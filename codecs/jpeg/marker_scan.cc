// SPDX-License-Identifier: MIT
#include "codecs/jpeg/marker_scan.h"

#include <cstring>

namespace zepcodec::jpeg {

size_t FindMarkerInData(const uint8_t* data, size_t size, size_t from) {
  while (from + 1 < size) {
    const void* found = std::memchr(data + from, 0xFF, size - 1 - from);
    if (found == nullptr) break;
    from = static_cast<size_t>(static_cast<const uint8_t*>(found) - data);
    const uint8_t second = data[from + 1];
    if (second != 0x00 && second != 0xFF) return from;
    from += second == 0x00 ? 2 : 1;
  }
  return size;
}

}  // namespace zepcodec::jpeg
