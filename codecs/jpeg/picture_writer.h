// SPDX-License-Identifier: MIT
// From the components' planes to the rows of a picture: up-sampling and colour conversion.
#ifndef ZEPJP_CODECS_JPEG_PICTURE_WRITER_H_
#define ZEPJP_CODECS_JPEG_PICTURE_WRITER_H_

#include <cstdint>
#include <vector>

#include "codecs/jpeg/band_output.h"
#include "codecs/jpeg/plane.h"
#include "codecs/jpeg/upsampler.h"
#include "codecs/jpeg/window.h"
#include "codecs/support/picture.h"

namespace zepcodec::jpeg {

// The meaning of the components; a second one beside grey is left out. Inks are inverted in all files, with or without an Adobe header: 0
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
  // The window must outlive the writer.
  PictureWriter(ColorModel model, const Window& window) : model_(model), window_(window) {}

  // False: no memory.
  [[nodiscard]] bool Init(const std::vector<Plane>& planes);

  // Writes those of the picture's rows first..last-1 that are in the region; Upsampler::Rows() says
  // which are allowed.
  void Write(int first, int last, const RowTarget& target);

 private:
  void Interleave(const uint8_t* const* planes, int count, uint8_t* out) const;

  ColorModel model_;
  const Window& window_;
  std::vector<Upsampler> components_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_PICTURE_WRITER_H_
