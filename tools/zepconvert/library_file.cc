// SPDX-License-Identifier: MIT
#include "tools/zepconvert/library_file.h"

#include <algorithm>
#include <exception>
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
  options.region = settings.region;
  options.applies_orientation = settings.turns_upright ? 1 : 0;
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

// A callback of the library for an OnProgress.
int32_t Report(void* user, double done) {
  (*static_cast<const OnProgress*>(user))(done);
  return 0;
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

// Turning moves incomplete MCUs to the left or top, where none can be.
void NoteCutEdges(const Settings& settings, ByteView input, ByteView output, Picture* picture) {
  if (!settings.turns_upright || settings.crop.width != 0) return;
  const PictureSize before = SizeOf(settings, ProbeLibraryFile(settings, input));
  const zepcInfo after = ProbeLibraryFile(settings, output);
  if (after.width < before.width || after.height < before.height) {
    picture->notes.emplace_back("incomplete MCUs were cut off at an edge: they cannot be turned");
  }
}

// The options of all formats, and what they point to.
class EncodeOptions {
 public:
  EncodeOptions(const Settings& settings, Format format, const Metadata& metadata)
      : metadata_(metadata.View()), jpeg_(settings.jpeg) {
    jpeg_.scan_script = ScriptOf(settings);
    options_.format = static_cast<zepcFormat>(format);
    options_.threads = settings.threads;
    options_.metadata = &metadata_;
    options_.jpeg = &jpeg_;
    options_.lossless_jpeg = &settings.lossless_jpeg;
    options_.jpeg2000 = &settings.jpeg2000;
    options_.jpeg_xr = &settings.jpeg_xr;
    options_.dds = &settings.dds;
    options_.tiff = &settings.tiff;
  }
  EncodeOptions(const EncodeOptions&) = delete;
  EncodeOptions& operator=(const EncodeOptions&) = delete;

  zepcEncodeOptions& get() { return options_; }

 private:
  zepcMetadata metadata_;
  zepcJpegOptions jpeg_;
  zepcEncodeOptions options_ = zepc::Make<zepcEncodeOptions>();
};

// A callback for the library: an exception of `call` ends the library's call and is thrown after
// it.
template <class Call>
class Callback {
 public:
  explicit Callback(Call call) : call_(std::move(call)) {}

  // What the library gets: 0 to go on.
  template <class... Arguments>
  int32_t operator()(Arguments... arguments) {
    try {
      return call_(arguments...) ? 0 : 1;
    } catch (...) {
      thrown_ = std::current_exception();
      return 1;
    }
  }
  void Rethrow() const {
    if (thrown_ != nullptr) std::rethrow_exception(thrown_);
  }

 private:
  Call call_;
  std::exception_ptr thrown_;
};

}  // namespace

Head ReadHead(const Settings& settings, ByteView input) {
  return Guarded([&] {
    zepcDecodeOptions options = OptionsOf(settings);
    options.rows = [](void*, const zepcPixels*, int32_t) { return 0; };
    const zepcInfo info = zepc::Probe(input.data, input.size, options);
    const PictureSize size = SizeOf(settings, info);
    const zepcRect region = RegionIn(settings, size.width, size.height);
    Head head;
    head.width = region.width;
    head.height = region.height;
    head.form = {info.layout, info.sample, info.bits};
    head.metadata = Metadata(zepc::ReadMetadata(input.data, input.size, options).metadata());
    head.memory = info.memory;
    return head;
  });
}

void ReadRows(const Settings& settings, ByteView input,
              const std::function<bool(const zepcPixels& rows)>& take, Picture* picture) {
  Callback callback([&](const zepcPixels* rows) { return take(*rows); });
  zepcDecodeOptions options = OptionsOf(settings);
  options.rows = [](void* user, const zepcPixels* rows, int32_t) {
    return (*static_cast<decltype(callback)*>(user))(rows);
  };
  options.rows_user = &callback;
  try {
    TakeMessages(Decode(input, options), picture);
  } catch (const zepc::Error&) {
    callback.Rethrow();
    throw;
  }
}

void WriteLibraryRows(const Settings& settings, Format format, const zepcPixels& shape,
                      const Metadata& metadata,
                      const std::function<bool(const zepcPixels& rows)>& next, OutputFile* file) {
  Callback supply([&](const zepcPixels* rows) { return next(*rows); });
  Callback write([&](const void* data, size_t size) {
    file->Write({data, size});
    return true;
  });
  EncodeOptions options(settings, format, metadata);
  options.get().rows = [](void* user, const zepcPixels* rows, int32_t) {
    return (*static_cast<decltype(supply)*>(user))(rows);
  };
  options.get().rows_user = &supply;
  const auto on_bytes = [](void* user, const void* data, size_t size) {
    return (*static_cast<decltype(write)*>(user))(data, size);
  };
  const zepcStatus status = zepcEncodeTo(&shape, &options.get(), on_bytes, &write);
  supply.Rethrow();
  write.Rethrow();
  zepc::Check(status);
}

zepcRect RegionIn(const Settings& settings, int width, int height) {
  const zepcRect& region = settings.region;
  if (region.width == 0) return {0, 0, width, height};
  if (region.x > width - region.width || region.y > height - region.height) {
    throw Failure("the region is not inside the picture of " + std::to_string(width) + " x " +
                  std::to_string(height) + " pixels");
  }
  return region;
}

zepcInfo ProbeLibraryFile(const Settings& settings, ByteView input) {
  return Guarded([&] {
    const zepcDecodeOptions options = OptionsOf(settings);
    return zepc::Probe(input.data, input.size, options);
  });
}

PictureSize SizeOf(const Settings& settings, const zepcInfo& info) {
  const auto reduced = [&](int32_t side) {
    return static_cast<int>((int64_t{side} + (int64_t{1} << settings.reduce) - 1) >>
                            settings.reduce);
  };
  const PictureSize size = {reduced(info.width), reduced(info.height)};
  const bool swaps_sides = settings.turns_upright && info.orientation >= 5;
  return swaps_sides ? PictureSize{size.height, size.width} : size;
}

Picture ReadLibraryFile(const Settings& settings, ByteView input, const OnProgress& on_progress) {
  zepcDecodeOptions options = OptionsOf(settings);
  options.progress = Report;
  options.progress_user = const_cast<OnProgress*>(&on_progress);
  zepc::Picture decoded = Decode(input, options);
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

zepc::File WriteLibraryFile(const Settings& settings, Format format, const Picture& picture,
                            const OnProgress& on_progress) {
  EncodeOptions options(settings, format, picture.metadata);
  options.get().progress = Report;
  options.get().progress_user = const_cast<OnProgress*>(&on_progress);
  return zepc::Encode(picture.image.pixels(), options.get());
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
  options.transform = settings.turns_upright ? zepcTransformUpright : zepcTransformNone;
  options.region = settings.crop;
  options.is_progressive = settings.jpeg.is_progressive;
  options.optimizes = settings.jpeg.optimizes;
  options.restart_interval = settings.jpeg.restart_interval;
  options.scan_script = ScriptOf(settings);
  options.drops_metadata = settings.kept == Kept::kAll ? 0 : 1;
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
  NoteCutEdges(settings, input, file, picture);
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
