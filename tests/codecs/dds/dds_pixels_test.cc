// SPDX-License-Identifier: MIT
// DDS files that this codec only reads: pixels without blocks, colours multiplied by their opacity,
// signed values, volumes. The expected samples are computed here from the layouts.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "codecs/dds/codec.h"
#include "harness/guarded.h"
#include "tests/codecs/support/pictures.h"

namespace dds = zepcodec::dds;

namespace {

using pictures::Bytes;
using zepcodec::PixelLayout;
using zepcodec::SampleType;

constexpr int kWidth = 9, kHeight = 7;

void Set(Bytes* file, size_t offset, uint32_t value) {
  for (size_t i = 0; i < 4; ++i) (*file)[offset + i] = static_cast<uint8_t>(value >> (8 * i));
}

// A header without a format.
Bytes Header(size_t size) {
  Bytes file(size);
  Set(&file, 0, 0x20534444);
  Set(&file, 4, 124);
  Set(&file, 8, 0x1007);
  Set(&file, 12, kHeight);
  Set(&file, 16, kWidth);
  Set(&file, 76, 32);
  Set(&file, 108, 0x1000);
  return file;
}

Bytes MaskedHeader(uint32_t flags, uint32_t bits, const dds::Masks& masks) {
  Bytes file = Header(128);
  Set(&file, 80, flags);
  Set(&file, 88, bits);
  for (size_t i = 0; i < 4; ++i) Set(&file, 92 + 4 * i, masks[i]);
  return file;
}

Bytes FourCcHeader(const char* name) {
  Bytes file = Header(128);
  Set(&file, 80, 4);
  std::memcpy(file.data() + 84, name, 4);
  return file;
}

Bytes DxgiHeader(uint32_t number) {
  Bytes file = Header(148);
  Set(&file, 80, 4);
  std::memcpy(file.data() + 84, "DX10", 4);
  Set(&file, 128, number);
  Set(&file, 132, 3);
  Set(&file, 140, 1);
  return file;
}

Bytes Random(size_t size) {
  std::mt19937 random(5);
  Bytes bytes(size);
  for (auto& byte : bytes) byte = static_cast<uint8_t>(random());
  return bytes;
}

Bytes Joined(Bytes file, const Bytes& pixels) {
  file.insert(file.end(), pixels.begin(), pixels.end());
  return file;
}

// In memory that ends where the file ends.
zepcodec::Picture Decoded(const Bytes& file, dds::DecodeOptions options = {}) {
  harness::Guarded<uint8_t> memory(file.size());
  std::memcpy(memory.data(), file.data(), file.size());
  zepcodec::Picture picture;
  dds::Header header;
  const zepcodec::Status status =
      dds::Decode(memory.data(), file.size(), options, &picture, &header);
  EXPECT_TRUE(status.ok()) << status.text();
  return picture;
}

struct Masked {
  uint32_t flags;
  uint32_t bits;
  dds::Masks masks;
  uint32_t dxgi;  // 0: none
  PixelLayout layout;
  int depth;
};
constexpr Masked kMasked[] = {
    {0x41, 32, {0xFF0000, 0xFF00, 0xFF, 0xFF000000}, 87, PixelLayout::kRgba, 8},
    {0x41, 32, {0xFF, 0xFF00, 0xFF0000, 0xFF000000}, 28, PixelLayout::kRgba, 8},
    {0x40, 32, {0xFF0000, 0xFF00, 0xFF, 0}, 88, PixelLayout::kRgb, 8},
    {0x40, 24, {0xFF0000, 0xFF00, 0xFF, 0}, 0, PixelLayout::kRgb, 8},
    {0x40, 16, {0xF800, 0x7E0, 0x1F, 0}, 85, PixelLayout::kRgb, 8},
    {0x41, 16, {0x7C00, 0x3E0, 0x1F, 0x8000}, 86, PixelLayout::kRgba, 8},
    {0x41, 16, {0xF00, 0xF0, 0xF, 0xF000}, 115, PixelLayout::kRgba, 8},
    {0x41, 32, {0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000}, 24, PixelLayout::kRgba, 10},
    {0x40, 32, {0xFFFF, 0xFFFF0000, 0, 0}, 35, PixelLayout::kRgb, 16},
    {0x20000, 8, {0xFF, 0, 0, 0}, 61, PixelLayout::kGrey, 8},
    {0x20000, 16, {0xFFFF, 0, 0, 0}, 56, PixelLayout::kGrey, 16},
    {0x20001, 16, {0xFF, 0, 0, 0xFF00}, 0, PixelLayout::kGreyAlpha, 8},
    {0x20001, 8, {0xF, 0, 0, 0xF0}, 0, PixelLayout::kGreyAlpha, 8},
};

// The sample of the bits under a mask, from 0 to 2^depth - 1.
int SampleOf(uint32_t pixel, uint32_t mask, int depth) {
  if (mask == 0) return 0;
  const double part = static_cast<double>(pixel & mask) / mask;
  return static_cast<int>(std::floor(part * ((1 << depth) - 1) + 0.5));
}

void ExpectMasked(const Masked& format, const Bytes& pixels, const zepcodec::Picture& picture) {
  ASSERT_EQ(picture.layout(), format.layout);
  ASSERT_EQ(picture.bits(), format.depth);
  const auto channels = static_cast<size_t>(picture.channels());
  const size_t bytes = format.bits / 8;
  for (size_t i = 0; i < size_t{kWidth} * kHeight; ++i) {
    uint32_t pixel = 0;
    std::memcpy(&pixel, pixels.data() + i * bytes, bytes);
    for (size_t c = 0; c < channels; ++c) {
      const bool is_opacity = HasAlpha(format.layout) && c + 1 == channels;
      const uint32_t mask = format.masks[is_opacity ? 3 : c];
      // The number is divided by its mask, so a shift changes nothing.
      ASSERT_EQ(picture.Get(i * channels + c), SampleOf(pixel, mask, format.depth)) << c;
    }
  }
}

TEST(DdsPixels, Masks) {
  for (const Masked& format : kMasked) {
    const Bytes pixels = Random(size_t{kWidth} * kHeight * format.bits / 8);
    const Bytes header = MaskedHeader(format.flags, format.bits, format.masks);
    ExpectMasked(format, pixels, Decoded(Joined(header, pixels)));
    if (format.dxgi == 0) continue;
    ExpectMasked(format, pixels, Decoded(Joined(DxgiHeader(format.dxgi), pixels)));
  }
}

TEST(DdsPixels, WholeSamples) {
  struct {
    uint32_t dxgi;
    uint32_t numbered;
    size_t stored;
    PixelLayout layout;
    SampleType type;
  } const cases[] = {{10, 113, 4, PixelLayout::kRgba, SampleType::kF16},
                     {11, 36, 4, PixelLayout::kRgba, SampleType::kU16},
                     {2, 116, 4, PixelLayout::kRgba, SampleType::kF32},
                     {34, 112, 2, PixelLayout::kRgb, SampleType::kF16},
                     {41, 114, 1, PixelLayout::kGrey, SampleType::kF32}};
  for (const auto& entry : cases) {
    const auto bytes = static_cast<size_t>(zepcodec::BytesOf(entry.type));
    const Bytes pixels = Random(size_t{kWidth} * kHeight * entry.stored * bytes);
    Bytes numbered = FourCcHeader("    ");
    Set(&numbered, 84, entry.numbered);
    for (const Bytes& header : {DxgiHeader(entry.dxgi), numbered}) {
      const zepcodec::Picture picture = Decoded(Joined(header, pixels));
      ASSERT_EQ(picture.layout(), entry.layout);
      ASSERT_EQ(picture.type(), entry.type);
      const auto channels = static_cast<size_t>(picture.channels());
      const Bytes zeros(4);
      for (size_t i = 0; i < picture.SampleCount(); ++i) {
        const size_t channel = i % channels;
        const uint8_t* expected =
            channel < entry.stored ? pixels.data() + (i / channels * entry.stored + channel) * bytes
                                   : zeros.data();
        ASSERT_EQ(std::memcmp(picture.Row(0) + i * bytes, expected, bytes), 0) << i;
      }
    }
  }
}

TEST(DdsPixels, RegionsAndLevels) {
  const Masked& format = kMasked[5];
  Bytes header = MaskedHeader(format.flags, format.bits, format.masks);
  Set(&header, 8, 0x21007);
  Set(&header, 28, 2);
  const Bytes file = Joined(header, Random(2 * (kWidth * kHeight + 4 * 3)));
  const zepcodec::Picture whole = Decoded(file);
  for (const auto& region : {zepcodec::Region{0, 0, 9, 7}, zepcodec::Region{5, 2, 3, 5},
                             zepcodec::Region{8, 6, 1, 1}, zepcodec::Region{1, 4, 8, 2}}) {
    dds::DecodeOptions options;
    options.region = zepcodec::WantedRegion(region, {});
    options.threads = 2;
    const zepcodec::Picture part = Decoded(file, options);
    ASSERT_EQ(part.width(), region.width);
    for (int y = 0; y < region.height; ++y) {
      ASSERT_EQ(std::memcmp(part.Row(y), whole.Row(region.y + y) + 4 * region.x, part.Stride()), 0);
    }
  }
  dds::DecodeOptions options;
  options.level = 1;
  const zepcodec::Picture half = Decoded(file, options);
  EXPECT_EQ(half.width(), 4);
  EXPECT_EQ(half.height(), 3);
}

TEST(DdsPixels, ColoursAreDividedByTheirOpacity) {
  const Bytes blocks = Random(3 * 2 * 16);
  for (const auto& names : {std::array{"DXT2", "DXT3"}, std::array{"DXT4", "DXT5"}}) {
    const zepcodec::Picture divided = Decoded(Joined(FourCcHeader(names[0]), blocks));
    const zepcodec::Picture plain = Decoded(Joined(FourCcHeader(names[1]), blocks));
    for (size_t i = 0; i < plain.SampleCount(); ++i) {
      const int sample = plain.Get(i), opacity = plain.Get(i / 4 * 4 + 3);
      const bool stays = i % 4 == 3 || opacity == 0;
      const double exact = stays ? sample : std::min(255.0, 255.0 * sample / opacity);
      ASSERT_EQ(divided.Get(i), static_cast<int>(std::floor(exact + 0.5))) << i;
    }
  }
}

// The value of a pixel in a block of signed values, -1 to 1.
double SignedValue(const uint8_t* block, int x, int y) {
  const auto end = [&](int i) {
    return std::max<int>(static_cast<int8_t>(block[i]), -127) / 127.0;
  };
  uint64_t bits = 0;
  std::memcpy(&bits, block + 2, 6);
  const int index = static_cast<int>(bits >> (3 * (4 * y + x)) & 7);
  if (index < 2) return end(index);
  if (static_cast<int8_t>(block[0]) > static_cast<int8_t>(block[1])) {
    return ((8 - index) * end(0) + (index - 1) * end(1)) / 7;
  }
  if (index >= 6) return index == 6 ? -1 : 1;
  return ((6 - index) * end(0) + (index - 1) * end(1)) / 5;
}

TEST(DdsPixels, SignedValues) {
  for (const int channels : {1, 2}) {
    const Bytes blocks = Random(3 * 2 * 8 * static_cast<size_t>(channels));
    for (const Bytes& header :
         {FourCcHeader(channels == 1 ? "BC4S" : "BC5S"), DxgiHeader(channels == 1 ? 81 : 84)}) {
      const zepcodec::Picture picture = Decoded(Joined(header, blocks));
      ASSERT_EQ(picture.channels(), channels == 1 ? 1 : 3);
      for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
          for (int c = 0; c < channels; ++c) {
            const int block = (y / 4 * 3 + x / 4) * channels + c;
            const double value = SignedValue(blocks.data() + 8 * block, x % 4, y % 4);
            const int sample = picture.Row(y)[x * picture.channels() + c];
            ASSERT_NEAR(sample, (value + 1) * 127.5, 0.5 + 1e-9);
          }
        }
      }
    }
  }
}

