// SPDX-License-Identifier: MIT
// The code-block decoders (ISO/IEC 15444-1, annex D): they decode a block in one call, or one
// codeword segment per call. block_decoder-inl.h decodes the passes of a segment.
#include <algorithm>
#include <cstring>

#include "frame/checks.h"
#include "frame/memory.h"
#include "jpeg2k/codeblock/decoder_state.h"
#include "simd/dispatch.h"

#define HWY_DISABLED_TARGETS ZEP_ALL_BUT_SCALAR_TARGETS
#define HWY_TARGET_INCLUDE "jpeg2k/codeblock/codeblock_decoder.cc"
#include "hwy/foreach_target.h"
#include "jpeg2k/codeblock/block_decoder-inl.h"
#include "simd/scalar-inl.h"

#ifndef ZEPJP_CODEBLOCK_DECODER
#  define ZEPJP_CODEBLOCK_DECODER
namespace zepjp::codeblock {
namespace {

struct Kernels {
  // Decodes the passes of a segment.
  void (*decode)(const uint8_t* src, size_t size, void* flags, DecoderRecord* progress);
};

}  // namespace
}  // namespace zepjp::codeblock
#endif  // ZEPJP_CODEBLOCK_DECODER

ZEP_BEFORE_SCALAR_NAMESPACE("bmi,bmi2,lzcnt");
namespace zepjp::codeblock::HWY_NAMESPACE {
namespace {

void Decode(const uint8_t* src, size_t size, void* flags, DecoderRecord* progress) {
  BlockDecoder(flags, progress).Decode(src, size);
}

constexpr Kernels kKernels = {.decode = Decode};

}  // namespace
}  // namespace zepjp::codeblock::HWY_NAMESPACE
ZEP_AFTER_SCALAR_NAMESPACE();

#if HWY_ONCE
namespace zepjp::codeblock {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

constexpr char kId[4] = {'P', 'A', 'M', 'C'};

Checks CheckState(const void* state) { return Checks().Ptr(state).Identifier(state, kId); }

DecoderRecord Load(const void* state) {
  DecoderRecord progress;
  std::memcpy(&progress, state, sizeof(progress));
  return progress;
}
void Store(const DecoderRecord& progress, void* state) {
  std::memcpy(state, &progress, sizeof(progress));
}

zepStatus StateSize(zepiSize most, int32_t* size) {
  if (auto bad = Checks().Size(most).Ptr(size).Failed()) return bad;
  const uint64_t bytes = FlagBytes(most) + kFixedBytes;
  if (bytes > INT32_MAX) return zepStatusBadSize;
  *size = static_cast<int32_t>(bytes);
  return zepStatusOk;
}

void Init(void* state) {
  DecoderRecord progress = {};
  std::memcpy(progress.id, kId, sizeof(kId));
  Store(progress, state);
}

void Attach(int32_t* dst, int32_t step, zepiSize size, void* state, int32_t subband,
            int32_t magnitude_bits, int32_t style) {
  DecoderRecord progress = Load(state);
  progress.is_attached = 1;
  progress.dst = reinterpret_cast<uint8_t*>(dst);
  progress.step = step;
  progress.size = size;
  progress.subband = subband;
  progress.planes = std::clamp<int32_t>(magnitude_bits, 0, kMaxPlanes);
  progress.style = style;
  progress.plane = progress.planes - 1;
  progress.passes_left = 0;
  progress.pass = 0;
  progress.has_failed = 0;
  progress.contexts = InitialContexts();
  Store(progress, state);
  if ((style & kKeepFlags) == 0) {
    std::memset(FlagsOf(state), 0, static_cast<size_t>(DecoderFlags::Bytes(size)));
  }
  if ((style & kKeepBlock) != 0) return;
  for (int32_t y = 0; y < size.height; ++y) {
    std::memset(progress.dst + y * progress.step, 0, static_cast<size_t>(size.width) * 4);
  }
}

zepStatus Step(const uint8_t* src, int32_t size, void* state) {
  DecoderRecord progress = Load(state);
  if (progress.IsDone()) return zepStatusOk;
  if (progress.has_failed == 0) {
    kernels.decode(src, static_cast<size_t>(std::max(size, 0)), FlagsOf(state), &progress);
    Store(progress, state);
  }
  return progress.has_failed != 0 ? zepStatusJPEG2KDecodeError : zepStatusOk;
}

// After a failed pass on plane p: keeps the planes above p and sets bit p, the midpoint, in samples
// that are not 0.
void Conceal(const DecoderRecord& progress) {
  const uint32_t bit = 1u << progress.plane;
  for (int32_t y = 0; y < progress.size.height; ++y) {
    uint8_t* row = progress.dst + y * progress.step;
    for (int32_t x = 0; x < progress.size.width; ++x, row += 4) {
      uint32_t sample;
      std::memcpy(&sample, row, 4);
      sample &= 0u - bit;
      sample = (sample & 0x7FFFFFFF) != 0 ? sample | bit : 0;
      std::memcpy(row, &sample, 4);
    }
  }
}

void ClearBelow(const DecoderRecord& progress) {
  const uint32_t mask = 0u - (1u << progress.plane);
  const uint64_t masks = uint64_t{mask} << 32 | mask;
  for (int32_t y = 0; y < progress.size.height; ++y) {
    uint8_t* sample = progress.dst + y * progress.step;
    int32_t left = progress.size.width;
    for (; left >= 4; left -= 4, sample += 16) {
      uint64_t four[2];
      std::memcpy(four, sample, 16);
      four[0] &= masks;
      four[1] &= masks;
      std::memcpy(sample, four, 16);
    }
    for (; left > 0; --left, sample += 4) {
      uint32_t one;
      std::memcpy(&one, sample, 4);
      one &= mask;
      std::memcpy(sample, &one, 4);
    }
  }
}

}  // namespace
}  // namespace zepjp::codeblock

