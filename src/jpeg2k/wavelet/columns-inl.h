// SPDX-License-Identifier: MIT
// Lifting along columns (ITU-T T.800, F.3 and F.4): vectors hold neighbours of a row, so that whole
// rows are the operands of a step. Included once per instruction set.
//
// All lifting steps go down the rows together, two rows at a time. When a high row p arrives, step
// 0 can run on row p, step 1 on row p - 1, and so on: step i on row p - i. So only a few rows are
// in use at a time, and each is loaded from memory once. With a, b, c for the rows after steps 0, 1
// and 2 of the 9/7 filter, and h, l, g for the rows after the inverse scaling, step 3 and step 2:
//
//   5/3   forward   x[p-1], x[p], x[p+1], H[p-2]               to  H[p], L[p-1]
//         inverse   L[p-1], H[p-2], H[p], x[p-3]               to  x[p-1], x[p-2]
//   9/7   forward   x[p-1], x[p], x[p+1], b[p-3], c[p-4], a[p-2]
//                   to  a[p], b[p-1], c[p-2], L[p-3], H[p-4]
//         inverse   L[p-1], H[p], x[p-5], g[p-4], l[p-3], h[p-2]
//                   to  h[p], l[p-1], g[p-2], x[p-3], x[p-4]
#include <cstdint>

#include "jpeg2k/wavelet/filters-inl.h"

#if defined(ZEPJP_SRC_JPEG2K_WAVELET_COLUMNS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_WAVELET_COLUMNS_INL_H_
#    undef ZEPJP_SRC_JPEG2K_WAVELET_COLUMNS_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_WAVELET_COLUMNS_INL_H_
#  endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

template <class T, size_t kIn>
HWY_INLINE void LoadColumns(const T* const (&in)[kIn], size_t x, Vector<T> (&values)[kIn]) {
  for (size_t i = 0; i < kIn; ++i) values[i] = hn::LoadU(Tag<T>(), in[i] + x);
}
template <class T, size_t kOut>
HWY_INLINE void StoreColumns(const Vector<T> (&values)[kOut], size_t x, T* const (&out)[kOut]) {
  for (size_t i = 0; i < kOut; ++i) hn::StoreU(values[i], Tag<T>(), out[i] + x);
}

// Applies a step to rows shorter than a vector, on copies.
template <class Step, class T, size_t kIn, size_t kOut>
HWY_NOINLINE void ApplyToShortRows(const T* const (&in)[kIn], T* const (&out)[kOut], size_t width) {
  constexpr size_t kLanes = kLanesOf<T>;
  HWY_ALIGN T copies[kIn][kLanes] = {};
  HWY_ALIGN T results[kOut][kLanes];
  Vector<T> sources[kIn], values[kOut];
  for (size_t i = 0; i < kIn; ++i) {
    CopyBytes(in[i], copies[i], width * sizeof(T));
    sources[i] = hn::Load(Tag<T>(), copies[i]);
  }
  Step::Apply(sources, values);
  for (size_t i = 0; i < kOut; ++i) {
    hn::Store(values[i], Tag<T>(), results[i]);
    CopyBytes(results[i], out[i], width * sizeof(T));
  }
}

// Applies a step to all columns of its rows. The last vector may overlap the one before it; it is
// computed first and stored last, because an output may be the same row as an input.
template <class Step, class T, size_t kIn, size_t kOut>
HWY_INLINE void ApplyToRows(const T* const (&in)[kIn], T* const (&out)[kOut], size_t width) {
  constexpr size_t kLanes = kLanesOf<T>;
  if (width < kLanes) return ApplyToShortRows<Step>(in, out, width);
  Vector<T> sources[kIn], values[kOut], last[kOut];
  LoadColumns(in, width - kLanes, sources);
  Step::Apply(sources, last);
  for (size_t x = 0; x + kLanes < width; x += kLanes) {
    LoadColumns(in, x, sources);
    Step::Apply(sources, values);
    StoreColumns(values, x, out);
  }
  StoreColumns(last, width - kLanes, out);
}

