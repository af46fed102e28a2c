// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <thread>

#include "harness/check_order.h"
#include "harness/region.h"
#include "reference/bptc.h"
#include "texture/texture_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Guarded;
using harness::Plane;
using harness::Random;
using texture_cases::Blocks;
using texture_cases::Bytes;

constexpr int kModes[] = {0, 1, 2, 3, 4, 5, 6, 7, -1, -2};

Bytes Encode(const Bytes& pixels, zepiSize size, int mode) {
  Bytes blocks(16 * Blocks(size));
  EXPECT_EQ(zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(pixels.data(), 4 * size.width, size,
                                                        blocks.data(), mode),
            zepStatusOk);
  return blocks;
}

Bytes Decode(const Bytes& blocks, zepiSize size) {
  Bytes pixels(static_cast<size_t>(size.width * size.height) * 4);
  EXPECT_EQ(reference::zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(blocks.data(), pixels.data(),
                                                                 4 * size.width, size),
            zepStatusOk);
  return pixels;
}

uint64_t Error(const Bytes& pixels, zepiSize size, const Bytes& blocks) {
  return reference::Bc7Error(pixels.data(), 4 * size.width, size, blocks.data());
}

enum class Content { kRandom, kFlat, kTwoColors, kGradient, kOpaqueGradient, kExtreme, kNear };
constexpr Content kContents[] = {Content::kRandom,   Content::kFlat,           Content::kTwoColors,
                                 Content::kGradient, Content::kOpaqueGradient, Content::kExtreme,
                                 Content::kNear};

Bytes Picture(Content content, zepiSize size, Random& random) {
  Bytes pixels;
  const auto key = static_cast<uint32_t>(random());
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const uint32_t pick = random() % 2;
      for (int c = 0; c < 4; ++c) {
        const int own = static_cast<int>(key >> (8 * c) & 255);
        int v = static_cast<int>(random() % 256);
        switch (content) {
          case Content::kRandom: break;
          case Content::kFlat: v = own; break;
          case Content::kTwoColors: v = pick != 0 ? own : 255 - own * own / 255; break;
          case Content::kGradient: v = (own % 128 + x * 2 + y * (c + 1)) & 255; break;
          case Content::kOpaqueGradient:
            v = c == 3 ? 255 : std::min(own / 2 + x + y * c, 255);
            break;
          case Content::kExtreme: v = v % 2 != 0 ? 255 : 0; break;
          case Content::kNear: v = std::min(own + v % 6, 255); break;
        }
        pixels.push_back(static_cast<uint8_t>(v));
      }
    }
  }
  return pixels;
}

TEST(Bc7Encoding, EveryBlockIsInItsMode) {
  Random random(harness::Seed());
  const zepiSize size = {40, 8};
  for (const Content content : kContents) {
    const Bytes pixels = Picture(content, size, random);
    for (int mode = 0; mode < 8; ++mode) {
      const Bytes blocks = Encode(pixels, size, mode);
      for (size_t i = 0; i < blocks.size(); i += 16) {
        ASSERT_EQ(reference::Bc7Mode(&blocks[i]), mode);
      }
    }
  }
}

// A block depends only on its own pixels: neighbours, sizes, the position in a row and edges change
// nothing, for any number of blocks that the kernels process at a time.
TEST(Bc7Encoding, BlocksAreIndependent) {
  Random random(harness::Seed());
  const zepiSize size = {4 * 37, 8};
  for (const Content content : kContents) {
    const Bytes pixels = Picture(content, size, random);
    for (const int mode : kModes) {
      if (mode == -2 && content != Content::kNear && content != Content::kGradient) continue;
      const Bytes blocks = Encode(pixels, size, mode);
      for (size_t i = 0; i < Blocks(size); i += 1 + random() % 12) {
        Bytes tile(64);
        for (size_t y = 0; y < 4; ++y) {
          std::memcpy(&tile[16 * y], &pixels[((i / 37 * 4 + y) * 37 + i % 37) * 16], 16);
        }
        ASSERT_EQ(
            harness::FirstDifferenceOf(Encode(tile, {4, 4}, mode).data(), &blocks[16 * i], 16), "")
            << "mode " << mode << " block " << i << " seed " << harness::Seed();
      }
    }
  }
}

