// SPDX-License-Identifier: MIT
// Directories of TIFF 6.0, which EXIF data and JPEG XR files have too: lists of fields, each a tag, a
// type, a count, and values that stand in the field itself (up to four bytes) or elsewhere in the file.
#ifndef ZEPJP_CODECS_SUPPORT_FIELDS_H_
#define ZEPJP_CODECS_SUPPORT_FIELDS_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/support/byte_reader.h"
#include "codecs/support/messages.h"
#include "codecs/support/status.h"

namespace zepcodec::tiff {

enum Type : uint16_t {
  kByte = 1,
  kAscii = 2,
  kShort = 3,
  kLong = 4,
  kRational = 5,
  kUndefined = 7,
  kFloat = 11,
};

// Of a value; 0: an unknown type.
size_t BytesOfType(uint16_t type);

// As it stands in a file.
struct Field {
  uint16_t tag;
  uint16_t type;
  uint32_t count;
  ByteReader values;  // all of them; of an unknown type the four bytes of the field
};

class FieldList {
 public:
  // Null: none has this tag.
  const Field* Find(uint16_t tag) const;
  // The first whole numbers of a field; none where it is missing or has another type.
  std::vector<uint32_t> Numbers(uint16_t tag, size_t most) const;
  uint32_t Number(uint16_t tag, uint32_t by_default) const;
  // A positive fraction, float or whole number; 0 where there is none.
  double Real(uint16_t tag) const;
  // The values of a field whose type has one byte; none where it is missing or has another type.
  std::vector<uint8_t> Bytes(uint16_t tag) const;

  std::vector<Field> fields;  // in the order of the file; of equal tags the first
  bool is_cut = false;        // the file ends within the list
  uint32_t next = 0;          // the position of the next directory; 0: none
};

// Opens a TIFF structure: `file` reads it from its first byte in its own order, and `first` is the
// position of its first directory. False: these bytes are none.
bool OpenTiff(const uint8_t* data, size_t size, size_t offset, ByteReader* file, uint32_t* first);

// Reads the directory at a position of a file. A field whose values lie outside is left out, with a
// note.
Status ReadFields(const ByteReader& file, size_t position, Messages* notes, FieldList* list);

// A field to be written, its values in little-endian order.
struct NewField {
  uint16_t tag;
  uint16_t type;
  uint32_t count;
  std::vector<uint8_t> values;
  std::vector<NewField> directory;  // where the value is the position of another directory
};

NewField NumberField(uint16_t tag, Type type, const std::vector<uint32_t>& numbers);
NewField BytesField(uint16_t tag, Type type, const std::vector<uint8_t>& bytes);

// The same field for another file.
NewField CopyOf(const Field& field);

// Appends a directory, then what does not fit into its fields, then the directories below it.
// `bytes` begin at position `begin` of the file, and must have an even size.
void AppendFields(std::vector<NewField> fields, uint64_t begin, std::vector<uint8_t>* bytes);

}  // namespace zepcodec::tiff

#endif  // ZEPJP_CODECS_SUPPORT_FIELDS_H_
