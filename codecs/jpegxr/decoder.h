// SPDX-License-Identifier: MIT
// A decoder for JPEG XR files (ITU-T T.832), put together from the stages in zepjp.h.
//
// It reads grey and RGB pictures with 8, 16 and 32-bit samples, floats and packed RGB, with opacity
// in either form, in both orders of packets, with all kinds of overlap, tiles and quantizers, and
// with any band left out. In a damaged file an error costs the rest of its tile.
#ifndef ZEPJP_CODECS_JPEGXR_DECODER_H_
#define ZEPJP_CODECS_JPEGXR_DECODER_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpegxr/codestream.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/region.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/status.h"

namespace zepcodec::jpegxr {

struct DecodeOptions {
  // Files that claim more pixels are refused; also narrow ones whose whole macroblocks have more
  // than twice that number.
  int64_t max_pixels = int64_t{1} << 28;
  // 0: one for each processor. The result is the same.
  int threads = 0;
  // Null: no callback.
  Progress* progress = nullptr;
  WantedRegion region;
  // Takes some rows at a time instead of the picture; null: no. A file whose opacity is a
  // codestream of its own always gives the picture.
  RowSink* rows = nullptr;
};

// The contents of a file's headers, and the damage that was found.
struct FileInfo {
  FrameHeader frame;
  PixelLayout layout = PixelLayout::kGrey;  // includes opacity that is coded separately
  bool has_own_alpha = false;               // which is a codestream of its own
  Metadata metadata;
  Messages messages;
  Messages notes;  // about metadata
};

// A picture is refused if it has more macroblocks than its codestream can hold with the shortest
// codes. Up to this number of samples in whole macroblocks it is always accepted, so that truncated
// files can be shown.
constexpr int64_t kAlwaysAcceptedSamples = 1 << 24;

// Decodes a picture, or a region of it. On an error there is no picture; damaged parts of the tiles
// that were decoded are listed in the messages.
Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* image,
              FileInfo* info);

// The memory that Decode() takes for this file, in addition to the file itself. The estimate is
// close, because the headers tell the sizes of the planes, which take most of it. Errors in the
// headers are the same as from Decode().
Status EstimateMemory(const uint8_t* data, size_t size, const DecodeOptions& options,
                      int64_t* bytes);

// Reads the headers only.
Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_DECODER_H_
