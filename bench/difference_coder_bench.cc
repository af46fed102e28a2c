// SPDX-License-Identifier: MIT
// Coding of rows of differences: the noise of a 12-bit sensor, predicted from the left.
//
// Rows: <export>/ours/<components>, in bytes of samples.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "zepjp.h"

namespace {

constexpr int32_t kWidth = 4096;

// A code for the categories 0 to 16, with the lengths 2, 3, 3, 3, 3, 3, 4, 5, ... of the example in
// ITU-T T.81, K.3.
constexpr uint8_t kCounts[16] = {0, 1, 5, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0};
constexpr uint8_t kCategories[16] = {4, 3, 5, 2, 6, 1, 7, 0, 8, 9, 10, 11, 12, 13, 14, 15};

struct Rows {
  explicit Rows(int32_t count) : components(count) {
    zepiEncodeHuffmanSpecInit_JPEG_8u(kCounts, kCategories, &encoder);
    zepiDecodeHuffmanSpecInit_JPEG_8u(kCounts, kCategories, &decoder);
    uint32_t random = 1;
    for (int i = 0; i < 4; ++i) {
      samples[i].resize(kWidth);
      for (int16_t& sample : samples[i]) {
        int32_t sum = 0;  // of four numbers: close to a normal distribution
        for (int k = 0; k < 4; ++k) {
          random = random * 1664525U + 1013904223U;
          sum += static_cast<int32_t>(random >> 27);
        }
        sample = static_cast<int16_t>(sum - 62);
      }
      rows[i] = samples[i].data();
      source[i] = rows[i];
      encoders[i] = &encoder;
      decoders[i] = &decoder;
    }
    bytes.resize(size_t{kWidth} * 4 * 8);
  }
  int32_t Length() const { return static_cast<int32_t>(bytes.size()); }

  int32_t Encode() {
    zepiEncodeHuffmanState state = {};
    int32_t position = 0;
    for (const int32_t flush : {0, 1}) {
      zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(source, bytes.data(), Length(), &position, kWidth,
                                           components, encoders, &state, flush);
    }
    return position;
  }
  void Decode(int32_t length) {
    zepiDecodeHuffmanState state = {};
    int32_t position = 0, marker = 0;
    zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(bytes.data(), length, &position, rows, kWidth, components,
                                         &marker, decoders, &state);
  }

  int32_t components;
  zepiEncodeHuffmanSpec encoder;
  zepiDecodeHuffmanSpec decoder;
  std::vector<int16_t> samples[4];
  int16_t* rows[4];
  const int16_t* source[4];
  const zepiEncodeHuffmanSpec* encoders[4];
  const zepiDecodeHuffmanSpec* decoders[4];
  std::vector<uint8_t> bytes;
};

void SetThroughput(benchmark::State& state, int32_t components) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kWidth * components);
}

// Codes one difference at a time.
void EncodeOnes(Rows& rows) {
  zepiEncodeHuffmanState state = {};
  int32_t position = 0;
  for (const int16_t& sample : rows.samples[0]) {
    zepiEncodeHuffmanOne_JPEG_16s1u_C1(&sample, rows.bytes.data(), rows.Length(), &position,
                                       &rows.encoder, &state, 0);
  }
}
void DecodeOnes(Rows& rows, int32_t length) {
  zepiDecodeHuffmanState state = {};
  int32_t position = 0, marker = 0;
  for (int16_t& sample : rows.samples[0]) {
    zepiDecodeHuffmanOne_JPEG_1u16s_C1(rows.bytes.data(), length, &position, &sample, &marker,
                                       &rows.decoder, &state);
  }
}

template <class Work>
void Register(const std::string& name, int32_t components, const Work& work) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    Rows rows(components);
    const int32_t length = rows.Encode();
    for (auto _ : state) work(rows, length);
    SetThroughput(state, components);
  });
}

const bool registered = [] {
  Register("zepiEncodeHuffmanOne_JPEG_16s1u_C1/ours/1", 1,
           [](Rows& rows, int32_t) { EncodeOnes(rows); });
  Register("zepiDecodeHuffmanOne_JPEG_1u16s_C1/ours/1", 1,
           [](Rows& rows, int32_t length) { DecodeOnes(rows, length); });
  for (const int32_t components : {1, 3}) {
    const std::string count = std::to_string(components);
    Register("zepiEncodeHuffmanRow_JPEG_16s1u_P4C1/ours/" + count, components,
             [](Rows& rows, int32_t) { rows.Encode(); });
    Register("zepiDecodeHuffmanRow_JPEG_1u16s_C1P4/ours/" + count, components,
             [](Rows& rows, int32_t length) { rows.Decode(length); });
  }
  return true;
}();

}  // namespace
