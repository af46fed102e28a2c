// SPDX-License-Identifier: MIT
// Lifting along one row (ITU-T T.800, F.3 and F.4; the steps are in filters-inl.h). Included once
// per instruction set.
//
// A block is two vectors of samples, split into a vector of the even and one of the odd samples.
// The neighbours that a step needs are the vectors of the other half moved by one lane. So all
// steps run in registers, block after block along the row, and each sample is loaded and stored
// once. Steps that need lanes of the next block wait for it, so the results are up to two blocks
// late.
//
// Positions are counted so that low coefficients have even ones: with an odd origin (`phase` 1) the
// row starts at position 1. The first and last blocks are read from copies that include the
// mirrored samples.
#include <algorithm>

#include "jpeg2k/wavelet/columns-inl.h"
#include "jpeg2k/wavelet/even_odd-inl.h"

#if defined(ZEPJP_SRC_JPEG2K_WAVELET_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_WAVELET_ROWS_INL_H_
#    undef ZEPJP_SRC_JPEG2K_WAVELET_ROWS_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_WAVELET_ROWS_INL_H_
#  endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// `lanes` are the values from index `first` up of a row of `count` values; stores those that the
// row has.
template <class T>
HWY_INLINE void StoreExisting(const T* lanes, int64_t lane_count, int64_t first, int64_t count,
                              T* row) {
  const int64_t begin = std::max<int64_t>(first, 0);
  const int64_t end = std::min<int64_t>(first + lane_count, count);
  if (begin >= end) return;
  CopyBytes(lanes + (begin - first), row + begin, static_cast<size_t>(end - begin) * sizeof(T));
}

// A copy of `kSize` values of a row from index `first` up. Values outside the row are 0 until
// Set().
template <class T, size_t kSize>
class Window {
 public:
  // The row has the values `begin` to `end` - 1.
  Window(int64_t first, const T* row, int64_t begin, int64_t end) : first_(first) {
    for (size_t i = 0; i < kSize; i += kLanesOf<T>) {
      hn::Store(hn::Zero(Tag<T>()), Tag<T>(), values_ + i);
    }
    begin = std::max(begin, first);
    end = std::min(end, first + static_cast<int64_t>(kSize));
    if (begin < end) {
      CopyBytes(row + begin, values_ + (begin - first),
                static_cast<size_t>(end - begin) * sizeof(T));
    }
  }
  // Copies the row's value `from` to index i, if the window has that index.
  void Set(int64_t i, const T* row, int64_t from) {
    if (i < first_ || i >= first_ + static_cast<int64_t>(kSize)) return;
    CopyBytes(row + from, values_ + (i - first_), sizeof(T));
  }
  const T* data() const { return values_; }

 private:
  HWY_ALIGN T values_[kSize];
  int64_t first_;
};

// Position p, mirrored about `first` and `last` until it lies between them.
inline int64_t Reflected(int64_t p, int64_t first, int64_t last) {
  while (p < first || p > last) p = p < first ? 2 * first - p : 2 * last - p;
  return p;
}

// The positions at which a row has samples or coefficients, counted from the first sample to
// transform, which is at a high position if phase is 1. Positions outside are mirrored.
struct RowShape {
  int64_t first, last;
  int phase;
};

template <class T>
class ForwardRow {
 public:
  ForwardRow(const T* src, const RowShape& shape, T* low, int64_t low_count, T* high,
             int64_t high_count)
      : src_(src),
        shape_(shape),
        low_(low),
        low_count_(low_count),
        high_(high),
        high_count_(high_count) {}

  template <class Filter>
  void Run() {
    if constexpr (kHasSmallSteps<Filter>) {
      const auto count = static_cast<size_t>(shape_.last - shape_.first + 1);
      if (AllSmall(src_ + shape_.first, count)) return RunSteps<SmallSteps<Filter>>();
    }
    RunSteps<Filter>();
  }

