// SPDX-License-Identifier: MIT
// What the user asks for.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_SETTINGS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_SETTINGS_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/zepconvert/format.h"
#include "zepcodec.hpp"

namespace zepconvert {

// The name of standard input and output.
constexpr char kStandardStream[] = "-";

// Of the metadata.
enum class Kept { kAll, kProfile, kNothing };

// What becomes of a file that has the name of a result.
enum class IfExists { kAsk, kKeep, kReplace };

struct Settings {
  // Of each format of the library.
  zepcJpegOptions jpeg = zepc::Make<zepcJpegOptions>();
  zepcLosslessJpegOptions lossless_jpeg = zepc::Make<zepcLosslessJpegOptions>();
  zepcJpeg2000Options jpeg2000 = zepc::Make<zepcJpeg2000Options>();
  zepcJpegXrOptions jpeg_xr = zepc::Make<zepcJpegXrOptions>();
  zepcDdsOptions dds = zepc::Make<zepcDdsOptions>();
  zepcTiffOptions tiff = zepc::Make<zepcTiffOptions>();
  std::optional<std::string> scan_script;  // for `jpeg`
  int jpeg_depth = 8;                      // bits of a sample in JPEG files, or 12
  bool is_lossless = false;                // .jpg files are to be lossless JPEG
  // JPEG files to JPEG files, coefficients as they are.
  bool transcodes = false;
  zepcRect crop = {};           // width 0: all
  std::string scans_directory;  // for the scans of progressive files; empty: none are shown
  // Of all conversions.
  int reduce = 0;         // inputs at 1/2^reduce of their size
  zepcRect region = {};   // the part of the reduced picture that is wanted; width 0: all
  int32_t fit_width = 0;  // the most that results may have; 0: any
  int32_t fit_height = 0;
  bool turns_upright = false;
  bool grey = false;
  Kept kept = Kept::kAll;
  Format from = Format::kUnknown;  // inputs of this format alone, if it is known
  IfExists if_exists = IfExists::kAsk;
  int64_t max_pixels = int64_t{1} << 28;
  int jobs = 0;                       // files at the same time; 0: one for each core
  int64_t memory = int64_t{1} << 30;  // of the files in work, about
  int threads = 0;                    // for each file; 0: as the jobs leave cores
  bool quiet = false;
  bool is_verbose = false;
  std::string report_directory;  // empty: no report
};

// The most that is read of a pipe or a device, which may never end: the pixels of a large picture,
// uncompressed, and its metadata.
constexpr size_t StreamBytes(int64_t max_pixels) {
  constexpr int64_t kBytesPerPixel = 4, kMetadata = 16 << 20;
  return static_cast<size_t>(kBytesPerPixel * max_pixels + kMetadata);
}

struct Job {
  std::string input;
  std::string output;
  Format format = Format::kUnknown;  // of the output
  bool replaces = false;             // a file of the output's name
  bool is_left_out = false;          // the output exists and stays
  std::string error;                 // why there is nothing to do
};

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_SETTINGS_H_
