// SPDX-License-Identifier: MIT
#include "reference/rgb_to_ycbcr.h"

#include "reference/pixels.h"

namespace reference {
namespace {

struct Rgb {
  int32_t r, g, b;
};
struct Ycc {
  uint8_t y, cb, cr;
};

uint8_t Luminance15(Rgb p) {
  return Clamp255((9798 * p.r + 19235 * p.g + 3736 * p.b + 16266) >> 15);
}

Ycc Rule15(Rgb p) {
  return {Luminance15(p), Clamp255((-5529 * p.r - 10855 * p.g + 16384 * p.b + 4210688) >> 15),
          Clamp255((16384 * p.r - 13720 * p.g - 2664 * p.b + 4210704) >> 15)};
}

Ycc Rule14(Rgb p) {
  return {Clamp255((4899 * p.r + 9617 * p.g + 1868 * p.b + 8192) >> 14),
          Clamp255((-2764 * p.r - 5428 * p.g + 8192 * p.b + 2105344) >> 14),
          Clamp255((8192 * p.r - 6860 * p.g - 1332 * p.b + 2105344) >> 14)};
}

// Chroma of a group of `count` pixels from the sums of their channels.
Ycc GroupRule(Rgb sum, int32_t count) {
  const int32_t shift = count == 4 ? 16 : 15;
  return {0, Clamp255((-2764 * sum.r - 5428 * sum.g + 8192 * sum.b + count * 2105344) >> shift),
          Clamp255((8192 * sum.r - 6860 * sum.g - 1332 * sum.b + count * 2105344) >> shift)};
}

enum class Order { kRgb, kBgr };

Rgb InterleavedPixel(const uint8_t* src, int32_t step, int32_t channels, Order order, int32_t x,
                     int32_t y) {
  const int32_t first = Get(src, step, x * channels, y);
  const int32_t green = Get(src, step, x * channels + 1, y);
  const int32_t third = Get(src, step, x * channels + 2, y);
  return order == Order::kRgb ? Rgb{first, green, third} : Rgb{third, green, first};
}

Rgb PlanarPixel(const uint8_t* const* src, int32_t step, int32_t x, int32_t y) {
  return {Get(src[0], step, x, y), Get(src[1], step, x, y), Get(src[2], step, x, y)};
}

int32_t Widen(int32_t field, int32_t bits) {
  return (field << (8 - bits)) | (field >> (2 * bits - 8));
}

Rgb PackedPixel(const uint16_t* src, int32_t step, int32_t green_bits, Order order, int32_t x,
                int32_t y) {
  const int32_t word = Get(src, step, x, y);
  const int32_t high = Widen((word >> (5 + green_bits)) & 31, 5);
  const int32_t green = Widen((word >> 5) & ((1 << green_bits) - 1), green_bits);
  const int32_t low = Widen(word & 31, 5);
  return order == Order::kRgb ? Rgb{high, green, low} : Rgb{low, green, high};
}

void Store(uint8_t* const* dst, int32_t step, int32_t x, int32_t y, Ycc value) {
  Put(dst[0], step, x, y, value.y);
  Put(dst[1], step, x, y, value.cb);
  Put(dst[2], step, x, y, value.cr);
}

template <class Pixel>
zepStatus TwoPrecisions(const Pixel& pixel, uint8_t* const* dst, int32_t dst_step, zepiSize size) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) {
      const bool in_group = x < size.width / 8 * 8;
      Store(dst, dst_step, x, y, in_group ? Rule15(pixel(x, y)) : Rule14(pixel(x, y)));
    }
  }
  return zepStatusOk;
}

template <class Pixel>
zepStatus OnePrecision(const Pixel& pixel, uint8_t* const* dst, int32_t dst_step, zepiSize size) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) Store(dst, dst_step, x, y, Rule14(pixel(x, y)));
  }
  return zepStatusOk;
}

template <class Pixel>
zepStatus LuminanceOnly(const Pixel& pixel, uint8_t* dst, int32_t dst_step, zepiSize size) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) Put(dst, dst_step, x, y, Luminance15(pixel(x, y)));
  }
  return zepStatusOk;
}

// Chroma of groups of 2 x `rows` pixels.
template <class Pixel>
zepStatus Reducing(const Pixel& pixel, int32_t rows, uint8_t* const* dst, int32_t dst_step,
                   zepiSize size) {
  LuminanceOnly(pixel, dst[0], dst_step, size);
  for (int32_t y = 0; y < size.height / rows; ++y) {
    for (int32_t x = 0; x < size.width / 2; ++x) {
      Rgb sum = {};
      for (int32_t i = 0; i < 2 * rows; ++i) {
        const Rgb p = pixel(2 * x + i % 2, rows * y + i / 2);
        sum = {sum.r + p.r, sum.g + p.g, sum.b + p.b};
      }
      const Ycc chroma = GroupRule(sum, 2 * rows);
      Put(dst[1], dst_step, x, y, chroma.cb);
      Put(dst[2], dst_step, x, y, chroma.cr);
    }
  }
  const bool odd = size.width % 2 != 0 || (rows == 2 && size.height % 2 != 0);
  return odd ? zepStatusOddSizeWarning : zepStatusOk;
}

// Access to the pixels of a source: the conversions above call the result as pixel(x, y).
auto Interleaved(const uint8_t* src, int32_t step, int32_t channels, Order order) {
  return [=](int32_t x, int32_t y) { return InterleavedPixel(src, step, channels, order, x, y); };
}
auto Packed(const uint16_t* src, int32_t step, int green_bits, Order order) {
  return [=](int32_t x, int32_t y) { return PackedPixel(src, step, green_bits, order, x, y); };
}
auto Planar(const uint8_t* const* src, int32_t step) {
  return [=](int32_t x, int32_t y) { return PlanarPixel(src, step, x, y); };
}

}  // namespace

