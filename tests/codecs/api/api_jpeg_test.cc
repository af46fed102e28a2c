// SPDX-License-Identifier: MIT
// JPEG files that are written anew, turned and cut without decoding, and their coefficients.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

#include "tests/codecs/api/api_pictures.h"

namespace {

using namespace api_pictures;

struct Kind {
  zepcSampling sampling = zepcSampling444;
  Shape shape;
  bool is_progressive = false;
};

Bytes MakeJpeg(int32_t width, int32_t height, const Kind& kind, const Bytes& exif = {}) {
  auto jpeg = Sized<zepcJpegOptions>();
  jpeg.sampling = kind.sampling;
  jpeg.is_progressive = kind.is_progressive ? 1 : 0;
  auto metadata = Sized<zepcMetadata>();
  metadata.exif = exif.data();
  metadata.exif_size = exif.size();
  zepcEncodeOptions options = OptionsFor(zepcFormatJpeg);
  options.jpeg = &jpeg;
  options.metadata = &metadata;
  return Encode(Make(width, height, kind.shape), options);
}

zepcStatus TryTranscode(const Bytes& file, const zepcTranscodeOptions& options, Bytes* made) {
  void* bytes = nullptr;
  size_t size = 11;
  const zepcStatus status = zepcJpegTranscode(file.data(), file.size(), &options, &bytes, &size);
  if (status >= 0) {
    const auto* const first = static_cast<const uint8_t*>(bytes);
    made->assign(first, first + size);
  } else {
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 11U);
    EXPECT_STRNE(zepcLastError(), "");
  }
  zepcFree(bytes);
  return status;
}

Bytes Transcode(const Bytes& file, const zepcTranscodeOptions& options) {
  Bytes made;
  EXPECT_EQ(TryTranscode(file, options, &made), zepcStatusOk) << zepcLastError();
  return made;
}

Coefficients Read(const Bytes& file) {
  zepcCoefficients* read = nullptr;
  EXPECT_EQ(zepcJpegReadCoefficients(file.data(), file.size(), nullptr, &read), zepcStatusOk)
      << zepcLastError();
  return Coefficients(read);
}

zepcCoefficientsInfo InfoOf(const Coefficients& coefficients) {
  auto info = Sized<zepcCoefficientsInfo>();
  EXPECT_EQ(zepcJpegCoefficientsInfo(coefficients.get(), &info), zepcStatusOk);
  return info;
}

zepcComponent ComponentOf(const Coefficients& coefficients, int32_t index) {
  auto component = Sized<zepcComponent>();
  EXPECT_EQ(zepcJpegComponent(coefficients.get(), index, &component), zepcStatusOk);
  return component;
}

const int16_t* BlockAt(const zepcComponent& component, int32_t x, int32_t y) {
  return component.blocks + ptrdiff_t{64} * (ptrdiff_t{y} * component.blocks_across + x);
}

// Blocks of whole MCUs only are compared, of the parts that both have.
void ExpectSameCoefficients(const Coefficients& a, const Coefficients& b) {
  const zepcCoefficientsInfo info = InfoOf(a), other = InfoOf(b);
  ASSERT_EQ(info.components, other.components);
  EXPECT_EQ(info.bits, other.bits);
  EXPECT_EQ(info.width, other.width);
  EXPECT_EQ(info.height, other.height);
  for (int32_t c = 0; c < info.components; ++c) {
    const zepcComponent one = ComponentOf(a, c), two = ComponentOf(b, c);
    EXPECT_TRUE(one.h == two.h && one.v == two.v);
    EXPECT_TRUE(std::equal(std::begin(one.steps), std::end(one.steps), std::begin(two.steps)));
    const int32_t across = std::min(one.blocks_across, two.blocks_across);
    const int32_t down = std::min(one.blocks_down, two.blocks_down);
    for (int32_t y = 0; y < down; ++y) {
      for (int32_t x = 0; x < across; ++x) {
        ASSERT_TRUE(std::equal(BlockAt(one, x, y), BlockAt(one, x, y) + 64, BlockAt(two, x, y)))
            << "component " << c << ", block " << x << ", " << y;
      }
    }
  }
}

