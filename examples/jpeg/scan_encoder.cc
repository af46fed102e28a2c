// SPDX-License-Identifier: MIT
#include "jpeg/scan_encoder.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "jpeg/markers.h"

namespace jpeg {
namespace {

// Samples of 8 bits through the transform of 12 bits, which rounds only once: a sample of 128 becomes
// the 2048 of its level shift.
void PreciseTransform(const uint8_t* samples, int step, int16_t* block, const uint16_t* steps) {
  uint16_t words[64];
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) words[8 * y + x] = static_cast<uint16_t>(samples[x] + 1920);
    samples += step;
  }
  zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(words, 16, block, steps);
}

void FastTransform(const uint8_t* samples, int step, int16_t* block, const uint16_t* steps) {
  zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples, step, block, steps);
}

}  // namespace

ScanEncoder::ScanEncoder(const Geometry& geometry, const std::vector<const CoderTables*>& tables,
                         const EncodeOptions& options, ByteBuffer* file)
    : mcus_per_row_(geometry.mcus_per_row),
      restart_interval_(options.restart_interval),
      precise_dct_(options.precise_dct),
      file_(file),
      times_(options.times),
      mcus_left_(options.restart_interval) {
  for (size_t i = 0; i < tables.size(); ++i) {
    const ComponentGeometry& place = geometry.components[i];
    parts_.push_back({place, tables[i], 0});
    blocks_in_mcu_ += place.h * place.v;
  }
  zepiEncodeHuffmanStateInit_JPEG_8u(&state_);
}

Status ScanEncoder::EncodeRow(const StripMaker& strip) {
  StageClock clock(times_);
  const int chunk = kChunkBlocks / blocks_in_mcu_;
  for (int mcu = 0, count = 0; mcu < mcus_per_row_; mcu += count) {
    if (restart_interval_ > 0 && mcus_left_ == 0) {
      if (Status status = Restart(); !status.ok()) return status;
    }
    count = std::min(chunk, mcus_per_row_ - mcu);
    if (restart_interval_ > 0) count = std::min(count, mcus_left_);
    TransformBlocks(strip, mcu, count);
    clock.Lap(&StageTimes::dct);
    if (Status status = CodeBlocks(count); !status.ok()) return status;
    clock.Lap(&StageTimes::huffman);
    mcus_left_ -= count;
  }
  ++row_;
  return Status();
}

// A block that lies wholly beyond its component costs least as a copy of the one before it in the
// MCU without AC coefficients.
void ScanEncoder::TransformBlocks(const StripMaker& strip, int first_mcu, int mcus) {
  const int step = strip.step();
  const auto transform = precise_dct_ ? PreciseTransform : FastTransform;
  int16_t* block = blocks_;
  for (int mcu = first_mcu; mcu < first_mcu + mcus; ++mcu) {
    for (size_t i = 0; i < parts_.size(); ++i) {
      const ComponentGeometry& place = parts_[i].place;
      for (int y = 0; y < place.v; ++y) {
        const uint8_t* row = strip.Samples(i) + y * 8 * step;
        const bool row_exists = row_ * place.v + y < place.block_rows;
        for (int x = mcu * place.h; x < (mcu + 1) * place.h; ++x, block += 64) {
          if (row_exists && x < place.blocks_per_row) {
            transform(row + x * 8, step, block, parts_[i].tables->steps);
          } else {
            std::memset(block, 0, 64 * sizeof(*block));
            block[0] = block[-64];
          }
        }
      }
    }
  }
}

Status ScanEncoder::CodeBlocks(int mcus) {
  const size_t room = static_cast<size_t>(mcus * blocks_in_mcu_) * kMostBytesOfBlock;
  if (!file_->MakeRoom(room)) return Status::NoMemory();
  uint8_t* out = file_->data() + file_->size();
  int32_t at = 0;
  const int16_t* block = blocks_;
  zepStatus status = zepStatusOk;
  for (int mcu = 0; mcu < mcus; ++mcu) {
    for (Part& part : parts_) {
      for (int i = part.place.h * part.place.v; i > 0; --i, block += 64) {
        status = std::min(status, zepiEncodeHuffman8x8_JPEG_16s1u_C1(
                                      block, out, static_cast<int32_t>(room), &at, &part.last_dc,
                                      &part.tables->dc, &part.tables->ac, &state_, 0));
      }
    }
  }
  const bool kept = file_->Resize(file_->size() + static_cast<size_t>(at));
  if (kept && status == zepStatusOk) return Status();
  return Status::Error(std::string("coding a block failed: ") + zepStatusName(status));
}

Status ScanEncoder::Finish() {
  constexpr int32_t kRoom = 8;
  if (!file_->MakeRoom(kRoom)) return Status::NoMemory();
  int32_t at = 0;
  const zepStatus status = zepiEncodeHuffman8x8_JPEG_16s1u_C1(
      nullptr, file_->data() + file_->size(), kRoom, &at, nullptr, nullptr, nullptr, &state_, 1);
  const bool kept = file_->Resize(file_->size() + static_cast<size_t>(at));
  if (kept && status == zepStatusOk) return Status();
  return Status::Error(std::string("ending the data failed: ") + zepStatusName(status));
}

Status ScanEncoder::Restart() {
  if (Status status = Finish(); !status.ok()) return status;
  const uint8_t marker[2] = {0xFF, static_cast<uint8_t>(kRst0 + restarts_ % 8)};
  if (!file_->Append(marker, sizeof(marker))) return Status::NoMemory();
  ++restarts_;
  mcus_left_ = restart_interval_;
  for (Part& part : parts_) part.last_dc = 0;
  return Status();
}

}  // namespace jpeg
