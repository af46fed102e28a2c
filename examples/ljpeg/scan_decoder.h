// SPDX-License-Identifier: MIT
// Decodes a scan, restart interval by restart interval.
#ifndef ZEPJP_EXAMPLES_LJPEG_SCAN_DECODER_H_
#define ZEPJP_EXAMPLES_LJPEG_SCAN_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jpeg/intervals.h"
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
  size_t end() const { return intervals_.end; }

 private:
  struct Part {
    int component;
    Row above;
    Row row;  // differences, then samples
  };

  void BeginInterval(size_t start, int y, int rows);
  void DecodeRow(int y);
  void Reconstruct(bool is_first);
  bool IsPredictable() const;
  void TakeRow(int y);
  void FinishInterval(size_t index);
  void ReportLoss(zepStatus status, int y);
  size_t Offset() const { return base_ + static_cast<size_t>(at_); }
  void Rebase();

  const uint8_t* data_;
  size_t size_;
  const Scan& scan_;
  common::Raster* picture_;
  FileInfo* info_;
  int rows_in_interval_;
  jpeg::Intervals intervals_;
  std::vector<Part> parts_;
  const zepiDecodeHuffmanSpec* tables_[kMostComponents] = {};

  size_t base_ = 0;  // what positions count from
  int32_t at_ = 0;
  int32_t length_ = 0;
  int32_t marker_ = 0;
  bool lost_ = false;
  int interval_end_ = 0;  // the row behind the interval
  zepiDecodeHuffmanState state_;
};

}  // namespace ljpeg

#endif  // ZEPJP_EXAMPLES_LJPEG_SCAN_DECODER_H_
