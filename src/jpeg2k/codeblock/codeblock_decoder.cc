// SPDX-License-Identifier: MIT
// The code-block decoders (ISO/IEC 15444-1, annex D): they decode a block in one call, or one
// codeword segment per call.
//
// As in the encoder, a pass finds the samples that it codes by searching for one bits in words of
// flags (stripes.h). In the decoder the words change during the search: when a sample becomes
// significant, its neighbours that come later in the scan become candidates too.
//
// Samples are kept at the midpoint of the interval that is known so far. A sample decoded down to
// plane p has its bits down to p, then a 1 at p - 1, then zeros:
//
//   becomes significant on plane p   magnitude = 3 << p >> 1, which sets bits p and p - 1
//   refined on plane p               bit p is the midpoint's 1: a decoded 1 keeps it, a 0 clears
//                                    it, and either sets bit p - 1, all with one exclusive or
#include <algorithm>
#include <cstring>

#include "frame/checks.h"
#include "frame/memory.h"
#include "jpeg2k/codeblock/mq_coder.h"
#include "jpeg2k/codeblock/stripes.h"
#include "simd/dispatch.h"

#define HWY_DISABLED_TARGETS ZEP_ALL_BUT_SCALAR_TARGETS
#define HWY_TARGET_INCLUDE "jpeg2k/codeblock/codeblock_decoder.cc"
#include "hwy/foreach_target.h"
#include "simd/scalar-inl.h"

#ifndef ZEPJP_CODEBLOCK_DECODER
#  define ZEPJP_CODEBLOCK_DECODER
namespace zepjp::codeblock {
namespace {

// The first part of a state; the flags follow it. A state may have any alignment, so the record is
// copied in and out.
struct DecoderRecord {
  char id[4];
  int32_t is_attached;
  uint8_t* dst;
  ptrdiff_t step;
  zepiSize size;
  int32_t subband;
  int32_t planes;  // magnitude bit planes that are coded
  int32_t style;
  int32_t plane;  // the current one
  int32_t passes_left;
  int32_t pass;  // the next one
  int32_t has_failed;
  ContextStates contexts;

  bool IsDone() const { return passes_left < 1 || pass >= 3 * planes - 2; }
};

// A state is 388 bytes larger than its flags: this record, and up to 31 bytes to align the flags.
constexpr uint64_t kFixedBytes = 388, kAlignment = 32;
static_assert(sizeof(DecoderRecord) <= kFixedBytes - (kAlignment - 1),
              "the size is part of the interface");

inline uint64_t FlagBytes(zepiSize size) {
  const uint64_t row = ((static_cast<uint64_t>(size.width) + 2) * 4 + 31) / 32 * 32;
  return row * ((static_cast<uint64_t>(size.height) + 1) / 2 + 2);
}
inline Stripes StripesOf(zepiSize size) {
  return Stripes(size.width, size.height, static_cast<size_t>(size.width) + 2);
}
inline void* FlagsOf(void* state) {
  const auto end = reinterpret_cast<uintptr_t>(state) + sizeof(DecoderRecord);
  const auto more = static_cast<size_t>(-end) % kAlignment;
  return static_cast<uint8_t*>(state) + sizeof(DecoderRecord) + more;
}

struct Kernels {
  // Decodes the passes of a segment.
  void (*decode)(const uint8_t* src, size_t size, void* flags, DecoderRecord* progress);
};

}  // namespace
}  // namespace zepjp::codeblock
#endif  // ZEPJP_CODEBLOCK_DECODER

ZEP_BEFORE_SCALAR_NAMESPACE("bmi,bmi2,lzcnt");
namespace zepjp::codeblock::HWY_NAMESPACE {
namespace {

class BlockDecoder {
 public:
  BlockDecoder(void* flags, DecoderRecord* progress)
      : progress_(*progress),
        is_causal_((progress->style & kCausal) != 0),
        zero_contexts_(ZeroContextsOf(progress->subband)),
        stripes_(StripesOf(progress->size)) {
    stripes_.Place(flags);
  }

