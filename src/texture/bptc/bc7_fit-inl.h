// SPDX-License-Identifier: MIT
// Fits lines through the colours of blocks, one block in each 32-bit lane: it finds end points and
// indexes, and the squared error of the pixels that a decoder makes of them. Included once per
// instruction set.
//
//   1. The principal axis of each subset, by power iteration on the covariance, gives a line and
//      its extent.
//   2. Each pixel gets the index of the nearest point on the line between the *stored* end points.
//   3. Least squares give the best real end points for these indexes. With weights w out of 64 they
//      need the sums aa, ab, bb, av and bv of (64 - w)^2, w (64 - w), w^2, (64 - w) v and w v, and
//      a 2 x 2 system for each channel.
//   4. The two codes of a channel are chosen together among those around the best real values. With
//      d0 and d1 the distances of the codes' values from these, the error grows by
//      aa d0^2 + 2 ab d0 d1 + bb d1^2, so rounding one end up can compensate rounding the other
//      down.
//   5. Steps 2 to 4 are repeated, also from longer lines.
//
// Every instruction set must give the same blocks. So all numbers are integers, or the results of
// single operations that are rounded once. Where a product is added to a sum, the product is exact,
// so that a fused operation gives the same result.
#if defined(ZEPJP_SRC_TEXTURE_BPTC_BC7_FIT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_TEXTURE_BPTC_BC7_FIT_INL_H_
#    undef ZEPJP_SRC_TEXTURE_BPTC_BC7_FIT_INL_H_
#  else
#    define ZEPJP_SRC_TEXTURE_BPTC_BC7_FIT_INL_H_
#  endif

#  include <limits>

#  include "texture/bptc/bc7_modes.h"
#  include "texture/lanes-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using DF = hn::Repartition<float, D8>;
using VF = hn::VFromD<DF>;
using MF = decltype(hn::Eq(hn::Zero(DF()), hn::Zero(DF())));  // NEON's mask has no name

constexpr size_t kLanes = hn::MaxLanes(DF());  // blocks side by side

HWY_INLINE VF Number(float value) { return hn::Set(DF(), value); }
HWY_INLINE VF Square(VF v) { return hn::Mul(v, v); }

// a * b + c for an exact product, so that a fused operation gives the same result.
HWY_INLINE VF Exact(VF a, VF b, VF c) { return hn::MulAdd(a, b, c); }

// Rounds a number below 2^22 to the nearest integer, halves to even.
HWY_INLINE VF Whole(VF v) {
  const VF shift = Number(12582912.0f);  // 1.5 * 2^23
  return hn::Sub(hn::Add(v, shift), shift);
}

// A number for each of sixteen pixels of each block.
struct Channel {
  HWY_ALIGN float pixel[16][kLanes];

  HWY_INLINE VF At(int i) const { return hn::Load(DF(), pixel[i]); }
  HWY_INLINE void Set(int i, VF v) { hn::Store(v, DF(), pixel[i]); }
};

// The subsets of the pixels, in a word for each block: bit i for pixel i, or with three subsets
// bits 2i and 2i + 1.
template <int kSubsets>
class Membership {
 public:
  HWY_INLINE explicit Membership(V32 words) : words_(words) {}

  template <int kSubset>
  HWY_INLINE MF Has(int i) const {
    const uint32_t bit = kSubsets == 2 ? 1U << i : 1U << (2 * i + kSubset - 1);
    return hn::RebindMask(DF(), hn::TestBit(words_, hn::Set(D32(), bit)));
  }
  // The number that belongs to the subset of pixel i.
  HWY_INLINE VF Pick(int i, const VF* of_subsets) const {
    VF v = of_subsets[0];
    if constexpr (kSubsets >= 2) v = hn::IfThenElse(Has<1>(i), of_subsets[1], v);
    if constexpr (kSubsets == 3) v = hn::IfThenElse(Has<2>(i), of_subsets[2], v);
    return v;
  }
  // Adds the value of pixel i to sums[0], the sum over all pixels, and to the sum of its subset
  // unless that is the first. LeaveFirst() then makes sums[0] the sum of the first subset.
  HWY_INLINE void Add(int i, VF v, VF* sums) const {
    sums[0] = hn::Add(sums[0], v);
    if constexpr (kSubsets >= 2) sums[1] = hn::Add(sums[1], hn::IfThenElseZero(Has<1>(i), v));
    if constexpr (kSubsets == 3) sums[2] = hn::Add(sums[2], hn::IfThenElseZero(Has<2>(i), v));
  }
  // Adds a product of integers like Add().
  HWY_INLINE void AddProduct(int i, VF v, VF w, VF* sums) const {
    sums[0] = Exact(v, w, sums[0]);
    if constexpr (kSubsets >= 2) sums[1] = Exact(hn::IfThenElseZero(Has<1>(i), v), w, sums[1]);
    if constexpr (kSubsets == 3) sums[2] = Exact(hn::IfThenElseZero(Has<2>(i), v), w, sums[2]);
  }
  static HWY_INLINE void LeaveFirst(VF* sums) {
    for (int s = 1; s < kSubsets; ++s) sums[0] = hn::Sub(sums[0], sums[s]);
  }

