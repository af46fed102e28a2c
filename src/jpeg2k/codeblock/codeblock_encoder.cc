// SPDX-License-Identifier: MIT
// The code-block encoder (ISO/IEC 15444-1, annex D): it codes samples of sign and magnitude, bit
// plane by bit plane from the highest, in up to three passes on each plane (significance
// propagation, magnitude refinement, cleanup), to MQ-coded segments.
//
// It works in three steps:
//
//   1. Vector code transposes the samples into bit planes: for each plane, words with the bits of
//      64 samples in scan order (stripes.h).
//   2. A pass computes the contexts of 64 samples at once (contexts.h). It writes symbols, a context
//      and a bit in one byte, to a buffer (symbols-inl.h).
//   3. The MQ coder codes the buffer, thousands of symbols at a time. Modelling and coding are
//      separate loops, so that the coder's state stays in processor registers.
//
// The encoder knows all bits before it codes them. So it also computes the distortion that a pass
// removes from whole words: population counts of planes, weighted by powers of two (see
// AddSignificant).
#include <algorithm>
#include <cmath>
#include <cstring>

#include "frame/checks.h"
#include "frame/memory.h"
#include "jpeg2k/codeblock/contexts.h"
#include "jpeg2k/codeblock/mq_coder.h"
#include "jpeg2k/codeblock/stripes.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg2k/codeblock/codeblock_encoder.cc"
#include "hwy/foreach_target.h"
#include "jpeg2k/codeblock/symbols-inl.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_CODEBLOCK_ENCODER
#  define ZEPJP_CODEBLOCK_ENCODER
namespace zepjp::codeblock {
namespace {

struct Pass {
  int32_t rate;    // bytes that the coder has written at the end of the pass
  int32_t length;  // bytes from which this pass and all before can be decoded
  int32_t mantissa;
  int32_t exponent;  // the pass removes mantissa * 2^exponent of the distortion
};

// The buffer of symbols is coded when it holds kSymbols or more. A word of samples adds at most 10
// symbols for each of its 16 columns (a run, its two position bits and a sign; two symbols for each
// of the three samples below), and a pass ends with at most 4 symbols of segmentation. Symbols are
// stored eight at once.
constexpr size_t kSymbols = 4096, kMaxOfWord = 16 * 10 + 8;

struct Coder {
  int32_t pass_count;
  int32_t segment_count;
  int32_t sf_bits;
  int32_t size;    // of the code
  int32_t stored;  // bytes that the caller has fetched
  Pass passes[kMaxPasses];
  Symbol symbols[kSymbols + kMaxOfWord];
  uint8_t* code;     // the byte before it is not FF
  uint64_t* planes;  // the words of each plane
  uint64_t* flags;
};

// A block to code.
struct Job {
  const uint8_t* src;
  ptrdiff_t step;
  zepiSize size;
  int subband;
  int planes;  // of its subband
  int style;
};

struct Kernels {
  void (*encode)(const Job& job, Coder* coder);
};

// An upper bound of the bytes of a coded block with a segment for each pass: 1090 for each column
// of a stripe. Above INT32_MAX the allocation is refused.
inline int64_t CodeBytes(zepiSize most) {
  const int64_t stripe = int64_t{most.width} * 1090;
  return stripe > INT32_MAX ? stripe : stripe * ((int64_t{most.height} + 3) / 4);
}
inline size_t WordCount(zepiSize size) { return Stripes(size.width, size.height, 0).WordCount(); }

// The flags of the samples: words in scan order.
struct Flags {
  BorderedWords significant, negative;
  uint64_t* visited;  // coded by the significance pass of this plane
  uint64_t* refined;

  static size_t Count(const Stripes& stripes) {
    return 2 * BorderedWords::Count(stripes.stripe_count, stripes.words) + 2 * stripes.WordCount();
  }
  Flags(const Stripes& stripes, uint64_t* memory) {
    const size_t bordered = BorderedWords::Count(stripes.stripe_count, stripes.words);
    significant = {memory, stripes.words + 2};
    negative = {memory + bordered, stripes.words + 2};
    visited = memory + 2 * bordered;
    refined = visited + stripes.WordCount();
  }
};
inline size_t FlagCount(zepiSize size) { return Flags::Count(Stripes(size.width, size.height, 0)); }

}  // namespace
}  // namespace zepjp::codeblock
#endif  // ZEPJP_CODEBLOCK_ENCODER

