// SPDX-License-Identifier: MIT
// libjxr's coders of a macroblock's high-pass and low-pass bands, timed inside its whole codec.
#ifndef ZEPJP_BENCH_JPEGXR_RIVAL_H_
#define ZEPJP_BENCH_JPEGXR_RIVAL_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace rival {

constexpr int kSide = 1024;  // of the picture

class Codec {
 public:
  // A grey picture; `quantizer` is an index, 0: lossless.
  Codec(std::vector<uint8_t> picture, int quantizer);

  // The stream has no refinement bits of the high-pass band.
  void Encode();
  void Decode();

  // The time that the last call spent in the coder of each band.
  double highpass_seconds() const { return highpass_seconds_; }
  double lowpass_seconds() const { return lowpass_seconds_; }

 private:
  std::vector<uint8_t> picture_, stream_;
  int quantizer_;
  double highpass_seconds_ = 0, lowpass_seconds_ = 0;
};

}  // namespace rival

#endif  // ZEPJP_BENCH_JPEGXR_RIVAL_H_
