// SPDX-License-Identifier: MIT
// Prediction of lossless JPEG (ITU-T T.81, H.1.2.1): rows of samples to differences and back,
// modulo 65536.
//
// With a the left neighbour, b the one above, and c the one above and to the left (the corner):
//
//   1  a    2  b    3  c    4  a + b - c    5  a + ((b - c) >> 1)    6  b + ((a - c) >> 1)
//   7  (a + b) >> 1
//
// Forward, all neighbours are known, and every predictor is a formula on vectors. Inverse, a is the
// sample that was just restored:
//
//   2, 3     do not use a: formulas on vectors
//   1, 4, 5  use a without a factor, so samples are running sums of known values: those within a
//            vector take log2(lanes) steps, and only one addition waits for the vector before
//   6, 7     halve a, so every sample has to wait for the one before. With some bits inverted, each
//            is a rounded mean and a sum, s' = ((s + p + 1) >> 1) + q: two instructions
//
// Processors with AVX-512 run the kernels for AVX2 too. Longer stores are not faster in the cache,
// and running sums take more steps in longer vectors.
#include <algorithm>

#include "frame/checks.h"
#include "simd/dispatch.h"

#define HWY_DISABLED_TARGETS HWY_AVX3
#define HWY_TARGET_INCLUDE "jpeg/lossless/prediction.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_PREDICTION_KERNELS
#  define ZEPJP_PREDICTION_KERNELS
namespace zepjp {
namespace {

constexpr int kPredictors = 7;

// Processes samples 1 to width - 1 of a row; `above` is the row above from its sample 0.
using PredictRow = void (*)(const uint8_t* src, const uint8_t* above, uint8_t* dst, size_t width);

struct Kernels {
  PredictRow forward[kPredictors];
  PredictRow inverse[kPredictors];
};

// 16-bit samples at any alignment.
inline uint32_t Get(const uint8_t* row, size_t x) {
  uint16_t sample;
  __builtin_memcpy(&sample, row + 2 * x, 2);
  return sample;
}
inline void Put(uint8_t* row, size_t x, uint32_t sample) {
  const auto low = static_cast<uint16_t>(sample);
  __builtin_memcpy(row + 2 * x, &low, 2);
}

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using D = hn::ScalableTag<uint16_t>;
using D8 = hn::ScalableTag<uint8_t>;
using V = hn::VFromD<D>;
constexpr size_t kSamples = hn::MaxLanes(D());
constexpr size_t kUnrolled = 4;  // vectors in a turn of a loop

HWY_INLINE V Load(const uint8_t* row, size_t x) {
  return hn::BitCast(D(), hn::LoadU(D8(), row + 2 * x));
}
HWY_INLINE void Store(V v, uint8_t* row, size_t x) {
  hn::StoreU(hn::BitCast(D8(), v), D8(), row + 2 * x);
}

// (a - b) >> 1 of unsigned samples, or of signed ones: the low 16 bits of it. a - b itself may need
// 17 bits, so the halves are subtracted, and 1 if only the lowest bit of b is set.
HWY_INLINE V Borrow(V a, V b) { return hn::And(hn::AndNot(a, b), hn::Set(D(), 1)); }
HWY_INLINE V HalfDifference(V a, V b) {
  return hn::Sub(hn::Sub(hn::ShiftRight<1>(a), hn::ShiftRight<1>(b)), Borrow(a, b));
}
HWY_INLINE V SignedHalf(V v) {
  return hn::BitCast(D(), hn::ShiftRight<1>(hn::BitCast(hn::RebindToSigned<D>(), v)));
}
HWY_INLINE V SignedHalfDifference(V a, V b) {
  return hn::Sub(hn::Sub(SignedHalf(a), SignedHalf(b)), Borrow(a, b));
}
// (a + b) >> 1 of unsigned samples.
HWY_INLINE V Mean(V a, V b) {
  return hn::Sub(hn::AverageRound(a, b), hn::And(hn::Xor(a, b), hn::Set(D(), 1)));
}

template <int kPredictor>
HWY_INLINE V Predict(V left, V above, V corner) {
  switch (kPredictor) {
    case 1: return left;
    case 2: return above;
    case 3: return corner;
    case 4: return hn::Add(left, hn::Sub(above, corner));
    case 5: return hn::Add(left, HalfDifference(above, corner));
    case 6: return hn::Add(above, SignedHalfDifference(left, corner));
    default: return Mean(left, above);
  }
}

template <int kPredictor>
struct Difference {
  static HWY_INLINE V At(const uint8_t* src, const uint8_t* above, size_t x) {
    constexpr bool kHasLeft = kPredictor == 1 || kPredictor >= 4;
    constexpr bool kHasAbove = kPredictor == 2 || kPredictor >= 4;
    constexpr bool kHasCorner = kPredictor >= 3 && kPredictor <= 6;
    const V zero = hn::Zero(D());
    const V left = kHasLeft ? Load(src, x - 1) : zero;
    const V up = kHasAbove ? Load(above, x) : zero;
    const V corner = kHasCorner ? Load(above, x - 1) : zero;
    return hn::Sub(Load(src, x), Predict<kPredictor>(left, up, corner));
  }
};

// Samples of predictors 2 and 3, from the differences.
template <int kPredictor>
struct Sample {
  static HWY_INLINE V At(const uint8_t* src, const uint8_t* above, size_t x) {
    return hn::Add(Load(src, x), Load(above, kPredictor == 2 ? x : x - 1));
  }
};

// A copy of the sample before `begin` and of `count` samples from there, fewer than kSamples.
class Few {
 public:
  HWY_INLINE Few(const uint8_t* row, size_t begin, size_t count) {
    if (row != nullptr) CopyBytes(row + 2 * (begin - 1), bytes_, 2 * (count + 1));
  }
  const uint8_t* row() const { return bytes_; }