ZEP_BEFORE_NAMESPACE();
namespace zepjp::codeblock::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using DI32 = hn::CappedTag<int32_t, 16>;
using VI32 = hn::Vec<DI32>;
constexpr size_t kLanes = HWY_LANES(int32_t) < 16 ? HWY_LANES(int32_t) : 16;

// Moves bit i of 16 bits to bit 4i.
HWY_INLINE uint64_t Spread(uint64_t bits) {
  bits = (bits | bits << 24) & 0x000000FF000000FF;
  bits = (bits | bits << 12) & 0x000F000F000F000F;
  bits = (bits | bits << 6) & 0x0303030303030303;
  return (bits | bits << 3) & kRow0;
}

// Four rows of sixteen samples; zeros outside the block.
class Samples {
 public:
  HWY_INLINE Samples(const Job& job, size_t stripe, size_t g) {
    const uint8_t* src = job.src + static_cast<ptrdiff_t>(4 * stripe) * job.step + 64 * g;
    const size_t columns = std::min<size_t>(static_cast<size_t>(job.size.width) - 16 * g, 16);
    const size_t rows = std::min<size_t>(static_cast<size_t>(job.size.height) - 4 * stripe, 4);
    if (columns < 16 || rows < 4) std::memset(samples_, 0, sizeof(samples_));
    for (size_t y = 0; y < rows; ++y, src += job.step) {
      std::memcpy(samples_[y], src, columns * 4);
    }
  }

  HWY_INLINE VI32 Or() const {
    const DI32 d;
    VI32 all = hn::Zero(d);
    for (const auto& row : samples_) {
      for (size_t x = 0; x < 16; x += kLanes) all = hn::Or(all, hn::LoadU(d, row + x));
    }
    return all;
  }

  // Bit `plane` of all samples, in scan order.
  HWY_INLINE uint64_t Plane(int plane) const {
    const DI32 d;
    uint64_t word = 0;
    for (int y = 0; y < 4; ++y) {
      uint64_t row = 0;
      for (size_t x = 0; x < 16; x += kLanes) {
        const VI32 on_top = hn::ShiftLeftSame(hn::LoadU(d, samples_[y] + x), 31 - plane);
        uint8_t bits[8] = {};
        hn::StoreMaskBits(d, hn::Lt(on_top, hn::Zero(d)), bits);
        uint64_t part;
        std::memcpy(&part, bits, 8);
        row |= part << x;
      }
      word |= Spread(row) << y;
    }
    return word;
  }

 private:
  alignas(64) int32_t samples_[4][16];
};

class BlockEncoder {
 public:
  BlockEncoder(const Job& job, Coder* coder)
      : coder_(*coder),
        style_(job.style),
        subband_(job.subband),
        lowest_(kMaxPlanes - job.planes),
        stripes_(job.size.width, job.size.height, 0),
        flags_(stripes_, coder->flags),
        seen_((job.style & kCausal) != 0 ? 0 : ~uint64_t{0}) {
    std::memset(coder_.flags, 0, FlagCount(job.size) * sizeof(uint64_t));
    ReadPlanes(job);
  }

  void Encode() {
    const int planes = coder_.sf_bits - lowest_;
    const int count = planes > 0 ? 3 * planes - 2 : 0;
    coder_.pass_count = count;
    coder_.segment_count = 1;
    for (int pass = 0; pass < count; ++pass) {
      EncodePass(pass);
      const bool is_last = pass + 1 == count;
      if (is_last || SegmentEnd(pass, style_) == pass + 1) EndSegment(pass, is_last);
    }
    coder_.size = static_cast<int32_t>(start_);
    coder_.stored = 0;
  }

 private:
  const uint64_t* PlaneWords(size_t plane) const {
    return coder_.planes + plane * stripes_.WordCount();
  }