  void Decode(const uint8_t* src, size_t size) {
    const int end = SegmentEnd(progress_.pass, progress_.style);
    bool is_well_ended;
    if (IsRaw(progress_.pass, progress_.style)) {
      RawDecoder raw(src, size);
      DecodePasses<true>(end, &raw);
      is_well_ended = raw.EndsPredictably();
    } else {
      MqDecoder mq(src, size, progress_.contexts);
      DecodePasses<false>(end, &mq);
      is_well_ended = mq.EndsPredictably();
      progress_.contexts = mq.states();
    }
    const bool is_predictable = (progress_.style & kPredictable) != 0;
    if (is_predictable && progress_.pass == end && !is_well_ended) progress_.has_failed = 1;
  }

 private:
  static void Reset(RawDecoder* /*raw*/) {}
  static void Reset(MqDecoder* mq) { mq->SetContexts(InitialContexts()); }

  // Decodes passes up to the end of the segment, or until one fails.
  template <bool kIsRaw, class Bits>
  void DecodePasses(int end, Bits* source) {
    Bits bits = *source;  // a copy, which stays in registers
    while (progress_.pass < end && !progress_.IsDone() && progress_.has_failed == 0) {
      if ((progress_.style & kReset) != 0) Reset(&bits);
      progress_.plane = progress_.planes - 1 - (progress_.pass + 2) / 3;
      midpoint_ = static_cast<uint32_t>((uint64_t{3} << progress_.plane) >> 1);
      const PassType type = TypeOf(progress_.pass);
      for (size_t stripe = 0; stripe < stripes_.stripe_count; ++stripe) {
        for (size_t g = 0; g < stripes_.words; ++g) {
          if (type == kSignificance) PropagateSignificance<kIsRaw>(stripe, g, &bits);
          if (type == kRefinement) Refine(stripe, g, &bits);
          if constexpr (!kIsRaw) {
            if (type == kCleanup) CleanUp(stripe, g, &bits);
          }
        }
      }
      if constexpr (!kIsRaw) {
        if (type == kCleanup) CheckSymbol(&bits);
      }
      ++progress_.pass;
      --progress_.passes_left;
    }
    *source = bits;
  }

  // The samples of a word, row by row.
  struct Rows {
    uint8_t* of[4];

    uint8_t* At(uint32_t i) const { return of[i % 4] + (i & ~3u); }
  };
  HWY_INLINE Rows RowsOf(size_t stripe, size_t g) const {
    Rows rows;
    for (size_t y = 0; y < 4; ++y) {
      rows.of[y] = progress_.dst + static_cast<ptrdiff_t>(4 * stripe + y) * progress_.step + 64 * g;
    }
    return rows;
  }

  // Sample `i` of a word becomes significant: decodes its sign and stores its value.
  template <bool kIsRaw, class Bits>
  HWY_INLINE void DecodeSign(const Stripes::Columns& columns, const Rows& rows, uint32_t i,
                             Bits* bits) {
    uint32_t sign;
    if constexpr (kIsRaw) {
      sign = bits->DecodeUnpredictable(0);
    } else {
      const Symbol context = Stripes::SignContext(columns.Of(i), i % 4);
      sign = bits->DecodeUnpredictable(context / 2) ^ (context & 1);
    }
    columns.SetSignificant(i, sign);
    const uint32_t value = sign << 31 | midpoint_;
    std::memcpy(rows.At(i), &value, 4);
  }

  template <bool kIsRaw, class Bits>
  HWY_INLINE void PropagateSignificance(size_t stripe, size_t g, Bits* bits) {
    const size_t at = stripe * stripes_.words + g;
    uint64_t significant = stripes_.significant[at];
    const uint64_t open = ~significant & stripes_.Inside(stripe, g);
    uint64_t candidates = stripes_.Neighbours(stripe, g, is_causal_) & open;
    uint64_t visited = 0;
    stripes_.visited[at] = 0;
    if (candidates == 0) return;
    const Stripes::Columns columns = stripes_.ColumnsOf(stripe, g, is_causal_, unused_);
    const Rows rows = RowsOf(stripe, g);
    while (candidates != 0) {
      const auto i = static_cast<uint32_t>(__builtin_ctzll(candidates));
      const uint64_t sample = candidates & -candidates;
      candidates ^= sample;
      visited |= sample;
      if (bits->DecodeUnpredictable(zero_contexts_[*columns.Of(i) >> (3 * (i % 4)) & 0x1FF]) == 0)
        continue;
      DecodeSign<kIsRaw>(columns, rows, i, bits);
      significant |= sample;
      candidates |= kAhead[i % 4] << i & open;
    }
    stripes_.visited[at] = visited;
    stripes_.significant[at] = significant;
  }

