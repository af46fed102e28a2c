// SPDX-License-Identifier: MIT
// The division of tiles among threads: many are shared out, few are shared inside.
#ifndef ZEPJP_CODECS_JPEG2000_TILE_LOOP_H_
#define ZEPJP_CODECS_JPEG2000_TILE_LOOP_H_

#include <atomic>
#include <cstddef>

#include "codecs/support/parallel.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// A part of the whole work, for the progress.
struct PartOfWork {
  double begin = 0;
  double end = 1;
};

inline bool AreManyTiles(size_t tiles, size_t threads) { return tiles >= 4 * threads; }

// Calls work(tile, pool, progress) for each tile. `progress` may be null.
template <class Work>
Status ForTiles(ThreadPool* pool, size_t tiles, Progress* progress, const PartOfWork& part,
                const Work& work) {
  const auto place = [&](size_t done) {
    const double share = static_cast<double>(done) / static_cast<double>(tiles);
    return part.begin + share * (part.end - part.begin);
  };
  Status failure;
  if (!AreManyTiles(tiles, pool->size())) {
    for (size_t i = 0; failure.ok() && i < tiles; ++i) {
      if (progress != nullptr) progress->SetPart(place(i), place(i + 1));
      failure = work(i, pool, progress);
      if (failure.ok() && Stops(progress, 1, 1)) failure = Status::Cancelled();
    }
    return failure;
  }
  if (progress != nullptr) progress->SetPart(part.begin, part.end);
  std::atomic<bool> has_failed{false};
  Status status = RunParallel(
      pool, tiles,
      [&] {
        return [&](size_t i) {
          ThreadPool own(1);
          if (!has_failed && !work(i, &own, nullptr).ok()) has_failed = true;
        };
      },
      progress);
  // Without progress, tiles fail only by a lack of memory.
  return has_failed ? Status::NoMemory() : status;
}

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TILE_LOOP_H_
