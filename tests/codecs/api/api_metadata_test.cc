// SPDX-License-Identifier: MIT
// What belongs to a picture besides its pixels: the table of formats tells which files keep it.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/codecs/api/api_pictures.h"

namespace {

using namespace api_pictures;

const zepcFormatFacts& FactsOf(zepcFormat format) {
  int32_t index = 0;
  while (zepcFormatAt(index)->format != format) ++index;
  return *zepcFormatAt(index);
}

zepcMetadata MetadataOf(const Picture& picture) {
  auto metadata = Sized<zepcMetadata>();
  EXPECT_EQ(zepcPictureMetadata(picture.get(), &metadata), zepcStatusOk);
  return metadata;
}

Bytes Copy(const void* data, size_t size) {
  const auto* const bytes = static_cast<const uint8_t*>(data);
  return size == 0 ? Bytes() : Bytes(bytes, bytes + size);
}

struct Given {
  Bytes exif = Exif(6), icc = Icc(700), xmp = Icc(90);
  zepcMetadata metadata = Sized<zepcMetadata>();

  Given() {
    metadata.exif = exif.data();
    metadata.exif_size = exif.size();
    metadata.icc = icc.data();
    metadata.icc_size = icc.size();
    metadata.xmp = xmp.data();
    metadata.xmp_size = xmp.size();
  }
};

Bytes EncodeWith(const Given& given, zepcFormat format, zepcLayout layout = zepcLayoutRgb) {
  zepcEncodeOptions options = OptionsFor(format);
  options.metadata = &given.metadata;
  return Encode(Make(24, 16, {layout, zepcSampleU8, 8}), options);
}

TEST(ApiMetadata, TheTableIsTrue) {
  for (const zepcFormat format : Formats()) {
    for (const zepcLayout layout : {zepcLayoutGrey, zepcLayoutRgb}) {
      SCOPED_TRACE(format);
      const zepcFormatFacts& facts = FactsOf(format);
      const Given given;
      const Bytes file = EncodeWith(given, format, layout);
      const Picture picture = Decode(file);
      const zepcMetadata found = MetadataOf(picture);
      EXPECT_EQ(Copy(found.exif, found.exif_size), facts.keeps_exif != 0 ? given.exif : Bytes());
      EXPECT_EQ(Copy(found.icc, found.icc_size), facts.keeps_icc != 0 ? given.icc : Bytes());
      EXPECT_EQ(Copy(found.xmp, found.xmp_size), facts.keeps_xmp != 0 ? given.xmp : Bytes());
      EXPECT_EQ(found.exif == nullptr, facts.keeps_exif == 0);
      EXPECT_EQ(found.orientation, facts.keeps_exif != 0 ? 6 : 0);
      const zepcInfo info = Probe(file);
      EXPECT_EQ(info.has_exif, facts.keeps_exif);
      EXPECT_EQ(info.has_icc, facts.keeps_icc);
      EXPECT_EQ(info.has_xmp, facts.keeps_xmp);
      EXPECT_EQ(info.orientation, found.orientation);
    }
  }
}

TEST(ApiMetadata, ResolutionIsKeptWhereTheTableSaysSo) {
  for (const zepcFormat format : Formats()) {
    for (const zepcResolutionUnit unit : {zepcResolutionInch, zepcResolutionCm}) {
      SCOPED_TRACE(format);
      Given given;
      given.metadata.resolution_unit = unit;
      given.metadata.resolution_x = 100;
      given.metadata.resolution_y = 50;
      const zepcMetadata found = MetadataOf(Decode(EncodeWith(given, format)));
      if (FactsOf(format).keeps_resolution == 0) {
        EXPECT_EQ(found.resolution_unit, zepcResolutionNone);
        continue;
      }
      // Either unit says the same.
      const double factor = found.resolution_unit == unit ? 1
                            : unit == zepcResolutionCm    ? 1 / 2.54
                                                          : 2.54;
      EXPECT_NEAR(found.resolution_x * factor, 100, 0.5);
      EXPECT_NEAR(found.resolution_y * factor, 50, 0.5);
    }
  }
}

TEST(ApiMetadata, NoneIsNone) {
  for (const zepcFormat format : Formats()) {
    const zepcMetadata found = MetadataOf(Decode(Encode(Make(8, 8, {}), format)));
    EXPECT_EQ(found.exif, nullptr);
    EXPECT_EQ(found.icc, nullptr);
    EXPECT_EQ(found.xmp, nullptr);
    EXPECT_EQ(found.orientation, 0);
    EXPECT_EQ(found.resolution_unit, zepcResolutionNone);
  }
}

TEST(ApiMetadata, LongProfilesAreKept) {
  for (const zepcFormat format : Formats()) {
    if (FactsOf(format).keeps_icc == 0) continue;
    Given given;
    given.icc = Icc(200000);  // more than a segment of JPEG
    given.metadata.icc = given.icc.data();
    given.metadata.icc_size = given.icc.size();
    const Picture picture = Decode(EncodeWith(given, format));
    const zepcMetadata found = MetadataOf(picture);
    EXPECT_EQ(Copy(found.icc, found.icc_size), given.icc) << format;
  }
}

// A segment has no room for it.
TEST(ApiMetadata, ExifThatIsTooLongIsLeftOut) {
  Given given;
  given.exif.resize(70000);
  given.metadata.exif = given.exif.data();
  given.metadata.exif_size = given.exif.size();
  for (const zepcFormat format : {zepcFormatJpeg, zepcFormatLosslessJpeg}) {
    EXPECT_EQ(MetadataOf(Decode(EncodeWith(given, format))).exif, nullptr);
  }
}

TEST(ApiMetadata, DamagedProfilesAreDroppedWithANote) {
  for (const zepcFormat format : {zepcFormatJpeg, zepcFormatLosslessJpeg}) {
    Given given;
    given.metadata.icc_size = 300;  // its header says 700
    const Picture picture = Decode(EncodeWith(given, format));
    EXPECT_EQ(MetadataOf(picture).icc, nullptr);
    auto message = Sized<zepcMessage>();
    ASSERT_EQ(zepcPictureMessage(picture.get(), 0, &message), zepcStatusOk);
    EXPECT_EQ(message.is_damage, 0);
    EXPECT_NE(std::string(message.text).find("profile"), std::string::npos) << message.text;
    EXPECT_EQ(zepcPictureMessage(picture.get(), 1, &message), zepcStatusBadArgument);
  }
}

// In EXIF data, as thumbnails have them, bytes look like headers of scans.
TEST(ApiMetadata, ScansInsideOfExifAreNotCounted) {
  Given plain, with_thumbnail;
  for (int i = 0; i < 20; ++i) {
    with_thumbnail.exif.insert(with_thumbnail.exif.end(), {0xFF, 0xDA, 0xFF, 0xD8});
  }
  with_thumbnail.metadata.exif = with_thumbnail.exif.data();
  with_thumbnail.metadata.exif_size = with_thumbnail.exif.size();
  int32_t layers[2] = {};
  for (const Given* const given : {&plain, &with_thumbnail}) {
    auto jpeg = Sized<zepcJpegOptions>();
    jpeg.is_progressive = 1;
    jpeg.restart_interval = 2;
    zepcEncodeOptions options = OptionsFor(zepcFormatJpeg);
    options.jpeg = &jpeg;
    options.metadata = &given->metadata;
    const Bytes file = Encode(Make(64, 64, {}), options);
    layers[given == &plain ? 0 : 1] = Probe(file).layers;
  }
  EXPECT_GT(layers[0], 5);
  EXPECT_EQ(layers[0], layers[1]);
}

TEST(ApiMetadata, DecodingToRowsAndBuffersGivesItToo) {
  const Given given;
  const Bytes file = EncodeWith(given, zepcFormatJpeg);
  Image buffer = Blank(24, 16, {});
  const zepcPixels to = buffer.Pixels();
  zepcPicture* details = nullptr;
  ASSERT_EQ(zepcDecodeInto(file.data(), file.size(), nullptr, &to, &details), zepcStatusOk);
  const Picture owner(details);
  const zepcMetadata found = MetadataOf(owner);
  EXPECT_EQ(Copy(found.icc, found.icc_size), given.icc);
  auto pixels = Sized<zepcPixels>();
  EXPECT_EQ(zepcPicturePixels(details, &pixels), zepcStatusOk);
  EXPECT_EQ(pixels.data, nullptr);
  EXPECT_EQ(pixels.width, 0);
}

}  // namespace