 private:
  V32 words_;
};

// The format of the channels that share a set of indexes in a mode.
template <int kSubsetsOf, int kChannelsOf, int kBitsOf, Bc7PBits kPBitsOf, int kIndexBitsOf>
struct LineFormat {
  static constexpr int kSubsets = kSubsetsOf, kChannels = kChannelsOf, kBits = kBitsOf;
  static constexpr int kLast = (1 << kIndexBitsOf) - 1;
  static constexpr int kTotal = kBitsOf + (kPBitsOf == kNoPBits ? 0 : 1);
  static constexpr Bc7PBits kPBits = kPBitsOf;
  static constexpr bool kOnlyOnes = false;
};

// Lines of opaque blocks in modes in which alpha has the p-bits too: both are 1, so that alpha is
// 255.
template <class Format>
struct OpaqueLine : Format {
  static constexpr int kChannels = 3;
  static constexpr bool kOnlyOnes = true;
};

template <class Format>
using Inputs = const Channel* const[Format::kChannels];

// The end points of all subsets.
template <class Format>
struct Ends {
  VF at[Format::kSubsets][2][Format::kChannels];
};

// Stored end points: their codes of kTotal bits, and the values that the codes represent.
template <class Format>
struct Stored {
  Ends<Format> code, value;

  HWY_INLINE void Replace(MF mask, const Stored& other) {
    for (int s = 0; s < Format::kSubsets; ++s) {
      for (int e = 0; e < 2; ++e) {
        for (int c = 0; c < Format::kChannels; ++c) {
          VF &own_code = code.at[s][e][c], &own_value = value.at[s][e][c];
          own_code = hn::IfThenElse(mask, other.code.at[s][e][c], own_code);
          own_value = hn::IfThenElse(mask, other.value.at[s][e][c], own_value);
        }
      }
    }
  }
};

// The effort: the number of starting lines, of refinements of their end points, and of sweeps over
// the codes.
struct Rounds {
  int starts, fits, sweeps;
};

// The encoding of a line in each block.
struct Line {
  VF error;
  V32 ends[6];     // four codes of a byte each
  V32 indexes[2];  // four bits each, of pixels 0..7 and 8..15

  HWY_INLINE void KeepBetter(const Line& other, int ends_used) {
    const MF is_better = hn::Lt(other.error, error);
    const auto mask = hn::RebindMask(D32(), is_better);
    error = hn::IfThenElse(is_better, other.error, error);
    for (int i = 0; i < ends_used; ++i) ends[i] = hn::IfThenElse(mask, other.ends[i], ends[i]);
    for (int i = 0; i < 2; ++i) indexes[i] = hn::IfThenElse(mask, other.indexes[i], indexes[i]);
  }
};

