// SPDX-License-Identifier: MIT
// Finds markers in a file: in coded data, and from one segment to the next.
#ifndef ZEPJP_CODECS_JPEG_MARKERS_MARKER_WALK_H_
#define ZEPJP_CODECS_JPEG_MARKERS_MARKER_WALK_H_

#include <cstddef>
#include <cstdint>

#include "codecs/support/byte_reader.h"

namespace zepcodec::jpeg {

// The offset of the first marker at or after `from`: an FF followed by something other than the 00
// of byte stuffing and the FF of padding. `size` if there is none.
size_t FindMarkerInData(const uint8_t* data, size_t size, size_t from);

// Goes from marker to marker. Bytes inside segments are passed over: a thumbnail there has markers
// of its own.
class MarkerWalk {
 public:
  MarkerWalk(const uint8_t* data, size_t size, size_t begin)
      : data_(data), size_(size), position_(begin) {}

  // False: there is no further marker.
  bool Next();
  int marker() const { return marker_; }
  // What follows the length of a segment; failed() if the file ends before it. Empty for markers
  // without a segment.
  const ByteReader& segment() const { return segment_; }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t position_;
  int marker_ = 0;
  ByteReader segment_;
};

// The number of scan headers.
int CountScans(const uint8_t* data, size_t size);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_MARKERS_MARKER_WALK_H_
