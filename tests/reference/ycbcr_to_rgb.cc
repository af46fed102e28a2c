// SPDX-License-Identifier: MIT
#include "reference/ycbcr_to_rgb.h"

#include "reference/pixels.h"

namespace reference {
namespace {

struct Rgb {
  uint8_t channel[3];
};

Rgb Convert(int32_t y, int32_t cb, int32_t cr) {
  const int32_t u = cb - 128;
  const int32_t v = cr - 128;
  return {{Clamp255((16384 * y + 22970 * v + 8192) >> 14),
           Clamp255((16384 * y - 5638 * u - 11700 * v + 8192) >> 14),
           Clamp255((16384 * y + 29032 * u + 8192) >> 14)}};
}

Rgb PlanarPixel(const uint8_t* const* src, int32_t step, int32_t x, int32_t y) {
  return Convert(Get(src[0], step, x, y), Get(src[1], step, x, y), Get(src[2], step, x, y));
}

template <class Visit>
zepStatus ForPixels(zepiSize size, const Visit& visit) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) visit(x, y);
  }
  return zepStatusOk;
}

// Pixel (x, y) with chroma sample (x / 2, y / rows).
Rgb HalfPixel(const uint8_t* const* src, const int32_t* steps, int32_t rows, int32_t x, int32_t y) {
  return Convert(Get(src[0], steps[0], x, y), Get(src[1], steps[1], x / 2, y / rows),
                 Get(src[2], steps[2], x / 2, y / rows));
}

enum class Order { kRgb, kBgr };

void PutPixel(uint8_t* dst, int32_t step, int32_t channels, Order order, int32_t x, int32_t y,
              const Rgb& p) {
  for (int32_t i = 0; i < 3; ++i) {
    Put(dst, step, channels * x + i, y, p.channel[order == Order::kRgb ? i : 2 - i]);
  }
}
void PutPixel(uint8_t* dst, int32_t step, Order order, int32_t x, int32_t y, const Rgb& p,
              uint8_t alpha) {
  PutPixel(dst, step, 4, order, x, y, p);
  Put(dst, step, 4 * x + 3, y, alpha);
}

uint16_t PackedWord(const Rgb& p, int32_t green_bits, Order order) {
  const int32_t high = p.channel[order == Order::kRgb ? 0 : 2] >> 3;
  const int32_t green = p.channel[1] >> (8 - green_bits);
  const int32_t low = p.channel[order == Order::kRgb ? 2 : 0] >> 3;
  return static_cast<uint16_t>(high << (5 + green_bits) | green << 5 | low);
}

}  // namespace

zepStatus zepiYCbCrToRGB_JPEG_8u_P3C3R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                       int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    const Rgb p = PlanarPixel(src, src_step, x, y);
    for (int32_t i = 0; i < 3; ++i) Put(dst, dst_step, 3 * x + i, y, p.channel[i]);
  });
}

zepStatus zepiYCbCrToBGR_JPEG_8u_P3C3R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                       int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    const Rgb p = PlanarPixel(src, src_step, x, y);
    for (int32_t i = 0; i < 3; ++i) Put(dst, dst_step, 3 * x + i, y, p.channel[2 - i]);
  });
}

zepStatus zepiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const* src, int32_t src_step,
                                     uint8_t* const* dst, int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    const Rgb p = PlanarPixel(src, src_step, x, y);
    for (int32_t i = 0; i < 3; ++i) Put(dst[i], dst_step, x, y, p.channel[i]);
  });
}

zepStatus zepiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                       int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    const Rgb p = PlanarPixel(src, src_step, x, y);
    for (int32_t i = 0; i < 3; ++i) {
      Put(dst, dst_step, 4 * x + i, y, static_cast<uint8_t>(255 - p.channel[i]));
    }
    Put(dst, dst_step, 4 * x + 3, y, Get(src[3], src_step, x, y));
  });
}

zepStatus zepiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const* src, int32_t src_step,
                                     uint8_t* const* dst, int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    const Rgb p = PlanarPixel(src, src_step, x, y);
    for (int32_t i = 0; i < 3; ++i) {
      Put(dst[i], dst_step, x, y, static_cast<uint8_t>(255 - p.channel[i]));
    }
    Put(dst[3], dst_step, x, y, Get(src[3], src_step, x, y));
  });
}

