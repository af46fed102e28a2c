// SPDX-License-Identifier: MIT
// Restart markers with wrong bits: what follows stays where it belongs.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include "harness/random.h"
#include "tests/codecs/jpeg/jpeg_files.h"
#include "tests/codecs/support/pictures.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using jpeg_files::Bytes;
using jpeg_files::Decode;
using jpeg_files::Decoded;
using jpeg_files::DecodeGood;
using jpeg_files::LossOf;
using jpeg_files::RestartMarkers;
using zepcodec::PixelLayout;

struct Kind {
  int width;
  int height;
  PixelLayout layout;
  jpeg::Sampling sampling;
  int restart_interval;  // MCUs
  bool progressive;
};

// From intervals of a single MCU to a few of several rows.
constexpr Kind kKinds[] = {
    {96, 96, PixelLayout::kGrey, jpeg::Sampling::k444, 1, false},
    {104, 200, PixelLayout::kRgb, jpeg::Sampling::k420, 7, false},
    {100, 60, PixelLayout::kRgb, jpeg::Sampling::k444, 5, false},
    {80, 400, PixelLayout::kRgb, jpeg::Sampling::k422, 10, false},
    {64, 128, PixelLayout::kCmyk, jpeg::Sampling::k420, 5, false},
    {80, 128, PixelLayout::kRgb, jpeg::Sampling::k420, 7, true},
    {48, 200, PixelLayout::kGrey, jpeg::Sampling::k444, 12, true},
};

Bytes FileOf(const Kind& kind, uint32_t seed) {
  jpeg::EncodeOptions options;
  options.sampling = kind.sampling;
  options.restart_interval = kind.restart_interval;
  options.progressive = kind.progressive;
  return jpeg_files::Encode(pictures::Detailed(kind.width, kind.height, kind.layout, seed),
                            options);
}

// The mean loss over damaged copies of a file, and whether all of them gave messages.
class Losses {
 public:
  explicit Losses(const Bytes& file) : whole_(DecodeGood(file)) {}

  void Add(const Bytes& damaged) {
    const Decoded decoded = Decode(damaged);
    EXPECT_TRUE(decoded.status.ok()) << decoded.status.text();
    all_tell_ = all_tell_ && !decoded.info.messages.empty();
    const double loss = LossOf(whole_, decoded.image);
    sum_ += loss;
    most_ = std::max(most_, loss);
    ++count_;
  }
  double mean() const { return sum_ / count_; }
  double most() const { return most_; }
  bool all_tell() const { return all_tell_; }

 private:
  zepcodec::Picture whole_;
  double sum_ = 0;
  double most_ = 0;
  int count_ = 0;
  bool all_tell_ = true;
};

bool MarkerBetween(const Bytes& file, size_t from, int distance) {
  const auto begin = file.begin() + static_cast<std::ptrdiff_t>(from);
  return std::find(begin, begin + distance, 0xFF) != begin + distance;
}

// Each bit of the byte at this distance from the start of each restart marker, or in a sample one.
Losses FlipBits(const Bytes& file, int distance) {
  harness::Random random(harness::Seed());
  const std::vector<size_t> markers = RestartMarkers(file);
  EXPECT_GT(markers.size(), 4u);
  Losses losses(file);
  for (const size_t marker : markers) {
    // Tables of the next scan are another matter.
    if (distance > 2 && MarkerBetween(file, marker + 2, distance)) continue;
    for (const int bit : harness::AllOrOne({0, 1, 2, 3, 4, 5, 6, 7}, random)) {
      Bytes changed = file;
      changed[marker + static_cast<size_t>(distance)] ^= static_cast<uint8_t>(1 << bit);
      losses.Add(changed);
    }
  }
  return losses;
}

// The part of the picture that one interval holds, its neighbours through up-sampling included.
double ShareOfInterval(const Kind& kind) {
  const bool is_420 = kind.sampling == jpeg::Sampling::k420;
  const int mcu_width = kind.sampling == jpeg::Sampling::k444 ? 8 : 16;
  const int mcu_height = is_420 ? 16 : 8;
  const int across = (kind.width + mcu_width - 1) / mcu_width;
  const int mcus = across * ((kind.height + mcu_height - 1) / mcu_height);
  const int intervals = (mcus + kind.restart_interval - 1) / kind.restart_interval;
  return (is_420 ? 2.2 : 1.2) / intervals;
}

