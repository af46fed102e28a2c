// SPDX-License-Identifier: MIT
// The JPEG example against itself: sizes, samplings, restart intervals, previews, metadata, and
// what files may look like.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "codecs/jpeg/markers/standard_tables.h"
#include "harness/random.h"
#include "tests/codecs/jpeg/jpeg_files.h"
#include "tests/codecs/support/pictures.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using jpeg::Sampling;
using jpeg_files::Bytes;
using jpeg_files::Decode;
using jpeg_files::DecodeGood;
using jpeg_files::Encode;
using jpeg_files::FindMarker;
using jpeg_files::SegmentSize;
using pictures::Compare;
using pictures::Same;
using zepcodec::PixelLayout;

const std::vector<Sampling> kSamplings = {Sampling::k444, Sampling::k422, Sampling::k420};
constexpr std::array<PixelLayout, 3> kLayouts = {PixelLayout::kGrey, PixelLayout::kRgb,
                                                 PixelLayout::kCmyk};

jpeg::EncodeOptions Options(int quality, Sampling sampling, int restart_interval = 0) {
  jpeg::EncodeOptions options;
  options.quality = quality;
  options.sampling = sampling;
  options.restart_interval = restart_interval;
  return options;
}

// Every width and every height, in a sample not all pairs of them.
TEST(JpegRoundTrip, EverySizeAndSampling) {
  const int step = harness::Exhaustive() ? 1 : 7;
  for (const PixelLayout layout : kLayouts) {
    for (const Sampling sampling : kSamplings) {
      for (int height = 1; height <= 40; ++height) {
        for (int width = 1 + height % step; width <= 40; width += step) {
          const zepcodec::Picture image = pictures::Smooth(width, height, layout);
          const zepcodec::Picture decoded = DecodeGood(Encode(image, Options(97, sampling)));
          const pictures::Difference difference = Compare(image, decoded);
          ASSERT_LE(difference.most, 14)
              << width << "x" << height << " sampling " << static_cast<int>(sampling);
          ASSERT_LE(difference.mean, 2.5);
        }
      }
    }
  }
}

TEST(JpegRoundTrip, RestartIntervalsChangeNoSample) {
  for (const PixelLayout layout : kLayouts) {
    for (const Sampling sampling : kSamplings) {
      const zepcodec::Picture image = pictures::Detailed(143, 75, layout);
      const zepcodec::Picture without = DecodeGood(Encode(image, Options(80, sampling)));
      for (const int interval : {1, 2, 3, 9, 10, 100, 65535}) {
        const Bytes file = Encode(image, Options(80, sampling, interval));
        EXPECT_TRUE(Same(without, DecodeGood(file))) << "interval " << interval;
      }
    }
  }
}

TEST(JpegRoundTrip, ExtremeSizes) {
  harness::Random random(harness::Seed());
  const std::array<std::array<int, 2>, 4> sizes = {
      {{65535, 1}, {1, 65535}, {65535, 9}, {17, 65535}}};
  for (const auto& [width, height] : sizes) {
    const zepcodec::Picture image = pictures::Smooth(width, height, PixelLayout::kRgb);
    for (const Sampling sampling : harness::AllOrOne<Sampling>(kSamplings, random)) {
      const zepcodec::Picture decoded = DecodeGood(Encode(image, Options(95, sampling)));
      EXPECT_LE(Compare(image, decoded).mean, 2.5) << width << "x" << height;
    }
  }
}

TEST(JpegRoundTrip, EveryQuality) {
  const zepcodec::Picture image = pictures::Detailed(64, 48, PixelLayout::kRgb);
  size_t last_size = 0;
  for (int quality = 1; quality <= 100; ++quality) {
    const Bytes file = Encode(image, Options(quality, Sampling::k444));
    EXPECT_GE(file.size() + 8, last_size) << "quality " << quality;
    last_size = file.size();
    DecodeGood(file);
  }
  EXPECT_LE(Compare(image, DecodeGood(Encode(image, Options(100, Sampling::k444)))).most, 4);
}

