// SPDX-License-Identifier: MIT
// The coded bytes of a scan: counts its MCUs and reports the lost ones.
#ifndef ZEPJP_CODECS_JPEG_SCAN_SOURCE_H_
#define ZEPJP_CODECS_JPEG_SCAN_SOURCE_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg/interval_reader.h"
#include "codecs/support/messages.h"

namespace zepcodec::jpeg {

class ScanSource {
 public:
  // A restart interval of 0 MCUs means none.
  ScanSource(const uint8_t* data, size_t size, Intervals intervals, int64_t mcu_count,
             int restart_interval, Messages* messages);

  // To be called before MCUs are decoded. True: a restart interval begins, so predictions start
  // anew.
  bool Begin();
  // MCUs that may be decoded before the next call of Begin().
  int64_t mcus_left() const { return mcus_left_; }
  // Whether the current interval can be left out.
  bool MayPassOver() const { return !lost_ && reader_.KnowsNext(); }
  // The current interval is not decoded. To be called right after its Begin().
  void PassOver() { is_passed_over_ = true; }
  bool is_passed_over() const { return is_passed_over_; }
  // To be called after MCUs were decoded.
  void End(int64_t mcus);

  // The rest of the interval cannot be decoded.
  bool lost() const { return lost_; }
  // Decoding failed with `status`, `mcus_done` MCUs after Begin(); the rest of the interval is
  // lost.
  void Lose(zepStatus status, int mcus_done);

  // The bytes, and the arguments of the decoders.
  IntervalReader& reader() { return reader_; }

 private:
  void BeginInterval();
  void FinishInterval();

  Messages* messages_;
  int64_t mcu_count_;
  int64_t mcus_in_interval_;
  IntervalReader reader_;
  int64_t mcus_done_ = 0;
  int64_t mcus_left_ = 0;  // in the current interval
  bool lost_ = false;
  bool is_passed_over_ = false;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SCAN_SOURCE_H_
