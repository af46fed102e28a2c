// SPDX-License-Identifier: MIT
// A decoder for baseline and progressive JPEG files (ITU-T T.81), put together from the stages in
// zepjp.h.
//
// It reads grey, YCbCr, RGB, CMYK and YCCK pictures of 8 and 12 bits with any sampling factors,
// restart intervals and number of scans. Of two components the first is shown as grey. Damaged files are decoded as far as possible: each restart
// interval is decoded independently, and lost parts become flat areas.
#ifndef ZEPJP_CODECS_JPEG_DECODER_H_
#define ZEPJP_CODECS_JPEG_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/coefficients.h"
#include "codecs/jpeg/markers/frame.h"
#include "codecs/jpeg/metadata.h"
#include "codecs/jpeg/picture_writer.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/region.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

struct DecodeOptions {
  // 1, 2, 4 or 8: the picture at 1/scale of its size, rounded up.
  int scale = 1;
  // Of progressive files: the picture after this many scans; 0: after all.
  int scans = 0;
  // Files that claim more pixels are refused.
  int64_t max_pixels = int64_t{1} << 28;
  // 0: one for each processor. The result is always the same.
  int threads = 1;
  // The part of the reduced picture that is wanted.
  WantedRegion region;
  // Takes the rows of the region if GivesRows(); null: the picture has them.
  RowSink* rows = nullptr;
  // Several threads decode a scan in parts of about this many blocks. Tests choose a smaller
  // number, so that small pictures have several parts.
  int64_t part_blocks = 4096;
  // Reports progress and can cancel; null: neither.
  Progress* progress = nullptr;
};

// The headers of a file, and messages about damage.
struct FileInfo {
  Frame frame;
  ColorModel model = ColorModel::kGrey;
  int restart_interval = 0;
  bool has_single_scan = false;  // the first scan holds all components
  int adobe_transform = -1;      // of the Adobe header, negative where there is none
  bool has_jfif = false;
  SavedSegments metadata;
  Messages messages;
};

// A component's samples as they are coded, before any up-sampling or colour conversion.
struct ComponentSamples {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> samples;  // rows without gaps
};

// Memory is taken only if the file can hold the picture that its header announces. A block takes at
// least two bits (the shortest codes of a DC difference and of an end of block), so a file is
// refused if its picture has more than four blocks for each byte after the frame header; in
// progressive files the first scan of DC takes one bit at least: eight blocks. Up to 65536 blocks
// (4 MiB of samples) are always accepted, so that small truncated files still show their first
// rows.
constexpr int64_t kBlocksInAByte = 4;
constexpr int64_t kProgressiveBlocksInAByte = 8;
constexpr int64_t kAlwaysAcceptedBlocks = 65536;

// A progressive file may go through all blocks of a picture again and again in scans of a few
// bytes. Blocks that take no bits are skipped where that is safe; a refinement has to look at those
// that have coefficients. Decoding ends with a message after kMostIdleVisits such visits for each
// block of the picture, or after kAlwaysAcceptedVisits in all, whichever is more. So time is
// bounded by bytes of the file and blocks of the picture.
constexpr int64_t kMostIdleVisits = 256;
constexpr int64_t kAlwaysAcceptedVisits = int64_t{1} << 20;

// Whether Decode() gives rows while it decodes: files of 8 bits with a single scan. Others need all
// scans for the first row. Their picture is complete, and DecodeOptions::rows gets nothing.
bool GivesRows(const FileInfo& info);

// Decodes a picture of 8 or 12 bits, grey, RGB or CMYK (also from YCCK). The picture's memory is
// used again if it is large enough. An error means that there is no picture; a picture with damaged
// parts comes with messages.
Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
              FileInfo* info);

// Decodes the components alone, at full scale.
Status DecodeComponents(const uint8_t* data, size_t size, const DecodeOptions& options,
                        std::vector<ComponentSamples>* components, FileInfo* info);

// Decodes the coefficients alone. Files of two components are refused.
Status DecodeCoefficients(const uint8_t* data, size_t size, const DecodeOptions& options,
                          Coefficients* coefficients, FileInfo* info);

// Reads the headers up to the first scan.
Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info);

// An upper bound of the memory that Decode() takes for the file that `info` was read from, in
// bytes: with the picture, without the file.
int64_t MemoryNeed(const FileInfo& info, const DecodeOptions& options);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_DECODER_H_
