// SPDX-License-Identifier: MIT
// Encoding of BC7 blocks (Khronos Data Format Specification, 20). Each 32-bit lane of the registers
// holds one block, and all lanes go through the same steps (bc7_fit-inl.h).
//
// With mode 0 to 7 only that mode is fitted. The quick search (-1) and the thorough search (-2) try
// several modes and keep the encoding whose decoded pixels have the least squared error. For modes
// with partitions (64, or 16) only the best few are fitted. They are chosen by an estimate: the
// variance that lines through their subsets would leave.
//
// The quick search has three steps. Only blocks whose error is still above a limit go on to the
// next step; they wait until a register is full of them. The tries for a block depend only on its
// own pixels, so that the same pixels always give the same block.
#include <algorithm>
#include <limits>

#include "frame/checks.h"
#include "simd/dispatch.h"
#include "texture/blocks.h"
#include "texture/bptc/bc7_flat.h"
#include "texture/bptc/bc7_modes.h"
#include "texture/bptc/bc7_packing.h"
#include "texture/bptc/bptc_tables.h"

#define HWY_TARGET_INCLUDE "texture/bptc/bc7_encoder.cc"
#include "hwy/foreach_target.h"
#include "texture/bptc/bc7_fit-inl.h"

#ifndef ZEPJP_BC7_ENCODING_KERNELS
#  define ZEPJP_BC7_ENCODING_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  void (*encode)(const uint8_t* src, ptrdiff_t src_step, uint8_t* dst, size_t count, int mode);
};

constexpr int kQuick = -1, kThorough = -2;

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

HWY_INLINE MF Everywhere() { return hn::Eq(Number(0), Number(0)); }
HWY_INLINE MF Nowhere() { return hn::Lt(Number(0), Number(0)); }

// The formats of the lines of the modes with one set of indexes.
template <int kMode>
struct ModeLine;
template <>
struct ModeLine<0> : LineFormat<3, 3, 4, kEachPBits, 3> {};
template <>
struct ModeLine<1> : LineFormat<2, 3, 6, kSharedPBits, 3> {};
template <>
struct ModeLine<2> : LineFormat<3, 3, 5, kNoPBits, 2> {};
template <>
struct ModeLine<3> : LineFormat<2, 3, 7, kEachPBits, 2> {};
template <>
struct ModeLine<6> : LineFormat<1, 4, 7, kEachPBits, 4> {};
template <>
struct ModeLine<7> : LineFormat<2, 4, 5, kEachPBits, 2> {};

// The effort for a mode: the number of partitions, and the rounds for each.
struct Effort {
  int partitions;
  Rounds rounds;
};

// The blocks of all lanes: their pixels, and the best encoding so far.
struct Work {
  Channel channel[4];
  HWY_ALIGN float alpha_error[kLanes],
      is_opaque[kLanes];  // the error of modes without alpha; 1 or 0
  HWY_ALIGN uint32_t first[kLanes],
      is_flat[kLanes];  // the first pixel; all 1 bits if all pixels equal it
  HWY_ALIGN float error[kLanes];
  HWY_ALIGN uint32_t choice[kLanes];  // mode, partition, rotation, selection: a byte each
  HWY_ALIGN uint32_t ends[6][kLanes], own_ends[2][kLanes];
  HWY_ALIGN uint32_t indexes[2][kLanes], own_indexes[2][kLanes];

  HWY_INLINE VF AlphaError() const { return hn::Load(DF(), alpha_error); }
  HWY_INLINE MF IsOpaque() const { return hn::Gt(hn::Load(DF(), is_opaque), hn::Zero(DF())); }
};

template <size_t kCount>
HWY_INLINE void Replace(MF mask, const V32 (&from)[kCount], uint32_t (*to)[kLanes], int count) {
  const auto words = hn::RebindMask(D32(), mask);
  for (int i = 0; i < count; ++i) {
    hn::Store(hn::IfThenElse(words, from[i], hn::Load(D32(), to[i])), D32(), to[i]);
  }
}

