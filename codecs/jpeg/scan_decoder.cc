// SPDX-License-Identifier: MIT
#include "codecs/jpeg/scan_decoder.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace zepcodec::jpeg {

ScanDecoder::ScanDecoder(const uint8_t* data, size_t size, Intervals intervals,
                         const ScanLayout& layout, Messages* messages)
    : mcus_per_row_(layout.mcus_per_row),
      window_(layout.window),
      source_(data, size, std::move(intervals), layout.McuCount(), layout.restart_interval,
              messages) {
  for (const ScanPart& part : layout.parts) {
    parts_.push_back({part, TransformFor(part.block_size), 0});
    blocks_in_mcu_ += part.blocks_across * part.blocks_down;
  }
}

void ScanDecoder::DecodeRow(int row) {
  const int chunk = kChunkBlocks / blocks_in_mcu_;
  for (int mcu = 0, count = 0; mcu < mcus_per_row_; mcu += count) {
    if (source_.Begin()) BeginInterval(int64_t{row} * mcus_per_row_ + mcu);
    const int most = source_.is_passed_over() ? mcus_per_row_ : chunk;
    count = std::min(most, mcus_per_row_ - mcu);
    count = static_cast<int>(std::min<int64_t>(count, source_.mcus_left()));
    if (!source_.is_passed_over()) {
      DecodeBlocks(count);
      ReconstructBlocks(row, mcu, count);
    }
    source_.End(count);
  }
}

void ScanDecoder::BeginInterval(int64_t first_mcu) {
  for (Part& part : parts_) part.last_dc = 0;
  const bool is_wanted = window_.Meets(first_mcu, source_.mcus_left(), mcus_per_row_);
  if (!is_wanted && source_.MayPassOver()) source_.PassOver();
}

void ScanDecoder::DecodeBlocks(int mcus) {
  IntervalReader& from = source_.reader();
  int16_t* block = blocks_;
  for (int mcu = 0; mcu < mcus; ++mcu) {
    for (Part& part : parts_) {
      for (int i = part.blocks_across * part.blocks_down; i > 0; --i, block += 64) {
        if (!source_.lost()) {
          const zepStatus status = zepiDecodeHuffman8x8_JPEG_1u16s_C1(
              from.bytes(), from.length(), from.at(), block, &part.last_dc, from.marker(), part.dc,
              part.ac, from.state());
          if (status == zepStatusOk) continue;
          source_.Lose(status, mcu);
        }
        std::memset(block, 0, 64 * sizeof(*block));
        block[0] = part.last_dc;
      }
    }
  }
}

// Those inside the window.
void ScanDecoder::ReconstructBlocks(int row, int first_mcu, int mcus) {
  const int first = std::max(first_mcu, window_.first_column);
  const int end = std::min(first_mcu + mcus, window_.end_column);
  if (row < window_.first_row || first >= end) return;
  const int16_t* block = blocks_ + ptrdiff_t{first - first_mcu} * blocks_in_mcu_ * 64;
  for (int mcu = first; mcu < end; ++mcu) {
    for (const Part& part : parts_) {
      const int step = part.plane->step();
      const int left = (mcu - window_.first_column) * part.blocks_across * part.block_size;
      for (int y = 0; y < part.blocks_down; ++y) {
        uint8_t* samples = part.plane->Row((row * part.blocks_down + y) * part.block_size) + left;
        for (int x = 0; x < part.blocks_across; ++x, block += 64) {
          part.inverse(block, samples + x * part.block_size, step, part.steps);
        }
      }
    }
  }
}

}  // namespace zepcodec::jpeg
