// SPDX-License-Identifier: MIT
#include "tools/zepconvert/library_file.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "tools/zepconvert/failure.h"

namespace zepconvert {
namespace {

zepcDecodeOptions OptionsOf(const Settings& settings) {
  auto options = zepc::Make<zepcDecodeOptions>();
  options.max_pixels = settings.max_pixels;
  options.max_memory = std::numeric_limits<int64_t>::max();  // files wait for memory instead
  options.threads = settings.threads;
  options.keeps_damaged = 1;
  options.reduce = settings.reduce;
  return options;
}

// Calls the library; what it refuses for its size gets the name of the option that says otherwise.
template <class Call>
auto Guarded(const Call& call) {
  try {
    return call();
  } catch (const zepc::Error& error) {
    if (error.status() != zepcStatusTooLarge) throw;
    throw Failure(std::string(error.what()) + " (--max-megapixels)");
  }
}

const char* ScriptOf(const Settings& settings) {
  return settings.scan_script.has_value() ? settings.scan_script->c_str() : nullptr;
}

void TakeMessages(const zepc::Picture& from, Picture* picture) {
  for (const zepc::Message& message : from.messages()) {
    (message.is_damage ? picture->warnings : picture->notes).push_back(message.text);
  }
}

zepc::Picture Decode(ByteView input, const zepcDecodeOptions& options) {
  return Guarded([&] { return zepc::Decode(input.data, input.size, options); });
}

// What is wrong with a file, which the decoder tells in full and the transcoder does not.
void TakeDamage(const Settings& settings, ByteView input, Picture* picture) {
  Picture decoded;
  TakeMessages(Decode(input, OptionsOf(settings)), &decoded);
  picture->warnings = std::move(decoded.warnings);
  if (picture->warnings.empty()) picture->warnings.emplace_back("parts of the picture are lost");
}

void NoteLargerCrop(const Settings& settings, ByteView input, ByteView output, Picture* picture) {
  const zepcRect& crop = settings.crop;
  if (crop.width == 0) return;
  const zepcInfo before = ProbeLibraryFile(settings, input);
  const zepcInfo after = ProbeLibraryFile(settings, output);
  if (after.width > std::min(crop.width, before.width - crop.x) ||
      after.height > std::min(crop.height, before.height - crop.y)) {
    picture->notes.emplace_back("the part was enlarged to the left and top, to whole MCUs");
  }
}

}  // namespace

zepcInfo ProbeLibraryFile(const Settings& settings, ByteView input) {
  return Guarded([&] {
    const zepcDecodeOptions options = OptionsOf(settings);
    return zepc::Probe(input.data, input.size, options);
  });
}

Picture ReadLibraryFile(const Settings& settings, ByteView input) {
  zepc::Picture decoded = Decode(input, OptionsOf(settings));
  Picture picture;
  TakeMessages(decoded, &picture);
  picture.metadata = Metadata(decoded.metadata());
  picture.image = Image(std::move(decoded));
  return picture;
}

Image ReadFirstScans(const Settings& settings, ByteView input, int scans) {
  zepcDecodeOptions options = OptionsOf(settings);
  options.layers = scans;
  return Image(Decode(input, options));
}

zepc::File WriteLibraryFile(const Settings& settings, Format format, const Picture& picture) {
  const zepcMetadata metadata = picture.metadata.View();
  auto options = zepc::Make<zepcEncodeOptions>();
  options.format = static_cast<zepcFormat>(format);
  options.threads = settings.threads;
  options.metadata = &metadata;
  zepcJpegOptions jpeg = settings.jpeg;
  jpeg.scan_script = ScriptOf(settings);
  options.jpeg = &jpeg;
  options.lossless_jpeg = &settings.lossless_jpeg;
  options.jpeg2000 = &settings.jpeg2000;
  options.jpeg_xr = &settings.jpeg_xr;
  options.dds = &settings.dds;
  options.tiff = &settings.tiff;
  return zepc::Encode(picture.image.pixels(), options);
}

bool IsLossless(const Settings& settings, Format format) {
  switch (format) {
    case Format::kJpeg:
    case Format::kDds: return false;
    case Format::kLosslessJpeg: return settings.lossless_jpeg.point_transform == 0;
    case Format::kJp2:
    case Format::kJ2k: return settings.jpeg2000.ratio == 0 && settings.jpeg2000.psnr == 0;
    case Format::kJpegXr:
      return settings.jpeg_xr.quality == 0 && (settings.jpeg_xr.sampling == zepcSamplingAuto ||
                                               settings.jpeg_xr.sampling == zepcSampling444);
    default: return true;
  }
}

zepc::File TranscodeJpeg(const Settings& settings, ByteView input, Picture* picture) {
  auto options = zepc::Make<zepcTranscodeOptions>();
  options.region = settings.crop;
  options.is_progressive = settings.jpeg.is_progressive;
  options.optimizes = settings.jpeg.optimizes;
  options.restart_interval = settings.jpeg.restart_interval;
  options.scan_script = ScriptOf(settings);
  options.drops_metadata = settings.keep_metadata ? 0 : 1;
  options.keeps_damaged = 1;
  options.max_pixels = settings.max_pixels;
  options.max_memory = std::numeric_limits<int64_t>::max();
  void* data = nullptr;
  size_t size = 0;
  const zepcStatus status = Guarded([&] {
    return zepc::Check(zepcJpegTranscode(input.data, input.size, &options, &data, &size));
  });
  zepc::File file(data, size);
  if (status == zepcStatusDamaged) TakeDamage(settings, input, picture);
  NoteLargerCrop(settings, input, file, picture);
  return file;
}

void CheckScanScript(const Settings& settings) {
  // The options come first: a good script is told by the error about the file, which is none.
  auto options = zepc::Make<zepcTranscodeOptions>();
  options.scan_script = ScriptOf(settings);
  void* data = nullptr;
  size_t size = 0;
  const zepcStatus status = zepcJpegTranscode("", 0, &options, &data, &size);
  if (status == zepcStatusBadArgument) throw zepc::Error(status);
}

}  // namespace zepconvert