// Keeps an encoding in the lanes in which it is allowed (`may_be`) and better than all before.
// Returns these lanes.
HWY_INLINE MF Keep(const Line& line, VF error, V32 choice, int ends, MF may_be, Work* work) {
  const VF before = hn::Load(DF(), work->error);
  const MF is_better = hn::And(hn::Lt(error, before), may_be);
  hn::Store(hn::IfThenElse(is_better, error, before), DF(), work->error);
  const V32 choices[1] = {choice};
  Replace(is_better, choices, &work->choice, 1);
  Replace(is_better, line.ends, work->ends, ends);
  Replace(is_better, line.indexes, work->indexes, 2);
  return is_better;
}

HWY_INLINE V32 Choice(int mode, V32 partitions, V32 rotations, int selection) {
  const V32 fixed = hn::Set(D32(), static_cast<uint32_t>(mode | selection << 24));
  return hn::Or(fixed, hn::Or(hn::ShiftLeft<8>(partitions), hn::ShiftLeft<16>(rotations)));
}

// The subsets of all pixels in these partitions, as words for Membership.
template <int kSubsets>
HWY_INLINE V32 Memberships(V32 partitions) {
  HWY_ALIGN uint32_t words[kLanes];
  hn::Store(partitions, D32(), words);
  for (uint32_t& word : words) word = kSubsets == 2 ? kTwoSubsets[word] : kThreeSubsets[word];
  return hn::Load(D32(), words);
}

// Tries a mode with one set of indexes.
template <int kMode, class Format = ModeLine<kMode>>
HWY_NOINLINE void TryMode(V32 partitions, const Rounds& rounds, MF may_be, Work* work) {
  V32 membership = partitions;
  if constexpr (Format::kSubsets != 1) membership = Memberships<Format::kSubsets>(partitions);
  const Channel* in[Format::kChannels];
  for (int c = 0; c < Format::kChannels; ++c) in[c] = &work->channel[c];
  Line line = FitLine<Format>(in, membership, work->IsOpaque(), rounds);
  if (Format::kOnlyOnes) {
    for (int i = 0; i < 2 * Format::kSubsets; ++i)
      line.ends[i] = hn::Or(line.ends[i], hn::Set(D32(), 0xFF000000));
  }
  if (Format::kChannels == 4) {
    const auto is_opaque = hn::RebindMask(D32(), work->IsOpaque());
    constexpr uint32_t kMax = ((1U << Format::kTotal) - 1) << 24;
    for (int i = 0; i < 2 * Format::kSubsets; ++i)
      line.ends[i] = hn::Or(line.ends[i], hn::IfThenElseZero(is_opaque, hn::Set(D32(), kMax)));
  }
  const VF error = Format::kChannels == 3 ? hn::Add(line.error, work->AlphaError()) : line.error;
  const V32 choice = Choice(kMode, partitions, hn::Zero(D32()), 0);
  Keep(line, error, choice, 2 * Format::kSubsets, may_be, work);
}

// Tries mode 6. Opaque blocks are fitted with both p-bits 1.
HWY_INLINE void TryMode6(const Rounds& rounds, MF may_be, Work* work) {
  const V32 none = hn::Zero(D32());
  const MF opaque = hn::And(may_be, work->IsOpaque()), other = hn::AndNot(opaque, may_be);
  if (!hn::AllFalse(DF(), opaque)) {
    TryMode<6, OpaqueLine<ModeLine<6>>>(none, rounds, opaque, work);
  }
  if (!hn::AllFalse(DF(), other)) TryMode<6>(none, rounds, other, work);
}

// The channels of blocks after a rotation r > 0, which exchanges alpha with channel r - 1.
struct Rotated {
  Channel channel[4];

  HWY_INLINE Rotated(const Work& work, V32 rotations) {
    for (int c = 0; c < 3; ++c) {
      const V32 own = hn::Set(D32(), static_cast<uint32_t>(c + 1));
      const MF changes = hn::RebindMask(DF(), hn::Eq(rotations, own));
      const Channel& alpha = c == 0 ? work.channel[3] : channel[3];
      for (int i = 0; i < 16; ++i) {
        const VF v = work.channel[c].At(i);
        channel[c].Set(i, hn::IfThenElse(changes, work.channel[3].At(i), v));
        channel[3].Set(i, hn::IfThenElse(changes, v, alpha.At(i)));
      }
    }
  }
};

