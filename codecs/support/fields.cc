// SPDX-License-Identifier: MIT
#include "codecs/support/fields.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstring>
#include <string>

#include "codecs/support/byte_writer.h"

namespace zepcodec::tiff {
namespace {

constexpr size_t kFieldBytes = 12;
constexpr size_t kInlineBytes = 4;

// The size of a value, and of the numbers inside it, which have a byte order.
struct TypeSize {
  uint8_t value;
  uint8_t number;
};
constexpr std::array<TypeSize, 14> kTypeSizes = {{{0, 0},
                                                  {1, 1},
                                                  {1, 1},
                                                  {2, 2},
                                                  {4, 4},
                                                  {8, 4},  // a fraction
                                                  {1, 1},
                                                  {1, 1},
                                                  {2, 2},
                                                  {4, 4},
                                                  {8, 4},  // a fraction with a sign
                                                  {4, 4},
                                                  {8, 8},
                                                  {4, 4}}};

size_t NumberBytes(uint16_t type) { return type < kTypeSizes.size() ? kTypeSizes[type].number : 0; }

// False: the values lie outside the file.
bool ReadField(const ByteReader& file, ByteReader entry, Field* field) {
  field->tag = static_cast<uint16_t>(entry.Word());
  field->type = static_cast<uint16_t>(entry.Word());
  field->count = entry.Long();
  const size_t value_bytes = BytesOfType(field->type);
  const uint64_t bytes = uint64_t{field->count} * value_bytes;
  if (value_bytes == 0 || bytes <= kInlineBytes) {
    field->values = entry.Take(value_bytes == 0 ? kInlineBytes : static_cast<size_t>(bytes));
    return true;
  }
  ByteReader values = file.At(entry.Long());
  if (bytes > values.left()) return false;
  field->values = values.Take(static_cast<size_t>(bytes));
  return true;
}

}  // namespace

size_t BytesOfType(uint16_t type) { return type < kTypeSizes.size() ? kTypeSizes[type].value : 0; }

const Field* FieldList::Find(uint16_t tag) const {
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [tag](const Field& field) { return field.tag == tag; });
  return found == fields.end() ? nullptr : &*found;
}

std::vector<uint32_t> FieldList::Numbers(uint16_t tag, size_t most) const {
  std::vector<uint32_t> numbers;
  const Field* const field = Find(tag);
  if (field == nullptr) return numbers;
  const size_t bytes = BytesOfType(field->type);
  if (bytes == 0 || bytes > 4 || field->type == kAscii || field->type == kFloat) return numbers;
  const size_t count = std::min<size_t>(field->count, most);
  numbers.reserve(count);
  ByteReader values = field->values;
  for (size_t i = 0; i < count; ++i) {
    numbers.push_back(static_cast<uint32_t>(values.Number(bytes)));
  }
  return numbers;
}

uint32_t FieldList::Number(uint16_t tag, uint32_t by_default) const {
  const std::vector<uint32_t> numbers = Numbers(tag, 1);
  return numbers.empty() ? by_default : numbers[0];
}

double FieldList::Real(uint16_t tag) const {
  const Field* const field = Find(tag);
  if (field == nullptr || field->count < 1) return 0;
  ByteReader values = field->values;
  if (field->type == kRational) {
    const double over = values.Long();
    const uint32_t under = values.Long();
    return under == 0 ? 0 : over / under;
  }
  if (field->type == kFloat) {
    const uint32_t bits = values.Long();
    float value;
    std::memcpy(&value, &bits, sizeof(value));
    return value > 0 ? static_cast<double>(value) : 0;
  }
  return Number(tag, 0);
}

std::vector<uint8_t> FieldList::Bytes(uint16_t tag) const {
  const Field* const field = Find(tag);
  if (field == nullptr || BytesOfType(field->type) != 1) return {};
  return {field->values.next(), field->values.next() + field->values.left()};
}