// Where a sample of a turned picture or block of `width` and `height` comes from.
struct Place {
  int32_t x, y;
};
Place SourceOf(zepcTransform transform, int32_t x, int32_t y, int32_t width, int32_t height) {
  switch (transform) {
    case zepcTransformMirrorX: return {width - 1 - x, y};
    case zepcTransformMirrorY: return {x, height - 1 - y};
    case zepcTransformTurn180: return {width - 1 - x, height - 1 - y};
    case zepcTransformTranspose: return {y, x};
    case zepcTransformTurn90: return {y, width - 1 - x};
    case zepcTransformTurn270: return {height - 1 - y, x};
    case zepcTransformTransverse: return {height - 1 - y, width - 1 - x};
    default: return {x, y};
  }
}

bool Transposes(zepcTransform transform) {
  return transform >= zepcTransformTranspose && transform <= zepcTransformTransverse;
}

Image Turned(const Image& from, zepcTransform transform) {
  const bool is_turned = Transposes(transform);
  Image to = Blank(is_turned ? from.height : from.width, is_turned ? from.width : from.height,
                   {from.layout, from.sample, from.bits});
  for (int32_t y = 0; y < to.height; ++y) {
    for (int32_t x = 0; x < to.width; ++x) {
      const Place source = SourceOf(transform, x, y, to.width, to.height);
      for (size_t c = 0; c < ChannelsOf(to.layout); ++c) {
        to.Set(x, y, c, from.Get(source.x, source.y, c));
      }
    }
  }
  return to;
}

const std::array<Kind, 5>& Kinds() {
  static const std::array<Kind, 5> kinds = {
      Kind{zepcSampling444, {}, false}, Kind{zepcSampling420, {}, true},
      Kind{zepcSampling422, {}, false},
      Kind{zepcSampling444, {zepcLayoutGrey, zepcSampleU8, 8}, true},
      Kind{zepcSampling420, {zepcLayoutRgb, zepcSampleU16, 12}, false}};
  return kinds;
}

TEST(ApiJpeg, OtherScansKeepTheCoefficients) {
  for (const Kind& kind : Kinds()) {
    const Bytes file = MakeJpeg(61, 45, kind);
    for (int32_t way = 0; way < 8; ++way) {
      auto options = Sized<zepcTranscodeOptions>();
      options.is_progressive = way & 1;
      options.optimizes = way >> 1 & 1;
      options.restart_interval = way > 3 ? 3 : 0;
      const Bytes made = Transcode(file, options);
      EXPECT_EQ(Probe(made).is_progressive, options.is_progressive);
      ExpectSameCoefficients(Read(file), Read(made));
      EXPECT_TRUE(Same(DecodeToImage(file), DecodeToImage(made)));
    }
  }
}

TEST(ApiJpeg, AllTransformsOfWholeMcus) {
  for (const Kind& kind : Kinds()) {
    const Bytes file = MakeJpeg(64, 48, kind);
    const Image picture = DecodeToImage(file);
    for (int32_t i = zepcTransformNone; i <= zepcTransformTransverse; ++i) {
      SCOPED_TRACE(i);
      auto options = Sized<zepcTranscodeOptions>();
      options.transform = static_cast<zepcTransform>(i);
      options.is_exact = 1;
      const Bytes made = Transcode(file, options);
      const Image turned = DecodeToImage(made);
      const Image wanted = Turned(picture, options.transform);
      ASSERT_EQ(turned.width, wanted.width);
      ASSERT_EQ(turned.height, wanted.height);
      // The inverse transform rounds rows and columns in their order.
      EXPECT_GT(Psnr(turned, wanted), 45);
      // Turned back, every coefficient is where it was.
      constexpr zepcTransform kBack[] = {zepcTransformNone,      zepcTransformMirrorX,
                                         zepcTransformMirrorY,   zepcTransformTurn180,
                                         zepcTransformTranspose, zepcTransformTurn270,
                                         zepcTransformTurn90,    zepcTransformTransverse};
      options.transform = kBack[i];
      ExpectSameCoefficients(Read(file), Read(Transcode(made, options)));
    }
  }
}