  template <class Bits>
  HWY_INLINE void Refine(size_t stripe, size_t g, Bits* bits) {
    const size_t at = stripe * stripes_.words + g;
    uint64_t left = stripes_.significant[at] & ~stripes_.visited[at];
    if (left == 0) return;
    const uint64_t neighbours = stripes_.Neighbours(stripe, g, is_causal_);
    const uint64_t refined = stripes_.refined[at];
    stripes_.refined[at] = refined | left;
    const Rows rows = RowsOf(stripe, g);
    // Exclusive-or masks for the decoded bits 0 and 1.
    const uint32_t half = static_cast<uint32_t>((uint64_t{1} << progress_.plane) >> 1);
    const uint32_t change[2] = {1u << progress_.plane | half, half};
    for (; left != 0; left &= left - 1) {
      const auto i = static_cast<uint32_t>(__builtin_ctzll(left));
      const auto again = static_cast<uint32_t>(refined >> i & 1);
      const auto near = static_cast<uint32_t>(neighbours >> i & ~again & 1);
      const uint32_t context = kFirstRefinement + near + 2 * again;
      uint8_t* place = rows.At(i);
      uint32_t value;
      std::memcpy(&value, place, 4);
      value ^= change[bits->DecodeUnpredictable(context)];
      std::memcpy(place, &value, 4);
    }
  }

  HWY_INLINE void CleanUp(size_t stripe, size_t g, MqDecoder* bits) {
    const size_t at = stripe * stripes_.words + g;
    uint64_t significant = stripes_.significant[at];
    uint64_t left = ~(significant | stripes_.visited[at]) & stripes_.Inside(stripe, g);
    stripes_.visited[at] = 0;
    if (left == 0) return;
    uint64_t runs = RunColumns(left, stripes_.Neighbours(stripe, g, is_causal_));
    const Stripes::Columns columns = stripes_.ColumnsOf(stripe, g, is_causal_, unused_);
    const Rows rows = RowsOf(stripe, g);
    while (left != 0) {
      auto i = static_cast<uint32_t>(__builtin_ctzll(left));
      if ((runs >> i & 1) != 0) {
        const uint32_t zeros = bits->SkipZeros(kRun, RunLength(runs, i) - 1);
        left = left >> i >> 4 * zeros << 4 * zeros << i;
        i += 4 * zeros;
        if (bits->Decode(kRun) == 0) {
          left &= ~(uint64_t{15} << i);
          continue;
        }
        uint32_t first = bits->DecodeUnpredictable(kUniform) << 1;
        first |= bits->DecodeUnpredictable(kUniform);
        left &= ~(((uint64_t{1} << first) - 1) << i);
        i += first;
      } else if (bits->Decode(zero_contexts_[*columns.Of(i) >> (3 * (i % 4)) & 0x1FF]) == 0) {
        left &= left - 1;
        continue;
      }
      left &= left - 1;
      DecodeSign<false>(columns, rows, i, bits);
      significant |= uint64_t{1} << i;
      runs &= ~(uint64_t{16} << (i & ~3u));  // the next column now has a significant neighbour
    }
    stripes_.significant[at] = significant;
  }

  void CheckSymbol(MqDecoder* bits) {
    if ((progress_.style & kSegmentationSymbols) == 0) return;
    uint32_t symbol = 0;
    for (int i = 0; i < 4; ++i) symbol = symbol << 1 | bits->DecodeUnpredictable(kUniform);
    if (symbol != 0xA) progress_.has_failed = 1;
  }

  DecoderRecord& progress_;
  const bool is_causal_;
  const ZeroContexts& zero_contexts_;
  Stripes stripes_;
  uint32_t midpoint_ = 0;  // the magnitude of a sample that becomes significant
  uint32_t unused_[18] = {};
};

void Decode(const uint8_t* src, size_t size, void* flags, DecoderRecord* progress) {
  BlockDecoder(flags, progress).Decode(src, size);
}

constexpr Kernels kKernels = {.decode = Decode};

}  // namespace
}  // namespace zepjp::codeblock::HWY_NAMESPACE
ZEP_AFTER_SCALAR_NAMESPACE();

