// SPDX-License-Identifier: MIT
// Conversion between the components of a file and the pixels of a picture.
#ifndef ZEPJP_CODECS_JPEG2000_COLORS_H_
#define ZEPJP_CODECS_JPEG2000_COLORS_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "codecs/jpeg2000/image.h"
#include "codecs/jpeg2000/lab.h"
#include "codecs/support/messages.h"
#include "codecs/support/picture.h"
#include "codecs/support/region.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// Makes the picture of a file's components: grey, RGB or CMYK with the bits of the deepest
// component, opacity last. Luminance and chroma (sYCC, e-sYCC, YCCK), CMY and L*a*b* are converted,
// samples of coarser components are repeated, and premultiplied colours are divided by their
// opacity. The picture is as large as the largest component that is shown.
class PictureMaker {
 public:
  // For images of this form, whose samples are not looked at. Components that are left out are
  // mentioned in the notes.
  Status Prepare(const Image& form, Messages* notes);

  int width() const { return width_; }
  int height() const { return height_; }
  PixelLayout layout() const { return layout_; }
  int bits() const { return bits_; }

  // The samples of a region, without metadata. The components need those samples only that
  // NeededOf() tells. Several threads may call this.
  Status Make(const Image& image, const Region& region, Picture* picture) const;

 private:
  template <class T>
  void FillChannel(const Component& component, size_t channel, const Region& region,
                   Picture* picture) const;
  void FillFromLab(const Image& image, const Region& region, Picture* picture) const;
  void ConvertColors(const Image& image, const Region& region, Picture* picture) const;

  int width_ = 0;
  int height_ = 0;
  PixelLayout layout_ = PixelLayout::kGrey;
  int bits_ = 1;
  ColorSpace color_ = ColorSpace::kUnknown;
  bool is_premultiplied_ = false;
  std::vector<size_t> shown_;                 // components, opacity last
  std::vector<std::vector<uint16_t>> codes_;  // from those of the component; empty: the same
  std::optional<LabToRgb> lab_;
};

// The part of a component that a region of a picture of this size shows.
Region NeededOf(const Region& region, int width, int height, int component_width,
                int component_height);

// The whole picture of a whole image, with its metadata.
Status ToPicture(const Image& image, Messages* notes, Picture* picture);

// The components of a picture with unsigned samples; those of a picture's form have no samples.
Status FromForm(const Picture& form, Image* image);
Status FromPicture(const Picture& picture, Image* image);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_COLORS_H_
