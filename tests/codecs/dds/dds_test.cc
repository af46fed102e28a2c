// SPDX-License-Identifier: MIT
// DDS files: headers of all kinds, levels, damage.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "codecs/dds/codec.h"
#include "codecs/dds/mipmaps.h"
#include "harness/guarded.h"
#include "tests/codecs/support/pictures.h"

namespace dds = zepcodec::dds;

namespace {

using dds::BlockFormat;
using dds::HeaderStyle;
using pictures::Bytes;
using zepcodec::PixelLayout;

constexpr BlockFormat kFormats[] = {BlockFormat::kBc1, BlockFormat::kBc2, BlockFormat::kBc3,
                                    BlockFormat::kBc4, BlockFormat::kBc5, BlockFormat::kBc7};
constexpr HeaderStyle kStyles[] = {HeaderStyle::kFourCc, HeaderStyle::kUnsignedFourCc,
                                   HeaderStyle::kDx10};

// RGB and grey as in photographs; RGBA with a gradient of alpha.
zepcodec::Picture Picture(int width, int height, PixelLayout layout) {
  if (layout != PixelLayout::kRgba) return pictures::Detailed(width, height, layout);
  const zepcodec::Picture rgb = pictures::Detailed(width, height, PixelLayout::kRgb);
  zepcodec::Picture image;
  EXPECT_TRUE(image.Resize(width, height, layout));
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      std::memcpy(image.Row(y) + 4 * x, rgb.Row(y) + 3 * x, 3);
      image.Row(y)[4 * x + 3] = static_cast<uint8_t>(x * 255 / width);
    }
  }
  return image;
}

void MakeOpaque(zepcodec::Picture* rgba) {
  for (size_t i = 3; i < rgba->SizeInBytes(); i += 4) rgba->Row(0)[i] = 255;
}

Bytes Encode(const zepcodec::Picture& image, const dds::EncodeOptions& options) {
  zepcodec::ByteBuffer file;
  zepcodec::PictureRows rows(image);
  const zepcodec::Status status = dds::Encode(&rows, options, &file);
  EXPECT_TRUE(status.ok()) << status.text();
  return pictures::ToBytes(file);
}

Bytes File(BlockFormat format, HeaderStyle style = HeaderStyle::kFourCc, bool has_mipmaps = false,
           int width = 21, int height = 13) {
  dds::EncodeOptions options;
  options.format = format;
  options.style = style;
  options.has_mipmaps = has_mipmaps;
  return Encode(Picture(width, height, dds::LayoutOf(format, false)), options);
}

dds::DecodeOptions OptionsFor(int level) {
  dds::DecodeOptions options;
  options.max_pixels = INT64_MAX;
  options.level = level;
  return options;
}

// In memory that ends where the file ends.
zepcodec::Status Decode(const Bytes& file, int level, zepcodec::Picture* image,
                        dds::Header* header) {
  harness::Guarded<uint8_t> memory(file.size());
  if (!file.empty()) std::memcpy(memory.data(), file.data(), file.size());
  const zepcodec::Status status =
      dds::Decode(memory.data(), file.size(), OptionsFor(level), image, header);
  EXPECT_EQ(status.ok(), status.text().empty());
  return status;
}

std::string ErrorOf(const Bytes& file) {
  zepcodec::Picture image;
  dds::Header header;
  return Decode(file, 0, &image, &header).text();
}

void Set(Bytes* file, size_t offset, uint32_t value) {
  for (size_t i = 0; i < 4; ++i) (*file)[offset + i] = static_cast<uint8_t>(value >> (8 * i));
}

TEST(Dds, EveryFormatInEveryHeaderAndSize) {
  for (const BlockFormat format : kFormats) {
    for (const HeaderStyle style : kStyles) {
      for (int side = 1; side <= 13; ++side) {
        zepcodec::Picture picture = Picture(side, 14 - side, dds::LayoutOf(format, false));
        dds::EncodeOptions options;
        options.format = format;
        options.style = style;
        const Bytes file = Encode(picture, options);
        zepcodec::Picture image;
        dds::Header header;
        ASSERT_EQ(Decode(file, 0, &image, &header).text(), "");
        EXPECT_EQ(header.format, format);
        EXPECT_EQ(image.width(), side);
        EXPECT_EQ(image.height(), 14 - side);
        if (format == BlockFormat::kBc5) continue;  // without blue: the test below
        if (format == BlockFormat::kBc1) MakeOpaque(&picture);
        EXPECT_LE(pictures::Compare(picture, image).mean, 8);
      }
    }
  }
}