  void ReadPlanes(const Job& job) {
    const DI32 d;
    VI32 all = hn::Zero(d);
    for (size_t stripe = 0; stripe < stripes_.stripe_count; ++stripe) {
      for (size_t g = 0; g < stripes_.words; ++g) all = hn::Or(all, Samples(job, stripe, g).Or());
    }
    uint32_t bits = 0;
    int32_t lanes[kLanes];
    hn::StoreU(all, d, lanes);
    for (const int32_t lane : lanes) bits |= static_cast<uint32_t>(lane) & 0x7FFFFFFF;
    coder_.sf_bits = bits == 0 ? 0 : 32 - __builtin_clz(bits);
    has_fraction_ = (bits & ((1u << lowest_) - 1)) != 0;
    // The six planes below the lowest coded one hold the fractions that count for distortion.
    const int below = has_fraction_ ? std::max(lowest_ - 6, 0) : lowest_;
    for (size_t stripe = 0; stripe < stripes_.stripe_count; ++stripe) {
      for (size_t g = 0; g < stripes_.words; ++g) {
        const Samples samples(job, stripe, g);
        uint64_t* word = coder_.planes + stripe * stripes_.words + g;
        for (int plane = below; plane < coder_.sf_bits; ++plane) {
          word[static_cast<size_t>(plane) * stripes_.WordCount()] = samples.Plane(plane);
        }
        *flags_.negative.At(stripe, g) = samples.Plane(31);
      }
    }
  }

  void EncodePass(int pass) {
    if (pass == first_) StartSegment(pass);
    if ((style_ & kReset) != 0) contexts_ = InitialContexts();
    plane_ = coder_.sf_bits - 1 - (pass + 2) / 3;
    bits_ = PlaneWords(static_cast<size_t>(plane_));
    gain_ = 0;
    is_raw_ = IsRaw(pass, style_);
    next_ = coder_.symbols;
    const PassType type = TypeOf(pass);
    for (size_t stripe = 0; stripe < stripes_.stripe_count; ++stripe) {
      for (size_t g = 0; g < stripes_.words; ++g) {
        if (type == kSignificance) PropagateSignificance(stripe, g);
        if (type == kRefinement) Refine(stripe, g);
        if (type == kCleanup) CleanUp(stripe, g);
        if (next_ >= coder_.symbols + kSymbols) CodeSymbols();
      }
    }
    if (type == kCleanup && (style_ & kSegmentationSymbols) != 0) {
      for (const uint32_t bit : {1u, 0u, 1u, 0u}) Put(kUniform, bit);
    }
    CodeSymbols();
    Record(&coder_.passes[pass]);
    if (!is_raw_) positions_[pass] = mq_.position();
  }

  void Put(uint32_t context, uint64_t bit) { *next_++ = static_cast<Symbol>(2 * context + bit); }

  HWY_NOINLINE void CodeSymbols() {
    if (is_raw_) {
      for (const Symbol* symbol = coder_.symbols; symbol < next_; ++symbol) raw_.Put(*symbol & 1);
    } else {
      mq_.Encode(coder_.symbols, next_, &contexts_);
    }
    next_ = coder_.symbols;
  }

  HWY_INLINE Neighbours NeighboursIn(const uint64_t* word, uint64_t now) const {
    return NeighboursOf(word, flags_.significant.step, now, seen_);
  }

  // The symbols of a word in the passes in which samples become significant. Raw signs are never
  // inverted.
  HWY_INLINE ColumnSymbols SymbolsOf(const Neighbours& near, size_t stripe, size_t g, uint64_t bits,
                                     uint64_t coded, uint64_t with_sign) const {
    const uint64_t* negative = flags_.negative.At(stripe, g);
    const SymbolBits<5> signs =
        is_raw_ ? SymbolBits<5>{{*negative}} : SignSymbols(near, negative, flags_.negative.step);
    return ColumnSymbols(SignificanceSymbols(near, subband_, bits), signs, 0, coded, with_sign);
  }

  // Columns, marked at their lowest bit, with a one.
  static uint64_t ColumnsWith(uint64_t samples) {
    samples |= samples >> 1;
    return (samples | samples >> 2) & kRow0;
  }

