// SPDX-License-Identifier: MIT
// TIFF files: every sample comes back; what other programs write; damage.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "codecs/tiff/codec.h"
#include "harness/guarded.h"
#include "tests/codecs/support/pictures.h"

namespace tiff = zepcodec::tiff;

namespace {

using pictures::Bytes;
using tiff::Compression;
using tiff::EncodeOptions;
using zepcodec::Picture;

Bytes Encode(const zepcodec::Picture& picture, const EncodeOptions& options) {
  zepcodec::ByteBuffer file;
  zepcodec::PictureRows rows(picture);
  const zepcodec::Status status = tiff::Encode(&rows, options, &file);
  EXPECT_TRUE(status.ok()) << status.text();
  return {file.data(), file.data() + file.size()};
}

// In memory that ends where the file ends.
zepcodec::Status Decode(const Bytes& file, zepcodec::Picture* picture, tiff::FileInfo* info) {
  harness::Guarded<uint8_t> memory(file.size());
  if (!file.empty()) std::memcpy(memory.data(), file.data(), file.size());
  return tiff::Decode(memory.data(), file.size(), tiff::DecodeOptions(), picture, info);
}

std::string ErrorOf(const Bytes& file) {
  zepcodec::Picture picture;
  tiff::FileInfo info;
  return Decode(file, &picture, &info).text();
}

EncodeOptions Options(Compression compression, bool has_byte_planes) {
  EncodeOptions options;
  options.compression = compression;
  options.has_byte_planes = has_byte_planes;
  return options;
}

TEST(Tiff, EveryKindComesBack) {
  for (const int bits : {8, 16}) {
    for (const int channels : {1, 3}) {
      for (const int width : {1, 2, 63, 64, 200}) {
        for (const int height : {1, 7, 500}) {
          for (const Compression compression : {Compression::kNone, Compression::kPackBits}) {
            for (const bool has_byte_planes : {false, true}) {
              if (has_byte_planes && bits == 8) continue;
              const zepcodec::Picture picture = pictures::Noisy(width, height, channels, bits);
              const Bytes file = Encode(picture, Options(compression, has_byte_planes));
              zepcodec::Picture back;
              tiff::FileInfo info;
              ASSERT_EQ(Decode(file, &back, &info).text(), "");
              EXPECT_TRUE(info.messages.empty());
              EXPECT_EQ(info.has_byte_planes, has_byte_planes);
              ASSERT_TRUE(pictures::Same(picture, back)) << width << " x " << height;
            }
          }
        }
      }
    }
  }
}

TEST(Tiff, Metadata) {
  zepcodec::Picture picture = pictures::Noisy(9, 9, 3, 8);
  zepcodec::Metadata& metadata = picture.metadata();
  metadata.icc_profile = {1, 2, 3, 4, 5};
  metadata.xmp = {'<', 'x', '>'};
  using Unit = zepcodec::Resolution::Unit;
  for (const Unit unit : {Unit::kInch, Unit::kCentimetre, Unit::kShape}) {
    metadata.resolution = {unit, 300.25, 72};
    const Bytes file = Encode(picture, {});
    tiff::FileInfo info;
    ASSERT_TRUE(tiff::ReadFileInfo(file.data(), file.size(), &info).ok());
    EXPECT_EQ(info.metadata.icc_profile, metadata.icc_profile);
    EXPECT_EQ(info.metadata.xmp, metadata.xmp);
    EXPECT_EQ(info.metadata.resolution.unit, unit);
    EXPECT_EQ(info.metadata.resolution.x, 300.25);
    EXPECT_EQ(info.metadata.resolution.y, 72);
    EXPECT_TRUE(info.metadata.exif.empty());
    EXPECT_EQ(info.width, 9);
    EXPECT_FALSE(info.is_big_endian);
  }
}

TEST(Tiff, BytePlanesPackBetter) {
  zepcodec::Picture picture;
  ASSERT_TRUE(picture.Resize(300, 100, zepcodec::PixelLayout::kGrey, 16));
  std::mt19937 random(2);
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    picture.Set(i, static_cast<int>(0x1200 + i / 3000 * 256 + (random() & 63)));
  }
  const size_t mixed = Encode(picture, Options(Compression::kPackBits, false)).size();
  const size_t planes = Encode(picture, Options(Compression::kPackBits, true)).size();
  EXPECT_LT(planes * 10, mixed * 6);
}

