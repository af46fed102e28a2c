// SPDX-License-Identifier: MIT
// A decoder for JPEG XR files (ITU-T T.832), put together from the stages in zepjp.h.
//
// It reads grey and RGB pictures of 8, 16 and 32 bits and of floats, with opacity in either form, in both
// orders, with all overlaps, tiles, quantizers and leftover bands. Of a damaged file it saves what can be saved:
// an error costs the rest of its tile.
#ifndef ZEPJP_EXAMPLES_JPEGXR_DECODER_H_
#define ZEPJP_EXAMPLES_JPEGXR_DECODER_H_

#include <cstddef>
#include <cstdint>

#include "jpegxr/codestream.h"
#include "jpegxr/common.h"
#include "jpegxr/image.h"

namespace jpegxr {

struct DecodeOptions {
  // Files that claim more pixels are refused.
  int64_t max_pixels = int64_t{1} << 28;
  // 0: as many as the machine runs at once. They change the time only.
  int threads = 0;
};

// What a file says about itself, and what is wrong with it.
struct FileInfo {
  FrameHeader frame;
  Messages messages;
};

// A picture is refused if it has more samples, in whole macroblocks, than a file of this size would hold unless it
// is quite flat: so many for each byte. Fewer than the second number are always accepted.
constexpr int64_t kSamplesInAByte = 4096;
constexpr int64_t kAlwaysAcceptedSamples = 1 << 24;

// Decodes a picture. An error means that there is none; a picture with damaged parts comes with messages.
Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Image* image,
              FileInfo* info);

// Reads the headers alone.
Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info);

}  // namespace jpegxr

#endif  // ZEPJP_EXAMPLES_JPEGXR_DECODER_H_
