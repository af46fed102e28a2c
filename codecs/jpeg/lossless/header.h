// SPDX-License-Identifier: MIT
// Reads the segments of a lossless JPEG file, up to where the coded differences of a scan begin.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_HEADER_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_HEADER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpeg/segment_cursor.h"
#include "codecs/support/status.h"
#include "zepjp.h"

namespace zepcodec::jpeg::lossless {

struct Sampling {
  int h = 1;
  int v = 1;
};

struct Component {
  int id;
  Sampling sampling;
};

struct Frame {
  // All components have the picture's resolution.
  bool IsPlain() const;
  // Samples of all components.
  int64_t SampleCount() const;

  int width = 0;
  int height = 0;
  Sampling most;  // the largest factors
  std::vector<Component> components;
};

struct ScanPart {
  int component;  // its index in the frame
  const zepiDecodeHuffmanSpec* table;
};

struct Scan {
  std::vector<ScanPart> parts;
  int predictor = 0;
  int point_transform = 0;
};

// The samples of a scan: an MCU is one sample of a single component, or h x v of each of several.
struct ScanGeometry {
  ScanGeometry(const Frame& frame, const Scan& scan);

  int mcus_per_row;
  int mcu_rows;
  std::vector<Sampling> mcu;  // of each part
};

class HeaderReader {
 public:
  // The bytes must outlive the reader, which notes in `info` what it reads.
  HeaderReader(const uint8_t* data, size_t size, FileInfo* info)
      : data_(data), size_(size), info_(info) {}

  // Up to the next scan; false in `found`: the picture ends.
  Status NextScan(bool* found);
  // Goes on behind a scan's data.
  void Seek(size_t position) { position_ = position; }

  size_t position() const { return position_; }
  const Frame& frame() const { return frame_; }
  const Scan& scan() const { return scan_; }

 private:
  using Cursor = jpeg::SegmentCursor;

  Status FindMarker(int* marker);
  Status OpenSegment(int marker, Cursor* cursor);
  Status ReadSegment(int marker, Cursor cursor);
  Status ReadFrame(int marker, Cursor cursor);
  Status ReadComponents(Cursor cursor);
  Status ReadTables(Cursor cursor);
  Status ReadScan(Cursor cursor);
  Status ReadScanPart(Cursor* cursor);
  Status CheckScan() const;
  void ReadApplication(int marker, const Cursor& cursor);

  const uint8_t* data_;
  size_t size_;
  FileInfo* info_;
  size_t position_ = 0;
  Frame frame_;
  zepiDecodeHuffmanSpec tables_[4];
  bool has_table_[4] = {};
  Scan scan_;
};

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_HEADER_H_
