// SPDX-License-Identifier: MIT
// Baseline coding of a block (ITU-T T.81, F.1.2): the DC difference, then each non-zero coefficient in
// zigzag order with the run of zeros before it.
//
// Two ways give the same bytes, positions and states. The quick one finds the non-zero coefficients
// with vectors, collects bits in 64 and stores them eight bytes at a time; it needs room for the
// longest block, and gives up, without a trace that the careful one would not leave too, where a symbol
// has no code.
#include <cstring>

#include "frame/checks.h"
#include "jpeg/huffman/bit_writer.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/zigzag.h"
#include "simd/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffman/block_encoder.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_BLOCK_ENCODER_KERNELS
#  define ZEPJP_BLOCK_ENCODER_KERNELS
namespace zepjp {
namespace {

// What a block gives: the bytes that were stored, and the pending bits as the state's record has them.
struct EncodedBlock {
  int32_t bytes;  // -1: the careful way has to do it
  uint32_t bits;
  uint32_t num_bits;
};

struct Kernels {
  // `to` has room for kMaxBlockBytes.
  EncodedBlock (*encode)(const int16_t* block, int32_t dc_difference,
                         const zepiEncodeHuffmanSpec& dc_table,
                         const zepiEncodeHuffmanSpec& ac_table, const zepiEncodeHuffmanState& state,
                         uint8_t* to);
};

// 7 pending bits, 32 for DC, 31 for each other coefficient; each byte may be stuffed.
constexpr int32_t kMaxBlockBytes = 2 * ((7 + 32 + 63 * 31 + 7) / 8);

// For the zigzag indexes 16 g .. 16 g + 15: the bytes of the natural positions 16 s .. 16 s + 15 that
// come there; others give 0.
struct ZigzagShuffle {
  alignas(16) int8_t bytes[4][4][16];
  bool is_used[4][4];
};
constexpr ZigzagShuffle MakeZigzagShuffle() {
  ZigzagShuffle shuffle = {};
  for (int k = 0; k < 64; ++k) {
    for (int s = 0; s < 4; ++s) shuffle.bytes[k / 16][s][k % 16] = -1;
    const int natural = kNaturalOfZigzag[k];
    shuffle.bytes[k / 16][natural / 16][k % 16] = static_cast<int8_t>(natural % 16);
    shuffle.is_used[k / 16][natural / 16] = true;
  }
  return shuffle;
}
constexpr ZigzagShuffle kZigzagShuffle = MakeZigzagShuffle();

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp {
namespace HWY_NAMESPACE {
namespace {

using D8 = hn::FixedTag<uint8_t, 16>;
using D16 = hn::FixedTag<int16_t, 8>;
using V8 = hn::VFromD<D8>;

#if HWY_TARGET == HWY_AVX3

// Bit k: the coefficient of zigzag index k is not 0.
HWY_INLINE uint64_t NonZeroInZigzag(const int16_t* block) {
  const __m512i low = _mm512_loadu_si512(block);
  const __m512i high = _mm512_loadu_si512(block + 32);
  const uint64_t natural =
      _mm512_test_epi16_mask(low, low) | uint64_t{_mm512_test_epi16_mask(high, high)} << 32;
  const __m512i order = _mm512_loadu_si512(kNaturalOfZigzag);
  return _mm512_movepi8_mask(_mm512_permutexvar_epi8(order, _mm512_movm_epi8(natural)));
}

#else

// 1 for each of 16 coefficients that is not 0.
HWY_INLINE V8 NonZero16(const int16_t* from) {
  const D16 d;
  const auto flag = [&](const int16_t* at) ZEP_ATTR {
    const auto is_zero = hn::VecFromMask(d, hn::Eq(hn::LoadU(d, at), hn::Zero(d)));
    return hn::AndNot(is_zero, hn::Set(d, 1));
  };
  return PackBlocks(flag(from), flag(from + 8));
}

template <int kGroup, int kSource>
HWY_INLINE V8 AddFrom(V8 sum, V8 source) {
  if constexpr (!kZigzagShuffle.is_used[kGroup][kSource]) return sum;
  const V8 order =
      hn::Load(D8(), reinterpret_cast<const uint8_t*>(kZigzagShuffle.bytes[kGroup][kSource]));
  return hn::Or(sum, hn::TableLookupBytesOr0(source, order));
}

template <int kGroup>
HWY_INLINE uint64_t GroupBits(const V8 (&flags)[4]) {
  V8 group = hn::Zero(D8());
  group = AddFrom<kGroup, 0>(group, flags[0]);
  group = AddFrom<kGroup, 1>(group, flags[1]);
  group = AddFrom<kGroup, 2>(group, flags[2]);
  group = AddFrom<kGroup, 3>(group, flags[3]);
  uint64_t bits = 0;
  hn::StoreMaskBits(D8(), hn::Ne(group, hn::Zero(D8())), reinterpret_cast<uint8_t*>(&bits));
  return bits << (16 * kGroup);
}

// Bit k: the coefficient of zigzag index k is not 0.
HWY_INLINE uint64_t NonZeroInZigzag(const int16_t* block) {
  const V8 flags[4] = {NonZero16(block), NonZero16(block + 16), NonZero16(block + 32),
                       NonZero16(block + 48)};
  return GroupBits<0>(flags) | GroupBits<1>(flags) | GroupBits<2>(flags) | GroupBits<3>(flags);
}

#endif

// Collects bits, the first one highest, and stores them eight bytes at a time.
class Collector {
 public:
  Collector(const zepiEncodeHuffmanState& state, uint8_t* to)
      : start_(to), to_(to), last_(PendingAndLastByte(state) >> 24), free_(64) {
    const uint32_t pending = NumPending(state);
    bits_ = PendingAndLastByte(state) >> (24 - pending) & ((1U << pending) - 1);
    free_ -= static_cast<int>(pending);
  }

  // The lowest `count` bits of `value`, up to 32; `value` has no others.
  HWY_INLINE void Put(uint64_t value, int count) {
    free_ -= count;
    if (free_ < 0) {
      StoreFull(bits_ << (count + free_) | value >> -free_);
      free_ += 64;
      bits_ = value;
      return;
    }
    bits_ = bits_ << count | value;
  }

  EncodedBlock Finish() {
    const int count = 64 - free_;
    const int rest = count & 7;
    const int bytes = count >> 3;
    if (bytes == 8) {
      StoreFull(bits_);
    } else if (bytes > 0) {
      StoreBytes(bits_ << free_, bytes);
      last_ = static_cast<uint32_t>(bits_ >> rest) & 0xFF;
    }
    const auto pending = static_cast<uint32_t>(bits_) & ((1U << rest) - 1);
    return {static_cast<int32_t>(to_ - start_), last_ << 24 | pending << (24 - rest),
            static_cast<uint32_t>(rest)};
  }

 private:
  static bool HasFf(uint64_t bytes) {
    return (bytes & ~(bytes + 0x0101010101010101U) & 0x8080808080808080U) != 0;
  }

  void StoreFull(uint64_t bytes) {
    last_ = static_cast<uint32_t>(bytes) & 0xFF;
    if (HWY_UNLIKELY(HasFf(bytes))) return StoreStuffed(bytes, 8);
    const uint64_t in_memory = __builtin_bswap64(bytes);
    CopyBytes(&in_memory, to_, 8);
    to_ += 8;
  }

  // The highest `count` bytes, up to 7, and nothing behind them.
  void StoreBytes(uint64_t bytes, int count) {
    if (HWY_UNLIKELY(HasFf(bytes))) return StoreStuffed(bytes, count);
    uint64_t in_memory = __builtin_bswap64(bytes);
    if ((count & 4) != 0) {
      CopyBytes(&in_memory, to_, 4);
      to_ += 4;
      in_memory >>= 32;
    }
    if ((count & 2) != 0) {
      CopyBytes(&in_memory, to_, 2);
      to_ += 2;
      in_memory >>= 16;
    }
    if ((count & 1) != 0) *to_++ = static_cast<uint8_t>(in_memory);
  }

  HWY_NOINLINE void StoreStuffed(uint64_t bytes, int count) {
    for (int i = 0; i < count; ++i, bytes <<= 8) {
      const auto byte = static_cast<uint8_t>(bytes >> 56);
      *to_++ = byte;
      if (byte == 0xFF) *to_++ = 0;
    }
  }

  uint8_t* start_;
  uint8_t* to_;
  uint64_t bits_;  // its lowest 64 - free_ bits are pending
  uint32_t last_;  // the last byte before stuffing
  int free_;
};

// A code and the extra bits of a value behind it. False: there is no code.
HWY_INLINE bool PutValue(uint32_t entry, int32_t value, uint32_t category, Collector* to) {
  const uint32_t length = entry >> 16;
  if (HWY_UNLIKELY(length - 1 > 15)) return false;
  const uint64_t code = entry & ((1U << length) - 1);
  const uint64_t extra = ExtraBits(value) & ((1U << category) - 1);
  to->Put(code << category | extra, static_cast<int>(length + category));
  return true;
}

HWY_INLINE int32_t LoadValue(const int16_t* from) {
  int16_t value;
  CopyBytes(from, &value, sizeof(value));
  return value;
}

HWY_INLINE bool PutAcs(const int16_t* block, const zepiEncodeHuffmanSpec& table, Collector* to) {
  int done = 0;  // the last index that was coded
  for (uint64_t left = NonZeroInZigzag(block) & ~uint64_t{1}; left != 0; left &= left - 1) {
    const int index = __builtin_ctzll(left);
    auto run = static_cast<uint32_t>(index - done - 1);
    for (; HWY_UNLIKELY(run > 15); run -= 16) {
      if (!PutValue(table.entry[kRunOf16], 0, 0, to)) return false;
    }
    const int32_t value = LoadValue(block + kNaturalOfZigzag[index]);
    const uint32_t category = CategoryOf(value);
    if (HWY_UNLIKELY(category > 15)) return false;
    if (!PutValue(table.entry[run << 4 | category], value, category, to)) return false;
    done = index;
  }
  return done == 63 || PutValue(table.entry[kEndOfBlock], 0, 0, to);
}

EncodedBlock Encode(const int16_t* block, int32_t dc_difference,
                    const zepiEncodeHuffmanSpec& dc_table, const zepiEncodeHuffmanSpec& ac_table,
                    const zepiEncodeHuffmanState& state, uint8_t* to) {
  Collector collector(state, to);
  const uint32_t category = CategoryOf(dc_difference);
  if (!PutValue(dc_table.entry[category], dc_difference, category, &collector) ||
      !PutAcs(block, ac_table, &collector)) {
    return {-1, 0, 0};
  }
  return collector.Finish();
}

constexpr Kernels kKernels = {Encode};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zepjp
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

int32_t LoadCoefficient(const int16_t* from) {
  int16_t value;
  std::memcpy(&value, from, sizeof(value));
  return value;
}

// The difference to the DC of the block before, whose place this block's takes.
int32_t ExchangeDc(const int16_t* block, int16_t* last_dc) {
  const int32_t dc = LoadCoefficient(block);
  const int32_t difference = dc - LoadCoefficient(last_dc);
  std::memcpy(last_dc, block, sizeof(*block));
  return difference;
}

zepStatus PutDc(int32_t difference, const zepiEncodeHuffmanSpec& table, BitWriter* writer) {
  const uint32_t category = CategoryOf(difference);
  if (auto bad = writer->PutCode(table.entry[category])) return bad;
  return category == 0 ? zepStatusOk : writer->Put(ExtraBits(difference), category);
}

// A non-zero coefficient behind `run` zeros.
zepStatus PutAc(int32_t value, uint32_t run, const zepiEncodeHuffmanSpec& table,
                BitWriter* writer) {
  for (; run > 15; run -= 16) {
    if (auto bad = writer->PutCode(table.entry[kRunOf16])) return bad;
  }
  const uint32_t category = CategoryOf(value);
  if (category > 15) return zepStatusBadHuffTable;  // -32768 has no symbol
  if (auto bad = writer->PutCode(table.entry[run << 4 | category])) return bad;
  return writer->Put(ExtraBits(value), category);
}

zepStatus EncodeCarefully(const int16_t* block, int32_t dc_difference,
                          const zepiEncodeHuffmanSpec& dc_table,
                          const zepiEncodeHuffmanSpec& ac_table, BitWriter* writer) {
  if (auto bad = PutDc(dc_difference, dc_table, writer)) return bad;
  uint32_t run = 0;
  for (int k = 1; k < 64; ++k) {
    const int32_t value = LoadCoefficient(block + kNaturalOfZigzag[k]);
    if (value == 0) {
      ++run;
      continue;
    }
    if (auto bad = PutAc(value, run, ac_table, writer)) return bad;
    run = 0;
  }
  return run == 0 ? zepStatusOk : writer->PutCode(ac_table.entry[kEndOfBlock]);
}

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

// The quick way, where there is room for it; false: nothing was done.
bool EncodeQuickly(const int16_t* block, int32_t dc_difference,
                   const zepiEncodeHuffmanSpec& dc_table, const zepiEncodeHuffmanSpec& ac_table,
                   const Destination& to, zepiEncodeHuffmanState* state) {
  const int32_t position = *to.position;
  if (position < 0 || int64_t{to.length} - position < kMaxBlockBytes) return false;
  const EncodedBlock encoded =
      kernels.encode(block, dc_difference, dc_table, ac_table, *state, to.bytes + position);
  if (encoded.bytes < 0) return false;
  *to.position = position + encoded.bytes;
  StorePending(encoded.bits, encoded.num_bits, state);
  return true;
}

}  // namespace
}  // namespace zepjp

using zepjp::Checks;

zepStatus ZEP_CALL zepiEncodeHuffman8x8_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int16_t* pLastDC,
    const zepiEncodeHuffmanSpec* pDcTable, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState) {
  if (auto bad = Checks()
                     .Ptr(pDst)
                     .Refuse(dstLenBytes < 1, zepStatusBadSize)
                     .Ptr(pDstCurrPos)
                     .Ptr(pEncHuffState)
                     .Failed()) {
    return bad;
  }
  const zepjp::Destination to = {pDst, dstLenBytes, pDstCurrPos};
  zepjp::BitWriter writer(to, pEncHuffState);
  if (bFlushState != 0) return writer.Flush();
  if (auto bad = Checks().Ptr(pSrc).Ptr(pLastDC).Ptr(pDcTable).Ptr(pAcTable).Failed()) return bad;
  const int32_t dc_difference = zepjp::ExchangeDc(pSrc, pLastDC);
  if (zepjp::EncodeQuickly(pSrc, dc_difference, *pDcTable, *pAcTable, to, pEncHuffState)) {
    return zepStatusOk;
  }
  return zepjp::EncodeCarefully(pSrc, dc_difference, *pDcTable, *pAcTable, &writer);
}
#endif  // HWY_ONCE
