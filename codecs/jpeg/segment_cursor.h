// SPDX-License-Identifier: MIT
// The walk through the bytes of a segment.
#ifndef ZEPJP_CODECS_JPEG_SEGMENT_CURSOR_H_
#define ZEPJP_CODECS_JPEG_SEGMENT_CURSOR_H_

#include <cstddef>
#include <cstdint>
#include <string>

namespace zepcodec::jpeg {

// The bytes of a segment behind its length; reading past the end sets `failed` and gives 0.
struct SegmentCursor {
  const uint8_t* next;
  const uint8_t* end;
  bool failed = false;

  size_t left() const { return static_cast<size_t>(end - next); }
  int Byte() {
    if (next == end) {
      failed = true;
      return 0;
    }
    return *next++;
  }
  int Word() {
    const int high = Byte();
    return high << 8 | Byte();
  }
};

// A marker as messages name it.
inline std::string Hex(int marker) {
  const char* digits = "0123456789ABCDEF";
  return std::string("FF ") + digits[marker >> 4 & 15] + digits[marker & 15];
}

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SEGMENT_CURSOR_H_
