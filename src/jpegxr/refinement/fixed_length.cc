// SPDX-License-Identifier: MIT
// Refinement bits of a 4x4 block (ITU-T T.832, 8.7.19): for each of the fifteen coefficients after
// DC, in order of frequency, m bits of magnitude, 0 to 15, and a sign if these are not all 0. A
// coefficient that the block coder has made nonzero already has a sign, and gets none here.
//
// Decoding. The interface fixes how far a call reads ahead: two bytes before each coefficient for
// which fewer than 16 bits are valid. The decoder makes several of these refills together: those
// that fit 64 bits and are certain to be needed, because the n coefficients that are left take at
// least (n - 1) m bits before the last of them begins. So it never reads a byte that a step-by-step
// decoder would not read, and it ends in the same state. Signs cannot be predicted, so a comparison
// and a conditional move decide whether one follows: window > limit means yes, where limit is
// 2^(64-m) - 1, or 2^64 - 1 if no sign can follow. Afterwards vectors scale the magnitudes and
// apply the signs, one row of the block at a time.
//
// Encoding. Vectors make a field of m + 1 bits for each coefficient, magnitude and sign, and a mask
// of the bits to write. If the fields fit bytes, one `pext` gathers the bits of eight fields (AVX2
// and above); else they are written one by one.
//
// Processors with AVX-512 run the kernels for AVX2 too: comparisons into mask registers take longer.
#include <cstring>

#include "frame/checks.h"
#include "jpegxr/bit_stream.h"
#include "jpegxr/vlc/vlc_writer.h"
#include "simd/dispatch.h"

#define HWY_DISABLED_TARGETS HWY_AVX3
#define HWY_TARGET_INCLUDE "jpegxr/refinement/fixed_length.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_FIXED_LENGTH_KERNELS
#  define ZEPJP_FIXED_LENGTH_KERNELS
namespace zepjp {
namespace {

constexpr uint32_t kCount = 15;

// The places 4 * row + column of the coefficients in the block, in order of frequency.
constexpr uint8_t kPlace[kCount] = {2, 1, 7, 8, 15, 12, 11, 4, 3, 5, 6, 13, 14, 9, 10};

// bits * kShareOf[m] >> 16 is the number of fields of m + 1 bits that fit in `bits`, at most 64.
constexpr uint32_t kShareOf[16] = {65536, 32768, 21846, 16384, 13108, 10923, 9363, 8192,
                                   7282,  6554,  5958,  5462,  5042,  4682,  4370, 4096};

// The three pointers of a stream are separate arguments, so that they are passed in registers.
struct Kernels {
  void (*decode32)(const uint8_t** from, uint32_t* accumulator, uint32_t* count, int32_t* block,
                   ptrdiff_t step, uint32_t m, uint32_t multiplier, bool refine);
  void (*decode16)(const uint8_t** from, uint32_t* accumulator, uint32_t* count, int16_t* block,
                   ptrdiff_t step, uint32_t m, uint32_t multiplier, bool refine);
  void (*encode32)(const int32_t* block, ptrdiff_t step, uint8_t** to, uint32_t* accumulator,
                   uint32_t* count, uint32_t m, uint32_t trim);
  void (*encode16)(const int16_t* block, ptrdiff_t step, uint8_t** to, uint32_t* accumulator,
                   uint32_t* count, uint32_t m, uint32_t trim);
  void (*encode_packed)(const int32_t* packed, uint8_t** to, uint32_t* accumulator, uint32_t* count,
                        uint32_t m);
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using D32 = hn::Simd<int32_t, 4, 0>;
using DU32 = hn::Simd<uint32_t, 4, 0>;
using V32 = hn::VFromD<D32>;
using VU32 = hn::VFromD<DU32>;
using M32 = decltype(hn::Eq(VU32(), VU32()));

// Load and store a row of the block, at any alignment, in 32-bit lanes. A store keeps the low bits.
template <class T>
HWY_INLINE V32 LoadRow(const T* block, ptrdiff_t step, ptrdiff_t row) {
  const hn::Rebind<T, D32> d;
  const hn::Repartition<uint8_t, decltype(d)> d8;
  const auto* const from = reinterpret_cast<const uint8_t*>(block) + row * step;
  const auto v = hn::BitCast(d, hn::LoadU(d8, from));
  if constexpr (sizeof(T) == 4) {
    return v;
  } else {
    return hn::PromoteTo(D32(), v);
  }
}
template <class T>
HWY_INLINE void StoreRow(V32 v, T* block, ptrdiff_t step, ptrdiff_t row) {
  const hn::Rebind<T, D32> d;
  const hn::Repartition<uint8_t, decltype(d)> d8;
  auto* const to = reinterpret_cast<uint8_t*>(block) + row * step;
  if constexpr (sizeof(T) == 4) {
    hn::StoreU(hn::BitCast(d8, v), d8, to);
  } else {
    const V32 low = hn::ShiftRight<16>(hn::ShiftLeft<16>(v));
    hn::StoreU(hn::BitCast(d8, hn::DemoteTo(d, low)), d8, to);
  }
}

template <class T>
HWY_INLINE T Load(const void* from) {
  T value;
  CopyBytes(from, &value, sizeof(T));
  return value;
}

// The highest `valid` bits of the window are the next bits of the stream; the others are 0.
class BitWindow {
 public:
  explicit HWY_INLINE BitWindow(const BitSource& from)
      : from_(*from.bytes), bits_(uint64_t{*from.accumulator} << 32), valid_(*from.count) {
    bits_ = valid_ == 0 ? 0 : bits_ & (~uint64_t{0} << (64 - valid_));
  }

