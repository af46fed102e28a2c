// SPDX-License-Identifier: MIT
// Decodes a scan row by row of MCUs.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_SCAN_DECODER_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_SCAN_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/band_output.h"
#include "codecs/jpeg/lossless/geometry.h"
#include "codecs/jpeg/lossless/prediction.h"
#include "codecs/jpeg/lossless/rows.h"
#include "codecs/jpeg/markers/marker_reader.h"
#include "codecs/jpeg/scan_source.h"
#include "codecs/support/messages.h"
#include "codecs/support/progress.h"
#include "codecs/support/region.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"
#include "zepjp.h"

namespace zepcodec::jpeg::lossless {

// Lost differences count as 0, so a lost sample equals its prediction.
class ScanDecoder {
 public:
  // Decodes the scan that `headers` has just read. All arguments must outlive the decoder.
  ScanDecoder(const uint8_t* data, size_t size, const MarkerReader& headers, const Region& region,
              BandOutput* output, Messages* messages);

  // Decodes as far as the region needs it.
  Status Decode(ThreadPool* pool, int64_t part_bytes, Progress* progress);
  // The offset of the marker after the scan.
  size_t end() const { return intervals_.end; }

 private:
  struct Part {
    int component;
    Sampling sampling;
    int across;              // samples of an MCU
    std::vector<Row> lines;  // of a row of MCUs: differences, then samples
    Row above;
  };

  bool IsPlainScan() const;
  Status DecodeParts(ThreadPool* pool, int64_t part_bytes, Progress* progress, bool* is_done) const;
  void BeginInterval(int row);
  int FirstLine(int mcu_row) const;
  void DecodeMcuRow();
  zepStatus DecodeLines();
  zepStatus DecodeMcus();
  void Reconstruct(bool is_first);
  void TakeMcuRow(int mcu_row);
  void TakeLine(const Part& part, const Row& line, int y);
  int RegionEnd() const { return region_.y + region_.height; }

  const uint8_t* data_;
  size_t size_;
  const Frame& frame_;
  const Region region_;
  BandOutput& output_;
  RowTarget target_{};  // of the rows at hand
  ScanGeometry geometry_;
  Prediction prediction_;
  int restart_interval_;
  Intervals intervals_;
  ScanSource source_;
  std::vector<Part> parts_;
  const zepiDecodeHuffmanSpec* tables_[kMostComponents] = {};
  bool has_plain_mcus_ = true;  // one sample of each component
  Row wide_;                    // a line at the picture's resolution
};

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_SCAN_DECODER_H_