  HWY_INLINE void PutColumns(const ColumnSymbols& symbols, uint64_t coded) {
    Symbol* next = next_;
    for (uint64_t left = ColumnsWith(coded); left != 0; left &= left - 1) {
      symbols.Put(static_cast<size_t>(__builtin_ctzll(left)) / 4, &next);
    }
    next_ = next;
  }

  // A sample that becomes significant makes candidates of its neighbours that come later in the
  // scan. All bits are known, so whole words of them are added, until none is new.
  HWY_INLINE static uint64_t Propagate(uint64_t candidates, uint64_t bits, uint64_t open) {
    for (;;) {
      const uint64_t ones = candidates & bits;
      const uint64_t below = ones << 1 & ~kRow0;
      const uint64_t beside = ones | below | (ones >> 1 & ~kRow3);
      const uint64_t all = candidates | ((below | beside << 4) & open);
      if (all == candidates) return all;
      candidates = all;
    }
  }

  HWY_INLINE void PropagateSignificance(size_t stripe, size_t g) {
    const size_t at = stripe * stripes_.words + g;
    uint64_t* word = flags_.significant.At(stripe, g);
    const uint64_t before = *word, bits = bits_[at];
    const uint64_t open = ~before & stripes_.Inside(stripe, g);
    const uint64_t candidates = NeighboursIn(word, before).Any() & open;
    flags_.visited[at] = 0;
    if (candidates == 0) return;
    const uint64_t visited = Propagate(candidates, bits, open);
    const uint64_t fresh = visited & bits;
    const Neighbours near = NeighboursIn(word, before | fresh);
    PutColumns(SymbolsOf(near, stripe, g, bits, visited, fresh), visited);
    flags_.visited[at] = visited;
    *word = before | fresh;
    AddSignificant(fresh, at);
  }

  HWY_INLINE void Refine(size_t stripe, size_t g) {
    const size_t at = stripe * stripes_.words + g;
    const uint64_t* word = flags_.significant.At(stripe, g);
    const uint64_t left = *word & ~flags_.visited[at];
    if (left == 0) return;
    const uint64_t refined = flags_.refined[at];
    const auto symbols = RefinementSymbols(bits_[at], NeighboursIn(word, *word).Any(), refined);
    PutColumns(ColumnSymbols(symbols, {}, kRefinementBase, left, 0), left);
    flags_.refined[at] = refined | left;
    AddRefined(left, at);
  }

  // Puts a symbol for the first run of empty columns; returns their samples.
  HWY_INLINE static uint64_t PutZeroRun(uint64_t empty, Symbol** next) {
    const auto i = static_cast<uint32_t>(__builtin_ctzll(empty));
    const uint32_t zeros = RunLength(empty, i);
    *(*next)++ = static_cast<Symbol>(kZeroRuns + zeros);
    return ~uint64_t{0} >> (64 - 4 * zeros) << i;
  }

  HWY_INLINE void CleanUp(size_t stripe, size_t g) {
    const size_t at = stripe * stripes_.words + g;
    uint64_t* word = flags_.significant.At(stripe, g);
    const uint64_t before = *word, bits = bits_[at];
    const uint64_t open = ~(before | flags_.visited[at]) & stripes_.Inside(stripe, g);
    flags_.visited[at] = 0;
    if (open == 0) return;
    const uint64_t fresh = open & bits;
    const Neighbours near = NeighboursIn(word, before | fresh);
    const uint64_t runs = RunColumns(open, near.AnyBeside());
    // A column that starts with a run codes the samples after its first one as usual.
    const uint64_t in_runs = runs * 15;
    const uint64_t down = fresh | (fresh << 1 & ~kRow0);
    const uint64_t after = (down << 1 & ~kRow0) | (down << 3 & kRow3);
    const uint64_t coded = open & (~in_runs | after);
    const uint64_t empty = runs & ~ColumnsWith(fresh);
    Symbol* next = next_;
    if ((coded | fresh) == 0) {
      for (uint64_t left = empty; left != 0;) left &= ~PutZeroRun(left, &next);
      next_ = next;
      return;
    }
    const ColumnSymbols symbols = SymbolsOf(near, stripe, g, bits, coded, fresh);
    for (uint64_t left = runs | ColumnsWith(coded); left != 0;) {
      const uint64_t column = left & -left;
      if ((empty & column) != 0) {
        left &= ~PutZeroRun(empty & -column, &next);
        continue;
      }
      left ^= column;
      const auto i = static_cast<uint32_t>(__builtin_ctzll(column));
      if ((runs >> i & 1) != 0) {
        const auto first = static_cast<uint32_t>(__builtin_ctzll(fresh >> i));
        next[0] = 2 * kRun + 1;
        next[1] = static_cast<Symbol>(2 * kUniform + first / 2);
        next[2] = static_cast<Symbol>(2 * kUniform + first % 2);
        next += 3;
      }
      symbols.Put(i / 4, &next);
    }
    next_ = next;
    *word = before | fresh;
    AddSignificant(fresh, at);
  }

