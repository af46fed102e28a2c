// SPDX-License-Identifier: MIT
// Finds the restart intervals of a scan, in damaged files too.
#ifndef ZEPJP_CODECS_JPEG_INTERVALS_H_
#define ZEPJP_CODECS_JPEG_INTERVALS_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/support/messages.h"

namespace zepcodec::jpeg {

struct Intervals {
  struct Found {
    size_t index;  // of the interval
    size_t start;  // offset of its first byte
  };
  // In the order of their indexes; the first one has index 0. Intervals that are not in the list
  // are missing.
  std::vector<Found> found;
  size_t count = 0;       // of all intervals, missing ones included
  size_t end = 0;         // offset of the marker after the scan, or the file's size
  bool is_sound = false;  // all are found, each after the expected marker
};

// The MCUs in an interval, and the intervals in a scan. A restart interval of 0 MCUs means none.
constexpr int64_t McusInAnInterval(int64_t mcu_count, int restart_interval) {
  return restart_interval > 0 ? restart_interval : mcu_count;
}
constexpr size_t IntervalCount(int64_t mcu_count, int restart_interval) {
  const int64_t mcus = McusInAnInterval(mcu_count, restart_interval);
  return static_cast<size_t>((mcu_count + mcus - 1) / mcus);
}

// Interval k, k > 0, follows the marker RST((k - 1) mod 8).
//
// Any marker up to the end of the scan may be a restart marker with a wrong bit, and any restart
// marker may be damaged data. Where a marker is not the expected one, the next few markers decide
// which explanation is the cheapest: it is the expected one with wrong bits, it does not belong
// there, or intervals before it are missing.
Intervals FindIntervals(const uint8_t* data, size_t size, size_t begin, int64_t mcu_count,
                        int restart_interval, Messages* messages);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_INTERVALS_H_