// The cosines of odd frequencies change their sign where a side is mirrored.
TEST(ApiJpeg, TransformsOfCoefficients) {
  for (const Kind& kind : Kinds()) {
    const Bytes file = MakeJpeg(48, 32, kind);
    const Coefficients before = Read(file);
    for (int32_t i = zepcTransformMirrorX; i <= zepcTransformTransverse; ++i) {
      auto options = Sized<zepcTranscodeOptions>();
      options.transform = static_cast<zepcTransform>(i);
      const Coefficients after = Read(Transcode(file, options));
      for (int32_t c = 0; c < InfoOf(before).components; ++c) {
        const zepcComponent from = ComponentOf(before, c), to = ComponentOf(after, c);
        for (int32_t y = 0; y < to.blocks_down; ++y) {
          for (int32_t x = 0; x < to.blocks_across; ++x) {
            const Place source =
                SourceOf(options.transform, x, y, to.blocks_across, to.blocks_down);
            const int16_t* const in = BlockAt(from, source.x, source.y);
            const int16_t* const out = BlockAt(to, x, y);
            const Place corner = SourceOf(options.transform, 0, 0, 2, 2);  // 1: mirrored
            for (int v = 0; v < 8; ++v) {
              for (int u = 0; u < 8; ++u) {
                const int su = Transposes(options.transform) ? v : u;
                const int sv = Transposes(options.transform) ? u : v;
                const int sign = (corner.x * su + corner.y * sv) % 2 != 0 ? -1 : 1;
                ASSERT_EQ(out[8 * v + u], sign * in[8 * sv + su]) << i;
              }
            }
          }
        }
      }
    }
  }
}

TEST(ApiJpeg, EdgesAreCutOffOrRefused) {
  for (const Kind& kind : {Kinds()[0], Kinds()[1], Kinds()[2]}) {
    const int32_t across = kind.sampling == zepcSampling444 ? 8 : 16;
    const int32_t down = kind.sampling == zepcSampling420 ? 16 : 8;
    const Bytes file = MakeJpeg(61, 45, kind);
    for (int32_t i = zepcTransformMirrorX; i <= zepcTransformTransverse; ++i) {
      auto options = Sized<zepcTranscodeOptions>();
      options.transform = static_cast<zepcTransform>(i);
      // Sides that come to lie at the left or the top from the right or the bottom.
      const Place corner = SourceOf(options.transform, 0, 0, 2, 2);
      const int32_t width = corner.x == 1 ? 61 / across * across : 61;
      const int32_t height = corner.y == 1 ? 45 / down * down : 45;
      const zepcInfo info = Probe(Transcode(file, options));
      EXPECT_EQ(info.width, Transposes(options.transform) ? height : width) << i;
      EXPECT_EQ(info.height, Transposes(options.transform) ? width : height) << i;
      options.is_exact = 1;
      Bytes made;
      const bool is_whole = corner.x + corner.y == 0;
      EXPECT_EQ(TryTranscode(file, options, &made), is_whole ? zepcStatusOk : zepcStatusUnsupported)
          << i;
    }
  }
}

TEST(ApiJpeg, RegionsBeginAtMcus) {
  const Bytes file = MakeJpeg(96, 80, {});
  const Image whole = DecodeToImage(file);
  auto options = Sized<zepcTranscodeOptions>();
  options.region = {19, 33, 21, 17};
  const Image part = DecodeToImage(Transcode(file, options));
  EXPECT_EQ(part.width, 21 + 3);
  EXPECT_EQ(part.height, 17 + 1);
  auto decode = Sized<zepcDecodeOptions>();
  decode.region = {16, 32, 24, 18};
  EXPECT_TRUE(Same(part, DecodeToImage(file, &decode)));
  // What reaches beyond the picture ends with it; what begins there is refused.
  options.region = {90, 70, 500, INT32_MAX};
  const zepcInfo corner = Probe(Transcode(file, options));
  EXPECT_EQ(corner.width, 8);
  EXPECT_EQ(corner.height, 16);
  Bytes made;
  for (const zepcRect& region :
       {zepcRect{96, 0, 1, 1}, zepcRect{0, 80, 1, 1}, zepcRect{-1, 0, 9, 9}, zepcRect{0, -9, 9, 9},
        zepcRect{0, 0, 9, 0}, zepcRect{0, 0, -1, 9}, zepcRect{0, 0, 9, -5}}) {
    options.region = region;
    EXPECT_EQ(TryTranscode(file, options, &made), zepcStatusBadArgument);
  }
}

