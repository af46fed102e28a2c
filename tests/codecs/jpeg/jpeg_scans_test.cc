// SPDX-License-Identifier: MIT
// Progressive files, scan scripts, optimal tables, transcoding and cropping: coefficients equal
// those that libjpeg reads.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <string>
#include <vector>

#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/transcoder.h"
#include "harness/random.h"
#include "tests/codecs/jpeg/jpeg_files.h"
#include "tests/codecs/jpeg/libjpeg_codec.h"
#include "tests/codecs/support/pictures.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using jpeg_files::Bytes;
using jpeg_files::Decode;
using jpeg_files::DecodeGood;
using jpeg_files::Encode;
using libjpeg_codec::Blocks;
using libjpeg_codec::ReadCoefficients;
using libjpeg_codec::RecodeCoefficients;
using zepcodec::PixelLayout;

constexpr PixelLayout kLayouts[] = {PixelLayout::kGrey, PixelLayout::kRgb, PixelLayout::kCmyk};
constexpr jpeg::Sampling kSamplings[] = {jpeg::Sampling::k444, jpeg::Sampling::k422,
                                         jpeg::Sampling::k420};

// By the example; those blocks that hold samples.
std::vector<Blocks> OurCoefficients(const Bytes& file) {
  jpeg::Coefficients coefficients;
  jpeg::FileInfo info;
  const zepcodec::Status status =
      jpeg::DecodeCoefficients(file.data(), file.size(), {}, &coefficients, &info);
  EXPECT_TRUE(status.ok()) << status.text();
  EXPECT_TRUE(info.messages.empty()) << info.messages.kept()[0].ToString();
  std::vector<Blocks> result;
  for (size_t i = 0; i < coefficients.planes.size(); ++i) {
    const jpeg::ComponentGeometry place = jpeg::Geometry(coefficients.frame, 1).components[i];
    Blocks blocks;
    for (int y = 0; y < place.block_rows; ++y) {
      const int16_t* row = coefficients.planes[i].Block(0, y);
      blocks.insert(blocks.end(), row, row + 64 * place.blocks_per_row);
    }
    result.push_back(std::move(blocks));
  }
  return result;
}

Bytes Transcode(const Bytes& file, const jpeg::TranscodeOptions& options) {
  zepcodec::ByteBuffer result;
  jpeg::FileInfo info;
  const zepcodec::Status status =
      jpeg::Transcode(file.data(), file.size(), options, &result, &info);
  EXPECT_TRUE(status.ok()) << status.text();
  return pictures::ToBytes(result);
}

jpeg::TranscodeOptions Progressive(int restart_interval = 0) {
  jpeg::TranscodeOptions options;
  options.progressive = true;
  options.restart_interval = restart_interval;
  return options;
}

jpeg::TranscodeOptions Optimized() {
  jpeg::TranscodeOptions options;
  options.optimizes = true;
  return options;
}

TEST(JpegScans, TheirProgressiveFilesDecodeHere) {
  for (const PixelLayout layout : kLayouts) {
    for (const std::array<int, 2> size : {std::array{1, 1}, {37, 29}, {131, 67}}) {
      for (const std::array<int, 2> factors : {std::array{1, 1}, {2, 1}, {2, 2}, {1, 2}}) {
        libjpeg_codec::Settings settings;
        settings.progressive = true;
        settings.sampling = factors;
        settings.restart_interval = size[0] == 37 ? 3 : 0;
        settings.quality = size[0] == 37 ? 95 : 60;
        const Bytes file =
            libjpeg_codec::Compress(pictures::Detailed(size[0], size[1], layout), settings);
        EXPECT_EQ(OurCoefficients(file), ReadCoefficients(file));
        const Bytes baseline = RecodeCoefficients(file, {});
        EXPECT_TRUE(pictures::Same(DecodeGood(file), DecodeGood(baseline)));
        EXPECT_TRUE(pictures::Same(DecodeGood(file, 4), DecodeGood(baseline, 4)));
      }
    }
  }
}

