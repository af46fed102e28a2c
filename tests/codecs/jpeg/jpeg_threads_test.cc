// SPDX-License-Identifier: MIT
// Several threads: the same pictures, files and messages as with one, on damaged files too, and
// where the system refuses threads or the caller stops the work.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "codecs/support/progress.h"
#include "harness/random.h"
#include "tests/codecs/jpeg/jpeg_files.h"
#include "tests/codecs/support/pictures.h"
#include "tests/codecs/support/refused_threads.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using jpeg_files::Bytes;
using jpeg_files::Decoded;
using jpeg_files::Encode;
using zepcodec::PixelLayout;
using zepcodec::Status;

// One for all, so that a sample has all values.
harness::Random& Random() {
  static harness::Random random(harness::Seed());
  return random;
}

// All of them, or in a sample one.
template <class T>
std::vector<T> Some(std::initializer_list<T> values) {
  return harness::AllOrOne(values, Random());
}

std::vector<int> ThreadCounts() { return Some({2, 5, 16}); }

Decoded DecodeWith(const Bytes& file, jpeg::DecodeOptions options, int threads) {
  Decoded result;
  options.threads = threads;
  result.status = jpeg::Decode(file.data(), file.size(), options, &result.image, &result.info);
  return result;
}

void ExpectEqual(const Decoded& expected, const Decoded& decoded) {
  ASSERT_EQ(expected.status.text(), decoded.status.text());
  EXPECT_EQ(expected.AllMessages(), decoded.AllMessages());
  EXPECT_EQ(expected.info.messages.count(), decoded.info.messages.count());
  EXPECT_EQ(expected.info.metadata.segments.size(), decoded.info.metadata.segments.size());
  if (expected.status.ok()) {
    EXPECT_TRUE(pictures::Same(expected.image, decoded.image));
  }
}

void ExpectEqualOnAll(const Bytes& file, const jpeg::DecodeOptions& options = {}) {
  const Decoded expected = DecodeWith(file, options, 1);
  for (const int threads : ThreadCounts()) {
    SCOPED_TRACE(std::to_string(threads) + " threads");
    ExpectEqual(expected, DecodeWith(file, options, threads));
  }
}

struct Kind {
  PixelLayout layout;
  jpeg::Sampling sampling;
  int width;
  int height;
};

// Large enough for several parts and bands, with odd sizes.
std::vector<Kind> Kinds() {
  if (!harness::Exhaustive()) {
    return {{PixelLayout::kGrey, jpeg::Sampling::k444, 1209, 1003},
            {PixelLayout::kRgb, jpeg::Sampling::k420, 1137, 753}};
  }
  return {{PixelLayout::kGrey, jpeg::Sampling::k444, 1209, 1003},
          {PixelLayout::kRgb, jpeg::Sampling::k444, 801, 603},
          {PixelLayout::kRgb, jpeg::Sampling::k422, 927, 701},
          {PixelLayout::kRgb, jpeg::Sampling::k420, 1137, 753},
          {PixelLayout::kRgb, jpeg::Sampling::k420, 97, 8001},
          {PixelLayout::kRgb, jpeg::Sampling::k420, 8001, 97},
          {PixelLayout::kCmyk, jpeg::Sampling::k420, 813, 677}};
}

zepcodec::Picture PictureOf(const Kind& kind) {
  return pictures::Detailed(kind.width, kind.height, kind.layout);
}

jpeg::EncodeOptions OptionsOf(const Kind& kind, int quality = 75) {
  jpeg::EncodeOptions options;
  options.sampling = kind.sampling;
  options.quality = quality;
  return options;
}

class JpegThreads : public testing::TestWithParam<Kind> {};
INSTANTIATE_TEST_SUITE_P(Kinds, JpegThreads, testing::ValuesIn(Kinds()));

TEST_P(JpegThreads, SequentialFilesBecomeTheSamePictures) {
  const zepcodec::Picture picture = PictureOf(GetParam());
  // None, shorter and longer than a part, one that is cut into parts, and a picture of a single
  // one.
  for (const int interval : harness::Exhaustive() ? std::vector<int>{0, 1, 1500, 3000, 60000}
                                                  : std::vector<int>{0, 1500}) {
    SCOPED_TRACE(testing::Message() << "interval " << interval);
    jpeg::EncodeOptions options = OptionsOf(GetParam(), interval % 2 == 0 ? 90 : 20);
    options.restart_interval = interval;
    ExpectEqualOnAll(Encode(picture, options));
  }
}

TEST_P(JpegThreads, ReducedPicturesAreTheSame) {
  const Bytes file = Encode(PictureOf(GetParam()), OptionsOf(GetParam()));
  for (const int scale : {2, 4, 8}) {
    SCOPED_TRACE(scale);
    jpeg::DecodeOptions options;
    options.scale = scale;
    ExpectEqualOnAll(file, options);
  }
}