bool CanEncode(const Picture& picture, const EncodeOptions& options) {
  zepcodec::PictureRows rows(picture);
  zepcodec::ByteBuffer file;
  return tiff::Encode(&rows, options, &file).ok();
}

TEST(Tiff, OptionsThatDoNotFit) {
  EXPECT_FALSE(CanEncode(zepcodec::Picture(), EncodeOptions()));
  EXPECT_FALSE(CanEncode(pictures::Noisy(4, 4, 2, 8), EncodeOptions()));
  EXPECT_FALSE(CanEncode(pictures::Noisy(4, 4, 1, 12), EncodeOptions()));
  const EncodeOptions planes = Options(Compression::kNone, true);
  EXPECT_FALSE(CanEncode(pictures::Noisy(4, 4, 1, 8), planes));
}

// A file field by field, as other programs might write it: fields of one short or long each, then
// strips.
class Builder {
 public:
  explicit Builder(bool is_big_endian) : is_big_(is_big_endian) {}

  void Field(int tag, int type, std::vector<uint32_t> values) {
    fields_.push_back({tag, type, std::move(values)});
  }
  Bytes Make(const std::vector<Bytes>& strips) {
    Bytes strip_bytes;
    std::vector<uint32_t> offsets, sizes;
    const size_t data = 8 + 2 + 12 * (fields_.size() + 2) + 4;
    Bytes arrays;
    size_t array_size = 8 * strips.size();
    for (const auto& field : fields_) array_size += 4 * field.values.size();
    for (const Bytes& strip : strips) {
      offsets.push_back(static_cast<uint32_t>(data + array_size + strip_bytes.size()));
      sizes.push_back(static_cast<uint32_t>(strip.size()));
      strip_bytes.insert(strip_bytes.end(), strip.begin(), strip.end());
    }
    Field(273, 4, offsets);
    Field(279, 4, sizes);
    Bytes file;
    file.push_back(is_big_ ? 'M' : 'I');
    file.push_back(is_big_ ? 'M' : 'I');
    Add(&file, 42, 2);
    Add(&file, 8, 4);
    Add(&file, static_cast<uint32_t>(fields_.size()), 2);
    for (const auto& field : fields_) {
      const size_t size = field.type == 3 ? 2 : 4;
      Add(&file, static_cast<uint32_t>(field.tag), 2);
      Add(&file, static_cast<uint32_t>(field.type), 2);
      Add(&file, static_cast<uint32_t>(field.values.size()), 4);
      const size_t place = file.size();
      Bytes* to = &file;
      if (field.values.size() * size > 4) {
        Add(&file, static_cast<uint32_t>(data + arrays.size()), 4);
        to = &arrays;
      }
      for (const uint32_t value : field.values) Add(to, value, size);
      file.resize(place + 4);
    }
    Add(&file, 0, 4);
    arrays.resize(array_size);
    file.insert(file.end(), arrays.begin(), arrays.end());
    file.insert(file.end(), strip_bytes.begin(), strip_bytes.end());
    return file;
  }

 private:
  struct OneField {
    int tag, type;
    std::vector<uint32_t> values;
  };

  void Add(Bytes* to, uint32_t value, size_t size) const {
    for (size_t i = 0; i < size; ++i) {
      to->push_back(static_cast<uint8_t>(value >> 8 * (is_big_ ? size - 1 - i : i)));
    }
  }

  bool is_big_;
  std::vector<OneField> fields_;
};

Bytes Grey(bool is_big_endian, int bits, int photometric) {
  Builder builder(is_big_endian);
  builder.Field(256, 3, {2});
  builder.Field(257, 3, {3});
  builder.Field(258, 3, {static_cast<uint32_t>(bits)});
  builder.Field(262, 3, {static_cast<uint32_t>(photometric)});
  builder.Field(278, 3, {2});
  if (bits == 8) return builder.Make({{1, 2, 3, 4}, {5, 6}});
  return builder.Make({{1, 2, 3, 4, 5, 6, 7, 8}, {9, 10, 11, 12}});
}

