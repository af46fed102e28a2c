// SPDX-License-Identifier: MIT
// dcmtk as the peer: lossless JPEG files in memory, by its codecs for 8 and 16 bits a sample.
#ifndef ZEPJP_BENCH_DCMTK_CODEC_H_
#define ZEPJP_BENCH_DCMTK_CODEC_H_

#include <cstdint>
#include <vector>

namespace rival {

struct DcmtkPicture {
  int width = 0;
  int height = 0;
  int channels = 0;  // 1 or 3
  int bits = 0;      // 8 or 16
  std::vector<uint8_t> bytes;
};

// Encodes with Huffman tables made for the picture.
std::vector<uint8_t> EncodeDcmtk(DcmtkPicture* picture, int predictor);
// Decodes to the bytes of a picture of known size and depth.
void DecodeDcmtk(std::vector<uint8_t>* file, DcmtkPicture* picture);

}  // namespace rival

#endif  // ZEPJP_BENCH_DCMTK_CODEC_H_
