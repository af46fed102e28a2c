// SPDX-License-Identifier: MIT
// Reads the marker segments of baseline, extended, progressive and lossless files with Huffman
// coding, up to the coded data of each scan.
#ifndef ZEPJP_CODECS_JPEG_MARKERS_MARKER_READER_H_
#define ZEPJP_CODECS_JPEG_MARKERS_MARKER_READER_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg/markers/frame.h"
#include "codecs/jpeg/metadata.h"
#include "codecs/support/byte_reader.h"
#include "codecs/support/messages.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

enum class Event {
  kFrame,  // frame() is known
  kScan,   // scan() is known; its data begins at position()
  kEnd,    // of the picture
};

class MarkerReader {
 public:
  // The bytes must outlive the reader.
  MarkerReader(const uint8_t* data, size_t size, Messages* messages);

  // Reads up to the next event.
  Status Next(Event* event);
  // Continues after a scan's data.
  void Seek(size_t position) { position_ = position; }

  size_t position() const { return position_; }
  // The offset of the last marker.
  size_t marker_offset() const { return marker_offset_; }
  // Adds the offset of the last marker to an error.
  Status AtMarker(const Status& status) const;
  const Frame& frame() const { return frame_; }
  const Scan& scan() const { return scan_; }
  const Tables& tables() const { return tables_; }
  const SavedSegments& metadata() const { return metadata_; }
  int restart_interval() const { return restart_interval_; }
  bool has_jfif() const { return has_jfif_; }
  // The transform in the Adobe header; negative without such a header.
  int adobe_transform() const { return adobe_transform_; }

 private:
  Status Start();
  Status FindMarker(int* marker);
  Status OpenSegment(ByteReader* segment);
  Status ReadSegment(int marker, ByteReader segment);
  Status ReadFrame(int marker, ByteReader segment);
  Status CheckFrame(int marker, int components);
  Status ReadComponents(int count, ByteReader* segment);
  Status ReadScan(ByteReader segment);
  Status ReadScanComponents(int count, ByteReader* segment);
  Status ReadBand(ByteReader* segment);
  Status CheckLosslessScan() const;
  Status ReadQuantization(ByteReader segment);
  Status ReadHuffman(ByteReader segment);
  void ReadApplication(int marker, ByteReader segment);
  void UseStandardHuffman();
  // The height from the DNL segment after the first scan (T.81, B.2.5), or 0.
  int FindLineCount() const;

  const uint8_t* data_;
  size_t size_;
  Messages* messages_;
  size_t position_ = 0;
  size_t marker_offset_ = 0;
  Frame frame_;
  Scan scan_;
  Tables tables_;
  SavedSegments metadata_;
  int restart_interval_ = 0;
  bool has_jfif_ = false;
  bool saw_huffman_ = false;
  int adobe_transform_ = -1;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_MARKERS_MARKER_READER_H_
