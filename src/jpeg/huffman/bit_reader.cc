// SPDX-License-Identifier: MIT
#include "jpeg/huffman/bit_reader.h"

namespace zepjp {
namespace {

enum class Byte { kData, kMarker, kEnd };

bool AtEnd(const Source& from, int32_t position) { return position < 0 || position >= from.length; }

// FF 00 is the data byte FF, FF and anything else a marker; more FFs between them are filling.
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

FillResult FillCarefully(const Source& from, Bits bits, int need) {
  const auto end = [&](zepStatus status) {
    return FillResult{bits, need > bits.count ? status : zepStatusOk};
  };
  if (*from.marker != 0) return end(zepStatusBadHuffCode);
  while (bits.count < 25) {
    if (AtEnd(from, bits.position)) return end(zepStatusBufferExhausted);
    uint32_t byte = 0;
    switch (NextByte(from, &bits.position, &byte)) {
      case Byte::kEnd: return {bits, zepStatusBufferExhausted};
      case Byte::kMarker: *from.marker = static_cast<int32_t>(byte); return {bits, zepStatusOk};
      case Byte::kData: break;
    }
    bits.value = bits.value << 8 | byte;
    bits.reserved = 0;
    bits.count += 8;
  }
  return {bits, zepStatusOk};
}

}  // namespace zepjp
