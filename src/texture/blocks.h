// SPDX-License-Identifier: MIT
// The loop over the rows of 4x4 blocks of an image, for kernels that take any number of whole
// blocks. Blocks that reach beyond the right or lower edge go through a tile on the stack: of a
// decoded tile only the pixels inside the image are stored, and a tile to encode repeats the last
// pixels and rows.
#ifndef ZEPJP_SRC_TEXTURE_BLOCKS_H_
#define ZEPJP_SRC_TEXTURE_BLOCKS_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "frame/checks.h"
#include "zepjp.h"

namespace zepjp {

// Kernels for `count` blocks side by side: coded blocks to four rows of pixels, or the reverse.
using DecodeBlocks = void (*)(const uint8_t* src, uint8_t* dst, ptrdiff_t dst_step, size_t count);
using EncodeBlocks = void (*)(const uint8_t* src, ptrdiff_t src_step, uint8_t* dst, size_t count);

// The sizes of pixels and coded blocks in bytes.
template <size_t kPixelBytes, size_t kBlockBytes>
struct TextureLayout {
  static constexpr size_t kPixel = kPixelBytes;
  static constexpr size_t kBlock = kBlockBytes;
  static constexpr size_t kWidth = 4 * kPixelBytes;  // a row of a block
};
using Dxt1 = TextureLayout<4, 8>;
using Dxt = TextureLayout<4, 16>;  // DXT3 and DXT5
using Bc4 = TextureLayout<1, 8>;
using Bc5 = TextureLayout<2, 16>;

// The size of the tile for blocks at an edge.
constexpr size_t kTileBlocks = 16;

// Decodes a row of blocks through the tile, and stores the pixel rows `first` to `last` - 1.
template <class Layout>
void DecodeThroughTile(DecodeBlocks decode, const uint8_t* src, uint8_t* dst, ptrdiff_t step,
                       size_t width, size_t first, size_t last) {
  constexpr size_t kStep = kTileBlocks * Layout::kWidth;
  uint8_t tile[4 * kStep];
  for (size_t x = 0; x < width; x += 4 * kTileBlocks) {
    const size_t pixels = std::min(width - x, 4 * kTileBlocks);
    decode(src + x / 4 * Layout::kBlock, tile, kStep, (pixels + 3) / 4);
    for (size_t y = first; y < last; ++y) {
      std::memcpy(dst + static_cast<ptrdiff_t>(y) * step + x * Layout::kPixel, tile + y * kStep,
                  pixels * Layout::kPixel);
    }
  }
}

template <class Layout>
void DecodeTexture(DecodeBlocks decode, const uint8_t* src, uint8_t* dst, int32_t dst_step,
                   zepiSize size) {
  const auto width = static_cast<size_t>(size.width), height = static_cast<size_t>(size.height);
  const ptrdiff_t step = dst_step;
  const bool rows_overlap =
      std::abs(int64_t{dst_step}) < int64_t{size.width} * int64_t{Layout::kPixel};
  const size_t columns = (width + 3) / 4;
  for (size_t y = 0; y < height; y += 4, src += columns * Layout::kBlock) {
    const size_t rows = std::min<size_t>(height - y, 4);
    uint8_t* const to = dst + static_cast<ptrdiff_t>(y) * step;
    if (rows_overlap) {  // row by row, because later rows must overwrite earlier ones
      for (size_t i = 0; i < rows; ++i) {
        DecodeThroughTile<Layout>(decode, src, to, step, width, i, i + 1);
      }
      continue;
    }
    const size_t whole = rows == 4 ? width / 4 : 0;
    if (whole != 0) decode(src, to, step, whole);
    DecodeThroughTile<Layout>(decode, src + whole * Layout::kBlock, to + whole * Layout::kWidth,
                              step, width - 4 * whole, 0, rows);
  }
}

template <class Layout>
zepStatus CheckAndDecode(DecodeBlocks decode, const uint8_t* src, uint8_t* dst, int32_t step,
                         zepiSize size) {
  if (auto bad =
          Checks().Ptr(src).Ptr(dst).Refuse(step == 0, zepStatusBadStep).Size(size).Failed()) {
    return bad;
  }
  DecodeTexture<Layout>(decode, src, dst, step, size);
  return zepStatusOk;
}

// Copies `rows` rows of `width` pixels to the tile, repeats the last pixels and rows up to whole
// blocks, and encodes the tile.
template <class Layout, class Encode>
void EncodeThroughTile(const Encode& encode, const uint8_t* src, ptrdiff_t step, size_t width,
                       size_t rows, uint8_t* dst) {
  constexpr size_t kStep = kTileBlocks * Layout::kWidth;
  uint8_t tile[4 * kStep];
  for (size_t x = 0; x < width; x += 4 * kTileBlocks) {
    const size_t pixels = std::min(width - x, 4 * kTileBlocks);
    const size_t blocks = (pixels + 3) / 4;
    for (size_t y = 0; y < 4; ++y) {
      const auto source_row = static_cast<ptrdiff_t>(std::min(y, rows - 1));
      uint8_t* const to = tile + y * kStep;
      std::memcpy(to, src + source_row * step + x * Layout::kPixel, pixels * Layout::kPixel);
      for (size_t i = pixels; i < 4 * blocks; ++i) {
        std::memcpy(to + i * Layout::kPixel, to + (pixels - 1) * Layout::kPixel, Layout::kPixel);
      }
    }
    encode(tile, kStep, dst + x / 4 * Layout::kBlock, blocks);
  }
}

template <class Layout, class Encode>
void EncodeTexture(const Encode& encode, const uint8_t* src, int32_t src_step, zepiSize size,
                   uint8_t* dst) {
  const auto width = static_cast<size_t>(size.width), height = static_cast<size_t>(size.height);
  const ptrdiff_t step = src_step;
  const size_t columns = (width + 3) / 4;
  for (size_t y = 0; y < height; y += 4, dst += columns * Layout::kBlock) {
    const size_t rows = std::min<size_t>(height - y, 4);
    const uint8_t* const from = src + static_cast<ptrdiff_t>(y) * step;
    const size_t whole = rows == 4 ? width / 4 : 0;
    if (whole != 0) encode(from, step, dst, whole);
    EncodeThroughTile<Layout>(encode, from + whole * Layout::kWidth, step, width - 4 * whole, rows,
                              dst + whole * Layout::kBlock);
  }
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_TEXTURE_BLOCKS_H_