 private:
  template <class Filter>
  void RunSteps() {
    constexpr int64_t kLag = Filter::kSteps / 2 - 1;
    const int64_t pairs = std::max(low_count_ + shape_.phase, high_count_);
    const int64_t blocks = (pairs + kLanes - 1) / kLanes;
    const int64_t in_memory =
        std::max<int64_t>((shape_.last + shape_.phase + 1) / kBlock, 1);  // blocks before the tail
    const Samples<2> head = Fill<2>(-1);
    const Samples<3> tail = Fill<3>(in_memory);
    State<Filter> state;
    state.Start(LoadEvenOdd(head.data()), LoadEvenOdd(head.data() + kBlock));
    for (int64_t j = 0; j < blocks + kLag; ++j) {
      const T* const next = j + 1 < in_memory ? src_ + (kBlock * (j + 1) - shape_.phase)
                                              : tail.data() + kBlock * (j + 1 - in_memory);
      const EvenOdd<T> done = state.Next(LoadEvenOdd(next));
      Store(done.even, done.odd, j - kLag);
    }
  }

  static constexpr int64_t kLanes = static_cast<int64_t>(kLanesOf<T>);
  static constexpr int64_t kBlock = 2 * kLanes;
  template <size_t kBlocks>
  using Samples = Window<T, kBlocks * kBlock>;

  // Lifts block after block. Next(block j + 1) returns block j (5/3) or j - 1 (9/7).
  template <class Filter>
  struct State;

  template <class U>
  struct State<Filter53<U>> {
    using Filter = Filter53<U>;
    void Start(EvenOdd<T> before, EvenOdd<T> first) {
      high =
          Filter::template Forward<0>(before.odd, before.even, MoveDown(before.even, first.even));
      now = first;
    }
    HWY_INLINE EvenOdd<T> Next(EvenOdd<T> next) {
      const auto h = Filter::template Forward<0>(now.odd, now.even, MoveDown(now.even, next.even));
      const auto l = Filter::template Forward<1>(now.even, MoveUp(high, h), h);
      high = h;
      now = next;
      return {l, h};
    }
    EvenOdd<T> now;
    Vector<T> high;
  };

  template <class U, class P>
  struct State<Steps97<U, P>> {
    using F = Steps97<U, P>;
    void Start(EvenOdd<T> before, EvenOdd<T> first) {
      a = b = c = hn::Zero(Tag<T>());
      now = before;
      Next(first);
    }
    HWY_INLINE EvenOdd<T> Next(EvenOdd<T> next) {
      const auto a1 = F::template Forward<0>(now.odd, now.even, MoveDown(now.even, next.even));
      const auto b1 = F::template Forward<1>(now.even, MoveUp(a, a1), a1);
      const auto c0 = F::template Forward<2>(a, b, MoveDown(b, b1));
      const auto l0 = F::template Forward<3>(b, MoveUp(c, c0), c0);
      a = a1;
      b = b1;
      c = c0;
      now = next;
      return {F::template ForwardScale<false>(l0), F::template ForwardScale<true>(c0)};
    }
    EvenOdd<T> now;
    Vector<T> a, b, c;
  };

  // The blocks from `block` up, with four mirrored samples on either side of the row.
  template <size_t kBlocks>
  Samples<kBlocks> Fill(int64_t block) {
    const int64_t start = kBlock * block - shape_.phase;
    Samples<kBlocks> samples(start, src_, shape_.first, shape_.last + 1);
    for (int64_t i = 1; i <= 4; ++i) {
      for (const int64_t p : {shape_.first - i, shape_.last + i}) {
        samples.Set(p, src_, Reflected(p, shape_.first, shape_.last));
      }
    }
    return samples;
  }

  HWY_INLINE void Store(Vector<T> low, Vector<T> high, int64_t block) {
    const Tag<T> d;
    const int64_t k = block * kLanes;
    if (k >= shape_.phase && k - shape_.phase + kLanes <= low_count_ && k + kLanes <= high_count_) {
      hn::StoreU(low, d, low_ + (k - shape_.phase));
      hn::StoreU(high, d, high_ + k);
    } else {
      StoreAtEdge(low, high, k);
    }
  }

