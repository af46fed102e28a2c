// SPDX-License-Identifier: MIT
// Lossless JPEG files: every sample comes back, whatever the options; damage costs no more than it must.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "examples/rasters.h"
#include "harness/guarded.h"
#include "ljpeg/codec.h"

namespace {

using common::Raster;
using ljpeg::EncodeOptions;
using ljpeg::Tables;
using rasters::Bytes;

Bytes Encode(const Raster& picture, const EncodeOptions& options) {
  common::ByteBuffer file;
  const common::Status status = ljpeg::Encode(picture, options, &file);
  EXPECT_TRUE(status.ok()) << status.text();
  return {file.data(), file.data() + file.size()};
}

// In memory that ends where the file ends.
common::Status Decode(const Bytes& file, Raster* picture, ljpeg::FileInfo* info) {
  harness::Guarded<uint8_t> memory(file.size());
  if (!file.empty()) std::memcpy(memory.data(), file.data(), file.size());
  return ljpeg::Decode(memory.data(), file.size(), ljpeg::DecodeOptions(), picture, info);
}

std::string ErrorOf(const Bytes& file) {
  Raster picture;
  ljpeg::FileInfo info;
  return Decode(file, &picture, &info).text();
}

void ExpectRoundTrip(const Raster& picture, const EncodeOptions& options) {
  SCOPED_TRACE(testing::Message() << picture.width() << " x " << picture.height() << " x "
                                  << picture.channels() << ", " << picture.bits()
                                  << " bits, predictor " << options.predictor << ", transform "
                                  << options.point_transform);
  const Bytes file = Encode(picture, options);
  Raster back;
  ljpeg::FileInfo info;
  ASSERT_EQ(Decode(file, &back, &info).text(), "");
  EXPECT_TRUE(info.messages.empty()) << info.messages.kept()[0];
  EXPECT_EQ(info.predictor, options.predictor);
  EXPECT_EQ(info.bits, picture.bits());
  ASSERT_EQ(back.SampleCount(), picture.SampleCount());
  const int shift = options.point_transform;
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    ASSERT_EQ(back.Get(i), picture.Get(i) >> shift << shift) << "sample " << i;
  }
}

// 6 does not go with 16 bits.
bool Fits(int predictor, int bits) { return predictor != 6 || bits < 16; }

TEST(Ljpeg, EveryDepthAndPredictor) {
  for (int bits = 2; bits <= 16; ++bits) {
    for (int channels = 1; channels <= 4; ++channels) {
      const Raster picture =
          rasters::Noisy(67, 19, channels, bits, static_cast<uint32_t>(bits * 5 + channels));
      for (int predictor = 1; predictor <= 7; ++predictor) {
        EncodeOptions options;
        options.predictor = predictor;
        if (Fits(predictor, bits)) ExpectRoundTrip(picture, options);
      }
    }
  }
}

TEST(Ljpeg, EverySizeUpToTwoVectors) {
  for (int width = 1; width <= 66; ++width) {
    EncodeOptions options;
    options.predictor = 1 + width % 7;
    options.tables = static_cast<Tables>(width % 3);
    ExpectRoundTrip(rasters::Noisy(width, 1 + width % 4, 1 + width % 4, 12), options);
  }
}

TEST(Ljpeg, PointTransforms) {
  for (const int bits : {2, 8, 12, 16}) {
    for (int shift = 0; shift < bits; ++shift) {
      EncodeOptions options;
      options.point_transform = shift;
      options.predictor = shift > 0 ? 6 : 7;
      ExpectRoundTrip(rasters::Noisy(33, 9, 3, bits), options);
    }
  }
}

TEST(Ljpeg, RestartIntervals) {
  for (const int rows : {1, 2, 3, 7, 40, 41, 100}) {
    for (const Tables tables : {Tables::kFixed, Tables::kShared, Tables::kOptimal}) {
      EncodeOptions options;
      options.restart_rows = rows;
      options.predictor = 4;
      options.tables = tables;
      ExpectRoundTrip(rasters::Noisy(50, 41, 3, 8), options);
    }
  }
}

