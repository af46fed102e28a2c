// SPDX-License-Identifier: MIT
#include "tools/zepconvert/memory.h"

#include <algorithm>
#include <exception>

#include "tools/zepconvert/format.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/own_file.h"

namespace zepconvert {
namespace {

struct Need {
  double decoding = 0;  // bytes, with the picture
  double samples = 0;   // of the picture
  double sample_bytes = 1;
};

Need NeedOfLibraryFile(const Settings& settings, ByteView input) {
  const zepcInfo info = ProbeLibraryFile(settings, input);
  const PictureSize size = SizeOf(settings, info);
  const zepcRect region = RegionIn(settings, size.width, size.height);
  const double pixels = static_cast<double>(region.width) * region.height;
  return {static_cast<double>(info.memory), pixels * ChannelCount(info.layout),
          static_cast<double>(BytesOf(info.sample))};
}

Need NeedOfOwnFile(const Settings& settings, ByteView input, Format format) {
  const Dimensions size = ReadOwnSize(format, input, settings.max_pixels);
  CheckPixels(size.width, size.height, settings.max_pixels);
  const double samples =
      static_cast<double>(size.width) * static_cast<double>(size.height) * size.channels;
  return {samples * size.sample_bytes + static_cast<double>(size.more_memory), samples,
          static_cast<double>(size.sample_bytes)};
}

// What an encoder takes besides the picture: transforms work on coefficients of 4 bytes, other
// files grow to less than three times the picture.
double EncodingBytes(Format format, const Need& need) {
  switch (format) {
    case Format::kJp2:
    case Format::kJ2k: return 9 * need.samples;
    case Format::kJpegXr: return 7 * need.samples;
    default: return 3 * need.samples * need.sample_bytes;
  }
}

}  // namespace

int64_t EstimateMemory(const Settings& settings, const Job& job, ByteView input) {
  const Format format = ReadingFormat(input.data, input.size);
  Need need;
  try {
    need = IsOfLibrary(format) ? NeedOfLibraryFile(settings, input)
                               : NeedOfOwnFile(settings, input, format);
  } catch (const std::exception&) {
    return 0;  // the conversion reports the error
  }
  const double picture = need.samples * need.sample_bytes;
  const double encoding = EncodingBytes(job.format, need);
  // A search for a PSNR decodes while it encodes.
  const double search = settings.jpeg2000.psnr > 0 ? encoding + 2 * picture : 0;
  // A report decodes the result, and perhaps the input, after the encoding.
  const double report =
      settings.report_directory.empty() ? 0 : 4 * picture + std::max(encoding, need.decoding);
  const double most = std::max({need.decoding, 2 * picture, picture + encoding + search, report});
  return static_cast<int64_t>(most);
}

int64_t EstimateRowMemory(const RowInput& rows) {
  // The encoders of JPEG 2000 and JPEG XR hold a row of tiles.
  constexpr double kTileRows = 1024;
  const Form& form = rows.form();
  const double samples = kTileRows * rows.width() * ChannelCount(form.layout);
  const double encoding = samples * (9 + static_cast<double>(BytesOf(form.sample)));
  return rows.memory() + static_cast<int64_t>(encoding);
}

}  // namespace zepconvert
