// SPDX-License-Identifier: MIT
// The samples of a part of a tile. The last step of the wavelet, the component transform and the
// rounding are done while samples are read, for one small area after the other.
#ifndef ZEPJP_CODECS_JPEG2000_TILE_SAMPLES_H_
#define ZEPJP_CODECS_JPEG2000_TILE_SAMPLES_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/image.h"
#include "codecs/jpeg2000/level_part.h"
#include "codecs/jpeg2000/plane.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg2000 {

struct TileSamples {
  SizeSegment size;
  // Before the inverse transform of their highest levels. Empty: nothing was decoded, and all
  // samples are in the middle of their range.
  std::vector<AnyPlane> planes;
  // Whether a component transform is undone. Then the first three planes agree in their size and
  // kind.
  bool are_transformed = false;

  // Whether a component depends on the first three planes.
  bool IsTransformed(size_t component) const { return are_transformed && component < 3; }
};

// Reads samples in one thread; keeps work memory from one area to the next.
class SampleReader {
 public:
  explicit SampleReader(TileSamples* tile) : tile_(tile) {}

  // The samples of an area of a component, which must be inside the decoded part; rows without
  // gaps. Transformed components are made together: the same area should be read of them in turn.
  void Read(size_t component, const Rect& area, int32_t* to);

 private:
  template <class T>
  using Parts = std::array<LevelPart<T>, 3>;

  Parts<int32_t>* PartsFor(const Plane<int32_t>*) { return &integers_; }
  Parts<float>* PartsFor(const Plane<float>*) { return &reals_; }
  template <class T>
  void MakeThree(const Rect& part, Parts<T>* parts);

  TileSamples* tile_;
  Parts<int32_t> integers_;
  Parts<float> reals_;
  Rect made_;  // of the transformed components; empty: none
};

// Writes the parts that are inside of the image's components, whose first samples lie at `areas` on
// their grids. The planes are used up.
Status Store(ThreadPool* pool, const std::vector<Rect>& areas, TileSamples* tile, Image* image);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TILE_SAMPLES_H_
