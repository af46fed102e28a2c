// SPDX-License-Identifier: MIT
// Shared by the tests of the adaptive coders: states, streams between protected pages, blocks.
#ifndef ZEPJP_TESTS_JPEGXR_VLC_VLC_CASES_H_
#define ZEPJP_TESTS_JPEGXR_VLC_VLC_CASES_H_

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "harness/guarded.h"
#include "harness/random.h"
#include "reference/vlc.h"

namespace vlc_cases {

using harness::Edge;
using harness::Guarded;
using harness::Random;

constexpr size_t kStateBytes = 1780;

// A state that ends at a protected page, at an alignment that `offset` changes. Copies have any
// address.
class State {
 public:
  explicit State(size_t offset = 0)
      : guarded_(std::make_unique<Guarded<uint8_t>>(kStateBytes + offset)), at_(guarded_->raw()) {
    EXPECT_EQ(zepiVLCInit_JPEGXR(get()), zepStatusOk);
    for (uint32_t scan = 0; scan < 3; ++scan) {
      EXPECT_EQ(zepiVLCScanReset_JPEGXR(get(), scan), zepStatusOk);
    }
  }
  State(const State& other) : copy_(other.at_, other.at_ + kStateBytes), at_(copy_.data()) {}
  State& operator=(const State& other) {
    std::memcpy(at_, other.at_, kStateBytes);
    return *this;
  }

  zepiVLCState* get() { return reinterpret_cast<zepiVLCState*>(at_); }
  const zepiVLCState* get() const { return reinterpret_cast<const zepiVLCState*>(at_); }
  bool operator==(const State& other) const {
    return std::memcmp(at_, other.at_, kStateBytes) == 0;
  }

 private:
  std::unique_ptr<Guarded<uint8_t>> guarded_;
  std::vector<uint8_t> copy_;
  uint8_t* at_;
};

// A random choice of every table, and scans after many swaps.
inline void Scramble(Random& random, State* state) {
  for (uint32_t t = 5; t < 21; ++t) {
    const uint32_t alphabet = reference::GetWord(state->get(), reference::VlcWord(t, 0));
    reference::ForceVlcTable(state->get(), t,
                             static_cast<uint32_t>(random() % reference::NumVlcTables(alphabet)));
  }
  for (uint32_t scan = 0; scan < 3; ++scan) {
    for (int i = static_cast<int>(random() % 60); i > 0; --i) {
      const auto k = 1 + static_cast<uint32_t>(random() % 14);  // entries k and k + 1
      for (uint32_t field = 1; field < 4; ++field) {
        const uint32_t a = reference::VlcScanWord(scan, k, field);
        const uint32_t b = reference::VlcScanWord(scan, k + 1, field);
        const uint32_t word = reference::GetWord(state->get(), a);
        reference::SetWord(state->get(), a, reference::GetWord(state->get(), b));
        reference::SetWord(state->get(), b, word);
      }
    }
    if (random() % 2 == 0) {  // totals close to each other cause many swaps
      for (uint32_t k = 1; k < 16; ++k) {
        reference::SetWord(state->get(), reference::VlcScanWord(scan, k, 0),
                           40 - static_cast<uint32_t>(random() % 2));
      }
    }
  }
}

// The state of a coder in the middle of a stream.
struct Bits {
  uint32_t acc = 0, count = 0;
  bool operator==(const Bits& other) const { return acc == other.acc && count == other.count; }
};
inline Bits RandomBits(Random& random) {
  Bits bits;
  bits.count = static_cast<uint32_t>(random() % 33);
  bits.acc = static_cast<uint32_t>(random());
  return bits;
}

// A value of a block: mostly small, sometimes anything.
template <class T>
T RandomValue(unsigned spread, Random& random) {
  if (spread == 0) return static_cast<T>(random());
  if (spread == 1)
    return random() % 2 ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
  const auto bits = static_cast<uint32_t>(random() % spread);
  const auto magnitude = static_cast<int32_t>(random() & ((uint64_t{1} << bits) - 1) & 0x7FFFFFFF);
  return static_cast<T>(random() % 2 ? magnitude : -magnitude);
}

}  // namespace vlc_cases

#endif  // ZEPJP_TESTS_JPEGXR_VLC_VLC_CASES_H_
