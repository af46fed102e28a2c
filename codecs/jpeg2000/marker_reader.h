// SPDX-License-Identifier: MIT
// Reads a codestream's marker segments: the main header, then the headers of all tile-parts, with the
// places of their packets.
#ifndef ZEPJP_CODECS_JPEG2000_MARKER_READER_H_
#define ZEPJP_CODECS_JPEG2000_MARKER_READER_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/packet_reader.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// What the file has of a tile.
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
  MarkerReader(const uint8_t* data, size_t size, Messages* messages, Messages* notes)
      : data_(data), size_(size), messages_(messages), notes_(notes) {}

  // Up to the first tile-part.
  Status ReadMainHeader();
  // To the end of the codestream; what is damaged gets a message.
  void ReadTileParts();

  const SizeSegment& picture_size() const { return picture_size_; }
  const Parameters& parameters() const { return main_; }
  // Of a tile that changes them.
  std::unique_ptr<Parameters> ParametersOf(const TileParts& tile) const;
  const std::vector<TileParts>& tiles() const { return tiles_; }
  // How many tiles the file has something of.
  size_t present_tiles() const { return present_tiles_; }

 private:
  // The bytes of a segment behind its length; reading past the end sets `failed` and gives 0.
  struct Cursor {
    const uint8_t* next;
    const uint8_t* end;
    bool failed = false;

    size_t left() const { return static_cast<size_t>(end - next); }
    int Byte() {
      if (next == end) {
        failed = true;
        return 0;
      }
      return *next++;
    }
    int Word() {
      const int high = Byte();
      return high << 8 | Byte();
    }
    uint32_t Long() {
      const auto high = static_cast<uint32_t>(Word());
      return high << 16 | static_cast<uint32_t>(Word());
    }
  };
  struct TilePart {
    int tile;
    size_t begin;  // of its SOT
    size_t end;
  };
  using Numbered = std::vector<std::pair<int, Span>>;

  Status NextSegment(size_t end, int* marker, Cursor* cursor);
  Status ReadMainSegment(int marker, Cursor cursor);
  Status ReadSize(Cursor cursor);
  Status CheckSize() const;
  Status CheckMain() const;
  // Whether the segment has parameters; those that have something else are skipped, unknown ones
  // with a message.
  bool HasParameters(int marker);
  // Segments that both headers can have.
  Status ReadParameters(int marker, bool in_tile, Cursor cursor, Parameters* parameters) const;
  Status ReadCoding(bool in_tile, Cursor cursor, Parameters* parameters) const;
  Status ReadComponentCoding(bool in_tile, Cursor cursor, Parameters* parameters) const;
  static Status ReadBlockCoding(bool has_precincts, Cursor* cursor, ComponentCoding* coding);
  Status ReadQuantization(bool in_tile, bool one, Cursor cursor, Parameters* parameters) const;
  Status ReadRegion(Cursor cursor, Parameters* parameters) const;
  Status ReadVolumes(Cursor cursor, std::vector<ProgressionVolume>* volumes) const;
  int ReadComponentNumber(Cursor* cursor) const;
  static void AddHeaders(Cursor cursor, Numbered* headers);
  static std::vector<Span> InOrder(Numbered headers);

  // False: no more tile-parts.
  bool FindTilePart(TilePart* part);
  Status ReadTilePart(const TilePart& part);
  Status ReadTileSegment(int marker, Cursor cursor, bool first_volumes, TileParts* tile);
  void TakePackedHeaders(TileParts* tile);

  const uint8_t* data_;
  size_t size_;
  Messages* messages_;
  Messages* notes_;
  size_t position_ = 0;
  SizeSegment picture_size_;
  Parameters main_;
  Parameters checked_;  // where segments of tiles are read to for their errors alone
  std::vector<TileParts> tiles_;
  Numbered packed_;                      // of all tile-parts, as PPM segments hold them
  std::vector<uint8_t> packed_headers_;  // the same in one piece
  size_t packed_position_ = 0;
  size_t present_tiles_ = 0;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_MARKER_READER_H_
