// SPDX-License-Identifier: MIT
// Prediction of rows in lossless JPEG beside plain loops, which the compiler may turn into vectors,
// and beside a copy, the limit of the memory.
//
// Rows: <export>/<who>/<predictor>; the row of 4096 samples stays in the first-level cache.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <utility>

#include "zepjp.h"

namespace {

constexpr int32_t kWidth = 4096;
// From row to row: the rows differ in the low 12 bits of their addresses, by which processors
// compare loads with stores at first.
constexpr size_t kDistance = kWidth + 512;

template <class Work>
void Register(const std::string& name, const Work& work) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    alignas(64) static int16_t rows[3][kDistance];
    for (size_t i = 0; i < kWidth; ++i) {
      rows[0][i] = static_cast<int16_t>(i * 2654435761U >> 13);
      rows[1][i] = static_cast<int16_t>(i * 2654435761U >> 9);
    }
    for (auto _ : state) {
      work(rows[0], rows[1], rows[2]);
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kWidth);
  });
}

// The prediction from the samples to the left (a), above (b), and above to the left (c).
template <int kPredictor>
int32_t Predict(int32_t a, int32_t b, int32_t c) {
  switch (kPredictor) {
    case 1: return a;
    case 2: return b;
    case 3: return c;
    case 4: return a + b - c;
    case 5: return a + ((b - c) >> 1);
    case 6: return b + ((a - c) >> 1);
    default: return (a + b) >> 1;
  }
}

template <int kPredictor>
void PlainDifferences(const int16_t* src, const int16_t* above, int16_t* dst) {
  dst[0] = static_cast<int16_t>(src[0] - above[0]);
  for (int32_t x = 1; x < kWidth; ++x) {
    const int32_t prediction = Predict<kPredictor>(src[x - 1], above[x], above[x - 1]);
    dst[x] = static_cast<int16_t>(src[x] - prediction);
  }
}

template <int kPredictor>
void PlainReconstruction(const int16_t* src, const int16_t* above, int16_t* dst) {
  int32_t left = dst[0] = static_cast<int16_t>(src[0] + above[0]);
  for (int32_t x = 1; x < kWidth; ++x) {
    const int32_t prediction = Predict<kPredictor>(left, above[x], above[x - 1]);
    left = dst[x] = static_cast<int16_t>(src[x] + prediction);
  }
}

template <class Ours, class Rival>
void Pair(const std::string& name, const std::string& kind, const Ours& ours, const Rival& rival) {
  Register(name + "/ours/" + kind, ours);
  Register(name + "/rival/" + kind, rival);
}

template <int kPredictor>
void RegisterPredictor() {
  const std::string kind = std::to_string(kPredictor);
  Pair(
      "zepiDiffPredRow_JPEG_16s_C1", kind,
      [](const int16_t* src, const int16_t* above, int16_t* dst) {
        zepiDiffPredRow_JPEG_16s_C1(src, above, dst, kWidth, kPredictor);
      },
      PlainDifferences<kPredictor>);
  Pair(
      "zepiReconstructPredRow_JPEG_16s_C1", kind,
      [](const int16_t* src, const int16_t* above, int16_t* dst) {
        zepiReconstructPredRow_JPEG_16s_C1(src, above, dst, kWidth, kPredictor);
      },
      PlainReconstruction<kPredictor>);
}

template <int... kPredictors>
void RegisterPredictors(std::integer_sequence<int, kPredictors...>) {
  (RegisterPredictor<kPredictors + 1>(), ...);
}

const bool registered = [] {
  Pair(
      "zepiDiffPredFirstRow_JPEG_16s_C1", "first",
      [](const int16_t* src, const int16_t*, int16_t* dst) {
        zepiDiffPredFirstRow_JPEG_16s_C1(src, dst, kWidth, 16, 0);
      },
      [](const int16_t* src, const int16_t* above, int16_t* dst) {
        PlainDifferences<1>(src, above, dst);
      });
  Pair(
      "zepiReconstructPredFirstRow_JPEG_16s_C1", "first",
      [](const int16_t* src, const int16_t*, int16_t* dst) {
        zepiReconstructPredFirstRow_JPEG_16s_C1(src, dst, kWidth, 16, 0);
      },
      [](const int16_t* src, const int16_t* above, int16_t* dst) {
        PlainReconstruction<1>(src, above, dst);
      });
  RegisterPredictors(std::make_integer_sequence<int, 7>());
  Register("copy_row/bound/4096", [](const int16_t* src, const int16_t*, int16_t* dst) {
    std::memcpy(dst, src, 2 * kWidth);
  });
  return true;
}();

}  // namespace
