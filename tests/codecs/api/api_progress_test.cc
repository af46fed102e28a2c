// SPDX-License-Identifier: MIT
// The progress callback, and calls that it ends.
#include <gtest/gtest.h>

#include <mutex>
#include <string>

#include "tests/codecs/api/api_pictures.h"

namespace {

using namespace api_pictures;

// Stops at the call with this number; 0: never.
struct Watch {
  int32_t stop_at = 0;
  int32_t calls = 0;
  double last = 0;
  bool is_rising = true;
};

int32_t OnProgress(void* user, double done) {
  auto* const watch = static_cast<Watch*>(user);
  watch->is_rising = watch->is_rising && done >= watch->last && done <= 1;
  watch->last = done;
  return ++watch->calls == watch->stop_at ? 1 : 0;
}

Image Large() { return Make(120, 130, {}); }

const std::vector<Bytes>& LargeFiles() {
  static const std::vector<Bytes> files = [] {
    std::vector<Bytes> made;
    for (const zepcFormat format : Formats()) made.push_back(Encode(Large(), format));
    auto jpeg = Sized<zepcJpegOptions>();
    jpeg.is_progressive = 1;
    zepcEncodeOptions options = OptionsFor(zepcFormatJpeg);
    options.jpeg = &jpeg;
    made.push_back(Encode(Large(), options));
    return made;
  }();
  return files;
}

// The numbers of calls at which to stop: the first ones, one amid, the last one.
std::vector<int32_t> Stops(int32_t calls) { return {1, 2, 3, calls / 2, calls}; }

template <class Call>
void ExpectCancels(const Call& call) {
  Watch watch;
  ASSERT_EQ(call(&watch, false), zepcStatusOk) << zepcLastError();
  ASSERT_GT(watch.calls, 0);
  EXPECT_TRUE(watch.is_rising);
  const int32_t calls = watch.calls;
  for (const int32_t stop : Stops(calls)) {
    if (stop < 1 || stop > calls) continue;
    Watch stopping;
    stopping.stop_at = stop;
    EXPECT_EQ(call(&stopping, true), zepcStatusCancelled) << "call " << stop << " of " << calls;
    EXPECT_TRUE(stopping.is_rising);
    EXPECT_EQ(stopping.calls, stop) << "it was called once more after it had asked for the end";
    EXPECT_STREQ(zepcLastError(), "cancelled");
  }
}

TEST(ApiProgress, Decode) {
  for (size_t i = 0; i < LargeFiles().size(); ++i) {
    SCOPED_TRACE(i);
    for (const int32_t threads : {1, 3}) {
      ExpectCancels([&](Watch* watch, bool is_cancelled) {
        auto options = Sized<zepcDecodeOptions>();
        options.threads = threads;
        options.keeps_damaged = 1;  // what was not decoded is no damage
        options.progress = OnProgress;
        options.progress_user = watch;
        zepcPicture* picture = nullptr;
        const zepcStatus status =
            zepcDecode(LargeFiles()[i].data(), LargeFiles()[i].size(), &options, &picture);
        EXPECT_EQ(picture == nullptr, is_cancelled);
        zepcPictureFree(picture);
        return status;
      });
    }
  }
}

TEST(ApiProgress, DecodeInto) {
  for (const Bytes& file : LargeFiles()) {
    Image buffer = Blank(120, 130, {});
    const Bytes before = buffer.bytes;
    const zepcPixels to = buffer.Pixels();
    ExpectCancels([&](Watch* watch, bool is_cancelled) {
      auto options = Sized<zepcDecodeOptions>();
      options.threads = 1;
      options.progress = OnProgress;
      options.progress_user = watch;
      buffer.bytes = before;
      zepcPicture* details = nullptr;
      const zepcStatus status = zepcDecodeInto(file.data(), file.size(), &options, &to, &details);
      EXPECT_EQ(details == nullptr, is_cancelled);
      EXPECT_EQ(buffer.bytes == before, is_cancelled);
      zepcPictureFree(details);
      return status;
    });
  }
}

TEST(ApiProgress, Encode) {
  for (const zepcFormat format : Formats()) {
    for (const int32_t threads : {1, 3}) {
      SCOPED_TRACE(format);
      Image image = Large();
      const zepcPixels pixels = image.Pixels();
      ExpectCancels([&](Watch* watch, bool is_cancelled) {
        auto dds = Sized<zepcDdsOptions>();
        dds.has_mipmaps = 1;
        auto jpeg = Sized<zepcJpegOptions>();
        jpeg.is_progressive = threads == 3;
        auto jpeg2000 = Sized<zepcJpeg2000Options>();
        jpeg2000.psnr = threads == 3 ? 30 : 0;
        zepcEncodeOptions options = OptionsFor(format);
        options.threads = threads;
        options.dds = &dds;
        options.jpeg = &jpeg;
        options.jpeg2000 = &jpeg2000;
        options.progress = OnProgress;
        options.progress_user = watch;
        void* file = nullptr;
        size_t size = 3;
        const zepcStatus status = zepcEncode(&pixels, &options, &file, &size);
        EXPECT_EQ(file == nullptr, is_cancelled);
        EXPECT_EQ(size == 3, is_cancelled);
        zepcFree(file);
        return status;
      });
    }
  }
}

TEST(ApiProgress, ReadCoefficients) {
  for (const Bytes& file : {LargeFiles().front(), LargeFiles().back()}) {
    ExpectCancels([&](Watch* watch, bool is_cancelled) {
      auto options = Sized<zepcDecodeOptions>();
      options.keeps_damaged = 1;
      options.progress = OnProgress;
      options.progress_user = watch;
      zepcCoefficients* made = nullptr;
      const zepcStatus status = zepcJpegReadCoefficients(file.data(), file.size(), &options, &made);
      EXPECT_EQ(made == nullptr, is_cancelled);
      zepcJpegFreeCoefficients(made);
      return status;
    });
  }
}

// Progress changes no byte.
TEST(ApiProgress, WatchingChangesNothing) {
  for (size_t i = 0; i < Formats().size(); ++i) {
    Watch watch;
    zepcEncodeOptions options = OptionsFor(Formats()[i]);
    options.progress = OnProgress;
    options.progress_user = &watch;
    EXPECT_EQ(Encode(Large(), options), LargeFiles()[i]);
  }
}

struct RowsSeen {
  int32_t calls = 0;
  int32_t stop_at = 0;
};

int32_t OnRows(void* user, const zepcPixels*, int32_t) {
  auto* const seen = static_cast<RowsSeen*>(user);
  return ++seen->calls == seen->stop_at ? 9 : 0;
}

TEST(ApiProgress, RowsCanEndTheCall) {
  for (const Bytes& file : LargeFiles()) {
    for (const int32_t stop : {1, 2, 3}) {
      RowsSeen seen;
      seen.stop_at = stop;
      auto options = Sized<zepcDecodeOptions>();
      options.rows = OnRows;
      options.rows_user = &seen;
      zepcPicture* picture = nullptr;
      EXPECT_EQ(zepcDecode(file.data(), file.size(), &options, &picture), zepcStatusCancelled);
      EXPECT_EQ(picture, nullptr);
      EXPECT_EQ(seen.calls, stop);
    }
  }
}

}  // namespace
