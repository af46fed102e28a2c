// SPDX-License-Identifier: MIT
// The quantized coefficients of a picture, the input of both sides in the Huffman benchmarks.
#ifndef ZEPJP_BENCH_HUFFMAN_IMAGE_H_
#define ZEPJP_BENCH_HUFFMAN_IMAGE_H_

#include <cstdint>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

namespace bench {

struct CodedBlock {
  int16_t coefficients[64];
};

// The lists of a DHT segment.
struct TableLists {
  uint8_t bits[16];
  uint8_t vals[256];
};

// One scan of three components, 4:2:0, with the standard's example tables.
struct CodedPicture {
  std::vector<uint8_t> file;       // written by libjpeg-turbo
  size_t scan_begin, scan_end;     // entropy-coded bytes of the file
  std::vector<CodedBlock> blocks;  // in the order of the scan
  std::vector<uint8_t> component;  // 0, 1 or 2 for each block
  TableLists dc[2], ac[2];         // luminance, chrominance
};

// The picture that the environment variable ZEPJP_BENCH_IMAGE names (a JPEG file), else a synthetic
// photograph, at a quality of 1 to 100. Made once for each quality.
const CodedPicture& PictureAt(int quality);

}  // namespace bench

#endif  // ZEPJP_BENCH_HUFFMAN_IMAGE_H_