TEST(ApiJpeg, UprightResetsTheOrientation) {
  for (const bool is_big_endian : {false, true}) {
    for (uint8_t orientation = 1; orientation <= 8; ++orientation) {
      const Bytes file = MakeJpeg(48, 32, {}, Exif(orientation, is_big_endian));
      EXPECT_EQ(Probe(file).orientation, orientation);
      auto options = Sized<zepcTranscodeOptions>();
      options.transform = zepcTransformUpright;
      options.is_exact = 1;
      const Bytes made = Transcode(file, options);
      EXPECT_EQ(Probe(made).orientation, 1);
      auto decode = Sized<zepcDecodeOptions>();
      decode.applies_orientation = 1;
      EXPECT_GT(Psnr(DecodeToImage(made), DecodeToImage(file, &decode)), 45);
      options.drops_metadata = 1;
      const zepcInfo bare = Probe(Transcode(file, options));
      EXPECT_EQ(bare.has_exif, 0);
      EXPECT_EQ(bare.orientation, 0);
    }
  }
}

TEST(ApiJpeg, BadOptionsOfTranscoding) {
  const Bytes file = MakeJpeg(20, 20, {});
  Bytes made;
  auto options = Sized<zepcTranscodeOptions>();
  const auto refuses = [&](zepcStatus wanted) {
    EXPECT_EQ(TryTranscode(file, options, &made), wanted) << zepcLastError();
    options = Sized<zepcTranscodeOptions>();
  };
  options.size = 0;
  refuses(zepcStatusBadArgument);
  for (const int32_t transform : {9, -1}) {
    options.transform = static_cast<zepcTransform>(transform);
    refuses(zepcStatusBadArgument);
  }
  for (const int32_t interval : {-1, 65536}) {
    options.restart_interval = interval;
    refuses(zepcStatusBadArgument);
  }
  for (const char* const script : {"", "?", "0: 0-63, 0, 0;", "0,1,2: 0-0, 0, 0;", "5;"}) {
    options.scan_script = script;
    refuses(zepcStatusBadArgument);
  }
  options.max_pixels = -1;
  refuses(zepcStatusBadArgument);
  options.max_pixels = 399;
  refuses(zepcStatusTooLarge);
  options.max_memory = 1000;
  refuses(zepcStatusTooLarge);
  for (const size_t i : {1U, 2U, 4U, 6U}) {
    EXPECT_EQ(TryTranscode(Files()[i], options, &made), zepcStatusUnsupported);
  }
  EXPECT_EQ(TryTranscode({1, 2, 3}, options, &made), zepcStatusUnknownFormat);
  size_t size = 0;
  void* bytes = nullptr;
  EXPECT_EQ(zepcJpegTranscode(nullptr, 5, nullptr, &bytes, &size), zepcStatusBadArgument);
  EXPECT_EQ(zepcJpegTranscode(file.data(), 5, nullptr, nullptr, &size), zepcStatusBadArgument);
  EXPECT_EQ(zepcJpegTranscode(file.data(), 5, nullptr, &bytes, nullptr), zepcStatusBadArgument);
}

TEST(ApiJpeg, DamagedFilesAreRefusedOrKept) {
  Bytes file = MakeJpeg(64, 64, {});
  file.resize(file.size() * 2 / 3);
  auto options = Sized<zepcTranscodeOptions>();
  Bytes made;
  EXPECT_EQ(TryTranscode(file, options, &made), zepcStatusBadFile);
  options.keeps_damaged = 1;
  EXPECT_EQ(TryTranscode(file, options, &made), zepcStatusDamaged);
  EXPECT_EQ(DecodeToImage(made).height, 64);
  zepcCoefficients* read = nullptr;
  EXPECT_EQ(zepcJpegReadCoefficients(file.data(), file.size(), nullptr, &read), zepcStatusBadFile);
  EXPECT_EQ(read, nullptr);
  auto decode = Sized<zepcDecodeOptions>();
  decode.keeps_damaged = 1;
  EXPECT_EQ(zepcJpegReadCoefficients(file.data(), file.size(), &decode, &read), zepcStatusDamaged);
  zepcJpegFreeCoefficients(read);
}

}  // namespace