zepStatus zepiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* src, int32_t src_step, uint8_t* dst,
                                          int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    const int32_t pair = x / 2 * 4;
    const Rgb p = Convert(Get(src, src_step, 2 * x, y), Get(src, src_step, pair + 1, y),
                          Get(src, src_step, pair + 3, y));
    for (int32_t i = 0; i < 3; ++i) Put(dst, dst_step, 3 * x + i, y, p.channel[i]);
  });
}

zepStatus zepiYCbCrToRGB_JPEG_8u_P3C4R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                       int32_t dst_step, zepiSize size, uint8_t alpha) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    PutPixel(dst, dst_step, Order::kRgb, x, y, PlanarPixel(src, src_step, x, y), alpha);
  });
}

zepStatus zepiYCbCrToBGR_JPEG_8u_P3C4R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                       int32_t dst_step, zepiSize size, uint8_t alpha) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    PutPixel(dst, dst_step, Order::kBgr, x, y, PlanarPixel(src, src_step, x, y), alpha);
  });
}

zepStatus zepiYCbCr411ToRGB_JPEG_8u_P3C3R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    PutPixel(dst, dst_step, 3, Order::kRgb, x, y, HalfPixel(src, src_step, 2, x, y));
  });
}

zepStatus zepiYCbCr411ToRGB_JPEG_8u_P3C4R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size,
                                          uint8_t alpha) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    PutPixel(dst, dst_step, Order::kRgb, x, y, HalfPixel(src, src_step, 2, x, y), alpha);
  });
}

zepStatus zepiYCbCr411ToBGR_JPEG_8u_P3C3R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    PutPixel(dst, dst_step, 3, Order::kBgr, x, y, HalfPixel(src, src_step, 2, x, y));
  });
}

zepStatus zepiYCbCr411ToBGR_JPEG_8u_P3C4R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size,
                                          uint8_t alpha) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    PutPixel(dst, dst_step, Order::kBgr, x, y, HalfPixel(src, src_step, 2, x, y), alpha);
  });
}

zepStatus zepiYCbCr422ToRGB_JPEG_8u_P3C3R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    PutPixel(dst, dst_step, 3, Order::kRgb, x, y, HalfPixel(src, src_step, 1, x, y));
  });
}

zepStatus zepiYCbCr422ToRGB_JPEG_8u_P3C4R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size,
                                          uint8_t alpha) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    PutPixel(dst, dst_step, Order::kRgb, x, y, HalfPixel(src, src_step, 1, x, y), alpha);
  });
}

zepStatus zepiYCbCr422ToBGR_JPEG_8u_P3C3R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    PutPixel(dst, dst_step, 3, Order::kBgr, x, y, HalfPixel(src, src_step, 1, x, y));
  });
}

zepStatus zepiYCbCr422ToBGR_JPEG_8u_P3C4R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size,
                                          uint8_t alpha) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    PutPixel(dst, dst_step, Order::kBgr, x, y, HalfPixel(src, src_step, 1, x, y), alpha);
  });
}

zepStatus zepiYCbCrToRGB555_JPEG_8u16u_P3C3R(const uint8_t* const* src, int32_t src_step,
                                             uint16_t* dst, int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    Put(dst, dst_step, x, y, PackedWord(PlanarPixel(src, src_step, x, y), 5, Order::kRgb));
  });
}

zepStatus zepiYCbCrToRGB565_JPEG_8u16u_P3C3R(const uint8_t* const* src, int32_t src_step,
                                             uint16_t* dst, int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    Put(dst, dst_step, x, y, PackedWord(PlanarPixel(src, src_step, x, y), 6, Order::kRgb));
  });
}

zepStatus zepiYCbCrToBGR555_JPEG_8u16u_P3C3R(const uint8_t* const* src, int32_t src_step,
                                             uint16_t* dst, int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    Put(dst, dst_step, x, y, PackedWord(PlanarPixel(src, src_step, x, y), 5, Order::kBgr));
  });
}

zepStatus zepiYCbCrToBGR565_JPEG_8u16u_P3C3R(const uint8_t* const* src, int32_t src_step,
                                             uint16_t* dst, int32_t dst_step, zepiSize size) {
  return ForPixels(size, [=](int32_t x, int32_t y) {
    Put(dst, dst_step, x, y, PackedWord(PlanarPixel(src, src_step, x, y), 6, Order::kBgr));
  });
}

}  // namespace reference
