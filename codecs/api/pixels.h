// SPDX-License-Identifier: MIT
// The pixels of the public structs in the terms of the codecs, and back.
#ifndef ZEPJP_CODECS_API_PIXELS_H_
#define ZEPJP_CODECS_API_PIXELS_H_

#include <optional>

#include "codecs/include/zepcodec.h"
#include "codecs/support/convert.h"
#include "codecs/support/picture.h"

namespace zepcodec::api {

// Nothing: zepcLayoutNative, or no layout at all; so with the samples.
std::optional<PixelLayout> ChannelsOf(zepcLayout layout);
std::optional<SampleType> TypeOf(zepcSample sample);
bool IsBgr(zepcLayout layout);

zepcLayout LayoutOf(PixelLayout layout, bool is_bgr = false);
zepcSample SampleOf(SampleType type);

constexpr bool IsUnsigned(SampleType type) {
  return type == SampleType::kU8 || type == SampleType::kU16;
}

// The form of the caller's pixels; nothing: their layout, samples or depth do not exist.
std::optional<PixelFormat> FormatOf(const zepcPixels& pixels);

// Makes a picture of this form, red first. False: no memory.
[[nodiscard]] bool Resize(const PixelFormat& format, int width, int height, Picture* picture);

}  // namespace zepcodec::api

#endif  // ZEPJP_CODECS_API_PIXELS_H_
