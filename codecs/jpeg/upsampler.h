// SPDX-License-Identifier: MIT
// Brings rows of a component to the picture's resolution.
#ifndef ZEPJP_CODECS_JPEG_UPSAMPLER_H_
#define ZEPJP_CODECS_JPEG_UPSAMPLER_H_

#include <cstdint>
#include <vector>

#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/plane.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

// Ratios of 2, across or down or both, use the triangle filter. Other ratios (3:2, 4:1) repeat
// samples.
class Upsampler {
 public:
  // False: no memory.
  [[nodiscard]] bool Init(const Geometry& geometry, const ComponentGeometry& place,
                          const Plane* plane);

  // The rows first..last-1 of the picture, plane->step() bytes apart. `first` is 0, or the last row
  // of a row of MCUs; `last` is the last row of the picture plus 1, or the last row of a row of
  // MCUs. The plane must hold the samples of these rows and of those next to them. The result lives
  // until the next call.
  const uint8_t* Rows(int first, int last);

 private:
  enum class Way { kNone, kDoubleWidth, kDoubleHeight, kDoubleBoth, kRepeat };

  void DoubleHeight(int first, int last);
  void Repeat(int first, int last);
  uint8_t* Out(int row) { return rows_.data() + static_cast<size_t>(row) * step_; }

  Way way_ = Way::kNone;
  const Plane* plane_ = nullptr;
  ComponentGeometry place_{};
  int picture_width_ = 0;
  int unit_height_ = 0;  // rows of the picture for every samples_down_ rows of the component
  int samples_down_ = 0;
  size_t step_ = 0;
  ByteBuffer rows_;
  std::vector<int32_t> columns_;  // for kRepeat: which sample each column shows
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_UPSAMPLER_H_
