// SPDX-License-Identifier: MIT
#include "codecs/jpeg/scan_source.h"

#include <algorithm>
#include <string>
#include <utility>

namespace zepcodec::jpeg {

ScanSource::ScanSource(const uint8_t* data, size_t size, Intervals intervals, int64_t mcu_count,
                       int restart_interval, Messages* messages)
    : messages_(messages),
      mcu_count_(mcu_count),
      mcus_in_interval_(McusInAnInterval(mcu_count, restart_interval)),
      reader_(data, size, std::move(intervals)) {}

bool ScanSource::Begin() {
  if (mcus_left_ > 0) return false;
  BeginInterval();
  return true;
}

void ScanSource::End(int64_t mcus) {
  mcus_done_ += mcus;
  mcus_left_ -= mcus;
  if (mcus_left_ == 0) FinishInterval();
  reader_.KeepInRange();
}

void ScanSource::BeginInterval() {
  const int64_t mcus = mcu_count_ - mcus_done_;
  const size_t missing = reader_.Next(mcus_done_ > 0 && !lost_);
  lost_ = missing > 0;
  is_passed_over_ = false;
  mcus_left_ = std::min(mcus_in_interval_, mcus);
  if (reader_.is_repaired()) {
    messages_->AddAt(reader_.offset() - 2, Place("MCU", mcus_done_),
                     "a damaged restart marker, read as one");
  }
  if (!lost_) return;
  mcus_left_ = std::min(mcus_in_interval_ * static_cast<int64_t>(missing), mcus);
  messages_->AddAt(
      reader_.offset(), Place("MCU", mcus_done_),
      (missing == 1 ? "a restart interval" : std::to_string(missing) + " restart intervals") +
          " of " + std::to_string(mcus_left_) + " MCUs " +
          (missing == 1 ? "is missing" : "in all are missing"));
}

void ScanSource::FinishInterval() {
  const size_t left = lost_ || is_passed_over_ ? 0 : reader_.LeftOver();
  if (left == 0) return;
  lost_ = true;  // the reader does not stand at the next marker
  messages_->AddAt(reader_.offset(), Place("MCU", mcus_done_ - 1),
                   std::to_string(left) + " bytes are left over; damage before them");
}

void ScanSource::Lose(zepStatus status, int mcus_done) {
  lost_ = true;
  const std::string left = std::to_string(mcus_left_ - mcus_done);
  messages_->AddAt(reader_.offset(), Place("MCU", mcus_done_ + mcus_done),
                   Reason(status) + "; " + left + " MCUs are lost");
}

}  // namespace zepcodec::jpeg
