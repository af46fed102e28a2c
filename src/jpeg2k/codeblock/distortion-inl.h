// SPDX-License-Identifier: MIT
// The distortion that a pass removes, in units of 4^p / 2^13 on plane p. Let i be the seven bits
// of the magnitude from plane p down, in units of 2^p / 64:
//
//                               above the lowest plane           on it
//   refinement bit              normal(i) = 128 |i - 64| - 2048   last(i) = 2 (i - 64)^2
//   sample becomes significant  3 normal(i) + 2 normal(0)         4 last(64 + i / 2)
//
// normal() compares the midpoint before with the midpoint after the bit; on the lowest plane the
// decoder reaches the value itself. normal() is linear in i on either side of 64, so its sum over
// samples is a sum of population counts of the planes below; only last() needs single samples.
//
// The encoder knows all bits before it codes them, so these sums come from whole words: population
// counts of planes, weighted by powers of two. Included once per instruction set.
#if defined(ZEPJP_SRC_JPEG2K_CODEBLOCK_DISTORTION_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_CODEBLOCK_DISTORTION_INL_H_
#    undef ZEPJP_SRC_JPEG2K_CODEBLOCK_DISTORTION_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_CODEBLOCK_DISTORTION_INL_H_
#  endif

#  include "jpeg2k/codeblock/bit_planes-inl.h"
#  include "jpeg2k/codeblock/encoder_state.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::codeblock::HWY_NAMESPACE {
namespace {

class Distortion {
 public:
  explicit Distortion(const BitPlanes& planes) : planes_(planes) {}

  void StartPass(int plane) {
    plane_ = plane;
    gain_ = 0;
  }

  void AddSignificant(uint64_t samples, size_t at) {
    if (samples == 0) return;
    if (plane_ > planes_.lowest) {
      gain_ += 384 * SumBelow(samples, at) + 6144 * Count(samples);
    } else if (!planes_.has_fraction) {
      gain_ += 8192 * Count(samples);
    } else {
      for (uint64_t left = samples; left != 0; left &= left - 1) {
        const int64_t half = (64 + SumBelow(left & -left, at)) / 2;
        gain_ += 8 * half * half;
      }
    }
  }

  void AddRefined(uint64_t samples, size_t at) {
    const uint64_t bits = planes_.Of(plane_)[at];
    const uint64_t ones = samples & bits, zeros = samples & ~bits;
    if (plane_ > planes_.lowest) {
      gain_ += 128 * (SumBelow(ones, at) + 64 * Count(zeros) - SumBelow(zeros, at)) -
               2048 * Count(samples);
    } else if (!planes_.has_fraction) {
      gain_ += 8192 * Count(zeros);
    } else {
      for (uint64_t left = samples; left != 0; left &= left - 1) {
        const uint64_t sample = left & -left;
        const int64_t distance = SumBelow(sample, at) - ((sample & zeros) != 0 ? 64 : 0);
        gain_ += 2 * distance * distance;
      }
    }
  }

  void Record(Pass* pass) const {
    int64_t mantissa = gain_;
    int exponent = 2 * (plane_ - planes_.lowest) - 13;
    for (; mantissa != static_cast<int32_t>(mantissa); mantissa /= 2) ++exponent;
    pass->mantissa = static_cast<int32_t>(mantissa);
    pass->exponent = exponent;
  }

 private:
  static int64_t Count(uint64_t word) { return __builtin_popcountll(word); }

  // The sum over `samples` of the number formed by each sample's six bits below the plane.
  int64_t SumBelow(uint64_t samples, size_t at) const {
    int64_t sum = 0;
    for (int k = 5, plane = plane_ - 1; k >= 0 && plane >= 0; --k, --plane) {
      if (plane < planes_.lowest && !planes_.has_fraction) break;
      sum += Count(samples & planes_.Of(plane)[at]) << k;
    }
    return sum;
  }

  const BitPlanes planes_;
  int plane_ = 0;
  int64_t gain_ = 0;
};

}  // namespace
}  // namespace zepjp::codeblock::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_DISTORTION_INL_H_