// One lifting step: value, left, right.
template <class Filter, int kStep>
struct ForwardOne {
  using V = typename Filter::V;
  static HWY_INLINE void Apply(const V (&in)[3], V (&out)[1]) {
    out[0] = Filter::template Forward<kStep>(in[0], in[1], in[2]);
  }
};
template <class Filter, int kStep>
struct InverseOne {
  using V = typename Filter::V;
  static HWY_INLINE void Apply(const V (&in)[3], V (&out)[1]) {
    out[0] = Filter::template Inverse<kStep>(in[0], in[1], in[2]);
  }
};
template <class Filter, bool kHigh>
struct ForwardScaling {
  using V = typename Filter::V;
  static HWY_INLINE void Apply(const V (&in)[1], V (&out)[1]) {
    out[0] = Filter::template ForwardScale<kHigh>(in[0]);
  }
};
template <class Filter, bool kHigh>
struct InverseScaling {
  using V = typename Filter::V;
  static HWY_INLINE void Apply(const V (&in)[1], V (&out)[1]) {
    out[0] = Filter::template InverseScale<kHigh>(in[0]);
  }
};

// A line of two samples: high, low.
template <class Filter>
struct ForwardTwo {
  using V = typename Filter::V;
  static HWY_INLINE void Apply(const V (&in)[2], V (&out)[2]) {
    const V one = hn::Set(Tag<typename Filter::Element>(), 1);
    out[0] = hn::Sub(in[0], in[1]);
    out[1] = hn::Add(in[1], hn::ShiftRight<1>(hn::Add(out[0], one)));
  }
};
template <class Filter>
struct InverseTwo {
  using V = typename Filter::V;
  static HWY_INLINE void Apply(const V (&in)[2], V (&out)[2]) {
    const V one = hn::Set(Tag<typename Filter::Element>(), 1);
    out[1] = hn::Sub(in[1], hn::ShiftRight<1>(hn::Add(in[0], one)));
    out[0] = hn::Add(in[0], out[1]);
  }
};

// A line of one sample at an odd position.
template <class Filter>
struct DoubleOne {
  using V = typename Filter::V;
  static HWY_INLINE void Apply(const V (&in)[1], V (&out)[1]) { out[0] = hn::Add(in[0], in[0]); }
};
template <class Filter>
struct HalveOne {  // towards zero
  using V = typename Filter::V;
  static HWY_INLINE void Apply(const V (&in)[1], V (&out)[1]) {
    constexpr int kSign = 8 * sizeof(typename Filter::Element) - 1;
    out[0] = hn::ShiftRight<1>(hn::Sub(in[0], hn::ShiftRight<kSign>(in[0])));
  }
};
template <class Filter>
struct CopyOne {
  using V = typename Filter::V;
  static HWY_INLINE void Apply(const V (&in)[1], V (&out)[1]) { out[0] = in[0]; }
};

// All steps that become possible when the high row p and the low row before it arrive.
template <class Filter>
struct ForwardPair;
template <class T>
struct ForwardPair<Filter53<T>> {
  using V = Vector<T>;
  // x[p-1], x[p], x[p+1], H[p-2] to L[p-1], H[p]
  static HWY_INLINE void Apply(const V (&in)[4], V (&out)[2]) {
    out[1] = Filter53<T>::template Forward<0>(in[1], in[0], in[2]);
    out[0] = Filter53<T>::template Forward<1>(in[0], in[3], out[1]);
  }
};
template <class T, class P>
struct ForwardPair<Steps97<T, P>> {
  using V = Vector<T>;
  using F = Steps97<T, P>;
  // x[p-1], x[p], x[p+1], b[p-3], c[p-4], a[p-2] to L[p-3], b[p-1], H[p-4], c[p-2], a[p]
  static HWY_INLINE void Apply(const V (&in)[6], V (&out)[5]) {
    out[4] = F::template Forward<0>(in[1], in[0], in[2]);
    out[1] = F::template Forward<1>(in[0], in[5], out[4]);
    out[3] = F::template Forward<2>(in[5], in[3], out[1]);
    out[0] = F::template ForwardScale<false>(F::template Forward<3>(in[3], in[4], out[3]));
    out[2] = F::template ForwardScale<true>(in[4]);
  }
};
template <class Filter>
struct InversePair;
template <class T>
struct InversePair<Filter53<T>> {
  using V = Vector<T>;
  // L[p-1], H[p-2], H[p], x[p-3] to x[p-2], x[p-1]
  static HWY_INLINE void Apply(const V (&in)[4], V (&out)[2]) {
    out[1] = Filter53<T>::template Inverse<1>(in[0], in[1], in[2]);
    out[0] = Filter53<T>::template Inverse<0>(in[1], in[3], out[1]);
  }
};
template <class T, class P>
struct InversePair<Steps97<T, P>> {
  using V = Vector<T>;
  using F = Steps97<T, P>;
  // L[p-1], H[p], x[p-5], g[p-4], l[p-3], h[p-2] to x[p-4], x[p-3], g[p-2], l[p-1], h[p]
  static HWY_INLINE void Apply(const V (&in)[6], V (&out)[5]) {
    out[4] = F::template InverseScale<true>(in[1]);
    out[3] = F::template Inverse<3>(F::template InverseScale<false>(in[0]), in[5], out[4]);
    out[2] = F::template Inverse<2>(in[5], in[4], out[3]);
    out[1] = F::template Inverse<1>(in[4], in[3], out[2]);
    out[0] = F::template Inverse<0>(in[3], in[2], out[1]);
  }
};