#if HWY_ONCE
namespace zepjp::codeblock {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

constexpr char kId[4] = {'P', 'A', 'M', 'C'};

Checks CheckState(const void* state) { return Checks().Ptr(state).Identifier(state, kId); }

DecoderRecord Load(const void* state) {
  DecoderRecord progress;
  std::memcpy(&progress, state, sizeof(progress));
  return progress;
}
void Store(const DecoderRecord& progress, void* state) {
  std::memcpy(state, &progress, sizeof(progress));
}

zepStatus StateSize(zepiSize most, int32_t* size) {
  if (auto bad = Checks().Size(most).Ptr(size).Failed()) return bad;
  const uint64_t bytes = FlagBytes(most) + kFixedBytes;
  if (bytes > INT32_MAX) return zepStatusBadSize;
  *size = static_cast<int32_t>(bytes);
  return zepStatusOk;
}

void Init(void* state) {
  DecoderRecord progress = {};
  std::memcpy(progress.id, kId, sizeof(kId));
  Store(progress, state);
}

void Attach(int32_t* dst, int32_t step, zepiSize size, void* state, int32_t subband,
            int32_t magnitude_bits, int32_t style) {
  DecoderRecord progress = Load(state);
  progress.is_attached = 1;
  progress.dst = reinterpret_cast<uint8_t*>(dst);
  progress.step = step;
  progress.size = size;
  progress.subband = subband;
  progress.planes = std::clamp<int32_t>(magnitude_bits, 0, kMaxPlanes);
  progress.style = style;
  progress.plane = progress.planes - 1;
  progress.passes_left = 0;
  progress.pass = 0;
  progress.has_failed = 0;
  progress.contexts = InitialContexts();
  Store(progress, state);
  if ((style & kKeepFlags) == 0) {
    std::memset(FlagsOf(state), 0, static_cast<size_t>(FlagBytes(size)));
  }
  if ((style & kKeepBlock) != 0) return;
  for (int32_t y = 0; y < size.height; ++y) {
    std::memset(progress.dst + y * progress.step, 0, static_cast<size_t>(size.width) * 4);
  }
}

zepStatus Step(const uint8_t* src, int32_t size, void* state) {
  DecoderRecord progress = Load(state);
  if (progress.IsDone()) return zepStatusOk;
  if (progress.has_failed == 0) {
    kernels.decode(src, static_cast<size_t>(std::max(size, 0)), FlagsOf(state), &progress);
    Store(progress, state);
  }
  return progress.has_failed != 0 ? zepStatusJPEG2KDecodeError : zepStatusOk;
}

template <class Change>
void ForSamples(const DecoderRecord& progress, Change change) {
  for (int32_t y = 0; y < progress.size.height; ++y) {
    uint8_t* row = progress.dst + y * progress.step;
    for (int32_t x = 0; x < progress.size.width; ++x, row += 4) {
      uint32_t sample;
      std::memcpy(&sample, row, 4);
      sample = change(sample);
      std::memcpy(row, &sample, 4);
    }
  }
}

// After a failed pass on plane p: keeps the planes above p and sets bit p, the midpoint, in samples
// that are not 0.
void Conceal(const DecoderRecord& progress) {
  const uint32_t bit = 1u << progress.plane;
  ForSamples(progress, [&](uint32_t sample) {
    sample &= -bit;
    return (sample & 0x7FFFFFFF) != 0 ? sample | bit : 0;
  });
}

void ClearBelow(const DecoderRecord& progress) {
  const uint32_t bit = 1u << progress.plane;
  ForSamples(progress, [&](uint32_t sample) { return sample & -bit; });
}

}  // namespace
}  // namespace zepjp::codeblock

using namespace zepjp;
using namespace zepjp::codeblock;

zepStatus ZEP_CALL zepiDecodeGetBufSize_JPEG2K(zepiSize codeBlockMaxSize, int32_t* pSize) {
  return StateSize(codeBlockMaxSize, pSize);
}

zepStatus ZEP_CALL zepiDecodeCBProgrGetStateSize_JPEG2K(zepiSize codeBlockMaxSize, int32_t* pSize) {
  return StateSize(codeBlockMaxSize, pSize);
}

