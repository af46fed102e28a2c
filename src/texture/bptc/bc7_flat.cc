// SPDX-License-Identifier: MIT
// BC7 blocks of one colour (Khronos Data Format Specification, 20). All pixels have the same index.
// The index, the p-bits and the two codes of each channel are chosen so that ((64 - w) a + w b +
// 32) >> 6 is as near as possible to the value. For each index and choice of p-bits the search goes
// through the first code of a channel, starting near the value; the best second code follows from
// the first.
#include "texture/bptc/bc7_flat.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "texture/bptc/bc7_modes.h"
#include "texture/bptc/bc7_packing.h"

namespace zepjp {
namespace {

constexpr uint64_t kEveryPixel = 0x1111111111111111;

int Mix(int a, int b, int weight) { return ((64 - weight) * a + weight * b + 32) >> 6; }

// The codes of an end point of a channel with the p-bit `p`.
class Codes {
 public:
  Codes(const Bc7Mode& mode, int p)
      : has_p_(mode.p_bits != kNoPBits), bits_(mode.color_bits + (has_p_ ? 1 : 0)), p_(p) {}

  int count() const { return 1 << (has_p_ ? bits_ - 1 : bits_); }
  int At(int i) const { return has_p_ ? 2 * i + p_ : i; }
  // The value of code i.
  int Value(int i) const {
    const int code = At(i) << (8 - bits_);
    return code | code >> bits_;
  }
  // A code near a value.
  int Near(int value) const { return std::clamp((value * count()) >> 8, 0, count() - 1); }

 private:
  bool has_p_;
  int bits_, p_;
};

struct Pair {
  int code[2] = {};
  int distance = std::numeric_limits<int>::max();
};

// The pair of codes whose interpolated value is nearest to `value`.
Pair NearestPair(const Codes& first, const Codes& second, int weight, int value) {
  Pair best;
  const int near = first.Near(value);
  for (int k = 0; k < 2 * first.count() && best.distance != 0; ++k) {
    const int i = near + (k % 2 == 0 ? -k / 2 : k / 2 + 1);
    if (i < 0 || i >= first.count()) continue;
    const int a = first.Value(i);
    const int b = weight == 0 ? a : (64 * value - (64 - weight) * a) / weight;
    const int other = second.Near(std::clamp(b, 0, 255));
    for (int j = std::max(other - 1, 0); j <= std::min(other + 1, second.count() - 1); ++j) {
      const int distance = std::abs(Mix(a, second.Value(j), weight) - value);
      if (distance < best.distance) best = {{first.At(i), second.At(j)}, distance};
    }
  }
  return best;
}

// The encoding of a subset.
struct Flat {
  uint32_t ends[2] = {}, index = 0;
  uint32_t error = std::numeric_limits<uint32_t>::max();  // squared, of R, G and B of one pixel
};

Flat Search(const Bc7Mode& mode, uint32_t pixel) {
  static constexpr int kWeights[2][4] = {{0, 21, 43, 64}, {0, 9, 18, 27}};
  Flat best;
  const int p_count = mode.p_bits == kNoPBits ? 1 : 2;
  // The other half of the indexes gives the same values with the ends exchanged.
  for (uint32_t index = 0; index < 1U << (mode.index_bits - 1); ++index) {
    const int weight = kWeights[mode.index_bits - 2][index];
    for (int p = 0; p < p_count * p_count; ++p) {
      const int p0 = p / p_count, p1 = p % p_count;
      if (mode.p_bits == kSharedPBits && p0 != p1) continue;
      Flat own;
      own.index = index;
      own.error = 0;
      for (int c = 0; c < 3; ++c) {
        const int value = static_cast<int>(pixel >> (8 * c) & 255);
        const Pair pair = NearestPair(Codes(mode, p0), Codes(mode, p1), weight, value);
        own.error += static_cast<uint32_t>(pair.distance * pair.distance);
        for (int e = 0; e < 2; ++e) own.ends[e] |= static_cast<uint32_t>(pair.code[e]) << (8 * c);
      }
      if (own.error < best.error) best = own;
      if (best.error == 0) return best;
    }
  }
  return best;
}

// Mode 5 is exact for every colour: a value is that of a code of seven bits, or it lies between the
// values of two neighbouring codes. Then index 1 gives the value, with the nearer code first.
void PackExactly(uint32_t pixel, uint8_t* block) {
  Bc7Choice choice = {5, 0, 0, 0, {}, {pixel >> 24, pixel >> 24}, kEveryPixel, 0};
  for (int c = 0; c < 3; ++c) {
    const uint32_t value = pixel >> (8 * c) & 255, code = value >> 1;
    const bool is_between = (value & 1) != value >> 7;
    const uint32_t other = !is_between ? code : value < 128 ? code + 1 : code - 1;
    choice.ends[0] |= code << (8 * c);
    choice.ends[1] |= other << (8 * c);
  }
  PackBc7(choice, block);
}

}  // namespace

bool PackFlatBc7(uint32_t pixel, int mode, uint32_t error, uint8_t* block) {
  if (error == 0 || mode == 4 || mode > 5) return false;
  if (mode < 0 || mode == 5) {
    PackExactly(pixel, block);
    return true;
  }
  const Flat flat = Search(kBc7Modes[mode], pixel);
  const uint32_t alpha = 255 - (pixel >> 24);
  if (16 * (flat.error + alpha * alpha) >= error) return false;
  Bc7Choice choice = {mode, 0, 0, 0, {}, {}, kEveryPixel * flat.index, 0};
  for (int i = 0; i < 6; ++i) choice.ends[i] = flat.ends[i % 2];
  PackBc7(choice, block);
  return true;
}

}  // namespace zepjp
