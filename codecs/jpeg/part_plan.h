// SPDX-License-Identifier: MIT
// How a sequential scan is cut into parts that threads decode independently.
#ifndef ZEPJP_CODECS_JPEG_PART_PLAN_H_
#define ZEPJP_CODECS_JPEG_PART_PLAN_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "codecs/jpeg/coded_part.h"
#include "codecs/jpeg/intervals.h"
#include "codecs/jpeg/scan_decoder.h"

namespace zepcodec::jpeg {

// A part of `part_blocks` blocks takes at most this memory, while its storage grows.
constexpr int64_t MostBytesOfPart(int64_t part_blocks) {
  constexpr auto kMost = static_cast<int64_t>(kMostTimesThePart);
  return 2 * kMost * part_blocks * int64_t{64 * sizeof(int16_t) + sizeof(int64_t)};
}

using CodedParts = std::vector<std::unique_ptr<CodedPart>>;

// The scan's data begins at data[begin], and all its intervals are there. Intervals that lie wholly
// outside the window are left out.
CodedParts PlanParts(const uint8_t* data, size_t begin, const Intervals& intervals,
                     const ScanLayout& layout, int64_t part_blocks);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_PART_PLAN_H_