  HWY_NOINLINE void StoreAtEdge(Vector<T> low, Vector<T> high, int64_t k) {
    HWY_ALIGN T lanes[kLanes];
    hn::Store(low, Tag<T>(), lanes);
    StoreExisting(lanes, kLanes, k - shape_.phase, low_count_, low_);
    hn::Store(high, Tag<T>(), lanes);
    StoreExisting(lanes, kLanes, k, high_count_, high_);
  }

  const T* const src_;
  const RowShape shape_;
  T* const low_;
  const int64_t low_count_;
  T* const high_;
  const int64_t high_count_;
};

template <class T>
class InverseRow {
 public:
  InverseRow(const T* low, const T* high, const RowShape& shape, T* dst, int64_t count)
      : low_(low), high_(high), shape_(shape), dst_(dst), count_(count) {}

  template <class Filter>
  void Run() {
    if constexpr (kHasSmallSteps<Filter>) {
      if (AllSmall(low_ + LowBegin(), static_cast<size_t>(LowEnd() - LowBegin())) &&
          AllSmall(high_ + HighBegin(), static_cast<size_t>(HighEnd() - HighBegin()))) {
        return RunSteps<SmallSteps<Filter>>();
      }
    }
    RunSteps<Filter>();
  }

 private:
  template <class Filter>
  void RunSteps() {
    constexpr int64_t kLag = Filter::kSteps / 2;
    const int64_t blocks = (count_ + shape_.phase + kBlock - 1) / kBlock;
    const int64_t in_memory =
        std::max<int64_t>(std::min(LowEnd() + shape_.phase, HighEnd()) / kLanes, 1);
    const Coefficients<2> head(*this, -1);
    const Coefficients<3> tail(*this, in_memory);
    State<Filter> state;
    state.Start(head.Block(0));
    state.Next(head.Block(1));
    for (int64_t j = 1; j < blocks + kLag; ++j) {
      const EvenOdd<T> next = j < in_memory ? EvenOdd<T>{Load(low_ + (j * kLanes - shape_.phase)),
                                                         Load(high_ + j * kLanes)}
                                            : tail.Block(j - in_memory);
      const EvenOdd<T> done = state.Next(next);
      Store(done.even, done.odd, j - kLag);
    }
  }

  static constexpr int64_t kLanes = static_cast<int64_t>(kLanesOf<T>);
  static constexpr int64_t kBlock = 2 * kLanes;

  static HWY_INLINE Vector<T> Load(const T* from) { return hn::LoadU(Tag<T>(), from); }

  // The low coefficients that exist are LowBegin() .. LowEnd() - 1, at positions 2k + phase.
  int64_t LowBegin() const { return (shape_.first + 1 - shape_.phase) >> 1; }
  int64_t LowEnd() const { return ((shape_.last - shape_.phase) >> 1) + 1; }
  int64_t HighBegin() const { return (shape_.first + shape_.phase) >> 1; }
  int64_t HighEnd() const { return ((shape_.last - 1 + shape_.phase) >> 1) + 1; }

  // The blocks from `block` up, with four mirrored coefficients on either side of the row.
  template <size_t kBlocks>
  class Coefficients {
   public:
    Coefficients(const InverseRow& row, int64_t block)
        : low_(block * kLanes - row.shape_.phase, row.low_, row.LowBegin(), row.LowEnd()),
          high_(block * kLanes, row.high_, row.HighBegin(), row.HighEnd()) {
      const RowShape& shape = row.shape_;
      for (int64_t i = 1; i <= 4; ++i) {
        for (const int64_t p : {shape.first - i, shape.last + i}) {
          const int64_t from = Reflected(p, shape.first, shape.last);
          if (((p + shape.phase) & 1) != 0) {
            high_.Set(p >> 1, row.high_, from >> 1);
          } else {
            low_.Set(p >> 1, row.low_, from >> 1);
          }
        }
      }
    }
    HWY_INLINE EvenOdd<T> Block(int64_t i) const {
      return {Load(low_.data() + i * kLanes), Load(high_.data() + i * kLanes)};
    }

   private:
    Window<T, kBlocks * kLanesOf<T>> low_, high_;
  };

  // Lifts block after block. Next(block j) returns block j - 1 (5/3) or j - 2 (9/7).
  template <class Filter>
  struct State;

