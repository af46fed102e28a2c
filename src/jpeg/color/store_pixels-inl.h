// SPDX-License-Identifier: MIT
// Stores vectors of channels as pixels of one to four bytes. Included once per instruction set.
//
// The vectors are parted: each 128-bit block has the even pixels in its lower half and the odd
// pixels in its upper half. This order saves shuffles in the conversions. The shuffles here restore
// the order of the pixels at no extra cost.
#if defined(ZEPJP_SRC_JPEG_COLOR_STORE_PIXELS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_COLOR_STORE_PIXELS_INL_H_
#    undef ZEPJP_SRC_JPEG_COLOR_STORE_PIXELS_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_COLOR_STORE_PIXELS_INL_H_
#  endif

#  include "jpeg/color/triples-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

constexpr int PartedLane(int pixel) { return pixel / 16 * 16 + pixel % 2 * 8 + pixel % 16 / 2; }

// Vectors of kBytes channels become kBytes pieces of the result. Piece k holds the bytes 16k to
// 16k + 15 of each block's pixels. With 512-bit vectors it holds the bytes 64k to 64k + 63 of all
// pixels: there, a permutation across blocks costs no more than one within blocks.
#  if HWY_TARGET <= HWY_AVX3

struct WideIndices {
  alignas(64) uint8_t bytes[64];
};

// The order of the lanes for pieces that are made by interleaving within blocks: block j has the
// lanes of block j of each piece.
template <int kBytes, bool kIsParted>
constexpr WideIndices MakeOrder() {
  constexpr int kGroup = 16 / kBytes;
  WideIndices result = {};
  for (int i = 0; i < 64; ++i) {
    const int pixel = 4 * kGroup * (i % 16 / kGroup) + kGroup * (i / 16) + i % kGroup;
    result.bytes[i] = static_cast<uint8_t>(kIsParted ? PartedLane(pixel) : pixel);
  }
  return result;
}
template <int kBytes, bool kIsParted = true>
HWY_INLINE V8 Ordered(V8 v) {
  static constexpr WideIndices kOrder = MakeOrder<kBytes, kIsParted>();
  return V8{_mm512_permutexvar_epi8(_mm512_load_si512(kOrder.bytes), v.raw)};
}

// For byte i of a piece of triples: the vector and the lane from which it comes.
struct TripleIndices {
  alignas(64) uint8_t from_ab[64];  // 64 and above: b
  alignas(64) uint8_t from_c[64];
  uint64_t is_c;
};
constexpr TripleIndices MakeTripleIndices(int piece) {
  TripleIndices result = {};
  for (int i = 0; i < 64; ++i) {
    const int byte = 64 * piece + i;
    const int lane = PartedLane(byte / 3);
    result.from_ab[i] = static_cast<uint8_t>(lane + (byte % 3 == 1 ? 64 : 0));
    result.from_c[i] = static_cast<uint8_t>(lane);
    if (byte % 3 == 2) result.is_c |= uint64_t{1} << i;
  }
  return result;
}
template <int kPiece>
HWY_INLINE V8 TriplePiece(V8 a, V8 b, V8 c) {
  static constexpr TripleIndices kIndices = MakeTripleIndices(kPiece);
  const __m512i ab = _mm512_permutex2var_epi8(a.raw, _mm512_load_si512(kIndices.from_ab), b.raw);
  return V8{
      _mm512_mask_permutexvar_epi8(ab, kIndices.is_c, _mm512_load_si512(kIndices.from_c), c.raw)};
}
HWY_INLINE void MakePieces(V8 a, V8 b, V8 c, V8 (&pieces)[3]) {
  pieces[0] = TriplePiece<0>(a, b, c);
  pieces[1] = TriplePiece<1>(a, b, c);
  pieces[2] = TriplePiece<2>(a, b, c);
}

template <size_t kBytes>
HWY_INLINE void StorePieces(const V8 (&pieces)[kBytes], Whole, uint8_t* to) {
  for (size_t k = 0; k < kBytes; ++k) hn::StoreU(pieces[k], D8(), to + k * kPixels);
}

#  else

constexpr BlockBytes MakePartedIndices() {
  BlockBytes result = {};
  for (int i = 0; i < 16; ++i) result.bytes[i] = static_cast<int8_t>(PartedLane(i));
  return result;
}
template <int kBytes, bool kIsParted = true>
HWY_INLINE V8 Ordered(V8 v) {
  static constexpr VectorBytes kOrder = MakePartedIndices();
  return kIsParted ? Shuffle(v, kOrder) : v;
}

