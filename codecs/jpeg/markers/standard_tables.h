// SPDX-License-Identifier: MIT
// The example tables of ITU-T T.81, annex K, which almost every encoder uses.
#ifndef ZEPJP_CODECS_JPEG_MARKERS_STANDARD_TABLES_H_
#define ZEPJP_CODECS_JPEG_MARKERS_STANDARD_TABLES_H_

#include <array>
#include <cstdint>

namespace zepcodec::jpeg {

// As a DHT segment lists them: the number of codes of each length 1..16, then the symbols.
struct HuffmanList {
  std::array<uint8_t, 16> bits;
  const uint8_t* symbols;
  int symbol_count;
};

// Quantizer steps for quality 50 in zigzag order: tables K.1 (luminance) and K.2 (chrominance).
extern const std::array<uint8_t, 64> kLuminanceSteps;
extern const std::array<uint8_t, 64> kChrominanceSteps;

// Index 0 luminance, 1 chrominance: tables K.3 and K.4, K.5 and K.6.
extern const HuffmanList kDcHuffman[2];
extern const HuffmanList kAcHuffman[2];

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_MARKERS_STANDARD_TABLES_H_
