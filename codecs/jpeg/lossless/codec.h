// SPDX-License-Identifier: MIT
// Lossless JPEG files (ITU-T T.81, annex H), put together from the stages in zepjp.h.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_CODEC_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_CODEC_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg/metadata.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/byte_sink.h"
#include "codecs/support/messages.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/region.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/row_source.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg::lossless {

enum class Tables {
  kFixed,    // one table that suits photographs: a single pass over the picture
  kShared,   // one for all components, made for the picture
  kOptimal,  // one for each component
};

struct EncodeOptions {
  int predictor = 1;        // 1..7
  int point_transform = 0;  // bits that are left out at the lower end of each sample
  int restart_rows = 0;     // rows between restart markers; 0 for none
  Tables tables = Tables::kOptimal;
  // For pictures of four components: CMYK where 0 is full ink, which an Adobe header announces.
  bool is_inverted_cmyk = false;
  jpeg::SavedSegments metadata;  // segments, written as they are
  // 0: one for each processor. The file is always the same.
  int threads = 1;
  // Reports progress and can cancel; null: neither.
  Progress* progress = nullptr;
  // Takes finished bytes of the file while it is made; null: all are kept.
  ByteSink* sink = nullptr;
};

// Makes a file of a picture of 1 to 4 components and 2 to 16 bits.
Status Encode(const Picture& picture, const EncodeOptions& options, ByteBuffer* file);

// The same of rows, which need not be in memory at the same time. A file with the fixed table needs
// a few bands of rows. Tables for the picture are known only after its last row, so these files
// need all rows.
Status Encode(RowSource* rows, const EncodeOptions& options, ByteBuffer* file);

struct DecodeOptions {
  int64_t max_pixels = int64_t{1} << 28;  // files that claim more are refused
  // The part of the picture that is wanted.
  WantedRegion region;
  // Takes the rows of the region if GivesRows(); null: the picture has them.
  RowSink* rows = nullptr;
  // 0: one for each processor. The result is always the same.
  int threads = 1;
  // Several threads decode a scan in parts of about this many coded bytes. Tests choose fewer.
  int64_t part_bytes = 1 << 17;
  // Reports progress and can cancel; null: neither.
  Progress* progress = nullptr;
};

// The headers of a file, and messages about damage.
struct FileInfo {
  int width = 0;
  int height = 0;
  int components = 0;
  int bits = 0;
  bool has_single_scan = false;  // the first scan holds all components
  int rows_in_band = 0;          // that DecodeOptions::rows gets at a time
  // Of the last scan.
  int predictor = 0;
  int point_transform = 0;
  int restart_interval = 0;  // in samples of each component
  int adobe_transform = -1;  // negative: there is no Adobe header
  jpeg::SavedSegments metadata;
  Messages messages;
};

// A sample takes at least one bit. A file is refused, before memory is taken, if its picture has
// more samples than it has bits after the frame header; up to this many samples are always
// accepted, so that small truncated files still show their first rows.
constexpr int64_t kAlwaysAcceptedSamples = int64_t{1} << 20;

// Whether Decode() gives rows while it decodes: files with a single scan. The others need all scans
// for the first row. Their picture is complete, and DecodeOptions::rows gets nothing.
bool GivesRows(const FileInfo& info);

// Components come out as they are coded. An error means that there is no picture; a picture with
// damaged parts comes with messages.
Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
              FileInfo* info);

// Reads the headers up to the first scan.
Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info);

// An upper bound of Decode()'s memory for the file that `info` was read from: with the picture,
// without the file.
int64_t MemoryNeed(const FileInfo& info, const DecodeOptions& options);

// Whether the first frame header of these bytes is that of a lossless process with Huffman coding.
bool IsLosslessJpeg(const uint8_t* data, size_t size);

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_CODEC_H_
