// SPDX-License-Identifier: MIT
// Ways of coding, over all formats, for tests of what holds for each of them.
#ifndef ZEPJP_TESTS_CODECS_API_API_WAYS_H_
#define ZEPJP_TESTS_CODECS_API_API_WAYS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/codecs/api/api_pictures.h"

namespace api_pictures {

struct Way {
  std::string name;
  zepcFormat format = zepcFormatJpeg;
  Shape shape;
  zepcJpegOptions jpeg = Sized<zepcJpegOptions>();
  zepcLosslessJpegOptions lossless_jpeg = Sized<zepcLosslessJpegOptions>();
  zepcJpeg2000Options jpeg2000 = Sized<zepcJpeg2000Options>();
  zepcJpegXrOptions jpeg_xr = Sized<zepcJpegXrOptions>();
  zepcDdsOptions dds = Sized<zepcDdsOptions>();
  zepcTiffOptions tiff = Sized<zepcTiffOptions>();

  // They point into this object.
  zepcEncodeOptions Options() const;
};

const std::vector<Way>& Ways();

// A picture for each way, of sides that no block divides, and its file.
constexpr int32_t kWayWidth = 211;
constexpr int32_t kWayHeight = 157;
Image PictureFor(const Way& way);
Bytes FileOf(const Way& way);

}  // namespace api_pictures

#endif  // ZEPJP_TESTS_CODECS_API_API_WAYS_H_
