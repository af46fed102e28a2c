// SPDX-License-Identifier: MIT
#include "codecs/jpeg/scan_encoder.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "codecs/jpeg/markers/markers.h"

namespace zepcodec::jpeg {
namespace {

std::vector<const uint16_t*> StepsOf(const std::vector<const CoderTables*>& tables) {
  std::vector<const uint16_t*> steps;
  steps.reserve(tables.size());
  for (const CoderTables* of_component : tables) steps.push_back(of_component->steps);
  return steps;
}

}  // namespace

ScanEncoder::ScanEncoder(const Geometry& geometry, const std::vector<const CoderTables*>& tables,
                         const EncodeOptions& options, int first_row, ByteBuffer* file)
    : mcus_per_row_(geometry.mcus_per_row),
      restart_interval_(options.restart_interval),
      maker_(geometry, StepsOf(tables), IsPrecise(options)),
      file_(file),
      first_row_(first_row),
      row_(first_row),
      is_band_(first_row > 0) {
  for (size_t i = 0; i < tables.size(); ++i) {
    const ComponentGeometry& place = geometry.components[i];
    parts_.push_back({place, tables[i], 0});
    blocks_in_mcu_ += place.h * place.v;
  }
  zepiEncodeHuffmanStateInit_JPEG_8u(&state_);
  if (restart_interval_ == 0) return;
  // A band whose first MCU begins an interval begins with the marker.
  const int64_t before = int64_t{first_row} * mcus_per_row_;
  const int64_t begun = (before + restart_interval_ - 1) / restart_interval_;
  restarts_ = std::max<int64_t>(begun, 1) - 1;
  mcus_left_ = static_cast<int>((begun + (first_row == 0 ? 1 : 0)) * restart_interval_ - before);
}

Status ScanEncoder::EncodeRow(const StripMaker& strip) {
  const int chunk = kChunkBlocks / blocks_in_mcu_;
  for (int mcu = 0, count = 0; mcu < mcus_per_row_; mcu += count) {
    if (restart_interval_ > 0 && mcus_left_ == 0) {
      if (Status status = Restart(); !status.ok()) return status;
    }
    const bool waits = is_band_ && row_ == first_row_ && mcu == 0 && !has_restart_;
    count = waits ? 1 : std::min(chunk, mcus_per_row_ - mcu);
    if (restart_interval_ > 0) count = std::min(count, mcus_left_);
    strip.FetchNext(row_, mcu, count);
    TransformBlocks(strip, row_, mcu, count);
    if (waits) {
      KeepFirstMcu();
    } else if (Status status = CodeBlocks(count); !status.ok()) {
      return status;
    }
    mcus_left_ -= count;
  }
  ++row_;
  return Status();
}

// It only predicts the DC coefficients of the next MCU.
void ScanEncoder::KeepFirstMcu() {
  first_mcu_.assign(blocks_, blocks_ + ptrdiff_t{64} * blocks_in_mcu_);
  const int16_t* block = blocks_;
  for (Part& part : parts_) {
    block += ptrdiff_t{64} * part.place.h * part.place.v;
    part.last_dc = block[-64];
  }
}

Status ScanEncoder::EncodeFirstMcu(const CodedBand& band, const std::vector<int16_t>& last_dc) {
  std::copy(band.first_mcu.begin(), band.first_mcu.end(), blocks_);
  for (size_t i = 0; i < parts_.size(); ++i) parts_[i].last_dc = last_dc[i];
  return CodeBlocks(1);
}

void ScanEncoder::TransformBlocks(const StripMaker& strip, int row, int first_mcu, int mcus) {
  int16_t* first = blocks_;
  for (size_t i = 0; i < parts_.size(); ++i) {
    const ComponentGeometry& place = parts_[i].place;
    maker_.Make(strip, row, i, first_mcu, mcus, {first, 64 * blocks_in_mcu_, 64 * place.h});
    first += 64 * place.h * place.v;
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
  if (is_band_ && !has_restart_) {
    head_size_ = file_->size();
    head_ = OpenBitsOf(state_);
    zepiEncodeHuffmanStateInit_JPEG_8u(&state_);
  } else if (Status status = Finish(); !status.ok()) {
    return status;
  }
  has_restart_ = true;
  const uint8_t marker[2] = {0xFF, static_cast<uint8_t>(kRst0 + restarts_ % 8)};
  if (!file_->Append(marker, sizeof(marker))) return Status::NoMemory();
  ++restarts_;
  mcus_left_ = restart_interval_;
  for (Part& part : parts_) part.last_dc = 0;
  return Status();
}

void ScanEncoder::Describe(CodedBand* band) {
  band->first_mcu = std::move(first_mcu_);
  for (const Part& part : parts_) band->last_dc.push_back(part.last_dc);
  band->has_restart = has_restart_;
  band->head_size = has_restart_ ? head_size_ : file_->size();
  band->head = has_restart_ ? head_ : OpenBitsOf(state_);
  band->tail = OpenBitsOf(state_);
}

}  // namespace zepcodec::jpeg
