// SPDX-License-Identifier: MIT
// TIFF as the public functions see it.
#include <cmath>
#include <utility>

#include "codecs/api/codec.h"
#include "codecs/api/structs.h"
#include "codecs/tiff/codec.h"

namespace zepcodec::api {
namespace {

bool IsTiff(const File& file) { return tiff::IsTiff(file.data, file.size); }

Status Probe(const File& file, const DecodeRequest&, zepcInfo* info) {
  tiff::FileInfo found;
  Status status = tiff::ReadFileInfo(file.data, file.size, &found);
  if (!status.ok()) return status;
  info->width = found.width;
  info->height = found.height;
  info->components = found.channels;
  info->layout = LayoutOf(LayoutWithChannels(found.channels));
  info->bits = found.bits;
  info->sample = SampleOf(UnsignedOf(found.bits));
  info->is_lossless = 1;
  info->pictures = found.has_more_pictures ? 2 : 1;
  info->has_icc = found.icc_profile.empty() ? 0 : 1;
  // The picture, and a strip, which may be all of it.
  info->memory = 2 * int64_t{found.width} * found.height * found.channels * (found.bits / 8);
  return status;
}

Status Decode(const File& file, const DecodeRequest& request, Picture* picture, Report* report) {
  if (request.options.reduce > 0) {
    return Status::Unsupported("TIFF files are decoded at their full size only");
  }
  tiff::DecodeOptions options;
  options.max_pixels = request.options.max_pixels;
  options.progress = request.progress;
  tiff::FileInfo info;
  Status status = tiff::Decode(file.data, file.size, options, picture, &info);
  if (!status.ok()) return status;
  report->damage = std::move(info.messages);
  if (info.has_more_pictures) report->notes.Add("the first of several pictures was taken");
  picture->metadata().icc_profile = std::move(info.icc_profile);
  if (info.dots_per_inch > 0) {
    const double dots = info.dots_per_inch;
    picture->metadata().resolution = {Resolution::Unit::kInch, dots, dots};
  }
  return status;
}

int DotsPerInch(const Resolution& resolution) {
  switch (resolution.unit) {
    case Resolution::Unit::kInch: return static_cast<int>(std::lround(resolution.x));
    case Resolution::Unit::kCentimetre: return static_cast<int>(std::lround(resolution.x * 2.54));
    default: return 0;
  }
}

Status Encode(const Picture& picture, const EncodeRequest& request, ByteBuffer* bytes) {
  const zepcTiffOptions given = Complete(request.options.tiff);
  const bool is_plain =
      picture.layout() == PixelLayout::kGrey || picture.layout() == PixelLayout::kRgb;
  const bool is_whole = picture.bits() == 8 * BytesOf(picture.type());
  if (!is_plain || !is_whole ||
      (picture.type() != SampleType::kU8 && picture.type() != SampleType::kU16)) {
    return Status::Unsupported("TIFF files hold grey and RGB of 8 or 16 bits here");
  }
  tiff::EncodeOptions options;
  options.compression =
      given.is_uncompressed != 0 ? tiff::Compression::kNone : tiff::Compression::kPackBits;
  options.has_byte_planes = given.has_byte_planes != 0 && picture.bits() == 16;
  options.icc_profile = picture.metadata().icc_profile;
  options.dots_per_inch = DotsPerInch(picture.metadata().resolution);
  options.progress = request.progress;
  return tiff::Encode(picture, options, bytes);
}

}  // namespace

const Codec kTiffCodec = {{zepcFormatTiff, "TIFF", "tif tiff", "image/tiff",
                           "strips of grey and RGB of 8 and 16 bits, plain or PackBits",
                           "grey and RGB of 8 and 16 bits, plain or PackBits", 0, 1, 0, 1},
                          IsTiff,
                          Probe,
                          Decode,
                          Encode};

}  // namespace zepcodec::api
