// SPDX-License-Identifier: MIT
// The 8x8 DCT in single precision, for samples of more than 8 bits: products with the matrix of
// cosines from both sides, summed in a fixed order, so that every instruction set gives the same bits.
// Included once per instruction set.

#ifndef ZEPJP_SRC_JPEG_DCT_FLOAT_CONSTANTS
#define ZEPJP_SRC_JPEG_DCT_FLOAT_CONSTANTS

namespace zepjp {
namespace {

struct FloatMatrix {
  float at[8][8];
};

// 1/2 cos(k pi / 16)
constexpr float kHalfCosines[9] = {0.5F,        0.49039264F, 0.46193977F, 0.41573481F, 0.35355339F,
                                   0.27778512F, 0.19134172F, 0.09754516F, 0.0F};

// 1/2 C(u) cos((2 x + 1) u pi / 16)
constexpr float FloatWeight(int x, int u) {
  if (u == 0) return kHalfCosines[4];
  const int angle = (2 * x + 1) * u % 32;
  const int folded = angle <= 16 ? angle : 32 - angle;
  return folded <= 8 ? kHalfCosines[folded] : -kHalfCosines[16 - folded];
}

// Rows are frequencies (forward) or samples (inverse): one is the other transposed.
constexpr FloatMatrix MakeMatrix(bool forward) {
  FloatMatrix matrix = {};
  for (int x = 0; x < 8; ++x) {
    for (int u = 0; u < 8; ++u) {
      (forward ? matrix.at[u][x] : matrix.at[x][u]) = FloatWeight(x, u);
    }
  }
  return matrix;
}
constexpr FloatMatrix kForwardMatrix = MakeMatrix(true);
constexpr FloatMatrix kInverseMatrix = MakeMatrix(false);

}  // namespace
}  // namespace zepjp
#endif

#if defined(ZEPJP_SRC_JPEG_DCT_FLOAT_DCT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEPJP_SRC_JPEG_DCT_FLOAT_DCT_INL_H_
#  undef ZEPJP_SRC_JPEG_DCT_FLOAT_DCT_INL_H_
#else
#  define ZEPJP_SRC_JPEG_DCT_FLOAT_DCT_INL_H_
#endif

#include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp {
namespace HWY_NAMESPACE {
namespace {

struct FloatBlock {
  alignas(64) float row[8][8];
};

// Calls work(d, x) for the lanes of a row, from lane x on.
template <class Work>
HWY_INLINE void ForFloats(const Work& work) {
  const hn::CappedTag<float, 8> d;
  for (size_t x = 0; x < 8; x += hn::MaxLanes(d)) work(d, x);
}

template <class D, class T>
HWY_INLINE hn::VFromD<D> LoadAsFloats(D d, const T* from) {
  const hn::RebindToSigned<D> d32;
  return hn::ConvertTo(d, hn::PromoteTo(d32, hn::LoadU(hn::Rebind<T, D>(), from)));
}

// To the nearest integers, halves to even, limited to 16-bit values.
template <class D, class T>
HWY_INLINE void StoreAsIntegers(D d, hn::VFromD<D> v, float min, float max, T* to) {
  const auto limited = hn::Min(hn::Max(v, hn::Set(d, min)), hn::Set(d, max));
  hn::StoreU(hn::DemoteTo(hn::Rebind<T, D>(), hn::NearestInt(limited)), hn::Rebind<T, D>(), to);
}

// out[i] = sum over k of matrix[i][k] block[k], a row at a time.
HWY_INLINE void TransformColumns(const FloatMatrix& matrix, FloatBlock& block) {
  const FloatBlock in = block;
  for (int i = 0; i < 8; ++i) {
    ForFloats([&](auto d, size_t x) ZEP_ATTR {
      auto sum = hn::Mul(hn::Set(d, matrix.at[i][0]), hn::Load(d, in.row[0] + x));
      for (int k = 1; k < 8; ++k) {
        sum = hn::Add(sum, hn::Mul(hn::Set(d, matrix.at[i][k]), hn::Load(d, in.row[k] + x)));
      }
      hn::Store(sum, d, block.row[i] + x);
    });
  }
}

// out[i][..] = sum over k of block[i][k] matrix[k][..].
HWY_INLINE void TransformRows(const FloatMatrix& matrix, FloatBlock& block) {
  const FloatBlock in = block;
  for (int i = 0; i < 8; ++i) {
    ForFloats([&](auto d, size_t x) ZEP_ATTR {
      auto sum = hn::Mul(hn::Set(d, in.row[i][0]), hn::LoadU(d, matrix.at[0] + x));
      for (int k = 1; k < 8; ++k) {
        sum = hn::Add(sum, hn::Mul(hn::Set(d, in.row[i][k]), hn::LoadU(d, matrix.at[k] + x)));
      }
      hn::Store(sum, d, block.row[i] + x);
    });
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zepjp
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