// Every instruction set writes the same bytes: the expected checksums were computed on one.
uint64_t Digest(const Bytes& bytes) {
  uint64_t digest = 1469598103934665603U;
  for (const uint8_t byte : bytes) digest = (digest ^ byte) * 1099511628211U;
  return digest;
}

constexpr uint64_t kDigest = 148836669028275123U;

TEST(Bc7Encoding, SameBytesEverywhere) {
  const zepiSize size = {64, 16};
  Random random(1);
  Bytes all;
  for (const Content content : kContents) {
    const Bytes pixels = Picture(content, size, random);
    for (const int mode : kModes) {
      const Bytes blocks = Encode(pixels, size, mode);
      all.insert(all.end(), blocks.begin(), blocks.end());
    }
  }
  EXPECT_EQ(Digest(all), kDigest);
}

// The pixels of a picture, with edges repeated to whole blocks.
Bytes Completed(const Bytes& pixels, zepiSize size, zepiSize whole) {
  Bytes completed;
  for (int y = 0; y < whole.height; ++y) {
    for (int x = 0; x < whole.width; ++x) {
      const int from = std::min(y, size.height - 1) * size.width + std::min(x, size.width - 1);
      for (int c = 0; c < 4; ++c) completed.push_back(pixels[static_cast<size_t>(4 * from + c)]);
    }
  }
  return completed;
}

TEST(Bc7Encoding, EdgesRepeatTheLastPixels) {
  Random random(harness::Seed());
  for (int width = 1; width <= 9; ++width) {
    for (int height = 1; height <= 5; ++height) {
      const zepiSize size = {width, height};
      const zepiSize whole = {(width + 3) / 4 * 4, (height + 3) / 4 * 4};
      const Bytes pixels = Picture(Content::kGradient, size, random);
      for (const int mode : {6, -1}) {
        ASSERT_EQ(Encode(pixels, size, mode), Encode(Completed(pixels, size, whole), whole, mode));
      }
    }
  }
}

// Nothing outside the pixels is read and nothing after the blocks is written, for steps of any
// kind.
TEST(Bc7Encoding, MemoryOfEverySize) {
  Random random(harness::Seed());
  for (int width = 1; width <= 70; width += width < 10 ? 1 : 13) {
    for (const int height : {1, 3, 4, 5}) {
      const zepiSize size = {width, height};
      for (const int32_t step : {4 * width, 4 * width + 3, -4 * width, -4 * width - 5}) {
        for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
          Plane<uint8_t> src({4 * width, height}, step, edge);
          src.Fill(harness::Pattern::kRandom, random);
          const auto row = static_cast<size_t>(4 * width);
          Bytes tight(row * static_cast<size_t>(height));
          for (int y = 0; y < height; ++y) {
            std::memcpy(&tight[static_cast<size_t>(y) * row], src.base() + ptrdiff_t{y} * step,
                        row);
          }
          Guarded<uint8_t> dst(16 * Blocks(size), edge);
          ASSERT_EQ(
              zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(src.base(), step, size, dst.raw(), 6),
              zepStatusOk);
          const Bytes want = Encode(tight, size, 6);
          ASSERT_EQ(harness::FirstDifferenceOf(dst.raw(), want.data(), want.size()), "");
        }
      }
    }
  }
}

