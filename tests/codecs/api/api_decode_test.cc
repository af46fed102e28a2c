// SPDX-License-Identifier: MIT
// What decoding makes of a file's pixels: other layouts and depths, parts, turned pictures, rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <string>

#include "tests/codecs/api/api_pictures.h"

namespace {

using namespace api_pictures;

constexpr zepcLayout kLayouts[] = {zepcLayoutGrey, zepcLayoutGreyAlpha, zepcLayoutRgb,
                                   zepcLayoutRgba, zepcLayoutBgr,       zepcLayoutBgra,
                                   zepcLayoutCmyk};

struct Wish {
  zepcOpacity opacity = zepcOpacityAuto;
  std::array<double, 3> background = {1, 1, 1};
};

// A pixel in numbers from 0 to 1: red, green, blue, opacity.
std::array<double, 4> PixelOf(const Image& from, int32_t x, int32_t y) {
  const double white = (1 << from.bits) - 1;
  const auto get = [&](size_t c) { return from.Get(x, y, c) / white; };
  switch (from.layout) {
    case zepcLayoutGrey: return {get(0), get(0), get(0), 1};
    case zepcLayoutGreyAlpha: return {get(0), get(0), get(0), get(1)};
    case zepcLayoutRgba: return {get(0), get(1), get(2), get(3)};
    case zepcLayoutCmyk: {
      const double paper = 1 - get(3);
      return {(1 - get(0)) * paper, (1 - get(1)) * paper, (1 - get(2)) * paper, 1};
    }
    default: return {get(0), get(1), get(2), 1};
  }
}

// The samples of the wanted layout.
std::array<double, 4> SamplesFor(zepcLayout layout, std::array<double, 4> pixel, bool was_grey,
                                 const Wish& wish) {
  if (wish.opacity != zepcOpacityAuto || !HasOpacity(layout)) {
    for (size_t c = 0; c < 3 && wish.opacity != zepcOpacityDrop; ++c) {
      pixel[c] = pixel[c] * pixel[3] + wish.background[c] * (1 - pixel[3]);
    }
    pixel[3] = 1;
  }
  const double luma = was_grey ? pixel[0] : 0.299 * pixel[0] + 0.587 * pixel[1] + 0.114 * pixel[2];
  switch (layout) {
    case zepcLayoutGrey:
    case zepcLayoutGreyAlpha: return {luma, pixel[3], 0, 0};
    case zepcLayoutBgr:
    case zepcLayoutBgra: return {pixel[2], pixel[1], pixel[0], pixel[3]};
    case zepcLayoutCmyk: return {1 - pixel[0], 1 - pixel[1], 1 - pixel[2], 0};
    default: return pixel;
  }
}

void ExpectConverted(const Image& from, const Image& to, const Wish& wish) {
  const double white = (1 << to.bits) - 1;
  // A step of the source or the target for each of the roundings in a row.
  const double tolerance = 2.0 / white + 2.0 / ((1 << from.bits) - 1);
  const bool is_same = from.layout == to.layout && from.bits == to.bits &&
                       (wish.opacity == zepcOpacityAuto || !HasOpacity(from.layout));
  const bool was_grey = from.layout == zepcLayoutGrey || from.layout == zepcLayoutGreyAlpha;
  const bool has_background = wish.background[0] != wish.background[1];
  for (int32_t y = 0; y < from.height; ++y) {
    for (int32_t x = 0; x < from.width; ++x) {
      const auto wanted =
          SamplesFor(to.layout, PixelOf(from, x, y), was_grey && !has_background, wish);
      for (size_t c = 0; c < ChannelsOf(to.layout); ++c) {
        if (is_same) {
          ASSERT_EQ(to.Get(x, y, c), from.Get(x, y, c));
        } else if (!(was_grey && has_background)) {
          ASSERT_NEAR(to.Get(x, y, c) / white, wanted[c], tolerance) << "channel " << c;
        }
      }
    }
  }
}

// JPEG 2000 keeps pixels of each layout as they are.
TEST(ApiDecode, EveryLayoutBecomesEveryOther) {
  for (const zepcLayout native :
       {zepcLayoutGrey, zepcLayoutGreyAlpha, zepcLayoutRgb, zepcLayoutRgba, zepcLayoutCmyk}) {
    for (const int32_t bits : {3, 8, 12, 16}) {
      const Image from = Make(9, 5, {native, bits > 8 ? zepcSampleU16 : zepcSampleU8, bits});
      const Bytes file = Encode(from, zepcFormatJp2);
      for (const zepcLayout layout : kLayouts) {
        for (const zepcSample sample : {zepcSampleU8, zepcSampleU16}) {
          for (int32_t i = 0; i < (HasOpacity(native) ? 4 : 1); ++i) {
            SCOPED_TRACE("from " + std::to_string(native) + ", " + std::to_string(bits) +
                         " bits to " + std::to_string(layout) + ", sample " +
                         std::to_string(sample) + ", opacity " + std::to_string(i));
            Wish wish;
            auto options = Sized<zepcDecodeOptions>();
            options.layout = layout;
            options.sample = sample;
            wish.opacity = options.opacity = static_cast<zepcOpacity>(i % 3);
            if (options.opacity == zepcOpacityBlend) wish.background = {0, 0, 0};
            if (i == 3) {
              options.opacity = wish.opacity = zepcOpacityBlend;
              options.background[1] = 65535;
              options.background[2] = 32768;
              wish.background = {0, 1, 0.5};
            }
            const Image to = DecodeToImage(file, &options);
            ASSERT_EQ(to.layout, layout);
            ASSERT_EQ(to.sample, sample);
            ASSERT_EQ(to.bits, sample == zepcSampleU8 ? 8 : 16);
            ExpectConverted(from, to, wish);
          }
        }
      }
    }
  }
}

// The same bytes as zepcDecode() gives; what surrounds the rows stays.
TEST(ApiDecode, IntoTheCallersBuffer) {
  for (const Bytes& file : Files()) {
    for (const zepcLayout layout : kLayouts) {
      for (const Shape& shape :
           {Shape{layout, zepcSampleU8, 8}, Shape{layout, zepcSampleU16, 16}}) {
        auto options = Sized<zepcDecodeOptions>();
        options.layout = layout;
        options.sample = shape.sample;
        const Image wanted = DecodeToImage(file, &options);
        Image buffer = Blank(37, 29, shape, 11);
        constexpr size_t kGuard = 64;
        Bytes memory(buffer.bytes.size() + 2 * kGuard, 0xA5);
        zepcPixels to = buffer.Pixels();
        to.data = memory.data() + kGuard;
        options.layout = zepcLayoutCmyk;  // the buffer's takes its place
        options.sample = zepcSampleNative;
        ASSERT_EQ(zepcDecodeInto(file.data(), file.size(), &options, &to, nullptr), zepcStatusOk)
            << zepcLastError();
        Image found = buffer;
        found.bytes.assign(memory.begin() + kGuard, memory.end() - kGuard);
        EXPECT_TRUE(Same(wanted, found));
        for (int32_t y = 0; y < 29; ++y) {
          for (size_t i = 0; i < 11; ++i) {
            ASSERT_EQ(found.bytes[static_cast<size_t>(y) * found.stride + found.row_bytes() + i],
                      0xA5);
          }
        }
        for (size_t i = 0; i < kGuard; ++i) {
          ASSERT_EQ(memory[i], 0xA5);
          ASSERT_EQ(memory[memory.size() - 1 - i], 0xA5);
        }
      }
    }
  }
}

TEST(ApiDecode, ReducedSizesAreRoundedUp) {
  for (const zepcFormat format : {zepcFormatJpeg, zepcFormatJp2, zepcFormatJ2k}) {
    const Bytes file = Encode(Make(85, 51, {}), format);
    const int32_t levels = Probe(file).levels;
    EXPECT_EQ(levels, format == zepcFormatJpeg ? 3 : 5);
    for (int32_t reduce = 0; reduce <= levels; ++reduce) {
      auto options = Sized<zepcDecodeOptions>();
      options.reduce = reduce;
      const Image small = DecodeToImage(file, &options);
      EXPECT_EQ(small.width, (85 + (1 << reduce) - 1) >> reduce);
      EXPECT_EQ(small.height, (51 + (1 << reduce) - 1) >> reduce);
    }
  }
}

TEST(ApiDecode, FewerLayersAreWorse) {
  zepcEncodeOptions options = OptionsFor(zepcFormatJp2);
  auto jpeg2000 = Sized<zepcJpeg2000Options>();
  const size_t sizes[] = {600, 2000, 0};
  jpeg2000.layer_bytes = sizes;
  jpeg2000.layer_count = 3;
  options.jpeg2000 = &jpeg2000;
  auto jpeg = Sized<zepcJpegOptions>();
  jpeg.is_progressive = 1;
  options.jpeg = &jpeg;
  const Image image = Make(90, 70, {});
  for (const zepcFormat format : {zepcFormatJp2, zepcFormatJpeg}) {
    options.format = format;
    const Bytes file = Encode(image, options);
    const int32_t layers = Probe(file).layers;
    EXPECT_GE(layers, 3);
    auto decode = Sized<zepcDecodeOptions>();
    decode.keeps_damaged = 1;
    double last = 0;
    for (const int32_t count : {1, (1 + layers) / 2, layers}) {
      decode.layers = count;
      const double psnr = Psnr(image, DecodeToImage(file, &decode));
      EXPECT_GT(psnr, last) << decode.layers;
      last = psnr;
    }
    const Image all = DecodeToImage(file);
    EXPECT_EQ(last, Psnr(image, all));
    decode.layers = 65535;
    EXPECT_TRUE(Same(all, DecodeToImage(file, &decode)));
  }
}

// By EXIF's words: where the 0th row and the 0th column lie.
Image Upright(const Image& from, int32_t orientation) {
  const bool is_turned = orientation > 4;
  Image to = Blank(is_turned ? from.height : from.width, is_turned ? from.width : from.height,
                   {from.layout, from.sample, from.bits});
  for (int32_t y = 0; y < to.height; ++y) {
    for (int32_t x = 0; x < to.width; ++x) {
      const int32_t right = to.width - 1 - x, bottom = to.height - 1 - y;
      const std::array<std::array<int32_t, 2>, 8> places = {{{x, y},
                                                             {right, y},
                                                             {right, bottom},
                                                             {x, bottom},
                                                             {y, x},
                                                             {y, right},
                                                             {bottom, right},
                                                             {bottom, x}}};
      const auto& place = places[static_cast<size_t>(orientation - 1)];
      for (size_t c = 0; c < ChannelsOf(to.layout); ++c) {
        to.Set(x, y, c, from.Get(place[0], place[1], c));
      }
    }
  }
  return to;
}

TEST(ApiDecode, OrientationIsApplied) {
  for (uint8_t orientation = 1; orientation <= 8; ++orientation) {
    for (const zepcFormat format : {zepcFormatJpeg, zepcFormatLosslessJpeg}) {
      const Bytes exif = Exif(orientation, orientation % 2 == 0);
      auto metadata = Sized<zepcMetadata>();
      metadata.exif = exif.data();
      metadata.exif_size = exif.size();
      metadata.resolution_unit = zepcResolutionInch;
      metadata.resolution_x = 72;
      metadata.resolution_y = 144;
      zepcEncodeOptions encode = OptionsFor(format);
      encode.metadata = &metadata;
      const Bytes file = Encode(Make(41, 23, {}), encode);
      auto options = Sized<zepcDecodeOptions>();
      options.applies_orientation = 1;
      const Image wanted = Upright(DecodeToImage(file), orientation);
      const Picture picture = Decode(file, &options);
      EXPECT_TRUE(Same(wanted, CopyOf(picture.get()))) << int{orientation};
      auto found = Sized<zepcMetadata>();
      ASSERT_EQ(zepcPictureMetadata(picture.get(), &found), zepcStatusOk);
      EXPECT_EQ(found.orientation, 1);
      const Bytes upright = Exif(1, orientation % 2 == 0);
      EXPECT_TRUE(
          found.exif_size == upright.size() &&
          std::equal(upright.begin(), upright.end(), static_cast<const uint8_t*>(found.exif)));
      if (format == zepcFormatJpeg) {
        EXPECT_EQ(found.resolution_x, orientation > 4 ? 144 : 72);
      }
      options.region = {3, 2, 11, 19};
      EXPECT_TRUE(Same(Part(wanted, options.region), DecodeToImage(file, &options)));
    }
  }
}

TEST(ApiDecode, DamageIsAnErrorOrKept) {
  for (size_t i = 0; i < Files().size(); ++i) {
    SCOPED_TRACE(Formats()[i]);
    const Bytes& file = Files()[i];
    int32_t kept = 0;
    for (size_t part = 1; part < 24; ++part) {
      const size_t size = file.size() * part / 24;
      zepcPicture* picture = nullptr;
      const zepcStatus strict = zepcDecode(file.data(), size, nullptr, &picture);
      EXPECT_TRUE(strict < 0 && picture == nullptr) << part;
      auto options = Sized<zepcDecodeOptions>();
      options.keeps_damaged = 1;
      const zepcStatus status = zepcDecode(file.data(), size, &options, &picture);
      EXPECT_EQ(status >= 0, picture != nullptr);
      if (status < 0) continue;
      ++kept;
      const Picture owner(picture);
      EXPECT_EQ(status, zepcStatusDamaged);
      EXPECT_EQ(strict, zepcStatusBadFile);
      EXPECT_EQ(CopyOf(picture).width, 37);
      auto message = Sized<zepcMessage>();
      ASSERT_EQ(zepcPictureMessage(picture, 0, &message), zepcStatusOk);
      EXPECT_EQ(message.is_damage, 1);
      EXPECT_LE(message.offset, static_cast<int64_t>(size));
      EXPECT_STRNE(message.text, "");
    }
    if (Formats()[i] <= zepcFormatJ2k) {
      EXPECT_GT(kept, 3);
    }
  }
}

TEST(ApiDecode, LimitsAreKept) {
  for (const Bytes& file : Files()) {
    auto options = Sized<zepcDecodeOptions>();
    options.threads = 1;  // several threads take more memory, but only if it is there
    options.max_pixels = 37 * 29;
    Decode(file, &options);
    const auto refuses = [&] {
      zepcPicture* picture = nullptr;
      EXPECT_EQ(zepcDecode(file.data(), file.size(), &options, &picture), zepcStatusTooLarge);
      EXPECT_EQ(picture, nullptr);
      EXPECT_STRNE(zepcLastError(), "");
    };
    options.max_pixels = 37 * 29 - 1;
    refuses();
    options.max_pixels = 0;
    options.max_memory = 1000;
    refuses();
    // What is converted takes more than what is not; the limit is what zepcProbe() tells.
    options.max_memory = 0;
    options.layout = zepcLayoutRgba;
    options.sample = zepcSampleU16;
    auto info = Sized<zepcInfo>();
    ASSERT_EQ(zepcProbe(file.data(), file.size(), &options, &info), zepcStatusOk);
    EXPECT_GE(info.memory, 37 * 29 * (8 + 3));
    options.max_memory = info.memory;
    Decode(file, &options);
    options.threads = 16;  // or fewer, if memory is short
    Decode(file, &options);
    options.threads = 1;
    options.max_memory = info.memory - 1;
    refuses();
  }
}

// Of a lossless JPEG file of one component: the same with a second one, each in a scan of its own.
Bytes WithSecondComponent(const Bytes& file) {
  const auto find = [&](uint8_t marker) {
    const uint8_t wanted[2] = {0xFF, marker};
    return static_cast<size_t>(
        std::search(file.begin(), file.end(), std::begin(wanted), std::end(wanted)) - file.begin());
  };
  const size_t frame = find(0xC3), scan = find(0xDA);
  const auto at = [&](size_t position) {
    return file.begin() + static_cast<std::ptrdiff_t>(position);
  };
  Bytes both(file.begin(), at(frame + 13));
  both[frame + 3] += 3;
  both[frame + 9] = 2;
  both.insert(both.end(), {2, 0x11, 0});
  both.insert(both.end(), at(frame + 13), file.end() - 2);
  Bytes second(at(scan), file.end());
  second[5] = 2;
  both.insert(both.end(), second.begin(), second.end());
  return both;
}

// The first two components of a JPEG file with a scan for each of three.
Bytes WithoutThirdComponent(const Bytes& file) {
  const auto find = [&](uint8_t marker, Bytes::const_iterator from) {
    const uint8_t wanted[2] = {0xFF, marker};
    return std::search(from, file.end(), std::begin(wanted), std::end(wanted));
  };
  const auto frame = find(0xC0, file.begin());
  const auto second = find(0xDA, find(0xDA, file.begin()) + 2);
  const auto third = find(0xDA, second + 2);
  Bytes both(file.begin(), frame + 16);
  both[both.size() - 13] -= 3;
  both[both.size() - 7] = 2;
  both.insert(both.end(), frame + 19, third);
  both.insert(both.end(), {0xFF, 0xD9});
  return both;
}

TEST(ApiDecode, TheFirstOfTwoComponentsOfJpegIsGrey) {
  auto jpeg = Sized<zepcJpegOptions>();
  jpeg.sampling = zepcSampling444;
  jpeg.scan_script = "0; 1; 2;";
  zepcEncodeOptions options = OptionsFor(zepcFormatJpeg);
  options.jpeg = &jpeg;
  const Bytes file = Encode(Make(40, 30, {zepcLayoutRgb, zepcSampleU8, 8}), options);
  const Bytes both = WithoutThirdComponent(file);
  EXPECT_EQ(Probe(both).layout, zepcLayoutGrey);
  EXPECT_EQ(Probe(both).components, 2);
  const Picture picture = Decode(both);
  auto message = Sized<zepcMessage>();
  ASSERT_EQ(zepcPictureMessage(picture.get(), 0, &message), zepcStatusOk);
  EXPECT_STREQ(message.text, "the file has two components; the first is shown as grey");
  EXPECT_EQ(message.is_damage, 0);
  zepcCoefficients* coefficients = nullptr;
  EXPECT_EQ(zepcJpegReadCoefficients(both.data(), both.size(), nullptr, &coefficients),
            zepcStatusUnsupported);
  void* transcoded = nullptr;
  size_t size = 0;
  EXPECT_EQ(zepcJpegTranscode(both.data(), both.size(), nullptr, &transcoded, &size),
            zepcStatusUnsupported);
  // Luminance is the first component of the other file.
  const Image grey = DecodeToImage(both), rgb = DecodeToImage(file);
  ASSERT_EQ(grey.layout, zepcLayoutGrey);
  for (int32_t y = 0; y < 30; ++y) {
    for (int32_t x = 0; x < 40; ++x) {
      const double luma =
          0.299 * rgb.Get(x, y, 0) + 0.587 * rgb.Get(x, y, 1) + 0.114 * rgb.Get(x, y, 2);
      ASSERT_NEAR(grey.Get(x, y, 0), luma, 3);
    }
  }
}

TEST(ApiDecode, TwoComponentsOfLosslessJpegAreGreyWithOpacity) {
  const Image grey = Make(20, 12, {zepcLayoutGrey, zepcSampleU8, 8});
  const Bytes file = WithSecondComponent(Encode(grey, zepcFormatLosslessJpeg));
  EXPECT_EQ(Probe(file).layout, zepcLayoutGreyAlpha);
  EXPECT_EQ(Probe(file).components, 2);
  const Image found = DecodeToImage(file);
  ASSERT_EQ(found.layout, zepcLayoutGreyAlpha);
  for (int32_t y = 0; y < 12; ++y) {
    for (int32_t x = 0; x < 20; ++x) {
      ASSERT_EQ(found.Get(x, y, 0), grey.Get(x, y, 0));
      ASSERT_EQ(found.Get(x, y, 1), grey.Get(x, y, 0));
    }
  }
}

}  // namespace