TEST(JpegScans, OurFilesDecodeThere) {
  for (const PixelLayout layout : kLayouts) {
    for (const jpeg::Sampling sampling : kSamplings) {
      const zepcodec::Picture image = pictures::Detailed(131, 67, layout);
      jpeg::EncodeOptions options;
      options.sampling = sampling;
      const std::vector<Blocks> want = ReadCoefficients(Encode(image, options));
      const size_t plain_size = Encode(image, options).size();
      options.optimizes = true;
      const Bytes optimized = Encode(image, options);
      EXPECT_EQ(ReadCoefficients(optimized), want);
      EXPECT_LT(optimized.size(), plain_size);
      for (const int interval : {0, 1, 5}) {
        options.progressive = true;
        options.restart_interval = interval;
        const Bytes progressive = Encode(image, options);
        EXPECT_EQ(ReadCoefficients(progressive), want);
        EXPECT_EQ(OurCoefficients(progressive), want);
      }
    }
  }
}

// How many bytes FF come out, each with a 00 behind it, is chance.
size_t SizeWithoutStuffing(const Bytes& file) {
  size_t size = file.size();
  for (size_t i = 0; i + 1 < file.size(); ++i) size -= file[i] == 0xFF && file[i + 1] == 0;
  return size;
}

// Baseline, progressive, optimized and back, here and there.
TEST(JpegScans, TranscodingKeepsCoefficients) {
  for (const PixelLayout layout : kLayouts) {
    for (const jpeg::Sampling sampling : kSamplings) {
      jpeg::EncodeOptions options;
      options.sampling = sampling;
      options.quality = 97;
      const Bytes file = Encode(pictures::Detailed(75, 53, layout), options);
      const std::vector<Blocks> want = ReadCoefficients(file);
      const Bytes progressive = Transcode(file, Progressive());
      const Bytes with_restarts = Transcode(progressive, Progressive(2));
      const Bytes optimized = Transcode(with_restarts, Optimized());
      for (const Bytes& each : {progressive, with_restarts, optimized, Transcode(optimized, {})}) {
        EXPECT_EQ(ReadCoefficients(each), want);
      }
      EXPECT_EQ(Transcode(optimized, {}), file);  // blocks that fill up MCUs too
      EXPECT_EQ(RecodeCoefficients(progressive, {}), RecodeCoefficients(file, {}));
      EXPECT_LE(SizeWithoutStuffing(optimized),
                SizeWithoutStuffing(RecodeCoefficients(file, {false, true})));
    }
  }
}

TEST(JpegScans, WideStepsStayWide) {
  libjpeg_codec::Settings settings;
  settings.quality = 1;
  settings.force_baseline = false;
  const Bytes file =
      libjpeg_codec::Compress(pictures::Detailed(50, 40, PixelLayout::kRgb), settings);
  const Bytes again = Transcode(file, Optimized());
  EXPECT_TRUE(pictures::Same(DecodeGood(again), DecodeGood(file)));
  EXPECT_TRUE(pictures::Same(libjpeg_codec::Decompress(again), libjpeg_codec::Decompress(file)));
}

// The scans of DC and, of each component, of bands and their bits, in an order that keeps to the
// rules.
jpeg::Script RandomScript(int components, harness::Random& random) {
  struct Band {
    int component, first, last, low;
    bool begun;
  };
  const auto below = [&](int limit) {
    return static_cast<int>(random() % static_cast<uint32_t>(limit));
  };
  std::vector<Band> bands;
  jpeg::Script script;
  const auto add = [&](std::vector<int> indexes, int first, int last, int high, int low) {
    jpeg::Scan scan;
    for (const int index : indexes) scan.components.push_back({index, 0, 0});
    scan.first = first;
    scan.last = last;
    scan.high = high;
    scan.low = low;
    script.push_back(scan);
  };
  for (int i = 0; i < components; ++i) {
    bands.push_back({i, 0, 0, below(3), true});
    add({i}, 0, 0, 0, bands.back().low);
    for (int first = 1; first <= 63;) {
      const int last = below(3) == 0 ? 63 : first + below(64 - first);
      bands.push_back({i, first, last, below(4), false});
      first = last + 1;
    }
  }
  while (!bands.empty()) {
    const auto at = bands.begin() + below(static_cast<int>(bands.size()));
    if (at->begun && at->low == 0) {
      bands.erase(at);
      continue;
    }
    if (at->begun) --at->low;
    add({at->component}, at->first, at->last, at->begun ? at->low + 1 : 0, at->low);
    at->begun = true;
  }
  return script;
}

