// SPDX-License-Identifier: MIT
#include "tools/zepconvert/jxr_file.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "codecs/jpegxr/decoder.h"
#include "codecs/jpegxr/encoder.h"
#include "codecs/support/convert.h"

namespace jpeg = zepcodec::jpeg;
namespace jpegxr = zepcodec::jpegxr;

namespace zepconvert {
namespace {

jpegxr::ColorFormat FormatOf(const Settings& settings) {
  if (!settings.has_sampling) return jpegxr::ColorFormat::k444;
  switch (settings.sampling) {
    case jpeg::Sampling::k420: return jpegxr::ColorFormat::k420;
    case jpeg::Sampling::k422: return jpegxr::ColorFormat::k422;
    default: return jpegxr::ColorFormat::k444;
  }
}

}  // namespace

zepcodec::Status ReadJxr(const Settings& settings, const zepcodec::ByteBuffer& input,
                         Picture* picture) {
  jpegxr::DecodeOptions options;
  options.max_pixels = settings.max_pixels;
  options.threads = settings.threads;
  zepcodec::Picture decoded;
  jpegxr::FileInfo info;
  zepcodec::Status status = jpegxr::Decode(input.data(), input.size(), options, &decoded, &info);
  if (!status.ok()) return status;
  picture->TakeWarnings(info.messages);
  return Convert(decoded, decoded.layout(), 8, {}, &picture->image);
}

bool IsLosslessJxr(const Settings& settings) {
  return !settings.has_quality && FormatOf(settings) == jpegxr::ColorFormat::k444;
}

zepcodec::Status WriteJxr(const Settings& settings, const Picture& picture,
                          zepcodec::ByteBuffer* file) {
  jpegxr::EncodeOptions options;
  options.lossless = !settings.has_quality;
  options.quality = settings.quality;
  options.overlap = static_cast<jpegxr::Overlap>(settings.overlap);
  options.color = FormatOf(settings);
  options.tile_width = settings.tile_width;
  options.tile_height = settings.tile_height;
  options.threads = settings.threads;
  return jpegxr::Encode(picture.image, options, file);
}

}  // namespace zepconvert
