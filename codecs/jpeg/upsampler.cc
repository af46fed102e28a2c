// SPDX-License-Identifier: MIT
#include "codecs/jpeg/upsampler.h"

#include <algorithm>
#include <cstring>

#include "zepjp.h"

namespace zepcodec::jpeg {

bool Upsampler::Init(const Geometry& geometry, const ComponentGeometry& place, const Plane* plane) {
  plane_ = plane;
  place_ = place;
  step_ = static_cast<size_t>(geometry.step);
  picture_width_ = geometry.width;
  unit_height_ = geometry.McuHeight();
  samples_down_ = place.v * place.block_size;
  const int unit_width = geometry.max_h * geometry.unit;
  const int samples_across = place.h * place.block_size;
  const bool same_width = samples_across == unit_width;
  const bool same_height = samples_down_ == unit_height_;
  const bool half_width = samples_across * 2 == unit_width;
  const bool half_height = samples_down_ * 2 == unit_height_;
  if (same_width && same_height) {
    way_ = Way::kNone;
    return true;
  }
  way_ = half_width && same_height   ? Way::kDoubleWidth
         : half_width && half_height ? Way::kDoubleBoth
         : same_width && half_height ? Way::kDoubleHeight
                                     : Way::kRepeat;
  if (way_ == Way::kRepeat) {
    for (int x = 0; x < picture_width_; ++x) columns_.push_back(x * samples_across / unit_width);
  }
  return rows_.Resize(step_ * static_cast<size_t>(unit_height_ + 2));
}

const uint8_t* Upsampler::Rows(int first, int last) {
  const int32_t step = static_cast<int32_t>(step_);
  switch (way_) {
    case Way::kNone: return plane_->Row(first);
    case Way::kDoubleWidth: {
      const int height = last - first;
      zepiSampleUpH2V1_JPEG_8u_C1R(plane_->Row(first), step, {place_.width, height}, rows_.data(),
                                   step, {2 * place_.width, height});
      return rows_.data();
    }
    case Way::kDoubleBoth: {
      // The filter treats its first and last row as edges of the picture. Inside the picture only
      // the output row that does not depend on rows beyond them is used.
      const int top = first / 2;
      const int height = (last - 1) / 2 + 1 - top;
      zepiSampleUpH2V2_JPEG_8u_C1R(plane_->Row(top), step, {place_.width, height}, rows_.data(),
                                   step, {2 * place_.width, 2 * height});
      return Out(first - 2 * top);
    }
    case Way::kDoubleHeight: DoubleHeight(first, last); return rows_.data();
    default: Repeat(first, last); return rows_.data();
  }
}

void Upsampler::DoubleHeight(int first, int last) {
  for (int y = first; y < last; ++y) {
    const int near = y / 2;
    const int far = std::clamp(y % 2 == 0 ? near - 1 : near + 1, 0, place_.height - 1);
    const uint8_t* a = plane_->Row(near);
    const uint8_t* b = plane_->Row(far);
    uint8_t* out = Out(y - first);
    for (int x = 0; x < place_.width; ++x) {
      out[x] = static_cast<uint8_t>((3 * a[x] + b[x] + 2) >> 2);
    }
  }
}

void Upsampler::Repeat(int first, int last) {
  int shown = -1;
  for (int y = first; y < last; ++y) {
    const int64_t row = int64_t{y} * samples_down_ / unit_height_;
    uint8_t* out = Out(y - first);
    if (row == shown) {
      std::memcpy(out, out - step_, static_cast<size_t>(picture_width_));
      continue;
    }
    shown = static_cast<int>(row);
    const uint8_t* samples = plane_->Row(shown);
    for (int x = 0; x < picture_width_; ++x) out[x] = samples[columns_[static_cast<size_t>(x)]];
  }
}

}  // namespace zepcodec::jpeg
