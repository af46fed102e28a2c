// SPDX-License-Identifier: MIT
// Damaged files: no crash, a picture or an error, and every restart interval that is whole.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <random>
#include <string>

#include "harness/guarded.h"
#include "harness/random.h"
#include "tests/codecs/jpeg/jpeg_files.h"
#include "tests/codecs/support/pictures.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using jpeg_files::Bytes;
using jpeg_files::Decode;
using jpeg_files::Decoded;
using jpeg_files::DecodeGood;
using jpeg_files::Encode;
using jpeg_files::FindMarker;
using zepcodec::PixelLayout;

constexpr int kWidth = 48;   // 6 MCUs of 8 x 8 in a row
constexpr int kHeight = 40;  // 5 rows, a restart interval each

zepcodec::Picture Picture() { return pictures::Detailed(kWidth, kHeight, PixelLayout::kRgb); }

Bytes FileWithIntervals() {
  jpeg::EncodeOptions options;
  options.sampling = jpeg::Sampling::k444;
  options.restart_interval = 6;
  return Encode(Picture(), options);
}

// In memory that ends where the file ends.
void DecodeGuarded(const Bytes& file) {
  harness::Guarded<uint8_t> memory(file.size());
  if (!file.empty()) std::memcpy(memory.data(), file.data(), file.size());
  zepcodec::Picture image;
  jpeg::FileInfo info;
  const zepcodec::Status status =
      jpeg::Decode(memory.data(), file.size(), jpeg::DecodeOptions(), &image, &info);
  if (status.ok()) {
    EXPECT_GT(image.SizeInBytes(), 0u);
  } else {
    EXPECT_FALSE(status.text().empty());
  }
}

// Rows of MCUs, of 8 rows of pixels, that are as in the whole file.
std::string GoodRows(const zepcodec::Picture& whole, const zepcodec::Picture& image) {
  std::string good;
  for (int row = 0; row < kHeight / 8; ++row) {
    const size_t size = whole.Stride() * 8;
    good += std::memcmp(whole.Row(row * 8), image.Row(row * 8), size) == 0 ? '+' : '-';
  }
  return good;
}

