// SPDX-License-Identifier: MIT
// Decodes a codestream to pixels.
#ifndef ZEPJP_CODECS_JPEGXR_FRAME_DECODER_H_
#define ZEPJP_CODECS_JPEGXR_FRAME_DECODER_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/container.h"
#include "codecs/jpegxr/decoder.h"
#include "codecs/jpegxr/header_reader.h"
#include "codecs/support/messages.h"
#include "codecs/support/picture.h"
#include "codecs/support/region.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpegxr {

// Where pixels go. The first component goes to `channel`; opacity of the same codestream is last.
struct Target {
  Region region;     // of the picture
  Picture* picture;  // has the region's size, or is the form of the rows
  RowSink* rows;     // null: the picture gets the pixels
  int channel;
};

class FrameDecoder {
 public:
  FrameDecoder(const Span& codestream, const DecodeOptions& options)
      : codestream_(codestream), options_(options) {}

  Status ReadHeader();
  const FrameHeader& frame() const { return headers_.frame; }

  Status Decode(const Target& target, ThreadPool* pool, Messages* messages) const;

  // The memory that Decode() takes in addition to the picture.
  int64_t Memory(const Region& region, size_t threads) const;

 private:
  TileArea AreaFor(const Region& region) const;

  Span codestream_;
  const DecodeOptions& options_;
  Headers headers_;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_FRAME_DECODER_H_
