// SPDX-License-Identifier: MIT
// Pixels of any form, with any options of any format, through the C interface. The result is an
// error with a sentence, or a file that decodes to the same size, and to the same pixels if it is
// lossless.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "codec_call.h"
#include "input.h"
#include "zepcodec.h"

namespace {

using fuzz::Input;
using fuzz::Pick;
using fuzz::Require;

// All options, and the data to which they point.
struct Call {
  zepcEncodeOptions options = {};
  zepcJpegOptions jpeg = {};
  zepcLosslessJpegOptions lossless_jpeg = {};
  zepcJpeg2000Options jpeg2000 = {};
  zepcJpegXrOptions jpeg_xr = {};
  zepcDdsOptions dds = {};
  zepcTiffOptions tiff = {};
  zepcMetadata metadata = {};
  std::vector<size_t> layers;
  std::vector<uint8_t> blob;
  bool is_lossless = false;
};

void ReadJpeg(Input* input, Call* call) {
  static const char* const kScripts[] = {nullptr, "0;", "0 1 2: 0-0, 0, 0; 0: 1-63, 0, 0;",
                                         "0: 0-63"};
  call->jpeg.size = sizeof(call->jpeg);
  call->jpeg.quality = input->Byte() % 103 - 1;
  const uint8_t flags = input->Byte();
  call->jpeg.sampling = static_cast<zepcSampling>(flags & 3);
  call->jpeg.is_progressive = flags >> 2 & 1;
  call->jpeg.optimizes = flags >> 3 & 1;
  call->jpeg.scan_script = flags >> 4 < 4 ? kScripts[flags >> 4] : nullptr;
  call->jpeg.restart_interval = Pick(input, 7);
  call->lossless_jpeg.size = sizeof(call->lossless_jpeg);
  call->lossless_jpeg.predictor = Pick(input, 9);
  call->lossless_jpeg.point_transform = Pick(input, 2) * Pick(input, 17);
  call->lossless_jpeg.restart_rows = Pick(input, 4);
  call->lossless_jpeg.has_usual_table = flags & 1;
}

void ReadJpeg2000(Input* input, Call* call) {
  zepcJpeg2000Options& options = call->jpeg2000;
  options.size = sizeof(options);
  const uint8_t kind = input->Byte();
  if ((kind & 7) == 1) options.ratio = 0.25 * (1 + (kind >> 3));
  if ((kind & 7) == 2) options.psnr = 2.5 * (kind >> 3);
  if ((kind & 7) == 3) {
    for (int i = 0; i <= kind >> 6; ++i) call->layers.push_back(input->Byte());
    options.layer_bytes = call->layers.data();
    options.layer_count = static_cast<int32_t>(call->layers.size());
  }
  options.levels = Pick(input, 36) - 2;
  options.block_style = Pick(input, 65);
  const uint8_t tiles = input->Byte();
  if (tiles > 127) {
    options.tile_width = 4 + (tiles & 7);
    options.tile_height = 4 + (tiles >> 3 & 7);
  }
  options.progression = Pick(input, 6);
}

void ReadOthers(Input* input, Call* call) {
  call->jpeg_xr.size = sizeof(call->jpeg_xr);
  const uint8_t flags = input->Byte();
  call->jpeg_xr.quality = (flags & 1) * (input->Byte() % 102);
  call->jpeg_xr.sampling = static_cast<zepcSampling>(flags >> 1 & 3);
  call->jpeg_xr.overlap = (flags >> 3 & 3) - 1;
  call->jpeg_xr.is_frequency_order = flags >> 5 & 1;
  call->jpeg_xr.tile_width = 16 * (flags >> 6 & 1);
  call->jpeg_xr.tile_height = 16 * (flags >> 7);
  call->dds.size = sizeof(call->dds);
  call->dds.texture = static_cast<zepcTexture>(Pick(input, 9));
  call->dds.has_mipmaps = flags >> 1 & 1;
  call->dds.header = flags >> 2 & 3;
  call->dds.bc7_mode = flags >> 4 & 1;  // not the thorough search, which only costs time here
  call->tiff.size = sizeof(call->tiff);
  call->tiff.is_uncompressed = flags & 1;
  call->tiff.has_byte_planes = flags >> 1 & 1;
}

void ReadMetadata(Input* input, Call* call) {
  const uint8_t kind = input->Byte();
  if ((kind & 1) == 0) return;
  zepcMetadata& metadata = call->metadata;
  metadata.size = sizeof(metadata);
  call->blob.resize(1 + input->Byte());
  input->Fill(call->blob.data(), call->blob.size());
  if ((kind & 2) != 0) metadata.exif = call->blob.data(), metadata.exif_size = call->blob.size();
  if ((kind & 4) != 0) metadata.icc = call->blob.data(), metadata.icc_size = call->blob.size();
  if ((kind & 8) != 0) metadata.xmp = call->blob.data(), metadata.xmp_size = call->blob.size();
  metadata.orientation = call->blob[0] % 10;  // one beyond the last
  metadata.resolution_unit = static_cast<zepcResolutionUnit>(kind >> 4 & 7);
  metadata.resolution_x = 300.5;
  metadata.resolution_y = kind;
  call->options.metadata = &metadata;
}

void ReadCall(Input* input, Call* call) {
  zepcEncodeOptions& options = call->options;
  options.size = sizeof(options);
  options.format = static_cast<zepcFormat>(Pick(input, 9));
  options.threads = 1;
  const uint8_t given = input->Byte();
  ReadJpeg(input, call);
  ReadJpeg2000(input, call);
  ReadOthers(input, call);
  ReadMetadata(input, call);
  if ((given & 1) != 0) return;  // the defaults
  options.jpeg = &call->jpeg;
  options.lossless_jpeg = &call->lossless_jpeg;
  options.jpeg2000 = &call->jpeg2000;
  options.jpeg_xr = &call->jpeg_xr;
  options.dds = &call->dds;
  options.tiff = &call->tiff;
}

bool IsLossless(const Call& call) {
  const zepcEncodeOptions& options = call.options;
  switch (options.format) {
    case zepcFormatLosslessJpeg:
      return options.lossless_jpeg == nullptr || call.lossless_jpeg.point_transform == 0;
    case zepcFormatJp2:
    case zepcFormatJ2k:
      return options.jpeg2000 == nullptr ||
             (call.jpeg2000.ratio == 0 && call.jpeg2000.psnr == 0 && call.layers.empty());
    case zepcFormatJpegXr:
      return options.jpeg_xr == nullptr ||
             (call.jpeg_xr.quality == 0 && call.jpeg_xr.sampling <= zepcSampling444);
    default: return false;
  }
}

// Pixels in memory of exactly their size, with gaps between rows.
struct Pixels {
  explicit Pixels(Input* input) {
    pixels.size = sizeof(pixels);
    pixels.width = 1 + Pick(input, 20);
    pixels.height = 1 + Pick(input, 20);
    pixels.layout = static_cast<zepcLayout>(Pick(input, 9));
    pixels.sample = static_cast<zepcSample>(Pick(input, 8));
    pixels.bits = Pick(input, 2) * Pick(input, 18);
    const size_t row_bytes = static_cast<size_t>(pixels.width) * fuzz::PixelBytes(pixels);
    pixels.stride = row_bytes + static_cast<size_t>(Pick(input, 5));
    data.resize(pixels.stride * static_cast<size_t>(pixels.height - 1) + row_bytes);
    input->Fill(data.data(), data.size());
    pixels.data = data.data();
  }
  zepcPixels pixels = {};
  std::vector<uint8_t> data;
};

// Only integers are compared: floats with NaNs may come back with other bits.
void CheckSame(const zepcPixels& from, const zepcPixels& to) {
  Require(to.bits ==
          (from.bits == 0 ? 8 * static_cast<int32_t>(fuzz::SampleBytes(from.sample)) : from.bits));
  const size_t row_bytes = static_cast<size_t>(from.width) * fuzz::PixelBytes(from);
  for (size_t y = 0; y < static_cast<size_t>(from.height); ++y) {
    Require(std::memcmp(static_cast<const uint8_t*>(from.data) + y * from.stride,
                        static_cast<const uint8_t*>(to.data) + y * to.stride, row_bytes) == 0);
  }
}

void CheckFile(const Call& call, const zepcPixels& from, const void* file, size_t size) {
  Require(zepcFormatOfBytes(file, size) == call.options.format);
  zepcDecodeOptions options = {};
  options.size = sizeof(options);
  options.threads = 1;
  const bool is_bgr = from.layout == zepcLayoutBgr || from.layout == zepcLayoutBgra;
  if (is_bgr) options.layout = from.layout;
  zepcPicture* picture = nullptr;
  Require(zepcDecode(file, size, &options, &picture) == zepcStatusOk);
  zepcPixels to = {};
  to.size = sizeof(to);
  Require(zepcPicturePixels(picture, &to) == zepcStatusOk);
  Require(to.width == from.width && to.height == from.height);
  const bool is_integer = from.sample == zepcSampleU8 || from.sample == zepcSampleU16;
  if (IsLossless(call) && is_integer && !is_bgr) {
    Require(to.layout == from.layout && to.sample == from.sample);
    CheckSame(from, to);
  }
  zepcPictureFree(picture);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  Call call;
  ReadCall(&input, &call);
  const Pixels from(&input);
  void* file = nullptr;
  size_t file_size = 0;
  const zepcStatus status = zepcEncode(&from.pixels, &call.options, &file, &file_size);
  Require((status == zepcStatusOk) == (file != nullptr));
  if (status == zepcStatusOk) {
    CheckFile(call, from.pixels, file, file_size);
  } else {
    fuzz::RequireFailure(status);
  }
  zepcFree(file);
  return 0;
}