// The strongest contrasts: pixels of noise, at quality 100.
TEST(JpegRoundTrip, NoiseAtFullQuality) {
  uint32_t state = 1;
  zepcodec::Picture image;
  ASSERT_TRUE(image.Resize(200, 100, PixelLayout::kRgb));
  for (size_t i = 0; i < image.SizeInBytes(); ++i) {
    state = state * 1664525 + 1013904223;
    image.Row(0)[i] = (state >> 24 & 1) != 0 ? 255 : 0;
  }
  EXPECT_LE(Compare(image, DecodeGood(Encode(image, Options(100, Sampling::k444)))).mean, 1.0);
}

uint64_t Hash(const Bytes& bytes) {
  uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
  for (const uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001B3;
  return hash;
}

// The whole way there and back, on every processor, for every compiler.
TEST(JpegRoundTrip, TheSameBytesEverywhere) {
  uint32_t state = 1;
  zepcodec::Picture image;
  ASSERT_TRUE(image.Resize(301, 203, PixelLayout::kRgb));
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width() * 3; ++x) {
      state = state * 1664525 + 1013904223;
      const int noise = static_cast<int>(state >> 27);
      image.Row(y)[x] = static_cast<uint8_t>((x * (1 + x % 3) / 4 + y + noise) & 255);
    }
  }
  Bytes all;
  for (const Sampling sampling : kSamplings) {
    jpeg::EncodeOptions options = Options(85, sampling);
    options.forward_dct = jpeg::ForwardDct::kPrecise;
    const Bytes precise = Encode(image, options);
    options.forward_dct = jpeg::ForwardDct::kFast;
    const Bytes file = Encode(image, options);
    all.insert(all.end(), precise.begin(), precise.end());
    all.insert(all.end(), file.begin(), file.end());
    for (const int scale : {1, 2, 4, 8}) {
      const Bytes decoded = pictures::ToBytes(DecodeGood(file, scale));
      all.insert(all.end(), decoded.begin(), decoded.end());
    }
  }
  EXPECT_EQ(Hash(all), 16154040179311312013u);
}

// Means of the full picture over squares of scale x scale pixels, whole ones only.
zepcodec::Picture Reduce(const zepcodec::Picture& image, int scale) {
  zepcodec::Picture reduced;
  EXPECT_TRUE(reduced.Resize(image.width() / scale, image.height() / scale, image.layout()));
  const int channels = image.channels();
  for (int y = 0; y < reduced.height(); ++y) {
    for (int i = 0; i < reduced.width() * channels; ++i) {
      int sum = scale * scale / 2;
      for (int row = y * scale; row < (y + 1) * scale; ++row) {
        for (int k = 0; k < scale; ++k) {
          sum += image.Row(row)[(i / channels * scale + k) * channels + i % channels];
        }
      }
      reduced.Row(y)[i] = static_cast<uint8_t>(sum / (scale * scale));
    }
  }
  return reduced;
}

TEST(JpegPreview, IsTheReducedPicture) {
  for (const PixelLayout layout : kLayouts) {
    for (const Sampling sampling : kSamplings) {
      const Bytes file = Encode(pictures::Smooth(160, 96, layout), Options(95, sampling));
      const zepcodec::Picture full = DecodeGood(file);
      for (const int scale : {2, 4, 8}) {
        const zepcodec::Picture preview = DecodeGood(file, scale);
        const pictures::Difference difference = Compare(preview, Reduce(full, scale));
        EXPECT_LE(difference.mean, 3.0) << "scale " << scale;
        EXPECT_LE(difference.most, 16) << "scale " << scale;
      }
    }
  }
}

TEST(JpegPreview, OddSizesAreRoundedUp) {
  for (const Sampling sampling : kSamplings) {
    for (int width = 1; width <= 35; ++width) {
      const Bytes file =
          Encode(pictures::Smooth(width, 41 - width, PixelLayout::kRgb), Options(90, sampling));
      for (const int scale : {2, 4, 8}) {
        const zepcodec::Picture preview = DecodeGood(file, scale);
        EXPECT_EQ(preview.width(), (width + scale - 1) / scale);
        EXPECT_EQ(preview.height(), (41 - width + scale - 1) / scale);
      }
    }
  }
}