// Tries mode 4 or 5: alpha, or the channel that was exchanged with it, has its own indexes. An
// alpha of 255 gets the highest code, wherever it is.
template <int kMode, int kSelection>
HWY_NOINLINE void TrySplitMode(V32 rotations, const Rounds& rounds, MF may_be, Work* work) {
  constexpr Bc7Mode m = kBc7Modes[kMode];
  constexpr int kWidth = kSelection == 0 ? m.index_bits : m.second_bits;
  constexpr int kOwnWidth = kSelection == 0 ? m.second_bits : m.index_bits;
  using Colors = LineFormat<1, 3, m.color_bits, kNoPBits, kWidth>;
  using Own = LineFormat<1, 1, m.alpha_bits, kNoPBits, kOwnWidth>;
  const Rotated rotated(*work, rotations);
  const Channel* in[3] = {&rotated.channel[0], &rotated.channel[1], &rotated.channel[2]};
  const Channel* own_in[1] = {&rotated.channel[3]};
  const MF none = Nowhere();
  const D32 d;
  const V32 zero = hn::Zero(d);
  Line colors = FitLine<Colors>(in, zero, none, rounds);
  Line alone = FitLine<Own>(own_in, zero, none, rounds);
  for (int c = -1; c < 3; ++c) {
    const uint32_t most = (1U << (c < 0 ? m.alpha_bits : m.color_bits)) - 1;
    const auto is_here = hn::Eq(rotations, hn::Set(d, static_cast<uint32_t>(c + 1)));
    const auto is_opaque = hn::RebindMask(d, work->IsOpaque());
    const V32 ones = hn::IfThenElseZero(hn::And(is_here, is_opaque),
                                        hn::Set(d, c < 0 ? most : most << (8 * std::max(c, 0))));
    Line& line = c < 0 ? alone : colors;
    for (int e = 0; e < 2; ++e) line.ends[e] = hn::Or(line.ends[e], ones);
  }
  const MF is_better = Keep(colors, hn::Add(colors.error, alone.error),
                            Choice(kMode, zero, rotations, kSelection), 2, may_be, work);
  Replace(is_better, alone.ends, work->own_ends, 2);
  Replace(is_better, alone.indexes, work->own_indexes, 2);
}

// An estimate for each partition of the error that lines through its subsets leave.
struct PartitionCosts {
  HWY_ALIGN float of[64][kLanes];

  // The best partition that has not been returned yet.
  HWY_NOINLINE V32 Next(int count) {
    VF least = hn::Load(DF(), of[0]);
    V32 best = hn::Zero(D32());
    for (int p = 1; p < count; ++p) {
      const VF cost = hn::Load(DF(), of[p]);
      const MF is_less = hn::Lt(cost, least);
      least = hn::IfThenElse(is_less, cost, least);
      const V32 own = hn::Set(D32(), static_cast<uint32_t>(p));
      best = hn::IfThenElse(hn::RebindMask(D32(), is_less), own, best);
    }
    HWY_ALIGN uint32_t places[kLanes];
    hn::Store(best, D32(), places);
    for (size_t lane = 0; lane < kLanes; ++lane) {
      of[places[lane]][lane] = std::numeric_limits<float>::max();
    }
    return best;
  }
};

// The values of each pixel, and their products by pairs of channels.
template <int kChannels>
struct PixelMoments {
  static constexpr int kCount = kChannels + kChannels * (kChannels + 1) / 2;
  Channel of[kCount];

  HWY_INLINE explicit PixelMoments(const Work& work) {
    for (int i = 0; i < 16; ++i) {
      int at = kChannels;
      for (int c = 0; c < kChannels; ++c) {
        const VF v = work.channel[c].At(i);
        of[c].Set(i, v);
        for (int d = 0; d <= c; ++d) of[at++].Set(i, hn::Mul(v, work.channel[d].At(i)));
      }
    }
  }