// The axis along which the colours of a subset differ most, of length 1 (or 0): power iteration on
// the covariance, starting with the row that has the greatest variance.
template <int kChannels>
HWY_INLINE void PrincipalAxis(const VF (&covariance)[kChannels][kChannels], VF* axis) {
  VF greatest = covariance[0][0];
  for (int c = 0; c < kChannels; ++c) axis[c] = covariance[0][c];
  for (int r = 1; r < kChannels; ++r) {
    const MF is_greater = hn::Gt(covariance[r][r], greatest);
    greatest = hn::Max(greatest, covariance[r][r]);
    for (int c = 0; c < kChannels; ++c) {
      axis[c] = hn::IfThenElse(is_greater, covariance[r][c], axis[c]);
    }
  }
  for (int step = 0; step < 3; ++step) {
    const VF scale = hn::Div(Number(1), hn::Max(greatest, Number(1)));
    VF next[kChannels];
    greatest = hn::Zero(DF());
    for (int r = 0; r < kChannels; ++r) {
      next[r] = hn::Mul(covariance[r][0], axis[0]);
      for (int c = 1; c < kChannels; ++c) {
        next[r] = hn::Add(next[r], hn::Mul(covariance[r][c], axis[c]));
      }
      next[r] = hn::Mul(next[r], scale);
      greatest = hn::Max(greatest, hn::Abs(next[r]));
    }
    for (int c = 0; c < kChannels; ++c) axis[c] = next[c];
  }
  const VF scale = hn::Div(Number(1), hn::Max(greatest, Number(1e-6f)));
  VF square = hn::Zero(DF());
  for (int c = 0; c < kChannels; ++c) {
    axis[c] = hn::Mul(axis[c], scale);
    square = hn::Add(square, Square(axis[c]));
  }
  const VF length = hn::Sqrt(hn::Max(square, Number(1e-6f)));
  for (int c = 0; c < kChannels; ++c) axis[c] = hn::Div(axis[c], length);
}

// Sums over the pixels of each subset: of ones, values, and products of two channels.
template <class Format>
struct Moments {
  static constexpr int kSubsets = Format::kSubsets, kChannels = Format::kChannels;
  VF count[kSubsets], sum[kChannels][kSubsets], product[kChannels][kChannels][kSubsets];

  HWY_INLINE Moments(const Inputs<Format>& in, const Membership<kSubsets>& members) {
    const VF zero = hn::Zero(DF());
    for (int s = 0; s < kSubsets; ++s) {
      count[s] = zero;
      for (int c = 0; c < kChannels; ++c) {
        sum[c][s] = zero;
        for (int d = 0; d < kChannels; ++d) product[c][d][s] = zero;
      }
    }
    for (int i = 0; i < 16; ++i) {
      members.Add(i, Number(1), count);
      VF v[kChannels];
      for (int c = 0; c < kChannels; ++c) {
        v[c] = in[c]->At(i);
        members.Add(i, v[c], sum[c]);
        for (int d = 0; d <= c; ++d) members.AddProduct(i, v[c], v[d], product[c][d]);
      }
    }
    members.LeaveFirst(count);
    for (int c = 0; c < kChannels; ++c) {
      members.LeaveFirst(sum[c]);
      for (int d = 0; d <= c; ++d) members.LeaveFirst(product[c][d]);
    }
  }
};

// The extent of each subset along its principal axis.
template <class Format>
HWY_INLINE Ends<Format> PrincipalEnds(const Inputs<Format>& in,
                                      const Membership<Format::kSubsets>& members) {
  constexpr int kChannels = Format::kChannels, kSubsets = Format::kSubsets;
  const Moments<Format> moments(in, members);
  VF axis[kChannels][kSubsets], mean[kChannels][kSubsets], offset[kSubsets];
  for (int s = 0; s < kSubsets; ++s) {
    const VF share = hn::Div(Number(1), moments.count[s]);
    VF covariance[kChannels][kChannels], own_axis[kChannels];
    for (int c = 0; c < kChannels; ++c) {
      mean[c][s] = hn::Mul(moments.sum[c][s], share);
      for (int d = 0; d <= c; ++d) {
        covariance[c][d] = covariance[d][c] =
            hn::Sub(moments.product[c][d][s], hn::Mul(mean[c][s], moments.sum[d][s]));
      }
    }
    PrincipalAxis<kChannels>(covariance, own_axis);
    offset[s] = hn::Zero(DF());
    for (int c = 0; c < kChannels; ++c) {
      axis[c][s] = own_axis[c];
      offset[s] = hn::Add(offset[s], hn::Mul(own_axis[c], mean[c][s]));
    }
  }
  VF low[kSubsets], high[kSubsets];
  for (int s = 0; s < kSubsets; ++s) {
    low[s] = Number(1e6f);
    high[s] = Number(-1e6f);
  }
  for (int i = 0; i < 16; ++i) {
    VF at = hn::Neg(members.Pick(i, offset));
    for (int c = 0; c < kChannels; ++c) {
      at = hn::Add(at, hn::Mul(in[c]->At(i), members.Pick(i, axis[c])));
    }
    for (int s = 0; s < kSubsets; ++s) {
      VF own_low = at, own_high = at;
      if constexpr (kSubsets >= 2) {
        const MF first = s == 0 || s == 1 ? members.template Has<1>(i) : members.template Has<2>(i);
        MF is_own = s == 0 ? hn::Not(first) : first;
        if constexpr (kSubsets == 3) {
          if (s == 0) is_own = hn::AndNot(members.template Has<2>(i), is_own);
        }
        own_low = hn::IfThenElse(is_own, at, low[s]);
        own_high = hn::IfThenElse(is_own, at, high[s]);
      }
      low[s] = hn::Min(low[s], own_low);
      high[s] = hn::Max(high[s], own_high);
    }
  }
  Ends<Format> ends;
  for (int s = 0; s < kSubsets; ++s) {
    for (int c = 0; c < kChannels; ++c) {
      ends.at[s][0][c] = hn::Add(mean[c][s], hn::Mul(axis[c][s], low[s]));
      ends.at[s][1][c] = hn::Add(mean[c][s], hn::Mul(axis[c][s], high[s]));
    }
  }
  return ends;
}

