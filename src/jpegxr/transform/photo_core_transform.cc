// SPDX-License-Identifier: MIT
// The 4x4 photo core transform (ITU-T T.832, 9.9.7), forward and inverse.
//
// The forward transform has two stages of operators on four elements each, in place. Stage one is
// four 2x2 Hadamard operators on mirrored elements. Stage two treats the quarters of the block: a
// Hadamard operator on the one with DC, the odd operator (a rotation) on the two that are odd in
// one direction, and the odd-odd operator (two rotations) on the last one. Rotations are lifting
// steps with factors 3/8, 3/4 and 1/2, computed with sums, shifts and products by 3.
//
// Each lifting step changes one element by a function of others, so the inverse undoes it exactly,
// even if sums wrapped. Integer sums wrap at the width of the elements; shifts are arithmetic. In
// floating point the steps are the same without rounding terms; products and sums are rounded in a
// fixed order.
//
// Many blocks are transformed together. A register holds one element position of one block in each
// lane, so the transform itself works on sixteen registers and needs no shuffles.
#include "frame/checks.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpegxr/transform/photo_core_transform.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_PHOTO_CORE_TRANSFORM_KERNELS
#  define ZEPJP_PHOTO_CORE_TRANSFORM_KERNELS
namespace zepjp {
namespace {

// The functions of one element type and direction. Widths and heights are in blocks, steps in
// bytes.
struct Functions {
  void (*region)(uint8_t* data, ptrdiff_t step, size_t blocks_wide, size_t blocks_high);
  void (*area16x16)(uint8_t* data, ptrdiff_t step);
  void (*area8x16)(uint8_t* data, ptrdiff_t step);
  void (*area8x8)(uint8_t* data, ptrdiff_t step);
};

struct Kernels {
  Functions forward16, inverse16, forward32, inverse32, forward_float, inverse_float;
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// The terms of the lifting steps for integers, and below for floating point.
template <class D, bool kIsFloat = hwy::IsFloat<hn::TFromD<D>>()>
struct Terms {
  using V = hn::VFromD<D>;
  static HWY_INLINE V Half(V x) { return hn::ShiftRight<1>(x); }
  static HWY_INLINE V HalfUp(V x) { return hn::ShiftRight<1>(hn::Add(x, hn::Set(D(), 1))); }
  static HWY_INLINE V ThreeEighths(V x) { return Scaled<3, 4>(x); }
  static HWY_INLINE V ThreeEighthsDown(V x) { return Scaled<3, 3>(x); }
  static HWY_INLINE V ThreeQuarters(V x) { return Scaled<2, 3>(x); }

 private:
  template <int kShift, int kRound>
  static HWY_INLINE V Scaled(V x) {
    const V round = hn::Set(D(), kRound);
    return hn::ShiftRight<kShift>(hn::Add(hn::Add(x, x), hn::Add(x, round)));
  }
};

template <class D>
struct Terms<D, true> {
  using V = hn::VFromD<D>;
  static HWY_INLINE V Half(V x) { return hn::Mul(x, hn::Set(D(), 0.5f)); }
  static HWY_INLINE V HalfUp(V x) { return Half(x); }
  static HWY_INLINE V ThreeEighths(V x) { return hn::Mul(x, hn::Set(D(), 0.375f)); }
  static HWY_INLINE V ThreeEighthsDown(V x) { return ThreeEighths(x); }
  static HWY_INLINE V ThreeQuarters(V x) { return hn::Mul(x, hn::Set(D(), 0.75f)); }
};

// The operators on four elements, in place, and their inverses. The names are those of the
// standard.
template <class D>
struct Operators : Terms<D> {
  using V = hn::VFromD<D>;
  using T = Terms<D>;

