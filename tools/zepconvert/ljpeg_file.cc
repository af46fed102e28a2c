// SPDX-License-Identifier: MIT
#include "tools/zepconvert/ljpeg_file.h"

#include <string>
#include <utility>

#include "codecs/jpeg/lossless/codec.h"
#include "tools/zepconvert/deep_pixels.h"
#include "tools/zepconvert/jpeg_parts.h"

namespace ljpeg = zepcodec::jpeg::lossless;

namespace zepconvert {
namespace {

using zepcodec::PixelLayout;
using zepcodec::Raster;

// Four components of 8 bits as the amount of ink, of which files hold the inverse.
zepcodec::Status ToCmyk(const Raster& raster, zepcodec::Image* image) {
  if (!image->Resize(raster.width(), raster.height(), PixelLayout::kCmyk)) {
    return zepcodec::Status::NoMemory();
  }
  const uint8_t* in = raster.Row(0);
  uint8_t* out = image->Row(0);
  for (size_t i = 0; i < image->SizeInBytes(); ++i) out[i] = in[i] ^ 255;
  return zepcodec::Status();
}

}  // namespace

zepcodec::Status ReadLjpeg(const Settings& settings, const zepcodec::ByteBuffer& input,
                           Picture* picture) {
  ljpeg::DecodeOptions options;
  options.max_pixels = settings.max_pixels;
  ljpeg::FileInfo info;
  Raster raster;
  zepcodec::Status status = ljpeg::Decode(input.data(), input.size(), options, &raster, &info);
  if (!status.ok()) return status;
  picture->TakeWarnings(info.messages);
  picture->metadata = std::move(info.metadata);
  DropIncompleteProfile(picture);
  if (info.components == 2) {
    return zepcodec::Status::Error("two components, neither grey nor RGB nor CMYK");
  }
  if (info.components == 3 && info.adobe_transform == 1) {
    picture->notes.emplace_back("YCbCr was taken as RGB");
  }
  if (info.components == 4) {
    if (info.bits == 8) return ToCmyk(raster, &picture->image);
    picture->deep = std::move(raster);
    return DeepInksToRgb(true, picture);
  }
  if (info.bits == 8) return ToImage(raster, &picture->image);
  picture->deep = std::move(raster);
  return status;
}

zepcodec::Status WriteLjpeg(const Settings& settings, const Picture& picture,
                            zepcodec::ByteBuffer* file) {
  ljpeg::EncodeOptions options;
  options.predictor = settings.predictor;
  options.point_transform = settings.point_transform;
  options.restart_rows = settings.restart_interval;
  options.metadata = picture.metadata;
  if (picture.IsDeep()) return ljpeg::Encode(picture.deep, options, file);
  Raster raster;
  zepcodec::Status status = ToRaster(picture.image, &raster);
  if (!status.ok()) return status;
  options.is_inverted_cmyk = picture.image.layout() == PixelLayout::kCmyk;
  if (options.is_inverted_cmyk) {
    uint8_t* const samples = raster.Row(0);
    for (size_t i = 0; i < raster.SizeInBytes(); ++i) samples[i] ^= 255;
  }
  return ljpeg::Encode(raster, options, file);
}

}  // namespace zepconvert
