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

// The area of a tile, or of some part of the picture, in macroblocks.
struct TileArea {
  size_t x0, y0, x1, y1;

  size_t Width() const { return x1 - x0; }
  size_t Height() const { return y1 - y0; }
};

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
  Window Values(const TileArea& area) {
    return values.All().Part(4 * blocks_across * area.x0, 4 * blocks_down * area.y0,
                             4 * blocks_across * area.Width(), 4 * blocks_down * area.Height());
  }
  Window Dcs(const TileArea& area) {
    return dcs.All().Part(blocks_across * area.x0, blocks_down * area.y0,
                          blocks_across * area.Width(), blocks_down * area.Height());
  }
  Window MacroblockDcs(size_t x, size_t y) {
    return dcs.All().Part(blocks_across * x, blocks_down * y, blocks_across, blocks_down);
  }
};

struct CodedPlane {
  PlaneHeader header;
  std::array<Component, 3> components;

  // Only `kept_mb_rows` rows of macroblocks, a power of two, are in memory at a time.
  void Resize(size_t mb_width, size_t mb_height, size_t kept_mb_rows) {
    for (size_t c = 0; c < header.Components(); ++c) {
      Component& component = components[c];
      component.blocks_across = BlocksAcross(header.color, c);
      component.blocks_down = BlocksDown(header.color, c);
      const size_t across = component.blocks_across * mb_width;
      const size_t down = component.blocks_down * mb_height;
      const size_t kept = component.blocks_down * kept_mb_rows;
      component.values.Resize(4 * across, 4 * down, 4 * kept);
      component.dcs.Resize(across, down, kept);
    }
  }

  // The bytes that Resize() takes.
  static uint64_t MemoryOf(const PlaneHeader& header, size_t mb_width, size_t mb_height,
                           size_t kept_mb_rows) {
    uint64_t bytes = 0;
    for (size_t c = 0; c < header.Components(); ++c) {
      const size_t across = BlocksAcross(header.color, c) * mb_width;
      const size_t down = BlocksDown(header.color, c) * mb_height;
      const size_t kept = BlocksDown(header.color, c) * kept_mb_rows;
      bytes +=
          Plane::MemoryOf(4 * across, 4 * down, 4 * kept) + Plane::MemoryOf(across, down, kept);
    }
    return bytes;
  }
};

inline TileArea AreaOfTile(const FrameHeader& frame, size_t tile) {
  const size_t across = frame.columns.size() - 1;
  const size_t column = tile % across, row = tile / across;
  return {frame.columns[column], frame.rows[row], frame.columns[column + 1], frame.rows[row + 1]};
}

// The whole frame.
inline TileArea AreaOf(const FrameHeader& frame) {
  return {0, 0, frame.MbWidth(), frame.MbHeight()};
}

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_CODED_PLANE_H_
