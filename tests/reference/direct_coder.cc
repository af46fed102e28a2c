// SPDX-License-Identifier: MIT
#include "reference/direct_coder.h"

#include <cstdlib>
#include <vector>

#include "reference/coefficients.h"

namespace reference {
namespace {

// All bits of a source from a position up to its end or a marker, each with its place.
struct AllBits {
  AllBits(const uint8_t* src, int32_t length, int32_t from) {
    int32_t at = from / 8;
    int32_t skipped = from % 8;
    while (true) {
      end = 8 * at;
      if (at >= length) return;
      const int32_t begin = at;
      const uint8_t byte = src[at++];
      if (byte == 0xFF) {
        while (at < length && src[at] == 0xFF) ++at;
        if (at >= length && skipped == 0) return;
        if (at < length && src[at] != 0 && skipped == 0) {
          marker = src[at];
          end = 8 * (at - 1);
          return;
        }
        if (at < length && src[at] == 0) ++at;
      }
      for (int32_t i = skipped; i < 8; ++i) {
        bits.push_back(byte >> (7 - i) & 1);
        places.push_back(8 * begin + i);
      }
      skipped = 0;
      last = 8 * at;
    }
  }
  // The place of the bit after the first `count` bits.
  int32_t PlaceBehind(size_t count) const { return count < places.size() ? places[count] : last; }

  std::vector<int> bits;
  std::vector<int32_t> places;
  int32_t end = 0, marker = 0, last = 0;
};

class Bits {
 public:
  explicit Bits(const AllBits& all) : all_(all) {}
  bool Take(uint32_t count, uint32_t* value) {
    for (*value = 0; count > 0; --count) {
      if (taken_ == all_.bits.size()) return false;
      *value = *value * 2 + static_cast<uint32_t>(all_.bits[taken_++]);
    }
    return true;
  }
  size_t taken() const { return taken_; }

