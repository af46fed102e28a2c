// SPDX-License-Identifier: MIT
// The pixels of the public structs in the terms of the codecs, and back.
#ifndef ZEPJP_CODECS_API_PIXELS_H_
#define ZEPJP_CODECS_API_PIXELS_H_

#include <cstdint>
#include <optional>

#include "codecs/include/zepcodec.h"
#include "codecs/support/convert.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

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

// Whether there are sides, a layout and samples.
zepcStatus CheckForm(const zepcPixels& pixels, const std::optional<PixelFormat>& format);
// The same, and whether there are pixels, in rows that do not overlap.
zepcStatus CheckPixels(const zepcPixels& pixels, const std::optional<PixelFormat>& format);

// `background` is RGB, which counts for zepcOpacityBlend; 65535 is white.
OpacityUse OpacityOf(zepcOpacity opacity, const uint16_t* background);

// Status::Unsupported where these samples cannot become those.
Status ConvertPixels(const ConstPixels& from, const OpacityUse& opacity, const Pixels& to);

// Makes a picture of this form, red first. False: no memory.
[[nodiscard]] bool Resize(const PixelFormat& format, int width, int height, Picture* picture);

}  // namespace zepcodec::api

#endif  // ZEPJP_CODECS_API_PIXELS_H_