// The value of a code of kTotal bits: the code, and below it its upper bits again.
template <int kTotal>
HWY_INLINE VF WidenCode(VF code) {
  if constexpr (kTotal == 8) {
    return code;
  } else {
    constexpr float kUnit = 1.0f / (1 << (2 * kTotal - 8));
    const VF upper = Whole(hn::Add(hn::Mul(code, Number(kUnit)), Number(kUnit / 2 - 0.5f)));
    return hn::Add(hn::Mul(code, Number(1 << (8 - kTotal))), upper);
  }
}

template <class Format>
HWY_INLINE void MoveCode(int place, int step, Stored<Format>* stored) {
  constexpr float kMaxCode = static_cast<float>((1 << Format::kTotal) - 1);
  const int s = place / (2 * Format::kChannels), e = place / Format::kChannels % 2;
  const int c = place % Format::kChannels;
  VF* const code = stored->code.at[s][e] + c;
  const VF moved = hn::Add(*code, Number(static_cast<float>(step)));
  const MF is_code = hn::And(hn::Ge(moved, hn::Zero(DF())), hn::Le(moved, Number(kMaxCode)));
  *code = hn::IfThenElse(is_code, moved, *code);
  stored->value.at[s][e][c] = WidenCode<Format::kTotal>(*code);
}

// Flips the p-bit of one end point, or of both end points of a subset if they share it.
template <class Format>
HWY_INLINE void FlipPBit(int place, Stored<Format>* stored) {
  const bool is_shared = Format::kPBits == kSharedPBits;
  const int s = is_shared ? place : place / 2;
  for (int e = 0; e < 2; ++e) {
    if (!is_shared && e != place % 2) continue;
    for (int c = 0; c < Format::kChannels; ++c) {
      VF* const code = stored->code.at[s][e] + c;
      const VF half = hn::Mul(*code, Number(0.5f));
      const MF is_even = hn::Eq(Whole(half), half);
      *code = hn::Add(*code, hn::IfThenElse(is_even, Number(1), Number(-1)));
      stored->value.at[s][e][c] = WidenCode<Format::kTotal>(*code);
    }
  }
}

// The code with this p-bit that is nearest to `end` moved by `shift` codes.
template <class Format>
HWY_INLINE VF NearestCode(VF end, int p, float shift) {
  constexpr bool kHasP = Format::kPBits != kNoPBits;
  constexpr float kScale = static_cast<float>((1 << Format::kTotal) - 1) / 255.0f;
  const VF scaled = hn::Mul(end, Number(kHasP ? kScale / 2 : kScale));
  const float more = (kHasP && p != 0 ? -0.5f : 0.0f) + shift;
  const VF whole = Whole(more == 0 ? scaled : hn::Add(scaled, Number(more)));
  const VF most = Number(static_cast<float>((1 << Format::kBits) - 1));
  const VF code = hn::Min(hn::Max(whole, hn::Zero(DF())), most);
  return kHasP ? hn::Add(hn::Add(code, code), Number(static_cast<float>(p))) : code;
}

