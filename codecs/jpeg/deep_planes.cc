// SPDX-License-Identifier: MIT
#include "codecs/jpeg/deep_planes.h"

#include <algorithm>
#include <cmath>

#include "zepjp.h"

namespace zepcodec::jpeg {
namespace {

constexpr int kMostSample = (1 << kDeepBits) - 1;
constexpr double kMiddle = 1 << (kDeepBits - 1);

int ToSample(double value) {
  return std::clamp(static_cast<int>(std::lround(value)), 0, kMostSample);
}

// ITU-T T.871, clause 7, for samples of 12 bits.
void ToYCbCr(const int (&rgb)[3], uint16_t* const (&to)[3]) {
  const double y = 0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2];
  *to[0] = static_cast<uint16_t>(ToSample(y));
  *to[1] = static_cast<uint16_t>(ToSample((rgb[2] - y) / 1.772 + kMiddle));
  *to[2] = static_cast<uint16_t>(ToSample((rgb[0] - y) / 1.402 + kMiddle));
}
void ToRgb(const int (&ycc)[4], int (&rgb)[4]) {
  const double cb = ycc[1] - kMiddle, cr = ycc[2] - kMiddle;
  rgb[0] = ToSample(ycc[0] + 1.402 * cr);
  rgb[1] = ToSample(ycc[0] - 0.114 * 1.772 / 0.587 * cb - 0.299 * 1.402 / 0.587 * cr);
  rgb[2] = ToSample(ycc[0] + 1.772 * cb);
}

// Inks are inverted in files. Those of YCCK are 4095 - R, 4095 - G, 4095 - B and a fourth one, and
// so inverted twice.
void ToPixel(ColorModel model, const int (&samples)[4], int (&pixel)[4]) {
  const bool has_ycc = model == ColorModel::kYCbCr || model == ColorModel::kYcck;
  std::copy_n(samples, 4, pixel);
  if (has_ycc) ToRgb(samples, pixel);
  if (model == ColorModel::kYcck) pixel[3] = kMostSample - samples[3];
  if (model != ColorModel::kCmyk) return;
  for (int& sample : pixel) sample = kMostSample - sample;
}

}  // namespace

Status ToDeepPlanes(const Picture& picture, const Geometry& geometry,
                    std::vector<DeepPlane>* planes) {
  const auto channels = static_cast<size_t>(picture.channels());
  const int across = geometry.mcus_per_row, down = geometry.mcu_rows;
  *planes = std::vector<DeepPlane>(channels);
  for (DeepPlane& plane : *planes) {
    if (!plane.Allocate(across, down)) return Status::NoMemory();
  }
  for (int y = 0; y < 8 * down; ++y) {
    const size_t row =
        static_cast<size_t>(std::min(y, picture.height() - 1)) * picture.SamplesInRow();
    for (int x = 0; x < 8 * across; ++x) {
      const size_t from = row + static_cast<size_t>(std::min(x, picture.width() - 1)) * channels;
      if (channels == 1) {
        *(*planes)[0].At(x, y) = static_cast<uint16_t>(picture.Get(from));
      } else {
        ToYCbCr({picture.Get(from), picture.Get(from + 1), picture.Get(from + 2)},
                {(*planes)[0].At(x, y), (*planes)[1].At(x, y), (*planes)[2].At(x, y)});
      }
    }
  }
  return Status();
}

Status ToDeepPlanes(const Coefficients& coefficients, const Window& window,
                    std::vector<DeepPlane>* planes) {
  *planes = std::vector<DeepPlane>(coefficients.planes.size());
  for (size_t i = 0; i < planes->size(); ++i) {
    const CoefficientPlane& blocks = coefficients.planes[i];
    DeepPlane& plane = (*planes)[i];
    const FrameComponent& component = coefficients.frame.components[i];
    const McuWindow part = window.mcus.In(component.h, component.v);
    const int across = part.end_column - part.first_column;
    const int down = part.end_row - part.first_row;
    if (!plane.Allocate(across, down)) return Status::NoMemory();
    for (int y = 0; y < down; ++y) {
      for (int x = 0; x < across; ++x) {
        zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R(
            blocks.Block(part.first_column + x, part.first_row + y), plane.At(8 * x, 8 * y),
            plane.step(), coefficients.steps[i].data());
      }
    }
  }
  return Status();
}

Status ToPicture(const std::vector<DeepPlane>& planes, const Window& window, const Frame& frame,
                 ColorModel model, Picture* picture) {
  const PixelLayout layout = LayoutOf(model);
  const auto channels = static_cast<size_t>(ChannelCount(layout));
  const Region& region = window.region;
  if (!picture->Resize(region.width, region.height, layout, kDeepBits)) {
    return Status::NoMemory();
  }
  const int left = window.left;
  const int top = region.y - window.mcus.first_row * window.geometry.McuHeight();
  size_t to = 0;
  for (int y = top; y < top + region.height; ++y) {
    for (int x = left; x < left + region.width; ++x) {
      int samples[4] = {}, pixel[4] = {};
      for (size_t i = 0; i < channels; ++i) {
        const FrameComponent& component = frame.components[i];
        samples[i] = *planes[i].At(x * component.h / frame.max_h, y * component.v / frame.max_v);
      }
      ToPixel(model, samples, pixel);
      for (size_t i = 0; i < channels; ++i) picture->Set(to++, pixel[i]);
    }
  }
  return Status();
}

}  // namespace zepcodec::jpeg
