// SPDX-License-Identifier: MIT
#include "tools/zepconvert/conversion.h"

#include <chrono>
#include <limits>
#include <numeric>
#include <utility>

#include "tools/zepconvert/adjustment.h"
#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/hdr_file.h"
#include "tools/zepconvert/jpeg_scans.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/png_file.h"
#include "tools/zepconvert/pnm_file.h"

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

Picture Load(const Settings& settings, ByteView input) {
  const Format format = FormatOfBytes(input.data, input.size);
  if (format == Format::kUnknown) {
    throw Failure(
        "neither a JPEG nor a JPEG 2000 nor a JPEG XR nor a PNG nor a TIFF nor a binary PGM, PPM "
        "or PAM nor a DDS file");
  }
  const bool has_smaller_versions =
      format == Format::kJpeg || format == Format::kJp2 || format == Format::kJ2k;
  if (settings.reduce > 0 && !has_smaller_versions) {
    throw Failure("only JPEG (but lossless ones) and JPEG 2000 files can be reduced (--scale)");
  }
  if (IsOfLibrary(format)) return ReadLibraryFile(settings, input);
  const auto read = format == Format::kPng ? ReadPng : ReadPnm;
  Picture picture = read(input, settings.max_pixels);
  Image& image = picture.image;
  image.CutTo(RegionIn(settings, image.width(), image.height()));
  return picture;
}

Output Save(const Settings& settings, Format format, Picture* picture) {
  Output output;
  if (IsOfLibrary(format)) {
    output.library = WriteLibraryFile(settings, format, *picture);
  } else if (format == Format::kPng) {
    output.own = WritePng(picture->image, picture->metadata);
  } else if (format == Format::kHdr) {
    output.own = WriteHdr(picture->image, &picture->notes);
  } else {
    output.own = WritePnm(picture->image, format);
  }
  return output;
}

void MeasureLoss(const Image& original, ByteView output, const std::string& error_picture,
                 Result* result) {
  const Picture again = LoadPicture(output);
  // Blocks may be less opaque than the picture.
  const Form form = HasAlpha(again.image.form().layout) ? again.image.form()
                                                        : UnsignedForm(original.form().layout, 8);
  const Image before = Converted(original, form);
  const Image after = Converted(again.image, form);
  result->psnr = Measure(before, after);
  result->modes = ModesOfBc7(output, before, after);
  const Bytes errors = WritePng(MakeErrorPicture(before, after), Metadata());
  WriteFile(error_picture, errors, result->job.input, true);
}

// Half floats of textures have no white, so they become no integers.
void CheckHalves(const Picture& picture, Format input, Format output) {
  const bool is_texture = input == Format::kDds && IsLight(picture.image.form().sample);
  if (!is_texture || output == Format::kHdr || output == Format::kJpegXr) return;
  throw Failure("BC6H holds half floats, which only .hdr and .jxr files take");
}

// By way of its pixels.
Output ConvertPixels(const Settings& settings, ByteView input, Picture* picture, Result* result) {
  const Format format = result->job.format;
  if (!settings.scans_directory.empty()) WriteScans(settings, input, result->job.input);
  {
    const Timer timer(kDecode, result);
    *picture = Load(settings, input);
  }
  CheckHalves(*picture, FormatOfBytes(input.data, input.size), format);
  {
    const Timer timer(kConvert, result);
    Adjust(settings, format, picture);
  }
  result->width = picture->image.width();
  result->height = picture->image.height();
  result->lossless = IsLossless(settings, format);
  const Timer timer(kEncode, result);
  return Save(settings, format, picture);
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

Picture LoadPicture(ByteView input) {
  Settings settings;
  settings.max_pixels = std::numeric_limits<int64_t>::max();
  Picture picture = Load(settings, input);
  const zepcLayout layout = picture.image.form().layout;
  const bool loses_alpha = HasAlpha(layout) && IsOpaque(picture.image);
  const Form form = UnsignedForm(!loses_alpha     ? layout
                                 : IsGrey(layout) ? zepcLayoutGrey
                                                  : zepcLayoutRgb,
                                 8);
  if (!(picture.image.form() == form)) picture.image = Converted(picture.image, form);
  return picture;
}

void Convert(const Settings& settings, ByteView input, const std::string& error_picture,
             Result* result) {
  Picture picture;
  const Output output = settings.transcodes ? Transcode(settings, input, &picture, result)
                                            : ConvertPixels(settings, input, &picture, result);
  result->output_bytes = output.view().size;
  if (!error_picture.empty() && !result->lossless) {
    MeasureLoss(picture.image, output.view(), error_picture, result);
  }
  {
    const Timer timer(kWrite, result);
    WriteFile(result->job.output, output.view(), result->job.input, result->job.replaces);
  }
  result->warnings = std::move(picture.warnings);
  result->notes = std::move(picture.notes);
}

}  // namespace zepconvert
