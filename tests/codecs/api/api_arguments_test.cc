// SPDX-License-Identifier: MIT
// Null pointers, sizes that are not set, members out of range: an error with a sentence, and
// outputs as they were. Shorter structs, as programs compiled earlier have them, work.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <thread>

#include "tests/codecs/api/api_pictures.h"

namespace {

using namespace api_pictures;

const Bytes& Jpeg() { return Files()[0]; }

// The sentence of an earlier call is not taken for this one's.
void SetOtherError() {
  ASSERT_EQ(zepcProbe("junk", 4, nullptr, nullptr), zepcStatusBadArgument);
  auto info = Sized<zepcInfo>();
  ASSERT_EQ(zepcProbe("junk", 4, nullptr, &info), zepcStatusUnknownFormat);
}

void ExpectBad(zepcStatus status, zepcStatus wanted = zepcStatusBadArgument) {
  EXPECT_EQ(status, wanted) << zepcLastError();
  const std::string text = zepcLastError();
  EXPECT_FALSE(text.empty());
  EXPECT_NE(text, "the format is not known");
  EXPECT_TRUE(text.empty() || text.back() != '.') << text;
}

void ExpectBadDecode(const Bytes& file, const zepcDecodeOptions* options) {
  SetOtherError();
  zepcPicture* picture = nullptr;
  ExpectBad(zepcDecode(file.data(), file.size(), options, &picture));
  EXPECT_EQ(picture, nullptr);
  auto info = Sized<zepcInfo>();
  const zepcStatus probed = zepcProbe(file.data(), file.size(), options, &info);
  EXPECT_TRUE(probed == zepcStatusBadArgument || probed == zepcStatusOk) << probed;
  Image buffer = Blank(37, 29, {});
  const Bytes before = buffer.bytes;
  const zepcPixels to = buffer.Pixels();
  const zepcStatus into = zepcDecodeInto(file.data(), file.size(), options, &to, nullptr);
  // The layout and samples of the options do not count there.
  if (into != zepcStatusOk) {
    ExpectBad(into);
    EXPECT_EQ(buffer.bytes, before);
  }
}

TEST(ApiArguments, NullPointersOfDecoding) {
  const void* const data = Jpeg().data();
  const size_t size = Jpeg().size();
  auto info = Sized<zepcInfo>();
  zepcPicture* picture = nullptr;
  Image buffer = Blank(37, 29, {});
  const zepcPixels to = buffer.Pixels();
  ExpectBad(zepcProbe(nullptr, size, nullptr, &info));
  ExpectBad(zepcProbe(data, size, nullptr, nullptr));
  ExpectBad(zepcDecode(nullptr, size, nullptr, &picture));
  ExpectBad(zepcDecode(data, size, nullptr, nullptr));
  ExpectBad(zepcDecodeInto(nullptr, size, nullptr, &to, nullptr));
  ExpectBad(zepcDecodeInto(data, size, nullptr, nullptr, nullptr));
  zepcPixels no_data = to;
  no_data.data = nullptr;
  ExpectBad(zepcDecodeInto(data, size, nullptr, &no_data, &picture));
  EXPECT_EQ(picture, nullptr);
  EXPECT_EQ(info.width, 0);
  const Picture decoded = Decode(Jpeg());
  auto pixels = Sized<zepcPixels>();
  auto metadata = Sized<zepcMetadata>();
  auto message = Sized<zepcMessage>();
  ExpectBad(zepcPicturePixels(nullptr, &pixels));
  ExpectBad(zepcPicturePixels(decoded.get(), nullptr));
  ExpectBad(zepcPictureMetadata(nullptr, &metadata));
  ExpectBad(zepcPictureMetadata(decoded.get(), nullptr));
  ExpectBad(zepcPictureMessage(nullptr, 0, &message));
  ExpectBad(zepcPictureMessage(decoded.get(), 0, nullptr));
  for (const int32_t index : {-1, 0, INT32_MAX, INT32_MIN}) {
    ExpectBad(zepcPictureMessage(decoded.get(), index, &message));
  }
  pixels.size = metadata.size = message.size = 0;
  ExpectBad(zepcPicturePixels(decoded.get(), &pixels));
  ExpectBad(zepcPictureMetadata(decoded.get(), &metadata));
  ExpectBad(zepcPictureMessage(decoded.get(), 0, &message));
  zepcPictureFree(nullptr);
  zepcFree(nullptr);
  zepcJpegFreeCoefficients(nullptr);
}

TEST(ApiArguments, DecodeOptionsOutOfRange) {
  using Change = std::function<void(zepcDecodeOptions*)>;
  const std::vector<Change> changes = {[](auto* o) { o->size = 0; },
                                       [](auto* o) { o->size = sizeof(size_t) - 1; },
                                       [](auto* o) { o->max_pixels = -1; },
                                       [](auto* o) { o->max_memory = INT64_MIN; },
                                       [](auto* o) { o->threads = -1; },
                                       [](auto* o) { o->threads = 1025; },
                                       [](auto* o) { o->reduce = -1; },
                                       [](auto* o) { o->reduce = 4; },
                                       [](auto* o) { o->reduce = INT32_MAX; },
                                       [](auto* o) { o->layers = -1; },
                                       [](auto* o) { o->level = -1; },
                                       [](auto* o) { o->layout = static_cast<zepcLayout>(8); },
                                       [](auto* o) { o->layout = static_cast<zepcLayout>(-1); },
                                       [](auto* o) { o->sample = static_cast<zepcSample>(7); },
                                       [](auto* o) { o->sample = static_cast<zepcSample>(-5); },
                                       [](auto* o) { o->opacity = static_cast<zepcOpacity>(3); },
                                       [](auto* o) {
                                         o->region = {-1, 0, 1, 1};
                                       },
                                       [](auto* o) {
                                         o->region = {0, -1, 1, 1};
                                       },
                                       [](auto* o) {
                                         o->region = {0, 0, -1, 1};
                                       },
                                       [](auto* o) {
                                         o->region = {0, 0, 1, -1};
                                       },
                                       [](auto* o) {
                                         o->region = {0, 0, 1, 0};
                                       },
                                       [](auto* o) {
                                         o->region = {37, 0, 1, 1};
                                       },
                                       [](auto* o) {
                                         o->region = {0, 28, 1, 2};
                                       },
                                       [](auto* o) {
                                         o->region = {INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX};
                                       }};
  for (size_t i = 0; i < changes.size(); ++i) {
    SCOPED_TRACE(i);
    auto options = Sized<zepcDecodeOptions>();
    changes[i](&options);
    ExpectBadDecode(Jpeg(), &options);
  }
  auto options = Sized<zepcDecodeOptions>();
  options.reduce = 6;  // one more than the levels
  ExpectBadDecode(Files()[2], &options);
  ExpectBadDecode(Files()[3], &options);
  options.reduce = 0;
  options.level = 1;
  ExpectBadDecode(Files()[5], &options);
}

// Only the codecs that can make smaller pictures do.
TEST(ApiArguments, WhatAFormatCannotReduce) {
  auto options = Sized<zepcDecodeOptions>();
  options.reduce = 1;
  for (const size_t i : {1U, 4U, 5U, 6U}) {
    zepcPicture* picture = nullptr;
    ExpectBad(zepcDecode(Files()[i].data(), Files()[i].size(), &options, &picture),
              zepcStatusUnsupported);
  }
}

TEST(ApiArguments, BuffersOutOfRange) {
  using Change = std::function<void(zepcPixels*)>;
  const std::vector<Change> changes = {[](auto* p) { p->size = 0; },
                                       [](auto* p) { p->width = 36; },
                                       [](auto* p) { p->width = -37; },
                                       [](auto* p) { p->height = 30; },
                                       [](auto* p) { p->height = 0; },
                                       [](auto* p) { p->stride = 3 * 37 - 1; },
                                       [](auto* p) { p->stride = 0; },
                                       [](auto* p) { p->layout = zepcLayoutNative; },
                                       [](auto* p) { p->layout = static_cast<zepcLayout>(8); },
                                       [](auto* p) { p->layout = static_cast<zepcLayout>(-1); },
                                       [](auto* p) { p->sample = zepcSampleNative; },
                                       [](auto* p) { p->sample = static_cast<zepcSample>(7); },
                                       [](auto* p) { p->bits = 9; },
                                       [](auto* p) { p->bits = -1; },
                                       [](auto* p) { p->sample = zepcSampleU16, p->bits = 8; },
                                       [](auto* p) { p->sample = zepcSampleU16, p->bits = 17; },
                                       [](auto* p) { p->sample = zepcSampleF16, p->bits = 15; }};
  for (size_t i = 0; i < changes.size(); ++i) {
    SCOPED_TRACE(i);
    Image buffer = Blank(37, 29, {});
    const Bytes before = buffer.bytes;
    zepcPixels to = buffer.Pixels();
    changes[i](&to);
    SetOtherError();
    zepcPicture* details = nullptr;
    ExpectBad(zepcDecodeInto(Jpeg().data(), Jpeg().size(), nullptr, &to, &details));
    EXPECT_EQ(buffer.bytes, before);
    EXPECT_EQ(details, nullptr);
  }
  Image buffer = Blank(37, 29, {zepcLayoutRgb, zepcSampleF16, 16});
  const Bytes before = buffer.bytes;
  const zepcPixels to = buffer.Pixels();
  ExpectBad(zepcDecodeInto(Jpeg().data(), Jpeg().size(), nullptr, &to, nullptr),
            zepcStatusUnsupported);
  EXPECT_EQ(buffer.bytes, before);
}

struct EncodeCall {
  Image image = Make(20, 20, {});
  zepcPixels pixels = image.Pixels();
  zepcEncodeOptions options = OptionsFor(zepcFormatJpeg);
  zepcMetadata metadata = Sized<zepcMetadata>();
  zepcJpegOptions jpeg = Sized<zepcJpegOptions>();
  zepcLosslessJpegOptions lossless_jpeg = Sized<zepcLosslessJpegOptions>();
  zepcJpeg2000Options jpeg2000 = Sized<zepcJpeg2000Options>();
  zepcJpegXrOptions jpeg_xr = Sized<zepcJpegXrOptions>();
  zepcDdsOptions dds = Sized<zepcDdsOptions>();
  zepcTiffOptions tiff = Sized<zepcTiffOptions>();

