// SPDX-License-Identifier: MIT
// Converts one file.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_CONVERSION_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_CONVERSION_H_

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "jpeg/byte_buffer.h"
#include "jpeg/status.h"
#include "zepconvert/settings.h"

namespace zepconvert {

// Where the time goes, in the order of the work.
enum Stage {
  kReadFile,
  kDecodeOther,  // PNG, PNM
  kHuffmanDecode,
  kInverseDct,
  kColorDecode,
  kAdjust,
  kColorEncode,
  kForwardDct,
  kHuffmanEncode,
  kEncodeOther,
  kWriteFile,
  kStageCount,
};
const char* StageName(Stage stage);

struct Result {
  Job job;
  bool started = false;
  jpeg::Status status;
  std::vector<std::string> warnings;  // damage in the input
  std::vector<std::string> notes;
  int width = 0;
  int height = 0;
  size_t input_bytes = 0;
  size_t output_bytes = 0;
  std::array<double, kStageCount> seconds{};
  bool lossless = true;
  double psnr = 0;  // of a lossy result against the picture that was encoded, where asked for

  double TotalSeconds() const;
};

// `input` holds the file's bytes. `measure`: decode a lossy result again to tell its PSNR.
void Convert(const Settings& settings, const jpeg::ByteBuffer& input, bool measure, Result* result);

// In dB over all samples; infinite for equal pictures.
double Psnr(const jpeg::Image& a, const jpeg::Image& b);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_CONVERSION_H_