TEST(Ljpeg, AllOfTheRange) {
  // Noise over all 16 bits needs every category, 16 among them.
  std::mt19937 random(9);
  Raster picture;
  ASSERT_TRUE(picture.Resize(300, 40, 1, 16));
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    picture.Set(i,
                random() % 4 == 0 ? (i % 2 == 0 ? 0 : 0x8000) : static_cast<int>(random() & 65535));
  }
  for (const int predictor : {1, 2, 3, 4, 5, 7}) {
    for (const Tables tables : {Tables::kFixed, Tables::kOptimal}) {
      EncodeOptions options;
      options.predictor = predictor;
      options.tables = tables;
      ExpectRoundTrip(picture, options);
    }
  }
}

TEST(Ljpeg, BetterTablesMakeSmallerFiles) {
  const Raster picture = rasters::Noisy(200, 100, 3, 10);
  EncodeOptions options;
  options.tables = Tables::kFixed;
  const size_t fixed = Encode(picture, options).size();
  options.tables = Tables::kShared;
  const size_t shared = Encode(picture, options).size();
  options.tables = Tables::kOptimal;
  EXPECT_LT(shared, fixed);
  EXPECT_LE(Encode(picture, options).size(), shared + 60);  // tables take room
}

TEST(Ljpeg, OptionsThatDoNotFit) {
  const auto error = [](const Raster& picture, const EncodeOptions& options) {
    common::ByteBuffer file;
    return ljpeg::Encode(picture, options, &file).text();
  };
  const auto with = [](int predictor, int shift, int rows) {
    EncodeOptions options;
    options.predictor = predictor;
    options.point_transform = shift;
    options.restart_rows = rows;
    return options;
  };
  const Raster deep = rasters::Noisy(40, 3, 1, 16);
  EXPECT_NE(error(deep, with(6, 0, 0)).find("predictor 6"), std::string::npos);
  EXPECT_EQ(error(deep, with(6, 1, 0)), "");
  EXPECT_NE(error(deep, with(0, 0, 0)), "");
  EXPECT_NE(error(deep, with(8, 0, 0)), "");
  EXPECT_NE(error(deep, with(1, 16, 0)), "");
  EXPECT_NE(error(deep, with(1, -1, 0)), "");
  EXPECT_EQ(error(deep, with(1, 0, 1638)), "");
  EXPECT_NE(error(deep, with(1, 0, 1639)).find("1638 rows"), std::string::npos);
  EXPECT_NE(error(rasters::Noisy(4, 4, 1, 1), with(1, 0, 0)), "");
  EXPECT_NE(error(rasters::Noisy(65536, 1, 1, 8), with(1, 0, 0)), "");
  EXPECT_NE(error(Raster(), with(1, 0, 0)), "");
}

// Segments by their markers; the coded data are left out.
size_t Find(const Bytes& file, int marker) {
  for (size_t i = 0; i + 1 < file.size(); ++i) {
    if (file[i] == 0xFF && file[i + 1] == marker) return i;
  }
  ADD_FAILURE() << "no marker " << marker;
  return 0;
}

constexpr int kFrame = 0xC3, kTable = 0xC4, kScan = 0xDA, kInterval = 0xDD;

TEST(Ljpeg, PredictorSixAtSixteenBits) {
  // Fine as long as no sample has its highest bit set.
  EncodeOptions options;
  options.predictor = 6;
  Bytes file = Encode(rasters::Noisy(50, 20, 1, 15), options);
  const size_t precision = Find(file, kFrame) + 4;
  // The first prediction is 2^14 in a file of 15 bits and 2^15 in one of 16.
  file[precision] = 16;
  EXPECT_NE(ErrorOf(file).find("predictor 6"), std::string::npos);
  // In one row the predictor is not used.
  options.predictor = 4;
  Raster row;
  ASSERT_TRUE(row.Resize(1000, 1, 1, 16));
  for (size_t i = 0; i < 1000; ++i) row.Set(i, static_cast<int>(i * 77 & 0x7FFF));
  file = Encode(row, options);
  file[Find(file, kScan) + 7] = 6;
  Raster back;
  ljpeg::FileInfo info;
  ASSERT_EQ(Decode(file, &back, &info).text(), "");
  EXPECT_TRUE(rasters::Same(row, back));
}

