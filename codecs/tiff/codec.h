// SPDX-License-Identifier: MIT
// TIFF files (TIFF 6.0): strips of grey or RGB of 8 or 16 bits, plain or in PackBits.
#ifndef ZEPJP_CODECS_TIFF_CODEC_H_
#define ZEPJP_CODECS_TIFF_CODEC_H_

#include <cstddef>
#include <cstdint>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/byte_sink.h"
#include "codecs/support/messages.h"
#include "codecs/support/metadata.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/region.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/row_source.h"
#include "codecs/support/status.h"

namespace zepcodec::tiff {

enum class Compression { kNone, kPackBits };

struct EncodeOptions {
  Compression compression = Compression::kPackBits;
  // Each row of 16-bit samples as all its high bytes, then all its low bytes, which packs better.
  // This codec's own: the file says so by a private number of its compression, and other programs
  // refuse it.
  bool has_byte_planes = false;
  // Reports progress and can cancel; null: neither.
  Progress* progress = nullptr;
  // Takes the bytes of the file while it is made, if these are not packed; null: `file` collects
  // them. The size of packed strips is known at the end, and the first bytes of the file tell it.
  ByteSink* sink = nullptr;
};

// Makes a file of a picture of 1 or 3 channels and 8 or 16 bits, with its metadata.
Status Encode(RowSource* rows, const EncodeOptions& options, ByteBuffer* file);

struct DecodeOptions {
  int64_t max_pixels = int64_t{1} << 28;  // files that claim more are refused
  // Reports progress and can cancel; null: neither.
  Progress* progress = nullptr;
  WantedRegion region;
  // Takes some rows of a strip at a time instead of the picture; null: no.
  RowSink* rows = nullptr;
};

// The headers of a file, and messages about damage.
struct FileInfo {
  int width = 0;
  int height = 0;
  int channels = 0;
  int bits = 0;
  bool is_big_endian = false;
  bool has_more_pictures = false;
  Compression compression = Compression::kNone;
  bool has_byte_planes = false;
  bool is_planar = false;  // all strips of a channel, then those of the next
  int strip_rows = 0;      // of each strip but the last
  bool has_read_metadata = false;
  Metadata metadata;
  Messages messages;
  Messages notes;  // about metadata
};

// PackBits makes at most 128 bytes from two. A file is refused, before memory is taken, if its
// picture is more than that many times larger than the file. Pictures of up to kAlwaysAcceptedBytes
// are accepted.
constexpr int64_t kMostExpansion = 64;
constexpr int64_t kAlwaysAcceptedBytes = int64_t{1} << 20;

// Decodes the first picture of a file, or a region of it, from the strips that it meets. Time is
// bounded by three times the bytes of the picture and by the number of strips; memory by twice the
// picture and 8 bytes for each strip. An error means that there is no picture; damaged strips are 0
// where bytes are lost, and get messages.
Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
              FileInfo* info);

// The memory that Decode() takes for a file with these headers. It refuses regions that are not
// inside the picture.
int64_t MemoryToDecode(const FileInfo& info, const DecodeOptions& options);

// Reads the directory alone. Where the pixels cannot be decoded, the metadata may have been read.
Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info);

bool IsTiff(const uint8_t* data, size_t size);

}  // namespace zepcodec::tiff

#endif  // ZEPJP_CODECS_TIFF_CODEC_H_
