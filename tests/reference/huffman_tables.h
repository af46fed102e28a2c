// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_HUFFMAN_TABLES_H_
#define ZEPJP_TESTS_REFERENCE_HUFFMAN_TABLES_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* list_bits, const uint8_t* list_vals,
                                            zepiEncodeHuffmanSpec* table);
zepStatus zepiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* list_bits, const uint8_t* list_vals,
                                            zepiDecodeHuffmanSpec* table);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_HUFFMAN_TABLES_H_
