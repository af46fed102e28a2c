// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "harness/guarded.h"
#include "harness/random.h"
#include "reference/tiff.h"

namespace {

using harness::CheckOrder;
using harness::Guarded;
using harness::Random;
using Bytes = std::vector<uint8_t>;

Bytes Packed(const Bytes& row) {
  Bytes packed(row.size() + row.size() / 128 + 1);
  auto size = static_cast<int32_t>(packed.size());
  EXPECT_EQ(reference::zepiPackBitsRow_TIFF_8u_C1(row.data(), static_cast<int32_t>(row.size()),
                                                  packed.data(), &size),
            zepStatusOk);
  packed.resize(static_cast<size_t>(size));
  return packed;
}

// With just enough room, with one byte less, and with room for any row.
void ExpectPacksAsModel(const Bytes& row) {
  const Bytes want = Packed(row);
  Guarded<uint8_t> src(row.size()), dst(want.size());
  std::memcpy(src.data(), row.data(), row.size());
  auto size = static_cast<int32_t>(want.size());
  const auto length = static_cast<int32_t>(row.size());
  ASSERT_EQ(zepiPackBitsRow_TIFF_8u_C1(src.data(), length, dst.data(), &size), zepStatusOk);
  ASSERT_EQ(static_cast<size_t>(size), want.size());
  ASSERT_EQ(harness::FirstDifferenceOf(dst.data(), want.data(), want.size()), "")
      << "seed " << harness::Seed();
  ASSERT_LE(want.size(), row.size() + (row.size() + 127) / 128);
  Guarded<uint8_t> roomy(row.size() + (row.size() + 127) / 128);
  size = static_cast<int32_t>(roomy.count());
  ASSERT_EQ(zepiPackBitsRow_TIFF_8u_C1(src.data(), length, roomy.data(), &size), zepStatusOk);
  ASSERT_EQ(static_cast<size_t>(size), want.size()) << "seed " << harness::Seed();
  ASSERT_EQ(harness::FirstDifferenceOf(roomy.data(), want.data(), want.size()), "")
      << "seed " << harness::Seed();
  for (size_t i = want.size(); i < roomy.count(); ++i) ASSERT_EQ(roomy.data()[i], harness::kFill);
  size = static_cast<int32_t>(want.size());
  Guarded<uint8_t> tight(want.size() - 1);
  int32_t less = size - 1;
  ASSERT_EQ(zepiPackBitsRow_TIFF_8u_C1(src.data(), length, tight.data(), &less),
            zepStatusBufferExhausted);
  ASSERT_EQ(less, size - 1);
  for (size_t i = 0; i < tight.count(); ++i) ASSERT_EQ(tight.data()[i], harness::kFill);
}

TEST(PackBits, AllShortRowsOfTwoValues_Exhaustive) {
  const uint32_t most = harness::Exhaustive() ? 15 : 9;
  for (uint32_t length = 1; length <= most; ++length) {
    for (uint32_t bits = 0; bits < 1u << length; ++bits) {
      Bytes row(length);
      for (uint32_t i = 0; i < length; ++i) row[i] = static_cast<uint8_t>(bits >> i & 1);
      ExpectPacksAsModel(row);
      if (HasFatalFailure()) return;
    }
  }
}

// Runs and literals of lengths near the limits of packets, one after the other.
Bytes MixedRow(Random& random) {
  static constexpr size_t kLengths[] = {1,   2,   3,   4,   5,   62,  64,  125, 126, 127,
                                        128, 129, 130, 131, 255, 256, 257, 258, 640, 1300};
  Bytes row;
  const size_t pieces = 1 + random() % 9;
  for (size_t piece = 0; piece < pieces; ++piece) {
    const size_t length = kLengths[random() % std::size(kLengths)];
    const auto byte = static_cast<uint8_t>(random() % 3);
    const bool is_run = random() % 2 == 0;
    for (size_t i = 0; i < length; ++i) {
      row.push_back(is_run ? byte : static_cast<uint8_t>(random() % (piece % 2 == 0 ? 256 : 6)));
    }
  }
  return row;
}

TEST(PackBits, PacksAsModel) {
  Random random(harness::Seed());
  const int trials = harness::Exhaustive() ? 1500 : 150;
  for (int trial = 0; trial < trials && !HasFatalFailure(); ++trial)
    ExpectPacksAsModel(MixedRow(random));
}

// Rows as pictures have them: mostly short runs.
TEST(PackBits, PacksShortRuns) {
  Random random(harness::Seed());
  for (int trial = 0; trial < 400 && !HasFatalFailure(); ++trial) {
    Bytes row(1 + random() % 600);
    const uint32_t longest = 2 + static_cast<uint32_t>(random() % 4);
    for (size_t i = 0; i < row.size();) {
      const auto byte = static_cast<uint8_t>(random());
      for (uint64_t left = 1 + random() % longest; left > 0 && i < row.size(); --left)
        row[i++] = byte;
    }
    ExpectPacksAsModel(row);
  }
}

TEST(PackBits, PacksLongRows) {
  Random random(harness::Seed());
  for (const size_t length : {size_t{16383}, size_t{16384}, size_t{16385}, size_t{40000}}) {
    Bytes row(length);
    for (size_t i = 0; i < length; ++i)
      row[i] = static_cast<uint8_t>(random() % 40 == 0 ? random() : i / 1000);
    ExpectPacksAsModel(row);
    ExpectPacksAsModel(Bytes(length, 7));
  }
}

// Two levels of parts, without the runs at which rows are divided.
TEST(PackBits, PacksLongRowsWithoutLongRuns) {
  Random random(harness::Seed());
  for (const size_t length : {size_t{16384 + 7}, size_t{2 * 16384}, size_t{300000}}) {
    Bytes row(length);
    for (size_t i = 0; i < length; ++i) {
      const bool is_repeated = random() % 5 == 0 && i > 2 && row[i - 1] != row[i - 3];
      row[i] = is_repeated ? row[i - 1] : static_cast<uint8_t>(random() | 1);
    }
    ExpectPacksAsModel(row);
  }
}

// All sizes, on random bytes, in memory that ends where source and row end.
TEST(PackBits, UnpacksAsModel) {
  const int packed_trials = harness::Exhaustive() ? 3000 : 600;
  Random random(harness::Seed());
  for (int trial = 0; trial < 20000; ++trial) {
    const bool is_packed = trial % 2 == 0;
    if (is_packed && trial > packed_trials) continue;
    Bytes bytes = is_packed ? Packed(MixedRow(random)) : Bytes(1 + random() % 60);
    if (!is_packed) {
      for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(random() % 4 == 0 ? random() : random() % 8 + 124);
    } else if (trial % 4 == 0) {
      bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
    }
    const size_t row = 1 + random() % 900;
    Guarded<uint8_t> src(bytes.size()), got(row);
    std::memcpy(src.data(), bytes.data(), bytes.size());
    Bytes want(row, harness::kFill);
    auto got_size = static_cast<int32_t>(bytes.size()), want_size = got_size;
    const auto length = static_cast<int32_t>(row);
    ASSERT_EQ(
        zepiUnpackBitsRow_TIFF_8u_C1(src.data(), &got_size, got.data(), length),
        reference::zepiUnpackBitsRow_TIFF_8u_C1(bytes.data(), &want_size, want.data(), length));
    ASSERT_EQ(got_size, want_size);
    ASSERT_EQ(harness::FirstDifferenceOf(got.data(), want.data(), row), "")
        << "seed " << harness::Seed();
  }
}

TEST(PackBits, RoundTrip) {
  Random random(harness::Seed());
  for (int trial = 0; trial < 200; ++trial) {
    const Bytes row = MixedRow(random);
    Bytes packed(row.size() + row.size() / 128 + 1), back(row.size());
    auto size = static_cast<int32_t>(packed.size());
    const auto length = static_cast<int32_t>(row.size());
    ASSERT_EQ(zepiPackBitsRow_TIFF_8u_C1(row.data(), length, packed.data(), &size), zepStatusOk);
    const int32_t packed_size = size;
    ASSERT_EQ(zepiUnpackBitsRow_TIFF_8u_C1(packed.data(), &size, back.data(), length), zepStatusOk);
    ASSERT_EQ(size, packed_size);
    ASSERT_EQ(back, row);
  }
}

TEST(PackBits, NoRoomOrNoSourceAtAll) {
  const uint8_t src[4] = {1, 1, 1, 1};
  uint8_t dst[4] = {};
  for (int32_t none : {0, -1, INT_MIN}) {
    int32_t size = none;
    EXPECT_EQ(zepiPackBitsRow_TIFF_8u_C1(src, 4, dst, &size), zepStatusBufferExhausted);
    EXPECT_EQ(size, none);
    EXPECT_EQ(zepiUnpackBitsRow_TIFF_8u_C1(src, &size, dst, 4), zepStatusUnpackBitsOverrun);
    EXPECT_EQ(size, none);
  }
  EXPECT_EQ(dst[0], 0);
}

TEST(PackBits, ChecksInOrder) {
  const uint8_t src[16] = {};
  uint8_t dst[16] = {};
  int32_t size = 16;
  CheckOrder(HARNESS_NAMED(zepiPackBitsRow_TIFF_8u_C1), &src[0], 16, &dst[0], &size)
      .Null<0>()
      .Null<2>()
      .Null<3>()
      .Bad<1>(zepStatusBadSize, {0, -1, INT_MIN})
      .Output(dst, sizeof(dst))
      .Output(&size, sizeof(size))
      .Run();
  size = 16;
  CheckOrder(HARNESS_NAMED(zepiUnpackBitsRow_TIFF_8u_C1), &src[0], &size, &dst[0], 4)
      .Null<0>()
      .Null<1>()
      .Null<2>()
      .Bad<3>(zepStatusBadSize, {0, -1, INT_MIN})
      .Output(dst, sizeof(dst))
      .Output(&size, sizeof(size))
      .Run();
}

}  // namespace
