// SPDX-License-Identifier: MIT
// Counts the symbols that the encoders would write (ITU-T T.81, K.2);
// zepiEncodeHuffmanRawTableInit_JPEG_8u makes a table from the counts.
//
// progressive-inl.h makes the symbols. Those of a baseline block are the symbols of a first scan of
// the band 1..63 with Al 0, except that the end of the block is a symbol of its own. A block's
// symbols are listed first and counted afterwards, so that a block that cannot be counted changes
// nothing.
#include "frame/checks.h"
#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/huffman_states.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/huffman/progressive.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/huffman/huffman_statistics.cc"
#include "hwy/foreach_target.h"
#include "jpeg/huffman/progressive-inl.h"

#ifndef ZEPJP_STATISTICS_KERNELS
#  define ZEPJP_STATISTICS_KERNELS
namespace zepjp {
namespace {

// A sink that lists the symbols of a block.
class Counter {
 public:
  HWY_INLINE bool Symbol(uint32_t symbol, uint32_t, uint32_t) {
    symbols_[count_++] = static_cast<uint8_t>(symbol);
    return true;
  }
  HWY_INLINE bool Corrections(uint64_t, uint32_t) { return true; }
  HWY_INLINE bool NoSymbol() { return false; }

  // False if a count would overflow; then no count has changed.
  bool AddTo(int32_t* statistics) const {
    for (size_t i = 0; i < count_; ++i) {
      if (HWY_UNLIKELY(statistics[symbols_[i]] == INT32_MAX)) {
        Take(i, statistics);
        return false;
      }
      ++statistics[symbols_[i]];
    }
    return true;
  }
  // Subtracts the first `count` symbols from the counts again.
  void Take(size_t count, int32_t* statistics) const {
    for (size_t i = 0; i < count; ++i) --statistics[symbols_[i]];
  }
  size_t count() const { return count_; }

 private:
  uint8_t symbols_[96];  // one for each coefficient, three runs of zeros, two ends
  size_t count_ = 0;
};

using Tell = bool (*)(const int16_t* block, const Band& band, EobRun* run, Counter* counter);

struct Kernels {
  Tell first, refine;
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

bool CountFirst(const int16_t* block, const Band& band, EobRun* run, Counter* counter) {
  const ZigzagScan scan(block);
  return TellFirst(scan, NonZero(scan, band), band, run, counter);
}

bool CountRefinement(const int16_t* block, const Band& band, EobRun* run, Counter* counter) {
  const ZigzagScan scan(block);
  return TellRefinement(scan, NonZero(scan, band), band, run, counter);
}

constexpr Kernels kKernels = {.first = CountFirst, .refine = CountRefinement};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

// Counts the category of a DC difference. The last DC changes only if counting succeeds.
class DcCounter {
 public:
  DcCounter(int32_t dc, const int16_t* last) : dc_(dc) {
    counter_.Symbol(CategoryOf(dc - LoadCoefficient(last)), 0, 0);
  }
  bool AddTo(int32_t* statistics, int16_t* last) const {
    if (!counter_.AddTo(statistics)) return false;
    StoreCoefficient(dc_, last);
    return true;
  }

 private:
  int32_t dc_;
  Counter counter_;
};

// Baseline AC symbols: those of a first scan of the whole band, with an end of block instead of a
// run.
bool CountAcs(const int16_t* block, Counter* counter) {
  EobRun run = {0, 0, nullptr};
  if (!kernels.first(block, {1, 63, 0}, &run, counter)) return false;
  if (run.blocks > 0) counter->Symbol(kEndOfBlock, 0, 0);
  return true;
}

zepStatus CountBand(Tell tell, const int16_t* block, int32_t* statistics, const Band& band,
                    zepiEncodeHuffmanState* state, bool flushes) {
  if (auto bad = Checks().Ptr(statistics).Ptr(state).Failed()) return bad;
  if (!flushes) {
    if (auto bad = Checks().Ptr(block).Refuse(band.IsBad(), zepStatusOutOfRange).Failed())
      return bad;
  }
  Counter counter;
  EobRun run = EobRun::Of(state);
  run.bits = nullptr;
  const bool is_told = flushes ? EndRun(&run, &counter) : tell(block, band, &run, &counter);
  if (!is_told) return zepStatusBadHuffTable;
  if (!counter.AddTo(statistics)) return zepStatusOutOfRange;
  if (flushes) {
    Reset(state);
  } else {
    run.StoreTo(state);
  }
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* pSrc,
                                                           int32_t pDcStatistics[256],
                                                           int32_t pAcStatistics[256],
                                                           int16_t* pLastDC) {
  if (auto bad = Checks().Ptr(pSrc).Ptr(pDcStatistics).Ptr(pAcStatistics).Ptr(pLastDC).Failed()) {
    return bad;
  }
  Counter acs;
  if (!CountAcs(pSrc, &acs)) return zepStatusBadHuffTable;
  if (!acs.AddTo(pAcStatistics)) return zepStatusOutOfRange;
  if (DcCounter(LoadCoefficient(pSrc), pLastDC).AddTo(pDcStatistics, pLastDC)) return zepStatusOk;
  acs.Take(acs.count(), pAcStatistics);
  return zepStatusOutOfRange;
}

zepStatus ZEP_CALL zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const int16_t* pSrc,
                                                                   int32_t pDcStatistics[256],
                                                                   int16_t* pLastDC, int32_t Al) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pDcStatistics)
                     .Ptr(pLastDC)
                     .Refuse(IsBadShift(Al), zepStatusOutOfRange)
                     .Failed()) {
    return bad;
  }
  const DcCounter counter(LoadCoefficient(pSrc) >> Al, pLastDC);
  return counter.AddTo(pDcStatistics, pLastDC) ? zepStatusOk : zepStatusOutOfRange;
}

zepStatus ZEP_CALL zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(
    const int16_t* pSrc, int32_t pAcStatistics[256], int32_t Ss, int32_t Se, int32_t Al,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState) {
  return CountBand(kernels.first, pSrc, pAcStatistics, {Ss, Se, Al}, pEncHuffState,
                   bFlushState != 0);
}

zepStatus ZEP_CALL zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(
    const int16_t* pSrc, int32_t pAcStatistics[256], int32_t Ss, int32_t Se, int32_t Al,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState) {
  return CountBand(kernels.refine, pSrc, pAcStatistics, {Ss, Se, Al}, pEncHuffState,
                   bFlushState != 0);
}

zepStatus ZEP_CALL zepiGetHuffmanStatisticsOne_JPEG_16s_C1(const int16_t* pSrc,
                                                           int32_t pStatistics[256]) {
  if (auto bad = Checks().Ptr(pSrc).Ptr(pStatistics).Failed()) return bad;
  Counter counter;
  counter.Symbol(CategoryOf(LoadCoefficient(pSrc)), 0, 0);
  return counter.AddTo(pStatistics) ? zepStatusOk : zepStatusOutOfRange;
}
#endif  // HWY_ONCE
