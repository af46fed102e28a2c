// SPDX-License-Identifier: MIT
// Threads change the time of a call and nothing else: whether there are many, whether the system
// refuses them, and when the caller ends the work.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "harness/random.h"
#include "tests/codecs/api/api_ways.h"
#include "tests/codecs/support/refused_threads.h"

namespace {

using namespace api_pictures;
using harness::AllOrOne;

// Large enough to be divided among threads.
struct Work {
  const Way* way;
  Image image;
  Bytes file;  // made on one thread
  Image decoded;
};

zepcEncodeOptions EncodeOptions(const Way& way, int32_t threads) {
  zepcEncodeOptions options = way.Options();
  options.threads = threads;
  return options;
}

zepcDecodeOptions DecodeOptions(int32_t threads) {
  auto options = Sized<zepcDecodeOptions>();
  options.threads = threads;
  return options;
}

// One of each way, and a large one of each format.
const std::vector<Work>& Works() {
  static const std::vector<Work> works = [] {
    std::vector<Work> made;
    zepcFormat last = zepcFormatUnknown;
    for (const Way& way : Ways()) {
      const bool is_first = way.format != last;
      last = way.format;
      made.push_back({&way, PictureFor(way), {}, {}});
      if (is_first) made.push_back({&way, Make(517, 431, way.shape), {}, {}});
    }
    for (Work& work : made) {
      work.file = Encode(work.image, EncodeOptions(*work.way, 1));
      const zepcDecodeOptions options = DecodeOptions(1);
      work.decoded = DecodeToImage(work.file, &options);
    }
    return made;
  }();
  return works;
}

void ExpectSame(const Work& work, int32_t threads) {
  EXPECT_TRUE(work.file == Encode(work.image, EncodeOptions(*work.way, threads))) << threads;
  const zepcDecodeOptions options = DecodeOptions(threads);
  EXPECT_TRUE(Same(work.decoded, DecodeToImage(work.file, &options))) << threads;
}

TEST(ApiThreads, ChangeNothing) {
  harness::Random random(harness::Seed());
  for (const Work& work : Works()) {
    SCOPED_TRACE(work.way->name);
    for (const int32_t threads : AllOrOne({3, 16}, random)) ExpectSame(work, threads);
  }
}

TEST(ApiThreads, OneStartsNone) {
  if (!refused_threads::CanRefuse()) GTEST_SKIP() << "threads cannot be counted here";
  for (const Work& work : Works()) {
    SCOPED_TRACE(work.way->name);
    const refused_threads::After refuse(1000);
    ExpectSame(work, 1);
    EXPECT_EQ(refused_threads::Started(), 0);
  }
}

TEST(ApiThreads, FewerDoTheWorkIfTheSystemRefusesSome) {
  if (!refused_threads::CanRefuse()) GTEST_SKIP() << "threads cannot be refused here";
  harness::Random random(harness::Seed());
  for (const Work& work : Works()) {
    SCOPED_TRACE(work.way->name);
    for (const int allowed : AllOrOne({0, 2}, random)) {
      const refused_threads::After refuse(allowed);
      ExpectSame(work, 4);
      EXPECT_LE(refused_threads::Started(), allowed);
    }
  }
}

// A caller that ends the work at its n-th call.
struct Stop {
  explicit Stop(int32_t n) : left(n) {}
  std::atomic<int32_t> left;
};

int32_t OnProgress(void* user, double) { return --static_cast<Stop*>(user)->left == 0 ? 1 : 0; }

TEST(ApiThreads, EndWhenTheCallerSaysSo) {
  harness::Random random(harness::Seed());
  std::uniform_int_distribution<int32_t> any(1, 40);
  for (const Work& work : Works()) {
    SCOPED_TRACE(work.way->name);
    for (const int32_t threads : AllOrOne({1, 2, 6}, random)) {
      Stop encoding(any(random));
      zepcEncodeOptions encode = EncodeOptions(*work.way, threads);
      encode.progress = OnProgress;
      encode.progress_user = &encoding;
      Bytes file;
      const zepcStatus encoded = TryEncode(work.image, encode, &file);
      EXPECT_EQ(encoded, encoding.left > 0 ? zepcStatusOk : zepcStatusCancelled);
      EXPECT_TRUE(encoded != zepcStatusOk || file == work.file);

      Stop decoding(any(random));
      zepcDecodeOptions decode = DecodeOptions(threads);
      decode.progress = OnProgress;
      decode.progress_user = &decoding;
      zepcPicture* picture = nullptr;
      const zepcStatus decoded = zepcDecode(work.file.data(), work.file.size(), &decode, &picture);
      EXPECT_EQ(decoded, decoding.left > 0 ? zepcStatusOk : zepcStatusCancelled);
      EXPECT_TRUE(decoded != zepcStatusOk || Same(work.decoded, CopyOf(picture)));
      zepcPictureFree(picture);
    }
  }
}

}  // namespace