  void Prepare(zepcFormat format) {
    options.format = format;
    options.metadata = &metadata;
    options.jpeg = &jpeg;
    options.lossless_jpeg = &lossless_jpeg;
    options.jpeg2000 = &jpeg2000;
    options.jpeg_xr = &jpeg_xr;
    options.dds = &dds;
    options.tiff = &tiff;
  }
};

void ExpectBadEncode(const EncodeCall& call, zepcStatus wanted = zepcStatusBadArgument) {
  SetOtherError();
  void* file = nullptr;
  size_t size = 5;
  ExpectBad(zepcEncode(&call.pixels, &call.options, &file, &size), wanted);
  EXPECT_EQ(file, nullptr);
  EXPECT_EQ(size, 5U);
  zepcFree(file);
}

TEST(ApiArguments, EncodeOptionsOutOfRange) {
  const double nan = std::nan(""), infinity = std::numeric_limits<double>::infinity();
  struct Case {
    zepcFormat format;
    std::function<void(EncodeCall*)> change;
  };
  static const size_t falling[] = {500, 400};
  const std::vector<Case> cases = {
      {zepcFormatJpeg, [](auto* c) { c->options.size = 0; }},
      {zepcFormatJpeg, [](auto* c) { c->options.threads = -1; }},
      {zepcFormatJpeg, [](auto* c) { c->options.threads = 2000; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.size = 3; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.data = nullptr; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.width = 0; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.width = -3; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.width = INT32_MAX; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.width = 1 << 28; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.height = 0; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.height = INT32_MIN; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.stride = 59; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.bits = 9; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.bits = -1; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.layout = zepcLayoutNative; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.layout = static_cast<zepcLayout>(8); }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.sample = zepcSampleNative; }},
      {zepcFormatJpeg, [](auto* c) { c->pixels.sample = static_cast<zepcSample>(9); }},
      {zepcFormatJpeg, [](auto* c) { c->metadata.size = 0; }},
      {zepcFormatJpeg, [](auto* c) { c->metadata.exif_size = 1; }},
      {zepcFormatJpeg, [](auto* c) { c->metadata.icc_size = 1; }},
      {zepcFormatJpeg, [](auto* c) { c->metadata.xmp_size = 1; }},
      {zepcFormatJpeg, [](auto* c) { c->metadata.orientation = 9; }},
      {zepcFormatJpeg,
       [](auto* c) { c->metadata.resolution_unit = static_cast<zepcResolutionUnit>(4); }},
      {zepcFormatTiff, [nan](auto* c) { c->metadata.resolution_x = nan; }},
      {zepcFormatTiff, [infinity](auto* c) { c->metadata.resolution_y = infinity; }},
      {zepcFormatTiff, [](auto* c) { c->metadata.resolution_x = -1; }},
      {zepcFormatJpeg, [](auto* c) { c->jpeg.size = 0; }},
      {zepcFormatJpeg, [](auto* c) { c->jpeg.quality = -1; }},
      {zepcFormatJpeg, [](auto* c) { c->jpeg.quality = 101; }},
      {zepcFormatJpeg, [](auto* c) { c->jpeg.sampling = static_cast<zepcSampling>(4); }},
      {zepcFormatJpeg, [](auto* c) { c->jpeg.restart_interval = 65536; }},
      {zepcFormatJpeg, [](auto* c) { c->jpeg.restart_interval = -1; }},
      {zepcFormatJpeg, [](auto* c) { c->jpeg.scan_script = "nonsense"; }},
      {zepcFormatJpeg, [](auto* c) { c->jpeg.scan_script = ""; }},
      {zepcFormatJpeg, [](auto* c) { c->jpeg.scan_script = "0: 0-63, 0, 0;"; }},
      {zepcFormatLosslessJpeg, [](auto* c) { c->lossless_jpeg.size = 1; }},
      {zepcFormatLosslessJpeg, [](auto* c) { c->lossless_jpeg.predictor = 8; }},
      {zepcFormatLosslessJpeg, [](auto* c) { c->lossless_jpeg.predictor = -1; }},
      {zepcFormatLosslessJpeg, [](auto* c) { c->lossless_jpeg.point_transform = 8; }},
      {zepcFormatLosslessJpeg, [](auto* c) { c->lossless_jpeg.restart_rows = -1; }},
      {zepcFormatLosslessJpeg, [](auto* c) { c->lossless_jpeg.restart_rows = 65536; }},
      {zepcFormatJp2, [](auto* c) { c->jpeg2000.size = 0; }},
      {zepcFormatJp2, [](auto* c) { c->jpeg2000.ratio = -1; }},
      {zepcFormatJp2, [nan](auto* c) { c->jpeg2000.ratio = nan; }},
      {zepcFormatJp2, [nan](auto* c) { c->jpeg2000.psnr = nan; }},
      {zepcFormatJp2, [](auto* c) { c->jpeg2000.ratio = c->jpeg2000.psnr = 10; }},
      {zepcFormatJp2, [](auto* c) { c->jpeg2000.layer_count = 1; }},
      {zepcFormatJp2, [](auto* c) { c->jpeg2000.layer_count = -1; }},
      {zepcFormatJp2,
       [](auto* c) { c->jpeg2000.layer_bytes = falling, c->jpeg2000.layer_count = 2; }},
      {zepcFormatJp2, [](auto* c) { c->jpeg2000.levels = 33; }},
      {zepcFormatJp2, [](auto* c) { c->jpeg2000.levels = -2; }},
      {zepcFormatJp2, [](auto* c) { c->jpeg2000.block_style = 64; }},
      {zepcFormatJp2, [](auto* c) { c->jpeg2000.tile_width = -1; }},
      {zepcFormatJ2k, [](auto* c) { c->jpeg2000.progression = 5; }},
      {zepcFormatJpegXr, [](auto* c) { c->jpeg_xr.size = 0; }},
      {zepcFormatJpegXr, [](auto* c) { c->jpeg_xr.quality = 101; }},
      {zepcFormatJpegXr, [](auto* c) { c->jpeg_xr.sampling = static_cast<zepcSampling>(-1); }},
      {zepcFormatJpegXr, [](auto* c) { c->jpeg_xr.overlap = 2; }},
      {zepcFormatJpegXr, [](auto* c) { c->jpeg_xr.tile_width = 17; }},
      {zepcFormatJpegXr, [](auto* c) { c->jpeg_xr.tile_height = -16; }},
      {zepcFormatDds, [](auto* c) { c->dds.size = 0; }},
      {zepcFormatDds, [](auto* c) { c->dds.texture = static_cast<zepcTexture>(8); }},
      {zepcFormatDds, [](auto* c) { c->dds.texture = static_cast<zepcTexture>(-1); }},
      {zepcFormatDds, [](auto* c) { c->dds.header = 3; }},
      {zepcFormatDds, [](auto* c) { c->dds.bc7_mode = -1; }},
      {zepcFormatDds, [](auto* c) { c->dds.bc7_only = 9; }},
      {zepcFormatTiff, [](auto* c) { c->tiff.size = 0; }}};
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    EncodeCall call;
    call.Prepare(cases[i].format);
    cases[i].change(&call);
    ExpectBadEncode(call);
  }
  for (const int32_t format : {0, 8, -1, INT32_MAX}) {
    EncodeCall call;
    call.Prepare(static_cast<zepcFormat>(format));
    ExpectBadEncode(call, zepcStatusUnknownFormat);
  }
}

