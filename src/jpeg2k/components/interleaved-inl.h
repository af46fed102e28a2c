// SPDX-License-Identifier: MIT
// Vectors of three components from and to interleaved pixels. Included once per instruction set.
#if defined(ZEPJP_SRC_JPEG2K_COMPONENTS_INTERLEAVED_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_COMPONENTS_INTERLEAVED_INL_H_
#    undef ZEPJP_SRC_JPEG2K_COMPONENTS_INTERLEAVED_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_COMPONENTS_INTERLEAVED_INL_H_
#  endif

#  include "jpeg2k/components/layouts-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// From and to 3 * kLanes elements in memory.
template <class D>
HWY_INLINE Three<D> LoadPixels(D d, const uint8_t* from) {
  Three<D> v;
  hn::LoadInterleaved3(d, reinterpret_cast<const hn::TFromD<D>*>(from), v.c0, v.c1, v.c2);
  return v;
}
template <class D>
HWY_INLINE void StorePixels(const Three<D>& v, D d, uint8_t* to) {
  hn::StoreInterleaved3(v.c0, v.c1, v.c2, d, reinterpret_cast<hn::TFromD<D>*>(to));
}

#  if HWY_TARGET <= HWY_AVX2

// 16-bit elements: three pieces of 16 bytes hold the pixels of a 128-bit block of each component.
// At each place, the three pieces hold elements of the three components. So one shuffle brings all
// elements of a component to their places, and the rest are selections with constant masks:
//
//   piece 0   a0 b0 c0 a1 b1 c1 a2 b2     a shuffled: a0 a3 a6 a1 a4 a7 a2 a5
//   piece 1   c2 a3 b3 c3 a4 b4 c4 a5     b shuffled: b5 b0 b3 b6 b1 b4 b7 b2
//   piece 2   b5 c5 a6 b6 c6 a7 b7 c7     c shuffled: c2 c5 c0 c3 c6 c1 c4 c7
using DWords = hn::CappedTag<int16_t, 16>;
using Words = hn::VFromD<DWords>;

// The words of a piece that belong to a component, as bits.
constexpr int WordsOf(int component, int piece) {
  int bits = 0;
  for (int i = 0; i < 8; ++i) bits |= (8 * piece + i) % 3 == component ? 1 << i : 0;
  return bits;
}

// Words from b where kFromB has bits, otherwise from a.
template <int kFromB>
HWY_INLINE Words Select(Words a, Words b) {
  return Words{_mm256_blend_epi16(a.raw, b.raw, kFromB)};
}

// The piece of shuffled components, or the shuffled component of pieces.
template <int kPiece>
HWY_INLINE Words PieceOf(const Three<DWords>& v) {
  return Select<WordsOf(2, kPiece)>(Select<WordsOf(1, kPiece)>(v.c0, v.c1), v.c2);
}
template <int kComponent>
HWY_INLINE Words ComponentOf(const Three<DWords>& pieces) {
  const Words c01 = Select<WordsOf(kComponent, 1)>(pieces.c0, pieces.c1);
  return Select<WordsOf(kComponent, 2)>(c01, pieces.c2);
}

struct Order {
  alignas(16) uint8_t bytes[16];
};
template <int kComponent, bool kToPieces>
constexpr Order MakeOrder() {
  Order order = {};
  for (int i = 0; i < 16; ++i) {
    const int place = ((i / 2 * 3 + kComponent) % 8) * 2 + i % 2;
    order.bytes[kToPieces ? place : i] = static_cast<uint8_t>(kToPieces ? i : place);
  }
  return order;
}
template <int kComponent, bool kToPieces>
HWY_INLINE Words Shuffled(Words v) {
  static constexpr Order kOrder = MakeOrder<kComponent, kToPieces>();
  const hn::Repartition<uint8_t, DWords> d8;
  return hn::TableLookupBytes(v, hn::BitCast(DWords(), hn::LoadDup128(d8, kOrder.bytes)));
}

HWY_INLINE Three<DWords> LoadPixels(DWords d, const uint8_t* from) {
  const hn::Repartition<uint8_t, DWords> d8;
  const Three<DWords> pieces = {hn::BitCast(d, LoadBlocks(d8, from, 48)),
                                hn::BitCast(d, LoadBlocks(d8, from + 16, 48)),
                                hn::BitCast(d, LoadBlocks(d8, from + 32, 48))};
  return {Shuffled<0, false>(ComponentOf<0>(pieces)), Shuffled<1, false>(ComponentOf<1>(pieces)),
          Shuffled<2, false>(ComponentOf<2>(pieces))};
}

HWY_INLINE void StorePixels(const Three<DWords>& v, DWords d, uint8_t* to) {
  const hn::Repartition<uint8_t, DWords> d8;
  const Three<DWords> shuffled = {Shuffled<0, true>(v.c0), Shuffled<1, true>(v.c1),
                                  Shuffled<2, true>(v.c2)};
  const Words p0 = PieceOf<0>(shuffled), p1 = PieceOf<1>(shuffled), p2 = PieceOf<2>(shuffled);
  hn::StoreU(hn::BitCast(d8, hn::ConcatLowerLower(d, p1, p0)), d8, to);
  hn::StoreU(hn::BitCast(d8, hn::ConcatUpperLower(d, p0, p2)), d8, to + 32);
  hn::StoreU(hn::BitCast(d8, hn::ConcatUpperUpper(d, p2, p1)), d8, to + 64);
}

#  endif

template <class D>
struct InterleavedPixels : Span<1, 3 * sizeof(hn::TFromD<D>)> {
  static constexpr size_t kLanes = hn::MaxLanes(D());
  static HWY_INLINE Three<D> Load(const uint8_t* const* src, size_t x) {
    return LoadPixels(D(), src[0] + x * InterleavedPixels::kBytes);
  }
  static HWY_INLINE void Store(const Three<D>& v, uint8_t* const* dst, size_t x) {
    StorePixels(v, D(), dst[0] + x * InterleavedPixels::kBytes);
  }
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
