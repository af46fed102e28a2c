// SPDX-License-Identifier: MIT
#include "jpeg/scan_source.h"

#include <algorithm>
#include <string>

namespace jpeg {
namespace {

std::string Reason(zepStatus status) {
  switch (status) {
    case zepStatusBufferExhausted: return "the file ends within the picture";
    case zepStatusBadHuffCode: return "no such Huffman code, or a marker too early";
    default: return zepStatusName(status);
  }
}

}  // namespace

ScanSource::ScanSource(const uint8_t* data, size_t size, size_t begin, int64_t mcu_count,
                       int restart_interval, Messages* messages)
    : data_(data),
      size_(size),
      messages_(messages),
      mcu_count_(mcu_count),
      restart_interval_(restart_interval) {
  const int64_t count = (mcu_count_ + McusInAnInterval() - 1) / McusInAnInterval();
  intervals_ = FindIntervals(data, size, begin, static_cast<size_t>(count), messages);
}

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
  if (at_ > length_ / 2) Rebase();
}

void ScanSource::BeginInterval() {
  mcus_left_ = std::min(McusInAnInterval(), mcu_count_ - mcus_done_);
  const size_t start = intervals_.starts[interval_++];
  lost_ = start == Intervals::kLost;
  if (lost_) {
    messages_->Add(Offset(), mcus_done_,
                   "a restart interval of " + std::to_string(mcus_left_) + " MCUs is missing");
    return;
  }
  base_ = start;
  at_ = 0;
  marker_ = 0;
  Rebase();
  zepiDecodeHuffmanStateInit_JPEG_8u(&state_);
}

void ScanSource::Rebase() {
  base_ += static_cast<size_t>(at_);
  at_ = 0;
  length_ = static_cast<int32_t>(std::min<size_t>(size_ - base_, INT32_MAX));
}

// Much data that no block asked for is a sign of damage that made no bad code.
void ScanSource::FinishInterval() {
  constexpr size_t kMayRemain = 8;
  if (lost_) return;
  size_t next = intervals_.end;
  if (interval_ < intervals_.starts.size()) {
    if (intervals_.starts[interval_] == Intervals::kLost) return;
    next = intervals_.starts[interval_] - 2;
  }
  if (next <= Offset() + kMayRemain) return;
  messages_->Add(Offset(), mcus_done_ - 1,
                 std::to_string(next - Offset()) + " bytes are left over; damage before them");
}

void ScanSource::Lose(zepStatus status, int mcus_done) {
  lost_ = true;
  const std::string left = std::to_string(mcus_left_ - mcus_done);
  messages_->Add(Offset(), mcus_done_ + mcus_done, Reason(status) + "; " + left + " MCUs are lost");
}

}  // namespace jpeg
