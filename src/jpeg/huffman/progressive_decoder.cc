// SPDX-License-Identifier: MIT
// Decoding of progressive scans (ITU-T T.81, G.2).
//
// As in the block decoder, the fast reader and the reference reader give the same coefficients,
// positions and states. If the fast reader fails, the reference reader decodes the block again. A
// scan changes coefficients in place, so the fast attempt keeps a copy of the block.
//
// A refinement starts from a mask of the coefficients that are nonzero already (zigzag_scan-inl.h).
// After a run of n zeros, the coefficient is at the 0 bit of the mask with n other 0 bits below it,
// which BMI2 finds with one `pdep`; the 1 bits below it are the coefficients to correct.
#include <cstring>
#include <type_traits>

#include "frame/checks.h"
#include "jpeg/huffman/bit_reader.h"
#include "jpeg/huffman/careful_block.h"
#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/huffman/progressive.h"
#include "jpeg/huffman/quick_reader.h"
#include "jpeg/zigzag.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/huffman/progressive_decoder.cc"
#include "hwy/foreach_target.h"
#include "jpeg/huffman/zigzag_scan-inl.h"

#ifndef ZEPJP_PROGRESSIVE_DECODER_KERNELS
#  define ZEPJP_PROGRESSIVE_DECODER_KERNELS
namespace zepjp {
namespace {

using DecodeBlock = zepStatus (*)(const Source& from, int16_t* block, const Band& band,
                                  const zepiDecodeHuffmanSpec& table,
                                  zepiDecodeHuffmanState* state);

struct Kernels {
  zepStatus (*first_dc)(const Source& from, int32_t* difference, const zepiDecodeHuffmanSpec& table,
                        zepiDecodeHuffmanState* state);
  DecodeBlock first, refine;
};

zepStatus TakeDcCarefully(const Source& from, int32_t* difference,
                          const zepiDecodeHuffmanSpec& table, zepiDecodeHuffmanState* state) {
  BitReader reader(from, state);
  const zepStatus status = TakeDc(table, &reader, difference);
  reader.Store();
  return status;
}

// Sets bit `shift` of a coefficient's magnitude if `bit` is 1.
HWY_INLINE void Correct(uint32_t bit, int32_t shift, int16_t* at) {
  const int32_t value = LoadCoefficient(at);
  const int32_t sign = value >> 31;
  const int32_t magnitude = (value ^ sign) - sign;
  const auto lacks = static_cast<int32_t>(bit) & ~(magnitude >> shift);
  StoreCoefficient(value + (((lacks << shift) ^ sign) - sign), at);
}

class CarefulBand {
 public:
  CarefulBand(const Band& band, const zepiDecodeHuffmanSpec& table, int16_t* block, uint32_t* run,
              BitReader* reader)
      : band_(band), table_(table), block_(block), run_(*run), reader_(*reader) {}

  zepStatus First() {
    for (int32_t k = band_.first; run_ == 0 && k <= band_.last; ++k) {
      uint32_t symbol = 0, bits = 0;
      if (auto bad = reader_.TakeSymbol(table_, &symbol)) return bad;
      const RunAndCategory next(symbol);
      if (next.IsEnd()) {
        if (auto bad = TakeRun(next.run)) return bad;
        break;
      }
      k += static_cast<int32_t>(next.run);
      if (k > band_.last) return zepStatusBadHuffCode;
      if (next.category == 0) continue;
      if (auto bad = TakeExtra(next.category, &reader_, &bits)) return bad;
      StoreCoefficient(ValueOf(next.category, bits) * (1 << band_.shift), At(k));
    }
    if (run_ > 0) --run_;
    return zepStatusOk;
  }

  zepStatus Refine() {
    int32_t k = band_.first;
    for (; run_ == 0 && k <= band_.last; ++k) {
      uint32_t symbol = 0, is_positive = 0;
      if (auto bad = reader_.TakeSymbol(table_, &symbol)) return bad;
      const RunAndCategory next(symbol);
      if (next.category > 1) return zepStatusBadHuffCode;
      if (next.IsEnd()) {
        if (auto bad = TakeRun(next.run)) return bad;
        break;
      }
      if (auto bad = TakeExtra(next.category, &reader_, &is_positive)) return bad;
      if (auto bad = SkipZeros(next.run, &k)) return bad;
      const int32_t unit = 1 << band_.shift;
      if (next.category == 1) StoreCoefficient(is_positive != 0 ? unit : -unit, At(k));
    }
    if (run_ == 0) return zepStatusOk;
    for (; k <= band_.last; ++k) {
      if (LoadCoefficient(At(k)) == 0) continue;
      if (auto bad = TakeCorrection(k)) return bad;
    }
    --run_;
    return zepStatusOk;
  }

