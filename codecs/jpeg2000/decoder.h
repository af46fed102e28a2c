// SPDX-License-Identifier: MIT
// A decoder for JPEG 2000 codestreams and JP2 files (ITU-T T.800), put together from the stages in
// zepjp.h.
//
// It reads pictures of up to 16 components of up to 16 bits, with all features of the first part of
// the standard. In a damaged file an error costs the rest of its code-block, and a lost packet
// costs the rest of its precinct if the file has start-of-packet markers, else the rest of its
// tile.
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
#include "codecs/support/region.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

struct DecodeOptions {
  // The picture at 1/2^reduce of its size, rounded up: that many resolutions are left out.
  int reduce = 0;
  // Quality layers to decode; 0: all.
  int layers = 0;
  // The part to decode, in pixels of the reduced picture that PictureMaker makes.
  WantedRegion region;
  // Null: a picture is wanted. For DecodePicture().
  RowSink* rows = nullptr;
  // Files that claim more pixels are refused, and those whose components together have more than
  // three times that number of samples.
  int64_t max_pixels = int64_t{1} << 28;
  // 0: one for each processor. The result is the same.
  int threads = 0;
  // Null: no callback.
  Progress* progress = nullptr;
};

// The contents of a file's headers, and the damage that was found.
struct FileInfo {
  bool is_jp2 = false;
  SizeSegment size;
  Parameters parameters;  // of the main header
  Messages messages;
  // Differences from the headers that lose nothing.
  Messages notes;
  // The work for the packets, in the units of budget.h.
  int64_t work = 0;
};

// A picture is refused if it has more samples for each byte of the file than the first number,
// which only flat pictures reach. Up to the second number of samples it is always accepted.
constexpr int64_t kSamplesInAPixel =
    3;  // of all components, on average, for DecodeOptions::max_pixels
constexpr int64_t kSamplesInAByte = 4096;
constexpr int64_t kAlwaysAcceptedSamples = 1 << 24;

// Decodes a picture. On an error there is no picture; damaged parts are listed in the messages.
Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Image* image,
              FileInfo* info);

// The memory that DecodePicture() takes for this file with these options, in addition to the file
// itself; the estimate is seldom more than twice that. Errors in the main header are the same as
// from DecodePicture().
Status EstimateMemory(const uint8_t* data, size_t size, const DecodeOptions& options,
                      int64_t* bytes);

// Reads the main header only.
Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info);

// Tells from the headers what ToPicture() would return: the sides, and a picture of one pixel with
// its layout, depth and metadata.
Status ReadShape(const uint8_t* data, size_t size, Picture* pixel, int* width, int* height);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_DECODER_H_