TEST(JpegMetadata, ExifAndProfileComeBack) {
  jpeg::EncodeOptions options = Options(90, Sampling::k420);
  const Bytes exif = {'I', 'I', 42, 0, 8, 0, 0, 0, 0, 0, 0xFF, 0xD8, 0xFF, 0xD9};
  Bytes profile(200000);
  for (size_t i = 0; i < profile.size(); ++i) profile[i] = static_cast<uint8_t>(i * 7 + i / 256);
  ASSERT_TRUE(jpeg::AddExif(exif, &options.metadata));
  ASSERT_TRUE(jpeg::AddIccProfile(profile, &options.metadata));
  options.metadata.segments.push_back({jpeg::kCom, {'h', 'e', 'l', 'l', 'o'}});
  options.metadata.density = {1, 300, 301};
  const Bytes file = Encode(pictures::Smooth(20, 20, PixelLayout::kRgb), options);
  const jpeg_files::Decoded decoded = Decode(file);
  ASSERT_TRUE(decoded.status.ok());
  const jpeg::SavedSegments& metadata = decoded.info.metadata;
  EXPECT_EQ(jpeg::FindExif(metadata), exif);
  EXPECT_EQ(jpeg::FindIccProfile(metadata), profile);
  EXPECT_EQ(metadata.segments.back().marker, jpeg::kCom);
  EXPECT_EQ(metadata.density.unit, 1);
  EXPECT_EQ(metadata.density.x, 300);
  EXPECT_EQ(metadata.density.y, 301);

  // Written back with the picture, the file is the same.
  options.metadata = metadata;
  EXPECT_EQ(Encode(pictures::Smooth(20, 20, PixelLayout::kRgb), options), file);
}

TEST(JpegMetadata, ProfilesInOddOrder) {
  const auto part = [](int number, int count, uint8_t content) {
    Bytes data = {'I', 'C', 'C', '_', 'P', 'R', 'O', 'F', 'I', 'L', 'E', 0};
    data.insert(data.end(), {static_cast<uint8_t>(number), static_cast<uint8_t>(count), content});
    return jpeg::Segment{jpeg::kApp2, data};
  };
  const auto found = [](std::vector<jpeg::Segment> parts) {
    jpeg::SavedSegments metadata;
    metadata.segments = std::move(parts);
    EXPECT_TRUE(jpeg::HasIccProfile(metadata));
    return jpeg::FindIccProfile(metadata);
  };
  const Bytes whole = {'a', 'b', 'c'};
  EXPECT_EQ(found({part(3, 3, 'c'), part(1, 3, 'a'), part(2, 3, 'b')}), whole);
  EXPECT_EQ(found({part(1, 3, 'a'), part(1, 3, 'x'), part(2, 3, 'b'), part(3, 3, 'c')}), whole);
  EXPECT_EQ(found({part(0, 3, 'a'), part(1, 3, 'b'), part(2, 3, 'c')}), whole);
  EXPECT_EQ(found({part(1, 3, 'a'), part(2, 0, 'b'), part(3, 3, 'c')}), whole);
  EXPECT_TRUE(found({part(1, 3, 'a'), part(3, 3, 'c')}).empty());
  EXPECT_TRUE(found({part(2, 3, 'b'), part(3, 3, 'c')}).empty());
  EXPECT_TRUE(found({part(2, 3, 'b'), part(3, 3, 'c'), part(4, 3, 'd')}).empty());
  EXPECT_TRUE(found({part(1, 0, 'a')}).empty());
  EXPECT_FALSE(jpeg::HasIccProfile(jpeg::SavedSegments()));
}

TEST(JpegEncode, BadArguments) {
  zepcodec::ByteBuffer file;
  const zepcodec::Picture image = pictures::Smooth(8, 8, PixelLayout::kRgb);
  EXPECT_FALSE(jpeg::Encode(zepcodec::Picture(), {}, &file).ok());
  EXPECT_FALSE(jpeg::Encode(image, Options(0, Sampling::k444), &file).ok());
  EXPECT_FALSE(jpeg::Encode(image, Options(101, Sampling::k444), &file).ok());
  EXPECT_FALSE(jpeg::Encode(image, Options(90, Sampling::k444, 65536), &file).ok());
  EXPECT_FALSE(jpeg::Encode(pictures::Smooth(65536, 1, PixelLayout::kGrey), {}, &file).ok());
  jpeg::EncodeOptions options;
  options.metadata.segments.push_back({jpeg::kApp2, Bytes(65534)});
  EXPECT_FALSE(jpeg::Encode(image, options, &file).ok());
}

