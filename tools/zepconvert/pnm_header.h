// SPDX-License-Identifier: MIT
// The headers of PBM, PGM, PPM, PAM and PFM files.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PNM_HEADER_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PNM_HEADER_H_

#include <cstddef>
#include <cstdint>

#include "tools/zepconvert/bytes.h"

namespace zepconvert {

// How the samples are stored.
enum class PnmCoding { kBytes, kPackedBits, kPlainText, kPlainBits, kFloats };

struct PnmHeader {
  PnmCoding coding = PnmCoding::kBytes;
  int channels = 0;            // 1 to 4; 2 and 4 with opacity
  bool is_cmyk = false;        // four inks, 0 none
  bool is_big_endian = false;  // floats
  int64_t width = 0;
  int64_t height = 0;
  int64_t max_value = 0;  // 1 to 65535; bytes: samples above 255 take two
  size_t size = 0;        // of the header

  size_t SampleBytes() const;
  size_t SamplesInRow() const;
  // The fewest bytes that a row takes in the file. In text rows may take more.
  size_t LeastRowBytes() const;
};

// P1 to P7, PF and Pf.
bool IsPnm(const uint8_t* data, size_t size);

// A damaged header is a failure.
PnmHeader ReadPnmHeader(ByteView file);

// A number after white space and comments; negative where there is none.
int64_t ReadPnmNumber(ByteView file, size_t* at);
// Moves to the next byte that is neither white space nor part of a comment.
void SkipPnmSpace(ByteView file, size_t* at);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PNM_HEADER_H_
