// SPDX-License-Identifier: MIT
#include "zepconvert/jpeg_file.h"

#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "jpeg/decoder.h"
#include "jpeg/encoder.h"
#include "jpeg/transcoder.h"
#include "zepconvert/file_io.h"
#include "zepconvert/jpeg_parts.h"
#include "zepconvert/pixels.h"
#include "zepconvert/png_file.h"

namespace zepconvert {
namespace {

namespace fs = std::filesystem;

void TakeMessages(const jpeg::Messages& messages, Picture* picture) {
  for (const jpeg::Message& message : messages.kept()) {
    picture->warnings.push_back(message.ToString());
  }
  const int64_t more = messages.count() - static_cast<int64_t>(messages.kept().size());
  if (more > 0) picture->warnings.push_back("and " + std::to_string(more) + " more");
}

// DIRECTORY/photo-scan-03.png
common::Status WriteScan(const Settings& settings, const std::string& name,
                         const common::Image& image, int number) {
  std::error_code failed;
  fs::create_directories(settings.scans_directory, failed);
  if (failed) return common::Status::Error(settings.scans_directory + ": " + failed.message());
  char suffix[32];
  std::snprintf(suffix, sizeof(suffix), "-scan-%02d.png", number);
  const fs::path path =
      fs::path(settings.scans_directory) / (fs::path(name).stem().string() + suffix);
  common::Image converted;
  common::ByteBuffer file;
  const bool is_cmyk = image.layout() == common::PixelLayout::kCmyk;
  if (is_cmyk) {
    common::Status status = ChangeLayout(image, common::PixelLayout::kRgb, &converted);
    if (!status.ok()) return status;
  }
  common::Status status = WritePng(is_cmyk ? converted : image, jpeg::Metadata(), &file);
  return status.ok() ? WriteFile(path.string(), file.data(), file.size(), name) : status;
}

}  // namespace

common::Status ReadJpeg(const Settings& settings, const std::string& name,
                        const common::ByteBuffer& input, Picture* picture,
                        jpeg::StageTimes* times) {
  jpeg::DecodeOptions options;
  options.scale = settings.scale;
  options.max_pixels = settings.max_pixels;
  options.times = times;
  if (!settings.scans_directory.empty()) {
    options.on_scan = [&](const common::Image& image, int number, const jpeg::Scan&) {
      return WriteScan(settings, name, image, number);
    };
  }
  jpeg::FileInfo info;
  common::Status status = jpeg::ReadFileInfo(input.data(), input.size(), &info);
  if (status.ok()) {
    status = info.frame.precision == 8
                 ? jpeg::Decode(input.data(), input.size(), options, &picture->image, &info)
                 : jpeg::DecodeDeep(input.data(), input.size(), options, &picture->deep, &info);
  }
  if (!status.ok()) return status;
  TakeMessages(info.messages, picture);
  picture->metadata = std::move(info.metadata);
  DropIncompleteProfile(picture);
  return picture->deep.channels() == 4 ? DeepInksToRgb(false, picture) : status;
}

common::Status WriteJpeg(const Settings& settings, const Picture& picture,
                         common::ByteBuffer* output, jpeg::StageTimes* times) {
  jpeg::EncodeOptions options;
  options.quality = settings.quality;
  options.sampling = settings.sampling;
  options.restart_interval = settings.restart_interval;
  options.precise_dct = settings.precise_dct;
  options.progressive = settings.progressive;
  options.script = settings.script;
  options.optimizes = settings.optimizes;
  options.metadata = picture.metadata;
  options.times = times;
  return picture.IsDeep() ? jpeg::EncodeDeep(picture.deep, options, output)
                          : jpeg::Encode(picture.image, options, output);
}

common::Status TranscodeJpeg(const Settings& settings, const common::ByteBuffer& input,
                             Picture* picture, common::ByteBuffer* output) {
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
  common::Status status = jpeg::Transcode(input.data(), input.size(), options, output, &info);
  if (!status.ok()) return status;
  TakeMessages(info.messages, picture);
  if (settings.has_crop && (settings.crop.left % (8 * info.frame.max_h) != 0 ||
                            settings.crop.top % (8 * info.frame.max_v) != 0)) {
    picture->notes.emplace_back("the part was enlarged to the left and top, to whole MCUs");
  }
  return status;
}

}  // namespace zepconvert