  // Sums over the pixels whose bits are set.
  HWY_INLINE void Sum(uint32_t pixels, VF* sums) const {
    for (int j = 0; j < kCount; ++j) sums[j] = hn::Zero(DF());
    for (; pixels != 0; pixels &= pixels - 1) {
      const int i = __builtin_ctz(pixels);
      for (int j = 0; j < kCount; ++j) sums[j] = hn::Add(sums[j], of[j].At(i));
    }
  }

  // An estimate of the variance that remains around a line through `count` pixels. The norm of the
  // covariance matrix stands for its greatest eigenvalue; they are equal if all others are 0.
  // `share` is the part of that eigenvalue which the indexes reproduce.
  static HWY_INLINE VF Rest(const VF* sums, int count, float share) {
    const VF scale = Number(1.0f / static_cast<float>(count));
    VF trace = hn::Zero(DF()), square = trace;
    int at = kChannels;
    for (int c = 0; c < kChannels; ++c) {
      const VF mean = hn::Mul(sums[c], scale);
      for (int d = 0; d <= c; ++d) {
        const VF covariance = hn::Sub(sums[at++], hn::Mul(mean, sums[d]));
        const VF part = Square(covariance);
        square = hn::Add(square, c == d ? part : hn::Add(part, part));
        if (c == d) trace = hn::Add(trace, covariance);
      }
    }
    return hn::Sub(trace, hn::Mul(Number(share), hn::Sqrt(square)));
  }
};

constexpr float CoveredShare(int index_bits) {
  const auto last = static_cast<float>((1 << index_bits) - 1);
  return 1.0f - 1.0f / (last * last);
}

template <int kChannels>
HWY_NOINLINE void CostsOfTwo(const Work& work, int index_bits, PartitionCosts* costs) {
  const PixelMoments<kChannels> moments(work);
  constexpr int kCount = PixelMoments<kChannels>::kCount;
  const float share = CoveredShare(index_bits);
  VF total[kCount];
  moments.Sum(0xFFFF, total);
  for (int p = 0; p < 64; ++p) {
    // Only the smaller subset is summed; the other one is the rest.
    const int second = __builtin_popcount(kTwoSubsets[p]);
    const uint32_t pixels = second <= 8 ? kTwoSubsets[p] : 0xFFFFU ^ kTwoSubsets[p];
    const int count = second <= 8 ? second : 16 - second;
    VF sums[kCount], others[kCount];
    moments.Sum(pixels, sums);
    for (int j = 0; j < kCount; ++j) others[j] = hn::Sub(total[j], sums[j]);
    const VF cost =
        hn::Add(moments.Rest(sums, count, share), moments.Rest(others, 16 - count, share));
    hn::Store(cost, DF(), costs->of[p]);
  }
}

HWY_NOINLINE void CostsOfThree(const Work& work, int index_bits, int partitions,
                               PartitionCosts* costs) {
  const PixelMoments<3> moments(work);
  constexpr int kCount = PixelMoments<3>::kCount;
  const float share = CoveredShare(index_bits);
  VF total[kCount];
  moments.Sum(0xFFFF, total);
  for (int p = 0; p < partitions; ++p) {
    uint32_t pixels[3] = {};
    for (int i = 0; i < 16; ++i) pixels[kThreeSubsets[p] >> (2 * i) & 3] |= 1U << i;
    VF first[kCount], second[kCount];
    moments.Sum(pixels[1], first);
    moments.Sum(pixels[2], second);
    VF cost = hn::Add(moments.Rest(first, __builtin_popcount(pixels[1]), share),
                      moments.Rest(second, __builtin_popcount(pixels[2]), share));
    for (int j = 0; j < kCount; ++j) {
      first[j] = hn::Sub(hn::Sub(total[j], first[j]), second[j]);
    }
    cost = hn::Add(cost, moments.Rest(first, __builtin_popcount(pixels[0]), share));
    hn::Store(cost, DF(), costs->of[p]);
  }
}

