// SPDX-License-Identifier: MIT
// Baseline coding of a block (ITU-T T.81, F.1.2): the DC difference, then each non-zero coefficient in
// zigzag order with the run of zeros before it.
#include <cstring>

#include "frame/checks.h"
#include "jpeg/huffman/bit_writer.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/zigzag.h"

namespace zepjp {
namespace {

int32_t LoadCoefficient(const int16_t* from) {
  int16_t value;
  std::memcpy(&value, from, sizeof(value));
  return value;
}

// The difference to the DC of the block before, whose place this block's takes.
int32_t ExchangeDc(const int16_t* block, int16_t* last_dc) {
  const int32_t dc = LoadCoefficient(block);
  const int32_t difference = dc - LoadCoefficient(last_dc);
  std::memcpy(last_dc, block, sizeof(*block));
  return difference;
}

zepStatus PutDc(int32_t difference, const zepiEncodeHuffmanSpec& table, BitWriter* writer) {
  const uint32_t category = CategoryOf(difference);
  if (auto bad = writer->PutCode(table.entry[category])) return bad;
  return category == 0 ? zepStatusOk : writer->Put(ExtraBits(difference), category);
}

// A non-zero coefficient behind `run` zeros.
zepStatus PutAc(int32_t value, uint32_t run, const zepiEncodeHuffmanSpec& table,
                BitWriter* writer) {
  for (; run > 15; run -= 16) {
    if (auto bad = writer->PutCode(table.entry[kRunOf16])) return bad;
  }
  const uint32_t category = CategoryOf(value);
  if (category > 15) return zepStatusBadHuffTable;  // -32768 has no symbol
  if (auto bad = writer->PutCode(table.entry[run << 4 | category])) return bad;
  return writer->Put(ExtraBits(value), category);
}

zepStatus EncodeCarefully(const int16_t* block, int32_t dc_difference,
                          const zepiEncodeHuffmanSpec& dc_table,
                          const zepiEncodeHuffmanSpec& ac_table, BitWriter* writer) {
  if (auto bad = PutDc(dc_difference, dc_table, writer)) return bad;
  uint32_t run = 0;
  for (int k = 1; k < 64; ++k) {
    const int32_t value = LoadCoefficient(block + kNaturalOfZigzag[k]);
    if (value == 0) {
      ++run;
      continue;
    }
    if (auto bad = PutAc(value, run, ac_table, writer)) return bad;
    run = 0;
  }
  return run == 0 ? zepStatusOk : writer->PutCode(ac_table.entry[kEndOfBlock]);
}

}  // namespace
}  // namespace zepjp

using zepjp::Checks;

zepStatus ZEP_CALL zepiEncodeHuffman8x8_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int16_t* pLastDC,
    const zepiEncodeHuffmanSpec* pDcTable, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState) {
  if (auto bad = Checks()
                     .Ptr(pDst)
                     .Refuse(dstLenBytes < 1, zepStatusBadSize)
                     .Ptr(pDstCurrPos)
                     .Ptr(pEncHuffState)
                     .Failed()) {
    return bad;
  }
  zepjp::BitWriter writer({pDst, dstLenBytes, pDstCurrPos}, pEncHuffState);
  if (bFlushState != 0) return writer.Flush();
  if (auto bad = Checks().Ptr(pSrc).Ptr(pLastDC).Ptr(pDcTable).Ptr(pAcTable).Failed()) return bad;
  const int32_t dc_difference = zepjp::ExchangeDc(pSrc, pLastDC);
  return zepjp::EncodeCarefully(pSrc, dc_difference, *pDcTable, *pAcTable, &writer);
}