TEST(JpegScans, AnyLegalScript) {
  harness::Random random(harness::Seed());
  const Bytes grey = Encode(pictures::Detailed(75, 53, PixelLayout::kGrey));
  const Bytes color = Encode(pictures::Detailed(75, 53, PixelLayout::kRgb));
  for (int trial = 0; trial < 20; ++trial) {
    const bool is_grey = trial % 2 == 0;
    const Bytes& file = is_grey ? grey : color;
    jpeg::TranscodeOptions options;
    options.script = RandomScript(is_grey ? 1 : 3, random);
    const Bytes scans = Transcode(file, options);
    EXPECT_EQ(ReadCoefficients(scans), ReadCoefficients(file)) << "seed " << harness::Seed();
    EXPECT_EQ(OurCoefficients(scans), ReadCoefficients(file));
  }
}

TEST(JpegScans, ScriptsAsTheyAreWritten) {
  jpeg::Script script;
  ASSERT_TRUE(
      jpeg::ParseScript("# coarse first\n0,1,2: 0-0, 0, 1 ;\n0: 1-63,0,0;1;", &script).ok());
  ASSERT_EQ(script.size(), 3u);
  EXPECT_EQ(script[0].components.size(), 3u);
  EXPECT_EQ(script[0].low, 1);
  EXPECT_EQ(script[1].last, 63);
  EXPECT_EQ(script[2].components[0].index, 1);
  EXPECT_EQ(script[2].last, 63);
  for (const char* bad : {"", "x;", "0:;", "0: 0-0, 0;", "0: 0-0, 0, 1, 2;", "0 0-0,0,0;", "0,;",
                          "-1: 0-0,0,0;", "999: 0-0,0,0;"}) {
    EXPECT_FALSE(jpeg::ParseScript(bad, &script).ok()) << bad;
  }
}

TEST(JpegScans, BadScriptsAreRefused) {
  const zepcodec::Picture image = pictures::Smooth(16, 16, PixelLayout::kRgb);
  const auto error = [&](const char* text) {
    jpeg::EncodeOptions options;
    EXPECT_TRUE(jpeg::ParseScript(text, &options.script).ok()) << text;
    zepcodec::ByteBuffer file;
    return jpeg::Encode(image, options, &file).text();
  };
  EXPECT_EQ(error("0;1;2;"), "");
  EXPECT_NE(error("0;1;").find("leaves coefficients out"), std::string::npos);
  EXPECT_NE(error("0;1;3;").find("no such component"), std::string::npos);
  EXPECT_NE(error("1,0,2;").find("ascend"), std::string::npos);
  EXPECT_NE(error("0,1,2: 0-0,0,1; 0,1: 1-63,0,0;").find("several"), std::string::npos);
  EXPECT_NE(error("0: 1-63,0,0;").find("before DC"), std::string::npos);
  EXPECT_NE(error("0,1,2: 0-5,0,0;").find("together"), std::string::npos);
  EXPECT_NE(error("0,1,2: 0-0,0,2; 0,1,2: 0-0,2,0;").find("no such bits"), std::string::npos);
  EXPECT_NE(error("0,1,2: 0-0,0,2; 0,1,2: 0-0,1,0;").find("not coded"), std::string::npos);
  EXPECT_NE(error("0,1,2: 0-0,0,0; 0: 0-0,0,0;").find("already"), std::string::npos);
  EXPECT_NE(error("0,1,2: 0-0,0,0; 0: 9-3,0,0;").find("no such band"), std::string::npos);
}

TEST(JpegScans, CropsOnMcuBorders) {
  for (const jpeg::Sampling sampling : kSamplings) {
    jpeg::EncodeOptions encode_options;
    encode_options.sampling = sampling;
    const Bytes file = Encode(pictures::Detailed(131, 99, PixelLayout::kRgb), encode_options);
    jpeg::Coefficients whole, part;
    jpeg::FileInfo info;
    ASSERT_TRUE(jpeg::DecodeCoefficients(file.data(), file.size(), {}, &whole, &info).ok());
    jpeg::TranscodeOptions options;
    options.has_crop = true;
    options.crop = {37, 50, 60, 1000};
    const Bytes cropped = Transcode(file, options);
    ASSERT_TRUE(jpeg::DecodeCoefficients(cropped.data(), cropped.size(), {}, &part, &info).ok());
    const int across = 8 * whole.frame.max_h, down = 8 * whole.frame.max_v;
    EXPECT_EQ(part.frame.width, 97 - 37 / across * across);
    EXPECT_EQ(part.frame.height, 99 - 50 / down * down);
    for (size_t i = 0; i < part.planes.size(); ++i) {
      const int left = 37 / across * whole.frame.components[i].h;
      const int top = 50 / down * whole.frame.components[i].v;
      for (int y = 0; y < part.planes[i].down(); ++y) {
        for (int x = 0; x < part.planes[i].across(); ++x) {
          EXPECT_EQ(std::memcmp(part.planes[i].Block(x, y),
                                whole.planes[i].Block(left + x, top + y), 128),
                    0);
        }
      }
    }
    EXPECT_EQ(ReadCoefficients(cropped), OurCoefficients(cropped));
  }
}

