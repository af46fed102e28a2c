// SPDX-License-Identifier: MIT
// The directory of a TIFF file: the samples of its strips, and where the strips lie.
#ifndef ZEPJP_CODECS_TIFF_DIRECTORY_H_
#define ZEPJP_CODECS_TIFF_DIRECTORY_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/support/fields.h"
#include "codecs/support/status.h"
#include "codecs/tiff/codec.h"

namespace zepcodec::tiff {

// Fields by their tags.
enum Tag : uint16_t {
  kImageWidth = 256,
  kImageLength = 257,
  kBitsPerSample = 258,
  kCompression = 259,
  kPhotometric = 262,
  kFillOrder = 266,
  kStripOffsets = 273,
  kSamplesPerPixel = 277,
  kRowsPerStrip = 278,
  kStripByteCounts = 279,
  kXResolution = 282,
  kYResolution = 283,
  kPlanarConfiguration = 284,
  kResolutionUnit = 296,
  kTileWidth = 322,
  kSampleFormat = 339,
  kXmp = 700,
  kIccProfile = 34675,
};

constexpr uint32_t kWhiteIsZero = 0, kBlackIsZero = 1, kRgb = 2;
constexpr uint32_t kNoUnit = 1, kInch = 2, kCentimetre = 3;
constexpr uint32_t kStored = 1, kPacked = 32773;
// Numbers from 32768 on are private.
constexpr uint32_t kStoredPlanes = 65001, kPackedPlanes = 65002;

struct Strips {
  bool is_inverted = false;
  std::vector<uint32_t> offsets;
  std::vector<uint32_t> sizes;
};

// An unsupported feature is an error that names it.
Status ReadDirectory(const uint8_t* data, size_t size, FileInfo* info, Strips* strips);

}  // namespace zepcodec::tiff

#endif  // ZEPJP_CODECS_TIFF_DIRECTORY_H_
