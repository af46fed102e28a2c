// SPDX-License-Identifier: MIT
// Decodes a scan, restart interval by restart interval.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_SCAN_DECODER_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_SCAN_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/interval_reader.h"
#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpeg/lossless/header.h"
#include "codecs/jpeg/lossless/prediction.h"
#include "codecs/jpeg/lossless/rows.h"
#include "zepjp.h"

namespace zepcodec::jpeg::lossless {

// Where differences are lost they count as 0, so each sample is what the predictor makes of its neighbours.
class ScanDecoder {
 public:
  // The scan's data begin at `begin`.
  ScanDecoder(const uint8_t* data, size_t size, size_t begin, const Frame& frame, const Scan& scan,
              Picture* picture, FileInfo* info);

  Status Decode(Progress* progress);
  // Of the marker after the scan.
  size_t end() const { return reader_.end(); }

 private:
  struct Part {
    int component;
    Sampling sampling;
    int across;              // samples of an MCU
    std::vector<Row> lines;  // of a row of MCUs: differences, then samples
    Row above;
  };

  void BeginInterval(int mcu_row);
  void DecodeMcuRow(int mcu_row);
  zepStatus DecodeLines();
  zepStatus DecodeMcus();
  void Reconstruct(bool is_first);
  void TakeMcuRow(int mcu_row);
  void TakeLine(const Part& part, const Row& line, int y);
  void FinishInterval();
  void ReportLoss(zepStatus status, int mcu_row);

  const Frame& frame_;
  Picture* picture_;
  FileInfo* info_;
  ScanGeometry geometry_;
  Prediction prediction_;
  int rows_in_interval_;  // of MCUs
  jpeg::IntervalReader reader_;
  std::vector<Part> parts_;
  const zepiDecodeHuffmanSpec* tables_[kMostComponents] = {};
  bool has_plain_mcus_ = true;  // one sample of each component
  Row wide_;                    // a line at the picture's resolution

  bool lost_ = false;
  int interval_end_ = 0;  // the row of MCUs after the interval
};

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_SCAN_DECODER_H_
