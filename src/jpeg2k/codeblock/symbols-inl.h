// SPDX-License-Identifier: MIT
// Writes the symbols of 64 samples in the order of the scan, for the encoder. Included once per
// instruction set.
//
// The symbols are given bit by bit, in words (contexts.h). Vector code makes bytes of them: eight
// for each column of four samples, first the four of a pass, then the four of the signs. A table of
// shuffles then picks, for each column, those that are coded: a symbol, then the sign if the sample
// becomes significant.
#if defined(ZEPJP_SRC_JPEG2K_CODEBLOCK_SYMBOLS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_CODEBLOCK_SYMBOLS_INL_H_
#    undef ZEPJP_SRC_JPEG2K_CODEBLOCK_SYMBOLS_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_CODEBLOCK_SYMBOLS_INL_H_
#  endif

#  include "jpeg2k/codeblock/contexts.h"
#  include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::codeblock::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// For each set of a column's eight bytes, lowest bit first: the places of those bytes, sample by
// sample, and their number.
struct ColumnOrder {
  uint8_t places[256][8];
  uint8_t counts[256];
};
constexpr ColumnOrder MakeColumnOrder() {
  ColumnOrder order{};
  for (uint32_t set = 0; set < 256; ++set) {
    for (uint32_t i = 0; i < 8; ++i) {
      const uint32_t place = i / 2 + 4 * (i % 2);
      if ((set >> place & 1) != 0) {
        order.places[set][order.counts[set]++] = static_cast<uint8_t>(place);
      }
    }
  }
  return order;
}
constexpr ColumnOrder kColumnOrder = MakeColumnOrder();

// Bytes of a column have their bits in byte b of a word, b = column / 2. Words of the pass and of
// signs are interleaved by bytes.
struct BitSources {
  alignas(64) uint8_t bytes[128];
};
constexpr BitSources MakeBitSources() {
  BitSources sources{};
  for (uint8_t i = 0; i < 128; ++i) {
    sources.bytes[i] = static_cast<uint8_t>(i / 16 * 2 + i / 4 % 2);
  }
  return sources;
}
constexpr BitSources kBitSources = MakeBitSources();
alignas(16) constexpr uint8_t kBitsOfColumns[16] = {1,  2,  4,  8,   1,  2,  4,  8,
                                                    16, 32, 64, 128, 16, 32, 64, 128};

class ColumnSymbols {
 public:
  // `coded` and `with_sign` are the samples whose symbols and signs are coded. `base` is added to
  // each symbol.
  template <size_t kBits>
  HWY_INLINE ColumnSymbols(const SymbolBits<kBits>& symbols, const SymbolBits<kBits>& signs,
                           Symbol base, uint64_t coded, uint64_t with_sign) {
    const hn::Full128<uint8_t> d;
    alignas(16) uint8_t planes[kBits][16];
    for (size_t k = 0; k < kBits; ++k) {
      hn::Store(hn::InterleaveLower(d, Bytes(symbols.of[k]), Bytes(signs.of[k])), d, planes[k]);
    }
    Expand(planes, base);
    // The four bits of a column in one word, then those in the other.
    const auto low = hn::Set(d, 0x0F);
    const auto even = hn::And(Bytes(coded), low), odd = hn::AndNot(low, Bytes(coded));
    const auto even_signs = hn::And(Bytes(with_sign), low);
    const auto odd_signs = hn::AndNot(low, Bytes(with_sign));
    const hn::Repartition<uint16_t, decltype(d)> d16;
    const auto up = [&](hn::Vec128<uint8_t> v)
                        HWY_ATTR { return hn::BitCast(d, hn::ShiftLeft<4>(hn::BitCast(d16, v))); };
    const auto down = [&](hn::Vec128<uint8_t> v) HWY_ATTR {
      return hn::BitCast(d, hn::ShiftRight<4>(hn::BitCast(d16, v)));
    };
    hn::Store(hn::InterleaveLower(d, hn::Or(even, up(even_signs)), hn::Or(down(odd), odd_signs)), d,
              sets_);
  }

  // Appends the symbols of a column; writes eight bytes.
  HWY_INLINE void Put(size_t column, Symbol** next) const {
    const hn::Full64<uint8_t> d;
    const uint8_t set = sets_[column];
    const auto bytes = hn::Load(d, bytes_ + 8 * column);
    const auto order = hn::LoadU(d, kColumnOrder.places[set]);
    hn::StoreU(hn::TableLookupBytes(bytes, order), d, *next);
    *next += kColumnOrder.counts[set];
  }

 private:
  HWY_INLINE static hn::Vec128<uint8_t> Bytes(uint64_t word) {
    const hn::Full128<uint64_t> d;
    return hn::BitCast(hn::Full128<uint8_t>(), hn::Set(d, word));
  }

  template <size_t kBits>
  HWY_INLINE void Expand(const uint8_t (&planes)[kBits][16], Symbol base) {
    const hn::CappedTag<uint8_t, 64> d;
    const auto bits = hn::LoadDup128(d, kBitsOfColumns);
    for (size_t i = 0; i < sizeof(bytes_); i += hn::Lanes(d)) {
      const auto sources = hn::Load(d, kBitSources.bytes + i);
      auto all = hn::Zero(d);
      for (size_t k = 0; k < kBits; ++k) {
        const auto plane = hn::TableLookupBytes(hn::LoadDup128(d, planes[k]), sources);
        const auto weight = hn::Set(d, static_cast<uint8_t>(1u << k));
        all = hn::Or(all, hn::IfThenElseZero(hn::TestBit(plane, bits), weight));
      }
      hn::Store(hn::Add(all, hn::Set(d, base)), d, bytes_ + i);
    }
  }

  alignas(64) uint8_t bytes_[128];
  alignas(16) uint8_t sets_[16];
};

}  // namespace
}  // namespace zepjp::codeblock::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_SYMBOLS_INL_H_
