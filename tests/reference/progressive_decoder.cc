// SPDX-License-Identifier: MIT
#include "reference/progressive_decoder.h"

#include "reference/bit_reader.h"
#include "reference/coefficients.h"

namespace reference {
namespace {

int64_t Extend(uint32_t bits, uint32_t category) {
  const int64_t half = int64_t{1} << category >> 1;
  return bits < half ? int64_t{bits} - 2 * half + 1 : bits;
}

zepStatus TakeBits(Reader* reader, uint32_t count, uint32_t* bits) {
  *bits = 0;
  return count == 0 ? zepStatusOk : reader->Bits(static_cast<int>(count), bits);
}

// Takes the length of an end-of-band run, this block included; 0 if its bits are missing.
zepStatus TakeRun(Reader* reader, uint32_t size) {
  uint32_t more = 0;
  const zepStatus status = TakeBits(reader, size, &more);
  reader->state->eobRun = status == zepStatusOk ? (1u << size) + more : 0;
  return status;
}

zepStatus Correct(Reader* reader, int16_t* coefficient, int32_t shift) {
  uint32_t bit = 0;
  const zepStatus status = reader->Bits(1, &bit);
  if (status != zepStatusOk || bit == 0) return status;
  const int64_t value = GetValue(coefficient), unit = int64_t{1} << shift;
  if (((value < 0 ? -value : value) & unit) == 0) {
    PutValue(value < 0 ? value - unit : value + unit, coefficient);
  }
  return zepStatusOk;
}

}  // namespace

zepStatus zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const uint8_t* src, int32_t length,
                                                     int32_t* position, int16_t* dst,
                                                     int16_t* last_dc, int32_t* marker,
                                                     int32_t shift,
                                                     const zepiDecodeHuffmanSpec* table,
                                                     zepiDecodeHuffmanState* state) {
  Reader reader = {src, length, position, marker, state};
  uint32_t category = 0, bits = 0;
  zepStatus status = reader.Symbol(table, &category);
  if (status != zepStatusOk) return status;
  if (category > 16) return zepStatusBadHuffCode;
  status = TakeBits(&reader, category, &bits);
  if (status != zepStatusOk) return status;
  PutValue(GetValue(last_dc) + Extend(bits, category), last_dc);
  PutValue(GetValue(last_dc) * (int64_t{1} << shift), dst);
  return zepStatusOk;
}

zepStatus zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const uint8_t* src, int32_t length,
                                                      int32_t* position, int16_t* dst,
                                                      int32_t* marker, int32_t shift,
                                                      zepiDecodeHuffmanState* state) {
  Reader reader = {src, length, position, marker, state};
  uint32_t bit = 0;
  const zepStatus status = reader.Bits(1, &bit);
  if (status == zepStatusOk && bit != 0) PutValue(GetValue(dst) | (int64_t{1} << shift), dst);
  return status;
}

zepStatus zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const uint8_t* src, int32_t length,
                                                     int32_t* position, int16_t* dst,
                                                     int32_t* marker, int32_t first, int32_t last,
                                                     int32_t shift,
                                                     const zepiDecodeHuffmanSpec* table,
                                                     zepiDecodeHuffmanState* state) {
  Reader reader = {src, length, position, marker, state};
  int32_t k = first;
  while (state->eobRun == 0 && k <= last) {
    uint32_t symbol = 0, bits = 0;
    zepStatus status = reader.Symbol(table, &symbol);
    if (status != zepStatusOk) return status;
    const uint32_t run = symbol / 16 % 16, size = symbol % 16;
    if (size == 0 && run < 15) {
      status = TakeRun(&reader, run);
      if (status != zepStatusOk) return status;
      break;
    }
    k += static_cast<int32_t>(run);
    if (k > last) return zepStatusBadHuffCode;
    if (size > 0) {
      status = TakeBits(&reader, size, &bits);
      if (status != zepStatusOk) return status;
      PutValue(Extend(bits, size) * (int64_t{1} << shift), dst + kZigzag.natural[k]);
    }
    ++k;
  }
  if (state->eobRun > 0) --state->eobRun;
  return zepStatusOk;
}

zepStatus zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const uint8_t* src, int32_t length,
                                                      int32_t* position, int16_t* dst,
                                                      int32_t* marker, int32_t first, int32_t last,
                                                      int32_t shift,
                                                      const zepiDecodeHuffmanSpec* table,
                                                      zepiDecodeHuffmanState* state) {
  Reader reader = {src, length, position, marker, state};
  const auto at = [&](int32_t k) { return dst + kZigzag.natural[k]; };
  int32_t k = first;
  while (state->eobRun == 0 && k <= last) {
    uint32_t symbol = 0, is_positive = 0;
    zepStatus status = reader.Symbol(table, &symbol);
    if (status != zepStatusOk) return status;
    const uint32_t size = symbol % 16;
    uint32_t zeros = symbol / 16 % 16;
    if (size > 1) return zepStatusBadHuffCode;
    if (size == 0 && zeros < 15) {
      status = TakeRun(&reader, zeros);
      if (status != zepStatusOk) return status;
      break;
    }
    status = TakeBits(&reader, size, &is_positive);
    if (status != zepStatusOk) return status;
    while (k <= last && (GetValue(at(k)) != 0 || zeros > 0)) {
      if (GetValue(at(k)) != 0) {
        status = Correct(&reader, at(k), shift);
        if (status != zepStatusOk) return status;
      } else {
        --zeros;
      }
      ++k;
    }
    if (k > last) return zepStatusBadHuffCode;
    if (size == 1) PutValue(is_positive != 0 ? int64_t{1} << shift : -(int64_t{1} << shift), at(k));
    ++k;
  }
  if (state->eobRun == 0) return zepStatusOk;
  for (; k <= last; ++k) {
    if (GetValue(at(k)) == 0) continue;
    const zepStatus status = Correct(&reader, at(k), shift);
    if (status != zepStatusOk) return status;
  }
  --state->eobRun;
  return zepStatusOk;
}

}  // namespace reference
