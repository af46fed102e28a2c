// SPDX-License-Identifier: MIT
// Lossless JPEG files: every sample comes back, whatever the options; damage costs no more than it
// must.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "codecs/jpeg/lossless/codec.h"
#include "harness/guarded.h"
#include "tests/codecs/support/pictures.h"

namespace ljpeg = zepcodec::jpeg::lossless;

namespace {

using ljpeg::EncodeOptions;
using ljpeg::Tables;
using pictures::Bytes;
using zepcodec::Picture;

Bytes Encode(const zepcodec::Picture& picture, const EncodeOptions& options) {
  zepcodec::ByteBuffer file;
  const zepcodec::Status status = ljpeg::Encode(picture, options, &file);
  EXPECT_TRUE(status.ok()) << status.text();
  return {file.data(), file.data() + file.size()};
}

// In memory that ends where the file ends.
zepcodec::Status Decode(const Bytes& file, zepcodec::Picture* picture, ljpeg::FileInfo* info) {
  harness::Guarded<uint8_t> memory(file.size());
  if (!file.empty()) std::memcpy(memory.data(), file.data(), file.size());
  return ljpeg::Decode(memory.data(), file.size(), ljpeg::DecodeOptions(), picture, info);
}

std::string ErrorOf(const Bytes& file) {
  zepcodec::Picture picture;
  ljpeg::FileInfo info;
  return Decode(file, &picture, &info).text();
}

void ExpectRoundTrip(const zepcodec::Picture& picture, const EncodeOptions& options) {
  SCOPED_TRACE(testing::Message() << picture.width() << " x " << picture.height() << " x "
                                  << picture.channels() << ", " << picture.bits()
                                  << " bits, predictor " << options.predictor << ", transform "
                                  << options.point_transform);
  const Bytes file = Encode(picture, options);
  zepcodec::Picture back;
  ljpeg::FileInfo info;
  ASSERT_EQ(Decode(file, &back, &info).text(), "");
  EXPECT_TRUE(info.messages.empty()) << info.messages.kept()[0].ToString();
  EXPECT_EQ(info.predictor, options.predictor);
  EXPECT_EQ(info.bits, picture.bits());
  ASSERT_EQ(back.SampleCount(), picture.SampleCount());
  const int shift = options.point_transform;
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    ASSERT_EQ(back.Get(i), picture.Get(i) >> shift << shift) << "sample " << i;
  }
}

TEST(Ljpeg, EveryDepthAndPredictor) {
  for (int bits = 2; bits <= 16; ++bits) {
    for (int channels = 1; channels <= 4; ++channels) {
      const zepcodec::Picture picture =
          pictures::Noisy(67, 19, channels, bits, static_cast<uint32_t>(bits * 5 + channels));
      for (int predictor = 1; predictor <= 7; ++predictor) {
        EncodeOptions options;
        options.predictor = predictor;
        ExpectRoundTrip(picture, options);
      }
    }
  }
}

TEST(Ljpeg, EverySizeUpToTwoVectors) {
  for (int width = 1; width <= 66; ++width) {
    EncodeOptions options;
    options.predictor = 1 + width % 7;
    options.tables = static_cast<Tables>(width % 3);
    ExpectRoundTrip(pictures::Noisy(width, 1 + width % 4, 1 + width % 4, 12), options);
  }
}

TEST(Ljpeg, PointTransforms) {
  for (const int bits : {2, 8, 12, 16}) {
    for (int shift = 0; shift < bits; ++shift) {
      EncodeOptions options;
      options.point_transform = shift;
      options.predictor = shift > 0 ? 6 : 7;
      ExpectRoundTrip(pictures::Noisy(33, 9, 3, bits), options);
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
      ExpectRoundTrip(pictures::Noisy(50, 41, 3, 8), options);
    }
  }
}