  // The 2x2 Hadamard operator, which is its own inverse.
  template <bool kRoundUp>
  static HWY_INLINE void Hadamard(V& a, V& b, V& c, V& d) {
    a = hn::Add(a, d);
    b = hn::Sub(b, c);
    const V half = kRoundUp ? T::HalfUp(hn::Sub(a, b)) : T::Half(hn::Sub(a, b));
    const V new_c = hn::Sub(half, d);
    b = hn::Add(b, new_c);
    d = hn::Sub(hwy::IsFloat<hn::TFromD<D>>() ? hn::Add(d, new_c) : half, c);
    a = hn::Sub(a, d);
    c = new_c;
  }

  static HWY_INLINE void Odd(V& a, V& b, V& c, V& d) {
    b = hn::Sub(b, c);
    a = hn::Add(a, d);
    c = hn::Add(c, T::HalfUp(b));
    d = hn::Sub(T::HalfUp(a), d);
    b = hn::Sub(b, T::ThreeEighths(a));
    a = hn::Add(a, T::ThreeEighths(b));
    d = hn::Sub(d, T::ThreeEighths(c));
    c = hn::Add(c, T::ThreeEighths(d));
    d = hn::Add(d, T::Half(b));
    c = hn::Sub(c, T::HalfUp(a));
    b = hn::Sub(b, d);
    a = hn::Add(a, c);
  }

  static HWY_INLINE void OddInverse(V& a, V& b, V& c, V& d) {
    a = hn::Sub(a, c);
    b = hn::Add(b, d);
    c = hn::Add(c, T::HalfUp(a));
    d = hn::Sub(d, T::Half(b));
    c = hn::Sub(c, T::ThreeEighths(d));
    d = hn::Add(d, T::ThreeEighths(c));
    a = hn::Sub(a, T::ThreeEighths(b));
    b = hn::Add(b, T::ThreeEighths(a));
    d = hn::Sub(T::HalfUp(a), d);
    c = hn::Sub(c, T::HalfUp(b));
    a = hn::Sub(a, d);
    b = hn::Add(b, c);
  }

  static HWY_INLINE void OddOdd(V& a, V& b, V& c, V& d) {
    b = hn::Neg(b);
    c = hn::Neg(c);
    d = hn::Add(d, a);
    c = hn::Sub(c, b);
    const V half_d = T::Half(d);
    const V half_c = T::Half(c);
    a = hn::Sub(a, half_d);
    b = hn::Add(b, half_c);
    a = hn::Add(a, T::ThreeEighths(b));
    b = hn::Sub(b, T::ThreeQuarters(a));
    a = hn::Add(a, T::ThreeEighthsDown(b));
    b = hn::Sub(b, half_c);
    c = hn::Add(c, b);
    a = hn::Add(a, half_d);
    d = hn::Sub(d, a);
  }

