// SPDX-License-Identifier: MIT
// Refinement bits of blocks with 1 to 6 bits for each coefficient, beside a plain loop that reads
// and writes one coefficient at a time, like the description in the standard.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "zepjp.h"

namespace {

constexpr size_t kBlocks = 1 << 15;  // too many for branch predictors to remember
constexpr uint8_t kPlaceOf[15] = {2, 1, 7, 8, 15, 12, 11, 4, 3, 5, 6, 13, 14, 9, 10};

struct Stream {
  uint32_t accumulator = 0, count = 0;
};

class PlainReader {
 public:
  explicit PlainReader(const uint8_t* from) : from_(from) {}
  uint32_t Take(uint32_t bits) {
    if (count_ < 16) {
      accumulator_ |= (static_cast<uint32_t>(from_[0]) << 8 | from_[1]) << (16 - count_);
      from_ += 2;
      count_ += 16;
    }
    const uint32_t value = accumulator_ >> (32 - bits);
    accumulator_ <<= bits;
    count_ -= bits;
    return value;
  }

 private:
  const uint8_t* from_;
  uint32_t accumulator_ = 0, count_ = 0;
};

class PlainWriter {
 public:
  explicit PlainWriter(uint8_t* to) : to_(to) {}
  void Put(uint32_t value, uint32_t bits) {
    accumulator_ |= value << (32 - count_ - bits);
    count_ += bits;
    if (count_ < 16) return;
    *to_++ = static_cast<uint8_t>(accumulator_ >> 24);
    *to_++ = static_cast<uint8_t>(accumulator_ >> 16);
    accumulator_ <<= 16;
    count_ -= 16;
  }

 private:
  uint8_t* to_;
  uint32_t accumulator_ = 0, count_ = 0;
};

// Laplacian coefficients; the share that has refinement bits is like that of photographs.
std::vector<int32_t> Coefficients(uint32_t m) {
  std::vector<int32_t> values(16 * kBlocks);
  uint32_t state = 1;
  for (int32_t& value : values) {
    state = state * 1664525U + 1013904223U;
    const int zeros = __builtin_clz(state | 1);
    state = state * 1664525U + 1013904223U;
    const auto magnitude = static_cast<int32_t>(state >> 8 & ((1U << m) - 1)) >> zeros;
    value = state >> 31 != 0 ? -magnitude : magnitude;
  }
  return values;
}

template <class T>
std::vector<T> As(const std::vector<int32_t>& values) {
  std::vector<T> result;
  for (const int32_t value : values) result.push_back(static_cast<T>(value));
  return result;
}

std::vector<uint8_t> Coded(const std::vector<int32_t>& values, uint32_t m) {
  std::vector<uint8_t> bytes(64 * kBlocks);
  uint8_t* to = bytes.data();
  Stream stream;
  const int32_t packed[16] = {};
  for (size_t i = 0; i < kBlocks; ++i) {
    zepiFLCEncode4x4_JPEGXR_32s1u_C1R(&values[16 * i], 16, packed, &to, &stream.accumulator,
                                      &stream.count, m, 0, 0);
  }
  *to++ = static_cast<uint8_t>(stream.accumulator >> 24);
  *to = static_cast<uint8_t>(stream.accumulator >> 16);
  return bytes;
}

void Report(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kBlocks));
}

