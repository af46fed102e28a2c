// SPDX-License-Identifier: MIT
// What decoding a JPEG XR file may cost: time and memory are bounded by the bytes of the file and the samples of the
// picture, whatever the headers say. Small files that claim much.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <string>

#include "codecs/jpegxr/header_writer.h"
#include "tests/codecs/jpegxr/jpegxr_files.h"

namespace jpegxr = zepcodec::jpegxr;

namespace {

using Bytes = std::vector<uint8_t>;
using jpegxr::ColorFormat;
using jpegxr::Overlap;

// Sanitizers and emulators take memory and time of their own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || ZEPJP_EXHAUSTIVE == 0
constexpr bool kMeasuresMemory = false;
constexpr double kSlowness = 50;
constexpr uint32_t kPart = 8;  // of the pictures' heights
#else
constexpr bool kMeasuresMemory = true;
constexpr double kSlowness = 4;
constexpr uint32_t kPart = 1;
#endif

struct Cost {
  double seconds = 0;
  int64_t memory = 0;  // beyond that of the process before
  bool is_picture = false;
};

int64_t PeakMemory() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return int64_t{usage.ru_maxrss} * 1024;
}

// In a process of its own, whose peak counts.
Cost CostOf(const Bytes& file, int threads) {
  int ends[2];
  Cost cost;
  if (pipe(ends) != 0) return cost;
  const pid_t child = fork();
  if (child == 0) {
    const int64_t before = PeakMemory();
    const auto start = std::chrono::steady_clock::now();
    jpegxr::DecodeOptions options;
    options.threads = threads;
    zepcodec::Picture image;
    jpegxr::FileInfo info;
    cost.is_picture = jpegxr::Decode(file.data(), file.size(), options, &image, &info).ok();
    cost.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    cost.memory = PeakMemory() - before;
    const auto written = write(ends[1], &cost, sizeof(cost));
    _exit(written == sizeof(cost) ? 0 : 1);
  }
  close(ends[1]);
  EXPECT_EQ(read(ends[0], &cost, sizeof(cost)), static_cast<ssize_t>(sizeof(cost)));
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  return cost;
}

jpegxr::FrameHeader MakeFrame(uint32_t width, uint32_t height, ColorFormat color) {
  jpegxr::FrameHeader frame;
  frame.width = width;
  frame.height = height;
  frame.extra_right = (16 - width % 16) % 16;
  frame.extra_bottom = (16 - height % 16) % 16;
  frame.is_rgb = color != ColorFormat::kGrey;
  frame.plane.color = color;
  frame.overlap = Overlap::kBoth;
  frame.columns = {0, frame.MbWidth()};
  frame.rows = {0, frame.MbHeight()};
  return frame;
}

// As many tiles as there are macroblocks.
void SplitAll(jpegxr::FrameHeader* frame) {
  const auto split = [](uint32_t count, std::vector<uint32_t>* starts) {
    starts->clear();
    for (uint32_t i = 0; i <= count; ++i) starts->push_back(i);
  };
  split(frame->MbWidth(), &frame->columns);
  split(frame->MbHeight(), &frame->rows);
  frame->has_index = true;
}

// A codestream whose packets all begin at the same place: noise after the start of a packet.
Bytes MakeFile(const jpegxr::FrameHeader& frame, size_t noise, uint32_t seed = 1) {
  const size_t packets = frame.TileCount() * (frame.is_frequency_order ? 4 : 1);
  Bytes file = jpegxr::MakeHeaders(frame, std::vector<uint64_t>(packets));
  file.insert(file.end(), {0, 0, 1, 0});
  std::mt19937 random(seed);
  for (size_t i = 0; i < noise; ++i) file.push_back(static_cast<uint8_t>(random()));
  return file;
}

// Of whole macroblocks, as if chroma were not halved.
double SamplesOf(const jpegxr::FrameHeader& frame) {
  return 256.0 * frame.MbWidth() * frame.MbHeight() * static_cast<double>(frame.plane.Components());
}

double OpenTilesOf(const jpegxr::FrameHeader& frame) {
  return static_cast<double>(frame.columns.size() - 1);
}

// The bounds of the documentation, the time with room for machines that do other work at the same time. In strips
// planes of samples are not in memory as a whole.
void ExpectBounded(const jpegxr::FrameHeader& frame, const Bytes& file, const std::string& what) {
  for (const int threads : {1, 2}) {
    SCOPED_TRACE(what + ", threads " + std::to_string(threads));
    const Cost cost = CostOf(file, threads);
    EXPECT_TRUE(cost.is_picture);
    const double samples = SamplesOf(frame);
    const auto bytes = static_cast<double>(file.size());
    EXPECT_LE(cost.seconds, kSlowness * (0.1 + 50e-9 * samples + 20e-9 * bytes));
    if (!kMeasuresMemory) continue;
    EXPECT_LE(cost.memory, 16e6 + 5.5 * samples + 3 * bytes + 10e3 * OpenTilesOf(frame));
    jpegxr::DecodeOptions options;
    options.threads = threads;
    int64_t estimate = 0;
    EXPECT_TRUE(jpegxr::EstimateMemory(file.data(), file.size(), options, &estimate).ok());
    EXPECT_LE(cost.memory, 1.1 * static_cast<double>(estimate) + 2e6);
    EXPECT_LE(static_cast<double>(estimate),
              16e6 + 5.5 * samples + 3 * bytes + 10e3 * OpenTilesOf(frame));
  }
}

