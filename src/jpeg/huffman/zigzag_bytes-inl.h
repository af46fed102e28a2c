// SPDX-License-Identifier: MIT
// The coefficients of a block as 64 bytes in zigzag order (ITU-T T.81, figure A.6). Included once
// per instruction set.
//
// The coefficients are narrowed with saturation, so that every nonzero one stays nonzero, and then
// brought into zigzag order. AVX-512 does that with one permutation. The other instruction sets
// shuffle the bytes of each 16 zigzag indexes from each register that holds some of them.
#if defined(ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_BYTES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_BYTES_INL_H_
#    undef ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_BYTES_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_BYTES_INL_H_
#  endif

#  include <utility>

#  include "jpeg/zigzag.h"
#  include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using DCoefficients = hn::ScalableTag<int16_t>;
using DBytes = hn::Repartition<int8_t, DCoefficients>;
using VCoefficients = hn::VFromD<DCoefficients>;
using VBytes = hn::VFromD<DBytes>;

constexpr size_t kBytesInVector = sizeof(VBytes);

struct ZigzagBytes {
  VBytes part[64 / kBytesInVector];
};

#  if HWY_TARGET == HWY_AVX3

// The byte of each zigzag index in the result of vpacksswb, which packs each 128-bit block of the
// first and the second half of a block of coefficients into one.
struct ZigzagOfPacked {
  alignas(64) uint8_t bytes[64];
};
constexpr ZigzagOfPacked MakeZigzagOfPacked() {
  ZigzagOfPacked order = {};
  for (int k = 0; k < 64; ++k) {
    const int natural = kNaturalOfZigzag[k], row = natural / 8;
    order.bytes[k] = static_cast<uint8_t>(row % 4 * 16 + row / 4 * 8 + natural % 8);
  }
  return order;
}
constexpr ZigzagOfPacked kZigzagOfPacked = MakeZigzagOfPacked();

template <class Map>
HWY_INLINE ZigzagBytes ToZigzagBytes(const int16_t* block, const Map& map) {
  const DCoefficients d;
  const __m512i packed =
      _mm512_packs_epi16(map(hn::LoadU(d, block)).raw, map(hn::LoadU(d, block + 32)).raw);
  const __m512i order = _mm512_load_si512(kZigzagOfPacked.bytes);
  return {{VBytes{_mm512_permutexvar_epi8(order, packed)}}};
}

#  else

// bytes[s][g] shuffles register s, which holds the natural positions 16s to 16s + 15, to the zigzag
// indexes 16g to 16g + 15. Indexes whose position is in another register have -1, which gives 0.
struct ZigzagShuffle {
  alignas(32) int8_t bytes[4][4][16];
  bool is_used[4][4];
};
constexpr ZigzagShuffle MakeZigzagShuffle() {
  ZigzagShuffle shuffle = {};
  for (int k = 0; k < 64; ++k) {
    for (int s = 0; s < 4; ++s) shuffle.bytes[s][k / 16][k % 16] = -1;
    const int natural = kNaturalOfZigzag[k];
    shuffle.bytes[natural / 16][k / 16][k % 16] = static_cast<int8_t>(natural % 16);
    shuffle.is_used[natural / 16][k / 16] = true;
  }
  return shuffle;
}
constexpr ZigzagShuffle kZigzagShuffle = MakeZigzagShuffle();

// Narrows 16-bit lanes to signed bytes with saturation, within 128-bit blocks.
HWY_INLINE VBytes PackSigned(VCoefficients low, VCoefficients high) {
#    if HWY_TARGET == HWY_NEON
  return VBytes(vcombine_s8(vqmovn_s16(low.raw), vqmovn_s16(high.raw)));
#    elif HWY_TARGET == HWY_AVX2
  return VBytes{_mm256_packs_epi16(low.raw, high.raw)};
#    elif HWY_ARCH_X86
  return VBytes{_mm_packs_epi16(low.raw, high.raw)};
#    else
  const hn::Half<DBytes> half;
  return hn::Combine(DBytes(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
#    endif
}

// Adds those zigzag indexes of vector kPart that are in register kSource.
template <size_t kPart, size_t kSource>
HWY_INLINE VBytes AddFrom(VBytes sum, VBytes source) {
  constexpr size_t kGroups = kBytesInVector / 16, kFirst = kPart * kGroups;
  constexpr bool kIsUsed = kZigzagShuffle.is_used[kSource][kFirst] ||
                           kZigzagShuffle.is_used[kSource][kFirst + kGroups - 1];
  if constexpr (!kIsUsed) return sum;
  const VBytes order = hn::Load(DBytes(), kZigzagShuffle.bytes[kSource][kFirst]);
  return hn::Or(sum, hn::TableLookupBytesOr0(source, order));
}
template <size_t kPart>
HWY_INLINE VBytes ZigzagPart(const VBytes (&natural)[4]) {
  VBytes part = hn::Zero(DBytes());
  part = AddFrom<kPart, 0>(part, natural[0]);
  part = AddFrom<kPart, 1>(part, natural[1]);
  part = AddFrom<kPart, 2>(part, natural[2]);
  return AddFrom<kPart, 3>(part, natural[3]);
}
template <size_t... kParts>
HWY_INLINE ZigzagBytes ZigzagParts(const VBytes (&natural)[4], std::index_sequence<kParts...>) {
  return {{ZigzagPart<kParts>(natural)...}};
}

// map(coefficients) as bytes in zigzag order.
template <class Map>
HWY_INLINE ZigzagBytes ToZigzagBytes(const int16_t* block, const Map& map) {
  const auto natural = [&](const int16_t* from) ZEP_ATTR {
    const DCoefficients d;
    return PackSigned(map(hn::LoadDup128(d, from)), map(hn::LoadDup128(d, from + 8)));
  };
  const VBytes parts[4] = {natural(block), natural(block + 16), natural(block + 32),
                           natural(block + 48)};
  return ZigzagParts(parts, std::make_index_sequence<64 / kBytesInVector>());
}

#  endif

// Bit k stands for zigzag index k.
HWY_INLINE uint64_t NonZeroBits(const ZigzagBytes& bytes) {
  uint64_t zeros = 0;
  for (size_t i = 0; i < 64; i += kBytesInVector) {
    uint64_t bits = 0;
    hn::StoreMaskBits(DBytes(), hn::Eq(bytes.part[i / kBytesInVector], hn::Zero(DBytes())),
                      reinterpret_cast<uint8_t*>(&bits));
    zeros |= bits << i;
  }
  return ~zeros;
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
