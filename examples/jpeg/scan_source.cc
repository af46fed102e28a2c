// SPDX-License-Identifier: MIT
#include "jpeg/scan_source.h"

#include <algorithm>
#include <string>

namespace jpeg {
ScanSource::ScanSource(const uint8_t* data, size_t size, size_t begin, int64_t mcu_count,
                       int restart_interval, Messages* messages)
    : messages_(messages),
      mcu_count_(mcu_count),
      restart_interval_(restart_interval),
      reader_(data, size,
              FindIntervals(
                  data, size, begin,
                  static_cast<size_t>((mcu_count + McusInAnInterval() - 1) / McusInAnInterval()),
                  messages)) {}

int64_t ScanSource::McusInAnInterval() const {
  return restart_interval_ > 0 ? restart_interval_ : mcu_count_;
}

bool ScanSource::Begin() {
  if (mcus_left_ > 0) return false;
  BeginInterval();
  return true;
}

void ScanSource::End(int mcus) {
  mcus_done_ += mcus;
  mcus_left_ -= mcus;
  if (mcus_left_ == 0) FinishInterval();
  reader_.KeepInRange();
}

void ScanSource::BeginInterval() {
  mcus_left_ = std::min(McusInAnInterval(), mcu_count_ - mcus_done_);
  lost_ = !reader_.Next();
  if (!lost_) return;
  messages_->Add(reader_.offset(), mcus_done_,
                 "a restart interval of " + std::to_string(mcus_left_) + " MCUs is missing");
}

void ScanSource::FinishInterval() {
  const size_t left = lost_ ? 0 : reader_.LeftOver();
  if (left == 0) return;
  messages_->Add(reader_.offset(), mcus_done_ - 1,
                 std::to_string(left) + " bytes are left over; damage before them");
}

void ScanSource::Lose(zepStatus status, int mcus_done) {
  lost_ = true;
  const std::string left = std::to_string(mcus_left_ - mcus_done);
  messages_->Add(reader_.offset(), mcus_done_ + mcus_done,
                 Reason(status) + "; " + left + " MCUs are lost");
}

}  // namespace jpeg
