// SPDX-License-Identifier: MIT
#include "tools/zepconvert/jp2_file.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "codecs/jpeg/metadata.h"
#include "codecs/jpeg2000/colors.h"
#include "codecs/jpeg2000/decoder.h"
#include "codecs/jpeg2000/encoder.h"
#include "codecs/jpeg2000/rate_search.h"
#include "codecs/support/convert.h"

namespace jpeg = zepcodec::jpeg;
namespace jpeg2000 = zepcodec::jpeg2000;

namespace zepconvert {
namespace {

jpeg2000::DecodeOptions OptionsOf(const Settings& settings) {
  jpeg2000::DecodeOptions options;
  options.max_pixels = settings.max_pixels;
  options.threads = settings.threads;
  while (1 << options.reduce < settings.scale) ++options.reduce;
  return options;
}

}  // namespace

int64_t EstimateJp2Memory(const Settings& settings, const zepcodec::ByteBuffer& input) {
  int64_t bytes = 0;
  const zepcodec::Status status =
      jpeg2000::EstimateMemory(input.data(), input.size(), OptionsOf(settings), &bytes);
  return status.ok() ? bytes : 0;
}

zepcodec::Status ReadJp2(const Settings& settings, const zepcodec::ByteBuffer& input,
                         Picture* picture) {
  const jpeg2000::DecodeOptions options = OptionsOf(settings);
  jpeg2000::Image decoded;
  jpeg2000::FileInfo info;
  zepcodec::Status status = jpeg2000::Decode(input.data(), input.size(), options, &decoded, &info);
  if (!status.ok()) return status;
  zepcodec::Picture native;
  status = jpeg2000::ToPicture(decoded, &info.notes, &native);
  picture->TakeWarnings(info.messages);
  picture->TakeNotes(info.notes);
  if (!status.ok()) return status;
  picture->metadata = jpeg::ToSegments(decoded.metadata);
  if (native.bits() != 8) return Convert(native, native.layout(), 8, {}, &picture->image);
  picture->image = std::move(native);
  return status;
}

zepcodec::Status WriteJp2(const Settings& settings, bool has_boxes, const Picture& picture,
                          zepcodec::ByteBuffer* file) {
  jpeg2000::Image image;
  zepcodec::Status status = jpeg2000::FromPicture(picture.image, &image);
  if (!status.ok()) return status;
  zepcodec::Messages ignored;
  image.metadata = jpeg::ToMetadata(picture.metadata, &ignored);
  jpeg2000::EncodeOptions options;
  options.is_jp2 = has_boxes;
  options.block_style = settings.block_style;
  options.threads = settings.threads;
  options.reversible = settings.ratio == 0 && settings.psnr == 0;
  if (settings.psnr > 0) return jpeg2000::EncodeToPsnr(settings.psnr, image, options, file);
  if (settings.ratio > 0) {
    const double bytes = static_cast<double>(picture.image.SizeInBytes()) / settings.ratio;
    options.layer_bytes = {std::max<size_t>(static_cast<size_t>(bytes), 1)};
  }
  return jpeg2000::Encode(image, options, file);
}

}  // namespace zepconvert
