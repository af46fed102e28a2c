// SPDX-License-Identifier: MIT
#include "codecs/dds/ycocg.h"

#include <algorithm>

namespace zepcodec::dds {
namespace {

uint8_t Clamp(int value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

}  // namespace

void RgbToYCoCg(const uint8_t* rgb, size_t pixels, uint8_t* ycocg) {
  for (size_t i = 0; i < 3 * pixels; i += 3) {
    const int r = rgb[i], g = rgb[i + 1], b = rgb[i + 2];
    ycocg[i] = Clamp((r + 2 * g + b + 2) >> 2);
    ycocg[i + 1] = Clamp((r - b + 257) >> 1);
    ycocg[i + 2] = Clamp((2 * g - r - b + 514) >> 2);
  }
}

void YCoCgToRgb(const uint8_t* decoded, size_t pixels, uint8_t* rgb) {
  for (size_t i = 0; i < pixels; ++i) {
    const int co = decoded[4 * i] - 128, cg = decoded[4 * i + 1] - 128, y = decoded[4 * i + 3];
    rgb[3 * i] = Clamp(y + co - cg);
    rgb[3 * i + 1] = Clamp(y + cg);
    rgb[3 * i + 2] = Clamp(y - co - cg);
  }
}

}  // namespace zepcodec::dds