// Lines of the positions first to last, mirrored about both; odd_high: whether the odd positions
// hold the high coefficients.
struct Extent {
  int64_t first, last;
  bool odd_high;

  bool Has(int64_t p) const { return p >= first && p <= last; }
  bool IsHigh(int64_t p) const { return ((p & 1) != 0) == odd_high; }
  int64_t FirstHigh() const { return IsHigh(first) ? first : first + 1; }
  // For positions that are outside by less than the length of the line.
  int64_t Mirror(int64_t p) const {
    return p < first ? 2 * first - p : p > last ? 2 * last - p : p;
  }
};

// The transforms along columns. The class Rows gives them the rows:
//   In(p)      row p before the transform
//   Out(p)     row p during the transform and after it; may be the same memory as In(p)
//   Enter(p)   called once for each row, before it is read at In (inverse transforms)
//   Done(p)    called once for each row, when it is finished (forward transforms)
template <class Filter, class Rows>
class Columns {
 public:
  using T = typename Filter::Element;

  Columns(Rows& rows, const Extent& extent, size_t width)
      : rows_(rows), extent_(extent), width_(width) {}

  void Forward() {
    if constexpr (kHasTiles) {
      if (IsShort()) return ForwardShort();
    }
    See(extent_.first);
    for (int64_t p = extent_.FirstHigh(); p - kSteps <= extent_.last; p += 2) {
      See(p);
      See(p + 1);
      if (p - kSteps >= extent_.first && p < extent_.last) {
        ForwardInside(p);
      } else {
        ForwardAtEdge<0>(p);
      }
      if (extent_.Has(p - kSteps)) rows_.Done(p - kSteps);
      if (extent_.Has(p - kSteps + 1)) rows_.Done(p - kSteps + 1);
    }
  }

  void Inverse() {
    if constexpr (kHasTiles) {
      if (IsShort()) return InverseShort();
    }
    for (int64_t p = extent_.FirstHigh(); p - kSteps <= extent_.last; p += 2) {
      if (extent_.Has(p - 1)) rows_.Enter(p - 1);
      if (extent_.Has(p)) rows_.Enter(p);
      See(p - 1);
      See(p);
      if (p - kSteps > extent_.first && p <= extent_.last) {
        InverseInside(p);
      } else {
        if (Filter::kScales) {
          OnRow<InverseScaling<Filter, true>>(p, In(p));
          OnRow<InverseScaling<Filter, false>>(p - 1, In(p - 1));
        }
        InverseAtEdge<kSteps - 1>(p);
      }
    }
  }

 private:
  static constexpr int kSteps = Filter::kSteps;
  // Only tiles, which are never of floats, have lines of one or two samples; regions of passes are
  // longer, because they include neighbours.
  static constexpr bool kHasTiles = !hwy::IsFloat<T>();

  const T* In(int64_t p) { return rows_.In(p); }
  T* Out(int64_t p) { return rows_.Out(p); }

  bool IsShort() const { return extent_.last - extent_.first < (Filter::kPairRule ? 2 : 1); }

  void ForwardShort() {
    const int64_t first = extent_.first, last = extent_.last, high = extent_.FirstHigh();
    if (first == last) {
      if (extent_.IsHigh(first)) {
        OnRow<DoubleOne<Filter>>(first, In(first));
      } else {
        OnRow<CopyOne<Filter>>(first, In(first));
      }
      return rows_.Done(first);
    }
    const int64_t low = first + last - high;
    const T* const in[] = {In(high), In(low)};
    T* const out[] = {Out(high), Out(low)};
    ApplyToRows<ForwardTwo<Filter>>(in, out, width_);
    rows_.Done(high);
    rows_.Done(low);
  }