TEST(JpegDecode, OtherProcessesAreNamed) {
  const Bytes file = Encode(pictures::Smooth(24, 24, PixelLayout::kRgb));
  const size_t frame = FindMarker(file, jpeg::kSof0);
  const auto error = [&](int marker, int precision) {
    Bytes changed = file;
    changed[frame + 1] = static_cast<uint8_t>(marker);
    changed[frame + 4] = static_cast<uint8_t>(precision);
    return Decode(changed).status.text();
  };
  EXPECT_NE(error(0xC2, 8).find("progressive"), std::string::npos);
  EXPECT_NE(error(0xC3, 8).find("lossless"), std::string::npos);
  EXPECT_NE(error(0xC5, 8).find("hierarchical"), std::string::npos);
  EXPECT_NE(error(0xC9, 8).find("arithmetic"), std::string::npos);
  EXPECT_NE(error(0xCA, 8).find("arithmetic"), std::string::npos);
  EXPECT_NE(error(0xF7, 8).find("JPEG-LS"), std::string::npos);
  EXPECT_EQ(error(0xC1, 8), "");  // extended, with what baseline has
}

TEST(JpegDecode, NoPicture) {
  EXPECT_NE(Decode({}).status.text(), "");
  EXPECT_NE(Decode({'G', 'I', 'F', '8'}).status.text(), "");
  EXPECT_NE(Decode({0xFF, 0xD8}).status.text(), "");
  EXPECT_NE(Decode({0xFF, 0xD8, 0xFF, 0xD9}).status.text(), "");
}

// Padding in front of markers, segments that are not known, a second table in one segment.
TEST(JpegDecode, UnusualButGood) {
  const Bytes file = Encode(pictures::Detailed(33, 21, PixelLayout::kRgb));
  const zepcodec::Picture expected = DecodeGood(file);
  const size_t frame = FindMarker(file, jpeg::kSof0);
  EXPECT_TRUE(Same(expected, DecodeGood(jpeg_files::With(file, frame, {0xFF, 0xFF, 0xFF}))));
  const Bytes unknown = {0xFF, 0xF1, 0, 4, 1, 2};
  EXPECT_TRUE(Same(expected, Decode(jpeg_files::With(file, frame, unknown)).image));
  EXPECT_TRUE(Same(expected, Decode(jpeg_files::With(file, frame, {1, 2, 3})).image));
  const size_t end = FindMarker(file, jpeg::kEoi);
  EXPECT_TRUE(Same(expected, DecodeGood(jpeg_files::With(file, end + 2, {1, 2, 3}))));
}

TEST(JpegDecode, WideQuantizationTables) {
  const Bytes file = Encode(pictures::Detailed(33, 21, PixelLayout::kRgb));
  Bytes changed = file;
  for (int i = 0; i < 2; ++i) {
    const size_t at =
        FindMarker(changed, jpeg::kDqt, i == 0 ? 0 : FindMarker(changed, jpeg::kDqt) + 2);
    Bytes segment = {0xFF, jpeg::kDqt, 0, 131, static_cast<uint8_t>(0x10 | changed[at + 4])};
    for (size_t k = 0; k < 64; ++k) {
      segment.push_back(0);
      segment.push_back(changed[at + 5 + k]);
    }
    changed = jpeg_files::With(jpeg_files::Without(changed, at, 69), at, segment);
  }
  EXPECT_TRUE(Same(DecodeGood(file), DecodeGood(changed)));
}

