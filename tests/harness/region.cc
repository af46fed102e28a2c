// SPDX-License-Identifier: MIT
#include "harness/region.h"

namespace harness {

std::string FirstDifference(const std::vector<std::vector<uint8_t>>& got,
                            const std::vector<std::vector<uint8_t>>& want, int32_t step) {
  for (size_t plane = 0; plane < got.size(); ++plane) {
    const auto [first, second] =
        std::mismatch(got[plane].begin(), got[plane].end(), want[plane].begin());
    if (first == got[plane].end()) continue;
    const auto offset = first - got[plane].begin();
    return "plane " + std::to_string(plane) + " byte " + std::to_string(offset) + " (row " +
           std::to_string(step == 0 ? 0 : offset / std::abs(step)) +
           "): " + std::to_string(*first) + " instead of " + std::to_string(*second);
  }
  return "";
}

}  // namespace harness
