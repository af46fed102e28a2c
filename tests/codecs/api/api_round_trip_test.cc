// SPDX-License-Identifier: MIT
// What each format says that it writes comes back; what it cannot hold is refused.
#include <gtest/gtest.h>

#include <string>

#include "tests/codecs/api/api_pictures.h"

namespace {

using namespace api_pictures;

constexpr zepcLayout kLayouts[] = {zepcLayoutGrey, zepcLayoutGreyAlpha, zepcLayoutRgb,
                                   zepcLayoutRgba, zepcLayoutBgr,       zepcLayoutBgra,
                                   zepcLayoutCmyk};

std::vector<Shape> AllShapes() {
  std::vector<Shape> shapes;
  for (const zepcLayout layout : kLayouts) {
    for (int32_t bits = 1; bits <= 16; ++bits) {
      shapes.push_back({layout, bits > 8 ? zepcSampleU16 : zepcSampleU8, bits});
    }
    shapes.push_back({layout, zepcSampleS16, 16});
    shapes.push_back({layout, zepcSampleS32, 32});
    shapes.push_back({layout, zepcSampleF16, 16});
    shapes.push_back({layout, zepcSampleF32, 32});
  }
  return shapes;
}

enum class Loss { kRefused, kNone, kSome };

// What the header says of each format's defaults.
Loss LossOf(zepcFormat format, const Shape& shape) {
  const bool is_integer = IsInteger(shape.sample);
  const bool has_opacity = HasOpacity(shape.layout);
  const bool is_cmyk = shape.layout == zepcLayoutCmyk;
  const bool is_whole = shape.bits == 8 * static_cast<int32_t>(BytesOf(shape.sample));
  switch (format) {
    case zepcFormatJpeg:
      if (!is_integer || has_opacity) return Loss::kRefused;
      return shape.bits == 8 || (shape.bits == 12 && !is_cmyk) ? Loss::kSome : Loss::kRefused;
    case zepcFormatLosslessJpeg:
      return is_integer && !has_opacity && shape.bits >= 2 ? Loss::kNone : Loss::kRefused;
    case zepcFormatJp2: return is_integer ? Loss::kNone : Loss::kRefused;
    case zepcFormatJ2k:
      return is_integer && !has_opacity && !is_cmyk ? Loss::kNone : Loss::kRefused;
    case zepcFormatJpegXr:
      return !has_opacity && !is_cmyk && is_whole ? Loss::kNone : Loss::kRefused;
    case zepcFormatDds: return is_integer && !is_cmyk ? Loss::kSome : Loss::kRefused;
    case zepcFormatTiff:
      if (!is_integer || has_opacity || is_cmyk) return Loss::kRefused;
      return is_whole ? Loss::kNone : Loss::kSome;
    default: return Loss::kRefused;
  }
}

std::string NameOf(zepcFormat format, const Shape& shape) {
  return "format " + std::to_string(format) + ", layout " + std::to_string(shape.layout) +
         ", sample " + std::to_string(shape.sample) + ", bits " + std::to_string(shape.bits);
}

void ExpectInfoAgrees(const Bytes& file) {
  const zepcInfo info = Probe(file);
  const Image native = DecodeToImage(file);
  EXPECT_EQ(info.width, native.width);
  EXPECT_EQ(info.height, native.height);
  EXPECT_EQ(info.layout, native.layout);
  EXPECT_EQ(info.sample, native.sample);
  EXPECT_EQ(info.bits, native.bits);
  EXPECT_GE(info.memory, static_cast<int64_t>(native.bytes.size()));
  EXPECT_GE(info.layers, 1);
  EXPECT_GE(info.levels, 0);
  EXPECT_EQ(info.pictures, 1);
  EXPECT_EQ(info.tiles_across * info.tiles_down, 1);
}

// Integers in the depth of `like`.
Image Scaled(const Image& from, const Image& like) {
  Image to = Blank(from.width, from.height, {from.layout, like.sample, like.bits});
  const int64_t white = (int64_t{1} << from.bits) - 1, target = (int64_t{1} << like.bits) - 1;
  for (int32_t y = 0; y < from.height; ++y) {
    for (int32_t x = 0; x < from.width; ++x) {
      for (size_t c = 0; c < ChannelsOf(from.layout); ++c) {
        to.Set(x, y, c, static_cast<int32_t>((from.Get(x, y, c) * target + white / 2) / white));
      }
    }
  }
  return to;
}

void ExpectRoundTrip(zepcFormat format, const Image& image, Loss loss) {
  Bytes file;
  const zepcStatus status = TryEncode(image, OptionsFor(format), &file);
  if (loss == Loss::kRefused) {
    EXPECT_EQ(status, zepcStatusUnsupported) << zepcLastError();
    return;
  }
  ASSERT_EQ(status, zepcStatusOk) << zepcLastError();
  ExpectInfoAgrees(file);
  auto options = Sized<zepcDecodeOptions>();
  if (IsBgr(image.layout) || format == zepcFormatDds) options.layout = image.layout;
  const Image back = DecodeToImage(file, &options);
  if (loss == Loss::kNone && !IsBgr(image.layout)) {
    EXPECT_TRUE(Same(image, back));
  } else if (!IsInteger(image.sample)) {
    EXPECT_TRUE(Same(image, back));
  } else {
    // Four colours in a block have little of two bits; TIFF has deeper samples of the same values.
    const double least = loss == Loss::kNone || format == zepcFormatTiff ? 998
                         : image.bits < 4                                ? 8
                                                                         : 19;
    EXPECT_GT(Psnr(Scaled(image, back), back), least);
  }
}

TEST(ApiRoundTrip, EveryFormatLayoutAndDepth) {
  for (const zepcFormat format : Formats()) {
    for (const Shape& shape : AllShapes()) {
      SCOPED_TRACE(NameOf(format, shape));
      ExpectRoundTrip(format, Make(21, 13, shape, 5), LossOf(format, shape));
    }
  }
}

TEST(ApiRoundTrip, SmallAndOddSizes) {
  for (const zepcFormat format : Formats()) {
    for (const auto& [width, height] : std::vector<std::pair<int32_t, int32_t>>{
             {1, 1}, {1, 9}, {17, 1}, {2, 2}, {3, 5}, {8, 8}, {33, 16}, {130, 67}}) {
      for (const zepcLayout layout : {zepcLayoutGrey, zepcLayoutRgb, zepcLayoutBgr}) {
        const Shape shape = {layout, zepcSampleU8, 8};
        SCOPED_TRACE(NameOf(format, shape) + ", " + std::to_string(width) + " x " +
                     std::to_string(height));
        ExpectRoundTrip(format, Make(width, height, shape, 3), LossOf(format, shape));
      }
    }
  }
}

// The gaps between rows are never looked at: a picture that ends with its last row is the same.
TEST(ApiRoundTrip, GapsBetweenRowsDoNotMatter) {
  for (const zepcFormat format : Formats()) {
    const Bytes tight = Encode(Make(19, 11, {}), format);
    Image wide = Make(19, 11, {}, 9);
    wide.bytes.resize(wide.bytes.size() - 9);
    wide.bytes.shrink_to_fit();
    EXPECT_EQ(tight, Encode(wide, format)) << format;
  }
}

TEST(ApiRoundTrip, SamplesMayHaveAnyAddress) {
  for (const zepcFormat format :
       {zepcFormatLosslessJpeg, zepcFormatJp2, zepcFormatJpegXr, zepcFormatTiff}) {
    Image image = Make(19, 11, {zepcLayoutRgb, zepcSampleU16, 16});
    const Bytes aligned = Encode(image, format);
    Bytes moved(image.bytes.size() + 1);
    std::copy(image.bytes.begin(), image.bytes.end(), moved.begin() + 1);
    zepcPixels pixels = image.Pixels();
    pixels.data = moved.data() + 1;
    const zepcEncodeOptions options = OptionsFor(format);
    void* file = nullptr;
    size_t size = 0;
    ASSERT_EQ(zepcEncode(&pixels, &options, &file, &size), zepcStatusOk) << zepcLastError();
    const auto* const first = static_cast<const uint8_t*>(file);
    EXPECT_EQ(aligned, Bytes(first, first + size)) << format;
    zepcFree(file);
  }
}

TEST(ApiRoundTrip, FullDepthIsTheDefault) {
  for (const zepcSample sample : {zepcSampleU8, zepcSampleU16}) {
    Image image = Make(9, 9, {zepcLayoutRgb, sample, 8 * static_cast<int32_t>(BytesOf(sample))});
    const Bytes named = Encode(image, zepcFormatTiff);
    image.bits = 0;
    EXPECT_EQ(named, Encode(image, zepcFormatTiff));
  }
}

TEST(ApiRoundTrip, ThreadsChangeNoByte) {
  for (const zepcFormat format : Formats()) {
    zepcEncodeOptions options = OptionsFor(format);
    const Image image = Make(150, 141, {});
    const Bytes one = Encode(image, options);
    auto decode = Sized<zepcDecodeOptions>();
    decode.threads = 1;
    const Image decoded = DecodeToImage(one, &decode);
    for (const int32_t threads : {2, 5, 0}) {
      options.threads = decode.threads = threads;
      EXPECT_EQ(one, Encode(image, options)) << format;
      EXPECT_TRUE(Same(decoded, DecodeToImage(one, &decode))) << format;
    }
  }
}

int32_t Collect(void* user, const void* data, size_t size) {
  auto* const to = static_cast<Bytes*>(user);
  const auto* const bytes = static_cast<const uint8_t*>(data);
  to->insert(to->end(), bytes, bytes + size);
  return 0;
}

int32_t Refuse(void*, const void*, size_t) { return 5; }

TEST(ApiRoundTrip, TheCallbackGetsTheSameBytes) {
  for (const zepcFormat format : Formats()) {
    Image image = Make(200, 190, {});
    const zepcPixels pixels = image.Pixels();
    const zepcEncodeOptions options = OptionsFor(format);
    Bytes collected;
    EXPECT_EQ(zepcEncodeTo(&pixels, &options, Collect, &collected), zepcStatusOk);
    EXPECT_EQ(collected, Encode(image, format));
    EXPECT_EQ(zepcEncodeTo(&pixels, &options, Refuse, nullptr), zepcStatusWriteFailed);
    EXPECT_STRNE(zepcLastError(), "");
  }
}

TEST(ApiRoundTrip, SamplesBeyondTheirDepthAreRefused) {
  for (const zepcFormat format : {zepcFormatLosslessJpeg, zepcFormatJp2, zepcFormatJ2k}) {
    Image image = Make(5, 5, {zepcLayoutGrey, zepcSampleU16, 10});
    image.Set(4, 4, 0, 1024);
    Bytes file;
    EXPECT_EQ(TryEncode(image, OptionsFor(format), &file), zepcStatusBadArgument);
  }
}

TEST(ApiRoundTrip, LosslessOptionsKeepThePixels) {
  const Image image = Make(45, 38, {zepcLayoutRgb, zepcSampleU16, 11});
  for (int32_t predictor = 0; predictor <= 7; ++predictor) {
    auto ljpeg = Sized<zepcLosslessJpegOptions>();
    ljpeg.predictor = predictor;
    ljpeg.restart_rows = predictor % 3;
    zepcEncodeOptions options = OptionsFor(zepcFormatLosslessJpeg);
    options.lossless_jpeg = &ljpeg;
    EXPECT_TRUE(Same(image, DecodeToImage(Encode(image, options))));
  }
  for (int32_t progression = 0; progression <= 4; ++progression) {
    auto jpeg2000 = Sized<zepcJpeg2000Options>();
    jpeg2000.progression = progression;
    jpeg2000.levels = progression - 1;
    jpeg2000.block_style = 13 * progression;
    jpeg2000.tile_width = progression > 2 ? 20 : 0;
    jpeg2000.tile_height = progression > 2 ? 17 : 0;
    const size_t layers[] = {300, 700, 0};
    jpeg2000.layer_bytes = layers;
    jpeg2000.layer_count = progression % 2 == 0 ? 3 : 0;
    zepcEncodeOptions options = OptionsFor(zepcFormatJp2);
    options.jpeg2000 = &jpeg2000;
    const Bytes file = Encode(image, options);
    EXPECT_TRUE(Same(image, DecodeToImage(file)));
    const zepcInfo info = Probe(file);
    EXPECT_EQ(info.is_lossless, 1);
    EXPECT_EQ(info.layers, std::max(jpeg2000.layer_count, 1));
    EXPECT_EQ(info.levels, progression == 0 ? 0 : progression == 1 ? 5 : progression - 1);
    EXPECT_EQ(info.tiles_across, progression > 2 ? 3 : 1);
    EXPECT_EQ(info.tiles_down, progression > 2 ? 3 : 1);
  }
  const Image wide = Make(70, 50, {zepcLayoutRgb, zepcSampleU16, 16});
  for (int32_t kind = 0; kind < 6; ++kind) {
    auto jpeg_xr = Sized<zepcJpegXrOptions>();
    jpeg_xr.overlap = kind % 3 - 1;
    jpeg_xr.is_frequency_order = kind / 3;
    jpeg_xr.tile_width = jpeg_xr.tile_height = kind > 3 ? 32 : 0;
    zepcEncodeOptions options = OptionsFor(zepcFormatJpegXr);
    options.jpeg_xr = &jpeg_xr;
    EXPECT_TRUE(Same(wide, DecodeToImage(Encode(wide, options))));
    auto tiff = Sized<zepcTiffOptions>();
    tiff.is_uncompressed = kind & 1;
    tiff.has_byte_planes = kind >> 1 & 1;
    options = OptionsFor(zepcFormatTiff);
    options.tiff = &tiff;
    EXPECT_TRUE(Same(wide, DecodeToImage(Encode(wide, options))));
  }
}

TEST(ApiRoundTrip, LossyOptionsDoWhatTheySay) {
  const Image image = Make(96, 80, {});
  zepcEncodeOptions options = OptionsFor(zepcFormatJp2);
  auto jpeg2000 = Sized<zepcJpeg2000Options>();
  options.jpeg2000 = &jpeg2000;
  jpeg2000.ratio = 8;
  const Bytes small = Encode(image, options);
  EXPECT_LE(small.size(), image.bytes.size() / 8);
  EXPECT_EQ(Probe(small).is_lossless, 0);
  jpeg2000.ratio = 0;
  jpeg2000.psnr = 42;
  EXPECT_GE(Psnr(image, DecodeToImage(Encode(image, options))), 41.9);
  double last = 0;
  for (const int32_t quality : {10, 50, 90, 100}) {
    auto jpeg = Sized<zepcJpegOptions>();
    jpeg.quality = quality;
    jpeg.sampling = zepcSampling444;
    jpeg.is_progressive = quality == 50;
    jpeg.optimizes = quality == 90;
    options = OptionsFor(zepcFormatJpeg);
    options.jpeg = &jpeg;
    const Bytes file = Encode(image, options);
    const double psnr = Psnr(image, DecodeToImage(file));
    EXPECT_GT(psnr, last);
    EXPECT_EQ(Probe(file).is_progressive, jpeg.is_progressive);
    last = psnr;
  }
}

TEST(ApiRoundTrip, TexturesHoldWhatTheyShould) {
  for (int32_t texture = zepcTextureAuto; texture <= zepcTextureYCoCg; ++texture) {
    for (const int32_t header : {0, 1, 2}) {
      auto dds = Sized<zepcDdsOptions>();
      dds.texture = static_cast<zepcTexture>(texture);
      dds.header = header;
      dds.has_mipmaps = header == 2;
      dds.bc7_mode = header;
      zepcEncodeOptions options = OptionsFor(zepcFormatDds);
      options.dds = &dds;
      const bool is_grey = texture == zepcTextureBc4;
      const Image image = Make(24, 20, {is_grey ? zepcLayoutGrey : zepcLayoutRgb, zepcSampleU8, 8});
      const Bytes file = Encode(image, options);
      const zepcInfo info = Probe(file);
      EXPECT_EQ(info.levels, header == 2 ? 4 : 0);
      auto decode = Sized<zepcDecodeOptions>();
      decode.layout = image.layout;
      if (texture != zepcTextureBc5) {
        EXPECT_GT(Psnr(image, DecodeToImage(file, &decode)), 19) << texture;
      }
      for (decode.level = 0; decode.level <= info.levels; ++decode.level) {
        const Image level = DecodeToImage(file, &decode);
        EXPECT_EQ(level.width, 24 >> decode.level);
        EXPECT_EQ(level.height, 20 >> decode.level);
      }
    }
  }
}

TEST(ApiRoundTrip, OneModeOfBc7Alone) {
  constexpr size_t kBlocks = 148;  // after the headers
  for (int32_t mode = 0; mode < 8; ++mode) {
    auto dds = Sized<zepcDdsOptions>();
    dds.texture = zepcTextureBc7;
    dds.bc7_only = mode + 1;
    zepcEncodeOptions options = OptionsFor(zepcFormatDds);
    options.dds = &dds;
    const Bytes file = Encode(Make(24, 20, {}), options);
    ASSERT_EQ(file.size(), kBlocks + 6 * 5 * 16);
    for (size_t block = kBlocks; block < file.size(); block += 16) {
      EXPECT_EQ(file[block] & -file[block], 1 << mode);
    }
  }
}

}  // namespace