  // Refills until 16 bits are valid after the next `certain` ones, or until the window is full.
  HWY_INLINE void Refill(uint32_t certain) {
    const uint32_t wanted = HWY_MIN(certain + 16, uint32_t{49});
    while (valid_ < wanted) {
      bits_ |= uint64_t{__builtin_bswap16(Load<uint16_t>(from_))} << (48 - valid_);
      valid_ += 16;
      from_ += 2;
    }
  }

  // Returns the next m + 1 bits. Uses m of them, or all m + 1 if the window exceeds `limit`.
  HWY_INLINE uint32_t Take(uint32_t m, uint64_t limit) {
    const auto field = static_cast<uint32_t>(bits_ >> (63 - m));
    const uint64_t with_sign = bits_ << m << 1;
    uint64_t without_sign = bits_ << m;
#ifdef __x86_64__
    // The comparison's borrow means that a sign follows. In assembly, because compilers make a
    // branch of it, which would be mispredicted.
    __asm__("cmpq %[window], %[limit]\n\tcmovcq %[with_sign], %[rest]\n\tsbbl %[m], %[valid]"
            : [rest] "+r"(without_sign), [valid] "+r"(valid_)
            : [window] "r"(bits_), [limit] "r"(limit), [with_sign] "r"(with_sign), [m] "r"(m)
            : "cc");
    bits_ = without_sign;
#else
    const bool is_signed = bits_ > limit;
    bits_ = is_signed ? with_sign : without_sign;
    valid_ -= m + (is_signed ? 1 : 0);
#endif
    return field;
  }

  HWY_INLINE uint32_t valid() const { return valid_; }

  HWY_INLINE void Leave(const BitSource& from) const {
    *from.bytes = from_;
    *from.accumulator = static_cast<uint32_t>(bits_ >> 32);
    *from.count = valid_;
  }

