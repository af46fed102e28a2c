// SPDX-License-Identifier: MIT
// The passes of the code-block encoder (ISO/IEC 15444-1, annex D). It codes samples of sign and
// magnitude, bit plane by bit plane from the highest, in up to three passes on each plane
// (significance propagation, magnitude refinement, cleanup), to MQ-coded segments. Included once
// per instruction set.
//
// A block takes three steps:
//
//   1. Vector code transposes the samples into bit planes (bit_planes-inl.h).
//   2. A pass computes the contexts of 64 samples at once (contexts.h). It writes symbols to a
//      buffer (symbols-inl.h): a context and a bit in one byte.
//   3. The MQ coder codes the buffer, thousands of symbols at a time. Modelling and coding are
//      separate loops, so that the coder's state stays in processor registers.
#if defined(ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_ENCODER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_ENCODER_INL_H_
#    undef ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_ENCODER_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_ENCODER_INL_H_
#  endif

#  include <algorithm>
#  include <cstring>

#  include "jpeg2k/codeblock/bit_planes-inl.h"
#  include "jpeg2k/codeblock/contexts.h"
#  include "jpeg2k/codeblock/distortion-inl.h"
#  include "jpeg2k/codeblock/encoder_state.h"
#  include "jpeg2k/codeblock/mq_encoder.h"
#  include "jpeg2k/codeblock/raw_bits.h"
#  include "jpeg2k/codeblock/symbols-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::codeblock::HWY_NAMESPACE {
namespace {

class BlockEncoder {
 public:
  BlockEncoder(const Job& job, Coder* coder)
      : coder_(*coder),
        style_(job.style),
        subband_(job.subband),
        stripes_(job.size),
        flags_(ClearedFlags(job.size, stripes_, coder->flags)),
        planes_(ReadBitPlanes(job, stripes_, coder->planes, flags_.negative)),
        distortion_(planes_),
        seen_((job.style & kCausal) != 0 ? 0 : ~uint64_t{0}) {}

  void Encode() {
    const int planes = planes_.count - planes_.lowest;
    const int count = planes > 0 ? 3 * planes - 2 : 0;
    coder_.sf_bits = planes_.count;
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
  static Flags ClearedFlags(zepiSize size, const Stripes& stripes, uint64_t* memory) {
    std::memset(memory, 0, FlagCount(size) * sizeof(uint64_t));
    return Flags(stripes, memory);
  }

  void EncodePass(int pass) {
    if (pass == first_) StartSegment(pass);
    if ((style_ & kReset) != 0) contexts_ = InitialContexts();
    const int plane = planes_.count - 1 - (pass + 2) / 3;
    bits_ = planes_.Of(plane);
    distortion_.StartPass(plane);
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
    distortion_.Record(&coder_.passes[pass]);
    coder_.passes[pass].rate = static_cast<int32_t>(is_raw_ ? raw_.size() : mq_.position().size);
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
    distortion_.AddSignificant(fresh, at);
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
    distortion_.AddRefined(left, at);
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
    distortion_.AddSignificant(fresh, at);
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
  const Stripes stripes_;
  const Flags flags_;
  const BitPlanes planes_;
  Distortion distortion_;
  const uint64_t seen_;  // zero if the stripe below is not seen
  ContextStates contexts_ = InitialContexts();
  MqEncoder mq_;
  RawEncoder raw_;
  // The current pass.
  bool is_raw_ = false;
  const uint64_t* bits_ = nullptr;
  Symbol* next_ = nullptr;
  // The current segment.
  size_t start_ = 0;
  int first_ = 0;
  MqPosition positions_[kMaxPasses];
};

}  // namespace
}  // namespace zepjp::codeblock::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_ENCODER_INL_H_