TEST(DdsPixels, TheFirstSliceOfAVolume) {
  // Levels of 9 x 7 x 4 and 4 x 3 x 2.
  const size_t first = size_t{kWidth} * kHeight, second = 4 * 3;
  const Bytes pixels = Random(4 * first + 2 * second);
  Bytes header = MaskedHeader(0x20000, 8, {0xFF, 0, 0, 0});
  Set(&header, 8, 0x821007);
  Set(&header, 24, 4);
  Set(&header, 28, 2);
  Set(&header, 112, 0x200000);
  Bytes file = Joined(header, pixels);
  const zepcodec::Picture whole = Decoded(file);
  EXPECT_EQ(std::memcmp(whole.Row(0), pixels.data(), first), 0);
  dds::DecodeOptions options;
  options.level = 1;
  const zepcodec::Picture half = Decoded(file, options);
  EXPECT_EQ(std::memcmp(half.Row(0), pixels.data() + 4 * first, second), 0);
  dds::Header parsed;
  ASSERT_TRUE(dds::ParseHeader(file.data(), file.size(), &parsed).ok());
  EXPECT_EQ(parsed.PictureCount(), 4);
  EXPECT_FALSE(dds::ParseHeader(file.data(), file.size() - 1, &parsed).ok());
  Set(&file, 24, 0xFFFFFFFF);
  EXPECT_FALSE(dds::ParseHeader(file.data(), file.size(), &parsed).ok());
}

}  // namespace
