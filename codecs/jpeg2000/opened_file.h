// SPDX-License-Identifier: MIT
// A file whose headers were read and checked.
#ifndef ZEPJP_CODECS_JPEG2000_OPENED_FILE_H_
#define ZEPJP_CODECS_JPEG2000_OPENED_FILE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "codecs/jpeg2000/boxes.h"
#include "codecs/jpeg2000/decoder.h"
#include "codecs/jpeg2000/marker_reader.h"
#include "codecs/jpeg2000/tile_decoder.h"

namespace zepcodec::jpeg2000 {

struct OpenedFile {
  Boxes boxes;
  std::optional<MarkerReader> reader;

  const SizeSegment& size() const { return reader->picture_size(); }
  // The area of a component on the reduced grid.
  Rect AreaOf(size_t component, int reduce) const;
};

// Reads up to the first tile-part.
Status Open(const uint8_t* data, size_t size, FileInfo* info, OpenedFile* file);

// Checks the options, and that the picture is not too large for them and for the file.
Status Check(const OpenedFile& file, const DecodeOptions& options);

// The components without samples, with the sizes of the whole picture.
void MakeComponents(const OpenedFile& file, int reduce, Image* image);

// The picture without samples, as the boxes tell it.
void MakeForm(const OpenedFile& file, int reduce, Messages* messages, Messages* notes, Image* form);

// Adds the reports of the tiles to the messages and notes.
void TakeReports(const std::vector<TileReport>& reports, FileInfo* info);

// Decodes all tiles that meet the wanted areas. Those are the image's components, in this order.
Status DecodeTiles(const OpenedFile& file, const Wanted& wanted, ThreadPool* pool,
                   Progress* progress, FileInfo* info, Image* image);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_OPENED_FILE_H_
