// SPDX-License-Identifier: MIT
// The directories of TIFF 6.0, which EXIF data and JPEG XR files use too. A directory is a list of
// fields. A field has a tag, a type, a count, and its values: up to four bytes inside the field,
// more elsewhere in the file.
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

// The size of one value; 0: unknown type.
size_t BytesOfType(uint16_t type);

// A field as it was read.
struct Field {
  uint16_t tag;
  uint16_t type;
  uint32_t count;
  ByteReader values;  // all values; for an unknown type the four bytes in the field
};

class FieldList {
 public:
  // The field with this tag; null: none.
  const Field* Find(uint16_t tag) const;
  // The first `most` whole numbers of a field; empty if it is missing or of another type.
  std::vector<uint32_t> Numbers(uint16_t tag, size_t most) const;
  uint32_t Number(uint16_t tag, uint32_t by_default) const;
  // A positive fraction, float or whole number; 0: none.
  double Real(uint16_t tag) const;
  // The values of a field of bytes; empty if it is missing or of another type.
  std::vector<uint8_t> Bytes(uint16_t tag) const;

  std::vector<Field> fields;  // in file order; only the first of each tag
  bool is_cut = false;        // the file ends within the list
  uint32_t next = 0;          // the position of the next directory; 0: none
};

// Reads the header of a TIFF structure. `file` gets its bytes and its byte order, `first` the
// position of the first directory. False: not a TIFF structure.
bool OpenTiff(const uint8_t* data, size_t size, size_t offset, ByteReader* file, uint32_t* first);

// Reads the directory at `position`. A field whose values lie outside the file is left out with a
// note.
Status ReadFields(const ByteReader& file, size_t position, Messages* notes, FieldList* list);

// A field to be written, with little-endian values.
struct NewField {
  uint16_t tag;
  uint16_t type;
  uint32_t count;
  std::vector<uint8_t> values;
  std::vector<NewField> directory;  // instead of values: the directory that the field points to
};

NewField NumberField(uint16_t tag, Type type, const std::vector<uint32_t>& numbers);
NewField BytesField(uint16_t tag, Type type, const std::vector<uint8_t>& bytes);

// A field that was read, ready to be written.
NewField CopyOf(const Field& field);

// Appends a directory, the values that do not fit into its fields, and the directories that it
// points to. `bytes` starts at position `begin` of the file and has an even size.
void AppendFields(std::vector<NewField> fields, uint64_t begin, std::vector<uint8_t>* bytes);

}  // namespace zepcodec::tiff

#endif  // ZEPJP_CODECS_SUPPORT_FIELDS_H_