 private:
  HWY_ALIGN uint8_t bytes_[4 * kSamples] = {};
};

// Goes from the end of the row to its start, because dst may be src. So the vector at the start is
// computed first and stored last; it may overlap the one after it.
template <class Formula>
void FormulaRow(const uint8_t* src, const uint8_t* above, uint8_t* dst, size_t width) {
  if (width <= kSamples) {
    const Few samples(src, 1, width - 1), up(above, 1, width - 1);
    HWY_ALIGN uint8_t out[2 * kSamples];
    Store(Formula::At(samples.row(), up.row(), 1), out, 0);
    CopyBytes(out, dst + 2, 2 * (width - 1));
    return;
  }
  const V start = Formula::At(src, above, 1);
  size_t x = width;
  for (; x > kUnrolled * kSamples; x -= kUnrolled * kSamples) {
    for (size_t i = 1; i <= kUnrolled; ++i) {
      Store(Formula::At(src, above, x - i * kSamples), dst, x - i * kSamples);
    }
  }
  for (; x > kSamples; x -= kSamples) {
    Store(Formula::At(src, above, x - kSamples), dst, x - kSamples);
  }
  Store(start, dst, 1);
}

// The last lane of each 128-bit block, in all lanes of the block.
HWY_INLINE V LastOfBlock(V v) { return hn::TableLookupBytes(v, hn::Set(D(), 0x0F0E)); }

// Lane i of `sums` is the sum of lanes 0 to i; `total` is that of all lanes, in each lane.
struct RunningSums {
  V sums, total;
};
HWY_INLINE RunningSums SumUp(V v) {
  v = hn::Add(v, hn::ShiftLeftLanes<1>(D(), v));
  v = hn::Add(v, hn::ShiftLeftLanes<2>(D(), v));
  v = hn::Add(v, hn::ShiftLeftLanes<4>(D(), v));
  const V last = LastOfBlock(v);
#if HWY_TARGET == HWY_AVX2
  const V swapped = {_mm256_permute2x128_si256(last.raw, last.raw, 1)};
  const V lower = {_mm256_blend_epi32(_mm256_setzero_si256(), swapped.raw, 0xF0)};
  return {hn::Add(v, lower), hn::Add(last, swapped)};
#else
  return {v, last};
#endif
}

// Predictors 1, 4, and 5: the next samples of a row from their differences. For predictor 4 the
// running sum is that of x - b, the sample minus the one above it.
template <int kPredictor>
class Sums {
 public:
  using Tag = D;
  HWY_INLINE Sums(uint32_t first, const uint8_t* above) {
    if (kPredictor == 4) first -= Get(above, 0);
    before_ = hn::Set(D(), static_cast<uint16_t>(first));
  }
  HWY_INLINE V Next(const uint8_t* src, const uint8_t* above, size_t x) {
    V known = Load(src, x);
    if constexpr (kPredictor == 5) {
      known = hn::Add(known, HalfDifference(Load(above, x), Load(above, x - 1)));
    }
    const RunningSums own = SumUp(known);
    const V sum = hn::Add(own.sums, before_);
    before_ = hn::Add(before_, own.total);
    return kPredictor == 4 ? hn::Add(sum, Load(above, x)) : sum;
  }

