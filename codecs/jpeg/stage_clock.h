// SPDX-License-Identifier: MIT
// Measures how long the stages of a codec take.
#ifndef ZEPJP_CODECS_JPEG_STAGE_CLOCK_H_
#define ZEPJP_CODECS_JPEG_STAGE_CLOCK_H_

#include <chrono>

namespace zepcodec::jpeg {

// Seconds.
struct StageTimes {
  double huffman = 0;  // entropy coding of the blocks
  double dct = 0;      // DCT and quantization
  double color = 0;    // colour conversion and sampling
};

// Splits the time since its construction among the stages. Without a place for the results it does
// not read the clock.
class StageClock {
 public:
  explicit StageClock(StageTimes* times) : times_(times) {
    if (times_ != nullptr) last_ = Clock::now();
  }

  // Adds the time since the last lap to `stage`.
  void Lap(double StageTimes::*stage) {
    if (times_ == nullptr) return;
    const Clock::time_point now = Clock::now();
    times_->*stage += std::chrono::duration<double>(now - last_).count();
    last_ = now;
  }

  // What passed since the last lap belongs to no stage of this clock's.
  void Skip() {
    if (times_ != nullptr) last_ = Clock::now();
  }

 private:
  using Clock = std::chrono::steady_clock;
  StageTimes* times_;
  Clock::time_point last_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_STAGE_CLOCK_H_
