// SPDX-License-Identifier: MIT
// Writes a codestream's marker segments.
#ifndef ZEPJP_CODECS_JPEG2000_MARKER_WRITER_H_
#define ZEPJP_CODECS_JPEG2000_MARKER_WRITER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/codestream.h"

namespace zepcodec::jpeg2000 {

constexpr size_t kTilePartHeaderSize = 14;
constexpr size_t kStartMarkerSize = 6;
constexpr size_t kHeaderEndSize = 2;

void WriteMainHeader(const SizeSegment& size, const Parameters& parameters,
                     std::vector<uint8_t>* bytes);
// The header of a tile's only part. `size`: with this header; 0: the part goes to the end of the
// file.
void WriteTilePartHeader(int tile, size_t size, std::vector<uint8_t>* bytes);
// Precedes the packet of this number.
void WriteStartMarker(int64_t packet, std::vector<uint8_t>* bytes);
void WriteMarker(int marker, std::vector<uint8_t>* bytes);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_MARKER_WRITER_H_