// The codes with this p-bit (if the format has p-bits) that are nearest to an end point; returns
// the squared distance.
template <class Format>
HWY_INLINE VF Nearest(const VF* ends, int p, VF* code, VF* value) {
  VF error = hn::Zero(DF());
  for (int c = 0; c < Format::kChannels; ++c) {
    code[c] = NearestCode<Format>(ends[c], p, 0);
    value[c] = WidenCode<Format::kTotal>(code[c]);
    error = hn::Add(error, Square(hn::Sub(value[c], ends[c])));
  }
  return error;
}

// Stores end points with the p-bits that change them least, or with ones in opaque blocks.
template <class Format>
HWY_INLINE Stored<Format> Store(const Ends<Format>& ends, MF opaque) {
  constexpr int kChannels = Format::kChannels;
  Stored<Format> stored;
  for (int s = 0; s < Format::kSubsets; ++s) {
    if constexpr (Format::kPBits == kNoPBits) {
      for (int e = 0; e < 2; ++e) {
        Nearest<Format>(ends.at[s][e], 0, stored.code.at[s][e], stored.value.at[s][e]);
      }
    } else {
      VF code[2][2][kChannels], value[2][2][kChannels], error[2][2];
      for (int p = 0; p < 2; ++p) {
        for (int e = 0; e < 2; ++e) {
          error[p][e] = Nearest<Format>(ends.at[s][e], p, code[p][e], value[p][e]);
        }
      }
      const bool is_shared = Format::kPBits == kSharedPBits;
      const VF both[2] = {hn::Add(error[0][0], error[0][1]), hn::Add(error[1][0], error[1][1])};
      for (int e = 0; e < 2; ++e) {
        MF is_one = is_shared ? hn::Lt(both[1], both[0]) : hn::Lt(error[1][e], error[0][e]);
        if (kChannels == 4) is_one = hn::Or(is_one, opaque);
        if (Format::kOnlyOnes) is_one = hn::Eq(both[0], both[0]);
        for (int c = 0; c < kChannels; ++c) {
          stored.code.at[s][e][c] = hn::IfThenElse(is_one, code[1][e][c], code[0][e][c]);
          stored.value.at[s][e][c] = hn::IfThenElse(is_one, value[1][e][c], value[0][e][c]);
        }
      }
    }
  }
  return stored;
}

// Chooses the two codes of one channel of a subset together, around the best real end points e:
// with d the distances of the codes' values from e, the error grows by aa d0^2 + 2 ab d0 d1 + bb
// d1^2.
template <class Format>
class PairSearch {
 public:
  HWY_INLINE PairSearch(VF aa, VF ab, VF bb) : aa_(aa), ab2_(hn::Add(ab, ab)), bb_(bb) {
    other_[0] = hn::Neg(hn::Div(ab, hn::Max(bb, Number(1))));
    other_[1] = hn::Neg(hn::Div(ab, hn::Max(aa, Number(1))));
  }

  // Finds the best codes with these p-bits; returns their contribution to the error.
  HWY_INLINE VF Find(VF e0, VF e1, int p0, int p1, VF* code0, VF* code1) const {
    VF least = Number(std::numeric_limits<float>::max());
    *code0 = *code1 = hn::Zero(DF());
    for (int i = 0; i < 4; ++i) {
      const bool is_second = i >= 2;
      const VF first = is_second ? e1 : e0, second = is_second ? e0 : e1;
      const int p_first = is_second ? p1 : p0, p_second = is_second ? p0 : p1;
      // One code is next below or above its best value, the other is the best for that.
      const VF code = NearestCode<Format>(first, p_first, i % 2 == 0 ? -0.5f : 0.5f);
      const VF d = hn::Sub(WidenCode<Format::kTotal>(code), first);
      const VF wanted = hn::Add(second, hn::Mul(d, other_[is_second ? 1 : 0]));
      const VF partner = NearestCode<Format>(wanted, p_second, 0);
      const VF d_partner = hn::Sub(WidenCode<Format::kTotal>(partner), second);
      const VF d0 = is_second ? d_partner : d, d1 = is_second ? d : d_partner;
      const VF mixed = hn::Add(hn::Mul(aa_, d0), hn::Mul(ab2_, d1));
      const VF error = hn::Add(hn::Mul(mixed, d0), hn::Mul(bb_, Square(d1)));
      const MF is_less = hn::Lt(error, least);
      least = hn::IfThenElse(is_less, error, least);
      *code0 = hn::IfThenElse(is_less, is_second ? partner : code, *code0);
      *code1 = hn::IfThenElse(is_less, is_second ? code : partner, *code1);
    }
    return least;
  }

