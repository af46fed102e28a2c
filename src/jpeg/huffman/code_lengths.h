// SPDX-License-Identifier: MIT
// The lengths of Huffman codes (ITU-T T.81, annex C).
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_CODE_LENGTHS_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_CODE_LENGTHS_H_

#include <cstdint>

namespace zepjp {

constexpr int kMaxCodeBits = 16;      // the length of the longest code
constexpr int kFastCodeBits = 8;      // the length of the prefixes in a decoder table's `fast`
constexpr uint16_t kNoCode = 0xFFFF;  // `lastCode` of a length without codes

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_CODE_LENGTHS_H_