 private:
  const AllBits& all_;
  size_t taken_ = 0;
};

enum class Result { kOk, kBad, kMissing };

Result Symbol(const zepiDecodeHuffmanSpec* table, Bits* from, uint32_t* symbol) {
  uint32_t code = 0;
  for (int l = 1; l <= 16; ++l) {
    uint32_t bit = 0;
    if (!from->Take(1, &bit)) return Result::kMissing;
    code = 2 * code + bit;
    if (table->lastCode[l] == 65535 || code > table->lastCode[l]) continue;
    const int64_t index = int64_t{table->firstIndex[l]} + code - int64_t{table->firstCode[l]};
    if (index < 0 || index > 255) return Result::kBad;
    *symbol = table->symbol[index];
    return Result::kOk;
  }
  return Result::kBad;
}

int64_t Extend(uint32_t bits, uint32_t category) {
  const int64_t half = int64_t{1} << category >> 1;
  return bits < half ? int64_t{bits} - 2 * half + 1 : bits;
}

Result Block(const zepiDecodeHuffmanSpec* dc_table, const zepiDecodeHuffmanSpec* ac_table,
             int64_t last_dc, int16_t* dst, Bits* from) {
  for (int i = 0; i < 64; ++i) PutValue(0, dst + i);
  uint32_t symbol = 0, bits = 0;
  Result result = Symbol(dc_table, from, &symbol);
  if (result != Result::kOk) return result;
  if (symbol > 16) return Result::kBad;
  if (!from->Take(symbol, &bits)) return Result::kMissing;
  PutValue(last_dc + Extend(bits, symbol), dst);
  for (uint32_t k = 1; k < 64; ++k) {
    result = Symbol(ac_table, from, &symbol);
    if (result != Result::kOk) return result;
    if (symbol % 16 == 0 && symbol / 16 != 15) break;
    k += symbol / 16;
    if (k > 63) return Result::kBad;
    if (symbol % 16 == 0) continue;
    if (!from->Take(symbol % 16, &bits)) return Result::kMissing;
    PutValue(Extend(bits, symbol % 16), dst + kZigzag.natural[k]);
  }
  return Result::kOk;
}

struct Code {
  uint32_t value, length;
};

// Appends the codes and values of a block; false if a symbol has no code.
bool Codes(const int16_t* src, int64_t last_dc, const zepiEncodeHuffmanSpec* dc_table,
           const zepiEncodeHuffmanSpec* ac_table, std::vector<Code>* codes) {
  const auto add = [&](const zepiEncodeHuffmanSpec* table, uint32_t run, int64_t value) {
    uint32_t category = 0;
    for (int64_t rest = std::llabs(value); rest != 0; rest /= 2) ++category;
    if (table == ac_table && category > 15) return false;
    const uint32_t entry = table->entry[run * 16 + category];
    if (entry >> 16 == 0 || entry >> 16 > 16) return false;
    codes->push_back({entry & 0xFFFF, entry >> 16});
    codes->push_back({static_cast<uint32_t>(value < 0 ? value - 1 : value), category});
    return true;
  };
  if (!add(dc_table, 0, GetValue(src) - last_dc)) return false;
  uint32_t run = 0;
  for (int k = 1; k < 64; ++k) {
    const int64_t value = GetValue(src + kZigzag.natural[k]);
    if (value == 0) {
      ++run;
      continue;
    }
    for (; run > 15; run -= 16) {
      if (!add(ac_table, 15, 0)) return false;
    }
    if (!add(ac_table, run, value)) return false;
    run = 0;
  }
  return run == 0 || add(ac_table, 0, 0);
}

}  // namespace

zepStatus zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                    int32_t length, int32_t* bit_position,
                                                    int16_t* last_dc,
                                                    const zepiEncodeHuffmanSpec* dc_table,
                                                    const zepiEncodeHuffmanSpec* ac_table) {
  std::vector<Code> codes;
  if (*bit_position < 0 || *bit_position > 8 * length) return zepStatusBufferExhausted;
  if (!Codes(src, GetValue(last_dc), dc_table, ac_table, &codes)) return zepStatusBadHuffTable;
  std::vector<uint32_t> bits;
  int32_t at = *bit_position / 8;
  for (int32_t i = 0; i < *bit_position % 8; ++i) bits.push_back(dst[at] >> (7 - i) & 1);
  for (const Code& code : codes) {
    for (uint32_t i = code.length; i > 0; --i) bits.push_back(code.value >> (i - 1) & 1);
  }
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i < bits.size(); i += 8) {
    uint32_t byte = 0;
    for (size_t j = i; j < i + 8; ++j) byte = 2 * byte + (j < bits.size() ? bits[j] : 0);
    bytes.push_back(static_cast<uint8_t>(byte));
    if (byte == 0xFF) bytes.push_back(0);
  }
  if (at + static_cast<int32_t>(bytes.size()) > length) return zepStatusBufferExhausted;
  for (const uint8_t byte : bytes) dst[at++] = byte;
  *bit_position = 8 * at - static_cast<int32_t>((8 - bits.size() % 8) % 8);
  PutValue(GetValue(src), last_dc);
  return zepStatusOk;
}

zepStatus zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(const uint8_t* src, int32_t length,
                                                    int32_t* bit_position, int16_t* dst,
                                                    int16_t* last_dc, int32_t* marker,
                                                    const zepiDecodeHuffmanSpec* dc_table,
                                                    const zepiDecodeHuffmanSpec* ac_table) {
  if (*marker != 0) return zepStatusBadHuffCode;
  if (*bit_position < 0 || *bit_position > 8 * length) return zepStatusBufferExhausted;
  const AllBits all(src, length, *bit_position);
  Bits from(all);
  switch (Block(dc_table, ac_table, GetValue(last_dc), dst, &from)) {
    case Result::kBad: return zepStatusBadHuffCode;
    case Result::kMissing:
      if (all.marker == 0) return zepStatusBufferExhausted;
      *marker = all.marker;
      *bit_position = all.end;
      return zepStatusBadHuffCode;
    case Result::kOk: break;
  }
  *bit_position = all.PlaceBehind(from.taken());
  PutValue(GetValue(dst), last_dc);
  return zepStatusOk;
}

}  // namespace reference
