// SPDX-License-Identifier: MIT
#include "reference/bptc.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace reference {
namespace {

// The subset of each pixel.
const char* const kTwoSubsets[64] = {
    "0011001100110011", "0001000100010001", "0111011101110111", "0001001100110111",
    "0000000100010011", "0011011101111111", "0001001101111111", "0000000100110111",
    "0000000000010011", "0011011111111111", "0000000101111111", "0000000000010111",
    "0001011111111111", "0000000011111111", "0000111111111111", "0000000000001111",
    "0000100011101111", "0111000100000000", "0000000010001110", "0111001100010000",
    "0011000100000000", "0000100011001110", "0000000010001100", "0111001100110001",
    "0011000100010000", "0000100010001100", "0110011001100110", "0011011001101100",
    "0001011111101000", "0000111111110000", "0111000110001110", "0011100110011100",
    "0101010101010101", "0000111100001111", "0101101001011010", "0011001111001100",
    "0011110000111100", "0101010110101010", "0110100101101001", "0101101010100101",
    "0111001111001110", "0001001111001000", "0011001001001100", "0011101111011100",
    "0110100110010110", "0011110011000011", "0110011010011001", "0000011001100000",
    "0100111001000000", "0010011100100000", "0000001001110010", "0000010011100100",
    "0110110010010011", "0011011011001001", "0110001110011100", "0011100111000110",
    "0110110011001001", "0110001100111001", "0111111010000001", "0001100011100111",
    "0000111100110011", "0011001111110000", "0010001011101110", "0100010001110111"};
const char* const kThreeSubsets[64] = {
    "0011001102212222", "0001001122112221", "0000200122112211", "0222002200110111",
    "0000000011221122", "0011001100220022", "0022002211111111", "0011001122112211",
    "0000000011112222", "0000111111112222", "0000111122222222", "0012001200120012",
    "0112011201120112", "0122012201220122", "0011011211221222", "0011200122002220",
    "0001001101121122", "0111001120012200", "0000112211221122", "0022002200221111",
    "0111011102220222", "0001000122212221", "0000001101220122", "0000110022102210",
    "0122012200110000", "0012001211222222", "0110122112210110", "0000011012211221",
    "0022110211020022", "0110011020022222", "0011012201220011", "0000200022112221",
    "0000000211221222", "0222002200120011", "0011001200220222", "0120012001200120",
    "0000111122220000", "0120120120120120", "0120201212010120", "0011220011220011",
    "0011112222000011", "0101010122222222", "0000000021212121", "0022112200221122",
    "0022001100220011", "0220122102201221", "0101222222220101", "0000212121212121",
    "0101010101012222", "0222011102220111", "0002111200021112", "0000211221122112",
    "0222011101110222", "0002111211120002", "0110011001102222", "0000000021122112",
    "0110011022222222", "0022001100110022", "0022112211220022", "0000000000002112",
    "0002000100020001", "0222122202221222", "0101222222222222", "0111201122012220"};

const int kWeights2[] = {0, 21, 43, 64};
const int kWeights3[] = {0, 9, 18, 27, 37, 46, 55, 64};
const int kWeights4[] = {0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64};

int Interpolate(int a, int b, int index_bits, int index) {
  const int w = index_bits == 2   ? kWeights2[index]
                : index_bits == 3 ? kWeights3[index]
                                  : kWeights4[index];
  return ((64 - w) * a + w * b + 32) >> 6;
}

class Bits {
 public:
  explicit Bits(const uint8_t* block) : block_(block) {}
  int Take(int count) {
    int value = 0;
    for (int i = 0; i < count; ++i, ++at_) value |= (block_[at_ / 8] >> (at_ % 8) & 1) << i;
    return value;
  }
  int at() const { return at_; }