  static HWY_INLINE void OddOddInverse(V& a, V& b, V& c, V& d) {
    d = hn::Add(d, a);
    c = hn::Sub(c, b);
    const V half_d = T::Half(d);
    const V half_c = T::Half(c);
    a = hn::Sub(a, half_d);
    b = hn::Add(b, half_c);
    a = hn::Sub(a, T::ThreeEighthsDown(b));
    b = hn::Add(b, T::ThreeQuarters(a));
    a = hn::Sub(a, T::ThreeEighths(b));
    b = hn::Sub(b, half_c);
    a = hn::Add(a, half_d);
    c = hn::Add(c, b);
    d = hn::Sub(d, a);
    b = hn::Neg(b);
    c = hn::Neg(c);
  }
};

// A register for each element of a block, by row and column.
template <class D>
struct Blocks {
  hn::VFromD<D> x[4][4];
};

template <class D>
HWY_INLINE void FirstStage(Blocks<D>& blocks) {
  using Op = Operators<D>;
  auto& x = blocks.x;
  Op::template Hadamard<false>(x[0][0], x[0][3], x[3][0], x[3][3]);
  Op::template Hadamard<false>(x[0][1], x[0][2], x[3][1], x[3][2]);
  Op::template Hadamard<false>(x[1][0], x[1][3], x[2][0], x[2][3]);
  Op::template Hadamard<false>(x[1][1], x[1][2], x[2][1], x[2][2]);
}

struct Forward {
  template <class D>
  static HWY_INLINE void Apply(Blocks<D>& blocks) {
    using Op = Operators<D>;
    auto& x = blocks.x;
    FirstStage(blocks);
    Op::template Hadamard<true>(x[0][0], x[0][1], x[1][0], x[1][1]);
    Op::Odd(x[0][2], x[0][3], x[1][2], x[1][3]);
    Op::Odd(x[2][0], x[3][0], x[2][1], x[3][1]);
    Op::OddOdd(x[2][2], x[2][3], x[3][2], x[3][3]);
  }
};

struct Inverse {
  template <class D>
  static HWY_INLINE void Apply(Blocks<D>& blocks) {
    using Op = Operators<D>;
    auto& x = blocks.x;
    Op::OddOddInverse(x[2][2], x[2][3], x[3][2], x[3][3]);
    Op::OddInverse(x[2][0], x[3][0], x[2][1], x[3][1]);
    Op::OddInverse(x[0][2], x[0][3], x[1][2], x[1][3]);
    Op::template Hadamard<true>(x[0][0], x[0][1], x[1][0], x[1][1]);
    FirstStage(blocks);
  }
};

// Byte indices that turn two groups a, b of four 16-bit lanes into pairs a0 b0 a1 b1 a2 b2 a3 b3,
// and back.
alignas(16) constexpr uint8_t kPairLanes[16] = {0, 1, 8,  9,  2, 3, 10, 11,
                                                4, 5, 12, 13, 6, 7, 14, 15};
alignas(16) constexpr uint8_t kUnpairLanes[16] = {0, 1, 4, 5, 8,  9,  12, 13,
                                                  2, 3, 6, 7, 10, 11, 14, 15};
template <class D>
HWY_INLINE hn::VFromD<D> ShuffleBytes(D d, hn::VFromD<D> v, const uint8_t* lanes) {
  const hn::Repartition<uint8_t, D> d8;
  const auto table = hn::LoadDup128(d8, lanes);
  return hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(d8, v), table));
}

// Rearranges one row of all blocks: from registers with whole rows of blocks to one register for
// each column, and back. The order of the blocks in the lanes does not matter, because both
// functions use the same.
template <class D>
HWY_INLINE void ToColumns(D d, hn::VFromD<D> (&v)[4]) {
  if constexpr (sizeof(hn::TFromD<D>) == 2) {
    for (auto& one : v) one = ShuffleBytes(d, one, kPairLanes);
  }
  Transpose32(d, v);
}
template <class D>
HWY_INLINE void FromColumns(D d, hn::VFromD<D> (&v)[4]) {
  Transpose32(d, v);
  if constexpr (sizeof(hn::TFromD<D>) == 2) {
    for (auto& one : v) one = ShuffleBytes(d, one, kUnpairLanes);
  }
}

// Transforms the blocks whose first rows are loaded from at[0] to at[kRegisters - 1].
template <size_t kRegisters, class Transform, class D>
HWY_INLINE void Pass(D d, uint8_t* const (&at)[4], ptrdiff_t step) {
  const hn::Repartition<uint8_t, D> d8;
  Blocks<D> blocks;
  for (ptrdiff_t row = 0; row < 4; ++row) {
    auto& v = blocks.x[row];
    for (size_t i = 0; i < 4; ++i) {
      v[i] = i < kRegisters ? hn::BitCast(d, hn::LoadU(d8, at[i] + row * step)) : hn::Zero(d);
    }
    ToColumns(d, v);
  }
  Transform::Apply(blocks);
  for (ptrdiff_t row = 0; row < 4; ++row) {
    auto& v = blocks.x[row];
    FromColumns(d, v);
    for (size_t i = 0; i < kRegisters; ++i) {
      hn::StoreU(hn::BitCast(d8, v[i]), d8, at[i] + row * step);
    }
  }
}

// Transforms an area of a fixed size, in passes of up to four registers.
template <class T, size_t kWidth, size_t kHeight, class Transform>
void Area(uint8_t* data, ptrdiff_t step) {
  constexpr size_t kLanes =
      HWY_MAX(HWY_MIN(HWY_MIN(hn::MaxLanes(hn::ScalableTag<T>()), kWidth), kWidth * kHeight / 16),
              16 / sizeof(T));
  const hn::CappedTag<T, kLanes> d;
  constexpr size_t kInRow = kWidth / kLanes;
  constexpr size_t kAll = kInRow * (kHeight / 4);
  constexpr size_t kRegisters = HWY_MIN(kAll, size_t{4});
  for (size_t first = 0; first < kAll; first += kRegisters) {
    uint8_t* at[4] = {};
    for (size_t i = 0; i < kRegisters; ++i) {
      const auto down = static_cast<ptrdiff_t>((first + i) / kInRow * 4);
      at[i] = data + down * step + (first + i) % kInRow * kLanes * sizeof(T);
    }
    Pass<kRegisters, Transform>(d, at, step);
  }
}

// Collects blocks from anywhere in a region until there are enough for a pass on copies.
template <class T, class Transform>
class BlockBatch {
 public:
  explicit HWY_INLINE BlockBatch(ptrdiff_t step) : step_(step) { CopyZeros(); }

