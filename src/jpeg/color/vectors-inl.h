// SPDX-License-Identifier: MIT
// Vector types of the colour conversions. Included once per instruction set.
#if defined(ZEPJP_SRC_JPEG_COLOR_VECTORS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_COLOR_VECTORS_INL_H_
#    undef ZEPJP_SRC_JPEG_COLOR_VECTORS_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_COLOR_VECTORS_INL_H_
#  endif

#  include "simd/ops-inl.h"

namespace zepjp::HWY_NAMESPACE {
namespace {

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<int16_t>;
using D32 = hn::ScalableTag<int32_t>;
using V8 = hn::VFromD<D8>;
using V16 = hn::VFromD<D16>;
using V32 = hn::VFromD<D32>;

constexpr size_t kPixels = hn::MaxLanes(D8());  // in a vector

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE

#endif  // per-target include guard
