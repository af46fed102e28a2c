// SPDX-License-Identifier: MIT
#include "reference/component_transforms.h"

#include <limits>

#include "reference/pixels.h"

namespace reference {
namespace {

template <class T>
struct Pixel {
  T c0, c1, c2;
};

template <class T>
T Low(int64_t value) {
  return static_cast<T>(value);
}
template <class T>
T Saturate(int64_t value) {
  return static_cast<T>(
      std::clamp<int64_t>(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

// A sum of the reversible transform: exact for 16-bit elements, the low 32 bits for 32-bit ones.
int64_t Sum(int64_t value) { return static_cast<int32_t>(value); }

template <class T>
Pixel<T> RctForward(Pixel<T> p) {
  const int64_t r = p.c0, g = p.c1, b = p.c2;
  return {Low<T>(Sum(r + 2 * g + b) >> 2), Low<T>(b - g), Low<T>(r - g)};
}

template <class T>
Pixel<T> RctInverse(Pixel<T> p) {
  const int64_t y = p.c0, u = p.c1, v = p.c2;
  const int64_t g = y - (Sum(u + v) >> 2);
  return {Low<T>(v + g), Low<T>(g), Low<T>(u + g)};
}

Pixel<int32_t> IctForward32(Pixel<int32_t> p) {
  const int64_t r = p.c0, g = p.c1, b = p.c2;
  return {Low<int32_t>((4899 * r + 9617 * g + 1868 * b + 8192) >> 14),
          Low<int32_t>((-2765 * r - 5427 * g + 8192 * b + 8192) >> 14),
          Low<int32_t>((8192 * r - 6860 * g - 1332 * b + 8192) >> 14)};
}

Pixel<int64_t> IctInverse(int64_t y, int64_t cb, int64_t cr) {
  return {y + ((22970 * cr + 8192) >> 14), y + ((-11700 * cr - 5638 * cb + 8192) >> 14),
          y + ((29032 * cb + 8192) >> 14)};
}
Pixel<int32_t> IctInverse32(Pixel<int32_t> p) {
  const Pixel<int64_t> rgb = IctInverse(p.c0, p.c1, p.c2);
  return {Low<int32_t>(rgb.c0), Low<int32_t>(rgb.c1), Low<int32_t>(rgb.c2)};
}
Pixel<int16_t> IctInverse16(Pixel<int16_t> p) {
  const Pixel<int64_t> rgb = IctInverse(p.c0, p.c1, p.c2);
  return {Saturate<int16_t>(rgb.c0), Saturate<int16_t>(rgb.c1), Saturate<int16_t>(rgb.c2)};
}

Pixel<int16_t> IctForward16(Pixel<int16_t> p) {
  const int32_t r = p.c0, g = p.c1, b = p.c2;
  const int32_t s = 4899 * r + 9617 * g + 1868 * b;
  const int32_t y = std::min((s + 8192) >> 14, 32767);
  const int32_t db = Low<int16_t>((b * 16384 - s + 8192) >> 14);
  const int32_t dr = Low<int16_t>((r * 16384 - s + 8192) >> 14);
  return {Low<int16_t>(y), Saturate<int16_t>((db * 9246 + 8192) >> 14),
          Saturate<int16_t>((dr * 11686 + 8192) >> 14)};
}

Pixel<float> IctForwardFloat(Pixel<float> p) {
  const float r = p.c0, g = p.c1, b = p.c2;
  return {0.299F * r + 0.587F * g + 0.114F * b, -0.16875F * r - 0.33126F * g + 0.5F * b,
          0.5F * r - 0.41869F * g - 0.08131F * b};
}
Pixel<float> IctInverseFloat(Pixel<float> p) {
  const float y = p.c0, cb = p.c1, cr = p.c2;
  return {y + 1.402F * cr, y - 0.34413F * cb - 0.71414F * cr, y + 1.772F * cb};
}

template <class T>
zepStatus InPlace(Pixel<T> (*transform)(Pixel<T>), T* const planes[3], int32_t step,
                  zepiSize size) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) {
      const Pixel<T> out = transform(
          {Get(planes[0], step, x, y), Get(planes[1], step, x, y), Get(planes[2], step, x, y)});
      Put(planes[0], step, x, y, out.c0);
      Put(planes[1], step, x, y, out.c1);
      Put(planes[2], step, x, y, out.c2);
    }
  }
  return zepStatusOk;
}

template <class T>
zepStatus ToPlanes(Pixel<T> (*transform)(Pixel<T>), const T* src, int32_t src_step, T* const dst[3],
                   int32_t dst_step, zepiSize size) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) {
      const Pixel<T> out =
          transform({Get(src, src_step, 3 * x, y), Get(src, src_step, 3 * x + 1, y),
                     Get(src, src_step, 3 * x + 2, y)});
      Put(dst[0], dst_step, x, y, out.c0);
      Put(dst[1], dst_step, x, y, out.c1);
      Put(dst[2], dst_step, x, y, out.c2);
    }
  }
  return zepStatusOk;
}