 private:
  int16_t* At(int32_t k) { return block_ + kNaturalOfZigzag[k]; }

  // Takes the length of the end-of-band run that begins with this block.
  zepStatus TakeRun(uint32_t size) {
    uint32_t more = 0;
    if (auto bad = TakeExtra(size, &reader_, &more)) return bad;
    run_ = (1u << size) + more;
    return zepStatusOk;
  }

  // Advances `*k` over `zeros` zero coefficients to the zero coefficient after them, and corrects
  // the nonzero ones in between.
  zepStatus SkipZeros(uint32_t zeros, int32_t* k) {
    for (; *k <= band_.last; ++*k) {
      if (LoadCoefficient(At(*k)) == 0) {
        if (zeros-- == 0) return zepStatusOk;
        continue;
      }
      if (auto bad = TakeCorrection(*k)) return bad;
    }
    return zepStatusBadHuffCode;  // the band has too few zeros
  }

  zepStatus TakeCorrection(int32_t k) {
    uint32_t bit = 0;
    if (auto bad = reader_.Take(1, &bit)) return bad;
    Correct(bit, band_.shift, At(k));
    return zepStatusOk;
  }

  const Band band_;
  const zepiDecodeHuffmanSpec& table_;
  int16_t* block_;
  uint32_t& run_;
  BitReader& reader_;
};

HWY_NOINLINE zepStatus DecodeCarefully(zepStatus (CarefulBand::*decode)(), const Source& from,
                                       int16_t* block, const Band& band,
                                       const zepiDecodeHuffmanSpec& table,
                                       zepiDecodeHuffmanState* state) {
  BitReader reader(from, state);
  CarefulBand careful(band, table, block, &state->eobRun, &reader);
  const zepStatus status = (careful.*decode)();
  reader.Store();
  return status;
}

// Calls take(bytes, unused, &progress) on plain bytes, then on stuffed ones.
template <class Take>
HWY_INLINE bool ReadQuickly(const Source& from, zepiDecodeHuffmanState* state, const Take& take) {
  return HWY_LIKELY(ReadPlain(from, state, take)) || ReadStuffed(from, state, take);
}

// Restores the block after a fast attempt that failed.
class Undo {
 public:
  explicit Undo(int16_t* block) : block_(block) { std::memcpy(saved_, block, sizeof(saved_)); }
  void operator()() const { std::memcpy(block_, saved_, sizeof(saved_)); }