TEST(JpegDecode, StepsBeyond255) {
  // One grey block with a DC coefficient of 1 and a step of 512: 128 + 512 / 8 everywhere.
  zepcodec::Picture image;
  ASSERT_TRUE(image.Resize(8, 8, PixelLayout::kGrey));
  for (size_t i = 0; i < 64; ++i) image.Row(0)[i] = 129;
  Bytes file = Encode(image, Options(99, Sampling::k444));  // steps of 1 or 2
  const size_t at = FindMarker(file, jpeg::kDqt);
  const int step = file[at + 5];
  ASSERT_EQ(8 % step, 0);
  Bytes segment = {0xFF, jpeg::kDqt, 0, 131, 0x10};
  for (size_t k = 0; k < 64; ++k) {
    segment.push_back(static_cast<uint8_t>((64 * step) >> 8));
    segment.push_back(static_cast<uint8_t>((64 * step) & 255));
  }
  file = jpeg_files::With(jpeg_files::Without(file, at, 69), at, segment);
  const zepcodec::Picture decoded = DecodeGood(file);
  for (size_t i = 0; i < 64; ++i) EXPECT_EQ(decoded.Row(0)[i], 128 + 64);
}

TEST(JpegDecode, MotionJpegHasNoHuffmanTables) {
  const Bytes file = Encode(pictures::Detailed(33, 21, PixelLayout::kRgb));
  Bytes changed = file;
  for (int i = 0; i < 4; ++i) {
    const size_t at = FindMarker(changed, jpeg::kDht);
    changed = jpeg_files::Without(changed, at, SegmentSize(changed, at));
  }
  EXPECT_TRUE(Same(DecodeGood(file), Decode(changed).image));
}

TEST(JpegDecode, HeightBehindTheFirstScan) {
  const Bytes file = Encode(pictures::Detailed(33, 21, PixelLayout::kRgb));
  Bytes changed = file;
  const size_t frame = FindMarker(file, jpeg::kSof0);
  changed[frame + 5] = changed[frame + 6] = 0;
  EXPECT_FALSE(Decode(changed).status.ok());
  const size_t end = FindMarker(file, jpeg::kEoi);
  changed = jpeg_files::With(changed, end, {0xFF, jpeg::kDnl, 0, 4, 0, 21});
  EXPECT_TRUE(Same(DecodeGood(file), DecodeGood(changed)));
}

// The names of the components, or Adobe's header, tell RGB from YCbCr.
TEST(JpegDecode, RgbIsRecognised) {
  const zepcodec::Picture image = pictures::Smooth(20, 12, PixelLayout::kRgb);
  Bytes file = Encode(image, Options(95, Sampling::k444));
  const size_t jfif = FindMarker(file, jpeg::kApp0);
  const Bytes bare = jpeg_files::Without(file, jfif, SegmentSize(file, jfif));
  EXPECT_EQ(Decode(bare).info.model, jpeg::ColorModel::kYCbCr);
  for (const uint8_t transform : std::array<uint8_t, 2>{0, 1}) {
    const Bytes adobe = {0xFF, jpeg::kApp14, 0, 14, 'A', 'd', 'o',      'b', 'e',
                         0,    100,          0, 0,  0,   0,   transform};
    const jpeg_files::Decoded decoded = Decode(jpeg_files::With(bare, 2, adobe));
    EXPECT_EQ(decoded.info.model,
              transform == 0 ? jpeg::ColorModel::kRgb : jpeg::ColorModel::kYCbCr);
    EXPECT_EQ(Same(decoded.image, DecodeGood(file)), transform == 1);
  }
  Bytes named = bare;
  const size_t frame = FindMarker(named, jpeg::kSof0);
  const size_t scan = FindMarker(named, jpeg::kSos);
  for (size_t i = 0; i < 3; ++i) {
    named[frame + 10 + 3 * i] = named[scan + 5 + 2 * i] = static_cast<uint8_t>("RGB"[i]);
  }
  EXPECT_EQ(Decode(named).info.model, jpeg::ColorModel::kRgb);
}

TEST(JpegDecode, LimitOfPixels) {
  const Bytes file = Encode(pictures::Smooth(100, 100, PixelLayout::kGrey));
  jpeg::DecodeOptions options;
  zepcodec::Picture image;
  jpeg::FileInfo info;
  options.max_pixels = 10000;
  EXPECT_TRUE(jpeg::Decode(file.data(), file.size(), options, &image, &info).ok());
  options.max_pixels = 9999;
  EXPECT_FALSE(jpeg::Decode(file.data(), file.size(), options, &image, &info).ok());
  options.scale = 3;
  EXPECT_FALSE(jpeg::Decode(file.data(), file.size(), options, &image, &info).ok());
}

}  // namespace