// Numbers beyond all measure are options too.
TEST(ApiArguments, ExtremeRatesOfJpeg2000) {
  for (const double rate : {1e-300, 1e-3, 1e300, std::numeric_limits<double>::infinity()}) {
    for (const bool is_ratio : {false, true}) {
      EncodeCall call;
      call.Prepare(zepcFormatJp2);
      (is_ratio ? call.jpeg2000.ratio : call.jpeg2000.psnr) = rate;
      void* file = nullptr;
      size_t size = 0;
      const zepcStatus status = zepcEncode(&call.pixels, &call.options, &file, &size);
      EXPECT_TRUE(status == zepcStatusOk || status == zepcStatusBadArgument ||
                  status == zepcStatusUnsupported)
          << rate << ": " << zepcLastError();
      zepcFree(file);
    }
  }
}

TEST(ApiArguments, NullPointersOfEncoding) {
  EncodeCall call;
  void* file = nullptr;
  size_t size = 5;
  const auto write = [](void*, const void*, size_t) -> int32_t { return 0; };
  ExpectBad(zepcEncode(nullptr, &call.options, &file, &size));
  ExpectBad(zepcEncode(&call.pixels, nullptr, &file, &size));
  ExpectBad(zepcEncode(&call.pixels, &call.options, nullptr, &size));
  ExpectBad(zepcEncode(&call.pixels, &call.options, &file, nullptr));
  ExpectBad(zepcEncodeTo(nullptr, &call.options, write, nullptr));
  ExpectBad(zepcEncodeTo(&call.pixels, nullptr, write, nullptr));
  ExpectBad(zepcEncodeTo(&call.pixels, &call.options, nullptr, nullptr));
  EXPECT_EQ(file, nullptr);
  EXPECT_EQ(size, 5U);
}

