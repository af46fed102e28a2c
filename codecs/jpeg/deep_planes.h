// SPDX-License-Identifier: MIT
// Samples of 12 bits: the components of a file as planes, and pictures of them.
#ifndef ZEPJP_CODECS_JPEG_DEEP_PLANES_H_
#define ZEPJP_CODECS_JPEG_DEEP_PLANES_H_

#include <cstdint>
#include <vector>

#include "codecs/jpeg/coefficients.h"
#include "codecs/jpeg/picture_writer.h"
#include "codecs/jpeg/window.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

constexpr int kDeepBits = 12;

// The samples of all blocks of a component.
class DeepPlane {
 public:
  // False: no memory.
  [[nodiscard]] bool Allocate(int blocks_across, int blocks_down) {
    width_ = 8 * blocks_across;
    return bytes_.Resize(static_cast<size_t>(width_) * 8 * static_cast<size_t>(blocks_down) *
                         sizeof(uint16_t));
  }
  uint16_t* At(int x, int y) { return reinterpret_cast<uint16_t*>(bytes_.data()) + Index(x, y); }
  const uint16_t* At(int x, int y) const {
    return reinterpret_cast<const uint16_t*>(bytes_.data()) + Index(x, y);
  }
  int step() const { return width_ * static_cast<int>(sizeof(uint16_t)); }

 private:
  size_t Index(int x, int y) const {
    return static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x);
  }

  ByteBuffer bytes_;
  int width_ = 0;
};

// A grey or RGB picture as components of full resolution, luminance first. Blocks beyond the
// picture repeat its last column and row.
Status ToDeepPlanes(const Picture& picture, const Geometry& geometry,
                    std::vector<DeepPlane>* planes);

// Dequantization and inverse transform of the blocks of a window, which become all of the planes.
Status ToDeepPlanes(const Coefficients& coefficients, const Window& window,
                    std::vector<DeepPlane>* planes);

// The window's region: grey, RGB, or amounts of ink (4095 for full). Components of less than the
// full resolution are repeated.
Status ToPicture(const std::vector<DeepPlane>& planes, const Window& window, const Frame& frame,
                 ColorModel model, Picture* picture);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_DEEP_PLANES_H_
