// SPDX-License-Identifier: MIT
// Vector types of the colour conversions, and steps over a row of pixels. Included once per
// instruction set.
#if defined(ZEPJP_SRC_JPEG_COLOR_VECTORS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_COLOR_VECTORS_INL_H_
#    undef ZEPJP_SRC_JPEG_COLOR_VECTORS_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_COLOR_VECTORS_INL_H_
#  endif

#  include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<int16_t>;
using D32 = hn::ScalableTag<int32_t>;
using V8 = hn::VFromD<D8>;
using V16 = hn::VFromD<D16>;
using V32 = hn::VFromD<D32>;

constexpr size_t kPixels = hn::MaxLanes(D8());  // in a vector

// A step converts a vector of pixels. A row of half a vector or more is one step over two halves
// that overlap: the second half begins `second` pixels after the first. Rows of less than 64 pixels
// use vectors of at most 256 bits, so a half is 8 pixels or one 128-bit block of 16.
struct Whole {
  static constexpr bool kIsWhole = true;
  static constexpr size_t second = kPixels / 2;
};
struct Halves {
  static constexpr bool kIsWhole = false;
  size_t second;
};

// From each block of 16 pixels to the next, in pixels.
template <class Parts>
HWY_INLINE size_t BlockStep(Parts parts) {
  return kPixels == 32 ? parts.second : 16;
}

// The 16 bytes that begin `before` bytes before pixel kPixel of each block.
template <size_t kPixel, size_t kBytes, class Parts>
HWY_INLINE V8 LoadBlocksFrom(Parts parts, const uint8_t* from, size_t before = 0) {
  const size_t pixel = kPixels == 16 && kPixel >= 8 ? parts.second + kPixel - 8 : kPixel;
  return LoadBlocks(D8(), from + pixel * kBytes - before,
                    static_cast<ptrdiff_t>(BlockStep(parts) * kBytes));
}

// One byte of each pixel.
HWY_INLINE V8 LoadPixels(Whole, const uint8_t* from) { return hn::LoadU(D8(), from); }
HWY_INLINE V8 LoadPixels(Halves parts, const uint8_t* from) {
  const hn::Half<D8> half;
  return hn::Combine(D8(), hn::LoadU(half, from + parts.second), hn::LoadU(half, from));
}
HWY_INLINE void StorePixels(V8 v, Whole, uint8_t* to) { hn::StoreU(v, D8(), to); }
HWY_INLINE void StorePixels(V8 v, Halves parts, uint8_t* to) {
  const hn::Half<D8> half;
  hn::StoreU(hn::LowerHalf(half, v), half, to);
  hn::StoreU(hn::UpperHalf(half, v), half, to + parts.second);
}

template <class Step>
struct WholeStep {
  const Step& step;
  HWY_INLINE void operator()(const uint8_t* const* src, uint8_t* const* dst, size_t x) const {
    step.Run(Whole(), src, dst, x);
  }
};

// Calls step.Run(parts, src, dst, x) for the pixels `begin` to `end` - 1 as ForElements does; only
// rows of less than half a vector are processed on copies.
template <class Source, class Target, class Step>
HWY_INLINE void ForPixels(const uint8_t* const* src, uint8_t* const* dst, size_t begin, size_t end,
                          const Step& step) {
  if constexpr (kPixels <= 32) {
    const size_t count = end - begin;
    if (count < kPixels && count >= kPixels / 2) {
      return step.Run(Halves{count - kPixels / 2}, src, dst, begin);
    }
  }
  ForElements<kPixels, Source, Target>(src, dst, begin, end, WholeStep<Step>{step});
}

// Bytes for each 128-bit block, such as indices for TableLookupBytesOr0.
struct BlockBytes {
  int8_t bytes[16];
};
constexpr int8_t kZero = -1;  // an index that makes TableLookupBytesOr0 give 0

// They are repeated in memory: short rows have no time to repeat them in registers.
struct VectorBytes {
  HWY_ALIGN int8_t bytes[kPixels];
  constexpr VectorBytes(const BlockBytes& block) : bytes() {
    for (size_t i = 0; i < kPixels; ++i) bytes[i] = block.bytes[i % 16];
  }
  HWY_INLINE V8 Load() const { return hn::Load(D8(), reinterpret_cast<const uint8_t*>(bytes)); }
};

HWY_INLINE V8 Shuffle(V8 bytes, const VectorBytes& indices) {
  return hn::TableLookupBytesOr0(bytes, indices.Load());
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
