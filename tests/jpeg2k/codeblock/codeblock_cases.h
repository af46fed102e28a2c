// SPDX-License-Identifier: MIT
// Code-blocks for the tests, and the encoder as one call.
#ifndef ZEPJP_TESTS_JPEG2K_CODEBLOCK_CODEBLOCK_CASES_H_
#define ZEPJP_TESTS_JPEG2K_CODEBLOCK_CODEBLOCK_CASES_H_

#include <gtest/gtest.h>

#include <vector>

#include "harness/random.h"
#include "reference/codeblock.h"

namespace codeblock_cases {

using harness::Random;
using reference::CodeBlock;
using reference::CodedBlock;

enum class Content { kZero, kSparse, kPhoto, kDense, kExtreme, kSingle, kEqual, kFractions };
constexpr Content kContents[] = {Content::kZero,  Content::kSparse,   Content::kPhoto,
                                 Content::kDense, Content::kExtreme,  Content::kSingle,
                                 Content::kEqual, Content::kFractions};

// Magnitudes of `planes` bits at the top of 31 bits; kExtreme and kFractions use all 31 bits.
inline uint32_t Sample(Content content, int planes, size_t index, size_t count, Random& random) {
  const auto any = static_cast<uint32_t>(random());
  const uint32_t sign = any & 0x80000000u;
  const uint32_t most = planes >= 31 ? 0x7FFFFFFF : (1u << planes) - 1;
  const int low = 31 - planes;
  const uint32_t magnitude = any & most;
  switch (content) {
    case Content::kZero: return sign;
    case Content::kSparse: return random() % 29 == 0 ? sign | magnitude << low : sign;
    case Content::kPhoto: return sign | (magnitude >> (random() % 32)) << low;
    case Content::kDense: return sign | magnitude << low;
    case Content::kExtreme: return random() % 2 ? sign | 0x7FFFFFFF : sign;
    case Content::kSingle: return index == count / 2 ? sign | 1u << low : 0;
    case Content::kEqual: return 0x80000000u | most << low;
    case Content::kFractions: return sign | (any & 0x7FFFFFFF) >> (random() % 20);
  }
  return 0;
}

inline CodeBlock Block(int width, int height, Content content, int planes, Random& random) {
  CodeBlock block = {width, height, {}};
  const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
  for (size_t i = 0; i < count; ++i) {
    block.samples.push_back(Sample(content, planes, i, count, random));
  }
  return block;
}

// The library's encoder, with the results in the records of the model.
class Encoder {
 public:
  Encoder(int width, int height) {
    EXPECT_EQ(zepiEncodeInitAlloc_JPEG2K(&state_, {width, height}), zepStatusOk);
  }
  ~Encoder() { EXPECT_EQ(zepiEncodeFree_JPEG2K(state_), zepStatusOk); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  zepiEncodeStateJPEG2K* state() { return state_; }

  CodedBlock Encode(const CodeBlock& block, int subband, int magnitude_bits, int style,
                    int32_t capacity = 1 << 20) {
    CodedBlock coded;
    int32_t passes = -1, segments = -1;
    EXPECT_EQ(zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
                  reinterpret_cast<const int32_t*>(block.samples.data()), 4 * block.width,
                  {block.width, block.height}, state_, subband, magnitude_bits, 77, -1, style,
                  &coded.planes, &passes, &segments),
              zepStatusOk);
    coded.passes.resize(static_cast<size_t>(passes));
    double before = 0;
    for (int32_t k = 0; k < passes; ++k) {
      reference::CodedPass& pass = coded.passes[static_cast<size_t>(k)];
      double sum = 0;
      EXPECT_EQ(zepiEncodeGetRate_JPEG2K(state_, k, &pass.rate), zepStatusOk);
      EXPECT_EQ(zepiEncodeGetTermPassLen_JPEG2K(state_, k, &pass.truncated_length), zepStatusOk);
      EXPECT_EQ(zepiEncodeGetDist_JPEG2K(state_, k, &sum), zepStatusOk);
      pass.distortion = sum - before;
      before = sum;
    }
    segments_ = segments;
    int32_t unfinished = 1;
    while (unfinished != 0) {
      std::vector<uint8_t> part(static_cast<size_t>(capacity));
      int32_t length = capacity;
      EXPECT_EQ(zepiEncodeStoreBits_JPEG2K_1u(part.data(), &length, state_, &unfinished),
                zepStatusOk);
      coded.bytes.insert(coded.bytes.end(), part.begin(), part.begin() + length);
    }
    return coded;
  }
  int segments() const { return segments_; }

 private:
  zepiEncodeStateJPEG2K* state_ = nullptr;
  int segments_ = 0;
};

// The lengths of the segments that hold the first `passes` passes.
inline std::vector<int32_t> SegmentLengths(const CodedBlock& coded, int passes, int style) {
  std::vector<int32_t> lengths;
  int32_t before = 0;
  for (int k = 0; k < passes; ++k) {
    const bool is_raw_pair = k >= 10 && (k + 2) % 3 == 0;
    const bool ends = (style & reference::kTerminate) != 0 ||
                      ((style & reference::kBypass) != 0 && k >= 9 && !is_raw_pair);
    if (!ends && k + 1 < passes) continue;
    const int32_t length = coded.passes[static_cast<size_t>(k)].truncated_length;
    lengths.push_back(length - before);
    before = length;
  }
  return lengths;
}

}  // namespace codeblock_cases

#endif  // ZEPJP_TESTS_JPEG2K_CODEBLOCK_CODEBLOCK_CASES_H_