TEST(JpegScans, CropsOutsideAreRefused) {
  const Bytes file = Encode(pictures::Smooth(40, 30, PixelLayout::kGrey));
  for (const jpeg::Crop crop :
       {jpeg::Crop{40, 0, 8, 8}, {0, 30, 8, 8}, {-1, 0, 8, 8}, {0, 0, 0, 8}}) {
    jpeg::TranscodeOptions options;
    options.has_crop = true;
    options.crop = crop;
    zepcodec::ByteBuffer result;
    jpeg::FileInfo info;
    EXPECT_FALSE(jpeg::Transcode(file.data(), file.size(), options, &result, &info).ok());
  }
}

TEST(JpegScans, EachScanAddsDetail) {
  jpeg::EncodeOptions encode_options;
  encode_options.progressive = true;
  const zepcodec::Picture image = pictures::Detailed(131, 67, PixelLayout::kRgb);
  const Bytes file = Encode(image, encode_options);
  jpeg::DecodeOptions options;
  std::vector<double> errors;
  const auto scans = static_cast<int>(jpeg::ProgressiveScript(3).size());
  for (options.scans = 1; options.scans <= scans; ++options.scans) {
    zepcodec::Picture result;
    jpeg::FileInfo info;
    ASSERT_TRUE(jpeg::Decode(file.data(), file.size(), options, &result, &info).ok());
    errors.push_back(pictures::Compare(result, image).mean);
  }
  EXPECT_TRUE(pictures::Same(DecodeGood(file), [&] {
    options.scans = scans;
    zepcodec::Picture result;
    jpeg::FileInfo info;
    EXPECT_TRUE(jpeg::Decode(file.data(), file.size(), options, &result, &info).ok());
    return result;
  }()));
  EXPECT_GT(errors.front(), 2 * errors.back());
}

// Cut anywhere or spoilt: a picture with a message, or an error.
TEST(JpegScans, DamagedProgressiveFiles) {
  harness::Random random(harness::Seed());
  jpeg::EncodeOptions options;
  options.progressive = true;
  for (const int interval : {0, 4}) {
    options.restart_interval = interval;
    const Bytes file = Encode(pictures::Detailed(75, 53, PixelLayout::kRgb), options);
    for (int trial = 0; trial < 150; ++trial) {
      Bytes damaged = file;
      if (trial % 2 == 0) damaged.resize(random() % file.size());
      if (trial % 2 == 1)
        damaged[random() % file.size()] ^= static_cast<uint8_t>(1 + random() % 255);
      const jpeg_files::Decoded decoded = Decode(damaged);
      if (!decoded.status.ok()) continue;
      EXPECT_EQ(decoded.image.width(), decoded.info.frame.width);
      EXPECT_TRUE(trial % 2 != 0 || !decoded.info.messages.empty());
    }
  }
}

// A grey picture of one colour or of noise by a script, its last scan `times` times.
Bytes WithRepeatedScan(int side, bool is_noise, const std::string& script, int times) {
  jpeg::EncodeOptions options;
  options.quality = 50;
  EXPECT_TRUE(jpeg::ParseScript(script, &options.script).ok());
  zepcodec::Picture image;
  EXPECT_TRUE(image.Resize(side, side, PixelLayout::kGrey));
  harness::Random random(1);
  for (size_t i = 0; i < image.SizeInBytes(); ++i) {
    image.Row(0)[i] = static_cast<uint8_t>(is_noise ? 100 + random() % 40 : 128);
  }
  Bytes file = Encode(image, options);
  const size_t last = file.size() - 2;
  // From the tables of the last scan on.
  size_t scan = 0;
  for (size_t i = 0; i < options.script.size(); ++i) {
    scan = jpeg_files::FindMarker(file, jpeg::kSos, scan + 2);
  }
  const Bytes again(file.begin() + static_cast<std::ptrdiff_t>(scan),
                    file.begin() + static_cast<std::ptrdiff_t>(last));
  file.resize(last);
  for (int i = 0; i < times; ++i) file.insert(file.end(), again.begin(), again.end());
  file.insert(file.end(), {0xFF, jpeg::kEoi});
  return file;
}

