// SPDX-License-Identifier: MIT
// A decoder for JPEG XR files (ITU-T T.832), put together from the stages in zepjp.h.
//
// It reads grey and RGB pictures of 8, 16 and 32 bits and of floats, with opacity in either form, in both
// orders, with all overlaps, tiles, quantizers and leftover bands. Of a damaged file it saves what can be saved:
// an error costs the rest of its tile.
#ifndef ZEPJP_CODECS_JPEGXR_DECODER_H_
#define ZEPJP_CODECS_JPEGXR_DECODER_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpegxr/codestream.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/parallel.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"

namespace zepcodec::jpegxr {

struct DecodeOptions {
  // Files that claim more pixels are refused; narrow ones, too, whose macroblocks have more than twice as many.
  int64_t max_pixels = int64_t{1} << 28;
  // 0: as many as the machine runs at once. They change the time only.
  int threads = 0;
  // Null: nobody watches.
  Progress* progress = nullptr;
};

// What a file says about itself, and what is wrong with it.
struct FileInfo {
  FrameHeader frame;
  PixelLayout layout = PixelLayout::kGrey;  // with opacity that is coded on its own
  Metadata metadata;
  Messages messages;
  Messages notes;  // about metadata
};

// A picture is refused if it has more macroblocks than its codestream can hold with the shortest codes. Fewer samples
// than this, of whole macroblocks, are always accepted, so that most of what is left of a file can be shown.
constexpr int64_t kAlwaysAcceptedSamples = 1 << 24;

// Decodes a picture. An error means that there is none; a picture with damaged parts comes with messages.
Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* image,
              FileInfo* info);

// How much memory Decode() takes for this file, besides the file itself: never much less, and seldom much more, since
// most of it are planes whose sizes the headers tell. The error is that of Decode() where the headers are enough to
// know it.
Status EstimateMemory(const uint8_t* data, size_t size, const DecodeOptions& options,
                      int64_t* bytes);

// Reads the headers alone.
Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_DECODER_H_
