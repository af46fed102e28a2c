// SPDX-License-Identifier: MIT
// Decodes a scan, restart interval by restart interval.
#ifndef ZEPJP_EXAMPLES_LJPEG_SCAN_DECODER_H_
#define ZEPJP_EXAMPLES_LJPEG_SCAN_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jpeg/interval_reader.h"
#include "ljpeg/codec.h"
#include "ljpeg/header.h"
#include "ljpeg/rows.h"
#include "zepjp.h"

namespace ljpeg {

// Where differences are lost they count as 0, so each sample is what the predictor makes of its neighbours.
class ScanDecoder {
 public:
  // The scan's data begin at `begin`.
  ScanDecoder(const uint8_t* data, size_t size, size_t begin, const Scan& scan,
              common::Raster* picture, FileInfo* info);

  // An error where predictor 6 meets samples that it cannot have.
  common::Status Decode();
  // Of the marker behind the scan.
  size_t end() const { return reader_.end(); }

 private:
  struct Part {
    int component;
    Row above;
    Row row;  // differences, then samples
  };

  void BeginInterval(int y);
  void DecodeRow(int y);
  void Reconstruct(bool is_first);
  bool IsPredictable() const;
  void TakeRow(int y);
  void FinishInterval();
  void ReportLoss(zepStatus status, int y);

  const Scan& scan_;
  common::Raster* picture_;
  FileInfo* info_;
  int rows_in_interval_;
  jpeg::IntervalReader reader_;
  std::vector<Part> parts_;
  const zepiDecodeHuffmanSpec* tables_[kMostComponents] = {};

  bool lost_ = false;
  int interval_end_ = 0;  // the row behind the interval
};

}  // namespace ljpeg

#endif  // ZEPJP_EXAMPLES_LJPEG_SCAN_DECODER_H_
