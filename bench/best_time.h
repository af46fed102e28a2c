// SPDX-License-Identifier: MIT
// The shortest time of several rounds, in milliseconds.
#ifndef ZEPJP_BENCH_BEST_TIME_H_
#define ZEPJP_BENCH_BEST_TIME_H_

#include <algorithm>
#include <chrono>

class BestTime {
 public:
  template <class Function>
  void Time(Function function) {
    const auto start = std::chrono::steady_clock::now();
    function();
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    best_ = std::min(best_, time.count());
  }
  double ms() const { return best_; }

 private:
  double best_ = 1e30;
};

#endif  // ZEPJP_BENCH_BEST_TIME_H_
