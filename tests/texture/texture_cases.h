// SPDX-License-Identifier: MIT
// What the tests of texture decoders and encoders share.
#ifndef ZEPJP_TESTS_TEXTURE_TEXTURE_CASES_H_
#define ZEPJP_TESTS_TEXTURE_TEXTURE_CASES_H_

#include <functional>
#include <vector>

#include "zepjp.h"

namespace texture_cases {

using Bytes = std::vector<uint8_t>;
using Decoder = std::function<zepStatus(const uint8_t*, uint8_t*, int32_t, zepiSize)>;
using Encoder = std::function<zepStatus(const uint8_t*, int32_t, zepiSize, uint8_t*)>;

// An export and its model.
template <class Function>
struct Format {
  const char* name;
  int pixel_bytes, block_bytes;
  Function call, model;
};

// (A lambda, because calling conventions do not pass through std::function.)
#define TEXTURE_FORMAT(name, pixel_bytes, block_bytes)                        \
  {                                                                           \
#    name, pixel_bytes, block_bytes,                                        \
        [](auto... arguments) { return ::name(arguments...); },             \
        [](auto... arguments) { return reference::name(arguments...); } \
  }

inline size_t Blocks(zepiSize size) {
  return static_cast<size_t>((size.width + 3) / 4) * static_cast<size_t>((size.height + 3) / 4);
}

// Steps for rows of `width` bytes: tight, loose, upwards, and rows that overlap.
inline std::vector<int32_t> Steps(int32_t width) {
  return {width, width + 1, width + 13, -width, -width - 7, width / 2 + 1, -1, 1};
}

}  // namespace texture_cases

#endif  // ZEPJP_TESTS_TEXTURE_TEXTURE_CASES_H_
