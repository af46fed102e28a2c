// SPDX-License-Identifier: MIT
#include "codecs/jpeg/picture_writer.h"

#include <cstring>

#include "zepjp.h"

namespace zepcodec::jpeg {

bool PictureWriter::Init(const Geometry& geometry, const std::vector<Plane>& planes) {
  step_ = geometry.step;
  components_.resize(planes.size());
  for (size_t i = 0; i < planes.size(); ++i) {
    if (!components_[i].Init(geometry, geometry.components[i], &planes[i])) return false;
  }
  return true;
}

void PictureWriter::Write(int first, int last) {
  if (first >= last) return;
  const int channels = image_->channels();  // as many as there are components
  const uint8_t* rows[4] = {};
  for (int i = 0; i < channels; ++i) {
    rows[i] = components_[static_cast<size_t>(i)].Rows(first, last);
  }
  const zepiSize size = {image_->width(), last - first};
  const int32_t image_step = static_cast<int32_t>(image_->Stride());
  switch (model_) {
    case ColorModel::kGrey:
    case ColorModel::kRgb:
    case ColorModel::kCmyk: Interleave(rows, channels, first, last); break;
    case ColorModel::kYCbCr:
      zepiYCbCrToRGB_JPEG_8u_P3C3R(rows, step_, image_->Row(first), image_step, size);
      break;
    case ColorModel::kYcck:
      zepiYCCKToCMYK_JPEG_8u_P4C4R(rows, step_, image_->Row(first), image_step, size);
      break;
  }
  if (LayoutOf(model_) == PixelLayout::kCmyk) InvertInks(first, last);
}

void PictureWriter::Interleave(const uint8_t* const* planes, int channels, int first, int last) {
  for (int y = first; y < last; ++y) {
    const size_t offset = static_cast<size_t>(y - first) * static_cast<size_t>(step_);
    uint8_t* out = image_->Row(y);
    if (channels == 1) {
      std::memcpy(out, planes[0] + offset, image_->Stride());
      continue;
    }
    for (int c = 0; c < channels; ++c) {
      const uint8_t* samples = planes[c] + offset;
      for (int x = 0; x < image_->width(); ++x) out[x * channels + c] = samples[x];
    }
  }
}

void PictureWriter::InvertInks(int first, int last) {
  uint8_t* sample = image_->Row(first);
  uint8_t* end = sample + image_->Stride() * static_cast<size_t>(last - first);
  for (; sample < end; ++sample) *sample = static_cast<uint8_t>(255 - *sample);
}

}  // namespace zepcodec::jpeg