// The estimates for modes 4 and 5, which divide the channels, by rotation: the error that a line
// with `index_bits` leaves in three channels, and one with `own_bits` in the fourth.
HWY_NOINLINE void CostsOfRotations(const Work& work, int index_bits, int own_bits,
                                   PartitionCosts* costs) {
  VF total[PixelMoments<4>::kCount];
  const PixelMoments<4> moments(work);
  moments.Sum(0xFFFF, total);
  VF covariance[4][4];
  for (int c = 0, at = 4; c < 4; ++c) {
    const VF mean = hn::Mul(total[c], Number(1.0f / 16));
    for (int d = 0; d <= c; ++d) {
      covariance[c][d] = covariance[d][c] = hn::Sub(total[at++], hn::Mul(mean, total[d]));
    }
  }
  for (int rotation = 0; rotation < 4; ++rotation) {
    const int own = rotation == 0 ? 3 : rotation - 1;
    VF trace = hn::Zero(DF()), square = trace;
    for (int c = 0; c < 4; ++c) {
      if (c == own) continue;
      trace = hn::Add(trace, covariance[c][c]);
      for (int d = 0; d < 4; ++d) {
        if (d != own) square = hn::Add(square, Square(covariance[c][d]));
      }
    }
    const VF colors = hn::Sub(trace, hn::Mul(Number(CoveredShare(index_bits)), hn::Sqrt(square)));
    const VF alone = hn::Mul(Number(1.0f - CoveredShare(own_bits)), covariance[own][own]);
    hn::Store(hn::Add(colors, alone), DF(), costs->of[rotation]);
  }
}

// Tries the `count` rotations with the best estimates.
template <int kMode, int kSelection>
HWY_INLINE void TryRotations(int count, const Rounds& rounds, MF may_be, Work* work) {
  constexpr Bc7Mode m = kBc7Modes[kMode];
  PartitionCosts costs;
  CostsOfRotations(*work, kSelection == 0 ? m.index_bits : m.second_bits,
                   kSelection == 0 ? m.second_bits : m.index_bits, &costs);
  for (int i = 0; i < count; ++i) {
    TrySplitMode<kMode, kSelection>(costs.Next(4), rounds, may_be, work);
  }
}

template <int kMode>
HWY_INLINE void TryPartitions(int count, const Effort& effort, MF may_be, PartitionCosts* costs,
                              Work* work) {
  for (int i = 0; i < effort.partitions; ++i) {
    TryMode<kMode>(costs->Next(count), effort.rounds, may_be, work);
  }
}

HWY_NOINLINE void TryAny(int mode, const Effort& effort, MF may_be, Work* work) {
  PartitionCosts costs;
  switch (mode) {
    case 0:
      CostsOfThree(*work, 3, 16, &costs);
      TryPartitions<0>(16, effort, may_be, &costs, work);
      break;
    case 1:
      CostsOfTwo<3>(*work, 3, &costs);
      TryPartitions<1>(64, effort, may_be, &costs, work);
      break;
    case 2:
      CostsOfThree(*work, 2, 64, &costs);
      TryPartitions<2>(64, effort, may_be, &costs, work);
      break;
    case 3:
      CostsOfTwo<3>(*work, 2, &costs);
      TryPartitions<3>(64, effort, may_be, &costs, work);
      break;
    case 4:
      for (uint32_t rotation = 0; rotation < 4; ++rotation) {
        TrySplitMode<4, 0>(hn::Set(D32(), rotation), effort.rounds, may_be, work);
        TrySplitMode<4, 1>(hn::Set(D32(), rotation), effort.rounds, may_be, work);
      }
      break;
    case 5:
      for (uint32_t rotation = 0; rotation < 4; ++rotation) {
        TrySplitMode<5, 0>(hn::Set(D32(), rotation), effort.rounds, may_be, work);
      }
      break;
    case 6: TryMode6(effort.rounds, may_be, work); break;
    default: CostsOfTwo<4>(*work, 2, &costs); TryPartitions<7>(64, effort, may_be, &costs, work);
  }
}

