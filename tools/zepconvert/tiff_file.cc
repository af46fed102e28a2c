// SPDX-License-Identifier: MIT
#include "tools/zepconvert/tiff_file.h"

#include <cmath>
#include <utility>

#include "codecs/tiff/codec.h"

namespace jpeg = zepcodec::jpeg;
namespace tiff = zepcodec::tiff;

namespace zepconvert {
namespace {

int DotsPerInch(const jpeg::Density& density) {
  switch (density.unit) {
    case 1: return density.x;
    case 2: return static_cast<int>(std::lround(density.x * 2.54));
    default: return 0;
  }
}

}  // namespace

zepcodec::Status ReadTiff(const Settings& settings, const zepcodec::ByteBuffer& input,
                          Picture* picture) {
  tiff::DecodeOptions options;
  options.max_pixels = settings.max_pixels;
  tiff::FileInfo info;
  zepcodec::Status status =
      tiff::Decode(input.data(), input.size(), options, &picture->image, &info);
  if (!status.ok()) return status;
  picture->TakeWarnings(info.messages);
  if (info.has_more_pictures)
    picture->notes.emplace_back("the first of several pictures was taken");
  if (!info.icc_profile.empty()) jpeg::AddIccProfile(info.icc_profile, &picture->metadata);
  if (info.dots_per_inch > 0) {
    picture->metadata.density = {1, info.dots_per_inch, info.dots_per_inch};
  }
  return status;
}

zepcodec::Status WriteTiff(const Settings& settings, const Picture& picture,
                           zepcodec::ByteBuffer* file) {
  tiff::EncodeOptions options;
  options.compression = settings.tiff_compression;
  options.icc_profile = jpeg::FindIccProfile(picture.metadata);
  options.dots_per_inch = DotsPerInch(picture.metadata.density);
  options.has_byte_planes = settings.has_byte_planes && picture.IsDeep();
  return tiff::Encode(picture.image, options, file);
}

}  // namespace zepconvert
