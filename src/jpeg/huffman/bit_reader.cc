// SPDX-License-Identifier: MIT
#include "jpeg/huffman/bit_reader.h"

namespace zepjp {
namespace {

enum class Byte { kData, kMarker, kEnd };

bool AtEnd(const Source& from, int32_t position) { return position < 0 || position >= from.length; }

// FF 00 is the data byte FF; FF with any other byte is a marker. Further FFs in between are fill
// bytes (ITU-T T.81, B.1.1.2).
Byte NextByte(const Source& from, int32_t* position, uint32_t* byte) {
  *byte = from.bytes[(*position)++];
  if (*byte != 0xFF) return Byte::kData;
  do {
    if (AtEnd(from, *position)) return Byte::kEnd;
    *byte = from.bytes[(*position)++];
  } while (*byte == 0xFF);
  if (*byte != 0) return Byte::kMarker;
  *byte = 0xFF;
  return Byte::kData;
}

}  // namespace

zepStatus BitReader::Fill(int need) {
  if (*from_.marker != 0) return need > bits_.count ? zepStatusBadHuffCode : zepStatusOk;
  while (bits_.count < 25) {
    if (AtEnd(from_, bits_.position)) {
      return need > bits_.count ? zepStatusBufferExhausted : zepStatusOk;
    }
    uint32_t byte = 0;
    switch (NextByte(from_, &bits_.position, &byte)) {
      case Byte::kEnd: return zepStatusBufferExhausted;
      case Byte::kMarker: *from_.marker = static_cast<int32_t>(byte); return zepStatusOk;
      case Byte::kData: break;
    }
    bits_.value = bits_.value << 8 | byte;
    bits_.reserved = 0;
    bits_.count += 8;
  }
  return zepStatusOk;
}

zepStatus BitReader::TakeSymbol(const zepiDecodeHuffmanSpec& table, uint32_t* symbol) {
  *symbol = 0;
  if (bits_.count < kFastCodeBits) {
    if (const zepStatus bad = Fill(0)) return bad;
  }
  if (bits_.count < kFastCodeBits) return Search(table, 1, symbol);
  const uint32_t entry = table.fast[Peek(kFastCodeBits)];
  if (!IsFastCode(entry)) return Search(table, kFastCodeBits + 1, symbol);
  *symbol = entry & 0xFFFF;
  bits_.count -= static_cast<int>(entry >> 16);
  return zepStatusOk;
}

// Finds a code of at least `length` bits, one bit at a time: the first value that is not above the
// last code of its length (ITU-T T.81, F.2.2.3, figure F.16).
zepStatus BitReader::Search(const zepiDecodeHuffmanSpec& table, int length, uint32_t* symbol) {
  uint32_t code = 0;
  if (const zepStatus bad = Take(length, &code)) return bad;
  while (!IsCode(table, length, code)) {
    if (length == kMaxCodeBits) return zepStatusBadHuffCode;
    uint32_t bit = 0;
    if (const zepStatus bad = Take(1, &bit)) return bad;
    code = code << 1 | bit;
    ++length;
  }
  const uint32_t index = IndexOfCode(table, length, code);
  if (index > 255) return zepStatusBadHuffCode;
  *symbol = table.symbol[index];
  return zepStatusOk;
}

}  // namespace zepjp
