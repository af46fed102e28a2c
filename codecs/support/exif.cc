// SPDX-License-Identifier: MIT
#include "codecs/support/exif.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "codecs/support/byte_order.h"

namespace zepcodec {
namespace {

using tiff::Field;
using tiff::FieldList;
using tiff::NewField;

constexpr uint16_t kExifTag = 34665, kGpsTag = 34853, kInteroperabilityTag = 40965;

// Fields of the picture that describe where it comes from, not how its samples are stored: title,
// maker, model, orientation, software, date, artist, computer, rating, copyright, and the Unicode
// forms of title, comment, author, keywords and subject.
constexpr uint16_t kDescriptive[] = {270,   271,   272,   kOrientationTag, 305,   306,   315,
                                     316,   18246, 18249, 33432,           40091, 40092, 40093,
                                     40094, 40095};

bool IsDescriptive(uint16_t tag) {
  return std::find(std::begin(kDescriptive), std::end(kDescriptive), tag) != std::end(kDescriptive);
}

class Collector {
 public:
  Collector(const ByteReader& file, Messages* notes)
      : file_(file), notes_(notes), bytes_left_(file.At(0).left()) {}

  std::vector<NewField> Collect(const FieldList& main) {
    std::vector<NewField> fields;
    for (const Field& field : main.fields) {
      if (field.tag == kExifTag || field.tag == kGpsTag) {
        AddDirectory(field, &fields);
      } else if (IsDescriptive(field.tag)) {
        Add(field, &fields);
      }
    }
    return fields;
  }

 private:
  // Only interoperability can follow below, so the depth is bounded.
  void AddDirectory(const Field& pointer, std::vector<NewField>* fields) {
    FieldList list;
    const bool is_pointer = pointer.type == tiff::kLong || pointer.type == kDirectoryType;
    if (!is_pointer || pointer.count != 1) return Drop(pointer);
    ByteReader position = pointer.values;
    const Status status = tiff::ReadFields(file_, position.Long(), notes_, &list);
    if (!status.ok()) return Drop(pointer);
    NewField directory{pointer.tag, tiff::kLong, 1, {}, {}};
    for (const Field& field : list.fields) {
      if (field.tag == kInteroperabilityTag && pointer.tag == kExifTag) {
        AddDirectory(field, &directory.directory);
      } else {
        Add(field, &directory.directory);
      }
    }
    if (!directory.directory.empty()) fields->push_back(std::move(directory));
  }

  // In an undamaged file no two fields share bytes. Copies are limited to the size of the file,
  // since shared values could make them much larger.
  void Add(const Field& field, std::vector<NewField>* fields) {
    const size_t bytes = field.values.left();
    if (bytes > bytes_left_) return Drop(field);
    bytes_left_ -= bytes;
    fields->push_back(tiff::CopyOf(field));
  }

  void Drop(const Field& field) {
    notes_->AddAt(field.values.offset(),
                  "field " + std::to_string(field.tag) + " of the EXIF data is damaged, left out");
  }

  static constexpr uint16_t kDirectoryType = 13;

  const ByteReader& file_;
  Messages* notes_;
  size_t bytes_left_;
};

bool ReadFirstDirectory(const std::vector<uint8_t>& exif, ByteReader* file, FieldList* list,
                        Messages* notes) {
  uint32_t first = 0;
  return tiff::OpenTiff(exif.data(), exif.size(), 0, file, &first) &&
         tiff::ReadFields(*file, first, notes, list).ok();
}

// The value of the orientation; failed() if there is none.
ByteReader FindOrientation(const std::vector<uint8_t>& exif) {
  ByteReader file;
  FieldList list;
  Messages ignored;
  const Field* field = nullptr;
  if (ReadFirstDirectory(exif, &file, &list, &ignored)) field = list.Find(kOrientationTag);
  if (field == nullptr || field->type != tiff::kShort || field->count < 1) {
    return ByteReader().At(1);
  }
  return field->values;
}

}  // namespace

std::vector<NewField> CollectExif(const ByteReader& file, const FieldList& main, Messages* notes) {
  return Collector(file, notes).Collect(main);
}

std::vector<NewField> SplitExif(const std::vector<uint8_t>& exif) {
  ByteReader file;
  FieldList list;
  Messages ignored;
  if (!ReadFirstDirectory(exif, &file, &list, &ignored)) return {};
  return CollectExif(file, list, &ignored);
}

std::vector<uint8_t> JoinExif(const std::vector<NewField>& fields) {
  const bool says_nothing = std::all_of(fields.begin(), fields.end(), [](const NewField& field) {
    return field.tag == kOrientationTag && !field.values.empty() && field.values[0] == 1;
  });
  if (says_nothing) return {};
  std::vector<uint8_t> exif = {'I', 'I', 42, 0, 8, 0, 0, 0};
  tiff::AppendFields(fields, 0, &exif);
  return exif;
}

int OrientationOfExif(const std::vector<uint8_t>& exif) {
  const int orientation = FindOrientation(exif).Word();
  return orientation >= 1 && orientation <= 8 ? orientation : 0;
}

void SetExifUpright(std::vector<uint8_t>* exif) {
  const ByteReader found = FindOrientation(*exif);
  if (!found.failed()) StoreNumber(found.order(), 1, 2, exif->data() + found.offset());
}

int TakeOrientation(std::vector<NewField>* fields) {
  const auto found = std::find_if(fields->begin(), fields->end(), [](const NewField& field) {
    return field.tag == kOrientationTag;
  });
  if (found == fields->end()) return 0;
  ByteReader value(found->values.data(), found->values.size(), ByteOrder::kLittle);
  const int orientation = found->type == tiff::kShort ? value.Word() : 0;
  fields->erase(found);
  return orientation >= 1 && orientation <= 8 ? orientation : 0;
}

void SetOrientation(int orientation, std::vector<NewField>* fields) {
  TakeOrientation(fields);
  fields->push_back(
      tiff::NumberField(kOrientationTag, tiff::kShort, {static_cast<uint32_t>(orientation)}));
}

std::vector<uint8_t> WithOrientation(int orientation, const std::vector<uint8_t>& exif) {
  std::vector<NewField> fields = SplitExif(exif);
  SetOrientation(orientation, &fields);
  return JoinExif(fields);
}

}  // namespace zepcodec
