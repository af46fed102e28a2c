// SPDX-License-Identifier: MIT
#include "reference/sampling.h"

#include "reference/pixels.h"

namespace reference {
namespace {

template <class Value>
zepStatus Fill(uint8_t* dst, int32_t step, zepiSize size, const Value& value) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) {
      Put(dst, step, x, y, static_cast<uint8_t>(value(x, y)));
    }
  }
  return zepStatusOk;
}

// A sample by its position, the edges repeated.
struct Samples {
  const uint8_t* base;
  int32_t step;
  zepiSize size;
  int32_t operator()(int32_t x, int32_t y) const {
    return Get(base, step, std::clamp(x, 0, size.width - 1), std::clamp(y, 0, size.height - 1));
  }
};

// The neighbour that is farther from result `position` than position / 2.
int32_t Far(int32_t position) { return position / 2 + (position % 2 == 0 ? -1 : 1); }

}  // namespace

zepStatus zepiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* src, int32_t src_step, zepiSize src_size,
                                         uint8_t* dst, int32_t dst_step, zepiSize dst_size) {
  const Samples s = {src, src_step, src_size};
  return Fill(dst, dst_step, dst_size,
              [=](int32_t x, int32_t y) { return (s(2 * x, y) + s(2 * x + 1, y) + 1) >> 1; });
}

zepStatus zepiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* src, int32_t src_step, zepiSize src_size,
                                         uint8_t* dst, int32_t dst_step, zepiSize dst_size) {
  const Samples s = {src, src_step, src_size};
  return Fill(dst, dst_step, dst_size, [=](int32_t x, int32_t y) {
    return (s(2 * x, 2 * y) + s(2 * x + 1, 2 * y) + s(2 * x, 2 * y + 1) + s(2 * x + 1, 2 * y + 1) +
            2) >>
           2;
  });
}

zepStatus zepiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* src, int32_t src_step, zepiSize src_size,
                                       uint8_t* dst, int32_t dst_step, zepiSize dst_size) {
  const Samples s = {src, src_step, src_size};
  return Fill(dst, dst_step, dst_size,
              [=](int32_t x, int32_t y) { return (3 * s(x / 2, y) + s(Far(x), y) + 2) >> 2; });
}

zepStatus zepiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* src, int32_t src_step, zepiSize src_size,
                                       uint8_t* dst, int32_t dst_step, zepiSize dst_size) {
  const Samples s = {src, src_step, src_size};
  return Fill(dst, dst_step, dst_size, [=](int32_t x, int32_t y) {
    return (9 * s(x / 2, y / 2) + 3 * s(Far(x), y / 2) + 3 * s(x / 2, Far(y)) + s(Far(x), Far(y)) +
            8) >>
           4;
  });
}

zepStatus zepiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* src, int32_t width, uint8_t* dst) {
  const Samples s = {src, 0, {width, 1}};
  return Fill(dst, 0, {(width + 1) / 2, 1},
              [=](int32_t x, int32_t) { return (s(2 * x, 0) + s(2 * x + 1, 0) + 1) >> 1; });
}

zepStatus zepiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                               int32_t width, uint8_t* dst) {
  const Samples a = {src1, 0, {width, 1}}, b = {src2, 0, {width, 1}};
  return Fill(dst, 0, {(width + 1) / 2, 1}, [=](int32_t x, int32_t) {
    return (a(2 * x, 0) + a(2 * x + 1, 0) + b(2 * x, 0) + b(2 * x + 1, 0) + 2) >> 2;
  });
}

zepStatus zepiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* src, int32_t width, uint8_t* dst) {
  const Samples s = {src, 0, {width, 1}};
  return Fill(dst, 0, {2 * width, 1},
              [=](int32_t x, int32_t) { return (3 * s(x / 2, 0) + s(Far(x), 0) + 2) >> 2; });
}

zepStatus zepiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                  int32_t width, uint8_t* dst) {
  const Samples near = {src1, 0, {width, 1}}, far = {src2, 0, {width, 1}};
  return Fill(dst, 0, {2 * width, 1}, [=](int32_t x, int32_t) {
    return (9 * near(x / 2, 0) + 3 * near(Far(x), 0) + 3 * far(x / 2, 0) + far(Far(x), 0) + 8) >> 4;
  });
}

}  // namespace reference