 private:
  const uint8_t* from_;
  uint64_t bits_;
  uint32_t valid_;
};

// Applies the fields, q and the bit after it, to four coefficients.
template <bool kRefine>
HWY_INLINE V32 Decoded(V32 old, V32 fields, V32 multiplier) {
  const V32 zero = hn::Zero(D32());
  const V32 q = hn::ShiftRight<1>(fields);
  const V32 sign_bit = hn::Sub(zero, hn::And(fields, hn::Set(D32(), 1)));
  const auto is_empty = hn::Eq(kRefine ? old : q, zero);
  const V32 sign = kRefine ? hn::IfThenElse(is_empty, sign_bit, hn::ShiftRight<31>(old)) : sign_bit;
  const V32 value = hn::Sub(hn::Xor(hn::Mul(q, multiplier), sign), sign);
  return kRefine ? hn::Add(old, value) : hn::IfThenElse(is_empty, old, value);
}

// A mask of the coefficients that are not 0: bit 4 * row + column.
template <class T>
HWY_INLINE uint32_t NonZeros(const T* block, ptrdiff_t step) {
  uint32_t mask = 0;
  for (uint32_t row = 0; row < 4; ++row) {
    const auto is_zero = hn::Eq(LoadRow(block, step, row), hn::Zero(D32()));
    uint8_t bits[8] = {};
    hn::StoreMaskBits(D32(), is_zero, bits);
    mask |= static_cast<uint32_t>(~bits[0] & 15) << (4 * row);
  }
  return mask;
}

template <bool kRefine, class T>
HWY_INLINE void DecodeBlock(const BitSource& from, T* block, ptrdiff_t step, uint32_t m,
                            uint32_t multiplier) {
  BitWindow window(from);
  const uint64_t limit = (uint64_t{1} << (64 - m)) - 1;
  const uint32_t coded = kRefine ? NonZeros(block, step) : 0;
  HWY_ALIGN int32_t fields[16];
  fields[0] = 0;
  uint32_t before_last = 0;
  for (uint32_t i = 0; i < kCount;) {
    window.Refill((kCount - 1 - i) * m);
    const uint32_t end = HWY_MIN(kCount, i + (window.valid() * kShareOf[m] >> 16));
    do {
      const uint32_t place = kPlace[i];
      const uint64_t is_coded = kRefine ? coded >> place & 1 : 0;
      before_last = window.valid();
      fields[place] = static_cast<int32_t>(window.Take(m, limit | (0 - is_coded)));
    } while (++i < end);
  }
  // A step-by-step decoder would have refilled before the last coefficient.
  if (before_last < 16) window.Refill(0);
  window.Leave(from);
  const V32 factor = hn::BitCast(D32(), hn::Set(DU32(), multiplier));
  for (ptrdiff_t row = 0; row < 4; ++row) {
    const V32 old = LoadRow(block, step, row);
    const V32 value = Decoded<kRefine>(old, hn::Load(D32(), fields + 4 * row), factor);
    StoreRow(value, block, step, row);
  }
}

template <class T>
void Decode(const uint8_t** bytes, uint32_t* accumulator, uint32_t* count, T* block, ptrdiff_t step,
            uint32_t m, uint32_t multiplier, bool refine) {
  const BitSource from = {bytes, accumulator, count};
  if (refine) {
    DecodeBlock<true>(from, block, step, m, multiplier);
  } else {
    DecodeBlock<false>(from, block, step, m, multiplier);
  }
}

// The bits of four coefficients, and a mask of those that are written.
struct Fields {
  VU32 bits, mask;
};

HWY_INLINE Fields MakeFields(VU32 bits, M32 is_signed, uint32_t m) {
  const VU32 with_sign = hn::Set(DU32(), (uint32_t{2} << m) - 1);
  const VU32 without_sign = hn::Set(DU32(), (uint32_t{1} << m) - 1);
  const VU32 mask = hn::IfThenElse(is_signed, with_sign, without_sign);
  return {hn::And(bits, mask), mask};
}

// Fields from the coefficients of a block that the block coder has not coded.
template <class T>
struct FromBlock {
  const T* block;
  ptrdiff_t step;
  uint32_t m, trim;

  HWY_INLINE Fields Row(ptrdiff_t row) const {
    const V32 value = LoadRow(block, step, row);
    const V32 sign = hn::ShiftRight<31>(value);
    const VU32 magnitude = hn::BitCast(DU32(), hn::Sub(hn::Xor(value, sign), sign));
    const VU32 mask = hn::Set(DU32(), (uint32_t{1} << m) - 1);
    const VU32 t = hn::And(hn::ShiftRightSame(magnitude, static_cast<int>(trim)), mask);
    const auto is_zero = hn::Eq(t, hn::Zero(DU32()));
    const VU32 is_negative = hn::ShiftRight<31>(hn::BitCast(DU32(), sign));
    const VU32 bits = hn::Or(hn::Add(t, t), is_negative);
    return MakeFields(hn::IfThenZeroElse(is_zero, bits), hn::Not(is_zero), m);
  }
};

struct FromPacked {
  const int32_t* packed;
  uint32_t m;