// The first step of the quick search, which is enough for most blocks.
HWY_INLINE void TryFirst(Work* work) { TryMode6({2, 1, 0}, Everywhere(), work); }

// The second step, the modes that gain most: two subsets of colours in opaque blocks, and a
// separate channel.
HWY_INLINE void TrySecond(Work* work) {
  const MF opaque = work->IsOpaque(), any = Everywhere();
  const MF other = hn::AndNot(opaque, any);
  constexpr Rounds kOnce = {1, 1, 0}, kThrice = {3, 1, 0};
  if (!hn::AllFalse(DF(), opaque)) {
    PartitionCosts costs;
    CostsOfTwo<3>(*work, 3, &costs);
    const V32 best = costs.Next(64);
    TryMode<1>(best, kOnce, opaque, work);
    TryMode<3>(best, kOnce, opaque, work);
  }
  if (!hn::AllFalse(DF(), opaque)) TryRotations<5, 0>(1, kOnce, opaque, work);
  if (!hn::AllFalse(DF(), other)) {
    TryRotations<5, 0>(2, kThrice, other, work);
    TryRotations<4, 0>(1, kOnce, other, work);
    TryRotations<4, 1>(1, kOnce, other, work);
    TryAny(7, {1, kOnce}, other, work);
  }
}

// The third step: three subsets, and more partitions and rotations than in the second.
HWY_INLINE void TryThird(Work* work) {
  const MF opaque = work->IsOpaque(), any = Everywhere();
  const MF other = hn::AndNot(opaque, any);
  constexpr Rounds kOnce = {1, 1, 0}, kTwice = {2, 1, 0}, kThrice = {3, 1, 0};
  if (!hn::AllFalse(DF(), opaque)) {
    TryRotations<4, 0>(2, kOnce, opaque, work);
    TryRotations<4, 1>(2, kOnce, opaque, work);
    TryRotations<5, 0>(2, kTwice, opaque, work);
    TryAny(2, {3, kOnce}, opaque, work);
    TryAny(0, {2, kOnce}, opaque, work);
    TryAny(1, {2, kOnce}, opaque, work);
  }
  if (!hn::AllFalse(DF(), other)) {
    TryRotations<4, 0>(2, kThrice, other, work);
    TryRotations<4, 1>(2, kThrice, other, work);
    TryAny(7, {4, kThrice}, other, work);
  }
}

// Improves the best encodings of one mode by small changes to the codes of their end points.
template <int kMode>
HWY_INLINE void TryAgain(const Rounds& rounds, Work* work) {
  const V32 choice = hn::Load(D32(), work->choice), byte = hn::Set(D32(), 255);
  const V32 number = hn::Set(D32(), static_cast<uint32_t>(kMode));
  const MF own = hn::RebindMask(DF(), hn::Eq(hn::And(choice, byte), number));
  if (hn::AllFalse(DF(), own)) return;
  const V32 partitions = hn::And(hn::ShiftRight<8>(choice), byte);
  if constexpr (kMode == 6) {
    TryMode6(rounds, own, work);
  } else {
    TryMode<kMode>(partitions, rounds, own, work);
  }
}

HWY_INLINE void TryThorough(Work* work) {
  TryFirst(work);
  TrySecond(work);
  TryThird(work);
  for (int mode = 0; mode < 7; ++mode) TryAny(mode, {8, {3, 1, 0}}, Everywhere(), work);
  const MF other = hn::AndNot(work->IsOpaque(), Everywhere());
  if (!hn::AllFalse(DF(), other)) TryAny(7, {8, {3, 1, 0}}, other, work);
  constexpr Rounds kPolished = {3, 2, 4};
  TryAgain<0>(kPolished, work);
  TryAgain<1>(kPolished, work);
  TryAgain<2>(kPolished, work);
  TryAgain<3>(kPolished, work);
  TryAgain<6>(kPolished, work);
  TryAgain<7>(kPolished, work);
}

