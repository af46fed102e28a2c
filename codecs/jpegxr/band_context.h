// SPDX-License-Identifier: MIT
// The state of a tile's plane that coding carries from one macroblock to the next.
#ifndef ZEPJP_CODECS_JPEGXR_BAND_CONTEXT_H_
#define ZEPJP_CODECS_JPEGXR_BAND_CONTEXT_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/block_pattern.h"
#include "codecs/jpegxr/codestream.h"
#include "codecs/jpegxr/model_bits.h"
#include "codecs/jpegxr/symbol_code.h"
#include "zepjp.h"

namespace zepcodec::jpegxr {

// Whether a macroblock's low-pass components have significant coefficients, one bit each: the usual
// values of these bits have short codes (ITU-T T.832, 8.7.11).
class LpPattern {
 public:
  explicit LpPattern(ColorFormat format)
      : bits_(format == ColorFormat::kGrey ? 1
              : IsSubsampled(format)       ? 2
                                           : 3) {}

  void Reset() { full_ = empty_ = 1; }

  uint32_t Read(PacketReader* reader) {
    if (bits_ == 1) return reader->Bits(1);
    uint32_t pattern;
    if (empty_ > 0 && full_ >= 0) {
      pattern = reader->Bits(bits_);
    } else {
      pattern = 0;
      if (reader->Bit()) {
        pattern = reader->Bits(bits_ - 1);
        pattern = pattern == 0 ? 1 : pattern << 1 | reader->Bits(1);
      }
      if (full_ < empty_) pattern = Most() - pattern;
    }
    Update(pattern);
    return pattern;
  }

  void Write(uint32_t pattern, PacketWriter* writer) {
    if (bits_ == 1) return writer->Put(pattern, 1);
    if (empty_ > 0 && full_ >= 0) {
      writer->Put(pattern, bits_);
    } else {
      const uint32_t value = full_ < empty_ ? Most() - pattern : pattern;
      if (value == 0) {
        writer->Put(0, 1);
      } else if (value == 1) {
        writer->Put(1U << (bits_ - 1), bits_);
      } else {
        writer->Put(1U << bits_ | value, bits_ + 1);
      }
    }
    Update(pattern);
  }

 private:
  uint32_t Most() const { return (1U << bits_) - 1; }
  void Update(uint32_t pattern) {
    full_ = std::clamp(full_ + 1 - (pattern == Most() ? 4 : 0), -8, 7);
    empty_ = std::clamp(empty_ + 1 - (pattern == 0 ? 4 : 0), -8, 7);
  }

  uint32_t bits_;
  int full_ = 1;
  int empty_ = 1;
};

enum Scan : uint32_t { kVerticalScan = 0, kHorizontalScan = 1, kLpScan = 2 };

class BandContext {
 public:
  explicit BandContext(ColorFormat color)
      : format(color),
        dc_bits(Band::kDc, color),
        lp_bits(Band::kLp, color),
        hp_bits(Band::kHp, color),
        lp_pattern(color),
        predictor(color),
        pattern(color) {
    int32_t size = 0;
    zepiVLCGetStateSize_JPEGXR(&size);
    state_.resize(static_cast<size_t>(size) / sizeof(uint32_t) + 1);
    zepiVLCInit_JPEGXR(Codes());
  }

  zepiVLCState* Codes() { return reinterpret_cast<zepiVLCState*>(state_.data()); }

  void ResetScans() {
    for (const uint32_t scan : {kVerticalScan, kHorizontalScan, kLpScan}) {
      zepiVLCScanReset_JPEGXR(Codes(), scan);
    }
  }
  void AdaptDc() {
    for (AdaptiveCode& code : dc_level) code.Adapt();
  }
  void AdaptLp() { zepiVLCAdapt_JPEGXR(Codes(), 0); }
  void AdaptHp() {
    zepiVLCAdapt_JPEGXR(Codes(), 1);
    pattern.Adapt();
  }
  AdaptiveCode* DcLevel(size_t component) { return &dc_level[component == 0 ? 0 : 1]; }

  ColorFormat format;
  ModelBits dc_bits, lp_bits, hp_bits;
  LpPattern lp_pattern;
  PatternPredictor predictor;
  PatternCoder pattern;
  AdaptiveCode dc_level[2] = {AdaptiveCode(AdaptiveCode::Alphabet::k7),
                              AdaptiveCode(AdaptiveCode::Alphabet::k7)};

 private:
  std::vector<uint32_t> state_;
};

// Numbers of coded coefficients in luma and in chroma.
struct Counts {
  uint32_t luma = 0;
  uint32_t chroma = 0;
  uint32_t* Of(size_t component) { return component == 0 ? &luma : &chroma; }
};

// Frequencies of the low-pass coefficients of subsampled chroma, in order of coding; each is coded
// for U, then for V.
constexpr uint8_t kLp420[3] = {1, 2, 3};
constexpr uint8_t kLp422[7] = {4, 1, 2, 3, 5, 6, 7};

// Whether scan orders start again at this macroblock, and whether codes adapt after it; x counts
// inside the tile.
constexpr bool ResetsScans(size_t x) { return x % 16 == 0; }
constexpr bool AdaptsCodes(size_t x, size_t width) { return x % 16 == 0 || x + 1 == width; }

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_BAND_CONTEXT_H_
