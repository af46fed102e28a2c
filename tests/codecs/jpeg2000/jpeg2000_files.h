// SPDX-License-Identifier: MIT
// Pictures and files for the tests of the JPEG 2000 codec.
#ifndef ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_FILES_H_
#define ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_FILES_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "codecs/jpeg2000/decoder.h"
#include "codecs/jpeg2000/encoder.h"

namespace jpeg2000_files {

using Bytes = std::vector<uint8_t>;

struct Shape {
  int width = 61;
  int height = 47;
  int components = 3;
  int bits = 8;
  bool is_signed = false;
  int x0 = 0;
  int y0 = 0;
  // Of components 1 and 2.
  int dx = 1;
  int dy = 1;
};

// Waves, discs and some noise over the whole range of the samples.
zepcodec::jpeg2000::Image MakePicture(const Shape& shape);

// An empty vector where it fails, which is a failure of the test.
Bytes Encode(const zepcodec::jpeg2000::Image& image,
             const zepcodec::jpeg2000::EncodeOptions& options);

struct Decoded {
  zepcodec::Status status;
  zepcodec::jpeg2000::Image image;
  zepcodec::jpeg2000::FileInfo info;
};
Decoded Decode(const Bytes& file, const zepcodec::jpeg2000::DecodeOptions& options = {});
// The file is expected to be without any damage.
zepcodec::jpeg2000::Image DecodeGood(const Bytes& file,
                                     const zepcodec::jpeg2000::DecodeOptions& options = {});

// Whether all samples and their forms agree; else what does not.
std::string Difference(const zepcodec::jpeg2000::Image& a, const zepcodec::jpeg2000::Image& b);
// Over all samples; 200 for equal ones.
double Psnr(const zepcodec::jpeg2000::Image& a, const zepcodec::jpeg2000::Image& b);

// The place behind the next marker from `from` on; the size of the file if there is none.
size_t Behind(const Bytes& file, int marker, size_t from = 0);

}  // namespace jpeg2000_files

#endif  // ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_FILES_H_
