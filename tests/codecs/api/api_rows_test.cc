// SPDX-License-Identifier: MIT
// Rows that come out of decoders and go into encoders through callbacks make the same pictures and
// files as pictures in memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "harness/random.h"
#include "tests/codecs/api/api_ways.h"

namespace {

using namespace api_pictures;
using harness::AllOrOne;

struct Collected {
  Image image;
  int32_t next = 0;
};

int32_t Collect(void* user, const zepcPixels* rows, int32_t y) {
  auto* const to = static_cast<Collected*>(user);
  EXPECT_EQ(y, to->next);
  const Image part = CopyOf(*rows);
  to->image.bytes.insert(to->image.bytes.end(), part.bytes.begin(), part.bytes.end());
  to->image.layout = part.layout;
  to->image.sample = part.sample;
  to->image.bits = part.bits;
  to->image.width = part.width;
  to->image.stride = part.stride;
  to->image.height = to->next = y + part.height;
  return 0;
}

Image DecodeByRows(const Bytes& file, zepcDecodeOptions options) {
  Collected collected;
  options.rows = Collect;
  options.rows_user = &collected;
  const Picture picture = Decode(file, &options);
  auto pixels = Sized<zepcPixels>();
  EXPECT_EQ(zepcPicturePixels(picture.get(), &pixels), zepcStatusOk);
  EXPECT_EQ(pixels.data, nullptr);
  return collected.image;
}

TEST(ApiRows, OfDecodersMakeThePicture) {
  harness::Random random(harness::Seed());
  for (const Way& way : Ways()) {
    SCOPED_TRACE(way.name);
    const Bytes file = FileOf(way);
    for (const zepcLayout layout : AllOrOne({zepcLayoutNative, zepcLayoutBgra}, random)) {
      for (const int32_t threads : AllOrOne({1, 2, 6}, random)) {
        auto options = Sized<zepcDecodeOptions>();
        options.layout = layout;
        options.threads = threads;
        const Image whole = DecodeToImage(file, &options);
        ASSERT_TRUE(Same(whole, DecodeByRows(file, options))) << threads;
        for (const zepcRect& region : {zepcRect{17, 30, 150, 101}, zepcRect{200, 150, 3, 7}}) {
          options.region = region;
          ASSERT_TRUE(Same(Part(whole, region), DecodeByRows(file, options))) << threads;
        }
      }
    }
  }
}

TEST(ApiRows, OfReducedAndTurnedPictures) {
  const Bytes exif = Exif(6);
  auto metadata = Sized<zepcMetadata>();
  metadata.exif = exif.data();
  metadata.exif_size = exif.size();
  for (const zepcFormat format : {zepcFormatJpeg, zepcFormatJp2}) {
    zepcEncodeOptions encode = OptionsFor(format);
    encode.metadata = &metadata;
    const Bytes file = Encode(Make(kWayWidth, kWayHeight, {}), encode);
    auto options = Sized<zepcDecodeOptions>();
    for (options.reduce = 0; options.reduce <= 3; ++options.reduce) {
      for (const int32_t applies_orientation : {0, 1}) {
        options.applies_orientation = applies_orientation;
        EXPECT_TRUE(Same(DecodeToImage(file, &options), DecodeByRows(file, options)));
      }
    }
  }
}

// Rows for an encoder; the calls are counted.
struct Supplier {
  explicit Supplier(Image picture) : image(std::move(picture)) {}

