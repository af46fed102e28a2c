// SPDX-License-Identifier: MIT
// EXIF data taken apart and joined again: every value survives, in both byte orders; damage is left
// out.
#include "codecs/support/exif.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "codecs/support/byte_writer.h"
#include "codecs/support/fraction.h"
#include "harness/guarded.h"

namespace {

using zepcodec::ByteOrder;
using zepcodec::ByteReader;
using zepcodec::ByteWriter;
using zepcodec::Messages;
using zepcodec::tiff::FieldList;
using zepcodec::tiff::NewField;

using Bytes = std::vector<uint8_t>;

constexpr uint16_t kMake = 271, kExif = 34665, kGps = 34853, kInteroperability = 40965;
constexpr uint16_t kMakerNote = 37500, kExposureTime = 33434, kWidth = 256, kSpeed = 34855;
constexpr uint16_t kLatitude = 2, kIndex = 1, kUnknown = 60000, kBias = 37380;

// Writes directories by hand, at chosen places.
class Hand {
 public:
  explicit Hand(ByteOrder order) : writer_(&bytes, order) {
    const uint8_t mark = order == ByteOrder::kBig ? 'M' : 'I';
    writer_.Byte(mark);
    writer_.Byte(mark);
    writer_.Word(42);
    writer_.Long(8);
  }
  void Field(int tag, int type, int count, uint32_t value, size_t value_bytes = 4) {
    writer_.Word(tag);
    writer_.Word(type);
    writer_.Long(count);
    writer_.Number(value, value_bytes);
    writer_.Number(0, 4 - value_bytes);
  }
  void Directory(int fields) { writer_.Word(fields); }
  void End() { writer_.Long(0); }
  ByteWriter& writer() { return writer_; }

  Bytes bytes;

