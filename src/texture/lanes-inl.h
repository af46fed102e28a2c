// SPDX-License-Identifier: MIT
// Vector types and operations that the texture kernels share. Each 128-bit block of a register
// holds one block of the texture, or a part of it, so that wider registers process more blocks with
// the same code. Included once per instruction set.
#if defined(ZEPJP_SRC_TEXTURE_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_TEXTURE_LANES_INL_H_
#    undef ZEPJP_SRC_TEXTURE_LANES_INL_H_
#  else
#    define ZEPJP_SRC_TEXTURE_LANES_INL_H_
#  endif

#  include "simd/ops-inl.h"
#  include "texture/blocks.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::Repartition<uint16_t, D8>;
using D32 = hn::Repartition<uint32_t, D8>;
using D64 = hn::Repartition<uint64_t, D8>;
using DI16 = hn::Repartition<int16_t, D8>;
using DI32 = hn::Repartition<int32_t, D8>;
using V8 = hn::VFromD<D8>;
using V16 = hn::VFromD<D16>;
using V32 = hn::VFromD<D32>;
using V64 = hn::VFromD<D64>;
using VI16 = hn::VFromD<DI16>;
using VI32 = hn::VFromD<DI32>;

constexpr size_t kRegisterBlocks = hn::MaxLanes(D8()) / 16;

// 16 bytes, or eight words, that Each() repeats in every 128-bit block.
struct alignas(16) Bytes16 {
  uint8_t lane[16];
};
struct alignas(16) Words8 {
  uint16_t lane[8];
};
HWY_INLINE V8 Each(const Bytes16& bytes) { return hn::LoadDup128(D8(), bytes.lane); }
HWY_INLINE V16 Each(const Words8& words) { return hn::LoadDup128(D16(), words.lane); }

HWY_INLINE V16 AsWords(V8 v) { return hn::BitCast(D16(), v); }
HWY_INLINE V8 AsBytes(V16 v) { return hn::BitCast(D8(), v); }

// Narrows words of 0 to 255 to bytes: those of `low`, then those of `high`.
HWY_INLINE V8 PackWords(V16 low, V16 high) {
  return PackBlocks(hn::BitCast(DI16(), low), hn::BitCast(DI16(), high));
}

HWY_INLINE V8 SwapHalves(V8 v) { return hn::BitCast(D8(), hn::Shuffle1032(hn::BitCast(D32(), v))); }
HWY_INLINE V8 LowerHalves(V8 low, V8 high) {
  return hn::BitCast(D8(),
                     hn::InterleaveLower(D64(), hn::BitCast(D64(), low), hn::BitCast(D64(), high)));
}
HWY_INLINE V8 UpperHalves(V8 low, V8 high) {
  return hn::BitCast(D8(),
                     hn::InterleaveUpper(D64(), hn::BitCast(D64(), low), hn::BitCast(D64(), high)));
}

// a[2i] * w[2i] + a[2i+1] * w[2i+1] in 16 bits, for unsigned a and signed w. The sum must fit.
HWY_INLINE VI16 PairSums(V8 a, V8 w) {
#  if !HWY_ARCH_X86
  const V16 pairs = AsWords(a);
  const VI16 both = hn::BitCast(DI16(), w);
  const VI16 even = hn::BitCast(DI16(), hn::And(pairs, hn::Set(D16(), 255)));
  const VI16 odd = hn::BitCast(DI16(), hn::ShiftRight<8>(pairs));
  return hn::Add(hn::Mul(even, hn::ShiftRight<8>(hn::ShiftLeft<8>(both))),
                 hn::Mul(odd, hn::ShiftRight<8>(both)));
#  elif HWY_TARGET <= HWY_AVX3
  return VI16{_mm512_maddubs_epi16(a.raw, w.raw)};
#  elif HWY_TARGET <= HWY_AVX2
  return VI16{_mm256_maddubs_epi16(a.raw, w.raw)};
#  else
  return VI16{_mm_maddubs_epi16(a.raw, w.raw)};
#  endif
}
HWY_INLINE VI16 PairSums(V8 a, const Bytes16& weights) { return PairSums(a, Each(weights)); }

// Factors for floor(x / 3), 2 x / 3, x / 5, x / 7 and x / 14 as the upper half of a 32-bit product
// with the reciprocal rounded up; exact for all x that occur.
constexpr uint16_t kThird = 21846, kTwoThirds = 43691, kFifth = 13108, kSeventh = 9363,
                   kFourteenth = 4682;

// Load or store eight bytes for each 128-bit block in its lower half.
#  if HWY_TARGET == HWY_AVX3
HWY_INLINE V8 LoadLowerHalves(const uint8_t* from) {
  const __m512i order = _mm512_setr_epi64(0, 0, 1, 1, 2, 2, 3, 3);
  const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
  return V8{_mm512_permutexvar_epi64(order, _mm512_castsi256_si512(bytes))};
}
HWY_INLINE void StoreLowerHalves(V8 v, uint8_t* to) {
  const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 0, 2, 4, 6);
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to),
                      _mm512_castsi512_si256(_mm512_permutexvar_epi64(order, v.raw)));
}
#  elif HWY_TARGET == HWY_AVX2
HWY_INLINE V8 LoadLowerHalves(const uint8_t* from) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  return V8{_mm256_permute4x64_epi64(_mm256_castsi128_si256(bytes), 0x50)};
}
HWY_INLINE void StoreLowerHalves(V8 v, uint8_t* to) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                   _mm256_castsi256_si128(_mm256_permute4x64_epi64(v.raw, 0x08)));
}
#  else
HWY_INLINE V8 LoadLowerHalves(const uint8_t* from) {
  const hn::Half<D8> half;
  return hn::ZeroExtendVector(D8(), hn::LoadU(half, from));
}
HWY_INLINE void StoreLowerHalves(V8 v, uint8_t* to) {
  const hn::Half<D8> half;
  hn::StoreU(hn::LowerHalf(half, v), half, to);
}
#  endif

HWY_INLINE V8 LowerDwords(V8 low, V8 high) {
  return hn::BitCast(D8(),
                     hn::InterleaveLower(D32(), hn::BitCast(D32(), low), hn::BitCast(D32(), high)));
}
HWY_INLINE V8 UpperDwords(V8 low, V8 high) {
  return hn::BitCast(D8(),
                     hn::InterleaveUpper(D32(), hn::BitCast(D32(), low), hn::BitCast(D32(), high)));
}

// Transposes the 4x4 matrix of 32-bit words (register by lane) in each 128-bit block.
struct Four {
  V8 part[4];
};
HWY_INLINE Four TransposeDwords(const Four& v) {
  const V8 low01 = LowerDwords(v.part[0], v.part[1]), low23 = LowerDwords(v.part[2], v.part[3]);
  const V8 high01 = UpperDwords(v.part[0], v.part[1]), high23 = UpperDwords(v.part[2], v.part[3]);
  return {{LowerHalves(low01, low23), UpperHalves(low01, low23), LowerHalves(high01, high23),
           UpperHalves(high01, high23)}};
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