TEST(Dds, Bc5KeepsRedAndGreen) {
  zepcodec::Picture picture = Picture(30, 22, PixelLayout::kRgb);
  dds::EncodeOptions options;
  options.format = BlockFormat::kBc5;
  const Bytes file = Encode(picture, options);
  zepcodec::Picture image;
  dds::Header header;
  ASSERT_TRUE(Decode(file, 0, &image, &header).ok());
  for (size_t i = 2; i < picture.SizeInBytes(); i += 3) picture.Row(0)[i] = 0;
  EXPECT_LE(pictures::Compare(picture, image).mean, 3);
}

// The same file whatever the number of threads, in every mode.
TEST(Dds, Bc7InBands) {
  const zepcodec::Picture picture = Picture(45, 70, PixelLayout::kRgba);
  for (int mode = -1; mode < 8; ++mode) {
    dds::EncodeOptions options;
    options.format = BlockFormat::kBc7;
    options.bc7_mode = mode;
    const Bytes file = Encode(picture, options);
    options.threads = 3;
    EXPECT_EQ(Encode(picture, options), file);
    if (mode < 0) continue;
    EXPECT_EQ(file[148] & ((2U << mode) - 1), 1U << mode);
  }
}

// BC6H blocks as a file, made from one of BC7 by its number.
Bytes HalfFile(uint32_t number) {
  Bytes file = File(BlockFormat::kBc7);
  Set(&file, 128, number);
  // Mode 3 of one region: all end points 1023, the greatest there is.
  for (size_t i = 148; i < file.size(); ++i) file[i] = i % 16 == 4 ? 0xE3 : 0xFF;
  return file;
}

TEST(Dds, HalvesOfBc6h) {
  for (const uint32_t number : {94U, 95U, 96U}) {
    const Bytes file = HalfFile(number);
    zepcodec::Picture picture;
    dds::Header header;
    ASSERT_EQ(Decode(file, 0, &picture, &header).text(), "");
    EXPECT_EQ(header.format, number == 96 ? BlockFormat::kBc6hSigned : BlockFormat::kBc6hUnsigned);
    EXPECT_EQ(picture.type(), zepcodec::SampleType::kF16);
    std::vector<uint16_t> halves(picture.SampleCount());
    std::memcpy(halves.data(), picture.Row(0), picture.SizeInBytes());
    EXPECT_EQ(halves, std::vector<uint16_t>(size_t{3} * 21 * 13, number == 96 ? 0x805D : 0x7BFF));
  }
}

TEST(Dds, YCoCgComesBackAsRgb) {
  const zepcodec::Picture picture = pictures::Smooth(45, 31, PixelLayout::kRgb);
  dds::EncodeOptions options;
  options.format = BlockFormat::kBc3;
  options.is_ycocg = true;
  options.has_mipmaps = true;
  const Bytes file = Encode(picture, options);
  zepcodec::Picture image;
  dds::Header header;
  ASSERT_TRUE(Decode(file, 0, &image, &header).ok());
  EXPECT_TRUE(header.is_ycocg);
  EXPECT_LE(pictures::Compare(picture, image).mean, 4);
}

zepcodec::Status StatusOfEncoding(PixelLayout layout, const dds::EncodeOptions& options) {
  const zepcodec::Picture picture = Picture(4, 4, layout);
  zepcodec::PictureRows rows(picture);
  zepcodec::ByteBuffer file;
  return dds::Encode(&rows, options, &file);
}

TEST(Dds, OptionsThatDoNotFit) {
  dds::EncodeOptions options;
  EXPECT_TRUE(StatusOfEncoding(PixelLayout::kRgb, options).ok());
  options.is_ycocg = true;
  EXPECT_FALSE(StatusOfEncoding(PixelLayout::kRgb, options).ok());
  options = dds::EncodeOptions();
  options.format = BlockFormat::kBc4;
  EXPECT_FALSE(StatusOfEncoding(PixelLayout::kRgb, options).ok());
  options.format = BlockFormat::kBc5;
  EXPECT_FALSE(StatusOfEncoding(PixelLayout::kRgba, options).ok());
}

// The mean of an area whose borders lie anywhere, in floating point.
double MeanOfArea(const zepcodec::Picture& image, int x, int y, size_t channel, int width,
                  int height) {
  const double x_scale = static_cast<double>(image.width()) / width;
  const double y_scale = static_cast<double>(image.height()) / height;
  double sum = 0;
  for (int row = 0; row < image.height(); ++row) {
    const double top = std::max<double>(row, y * y_scale);
    const double bottom = std::min<double>(row + 1, (y + 1) * y_scale);
    for (int column = 0; column < image.width(); ++column) {
      const double left = std::max<double>(column, x * x_scale);
      const double right = std::min<double>(column + 1, (x + 1) * x_scale);
      if (bottom <= top || right <= left) continue;
      const size_t at =
          static_cast<size_t>(column) * static_cast<size_t>(image.channels()) + channel;
      sum += (bottom - top) * (right - left) * image.Row(row)[at];
    }
  }
  return sum / (x_scale * y_scale);
}