// The time of the processor: other tests may run at the same time.
double SecondsToDecode(const Bytes& file, std::string* messages) {
  const std::clock_t start = std::clock();
  const jpeg_files::Decoded decoded = Decode(file, 8);
  EXPECT_TRUE(decoded.status.ok()) << decoded.status.text();
  *messages = decoded.AllMessages();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// Scans that ask for all blocks of a large picture again and again take the time of their bytes.
TEST(JpegScans, EmptyScansTakeNoTime) {
  std::string messages;
  // 250000 blocks: 8 runs of ended bands in each scan.
  const std::string band = "0: 0-0,0,0; 0: 1-63,0,0;";
  EXPECT_LT(SecondsToDecode(WithRepeatedScan(4000, false, band, 20000), &messages), 4);
  EXPECT_EQ(messages, "");
  const std::string refinement = "0: 0-0,0,0; 0: 1-63,0,1; 0: 1-63,1,0;";
  EXPECT_LT(SecondsToDecode(WithRepeatedScan(2000, false, refinement, 20000), &messages), 4);
  EXPECT_EQ(messages, "");
  // Nothing but headers.
  Bytes file = WithRepeatedScan(4000, false, band, 1);
  file.resize(file.size() - 2);
  harness::Random random(harness::Seed());
  for (const int first : harness::AllOrOne({1, 0}, random)) {
    for (const int approximation : harness::AllOrOne({0x00, 0x10}, random)) {
      Bytes empty = file;
      const auto last = static_cast<uint8_t>(first == 0 ? 0 : 63);
      const Bytes scan = {0xFF, jpeg::kSos,
                          0,    8,
                          1,    1,
                          0,    static_cast<uint8_t>(first),
                          last, static_cast<uint8_t>(approximation)};
      for (int i = 0; i < 50000; ++i) empty.insert(empty.end(), scan.begin(), scan.end());
      empty.insert(empty.end(), {0xFF, jpeg::kEoi});
      EXPECT_LT(SecondsToDecode(empty, &messages), 4) << first << " " << approximation;
      EXPECT_NE(messages.find("MCUs are lost"), std::string::npos);
    }
  }
}

// Two bytes for each interval of a block, most of them markers with numbers that fit nothing.
TEST(JpegScans, RestartMarkersInDisorderTakeTheTimeOfTheirBytes) {
  harness::Random random(harness::Seed());
  std::string messages;
  Bytes file = WithRepeatedScan(4000, false, "0: 0-0,0,0; 0: 1-63,0,0;", 1);
  file.resize(file.size() - 2);
  file.insert(file.end(), {0xFF, jpeg::kDri, 0, 4, 0, 1});
  for (int scan = 0; scan < 2; ++scan) {
    file.insert(file.end(), {0xFF, jpeg::kSos, 0, 8, 1, 1, 0, 1, 63, 0});
    for (int i = 0; i < 50000; ++i) {
      file.insert(file.end(), {0xFF, static_cast<uint8_t>(jpeg::kRst0 + (random() & 7))});
    }
  }
  file.insert(file.end(), {0xFF, jpeg::kEoi});
  EXPECT_LT(SecondsToDecode(file, &messages), 5);
}

// Refinements that have to look at every block and change none: the rest is left out.
TEST(JpegScans, RefinementsWithoutBitsEnd) {
  std::string messages;
  Bytes file = WithRepeatedScan(800, true, "0: 0-0,0,0; 0: 1-63,0,0;", 1);
  // An end-of-band run for each 32767 blocks, and no other symbol: a table with the code 0 for the
  // run of 2^14 and more blocks.
  file.resize(file.size() - 2);
  const Bytes table = {0xFF, jpeg::kDht, 0, 20, 0x10, 1, 0, 0, 0, 0, 0,
                       0,    0,          0, 0,  0,    0, 0, 0, 0, 0, 0xE0};
  file.insert(file.end(), table.begin(), table.end());
  for (int i = 0; i < 1000; ++i) {
    file.insert(file.end(), {0xFF, jpeg::kSos, 0, 8, 1, 1, 0, 63, 63, 0x10, 0x3F, 0xFF, 0});
  }
  file.insert(file.end(), {0xFF, jpeg::kEoi});
  EXPECT_LT(SecondsToDecode(file, &messages), 2);
  EXPECT_NE(messages.find("more scans"), std::string::npos) << messages;
}

}  // namespace
