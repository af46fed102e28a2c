// SPDX-License-Identifier: MIT
// Baseline decoding of a block (ITU-T T.81, F.2.2).
//
// Three decoders give the same coefficients, positions and states:
//
//   ReadPlain        the fast reader (quick_reader.h) over source bytes without FF, the common case
//   ReadStuffed      the fast reader over bytes with stuffed zeros
//   DecodeCarefully  the reference reader (careful_block.h): bad codes, markers, the end of the
//                    source
//
// Each of the first two fails where its bytes end or a code is invalid. It then has changed only
// the block, and the next one decodes the block from its start. A block takes some 300 instructions
// at usual qualities, so the kernel is the whole export: one call through the table of kernels,
// with no layer in between.
#include <cstring>

#include "frame/checks.h"
#include "jpeg/huffman/bit_reader.h"
#include "jpeg/huffman/careful_block.h"
#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/huffman/quick_reader.h"
#include "jpeg/zigzag.h"
#include "simd/dispatch.h"

#define HWY_DISABLED_TARGETS ZEP_ALL_BUT_SCALAR_TARGETS
#define HWY_TARGET_INCLUDE "jpeg/huffman/block_decoder.cc"
#include "hwy/foreach_target.h"
#include "simd/scalar-inl.h"

#ifndef ZEPJP_BLOCK_DECODER_KERNELS
#  define ZEPJP_BLOCK_DECODER_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  decltype(zepiDecodeHuffman8x8_JPEG_1u16s_C1)* decode;
};

// The natural position of each zigzag index. A run may lead out of the block by up to 16 indexes;
// they give the last position, and the block is rejected afterwards.
struct NaturalOrLast {
  uint8_t of[64 + 16];
};
constexpr NaturalOrLast MakeNaturalOrLast() {
  NaturalOrLast natural = {};
  for (int k = 0; k < 64 + 16; ++k) natural.of[k] = kNaturalOfZigzag[k < 64 ? k : 63];
  return natural;
}
constexpr NaturalOrLast kNaturalOrLast = MakeNaturalOrLast();

template <class Bytes>
HWY_INLINE bool TakeAcs(const zepiDecodeHuffmanSpec& table, QuickReader<Bytes>* reader,
                        int16_t* block) {
  uint32_t k = 1;
  while (k < 64) {
    if (!reader->Ensure()) return false;
    const uint32_t entry = reader->TakeSymbol(table);
    const RunAndCategory next(entry);
    if (HWY_UNLIKELY(next.category == 0)) {
      if (next.IsEnd()) return entry != 0;
      k += 16;
      continue;
    }
    k += next.run;
    StoreCoefficient(reader->TakeValue(next.category), block + kNaturalOrLast.of[k]);
    ++k;
  }
  return k == 64;
}

inline void AddLastDc(int16_t* block, int16_t* last_dc) {
  StoreCoefficient(LoadCoefficient(last_dc) + LoadCoefficient(block), block);
  std::memcpy(last_dc, block, sizeof(*block));
}

// Decodes the block with the fast reader; the DC difference is first stored in place of DC. This is
// not a lambda: a compiler may keep a lambda as a function, which then has no newer instructions.
struct BlockTaker {
  int16_t* block;
  int16_t* last_dc;
  const zepiDecodeHuffmanSpec& dc_table;
  const zepiDecodeHuffmanSpec& ac_table;

  template <class Bytes>
  HWY_INLINE bool operator()(const Bytes& bytes, uint32_t unused, Progress* progress) const {
    QuickReader<Bytes> reader(bytes, unused);
    int32_t difference = 0;
    Clear(block);
    if (!reader.Refill() || !reader.TakeDc(dc_table, &difference)) return false;
    StoreCoefficient(difference, block);
    if (!TakeAcs(ac_table, &reader, block) || !reader.Finish(progress)) return false;
    AddLastDc(block, last_dc);
    return true;
  }
};

zepStatus DecodeCarefully(const Source& from, int16_t* block, int16_t* last_dc,
                          const zepiDecodeHuffmanSpec& dc_table,
                          const zepiDecodeHuffmanSpec& ac_table, zepiDecodeHuffmanState* state) {
  BitReader reader(from, state);
  const zepStatus status = TakeBlock(dc_table, ac_table, &reader, block, last_dc);
  reader.Store();
  return status;
}

HWY_NOINLINE zepStatus DecodeRare(const Source& from, int16_t* block, int16_t* last_dc,
                                  const zepiDecodeHuffmanSpec& dc_table,
                                  const zepiDecodeHuffmanSpec& ac_table,
                                  zepiDecodeHuffmanState* state) {
  const BlockTaker take = {block, last_dc, dc_table, ac_table};
  if (ReadStuffed(from, state, take)) return zepStatusOk;
  return DecodeCarefully(from, block, last_dc, dc_table, ac_table, state);
}

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_SCALAR_NAMESPACE("bmi,bmi2");
namespace zepjp::HWY_NAMESPACE {
namespace {

zepStatus ZEP_CALL Decode(const uint8_t* source, int32_t length, int32_t* position, int16_t* block,
                          int16_t* last_dc, int32_t* marker, const zepiDecodeHuffmanSpec* dc_table,
                          const zepiDecodeHuffmanSpec* ac_table, zepiDecodeHuffmanState* state) {
  if (auto bad = Checks()
                     .Ptr(source)
                     .Refuse(length < 0, zepStatusBadArg)
                     .Ptr(position)
                     .Ptr(block)
                     .Ptr(last_dc)
                     .Ptr(marker)
                     .Ptr(dc_table)
                     .Ptr(ac_table)
                     .Ptr(state)
                     .Failed()) {
    return bad;
  }
  // The rare case gets a Source of its own: the one of the common case stays in registers, because
  // its address is never taken.
  const Source from = {source, length, position, marker};
  const BlockTaker take = {block, last_dc, *dc_table, *ac_table};
  if (HWY_LIKELY(ReadPlain(from, state, take))) return zepStatusOk;
  return DecodeRare({source, length, position, marker}, block, last_dc, *dc_table, *ac_table,
                    state);
}

constexpr Kernels kKernels = {.decode = Decode};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
ZEP_AFTER_SCALAR_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* pSrc, int32_t srcLenBytes,
                                                      int32_t* pSrcCurrPos, int16_t* pDst,
                                                      int16_t* pLastDC, int32_t* pMarker,
                                                      const zepiDecodeHuffmanSpec* pDcTable,
                                                      const zepiDecodeHuffmanSpec* pAcTable,
                                                      zepiDecodeHuffmanState* pDecHuffState) {
  return kernels.decode(pSrc, srcLenBytes, pSrcCurrPos, pDst, pLastDC, pMarker, pDcTable, pAcTable,
                        pDecHuffState);
}
#endif  // HWY_ONCE
