// SPDX-License-Identifier: MIT
// Work on small areas of samples or pixels that threads share.
#ifndef ZEPJP_CODECS_JPEG2000_AREAS_H_
#define ZEPJP_CODECS_JPEG2000_AREAS_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "codecs/jpeg2000/geometry.h"
#include "codecs/support/parallel.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// Three components of an area, with the memory of their last step of the wavelet, stay in the
// second cache.
constexpr int64_t kAreaWidth = 256;
constexpr int64_t kAreaHeight = 64;

// Makes a worker on each thread, and calls worker(area) for all areas of a plane of this size.
template <class MakeWorker>
Status ForAreas(ThreadPool* pool, int64_t width, int64_t height, const MakeWorker& make_worker) {
  const int64_t across = CeilDivide(width, kAreaWidth), down = CeilDivide(height, kAreaHeight);
  return RunParallel(pool, static_cast<size_t>(across * down), [&] {
    return [&, worker = make_worker()](size_t i) mutable {
      const int64_t x = static_cast<int64_t>(i) % across * kAreaWidth;
      const int64_t y = static_cast<int64_t>(i) / across * kAreaHeight;
      worker(Rect{x, y, std::min(x + kAreaWidth, width), std::min(y + kAreaHeight, height)});
    };
  });
}

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_AREAS_H_