TEST_P(JpegThreads, ProgressiveFilesBecomeTheSamePictures) {
  jpeg::EncodeOptions options = OptionsOf(GetParam());
  options.progressive = true;
  for (const int interval : {0, 50}) {
    options.restart_interval = interval;
    const Bytes file = Encode(PictureOf(GetParam()), options);
    ExpectEqualOnAll(file);
    jpeg::DecodeOptions some;
    for (const int scans : Some({1, 2, 5})) {
      some.scans = scans;
      ExpectEqualOnAll(file, some);
    }
  }
}

// Threads take the scans in another order than that of the file.
TEST(JpegScanOrder, AnyScriptMakesTheSamePicture) {
  const char* const kScripts[] = {
      "0,1,2: 0-0, 0, 2; 2: 1-63, 0, 1; 0: 1-63, 0, 2; 0,1,2: 0-0, 2, 1; 1: 1-9, 0, 0;"
      "0: 1-63, 2, 1; 0,1,2: 0-0, 1, 0; 1: 10-63, 0, 0; 0: 1-63, 1, 0; 2: 1-63, 1, 0;",
      "0: 0-0, 0, 0; 1,2: 0-0, 0, 1; 0: 1-5, 0, 0; 0: 6-63, 0, 0; 1: 1-63, 0, 0; 1: 0-0, 1, 0;"
      "2: 0-0, 1, 0; 2: 1-63, 0, 3; 2: 1-63, 3, 2; 2: 1-63, 2, 1; 2: 1-63, 1, 0;",
      "0; 1,2;"};
  const zepcodec::Picture picture = pictures::Detailed(601, 487, PixelLayout::kRgb);
  for (const char* script : kScripts) {
    SCOPED_TRACE(script);
    jpeg::EncodeOptions options;
    ASSERT_TRUE(jpeg::ParseScript(script, &options.script).ok());
    const Bytes file = Encode(picture, options);
    ExpectEqualOnAll(file);
    Bytes damaged = file;
    damaged[damaged.size() / 2] ^= 0x10;
    ExpectEqualOnAll(damaged);
    Bytes cut(file.begin(), file.begin() + static_cast<ptrdiff_t>(file.size() / 3));
    ExpectEqualOnAll(cut);
  }
}

TEST_P(JpegThreads, CoefficientsAreTheSame) {
  jpeg::EncodeOptions options = OptionsOf(GetParam());
  options.progressive = true;
  const Bytes file = Encode(PictureOf(GetParam()), options);
  jpeg::Coefficients one;
  jpeg::Coefficients several;
  jpeg::FileInfo info;
  jpeg::DecodeOptions decode;
  ASSERT_TRUE(jpeg::DecodeCoefficients(file.data(), file.size(), decode, &one, &info).ok());
  decode.threads = 3;
  ASSERT_TRUE(jpeg::DecodeCoefficients(file.data(), file.size(), decode, &several, &info).ok());
  ASSERT_EQ(one.planes.size(), several.planes.size());
  EXPECT_EQ(one.steps, several.steps);
  for (size_t i = 0; i < one.planes.size(); ++i) {
    const auto blocks =
        static_cast<size_t>(one.planes[i].across()) * static_cast<size_t>(one.planes[i].down());
    EXPECT_EQ(std::memcmp(one.planes[i].Block(0, 0), several.planes[i].Block(0, 0), 128 * blocks),
              0);
  }
}

TEST_P(JpegThreads, FilesAreTheSame) {
  const zepcodec::Picture picture = PictureOf(GetParam());
  const int mcus_per_row = (GetParam().width + 15) / 16;
  for (const bool progressive : {false, true}) {
    for (const bool optimizes : {false, true}) {
      // The last one ends with a band.
      for (const int interval : Some({0, 5, mcus_per_row, 12 * mcus_per_row})) {
        SCOPED_TRACE(testing::Message() << progressive << optimizes << ", interval " << interval);
        jpeg::EncodeOptions options = OptionsOf(GetParam());
        options.progressive = progressive;
        options.optimizes = optimizes;
        options.restart_interval = interval;
        const Bytes expected = Encode(picture, options);
        for (const int threads : ThreadCounts()) {
          options.threads = threads;
          EXPECT_EQ(Encode(picture, options), expected) << threads;
        }
      }
    }
  }
}

// Bits of FF at every offset: the joints of bands lie among them.
TEST(JpegThreadsEncode, NoiseHasManyBytesToStuff) {
  const zepcodec::Picture noise = pictures::Noisy(1024, 768, 3, 8);
  for (const int quality : {30, 95, 100}) {
    jpeg::EncodeOptions options;
    options.quality = quality;
    const Bytes expected = Encode(noise, options);
    options.threads = 4;
    EXPECT_EQ(Encode(noise, options), expected);
  }
}

