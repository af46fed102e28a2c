// SPDX-License-Identifier: MIT
// From the components' planes to the rows of a picture: up-sampling and colour conversion.
#ifndef ZEPJP_CODECS_JPEG_PICTURE_WRITER_H_
#define ZEPJP_CODECS_JPEG_PICTURE_WRITER_H_

#include <cstdint>
#include <vector>

#include "codecs/jpeg/upsampler.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

// The meaning of the components. Inks are inverted in all files, with or without an Adobe header: 0
// is full ink, as in other decoders.
enum class ColorModel { kGrey, kYCbCr, kRgb, kYcck, kCmyk };

constexpr PixelLayout LayoutOf(ColorModel model) {
  switch (model) {
    case ColorModel::kGrey: return PixelLayout::kGrey;
    case ColorModel::kYCbCr:
    case ColorModel::kRgb: return PixelLayout::kRgb;
    default: return PixelLayout::kCmyk;
  }
}

class PictureWriter {
 public:
  // The picture must have its final size and LayoutOf(model).
  PictureWriter(ColorModel model, Picture* image) : model_(model), image_(image) {}

  // False: no memory.
  [[nodiscard]] bool Init(const Geometry& geometry, const std::vector<Plane>& planes);

  // Writes rows first..last-1; Upsampler::Rows() says which are allowed.
  void Write(int first, int last);

 private:
  void Interleave(const uint8_t* const* planes, int channels, int first, int last);
  void InvertInks(int first, int last);

  ColorModel model_;
  Picture* image_;
  int step_ = 0;
  std::vector<Upsampler> components_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_PICTURE_WRITER_H_