TEST(Bc7Encoding, OpaqueStaysOpaque) {
  Random random(harness::Seed());
  const zepiSize size = {128, 16};
  for (const Content content : kContents) {
    Bytes pixels = Picture(content, size, random);
    for (size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 255;
    for (const int mode : kModes) {
      const Bytes decoded = Decode(Encode(pixels, size, mode), size);
      for (size_t i = 3; i < decoded.size(); i += 4) ASSERT_EQ(decoded[i], 255) << "mode " << mode;
    }
  }
}

// Blocks of one, two or three regions, some of them partitions of the format, some scattered
// pixels.
enum class Regions { kOne, kTwo, kThree, kScattered };
enum class Texture { kPlain, kSoft, kNoisy, kGradient, kNoise };
enum class Alpha { kOpaque, kEven, kOfRegions, kGradient, kCut };

constexpr const char* kTwoRegions[] = {"0011001100110011", "0001001101111111", "0000000011111111",
                                       "0000100011101111", "0111001100010000", "0110011001100110",
                                       "0101101001011010", "0110100110010110"};
constexpr const char* kThreeRegions[] = {"0011001102212222", "0001001122112221", "0000111122222222",
                                         "0012001200120012", "0122012201220122", "0120120120120120",
                                         "0000000021122112", "0111201122012220"};

int RegionOf(Regions regions, uint32_t pattern, int i, Random& random) {
  switch (regions) {
    case Regions::kOne: return 0;
    case Regions::kTwo: return kTwoRegions[pattern % 8][i] - '0';
    case Regions::kThree: return kThreeRegions[pattern % 8][i] - '0';
    case Regions::kScattered: return static_cast<int>(random() % 3);
  }
  return 0;
}

// A channel of a pixel in a region with colour `base`. `slopes` selects the gradient along x and y.
int TexturedValue(Texture texture, int base, uint32_t slopes, int i, int contrast, Random& random) {
  const auto any = static_cast<int>(random() % 4096);
  switch (texture) {
    case Texture::kPlain: return base;
    case Texture::kSoft: return base + any % 7 - 3;
    case Texture::kNoisy: return base + any % 31 - 15;
    case Texture::kGradient:
      return base + (static_cast<int>(slopes % 17) - 8) * (i % 4) +
             (static_cast<int>(slopes / 17 % 17) - 8) * (i / 4);
    case Texture::kNoise: return base + any % (2 * contrast + 1) - contrast;
  }
  return 0;
}

Bytes ClassBlock(Regions regions, Texture texture, Alpha alpha, int contrast, Random& random) {
  int base[3][4];
  uint32_t slopes[3][4];
  for (int c = 0; c < 4; ++c) {
    const int middle = static_cast<int>(random() % 256);
    for (int r = 0; r < 3; ++r) {
      const int shift = static_cast<int>(random() % static_cast<uint32_t>(2 * contrast + 1));
      base[r][c] = std::clamp(middle + shift - contrast, 0, 255);
      slopes[r][c] = static_cast<uint32_t>(random()) >> 8;
    }
  }
  const auto pattern = static_cast<uint32_t>(random());
  const int even = static_cast<int>(pattern >> 8 & 255);
  Bytes pixels;
  for (int i = 0; i < 16; ++i) {
    const int r = RegionOf(regions, pattern, i, random);
    for (int c = 0; c < 4; ++c) {
      int v = TexturedValue(texture, base[r][c], slopes[r][c], i, contrast, random);
      if (c == 3 && alpha == Alpha::kOpaque) v = 255;
      if (c == 3 && alpha == Alpha::kEven) v = even;
      if (c == 3 && alpha == Alpha::kGradient) v = even / 2 + i % 4 * 8 + i / 4 * 5;
      if (c == 3 && alpha == Alpha::kCut) v = base[r][3] % 2 * 255;
      pixels.push_back(static_cast<uint8_t>(std::clamp(v, 0, 255)));
    }
  }
  return pixels;
}

constexpr int kClassBlocks = 96;
constexpr zepiSize kClassSize = {4 * kClassBlocks, 4};

Bytes ClassPicture(Regions regions, Texture texture, Alpha alpha, int contrast, Random& random) {
  Bytes pixels(64 * kClassBlocks);
  for (size_t i = 0; i < kClassBlocks; ++i) {
    const Bytes block = ClassBlock(regions, texture, alpha, contrast, random);
    for (size_t y = 0; y < 4; ++y) {
      std::memcpy(&pixels[16 * (kClassBlocks * y + i)], &block[16 * y], 16);
    }
  }
  return pixels;
}

// Calls with a picture of each class; if that takes too long, of a sample of them.
template <class Call>
void ForClasses(const std::vector<Alpha>& alphas, const Call& call) {
  const int stride = harness::Exhaustive() ? 1 : 17;
  Random random(1);
  int number = 0;
  for (int r = 0; r < 4; ++r) {
    for (int t = 0; t < 5; ++t) {
      for (const Alpha alpha : alphas) {
        for (const int contrast : {255, 40, 10}) {
          SCOPED_TRACE(::testing::Message() << "regions " << r << " texture " << t << " alpha "
                                            << static_cast<int>(alpha) << " contrast " << contrast);
          const Bytes pixels = ClassPicture(static_cast<Regions>(r), static_cast<Texture>(t), alpha,
                                            contrast, random);
          if (number++ % stride == 0) call(pixels);
        }
      }
    }
  }
}

TEST(Bc7Encoding, OpaqueClassesStayOpaque) {
  ForClasses({Alpha::kOpaque}, [](const Bytes& pixels) {
    for (const int mode : kModes) {
      const Bytes decoded = Decode(Encode(pixels, kClassSize, mode), kClassSize);
      for (size_t i = 3; i < decoded.size(); i += 4) ASSERT_EQ(decoded[i], 255) << "mode " << mode;
    }
  });
}

// The quick search has at most 15 % more error than any single mode, except for invisible errors:
// 10 in a block are 56 dB.
TEST(Bc7Encoding, QuickIsNearTheBestSingleMode) {
  const std::vector<Alpha> all = {Alpha::kOpaque, Alpha::kEven, Alpha::kOfRegions, Alpha::kGradient,
                                  Alpha::kCut};
  ForClasses(all, [](const Bytes& pixels) {
    uint64_t least = ~uint64_t{0};
    for (int mode = 0; mode < 8; ++mode) {
      least = std::min(least, Error(pixels, kClassSize, Encode(pixels, kClassSize, mode)));
    }
    const uint64_t quick = Error(pixels, kClassSize, Encode(pixels, kClassSize, -1));
    EXPECT_LE(static_cast<double>(quick), 1.15 * static_cast<double>(least) + 10.0 * kClassBlocks);
  });
}

// The set of values that a mode's end points give with an index and p-bits. Each choice has a bit
// of a byte.
class FlatValues {
 public:
  explicit FlatValues(int mode) {
    static constexpr int kBits[4] = {5, 7, 5, 8}, kIndexBits[4] = {3, 3, 2, 2};
    static constexpr int kWeights[2][8] = {{0, 21, 43, 64}, {0, 9, 18, 27, 37, 46, 55, 64}};
    const int bits = kBits[mode];
    for (int index = 0; index < 1 << kIndexBits[mode]; ++index) {
      const int weight = kWeights[kIndexBits[mode] - 2][index];
      for (int a = 0; a < 1 << bits; ++a) {
        for (int b = 0; b < 1 << bits; ++b) {
          const int p = 2 * (a % 2) + b % 2;
          if (mode == 1 && (p == 1 || p == 2)) continue;
          const int value = ((64 - weight) * Widen(a, bits) + weight * Widen(b, bits) + 32) >> 6;
          near_[static_cast<size_t>(value)] |= 1U << (4 * index + (mode == 2 ? 0 : p));
        }
      }
    }
    std::array<uint32_t, 256> exact = near_;
    for (size_t v = 0; v < 256; ++v) {
      if (v > 0) near_[v] |= exact[v - 1];
      if (v < 255) near_[v] |= exact[v + 1];
    }
  }
  bool CanComeWithinOne(const uint8_t* pixel) const {
    return (near_[pixel[0]] & near_[pixel[1]] & near_[pixel[2]]) != 0;
  }

 private:
  static int Widen(int code, int bits) { return code << (8 - bits) | code >> (2 * bits - 8); }

  std::array<uint32_t, 256> near_ = {};
};

TEST(Bc7Encoding, FlatBlocksComeWithinOne) {
  Random random(harness::Seed());
  int count = 0;
  for (int mode = 0; mode < 4; ++mode) {
    const FlatValues values(mode);
    for (int round = 0; round < 400; ++round) {
      Bytes pixels = Picture(Content::kFlat, {4, 4}, random);
      for (size_t i = 3; i < 64; i += 4) pixels[i] = 255;
      if (!values.CanComeWithinOne(pixels.data())) continue;
      ++count;
      const Bytes decoded = Decode(Encode(pixels, {4, 4}, mode), {4, 4});
      for (size_t i = 0; i < 64; ++i) {
        ASSERT_NEAR(decoded[i], pixels[i], 1) << "mode " << mode << " of " << int{pixels[0]} << ","
                                              << int{pixels[1]} << "," << int{pixels[2]};
      }
    }
  }
  EXPECT_GT(count, 800);
}

// Mode 5 can represent every colour.
TEST(Bc7Encoding, FlatBlocks) {
  Random random(harness::Seed());
  for (int round = 0; round < 256; round += harness::Exhaustive() ? 1 : 5) {
    Bytes pixels = Picture(Content::kFlat, {4, 4}, random);
    if (round % 2 == 0) {
      for (size_t i = 3; i < 64; i += 4) pixels[i] = 255;
    }
    for (size_t i = 0; i < 64; i += 4) pixels[i] = static_cast<uint8_t>(round);
    for (const int mode : {5, -1, -2}) {
      EXPECT_EQ(Error(pixels, {4, 4}, Encode(pixels, {4, 4}, mode)), 0U) << mode;
    }
    EXPECT_LE(Error(pixels, {4, 4}, Encode(pixels, {4, 4}, 6)), 16U * 4);
  }
}

TEST(Bc7Encoding, MoreSearchIsNoWorse) {
  Random random(harness::Seed());
  const zepiSize size = {4, 4};
  for (const Content content : kContents) {
    for (int round = 0; round < 20; ++round) {
      const Bytes pixels = Picture(content, size, random);
      uint64_t least = ~uint64_t{0};
      for (int mode = 0; mode < 8; ++mode) {
        least = std::min(least, Error(pixels, size, Encode(pixels, size, mode)));
      }
      const uint64_t quick = Error(pixels, size, Encode(pixels, size, -1));
      const uint64_t thorough = Error(pixels, size, Encode(pixels, size, -2));
      EXPECT_LE(thorough, least);
      EXPECT_LE(thorough, quick);
    }
  }
}

// The smallest error that grey pixels can have in mode 6 with the same two end points in all
// colours, by trying all. Alpha is 255, so the lowest bits of both are ones.
uint64_t LeastGreyError(const Bytes& pixels) {
  const int weights[] = {0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64};
  uint64_t least = ~uint64_t{0};
  for (int a = 1; a < 256; a += 2) {
    for (int b = a; b < 256; b += 2) {
      int place[16];
      uint64_t error = 0;
      for (int k = 0; k < 16; ++k) place[k] = ((64 - weights[k]) * a + weights[k] * b + 32) >> 6;
      for (size_t i = 0; i < 64; i += 4) {
        int best = 1 << 20;
        for (int k = 0; k < 16; ++k) {
          const int difference = pixels[i] - place[k];
          best = std::min(best, difference * difference);
        }
        error += static_cast<uint64_t>(3 * best);
      }
      least = std::min(least, error);
    }
  }
  return least;
}

TEST(Bc7Encoding, GreyNearlyAsByExhaustiveSearch) {
  Random random(harness::Seed());
  double least = 0, found = 0, thorough = 0;
  for (int round = 0; round < (harness::Exhaustive() ? 40 : 5); ++round) {
    const int range = 4 << round % 5, low = static_cast<int>(random() % 150);
    Bytes pixels(64, 255);
    for (size_t i = 0; i < 16; ++i) {
      const auto v = static_cast<uint8_t>(low + static_cast<int>(random()) % range);
      std::fill_n(&pixels[4 * i], 3, v);
    }
    least += static_cast<double>(LeastGreyError(pixels));
    found += static_cast<double>(Error(pixels, {4, 4}, Encode(pixels, {4, 4}, 6)));
    thorough += static_cast<double>(Error(pixels, {4, 4}, Encode(pixels, {4, 4}, -2)));
  }
  EXPECT_LE(found, 1.4 * least + 16) << least;
  EXPECT_LE(thorough, 1.02 * least) << least;
}

TEST(Bc7Encoding, SeveralThreads) {
  Random random(harness::Seed());
  const zepiSize size = {61, 33};
  const Bytes pixels = Picture(Content::kGradient, size, random);
  const Bytes want = Encode(pixels, size, -1);
  std::vector<Bytes> got(4);
  std::vector<std::thread> threads;
  for (Bytes& blocks : got) {
    threads.emplace_back([&] { blocks = Encode(pixels, size, -1); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Bytes& blocks : got) EXPECT_EQ(blocks, want);
}

TEST(Bc7Encoding, ChecksInOrder) {
  const uint8_t pixels[64] = {};
  uint8_t blocks[16];
  std::memset(blocks, harness::kFill, sizeof(blocks));
  CheckOrder(HARNESS_NAMED(zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R), &pixels[0], 16,
             zepiSize{4, 4}, &blocks[0], 6)
      .Null<0>()
      .Null<3>()
      .Bad<1>(zepStatusBadStep, {0})
      .Size<2>()
      .Bad<4>(zepStatusNotSupportedMode, {8, -3, 1000, -1000000})
      .Output(blocks, sizeof(blocks))
      .Run();
}

}  // namespace
