// SPDX-License-Identifier: MIT
// The exports of the code-block encoder (ISO/IEC 15444-1, annex D). block_encoder-inl.h codes a
// block.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "frame/checks.h"
#include "frame/memory.h"
#include "jpeg2k/codeblock/encoder_state.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg2k/codeblock/codeblock_encoder.cc"
#include "hwy/foreach_target.h"
#include "jpeg2k/codeblock/block_encoder-inl.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_CODEBLOCK_ENCODER
#  define ZEPJP_CODEBLOCK_ENCODER
namespace zepjp::codeblock {
namespace {

struct Kernels {
  void (*encode)(const Job& job, Coder* coder);
};

}  // namespace
}  // namespace zepjp::codeblock
#endif  // ZEPJP_CODEBLOCK_ENCODER

ZEP_BEFORE_NAMESPACE();
namespace zepjp::codeblock::HWY_NAMESPACE {
namespace {

void Encode(const Job& job, Coder* coder) { BlockEncoder(job, coder).Encode(); }

constexpr Kernels kKernels = {.encode = Encode};

}  // namespace
}  // namespace zepjp::codeblock::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

struct zepiEncodeStateJPEG2K {
  char id[4];
  zepjp::codeblock::Coder* coder;
};

namespace zepjp::codeblock {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

constexpr char kId[4] = {'D', 'S', 'M', 'L'};

Checks CheckState(const zepiEncodeStateJPEG2K* state) {
  return Checks().Ptr(state).Identifier(state, kId);
}

void* AllocateBytes(int64_t bytes) {
  return bytes > INT32_MAX ? nullptr : zepjp::Allocate(static_cast<int32_t>(bytes));
}

void Free(zepiEncodeStateJPEG2K* state) {
  if (state->coder != nullptr) {
    if (state->coder->code != nullptr) Release(state->coder->code - 1);
    Release(state->coder->planes);
    Release(state->coder->flags);
  }
  Release(state->coder);
  Release(state);
}

bool AllocateCoder(zepiSize most, zepiEncodeStateJPEG2K* state) {
  state->coder = nullptr;
  if (CodeBytes(most) >= INT32_MAX) return false;
  state->coder = static_cast<Coder*>(AllocateBytes(sizeof(Coder)));
  if (state->coder == nullptr) return false;
  Coder* coder = state->coder;
  coder->pass_count = coder->segment_count = coder->sf_bits = coder->size = coder->stored = 0;
  auto* code = static_cast<uint8_t*>(AllocateBytes(CodeBytes(most) + 1));
  coder->code = code == nullptr ? nullptr : code + 1;
  if (code != nullptr) *code = 0;
  const auto words = static_cast<int64_t>(WordCount(most));
  coder->planes = static_cast<uint64_t*>(AllocateBytes(words * 8 * kMaxPlanes));
  coder->flags = static_cast<uint64_t*>(AllocateBytes(static_cast<int64_t>(FlagCount(most)) * 8));
  return code != nullptr && coder->planes != nullptr && coder->flags != nullptr;
}

// The checks of GetRate, GetDist and GetTermPassLen.
zepStatus CheckQuery(const zepiEncodeStateJPEG2K* state, int32_t pass, const void* result) {
  const auto has_no_such_pass = [=] { return pass < 0 || pass >= state->coder->pass_count; };
  return CheckState(state)
      .Ptr(result)
      .Refuse(has_no_such_pass, zepStatusJPEG2KBadPassNumber)
      .Failed();
}

}  // namespace
}  // namespace zepjp::codeblock

using namespace zepjp;
using namespace zepjp::codeblock;

zepStatus ZEP_CALL zepiEncodeInitAlloc_JPEG2K(zepiEncodeStateJPEG2K** ppState,
                                              zepiSize codeBlockMaxSize) {
  if (auto bad = Checks().Ptr(ppState).Size(codeBlockMaxSize).Failed()) return bad;
  *ppState = nullptr;
  auto* state = static_cast<zepiEncodeStateJPEG2K*>(AllocateBytes(sizeof(zepiEncodeStateJPEG2K)));
  if (state == nullptr) return zepStatusMemAlloc;
  std::memcpy(state->id, kId, sizeof(kId));
  if (!AllocateCoder(codeBlockMaxSize, state)) {
    Free(state);
    return zepStatusMemAlloc;
  }
  *ppState = state;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
    const int32_t* pSrc, int32_t srcStep, zepiSize codeBlockSize, zepiEncodeStateJPEG2K* pState,
    int32_t subband, int32_t magnBits, int32_t /*param1*/, int32_t /*param2*/,
    int32_t codeStyleFlags, int32_t* pSfBits, int32_t* pNOfPasses, int32_t* pNOfTermPasses) {
  if (auto bad = CheckState(pState)
                     .Ptr(pSfBits)
                     .Ptr(pNOfPasses)
                     .Ptr(pNOfTermPasses)
                     .Size(codeBlockSize)
                     .Ptr(pSrc)
                     .Step(srcStep)
                     .Failed()) {
    return bad;
  }
  Coder* coder = pState->coder;
  const Job job = {
      reinterpret_cast<const uint8_t*>(pSrc),       srcStep,       codeBlockSize, subband,
      std::clamp<int32_t>(magnBits, 0, kMaxPlanes), codeStyleFlags};
  kernels.encode(job, coder);
  *pSfBits = coder->sf_bits;
  *pNOfPasses = coder->pass_count;
  *pNOfTermPasses = coder->segment_count;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeGetRate_JPEG2K(const zepiEncodeStateJPEG2K* pState, int32_t passNumber,
                                            int32_t* pRate) {
  if (auto bad = CheckQuery(pState, passNumber, pRate)) return bad;
  *pRate = pState->coder->passes[passNumber].rate;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeGetDist_JPEG2K(const zepiEncodeStateJPEG2K* pState, int32_t passNumber,
                                            double* pDist) {
  if (auto bad = CheckQuery(pState, passNumber, pDist)) return bad;
  double sum = 0;
  for (int32_t k = 0; k <= passNumber; ++k) {
    const Pass& pass = pState->coder->passes[k];
    sum += std::ldexp(pass.mantissa, pass.exponent);
  }
  *pDist = sum;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeGetTermPassLen_JPEG2K(const zepiEncodeStateJPEG2K* pState,
                                                   int32_t passNumber, int32_t* pLength) {
  if (auto bad = CheckQuery(pState, passNumber, pLength)) return bad;
  *pLength = pState->coder->passes[passNumber].length;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeStoreBits_JPEG2K_1u(uint8_t* pDst, int32_t* pDstLen,
                                                 zepiEncodeStateJPEG2K* pState,
                                                 int32_t* pIsNotFinished) {
  if (auto bad = CheckState(pState)
                     .Ptr(pDst)
                     .Ptr(pDstLen)
                     .Ptr(pIsNotFinished)
                     .Refuse([=] { return *pDstLen < 1; }, zepStatusBadSize)
                     .Failed()) {
    return bad;
  }
  Coder* coder = pState->coder;
  const int32_t count = std::min(*pDstLen, coder->size - coder->stored);
  std::memcpy(pDst, coder->code + coder->stored, static_cast<size_t>(count));
  coder->stored += count;
  *pDstLen = count;
  *pIsNotFinished = coder->stored < coder->size ? 1 : 0;
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiEncodeFree_JPEG2K(zepiEncodeStateJPEG2K* pState) {
  if (auto bad = Checks().Ptr(pState).Failed()) return bad;
  Free(pState);
  return zepStatusOk;
}
#endif  // HWY_ONCE
