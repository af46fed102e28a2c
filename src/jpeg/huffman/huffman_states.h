// SPDX-License-Identifier: MIT
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_HUFFMAN_STATES_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_HUFFMAN_STATES_H_

#include <cstddef>
#include <cstring>

#include "zepjp.h"

namespace zepjp {

inline void Reset(zepiEncodeHuffmanState* state) { std::memset(state, 0, sizeof(*state)); }

// The last word is not used by the library and keeps its value.
inline void Reset(zepiDecodeHuffmanState* state) {
  std::memset(state, 0, offsetof(zepiDecodeHuffmanState, spare));
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_HUFFMAN_STATES_H_