HWY_INLINE void MakePieces(V8 a, V8 b, V8 c, V8 (&pieces)[3]) {
  MakeTriples<PartedLane>(a, b, c, pieces);
}

#    if HWY_TARGET == HWY_AVX2

// The blocks kFirst and kFirst + 1 of the result.
template <size_t kFirst, size_t kBytes>
HWY_INLINE V8 TwoBlocks(const V8 (&pieces)[kBytes]) {
  const V8 first = pieces[kFirst % kBytes], second = pieces[(kFirst + 1) % kBytes];
  if constexpr (kFirst + 1 < kBytes) return hn::ConcatLowerLower(D8(), second, first);
  if constexpr (kFirst + 1 == kBytes) return hn::ConcatUpperLower(D8(), second, first);
  return hn::ConcatUpperUpper(D8(), second, first);
}
template <size_t kBytes, size_t kFirst = 0>
HWY_INLINE void StorePieces(const V8 (&pieces)[kBytes], Whole parts, uint8_t* to) {
  hn::StoreU(TwoBlocks<kFirst>(pieces), D8(), to + 16 * kFirst);
  if constexpr (kFirst + 2 < 2 * kBytes) StorePieces<kBytes, kFirst + 2>(pieces, parts, to);
}
template <size_t kBytes>
HWY_INLINE void StorePieces(const V8 (&pieces)[kBytes], Halves parts, uint8_t* to) {
  const auto step = static_cast<ptrdiff_t>(parts.second * kBytes);
  for (size_t k = 0; k < kBytes; ++k) StoreBlocks(pieces[k], D8(), to + 16 * k, step);
}

#    else

// If kBytes is odd, the piece in the middle belongs to both halves.
template <class Parts, size_t kBytes>
HWY_INLINE void StorePieces(const V8 (&pieces)[kBytes], Parts parts, uint8_t* to) {
  const hn::Half<D8> half;
  uint8_t* const second = to + parts.second * kBytes - 8 * kBytes;
  for (size_t k = 0; k < kBytes; ++k) {
    if (Parts::kIsWhole || 2 * k + 1 != kBytes) {
      hn::StoreU(pieces[k], D8(), (2 * k < kBytes ? to : second) + 16 * k);
    } else {
      hn::StoreU(hn::LowerHalf(half, pieces[k]), half, to + 16 * k);
      hn::StoreU(hn::UpperHalf(half, pieces[k]), half, second + 16 * k + 8);
    }
  }
}

#    endif
#  endif

template <class Parts>
HWY_INLINE void StoreTwo(V8 a, V8 b, Parts parts, uint8_t* to) {
  a = Ordered<2>(a), b = Ordered<2>(b);
  const V8 pieces[] = {hn::InterleaveLower(D8(), a, b), hn::InterleaveUpper(D8(), a, b)};
  StorePieces(pieces, parts, to);
}

template <class Parts>
HWY_INLINE void StoreThree(V8 a, V8 b, V8 c, Parts parts, uint8_t* to) {
  V8 pieces[3];
  MakePieces(a, b, c, pieces);
  StorePieces(pieces, parts, to);
}

// The channels are in order already.
HWY_INLINE void MakeQuads(V8 a, V8 b, V8 c, V8 d, V8 (&pieces)[4]) {
  const D16 d16;
  const V16 ab_lower = hn::BitCast(d16, hn::InterleaveLower(D8(), a, b)),
            ab_upper = hn::BitCast(d16, hn::InterleaveUpper(D8(), a, b));
  const V16 cd_lower = hn::BitCast(d16, hn::InterleaveLower(D8(), c, d)),
            cd_upper = hn::BitCast(d16, hn::InterleaveUpper(D8(), c, d));
  pieces[0] = hn::BitCast(D8(), hn::InterleaveLower(d16, ab_lower, cd_lower));
  pieces[1] = hn::BitCast(D8(), hn::InterleaveUpper(d16, ab_lower, cd_lower));
  pieces[2] = hn::BitCast(D8(), hn::InterleaveLower(d16, ab_upper, cd_upper));
  pieces[3] = hn::BitCast(D8(), hn::InterleaveUpper(d16, ab_upper, cd_upper));
}

// The fourth channel is not parted.
template <class Parts>
HWY_INLINE void StoreFour(V8 a, V8 b, V8 c, V8 d, Parts parts, uint8_t* to) {
  V8 pieces[4];
  MakeQuads(Ordered<4>(a), Ordered<4>(b), Ordered<4>(c), Ordered<4, false>(d), pieces);
  StorePieces(pieces, parts, to);
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