  HWY_INLINE void Add(uint8_t* block) {
    blocks_[count_++] = block;
    if (count_ == kBlocks) Flush();
  }

  HWY_INLINE void Flush() {
    if (count_ == 0) return;
    for (size_t i = 0; i < count_; ++i) {
      for (size_t row = 0; row < 4; ++row) CopyBytes(Outer(i, row), Inner(i, row), kBytes);
    }
    constexpr size_t kRegister = kBlocks * kBytes / 4;
    uint8_t* const at[4] = {copies_, copies_ + kRegister, copies_ + 2 * kRegister,
                            copies_ + 3 * kRegister};
    Pass<4, Transform>(hn::ScalableTag<T>(), at, kBlocks * kBytes);
    for (size_t i = 0; i < count_; ++i) {
      for (size_t row = 0; row < 4; ++row) CopyBytes(Inner(i, row), Outer(i, row), kBytes);
    }
    count_ = 0;
  }

 private:
  static constexpr size_t kBlocks = hn::MaxLanes(hn::ScalableTag<T>());
  static constexpr size_t kBytes = 4 * sizeof(T);  // of a row of a block

  HWY_INLINE void CopyZeros() {
    for (uint8_t& byte : copies_) byte = 0;
  }
  HWY_INLINE uint8_t* Outer(size_t i, size_t row) const {
    return blocks_[i] + static_cast<ptrdiff_t>(row) * step_;
  }
  HWY_INLINE uint8_t* Inner(size_t i, size_t row) { return copies_ + (row * kBlocks + i) * kBytes; }

