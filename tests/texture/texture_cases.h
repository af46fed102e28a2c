// SPDX-License-Identifier: MIT
// Shared by the tests of texture decoders and encoders.
#ifndef ZEPJP_TESTS_TEXTURE_TEXTURE_CASES_H_
#define ZEPJP_TESTS_TEXTURE_TEXTURE_CASES_H_

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "harness/random.h"
#include "harness/region.h"
#include "zepjp.h"

namespace texture_cases {

using Bytes = std::vector<uint8_t>;
using Decoder = std::function<zepStatus(const uint8_t*, uint8_t*, int32_t, zepiSize)>;
using Encoder = std::function<zepStatus(const uint8_t*, int32_t, zepiSize, uint8_t*)>;

// An export and its model.
template <class Function>
struct Format {
  const char* name;
  int pixel_bytes, block_bytes;
  Function call, model;
};

// (A lambda, because calling conventions do not pass through std::function.)
#define TEXTURE_FORMAT(name, pixel_bytes, block_bytes)                        \
  {                                                                           \
#    name, pixel_bytes, block_bytes,                                        \
        [](auto... arguments) { return ::name(arguments...); },             \
        [](auto... arguments) { return reference::name(arguments...); } \
  }

inline size_t Blocks(zepiSize size) {
  return static_cast<size_t>((size.width + 3) / 4) * static_cast<size_t>((size.height + 3) / 4);
}

// Steps for rows of `width` bytes: tight, loose, upwards, and rows that overlap.
inline std::vector<int32_t> Steps(int32_t width) {
  return {width, width + 1, width + 13, -width, -width - 7, width / 2 + 1, -1, 1};
}

// Compares the export with the model, with all memory including the bytes between rows.
inline void ExpectEqualsModel(const Format<Decoder>& format, const Bytes& blocks, zepiSize size,
                              int32_t step, harness::Edge edge) {
  harness::Guarded<uint8_t> src(blocks.size(), edge);
  std::copy(blocks.begin(), blocks.end(), src.raw());
  const zepiSize bytes = {size.width * format.pixel_bytes, size.height};
  harness::Plane<uint8_t> got(bytes, step, edge), want(bytes, step, edge);
  ASSERT_EQ(format.call(src.raw(), got.base(), step, size), zepStatusOk);
  ASSERT_EQ(format.model(src.raw(), want.base(), step, size), zepStatusOk);
  ASSERT_EQ(harness::FirstDifference(got.memory(), want.memory(), step), "")
      << format.name << " " << size.width << "x" << size.height << " step " << step << " seed "
      << harness::Seed();
}

// Compares for all sizes up to `most` on a side; make_blocks(size) makes their blocks.
template <class MakeBlocks>
void ExpectEverySizeEqualsModel(const Format<Decoder>& format, int most,
                                const MakeBlocks& make_blocks) {
  for (int width = 1; width <= most; ++width) {
    for (int height = 1; height <= most; ++height) {
      const zepiSize size = {width, height};
      const Bytes blocks = make_blocks(size);
      for (const int32_t step : Steps(width * format.pixel_bytes)) {
        for (const harness::Edge edge : {harness::Edge::kStart, harness::Edge::kEnd}) {
          ExpectEqualsModel(format, blocks, size, step, edge);
        }
      }
    }
  }
}

// Expects that several threads at the same time make the same bytes as one.
template <class Make>
void ExpectSameOnThreads(const char* name, const Make& make) {
  const Bytes want = make();
  std::vector<Bytes> got(4);
  std::vector<std::thread> threads;
  for (Bytes& made : got) threads.emplace_back([&] { made = make(); });
  for (std::thread& thread : threads) thread.join();
  for (const Bytes& made : got) EXPECT_EQ(harness::FirstDifference(made, want), "") << name;
}

// Rows so far apart that the last is beyond the range of 32-bit offsets. Only touched pages take
// memory.
class FarRows {
 public:
  static constexpr int32_t kStep = 2000000000;
  static constexpr zepiSize kSize = {7, 5};

  FarRows() {
    if (sizeof(void*) < 8) return;
    memory_ = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  }
  ~FarRows() {
    if (is_there()) munmap(memory_, kBytes);
  }
  FarRows(const FarRows&) = delete;
  FarRows& operator=(const FarRows&) = delete;

  // False if addresses have 32 bits or the system refused the mapping.
  bool is_there() const { return memory_ != MAP_FAILED; }
  uint8_t* row(int y) { return static_cast<uint8_t*>(memory_) + int64_t{kStep} * y; }

 private:
  static constexpr auto kBytes =
      static_cast<size_t>(uint64_t{kSize.height} * uint64_t{kStep} & SIZE_MAX);
  void* memory_ = MAP_FAILED;
};

// Tests the order of checks: pointers, step, size. Argument kDst is the output `dst`, kStep the
// step, and the size follows it.
template <size_t kDst, size_t kStep, class Order>
void ExpectTextureOrder(Order order, const uint8_t* dst, size_t dst_size) {
  order.template Null<0>()
      .template Null<kDst>()
      .template Bad<kStep>(zepStatusBadStep, {0})
      .template Size<kStep + 1>()
      .Output(dst, dst_size)
      .Run();
}

}  // namespace texture_cases

#endif  // ZEPJP_TESTS_TEXTURE_TEXTURE_CASES_H_