  Image image;
  int32_t next = 0;
  int32_t calls = 0;
  int32_t fails_at = 0;
};

int32_t Supply(void* user, const zepcPixels* rows, int32_t y) {
  auto* const from = static_cast<Supplier*>(user);
  if (++from->calls == from->fails_at) return 3;
  EXPECT_EQ(y, from->next);
  EXPECT_EQ(rows->layout, from->image.layout);
  EXPECT_EQ(rows->width, from->image.width);
  from->next = y + rows->height;
  for (int32_t i = 0; i < rows->height; ++i) {
    std::memcpy(static_cast<uint8_t*>(rows->data) + static_cast<size_t>(i) * rows->stride,
                from->image.At(0, y + i, 0), from->image.row_bytes());
  }
  return 0;
}

struct Received {
  Bytes bytes;
  int32_t calls = 0;
  int32_t fails_at = 0;
};

int32_t Receive(void* user, const void* data, size_t size) {
  auto* const to = static_cast<Received*>(user);
  if (++to->calls == to->fails_at) return 3;
  const auto* const bytes = static_cast<const uint8_t*>(data);
  to->bytes.insert(to->bytes.end(), bytes, bytes + size);
  return 0;
}

// The pixels have no data.
zepcStatus EncodeRows(Supplier* supplier, zepcEncodeOptions options, Received* file) {
  zepcPixels pixels = supplier->image.Pixels();
  pixels.data = nullptr;
  pixels.stride = 0;
  options.rows = Supply;
  options.rows_user = supplier;
  return zepcEncodeTo(&pixels, &options, Receive, file);
}

// A JP2 file that is written in parts may leave the length of its last box open.
void CloseLastBox(const Bytes& like, Bytes* file) {
  const auto last_box = [](const Bytes& bytes) {
    const uint8_t name[] = {'j', 'p', '2', 'c'};
    return std::search(bytes.begin(), bytes.end(), name, name + 4) - bytes.begin();
  };
  const auto at = last_box(*file);
  if (at >= 4 && at == last_box(like) && like.size() == file->size()) {
    const uint8_t open[4] = {};
    if (std::equal(open, open + 4, file->begin() + at - 4)) {
      std::copy_n(like.begin() + at - 4, 4, file->begin() + at - 4);
    }
  }
}

TEST(ApiRows, MakeTheSameFile) {
  harness::Random random(harness::Seed());
  for (const Way& way : Ways()) {
    SCOPED_TRACE(way.name);
    const Image image = PictureFor(way);
    for (const int32_t threads : AllOrOne({1, 2, 6}, random)) {
      zepcEncodeOptions options = way.Options();
      options.threads = threads;
      const Bytes wanted = Encode(image, options);
      Supplier supplier(image);
      Received file;
      ASSERT_EQ(EncodeRows(&supplier, options, &file), zepcStatusOk) << zepcLastError();
      EXPECT_EQ(supplier.next, image.height);
      if (way.format == zepcFormatJp2) CloseLastBox(wanted, &file.bytes);
      ASSERT_TRUE(wanted == file.bytes) << threads;
    }
  }
}

TEST(ApiRows, WithBlueFirst) {
  for (const Way& way : Ways()) {
    if (way.shape.layout != zepcLayoutRgb || way.shape.sample != zepcSampleU8) continue;
    SCOPED_TRACE(way.name);
    Supplier supplier(PictureFor(way));
    supplier.image.layout = zepcLayoutBgr;
    const Bytes wanted = Encode(supplier.image, way.Options());
    Received file;
    ASSERT_EQ(EncodeRows(&supplier, way.Options(), &file), zepcStatusOk);
    if (way.format == zepcFormatJp2) CloseLastBox(wanted, &file.bytes);
    EXPECT_TRUE(wanted == file.bytes);
  }
}

// Each callback can end the call, at each of its calls; a sample takes one of them.
TEST(ApiRows, CallbacksEndTheCall) {
  harness::Random random(harness::Seed());
  for (const Way& way : Ways()) {
    SCOPED_TRACE(way.name);
    const Image image = PictureFor(way);
    for (const int32_t threads : AllOrOne({1, 3}, random)) {
      zepcEncodeOptions options = way.Options();
      options.threads = threads;
      Supplier counting(image);
      Received all;
      ASSERT_EQ(EncodeRows(&counting, options, &all), zepcStatusOk);
      for (const int32_t stop : AllOrOne({1, counting.calls / 2 + 1, counting.calls}, random)) {
        Supplier supplier(image);
        supplier.fails_at = stop;
        Received file;
        EXPECT_EQ(EncodeRows(&supplier, options, &file), zepcStatusCancelled);
      }
      std::vector<int32_t> calls(static_cast<size_t>(all.calls));
      std::iota(calls.begin(), calls.end(), 1);
      for (const int32_t stop : AllOrOne(calls, random)) {
        Supplier supplier(image);
        Received file;
        file.fails_at = stop;
        EXPECT_EQ(EncodeRows(&supplier, options, &file), zepcStatusWriteFailed);
      }
    }
  }
}

// An encoder may ask for rows only as deep as it was told.
TEST(ApiRows, SamplesBeyondTheirDepth) {
  for (const zepcFormat format : {zepcFormatJpeg, zepcFormatLosslessJpeg, zepcFormatJ2k}) {
    Supplier supplier(Make(80, 200, {zepcLayoutGrey, zepcSampleU16, 12}));
    const uint16_t deep = 4096;
    std::memcpy(supplier.image.At(79, 199, 0), &deep, sizeof(deep));
    Received file;
    EXPECT_EQ(EncodeRows(&supplier, OptionsFor(format), &file), zepcStatusBadArgument);
  }
}

}  // namespace
