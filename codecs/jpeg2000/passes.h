// SPDX-License-Identifier: MIT
// The division of a code-block's coding passes into codeword segments, and the code of their number
// (ITU-T T.800, B.10.6 and D.4 to D.6). Pass 0 is the cleanup pass of the highest bit plane.
#ifndef ZEPJP_CODECS_JPEG2000_PASSES_H_
#define ZEPJP_CODECS_JPEG2000_PASSES_H_

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/header_bits.h"

namespace zepcodec::jpeg2000 {

constexpr int kMostPasses = 164;  // in one packet
constexpr int kFirstRawPass = 10;

// The most passes of the segment that starts with `pass`.
inline int PassesOfSegment(int style, int pass) {
  if ((style & kTerminateAll) != 0) return 1;
  if ((style & kBypass) == 0) return 1 << 20;
  if (pass < kFirstRawPass) return kFirstRawPass - pass;
  // Two raw passes, then a cleanup pass.
  const int in_plane = (pass - kFirstRawPass) % 3;
  return in_plane == 0 ? 2 : 1;
}

inline bool IsRawPass(int style, int pass) {
  return (style & kBypass) != 0 && pass >= kFirstRawPass && (pass - kFirstRawPass) % 3 != 2;
}

inline int ReadPassCount(HeaderReader* bits) {
  if (bits->Bit() == 0) return 1;
  if (bits->Bit() == 0) return 2;
  const uint32_t two = bits->Bits(2);
  if (two < 3) return 3 + static_cast<int>(two);
  const uint32_t five = bits->Bits(5);
  if (five < 31) return 6 + static_cast<int>(five);
  return 37 + static_cast<int>(bits->Bits(7));
}

inline void WritePassCount(int count, HeaderWriter* bits) {
  const auto value = static_cast<uint32_t>(count);
  if (count == 1) {
    bits->Put(0);
  } else if (count == 2) {
    bits->Put(2, 2);
  } else if (count <= 5) {
    bits->Put(0xC | (value - 3), 4);
  } else if (count <= 36) {
    bits->Put(0x1E0 | (value - 6), 9);
  } else {
    bits->Put(0xFF80 | (value - 37), 16);
  }
}

inline int FloorLog2(uint32_t value) {
  int log = 0;
  while (value > 1) {
    value >>= 1;
    ++log;
  }
  return log;
}

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_PASSES_H_