 private:
  V before_;
};

// Predictors 6 and 7, in lane 0 of short vectors, as each sample waits for the one before.
template <int kPredictor>
class Means {
 public:
  using Tag = hn::Full128<uint16_t>;
  using Samples = hn::VFromD<Tag>;
  HWY_INLINE Means(uint32_t first, const uint8_t*)
      : state_(hn::Xor(hn::Set(Tag(), static_cast<uint16_t>(first)), Inverted())) {}
  HWY_INLINE Samples Next(const uint8_t* src, const uint8_t* above, size_t x) {
    const Tag d;
    const Samples difference = Get8(src, x), up = Get8(above, x);
    Samples p, q;
    if constexpr (kPredictor == 6) {
      p = hn::Xor(Get8(above, x - 1), hn::Set(d, 0x7FFF));  // -1 - corner, its sign inverted
      q = hn::Add(difference, up);
    } else {
      p = hn::Not(up);
      q = hn::Sub(hn::Zero(d), difference);
    }
    const Samples s01 = Pair<0>(p, q), s23 = Pair<2>(p, q);
    const Samples s45 = Pair<4>(p, q), s67 = Pair<6>(p, q);
    const hn::RepartitionToWide<Tag> d32;
    const hn::RepartitionToWide<decltype(d32)> d64;
    const auto low = hn::InterleaveLower(d32, hn::BitCast(d32, s01), hn::BitCast(d32, s23));
    const auto high = hn::InterleaveLower(d32, hn::BitCast(d32, s45), hn::BitCast(d32, s67));
    const auto all = hn::InterleaveLower(d64, hn::BitCast(d64, low), hn::BitCast(d64, high));
    return hn::Xor(hn::BitCast(d, all), Inverted());
  }

 private:
  // The bits in which the state differs from the sample: a mean of signed samples is that of
  // unsigned ones with their signs inverted, and a mean that is rounded down is that of the inverted
  // samples.
  static HWY_INLINE Samples Inverted() { return hn::Set(Tag(), kPredictor == 6 ? 0x8000 : 0xFFFF); }
  static HWY_INLINE Samples Get8(const uint8_t* row, size_t x) {
    return hn::BitCast(Tag(), hn::LoadU(hn::Full128<uint8_t>(), row + 2 * x));
  }
  template <int kLane>
  HWY_INLINE Samples Step(Samples p, Samples q) {
    const Samples mean = hn::AverageRound(state_, hn::ShiftRightLanes<kLane>(Tag(), p));
    return state_ = hn::Add(mean, hn::ShiftRightLanes<kLane>(Tag(), q));
  }
  template <int kLane>
  HWY_INLINE Samples Pair(Samples p, Samples q) {
    const Samples first = Step<kLane>(p, q);
    return hn::InterleaveLower(Tag(), first, Step<kLane + 1>(p, q));
  }

