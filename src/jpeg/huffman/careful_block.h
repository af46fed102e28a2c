// SPDX-License-Identifier: MIT
// Baseline decoding of a block (ITU-T T.81, F.2.2), symbol by symbol; the reference for
// block_decoder.cc:
//
//   DC      a symbol: the magnitude category s of the difference to the last DC; s extra bits
//   AC      symbols (run, s): `run` zeros in zigzag order, then a coefficient of category s with s
//           extra bits; (15, 0) means 16 zeros, (0, 0) the end of the block
//
// It works with any reader that has the members
//   zepStatus Take(int count, uint32_t* bits)                                       1 to 16 bits
//   zepStatus TakeSymbol(const zepiDecodeHuffmanSpec& table, uint32_t* symbol)
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_CAREFUL_BLOCK_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_CAREFUL_BLOCK_H_

#include <cstdint>
#include <cstring>

#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/zigzag.h"
#include "zepjp.h"

namespace zepjp {

// Takes `count` extra bits; `count` may be 0.
template <class Reader>
zepStatus TakeExtra(uint32_t count, Reader* reader, uint32_t* bits) {
  *bits = 0;
  return count == 0 ? zepStatusOk : reader->Take(static_cast<int>(count), bits);
}

template <class Reader>
zepStatus TakeDc(const zepiDecodeHuffmanSpec& table, Reader* reader, int32_t* difference) {
  uint32_t category = 0, bits = 0;
  if (auto bad = reader->TakeSymbol(table, &category)) return bad;
  if (category > kMaxDcCategory) return zepStatusBadHuffCode;
  if (auto bad = TakeExtra(category, reader, &bits)) return bad;
  *difference = ValueOf(category, bits);
  return zepStatusOk;
}

template <class Reader>
zepStatus TakeAcs(const zepiDecodeHuffmanSpec& table, Reader* reader, int16_t* block) {
  for (uint32_t k = 1; k < 64; ++k) {
    uint32_t symbol = 0, bits = 0;
    if (auto bad = reader->TakeSymbol(table, &symbol)) return bad;
    const RunAndCategory next(symbol);
    if (next.IsEnd()) return zepStatusOk;
    k += next.run;
    if (k > 63) return zepStatusBadHuffCode;
    if (next.category == 0) continue;
    if (auto bad = reader->Take(static_cast<int>(next.category), &bits)) return bad;
    StoreCoefficient(ValueOf(next.category, bits), block + kNaturalOfZigzag[k]);
  }
  return zepStatusOk;
}

// `*last_dc` becomes the block's DC only if the whole block was decoded.
template <class Reader>
zepStatus TakeBlock(const zepiDecodeHuffmanSpec& dc_table, const zepiDecodeHuffmanSpec& ac_table,
                    Reader* reader, int16_t* block, int16_t* last_dc) {
  int32_t difference = 0;
  Clear(block);
  if (auto bad = TakeDc(dc_table, reader, &difference)) return bad;
  StoreCoefficient(LoadCoefficient(last_dc) + difference, block);
  if (auto bad = TakeAcs(ac_table, reader, block)) return bad;
  std::memcpy(last_dc, block, sizeof(*block));
  return zepStatusOk;
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_CAREFUL_BLOCK_H_
