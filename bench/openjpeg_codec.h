// SPDX-License-Identifier: MIT
// OpenJPEG as the peer: whole codestreams in memory.
#ifndef ZEPJP_BENCH_OPENJPEG_CODEC_H_
#define ZEPJP_BENCH_OPENJPEG_CODEC_H_

#include <cstdint>
#include <vector>

namespace rival {

struct Picture {
  int width = 0;
  int height = 0;
  int bits = 8;
  bool is_signed = false;
  std::vector<std::vector<int32_t>> planes;
};

struct Options {
  int resolutions = 6;
  bool is_reversible = true;
  double ratio = 0;  // 0: without a limit
};

std::vector<uint8_t> Encode(const Picture& picture, const Options& options);
Picture Decode(std::vector<uint8_t>* codestream);

}  // namespace rival

#endif  // ZEPJP_BENCH_OPENJPEG_CODEC_H_