 private:
  VF aa_, ab2_, bb_, other_[2];
};

// The sums that give the best end points for given indexes with weights w out of 64: aa, ab and bb
// of (64 - w)^2, w (64 - w) and w^2; av and bv of (64 - w) v and w v for each channel.
template <class Format>
struct FitSums {
  VF aa[Format::kSubsets], ab[Format::kSubsets], bb[Format::kSubsets];
  VF av[Format::kChannels][Format::kSubsets], bv[Format::kChannels][Format::kSubsets];

  HWY_INLINE FitSums() {
    const VF zero = hn::Zero(DF());
    for (int s = 0; s < Format::kSubsets; ++s) {
      aa[s] = ab[s] = bb[s] = zero;
      for (int c = 0; c < Format::kChannels; ++c) av[c][s] = bv[c][s] = zero;
    }
  }

  template <class Members>
  HWY_INLINE void Add(const Members& members, int i, VF w, const VF* v) {
    const VF a = hn::Sub(Number(64), w);
    members.AddProduct(i, a, a, aa);
    members.AddProduct(i, a, w, ab);
    members.AddProduct(i, w, w, bb);
    for (int c = 0; c < Format::kChannels; ++c) {
      members.AddProduct(i, a, v[c], av[c]);
      members.AddProduct(i, w, v[c], bv[c]);
    }
  }

  // The best end points; if all indexes are equal, both are the mean.
  template <class Members>
  HWY_INLINE Ends<Format> Solve(const Members& members) {
    members.LeaveFirst(aa);
    members.LeaveFirst(ab);
    members.LeaveFirst(bb);
    Ends<Format> ends;
    for (int c = 0; c < Format::kChannels; ++c) {
      members.LeaveFirst(av[c]);
      members.LeaveFirst(bv[c]);
    }
    for (int s = 0; s < Format::kSubsets; ++s) {
      const VF determinant = hn::Sub(hn::Mul(aa[s], bb[s]), Square(ab[s]));
      const MF is_solvable = hn::Gt(determinant, Number(1));
      const VF scale = hn::Div(Number(64), hn::Max(determinant, Number(1)));
      const VF all = hn::Add(hn::Add(aa[s], bb[s]), hn::Add(ab[s], ab[s]));
      const VF share = hn::Div(Number(64), all);
      for (int c = 0; c < Format::kChannels; ++c) {
        const VF a = hn::Sub(hn::Mul(bb[s], av[c][s]), hn::Mul(ab[s], bv[c][s]));
        const VF b = hn::Sub(hn::Mul(aa[s], bv[c][s]), hn::Mul(ab[s], av[c][s]));
        const VF mean = hn::Mul(hn::Add(av[c][s], bv[c][s]), share);
        ends.at[s][0][c] = hn::IfThenElse(is_solvable, Clamp(hn::Mul(a, scale)), mean);
        ends.at[s][1][c] = hn::IfThenElse(is_solvable, Clamp(hn::Mul(b, scale)), mean);
      }
    }
    return ends;
  }

 private:
  static HWY_INLINE VF Clamp(VF v) { return hn::Min(hn::Max(v, hn::Zero(DF())), Number(255)); }
};

// Stores the best end points for these sums. The two codes of each channel are chosen together, for
// each possible choice of p-bits.
template <class Format>
HWY_INLINE Stored<Format> StoreTogether(const FitSums<Format>& sums, const Ends<Format>& ends,
                                        MF opaque) {
  constexpr int kChannels = Format::kChannels;
  constexpr int kChoices = Format::kPBits == kEachPBits     ? 4
                           : Format::kPBits == kSharedPBits ? 2
                                                            : 1;
  Stored<Format> stored;
  for (int s = 0; s < Format::kSubsets; ++s) {
    const PairSearch<Format> search(sums.aa[s], sums.ab[s], sums.bb[s]);
    VF least = Number(std::numeric_limits<float>::max());
    for (int p = kChoices - 1; p >= (Format::kOnlyOnes ? kChoices - 1 : 0); --p) {
      VF code[2][kChannels], error = hn::Zero(DF());
      for (int c = 0; c < kChannels; ++c) {
        const int p0 = kChoices == 4 ? p / 2 : p, p1 = kChoices == 4 ? p % 2 : p;
        error = hn::Add(error, search.Find(ends.at[s][0][c], ends.at[s][1][c], p0, p1, &code[0][c],
                                           &code[1][c]));
      }
      MF is_less = hn::Lt(error, least);
      if (kChannels == 4 && p != kChoices - 1) is_less = hn::AndNot(opaque, is_less);
      least = hn::IfThenElse(is_less, error, least);
      for (int e = 0; e < 2; ++e) {
        for (int c = 0; c < kChannels; ++c) {
          VF* const kept = stored.code.at[s][e] + c;
          *kept = p == kChoices - 1 ? code[e][c] : hn::IfThenElse(is_less, code[e][c], *kept);
        }
      }
    }
    for (int e = 0; e < 2; ++e) {
      for (int c = 0; c < kChannels; ++c) {
        stored.value.at[s][e][c] = WidenCode<Format::kTotal>(stored.code.at[s][e][c]);
      }
    }
  }
  return stored;
}

