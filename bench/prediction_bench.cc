// SPDX-License-Identifier: MIT
// Prediction of rows in lossless JPEG beside a plain copy, the limit of the memory.
//
// Rows: <export>/<who>/<predictor>; the row of 4096 samples stays in the first-level cache.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "zepjp.h"

namespace {

constexpr int32_t kWidth = 4096;

template <class Work>
void Register(const std::string& name, const Work& work) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    std::vector<int16_t> src(kWidth), above(kWidth), dst(kWidth);
    for (size_t i = 0; i < src.size(); ++i) {
      src[i] = static_cast<int16_t>(i * 2654435761U >> 13);
      above[i] = static_cast<int16_t>(i * 2654435761U >> 9);
    }
    for (auto _ : state) {
      work(src.data(), above.data(), dst.data());
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kWidth);
  });
}

const bool registered = [] {
  const auto copy = [](const int16_t* src, const int16_t*, int16_t* dst) {
    std::memcpy(dst, src, 2 * kWidth);
  };
  const auto pair = [&](const std::string& name, const std::string& kind, auto ours) {
    Register(name + "/ours/" + kind, ours);
    Register(name + "/rival/" + kind, copy);
  };
  pair("zepiDiffPredFirstRow_JPEG_16s_C1", "first",
       [](const int16_t* src, const int16_t*, int16_t* dst) {
         zepiDiffPredFirstRow_JPEG_16s_C1(src, dst, kWidth, 16, 0);
       });
  pair("zepiReconstructPredFirstRow_JPEG_16s_C1", "first",
       [](const int16_t* src, const int16_t*, int16_t* dst) {
         zepiReconstructPredFirstRow_JPEG_16s_C1(src, dst, kWidth, 16, 0);
       });
  for (int32_t predictor = 1; predictor <= 7; ++predictor) {
    const std::string kind = std::to_string(predictor);
    pair("zepiDiffPredRow_JPEG_16s_C1", kind,
         [=](const int16_t* src, const int16_t* above, int16_t* dst) {
           zepiDiffPredRow_JPEG_16s_C1(src, above, dst, kWidth, predictor);
         });
    pair("zepiReconstructPredRow_JPEG_16s_C1", kind,
         [=](const int16_t* src, const int16_t* above, int16_t* dst) {
           zepiReconstructPredRow_JPEG_16s_C1(src, above, dst, kWidth, predictor);
         });
  }
  return true;
}();

}  // namespace