const ColorFormat kColors[] = {ColorFormat::kGrey, ColorFormat::k420, ColorFormat::k444};

TEST(JpegXrLimits, MuchIsClaimedAndLittleThere) {
  for (const ColorFormat color : kColors) {
    // Somewhat less than what is always accepted.
    const uint32_t height = color == ColorFormat::kGrey ? 8192 : 2720;
    const jpegxr::FrameHeader frame = MakeFrame(2048, height / kPart, color);
    ExpectBounded(frame, MakeFile(frame, 0), "empty");
    ExpectBounded(frame, MakeFile(frame, 10000), "noise");
  }
}

// All packets are the same noise.
TEST(JpegXrLimits, EachMacroblockIsATile) {
  for (const ColorFormat color : kColors) {
    jpegxr::FrameHeader frame = MakeFrame(1024, 1024 / kPart, color);
    SplitAll(&frame);
    ExpectBounded(frame, MakeFile(frame, 0), "empty");
    ExpectBounded(frame, MakeFile(frame, 3000), "noise");
    frame.is_frequency_order = true;
    ExpectBounded(frame, MakeFile(frame, 3000), "frequency");
    frame.is_frequency_order = false;
    frame.has_hard_tiles = true;
    ExpectBounded(frame, MakeFile(frame, 3000), "hard tiles");
  }
  jpegxr::FrameHeader frame = MakeFrame(16 * 4096, 1, ColorFormat::k444);
  SplitAll(&frame);
  ExpectBounded(frame, MakeFile(frame, 3000), "all side by side");
}

// Their macroblocks count, not their pixels.
TEST(JpegXrLimits, NarrowPictures) {
  for (const ColorFormat color : kColors) {
    const jpegxr::FrameHeader narrow = MakeFrame(1, 300000 / kPart, color);
    ExpectBounded(narrow, MakeFile(narrow, 100000), "narrow");
    const jpegxr::FrameHeader flat = MakeFrame(300000 / kPart, 1, color);
    ExpectBounded(flat, MakeFile(flat, 100000), "flat");
  }
}

std::string ErrorOf(const Bytes& file, int64_t max_pixels) {
  jpegxr::DecodeOptions options;
  options.max_pixels = max_pixels;
  int64_t memory = 0;
  const zepcodec::Status estimate =
      jpegxr::EstimateMemory(file.data(), file.size(), options, &memory);
  zepcodec::Picture image;
  jpegxr::FileInfo info;
  if (estimate.ok()) return "";
  // Nothing is taken for what is refused.
  EXPECT_EQ(jpegxr::Decode(file.data(), file.size(), options, &image, &info).text(),
            estimate.text());
  EXPECT_EQ(image.SizeInBytes(), 0U);
  return estimate.text();
}

TEST(JpegXrLimits, ClaimsBeyondTheFileAreRefused) {
  const struct {
    ColorFormat color;
    jpegxr::Bands bands;
    int64_t bits;  // of a macroblock at least
  } kCases[] = {{ColorFormat::kGrey, jpegxr::Bands::kAll, 3},
                {ColorFormat::kGrey, jpegxr::Bands::kDcOnly, 1},
                {ColorFormat::k420, jpegxr::Bands::kNoHighpass, 3},
                {ColorFormat::k444, jpegxr::Bands::kAll, 4}};
  for (const auto& one : kCases) {
    jpegxr::FrameHeader frame = MakeFrame(16 * 300, 16 * 300, one.color);
    frame.plane.bands = one.bands;
    const auto needed = static_cast<size_t>(one.bits * 300 * 300 / 8);
    EXPECT_EQ(ErrorOf(MakeFile(frame, needed), INT64_MAX), "");
    EXPECT_NE(ErrorOf(MakeFile(frame, needed - 100), INT64_MAX).find("bytes can hold"),
              std::string::npos);
  }
}

// The flattest picture that an encoder can write is read.
TEST(JpegXrLimits, FlatPicturesAreAccepted) {
  for (const ColorFormat color : kColors) {
    if (kPart > 1 && color != ColorFormat::k444) continue;
    const int channels = color == ColorFormat::kGrey ? 1 : 3;
    zepcodec::Picture image;
    ASSERT_TRUE(image.Resize(4800, 4000, zepcodec::LayoutWithChannels(channels)));
    std::fill_n(image.Row(0), image.SizeInBytes(), uint8_t{128});
    jpegxr::EncodeOptions options;
    options.lossless = false;
    options.quantizer = 200;
    options.color = color;
    const Bytes file = jpegxr_files::Encode(image, options);
    EXPECT_EQ(ErrorOf(file, 1 << 28), "") << file.size();
  }
}

TEST(JpegXrLimits, PixelsAreCountedWithTheirMacroblocks) {
  const jpegxr::FrameHeader narrow = MakeFrame(1, 1 << 21, ColorFormat::kGrey);
  const Bytes file = MakeFile(narrow, 100000);
  EXPECT_EQ(ErrorOf(file, 1 << 24), "");
  EXPECT_NE(ErrorOf(file, 1 << 22).find("narrow"), std::string::npos);
  EXPECT_NE(ErrorOf(file, (1 << 21) - 1).find("limit"), std::string::npos);
  // Of small ones nobody minds.
  EXPECT_EQ(ErrorOf(MakeFile(MakeFrame(1, 9, ColorFormat::kGrey), 100), 9), "");
}

}  // namespace
