// SPDX-License-Identifier: MIT
// The passes of the code-block decoder (ISO/IEC 15444-1, annex D). Included once per instruction
// set.
//
// As in the encoder, a pass finds the samples that it codes by searching for one bits in words of
// flags (decoder_flags.h). In the decoder the words change during the search: when a sample becomes
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
        tables_(DecoderTablesOf(progress->subband)),
        flags_(progress->size, flags) {}

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
      for (size_t stripe = 0; stripe < flags_.stripes(); ++stripe) {
        for (size_t g = 0; g < flags_.units(); ++g) {
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

  // The samples of a unit.
  class Place {
   public:
    HWY_INLINE Place(const DecoderRecord& progress, size_t stripe, size_t g)
        : first_(progress.dst + static_cast<ptrdiff_t>(4 * stripe) * progress.step + 32 * g),
          step_(progress.step) {}
    HWY_INLINE uint8_t* At(uint32_t i) const {
      const uint32_t x = i * 43 >> 8, y = i - 6 * x;  // i / 6
      return first_ + static_cast<ptrdiff_t>(y) * step_ + 4 * x;
    }

   private:
    uint8_t* first_;
    ptrdiff_t step_;
  };

  // The bordered words of a unit.
  struct Unit {
    uint64_t significant, negative;
  };

  // Stores the samples of a unit that became significant, and its flags.
  HWY_INLINE void Store(size_t stripe, size_t g, uint64_t fresh, const Unit& unit) {
    if (fresh == 0) return;
    flags_.Store(stripe, g, unit.significant, unit.negative, is_causal_);
    const Place place(progress_, stripe, g);
    for (; fresh != 0; fresh &= fresh - 1) {
      const auto i = static_cast<uint32_t>(__builtin_ctzll(fresh));
      const auto sign = static_cast<uint32_t>(unit.negative >> (i + kBorder)) << 31;
      const uint32_t value = sign | midpoint_;
      std::memcpy(place.At(i), &value, 4);
    }
  }

  // Decodes the significance of the samples in `left`, in order, and the signs of those that become
  // significant. Such a sample adds its neighbours in `open` that come later to `left`.
  //
  // Which decision comes next depends on the bit that is decoded, and that is close to random. So
  // each turn of the loop decodes one decision, significance or sign, and selects the next one with
  // masks. A sample stays in `left` until its last decision.
  template <bool kIsRaw, class Bits>
  HWY_INLINE void DecodeSamples(uint64_t left, uint64_t open, Bits* bits, Unit* unit) {
    constexpr uint32_t kEnd = 63;
    uint64_t significant = unit->significant, negative = unit->negative;
    auto i = static_cast<uint32_t>(__builtin_ctzll(left));
    uint64_t context = tables_.zero[Window(significant, i)];
    uint64_t in_sign = 0;      // all ones: the next decision is a sign
    uint64_t is_inverted = 0;  // all ones: that sign is coded inverted
    left |= uint64_t{1} << kEnd;
    while (i != kEnd) {
      const uint64_t rest = left & (left - 1);
      const auto next = static_cast<uint32_t>(__builtin_ctzll(rest));
      const uint64_t next_context = tables_.zero[Window(significant, next)];
      const uint32_t sign = SignWindow(significant, negative, i);
      const uint64_t is_one = bits->Decode(static_cast<uint32_t>(context));
      const uint64_t becomes = is_one & ~in_sign;
      context = next_context ^ ((next_context ^ tables_.sign[sign]) & becomes);
      const uint64_t self = uint64_t{1} << kBorder << i;
      negative |= (is_one ^ is_inverted) & in_sign & self;
      significant |= self & becomes;
      left = rest | ((left | (kAhead << i & open)) & becomes);
      if (!kIsRaw) is_inverted = static_cast<uint64_t>(int64_t{tables_.inverted[sign]}) & becomes;
      in_sign = becomes;
      i = static_cast<uint32_t>(__builtin_ctzll(left));
    }
    *unit = {significant, negative};
  }

  template <bool kIsRaw, class Bits>
  HWY_INLINE void PropagateSignificance(size_t stripe, size_t g, Bits* bits) {
    Unit unit = {*flags_.Significant(stripe, g), *flags_.Negative(stripe, g)};
    uint64_t* visited = flags_.Visited(stripe, g);
    *visited = 0;
    if (unit.significant == 0) return;
    const uint64_t open = ~(unit.significant >> kBorder) & flags_.Inside(stripe, g);
    const uint64_t left = Neighbours(unit.significant) & open;
    if (left == 0) return;
    DecodeSamples<kIsRaw>(left, open, bits, &unit);
    const uint64_t fresh = unit.significant >> kBorder & open;
    *visited = left | ((fresh << 1 | fresh << 5 | fresh << 6 | fresh << 7) & open);
    Store(stripe, g, fresh, unit);
  }

  template <class Bits>
  HWY_INLINE void Refine(size_t stripe, size_t g, Bits* bits) {
    const uint64_t significant = *flags_.Significant(stripe, g);
    if (significant == 0) return;
    uint64_t left = significant >> kBorder & ~*flags_.Visited(stripe, g) & flags_.Inside(stripe, g);
    if (left == 0) return;
    const uint64_t neighbours = Neighbours(significant);
    uint64_t* const place_of_refined = flags_.Refined(stripe, g);
    const uint64_t refined = *place_of_refined;
    *place_of_refined = refined | left;
    const Place place(progress_, stripe, g);
    // Exclusive-or masks for any decoded bit, and for a 0.
    const uint32_t half = static_cast<uint32_t>((uint64_t{1} << progress_.plane) >> 1);
    const uint32_t bit = 1u << progress_.plane;
    for (; left != 0; left &= left - 1) {
      const auto i = static_cast<uint32_t>(__builtin_ctzll(left));
      const auto again = static_cast<uint32_t>(refined >> i & 1);
      const auto near = static_cast<uint32_t>(neighbours >> i & ~again & 1);
      const uint32_t context = kFirstRefinement + near + 2 * again;
      uint8_t* sample = place.At(i);
      uint32_t value;
      std::memcpy(&value, sample, 4);
      value ^= half | (bit & ~static_cast<uint32_t>(bits->Decode(context)));
      std::memcpy(sample, &value, 4);
    }
  }

  // Decodes a run of columns that starts at `*i`, or its first part, and drops its samples from
  // `left`. If a sample becomes significant, the run ends before it, `*i` moves to it, and the
  // result is true.
  HWY_INLINE static bool DecodeRun(uint32_t columns, MqDecoder* bits, uint64_t* left, uint32_t* i) {
    const uint32_t zeros = bits->SkipZeros(kRun, columns);
    *left = *left >> *i >> 6 * zeros << 6 * zeros << *i;
    if (zeros == columns) return false;
    *i += 6 * zeros;
    if (bits->Decode(kRun) == 0) {
      *left &= ~(uint64_t{15} << *i);
      return false;
    }
    auto first = static_cast<uint32_t>(bits->Decode(kUniform) & 2);
    first |= static_cast<uint32_t>(bits->Decode(kUniform) & 1);
    *left &= ~(((uint64_t{1} << first) - 1) << *i);
    *i += first;
    return true;
  }

  HWY_INLINE void CleanUp(size_t stripe, size_t g, MqDecoder* bits) {
    uint64_t significant = *flags_.Significant(stripe, g);
    uint64_t* visited = flags_.Visited(stripe, g);
    const uint64_t open = ~(significant >> kBorder | *visited) & flags_.Inside(stripe, g);
    *visited = 0;
    if (open == 0) return;
    uint64_t left = open;
    uint64_t negative = *flags_.Negative(stripe, g);
    uint64_t runs = FullColumns(left & ~Neighbours(significant));
    while (left != 0) {
      auto i = static_cast<uint32_t>(__builtin_ctzll(left));
      if ((runs >> i & 1) != 0) {
        if (!DecodeRun(ColumnRun(runs, i), bits, &left, &i)) continue;
      } else if (bits->Decode(tables_.zero[Window(significant, i)]) == 0) {
        left &= left - 1;
        continue;
      }
      left &= left - 1;
      const uint32_t sign = SignWindow(significant, negative, i);
      const uint64_t is_negative =
          bits->Decode(tables_.sign[sign]) ^ static_cast<uint64_t>(int64_t{tables_.inverted[sign]});
      const uint64_t one = uint64_t{1} << i;
      significant |= one << kBorder;
      negative |= (one & is_negative) << kBorder;
      runs &= ~(one * 0x78);  // the next column now has a significant neighbour
    }
    Store(stripe, g, significant >> kBorder & open, {significant, negative});
  }

  void CheckSymbol(MqDecoder* bits) {
    if ((progress_.style & kSegmentationSymbols) == 0) return;
    uint64_t symbol = 0;
    for (int i = 0; i < 4; ++i) symbol = symbol << 1 | (bits->Decode(kUniform) & 1);
    if (symbol != 0xA) progress_.has_failed = 1;
  }

  DecoderRecord& progress_;
  const bool is_causal_;
  const DecoderTables& tables_;
  const DecoderFlags flags_;
  uint32_t midpoint_ = 0;  // the magnitude of a sample that becomes significant
};

}  // namespace
}  // namespace zepjp::codeblock::HWY_NAMESPACE
ZEP_AFTER_SCALAR_NAMESPACE();

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_BLOCK_DECODER_INL_H_
