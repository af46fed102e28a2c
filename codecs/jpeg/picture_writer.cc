// SPDX-License-Identifier: MIT
#include "codecs/jpeg/picture_writer.h"

#include <algorithm>
#include <cstring>

#include "zepjp.h"

namespace zepcodec::jpeg {

bool PictureWriter::Init(const std::vector<Plane>& planes) {
  const Geometry& geometry = window_.geometry;
  components_.resize(static_cast<size_t>(ChannelCount(LayoutOf(model_))));
  for (size_t i = 0; i < components_.size(); ++i) {
    if (!components_[i].Init(geometry, geometry.components[i], &planes[i])) return false;
  }
  return true;
}

void PictureWriter::Write(int first, int last, const RowTarget& target) {
  const Region& region = window_.region;
  const int top = std::max(first, region.y);
  const int bottom = std::min(last, region.y + region.height);
  if (top >= bottom) return;
  const int step = window_.geometry.step;
  const uint8_t* rows[4] = {};
  for (size_t i = 0; i < components_.size(); ++i) {
    const ptrdiff_t skipped = ptrdiff_t{top - first} * step;
    rows[i] = components_[i].Rows(first, last) + skipped + window_.left;
  }
  const zepiSize size = {region.width, bottom - top};
  uint8_t* const out = target.picture->Row(top - region.y - target.y);
  const auto stride = static_cast<int32_t>(target.picture->Stride());
  switch (model_) {
    case ColorModel::kGrey:
    case ColorModel::kRgb:
    case ColorModel::kCmyk: Interleave(rows, size.height, out); break;
    case ColorModel::kYCbCr: zepiYCbCrToRGB_JPEG_8u_P3C3R(rows, step, out, stride, size); break;
    case ColorModel::kYcck: zepiYCCKToCMYK_JPEG_8u_P4C4R(rows, step, out, stride, size); break;
  }
  if (LayoutOf(model_) != PixelLayout::kCmyk) return;
  // Inks are inverted in files.
  const size_t bytes = target.picture->Stride() * static_cast<size_t>(size.height);
  for (size_t i = 0; i < bytes; ++i) out[i] = static_cast<uint8_t>(255 - out[i]);
}

void PictureWriter::Interleave(const uint8_t* const* planes, int count, uint8_t* out) const {
  const auto width = static_cast<size_t>(window_.region.width);
  const size_t channels = components_.size();
  for (int y = 0; y < count; ++y, out += width * channels) {
    const ptrdiff_t offset = ptrdiff_t{y} * window_.geometry.step;
    if (channels == 1) {
      std::memcpy(out, planes[0] + offset, width);
      continue;
    }
    for (size_t c = 0; c < channels; ++c) {
      const uint8_t* samples = planes[c] + offset;
      for (size_t x = 0; x < width; ++x) out[x * channels + c] = samples[x];
    }
  }
}

}  // namespace zepcodec::jpeg
