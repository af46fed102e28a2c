// SPDX-License-Identifier: MIT
#include "jpeg/scan_decoder.h"

#include <algorithm>
#include <cstring>

namespace jpeg {
namespace {

// A block as a single sample, the mean of its 64.
zepStatus ZEP_CALL MeanOfBlock(const int16_t* block, uint8_t* samples, int32_t /*step*/,
                               const uint16_t* steps) {
  const int dc = static_cast<int16_t>(static_cast<uint16_t>(block[0] * steps[0]));
  *samples = static_cast<uint8_t>(std::clamp(((dc + 4) >> 3) + 128, 0, 255));
  return zepStatusOk;
}

// At full scale every block goes through the full transform. The functions for corners of 2x2 and
// 4x4 coefficients give the same samples where the rest is zero, but to find such blocks costs more
// than they save (measured on photographs: 40 % more time for this stage).
InverseTransform TransformFor(int block_size) {
  switch (block_size) {
    case 8: return zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R;
    case 4: return zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R;
    case 2: return zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R;
    default: return MeanOfBlock;
  }
}

std::string Reason(zepStatus status) {
  switch (status) {
    case zepStatusBufferExhausted: return "the file ends within the picture";
    case zepStatusBadHuffCode: return "no such Huffman code, or a marker too early";
    default: return zepStatusName(status);
  }
}

}  // namespace

ScanDecoder::ScanDecoder(const uint8_t* data, size_t size, size_t begin, const ScanLayout& layout,
                         Messages* messages, StageTimes* times)
    : data_(data),
      size_(size),
      messages_(messages),
      times_(times),
      mcus_per_row_(layout.mcus_per_row),
      mcu_count_(int64_t{layout.mcus_per_row} * layout.mcu_rows),
      restart_interval_(layout.restart_interval) {
  for (const ScanPart& part : layout.parts) {
    parts_.push_back({part, TransformFor(part.block_size), 0});
    blocks_in_mcu_ += part.blocks_across * part.blocks_down;
  }
  const int64_t count = (mcu_count_ + McusInAnInterval() - 1) / McusInAnInterval();
  intervals_ = FindIntervals(data, size, begin, static_cast<size_t>(count), messages);
}

int64_t ScanDecoder::McusInAnInterval() const {
  return restart_interval_ > 0 ? restart_interval_ : mcu_count_;
}

void ScanDecoder::DecodeRow() {
  StageClock clock(times_);
  const int chunk = kChunkBlocks / blocks_in_mcu_;
  for (int mcu = 0, count = 0; mcu < mcus_per_row_; mcu += count) {
    if (mcus_left_ == 0) BeginInterval();
    count = std::min(chunk, mcus_per_row_ - mcu);
    count = static_cast<int>(std::min<int64_t>(count, mcus_left_));
    DecodeBlocks(count);
    clock.Lap(&StageTimes::huffman);
    ReconstructBlocks(mcu, count);
    clock.Lap(&StageTimes::dct);
    mcus_done_ += count;
    mcus_left_ -= count;
    if (mcus_left_ == 0) FinishInterval();
  }
  ++row_;
  if (at_ > length_ / 2) Rebase();
}

void ScanDecoder::BeginInterval() {
  mcus_left_ = std::min(McusInAnInterval(), mcu_count_ - mcus_done_);
  for (Part& part : parts_) part.last_dc = 0;
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

void ScanDecoder::Rebase() {
  base_ += static_cast<size_t>(at_);
  at_ = 0;
  length_ = static_cast<int32_t>(std::min<size_t>(size_ - base_, INT32_MAX));
}

// Much data that no block asked for is a sign of damage that made no bad code.
void ScanDecoder::FinishInterval() {
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

void ScanDecoder::DecodeBlocks(int mcus) {
  int16_t* block = blocks_;
  for (int mcu = 0; mcu < mcus; ++mcu) {
    for (Part& part : parts_) {
      for (int i = part.blocks_across * part.blocks_down; i > 0; --i, block += 64) {
        if (!lost_) {
          const zepStatus status =
              zepiDecodeHuffman8x8_JPEG_1u16s_C1(data_ + base_, length_, &at_, block, &part.last_dc,
                                                 &marker_, part.dc, part.ac, &state_);
          if (status == zepStatusOk) continue;
          ReportLoss(status, mcu);
        }
        std::memset(block, 0, 64 * sizeof(*block));
        block[0] = part.last_dc;
      }
    }
  }
}

void ScanDecoder::ReportLoss(zepStatus status, int mcus_done) {
  lost_ = true;
  const std::string left = std::to_string(mcus_left_ - mcus_done);
  messages_->Add(Offset(), mcus_done_ + mcus_done, Reason(status) + "; " + left + " MCUs are lost");
}

void ScanDecoder::ReconstructBlocks(int first_mcu, int mcus) {
  const int16_t* block = blocks_;
  for (int mcu = first_mcu; mcu < first_mcu + mcus; ++mcu) {
    for (const Part& part : parts_) {
      const int step = part.plane->step();
      const int left = mcu * part.blocks_across * part.block_size;
      for (int y = 0; y < part.blocks_down; ++y) {
        uint8_t* samples = part.plane->Row((row_ * part.blocks_down + y) * part.block_size) + left;
        for (int x = 0; x < part.blocks_across; ++x, block += 64) {
          part.inverse(block, samples + x * part.block_size, step, part.steps);
        }
      }
    }
  }
}

}  // namespace jpeg