  Samples state_;
};

template <class Restorer>
void InverseRow(const uint8_t* src, const uint8_t* above, uint8_t* dst, size_t width) {
  const typename Restorer::Tag d;
  constexpr size_t kStep = hn::MaxLanes(d);
  const hn::Repartition<uint8_t, decltype(d)> bytes;
  Restorer restorer(Get(dst, 0), above);
  size_t x = 1;
  for (; x + kStep <= width; x += kStep) {
    hn::StoreU(hn::BitCast(bytes, restorer.Next(src, above, x)), bytes, dst + 2 * x);
  }
  if (x < width) {
    const size_t count = width - x;
    const Few differences(src, x, count), up(above, x, count);
    HWY_ALIGN uint8_t out[2 * kStep];
    hn::StoreU(hn::BitCast(bytes, restorer.Next(differences.row(), up.row(), 1)), bytes, out);
    CopyBytes(out, dst + 2 * x, 2 * count);
  }
}

constexpr Kernels kKernels = {
    .forward = {FormulaRow<Difference<1>>, FormulaRow<Difference<2>>, FormulaRow<Difference<3>>,
                FormulaRow<Difference<4>>, FormulaRow<Difference<5>>, FormulaRow<Difference<6>>,
                FormulaRow<Difference<7>>},
    .inverse = {InverseRow<Sums<1>>, FormulaRow<Sample<2>>, FormulaRow<Sample<3>>,
                InverseRow<Sums<4>>, InverseRow<Sums<5>>, InverseRow<Means<6>>,
                InverseRow<Means<7>>},
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

const uint8_t* Bytes(const int16_t* row) { return reinterpret_cast<const uint8_t*>(row); }
uint8_t* Bytes(int16_t* row) { return reinterpret_cast<uint8_t*>(row); }

zepStatus CheckFirstRow(const int16_t* src, const int16_t* dst, int32_t width, int32_t precision,
                        int32_t point_transform) {
  return Checks()
      .Ptr(src)
      .Ptr(dst)
      .Refuse(width < 1, zepStatusBadSize)
      .Refuse(precision < 2 || precision > 16 || point_transform < 0, zepStatusBadArg)
      .Failed();
}
zepStatus CheckRow(const int16_t* src, const int16_t* above, const int16_t* dst, int32_t width,
                   int32_t predictor) {
  return Checks()
      .Ptr(src)
      .Ptr(above)
      .Ptr(dst)
      .Refuse(width < 1, zepStatusBadSize)
      .Refuse(predictor < 1 || predictor > kPredictors, zepStatusBadArg)
      .Failed();
}

// The prediction of the first sample: half of the range of the samples after the point transform.
uint32_t Base(int32_t precision, int32_t point_transform) {
  return point_transform < precision ? 1u << (precision - point_transform - 1) : 0;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiDiffPredFirstRow_JPEG_16s_C1(const int16_t* pSrc, int16_t* pDst,
                                                    int32_t width, int32_t P, int32_t Pt) {
  if (auto bad = CheckFirstRow(pSrc, pDst, width, P, Pt)) return bad;
  const uint32_t first = Get(Bytes(pSrc), 0) - Base(P, Pt);
  kernels.forward[0](Bytes(pSrc), nullptr, Bytes(pDst), static_cast<size_t>(width));
  Put(Bytes(pDst), 0, first);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDiffPredRow_JPEG_16s_C1(const int16_t* pSrc, const int16_t* pPrevRow,
                                               int16_t* pDst, int32_t width, int32_t predictor) {
  if (auto bad = CheckRow(pSrc, pPrevRow, pDst, width, predictor)) return bad;
  const uint32_t first = Get(Bytes(pSrc), 0) - Get(Bytes(pPrevRow), 0);
  kernels.forward[predictor - 1](Bytes(pSrc), Bytes(pPrevRow), Bytes(pDst),
                                 static_cast<size_t>(width));
  Put(Bytes(pDst), 0, first);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* pSrc, int16_t* pDst,
                                                           int32_t width, int32_t P, int32_t Pt) {
  if (auto bad = CheckFirstRow(pSrc, pDst, width, P, Pt)) return bad;
  Put(Bytes(pDst), 0, Get(Bytes(pSrc), 0) + Base(P, Pt));
  kernels.inverse[0](Bytes(pSrc), nullptr, Bytes(pDst), static_cast<size_t>(width));
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiReconstructPredRow_JPEG_16s_C1(const int16_t* pSrc, const int16_t* pPrevRow,
                                                      int16_t* pDst, int32_t width,
                                                      int32_t predictor) {
  if (auto bad = CheckRow(pSrc, pPrevRow, pDst, width, predictor)) return bad;
  Put(Bytes(pDst), 0, Get(Bytes(pSrc), 0) + Get(Bytes(pPrevRow), 0));
  kernels.inverse[predictor - 1](Bytes(pSrc), Bytes(pPrevRow), Bytes(pDst),
                                 static_cast<size_t>(width));
  return zepStatusOk;
}
#endif  // HWY_ONCE
