// SPDX-License-Identifier: MIT
// What the user asks for.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_SETTINGS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_SETTINGS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "codecs/dds/codec.h"
#include "codecs/jpeg/encoder.h"
#include "codecs/jpeg/transcoder.h"
#include "codecs/tiff/codec.h"

namespace zepconvert {

struct Settings {
  int quality = 90;
  zepcodec::jpeg::Sampling sampling = zepcodec::jpeg::Sampling::k420;
  int restart_interval = 0;
  bool precise_dct = false;
  int depth = 8;  // bits of a sample, or 12
  bool progressive = false;
  zepcodec::jpeg::Script script;  // of scans, if not empty
  bool optimizes = false;
  bool transcodes = false;  // JPEG files to JPEG files, coefficients as they are
  bool has_crop = false;
  zepcodec::jpeg::Crop crop;
  std::string scans_directory;  // for the scans of progressive files; empty: none are shown
  bool has_quality = false;     // asked for: JPEG XR files are without loss otherwise
  bool has_sampling = false;
  // Of JPEG XR files.
  int overlap = 1;
  int tile_width = 0;  // 0: one tile
  int tile_height = 0;
  // Of DDS files. The format by default: BC3 where something is transparent, else BC1.
  zepcodec::dds::EncodeOptions texture;
  bool has_texture_format = false;
  // Of JPEG 2000 files: without loss unless one of these asks for less.
  double ratio = 0;  // how many times smaller than the pixels
  double psnr = 0;   // in dB
  int block_style = 0;
  // Of JPEG files that are to be lossless.
  bool is_lossless = false;
  int predictor = 1;
  int point_transform = 0;
  // Of TIFF files.
  zepcodec::tiff::Compression tiff_compression = zepcodec::tiff::Compression::kPackBits;
  bool has_byte_planes = false;
  int scale = 1;
  bool grey = false;
  bool keep_metadata = true;
  int64_t max_pixels = int64_t{1} << 28;
  int jobs = 0;                       // 0: as many as there are cores
  int64_t memory = int64_t{1} << 30;  // of the files in work, about
  int threads = 1;                    // for each file
  bool quiet = false;
  std::string report_directory;  // empty: no report
};

// The most that is read of a pipe or a device, which may never end: the pixels of a large picture, uncompressed,
// and what comes with them.
constexpr size_t StreamBytes(int64_t max_pixels) {
  constexpr int64_t kBytesPerPixel = 4, kMetadata = 16 << 20;
  return static_cast<size_t>(kBytesPerPixel * max_pixels + kMetadata);
}

struct Job {
  std::string input;
  std::string output;
};

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_SETTINGS_H_