bool Halve(const zepcodec::Picture& image, zepcodec::Picture* half) {
  zepcodec::ThreadPool pool(2);
  return dds::Halve(image, &pool, half).ok();
}

TEST(Dds, LevelsAreMeansOfAreas) {
  for (int width = 1; width <= 11; ++width) {
    for (int height = 1; height <= 9; ++height) {
      for (const PixelLayout layout : {PixelLayout::kGrey, PixelLayout::kRgba}) {
        const zepcodec::Picture image = Picture(width, height, layout);
        zepcodec::Picture half;
        ASSERT_TRUE(Halve(image, &half));
        ASSERT_EQ(half.width(), std::max(width / 2, 1));
        ASSERT_EQ(half.height(), std::max(height / 2, 1));
        const auto channels = static_cast<size_t>(image.channels());
        for (size_t i = 0; i < half.SizeInBytes(); ++i) {
          const int pixel = static_cast<int>(i / channels);
          const double mean = MeanOfArea(image, pixel % half.width(), pixel / half.width(),
                                         i % channels, half.width(), half.height());
          ASSERT_NEAR(half.Row(0)[i], mean, 0.5 + 1e-9) << width << " x " << height;
        }
      }
    }
  }
}

TEST(Dds, AFullChainOfLevels) {
  const Bytes file = File(BlockFormat::kBc1, HeaderStyle::kFourCc, true, 37, 150);
  zepcodec::Picture image;
  dds::Header header;
  ASSERT_TRUE(Decode(file, 0, &image, &header).ok());
  ASSERT_EQ(header.levels, 8);
  zepcodec::Picture expected = Picture(37, 150, PixelLayout::kRgba);
  for (int level = 1; level < 8; ++level) {
    zepcodec::Picture half;
    ASSERT_TRUE(Halve(expected, &half));
    expected = std::move(half);
    ASSERT_TRUE(Decode(file, level, &image, &header).ok());
    EXPECT_EQ(image.width(), std::max(37 >> level, 1));
    EXPECT_EQ(image.height(), std::max(150 >> level, 1));
    const Bytes alone = Encode(expected, dds::EncodeOptions());
    zepcodec::Picture same;
    ASSERT_TRUE(Decode(alone, 0, &same, &header).ok());
    EXPECT_TRUE(pictures::Same(same, image)) << level;
    ASSERT_TRUE(Decode(file, 0, &image, &header).ok());
  }
  EXPECT_FALSE(Decode(file, 8, &image, &header).ok());
  EXPECT_FALSE(Decode(file, -1, &image, &header).ok());
}

TEST(Dds, FacesAndElements) {
  Bytes cube = File(BlockFormat::kBc1);
  const Bytes blocks(cube.begin() + 128, cube.end());
  for (int i = 0; i < 5; ++i) cube.insert(cube.end(), blocks.begin(), blocks.end());
  Set(&cube, 112, 0x200 | 0xFC00);
  zepcodec::Picture image;
  dds::Header header;
  ASSERT_TRUE(Decode(cube, 0, &image, &header).ok());
  EXPECT_EQ(header.pictures, 6);
  cube.pop_back();
  EXPECT_NE(ErrorOf(cube).find("announces 6 x"), std::string::npos);

  Bytes array = File(BlockFormat::kBc1, HeaderStyle::kDx10);
  array.insert(array.end(), blocks.begin(), blocks.end());
  Set(&array, 140, 2);
  ASSERT_TRUE(Decode(array, 0, &image, &header).ok());
  EXPECT_EQ(header.pictures, 2);
  Set(&array, 140, 0xFFFFFFFF);
  EXPECT_NE(ErrorOf(array), "");
}

TEST(Dds, NoneCountsAsOne) {
  for (const uint32_t count : {0U, 1U}) {
    Bytes file = File(BlockFormat::kBc1, HeaderStyle::kDx10);
    zepcodec::Picture want, got;
    dds::Header header;
    ASSERT_TRUE(Decode(file, 0, &want, &header).ok());
    Set(&file, 8, 0x1007 | 0x80000 | 0x20000 | 0x800000);  // levels and depth are said to be there
    Set(&file, 24, count);
    Set(&file, 28, count);
    Set(&file, 108, 0x401008);
    Set(&file, 112, 0x200000);  // a volume
    Set(&file, 140, count);
    for (const uint32_t dimension : {3U, 4U}) {
      Set(&file, 132, dimension);
      ASSERT_EQ(Decode(file, 0, &got, &header).text(), "");
      EXPECT_EQ(header.levels, 1);
      EXPECT_EQ(header.pictures, 1);
      EXPECT_TRUE(pictures::Same(want, got));
    }
    Set(&file, 24, 2);
    EXPECT_NE(ErrorOf(file).find("announces 2 x"), std::string::npos);
  }
}

