// SPDX-License-Identifier: MIT
// Work on rows of samples that threads share.
#ifndef ZEPJP_CODECS_JPEG2000_ROW_BANDS_H_
#define ZEPJP_CODECS_JPEG2000_ROW_BANDS_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "codecs/support/parallel.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// Bands have about that number of samples, so that they stay in the second cache.
constexpr int64_t kSamplesInABand = 1 << 16;

// Calls work(begin, end) for bands of the first `rows` rows.
template <class Work>
Status ForRowBands(ThreadPool* pool, int64_t rows, int64_t samples_in_row, const Work& work) {
  const int64_t at_once =
      std::max<int64_t>(1, kSamplesInABand / std::max<int64_t>(1, samples_in_row));
  const int64_t bands = (std::max<int64_t>(0, rows) + at_once - 1) / at_once;
  return RunParallel(pool, static_cast<size_t>(bands), [&] {
    return [&](size_t i) {
      const int64_t begin = static_cast<int64_t>(i) * at_once;
      work(begin, std::min(begin + at_once, rows));
    };
  });
}

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_ROW_BANDS_H_