  template <class U>
  struct State<Filter53<U>> {
    using Filter = Filter53<U>;
    void Start(EvenOdd<T> before) {
      even = before.even;
      high = before.odd;
    }
    HWY_INLINE EvenOdd<T> Next(EvenOdd<T> next) {
      const auto e = Filter::template Inverse<1>(next.even, MoveUp(high, next.odd), next.odd);
      const auto odd = Filter::template Inverse<0>(high, even, MoveDown(even, e));
      const EvenOdd<T> done = {even, odd};
      even = e;
      high = next.odd;
      return done;
    }
    Vector<T> even, high;
  };

  template <class U, class P>
  struct State<Steps97<U, P>> {
    using F = Steps97<U, P>;
    void Start(EvenOdd<T> before) {
      h = l = g = even = hn::Zero(Tag<T>());
      Next(before);
    }
    HWY_INLINE EvenOdd<T> Next(EvenOdd<T> next) {
      const auto h2 = F::template InverseScale<true>(next.odd);
      const auto l2 =
          F::template Inverse<3>(F::template InverseScale<false>(next.even), MoveUp(h, h2), h2);
      const auto g1 = F::template Inverse<2>(h, l, MoveDown(l, l2));
      const auto e1 = F::template Inverse<1>(l, MoveUp(g, g1), g1);
      const auto odd = F::template Inverse<0>(g, even, MoveDown(even, e1));
      const EvenOdd<T> done = {even, odd};
      h = h2;
      l = l2;
      g = g1;
      even = e1;
      return done;
    }
    Vector<T> h, l, g, even;
  };

  HWY_INLINE void Store(Vector<T> even, Vector<T> odd, int64_t block) {
    const int64_t p = block * kBlock - shape_.phase;
    if (p >= 0 && p + kBlock <= count_) {
      StoreEvenOdd(even, odd, dst_ + p);
    } else {
      StoreAtEdge(even, odd, p);
    }
  }

  HWY_NOINLINE void StoreAtEdge(Vector<T> even, Vector<T> odd, int64_t p) {
    HWY_ALIGN T lanes[kBlock];
    StoreEvenOdd(even, odd, static_cast<T*>(lanes));
    StoreExisting(lanes, kBlock, p, count_, dst_);
  }

  const T* const low_;
  const T* const high_;
  const RowShape shape_;
  T* const dst_;
  const int64_t count_;
};

// Transforms a row of a tile to low and high coefficients. The first of its `count` samples is at a
// high position if phase is 1.
template <class Filter, class T>
void ForwardTileRow(const T* src, int64_t count, int phase, T* low, T* high) {
  if (count == 1) {
    const T* const in[] = {src};
    T* const out[] = {phase == 0 ? low : high};
    return phase == 0 ? ApplyToRows<CopyOne<Filter>>(in, out, 1)
                      : ApplyToRows<DoubleOne<Filter>>(in, out, 1);
  }
  if (Filter::kPairRule && count == 2) {
    const T* const in[] = {src + 1 - phase, src + phase};
    T* const out[] = {high, low};
    return ApplyToRows<ForwardTwo<Filter>>(in, out, 1);
  }
  const int64_t low_count = (count + 1 - phase) / 2;
  ForwardRow<T>(src, {0, count - 1, phase}, low, low_count, high, count - low_count)
      .template Run<Filter>();
}

template <class Filter, class T>
void InverseTileRow(const T* low, const T* high, int64_t count, int phase, T* dst) {
  if (count == 1) {
    const T* const in[] = {phase == 0 ? low : high};
    T* const out[] = {dst};
    return phase == 0 ? ApplyToRows<CopyOne<Filter>>(in, out, 1)
                      : ApplyToRows<HalveOne<Filter>>(in, out, 1);
  }
  if (Filter::kPairRule && count == 2) {
    const T* const in[] = {high, low};
    T* const out[] = {dst + 1 - phase, dst + phase};
    return ApplyToRows<InverseTwo<Filter>>(in, out, 1);
  }
  InverseRow<T>(low, high, {0, count - 1, phase}, dst, count).template Run<Filter>();
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
