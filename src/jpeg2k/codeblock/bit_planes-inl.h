// SPDX-License-Identifier: MIT
// Transposes a block of samples into bit planes for the encoder: a plane has words with the bits of
// 64 samples in scan order (stripes.h). Included once per instruction set.
#if defined(ZEPJP_SRC_JPEG2K_CODEBLOCK_BIT_PLANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_CODEBLOCK_BIT_PLANES_INL_H_
#    undef ZEPJP_SRC_JPEG2K_CODEBLOCK_BIT_PLANES_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_CODEBLOCK_BIT_PLANES_INL_H_
#  endif

#  include <algorithm>
#  include <cstring>

#  include "jpeg2k/codeblock/encoder_state.h"
#  include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::codeblock::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using DI32 = hn::CappedTag<int32_t, 16>;
using VI32 = hn::Vec<DI32>;
constexpr size_t kLanes = HWY_LANES(int32_t) < 16 ? HWY_LANES(int32_t) : 16;

// Moves bit i of 16 bits to bit 4i.
HWY_INLINE uint64_t Spread(uint64_t bits) {
  bits = (bits | bits << 24) & 0x000000FF000000FF;
  bits = (bits | bits << 12) & 0x000F000F000F000F;
  bits = (bits | bits << 6) & 0x0303030303030303;
  return (bits | bits << 3) & kRow0;
}

// Four rows of sixteen samples; zeros outside the block.
class Samples {
 public:
  HWY_INLINE Samples(const Job& job, size_t stripe, size_t g) {
    const uint8_t* src = job.src + static_cast<ptrdiff_t>(4 * stripe) * job.step + 64 * g;
    const size_t columns = std::min<size_t>(static_cast<size_t>(job.size.width) - 16 * g, 16);
    const size_t rows = std::min<size_t>(static_cast<size_t>(job.size.height) - 4 * stripe, 4);
    if (columns < 16 || rows < 4) std::memset(samples_, 0, sizeof(samples_));
    for (size_t y = 0; y < rows; ++y, src += job.step) {
      std::memcpy(samples_[y], src, columns * 4);
    }
  }

  HWY_INLINE VI32 Or() const {
    const DI32 d;
    VI32 all = hn::Zero(d);
    for (const auto& row : samples_) {
      for (size_t x = 0; x < 16; x += kLanes) all = hn::Or(all, hn::LoadU(d, row + x));
    }
    return all;
  }

  // Bit `plane` of all samples, in scan order.
  HWY_INLINE uint64_t Plane(int plane) const {
    const DI32 d;
    uint64_t word = 0;
    for (int y = 0; y < 4; ++y) {
      uint64_t row = 0;
      for (size_t x = 0; x < 16; x += kLanes) {
        const VI32 on_top = hn::ShiftLeftSame(hn::LoadU(d, samples_[y] + x), 31 - plane);
        uint8_t bits[8] = {};
        hn::StoreMaskBits(d, hn::Lt(on_top, hn::Zero(d)), bits);
        uint64_t part;
        std::memcpy(&part, bits, 8);
        row |= part << x;
      }
      word |= Spread(row) << y;
    }
    return word;
  }

 private:
  alignas(64) int32_t samples_[4][16];
};

// The bit planes of a block.
struct BitPlanes {
  const uint64_t* words;
  size_t word_count;  // of a plane
  int count;          // planes up to the highest one bit
  int lowest;         // the lowest plane that is coded
  bool has_fraction;  // there are ones below it

  const uint64_t* Of(int plane) const { return words + static_cast<size_t>(plane) * word_count; }
};

// Bits that are one in any sample.
HWY_INLINE uint32_t OrOfMagnitudes(const Job& job, const Stripes& stripes) {
  const DI32 d;
  VI32 all = hn::Zero(d);
  for (size_t stripe = 0; stripe < stripes.stripe_count; ++stripe) {
    for (size_t g = 0; g < stripes.words; ++g) all = hn::Or(all, Samples(job, stripe, g).Or());
  }
  uint32_t bits = 0;
  int32_t lanes[kLanes];
  hn::StoreU(all, d, lanes);
  for (const int32_t lane : lanes) bits |= static_cast<uint32_t>(lane) & 0x7FFFFFFF;
  return bits;
}

// Writes the planes of a block to `words` and its signs to `negative`.
HWY_INLINE BitPlanes ReadBitPlanes(const Job& job, const Stripes& stripes, uint64_t* words,
                                   const BorderedWords& negative) {
  const uint32_t bits = OrOfMagnitudes(job, stripes);
  BitPlanes planes;
  planes.words = words;
  planes.word_count = stripes.WordCount();
  planes.count = bits == 0 ? 0 : 32 - __builtin_clz(bits);
  planes.lowest = kMaxPlanes - job.planes;
  planes.has_fraction = (bits & ((1u << planes.lowest) - 1)) != 0;
  // The six planes below the lowest coded one hold the fractions that count for distortion.
  const int below = planes.has_fraction ? std::max(planes.lowest - 6, 0) : planes.lowest;
  for (size_t stripe = 0; stripe < stripes.stripe_count; ++stripe) {
    for (size_t g = 0; g < stripes.words; ++g) {
      const Samples samples(job, stripe, g);
      uint64_t* word = words + stripe * stripes.words + g;
      for (int plane = below; plane < planes.count; ++plane) {
        word[static_cast<size_t>(plane) * planes.word_count] = samples.Plane(plane);
      }
      *negative.At(stripe, g) = samples.Plane(31);
    }
  }
  return planes;
}

}  // namespace
}  // namespace zepjp::codeblock::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_BIT_PLANES_INL_H_
