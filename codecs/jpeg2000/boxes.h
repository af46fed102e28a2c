// SPDX-License-Identifier: MIT
// The boxes of a JP2 file around its codestream (ITU-T T.800, Annex I).
#ifndef ZEPJP_CODECS_JPEG2000_BOXES_H_
#define ZEPJP_CODECS_JPEG2000_BOXES_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/image.h"
#include "codecs/support/byte_reader.h"
#include "codecs/support/messages.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// What the boxes say about the components.
struct Boxes {
  struct Palette {
    struct Column {
      int bits;
      bool is_signed;
    };
    std::vector<Column> columns;
    std::vector<int32_t> entries;  // row by row
    size_t Rows() const { return columns.empty() ? 0 : entries.size() / columns.size(); }
  };
  // A channel comes from a component, perhaps through a column of the palette.
  struct Mapping {
    int component;
    bool uses_palette;
    int column;
  };
  struct Definition {
    int channel;
    int type;         // 0 colour, 1 opacity, 2 opacity that was multiplied in, else neither
    int association;  // 0: the whole picture; else the number of a colour from 1 on
  };
  bool is_jp2 = false;
  ByteReader codestream;
  ColorSpace color = ColorSpace::kUnknown;
  int unknown_color = -1;
  LabRange lab;
  Metadata metadata;
  Palette palette;
  std::vector<Mapping> mappings;
  std::vector<Definition> definitions;
};

// Finds the codestream of a file, which may be a codestream itself. Damage that costs samples goes
// to `messages`, damage to metadata to `notes`.
Status ReadBoxes(const uint8_t* data, size_t size, Messages* messages, Messages* notes,
                 Boxes* boxes);

// The component, out of `count`, that each channel of a palette comes from; empty without a
// palette.
std::vector<size_t> PaletteSources(const Boxes& boxes, size_t count);

// Turns decoded components into channels: palette, order, opacity.
void MakeChannels(const Boxes& boxes, Messages* messages, Messages* notes, Image* image);

// The same, with the colour space and the metadata.
void ApplyBoxes(const Boxes& boxes, Messages* messages, Messages* notes, Image* image);

// Writes the boxes in front of a picture's codestream, and the head of the box around that. The box
// goes to the end of the file; its length can be written to the last kBoxHeadSize bytes later.
constexpr size_t kBoxHeadSize = 8;
Status WriteBoxes(const Image& image, std::vector<uint8_t>* bytes);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_BOXES_H_