TEST(Ljpeg, AllOfTheRange) {
  // Noise over all 16 bits needs every category, 16 among them.
  std::mt19937 random(9);
  zepcodec::Picture picture;
  ASSERT_TRUE(picture.Resize(300, 40, zepcodec::PixelLayout::kGrey, 16));
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
  const zepcodec::Picture picture = pictures::Noisy(200, 100, 3, 10);
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
  const auto error = [](const zepcodec::Picture& picture, const EncodeOptions& options) {
    zepcodec::ByteBuffer file;
    return ljpeg::Encode(picture, options, &file).text();
  };
  const auto with = [](int predictor, int shift, int rows) {
    EncodeOptions options;
    options.predictor = predictor;
    options.point_transform = shift;
    options.restart_rows = rows;
    return options;
  };
  const zepcodec::Picture deep = pictures::Noisy(40, 3, 1, 16);
  EXPECT_EQ(error(deep, with(6, 0, 0)), "");
  EXPECT_EQ(error(deep, with(6, 1, 0)), "");
  EXPECT_NE(error(deep, with(0, 0, 0)), "");
  EXPECT_NE(error(deep, with(8, 0, 0)), "");
  EXPECT_NE(error(deep, with(1, 16, 0)), "");
  EXPECT_NE(error(deep, with(1, -1, 0)), "");
  EXPECT_EQ(error(deep, with(1, 0, 1638)), "");
  EXPECT_NE(error(deep, with(1, 0, 1639)).find("1638 rows"), std::string::npos);
  EXPECT_NE(error(pictures::Noisy(4, 4, 1, 1), with(1, 0, 0)), "");
  EXPECT_NE(error(pictures::Noisy(65536, 1, 1, 8), with(1, 0, 0)), "");
  EXPECT_NE(error(zepcodec::Picture(), with(1, 0, 0)), "");
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

// Files from the text of ITU-T T.81, annex H: any sampling factors, one or several scans, each
// sample by itself.
class Model {
 public:
  struct Component {
    int h, v;
    int width, height;  // in samples
    std::vector<int> samples;

    // What lies beyond the component repeats its last column and row.
    int At(int x, int y) const {
      const int column = std::min(x, width - 1), row = std::min(y, height - 1);
      return samples[static_cast<size_t>(row * width + column)];
    }
  };

  Model(int width, int height, int bits, const std::vector<std::pair<int, int>>& factors)
      : width_(width), height_(height), bits_(bits) {
    std::mt19937 random(static_cast<uint32_t>(width * height + bits));
    for (const auto& [h, v] : factors) {
      max_h_ = std::max(max_h_, h);
      max_v_ = std::max(max_v_, v);
    }
    for (const auto& [h, v] : factors) {
      const int across = (width * h + max_h_ - 1) / max_h_;
      const int down = (height * v + max_v_ - 1) / max_v_;
      Component component{h, v, across, down, {}};
      for (int i = 0; i < across * down; ++i) {
        component.samples.push_back(static_cast<int>(random()) & ((1 << bits) - 1));
      }
      components_.push_back(component);
    }
  }

  // `restart_rows`: of MCUs; 0 for none.
  Bytes File(bool interleaved, int predictor, int restart_rows) {
    bytes_ = {0xFF, 0xD8};
    const auto count = static_cast<uint8_t>(components_.size());
    Put({0xFF, 0xC3, 0, static_cast<uint8_t>(8 + 3 * count), static_cast<uint8_t>(bits_),
         static_cast<uint8_t>(height_ >> 8), static_cast<uint8_t>(height_),
         static_cast<uint8_t>(width_ >> 8), static_cast<uint8_t>(width_), count});
    for (uint8_t c = 0; c < count; ++c) {
      const Component& component = components_[c];
      Put({c, static_cast<uint8_t>(component.h << 4 | component.v), 0});
    }
    // 17 categories, a code of 5 bits each.
    Put({0xFF, 0xC4, 0, 36, 0, 0, 0, 0, 0, 17, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    for (uint8_t category = 0; category < 17; ++category) Put({category});
    if (interleaved) {
      std::vector<uint8_t> all;
      for (uint8_t c = 0; c < count; ++c) all.push_back(c);
      AddScan(all, predictor, restart_rows);
    } else {
      for (uint8_t c = 0; c < count; ++c) AddScan({c}, predictor, restart_rows);
    }
    Put({0xFF, 0xD9});
    return bytes_;
  }

  int Expected(int x, int y, size_t c) const {
    const Component& component = components_[c];
    return component.At(x * component.h / max_h_, y * component.v / max_v_);
  }

 private:
  void Put(const std::vector<uint8_t>& bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  }

  void AddScan(const std::vector<uint8_t>& parts, int predictor, int restart_rows) {
    const bool alone = parts.size() == 1;
    const Component& first = components_[parts[0]];
    const int across = alone ? first.width : (width_ + max_h_ - 1) / max_h_;
    const int down = alone ? first.height : (height_ + max_v_ - 1) / max_v_;
    const int interval = restart_rows * across;
    Put({0xFF, 0xDD, 0, 4, static_cast<uint8_t>(interval >> 8), static_cast<uint8_t>(interval)});
    const auto count = static_cast<uint8_t>(parts.size());
    Put({0xFF, 0xDA, 0, static_cast<uint8_t>(6 + 2 * count), count});
    for (const uint8_t c : parts) Put({c, 0});
    Put({static_cast<uint8_t>(predictor), 0, 0});
    for (int row = 0; row < down; ++row) {
      const bool starts = row == 0 || (restart_rows > 0 && row % restart_rows == 0);
      if (starts && row > 0) {
        Flush();
        Put({0xFF, static_cast<uint8_t>(0xD0 + (row / restart_rows - 1) % 8)});
      }
      for (int column = 0; column < across; ++column) {
        for (const uint8_t c : parts) {
          const Component& one = components_[c];
          const int h = alone ? 1 : one.h, v = alone ? 1 : one.v;
          for (int y = row * v; y < (row + 1) * v; ++y) {
            for (int x = column * h; x < (column + 1) * h; ++x) {
              Code(one.At(x, y) - Predict(one, x, y, predictor, starts && y == row * v));
            }
          }
        }
      }
    }
    Flush();
  }

  int Predict(const Component& one, int x, int y, int predictor, bool is_first_line) const {
    if (x == 0 && is_first_line) return 1 << (bits_ - 1);
    if (is_first_line) return one.At(x - 1, y);
    if (x == 0) return one.At(x, y - 1);
    const int a = one.At(x - 1, y), b = one.At(x, y - 1), c = one.At(x - 1, y - 1);
    switch (predictor) {
      case 1: return a;
      case 2: return b;
      case 3: return c;
      case 4: return a + b - c;
      case 5: return a + ((b - c) >> 1);
      case 6: return b + ((a - c) >> 1);
      default: return (a + b) >> 1;
    }
  }

  void Code(int difference) {
    const int low = difference & 0xFFFF;
    if (low == 0x8000) return Bits(16, 5);
    const int value = low > 0x8000 ? low - 0x10000 : low;
    int category = 0;
    while ((std::abs(value) >> category) != 0) ++category;
    Bits(category, 5);
    Bits(value < 0 ? value + (1 << category) - 1 : value, category);
  }
  void Bits(int value, int count) {
    for (int i = count - 1; i >= 0; --i) {
      current_ = (current_ & 0x7F) << 1 | (value >> i & 1);
      if (++filled_ < 8) continue;
      Put({static_cast<uint8_t>(current_)});
      if (current_ == 0xFF) Put({0});
      filled_ = 0;
    }
  }
  void Flush() {
    if (filled_ > 0) Bits(0xFF, 8 - filled_);
  }

  int width_, height_, bits_;
  int max_h_ = 1, max_v_ = 1;
  std::vector<Component> components_;
  Bytes bytes_;
  int current_ = 0;
  int filled_ = 0;
};

TEST(Ljpeg, EverySamplingAndPredictor) {
  using Factors = std::vector<std::pair<int, int>>;
  const Factors all[] = {{{1, 1}, {1, 1}, {1, 1}},         {{2, 1}, {1, 1}, {1, 1}},
                         {{2, 2}, {1, 1}, {1, 1}},         {{1, 2}, {1, 1}, {1, 1}},
                         {{1, 1}, {2, 2}, {1, 1}},         {{4, 1}, {1, 2}},
                         {{3, 1}, {2, 2}, {1, 1}},         {{2, 2}, {2, 2}},
                         {{2, 1}, {1, 2}, {1, 1}, {2, 1}}, {{3, 2}}};
  int number = 0;
  for (const Factors& factors : all) {
    for (const auto& [width, height] : {std::pair{1, 1}, {2, 7}, {23, 11}, {24, 12}}) {
      for (int predictor = 1; predictor <= 7; ++predictor) {
        for (const bool interleaved : {false, true}) {
          const int bits = std::array{8, 12, 16}[static_cast<size_t>(number++ % 3)];
          const Factors used = factors.size() == 1 ? Factors{{1, 1}} : factors;
          Model model(width, height, bits, used);
          const Bytes file = model.File(interleaved, predictor, number % 4);
          SCOPED_TRACE(testing::Message() << number << ": " << width << " x " << height << ", "
                                          << factors.size() << " components, predictor "
                                          << predictor << (interleaved ? ", interleaved" : ""));
          zepcodec::Picture back;
          ljpeg::FileInfo info;
          ASSERT_EQ(Decode(file, &back, &info).text(), "");
          EXPECT_TRUE(info.messages.empty()) << info.messages.kept()[0].ToString();
          ASSERT_EQ(back.SampleCount(), factors.size() * static_cast<size_t>(width * height));
          size_t i = 0;
          for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
              for (size_t c = 0; c < factors.size(); ++c) {
                ASSERT_EQ(back.Get(i++), model.Expected(x, y, c)) << x << " " << y << " " << c;
              }
            }
          }
        }
      }
    }
  }
}

// A single component is all there is, whatever its factors say.
TEST(Ljpeg, FactorsOfASingleComponentSayNothing) {
  Model model(23, 11, 12, {{1, 1}});
  Bytes file = model.File(false, 4, 0);
  file[Find(file, kFrame) + 11] = 0x23;
  zepcodec::Picture back;
  ljpeg::FileInfo info;
  ASSERT_EQ(Decode(file, &back, &info).text(), "");
  EXPECT_EQ(back.Get(22 + 10 * 23), model.Expected(22, 10, 0));
}

// Reduced components and damage: every byte changed, the whole of what comes out within its bits.
TEST(Ljpeg, ReducedComponentsInDamagedFiles) {
  Model model(13, 9, 12, {{2, 2}, {1, 1}, {1, 2}});
  std::mt19937 random(6);
  for (const bool interleaved : {false, true}) {
    const Bytes file = model.File(interleaved, 7, 1);
    for (size_t i = 0; i < file.size(); ++i) {
      Bytes changed = file;
      changed[i] = static_cast<uint8_t>(random());
      zepcodec::Picture back;
      ljpeg::FileInfo info;
      if (!Decode(changed, &back, &info).ok()) continue;
      for (size_t k = 0; k < back.SampleCount(); ++k) ASSERT_LE(back.Get(k), back.MaxValue());
    }
    for (size_t size = 0; size < file.size(); size += 3) {
      zepcodec::Picture back;
      ljpeg::FileInfo info;
      const Bytes part(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
      EXPECT_TRUE(!Decode(part, &back, &info).ok() || !info.messages.empty());
    }
  }
}

// One scan for each component, made of grey files.
Bytes InSeparateScans(int channels, int bits, zepcodec::Picture* picture) {
  *picture = pictures::Noisy(45, 23, channels, bits);
  EncodeOptions options;
  options.restart_rows = 5;
  Bytes file = Encode(*picture, options);
  file.resize(Find(file, kTable));
  for (int c = 0; c < channels; ++c) {
    zepcodec::Picture plane;
    EXPECT_TRUE(plane.Resize(45, 23, zepcodec::PixelLayout::kGrey, bits));
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
      zepcodec::Picture picture;
      const Bytes file = InSeparateScans(channels, bits, &picture);
      zepcodec::Picture back;
      ljpeg::FileInfo info;
      ASSERT_EQ(Decode(file, &back, &info).text(), "");
      EXPECT_TRUE(info.messages.empty()) << info.messages.kept()[0].ToString();
      EXPECT_TRUE(pictures::Same(picture, back));
    }
  }
}

TEST(Ljpeg, AComponentThatIsMissing) {
  zepcodec::Picture picture;
  Bytes file = InSeparateScans(3, 8, &picture);
  const uint8_t table[] = {0xFF, kTable};
  const auto at = std::find_end(file.begin(), file.end(), std::begin(table), std::end(table));
  file.erase(at, file.end());  // the third component
  zepcodec::Picture back;
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
  const Bytes file = Encode(pictures::Noisy(20, 10, 3, 16), options);
  const size_t frame = Find(file, kFrame), scan = Find(file, kScan), dri = Find(file, kInterval);
  struct {
    size_t offset;
    int value;
    const char* text;
  } const cases[] = {{0, 0, "not a JPEG"},
                     {frame + 1, 0xC0, "16-bit JPEG (FF C0)"},
                     {frame + 1, 0xCB, "arithmetic-coded lossless JPEG (FF CB)"},
                     {frame + 4, 1, "1 bits"},
                     {frame + 4, 17, "17 bits"},
                     {frame + 6, 0, "no height"},
                     {frame + 8, 0, "no width"},
                     {frame + 9, 0, "0 components"},
                     {frame + 9, 5, "too short"},
                     {frame + 11, 0x01, "bad sampling factor"},
                     {frame + 11, 0x15, "bad sampling factor"},
                     {frame + 11, 0x44, "more than 10 samples"},
                     {scan + 4, 0, "bad scan"},
                     {scan + 5, 'X', "unknown component"},
                     {scan + 6, 0x30, "without its Huffman"},
                     {scan + 6, 0x40, "unknown Huffman"},
                     {scan + 11, 0, "predictor 0"},
                     {scan + 11, 8, "predictor 8"},
                     {dri + 5, 41, "whole rows"}};
  for (const auto& entry : cases) {
    Bytes changed = file;
    changed[entry.offset] = static_cast<uint8_t>(entry.value);
    EXPECT_NE(ErrorOf(changed).find(entry.text), std::string::npos)
        << entry.text << ": " << ErrorOf(changed);
  }
  Bytes eight = Encode(pictures::Noisy(20, 10, 1, 8), EncodeOptions());
  eight[Find(eight, kScan) + 9] = 8;
  EXPECT_NE(ErrorOf(eight).find("leaves nothing"), std::string::npos);
}

TEST(Ljpeg, WhatItIs) {
  EncodeOptions options;
  options.metadata.segments = {{0xE1, {1, 2, 3}}, {0xFE, {0xFF, 0xC3, 4}}};
  const Bytes file = Encode(pictures::Noisy(20, 10, 3, 16), options);
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
  const zepcodec::Picture picture = pictures::Noisy(31, 17, 3, 12);
  const Bytes file = Encode(picture, options);
  const size_t data = Find(file, kScan) + 14;
  for (size_t size = 0; size < file.size(); ++size) {
    const Bytes part(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
    zepcodec::Picture back;
    ljpeg::FileInfo info;
    const zepcodec::Status status = Decode(part, &back, &info);
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
  const zepcodec::Picture picture = pictures::Noisy(64, 60, 1, 8);
  const Bytes file = Encode(picture, options);
  std::vector<size_t> starts;
  for (size_t i = Find(file, kScan); i + 1 < file.size(); ++i) {
    if (file[i] == 0xFF && file[i + 1] >= 0xD0 && file[i + 1] <= 0xD7) starts.push_back(i);
  }
  ASSERT_EQ(starts.size(), 19U);
  const auto same_rows = [&](const zepcodec::Picture& back) {
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
      zepcodec::Picture back;
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
    const zepcodec::Picture picture = pictures::Noisy(40, 30, 3, 8);
    const Bytes file = Encode(picture, options);
    for (size_t at = Find(file, kScan); at + 1 < file.size(); ++at) {
      if (file[at] != 0xFF || file[at + 1] < 0xD0 || file[at + 1] > 0xD7) continue;
      for (size_t bit = 0; bit < 16; ++bit) {
        Bytes changed = file;
        changed[at + bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
        zepcodec::Picture back;
        ljpeg::FileInfo info;
        ASSERT_EQ(Decode(changed, &back, &info).text(), "");
        EXPECT_FALSE(info.messages.empty());
        EXPECT_TRUE(pictures::Same(picture, back)) << rows << " at " << at << ", bit " << bit;
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
    const Bytes file = Encode(pictures::Noisy(19, 11, channels, 8 + 4 * (channels / 3)), options);
    for (size_t i = 0; i < file.size(); ++i) {
      for (const int value :
           {0, 255, file[i] ^ 0x80, file[i] + 1, static_cast<int>(random() & 255)}) {
        Bytes changed = file;
        changed[i] = static_cast<uint8_t>(value);
        zepcodec::Picture back;
        ljpeg::FileInfo info;
        const zepcodec::Status status = Decode(changed, &back, &info);
        ASSERT_EQ(status.ok(), status.text().empty());
        if (!status.ok()) continue;
        for (size_t k = 0; k < back.SampleCount(); ++k) ASSERT_LE(back.Get(k), back.MaxValue());
      }
    }
  }
}

// The height of a frame can follow its first scan (DNL).
TEST(Ljpeg, AHeightAfterTheFirstScan) {
  for (const int rows : {0, 3}) {
    EncodeOptions options;
    options.restart_rows = rows;
    const zepcodec::Picture picture = pictures::Noisy(20, 10, 3, 12);
    Bytes file = Encode(picture, options);
    const size_t frame = Find(file, kFrame);
    file[frame + 5] = file[frame + 6] = 0;
    const Bytes line_count = {0xFF, 0xDC, 0, 4, 0, 10};
    file.insert(file.end() - 2, line_count.begin(), line_count.end());
    zepcodec::Picture back;
    ljpeg::FileInfo info;
    ASSERT_EQ(Decode(file, &back, &info).text(), "");
    EXPECT_TRUE(info.messages.empty()) << info.messages.kept()[0].ToString();
    EXPECT_TRUE(pictures::Same(picture, back));
  }
}

TEST(Ljpeg, MessagesHaveTheirBytes) {
  EncodeOptions options;
  options.restart_rows = 2;
  const Bytes file = Encode(pictures::Noisy(20, 10, 3, 16), options);
  const size_t frame = Find(file, kFrame), scan = Find(file, kScan);
  const auto at = [](size_t byte) { return "byte " + std::to_string(byte) + ": "; };
  Bytes changed = file;
  changed[frame + 4] = 17;
  EXPECT_EQ(ErrorOf(changed).find(at(frame)), 0U) << ErrorOf(changed);
  changed = file;
  changed[scan + 11] = 9;
  EXPECT_EQ(ErrorOf(changed).find(at(scan)), 0U) << ErrorOf(changed);
  // A damaged scan says where and at which MCU.
  changed = file;
  const size_t data = scan + 14;
  std::fill(changed.begin() + static_cast<std::ptrdiff_t>(data + 3),
            changed.begin() + static_cast<std::ptrdiff_t>(data + 12), uint8_t{0xFE});
  zepcodec::Picture back;
  ljpeg::FileInfo info;
  ASSERT_EQ(Decode(changed, &back, &info).text(), "");
  ASSERT_FALSE(info.messages.empty());
  EXPECT_GE(info.messages.kept()[0].offset, static_cast<int64_t>(data));
  EXPECT_EQ(info.messages.kept()[0].place.find("MCU "), 0U);
}

// Tables for coefficients mean nothing in a lossless file, nor does a quantization table's number.
TEST(Ljpeg, WhatIsForBlocksIsPassedOver) {
  const zepcodec::Picture picture = pictures::Noisy(20, 10, 1, 8);
  Bytes file = Encode(picture, EncodeOptions());
  const size_t frame = Find(file, kFrame);
  file[frame + 12] = 9;
  Bytes table = {0xFF, kTable, 0, 20, 0x13, 1};
  table.resize(22);
  file.insert(file.begin() + static_cast<std::ptrdiff_t>(frame), table.begin(), table.end());
  zepcodec::Picture back;
  ljpeg::FileInfo info;
  ASSERT_EQ(Decode(file, &back, &info).text(), "");
  EXPECT_TRUE(info.messages.empty()) << info.messages.kept()[0].ToString();
  EXPECT_TRUE(pictures::Same(picture, back));
}

TEST(Ljpeg, HugeHeadersCostNothing) {
  const auto start = std::chrono::steady_clock::now();
  Bytes file = Encode(pictures::Noisy(20, 10, 3, 16), EncodeOptions());
  const size_t frame = Find(file, kFrame);
  std::fill(file.begin() + static_cast<std::ptrdiff_t>(frame + 5),
            file.begin() + static_cast<std::ptrdiff_t>(frame + 9), uint8_t{255});
  EXPECT_NE(ErrorOf(file), "");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  zepcodec::Picture picture;
  ljpeg::FileInfo info;
  ljpeg::DecodeOptions options;
  options.max_pixels = 199;
  const Bytes small = Encode(pictures::Noisy(20, 10, 1, 8), EncodeOptions());
  EXPECT_NE(
      ljpeg::Decode(small.data(), small.size(), options, &picture, &info).text().find("limit"),
      std::string::npos);
}

}  // namespace
