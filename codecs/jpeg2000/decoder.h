// SPDX-License-Identifier: MIT
// A decoder for JPEG 2000 codestreams and JP2 files (ITU-T T.800), put together from the stages in zepjp.h.
//
// It reads pictures of up to 16 components of up to 16 bits, with everything that the standard's first
// part has. Of a damaged file it saves what can be saved: errors stay inside their code-block, lost packets
// inside their precinct where the file has start markers, and inside their tile otherwise.
#ifndef ZEPJP_CODECS_JPEG2000_DECODER_H_
#define ZEPJP_CODECS_JPEG2000_DECODER_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/image.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

struct DecodeOptions {
  // The picture at 1/2^reduce of its size, rounded up: so many resolutions are left out.
  int reduce = 0;
  // Quality layers to decode; 0: all.
  int layers = 0;
  // Files that claim more pixels are refused, and those with more than three times as many samples
  // in all components together.
  int64_t max_pixels = int64_t{1} << 28;
  // 0: as many as the machine runs at once. They change the time only.
  int threads = 0;
  // Null: nobody watches.
  Progress* progress = nullptr;
};

// What a file says about itself, and what is wrong with it.
struct FileInfo {
  bool is_jp2 = false;
  SizeSegment size;
  Parameters parameters;  // of the main header
  Messages messages;
  // What is not as the file announces, without anything being lost.
  Messages notes;
  // What the packets took, in the units of budget.h.
  int64_t work = 0;
};

// A picture is refused if it has more samples than a file of this size would hold unless it is quite
// flat: so many for each byte. Fewer than the second number are always accepted.
constexpr int64_t kSamplesInAPixel =
    3;  // of all components, on average, for DecodeOptions::max_pixels
constexpr int64_t kSamplesInAByte = 4096;
constexpr int64_t kAlwaysAcceptedSamples = 1 << 24;

// Decodes a picture. An error means that there is none; a picture with damaged parts comes with messages.
Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Image* image,
              FileInfo* info);

// How much memory Decode() takes for this file, besides the file itself: never much less, seldom
// twice as much. The error is that of Decode() where the main header is enough to know it.
Status EstimateMemory(const uint8_t* data, size_t size, const DecodeOptions& options,
                      int64_t* bytes);

// Reads the main header alone.
Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info);

// What ToPicture() will make of the decoded components, told by the headers: a picture of one pixel,
// with the layout, the depth and the metadata, and the sides that it would have.
Status ReadShape(const uint8_t* data, size_t size, Picture* pixel, int* width, int* height);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_DECODER_H_
