// SPDX-License-Identifier: MIT
// Encoding of the scans of progressive JPEG (ITU-T T.81, G.1.2): a first scan has the upper bits of
// DC, or of a band of AC coefficients; each refinement scan adds one bit.
//
// progressive-inl.h makes the symbols of a block. They go to one of two sinks that give the same
// bytes, positions and states. CollectorSink is the fast one; it needs room for the longest
// possible block, and fails if a symbol has no code. Then WriterSink, the reference writer, starts
// again from the start of the block.
#include "frame/checks.h"
#include "jpeg/huffman/bit_writer.h"
#include "jpeg/huffman/collector.h"
#include "jpeg/huffman/huffman_states.h"
#include "jpeg/huffman/progressive.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/huffman/progressive_encoder.cc"
#include "hwy/foreach_target.h"
#include "jpeg/huffman/progressive-inl.h"

#ifndef ZEPJP_PROGRESSIVE_ENCODER_KERNELS
#  define ZEPJP_PROGRESSIVE_ENCODER_KERNELS
namespace zepjp {
namespace {

using EncodeBlock = zepStatus (*)(const int16_t* block, const Destination& to, const Band& band,
                                  const zepiEncodeHuffmanSpec* table,
                                  zepiEncodeHuffmanState* state);

struct Kernels {
  EncodeBlock first, refine;
};

// The longest block in bytes: 31 bits for each coefficient and 16 for a run of 16 zeros before it,
// two end-of-band runs with 15 extra bits, 1024 corrections. A 00 may be stuffed after every byte.
constexpr int64_t kMaxBlockBytes = 2 * ((7 + 63 * (31 + 16) + 30 + 1024 + 7) / 8) + 8;

// Uses the reference writer, and keeps the status of the first write that fails.
class WriterSink {
 public:
  WriterSink(const zepiEncodeHuffmanSpec* table, const Destination& to,
             zepiEncodeHuffmanState* state)
      : table_(table), writer_(to, state) {}

  bool Symbol(uint32_t symbol, uint32_t extra, uint32_t count) {
    return Keep(writer_.PutCode(table_->entry[symbol])) &&
           (count == 0 || Keep(writer_.Put(extra, count)));
  }
  bool Corrections(uint64_t bits, uint32_t count) {
    while (count > 0) {
      if (!Keep(writer_.Put(static_cast<uint32_t>(bits >> --count) & 1, 1))) return false;
    }
    return true;
  }
  bool NoSymbol() { return Keep(zepStatusBadHuffTable); }

  zepStatus status() const { return status_; }

 private:
  bool Keep(zepStatus status) {
    status_ = status;
    return status == zepStatusOk;
  }

  const zepiEncodeHuffmanSpec* table_;
  BitWriter writer_;
  zepStatus status_ = zepStatusOk;
};

class CollectorSink {
 public:
  HWY_INLINE CollectorSink(const zepiEncodeHuffmanSpec* table, const zepiEncodeHuffmanState& state,
                           uint8_t* to)
      : table_(table), collector_(state, to) {}

  HWY_INLINE bool Symbol(uint32_t symbol, uint32_t extra, uint32_t count) {
    return PutValue(table_->entry[symbol], extra, count, &collector_);
  }
  HWY_INLINE bool Corrections(uint64_t bits, uint32_t count) {
    if (HWY_UNLIKELY(count > 32)) {
      collector_.Put(bits >> 32, static_cast<int>(count - 32));
      bits &= 0xFFFFFFFFU;
      count = 32;
    }
    collector_.Put(bits, static_cast<int>(count));
    return true;
  }
  HWY_INLINE bool NoSymbol() { return false; }

  HWY_INLINE uint8_t* Finish(zepiEncodeHuffmanState* state) { return collector_.Finish(state); }