template <class T, class Call>
void DecodeOurs(benchmark::State& state, Call call, uint32_t m) {
  const std::vector<uint8_t> bytes = Coded(Coefficients(m), m);
  std::vector<T> blocks(16 * kBlocks);
  for (auto _ : state) {
    const uint8_t* from = bytes.data();
    Stream stream;
    for (size_t i = 0; i < kBlocks; ++i) {
      call(&from, &stream.accumulator, &stream.count, &blocks[16 * i], m);
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

template <class T>
void DecodePlain(benchmark::State& state, uint32_t m) {
  const std::vector<uint8_t> bytes = Coded(Coefficients(m), m);
  std::vector<T> blocks(16 * kBlocks);
  benchmark::DoNotOptimize(blocks.data());  // otherwise clang leaves the loop out
  for (auto _ : state) {
    PlainReader reader(bytes.data());
    for (size_t i = 0; i < kBlocks; ++i) {
      for (const uint8_t place : kPlaceOf) {
        const uint32_t q = reader.Take(m);
        if (q == 0) continue;
        const auto value = static_cast<T>(4 * q);
        blocks[16 * i + place] = reader.Take(1) != 0 ? static_cast<T>(-value) : value;
      }
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

template <class T, class Call>
void EncodeOurs(benchmark::State& state, Call call, uint32_t m) {
  const std::vector<T> blocks = As<T>(Coefficients(m));
  std::vector<uint8_t> bytes(64 * kBlocks);
  for (auto _ : state) {
    uint8_t* to = bytes.data();
    Stream stream;
    for (size_t i = 0; i < kBlocks; ++i) {
      call(&blocks[16 * i], &to, &stream.accumulator, &stream.count, m);
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

template <class T>
void EncodePlain(benchmark::State& state, uint32_t m) {
  const std::vector<T> blocks = As<T>(Coefficients(m));
  std::vector<uint8_t> bytes(64 * kBlocks);
  for (auto _ : state) {
    PlainWriter writer(bytes.data());
    for (size_t i = 0; i < kBlocks; ++i) {
      for (const uint8_t place : kPlaceOf) {
        const int value = blocks[16 * i + place];
        writer.Put(static_cast<uint32_t>(std::abs(value)), m);
        if (value != 0) writer.Put(value < 0 ? 1 : 0, 1);
      }
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

template <class T, class Call>
void AddDecoder(const char* name, Call call) {
  for (const uint32_t m : {1U, 2U, 4U, 6U}) {
    const std::string label = std::to_string(m) + " bits";
    benchmark::RegisterBenchmark((std::string(name) + "/ours/" + label).c_str(),
                                 DecodeOurs<T, Call>, call, m);
    benchmark::RegisterBenchmark((std::string(name) + "/rival/" + label).c_str(), DecodePlain<T>,
                                 m);
  }
}

template <class T, class Call>
void AddEncoder(const char* name, Call call) {
  for (const uint32_t m : {1U, 2U, 4U, 6U}) {
    const std::string label = std::to_string(m) + " bits";
    benchmark::RegisterBenchmark((std::string(name) + "/ours/" + label).c_str(),
                                 EncodeOurs<T, Call>, call, m);
    benchmark::RegisterBenchmark((std::string(name) + "/rival/" + label).c_str(), EncodePlain<T>,
                                 m);
  }
}

#define ADD_DECODER(name, T)                                                                      \
  AddDecoder<T>(#name, [](const uint8_t** from, uint32_t* accumulator, uint32_t* count, T* block, \
                          uint32_t m) {                                                           \
    name(from, accumulator, count, block, static_cast<int32_t>(4 * sizeof(T)), m, T{4}, 0);       \
  })
#define ADD_ENCODER(name, T)                                                                    \
  AddEncoder<T>(#name, [](const T* block, uint8_t** to, uint32_t* accumulator, uint32_t* count, \
                          uint32_t m) {                                                         \
    const int32_t packed[1] = {};                                                               \
    name(block, static_cast<int32_t>(4 * sizeof(T)), packed, to, accumulator, count, m, 0, 0);  \
  })

const bool added = [] {
  ADD_DECODER(zepiFLCDecode4x4_JPEGXR_1u32s_C1IR, int32_t);
  ADD_DECODER(zepiFLCDecode4x4_JPEGXR_1u16s_C1IR, int16_t);
  ADD_ENCODER(zepiFLCEncode4x4_JPEGXR_32s1u_C1R, int32_t);
  ADD_ENCODER(zepiFLCEncode4x4_JPEGXR_16s1u_C1R, int16_t);
  return true;
}();

}  // namespace
