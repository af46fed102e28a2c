// SPDX-License-Identifier: MIT
#include "reference/difference_coder.h"

#include <cstdlib>

#include "reference/bit_reader.h"
#include "reference/bit_writer.h"
#include "reference/coefficients.h"

namespace reference {

zepStatus zepiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst, int32_t length,
                                             int32_t* position, const zepiEncodeHuffmanSpec* table,
                                             zepiEncodeHuffmanState* state, int32_t flush) {
  Writer writer = {dst, length, position, state};
  if (flush != 0) {
    const zepStatus status = writer.Write(127, 7);
    std::memset(state, 0, 1048);
    return status;
  }
  const int64_t difference = GetValue(src);
  uint32_t category = 0;
  for (int64_t rest = std::llabs(difference); rest != 0; rest /= 2) ++category;
  const zepStatus status = writer.WriteSymbol(table, category);
  if (status != zepStatusOk || category == 0 || category == 16) return status;
  return writer.Write(difference < 0 ? difference - 1 : difference, category);
}

zepStatus zepiDecodeHuffmanOne_JPEG_1u16s_C1(const uint8_t* src, int32_t length, int32_t* position,
                                             int16_t* dst, int32_t* marker,
                                             const zepiDecodeHuffmanSpec* table,
                                             zepiDecodeHuffmanState* state) {
  Reader reader = {src, length, position, marker, state};
  uint32_t category = 0;
  zepStatus status = reader.Symbol(table, &category);
  if (status != zepStatusOk) return status;
  if (category > 16) return zepStatusBadHuffCode;
  int64_t difference = category == 16 ? -32768 : 0;
  if (category > 0 && category < 16) {
    uint32_t bits = 0;
    status = reader.Bits(static_cast<int>(category), &bits);
    if (status != zepStatusOk) return status;
    const int64_t half = int64_t{1} << (category - 1);
    difference = bits < half ? int64_t{bits} - 2 * half + 1 : bits;
  }
  PutValue(difference, dst);
  return zepStatusOk;
}

zepStatus zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(const int16_t* const* src, uint8_t* dst,
                                               int32_t length, int32_t* position, int32_t width,
                                               int32_t components,
                                               const zepiEncodeHuffmanSpec* const* tables,
                                               zepiEncodeHuffmanState* state, int32_t flush) {
  if (flush != 0) {
    return reference::zepiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, dst, length, position, nullptr,
                                                         state, flush);
  }
  for (int32_t x = 0; x < width; ++x) {
    for (int32_t i = 0; i < components; ++i) {
      const zepStatus status = reference::zepiEncodeHuffmanOne_JPEG_16s1u_C1(
          src[i] + x, dst, length, position, tables[i], state, 0);
      if (status != zepStatusOk) return status;
    }
  }
  return zepStatusOk;
}

zepStatus zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(const uint8_t* src, int32_t length,
                                               int32_t* position, int16_t* const* dst,
                                               int32_t width, int32_t components, int32_t* marker,
                                               const zepiDecodeHuffmanSpec* const* tables,
                                               zepiDecodeHuffmanState* state) {
  for (int32_t x = 0; x < width; ++x) {
    for (int32_t i = 0; i < components; ++i) {
      const zepStatus status = reference::zepiDecodeHuffmanOne_JPEG_1u16s_C1(
          src, length, position, dst[i] + x, marker, tables[i], state);
      if (status != zepStatusOk) return status;
    }
  }
  return zepStatusOk;
}

}  // namespace reference
