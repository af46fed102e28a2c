// SPDX-License-Identifier: MIT
// JPEG XR as the public functions see it.
#include <cstring>
#include <utility>

#include "codecs/api/codec.h"
#include "codecs/api/structs.h"
#include "codecs/jpegxr/decoder.h"
#include "codecs/jpegxr/encoder.h"

namespace zepcodec::api {
namespace {

bool IsJpegXr(const File& file) {
  constexpr uint8_t kSignature[3] = {'I', 'I', 0xBC};
  return file.size >= 4 && std::memcmp(file.data, kSignature, sizeof(kSignature)) == 0 &&
         file.data[3] <= 1;
}

Status Probe(const File& file, const DecodeRequest& request, Findings* info) {
  jpegxr::FileInfo found;
  Status status = jpegxr::ReadFileInfo(file.data, file.size, &found);
  if (!status.ok()) return status;
  const jpegxr::FrameHeader& frame = found.frame;
  if (frame.width > INT32_MAX || frame.height > INT32_MAX) {
    return Status::TooLarge("the header announces sides of more than 2^31 pixels");
  }
  info->width = static_cast<int32_t>(frame.width);
  info->height = static_cast<int32_t>(frame.height);
  info->layout = LayoutOf(found.layout);
  info->sample = SampleOf(frame.type);
  info->bits = frame.Bits();
  info->components = static_cast<int32_t>(frame.plane.Components());
  info->tiles_across = static_cast<int32_t>(frame.columns.size()) - 1;
  info->tiles_down = static_cast<int32_t>(frame.rows.size()) - 1;
  info->gives_rows = request.rows != nullptr && !found.has_own_alpha;
  FillMetadata(found.metadata, info);
  status = jpegxr::EstimateMemory(file.data, file.size,
                                  CommonOptions<jpegxr::DecodeOptions>(request), &info->memory);
  info->memory += MemoryOf(found.metadata);
  return status;
}

Status Decode(const File& file, const DecodeRequest& request, Picture* picture, Report* report) {
  if (request.options.reduce > 0) {
    return Status::Unsupported("JPEG XR files are decoded at their full size only");
  }
  jpegxr::FileInfo info;
  Status status = jpegxr::Decode(file.data, file.size,
                                 CommonOptions<jpegxr::DecodeOptions>(request), picture, &info);
  report->damage = std::move(info.messages);
  report->notes = std::move(info.notes);
  picture->metadata() = std::move(info.metadata);
  return status;
}

Status Encode(RowSource* rows, const EncodeRequest& request, ByteBuffer* bytes) {
  const Picture& form = rows->form();
  const zepcJpegXrOptions given = Complete(request.options.jpeg_xr);
  for (const Status& status : {CheckRange("quality", given.quality, 0, 100),
                               CheckRange("sampling", given.sampling, 0, zepcSampling420),
                               CheckRange("overlap", given.overlap, -1, 1)}) {
    if (!status.ok()) return status;
  }
  if (HasAlpha(form.layout()) || form.layout() == PixelLayout::kCmyk) {
    return Status::Unsupported("JPEG XR files hold grey and RGB here, no opacity and no inks");
  }
  if (form.bits() != 8 * BytesOf(form.type())) {
    return Status::Unsupported("JPEG XR files hold samples of 8 and 16 bits, none between");
  }
  jpegxr::EncodeOptions options;
  options.lossless = given.quality == 0;
  if (given.quality > 0) options.quality = given.quality;
  options.color = given.sampling == zepcSampling420   ? jpegxr::ColorFormat::k420
                  : given.sampling == zepcSampling422 ? jpegxr::ColorFormat::k422
                                                      : jpegxr::ColorFormat::k444;
  options.overlap = static_cast<jpegxr::Overlap>(given.overlap + 1);
  options.is_frequency_order = given.is_frequency_order != 0;
  options.tile_width = given.tile_width;
  options.tile_height = given.tile_height;
  options.threads = request.options.threads;
  options.progress = request.progress;
  options.sink = request.sink;
  return jpegxr::Encode(rows, options, bytes);
}

}  // namespace

const Codec kJpegXrCodec = {
    {zepcFormatJpegXr, "JPEG XR", "jxr wdp hdp", "image/jxr",
     "grey and RGB with and without opacity: 8, 16 and 32 bits, fixed point, half and single "
     "floats; RGBE, 555, 565 and 101010",
     "grey and RGB of the same kinds of samples, without loss or quantized", 1, 1, 1, 1,
     DepthsOf({8, 16}), 0, 0},
    IsJpegXr,
    Probe,
    Decode,
    Encode};

}  // namespace zepcodec::api