// Encodes the pixels with these stored end points: finds the index of the nearest point on the line
// for each pixel, and the error.
template <class Format, class Members>
HWY_INLINE Line Assign(const Inputs<Format>& in, const Members& members,
                       const Stored<Format>& stored, FitSums<Format>* sums) {
  constexpr int kChannels = Format::kChannels, kSubsets = Format::kSubsets;
  VF start[kChannels][kSubsets], slope[kChannels][kSubsets], origin[kSubsets], inverse[kSubsets];
  for (int s = 0; s < kSubsets; ++s) {
    VF square = hn::Zero(DF()), from = square;
    for (int c = 0; c < kChannels; ++c) {
      const VF difference = hn::Sub(stored.value.at[s][1][c], stored.value.at[s][0][c]);
      slope[c][s] = hn::Mul(difference, Number(1.0f / 64));
      square = Exact(difference, slope[c][s], square);
      from = Exact(stored.value.at[s][0][c], slope[c][s], from);
      // Adding 1/128 rounds halves up, as the decoder does by adding 32.
      start[c][s] = hn::Add(stored.value.at[s][0][c], Number(1.0f / 128));
    }
    inverse[s] = hn::Div(Number(Format::kLast), hn::Max(square, Number(1.0f / 64)));
    // On a line of length 0 all pixels get a middle index, so that both ends count equally.
    constexpr int kMiddleIndex = (Format::kLast + 1) / 2;
    constexpr float kMiddle = kMiddleIndex / (64.0f * Format::kLast);
    origin[s] = hn::IfThenElse(hn::Eq(square, hn::Zero(DF())), Number(kMiddle), hn::Neg(from));
  }
  Line line;
  line.error = hn::Zero(DF());
  line.indexes[0] = line.indexes[1] = hn::Zero(D32());
  for (int i = 15; i >= 0; --i) {
    VF v[kChannels], d[kChannels];
    VF dot = members.Pick(i, origin);
    for (int c = 0; c < kChannels; ++c) {
      v[c] = in[c]->At(i);
      d[c] = members.Pick(i, slope[c]);
      dot = Exact(v[c], d[c], dot);
    }
    const VF place = Whole(hn::Mul(dot, members.Pick(i, inverse)));
    const VF index = hn::Min(hn::Max(place, hn::Zero(DF())), Number(Format::kLast));
    const VF w = Whole(hn::Mul(index, Number(64.0f / Format::kLast)));
    for (int c = 0; c < kChannels; ++c) {
      const VF mixed = Whole(Exact(d[c], w, members.Pick(i, start[c])));
      const VF difference = hn::Sub(v[c], mixed);
      line.error = Exact(difference, difference, line.error);
    }
    const V32 nibble = hn::BitCast(D32(), hn::ConvertTo(DI32(), index));
    line.indexes[i / 8] = hn::Or(hn::ShiftLeft<4>(line.indexes[i / 8]), nibble);
    if (sums != nullptr) sums->Add(members, i, w, v);
  }
  for (int s = 0; s < kSubsets; ++s) {
    for (int e = 0; e < 2; ++e) {
      V32 packed = hn::Zero(D32());
      for (int c = kChannels - 1; c >= 0; --c) {
        const V32 code = hn::BitCast(D32(), hn::ConvertTo(DI32(), stored.code.at[s][e][c]));
        packed = hn::Or(hn::ShiftLeft<8>(packed), code);
      }
      line.ends[2 * s + e] = packed;
    }
  }
  return line;
}