  static int64_t Count(uint64_t word) { return __builtin_popcountll(word); }

  // The sum over `samples` of the number formed by each sample's six bits below the plane.
  int64_t SumBelow(uint64_t samples, size_t at) const {
    int64_t sum = 0;
    for (int k = 5, plane = plane_ - 1; k >= 0 && plane >= 0; --k, --plane) {
      if (plane < lowest_ && !has_fraction_) break;
      sum += Count(samples & PlaneWords(static_cast<size_t>(plane))[at]) << k;
    }
    return sum;
  }

  // The distortion that a pass removes, in units of 4^p / 2^13 on plane p. Let i be the seven bits
  // of the magnitude from plane p down, in units of 2^p / 64:
  //
  //                               above the lowest plane           on it
  //   refinement bit              normal(i) = 128 |i - 64| - 2048   last(i) = 2 (i - 64)^2
  //   sample becomes significant  3 normal(i) + 2 normal(0)         4 last(64 + i / 2)
  //
  // normal() compares the midpoint before with the midpoint after the bit; on the lowest plane the
  // decoder reaches the value itself. normal() is linear in i on either side of 64, so its sum over
  // samples is a sum of population counts of the planes below; only last() needs single samples.
  void AddSignificant(uint64_t samples, size_t at) {
    if (samples == 0) return;
    if (plane_ > lowest_) {
      gain_ += 384 * SumBelow(samples, at) + 6144 * Count(samples);
    } else if (!has_fraction_) {
      gain_ += 8192 * Count(samples);
    } else {
      for (uint64_t left = samples; left != 0; left &= left - 1) {
        const int64_t half = (64 + SumBelow(left & -left, at)) / 2;
        gain_ += 8 * half * half;
      }
    }
  }

  void AddRefined(uint64_t samples, size_t at) {
    const uint64_t ones = samples & bits_[at], zeros = samples & ~bits_[at];
    if (plane_ > lowest_) {
      gain_ += 128 * (SumBelow(ones, at) + 64 * Count(zeros) - SumBelow(zeros, at)) -
               2048 * Count(samples);
    } else if (!has_fraction_) {
      gain_ += 8192 * Count(zeros);
    } else {
      for (uint64_t left = samples; left != 0; left &= left - 1) {
        const uint64_t sample = left & -left;
        const int64_t distance = SumBelow(sample, at) - ((sample & zeros) != 0 ? 64 : 0);
        gain_ += 2 * distance * distance;
      }
    }
  }

  void Record(Pass* pass) const {
    int64_t mantissa = gain_;
    int exponent = 2 * (plane_ - lowest_) - 13;
    for (; mantissa != static_cast<int32_t>(mantissa); mantissa /= 2) ++exponent;
    pass->mantissa = static_cast<int32_t>(mantissa);
    pass->exponent = exponent;
    pass->rate = static_cast<int32_t>(is_raw_ ? raw_.size() : mq_.position().size);
  }

  void StartSegment(int pass) {
    if (IsRaw(pass, style_)) {
      raw_.Start(coder_.code, start_);
    } else {
      mq_.Start(coder_.code, start_);
    }
  }

  size_t Flush() {
    if ((style_ & kPredictable) != 0) {
      return is_raw_ ? raw_.FlushPredictably() : mq_.FlushPredictably();
    }
    return is_raw_ ? raw_.Flush() : mq_.Flush();
  }