// One scan for each component, made of grey files.
Bytes InSeparateScans(int channels, int bits, Raster* picture) {
  *picture = rasters::Noisy(45, 23, channels, bits);
  EncodeOptions options;
  options.restart_rows = 5;
  Bytes file = Encode(*picture, options);
  file.resize(Find(file, kTable));
  for (int c = 0; c < channels; ++c) {
    Raster plane;
    EXPECT_TRUE(plane.Resize(45, 23, 1, bits));
    for (size_t i = 0; i < plane.SampleCount(); ++i) {
      plane.Set(i, picture->Get(i * static_cast<size_t>(channels) + static_cast<size_t>(c)));
    }
    options.predictor = 1 + c;  // each scan has its own
    const Bytes one = Encode(plane, options);
    Bytes scan(one.begin() + static_cast<std::ptrdiff_t>(Find(one, kTable)), one.end() - 2);
    scan[Find(scan, kScan) + 5] = static_cast<uint8_t>(channels == 3 ? "RGB"[c] : c + 1);
    file.insert(file.end(), scan.begin(), scan.end());
  }
  file.insert(file.end(), {0xFF, 0xD9});
  return file;
}

TEST(Ljpeg, AScanForEachComponent) {
  for (int channels = 1; channels <= 4; ++channels) {
    for (const int bits : {8, 16}) {
      Raster picture;
      const Bytes file = InSeparateScans(channels, bits, &picture);
      Raster back;
      ljpeg::FileInfo info;
      ASSERT_EQ(Decode(file, &back, &info).text(), "");
      EXPECT_TRUE(info.messages.empty()) << info.messages.kept()[0];
      EXPECT_TRUE(rasters::Same(picture, back));
    }
  }
}

TEST(Ljpeg, AComponentThatIsMissing) {
  Raster picture;
  Bytes file = InSeparateScans(3, 8, &picture);
  const uint8_t table[] = {0xFF, kTable};
  const auto at = std::find_end(file.begin(), file.end(), std::begin(table), std::end(table));
  file.erase(at, file.end());  // the third component
  Raster back;
  ljpeg::FileInfo info;
  ASSERT_EQ(Decode(file, &back, &info).text(), "");
  EXPECT_FALSE(info.messages.empty());
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    ASSERT_EQ(back.Get(i), i % 3 == 2 ? 128 : picture.Get(i));
  }
}

TEST(Ljpeg, WhatIsNotSupportedIsNamed) {
  EncodeOptions options;
  options.restart_rows = 2;
  const Bytes file = Encode(rasters::Noisy(20, 10, 3, 16), options);
  const size_t frame = Find(file, kFrame), scan = Find(file, kScan), dri = Find(file, kInterval);
  struct {
    size_t offset;
    int value;
    const char* text;
  } const cases[] = {{0, 0, "not a JPEG"},
                     {frame + 1, 0xC0, "another process (FF C0)"},
                     {frame + 1, 0xCB, "another process (FF CB)"},
                     {frame + 4, 1, "1 bits"},
                     {frame + 4, 17, "17 bits"},
                     {frame + 6, 0, "DNL"},
                     {frame + 8, 0, "no width"},
                     {frame + 9, 0, "0 components"},
                     {frame + 9, 5, "too short"},
                     {frame + 11, 0x21, "sampling factors 2 x 1"},
                     {scan + 4, 0, "bad scan"},
                     {scan + 5, 'X', "unknown component"},
                     {scan + 6, 0x30, "unknown Huffman"},
                     {scan + 11, 0, "predictor 0"},
                     {scan + 11, 8, "predictor 8"},
                     {dri + 5, 41, "whole rows"}};
  for (const auto& entry : cases) {
    Bytes changed = file;
    changed[entry.offset] = static_cast<uint8_t>(entry.value);
    EXPECT_NE(ErrorOf(changed).find(entry.text), std::string::npos)
        << entry.text << ": " << ErrorOf(changed);
  }
  Bytes eight = Encode(rasters::Noisy(20, 10, 1, 8), EncodeOptions());
  eight[Find(eight, kScan) + 9] = 8;
  EXPECT_NE(ErrorOf(eight).find("leaves nothing"), std::string::npos);
}