template <class T>
zepStatus ToPixels(Pixel<T> (*transform)(Pixel<T>), const T* const src[3], int32_t src_step, T* dst,
                   int32_t dst_step, zepiSize size) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) {
      const Pixel<T> out = transform(
          {Get(src[0], src_step, x, y), Get(src[1], src_step, x, y), Get(src[2], src_step, x, y)});
      Put(dst, dst_step, 3 * x, y, out.c0);
      Put(dst, dst_step, 3 * x + 1, y, out.c1);
      Put(dst, dst_step, 3 * x + 2, y, out.c2);
    }
  }
  return zepStatusOk;
}

}  // namespace

#define IN_PLACE(name, T, transform) \
  ZEPJP_REFERENCE_IN_PLACE(name, T) { return InPlace<T>(transform, planes, step, size); }
#define TO_PLANES(name, T, transform)                                  \
  ZEPJP_REFERENCE_TO_PLANES(name, T) {                                 \
    return ToPlanes<T>(transform, src, src_step, dst, dst_step, size); \
  }
#define TO_PIXELS(name, T, transform)                                  \
  ZEPJP_REFERENCE_TO_PIXELS(name, T) {                                 \
    return ToPixels<T>(transform, src, src_step, dst, dst_step, size); \
  }

IN_PLACE(zepiRCTFwd_JPEG2K_16s_P3IR, int16_t, RctForward<int16_t>)
IN_PLACE(zepiRCTInv_JPEG2K_16s_P3IR, int16_t, RctInverse<int16_t>)
IN_PLACE(zepiRCTFwd_JPEG2K_32s_P3IR, int32_t, RctForward<int32_t>)
IN_PLACE(zepiRCTInv_JPEG2K_32s_P3IR, int32_t, RctInverse<int32_t>)
IN_PLACE(zepiICTFwd_JPEG2K_16s_P3IR, int16_t, IctForward16)
IN_PLACE(zepiICTInv_JPEG2K_16s_P3IR, int16_t, IctInverse16)
IN_PLACE(zepiICTFwd_JPEG2K_32s_P3IR, int32_t, IctForward32)
IN_PLACE(zepiICTInv_JPEG2K_32s_P3IR, int32_t, IctInverse32)
IN_PLACE(zepiICTFwd_JPEG2K_32f_P3IR, float, IctForwardFloat)
IN_PLACE(zepiICTInv_JPEG2K_32f_P3IR, float, IctInverseFloat)
TO_PLANES(zepiRCTFwd_JPEG2K_16s_C3P3R, int16_t, RctForward<int16_t>)
TO_PLANES(zepiRCTFwd_JPEG2K_32s_C3P3R, int32_t, RctForward<int32_t>)
TO_PLANES(zepiICTFwd_JPEG2K_32f_C3P3R, float, IctForwardFloat)
TO_PIXELS(zepiRCTInv_JPEG2K_16s_P3C3R, int16_t, RctInverse<int16_t>)
TO_PIXELS(zepiRCTInv_JPEG2K_32s_P3C3R, int32_t, RctInverse<int32_t>)
TO_PIXELS(zepiICTInv_JPEG2K_32f_P3C3R, float, IctInverseFloat)

}  // namespace reference