 private:
  int16_t* block_;
  int16_t saved_[64];
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

zepStatus FirstDc(const Source& from, int32_t* difference, const zepiDecodeHuffmanSpec& table,
                  zepiDecodeHuffmanState* state) {
  const auto take = [&](const auto& bytes, uint32_t unused, Progress* progress) ZEP_ATTR {
    QuickReader<std::decay_t<decltype(bytes)>> reader(bytes, unused);
    return reader.Refill() && reader.TakeDc(table, difference) && reader.Finish(progress);
  };
  if (ReadQuickly(from, state, take)) return zepStatusOk;
  return TakeDcCarefully(from, difference, table, state);
}

// Decodes a band to its end. If an end-of-band run begins here, `*run` becomes its length, this
// block included.
template <class Bytes>
HWY_INLINE bool TakeFirst(const Band& band, const zepiDecodeHuffmanSpec& table, int16_t* block,
                          uint32_t* run, QuickReader<Bytes>* reader) {
  int32_t k = band.first;
  while (k <= band.last) {
    if (!reader->Ensure()) return false;
    const uint32_t entry = reader->TakeSymbol(table);
    if (HWY_UNLIKELY(entry == 0)) return false;
    const RunAndCategory next(entry & 0xFFFF);
    if (next.category == 0) {
      if (next.IsEnd()) {
        *run = (1u << next.run) + reader->TakeBits(next.run);
        return true;
      }
      k += 16;
      continue;
    }
    k += static_cast<int32_t>(next.run);
    if (HWY_UNLIKELY(k > band.last)) return false;
    StoreCoefficient(reader->TakeValue(next.category) * (1 << band.shift),
                     block + kNaturalOfZigzag[k]);
    ++k;
  }
  return k == band.last + 1;
}

zepStatus DecodeFirst(const Source& from, int16_t* block, const Band& band,
                      const zepiDecodeHuffmanSpec& table, zepiDecodeHuffmanState* state) {
  if (state->eobRun > 0) {
    --state->eobRun;
    return zepStatusOk;
  }
  const Undo undo(block);
  uint32_t run = 0;
  const auto take = [&](const auto& bytes, uint32_t unused, Progress* progress) ZEP_ATTR {
    QuickReader<std::decay_t<decltype(bytes)>> reader(bytes, unused);
    run = 1;
    return reader.Refill() && TakeFirst(band, table, block, &run, &reader) &&
           reader.Finish(progress);
  };
  if (ReadQuickly(from, state, take)) {
    state->eobRun = run - 1;
    return zepStatusOk;
  }
  undo();
  return DecodeCarefully(&CarefulBand::First, from, block, band, table, state);
}

// The 1 bit of `mask` that has `count` 1 bits below it, or 0.
HWY_INLINE uint64_t NthBit(uint64_t mask, uint32_t count) {
#if HWY_TARGET <= HWY_AVX2
  return _pdep_u64(uint64_t{1} << count, mask);
#else
  for (; count > 0; --count) mask &= mask - 1;
  return mask & (~mask + 1);
#endif
}

template <class Bytes>
HWY_INLINE bool TakeCorrections(uint64_t indexes, int32_t shift, int16_t* block,
                                QuickReader<Bytes>* reader) {
  for (; indexes != 0; indexes &= indexes - 1) {
    if (!reader->Ensure()) return false;
    Correct(reader->TakeBits(1), shift, block + kNaturalOfZigzag[__builtin_ctzll(indexes)]);
  }
  return true;
}

// Decodes the refinement of a band. `nonzero` is the mask of the coefficients that were nonzero
// before this scan. `*run` is the length of an end-of-band run that includes this block, or 0; on
// return it is that of the run that ended the band.
template <class Bytes>
HWY_INLINE bool TakeRefinement(const Band& band, const zepiDecodeHuffmanSpec& table,
                               uint64_t nonzero, int16_t* block, uint32_t* run,
                               QuickReader<Bytes>* reader) {
  uint64_t left = band.indexes();
  while (*run == 0 && left != 0) {
    if (!reader->Ensure()) return false;
    const uint32_t entry = reader->TakeSymbol(table);
    const RunAndCategory next(entry & 0xFFFF);
    if (HWY_UNLIKELY(entry == 0 || next.category > 1)) return false;
    if (next.IsEnd()) {
      *run = (1u << next.run) + reader->TakeBits(next.run);
      break;
    }
    const uint32_t is_positive = reader->TakeBits(next.category);
    const uint64_t end = NthBit(left & ~nonzero, next.run);
    if (HWY_UNLIKELY(end == 0)) return false;
    if (!TakeCorrections(left & (end - 1) & nonzero, band.shift, block, reader)) return false;
    left &= ~(end | (end - 1));
    if (next.category == 1) {
      const int32_t unit = 1 << band.shift;
      StoreCoefficient(is_positive != 0 ? unit : -unit,
                       block + kNaturalOfZigzag[__builtin_ctzll(end)]);
    }
  }
  return *run == 0 || TakeCorrections(left & nonzero, band.shift, block, reader);
}

zepStatus DecodeRefinement(const Source& from, int16_t* block, const Band& band,
                           const zepiDecodeHuffmanSpec& table, zepiDecodeHuffmanState* state) {
  const uint64_t nonzero = ZigzagScan(block).NonZero() & band.indexes();
  if (state->eobRun > 0 && nonzero == 0) {
    --state->eobRun;
    return zepStatusOk;
  }
  const Undo undo(block);
  uint32_t run = 0;
  const auto take = [&](const auto& bytes, uint32_t unused, Progress* progress) ZEP_ATTR {
    QuickReader<std::decay_t<decltype(bytes)>> reader(bytes, unused);
    run = state->eobRun;
    return reader.Refill() && TakeRefinement(band, table, nonzero, block, &run, &reader) &&
           reader.Finish(progress);
  };
  if (ReadQuickly(from, state, take)) {
    state->eobRun = run - (run > 0 ? 1 : 0);
    return zepStatusOk;
  }
  undo();
  return DecodeCarefully(&CarefulBand::Refine, from, block, band, table, state);
}

constexpr Kernels kKernels = {
    .first_dc = FirstDc,
    .first = DecodeFirst,
    .refine = DecodeRefinement,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

// The first checks of every decoder.
Checks CheckSource(const Source& from, const int16_t* block) {
  return Checks()
      .Ptr(from.bytes)
      .Refuse(from.length < 0, zepStatusBadArg)
      .Ptr(from.position)
      .Ptr(block);
}

zepStatus DecodeBand(DecodeBlock decode, const Source& from, int16_t* block, const Band& band,
                     const zepiDecodeHuffmanSpec* table, zepiDecodeHuffmanState* state) {
  if (auto bad = CheckSource(from, block)
                     .Ptr(from.marker)
                     .Ptr(table)
                     .Ptr(state)
                     .Refuse(band.IsBad(), zepStatusBadArg)
                     .Failed()) {
    return bad;
  }
  return decode(from, block, band, *table, state);
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int16_t* pLastDC,
    int32_t* pMarker, int32_t Al, const zepiDecodeHuffmanSpec* pDcTable,
    zepiDecodeHuffmanState* pDecHuffState) {
  const Source from = {pSrc, srcLenBytes, pSrcCurrPos, pMarker};
  if (auto bad = CheckSource(from, pDst)
                     .Ptr(pLastDC)
                     .Ptr(pMarker)
                     .Ptr(pDcTable)
                     .Ptr(pDecHuffState)
                     .Refuse(IsBadShift(Al), zepStatusBadArg)
                     .Failed()) {
    return bad;
  }
  int32_t difference = 0;
  if (auto bad = kernels.first_dc(from, &difference, *pDcTable, pDecHuffState)) return bad;
  StoreCoefficient(LoadCoefficient(pLastDC) + difference, pLastDC);
  StoreCoefficient(LoadCoefficient(pLastDC) * (1 << Al), pDst);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int32_t* pMarker,
    int32_t Al, zepiDecodeHuffmanState* pDecHuffState) {
  const Source from = {pSrc, srcLenBytes, pSrcCurrPos, pMarker};
  if (auto bad = CheckSource(from, pDst)
                     .Ptr(pMarker)
                     .Ptr(pDecHuffState)
                     .Refuse(IsBadShift(Al), zepStatusBadArg)
                     .Failed()) {
    return bad;
  }
  BitReader reader(from, pDecHuffState);
  uint32_t bit = 0;
  const zepStatus status = reader.Take(1, &bit);
  reader.Store();
  if (status == zepStatusOk && bit != 0) StoreCoefficient(LoadCoefficient(pDst) | 1 << Al, pDst);
  return status;
}

zepStatus ZEP_CALL zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int32_t* pMarker,
    int32_t Ss, int32_t Se, int32_t Al, const zepiDecodeHuffmanSpec* pAcTable,
    zepiDecodeHuffmanState* pDecHuffState) {
  return DecodeBand(kernels.first, {pSrc, srcLenBytes, pSrcCurrPos, pMarker}, pDst, {Ss, Se, Al},
                    pAcTable, pDecHuffState);
}

zepStatus ZEP_CALL zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* pDst, int32_t* pMarker,
    int32_t Ss, int32_t Se, int32_t Al, const zepiDecodeHuffmanSpec* pAcTable,
    zepiDecodeHuffmanState* pDecHuffState) {
  return DecodeBand(kernels.refine, {pSrc, srcLenBytes, pSrcCurrPos, pMarker}, pDst, {Ss, Se, Al},
                    pAcTable, pDecHuffState);
}
#endif  // HWY_ONCE
