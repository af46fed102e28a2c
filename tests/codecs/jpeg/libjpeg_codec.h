// SPDX-License-Identifier: MIT
// The other side of the interoperation tests: files in memory by libjpeg, in a few plain calls.
#ifndef ZEPJP_TESTS_CODECS_JPEG_LIBJPEG_CODEC_H_
#define ZEPJP_TESTS_CODECS_JPEG_LIBJPEG_CODEC_H_

#include <array>
#include <cstdint>
#include <vector>

#include "codecs/support/picture.h"

namespace libjpeg_codec {

using Bytes = std::vector<uint8_t>;

struct Settings {
  int quality = 90;
  std::array<int, 2> sampling = {2, 2};         // of the first component
  std::array<int, 2> chroma_sampling = {1, 1};  // of the second and third
  int restart_interval = 0;                     // in MCUs
  bool optimize = false;
  bool several_scans = false;  // one for each component
  bool progressive = false;
  bool as_rgb = false;         // no conversion to YCbCr; an Adobe header says so
  bool as_cmyk = false;        // no conversion to YCCK
  bool force_baseline = true;  // quantizer steps up to 255
};

// Grey with opacity becomes a file of two components. CMYK pictures hold the amounts of ink; the file holds them inverted.
Bytes Compress(const zepcodec::Picture& image, const Settings& settings);

struct Components {
  struct Component {
    int width;
    int height;
    Bytes samples;
  };
  std::vector<Component> components;
};

// By the accurate inverse transform. Empty or 0 x 0 where the file has an error or a warning.
zepcodec::Picture Decompress(const Bytes& file, int scale = 1);
Components DecompressComponents(const Bytes& file);
// What is left of a damaged file; 0 x 0 if nothing is.
zepcodec::Picture DecompressDamaged(const Bytes& file);

// Decodes the coefficients and codes them again with the same tables and restart interval.
Bytes RecodeCoefficients(const Bytes& file);

// The same with other scans or tables.
struct Recoding {
  bool progressive = false;
  bool optimize = false;
};
Bytes RecodeCoefficients(const Bytes& file, const Recoding& recoding);

// The blocks of a component that hold samples, row by row, 64 coefficients each in natural order.
using Blocks = std::vector<int16_t>;
std::vector<Blocks> ReadCoefficients(const Bytes& file);

}  // namespace libjpeg_codec

#endif  // ZEPJP_TESTS_CODECS_JPEG_LIBJPEG_CODEC_H_
