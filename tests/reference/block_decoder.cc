// SPDX-License-Identifier: MIT
#include "reference/block_decoder.h"

#include "reference/bit_reader.h"
#include "reference/coefficients.h"

namespace reference {
namespace {

int64_t Extend(uint32_t bits, uint32_t category) {
  const int64_t half = int64_t{1} << category >> 1;
  return bits < half ? int64_t{bits} - 2 * half + 1 : bits;
}

}  // namespace

zepStatus zepiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* src, int32_t length, int32_t* position,
                                             int16_t* dst, int16_t* last_dc, int32_t* marker,
                                             const zepiDecodeHuffmanSpec* dc_table,
                                             const zepiDecodeHuffmanSpec* ac_table,
                                             zepiDecodeHuffmanState* state) {
  Reader reader = {src, length, position, marker, state};
  for (int i = 0; i < 64; ++i) PutValue(0, dst + i);
  uint32_t category = 0;
  uint32_t bits = 0;
  zepStatus status = reader.Symbol(dc_table, &category);
  if (status != zepStatusOk) return status;
  if (category > 16) return zepStatusBadHuffCode;
  if (category > 0) status = reader.Bits(static_cast<int>(category), &bits);
  if (status != zepStatusOk) return status;
  PutValue(GetValue(last_dc) + Extend(bits, category), dst);
  for (uint32_t k = 1; k <= 63; ++k) {
    uint32_t symbol = 0;
    status = reader.Symbol(ac_table, &symbol);
    if (status != zepStatusOk) return status;
    const uint32_t run = symbol / 16;
    const uint32_t size = symbol % 16;
    if (size == 0 && run != 15) break;
    k += run;
    if (k > 63) return zepStatusBadHuffCode;
    if (size == 0) continue;
    status = reader.Bits(static_cast<int>(size), &bits);
    if (status != zepStatusOk) return status;
    PutValue(Extend(bits, size), dst + kZigzag.natural[k]);
  }
  PutValue(GetValue(dst), last_dc);
  return zepStatusOk;
}

}  // namespace reference
