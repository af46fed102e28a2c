// SPDX-License-Identifier: MIT
// Finds the restart intervals of a scan, as far as a damaged file still shows them.
#ifndef ZEPJP_EXAMPLES_JPEG_INTERVALS_H_
#define ZEPJP_EXAMPLES_JPEG_INTERVALS_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jpeg/messages.h"

namespace jpeg {

struct Intervals {
  static constexpr size_t kLost = SIZE_MAX;
  std::vector<size_t> starts;  // offset of each interval's first byte, or kLost
  size_t end = 0;              // offset of the marker behind the scan, or the file's size
};

// Interval k, k > 0, stands behind the marker RST((k - 1) mod 8). `count` intervals are expected.
//
// A marker whose number is not the expected one either tells that intervals are missing, and the
// number tells how many, or is not a restart marker but damage; what comes next decides. Likewise
// another kind of marker ends the scan unless intervals are still missing and the next marker is a
// restart marker.
Intervals FindIntervals(const uint8_t* data, size_t size, size_t begin, size_t count,
                        Messages* messages);

}  // namespace jpeg

#endif  // ZEPJP_EXAMPLES_JPEG_INTERVALS_H_
