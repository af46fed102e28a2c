// SPDX-License-Identifier: MIT
// The passes of the code-block decoder (ISO/IEC 15444-1, annex D). Included once per instruction
// set.
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
#if defined(ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_DECODER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_DECODER_INL_H_
#    undef ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_DECODER_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_DECODER_INL_H_
#  endif

#  include <cstring>

#  include "jpeg2k/codeblock/decoder_state.h"
#  include "jpeg2k/codeblock/mq_decoder.h"
#  include "jpeg2k/codeblock/raw_bits.h"
#  include "simd/scalar-inl.h"

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

}  // namespace
}  // namespace zepjp::codeblock::HWY_NAMESPACE
ZEP_AFTER_SCALAR_NAMESPACE();

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_DECODER_INL_H_
