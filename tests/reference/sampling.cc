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

}  // namespace reference
