// SPDX-License-Identifier: MIT
// The scans of progressive JPEG (ITU-T T.81, G.1.2): the upper bits of DC or of a band of AC coefficients first,
// then a bit more in each scan.
//
// As in the block encoder there are two ways to the same bytes, positions and states: one where there is room for
// the longest block, and a careful one.
#include "frame/checks.h"
#include "jpeg/huffman/bit_writer.h"
#include "jpeg/huffman/collector.h"
#include "jpeg/huffman/progressive.h"
#include "jpeg/huffman/states.h"

namespace zepjp {
namespace {

// The longest block: 31 bits for each coefficient, runs of zeros, the run before with its corrections, its own.
constexpr int64_t kMostBlockBytes = 2 * ((7 + 63 * (31 + 16) + 30 + 1024 + 7) / 8) + 8;

// Writes carefully; keeps the status of what could not be written.
class WriterSink {
 public:
  WriterSink(const zepiEncodeHuffmanSpec* table, const Destination& to,
             zepiEncodeHuffmanState* state)
      : table_(table), writer_(to, state) {}

  bool Symbol(uint32_t symbol) { return Keep(writer_.PutCode(table_->entry[symbol])); }
  bool Bits(uint32_t value, uint32_t count) { return Keep(writer_.Put(value, count)); }
  bool Corrections(const uint8_t* bits, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
      if (!Bits(bits[i] & 1u, 1)) return false;
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
  CollectorSink(const zepiEncodeHuffmanSpec* table, const zepiEncodeHuffmanState& state,
                uint8_t* to)
      : table_(table), collector_(state, to) {}

  bool Symbol(uint32_t symbol) { return PutValue(table_->entry[symbol], 0, 0, &collector_); }
  bool Bits(uint32_t value, uint32_t count) {
    collector_.Put(value, static_cast<int>(count));
    return true;
  }
  bool Corrections(const uint8_t* bits, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) collector_.Put(bits[i] & 1u, 1);
    return true;
  }
  bool NoSymbol() { return false; }

  uint8_t* Finish(zepiEncodeHuffmanState* state) { return collector_.Finish(state); }

 private:
  const zepiEncodeHuffmanSpec* table_;
  Collector collector_;
};

// Calls tell(run, sink), quickly where that is possible.
template <class Tell>
zepStatus Write(const Tell& tell, const zepiEncodeHuffmanSpec* table, const Destination& to,
                zepiEncodeHuffmanState* state) {
  const int64_t position = *to.position;
  if (position >= 0 && to.length - position >= kMostBlockBytes) {
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

// The run that is pending, then ones.
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

template <class Tell>
zepStatus EncodeBand(const Tell& tell, const int16_t* block, const Destination& to,
                     const Band& band, const zepiEncodeHuffmanSpec* table,
                     zepiEncodeHuffmanState* state, bool flushes) {
  if (auto bad = CheckDestination(to, state)) return bad;
  if (flushes) return Flush(table, to, state);
  if (auto bad = Checks().Ptr(block).Ptr(table).Refuse(band.IsBad(), zepStatusBadArg).Failed()) {
    return bad;
  }
  return Write(tell, table, to, state);
}

}  // namespace
}  // namespace zepjp

zepStatus ZEP_CALL zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int16_t* pLastDC,
    int32_t Al, const zepiEncodeHuffmanSpec* pDcTable, zepiEncodeHuffmanState* pEncHuffState,
    int32_t bFlushState) {
  using namespace zepjp;
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
  using namespace zepjp;
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
  using namespace zepjp;
  const Band band = {Ss, Se, Al};
  const auto tell = [&](EobRun* run, auto* sink) { return TellFirst(pSrc, band, run, sink); };
  return EncodeBand(tell, pSrc, {pDst, dstLenBytes, pDstCurrPos}, band, pAcTable, pEncHuffState,
                    bFlushState != 0);
}

zepStatus ZEP_CALL zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int32_t Ss,
    int32_t Se, int32_t Al, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState) {
  using namespace zepjp;
  const Band band = {Ss, Se, Al};
  const auto tell = [&](EobRun* run, auto* sink) { return TellRefinement(pSrc, band, run, sink); };
  return EncodeBand(tell, pSrc, {pDst, dstLenBytes, pDstCurrPos}, band, pAcTable, pEncHuffState,
                    bFlushState != 0);
}