using namespace zepjp;
using namespace zepjp::codeblock;

zepStatus ZEP_CALL zepiDecodeGetBufSize_JPEG2K(zepiSize codeBlockMaxSize, int32_t* pSize) {
  return StateSize(codeBlockMaxSize, pSize);
}

zepStatus ZEP_CALL zepiDecodeCBProgrGetStateSize_JPEG2K(zepiSize codeBlockMaxSize, int32_t* pSize) {
  return StateSize(codeBlockMaxSize, pSize);
}

zepStatus ZEP_CALL zepiDecodeCBProgrInit_JPEG2K(zepiDecodeStateJPEG2K* pState) {
  if (auto bad = Checks().Ptr(pState).Failed()) return bad;
  Init(pState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrInitAlloc_JPEG2K(zepiDecodeStateJPEG2K** ppState,
                                                     zepiSize codeBlockMaxSize) {
  if (auto bad = Checks().Ptr(ppState).Size(codeBlockMaxSize).Failed()) return bad;
  int32_t size = 0;
  StateSize(codeBlockMaxSize, &size);
  *ppState = static_cast<zepiDecodeStateJPEG2K*>(Allocate(size));
  if (*ppState == nullptr) return zepStatusMemAlloc;
  Init(*ppState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrFree_JPEG2K(zepiDecodeStateJPEG2K* pState) {
  if (auto bad = Checks().Ptr(pState).Failed()) return bad;
  Release(pState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(int32_t* pDst, int32_t dstStep,
                                                          zepiSize codeBlockSize,
                                                          zepiDecodeStateJPEG2K* pState,
                                                          int32_t subband, int32_t magnBits,
                                                          int32_t codeStyleFlags) {
  if (auto bad = CheckState(pState).Ptr(pDst).Step(dstStep).Size(codeBlockSize).Failed()) {
    return bad;
  }
  Attach(pDst, dstStep, codeBlockSize, pState, subband, magnBits, codeStyleFlags);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrSetPassCounter_JPEG2K(int32_t nOfPasses,
                                                          zepiDecodeStateJPEG2K* pState) {
  if (auto bad = CheckState(pState).Failed()) return bad;
  DecoderRecord progress = Load(pState);
  progress.passes_left = nOfPasses;
  Store(progress, pState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrGetPassCounter_JPEG2K(const zepiDecodeStateJPEG2K* pState,
                                                          int32_t* pCounter) {
  if (auto bad = Checks().Ptr(pState).Ptr(pCounter).Identifier(pState, kId).Failed()) {
    return bad;
  }
  *pCounter = Load(pState).passes_left;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(const zepiDecodeStateJPEG2K* pState,
                                                             int32_t* pBitPlane) {
  if (auto bad = CheckState(pState).Ptr(pBitPlane).Failed()) return bad;
  *pBitPlane = Load(pState).plane;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDecodeCBProgrStep_JPEG2K(const uint8_t* pSrc, int32_t srcLen,
                                                zepiDecodeStateJPEG2K* pState) {
  const auto is_detached = [=] { return Load(pState).is_attached == 0; };
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pState)
                     .Identifier(pState, kId)
                     .Refuse(is_detached, zepStatusJPEG2KNotAttached)
                     .Failed()) {
    return bad;
  }
  return Step(pSrc, srcLen, pState);
}

zepStatus ZEP_CALL zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(
    const uint8_t* pSrc, int32_t* pDst, int32_t dstStep, zepiSize codeBlockSize, int32_t subband,
    int32_t magnBits, int32_t nOfPasses, const int32_t* pTermPassLen, int32_t nOfTermPasses,
    int32_t codeStyleFlags, int32_t* pErrorBitPlane, uint8_t* pState) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pState)
                     .Size(codeBlockSize)
                     .Ptr(pTermPassLen)
                     .Ptr(pDst)
                     .Step(dstStep)
                     .Failed()) {
    return bad;
  }
  Init(pState);
  Attach(pDst, dstStep, codeBlockSize, pState, subband, magnBits, codeStyleFlags);
  DecoderRecord progress = Load(pState);
  progress.passes_left = nOfPasses;
  Store(progress, pState);
  zepStatus status = zepStatusOk;
  for (int32_t k = 0; k < nOfTermPasses && status == zepStatusOk; ++k) {
    int32_t length;
    std::memcpy(&length, pTermPassLen + k, sizeof(length));
    status = Step(pSrc, length, pState);
    pSrc += std::max(length, 0);
  }
  progress = Load(pState);
  if (status == zepStatusJPEG2KDecodeError) {
    if (pErrorBitPlane != nullptr) *pErrorBitPlane = progress.plane;
    if ((codeStyleFlags & kConceal) != 0 && progress.plane >= 1) Conceal(progress);
  }
  if ((codeStyleFlags & kKeepBitsBelow) == 0 && progress.plane >= 1) ClearBelow(progress);
  return status;
}
#endif  // HWY_ONCE
