// SPDX-License-Identifier: MIT
// The vectors of three components, and their layout in planes. Included once per instruction set.
#if defined(ZEPJP_SRC_JPEG2K_COMPONENTS_LAYOUTS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_COMPONENTS_LAYOUTS_INL_H_
#    undef ZEPJP_SRC_JPEG2K_COMPONENTS_LAYOUTS_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_COMPONENTS_LAYOUTS_INL_H_
#  endif

#  include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using D16 = hn::ScalableTag<int16_t>;
using D32 = hn::ScalableTag<int32_t>;
using DU32 = hn::ScalableTag<uint32_t>;
using DF = hn::ScalableTag<float>;
using V16 = hn::VFromD<D16>;
using V32 = hn::VFromD<D32>;

// Transforms with few operations for a pixel are limited by their stores, which are no faster with
// 64 bytes than with 32.
template <class T>
using DStores = hn::CappedTag<T, 32 / sizeof(T)>;

template <class D>
struct Three {
  hn::VFromD<D> c0, c1, c2;
};

// Elements may have any alignment, so addresses are computed in bytes.
template <class D>
struct PlanarPixels : Span<3, sizeof(hn::TFromD<D>)> {
  using Bytes = hn::Repartition<uint8_t, D>;
  static constexpr size_t kLanes = hn::MaxLanes(D());
  static HWY_INLINE hn::VFromD<D> LoadOne(const uint8_t* row, size_t x) {
    return hn::BitCast(D(), hn::LoadU(Bytes(), row + x * PlanarPixels::kBytes));
  }
  static HWY_INLINE void StoreOne(hn::VFromD<D> v, uint8_t* row, size_t x) {
    hn::StoreU(hn::BitCast(Bytes(), v), Bytes(), row + x * PlanarPixels::kBytes);
  }
  static HWY_INLINE Three<D> Load(const uint8_t* const* src, size_t x) {
    return {LoadOne(src[0], x), LoadOne(src[1], x), LoadOne(src[2], x)};
  }
  static HWY_INLINE void Store(Three<D> v, uint8_t* const* dst, size_t x) {
    StoreOne(v.c0, dst[0], x);
    StoreOne(v.c1, dst[1], x);
    StoreOne(v.c2, dst[2], x);
  }
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
