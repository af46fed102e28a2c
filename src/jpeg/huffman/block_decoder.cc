// SPDX-License-Identifier: MIT
// Baseline decoding of a block (ITU-T T.81, F.2.2).
//
// Two ways give the same coefficients, positions and states. The quick one gives up, without a trace but
// in the block, where a code is bad or the source ends or a marker comes; the careful one then decodes
// the block from its start.
#include <cstring>
#include <utility>

#include "frame/checks.h"
#include "jpeg/huffman/bit_reader.h"
#include "jpeg/huffman/data_bytes.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/zigzag.h"
#include "simd/dispatch.h"

// Nearly all of it is scalar code, to which AVX2's BMI2 is of use and AVX-512 of none.
#define HWY_DISABLED_TARGETS HWY_AVX3
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffman/block_decoder.cc"
#include "hwy/foreach_target.h"
#include "jpeg/huffman/quick_reader-inl.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_BLOCK_DECODER_KERNELS
#  define ZEPJP_BLOCK_DECODER_KERNELS
namespace zepjp {
namespace {

// The coefficients of a block, with the DC difference. None read: the careful way has to do it.
template <class Bytes>
using TakeBlock = Progress(const Bytes& bytes, uint32_t unused,
                           const zepiDecodeHuffmanSpec& dc_table,
                           const zepiDecodeHuffmanSpec& ac_table, int16_t* block);
struct Kernels {
  TakeBlock<PlainBytes>* take_plain;
  TakeBlock<StuffedBytes>* take_stuffed;
};

// What a symbol of an AC table stands for.
struct RunAndCategory {
  uint32_t run, category;
  bool IsEnd() const { return category == 0 && run < 15; }
};
inline RunAndCategory Split(uint32_t symbol) { return {(symbol >> 4) & 15, symbol & 15}; }

// Runs that lead out of the block end at its last coefficient.
struct NaturalOrLast {
  uint8_t positions[64 + 16];
};
constexpr NaturalOrLast MakeNaturalOrLast() {
  NaturalOrLast table = {};
  for (int k = 0; k < 64 + 16; ++k) table.positions[k] = kNaturalOfZigzag[k < 64 ? k : 63];
  return table;
}
constexpr NaturalOrLast kNaturalOrLast = MakeNaturalOrLast();

inline int32_t LoadCoefficient(const int16_t* from) {
  int16_t value;
  std::memcpy(&value, from, sizeof(value));
  return value;
}
inline void StoreCoefficient(int32_t value, int16_t* to) {
  const auto low = static_cast<uint16_t>(value);
  std::memcpy(to, &low, sizeof(low));
}

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp {
namespace HWY_NAMESPACE {
namespace {

// Without a loop, which would be taken for a call of memset.
template <size_t... kIndex>
HWY_INLINE void ClearParts(uint8_t* block, std::index_sequence<kIndex...>) {
  const hn::FixedTag<uint8_t, 16> d;
  (hn::StoreU(hn::Zero(d), d, block + 16 * kIndex), ...);
}
HWY_INLINE void Clear(int16_t* block) {
  ClearParts(reinterpret_cast<uint8_t*>(block), std::make_index_sequence<8>());
}

template <class Reader>
HWY_INLINE bool TakeDc(const zepiDecodeHuffmanSpec& table, Reader* reader, int16_t* difference) {
  const uint32_t entry = reader->TakeSymbol(table);
  const uint32_t category = entry & 0xFFFF;
  if (HWY_UNLIKELY(entry == 0 || category > 16)) return false;
  StoreCoefficient(reader->TakeDc(category), difference);
  return true;
}

template <class Reader>
HWY_INLINE bool TakeAcs(const zepiDecodeHuffmanSpec& table, Reader* reader, int16_t* block) {
  uint32_t k = 1;
  while (k < 64) {
    if (!reader->Ensure()) return false;
    const uint32_t entry = reader->TakeSymbol(table);
    const RunAndCategory next = Split(entry);
    if (HWY_UNLIKELY(next.category == 0)) {
      if (HWY_LIKELY(next.run < 15)) return entry != 0;
      k += 16;
      continue;
    }
    k += next.run;
    StoreCoefficient(reader->TakeAc(next.category), block + kNaturalOrLast.positions[k]);
    ++k;
  }
  return k == 64;
}

template <class Bytes>
Progress Take(const Bytes& bytes, uint32_t unused, const zepiDecodeHuffmanSpec& dc_table,
              const zepiDecodeHuffmanSpec& ac_table, int16_t* block) {
  QuickReader<Bytes> reader(bytes, unused);
  Clear(block);
  if (HWY_UNLIKELY(!reader.Refill() || !TakeDc(dc_table, &reader, block))) return {0, 0};
  if (HWY_UNLIKELY(!TakeAcs(ac_table, &reader, block) || !reader.IsSafe())) return {0, 0};
  return reader.progress();
}

constexpr Kernels kKernels = {Take<PlainBytes>, Take<StuffedBytes>};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zepjp
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

zepStatus TakeDc(const zepiDecodeHuffmanSpec& table, BitReader* reader, int32_t* difference) {
  uint32_t category = 0, bits = 0;
  if (auto bad = reader->TakeSymbol(table, &category)) return bad;
  if (category > 16) return zepStatusBadHuffCode;
  if (category == 0) return *difference = 0, zepStatusOk;
  if (auto bad = reader->Take(static_cast<int>(category), &bits)) return bad;
  *difference = ValueOf(category, bits);
  return zepStatusOk;
}

zepStatus TakeAcs(const zepiDecodeHuffmanSpec& table, BitReader* reader, int16_t* block) {
  for (uint32_t k = 1; k < 64; ++k) {
    uint32_t symbol = 0, bits = 0;
    if (auto bad = reader->TakeSymbol(table, &symbol)) return bad;
    const RunAndCategory next = Split(symbol);
    if (next.IsEnd()) return zepStatusOk;
    k += next.run;
    if (k > 63) return zepStatusBadHuffCode;
    if (next.category == 0) continue;
    if (auto bad = reader->Take(static_cast<int>(next.category), &bits)) return bad;
    StoreCoefficient(ValueOf(next.category, bits), block + kNaturalOfZigzag[k]);
  }
  return zepStatusOk;
}

zepStatus DecodeCarefully(const Source& from, int16_t* block, int16_t* last_dc,
                          const zepiDecodeHuffmanSpec& dc_table,
                          const zepiDecodeHuffmanSpec& ac_table, zepiDecodeHuffmanState* state) {
  BitReader reader(from, state);
  std::memset(block, 0, 64 * sizeof(*block));
  int32_t difference = 0;
  zepStatus status = TakeDc(dc_table, &reader, &difference);
  if (status == zepStatusOk) {
    StoreCoefficient(LoadCoefficient(last_dc) + difference, block);
    status = TakeAcs(ac_table, &reader, block);
  }
  if (status == zepStatusOk) std::memcpy(last_dc, block, sizeof(*block));
  reader.Store();
  return status;
}

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

void AddLastDc(int16_t* block, int16_t* last_dc) {
  StoreCoefficient(LoadCoefficient(last_dc) + LoadCoefficient(block), block);
  std::memcpy(last_dc, block, sizeof(*block));
}

bool IsUsual(const Source& from, const zepiDecodeHuffmanState& state) {
  return *from.marker == 0 && *from.position >= 0 && *from.position <= from.length &&
         state.reserved == 0 && static_cast<uint32_t>(state.numBits) <= 32;
}

[[gnu::noinline]] zepStatus DecodeStuffed(const Source& from, int16_t* block, int16_t* last_dc,
                                          const zepiDecodeHuffmanSpec& dc_table,
                                          const zepiDecodeHuffmanSpec& ac_table,
                                          zepiDecodeHuffmanState* state) {
  if (IsUsual(from, *state)) {
    const StuffedBytes bytes(state->bits, from.bytes + *from.position, from.bytes + from.length);
    const Progress progress = kernels.take_stuffed(bytes, static_cast<uint32_t>(state->numBits),
                                                   dc_table, ac_table, block);
    if (progress.read != 0) {
      AddLastDc(block, last_dc);
      *from.position += bytes.Advance(progress.bytes_read(), &state->bits);
      state->numBits = progress.unused();
      return zepStatusOk;
    }
  }
  return DecodeCarefully(from, block, last_dc, dc_table, ac_table, state);
}

[[gnu::always_inline]] inline bool DecodePlain(const Source& from, int16_t* block, int16_t* last_dc,
                                               const zepiDecodeHuffmanSpec& dc_table,
                                               const zepiDecodeHuffmanSpec& ac_table,
                                               zepiDecodeHuffmanState* state) {
  const int64_t start = *from.position;
  if (start < 4 || !IsUsual(from, *state)) return false;
  // The state's bytes are in the source too, so that nothing waits for what the call before stored.
  const uint8_t* const bytes = from.bytes + start - kStateBytes;
  if (LoadBigEndian32(bytes) != state->bits) return false;
  const Progress progress =
      kernels.take_plain({bytes, from.length - start + 4}, static_cast<uint32_t>(state->numBits),
                         dc_table, ac_table, block);
  if (progress.read == 0) return false;
  AddLastDc(block, last_dc);
  *from.position += static_cast<int32_t>(progress.bytes_read());
  state->bits = LoadBigEndian32(bytes + progress.bytes_read());
  state->numBits = progress.unused();
  return true;
}

}  // namespace
}  // namespace zepjp

using zepjp::Checks;

zepStatus ZEP_CALL zepiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* pSrc, int32_t srcLenBytes,
                                                      int32_t* pSrcCurrPos, int16_t* pDst,
                                                      int16_t* pLastDC, int32_t* pMarker,
                                                      const zepiDecodeHuffmanSpec* pDcTable,
                                                      const zepiDecodeHuffmanSpec* pAcTable,
                                                      zepiDecodeHuffmanState* pDecHuffState) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Refuse(srcLenBytes < 0, zepStatusBadArg)
                     .Ptr(pSrcCurrPos)
                     .Ptr(pDst)
                     .Ptr(pLastDC)
                     .Ptr(pMarker)
                     .Ptr(pDcTable)
                     .Ptr(pAcTable)
                     .Ptr(pDecHuffState)
                     .Failed()) {
    return bad;
  }
  // Two sources: that of the common case stays in registers.
  if (zepjp::DecodePlain({pSrc, srcLenBytes, pSrcCurrPos, pMarker}, pDst, pLastDC, *pDcTable,
                         *pAcTable, pDecHuffState)) {
    return zepStatusOk;
  }
  return zepjp::DecodeStuffed({pSrc, srcLenBytes, pSrcCurrPos, pMarker}, pDst, pLastDC, *pDcTable,
                              *pAcTable, pDecHuffState);
}
#endif  // HWY_ONCE