class DamagedFiles : public testing::TestWithParam<std::tuple<bool, int>> {};
INSTANTIATE_TEST_SUITE_P(Kinds, DamagedFiles,
                         testing::Combine(testing::Bool(), testing::Values(0, 40, 2500)));

TEST_P(DamagedFiles, BecomeTheSamePicturesAndMessages) {
  jpeg::EncodeOptions options;
  options.progressive = std::get<0>(GetParam());
  options.restart_interval = std::get<1>(GetParam());
  options.sampling = jpeg::Sampling::k444;
  const Bytes file = Encode(pictures::Detailed(769, 641, PixelLayout::kRgb), options);
  const size_t first = jpeg_files::FindMarker(file, jpeg::kSos) + 14;
  std::mt19937 random(1);
  const auto pick = [&](size_t end) { return random() % end; };
  const int rounds = harness::Exhaustive() ? 12 : 4;
  for (int round = 0; round < rounds; ++round) {
    SCOPED_TRACE(round);
    Bytes damaged = file;
    const size_t at = first + pick(file.size() - first);
    switch (round % 4) {
      case 0: damaged[at] = static_cast<uint8_t>(damaged[at] ^ (1u << pick(8))); break;
      case 1: damaged.resize(at); break;
      case 2:
        damaged = jpeg_files::Without(file, at, 1 + pick(std::min<size_t>(file.size() - at, 9000)));
        break;
      default:
        damaged = jpeg_files::With(file, at, Bytes(1 + pick(300), static_cast<uint8_t>(pick(256))));
        break;
    }
    const Decoded expected = DecodeWith(damaged, {}, 1);
    ExpectEqual(expected, DecodeWith(damaged, {}, 2 + round % 3));
  }
}

// Data that ends well before or after the picture: the counts of blocks decide.
TEST(JpegThreadsDecode, TooFewAndTooManyBlocks) {
  const Bytes file = Encode(pictures::Detailed(1153, 961, PixelLayout::kRgb));
  const size_t frame = jpeg_files::FindMarker(file, jpeg::kSof0);
  for (const int height : harness::Exhaustive() ? std::vector<int>{700, 945, 960, 977, 1100}
                                                : std::vector<int>{945, 977}) {
    Bytes changed = file;
    changed[frame + 5] = static_cast<uint8_t>(height >> 8);
    changed[frame + 6] = static_cast<uint8_t>(height);
    ExpectEqualOnAll(changed);
  }
}

class Work : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Kinds, Work, testing::Bool());

TEST_P(Work, EndsWhereTheCallerStopsIt) {
  const zepcodec::Picture picture = pictures::Detailed(1537, 1153, PixelLayout::kRgb);
  jpeg::EncodeOptions encode;
  encode.progressive = GetParam();
  const Bytes file = Encode(picture, encode);
  for (int most = 0; most < 6; most += harness::Exhaustive() ? 1 : 3) {
    for (const int threads : Some({1, 2, 4})) {
      int calls = 0;
      double last = 0;
      const auto stops = [&](double done) {
        EXPECT_GE(done, last);
        last = done;
        return calls++ >= most;
      };
      zepcodec::Progress decoding(stops);
      jpeg::DecodeOptions decode;
      decode.progress = &decoding;
      EXPECT_EQ(DecodeWith(file, decode, threads).status.kind(), Status::Kind::kCancelled) << most;
      calls = 0;
      last = 0;
      zepcodec::Progress encoding(stops);
      encode.progress = &encoding;
      encode.threads = threads;
      zepcodec::ByteBuffer out;
      EXPECT_EQ(jpeg::Encode(picture, encode, &out).kind(), Status::Kind::kCancelled) << most;
    }
  }
}

TEST_P(Work, IsDoneWithTheThreadsThatThereAre) {
  if (!refused_threads::CanRefuse()) GTEST_SKIP() << "threads cannot be refused here";
  const zepcodec::Picture picture = pictures::Detailed(1537, 1153, PixelLayout::kRgb);
  jpeg::EncodeOptions options;
  options.progressive = GetParam();
  const Bytes file = Encode(picture, options);
  const Decoded expected = DecodeWith(file, {}, 1);
  options.threads = 4;
  for (int allowed = 0; allowed < 4; ++allowed) {
    const refused_threads::After refuse(allowed);
    EXPECT_EQ(Encode(picture, options), file) << allowed;
    EXPECT_EQ(refused_threads::Started(), allowed < 3 ? allowed : 3);
    ExpectEqual(expected, DecodeWith(file, {}, 1));
    EXPECT_EQ(refused_threads::Started(), allowed < 3 ? allowed : 3) << "one thread starts none";
  }
  for (int allowed = 0; allowed < 4; ++allowed) {
    const refused_threads::After refuse(allowed);
    ExpectEqual(expected, DecodeWith(file, {}, 4));
    EXPECT_EQ(refused_threads::Started(), allowed < 3 ? allowed : 3);
  }
}

}  // namespace
