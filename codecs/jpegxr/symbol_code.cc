// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/symbol_code.h"

#include <algorithm>
#include <initializer_list>

namespace zepcodec::jpegxr {
namespace {

constexpr SymbolCode MakeCode(std::initializer_list<const char*> codes) {
  SymbolCode made = {};
  uint8_t symbol = 0;
  for (const char* code : codes) {
    uint32_t bits = 0;
    uint32_t length = 0;
    for (; *code != 0; ++code, ++length) bits = bits << 1 | (*code == '1' ? 1U : 0U);
    made.of_symbol[symbol] = {static_cast<uint8_t>(bits), static_cast<uint8_t>(length)};
    for (uint32_t i = 0; i < 256U >> length; ++i) {
      made.by_bits[(bits << (8 - length)) + i] = {symbol, static_cast<uint8_t>(length)};
    }
    ++symbol;
  }
  return made;
}

struct Pair {
  SymbolCode codes[2];
  int8_t differences[9];  // how much longer the first code is
};

constexpr Pair MakePair(std::initializer_list<const char*> first,
                        std::initializer_list<const char*> second) {
  Pair pair = {{MakeCode(first), MakeCode(second)}, {}};
  for (size_t i = 0; i < first.size(); ++i) {
    const int longer = pair.codes[0].of_symbol[i].length - pair.codes[1].of_symbol[i].length;
    pair.differences[i] = static_cast<int8_t>(longer);
  }
  return pair;
}

constexpr Pair kPairs[] = {
    MakePair({"1", "01", "001", "0000", "0001"}, {"1", "000", "001", "010", "011"}),
    MakePair({"01", "10", "11", "001", "0001", "00000", "00001"},
             {"1", "01", "001", "0001", "00001", "000000", "000001"}),
    MakePair({"010", "00000", "0010", "00001", "00010", "1", "011", "00011", "0011"},
             {"1", "001", "010", "0001", "000001", "011", "00001", "0000000", "0000001"})};

constexpr uint32_t kEscape = 6;
constexpr uint32_t kLevelBase[6] = {2, 3, 4, 6, 10, 14};
constexpr uint32_t kLevelBits[6] = {0, 0, 1, 2, 2, 2};

}  // namespace

constexpr SymbolCode kBlockCountCode = MakeCode({"1", "01", "000", "001"});
constexpr SymbolCode kDcComponentsCode =
    MakeCode({"10", "001", "00001", "0001", "11", "010", "00000", "011"});

const SymbolCode& AdaptiveCode::Code() const {
  return kPairs[static_cast<int>(alphabet_)].codes[index_];
}

int AdaptiveCode::Difference(uint32_t symbol) const {
  return kPairs[static_cast<int>(alphabet_)].differences[symbol];
}

void AdaptiveCode::Adapt() {
  constexpr int kEnough = 8, kMost = 64;
  if (index_ == 1 && saving_ < -kEnough) {
    Reset();
  } else if (index_ == 0 && saving_ > kEnough) {
    index_ = 1;
    saving_ = 0;
  } else {
    saving_ = std::clamp(saving_, -kMost, kMost);
  }
}

uint32_t ReadLevel(AdaptiveCode* code, PacketReader* reader) {
  const uint32_t symbol = code->Read(reader);
  if (symbol < kEscape) return kLevelBase[symbol] + reader->Bits(kLevelBits[symbol]);
  uint32_t bits = 4 + reader->Bits(4);
  if (bits == 19) bits += reader->Bits(2);
  if (bits == 22) bits += reader->Bits(3);
  return 2 + (uint32_t{1} << bits) + reader->LongBits(bits);
}

void WriteLevel(uint32_t magnitude, AdaptiveCode* code, PacketWriter* writer) {
  const uint32_t value = magnitude - 2;
  if (value < 16) {
    uint32_t symbol = 0;
    while (symbol + 1 < kEscape && magnitude >= kLevelBase[symbol + 1]) ++symbol;
    code->Write(symbol, writer);
    writer->Put(magnitude - kLevelBase[symbol], kLevelBits[symbol]);
    return;
  }
  uint32_t bits = 4;
  while (value >> (bits + 1) != 0) ++bits;
  code->Write(kEscape, writer);
  writer->Put(bits < 19 ? bits - 4 : 15, 4);
  if (bits >= 19) writer->Put(bits < 22 ? bits - 19 : 3, 2);
  if (bits >= 22) writer->Put(bits - 22, 3);
  writer->PutLong(value - (uint32_t{1} << bits), bits);
}

}  // namespace zepcodec::jpegxr
