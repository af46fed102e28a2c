// SPDX-License-Identifier: MIT
#include "tools/zepconvert/tiff_file.h"

#include <utility>

#include "codecs/support/convert.h"
#include "codecs/tiff/codec.h"

namespace jpeg = zepcodec::jpeg;
namespace tiff = zepcodec::tiff;

namespace zepconvert {
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
  picture->metadata = jpeg::ToSegments(info.metadata);
  return status;
}

zepcodec::Status WriteTiff(const Settings& settings, const Picture& picture,
                           zepcodec::ByteBuffer* file) {
  tiff::EncodeOptions options;
  options.compression = settings.tiff_compression;
  options.has_byte_planes = settings.has_byte_planes && picture.IsDeep();
  zepcodec::Picture image;
  zepcodec::Status status =
      Convert(picture.image, picture.image.layout(), picture.image.bits(), {}, &image);
  if (!status.ok()) return status;
  zepcodec::Messages ignored;
  image.metadata() = jpeg::ToMetadata(picture.metadata, &ignored);
  return tiff::Encode(image, options, file);
}

}  // namespace zepconvert