  void InverseShort() {
    const int64_t first = extent_.first, last = extent_.last, high = extent_.FirstHigh();
    rows_.Enter(first);
    if (first == last) {
      if (extent_.IsHigh(first)) return OnRow<HalveOne<Filter>>(first, In(first));
      return OnRow<CopyOne<Filter>>(first, In(first));
    }
    rows_.Enter(last);
    const int64_t low = first + last - high;
    const T* const in[] = {In(high), In(low)};
    T* const out[] = {Out(high), Out(low)};
    ApplyToRows<InverseTwo<Filter>>(in, out, width_);
  }

  // Called before row p is read for the first time: checks whether its values are small.
  void See(int64_t p) {
    if constexpr (kHasSmallSteps<Filter>) {
      if (all_small_ && extent_.Has(p)) all_small_ = AllSmall(In(p), width_);
    }
  }

  // If all rows so far have small values, so have all intermediate rows.
  template <template <class> class Pair, size_t kIn, size_t kOut>
  void ApplyPair(const T* const (&in)[kIn], T* const (&out)[kOut]) {
    if constexpr (kHasSmallSteps<Filter>) {
      if (all_small_) return ApplyToRows<Pair<SmallSteps<Filter>>>(in, out, width_);
    }
    ApplyToRows<Pair<Filter>>(in, out, width_);
  }

  void ForwardInside(int64_t p) {
    if constexpr (kSteps == 2) {
      const T* const in[] = {In(p - 1), In(p), In(p + 1), Out(p - 2)};
      T* const out[] = {Out(p - 1), Out(p)};
      ApplyPair<ForwardPair>(in, out);
    } else {
      const T* const in[] = {In(p - 1), In(p), In(p + 1), Out(p - 3), Out(p - 4), Out(p - 2)};
      T* const out[] = {Out(p - 3), Out(p - 1), Out(p - 4), Out(p - 2), Out(p)};
      ApplyPair<ForwardPair>(in, out);
    }
  }

  // The steps of ForwardInside one by one, as far as their rows exist.
  template <int kStep>
  void ForwardAtEdge(int64_t p) {
    const int64_t target = p - kStep;
    if (extent_.Has(target)) {
      const int64_t left = extent_.Mirror(target - 1), right = extent_.Mirror(target + 1);
      const T* const in[] = {kStep < 2 ? In(target) : Out(target),
                             kStep == 0 ? In(left) : Out(left),
                             kStep == 0 ? In(right) : Out(right)};
      T* const out[] = {Out(target)};
      ApplyToRows<ForwardOne<Filter, kStep>>(in, out, width_);
    }
    if constexpr (kStep + 1 < kSteps) {
      ForwardAtEdge<kStep + 1>(p);
    } else if constexpr (Filter::kScales) {
      OnRow<ForwardScaling<Filter, false>>(p - 3, Out(p - 3));
      OnRow<ForwardScaling<Filter, true>>(p - 4, Out(p - 4));
    }
  }

  void InverseInside(int64_t p) {
    if constexpr (kSteps == 2) {
      const T* const in[] = {In(p - 1), In(p - 2), In(p), Out(p - 3)};
      T* const out[] = {Out(p - 2), Out(p - 1)};
      ApplyPair<InversePair>(in, out);
    } else {
      const T* const in[] = {In(p - 1), In(p), Out(p - 5), Out(p - 4), Out(p - 3), Out(p - 2)};
      T* const out[] = {Out(p - 4), Out(p - 3), Out(p - 2), Out(p - 1), Out(p)};
      ApplyPair<InversePair>(in, out);
    }
  }

  template <int kStep>
  void InverseAtEdge(int64_t p) {
    const int64_t target = p - kSteps + kStep;
    if (extent_.Has(target)) {
      constexpr bool kFresh = !Filter::kScales;  // without scaling, coefficients are still at In
      constexpr bool kFreshBeside = kFresh && kStep == 1;
      const int64_t left = extent_.Mirror(target - 1), right = extent_.Mirror(target + 1);
      const T* const in[] = {kFresh ? In(target) : Out(target), kFreshBeside ? In(left) : Out(left),
                             kFreshBeside ? In(right) : Out(right)};
      T* const out[] = {Out(target)};
      ApplyToRows<InverseOne<Filter, kStep>>(in, out, width_);
    }
    if constexpr (kStep > 0) InverseAtEdge<kStep - 1>(p);
  }

  // A step that reads only row p, if that row exists.
  template <class Step>
  void OnRow(int64_t p, const T* from) {
    if (!extent_.Has(p)) return;
    const T* const in[] = {from};
    T* const out[] = {Out(p)};
    ApplyToRows<Step>(in, out, width_);
  }

  Rows& rows_;
  const Extent extent_;
  const size_t width_;
  bool all_small_ = true;
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