TEST(Ljpeg, WhatItIs) {
  EncodeOptions options;
  options.metadata.segments = {{0xE1, {1, 2, 3}}, {0xFE, {0xFF, 0xC3, 4}}};
  const Bytes file = Encode(rasters::Noisy(20, 10, 3, 16), options);
  EXPECT_TRUE(ljpeg::IsLosslessJpeg(file.data(), file.size()));
  ljpeg::FileInfo info;
  ASSERT_TRUE(ljpeg::ReadFileInfo(file.data(), file.size(), &info).ok());
  EXPECT_EQ(info.width, 20);
  EXPECT_EQ(info.height, 10);
  ASSERT_EQ(info.metadata.segments.size(), 2U);
  EXPECT_EQ(info.metadata.segments[1].data, (Bytes{0xFF, 0xC3, 4}));
  const size_t frame = Find(file, 0xFE) + 7;
  for (size_t size = 0; size < file.size(); ++size) {
    harness::Guarded<uint8_t> part(size);
    if (size > 0) std::memcpy(part.data(), file.data(), size);
    // As soon as the frame header's marker and length are there.
    EXPECT_EQ(ljpeg::IsLosslessJpeg(part.data(), size), size >= frame + 4) << size;
  }
  Bytes other = file;
  other[frame + 1] = 0xC1;
  EXPECT_FALSE(ljpeg::IsLosslessJpeg(other.data(), other.size()));
}

