// SPDX-License-Identifier: MIT
#include "tools/zepconvert/conversion.h"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <utility>

#include "tools/zepconvert/adjustment.h"
#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/foreign_formats.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/hdr_file.h"
#include "tools/zepconvert/jpeg_scans.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/own_file.h"
#include "tools/zepconvert/png_file.h"
#include "tools/zepconvert/pnm_file.h"
#include "tools/zepconvert/resize.h"

namespace zepconvert {
namespace {

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// An encoded file, of the library or of the tool.
struct Output {
  zepc::File library;
  Bytes own;

  ByteView view() const { return library.size() > 0 ? ByteView(library) : ByteView(own); }
};

bool HasSmallerVersions(Format format) {
  return format == Format::kJpeg || format == Format::kJp2 || format == Format::kJ2k;
}

PictureSize Fitting(const Settings& settings, const PictureSize& size) {
  return FitInto({settings.fit_width, settings.fit_height}, size);
}

// The settings with the largest reduction that leaves a picture of at least this size.
Settings ReducedTo(const PictureSize& wanted, const zepcInfo& info, Settings settings) {
  constexpr int32_t kMost = 3;  // which JPEG has
  for (int32_t reduce = 1; reduce <= std::min(info.levels, kMost); ++reduce) {
    Settings reduced = settings;
    reduced.reduce = reduce;
    const PictureSize size = SizeOf(reduced, info);
    if (size.width < wanted.width || size.height < wanted.height) break;
    settings = reduced;
  }
  return settings;
}

// Decodes no more than the wanted size needs, where the format has smaller versions.
Picture LoadOfLibrary(const Settings& settings, Format format, ByteView input,
                      const OnProgress& on_progress) {
  const bool can_reduce = settings.fit_width > 0 && HasSmallerVersions(format) &&
                          settings.reduce == 0 && settings.region.width == 0;
  if (!can_reduce) {
    Picture picture = ReadLibraryFile(settings, input, on_progress);
    Shrink(Fitting(settings, SizeOf(picture.image)), &picture.image);
    return picture;
  }
  const zepcInfo info = ProbeLibraryFile(settings, input);
  const PictureSize wanted = Fitting(settings, SizeOf(settings, info));
  Picture picture = ReadLibraryFile(ReducedTo(wanted, info, settings), input, on_progress);
  Shrink(wanted, &picture.image);
  return picture;
}

// A file that the tool reads itself.
Picture LoadOwn(const Settings& settings, Format format, ByteView input) {
  Picture picture = ReadOwnFile(format, input, settings.max_pixels);
  if (settings.turns_upright) MakeUpright(&picture);
  Image& image = picture.image;
  image.CutTo(RegionIn(settings, image.width(), image.height()));
  Shrink(Fitting(settings, SizeOf(image)), &image);
  return picture;
}

Output Save(const Settings& settings, Format format, Picture* picture,
            const OnProgress& on_progress) {
  Output output;
  if (IsOfLibrary(format)) {
    output.library = WriteLibraryFile(settings, format, *picture, on_progress);
  } else if (format == Format::kPng) {
    output.own = WritePng(picture->image, picture->metadata);
  } else if (format == Format::kHdr) {
    output.own = WriteHdr(picture->image, &picture->notes);
  } else {
    output.own = WritePnm(picture->image, format);
  }
  return output;
}

// Floats of textures have no white, so they become no integers.
void CheckHalves(const Picture& picture, Format input, Format output) {
  const bool is_texture = input == Format::kDds && IsLight(picture.image.form().sample);
  if (!is_texture || output == Format::kHdr || output == Format::kJpegXr) return;
  throw Failure("the texture holds floats, which only .hdr and .jxr files take");
}

// By way of its pixels. Tells whether other pixels than those of the input were encoded.
Output ConvertPixels(const Settings& settings, ByteView input, const OnProgress& on_progress,
                     Picture* picture, bool* is_adjusted, Result* result) {
  const Format format = result->job.format;
  if (!settings.scans_directory.empty()) WriteScans(settings, input, result->job.input);
  {
    const Timer timer(kDecode, result);
    *picture = Load(settings, input, [&](double done) { on_progress(done / 2); });
  }
  CheckHalves(*picture, FormatOfBytes(input.data, input.size), format);
  const Image& image = picture->image;
  const Form form = image.form();
  const int width = image.width(), height = image.height();
  {
    const Timer timer(kConvert, result);
    Adjust(settings, format, picture);
  }
  *is_adjusted = !(image.form() == form) || image.width() != width || image.height() != height ||
                 settings.dds.texture == zepcTextureBc5;
  result->width = image.width();
  result->height = image.height();
  const Timer timer(kEncode, result);
  return Save(settings, format, picture, [&](double done) { on_progress((1 + done) / 2); });
}

Output Transcode(const Settings& settings, ByteView input, Picture* picture, Result* result) {
  if (FormatOfBytes(input.data, input.size) != Format::kJpeg ||
      result->job.format != Format::kJpeg) {
    throw Failure("only JPEG files with lossy coding are transcoded, to .jpg");
  }
  Output output;
  {
    const Timer timer(kEncode, result);
    output.library = TranscodeJpeg(settings, input, picture);
  }
  const zepcInfo info = ProbeLibraryFile(settings, output.view());
  result->width = info.width;
  result->height = info.height;
  return output;
}

}  // namespace

const char* StageName(Stage stage) {
  constexpr std::array<const char*, kStageCount> kNames = {"read", "decode", "convert", "encode",
                                                           "write"};
  return kNames[stage];
}

double Result::TotalSeconds() const { return std::accumulate(seconds.begin(), seconds.end(), 0.0); }

Timer::Timer(Stage stage, Result* result) : seconds_(&result->seconds[stage]), start_(Now()) {}

Timer::~Timer() { *seconds_ += Now() - start_; }

Picture Load(const Settings& settings, ByteView input, const OnProgress& on_progress) {
  const Format format = ReadingFormat(input.data, input.size);
  RefuseForeignFile(format, input);
  if (settings.from != Format::kUnknown && !IsSameKind(format, settings.from)) {
    throw Failure("is not of the format that --from names");
  }
  if (settings.reduce > 0 && !HasSmallerVersions(format)) {
    throw Failure("only JPEG (but lossless ones) and JPEG 2000 files can be reduced (--scale)");
  }
  return IsOfLibrary(format) ? LoadOfLibrary(settings, format, input, on_progress)
                             : LoadOwn(settings, format, input);
}

void Convert(const Settings& settings, ByteView input, const std::string& report_stem,
             const OnProgress& on_progress, Result* result) {
  Picture picture;
  bool is_adjusted = true;
  result->input_format = ReadingFormat(input.data, input.size);
  const Output output = settings.transcodes ? Transcode(settings, input, &picture, result)
                                            : ConvertPixels(settings, input, on_progress, &picture,
                                                            &is_adjusted, result);
  result->output_bytes = output.view().size;
  {
    const Timer timer(kWrite, result);
    WriteFile(result->job.output, output.view(), result->job.input, result->job.replaces);
  }
  result->warnings = picture.warnings;
  result->notes = picture.notes;
  if (!report_stem.empty()) {
    result->evidence =
        Examine({settings, result->job, input, output.view(), picture, is_adjusted}, report_stem);
  }
}

}  // namespace zepconvert
