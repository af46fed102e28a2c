// SPDX-License-Identifier: MIT
// Converts one file.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_CONVERSION_H_
#define ZEPJP_TOOLS_ZEPCONVERT_CONVERSION_H_

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/pixels.h"
#include "tools/zepconvert/settings.h"
#include "tools/zepconvert/texture_modes.h"

namespace zepconvert {

// Where the time goes, in the order of the work.
enum Stage {
  kReadFile,
  kDecodeOther,  // PNG, PNM, TIFF
  kTextureDecode,
  kJp2Decode,
  kJxrDecode,
  kLjpegDecode,
  kHuffmanDecode,
  kInverseDct,
  kColorDecode,
  kAdjust,
  kColorEncode,
  kForwardDct,
  kHuffmanEncode,
  kTextureEncode,
  kJp2Encode,
  kJxrEncode,
  kLjpegEncode,
  kEncodeOther,
  kWriteFile,
  kStageCount,
};
const char* StageName(Stage stage);

struct Result {
  Job job;
  bool started = false;
  zepcodec::Status status;
  std::vector<std::string> warnings;  // damage in the input
  std::vector<std::string> notes;     // what the user should know; the exit code stays 0
  int width = 0;
  int height = 0;
  size_t input_bytes = 0;
  size_t output_bytes = 0;
  std::array<double, kStageCount> seconds{};
  bool lossless = true;
  std::vector<ModeShare> modes;  // of BC7 blocks, with psnr
  Psnr psnr;  // of a lossy result against the picture that was encoded, where asked for

  double TotalSeconds() const;
};

// `input` holds the file's bytes. If `error_picture` is a name, a lossy result is decoded again to tell
// its PSNR, and its errors become a PNG file of that name.
void Convert(const Settings& settings, const zepcodec::ByteBuffer& input,
             const std::string& error_picture, Result* result);

// The picture in a file of any known format, with 8 bits a sample.
zepcodec::Status LoadPicture(const zepcodec::ByteBuffer& input, Picture* picture);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_CONVERSION_H_