 private:
  const uint8_t* block_;
  int at_ = 0;
};

std::string Subsets(int count, int partition) {
  return count == 1   ? std::string(16, '0')
         : count == 2 ? kTwoSubsets[partition]
                      : kThreeSubsets[partition];
}

// The pixels whose indexes are one bit shorter, by partition, in subsets 1 and 2.
const int kAnchorOfTwo[64] = {15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15,
                              15, 2,  8,  2,  2,  8,  8,  15, 2,  8,  2,  2,  8,  8,  2,  2,
                              15, 15, 6,  8,  2,  8,  15, 15, 2,  8,  2,  2,  2,  15, 15, 6,
                              6,  2,  6,  8,  15, 15, 2,  2,  15, 15, 15, 15, 15, 2,  2,  15};
const int kAnchorsOfThree[2][64] = {
    {3,  3,  15, 15, 8, 3,  15, 15, 8,  8,  6, 6,  6, 5,  3, 3,  3,  3,  8,  15, 3,  3,
     6,  10, 5,  8,  8, 6,  8,  5,  15, 15, 8, 15, 3, 5,  6, 10, 8,  15, 15, 3,  15, 5,
     15, 15, 15, 15, 3, 15, 5,  5,  5,  8,  5, 10, 5, 10, 8, 13, 15, 12, 3,  3},
    {15, 8, 8, 3,  15, 15, 3,  8,  15, 15, 15, 15, 15, 15, 15, 8,  15, 8,  15, 3,  15, 8,
     15, 8, 3, 15, 6,  10, 15, 15, 10, 8,  15, 3,  15, 10, 10, 8,  9,  10, 6,  15, 8,  15,
     3,  6, 6, 8,  15, 3,  15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 3,  15, 15, 8}};

std::array<int, 16> Indexes(Bits* bits, int width, int subsets, int partition) {
  std::array<int, 16> indexes = {};
  for (int i = 0; i < 16; ++i) {
    const bool is_anchor = i == 0 || (subsets == 2 && i == kAnchorOfTwo[partition]) ||
                           (subsets == 3 && (i == kAnchorsOfThree[0][partition] ||
                                             i == kAnchorsOfThree[1][partition]));
    indexes[static_cast<size_t>(i)] = bits->Take(is_anchor ? width - 1 : width);
  }
  return indexes;
}

enum class PBits { kNone, kEach, kShared };

struct Bc7Format {
  int subsets, partition_bits, rotation_bits, selection_bits, color_bits, alpha_bits;
  PBits p_bits;
  int index_bits, second_bits;
};
const Bc7Format kBc7[8] = {
    {3, 4, 0, 0, 4, 0, PBits::kEach, 3, 0}, {2, 6, 0, 0, 6, 0, PBits::kShared, 3, 0},
    {3, 6, 0, 0, 5, 0, PBits::kNone, 2, 0}, {2, 6, 0, 0, 7, 0, PBits::kEach, 2, 0},
    {1, 0, 2, 1, 5, 6, PBits::kNone, 2, 3}, {1, 0, 2, 0, 7, 8, PBits::kNone, 2, 2},
    {1, 0, 0, 0, 7, 7, PBits::kEach, 4, 0}, {2, 6, 0, 0, 5, 5, PBits::kEach, 2, 0}};

using Pixel = std::array<int, 4>;
using Tile = std::array<Pixel, 16>;

int Widen(int value, int bits) {
  value <<= 8 - bits;
  return value | value >> bits;
}

// Two end points for each subset, in 8 bits.
std::array<Pixel, 6> EndPoints(Bits* bits, const Bc7Format& format) {
  std::array<Pixel, 6> ends = {};
  const auto count = static_cast<size_t>(2 * format.subsets);
  for (size_t c = 0; c < 4; ++c) {
    const int width = c < 3 ? format.color_bits : format.alpha_bits;
    for (size_t i = 0; i < count; ++i) ends[i][c] = bits->Take(width);
  }
  int p[6] = {};
  if (format.p_bits == PBits::kEach) {
    for (size_t i = 0; i < count; ++i) p[i] = bits->Take(1);
  } else if (format.p_bits == PBits::kShared) {
    for (size_t i = 0; i < count; i += 2) p[i] = p[i + 1] = bits->Take(1);
  }
  for (size_t i = 0; i < count; ++i) {
    for (size_t c = 0; c < 4; ++c) {
      int width = c < 3 ? format.color_bits : format.alpha_bits;
      if (width == 0) {
        ends[i][c] = 255;
        continue;
      }
      if (format.p_bits != PBits::kNone) {
        ends[i][c] = ends[i][c] << 1 | p[i];
        ++width;
      }
      ends[i][c] = Widen(ends[i][c], width);
    }
  }
  return ends;
}

Tile DecodeBc7(const uint8_t* block) {
  Tile tile = {};
  const int mode = Bc7Mode(block);
  if (mode == 8) return tile;
  const Bc7Format& format = kBc7[mode];
  Bits bits(block);
  bits.Take(mode + 1);
  const int partition = bits.Take(format.partition_bits);
  const int rotation = bits.Take(format.rotation_bits),
            selection = bits.Take(format.selection_bits);
  const std::array<Pixel, 6> ends = EndPoints(&bits, format);
  const std::array<int, 16> first = Indexes(&bits, format.index_bits, format.subsets, partition);
  std::array<int, 16> second = first;
  int color_bits = format.index_bits, alpha_bits = format.index_bits;
  if (format.second_bits != 0) {
    second = Indexes(&bits, format.second_bits, 1, 0);
    alpha_bits = format.second_bits;
  }
  std::array<int, 16> of_color = first, of_alpha = second;
  if (selection == 1) {
    std::swap(of_color, of_alpha);
    std::swap(color_bits, alpha_bits);
  }
  if (bits.at() != 128) std::abort();
  const std::string subsets = Subsets(format.subsets, partition);
  for (size_t i = 0; i < 16; ++i) {
    const auto subset = static_cast<size_t>(subsets[i] - '0');
    const Pixel &a = ends[2 * subset], &b = ends[2 * subset + 1];
    for (size_t c = 0; c < 3; ++c) tile[i][c] = Interpolate(a[c], b[c], color_bits, of_color[i]);
    tile[i][3] = Interpolate(a[3], b[3], alpha_bits, of_alpha[i]);
    if (rotation != 0) std::swap(tile[i][3], tile[i][static_cast<size_t>(rotation - 1)]);
  }
  return tile;
}

struct Bc6hFormat {
  int mode, mode_bits, regions;
  bool has_deltas;
  int end_bits, other_bits[3];
  const char* layout;
};
const Bc6hFormat kBc6h[] = {
    {0,
     2,
     2,
     true,
     10,
     {5, 5, 5},
     "g2[4] b2[4] b3[4] r0[0..9] g0[0..9] b0[0..9] r1[0..4] g3[4] g2[0..3] g1[0..4] b3[0] "
     "g3[0..3] b1[0..4] b3[1] b2[0..3] r2[0..4] b3[2] r3[0..4] b3[3]"},
    {1,
     2,
     2,
     true,
     7,
     {6, 6, 6},
     "g2[5] g3[4] g3[5] r0[0..6] b3[0] b3[1] b2[4] g0[0..6] b2[5] b3[2] g2[4] b0[0..6] "
     "b3[3] b3[5] b3[4] r1[0..5] g2[0..3] g1[0..5] g3[0..3] b1[0..5] b2[0..3] r2[0..5] "
     "r3[0..5]"},
    {2,
     5,
     2,
     true,
     11,
     {5, 4, 4},
     "r0[0..9] g0[0..9] b0[0..9] r1[0..4] r0[10] g2[0..3] g1[0..3] g0[10] b3[0] g3[0..3] "
     "b1[0..3] b0[10] b3[1] b2[0..3] r2[0..4] b3[2] r3[0..4] b3[3]"},
    {6,
     5,
     2,
     true,
     11,
     {4, 5, 4},
     "r0[0..9] g0[0..9] b0[0..9] r1[0..3] r0[10] g3[4] g2[0..3] g1[0..4] g0[10] g3[0..3] "
     "b1[0..3] b0[10] b3[1] b2[0..3] r2[0..3] b3[0] b3[2] r3[0..3] g2[4] b3[3]"},
    {10,
     5,
     2,
     true,
     11,
     {4, 4, 5},
     "r0[0..9] g0[0..9] b0[0..9] r1[0..3] r0[10] b2[4] g2[0..3] g1[0..3] g0[10] b3[0] "
     "g3[0..3] b1[0..4] b0[10] b2[0..3] r2[0..3] b3[1] b3[2] r3[0..3] b3[4] b3[3]"},
    {14,
     5,
     2,
     true,
     9,
     {5, 5, 5},
     "r0[0..8] b2[4] g0[0..8] g2[4] b0[0..8] b3[4] r1[0..4] g3[4] g2[0..3] g1[0..4] b3[0] "
     "g3[0..3] b1[0..4] b3[1] b2[0..3] r2[0..4] b3[2] r3[0..4] b3[3]"},
    {18,
     5,
     2,
     true,
     8,
     {6, 5, 5},
     "r0[0..7] g3[4] b2[4] g0[0..7] b3[2] g2[4] b0[0..7] b3[3] b3[4] r1[0..5] g2[0..3] "
     "g1[0..4] b3[0] g3[0..3] b1[0..4] b3[1] b2[0..3] r2[0..5] r3[0..5]"},
    {22,
     5,
     2,
     true,
     8,
     {5, 6, 5},
     "r0[0..7] b3[0] b2[4] g0[0..7] g2[5] g2[4] b0[0..7] g3[5] b3[4] r1[0..4] g3[4] "
     "g2[0..3] g1[0..5] g3[0..3] b1[0..4] b3[1] b2[0..3] r2[0..4] b3[2] r3[0..4] b3[3]"},
    {26,
     5,
     2,
     true,
     8,
     {5, 5, 6},
     "r0[0..7] b3[1] b2[4] g0[0..7] b2[5] g2[4] b0[0..7] b3[5] b3[4] r1[0..4] g3[4] "
     "g2[0..3] g1[0..4] b3[0] g3[0..3] b1[0..5] b2[0..3] r2[0..4] b3[2] r3[0..4] b3[3]"},
    {30,
     5,
     2,
     false,
     6,
     {6, 6, 6},
     "r0[0..5] g3[4] b3[0] b3[1] b2[4] g0[0..5] g2[5] b2[5] b3[2] g2[4] b0[0..5] g3[5] "
     "b3[3] b3[5] b3[4] r1[0..5] g2[0..3] g1[0..5] g3[0..3] b1[0..5] b2[0..3] r2[0..5] "
     "r3[0..5]"},
    {3, 5, 1, false, 10, {10, 10, 10}, "r0[0..9] g0[0..9] b0[0..9] r1[0..9] g1[0..9] b1[0..9]"},
    {7,
     5,
     1,
     true,
     11,
     {9, 9, 9},
     "r0[0..9] g0[0..9] b0[0..9] r1[0..8] r0[10] g1[0..8] g0[10] b1[0..8] b0[10]"},
    {11,
     5,
     1,
     true,
     12,
     {8, 8, 8},
     "r0[0..9] g0[0..9] b0[0..9] r1[0..7] r0[11..10] g1[0..7] g0[11..10] b1[0..7] "
     "b0[11..10]"},
    {15,
     5,
     1,
     true,
     16,
     {4, 4, 4},
     "r0[0..9] g0[0..9] b0[0..9] r1[0..3] r0[15..10] g1[0..3] g0[15..10] b1[0..3] "
     "b0[15..10]"}};

// ends[k][c]: channel c of end point k.
using Ends = std::array<std::array<int, 3>, 4>;

// Takes a field of a layout: r0[9], r0[0..9], or r0[15..10], whose highest bit comes first.
void TakeField(const std::string& field, Bits* bits, Ends* ends) {
  const size_t channel = field[0] == 'r' ? 0 : field[0] == 'g' ? 1 : 2;
  int& value = (*ends)[static_cast<size_t>(field[1] - '0')][channel];
  const int first = std::atoi(field.c_str() + 3);
  const size_t dots = field.find("..");
  const int last = dots == std::string::npos ? first : std::atoi(field.c_str() + dots + 2);
  const int direction = first <= last ? 1 : -1;
  for (int bit = first; bit != last + direction; bit += direction) value |= bits->Take(1) << bit;
}

int SignExtend(int value, int bits) {
  value &= (1 << bits) - 1;
  return value >= 1 << (bits - 1) ? value - (1 << bits) : value;
}

int Unquantize(int x, int bits, bool is_signed) {
  if (!is_signed) {
    if (bits >= 15 || x == 0) return x;
    return x == (1 << bits) - 1 ? 0xFFFF : ((x << 16) + 0x8000) >> bits;
  }
  if (bits >= 16 || x == 0) return x;
  const int m = std::abs(x);
  const int wide = m >= (1 << (bits - 1)) - 1 ? 0x7FFF : ((m << 15) + 0x4000) >> (bits - 1);
  return x < 0 ? -wide : wide;
}

int Finish(int v, bool is_signed) {
  if (!is_signed) return (v * 31) >> 6;
  const int m = (std::abs(v) * 31) >> 5;
  return v < 0 && m != 0 ? m | 0x8000 : m;
}

void Complete(const Bc6hFormat& format, bool is_signed, Ends* ends) {
  for (size_t c = 0; c < 3; ++c) {
    int& first = (*ends)[0][c];
    if (is_signed) first = SignExtend(first, format.end_bits);
    for (size_t k = 1; k < 4; ++k) {
      int& end = (*ends)[k][c];
      if (is_signed || format.has_deltas) end = SignExtend(end, format.other_bits[c]);
      if (format.has_deltas) end = (first + end) & ((1 << format.end_bits) - 1);
      if (format.has_deltas && is_signed) end = SignExtend(end, format.end_bits);
    }
    for (size_t k = 0; k < 4; ++k) {
      (*ends)[k][c] = Unquantize((*ends)[k][c], format.end_bits, is_signed);
    }
  }
}

Tile DecodeBc6h(const uint8_t* block, bool is_signed) {
  Tile tile = {};
  const int mode = (block[0] & 3) < 2 ? block[0] & 3 : block[0] & 31;
  const Bc6hFormat* format = nullptr;
  for (const Bc6hFormat& one : kBc6h) {
    if (one.mode == mode) format = &one;
  }
  if (format == nullptr) return tile;
  Bits bits(block);
  bits.Take(format->mode_bits);
  Ends ends = {};
  std::istringstream fields(format->layout);
  for (std::string field; fields >> field;) TakeField(field, &bits, &ends);
  Complete(*format, is_signed, &ends);
  const int partition = format->regions == 2 ? bits.Take(5) : 0;
  const int width = format->regions == 2 ? 3 : 4;
  const std::array<int, 16> indexes = Indexes(&bits, width, format->regions, partition);
  if (bits.at() != 128) std::abort();
  const std::string regions = Subsets(format->regions, partition);
  for (size_t i = 0; i < 16; ++i) {
    const auto end = static_cast<size_t>(2 * (regions[i] - '0'));
    for (size_t c = 0; c < 3; ++c) {
      const int v = Interpolate(ends[end][c], ends[end + 1][c], width, indexes[i]);
      tile[i][c] = Finish(v, is_signed);
    }
  }
  return tile;
}

// Decodes all blocks, then stores the rows one after another.
template <class T, size_t kChannels, class DecodeBlock>
zepStatus Decode(const uint8_t* src, T* dst, int32_t step, zepiSize size, DecodeBlock decode) {
  if (src == nullptr || dst == nullptr) return zepStatusNullPtr;
  if (step == 0) return zepStatusBadStep;
  if (size.width < 1 || size.height < 1) return zepStatusBadSize;
  const auto width = static_cast<size_t>(size.width), height = static_cast<size_t>(size.height);
  std::vector<T> image(width * height * kChannels);
  for (size_t y = 0; y < height; y += 4) {
    for (size_t x = 0; x < width; x += 4, src += 16) {
      const Tile tile = decode(src);
      for (size_t i = 0; i < 16; ++i) {
        const size_t column = x + i % 4, row = y + i / 4;
        if (column >= width || row >= height) continue;
        for (size_t c = 0; c < kChannels; ++c) {
          image[(row * width + column) * kChannels + c] = static_cast<T>(tile[i][c]);
        }
      }
    }
  }
  for (size_t y = 0; y < height; ++y) {
    std::memcpy(reinterpret_cast<uint8_t*>(dst) + static_cast<ptrdiff_t>(y) * step,
                &image[y * width * kChannels], width * kChannels * sizeof(T));
  }
  return zepStatusOk;
}

}  // namespace

