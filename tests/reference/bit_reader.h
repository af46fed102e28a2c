// SPDX-License-Identifier: MIT
// Reads bits and symbols of a JPEG stream step by step.
#ifndef ZEPJP_TESTS_REFERENCE_BIT_READER_H_
#define ZEPJP_TESTS_REFERENCE_BIT_READER_H_

#include "zepjp.h"

namespace reference {

// The whole state is always in the caller's variables.
struct Reader {
  const uint8_t* src;
  int32_t length;
  int32_t* position;
  int32_t* marker;
  zepiDecodeHuffmanState* state;

  bool End() const { return *position < 0 || *position >= length; }

  zepStatus Fill(int need) {
    const bool short_of_bits = need > state->numBits;
    if (*marker != 0) return short_of_bits ? zepStatusBadHuffCode : zepStatusOk;
    while (state->numBits < 25) {
      if (End()) return need > state->numBits ? zepStatusBufferExhausted : zepStatusOk;
      uint8_t byte = src[(*position)++];
      if (byte == 0xFF) {
        while (byte == 0xFF) {
          if (End()) return zepStatusBufferExhausted;
          byte = src[(*position)++];
        }
        if (byte != 0) {
          *marker = byte;
          return zepStatusOk;
        }
        byte = 0xFF;
      }
      state->bits = state->bits * 256 + byte;
      state->reserved = 0;
      state->numBits += 8;
    }
    return zepStatusOk;
  }

  zepStatus Bits(int count, uint32_t* value) {
    while (state->numBits < count) {
      const zepStatus status = Fill(count);
      if (status != zepStatusOk) return status;
    }
    state->numBits -= count;
    *value = (state->bits >> state->numBits) % (1U << count);
    return zepStatusOk;
  }

  zepStatus Symbol(const zepiDecodeHuffmanSpec* table, uint32_t* symbol) {
    if (state->numBits < 8) {
      const zepStatus status = Fill(0);
      if (status != zepStatusOk) return status;
    }
    int first_length = 1;
    if (state->numBits >= 8) {
      const uint32_t entry = table->fast[(state->bits >> (state->numBits - 8)) % 256];
      if (entry != 0) {
        state->numBits -= static_cast<int>(entry / 65536);
        *symbol = entry % 65536;
        return zepStatusOk;
      }
      first_length = 9;
    }
    uint32_t code = 0;
    for (int l = first_length; l <= 16; ++l) {
      uint32_t bits = 0;
      const int count = l == first_length ? first_length : 1;
      const zepStatus status = Bits(count, &bits);
      if (status != zepStatusOk) return status;
      code = code * (1U << count) + bits;
      if (table->lastCode[l] != 65535 && code <= table->lastCode[l]) {
        const int64_t index = int64_t{table->firstIndex[l]} + code - int64_t{table->firstCode[l]};
        if (index < 0 || index > 255) return zepStatusBadHuffCode;
        *symbol = table->symbol[index];
        return zepStatusOk;
      }
    }
    return zepStatusBadHuffCode;
  }
};

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_BIT_READER_H_