zepStatus ZEP_CALL zepiDecodeCBProgrInit_JPEG2K(zepiDecodeStateJPEG2K* pState) {
  if (auto bad = Checks().Ptr(pState).Failed()) return bad;
  Init(pState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrInitAlloc_JPEG2K(zepiDecodeStateJPEG2K** ppState,
                                                     zepiSize codeBlockMaxSize) {
  if (auto bad = Checks().Ptr(ppState).Size(codeBlockMaxSize).Failed()) return bad;
  int32_t size = 0;
  StateSize(codeBlockMaxSize, &size);
  *ppState = static_cast<zepiDecodeStateJPEG2K*>(Allocate(size));
  if (*ppState == nullptr) return zepStatusMemAlloc;
  Init(*ppState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrFree_JPEG2K(zepiDecodeStateJPEG2K* pState) {
  if (auto bad = Checks().Ptr(pState).Failed()) return bad;
  Release(pState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(int32_t* pDst, int32_t dstStep,
                                                          zepiSize codeBlockSize,
                                                          zepiDecodeStateJPEG2K* pState,
                                                          int32_t subband, int32_t magnBits,
                                                          int32_t codeStyleFlags) {
  if (auto bad = CheckState(pState).Ptr(pDst).Step(dstStep).Size(codeBlockSize).Failed()) {
    return bad;
  }
  Attach(pDst, dstStep, codeBlockSize, pState, subband, magnBits, codeStyleFlags);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrSetPassCounter_JPEG2K(int32_t nOfPasses,
                                                          zepiDecodeStateJPEG2K* pState) {
  if (auto bad = CheckState(pState).Failed()) return bad;
  DecoderRecord progress = Load(pState);
  progress.passes_left = nOfPasses;
  Store(progress, pState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrGetPassCounter_JPEG2K(const zepiDecodeStateJPEG2K* pState,
                                                          int32_t* pCounter) {
  if (auto bad = Checks().Ptr(pState).Ptr(pCounter).Identifier(pState, kId).Failed()) {
    return bad;
  }
  *pCounter = Load(pState).passes_left;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(const zepiDecodeStateJPEG2K* pState,
                                                             int32_t* pBitPlane) {
  if (auto bad = CheckState(pState).Ptr(pBitPlane).Failed()) return bad;
  *pBitPlane = Load(pState).plane;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrStep_JPEG2K(const uint8_t* pSrc, int32_t srcLen,
                                                zepiDecodeStateJPEG2K* pState) {
  const auto is_detached = [=] { return Load(pState).is_attached == 0; };
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pState)
                     .Identifier(pState, kId)
                     .Refuse(is_detached, zepStatusJPEG2KNotAttached)
                     .Failed()) {
    return bad;
  }
  return Step(pSrc, srcLen, pState);
}

zepStatus ZEP_CALL zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(
    const uint8_t* pSrc, int32_t* pDst, int32_t dstStep, zepiSize codeBlockSize, int32_t subband,
    int32_t magnBits, int32_t nOfPasses, const int32_t* pTermPassLen, int32_t nOfTermPasses,
    int32_t codeStyleFlags, int32_t* pErrorBitPlane, uint8_t* pState) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pState)
                     .Size(codeBlockSize)
                     .Ptr(pTermPassLen)
                     .Ptr(pDst)
                     .Step(dstStep)
                     .Failed()) {
    return bad;
  }
  Init(pState);
  Attach(pDst, dstStep, codeBlockSize, pState, subband, magnBits, codeStyleFlags);
  DecoderRecord progress = Load(pState);
  progress.passes_left = nOfPasses;
  Store(progress, pState);
  zepStatus status = zepStatusOk;
  for (int32_t k = 0; k < nOfTermPasses && status == zepStatusOk; ++k) {
    int32_t length;
    std::memcpy(&length, pTermPassLen + k, sizeof(length));
    status = Step(pSrc, length, pState);
    pSrc += std::max(length, 0);
  }
  progress = Load(pState);
  if (status == zepStatusJPEG2KDecodeError) {
    if (pErrorBitPlane != nullptr) *pErrorBitPlane = progress.plane;
    if ((codeStyleFlags & kConceal) != 0 && progress.plane >= 1) Conceal(progress);
  }
  if ((codeStyleFlags & kKeepBitsBelow) == 0 && progress.plane >= 1) ClearBelow(progress);
  return status;
}
#endif  // HWY_ONCE