 private:
  const zepiEncodeHuffmanSpec* table_;
  Collector collector_;
};

// Calls tell(run, sink) with the fast sink if there is room, and if that fails or there is none,
// with the reference writer.
template <class Tell>
HWY_INLINE zepStatus Write(const Tell& tell, const zepiEncodeHuffmanSpec* table,
                           const Destination& to, zepiEncodeHuffmanState* state) {
  const int64_t position = *to.position;
  if (position >= 0 && to.length - position >= kMaxBlockBytes) {
    CollectorSink sink(table, *state, to.bytes + position);
    EobRun run = EobRun::Of(state);
    if (tell(&run, &sink)) {
      *to.position = static_cast<int32_t>(sink.Finish(state) - to.bytes);
      run.StoreTo(state);
      return zepStatusOk;
    }
  }
  WriterSink sink(table, to, state);
  EobRun run = EobRun::Of(state);
  if (tell(&run, &sink)) run.StoreTo(state);
  return sink.status();
}

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// A block without nonzero coefficients only lengthens the end-of-band run.
HWY_INLINE bool IsOnlyRun(uint64_t nonzero, zepiEncodeHuffmanState* state) {
  if (nonzero != 0 || state->eobRun >= kMaxEobRun - 1) return false;
  ++state->eobRun;
  return true;
}

zepStatus EncodeFirst(const int16_t* block, const Destination& to, const Band& band,
                      const zepiEncodeHuffmanSpec* table, zepiEncodeHuffmanState* state) {
  const ZigzagScan scan(block);
  const uint64_t nonzero = NonZero(scan, band);
  if (IsOnlyRun(nonzero, state)) return zepStatusOk;
  const auto tell = [&](EobRun* run, auto* sink)
                        ZEP_ATTR { return TellFirst(scan, nonzero, band, run, sink); };
  return Write(tell, table, to, state);
}

zepStatus EncodeRefinement(const int16_t* block, const Destination& to, const Band& band,
                           const zepiEncodeHuffmanSpec* table, zepiEncodeHuffmanState* state) {
  const ZigzagScan scan(block);
  const uint64_t nonzero = NonZero(scan, band);
  if (IsOnlyRun(nonzero, state)) return zepStatusOk;
  const auto tell = [&](EobRun* run, auto* sink)
                        ZEP_ATTR { return TellRefinement(scan, nonzero, band, run, sink); };
  return Write(tell, table, to, state);
}

constexpr Kernels kKernels = {.first = EncodeFirst, .refine = EncodeRefinement};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

// Writes the pending end-of-band run, then pads the last byte with ones.
zepStatus Flush(const zepiEncodeHuffmanSpec* table, const Destination& to,
                zepiEncodeHuffmanState* state) {
  if (state->eobRun != 0) {
    if (table == nullptr) return zepStatusNullPtr;
    const auto end_run = [](EobRun* run, auto* sink) { return EndRun(run, sink); };
    if (auto bad = Write(end_run, table, to, state)) {
      Reset(state);
      return bad;
    }
  }
  return BitWriter(to, state).Flush();
}

zepStatus EncodeBand(EncodeBlock encode, const int16_t* block, const Destination& to,
                     const Band& band, const zepiEncodeHuffmanSpec* table,
                     zepiEncodeHuffmanState* state, bool flushes) {
  if (auto bad = CheckDestination(to, state)) return bad;
  if (flushes) return Flush(table, to, state);
  if (auto bad = Checks().Ptr(block).Ptr(table).Refuse(band.IsBad(), zepStatusBadArg).Failed()) {
    return bad;
  }
  return encode(block, to, band, table, state);
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int16_t* pLastDC,
    int32_t Al, const zepiEncodeHuffmanSpec* pDcTable, zepiEncodeHuffmanState* pEncHuffState,
    int32_t bFlushState) {
  const Destination to = {pDst, dstLenBytes, pDstCurrPos};
  if (auto bad = CheckDestination(to, pEncHuffState)) return bad;
  if (bFlushState != 0) return BitWriter(to, pEncHuffState).Flush();
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pLastDC)
                     .Ptr(pDcTable)
                     .Refuse(IsBadShift(Al), zepStatusBadArg)
                     .Failed()) {
    return bad;
  }
  const int32_t dc = LoadCoefficient(pSrc) >> Al;
  const int32_t difference = dc - LoadCoefficient(pLastDC);
  StoreCoefficient(dc, pLastDC);
  BitWriter writer(to, pEncHuffState);
  return PutDc(difference, *pDcTable, &writer);
}

zepStatus ZEP_CALL zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int32_t Al,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState) {
  const Destination to = {pDst, dstLenBytes, pDstCurrPos};
  if (auto bad = CheckDestination(to, pEncHuffState)) return bad;
  if (bFlushState != 0) return BitWriter(to, pEncHuffState).Flush();
  if (auto bad = Checks().Ptr(pSrc).Refuse(IsBadShift(Al), zepStatusBadArg).Failed()) return bad;
  const auto bit = static_cast<uint32_t>(LoadCoefficient(pSrc) >> Al) & 1;
  return BitWriter(to, pEncHuffState).Put(bit, 1);
}

zepStatus ZEP_CALL zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int32_t Ss,
    int32_t Se, int32_t Al, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState) {
  return EncodeBand(kernels.first, pSrc, {pDst, dstLenBytes, pDstCurrPos}, {Ss, Se, Al}, pAcTable,
                    pEncHuffState, bFlushState != 0);
}

zepStatus ZEP_CALL zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int32_t Ss,
    int32_t Se, int32_t Al, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState) {
  return EncodeBand(kernels.refine, pSrc, {pDst, dstLenBytes, pDstCurrPos}, {Ss, Se, Al}, pAcTable,
                    pEncHuffState, bFlushState != 0);
}
#endif  // HWY_ONCE