 private:
  ByteWriter writer_;
};

// A camera's data: fields of the picture, exposure, a maker note, interoperability and a place.
Bytes Camera(ByteOrder order) {
  Hand hand(order);
  hand.Directory(5);             // at 8, 66 bytes
  hand.Field(kWidth, 4, 1, 99);  // of the samples: not kept
  hand.Field(kMake, 2, 6, 200);
  hand.Field(zepcodec::kOrientationTag, 3, 1, 6, 2);
  hand.Field(kExif, 4, 1, 74);
  hand.Field(kGps, 4, 1, 158);
  hand.End();
  hand.Directory(6);  // at 74, 78 bytes
  hand.Field(kExposureTime, 5, 1, 206);
  hand.Field(kSpeed, 3, 1, 400, 2);
  hand.Field(kBias, 10, 1, 214);
  hand.Field(kMakerNote, 7, 9, 222);
  hand.Field(kInteroperability, 4, 1, 180);
  hand.Field(kUnknown, 77, 3, 0x01020304);
  hand.End();
  hand.writer().Number(0, 6);  // to 158
  hand.Directory(1);
  hand.Field(kLatitude, 5, 1, 231);
  hand.End();
  hand.writer().Long(0);  // to 180
  hand.Directory(1);
  hand.Field(kIndex, 3, 1, 0x5238, 2);
  hand.End();
  hand.writer().Word(0);  // to 200
  const auto* const make = reinterpret_cast<const uint8_t*>("Maker");
  hand.writer().Bytes(make, 6);
  for (const int number : {1, 250, -2, 3}) hand.writer().Long(number);
  for (int i = 1; i <= 9; ++i) hand.writer().Byte(i);
  for (const int number : {47, 1}) hand.writer().Long(number);
  return hand.bytes;
}

const NewField* Find(const std::vector<NewField>& fields, uint16_t tag) {
  for (const NewField& field : fields) {
    if (field.tag == tag) return &field;
  }
  return nullptr;
}

Bytes ValuesOf(const std::vector<NewField>& fields, uint16_t tag) {
  const NewField* const field = Find(fields, tag);
  return field == nullptr ? Bytes() : field->values;
}

void ExpectCamera(const std::vector<NewField>& fields, const Bytes& unknown) {
  EXPECT_EQ(Find(fields, kWidth), nullptr);
  EXPECT_EQ(ValuesOf(fields, kMake), (Bytes{'M', 'a', 'k', 'e', 'r', 0}));
  EXPECT_EQ(ValuesOf(fields, zepcodec::kOrientationTag), (Bytes{6, 0}));
  const NewField* const exif = Find(fields, kExif);
  ASSERT_NE(exif, nullptr);
  EXPECT_EQ(exif->directory.size(), 6U);
  EXPECT_EQ(ValuesOf(exif->directory, kExposureTime), (Bytes{1, 0, 0, 0, 250, 0, 0, 0}));
  EXPECT_EQ(ValuesOf(exif->directory, kSpeed), (Bytes{0x90, 1}));
  EXPECT_EQ(ValuesOf(exif->directory, kBias), (Bytes{0xFE, 0xFF, 0xFF, 0xFF, 3, 0, 0, 0}));
  EXPECT_EQ(ValuesOf(exif->directory, kMakerNote), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(ValuesOf(exif->directory, kUnknown), unknown);
  const NewField* const inner = Find(exif->directory, kInteroperability);
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(ValuesOf(inner->directory, kIndex), (Bytes{0x38, 0x52}));
  const NewField* const gps = Find(fields, kGps);
  ASSERT_NE(gps, nullptr);
  EXPECT_EQ(ValuesOf(gps->directory, kLatitude), (Bytes{47, 0, 0, 0, 1, 0, 0, 0}));
}

TEST(Exif, EveryValueIsKeptInBothOrders) {
  for (const ByteOrder order : {ByteOrder::kBig, ByteOrder::kLittle}) {
    const Bytes unknown = order == ByteOrder::kBig ? Bytes{1, 2, 3, 4} : Bytes{4, 3, 2, 1};
    const std::vector<NewField> fields = zepcodec::SplitExif(Camera(order));
    ExpectCamera(fields, unknown);
    const Bytes joined = zepcodec::JoinExif(fields);
    ExpectCamera(zepcodec::SplitExif(joined), unknown);
    EXPECT_EQ(zepcodec::JoinExif(zepcodec::SplitExif(joined)), joined) << "a second time changes";
  }
}

// Positions count from the start of the file, wherever the directory is appended.
TEST(Exif, DirectoriesAtAnyPlace) {
  const std::vector<NewField> fields = zepcodec::SplitExif(Camera(ByteOrder::kBig));
  constexpr size_t kBegin = 5000;
  Bytes tail;
  zepcodec::tiff::AppendFields(fields, kBegin, &tail);
  Bytes bytes(kBegin);
  bytes.insert(bytes.end(), tail.begin(), tail.end());
  const ByteReader file(bytes.data(), bytes.size(), ByteOrder::kLittle);
  Messages notes;
  FieldList list;
  ASSERT_TRUE(zepcodec::tiff::ReadFields(file, kBegin, &notes, &list).ok());
  ExpectCamera(zepcodec::CollectExif(file, list, &notes), {1, 2, 3, 4});
  EXPECT_TRUE(notes.empty());
  for (size_t i = 1; i < list.fields.size(); ++i) {
    EXPECT_LT(list.fields[i - 1].tag, list.fields[i].tag);
  }
}

TEST(Exif, Orientation) {
  for (const ByteOrder order : {ByteOrder::kBig, ByteOrder::kLittle}) {
    Bytes exif = Camera(order);
    EXPECT_EQ(zepcodec::OrientationOfExif(exif), 6);
    zepcodec::SetExifUpright(&exif);
    EXPECT_EQ(zepcodec::OrientationOfExif(exif), 1);
    EXPECT_EQ(exif.size(), Camera(order).size());
    const Bytes turned = zepcodec::WithOrientation(8, exif);
    EXPECT_EQ(zepcodec::OrientationOfExif(turned), 8);
    EXPECT_EQ(ValuesOf(zepcodec::SplitExif(turned), kMake).size(), 6U);
  }
  EXPECT_EQ(zepcodec::OrientationOfExif(zepcodec::WithOrientation(3, {})), 3);
  EXPECT_TRUE(zepcodec::WithOrientation(1, {}).empty()) << "upright is nothing to tell";
  EXPECT_EQ(zepcodec::OrientationOfExif({}), 0);
}

// In memory that ends where the data end: what is damaged is left out, with a byte.
TEST(Exif, EveryByteChangedAndEveryLength) {
  const Bytes whole = Camera(ByteOrder::kLittle);
  const auto read = [](const Bytes& exif) {
    harness::Guarded<uint8_t> memory(exif.size());
    if (!exif.empty()) std::memcpy(memory.data(), exif.data(), exif.size());
    ByteReader file;
    uint32_t first = 0;
    FieldList list;
    Messages notes;
    if (!zepcodec::tiff::OpenTiff(memory.data(), exif.size(), 0, &file, &first)) return size_t{0};
    if (!zepcodec::tiff::ReadFields(file, first, &notes, &list).ok()) return size_t{0};
    const Bytes joined = zepcodec::JoinExif(zepcodec::CollectExif(file, list, &notes));
    for (const zepcodec::Message& note : notes.kept()) {
      EXPECT_GE(note.offset, 0) << note.text;
      EXPECT_LE(note.offset, static_cast<int64_t>(exif.size())) << note.text;
    }
    return joined.size();
  };
  for (size_t i = 0; i < whole.size(); ++i) {
    for (const int value : {0, 1, 74, 255}) {
      Bytes changed = whole;
      changed[i] = static_cast<uint8_t>(value);
      EXPECT_LE(read(changed), 2 * whole.size());
    }
    read(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(i)));
  }
}

// Many fields over the same bytes would take memory without end.
TEST(Exif, SharedValuesTakeNoMoreThanTheFileHas) {
  Hand hand(ByteOrder::kLittle);
  constexpr int kFields = 1000, kShared = 5000;
  hand.Directory(1);
  hand.Field(kExif, 4, 1, 26);
  hand.End();
  hand.Directory(kFields);
  for (int i = 0; i < kFields; ++i) hand.Field(1000 + i, 7, kShared, 100);
  hand.End();
  const std::vector<NewField> fields = zepcodec::SplitExif(hand.bytes);
  size_t bytes = 0;
  for (const NewField& field : fields[0].directory) bytes += field.values.size();
  EXPECT_LE(bytes, hand.bytes.size());
  EXPECT_GE(bytes, static_cast<size_t>(kShared));
}

TEST(Fraction, IsExactWhereItCanBe) {
  const struct {
    double number;
    uint32_t over, under;
  } cases[] = {
      {300, 300, 1}, {0, 0, 1}, {0.5, 1, 2}, {3.937007874015748, 500, 127}, {72.27, 7227, 100}};
  for (const auto& one : cases) {
    const zepcodec::Fraction fraction = zepcodec::ToFraction(one.number, 65535);
    EXPECT_EQ(fraction.over, one.over) << one.number;
    EXPECT_EQ(fraction.under, one.under) << one.number;
  }
  for (const double number : {3.14159265358979, 1e-3, 65534.9, 65535.0, 1e-9}) {
    const zepcodec::Fraction fraction = zepcodec::ToFraction(number, 65535);
    ASSERT_GT(fraction.under, 0U);
    EXPECT_NEAR(static_cast<double>(fraction.over) / fraction.under, number, 1e-4 * number + 1e-4);
  }
}

}  // namespace
