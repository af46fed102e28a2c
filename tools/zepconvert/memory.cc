// SPDX-License-Identifier: MIT
#include "tools/zepconvert/memory.h"

#include <algorithm>

#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpegxr/decoder.h"
#include "tools/zepconvert/jp2_file.h"
#include "tools/zepconvert/picture.h"

namespace jpeg = zepcodec::jpeg;
namespace jpegxr = zepcodec::jpegxr;
namespace ljpeg = zepcodec::jpeg::lossless;

namespace zepconvert {
namespace {

// Of a stage: times the bytes of the picture that goes in or comes out, and bytes for each of its
// samples, which the codec takes whatever their depth.
struct Cost {
  double pictures;
  double samples;
};

// While a file is decoded: the picture and what the codec holds beside it. Measured on photographs. Codecs that
// tell it from a file's header are asked instead; of these it counts where a result is decoded again.
Cost DecodeCost(Format format) {
  switch (format) {
    case Format::kPng:
    case Format::kPnm: return {1, 0};
    case Format::kTiff:
    case Format::kLjpeg: return {2, 0};  // what is decoded, and its copy
    case Format::kDds: return {2, 0};
    case Format::kJpeg: return {2, 2};  // planes; coefficients of progressive files
    case Format::kJp2:
    case Format::kJ2k:
      return {1, 5.5};  // of results that are decoded again; files tell it themselves
    case Format::kJxr: return {1, 6};
    default: return {0, 0};
  }
}

// While a file is encoded: its bytes, with what they take as they grow, and what the codec holds,
// without the picture.
Cost EncodeCost(Format format) {
  switch (format) {
    case Format::kPng: return {1.5, 0};
    case Format::kPpm: return {3, 0};  // grey becomes RGB
    case Format::kPgm:
    case Format::kPnm:
    case Format::kPam: return {1, 0};
    case Format::kTiff:
    case Format::kLjpeg: return {3, 0};
    case Format::kDds: return {2, 0};
    case Format::kJpeg: return {1, 2};
    case Format::kJp2:
    case Format::kJ2k: return {0, 9};
    case Format::kJxr: return {0, 7};
    case Format::kHdr: return {1, 0};
    default: return {0, 0};
  }
}

bool HasEstimate(Format format) {
  return format == Format::kJpeg || format == Format::kLjpeg || format == Format::kJp2 ||
         format == Format::kJ2k || format == Format::kJxr;
}

// What these codecs know from their headers. 0 where they refuse the file.
double EstimateDecoding(const Settings& settings, Format format,
                        const zepcodec::ByteBuffer& input) {
  int64_t bytes = 0;
  if (format == Format::kJpeg) {
    jpeg::FileInfo info;
    jpeg::DecodeOptions options;
    options.scale = settings.scale;
    if (jpeg::ReadFileInfo(input.data(), input.size(), &info).ok()) {
      bytes = jpeg::MemoryNeed(info, options);
    }
  } else if (format == Format::kLjpeg) {
    ljpeg::FileInfo info;
    if (ljpeg::ReadFileInfo(input.data(), input.size(), &info).ok()) {
      bytes = ljpeg::MemoryNeed(info);
    }
  } else if (format == Format::kJxr) {
    jpegxr::DecodeOptions options;
    options.max_pixels = settings.max_pixels;
    options.threads = settings.threads;
    const bool is_good = jpegxr::EstimateMemory(input.data(), input.size(), options, &bytes).ok();
    if (!is_good) bytes = 0;
  } else {
    bytes = EstimateJp2Memory(settings, input);
  }
  return static_cast<double>(bytes);
}

}  // namespace

int64_t EstimateMemory(const Settings& settings, const Job& job,
                       const zepcodec::ByteBuffer& input) {
  const auto file_bytes = static_cast<int64_t>(input.size());
  const Dimensions size = ReadDimensions(input.data(), input.size());
  if (size.width < 1 || size.height < 1 || size.width > settings.max_pixels / size.height) {
    return file_bytes;
  }
  const double samples =
      static_cast<double>(size.width) * static_cast<double>(size.height) * size.channels;
  const double picture = samples * size.sample_bytes;
  const auto bytes = [&](const Cost& cost) {
    return cost.pictures * picture + cost.samples * samples;
  };
  const Format output = FormatOfName(job.output);
  const Format format = FormatOfBytes(input.data(), input.size());
  const double decoding = HasEstimate(format) ? EstimateDecoding(settings, format, input) + picture
                                              : bytes(DecodeCost(format));
  const double encoding = picture + bytes(EncodeCost(output));
  // A search for a PSNR and a report decode the result again.
  const bool decodes_again = settings.psnr > 0 || !settings.report_directory.empty();
  const double again = decodes_again ? bytes(DecodeCost(output)) + 2 * picture : 0;
  const double most = std::max({decoding, 2 * picture, encoding + again});
  return file_bytes + static_cast<int64_t>(most);
}

}  // namespace zepconvert