  void EndSegment(int pass, bool is_last) {
    size_t total = Flush();
    for (int k = first_; k <= pass; ++k) {
      size_t length = total;
      if (!is_raw_ && (k < pass || (style_ & kPredictable) == 0)) {
        length = MqEncoder::LengthUpTo(positions_[k], coder_.code, start_, total);
      } else if (is_raw_ && k < pass) {
        length = std::min(total, static_cast<size_t>(coder_.passes[k].rate));
        if (length > start_ && coder_.code[length - 1] == 0xFF) --length;
      }
      coder_.passes[k].length = static_cast<int32_t>(length);
    }
    total = static_cast<size_t>(coder_.passes[pass].length);
    for (int k = first_; k <= pass; ++k) {
      const auto most = static_cast<int32_t>(total);
      coder_.passes[k].rate = k == pass ? most : std::min(coder_.passes[k].rate, most);
    }
    if (!is_last) ++coder_.segment_count;
    start_ = total;
    first_ = pass + 1;
  }

  Coder& coder_;
  const int style_;
  const int subband_;
  const int lowest_;
  const Stripes stripes_;
  const Flags flags_;
  const uint64_t seen_;  // zero if the stripe below is not seen
  bool has_fraction_ = false;
  ContextStates contexts_ = InitialContexts();
  MqEncoder mq_;
  RawEncoder raw_;
  // The current pass.
  bool is_raw_ = false;
  int plane_ = 0;
  const uint64_t* bits_ = nullptr;
  Symbol* next_ = nullptr;
  int64_t gain_ = 0;
  // The current segment.
  size_t start_ = 0;
  int first_ = 0;
  MqPosition positions_[kMaxPasses];
};

void Encode(const Job& job, Coder* coder) { BlockEncoder(job, coder).Encode(); }

constexpr Kernels kKernels = {.encode = Encode};

}  // namespace
}  // namespace zepjp::codeblock::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

struct zepiEncodeStateJPEG2K {
  char id[4];
  zepjp::codeblock::Coder* coder;
};

namespace zepjp::codeblock {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

constexpr char kId[4] = {'D', 'S', 'M', 'L'};

Checks CheckState(const zepiEncodeStateJPEG2K* state) {
  return Checks().Ptr(state).Identifier(state, kId);
}

void* AllocateBytes(int64_t bytes) {
  return bytes > INT32_MAX ? nullptr : zepjp::Allocate(static_cast<int32_t>(bytes));
}

void Free(zepiEncodeStateJPEG2K* state) {
  if (state->coder != nullptr) {
    if (state->coder->code != nullptr) Release(state->coder->code - 1);
    Release(state->coder->planes);
    Release(state->coder->flags);
  }
  Release(state->coder);
  Release(state);
}

bool AllocateCoder(zepiSize most, zepiEncodeStateJPEG2K* state) {
  state->coder = nullptr;
  if (CodeBytes(most) >= INT32_MAX) return false;
  state->coder = static_cast<Coder*>(AllocateBytes(sizeof(Coder)));
  if (state->coder == nullptr) return false;
  Coder* coder = state->coder;
  coder->pass_count = coder->segment_count = coder->sf_bits = coder->size = coder->stored = 0;
  auto* code = static_cast<uint8_t*>(AllocateBytes(CodeBytes(most) + 1));
  coder->code = code == nullptr ? nullptr : code + 1;
  if (code != nullptr) *code = 0;
  const auto words = static_cast<int64_t>(WordCount(most));
  coder->planes = static_cast<uint64_t*>(AllocateBytes(words * 8 * kMaxPlanes));
  coder->flags = static_cast<uint64_t*>(AllocateBytes(static_cast<int64_t>(FlagCount(most)) * 8));
  return code != nullptr && coder->planes != nullptr && coder->flags != nullptr;
}

// The checks of GetRate, GetDist and GetTermPassLen.
zepStatus CheckQuery(const zepiEncodeStateJPEG2K* state, int32_t pass, const void* result) {
  const auto has_no_such_pass = [=] { return pass < 0 || pass >= state->coder->pass_count; };
  return CheckState(state)
      .Ptr(result)
      .Refuse(has_no_such_pass, zepStatusJPEG2KBadPassNumber)
      .Failed();
}

}  // namespace
}  // namespace zepjp::codeblock

