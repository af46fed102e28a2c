// SPDX-License-Identifier: MIT
#include "reference/block_encoder.h"

#include <cstdlib>

#include "reference/bit_writer.h"
#include "reference/coefficients.h"

namespace reference {
namespace {

uint32_t Category(int64_t value) {
  uint32_t bits = 0;
  for (int64_t rest = std::llabs(value); rest != 0; rest /= 2) ++bits;
  return bits;
}

int64_t Extra(int64_t value) { return value < 0 ? value - 1 : value; }

}  // namespace

zepStatus zepiEncodeHuffman8x8_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst, int32_t length,
                                             int32_t* position, int16_t* last_dc,
                                             const zepiEncodeHuffmanSpec* dc_table,
                                             const zepiEncodeHuffmanSpec* ac_table,
                                             zepiEncodeHuffmanState* state, int32_t flush) {
  Writer writer = {dst, length, position, state};
  if (flush != 0) {
    const zepStatus status = writer.Write(127, 7);
    std::memset(state, 0, 1048);
    return status;
  }
  const int64_t difference = int64_t{GetValue(src)} - GetValue(last_dc);
  PutValue(GetValue(src), last_dc);
  const uint32_t dc_category = Category(difference);
  zepStatus status = writer.WriteSymbol(dc_table, dc_category);
  if (status == zepStatusOk && dc_category != 0) {
    status = writer.Write(Extra(difference), dc_category);
  }
  uint32_t run = 0;
  for (int k = 1; k < 64 && status == zepStatusOk; ++k) {
    const int64_t value = GetValue(src + kZigzag.natural[k]);
    if (value == 0) {
      ++run;
      continue;
    }
    while (run > 15 && status == zepStatusOk) {
      status = writer.WriteSymbol(ac_table, 0xF0);
      run -= 16;
    }
    if (status != zepStatusOk) break;
    const uint32_t category = Category(value);
    if (category == 16) return zepStatusBadHuffTable;
    status = writer.WriteSymbol(ac_table, run * 16 + category);
    if (status == zepStatusOk) status = writer.Write(Extra(value), category);
    run = 0;
  }
  if (status == zepStatusOk && run > 0) status = writer.WriteSymbol(ac_table, 0);
  return status;
}

}  // namespace reference