// Loads consecutive blocks. Lane 4i + k gets block i + kLanes / 4 * k.
HWY_INLINE void LoadWork(const uint8_t* src, ptrdiff_t step, Work* work) {
  const D32 d;
  const V32 byte = hn::Set(d, 255);
  VF alpha_error = hn::Zero(DF());
  V32 first = hn::Zero(d), difference = first;
  for (int y = 0; y < 4; ++y) {
    Four row;
    for (size_t i = 0; i < 4; ++i) {
      row.part[i] = hn::LoadU(D8(), src + y * step + 4 * kLanes * i);
    }
    const Four columns = TransposeDwords(row);
    for (int x = 0; x < 4; ++x) {
      const V32 pixels = hn::BitCast(d, columns.part[x]);
      if (y == 0 && x == 0) first = pixels;
      difference = hn::Or(difference, hn::Xor(pixels, first));
      const V32 channels[4] = {hn::And(pixels, byte), hn::And(hn::ShiftRight<8>(pixels), byte),
                               hn::And(hn::ShiftRight<16>(pixels), byte),
                               hn::ShiftRight<24>(pixels)};
      for (int c = 0; c < 4; ++c) {
        const VF v = hn::ConvertTo(DF(), hn::BitCast(DI32(), channels[c]));
        work->channel[c].Set(4 * y + x, v);
        if (c == 3) alpha_error = hn::Add(alpha_error, Square(hn::Sub(Number(255), v)));
      }
    }
  }
  const MF opaque = hn::Eq(alpha_error, hn::Zero(DF()));
  hn::Store(first, d, work->first);
  hn::Store(hn::VecFromMask(d, hn::Eq(difference, hn::Zero(d))), d, work->is_flat);
  hn::Store(alpha_error, DF(), work->alpha_error);
  hn::Store(hn::IfThenElseZero(opaque, Number(1)), DF(), work->is_opaque);
  hn::Store(Number(std::numeric_limits<float>::max()), DF(), work->error);
}

// The number of the block in a lane.
HWY_INLINE size_t BlockOf(size_t lane) { return lane / 4 + kLanes / 4 * (lane % 4); }

HWY_INLINE void PackLane(const Work& work, size_t lane, uint8_t* block) {
  const uint32_t choice = work.choice[lane];
  Bc7Choice chosen = {static_cast<int>(choice & 255),
                      static_cast<int>(choice >> 8 & 255),
                      static_cast<int>(choice >> 16 & 255),
                      static_cast<int>(choice >> 24),
                      {},
                      {work.own_ends[0][lane], work.own_ends[1][lane]},
                      work.indexes[0][lane] | uint64_t{work.indexes[1][lane]} << 32,
                      work.own_indexes[0][lane] | uint64_t{work.own_indexes[1][lane]} << 32};
  for (int i = 0; i < 6; ++i) chosen.ends[i] = work.ends[i][lane];
  PackBc7(chosen, block);
}

HWY_INLINE void PackWork(const Work& work, int mode, uint8_t* dst) {
  for (size_t lane = 0; lane < kLanes; ++lane) {
    uint8_t* const block = dst + 16 * BlockOf(lane);
    const auto error = static_cast<uint32_t>(work.error[lane]);
    if (work.is_flat[lane] != 0 && PackFlatBc7(work.first[lane], mode, error, block)) continue;
    PackLane(work, lane, block);
  }
}

// Blocks that wait for the next step, until a register is full of them: their pixels, their errors
// so far, and the addresses of their encodings.
struct Waiting {
  HWY_ALIGN uint8_t pixels[4][16 * kLanes] = {};
  float error[kLanes] = {};
  uint8_t* block[kLanes] = {};
  size_t count = 0;

  HWY_INLINE bool Add(const uint8_t* src, ptrdiff_t step, float cost, uint8_t* dst) {
    for (int y = 0; y < 4; ++y) CopyBytes(src + y * step, pixels[y] + 16 * count, 16);
    error[count] = cost;
    block[count] = dst;
    return ++count == kLanes;
  }
};

