// SPDX-License-Identifier: MIT
// The most that decoding a tile may cost. A small file can announce a large amount of bookkeeping:
// precincts of one sample, code-blocks of 16 samples, changes of order that go through all packets
// again. Files of ordinary encoders stay far below these limits; decoding stops where a file
// exceeds them.
//
// Each tile has an allowance of its own, so that the result does not depend on which thread is
// faster. The allowances of all tiles together are the limit of the picture.
#ifndef ZEPJP_CODECS_JPEG2000_BUDGET_H_
#define ZEPJP_CODECS_JPEG2000_BUDGET_H_

#include <cstdint>

namespace zepcodec::jpeg2000 {

// A unit of work takes about 10 ns: a packet's turn in the order of packets.
constexpr int64_t kFreeWork = int64_t{1} << 26;  // shared out among the tiles
constexpr int64_t kWorkForByte = 64;
constexpr int64_t kWorkForSample = 4;
// Costs of single steps.
constexpr int64_t kWorkOfResolution = 16;  // its geometry
constexpr int64_t kWorkOfPrecinct = 4;     // its state
constexpr int64_t kWorkOfPlace = 16;       // place in the order of packets, with sorting
constexpr int64_t kWorkOfBlock = 3;        // in a packet that is not empty
constexpr int64_t kWorkOfHeaderByte = 4;

// Memory for the bookkeeping of each tile that is being decoded, in bytes.
constexpr int64_t kFreeMemory = int64_t{1} << 24;
constexpr int64_t kMemoryForByte = 1024;
constexpr int64_t kMemoryForSample = 4;

class Budget {
 public:
  // The allowance of one of `tiles` tiles, with `bytes` bytes of data and `samples` samples.
  Budget(int64_t bytes, int64_t samples, int64_t tiles)
      : work_(kFreeWork / tiles + kWorkForByte * bytes + kWorkForSample * samples),
        memory_left_(kFreeMemory + kMemoryForByte * bytes + kMemoryForSample * samples) {}

  // Takes work from the allowance. False: not enough is left, and the work must not be done.
  [[nodiscard]] bool Work(int64_t units) {
    if (units > work_ - worked_) return false;
    worked_ += units;
    return true;
  }
  [[nodiscard]] bool Memory(int64_t bytes) {
    if (bytes > memory_left_) return false;
    memory_left_ -= bytes;
    return true;
  }
  int64_t worked() const { return worked_; }

 private:
  int64_t work_;
  int64_t worked_ = 0;
  int64_t memory_left_;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_BUDGET_H_
