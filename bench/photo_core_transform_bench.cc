// SPDX-License-Identifier: MIT
// The photo core transform beside libjxr's transform of one block, which takes 16 contiguous 32-bit
// integers: one call for each block of the area, on memory in that order. libjxr has no transforms
// of 16-bit integers or floats, so the same one is the rival of those.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "zepjp.h"

extern "C" {
void strDCT4x4Stage1(int* block);
void strIDCT4x4Stage1(int* block);
}

namespace {

constexpr int kSide = 128;  // of a region, which fits the first or second-level cache
constexpr size_t kCount = kSide * kSide;

template <class T>
std::vector<T> Samples(size_t count) {
  std::vector<T> samples(count);
  uint32_t state = 1;
  for (T& sample : samples) {
    state = state * 1664525U + 1013904223U;
    sample = static_cast<T>(static_cast<int32_t>(state >> 24) - 128);
  }
  return samples;
}

void Report(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * int64_t{kCount});
}

// Areas lie one after another. One area again and again would only measure the way from its last
// stores to its next loads. Integers may wrap; floats would grow to infinity, so they are reset,
// and the time of that counts.
template <class T, class Call>
void Ours(benchmark::State& state, Call call, int width, int height) {
  const auto area = static_cast<size_t>(width * height);
  const std::vector<T> input = Samples<T>(kCount);
  std::vector<T> samples = input;
  const int32_t step = width * static_cast<int32_t>(sizeof(T));
  for (auto _ : state) {
    if (std::is_floating_point_v<T>) std::memcpy(samples.data(), input.data(), kCount * sizeof(T));
    for (size_t i = 0; i < kCount; i += area) call(&samples[i], step, zepiSize{width, height});
    benchmark::ClobberMemory();
  }
  Report(state);
}

void Rival(benchmark::State& state, void (*call)(int*)) {
  std::vector<int> samples = Samples<int>(kCount);
  for (auto _ : state) {
    for (size_t i = 0; i < kCount; i += 16) call(&samples[i]);
    benchmark::ClobberMemory();
  }
  Report(state);
}

template <class T, class Call>
void Add(const std::string& name, Call call, void (*rival)(int*), int width, int height) {
  const std::string label = std::to_string(width) + "x" + std::to_string(height);
  benchmark::RegisterBenchmark((name + "/ours/" + label).c_str(), Ours<T, Call>, call, width,
                               height);
  benchmark::RegisterBenchmark((name + "/rival/" + label).c_str(), Rival, rival);
}

#define ADD_REGION(name, T, rival)                                                               \
  Add<T>(                                                                                        \
      #name, [](T* data, int32_t step, zepiSize size) { name(data, step, size); }, rival, kSide, \
      kSide)
#define ADD_AREA(name, T, rival, width, height) \
  Add<T>(                                       \
      #name, [](T* data, int32_t step, zepiSize) { name(data, step); }, rival, width, height)
#define ADD_TRANSFORM(T, rival, region, area16x16, area8x16, area8x8) \
  ADD_REGION(region, T, rival);                                       \
  ADD_AREA(area16x16, T, rival, 16, 16);                              \
  ADD_AREA(area8x16, T, rival, 8, 16);                                \
  ADD_AREA(area8x8, T, rival, 8, 8)

const bool added = [] {
  ADD_TRANSFORM(int16_t, strDCT4x4Stage1, zepiPCTFwd_JPEGXR_16s_C1IR,
                zepiPCTFwd16x16_JPEGXR_16s_C1IR, zepiPCTFwd8x16_JPEGXR_16s_C1IR,
                zepiPCTFwd8x8_JPEGXR_16s_C1IR);
  ADD_TRANSFORM(int16_t, strIDCT4x4Stage1, zepiPCTInv_JPEGXR_16s_C1IR,
                zepiPCTInv16x16_JPEGXR_16s_C1IR, zepiPCTInv8x16_JPEGXR_16s_C1IR,
                zepiPCTInv8x8_JPEGXR_16s_C1IR);
  ADD_TRANSFORM(int32_t, strDCT4x4Stage1, zepiPCTFwd_JPEGXR_32s_C1IR,
                zepiPCTFwd16x16_JPEGXR_32s_C1IR, zepiPCTFwd8x16_JPEGXR_32s_C1IR,
                zepiPCTFwd8x8_JPEGXR_32s_C1IR);
  ADD_TRANSFORM(int32_t, strIDCT4x4Stage1, zepiPCTInv_JPEGXR_32s_C1IR,
                zepiPCTInv16x16_JPEGXR_32s_C1IR, zepiPCTInv8x16_JPEGXR_32s_C1IR,
                zepiPCTInv8x8_JPEGXR_32s_C1IR);
  ADD_TRANSFORM(float, strDCT4x4Stage1, zepiPCTFwd_JPEGXR_32f_C1IR, zepiPCTFwd16x16_JPEGXR_32f_C1IR,
                zepiPCTFwd8x16_JPEGXR_32f_C1IR, zepiPCTFwd8x8_JPEGXR_32f_C1IR);
  ADD_TRANSFORM(float, strIDCT4x4Stage1, zepiPCTInv_JPEGXR_32f_C1IR,
                zepiPCTInv16x16_JPEGXR_32f_C1IR, zepiPCTInv8x16_JPEGXR_32f_C1IR,
                zepiPCTInv8x8_JPEGXR_32f_C1IR);
  return true;
}();

}  // namespace
