// SPDX-License-Identifier: MIT
// What belongs to a picture besides its pixels: the table of formats tells which files keep it.
#include <gtest/gtest.h>

#include <algorithm>
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
      Given given;
      if (layout == zepcLayoutGrey) std::memcpy(given.icc.data() + 16, "GRAY", 4);
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

// Without the pixels the metadata are the same, also of a picture that is turned upright.
TEST(ApiMetadata, ComesWithoutThePixels) {
  for (const zepcFormat format : Formats()) {
    for (const int32_t applies_orientation : {0, 1}) {
      SCOPED_TRACE(format);
      const Bytes file = EncodeWith(Given(), format);
      auto options = Sized<zepcDecodeOptions>();
      options.applies_orientation = applies_orientation;
      const Picture decoded = Decode(file, &options);
      zepcPicture* made = nullptr;
      ASSERT_EQ(zepcReadMetadata(file.data(), file.size(), &options, &made), zepcStatusOk);
      const Picture head(made);
      const zepcMetadata wanted = MetadataOf(decoded);
      const zepcMetadata found = MetadataOf(head);
      EXPECT_EQ(Copy(found.exif, found.exif_size), Copy(wanted.exif, wanted.exif_size));
      EXPECT_EQ(Copy(found.icc, found.icc_size), Copy(wanted.icc, wanted.icc_size));
      EXPECT_EQ(Copy(found.xmp, found.xmp_size), Copy(wanted.xmp, wanted.xmp_size));
      EXPECT_EQ(found.orientation, wanted.orientation);
      EXPECT_EQ(found.resolution_x, wanted.resolution_x);
      auto pixels = Sized<zepcPixels>();
      EXPECT_EQ(zepcPicturePixels(head.get(), &pixels), zepcStatusOk);
      EXPECT_EQ(pixels.data, nullptr);
      EXPECT_EQ(zepcReadMetadata(file.data(), 2, &options, &made), zepcStatusUnknownFormat);
      EXPECT_EQ(zepcReadMetadata(file.data(), file.size(), &options, nullptr),
                zepcStatusBadArgument);
    }
  }
}