  HWY_INLINE Fields Row(ptrdiff_t row) const {
    const VU32 value = hn::BitCast(DU32(), LoadRow(packed, 16, row));
    const VU32 one = hn::Set(DU32(), 1);
    return MakeFields(hn::ShiftRight<1>(value), hn::Eq(hn::And(value, one), one), m);
  }
};

template <class Source>
void EncodeFields(const Source& source, const BitTarget& to, uint32_t m) {
  VlcWriter writer(to);
  HWY_ALIGN uint32_t field[16], mask[16];
  for (ptrdiff_t row = 0; row < 4; ++row) {
    const Fields fields = source.Row(row);
    hn::Store(fields.bits, DU32(), field + 4 * row);
    hn::Store(fields.mask, DU32(), mask + 4 * row);
  }
  for (uint32_t i = 0; i < kCount; ++i) {
    const uint32_t place = kPlace[i];
    writer.Put(field[place], m + (mask[place] >> m));
  }
  writer.Finish(to);
}

#if HWY_TARGET <= HWY_AVX2

// Writes the lowest `count` bits of `value`; the bits above them are 0.
HWY_INLINE void PutLong(uint64_t value, uint32_t count, VlcWriter* writer) {
  if (count > 32) {
    writer->Put(static_cast<uint32_t>(value >> 32), count - 32);
    count = 32;
  }
  writer->Put(static_cast<uint32_t>(value), count);
}

// The places in order of frequency: the first eight in the lower half, the rest in the upper half,
// each half from its highest byte downwards. The lowest byte of the upper half is zero.
alignas(16) constexpr uint8_t kExtractOrder[16] = {
    kPlace[7], kPlace[6],  kPlace[5],  kPlace[4],  kPlace[3],  kPlace[2],  kPlace[1], kPlace[0],
    0x80,      kPlace[14], kPlace[13], kPlace[12], kPlace[11], kPlace[10], kPlace[9], kPlace[8]};

HWY_INLINE __m128i ToBytes(VU32 row0, VU32 row1, VU32 row2, VU32 row3) {
  const __m128i rows01 = _mm_packs_epi32(row0.raw, row1.raw);
  const __m128i rows23 = _mm_packs_epi32(row2.raw, row3.raw);
  const __m128i order = _mm_load_si128(reinterpret_cast<const __m128i*>(kExtractOrder));
  return _mm_shuffle_epi8(_mm_packus_epi16(rows01, rows23), order);
}

// Writes fields of up to 8 bits.
template <class Source>
void EncodeShort(const Source& source, const BitTarget& to, uint32_t m) {
  VlcWriter writer(to);
  const Fields rows[4] = {source.Row(0), source.Row(1), source.Row(2), source.Row(3)};
  const __m128i field = ToBytes(rows[0].bits, rows[1].bits, rows[2].bits, rows[3].bits);
  const __m128i mask = ToBytes(rows[0].mask, rows[1].mask, rows[2].mask, rows[3].mask);
  const auto first_mask = static_cast<uint64_t>(_mm_cvtsi128_si64(mask));
  const auto second_mask = static_cast<uint64_t>(_mm_extract_epi64(mask, 1));
  PutLong(_pext_u64(static_cast<uint64_t>(_mm_cvtsi128_si64(field)), first_mask),
          static_cast<uint32_t>(_mm_popcnt_u64(first_mask)), &writer);
  PutLong(_pext_u64(static_cast<uint64_t>(_mm_extract_epi64(field, 1)), second_mask),
          static_cast<uint32_t>(_mm_popcnt_u64(second_mask)), &writer);
  writer.Finish(to);
}

#endif

template <class Source>
HWY_INLINE void EncodeAll(const Source& source, const BitTarget& to, uint32_t m) {
#if HWY_TARGET <= HWY_AVX2
  if (m <= 7) return EncodeShort(source, to, m);
#endif
  EncodeFields(source, to, m);
}

template <class T>
void Encode(const T* block, ptrdiff_t step, uint8_t** to, uint32_t* accumulator, uint32_t* count,
            uint32_t m, uint32_t trim) {
  EncodeAll(FromBlock<T>{block, step, m, trim}, {to, accumulator, count}, m);
}

void EncodePacked(const int32_t* packed, uint8_t** to, uint32_t* accumulator, uint32_t* count,
                  uint32_t m) {
  EncodeAll(FromPacked{packed, m}, {to, accumulator, count}, m);
}

constexpr Kernels kKernels = {
    .decode32 = Decode<int32_t>,
    .decode16 = Decode<int16_t>,
    .encode32 = Encode<int32_t>,
    .encode16 = Encode<int16_t>,
    .encode_packed = EncodePacked,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

template <class Byte>
Checks CheckStream(const void* block, const BitStream<Byte>& stream) {
  Checks checks;
  return stream.Check(checks.Ptr(block))
      .Refuse([&] { return stream.IsTooLong(); }, zepStatusOutOfRange);
}

template <class T, class Kernel>
zepStatus Decode(Kernel kernel, const BitSource& from, T* block, int32_t step, uint32_t m,
                 T multiplier, uint32_t refine) {
  if (auto bad = CheckStream(block, from).Refuse(m > 15, zepStatusOutOfRange).Failed()) {
    return bad;
  }
  if (m == 0) return zepStatusOk;
  kernel(from.bytes, from.accumulator, from.count, block, step, m,
         static_cast<uint32_t>(int32_t{multiplier}), refine != 0);
  return zepStatusOk;
}

template <class T, class Kernel>
zepStatus Encode(Kernel kernel, const T* block, int32_t step, const int32_t* packed,
                 const BitTarget& to, uint32_t m, uint32_t trim, uint32_t coded) {
  if (auto bad = Checks().Ptr(block).Ptr(packed).Failed()) return bad;
  if (auto bad = CheckStream(block, to).Refuse(m > 15 || trim > 15, zepStatusOutOfRange).Failed()) {
    return bad;
  }
  if (m == 0) return zepStatusOk;
  if (coded != 0) {
    kernels.encode_packed(packed, to.bytes, to.accumulator, to.count, m);
  } else {
    kernel(block, step, to.bytes, to.accumulator, to.count, m, trim);
  }
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiFLCDecode4x4_JPEGXR_1u32s_C1IR(const uint8_t** ppSrc, uint32_t* pAcc,
                                                      uint32_t* pBitCount, int32_t* pSrcDst,
                                                      int32_t srcDstStep, uint32_t modelBits,
                                                      int32_t multiplier, uint32_t refine) {
  return Decode(kernels.decode32, {ppSrc, pAcc, pBitCount}, pSrcDst, srcDstStep, modelBits,
                multiplier, refine);
}

zepStatus ZEP_CALL zepiFLCDecode4x4_JPEGXR_1u16s_C1IR(const uint8_t** ppSrc, uint32_t* pAcc,
                                                      uint32_t* pBitCount, int16_t* pSrcDst,
                                                      int32_t srcDstStep, uint32_t modelBits,
                                                      int16_t multiplier, uint32_t refine) {
  return Decode(kernels.decode16, {ppSrc, pAcc, pBitCount}, pSrcDst, srcDstStep, modelBits,
                multiplier, refine);
}

zepStatus ZEP_CALL zepiFLCEncode4x4_JPEGXR_32s1u_C1R(const int32_t* pSrc, int32_t srcStep,
                                                     const int32_t* pPacked, uint8_t** ppDst,
                                                     uint32_t* pAcc, uint32_t* pBitCount,
                                                     uint32_t modelBits, uint32_t trimBits,
                                                     uint32_t coded) {
  return Encode(kernels.encode32, pSrc, srcStep, pPacked, {ppDst, pAcc, pBitCount}, modelBits,
                trimBits, coded);
}

zepStatus ZEP_CALL zepiFLCEncode4x4_JPEGXR_16s1u_C1R(const int16_t* pSrc, int32_t srcStep,
                                                     const int32_t* pPacked, uint8_t** ppDst,
                                                     uint32_t* pAcc, uint32_t* pBitCount,
                                                     uint32_t modelBits, uint32_t trimBits,
                                                     uint32_t coded) {
  return Encode(kernels.encode16, pSrc, srcStep, pPacked, {ppDst, pAcc, pBitCount}, modelBits,
                trimBits, coded);
}
#endif  // HWY_ONCE
