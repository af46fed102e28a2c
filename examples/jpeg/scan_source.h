// SPDX-License-Identifier: MIT
// The coded bytes of a scan, restart interval by restart interval, with what the block decoders keep between calls.
#ifndef ZEPJP_EXAMPLES_JPEG_SCAN_SOURCE_H_
#define ZEPJP_EXAMPLES_JPEG_SCAN_SOURCE_H_

#include <cstddef>
#include <cstdint>

#include "jpeg/intervals.h"
#include "jpeg/messages.h"
#include "zepjp.h"

namespace jpeg {

class ScanSource {
 public:
  // The scan's data begins at data[begin]; a restart interval of 0 MCUs means none.
  ScanSource(const uint8_t* data, size_t size, size_t begin, int64_t mcu_count,
             int restart_interval, Messages* messages);

  // Before MCUs are decoded. True: an interval begins, and predictions with it.
  bool Begin();
  // So many may be decoded then.
  int64_t mcus_left() const { return mcus_left_; }
  // After them.
  void End(int mcus);

  // The rest of the interval cannot be decoded.
  bool lost() const { return lost_; }
  // Because of `status`, `mcus_done` MCUs after Begin().
  void Lose(zepStatus status, int mcus_done);

  // What the block decoders take.
  const uint8_t* bytes() const { return data_ + base_; }
  int32_t length() const { return length_; }
  int32_t* at() { return &at_; }
  int32_t* marker() { return &marker_; }
  zepiDecodeHuffmanState* state() { return &state_; }

  // Where the scan's data ends in the file.
  size_t end() const { return intervals_.end; }

 private:
  int64_t McusInAnInterval() const;
  void BeginInterval();
  void FinishInterval();
  void Rebase();
  size_t Offset() const { return base_ + static_cast<size_t>(at_); }

  const uint8_t* data_;
  size_t size_;
  Messages* messages_;
  int64_t mcu_count_;
  int64_t restart_interval_;
  Intervals intervals_;
  int64_t mcus_done_ = 0;
  int64_t mcus_left_ = 0;  // in the current interval
  size_t interval_ = 0;    // number of the interval behind the current one
  // The library counts bytes in 32 bits: its buffer begins at data_ + base_.
  size_t base_ = 0;
  int32_t length_ = 0;
  int32_t at_ = 0;
  int32_t marker_ = 0;
  zepiDecodeHuffmanState state_;
  bool lost_ = false;
};

}  // namespace jpeg

#endif  // ZEPJP_EXAMPLES_JPEG_SCAN_SOURCE_H_
