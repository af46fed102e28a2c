// SPDX-License-Identifier: MIT
// The coded bytes of a scan of blocks: counts its MCUs, and tells what is lost of them.
#ifndef ZEPJP_CODECS_JPEG_SCAN_SOURCE_H_
#define ZEPJP_CODECS_JPEG_SCAN_SOURCE_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg/interval_reader.h"
#include "codecs/support/messages.h"

namespace zepcodec::jpeg {

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
  void End(int64_t mcus);

  // The rest of the interval cannot be decoded.
  bool lost() const { return lost_; }
  // Because of `status`, `mcus_done` MCUs after Begin().
  void Lose(zepStatus status, int mcus_done);

  // The bytes, and what the block decoders take.
  IntervalReader& reader() { return reader_; }

 private:
  int64_t McusInAnInterval() const;
  void BeginInterval();
  void FinishInterval();

  Messages* messages_;
  int64_t mcu_count_;
  int64_t restart_interval_;
  IntervalReader reader_;
  int64_t mcus_done_ = 0;
  int64_t mcus_left_ = 0;  // in the current interval
  bool lost_ = false;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SCAN_SOURCE_H_