TEST(Tiff, BothOrdersOfBytes) {
  for (const bool is_big_endian : {false, true}) {
    for (const int bits : {8, 16}) {
      for (const int photometric : {0, 1}) {
        zepcodec::Picture back;
        tiff::FileInfo info;
        ASSERT_EQ(Decode(Grey(is_big_endian, bits, photometric), &back, &info).text(), "");
        EXPECT_TRUE(info.messages.empty());
        for (int i = 0; i < 6; ++i) {
          const int first = 2 * i + 1, second = 2 * i + 2;
          int expected = i + 1;
          if (bits == 16) expected = is_big_endian ? first << 8 | second : second << 8 | first;
          if (photometric == 0) expected = back.MaxValue() - expected;
          EXPECT_EQ(back.Get(static_cast<size_t>(i)), expected);
        }
      }
    }
  }
}

TEST(Tiff, PlanesAndPacketsAcrossRows) {
  Builder builder(true);
  builder.Field(256, 3, {2});
  builder.Field(257, 3, {2});
  builder.Field(258, 3, {8, 8, 8});
  builder.Field(259, 3, {32773});
  builder.Field(262, 3, {2});
  builder.Field(277, 3, {3});
  builder.Field(284, 3, {2});
  const Bytes file = builder.Make({{0xFD, 7}, {3, 1, 2, 3, 4}, {0xFF, 8, 0xFF, 9}});
  zepcodec::Picture back;
  tiff::FileInfo info;
  ASSERT_EQ(Decode(file, &back, &info).text(), "");
  EXPECT_TRUE(info.messages.empty());
  const int expected[] = {7, 1, 8, 7, 2, 8, 7, 3, 9, 7, 4, 9};
  for (size_t i = 0; i < 12; ++i) EXPECT_EQ(back.Get(i), expected[i]);
}

TEST(Tiff, WhatIsNotSupportedIsNamed) {
  struct {
    int tag;
    std::vector<uint32_t> values;
    const char* text;
  } const cases[] = {
      {256, {0}, "0 x 3"},         {257, {0}, "2 x 0"},           {258, {1}, "1 bits"},
      {258, {12}, "12 bits"},      {258, {8, 16}, "different"},   {259, {5}, "compression 5"},
      {259, {7}, "compression 7"}, {259, {65001}, "byte planes"}, {262, {3}, "kind 3"},
      {262, {2}, "kind 2"},        {266, {2}, "reversed"},        {277, {4}, "4 samples"},
      {278, {0}, "without rows"},  {284, {3}, "damaged"},         {322, {16}, "tiles"},
      {339, {3}, "floating"}};
  for (const auto& entry : cases) {
    Builder builder(false);
    builder.Field(entry.tag, 3, entry.values);  // the first of two counts
    for (const auto& [tag, value] :
         std::vector<std::pair<int, uint32_t>>{{256, 2}, {257, 3}, {258, 8}, {262, 1}, {278, 3}}) {
      builder.Field(tag, 3, {value});
    }
    const std::string error = ErrorOf(builder.Make({Bytes(6)}));
    EXPECT_NE(error.find(entry.text), std::string::npos) << entry.text << ": " << error;
  }
  EXPECT_NE(ErrorOf({'I', 'I', 43, 0, 8, 0, 0, 0}).find("BigTIFF"), std::string::npos);
  EXPECT_NE(ErrorOf({'I', 'M', 42, 0, 8, 0, 0, 0}).find("not a TIFF"), std::string::npos);
}

