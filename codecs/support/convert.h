// SPDX-License-Identifier: MIT
// Converts pixels between layouts, depths and kinds of samples.
#ifndef ZEPJP_CODECS_SUPPORT_CONVERT_H_
#define ZEPJP_CODECS_SUPPORT_CONVERT_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec {

// How a pixel lies in memory.
struct PixelFormat {
  PixelLayout layout = PixelLayout::kRgb;
  SampleType type = SampleType::kU8;
  int bits = 8;
  bool is_bgr = false;  // blue first, red third

  int channels() const { return ChannelCount(layout); }
  size_t BytesPerPixel() const { return static_cast<size_t>(channels() * BytesOf(type)); }
};

// Pixels in memory that is owned elsewhere: rows of `width` pixels, `stride` bytes from one row to
// the next.
struct Pixels {
  uint8_t* data;
  size_t stride;
  int width;
  int height;
  PixelFormat format;
};
struct ConstPixels {
  const uint8_t* data;
  size_t stride;
  int width;
  int height;
  PixelFormat format;
};

PixelFormat FormatOf(const Picture& picture);
Pixels PixelsOf(Picture* picture);
ConstPixels PixelsOf(const Picture& picture);

// What becomes of opacity where the result has none: colours are blended over a background, or kept
// as they are.
struct OpacityUse {
  bool is_dropped = false;
  bool is_removed = false;  // also where the result has opacity, which becomes full
  std::array<double, 3> background = {1, 1, 1};  // 0 to 1
};

// Fills `to`, of the same size, from `from`. Every layout becomes every other one: grey is the
// luminance of ITU-R BT.601; CMYK becomes RGB as (1 - ink)(1 - black), without a profile; RGB
// becomes CMYK without black. Missing opacity is full. Unsigned integers are scaled to
// each other and rounded; fixed point and floats are linear light, and get the curve of sRGB where
// they become integers (below 0 and NaN: 0; above 1: 1). Floats and fixed point are copied but
// never made here: where `to` has such samples it has the type of `from`, and no fewer colours.
Status Convert(const ConstPixels& from, const OpacityUse& opacity, const Pixels& to);

// The same to a picture, which gets the size.
Status Convert(const Picture& from, PixelLayout layout, int bits, const OpacityUse& opacity,
               Picture* to);

// True where there is no opacity, or it is full everywhere.
bool IsOpaque(const Picture& picture);

// Replaces each sample of a colour or ink by the largest value minus it. Opacity stays.
void Invert(Picture* picture);

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_CONVERT_H_