TEST(Dds, Bc2CanBeOpaque) {
  zepcodec::Picture picture = Picture(32, 8, PixelLayout::kRgba);
  dds::EncodeOptions options;
  options.format = BlockFormat::kBc2;
  for (int alpha = 0; alpha < 256; ++alpha)
    picture.Row(0)[4 * alpha + 3] = static_cast<uint8_t>(alpha);
  zepcodec::Picture back;
  dds::Header header;
  ASSERT_TRUE(Decode(Encode(picture, options), 0, &back, &header).ok());
  for (int alpha = 0; alpha < 256; ++alpha) {
    EXPECT_EQ(back.Row(0)[4 * alpha + 3], (alpha + 8) / 17 * 17);
  }
}

TEST(Dds, WhatIsNotSupportedIsNamed) {
  struct {
    size_t offset;
    uint32_t value;
    const char* text;
  } const cases[] = {{0, 0, "not a DDS file"},  {4, 123, "damaged"},      {76, 24, "damaged"},
                     {80, 0x40, "such masks"},  {80, 0x200, "flags 512"}, {84, 0x01020304, "????"},
                     {128, 100, "100"},         {128, 69, "69"},          {128, 31, "31"},
                     {132, 2, "one dimension"}, {132, 4, "announces 2 x"}};
  for (const auto& entry : cases) {
    Bytes file = File(BlockFormat::kBc1, HeaderStyle::kDx10);
    Set(&file, 24, 2);  // the depth of a volume
    Set(&file, entry.offset, entry.value);
    EXPECT_NE(ErrorOf(file).find(entry.text), std::string::npos) << ErrorOf(file);
  }
}

TEST(Dds, EveryNumberOfTheExtendedHeader) {
  for (uint32_t number = 70; number < 85; ++number) {
    auto format = static_cast<BlockFormat>((number - 70) / 3);
    Bytes file = File(format, HeaderStyle::kDx10);
    Set(&file, 128, number);
    zepcodec::Picture image;
    dds::Header header;
    if (number == 81) format = BlockFormat::kBc4Signed;
    if (number == 84) format = BlockFormat::kBc5Signed;
    ASSERT_TRUE(Decode(file, 0, &image, &header).ok()) << number;
    EXPECT_EQ(header.format, format);
  }
}

TEST(Dds, TruncatedAtEveryByte) {
  for (const HeaderStyle style : kStyles) {
    const Bytes file = File(BlockFormat::kBc4, style, true, 9, 6);
    for (size_t size = 0; size < file.size(); ++size) {
      const Bytes part(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
      EXPECT_NE(ErrorOf(part), "") << size;
    }
  }
}

TEST(Dds, EveryByteChanged) {
  std::mt19937 random(3);
  for (const HeaderStyle style : kStyles) {
    const Bytes file = File(BlockFormat::kBc3, style, true, 9, 6);
    for (size_t i = 0; i < file.size(); ++i) {
      for (const int value :
           {0, 255, file[i] ^ 0x80, file[i] + 1, static_cast<int>(random() & 255)}) {
        Bytes changed = file;
        changed[i] = static_cast<uint8_t>(value);
        zepcodec::Picture image;
        dds::Header header;
        if (!Decode(changed, 0, &image, &header).ok()) continue;
        for (int level = 1; level < header.levels; ++level) {
          EXPECT_TRUE(Decode(changed, level, &image, &header).ok());
        }
      }
    }
  }
}

TEST(Dds, HugeHeadersCostNothing) {
  const auto start = std::chrono::steady_clock::now();
  for (const uint32_t side : {0u, 1u << 20, 1u << 28, (1u << 28) + 1, 0xFFFFFFFFu}) {
    for (const size_t field : {size_t{12}, size_t{16}, size_t{28}}) {
      Bytes file = File(BlockFormat::kBc1, HeaderStyle::kFourCc, true);
      Set(&file, field, side);
      if (field == 28 && side == 0) continue;  // no levels are one
      EXPECT_NE(ErrorOf(file), "") << field << " " << side;
      if (field == 28) continue;
      Set(&file, 28 - field, side);  // the other side
      EXPECT_NE(ErrorOf(file), "");
    }
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(Dds, TheLimitOfPixelsHolds) {
  const Bytes file = File(BlockFormat::kBc1, HeaderStyle::kFourCc, false, 20, 10);
  zepcodec::Picture image;
  dds::Header header;
  dds::DecodeOptions options;
  options.max_pixels = 200;
  EXPECT_TRUE(dds::Decode(file.data(), file.size(), options, &image, &header).ok());
  options.max_pixels = 199;
  EXPECT_NE(dds::Decode(file.data(), file.size(), options, &image, &header).text().find("limit"),
            std::string::npos);
}

}  // namespace
