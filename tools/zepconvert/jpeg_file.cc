// SPDX-License-Identifier: MIT
#include "tools/zepconvert/jpeg_file.h"

#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/encoder.h"
#include "codecs/jpeg/transcoder.h"
#include "codecs/support/convert.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/jpeg_parts.h"
#include "tools/zepconvert/pixels.h"
#include "tools/zepconvert/png_file.h"

namespace jpeg = zepcodec::jpeg;

namespace zepconvert {
namespace {

namespace fs = std::filesystem;

// DIRECTORY/photo-scan-03.png
zepcodec::Status WriteScan(const Settings& settings, const std::string& name,
                           const zepcodec::Picture& image, int number) {
  std::error_code failed;
  fs::create_directories(settings.scans_directory, failed);
  if (failed) return zepcodec::Status::Error(settings.scans_directory + ": " + failed.message());
  char suffix[32];
  std::snprintf(suffix, sizeof(suffix), "-scan-%02d.png", number);
  const fs::path path =
      fs::path(settings.scans_directory) / (fs::path(name).stem().string() + suffix);
  zepcodec::Picture converted;
  zepcodec::ByteBuffer file;
  const bool is_cmyk = image.layout() == zepcodec::PixelLayout::kCmyk;
  if (is_cmyk) {
    zepcodec::Status status = Convert(image, zepcodec::PixelLayout::kRgb, 8, {}, &converted);
    if (!status.ok()) return status;
  }
  zepcodec::Status status = WritePng(is_cmyk ? converted : image, jpeg::SavedSegments(), &file);
  return status.ok() ? WriteFile(path.string(), file.data(), file.size(), name) : status;
}

}  // namespace

zepcodec::Status ReadJpeg(const Settings& settings, const std::string& name,
                          const zepcodec::ByteBuffer& input, Picture* picture,
                          jpeg::StageTimes* times) {
  jpeg::DecodeOptions options;
  options.scale = settings.scale;
  options.max_pixels = settings.max_pixels;
  options.times = times;
  if (!settings.scans_directory.empty()) {
    options.on_scan = [&](const zepcodec::Picture& image, int number, const jpeg::Scan&) {
      return WriteScan(settings, name, image, number);
    };
  }
  jpeg::FileInfo info;
  zepcodec::Status status =
      jpeg::Decode(input.data(), input.size(), options, &picture->image, &info);
  if (!status.ok()) return status;
  picture->TakeWarnings(info.messages);
  picture->metadata = std::move(info.metadata);
  DropIncompleteProfile(picture);
  return picture->IsDeep() ? DeepInksToRgb(picture) : status;
}

zepcodec::Status WriteJpeg(const Settings& settings, const Picture& picture,
                           zepcodec::ByteBuffer* output, jpeg::StageTimes* times) {
  jpeg::EncodeOptions options;
  options.quality = settings.quality;
  options.sampling = settings.sampling;
  options.restart_interval = settings.restart_interval;
  if (settings.precise_dct) options.forward_dct = jpeg::ForwardDct::kPrecise;
  options.progressive = settings.progressive;
  options.script = settings.script;
  options.optimizes = settings.optimizes;
  options.metadata = picture.metadata;
  options.times = times;
  return jpeg::Encode(picture.image, options, output);
}

zepcodec::Status TranscodeJpeg(const Settings& settings, const zepcodec::ByteBuffer& input,
                               Picture* picture, zepcodec::ByteBuffer* output) {
  jpeg::TranscodeOptions options;
  options.progressive = settings.progressive;
  options.script = settings.script;
  options.optimizes = settings.optimizes;
  options.restart_interval = settings.restart_interval;
  options.has_crop = settings.has_crop;
  options.crop = settings.crop;
  options.keep_metadata = settings.keep_metadata;
  options.max_pixels = settings.max_pixels;
  jpeg::FileInfo info;
  zepcodec::Status status = jpeg::Transcode(input.data(), input.size(), options, output, &info);
  if (!status.ok()) return status;
  picture->TakeWarnings(info.messages);
  if (settings.has_crop && (settings.crop.left % (8 * info.frame.max_h) != 0 ||
                            settings.crop.top % (8 * info.frame.max_v) != 0)) {
    picture->notes.emplace_back("the part was enlarged to the left and top, to whole MCUs");
  }
  return status;
}

}  // namespace zepconvert