// A TIFF file with a compression that is not decoded.
TEST(ApiMetadata, ComesWithoutReadablePixels) {
  Bytes file = EncodeWith(Given(), zepcFormatTiff);
  const Picture decoded = Decode(file);
  const Bytes compression = {3, 1, 3, 0, 1, 0, 0, 0};  // the tag, short numbers, one of them
  const auto place = std::search(file.begin(), file.end(), compression.begin(), compression.end());
  ASSERT_NE(place, file.end());
  place[8] = 5;
  place[9] = 0;
  auto info = Sized<zepcInfo>();
  EXPECT_LT(zepcProbe(file.data(), file.size(), nullptr, &info), 0);
  zepcPicture* made = nullptr;
  ASSERT_EQ(zepcReadMetadata(file.data(), file.size(), nullptr, &made), zepcStatusOk);
  const Picture head(made);
  const zepcMetadata wanted = MetadataOf(decoded);
  const zepcMetadata found = MetadataOf(head);
  EXPECT_GT(found.exif_size, 0U);
  EXPECT_EQ(Copy(found.exif, found.exif_size), Copy(wanted.exif, wanted.exif_size));
  EXPECT_EQ(Copy(found.icc, found.icc_size), Copy(wanted.icc, wanted.icc_size));
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
// Inks stay inks: a JP2 file would hold three colours by this profile.
TEST(ApiMetadata, ProfilesOfOtherColorsAreLeftOut) {
  const Given given;
  const Picture picture = Decode(EncodeWith(given, zepcFormatJp2, zepcLayoutCmyk));
  auto pixels = Sized<zepcPixels>();
  ASSERT_EQ(zepcPicturePixels(picture.get(), &pixels), zepcStatusOk);
  EXPECT_EQ(pixels.layout, zepcLayoutCmyk);
  EXPECT_EQ(MetadataOf(picture).icc_size, 0U);
  EXPECT_EQ(MetadataOf(picture).xmp_size, given.xmp.size());
}

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

TEST(ApiMetadata, OrientationOfExif) {
  for (const bool is_big_endian : {false, true}) {
    for (uint8_t orientation = 1; orientation <= 8; ++orientation) {
      const Bytes exif = Exif(orientation, is_big_endian);
      EXPECT_EQ(zepcExifOrientation(exif.data(), exif.size()), orientation);
      EXPECT_EQ(zepcExifOrientation(exif.data(), 12), 0);  // cut off
    }
    const Bytes wrong = Exif(9, is_big_endian);
    EXPECT_EQ(zepcExifOrientation(wrong.data(), wrong.size()), 0);
  }
  EXPECT_EQ(zepcExifOrientation(nullptr, 0), 0);
  EXPECT_EQ(zepcExifOrientation("", 0), 0);
}

TEST(ApiMetadata, ExifBecomesUpright) {
  for (const bool is_big_endian : {false, true}) {
    Bytes exif = Exif(6, is_big_endian);
    zepcExifSetUpright(exif.data(), exif.size());
    EXPECT_EQ(exif, Exif(1, is_big_endian));
    Bytes cut_off(exif.begin(), exif.begin() + 12);
    const Bytes before = cut_off;
    zepcExifSetUpright(cut_off.data(), cut_off.size());
    EXPECT_EQ(cut_off, before);
  }
  zepcExifSetUpright(nullptr, 0);
}

TEST(ApiMetadata, FurtherSegmentsOfJpegFilesAreKept) {
  // A comment, the data of a photo editor, and what the encoder writes itself or what names other
  // pictures.
  const Bytes kept = {0xFF, 0xFE, 0, 4, 'h', 'i', 0xFF, 0xED, 0, 5, 1, 2, 3, 0xFF, 0xE0, 0, 2};
  const Bytes dropped = {0xFF, 0xE0, 0, 7, 'J', 'F', 'I', 'F', 0,
                         0xFF, 0xE2, 0, 6, 'M', 'P', 'F', 0};
  for (const zepcFormat format : {zepcFormatJpeg, zepcFormatLosslessJpeg}) {
    for (const Bytes& end : {Bytes(), Bytes{0xFF, 0xFE, 0, 9, 'x'}, Bytes{0xFF, 0xFE, 0, 1},
                             Bytes{0xFF, 0xDA, 0, 2}, Bytes{0xFF}, Bytes{0, 0xFE, 0, 2}}) {
      Bytes segments = dropped;
      segments.insert(segments.end(), kept.begin(), kept.end());
      segments.insert(segments.end(), end.begin(), end.end());
      Given given;
      given.metadata.jpeg_segments = segments.data();
      given.metadata.jpeg_segments_size = segments.size();
      const Picture picture = Decode(EncodeWith(given, format));
      const zepcMetadata found = MetadataOf(picture);
      EXPECT_EQ(Copy(found.jpeg_segments, found.jpeg_segments_size), kept);
      EXPECT_EQ(Copy(found.exif, found.exif_size), given.exif);
    }
  }
  auto metadata = Sized<zepcMetadata>();
  metadata.jpeg_segments_size = 4;
  zepcEncodeOptions options = OptionsFor(zepcFormatJpeg);
  options.metadata = &metadata;
  Bytes file;
  EXPECT_EQ(TryEncode(Make(8, 8, {}), options, &file), zepcStatusBadArgument);
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

void PutNumber(uint64_t value, size_t bytes, Bytes* to) {
  for (size_t i = 0; i < bytes; ++i) to->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

// EXIF data as a camera writes them, with a directory of exposures: a maker, an orientation, a
// time.
Bytes CameraExif(uint8_t orientation) {
  Bytes exif = {'I', 'I', 42, 0, 8, 0, 0, 0, 3, 0};
  const auto field = [&](uint16_t tag, uint16_t type, uint32_t count, uint32_t value) {
    PutNumber(tag, 2, &exif);
    PutNumber(type, 2, &exif);
    PutNumber(count, 4, &exif);
    PutNumber(value, 4, &exif);
  };
  field(271, 2, 6, 50);
  field(274, 3, 1, orientation);
  field(34665, 4, 1, 56);
  PutNumber(0, 4, &exif);
  exif.insert(exif.end(), {'M', 'a', 'k', 'e', 'r', 0, 1, 0});
  field(33434, 5, 1, 74);
  PutNumber(0, 4, &exif);
  PutNumber(1, 4, &exif);
  PutNumber(250, 4, &exif);
  return exif;
}

TEST(ApiMetadata, DirectoriesOfExifAreKeptThroughAllFormats) {
  for (const zepcFormat format : Formats()) {
    if (FactsOf(format).keeps_exif == 0) continue;
    for (uint8_t orientation = 1; orientation <= 8; ++orientation) {
      SCOPED_TRACE(testing::Message() << format << ", orientation " << int{orientation});
      Given given;
      given.exif = CameraExif(orientation);
      given.metadata.exif = given.exif.data();
      given.metadata.exif_size = given.exif.size();
      const Bytes file = EncodeWith(given, format);
      const Picture picture = Decode(file);
      const zepcMetadata found = MetadataOf(picture);
      EXPECT_EQ(Copy(found.exif, found.exif_size), given.exif);
      EXPECT_EQ(found.orientation, orientation);
      EXPECT_EQ(Probe(file).orientation, orientation);
      auto options = Sized<zepcDecodeOptions>();
      options.applies_orientation = 1;
      const Picture upright = Decode(file, &options);
      EXPECT_EQ(MetadataOf(upright).orientation, 1);
      const zepcMetadata turned = MetadataOf(upright);
      EXPECT_EQ(Copy(turned.exif, turned.exif_size), CameraExif(1));
    }
  }
}

TEST(ApiMetadata, AnOrientationNeedsNoExif) {
  for (const zepcFormat format : Formats()) {
    if (FactsOf(format).keeps_exif == 0) continue;
    zepcEncodeOptions options = OptionsFor(format);
    auto metadata = Sized<zepcMetadata>();
    metadata.orientation = 5;
    options.metadata = &metadata;
    EXPECT_EQ(MetadataOf(Decode(Encode(Make(24, 16, {}), options))).orientation, 5) << format;
    const Bytes exif = CameraExif(3);
    metadata.exif = exif.data();
    metadata.exif_size = exif.size();
    EXPECT_EQ(MetadataOf(Decode(Encode(Make(24, 16, {}), options))).orientation, 3) << format;
  }
}

TEST(ApiMetadata, FractionsOfDotsAreKept) {
  for (const zepcFormat format : {zepcFormatJp2, zepcFormatJpegXr, zepcFormatTiff}) {
    Given given;
    given.metadata.resolution_unit = zepcResolutionInch;
    given.metadata.resolution_x = 72.27;
    given.metadata.resolution_y = 1234.5;
    const zepcMetadata found = MetadataOf(Decode(EncodeWith(given, format)));
    EXPECT_EQ(found.resolution_unit, zepcResolutionInch);
    EXPECT_NEAR(found.resolution_x, 72.27, 1e-4);
    EXPECT_NEAR(found.resolution_y, 1234.5, 1e-3);
  }
}

size_t Find(const Bytes& file, const Bytes& part) {
  const auto found = std::search(file.begin(), file.end(), part.begin(), part.end());
  EXPECT_NE(found, file.end());
  return static_cast<size_t>(found - file.begin());
}

// The picture, and one note with this byte.
void ExpectNote(const Bytes& file, size_t offset) {
  const Picture picture = Decode(file);
  ASSERT_NE(picture, nullptr);
  auto message = Sized<zepcMessage>();
  ASSERT_EQ(zepcPictureMessage(picture.get(), 0, &message), zepcStatusOk);
  EXPECT_EQ(message.is_damage, 0) << message.text;
  EXPECT_EQ(message.offset, static_cast<int64_t>(offset)) << message.text;
  EXPECT_EQ(zepcPictureMessage(picture.get(), 1, &message), zepcStatusBadArgument);
}

TEST(ApiMetadata, DamageCostsMetadataAlone) {
  Given given;
  given.metadata.resolution_unit = zepcResolutionInch;
  given.metadata.resolution_x = given.metadata.resolution_y = 300;
  Bytes jp2 = EncodeWith(given, zepcFormatJp2);
  Bytes changed = jp2;
  const size_t exif = Find(jp2, {'J', 'p', 'g', 'T', 'i', 'f', 'f', 'E', 'x', 'i', 'f'});
  changed[exif + 16] = 'X';
  ExpectNote(changed, exif);
  EXPECT_EQ(MetadataOf(Decode(changed)).exif, nullptr);
  changed = jp2;
  const size_t resolution = Find(jp2, {'r', 'e', 's', 'c'}) + 4;
  changed[resolution + 2] = changed[resolution + 3] = 0;
  ExpectNote(changed, resolution);
  EXPECT_EQ(MetadataOf(Decode(changed)).resolution_unit, zepcResolutionNone);
  for (const zepcFormat format : {zepcFormatJpegXr, zepcFormatTiff}) {
    changed = EncodeWith(given, format);
    const size_t profile = Find(changed, {0x73, 0x87, 7, 0});
    changed[profile + 11] = 0x7F;  // far behind the end of the file
    ExpectNote(changed, profile);
    const Picture picture = Decode(changed);
    EXPECT_EQ(MetadataOf(picture).icc, nullptr);
    EXPECT_NE(MetadataOf(picture).xmp, nullptr);
  }
}

// Boxes can follow the codestream, EXIF data can begin with their name, and a resolution for
// display counts where there is no other.
TEST(ApiMetadata, OtherFormsInJp2) {
  Given given;
  given.metadata.resolution_unit = zepcResolutionInch;
  given.metadata.resolution_x = given.metadata.resolution_y = 300;
  Bytes file = EncodeWith(given, zepcFormatJp2);
  file[Find(file, {'r', 'e', 's', 'c'}) + 3] = 'd';
  const size_t uuid = Find(file, {'J', 'p', 'g', 'T', 'i', 'f', 'f', 'E'});
  const auto begin = file.begin() + static_cast<std::ptrdiff_t>(uuid) - 8;
  const auto end = begin + 24 + static_cast<std::ptrdiff_t>(given.exif.size());
  Bytes box(begin, end);
  file.erase(begin, end);
  const Bytes name = {'E', 'x', 'i', 'f', 0, 0};
  box.insert(box.begin() + 24, name.begin(), name.end());
  box[3] = static_cast<uint8_t>(box.size());
  file.insert(file.end(), box.begin(), box.end());
  const Picture picture = Decode(file);
  const zepcMetadata found = MetadataOf(picture);
  EXPECT_EQ(Copy(found.exif, found.exif_size), given.exif);
  EXPECT_NEAR(found.resolution_x, 300, 0.01);
  auto message = Sized<zepcMessage>();
  EXPECT_EQ(zepcPictureMessage(picture.get(), 0, &message), zepcStatusBadArgument);
}

}  // namespace
