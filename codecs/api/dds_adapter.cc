// SPDX-License-Identifier: MIT
// Textures in DDS files as the public functions see them.
#include <cstring>
#include <string>

#include "codecs/api/codec.h"
#include "codecs/api/structs.h"
#include "codecs/dds/codec.h"

namespace zepcodec::api {
namespace {

bool IsDds(const File& file) { return file.size >= 4 && std::memcmp(file.data, "DDS ", 4) == 0; }

dds::DecodeOptions OptionsOf(const DecodeRequest& request) {
  auto options = CommonOptions<dds::DecodeOptions>(request);
  options.level = request.options.level;
  return options;
}

Status Probe(const File& file, const DecodeRequest& request, Findings* info) {
  dds::Header header;
  Status status = dds::ParseHeader(file.data, file.size, &header);
  if (!status.ok()) return status;
  info->width = header.width;
  info->height = header.height;
  const dds::PixelFormat result = dds::ResultOf(header);
  info->layout = LayoutOf(result.layout);
  info->sample = SampleOf(result.type);
  info->bits = result.bits;
  info->components = ChannelCount(result.layout);
  info->levels = header.levels - 1;
  info->pictures = static_cast<int32_t>(std::min<int64_t>(header.PictureCount(), INT32_MAX));
  if (request.options.level > info->levels) {
    return Status::BadOption("the file has levels up to " + std::to_string(info->levels));
  }
  info->gives_rows = request.rows != nullptr;
  info->memory = dds::MemoryToDecode(header, OptionsOf(request));
  return Status();
}

Status Decode(const File& file, const DecodeRequest& request, Picture* picture, Report* report) {
  if (request.options.reduce > 0) {
    return Status::Unsupported("smaller versions of a texture are its levels (level, not reduce)");
  }
  dds::Header header;
  Status status = dds::Decode(file.data, file.size, OptionsOf(request), picture, &header);
  if (header.PictureCount() > 1) {
    report->notes.Add("the first of " + std::to_string(header.PictureCount()) +
                      " pictures was taken");
  }
  if (dds::HasSignedValues(header.format)) report->notes.Add("values of -1 to 1 became 0 to 255");
  return status;
}

Status ReadTexture(const Picture& picture, zepcTexture texture, dds::EncodeOptions* options) {
  switch (texture) {
    case zepcTextureAuto:
      options->format =
          HasAlpha(picture.layout()) ? dds::BlockFormat::kBc3 : dds::BlockFormat::kBc1;
      return Status();
    case zepcTextureBc1: options->format = dds::BlockFormat::kBc1; return Status();
    case zepcTextureBc2: options->format = dds::BlockFormat::kBc2; return Status();
    case zepcTextureBc3: options->format = dds::BlockFormat::kBc3; return Status();
    case zepcTextureBc4: options->format = dds::BlockFormat::kBc4; return Status();
    case zepcTextureBc5: options->format = dds::BlockFormat::kBc5; return Status();
    case zepcTextureBc7: options->format = dds::BlockFormat::kBc7; return Status();
    case zepcTextureYCoCg:
      options->format = dds::BlockFormat::kBc3;
      options->is_ycocg = true;
      return Status();
  }
  return Status::Error("there is no texture " + std::to_string(texture));
}

Status Encode(RowSource* rows, const EncodeRequest& request, ByteBuffer* bytes) {
  constexpr int kBc7Modes[] = {-1, 6, -2};
  const zepcDdsOptions given = Complete(request.options.dds);
  dds::EncodeOptions options;
  for (const Status& status :
       {CheckRange("header", given.header, 0, 2), CheckRange("bc7_mode", given.bc7_mode, 0, 2),
        CheckRange("bc7_only", given.bc7_only, 0, 8),
        ReadTexture(rows->form(), given.texture, &options)}) {
    if (!status.ok()) return status;
  }
  options.has_mipmaps = given.has_mipmaps != 0;
  options.style = static_cast<dds::HeaderStyle>(given.header);
  options.bc7_mode = given.bc7_only > 0 ? given.bc7_only - 1 : kBc7Modes[given.bc7_mode];
  options.threads = request.options.threads;
  options.progress = request.progress;
  options.sink = request.sink;
  return dds::Encode(rows, options, bytes);
}

}  // namespace

const Codec kDdsCodec = {
    {zepcFormatDds, "DDS", "dds", "image/vnd.ms-dds",
     "textures BC1 to BC7, DXT1 to DXT5 and ATI1, ATI2, and pixels without blocks, with "
     "their levels",
     "BC1 to BC5 and BC7, with levels", 0, 0, 0, 0, DepthsOf({8}), 1, 0},
    IsDds,
    Probe,
    Decode,
    Encode};

}  // namespace zepcodec::api
