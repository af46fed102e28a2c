// SPDX-License-Identifier: MIT
// The decoded samples of a part of a tile, before they are rounded to the range of the components.
#ifndef ZEPJP_CODECS_JPEG2000_TILE_SAMPLES_H_
#define ZEPJP_CODECS_JPEG2000_TILE_SAMPLES_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/image.h"
#include "codecs/jpeg2000/plane.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg2000 {

class TileSamples {
 public:
  explicit TileSamples(const SizeSegment& size) : size_(size) {}

  // Empty: nothing was decoded, and all samples are in the middle of their range.
  std::vector<AnyPlane>* planes() { return &planes_; }

  // Undoes the component transform of the first three components, whose planes agree in their size
  // and kind.
  Status InverseComponents(ThreadPool* pool);

  // `count` samples of a component from the column `x` of row `y` of its grid on, which must be
  // inside the decoded part.
  void Read(size_t component, int64_t x, int64_t y, int64_t count, int32_t* to);

  // Writes the parts that are inside of the image's components. Their first samples lie at `areas`
  // on their grids. If a plane is a whole component, its memory may become the samples.
  Status Store(ThreadPool* pool, const std::vector<Rect>& areas, Image* image);

 private:
  Status TakeIntegers(ThreadPool* pool, size_t number, Component* component);

  const SizeSegment& size_;
  std::vector<AnyPlane> planes_;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TILE_SAMPLES_H_
