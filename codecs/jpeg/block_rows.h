// SPDX-License-Identifier: MIT
// From the joined parts of a scan to rows of samples.
#ifndef ZEPJP_CODECS_JPEG_BLOCK_ROWS_H_
#define ZEPJP_CODECS_JPEG_BLOCK_ROWS_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "codecs/jpeg/coded_part.h"
#include "codecs/jpeg/plane.h"
#include "codecs/jpeg/scan_decoder.h"

namespace zepcodec::jpeg {

// The blocks of a band, to be fetched in their order.
class BlockSource {
 public:
  explicit BlockSource(std::vector<BlockRun> runs) : runs_(std::move(runs)) {}

  // What follows begins with block `index`, which is not before those fetched already.
  void Seek(int64_t index) {
    while (index >= runs_[run_].first + runs_[run_].count) ++run_;
    next_ = index - runs_[run_].first;
  }

  // A copy with the right DC coefficient goes to `room`, if the part does not have the block so.
  const int16_t* Next(size_t component, int16_t* room) {
    while (next_ == runs_[run_].count) {
      ++run_;
      next_ = 0;
    }
    const BlockRun& run = runs_[run_];
    const int16_t* block = run.blocks + 64 * next_++;
    // The part may still be in the cache of another processor.
    constexpr int64_t kAhead = 16;
    if (next_ + kAhead < run.count) {
      __builtin_prefetch(block + 64 * kAhead);
      __builtin_prefetch(block + 64 * kAhead + 32);
    }
    const int16_t offset = run.dc_offset[component];
    if (offset == 0) return block;
    std::memcpy(room, block, 64 * sizeof(*room));
    room[0] = static_cast<int16_t>(static_cast<uint16_t>(block[0] + offset));
    return room;
  }

 private:
  std::vector<BlockRun> runs_;
  size_t run_ = 0;
  int64_t next_ = 0;
};

// The blocks of an MCU.
int64_t BlocksInMcu(const ScanLayout& layout);

// Reconstructs the blocks of a row of MCUs that lie in the window.
void MakeRow(const ScanLayout& layout, int row, BlockSource* source, std::vector<Plane>* planes);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_BLOCK_ROWS_H_
