// SPDX-License-Identifier: MIT
// Baseline decoding of a block (ITU-T T.81, F.2.2).
#include <cstring>

#include "frame/checks.h"
#include "jpeg/huffman/bit_reader.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/zigzag.h"

namespace zepjp {
namespace {

void StoreCoefficient(int32_t value, int16_t* to) {
  const auto low = static_cast<uint16_t>(value);
  std::memcpy(to, &low, sizeof(low));
}

zepStatus TakeDc(const zepiDecodeHuffmanSpec& table, BitReader* reader, int32_t* difference) {
  uint32_t category = 0, bits = 0;
  if (auto bad = reader->TakeSymbol(table, &category)) return bad;
  if (category > 16) return zepStatusBadHuffCode;
  if (category == 0) return *difference = 0, zepStatusOk;
  if (auto bad = reader->Take(static_cast<int>(category), &bits)) return bad;
  *difference = ValueOf(category, bits);
  return zepStatusOk;
}

// The coefficients from zigzag index `k` on.
zepStatus TakeAcs(uint32_t k, const zepiDecodeHuffmanSpec& table, BitReader* reader,
                  int16_t* block) {
  while (k < 64) {
    uint32_t symbol = 0, bits = 0;
    if (auto bad = reader->TakeSymbol(table, &symbol)) return bad;
    const uint32_t run = (symbol >> 4) & 15, category = symbol & 15;
    if (category == 0 && run < 15) return zepStatusOk;  // end of block
    k += run;
    if (k > 63) return zepStatusBadHuffCode;
    if (category != 0) {
      if (auto bad = reader->Take(static_cast<int>(category), &bits)) return bad;
      StoreCoefficient(ValueOf(category, bits), block + kNaturalOfZigzag[k]);
    }
    ++k;
  }
  return zepStatusOk;
}

zepStatus DecodeCarefully(int16_t* block, int16_t* last_dc, const zepiDecodeHuffmanSpec& dc_table,
                          const zepiDecodeHuffmanSpec& ac_table, BitReader* reader) {
  std::memset(block, 0, 64 * sizeof(*block));
  int32_t difference = 0;
  if (auto bad = TakeDc(dc_table, reader, &difference)) return bad;
  int16_t last;
  std::memcpy(&last, last_dc, sizeof(last));
  StoreCoefficient(last + difference, block);
  if (auto bad = TakeAcs(1, ac_table, reader, block)) return bad;
  std::memcpy(last_dc, block, sizeof(*block));
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using zepjp::Checks;

zepStatus ZEP_CALL zepiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* pSrc, int32_t srcLenBytes,
                                                      int32_t* pSrcCurrPos, int16_t* pDst,
                                                      int16_t* pLastDC, int32_t* pMarker,
                                                      const zepiDecodeHuffmanSpec* pDcTable,
                                                      const zepiDecodeHuffmanSpec* pAcTable,
                                                      zepiDecodeHuffmanState* pDecHuffState) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Refuse(srcLenBytes < 0, zepStatusBadArg)
                     .Ptr(pSrcCurrPos)
                     .Ptr(pDst)
                     .Ptr(pLastDC)
                     .Ptr(pMarker)
                     .Ptr(pDcTable)
                     .Ptr(pAcTable)
                     .Ptr(pDecHuffState)
                     .Failed()) {
    return bad;
  }
  zepjp::BitReader reader({pSrc, srcLenBytes, pSrcCurrPos, pMarker}, pDecHuffState);
  const zepStatus status = zepjp::DecodeCarefully(pDst, pLastDC, *pDcTable, *pAcTable, &reader);
  reader.Store();
  return status;
}