bool OpenTiff(const uint8_t* data, size_t size, size_t offset, ByteReader* file, uint32_t* first) {
  constexpr int kMagic = 42;
  if (size < 8 || data[0] != data[1] || (data[0] != 'I' && data[0] != 'M')) return false;
  *file = ByteReader(data, size, data[0] == 'I' ? ByteOrder::kLittle : ByteOrder::kBig, offset);
  ByteReader header = file->At(2);
  const int magic = header.Word();
  *first = header.Long();
  return magic == kMagic;
}

Status ReadFields(const ByteReader& file, size_t position, Messages* notes, FieldList* list) {
  *list = FieldList();
  ByteReader rest = file.At(position);
  const auto count = static_cast<size_t>(rest.Word());
  if (rest.failed()) return Status::Error("the file ends before its directory");
  std::bitset<65536> has_tag;
  list->fields.reserve(std::min(count, rest.left() / kFieldBytes));
  for (size_t i = 0; i < count; ++i) {
    const size_t offset = rest.offset();
    ByteReader entry = rest.Take(kFieldBytes);
    if (entry.failed()) {
      list->is_cut = true;
      return Status();
    }
    Field field{};
    const bool is_there = ReadField(file, entry, &field);
    if (is_there && !has_tag[field.tag]) list->fields.push_back(field);
    has_tag[field.tag] = has_tag[field.tag] || is_there;
    if (!is_there) {
      notes->AddAt(offset, "the values of field " + std::to_string(field.tag) +
                               " lie outside the file, left out");
    }
  }
  list->next = rest.Long();
  return Status();
}

NewField NumberField(uint16_t tag, Type type, const std::vector<uint32_t>& numbers) {
  NewField field{tag, type, static_cast<uint32_t>(numbers.size()), {}, {}};
  if (type == kRational) field.count /= 2;
  ByteWriter writer(&field.values, ByteOrder::kLittle);
  for (const uint32_t number : numbers) writer.Number(number, NumberBytes(type));
  return field;
}

NewField BytesField(uint16_t tag, Type type, const std::vector<uint8_t>& bytes) {
  return {tag, type, static_cast<uint32_t>(bytes.size()), bytes, {}};
}

NewField CopyOf(const Field& field) {
  NewField copy{field.tag, field.type, field.count, {}, {}};
  ByteReader values = field.values;
  const size_t bytes = NumberBytes(field.type);
  if (bytes <= 1 || values.order() == ByteOrder::kLittle) {
    copy.values.assign(values.next(), values.next() + values.left());
    return copy;
  }
  ByteWriter writer(&copy.values, ByteOrder::kLittle);
  while (values.left() >= bytes) writer.Number(values.Number(bytes), bytes);
  return copy;
}

void AppendFields(std::vector<NewField> fields, uint64_t begin, std::vector<uint8_t>* bytes) {
  std::stable_sort(fields.begin(), fields.end(),
                   [](const NewField& a, const NewField& b) { return a.tag < b.tag; });
  ByteWriter writer(bytes, ByteOrder::kLittle);
  writer.Word(fields.size());
  std::vector<size_t> places;  // of each field's value or position
  for (const NewField& field : fields) {
    writer.Word(field.tag);
    writer.Word(field.type);
    writer.Long(field.count);
    places.push_back(writer.size());
    writer.Long(0);
  }
  writer.Long(0);  // no further directory
  for (size_t i = 0; i < fields.size(); ++i) {
    const NewField& field = fields[i];
    if (!field.directory.empty()) continue;
    if (field.values.size() <= kInlineBytes) {
      std::copy(field.values.begin(), field.values.end(),
                bytes->begin() + static_cast<ptrdiff_t>(places[i]));
      continue;
    }
    writer.Set(places[i], begin + writer.size(), kInlineBytes);
    writer.Bytes(field.values);
    if (writer.size() % 2 != 0) writer.Byte(0);
  }
  for (size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].directory.empty()) continue;
    writer.Set(places[i], begin + writer.size(), kInlineBytes);
    AppendFields(std::move(fields[i].directory), begin, bytes);
  }
}

}  // namespace zepcodec::tiff
