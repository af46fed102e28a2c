// SPDX-License-Identifier: MIT
// libjxr as the peer: whole codestreams of RGB pictures in memory.
#ifndef ZEPJP_BENCH_LIBJXR_CODEC_H_
#define ZEPJP_BENCH_LIBJXR_CODEC_H_

#include <cstdint>
#include <vector>

namespace rival {

struct JxrOptions {
  int quantizer = 1;  // 1: without loss
  int overlap = 1;
  bool halves_chroma = false;  // 4:2:0
};

std::vector<uint8_t> EncodeJxr(const uint8_t* rgb, int width, int height,
                               const JxrOptions& options);
// Encodes to a codestream without a container.
std::vector<uint8_t> DecodeJxr(std::vector<uint8_t>* codestream, int width, int height);

}  // namespace rival

#endif  // ZEPJP_BENCH_LIBJXR_CODEC_H_