  ptrdiff_t step_;
  size_t count_ = 0;
  uint8_t* blocks_[kBlocks];
  HWY_ALIGN uint8_t copies_[4 * kBlocks * kBytes];
};

template <class T, class Transform>
void Region(uint8_t* data, ptrdiff_t step, size_t blocks_wide, size_t blocks_high) {
  const hn::ScalableTag<T> d;
  constexpr size_t kBlocks = hn::MaxLanes(hn::ScalableTag<T>());
  constexpr size_t kBytes = 4 * sizeof(T);
  constexpr size_t kRegister = kBlocks * kBytes / 4;
  const size_t whole = blocks_wide / kBlocks * kBlocks;
  BlockBatch<T, Transform> rest(step);
  for (size_t y = 0; y < blocks_high; ++y) {
    uint8_t* const row = data + static_cast<ptrdiff_t>(4 * y) * step;
    for (size_t x = 0; x < whole; x += kBlocks) {
      uint8_t* const from = row + x * kBytes;
      uint8_t* const at[4] = {from, from + kRegister, from + 2 * kRegister, from + 3 * kRegister};
      Pass<4, Transform>(d, at, step);
    }
    for (size_t x = whole; x < blocks_wide; ++x) rest.Add(row + x * kBytes);
  }
  rest.Flush();
}

template <class T, class Transform>
constexpr Functions kFunctions = {
    .region = Region<T, Transform>,
    .area16x16 = Area<T, 16, 16, Transform>,
    .area8x16 = Area<T, 8, 16, Transform>,
    .area8x8 = Area<T, 8, 8, Transform>,
};

constexpr Kernels kKernels = {
    .forward16 = kFunctions<int16_t, Forward>,
    .inverse16 = kFunctions<int16_t, Inverse>,
    .forward32 = kFunctions<int32_t, Forward>,
    .inverse32 = kFunctions<int32_t, Inverse>,
    .forward_float = kFunctions<float, Forward>,
    .inverse_float = kFunctions<float, Inverse>,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

template <class T>
zepStatus Region(const Functions& functions, T* data, int32_t step, zepiSize roi) {
  const bool is_step_short = int64_t{roi.width} * static_cast<int64_t>(sizeof(T)) > step;
  const bool is_cut = roi.width % 4 != 0 || roi.height % 4 != 0;
  if (auto bad = Checks()
                     .Ptr(data)
                     .Size(roi)
                     .Refuse(is_step_short, zepStatusBadStep)
                     .Refuse(is_cut, zepStatusBadSize)
                     .Failed()) {
    return bad;
  }
  functions.region(reinterpret_cast<uint8_t*>(data), step, static_cast<size_t>(roi.width) / 4,
                   static_cast<size_t>(roi.height) / 4);
  return zepStatusOk;
}

template <int kWidth, class T>
zepStatus Area(void (*kernel)(uint8_t*, ptrdiff_t), T* data, int32_t step) {
  constexpr int32_t kMinStep = kWidth * static_cast<int32_t>(sizeof(T));
  if (auto bad = Checks().Ptr(data).Refuse(step < kMinStep, zepStatusBadStep).Failed()) return bad;
  kernel(reinterpret_cast<uint8_t*>(data), step);
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

#  define ZEP_TRANSFORM(direction, type, T, functions)                                           \
    zepStatus ZEP_CALL zepiPCT##direction##_JPEGXR_##type##_C1IR(T* pSrcDst, int32_t srcDstStep, \
                                                                 zepiSize roiSize) {             \
      return Region(kernels.functions, pSrcDst, srcDstStep, roiSize);                            \
    }                                                                                            \
    zepStatus ZEP_CALL zepiPCT##direction##16x16_JPEGXR_##type##_C1IR(T* pSrcDst,                \
                                                                      int32_t srcDstStep) {      \
      return Area<16>(kernels.functions.area16x16, pSrcDst, srcDstStep);                         \
    }                                                                                            \
    zepStatus ZEP_CALL zepiPCT##direction##8x16_JPEGXR_##type##_C1IR(T* pSrcDst,                 \
                                                                     int32_t srcDstStep) {       \
      return Area<8>(kernels.functions.area8x16, pSrcDst, srcDstStep);                           \
    }                                                                                            \
    zepStatus ZEP_CALL zepiPCT##direction##8x8_JPEGXR_##type##_C1IR(T* pSrcDst,                  \
                                                                    int32_t srcDstStep) {        \
      return Area<8>(kernels.functions.area8x8, pSrcDst, srcDstStep);                            \
    }

ZEP_TRANSFORM(Fwd, 16s, int16_t, forward16)
ZEP_TRANSFORM(Inv, 16s, int16_t, inverse16)
ZEP_TRANSFORM(Fwd, 32s, int32_t, forward32)
ZEP_TRANSFORM(Inv, 32s, int32_t, inverse32)
ZEP_TRANSFORM(Fwd, 32f, float, forward_float)
ZEP_TRANSFORM(Inv, 32f, float, inverse_float)
#endif  // HWY_ONCE
