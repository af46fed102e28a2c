// SPDX-License-Identifier: MIT
// Writes the segments of a file up to the coded data.
#ifndef ZEPJP_CODECS_JPEG_MARKERS_SEGMENT_WRITER_H_
#define ZEPJP_CODECS_JPEG_MARKERS_SEGMENT_WRITER_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/markers/frame.h"
#include "codecs/jpeg/markers/standard_tables.h"
#include "codecs/jpeg/metadata.h"
#include "codecs/support/byte_buffer.h"

namespace zepcodec::jpeg {

// After a lack of memory, all further writes do nothing and ok() is false.
class SegmentWriter {
 public:
  explicit SegmentWriter(ByteBuffer* file) : file_(file) {}

  void Marker(int marker);
  void Jfif(const Density& density);
  void Adobe(int transform);
  void Saved(const Segment& segment);
  // `steps` in zigzag order.
  void Quantization(int slot, const uint8_t* steps);
  // `steps` in natural order; 16-bit steps if one exceeds 255.
  void Quantization(int slot, const std::array<uint16_t, 64>& steps);
  // `marker` names the process.
  void FrameHeader(int marker, const Frame& frame);
  // `kind`: 0 for DC, 1 for AC.
  void Huffman(int kind, int slot, const HuffmanList& list);
  void RestartInterval(int mcus);
  void ScanHeader(const Frame& frame, const Scan& scan);
  bool ok() const { return ok_; }

 private:
  void Begin(int marker, size_t content_size);
  void Byte(int value) { Number(value, 1); }
  void Word(int value) { Number(value, 2); }
  void Number(int value, size_t bytes);
  void Bytes(const uint8_t* bytes, size_t count);

  ByteBuffer* file_;
  bool ok_ = true;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_MARKERS_SEGMENT_WRITER_H_
