// SPDX-License-Identifier: MIT
// The symbols of a block in the scans of progressive JPEG (ITU-T T.81, G.1.2), passed to a sink
// (progressive.h): the encoders write them, the statistics count them. Included once per
// instruction set.
//
// Vectors make masks in zigzag order, and loops visit only their one bits. With |c| the magnitude
// of a coefficient:
//
//   first scan   a coefficient is nonzero if |c| >= 2^Al. It becomes a symbol (run, category of
//                |c| >> Al) and extra bits, as in a baseline block.
//   refinement   a coefficient is old, nonzero in an earlier scan, if |c| >= 2^(Al+1); it is new if
//                2^Al <= |c| < 2^(Al+1). Each new one becomes a symbol (run, 1) and a sign, where
//                the run counts only zeros. Then follow the corrections: bit Al of each old
//                coefficient since the last symbol.
#if defined(ZEPJP_SRC_JPEG_HUFFMAN_PROGRESSIVE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_HUFFMAN_PROGRESSIVE_INL_H_
#    undef ZEPJP_SRC_JPEG_HUFFMAN_PROGRESSIVE_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_HUFFMAN_PROGRESSIVE_INL_H_
#  endif

#  include "jpeg/huffman/magnitude.h"
#  include "jpeg/huffman/progressive.h"
#  include "jpeg/huffman/zigzag_scan-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

HWY_INLINE uint32_t ShiftedMagnitude(int64_t value, int32_t shift) {
  return static_cast<uint32_t>(value < 0 ? -value : value) >> shift;
}

// The coefficients of a band that are nonzero down to bit Al.
HWY_INLINE uint64_t NonZero(const ZigzagScan& scan, const Band& band) {
  return scan.AtLeast(1u << band.shift) & band.indexes();
}

// The symbols of a block in the first scan of a band; `left` is the mask of nonzero coefficients.
// With Al 0 there is no symbol for -32768.
template <class Sink>
HWY_INLINE bool TellFirst(const ZigzagScan& scan, uint64_t left, const Band& band, EobRun* run,
                          Sink* sink) {
  if (left != 0 && !EndRun(run, sink)) return false;
  int32_t next = band.first;  // the first index that is not coded yet
  for (; left != 0; left &= left - 1) {
    const int32_t k = __builtin_ctzll(left);
    auto zeros = static_cast<uint32_t>(k - next);
    for (; HWY_UNLIKELY(zeros > 15); zeros -= 16) {
      if (!sink->Symbol(kRunOf16, 0, 0)) return false;
    }
    const int64_t value = scan.value(k);
    const uint32_t magnitude = ShiftedMagnitude(value, band.shift);
    const uint32_t category = CategoryOf(magnitude);
    if (HWY_UNLIKELY(category > 15)) return sink->NoSymbol();
    const uint32_t extra = magnitude ^ static_cast<uint32_t>(value >> 63);
    if (!sink->Symbol(zeros << 4 | category, extra & ((1u << category) - 1), category)) {
      return false;
    }
    next = k + 1;
  }
  if (next <= band.last) ++run->blocks;
  return HWY_LIKELY(run->blocks < kMaxEobRun) || EndRun(run, sink);
}

// The symbols of a block in a refinement scan; `nonzero` includes old and new coefficients.
template <class Sink>
HWY_INLINE bool TellRefinement(const ZigzagScan& scan, uint64_t nonzero, const Band& band,
                               EobRun* run, Sink* sink) {
  const uint64_t old = scan.AtLeast(2u << band.shift) & nonzero;
  const uint64_t fresh = nonzero & ~old;
  const int32_t last_fresh = fresh == 0 ? 0 : 63 - __builtin_clzll(fresh);
  uint64_t corrections = 0;  // those of this block that are not written yet
  uint32_t count = 0, zeros = 0;
  int32_t next = band.first;
  for (uint64_t left = nonzero; left != 0; left &= left - 1) {
    const int32_t k = __builtin_ctzll(left);
    zeros += static_cast<uint32_t>(k - next);
    next = k + 1;
    for (; zeros > 15 && k <= last_fresh; zeros -= 16) {
      if (!EndRun(run, sink) || !sink->Symbol(kRunOf16, 0, 0) ||
          !sink->Corrections(corrections, count)) {
        return false;
      }
      corrections = count = 0;
    }
    const int64_t value = scan.value(k);
    if ((old >> k & 1) != 0) {
      corrections = corrections << 1 | (ShiftedMagnitude(value, band.shift) & 1);
      ++count;
      continue;
    }
    if (!EndRun(run, sink) || !sink->Symbol(zeros << 4 | 1, value < 0 ? 0 : 1, 1) ||
        !sink->Corrections(corrections, count)) {
      return false;
    }
    corrections = count = zeros = 0;
  }
  if (next <= band.last || zeros > 0 || count > 0) {
    ++run->blocks;
    run->Add(corrections, count);
  }
  const bool is_full = run->blocks >= kMaxEobRun || run->corrections > kMaxCorrections;
  return HWY_LIKELY(!is_full) || EndRun(run, sink);
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
