// SPDX-License-Identifier: MIT
// TIFF as the public functions see it.
#include <utility>

#include "codecs/api/codec.h"
#include "codecs/api/structs.h"
#include "codecs/support/convert.h"
#include "codecs/tiff/codec.h"

namespace zepcodec::api {
namespace {

bool IsTiff(const File& file) { return tiff::IsTiff(file.data, file.size); }

Status Probe(const File& file, const DecodeRequest&, Findings* info) {
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
  FillMetadata(found.metadata, info);
  // The picture, and a strip, which may be all of it.
  info->memory = PictureBytes(found.width, found.height, 2 * found.channels * (found.bits / 8)) +
                 MemoryOf(found.metadata);
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
  report->notes = std::move(info.notes);
  picture->metadata() = std::move(info.metadata);
  if (info.has_more_pictures) report->notes.Add("the first of several pictures was taken");
  return Cut(request.region, picture);
}

Status Encode(RowSource* rows, const EncodeRequest& request, ByteBuffer* bytes) {
  Picture picture;
  if (Status status = rows->All(&picture); !status.ok()) return status;
  const zepcTiffOptions given = Complete(request.options.tiff);
  const bool is_plain =
      picture.layout() == PixelLayout::kGrey || picture.layout() == PixelLayout::kRgb;
  if (!is_plain || !IsUnsigned(picture.type())) {
    return Status::Unsupported("TIFF files hold grey and RGB of 8 or 16 bits here");
  }
  tiff::EncodeOptions options;
  options.compression =
      given.is_uncompressed != 0 ? tiff::Compression::kNone : tiff::Compression::kPackBits;
  options.has_byte_planes = given.has_byte_planes != 0 && picture.type() == SampleType::kU16;
  options.progress = request.progress;
  const int whole = 8 * BytesOf(picture.type());
  if (picture.bits() == whole) return tiff::Encode(picture, options, bytes);
  Picture scaled;
  Status status = Convert(picture, picture.layout(), whole, {}, &scaled);
  scaled.metadata() = picture.metadata();
  return status.ok() ? tiff::Encode(scaled, options, bytes) : status;
}

}  // namespace

const Codec kTiffCodec = {
    {zepcFormatTiff, "TIFF", "tif tiff", "image/tiff",
     "strips of grey and RGB of 8 and 16 bits, plain or PackBits",
     "grey and RGB of 8 and 16 bits, plain or PackBits", 1, 1, 1, 1, DepthsOf({8, 16}), 0, 0},
    IsTiff,
    Probe,
    Decode,
    Encode};

}  // namespace zepcodec::api