using namespace zepjp;
using namespace zepjp::codeblock;

zepStatus ZEP_CALL zepiEncodeInitAlloc_JPEG2K(zepiEncodeStateJPEG2K** ppState,
                                              zepiSize codeBlockMaxSize) {
  if (auto bad = Checks().Ptr(ppState).Size(codeBlockMaxSize).Failed()) return bad;
  *ppState = nullptr;
  auto* state = static_cast<zepiEncodeStateJPEG2K*>(AllocateBytes(sizeof(zepiEncodeStateJPEG2K)));
  if (state == nullptr) return zepStatusMemAlloc;
  std::memcpy(state->id, kId, sizeof(kId));
  if (!AllocateCoder(codeBlockMaxSize, state)) {
    Free(state);
    return zepStatusMemAlloc;
  }
  *ppState = state;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
    const int32_t* pSrc, int32_t srcStep, zepiSize codeBlockSize, zepiEncodeStateJPEG2K* pState,
    int32_t subband, int32_t magnBits, int32_t /*param1*/, int32_t /*param2*/,
    int32_t codeStyleFlags, int32_t* pSfBits, int32_t* pNOfPasses, int32_t* pNOfTermPasses) {
  if (auto bad = CheckState(pState)
                     .Ptr(pSfBits)
                     .Ptr(pNOfPasses)
                     .Ptr(pNOfTermPasses)
                     .Size(codeBlockSize)
                     .Ptr(pSrc)
                     .Step(srcStep)
                     .Failed()) {
    return bad;
  }
  Coder* coder = pState->coder;
  const Job job = {
      reinterpret_cast<const uint8_t*>(pSrc),       srcStep,       codeBlockSize, subband,
      std::clamp<int32_t>(magnBits, 0, kMaxPlanes), codeStyleFlags};
  kernels.encode(job, coder);
  *pSfBits = coder->sf_bits;
  *pNOfPasses = coder->pass_count;
  *pNOfTermPasses = coder->segment_count;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeGetRate_JPEG2K(const zepiEncodeStateJPEG2K* pState, int32_t passNumber,
                                            int32_t* pRate) {
  if (auto bad = CheckQuery(pState, passNumber, pRate)) return bad;
  *pRate = pState->coder->passes[passNumber].rate;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeGetDist_JPEG2K(const zepiEncodeStateJPEG2K* pState, int32_t passNumber,
                                            double* pDist) {
  if (auto bad = CheckQuery(pState, passNumber, pDist)) return bad;
  double sum = 0;
  for (int32_t k = 0; k <= passNumber; ++k) {
    const Pass& pass = pState->coder->passes[k];
    sum += std::ldexp(pass.mantissa, pass.exponent);
  }
  *pDist = sum;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeGetTermPassLen_JPEG2K(const zepiEncodeStateJPEG2K* pState,
                                                   int32_t passNumber, int32_t* pLength) {
  if (auto bad = CheckQuery(pState, passNumber, pLength)) return bad;
  *pLength = pState->coder->passes[passNumber].length;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeStoreBits_JPEG2K_1u(uint8_t* pDst, int32_t* pDstLen,
                                                 zepiEncodeStateJPEG2K* pState,
                                                 int32_t* pIsNotFinished) {
  if (auto bad = CheckState(pState)
                     .Ptr(pDst)
                     .Ptr(pDstLen)
                     .Ptr(pIsNotFinished)
                     .Refuse([=] { return *pDstLen < 1; }, zepStatusBadSize)
                     .Failed()) {
    return bad;
  }
  Coder* coder = pState->coder;
  const int32_t count = std::min(*pDstLen, coder->size - coder->stored);
  std::memcpy(pDst, coder->code + coder->stored, static_cast<size_t>(count));
  coder->stored += count;
  *pDstLen = count;
  *pIsNotFinished = coder->stored < coder->size ? 1 : 0;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeFree_JPEG2K(zepiEncodeStateJPEG2K* pState) {
  if (auto bad = Checks().Ptr(pState).Failed()) return bad;
  Free(pState);
  return zepStatusOk;
}
#endif  // HWY_ONCE