int Bc7Mode(const uint8_t* block) {
  int mode = 0;
  while (mode < 8 && (block[0] >> mode & 1) == 0) ++mode;
  return mode;
}

zepStatus zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R(const uint8_t* src, uint16_t* dst,
                                                        int32_t dst_step, zepiSize size) {
  return Decode<uint16_t, 3>(src, dst, dst_step, size,
                             [](const uint8_t* block) { return DecodeBc6h(block, false); });
}

zepStatus zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R(const uint8_t* src, uint16_t* dst,
                                                        int32_t dst_step, zepiSize size) {
  return Decode<uint16_t, 3>(src, dst, dst_step, size,
                             [](const uint8_t* block) { return DecodeBc6h(block, true); });
}

zepStatus zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                    int32_t dst_step, zepiSize size) {
  return Decode<uint8_t, 4>(src, dst, dst_step, size, DecodeBc7);
}

uint64_t Bc7Error(const uint8_t* src, int32_t src_step, zepiSize size, const uint8_t* blocks) {
  const auto row = static_cast<size_t>(size.width) * 4;
  std::vector<uint8_t> decoded(row * static_cast<size_t>(size.height));
  reference::zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(blocks, decoded.data(),
                                                       static_cast<int32_t>(row), size);
  uint64_t error = 0;
  for (int32_t y = 0; y < size.height; ++y) {
    const uint8_t* const from = src + ptrdiff_t{y} * src_step;
    for (size_t i = 0; i < row; ++i) {
      const int difference = from[i] - decoded[static_cast<size_t>(y) * row + i];
      error += static_cast<uint64_t>(difference * difference);
    }
  }
  return error;
}

}  // namespace reference
