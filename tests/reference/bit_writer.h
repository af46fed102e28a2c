// SPDX-License-Identifier: MIT
// Writes bits of a JPEG stream step by step.
#ifndef ZEPJP_TESTS_REFERENCE_BIT_WRITER_H_
#define ZEPJP_TESTS_REFERENCE_BIT_WRITER_H_

#include "zepjp.h"

namespace reference {

struct Writer {
  uint8_t* dst;
  int32_t length;
  int32_t* position;
  zepiEncodeHuffmanState* state;

  bool Byte(uint8_t byte) {
    if (*position < 0 || *position >= length) return false;
    dst[(*position)++] = byte;
    return true;
  }

  zepStatus Write(int64_t value, uint32_t count) {
    if (count == 0) return zepStatusBadHuffTable;
    const int pending = state->numBits;
    uint32_t bits = state->bits;
    for (uint32_t i = 0; i < count; ++i) {
      const uint32_t bit = static_cast<uint32_t>(value >> (count - 1 - i)) & 1;
      bits |= bit << (23 - (static_cast<uint32_t>(pending) + i));
    }
    int total = pending + static_cast<int>(count);
    while (total >= 8) {
      const auto byte = static_cast<uint8_t>(bits >> 16);
      if (!Byte(byte)) return zepStatusBufferExhausted;
      if (byte == 0xFF && !Byte(0)) return zepStatusBufferExhausted;
      bits <<= 8;
      total -= 8;
    }
    state->bits = bits;
    state->reserved = 0;
    state->numBits = total;
    return zepStatusOk;
  }

  zepStatus WriteSymbol(const zepiEncodeHuffmanSpec* table, uint32_t symbol) {
    return Write(table->entry[symbol] % 65536, table->entry[symbol] / 65536);
  }
};

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_BIT_WRITER_H_