// JPEG files count pixels in 16 bits.
TEST(ApiArguments, SidesThatAFormatCannotHold) {
  for (const zepcFormat format : {zepcFormatJpeg, zepcFormatLosslessJpeg}) {
    for (const bool is_wide : {false, true}) {
      EncodeCall call;
      call.image =
          Blank(is_wide ? 65536 : 1, is_wide ? 1 : 65536, {zepcLayoutGrey, zepcSampleU8, 8});
      call.pixels = call.image.Pixels();
      call.options.format = format;
      ExpectBadEncode(call, zepcStatusUnsupported);
    }
  }
}

TEST(ApiArguments, ShorterStructsWork) {
  // Up to and with `layout`; the bytes after it are no part of the struct.
  auto options = Sized<zepcDecodeOptions>();
  std::memset(&options, 0xEE, sizeof(options));
  std::memset(static_cast<void*>(&options), 0, offsetof(zepcDecodeOptions, sample));
  options.size = offsetof(zepcDecodeOptions, sample);
  options.layout = zepcLayoutGrey;
  const Image grey = DecodeToImage(Jpeg(), &options);
  EXPECT_EQ(grey.layout, zepcLayoutGrey);
  EXPECT_EQ(grey.width, 37);
  options.size = sizeof(size_t);
  EXPECT_EQ(DecodeToImage(Jpeg(), &options).layout, zepcLayoutRgb);
  zepcInfo info;
  std::memset(&info, 0xEE, sizeof(info));
  info.size = offsetof(zepcInfo, layout);
  ASSERT_EQ(zepcProbe(Jpeg().data(), Jpeg().size(), nullptr, &info), zepcStatusOk);
  EXPECT_EQ(info.size, offsetof(zepcInfo, layout));
  EXPECT_EQ(info.width, 37);
  EXPECT_EQ(info.height, 29);
  uint8_t rest[sizeof(info) - offsetof(zepcInfo, layout)];
  std::memset(rest, 0xEE, sizeof(rest));
  EXPECT_EQ(std::memcmp(reinterpret_cast<const uint8_t*>(&info) + offsetof(zepcInfo, layout), rest,
                        sizeof(rest)),
            0);
  auto encode = OptionsFor(zepcFormatTiff);
  encode.size = offsetof(zepcEncodeOptions, metadata);
  encode.jpeg = reinterpret_cast<const zepcJpegOptions*>(&encode);  // never looked at
  Bytes file;
  EXPECT_EQ(TryEncode(Make(37, 29, {}), encode, &file), zepcStatusOk);
  EXPECT_EQ(file, Files()[6]);
}

// A later version's struct: its new members are left alone.
TEST(ApiArguments, LongerStructsWork) {
  struct Later {
    zepcInfo info;
    uint8_t more[40];
  };
  Later later;
  std::memset(&later, 0xEE, sizeof(later));
  later.info.size = sizeof(later);
  ASSERT_EQ(zepcProbe(Jpeg().data(), Jpeg().size(), nullptr, &later.info), zepcStatusOk);
  EXPECT_EQ(later.info.size, sizeof(later));
  EXPECT_EQ(later.info.height, 29);
  for (const uint8_t byte : later.more) EXPECT_EQ(byte, 0xEE);
}

TEST(ApiArguments, LastErrorIsOfTheThread) {
  ExpectBad(zepcProbe(nullptr, 0, nullptr, nullptr));
  const std::string mine = zepcLastError();
  std::string before, after;
  std::thread([&] {
    before = zepcLastError();
    auto info = Sized<zepcInfo>();
    zepcProbe("junk", 4, nullptr, &info);
    after = zepcLastError();
  }).join();
  EXPECT_EQ(before, "");
  EXPECT_NE(after, mine);
  EXPECT_EQ(zepcLastError(), mine);
}

}  // namespace