TEST(JpegDamage, TruncatedAtEveryByte) {
  const Bytes file = FileWithIntervals();
  const zepcodec::Picture whole = DecodeGood(file);
  const size_t data = FindMarker(file, jpeg::kSos);
  for (size_t size = 0; size < file.size(); ++size) {
    const Bytes part(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
    DecodeGuarded(part);
    const Decoded decoded = Decode(part);
    ASSERT_EQ(decoded.status.ok(), size >= data + 14) << size;
    if (decoded.status.ok()) {
      EXPECT_FALSE(decoded.info.messages.empty()) << size;
    }
  }
}

TEST(JpegDamage, EveryByteChanged) {
  const Bytes file = FileWithIntervals();
  std::mt19937 random(7);
  for (size_t i = 0; i < file.size(); ++i) {
    const Bytes values = {0x00, 0xFF, static_cast<uint8_t>(file[i] ^ 0x80),
                          static_cast<uint8_t>(file[i] + 1), static_cast<uint8_t>(random())};
    for (const uint8_t value : harness::AllOrOne(values, random)) {
      Bytes changed = file;
      changed[i] = value;
      DecodeGuarded(changed);
    }
  }
}

TEST(JpegDamage, ManyBytesChanged) {
  jpeg::EncodeOptions options;
  options.restart_interval = 3;
  std::mt19937 random(11);
  const int rounds = harness::Exhaustive() ? 300 : 90;
  for (int round = 0; round < rounds; ++round) {
    options.sampling = static_cast<jpeg::Sampling>(round % 3);
    const auto layout = round % 5 == 0 ? PixelLayout::kCmyk : PixelLayout::kRgb;
    Bytes file = Encode(pictures::Detailed(61, 35, layout), options);
    const size_t first = round % 2 == 0 ? 2 : FindMarker(file, jpeg::kSos);
    for (int i = 0; i < 1 + round % 9; ++i) {
      file[first + random() % (file.size() - first)] = static_cast<uint8_t>(random());
    }
    DecodeGuarded(file);
  }
}

TEST(JpegDamage, RandomBytesBehindGoodHeaders) {
  const Bytes file = FileWithIntervals();
  const size_t data = FindMarker(file, jpeg::kSos) + 14;
  std::mt19937 random(13);
  for (int round = 0; round < 200; ++round) {
    Bytes changed = file;
    for (size_t i = round % 4 == 0 ? 2 : data; i < changed.size(); ++i) {
      changed[i] = static_cast<uint8_t>(random());
    }
    DecodeGuarded(changed);
  }
}

TEST(JpegDamage, OneBadIntervalCostsNoOther) {
  const Bytes file = FileWithIntervals();
  const zepcodec::Picture whole = DecodeGood(file);
  const size_t third = FindMarker(file, 0xD1) + 2;  // rows 16..23
  const size_t fourth = FindMarker(file, 0xD2);
  Bytes changed = file;
  for (size_t i = third; i < fourth; ++i) changed[i] = 0xFE;  // no code begins with so many ones
  const Decoded decoded = Decode(changed);
  ASSERT_TRUE(decoded.status.ok());
  EXPECT_EQ(GoodRows(whole, decoded.image), "++-++");
  ASSERT_EQ(decoded.info.messages.count(), 1) << decoded.AllMessages();
  const zepcodec::Message& message = decoded.info.messages.kept()[0];
  EXPECT_GE(message.offset, third);
  EXPECT_LE(message.offset, fourth);
  EXPECT_EQ(message.place, "MCU 12");
  EXPECT_NE(message.text.find("6 MCUs are lost"), std::string::npos) << message.text;
}

TEST(JpegDamage, AMissingIntervalIsLeftOut) {
  const Bytes file = FileWithIntervals();
  const zepcodec::Picture whole = DecodeGood(file);
  const size_t from = FindMarker(file, 0xD1);
  const size_t to = FindMarker(file, 0xD2);
  const Decoded decoded = Decode(jpeg_files::Without(file, from, to - from));
  ASSERT_TRUE(decoded.status.ok());
  EXPECT_EQ(GoodRows(whole, decoded.image), "++-++") << decoded.AllMessages();
  EXPECT_NE(decoded.AllMessages().find("is missing"), std::string::npos);
}

TEST(JpegDamage, ALostMarkerCostsItsInterval) {
  const Bytes file = FileWithIntervals();
  const zepcodec::Picture whole = DecodeGood(file);
  Bytes changed = file;
  changed[FindMarker(file, 0xD1)] = 0x12;
  const Decoded decoded = Decode(changed);
  ASSERT_TRUE(decoded.status.ok());
  EXPECT_EQ(GoodRows(whole, decoded.image), "++-++") << decoded.AllMessages();
}

TEST(JpegDamage, AFalseMarkerCostsItsInterval) {
  const Bytes file = FileWithIntervals();
  const zepcodec::Picture whole = DecodeGood(file);
  const size_t third = FindMarker(file, 0xD1) + 2;
  for (const int false_marker : {0xD0, 0xD3, 0xD5, 0xD9, 0xC4, 0x01, 0xF0}) {
    Bytes changed = file;
    changed[third + 10] = 0xFF;
    changed[third + 11] = static_cast<uint8_t>(false_marker);
    const Decoded decoded = Decode(changed);
    ASSERT_TRUE(decoded.status.ok());
    EXPECT_EQ(GoodRows(whole, decoded.image), "++-++")
        << false_marker << ": " << decoded.AllMessages();
    EXPECT_FALSE(decoded.info.messages.empty());
  }
}

TEST(JpegDamage, TheRowsBeforeATruncationAreGood) {
  const Bytes file = FileWithIntervals();
  const zepcodec::Picture whole = DecodeGood(file);
  const Bytes part(file.begin(),
                   file.begin() + static_cast<std::ptrdiff_t>(FindMarker(file, 0xD2) + 9));
  const Decoded decoded = Decode(part);
  ASSERT_TRUE(decoded.status.ok());
  EXPECT_EQ(GoodRows(whole, decoded.image), "+++--");
  EXPECT_NE(decoded.AllMessages().find("the file ends"), std::string::npos)
      << decoded.AllMessages();
}

TEST(JpegDamage, ABadEndOfHeadersIsNoPicture) {
  const Bytes file = FileWithIntervals();
  Bytes changed = file;
  const size_t table = FindMarker(file, jpeg::kDht);
  changed[table + 5] = 3;  // three codes of one bit
  EXPECT_NE(Decode(changed).status.text().find("Huffman"), std::string::npos);
  changed = file;
  changed[FindMarker(file, jpeg::kSos) + 6] = 0x33;  // tables that were never defined
  EXPECT_NE(Decode(changed).status.text().find("without"), std::string::npos);
}

TEST(JpegDamage, AFloodOfSegmentsIsCut) {
  Bytes file = FileWithIntervals();
  Bytes flood;
  for (int i = 0; i < 10000; ++i) flood.insert(flood.end(), {0xFF, jpeg::kCom, 0, 2});
  const Decoded decoded = Decode(jpeg_files::With(file, 2, flood));
  EXPECT_TRUE(decoded.status.ok());
  EXPECT_EQ(decoded.info.metadata.segments.size(), 4096u);
  EXPECT_EQ(decoded.info.messages.count(), 10000 - 4096);
}

// A header that announces 65535 x 65535 pixels costs neither memory nor time.
TEST(JpegDamage, HugeHeaderInASmallFile) {
  Bytes file = Encode(pictures::Smooth(16, 16, PixelLayout::kRgb));
  const size_t frame = FindMarker(file, jpeg::kSof0);
  for (size_t i = 5; i < 9; ++i) file[frame + i] = 0xFF;
  const auto start = std::chrono::steady_clock::now();
  jpeg::DecodeOptions options;
  for (const int64_t limit : {options.max_pixels, INT64_MAX}) {
    options.max_pixels = limit;
    zepcodec::Picture image;
    jpeg::FileInfo info;
    const zepcodec::Status status = jpeg::Decode(file.data(), file.size(), options, &image, &info);
    EXPECT_NE(status.text().find("65535 x 65535"), std::string::npos) << status.text();
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(JpegDamage, GoodFilesWithinTheBoundAreNotRefused) {
  const int side = harness::Exhaustive() ? 4000 : 1000;
  // One colour: about two bits a block.
  zepcodec::Picture image;
  ASSERT_TRUE(image.Resize(2 * side, side, PixelLayout::kGrey));
  std::memset(image.Row(0), 128, image.SizeInBytes());
  EXPECT_TRUE(pictures::Same(image, DecodeGood(Encode(image))));
}

}  // namespace
