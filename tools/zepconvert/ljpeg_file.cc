// SPDX-License-Identifier: MIT
#include "tools/zepconvert/ljpeg_file.h"

#include <string>
#include <utility>

#include "codecs/jpeg/lossless/codec.h"
#include "codecs/support/convert.h"
#include "tools/zepconvert/jpeg_parts.h"

namespace ljpeg = zepcodec::jpeg::lossless;

namespace zepconvert {
zepcodec::Status ReadLjpeg(const Settings& settings, const zepcodec::ByteBuffer& input,
                           Picture* picture) {
  ljpeg::DecodeOptions options;
  options.max_pixels = settings.max_pixels;
  ljpeg::FileInfo info;
  zepcodec::Status status =
      ljpeg::Decode(input.data(), input.size(), options, &picture->image, &info);
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
    zepcodec::Invert(&picture->image);  // files hold 0 for full ink
    if (picture->IsDeep()) return DeepInksToRgb(picture);
  }
  return status;
}

zepcodec::Status WriteLjpeg(const Settings& settings, const Picture& picture,
                            zepcodec::ByteBuffer* file) {
  ljpeg::EncodeOptions options;
  options.predictor = settings.predictor;
  options.point_transform = settings.point_transform;
  options.restart_rows = settings.restart_interval;
  options.metadata = picture.metadata;
  options.is_inverted_cmyk = picture.image.layout() == zepcodec::PixelLayout::kCmyk;
  if (!options.is_inverted_cmyk) return ljpeg::Encode(picture.image, options, file);
  zepcodec::Picture inverted;
  zepcodec::Status status =
      Convert(picture.image, picture.image.layout(), picture.image.bits(), {}, &inverted);
  if (!status.ok()) return status;
  zepcodec::Invert(&inverted);
  return ljpeg::Encode(inverted, options, file);
}

}  // namespace zepconvert
