// SPDX-License-Identifier: MIT
// The interface between the public functions and the codecs, and the table of formats.
#ifndef ZEPJP_CODECS_API_CODEC_H_
#define ZEPJP_CODECS_API_CODEC_H_

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>

#include "codecs/api/pixels.h"
#include "codecs/include/zepcodec.h"
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

namespace zepcodec::api {

struct File {
  const uint8_t* data;
  size_t size;
};

struct Report {
  Messages damage;
  Messages notes;
};

// Where the caller sets no limits.
constexpr int64_t kUsualMaxPixels = int64_t{1} << 28;
constexpr int64_t kUsualMaxMemory = int64_t{1} << 32;

// The caller's progress callback as a Progress.
class Watch {
 public:
  Watch(zepcProgress callback, void* user) {
    if (callback == nullptr) return;
    progress_.emplace([=](double done) { return callback(user, done) != 0; });
  }
  Progress* progress() { return progress_.has_value() ? &*progress_ : nullptr; }

 private:
  std::optional<Progress> progress_;
};

// Limits that the caller left at 0 are set.
struct DecodeRequest {
  zepcDecodeOptions options;
  Progress* progress;  // null: no progress callback
  WantedRegion region;
  RowSink* rows;       // null: a picture is wanted
  bool metadata_only;  // pixels of any kind will do
};

struct EncodeRequest {
  zepcEncodeOptions options;
  Progress* progress;
  ByteSink* sink;  // null: the whole file is wanted
};

struct Findings : zepcInfo {
  // Whether decode() uses DecodeRequest::rows. `memory` is then without a picture.
  bool gives_rows = false;
  Metadata metadata;
};

struct Codec {
  zepcFormatFacts facts;
  bool (*recognizes)(const File& file);
  // `info` comes with its format set and all else 0.
  Status (*probe)(const File& file, const DecodeRequest& request, Findings* info);
  // The region of the picture as the file has it, with its metadata. Its rows go to
  // DecodeRequest::rows if that is set and the codec can give them one after the other; `picture`
  // then has the metadata alone.
  Status (*decode)(const File& file, const DecodeRequest& request, Picture* picture,
                   Report* report);
  // Encodes a picture with its metadata. A wrong option is an error; a picture that the format
  // cannot hold is unsupported. The first bytes of the file may go to EncodeRequest::sink, if that
  // is set; `bytes` gets the rest.
  Status (*encode)(RowSource* rows, const EncodeRequest& request, ByteBuffer* bytes);
};

// A codec's own options with all that is asked of each codec.
template <class Options>
Options CommonOptions(const DecodeRequest& request) {
  Options options;
  options.max_pixels = request.options.max_pixels;
  options.threads = request.options.threads;
  options.progress = request.progress;
  options.region = request.region;
  options.rows = request.rows;
  return options;
}

// For zepcFormatFacts::depths.
constexpr uint32_t DepthsOf(std::initializer_list<int> depths) {
  uint32_t bits = 0;
  for (const int depth : depths) bits |= 1U << (depth - 1);
  return bits;
}
constexpr uint32_t DepthsUpTo16(int least) { return (1U << 16) - (1U << (least - 1)); }

extern const Codec kJpegCodec;
extern const Codec kLosslessJpegCodec;
extern const Codec kJp2Codec;
extern const Codec kJ2kCodec;
extern const Codec kJpegXrCodec;
extern const Codec kDdsCodec;
extern const Codec kTiffCodec;

// The entries of the table, in the order in which files are compared with them.
const Codec* CodecAt(size_t index);
const Codec* CodecOf(zepcFormat format);
const Codec* CodecOfFile(const File& file);
const Codec* CodecOfExtension(const char* extension);

// Fills all that `info` tells of metadata.
void FillMetadata(Metadata metadata, Findings* info);

// The memory that metadata take at most while a file is decoded.
int64_t MemoryOf(const Metadata& metadata);

// The size of a picture in bytes, saturated.
int64_t PictureBytes(int64_t width, int64_t height, int64_t bytes_per_pixel);

// Status::BadOption unless `value` is one of low to high; `name` is the member of the struct.
Status CheckRange(const char* name, int64_t value, int64_t low, int64_t high);

}  // namespace zepcodec::api

#endif  // ZEPJP_CODECS_API_CODEC_H_
