// SPDX-License-Identifier: MIT
// Reads a codestream's marker segments: the main header, then the headers of all tile-parts, with
// the places of their packets.
#ifndef ZEPJP_CODECS_JPEG2000_MARKER_READER_H_
#define ZEPJP_CODECS_JPEG2000_MARKER_READER_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/packet_reader.h"
#include "codecs/support/byte_reader.h"
#include "codecs/support/messages.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// The parts of a tile in the file.
struct TileParts {
  // A segment that changes the parameters of the main header. There can be very many tiles, so each
  // gets its own parameters only while it is decoded.
  struct Change {
    int marker;
    bool starts_volumes;  // the first change of order, in place of those of the main header
    Span content;
  };
  std::vector<Change> changes;
  size_t volumes = 0;  // of packets, with all changes
  std::vector<Span> bodies;
  std::vector<Span> headers;  // packet headers that stand apart
  bool is_present = false;
};

class MarkerReader {
 public:
  // The bytes must outlive the reader.
  MarkerReader(const ByteReader& codestream, Messages* messages, Messages* notes)
      : codestream_(codestream),
        data_(codestream.next()),
        size_(codestream.left()),
        messages_(messages),
        notes_(notes) {}

  // Reads up to the first tile-part.
  Status ReadMainHeader();
  // Reads to the end of the codestream and reports damage.
  void ReadTileParts();

  const SizeSegment& picture_size() const { return picture_size_; }
  const Parameters& parameters() const { return main_; }
  // The parameters of a tile that changes them.
  std::unique_ptr<Parameters> ParametersOf(const TileParts& tile) const;
  const std::vector<TileParts>& tiles() const { return tiles_; }
  // The number of tiles that have parts in the file.
  size_t present_tiles() const { return present_tiles_; }

 private:
  struct TilePart {
    int tile;
    size_t begin;  // of its SOT
    size_t end;
  };
  using Numbered = std::vector<std::pair<int, Span>>;

  Status NextSegment(size_t end, int* marker, ByteReader* segment);
  Status ReadMainSegment(int marker, ByteReader segment);
  Status ReadSize(ByteReader segment);
  Status CheckSize() const;
  Status CheckMain() const;
  // Whether the segment has parameters; those that have something else are skipped, unknown ones
  // with a message.
  bool HasParameters(int marker);
  // Segments that both headers can have.
  Status ReadParameters(int marker, bool in_tile, ByteReader segment, Parameters* parameters) const;
  Status ReadCoding(bool in_tile, ByteReader segment, Parameters* parameters) const;
  Status ReadComponentCoding(bool in_tile, ByteReader segment, Parameters* parameters) const;
  static Status ReadBlockCoding(bool has_precincts, ByteReader* segment, ComponentCoding* coding);
  Status ReadQuantization(bool in_tile, bool one, ByteReader segment, Parameters* parameters) const;
  Status ReadRegion(ByteReader segment, Parameters* parameters) const;
  Status ReadVolumes(ByteReader segment, std::vector<ProgressionVolume>* volumes) const;
  int ReadComponentNumber(ByteReader* segment) const;
  static void AddHeaders(ByteReader segment, Numbered* headers);
  static std::vector<Span> InOrder(Numbered headers);

  // False: no more tile-parts.
  bool FindTilePart(TilePart* part);
  Status ReadTilePart(const TilePart& part);
  Status ReadTileSegment(int marker, ByteReader segment, bool first_volumes, TileParts* tile);
  void TakePackedHeaders(TileParts* tile);

  // The offset in the file, for messages.
  size_t OffsetOf(size_t position) const { return codestream_.offset() + position; }

  ByteReader codestream_;
  const uint8_t* data_;
  size_t size_;
  Messages* messages_;
  Messages* notes_;
  size_t position_ = 0;
  size_t marker_offset_ = 0;  // of the last marker, in the file
  SizeSegment picture_size_;
  Parameters main_;
  Parameters checked_;  // only to find errors in the segments of tiles
  std::vector<TileParts> tiles_;
  Numbered packed_;                      // of all tile-parts, as PPM segments hold them
  std::vector<uint8_t> packed_headers_;  // the same in one piece
  size_t packed_position_ = 0;
  size_t present_tiles_ = 0;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_MARKER_READER_H_
