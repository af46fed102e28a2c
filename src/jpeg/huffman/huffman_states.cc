// SPDX-License-Identifier: MIT
// The states that the Huffman coders keep between calls: an encoder's bits that do not fill a byte
// yet, a decoder's bits that were read ahead, and the end-of-band run of progressive scans.
#include "jpeg/huffman/huffman_states.h"

#include "frame/checks.h"
#include "jpeg/huffman/records.h"

using namespace zepjp;

zepStatus ZEP_CALL zepiEncodeHuffmanStateGetBufSize_JPEG_8u(int32_t* pSize) {
  return StoreRecordSize<zepiEncodeHuffmanState>(pSize);
}

zepStatus ZEP_CALL zepiEncodeHuffmanStateInit_JPEG_8u(zepiEncodeHuffmanState* pEncHuffState) {
  if (auto bad = Checks().Ptr(pEncHuffState).Failed()) return bad;
  Reset(pEncHuffState);
  return zepStatusOk;
}

zepStatus ZEP_CALL
zepiEncodeHuffmanStateInitAlloc_JPEG_8u(zepiEncodeHuffmanState** ppEncHuffState) {
  if (auto bad = Checks().Ptr(ppEncHuffState).Failed()) return bad;
  if (auto bad = AllocateRecord(ppEncHuffState)) return bad;
  Reset(*ppEncHuffState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeHuffmanStateFree_JPEG_8u(zepiEncodeHuffmanState* pEncHuffState) {
  return FreeRecord(pEncHuffState);
}

zepStatus ZEP_CALL zepiDecodeHuffmanStateGetBufSize_JPEG_8u(int32_t* pSize) {
  return StoreRecordSize<zepiDecodeHuffmanState>(pSize);
}

zepStatus ZEP_CALL zepiDecodeHuffmanStateInit_JPEG_8u(zepiDecodeHuffmanState* pDecHuffState) {
  if (auto bad = Checks().Ptr(pDecHuffState).Failed()) return bad;
  Reset(pDecHuffState);
  return zepStatusOk;
}

zepStatus ZEP_CALL
zepiDecodeHuffmanStateInitAlloc_JPEG_8u(zepiDecodeHuffmanState** ppDecHuffState) {
  if (auto bad = Checks().Ptr(ppDecHuffState).Failed()) return bad;
  if (auto bad = AllocateRecord(ppDecHuffState)) return bad;
  Reset(*ppDecHuffState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeHuffmanStateFree_JPEG_8u(zepiDecodeHuffmanState* pDecHuffState) {
  return FreeRecord(pDecHuffState);
}
