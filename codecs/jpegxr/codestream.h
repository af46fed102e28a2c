// SPDX-License-Identifier: MIT
// The contents of the headers of a codestream (ITU-T T.832, 8.3 and 8.4).
#ifndef ZEPJP_CODECS_JPEGXR_CODESTREAM_H_
#define ZEPJP_CODECS_JPEGXR_CODESTREAM_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/support/picture.h"

namespace zepcodec::jpegxr {

// How the components are coded: chroma at full or at half resolution.
enum class ColorFormat { kGrey = 0, k420 = 1, k422 = 2, k444 = 3 };

constexpr size_t ComponentCount(ColorFormat format) { return format == ColorFormat::kGrey ? 1 : 3; }
constexpr bool IsSubsampled(ColorFormat format) {
  return format == ColorFormat::k420 || format == ColorFormat::k422;
}

// Blocks of a component in a macroblock, across and down.
constexpr size_t BlocksAcross(ColorFormat format, size_t component) {
  return component > 0 && IsSubsampled(format) ? 2 : 4;
}
constexpr size_t BlocksDown(ColorFormat format, size_t component) {
  return component > 0 && format == ColorFormat::k420 ? 2 : 4;
}

enum class Overlap { kNone = 0, kFirst = 1, kBoth = 2 };

// The bands of coefficients that a codestream contains.
enum class Bands { kAll = 0, kNoRefinement = 1, kNoHighpass = 2, kDcOnly = 3 };

constexpr size_t PacketsOf(Bands bands) { return 4 - static_cast<size_t>(bands); }

// Quantizer indexes of a band, by component.
using QuantizerSet = std::array<uint8_t, 3>;

struct PlaneHeader {
  ColorFormat color = ColorFormat::kGrey;
  bool is_scaled = false;  // arithmetic on samples times 8
  Bands bands = Bands::kAll;
  int shift = 0;  // bits of wide samples that are not coded; of floats: bits of the mantissa
  int exponent_bias = 0;  // of floats
  // False: each tile has quantizers of its own.
  bool is_dc_uniform = true;
  bool is_lp_uniform = true;
  bool is_hp_uniform = true;
  QuantizerSet dc = {1, 1, 1};
  QuantizerSet lp = {1, 1, 1};
  QuantizerSet hp = {1, 1, 1};

  size_t Components() const { return ComponentCount(color); }
  bool HasLp() const { return bands != Bands::kDcOnly; }
  bool HasHp() const { return bands == Bands::kAll || bands == Bands::kNoRefinement; }
};

// Whether headers tell how many low bits are left out (of floats, the bits of the mantissa).
constexpr bool HasShift(SampleType type) {
  return type != SampleType::kU8 && type != SampleType::kF16;
}

// RGB pixels whose samples are not the picture's: parts of a word, with numbers of bits, or
// mantissas with an exponent in common. The picture has 8 bits, 10 bits or floats.
enum class Packing { kNone, k555, k565, k101010, kRgbe };

constexpr SampleType TypeOf(Packing packing) {
  if (packing == Packing::kRgbe) return SampleType::kF32;
  return packing == Packing::k101010 ? SampleType::kU16 : SampleType::kU8;
}

struct FrameHeader {
  bool has_hard_tiles = false;   // overlap filters stop at tiles
  bool has_old_filters = false;  // overlap as in sub-version 0
  bool is_frequency_order = false;
  int orientation = 0;
  bool has_index = false;
  Overlap overlap = Overlap::kNone;
  bool has_trim = false;
  bool is_bgr = false;
  bool has_alpha = false;
  bool is_rgb = false;  // the output format; otherwise grey
  Packing packing = Packing::kNone;
  SampleType type = SampleType::kU8;  // of the picture
  uint32_t width = 0;
  uint32_t height = 0;
  // Columns and rows of the coded picture that are not shown.
  uint32_t extra_top = 0;
  uint32_t extra_left = 0;
  uint32_t extra_bottom = 0;
  uint32_t extra_right = 0;
  // The first macroblock of each tile, and the end of the last tile.
  std::vector<uint32_t> columns;
  std::vector<uint32_t> rows;
  PlaneHeader plane;
  PlaneHeader alpha;

  int Bits() const { return packing == Packing::k101010 ? 10 : 8 * BytesOf(type); }
  uint32_t MbWidth() const { return (extra_left + width + extra_right) / 16; }
  uint32_t MbHeight() const { return (extra_top + height + extra_bottom) / 16; }
  size_t TileCount() const { return (columns.size() - 1) * (rows.size() - 1); }
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_CODESTREAM_H_
