// SPDX-License-Identifier: MIT
// The coefficients of a picture, or of its opacity, on their way between samples and bits.
#ifndef ZEPJP_CODECS_JPEGXR_CODED_PLANE_H_
#define ZEPJP_CODECS_JPEGXR_CODED_PLANE_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "codecs/jpegxr/codestream.h"
#include "codecs/jpegxr/plane.h"

namespace zepcodec::jpegxr {

// A component: samples, which become first-stage coefficients in place, and in a plane of their own
// the DC coefficients of all blocks, on which the second stage works.
struct Component {
  size_t blocks_across = 4;  // of a macroblock
  size_t blocks_down = 4;
  Plane values;
  Plane dcs;

  Window Macroblock(size_t x, size_t y) {
    return values.All().Part(4 * blocks_across * x, 4 * blocks_down * y, 4 * blocks_across,
                             4 * blocks_down);
  }
  Window MacroblockDcs(size_t x, size_t y) {
    return dcs.All().Part(blocks_across * x, blocks_down * y, blocks_across, blocks_down);
  }
};

struct CodedPlane {
  PlaneHeader header;
  std::array<Component, 3> components;

  // With `kept_mb_rows`, a power of two, only that many rows of macroblocks are in memory at a
  // time.
  void Resize(size_t mb_width, size_t mb_height, size_t kept_mb_rows = 0) {
    for (size_t c = 0; c < header.Components(); ++c) {
      Component& component = components[c];
      component.blocks_across = BlocksAcross(header.color, c);
      component.blocks_down = BlocksDown(header.color, c);
      const size_t across = component.blocks_across * mb_width;
      const size_t down = component.blocks_down * mb_height;
      component.values.Resize(4 * across, 4 * down, KeptRows(header, c, kept_mb_rows));
      component.dcs.Resize(across, down);
    }
  }

  // The bytes that Resize() takes.
  static size_t MemoryOf(const PlaneHeader& header, size_t mb_width, size_t mb_height,
                         size_t kept_mb_rows) {
    size_t bytes = 0;
    for (size_t c = 0; c < header.Components(); ++c) {
      const size_t across = BlocksAcross(header.color, c) * mb_width;
      const size_t down = BlocksDown(header.color, c) * mb_height;
      bytes += Plane::MemoryOf(4 * across, 4 * down, KeptRows(header, c, kept_mb_rows)) +
               Plane::MemoryOf(across, down, SIZE_MAX);
    }
    return bytes;
  }

 private:
  static size_t KeptRows(const PlaneHeader& header, size_t c, size_t kept_mb_rows) {
    return kept_mb_rows == 0 ? SIZE_MAX : 4 * BlocksDown(header.color, c) * kept_mb_rows;
  }
};

// The area of a tile, in macroblocks.
struct TileArea {
  size_t x0, y0, x1, y1;

  size_t Width() const { return x1 - x0; }
  size_t Height() const { return y1 - y0; }
};

inline TileArea AreaOfTile(const FrameHeader& frame, size_t tile) {
  const size_t across = frame.columns.size() - 1;
  const size_t column = tile % across, row = tile / across;
  return {frame.columns[column], frame.rows[row], frame.columns[column + 1], frame.rows[row + 1]};
}

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_CODED_PLANE_H_
