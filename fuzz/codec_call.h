// SPDX-License-Identifier: MIT
// Makes options of zepcodec.h from a fuzzer's bytes.
#ifndef ZEPJP_FUZZ_CODEC_CALL_H_
#define ZEPJP_FUZZ_CODEC_CALL_H_

#include <cstdint>
#include <cstring>

#include "input.h"
#include "require.h"
#include "zepcodec.h"

namespace fuzz {

// A failure must have a known status and a sentence.
inline void RequireFailure(zepcStatus status) {
  Require(status < 0 && status >= zepcStatusWriteFailed && zepcLastError()[0] != '\0');
}

inline int32_t Pick(Input* input, int32_t count) { return input->Byte() % count; }

inline size_t SampleBytes(zepcSample sample) {
  switch (sample) {
    case zepcSampleU8: return 1;
    case zepcSampleS32:
    case zepcSampleF32: return 4;
    default: return 2;
  }
}

inline size_t ChannelCount(zepcLayout layout) {
  switch (layout) {
    case zepcLayoutGrey: return 1;
    case zepcLayoutGreyAlpha: return 2;
    case zepcLayoutRgb:
    case zepcLayoutBgr: return 3;
    default: return 4;
  }
}

inline size_t PixelBytes(const zepcPixels& pixels) {
  return ChannelCount(pixels.layout) * SampleBytes(pixels.sample);
}

}  // namespace fuzz

#endif  // ZEPJP_FUZZ_CODEC_CALL_H_
