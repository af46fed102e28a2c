// SPDX-License-Identifier: MIT
#include "zepconvert/ljpeg_file.h"

#include <string>
#include <utility>

#include "ljpeg/codec.h"
#include "zepconvert/deep_pixels.h"

namespace zepconvert {
namespace {

using common::PixelLayout;
using common::Raster;

// Four components of 8 bits as the amount of ink.
common::Status ToCmyk(const Raster& raster, bool is_inverted, common::Image* image) {
  if (!image->Resize(raster.width(), raster.height(), PixelLayout::kCmyk)) {
    return common::Status::NoMemory();
  }
  const uint8_t flip = is_inverted ? 255 : 0;
  const uint8_t* in = raster.Row(0);
  uint8_t* out = image->Row(0);
  for (size_t i = 0; i < image->SizeInBytes(); ++i) out[i] = in[i] ^ flip;
  return common::Status();
}

common::Status CmykToRgb(const Raster& raster, bool is_inverted, Raster* rgb) {
  if (!rgb->Resize(raster.width(), raster.height(), 3, raster.bits())) {
    return common::Status::NoMemory();
  }
  const int64_t most = raster.MaxValue();
  const auto light = [&](size_t index) {
    return is_inverted ? raster.Get(index) : most - raster.Get(index);
  };
  for (size_t i = 0; i < rgb->SampleCount(); ++i) {
    const size_t pixel = 4 * (i / 3);
    const int64_t value = (light(pixel + i % 3) * light(pixel + 3) + most / 2) / most;
    rgb->Set(i, static_cast<int>(value));
  }
  return common::Status();
}

}  // namespace

common::Status ReadLjpeg(const Settings& settings, const common::ByteBuffer& input,
                         Picture* picture) {
  ljpeg::DecodeOptions options;
  options.max_pixels = settings.max_pixels;
  ljpeg::FileInfo info;
  Raster raster;
  common::Status status = ljpeg::Decode(input.data(), input.size(), options, &raster, &info);
  if (!status.ok()) return status;
  picture->TakeWarnings(info.messages);
  picture->metadata = std::move(info.metadata);
  if (info.components == 2) {
    return common::Status::Error("two components, neither grey nor RGB nor CMYK");
  }
  if (info.components == 3 && info.adobe_transform == 1) {
    picture->notes.emplace_back("YCbCr was taken as RGB");
  }
  if (info.components == 4) {
    const bool is_inverted = info.adobe_transform >= 0;
    if (info.bits == 8) return ToCmyk(raster, is_inverted, &picture->image);
    picture->notes.emplace_back("CMYK was converted to RGB without its profile");
    return CmykToRgb(raster, is_inverted, &picture->deep);
  }
  if (info.bits == 8) return ToImage(raster, &picture->image);
  picture->deep = std::move(raster);
  return status;
}

common::Status WriteLjpeg(const Settings& settings, const Picture& picture,
                          common::ByteBuffer* file) {
  ljpeg::EncodeOptions options;
  options.predictor = settings.predictor;
  options.point_transform = settings.point_transform;
  options.restart_rows = settings.restart_interval;
  options.metadata = picture.metadata;
  if (picture.IsDeep()) return ljpeg::Encode(picture.deep, options, file);
  Raster raster;
  common::Status status = ToRaster(picture.image, &raster);
  if (!status.ok()) return status;
  options.is_inverted_cmyk = picture.image.layout() == PixelLayout::kCmyk;
  if (options.is_inverted_cmyk) {
    uint8_t* const samples = raster.Row(0);
    for (size_t i = 0; i < raster.SizeInBytes(); ++i) samples[i] ^= 255;
  }
  return ljpeg::Encode(raster, options, file);
}

}  // namespace zepconvert