TEST(JpegRestart, AWrongBitInAMarkerCostsNothing) {
  for (const Kind& kind : kKinds) {
    const Bytes file = FileOf(kind, 1);
    for (const int distance : {0, 1}) {
      const Losses losses = FlipBits(file, distance);
      EXPECT_LT(losses.mean(), 0.001) << kind.width << " x " << kind.height;
      EXPECT_TRUE(losses.all_tell());
    }
  }
}

TEST(JpegRestart, AnyByteInstead) {
  for (const Kind& kind : {kKinds[1], kKinds[5]}) {
    const Bytes file = FileOf(kind, 3);
    Losses losses(file);
    for (const size_t marker : RestartMarkers(file)) {
      for (int value = 0; value < 256; value += 11) {
        Bytes changed = file;
        if (changed[marker + 1] == value) continue;
        changed[marker + 1] = static_cast<uint8_t>(value);
        losses.Add(changed);
      }
    }
    EXPECT_LT(losses.mean(), 0.01);
    EXPECT_LE(losses.most(), 2 * ShareOfInterval(kind));
    EXPECT_TRUE(losses.all_tell());
  }
}

TEST(JpegRestart, AWrongBitNearAMarkerCostsAnIntervalAtMost) {
  for (const Kind& kind : kKinds) {
    const Bytes file = FileOf(kind, 2);
    for (const int distance : {-1, 2}) {
      EXPECT_LE(FlipBits(file, distance).most(), ShareOfInterval(kind))
          << kind.width << " x " << kind.height << " at " << distance;
    }
  }
}

// Other bytes over a marker and the data on both sides of it: the two intervals are lost, and no
// other.
TEST(JpegRestart, DamageThatRunsOverAMarker) {
  std::mt19937 random(5);
  const int rounds = harness::Exhaustive() ? 6 : 2;
  for (const Kind& kind : kKinds) {
    const Bytes file = FileOf(kind, 4);
    Losses losses(file);
    for (const size_t marker : RestartMarkers(file)) {
      for (int round = 0; round < rounds; ++round) {
        Bytes changed = file;
        const size_t first = marker - random() % 8;
        for (size_t i = first; i < marker + 2 + random() % 8; ++i) {
          changed[i] = static_cast<uint8_t>(random());
        }
        losses.Add(changed);
      }
    }
    EXPECT_LE(losses.mean(), 2.2 * ShareOfInterval(kind)) << kind.width;
    EXPECT_TRUE(losses.all_tell());
  }
}

// A piece of the file is missing, and more than eight intervals with it: the rest is where it
// belongs.
TEST(JpegRestart, AMissingPieceMovesNothing) {
  const Kind kind = kKinds[0];  // 144 intervals
  const Bytes file = FileOf(kind, 5);
  const std::vector<size_t> markers = RestartMarkers(file);
  const double all = static_cast<double>(markers.size() + 1);
  for (const size_t missing : {1u, 2u, 5u, 7u, 9u, 12u, 23u, 60u}) {
    for (size_t from = 0; from + missing < markers.size(); from += 11) {
      const size_t bytes = markers[from + missing] - markers[from];
      Losses losses(file);
      losses.Add(jpeg_files::Without(file, markers[from], bytes));
      EXPECT_LE(losses.most(), static_cast<double>(missing) / all + 1e-9) << missing << " " << from;
      EXPECT_TRUE(losses.all_tell());
    }
  }
}

// The last restart marker of a scan as another marker does not swallow the scans that follow.
TEST(JpegRestart, AWrongLastMarkerCostsNoOtherScan) {
  const Bytes file = FileOf(kKinds[5], 6);
  Losses losses(file);
  const std::vector<size_t> markers = RestartMarkers(file);
  for (size_t i = 0; i + 1 < markers.size(); ++i) {
    const std::array<uint8_t, 2> scan = {0xFF, jpeg::kSos};
    const auto at = [&](size_t offset) {
      return file.begin() + static_cast<std::ptrdiff_t>(offset);
    };
    const auto end = at(markers[i + 1]);
    if (std::search(at(markers[i]), end, scan.begin(), scan.end()) == end) continue;
    for (const int marker : {0xC4, 0xDB, 0xD8, 0xD9, 0xDA, 0xE0, 0x50}) {
      Bytes changed = file;
      changed[markers[i] + 1] = static_cast<uint8_t>(marker);
      losses.Add(changed);
    }
  }
  EXPECT_LT(losses.mean(), 0.02);
  EXPECT_LT(losses.most(), 0.2);
}

}  // namespace
