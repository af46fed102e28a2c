// SPDX-License-Identifier: MIT
// The vectors of three components, and their memory layouts. Included once per instruction set.
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

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<int16_t>;
using D32 = hn::ScalableTag<int32_t>;
using DU32 = hn::ScalableTag<uint32_t>;
using DF = hn::ScalableTag<float>;
using V16 = hn::VFromD<D16>;
using V32 = hn::VFromD<D32>;
using VF = hn::VFromD<DF>;

template <class D>
struct Three {
  hn::VFromD<D> c0, c1, c2;
};

// The memory layouts. Elements may have any alignment, so addresses are computed in bytes.
template <class D>
struct PlanarPixels : Span<3, sizeof(hn::TFromD<D>)> {
  static constexpr size_t kLanes = hn::MaxLanes(D());
  static HWY_INLINE hn::VFromD<D> LoadOne(const uint8_t* row, size_t x) {
    return hn::BitCast(D(), hn::LoadU(D8(), row + x * PlanarPixels::kBytes));
  }
  static HWY_INLINE void StoreOne(hn::VFromD<D> v, uint8_t* row, size_t x) {
    hn::StoreU(hn::BitCast(D8(), v), D8(), row + x * PlanarPixels::kBytes);
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

template <class D>
struct InterleavedPixels : Span<1, 3 * sizeof(hn::TFromD<D>)> {
  static constexpr size_t kLanes = hn::MaxLanes(D());
  static HWY_INLINE Three<D> Load(const uint8_t* const* src, size_t x) {
    Three<D> v;
    const auto* from =
        reinterpret_cast<const hn::TFromD<D>*>(src[0] + x * InterleavedPixels::kBytes);
    hn::LoadInterleaved3(D(), from, v.c0, v.c1, v.c2);
    return v;
  }
  static HWY_INLINE void Store(Three<D> v, uint8_t* const* dst, size_t x) {
    auto* to = reinterpret_cast<hn::TFromD<D>*>(dst[0] + x * InterleavedPixels::kBytes);
    hn::StoreInterleaved3(v.c0, v.c1, v.c2, D(), to);
  }
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
