// SPDX-License-Identifier: MIT
// What decoding a tile may cost. A small file can announce a large amount of bookkeeping: precincts
// of one sample, code-blocks of 16, changes of order that go through all packets again. Decoding in
// full what honest encoders write stays far below these limits; what goes beyond them is stopped.
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
constexpr int64_t kWorkOfPlace =
    16;                              // a precinct's place in the order of packets, sorting included
constexpr int64_t kWorkOfBlock = 3;  // in a packet that is not empty
constexpr int64_t kWorkOfHeaderByte = 4;

// Memory for bookkeeping, in bytes, of each tile in work.
constexpr int64_t kFreeMemory = int64_t{1} << 24;
constexpr int64_t kMemoryForByte = 1024;
constexpr int64_t kMemoryForSample = 4;

class Budget {
 public:
  // For one of `tiles` tiles, with `bytes` of data and `samples` samples.
  Budget(int64_t bytes, int64_t samples, int64_t tiles)
      : work_(kFreeWork / tiles + kWorkForByte * bytes + kWorkForSample * samples),
        memory_left_(kFreeMemory + kMemoryForByte * bytes + kMemoryForSample * samples) {}

  // False: more than there is; the work must not be done.
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
