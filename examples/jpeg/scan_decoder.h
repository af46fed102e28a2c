// SPDX-License-Identifier: MIT
// Decodes the blocks of a scan into planes of samples, one row of MCUs after the other.
#ifndef ZEPJP_EXAMPLES_JPEG_SCAN_DECODER_H_
#define ZEPJP_EXAMPLES_JPEG_SCAN_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "jpeg/intervals.h"
#include "jpeg/messages.h"
#include "jpeg/plane.h"
#include "jpeg/stage_clock.h"
#include "zepjp.h"

namespace jpeg {

// Dequantization and inverse transform of a block to samples.
using InverseTransform = zepStatus(ZEP_CALL*)(const int16_t* block, uint8_t* samples, int32_t step,
                                              const uint16_t* steps);

// What an MCU holds of one component.
struct ScanPart {
  Plane* plane;
  int block_size;
  int blocks_across;
  int blocks_down;
  const zepiDecodeHuffmanSpec* dc;
  const zepiDecodeHuffmanSpec* ac;
  uint16_t steps[64];
};

struct ScanLayout {
  int mcus_per_row;
  int mcu_rows;
  int restart_interval;  // in MCUs, 0 for none
  std::vector<ScanPart> parts;
};

class ScanDecoder {
 public:
  // The scan's data begins at data[begin]. The layout's planes and tables must outlive the decoder.
  ScanDecoder(const uint8_t* data, size_t size, size_t begin, const ScanLayout& layout,
              Messages* messages, StageTimes* times);

  // Decodes the next row of MCUs. What is damaged is reported and becomes flat areas.
  void DecodeRow();
  // Where the scan's data ends in the file.
  size_t end() const { return intervals_.end; }

 private:
  static constexpr int kChunkBlocks = 48;

  struct Part : ScanPart {
    InverseTransform inverse;
    int16_t last_dc;
  };

  int64_t McusInAnInterval() const;
  void BeginInterval();
  void FinishInterval();
  void DecodeBlocks(int mcus);
  void ReconstructBlocks(int first_mcu, int mcus);
  void ReportLoss(zepStatus status, int mcus_done);
  size_t Offset() const { return base_ + static_cast<size_t>(at_); }
  void Rebase();

  alignas(64) int16_t blocks_[kChunkBlocks * 64];
  const uint8_t* data_;
  size_t size_;
  Messages* messages_;
  StageTimes* times_;
  int mcus_per_row_;
  int blocks_in_mcu_ = 0;
  int64_t mcu_count_;
  int64_t restart_interval_;
  std::vector<Part> parts_;
  Intervals intervals_;

  int64_t mcus_done_ = 0;
  int64_t mcus_left_ = 0;  // in the current interval
  size_t interval_ = 0;    // number of the interval behind the current one
  // The library counts bytes in 32 bits: its buffer begins at data_ + base_.
  size_t base_ = 0;
  int32_t length_ = 0;
  int32_t at_ = 0;
  int32_t marker_ = 0;
  int row_ = 0;
  zepiDecodeHuffmanState state_;
  bool lost_ = false;  // the rest of the current interval
};

}  // namespace jpeg

#endif  // ZEPJP_EXAMPLES_JPEG_SCAN_DECODER_H_