TEST(Ljpeg, TruncatedAtEveryByte) {
  EncodeOptions options;
  const Raster picture = rasters::Noisy(31, 17, 3, 12);
  const Bytes file = Encode(picture, options);
  const size_t data = Find(file, kScan) + 14;
  for (size_t size = 0; size < file.size(); ++size) {
    const Bytes part(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
    Raster back;
    ljpeg::FileInfo info;
    const common::Status status = Decode(part, &back, &info);
    ASSERT_EQ(status.ok(), size >= data) << size;
    if (!status.ok() || size + 2 == file.size()) continue;
    if (size + 2 < file.size()) {
      EXPECT_FALSE(info.messages.empty()) << size;
    }
    // What came before the end is right: a sample takes at most 4 bytes.
    const size_t sure = (size - data) / 8;
    for (size_t i = 0; i < sure; ++i) ASSERT_EQ(back.Get(i), picture.Get(i));
  }
}

TEST(Ljpeg, RestartMarkersSaveTheRest) {
  EncodeOptions options;
  options.restart_rows = 3;
  const Raster picture = rasters::Noisy(64, 60, 1, 8);
  const Bytes file = Encode(picture, options);
  std::vector<size_t> starts;
  for (size_t i = Find(file, kScan); i + 1 < file.size(); ++i) {
    if (file[i] == 0xFF && file[i + 1] >= 0xD0 && file[i + 1] <= 0xD7) starts.push_back(i);
  }
  ASSERT_EQ(starts.size(), 19U);
  const auto same_rows = [&](const Raster& back) {
    int count = 0;
    for (int y = 0; y < 60; ++y) count += std::equal(back.Row(y), back.Row(y) + 64, picture.Row(y));
    return count;
  };
  for (size_t i = 0; i + 1 < starts.size(); ++i) {
    // An interval without its data, one with other data, one without its marker.
    Bytes lost = file;
    lost.erase(lost.begin() + static_cast<std::ptrdiff_t>(starts[i]),
               lost.begin() + static_cast<std::ptrdiff_t>(starts[i + 1]));
    Bytes other = file;
    std::fill(other.begin() + static_cast<std::ptrdiff_t>(starts[i] + 2),
              other.begin() + static_cast<std::ptrdiff_t>(starts[i + 1]), uint8_t{0x11});
    Bytes unmarked = file;
    unmarked[starts[i]] = 0;
    const Bytes* files[] = {&lost, &other, &unmarked};
    for (size_t k = 0; k < 3; ++k) {
      Raster back;
      ljpeg::FileInfo info;
      ASSERT_EQ(Decode(*files[k], &back, &info).text(), "");
      EXPECT_FALSE(info.messages.empty()) << i << " " << k;
      EXPECT_GE(same_rows(back), 57) << i << " " << k;
    }
  }
}

TEST(Ljpeg, AWrongBitInARestartMarkerCostsNothing) {
  for (const int rows : {1, 4}) {
    EncodeOptions options;
    options.restart_rows = rows;
    options.predictor = 4;
    const Raster picture = rasters::Noisy(40, 30, 3, 8);
    const Bytes file = Encode(picture, options);
    for (size_t at = Find(file, kScan); at + 1 < file.size(); ++at) {
      if (file[at] != 0xFF || file[at + 1] < 0xD0 || file[at + 1] > 0xD7) continue;
      for (size_t bit = 0; bit < 16; ++bit) {
        Bytes changed = file;
        changed[at + bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
        Raster back;
        ljpeg::FileInfo info;
        ASSERT_EQ(Decode(changed, &back, &info).text(), "");
        EXPECT_FALSE(info.messages.empty());
        EXPECT_TRUE(rasters::Same(picture, back)) << rows << " at " << at << ", bit " << bit;
      }
    }
  }
}

TEST(Ljpeg, EveryByteChanged) {
  std::mt19937 random(4);
  for (int channels = 1; channels <= 3; channels += 2) {
    EncodeOptions options;
    options.restart_rows = 4;
    options.predictor = 7;
    const Bytes file = Encode(rasters::Noisy(19, 11, channels, 8 + 4 * (channels / 3)), options);
    for (size_t i = 0; i < file.size(); ++i) {
      for (const int value :
           {0, 255, file[i] ^ 0x80, file[i] + 1, static_cast<int>(random() & 255)}) {
        Bytes changed = file;
        changed[i] = static_cast<uint8_t>(value);
        Raster back;
        ljpeg::FileInfo info;
        const common::Status status = Decode(changed, &back, &info);
        ASSERT_EQ(status.ok(), status.text().empty());
        if (!status.ok()) continue;
        for (size_t k = 0; k < back.SampleCount(); ++k) ASSERT_LE(back.Get(k), back.MaxValue());
      }
    }
  }
}

TEST(Ljpeg, HugeHeadersCostNothing) {
  const auto start = std::chrono::steady_clock::now();
  Bytes file = Encode(rasters::Noisy(20, 10, 3, 16), EncodeOptions());
  const size_t frame = Find(file, kFrame);
  std::fill(file.begin() + static_cast<std::ptrdiff_t>(frame + 5),
            file.begin() + static_cast<std::ptrdiff_t>(frame + 9), uint8_t{255});
  EXPECT_NE(ErrorOf(file), "");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  Raster picture;
  ljpeg::FileInfo info;
  ljpeg::DecodeOptions options;
  options.max_pixels = 199;
  const Bytes small = Encode(rasters::Noisy(20, 10, 1, 8), EncodeOptions());
  EXPECT_NE(
      ljpeg::Decode(small.data(), small.size(), options, &picture, &info).text().find("limit"),
      std::string::npos);
}

}  // namespace
