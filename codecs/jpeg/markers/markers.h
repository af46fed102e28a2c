// SPDX-License-Identifier: MIT
// The second bytes of the markers (ITU-T T.81, table B.1), and the order of coefficients in files.
#ifndef ZEPJP_CODECS_JPEG_MARKERS_MARKERS_H_
#define ZEPJP_CODECS_JPEG_MARKERS_MARKERS_H_

#include <array>
#include <cstdint>

namespace zepcodec::jpeg {

constexpr int kSof0 = 0xC0;  // baseline
constexpr int kSof1 = 0xC1;  // extended sequential
constexpr int kSof2 = 0xC2;  // progressive
constexpr int kSof3 = 0xC3;  // lossless
constexpr int kDht = 0xC4;
constexpr int kJpg = 0xC8;
constexpr int kDac = 0xCC;
constexpr int kSof15 = 0xCF;
constexpr int kRst0 = 0xD0;
constexpr int kRst7 = 0xD7;
constexpr int kSoi = 0xD8;
constexpr int kEoi = 0xD9;
constexpr int kSos = 0xDA;
constexpr int kDqt = 0xDB;
constexpr int kDnl = 0xDC;
constexpr int kDri = 0xDD;
constexpr int kApp0 = 0xE0;
constexpr int kApp1 = 0xE1;
constexpr int kApp2 = 0xE2;
constexpr int kApp14 = 0xEE;
constexpr int kApp15 = 0xEF;
constexpr int kCom = 0xFE;
constexpr int kTem = 0x01;

constexpr bool IsRestart(int marker) { return marker >= kRst0 && marker <= kRst7; }
// A frame header of any kind.
constexpr bool IsFrame(int marker) {
  return marker >= kSof0 && marker <= kSof15 && marker != kDht && marker != kJpg && marker != kDac;
}

// Whether a marker begins a segment with a length.
constexpr bool HasSegment(int marker) {
  return marker != kTem && !IsRestart(marker) && marker != kSoi && marker != kEoi;
}

// kZigzag[k] is the place in natural order of the k-th coefficient of a file (T.81, figure A.6).
constexpr std::array<uint8_t, 64> kZigzag = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,   //
    12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,  //
    35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,  //
    58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_MARKERS_MARKERS_H_