// Tries end points that differ by one step in one code, as long as that reduces the error, in at
// most `sweeps` passes over all codes. With p-bits a step is 2, and then the p-bits themselves are
// flipped unless they are fixed.
template <class Format, class Members>
HWY_INLINE void Polish(const Inputs<Format>& in, const Members& members, MF opaque, int sweeps,
                       Stored<Format>* stored, Line* best) {
  constexpr bool kHasP = Format::kPBits != kNoPBits, kMayFlip = kHasP && !Format::kOnlyOnes;
  constexpr int kPlaces = 2 * Format::kSubsets * Format::kChannels, kTries = 2 * kPlaces;
  constexpr int kFlips =
      !kMayFlip ? 0 : Format::kSubsets * (Format::kPBits == kSharedPBits ? 1 : 2);
  for (int sweep = 0; sweep < sweeps; ++sweep) {
    const VF before = best->error;
    for (int i = 0; i < kTries + kFlips; ++i) {
      Stored<Format> changed = *stored;
      MF may_be = hn::Eq(before, before);
      if (i < kTries) {
        MoveCode<Format>(i / 2, (i % 2 == 0 ? 1 : -1) * (kHasP ? 2 : 1), &changed);
      } else {
        FlipPBit<Format>(i - kTries, &changed);
        if (Format::kChannels == 4) may_be = hn::AndNot(opaque, may_be);
      }
      Line line = Assign<Format>(in, members, changed, nullptr);
      line.error = hn::IfThenElse(may_be, line.error, best->error);
      const MF is_better = hn::Lt(line.error, best->error);
      best->KeepBetter(line, 2 * Format::kSubsets);
      stored->Replace(is_better, changed);
    }
    if (hn::AllFalse(DF(), hn::Lt(best->error, before))) return;
  }
}

// Moves each end of each subset outwards by `distance`.
template <class Format>
HWY_INLINE void Lengthen(float distance, Ends<Format>* ends) {
  for (int s = 0; s < Format::kSubsets; ++s) {
    VF square = hn::Zero(DF());
    for (int c = 0; c < Format::kChannels; ++c) {
      square = hn::Add(square, Square(hn::Sub(ends->at[s][1][c], ends->at[s][0][c])));
    }
    const VF scale = hn::Div(Number(distance), hn::Sqrt(hn::Max(square, Number(1e-3f))));
    for (int c = 0; c < Format::kChannels; ++c) {
      const VF a = ends->at[s][0][c], b = ends->at[s][1][c];
      const VF move = hn::Mul(hn::Sub(b, a), scale);
      ends->at[s][0][c] = hn::Max(hn::Sub(a, move), hn::Zero(DF()));
      ends->at[s][1][c] = hn::Min(hn::Add(b, move), Number(255));
    }
  }
}

// Finds the best line from the principal axis by refinement, and then again from longer lines,
// whose end points allow other values between them.
template <class Format>
Line FitLine(const Inputs<Format>& in, V32 membership, MF opaque, const Rounds& rounds) {
  const Membership<Format::kSubsets> members(membership);
  Ends<Format> start = PrincipalEnds<Format>(in, members);
  Line best;
  Stored<Format> best_stored;
  for (int i = 0; i < rounds.starts; ++i) {
    if (i != 0) Lengthen<Format>(255.0f / ((1 << Format::kBits) - 1), &start);
    Stored<Format> stored = Store<Format>(start, opaque);
    for (int round = 0; round <= rounds.fits; ++round) {
      FitSums<Format> sums;
      const bool is_last = round == rounds.fits;
      const Line line = Assign<Format>(in, members, stored, is_last ? nullptr : &sums);
      if (i == 0 && round == 0) {
        best = line;
        best_stored = stored;
      } else {
        best_stored.Replace(hn::Lt(line.error, best.error), stored);
        best.KeepBetter(line, 2 * Format::kSubsets);
      }
      if (is_last) break;
      const Ends<Format> ends = sums.Solve(members);
      stored = StoreTogether<Format>(sums, ends, opaque);
    }
  }
  if (rounds.sweeps != 0) {
    Polish<Format>(in, members, opaque, rounds.sweeps, &best_stored, &best);
  }
  return best;
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