zepStatus zepiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                       int32_t dst_step, zepiSize size) {
  return TwoPrecisions(Interleaved(src, src_step, 3, Order::kRgb), dst, dst_step, size);
}

zepStatus zepiRGBToYCbCr411_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size) {
  return Reducing(Interleaved(src, src_step, 3, Order::kRgb), 2, dst, dst_step, size);
}

zepStatus zepiRGBToYCbCr422_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size) {
  return Reducing(Interleaved(src, src_step, 3, Order::kRgb), 1, dst, dst_step, size);
}

zepStatus zepiRGBToYCbCr_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                       int32_t dst_step, zepiSize size) {
  return TwoPrecisions(Interleaved(src, src_step, 4, Order::kRgb), dst, dst_step, size);
}

zepStatus zepiRGBToYCbCr411_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size) {
  return Reducing(Interleaved(src, src_step, 4, Order::kRgb), 2, dst, dst_step, size);
}

zepStatus zepiRGBToYCbCr422_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size) {
  return Reducing(Interleaved(src, src_step, 4, Order::kRgb), 1, dst, dst_step, size);
}

zepStatus zepiRGBToY_JPEG_8u_C3C1R(const uint8_t* src, int32_t src_step, uint8_t* dst,
                                   int32_t dst_step, zepiSize size) {
  return LuminanceOnly(Interleaved(src, src_step, 3, Order::kRgb), dst, dst_step, size);
}

zepStatus zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t src_step,
                                             uint8_t* const* dst, int32_t dst_step, zepiSize size) {
  return OnePrecision(Packed(src, src_step, 5, Order::kRgb), dst, dst_step, size);
}

zepStatus zepiRGB565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t src_step,
                                             uint8_t* const* dst, int32_t dst_step, zepiSize size) {
  return OnePrecision(Packed(src, src_step, 6, Order::kRgb), dst, dst_step, size);
}

zepStatus zepiBGRToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                       int32_t dst_step, zepiSize size) {
  return TwoPrecisions(Interleaved(src, src_step, 3, Order::kBgr), dst, dst_step, size);
}

zepStatus zepiBGRToYCbCr411_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size) {
  return Reducing(Interleaved(src, src_step, 3, Order::kBgr), 2, dst, dst_step, size);
}

zepStatus zepiBGRToYCbCr422_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size) {
  return Reducing(Interleaved(src, src_step, 3, Order::kBgr), 1, dst, dst_step, size);
}

zepStatus zepiBGRToYCbCr_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                       int32_t dst_step, zepiSize size) {
  return TwoPrecisions(Interleaved(src, src_step, 4, Order::kBgr), dst, dst_step, size);
}

zepStatus zepiBGRToYCbCr411_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size) {
  return Reducing(Interleaved(src, src_step, 4, Order::kBgr), 2, dst, dst_step, size);
}

zepStatus zepiBGRToYCbCr422_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size) {
  return Reducing(Interleaved(src, src_step, 4, Order::kBgr), 1, dst, dst_step, size);
}

zepStatus zepiBGRToY_JPEG_8u_C3C1R(const uint8_t* src, int32_t src_step, uint8_t* dst,
                                   int32_t dst_step, zepiSize size) {
  return LuminanceOnly(Interleaved(src, src_step, 3, Order::kBgr), dst, dst_step, size);
}

zepStatus zepiBGR555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t src_step,
                                             uint8_t* const* dst, int32_t dst_step, zepiSize size) {
  return OnePrecision(Packed(src, src_step, 5, Order::kBgr), dst, dst_step, size);
}

zepStatus zepiBGR565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t src_step,
                                             uint8_t* const* dst, int32_t dst_step, zepiSize size) {
  return OnePrecision(Packed(src, src_step, 6, Order::kBgr), dst, dst_step, size);
}

zepStatus zepiRGBToYCbCr_JPEG_8u_P3R(const uint8_t* const* src, int32_t src_step,
                                     uint8_t* const* dst, int32_t dst_step, zepiSize size) {
  return TwoPrecisions(Planar(src, src_step), dst, dst_step, size);
}

zepStatus zepiRGBToY_JPEG_8u_P3C1R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                   int32_t dst_step, zepiSize size) {
  return LuminanceOnly(Planar(src, src_step), dst, dst_step, size);
}

zepStatus zepiCMYKToYCCK_JPEG_8u_C4P4R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                       int32_t dst_step, zepiSize size) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x)
      Put(dst[3], dst_step, x, y, Get(src, src_step, 4 * x + 3, y));
  }
  const auto pixel = [=](int32_t x, int32_t y) {
    const Rgb inks = InterleavedPixel(src, src_step, 4, Order::kRgb, x, y);
    return Rgb{255 - inks.r, 255 - inks.g, 255 - inks.b};
  };
  return OnePrecision(pixel, dst, dst_step, size);
}

zepStatus zepiCMYKToYCCK_JPEG_8u_P4R(const uint8_t* const* src, int32_t src_step,
                                     uint8_t* const* dst, int32_t dst_step, zepiSize size) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x)
      Put(dst[3], dst_step, x, y, Get(src[3], src_step, x, y));
  }
  const auto pixel = [=](int32_t x, int32_t y) {
    const Rgb inks = PlanarPixel(src, src_step, x, y);
    return Rgb{255 - inks.r, 255 - inks.g, 255 - inks.b};
  };
  return OnePrecision(pixel, dst, dst_step, size);
}

}  // namespace reference