// The quick search over a row of blocks.
class QuickSearch {
 public:
  void Encode(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    Work work;
    LoadWork(src, step, &work);
    TryFirst(&work);
    PackWork(work, kQuick, dst);
    for (size_t lane = 0; lane < kLanes; ++lane) {
      if (work.error[lane] <= kGood || work.is_flat[lane] != 0) continue;
      const size_t i = BlockOf(lane);
      if (second_.Add(src + 16 * i, step, work.error[lane], dst + 16 * i)) GoOn<2>(&second_);
    }
  }

  void Finish() {
    if (second_.count != 0) GoOn<2>(&second_);
    if (third_.count != 0) GoOn<3>(&third_);
  }

 private:
  // A block with at most this squared error skips the second, or the third, step.
  static constexpr float kGood = 4, kFair = 56;

  template <int kStep>
  HWY_NOINLINE void GoOn(Waiting* waiting) {
    Work work;
    LoadWork(waiting->pixels[0], 16 * kLanes, &work);
    for (size_t lane = 0; lane < kLanes; ++lane) work.error[lane] = waiting->error[BlockOf(lane)];
    kStep == 2 ? TrySecond(&work) : TryThird(&work);
    for (size_t lane = 0; lane < kLanes; ++lane) {
      const size_t i = BlockOf(lane);
      if (i >= waiting->count) continue;
      if (work.error[lane] < waiting->error[i]) PackLane(work, lane, waiting->block[i]);
      if (kStep == 3 || work.error[lane] <= kFair) continue;
      const uint8_t* const src = waiting->pixels[0] + 16 * i;
      if (third_.Add(src, 16 * kLanes, work.error[lane], waiting->block[i])) GoOn<3>(&third_);
    }
    waiting->count = 0;
  }

  Waiting second_, third_;
};

void EncodeStep(const uint8_t* src, ptrdiff_t step, int mode, QuickSearch* quick, uint8_t* dst) {
  if (mode == kQuick) return quick->Encode(src, step, dst);
  Work work;
  LoadWork(src, step, &work);
  if (mode == kThorough) {
    TryThorough(&work);
  } else {
    TryAny(mode, {4, {3, 1, 0}}, Everywhere(), &work);
  }
  PackWork(work, mode, dst);
}

// Encodes `count` blocks. The last step overlaps the one before; fewer blocks than a step takes are
// encoded on copies.
void Encode(const uint8_t* src, ptrdiff_t step, uint8_t* dst, size_t count, int mode) {
  QuickSearch quick;
  if (count >= kLanes) {
    for (size_t i = 0; i + kLanes <= count; i += kLanes) {
      EncodeStep(src + 16 * i, step, mode, &quick, dst + 16 * i);
    }
    const size_t last = count - kLanes;
    if (count % kLanes != 0) EncodeStep(src + 16 * last, step, mode, &quick, dst + 16 * last);
    return quick.Finish();
  }
  constexpr size_t kStep = 16 * kLanes;
  HWY_ALIGN uint8_t in[4 * kStep] = {}, out[kStep];
  for (int y = 0; y < 4; ++y)
    CopyBytes(src + y * step, in + static_cast<size_t>(y) * kStep, 16 * count);
  EncodeStep(in, kStep, mode, &quick, out);
  quick.Finish();
  CopyBytes(out, dst, 16 * count);
}

constexpr Kernels kKernels = {.encode = Encode};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(const uint8_t* pSrc, int32_t srcStep,
                                                               zepiSize roiSize, uint8_t* pDst,
                                                               int32_t mode) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pDst)
                     .Refuse(srcStep == 0, zepStatusBadStep)
                     .Size(roiSize)
                     .Refuse(mode < kThorough || mode > 7, zepStatusNotSupportedMode)
                     .Failed()) {
    return bad;
  }
  const auto encode = [mode](const uint8_t* src, ptrdiff_t step, uint8_t* dst, size_t count) {
    kernels.encode(src, step, dst, count, mode);
  };
  EncodeTexture<TextureLayout<4, 16>>(encode, pSrc, srcStep, roiSize, pDst);
  return zepStatusOk;
}
#endif  // HWY_ONCE