TEST(Tiff, TruncatedAtEveryByte) {
  // The directory stands in front, so that what is left of the strips is shown.
  const Bytes file = Grey(true, 16, 1);
  for (size_t size = 0; size < file.size(); ++size) {
    const Bytes part(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
    zepcodec::Picture back;
    tiff::FileInfo info;
    const zepcodec::Status status = Decode(part, &back, &info);
    if (size + 12 < file.size()) {
      EXPECT_FALSE(status.ok() && info.messages.empty());
      continue;
    }
    ASSERT_TRUE(status.ok()) << size << status.text();
    EXPECT_FALSE(info.messages.empty());
    for (size_t i = 0; i < 6; ++i) {
      const size_t end = file.size() - 12 + 2 * i + 2;
      if (end <= size) {
        EXPECT_EQ(back.Get(i), static_cast<int>((2 * i + 1) << 8 | (2 * i + 2)));
      }
    }
  }
}

TEST(Tiff, EveryByteChanged) {
  std::mt19937 random(5);
  for (const bool has_byte_planes : {false, true}) {
    const Bytes file =
        Encode(pictures::Noisy(21, 11, 3, 16), Options(Compression::kPackBits, has_byte_planes));
    for (size_t i = 0; i < file.size(); ++i) {
      for (const int value :
           {0, 255, file[i] ^ 0x80, file[i] + 1, static_cast<int>(random() & 255)}) {
        Bytes changed = file;
        changed[i] = static_cast<uint8_t>(value);
        zepcodec::Picture back;
        tiff::FileInfo info;
        const zepcodec::Status status = Decode(changed, &back, &info);
        ASSERT_EQ(status.ok(), status.text().empty());
        if (!status.ok()) continue;
        ASSERT_LE(back.SizeInBytes(), std::max<size_t>(64 * file.size(), 1 << 20));
      }
    }
  }
}

TEST(Tiff, HugeHeadersCostNothing) {
  const auto start = std::chrono::steady_clock::now();
  for (const uint32_t side : {1U << 14, 1U << 20, 1U << 28, 0xFFFFFFFFU}) {
    Builder builder(false);
    builder.Field(256, 4, {side});
    builder.Field(257, 4, {side});
    builder.Field(258, 3, {8});
    EXPECT_NE(ErrorOf(builder.Make({Bytes(100)})), "");
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  const Bytes small = Encode(pictures::Noisy(20, 10, 1, 8), EncodeOptions());
  tiff::DecodeOptions options;
  options.max_pixels = 199;
  zepcodec::Picture picture;
  tiff::FileInfo info;
  EXPECT_NE(tiff::Decode(small.data(), small.size(), options, &picture, &info).text().find("limit"),
            std::string::npos);
}

// A million strips that all begin with the same packets for nothing.
TEST(Tiff, ManyStripsAreQuick) {
  constexpr uint32_t kStrips = 1 << 20;
  const auto start = std::chrono::steady_clock::now();
  for (const bool has_sizes : {false, true}) {
    Bytes file = {'I', 'I', 42, 0, 0, 0, 0, 0};
    file.resize(60000, 0x80);
    file.insert(file.end(), {0, 7});
    const auto add = [&](size_t value, int bytes) {
      for (int i = 0; i < bytes; ++i) file.push_back(static_cast<uint8_t>(value >> 8 * i));
    };
    for (int i = 0; i < 4; ++i)
      file[4 + static_cast<size_t>(i)] = static_cast<uint8_t>(file.size() >> 8 * i);
    const uint32_t fields = has_sizes ? 9 : 8;
    add(fields, 2);
    const size_t arrays = file.size() + 12 * fields + 4;
    const auto field = [&](uint32_t tag, uint32_t type, uint32_t count, size_t value) {
      add(tag, 2);
      add(type, 2);
      add(count, 4);
      add(value, 4);
    };
    field(256, 3, 1, 1);
    field(257, 4, 1, kStrips);
    field(258, 3, 1, 8);
    field(259, 3, 1, 32773);
    field(262, 3, 1, 1);
    field(273, 3, kStrips, arrays);
    field(277, 3, 1, 1);
    field(278, 3, 1, 1);
    if (has_sizes) field(279, 3, kStrips, arrays + 2 * size_t{kStrips});
    add(0, 4);
    for (uint32_t i = 0; i < kStrips; ++i) add(i < kStrips / 2 ? 8 : 60000, 2);
    if (has_sizes) {
      for (uint32_t i = 0; i < kStrips; ++i) add(60000, 2);
    }
    zepcodec::Picture picture;
    tiff::FileInfo info;
    ASSERT_EQ(Decode(file, &picture, &info).text(), "");
    EXPECT_EQ(info.messages.count(), kStrips / 2);
    EXPECT_GE(info.messages.kept()[0].offset, 8);
    EXPECT_EQ(info.messages.kept()[0].place.find("strip "), 0U);
    EXPECT_EQ(picture.Get(0), 0);
    EXPECT_EQ(picture.Get(kStrips - 1), 7);
  }
  // Time that grows with the square of the strips would be hours.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::minutes(1));
}

}  // namespace
