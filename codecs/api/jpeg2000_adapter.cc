// SPDX-License-Identifier: MIT
// JPEG 2000 as the public functions see it: the same codec with boxes around the codestream and
// without.
#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "codecs/api/codec.h"
#include "codecs/api/structs.h"
#include "codecs/jpeg2000/colors.h"
#include "codecs/jpeg2000/decoder.h"
#include "codecs/jpeg2000/encoder.h"
#include "codecs/jpeg2000/picture_decoder.h"
#include "codecs/jpeg2000/rate_search.h"

namespace zepcodec::api {
namespace {

bool IsJp2(const File& file) {
  constexpr uint8_t kSignature[12] = {0, 0, 0, 12, 'j', 'P', ' ', ' ', '\r', '\n', 0x87, '\n'};
  return file.size >= sizeof(kSignature) &&
         std::memcmp(file.data, kSignature, sizeof(kSignature)) == 0;
}

bool IsCodestream(const File& file) {
  constexpr uint8_t kStart[4] = {0xFF, 0x4F, 0xFF, 0x51};
  return file.size >= sizeof(kStart) && std::memcmp(file.data, kStart, sizeof(kStart)) == 0;
}

jpeg2000::DecodeOptions OptionsOf(const DecodeRequest& request) {
  auto options = CommonOptions<jpeg2000::DecodeOptions>(request);
  options.reduce = request.options.reduce;
  options.layers = request.options.layers;
  return options;
}

Status Probe(const File& file, const DecodeRequest& request, Findings* info) {
  jpeg2000::FileInfo found;
  Status status = jpeg2000::ReadFileInfo(file.data, file.size, &found);
  if (!status.ok()) return status;
  const jpeg2000::SizeSegment& size = found.size;
  info->components = static_cast<int32_t>(size.components.size());
  info->layers = found.parameters.tile.layers;
  info->is_progressive = info->layers > 1 ? 1 : 0;
  info->tiles_across = size.TilesAcross();
  info->tiles_down = size.TilesDown();
  info->levels = jpeg2000::kMostLevels;
  info->is_lossless = 1;
  for (const auto& component : found.parameters.components) {
    info->levels = std::min(info->levels, component.coding.levels);
    if (!component.coding.reversible) info->is_lossless = 0;
  }
  Picture pixel;
  // Smaller than the grid where all components are coarser.
  status = jpeg2000::ReadShape(file.data, file.size, &pixel, &info->width, &info->height);
  if (!status.ok()) return status;
  info->layout = LayoutOf(pixel.layout());
  info->bits = pixel.bits();
  info->sample = SampleOf(pixel.type());
  FillMetadata(pixel.metadata(), info);
  info->gives_rows = true;
  status = jpeg2000::EstimateMemory(file.data, file.size, OptionsOf(request), &info->memory);
  info->memory += MemoryOf(pixel.metadata());
  return status;
}

Status Decode(const File& file, const DecodeRequest& request, Picture* picture, Report* report) {
  jpeg2000::FileInfo info;
  Status status = jpeg2000::DecodePicture(file.data, file.size, OptionsOf(request), picture, &info);
  report->damage = std::move(info.messages);
  report->notes = std::move(info.notes);
  return status;
}

Status CheckOptions(const zepcJpeg2000Options& options) {
  if (!(options.ratio >= 0) || !(options.psnr >= 0)) {
    return Status::Error("ratio and psnr must not be negative");
  }
  if (options.layer_count > 0 && options.layer_bytes == nullptr) {
    return Status::Error("layer_bytes is null");
  }
  const int ways =
      (options.ratio > 0 ? 1 : 0) + (options.psnr > 0 ? 1 : 0) + (options.layer_count > 0 ? 1 : 0);
  for (int32_t i = 1; i < options.layer_count; ++i) {
    const bool is_last_without_loss = i + 1 == options.layer_count && options.layer_bytes[i] == 0;
    if (!is_last_without_loss && options.layer_bytes[i] < options.layer_bytes[i - 1]) {
      return Status::Error("layer_bytes must rise");
    }
  }
  if (ways > 1) return Status::Error("only one of ratio, psnr and layer_bytes can be set");
  for (const Status& status : {CheckRange("layer_count", options.layer_count, 0, 65535),
                               CheckRange("levels", options.levels, -1, jpeg2000::kMostLevels),
                               CheckRange("block_style", options.block_style, 0, 63),
                               CheckRange("tile_width", options.tile_width, 0, INT32_MAX),
                               CheckRange("tile_height", options.tile_height, 0, INT32_MAX),
                               CheckRange("progression", options.progression, 0, 4)}) {
    if (!status.ok()) return status;
  }
  return Status();
}

Status EncodeToPsnr(double psnr, RowSource* rows, const jpeg2000::EncodeOptions& options,
                    ByteBuffer* bytes) {
  Picture picture;
  jpeg2000::Image image;
  Status status = rows->All(&picture);
  if (status.ok()) status = jpeg2000::FromPicture(picture, &image);
  return status.ok() ? jpeg2000::EncodeToPsnr(psnr, image, options, bytes) : status;
}

Status Encode(RowSource* rows, const EncodeRequest& request, bool is_jp2, ByteBuffer* bytes) {
  const Picture& form = rows->form();
  const zepcJpeg2000Options given = Complete(request.options.jpeg2000);
  if (Status status = CheckOptions(given); !status.ok()) return status;
  if (!is_jp2 && (HasAlpha(form.layout()) || form.layout() == PixelLayout::kCmyk)) {
    return Status::Unsupported("a codestream alone has no place to say what its channels are");
  }
  jpeg2000::EncodeOptions options;
  options.is_jp2 = is_jp2;
  options.reversible = given.ratio == 0 && given.psnr == 0;
  if (given.levels != 0) options.levels = std::max(given.levels, 0);
  options.block_style = given.block_style;
  options.tile_width = given.tile_width;
  options.tile_height = given.tile_height;
  options.order = static_cast<jpeg2000::Progression>(given.progression);
  options.threads = request.options.threads;
  options.progress = request.progress;
  if (given.layer_count > 0) {
    options.layer_bytes.assign(given.layer_bytes, given.layer_bytes + given.layer_count);
    options.reversible = options.layer_bytes.back() == 0;
  }
  if (given.psnr > 0) return EncodeToPsnr(given.psnr, rows, options, bytes);
  if (given.ratio > 0) {
    const double size = static_cast<double>(form.SizeInBytes()) / given.ratio;
    constexpr auto kMost = static_cast<double>(SIZE_MAX / 2);
    options.layer_bytes = {static_cast<size_t>(std::clamp(size, 1.0, kMost))};
  }
  return jpeg2000::EncodePicture(rows, options, request.sink, bytes);
}

Status EncodeJp2(RowSource* rows, const EncodeRequest& request, ByteBuffer* bytes) {
  return Encode(rows, request, true, bytes);
}

Status EncodeCodestream(RowSource* rows, const EncodeRequest& request, ByteBuffer* bytes) {
  return Encode(rows, request, false, bytes);
}

constexpr char kReads[] =
    "all of part 1: up to 16 components of up to 16 bits; grey, RGB, YCbCr, CMYK, L*a*b*, "
    "palettes, "
    "opacity";
constexpr char kWrites[] =
    "grey, RGB and CMYK of up to 16 bits, with opacity, without loss or to a size or PSNR";
constexpr char kWritesAlone[] = "grey and RGB of up to 16 bits, without loss or to a size or PSNR";

}  // namespace

const Codec kJp2Codec = {{zepcFormatJp2, "JPEG 2000", "jp2", "image/jp2", kReads, kWrites, 1, 1, 1,
                          1, DepthsUpTo16(1), 1, 1},
                         IsJp2,
                         Probe,
                         Decode,
                         EncodeJp2};

const Codec kJ2kCodec = {{zepcFormatJ2k, "JPEG 2000 codestream", "j2k j2c jpc", "image/j2c", kReads,
                          kWritesAlone, 0, 0, 0, 0, DepthsUpTo16(1), 0, 0},
                         IsCodestream,
                         Probe,
                         Decode,
                         EncodeCodestream};

}  // namespace zepcodec::api
