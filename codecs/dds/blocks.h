// SPDX-License-Identifier: MIT
// Rows of blocks and their pixels.
#ifndef ZEPJP_CODECS_DDS_BLOCKS_H_
#define ZEPJP_CODECS_DDS_BLOCKS_H_

#include <cstddef>
#include <cstdint>

#include "codecs/dds/header.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::dds {

// How pixels are coded.
struct Coding {
  BlockFormat format = BlockFormat::kBc1;
  bool is_ycocg = false;
  int bc7_mode = 0;               // for the encoder
  PixelFormat pixels;             // of kPixels
  bool is_premultiplied = false;  // colours are divided by their opacity
};
Coding CodingOf(const Header& header);

// Bytes of a row of blocks.
inline size_t BlockRowBytes(BlockFormat format, int width) {
  return (static_cast<size_t>(width) + 3) / 4 * BlockSize(format);
}

// The same of any format: four rows of pixels without blocks are taken for a row of blocks.
inline size_t StoredRowBytes(const Coding& coding, int width) {
  if (coding.format != BlockFormat::kPixels) return BlockRowBytes(coding.format, width);
  return 4 * static_cast<size_t>(width) * static_cast<size_t>(coding.pixels.bytes);
}
// From the left border to a column, rounded down to whole blocks.
inline size_t StoredOffset(const Coding& coding, int x) {
  const auto column = static_cast<size_t>(x) / 4;
  if (coding.format != BlockFormat::kPixels) return column * BlockSize(coding.format);
  return 4 * column * static_cast<size_t>(coding.pixels.bytes);
}

// Makes blocks of rows of pixels. Each thread has its own.
class BlockEncoder {
 public:
  explicit BlockEncoder(const Coding& coding) : coding_(coding) {}

  // Pixels of another layout than LayoutOf() tells are converted.
  Status Encode(const Picture& rows, uint8_t* blocks);

 private:
  Status EncodeLayout(const Picture& rows, uint8_t* blocks);
  void FillScratch(const Picture& rows);

  Coding coding_;
  Picture converted_;
  ByteBuffer scratch_;  // pixels as the stage wants them
};

// Some rows of blocks of a level.
struct BlockRows {
  const uint8_t* first;
  size_t row_bytes;
};

// Makes pixels of blocks. Each thread has its own.
class BlockDecoder {
 public:
  explicit BlockDecoder(const Coding& coding) : coding_(coding), reader_(coding.pixels) {}

  // The most memory of a decoder for pictures of this width.
  static size_t MemoryOf(const Coding& coding, int width);

  // Fills `count` rows of the picture from row `y` on. `left` columns and `top` rows of the first
  // blocks are left out.
  Status Decode(const BlockRows& blocks, int left, int top, int y, int count, Picture* image);

 private:
  Status DecodeBlocks(const BlockRows& blocks, int left, int top, int y, int count, Picture* image);
  void ReadPixels(const BlockRows& rows, int left, int top, int y, int count, Picture* image) const;
  Status DecodeBands(const BlockRows& blocks, int y, int count, Picture* image);
  Status DecodePixels(const uint8_t* blocks, int width, int height, uint8_t* pixels);
  Status DecodeStage(const uint8_t* blocks, int width, int height, uint8_t* pixels) const;

  Coding coding_;
  PixelReader reader_;
  ByteBuffer row_;      // pixels of a row of blocks
  ByteBuffer scratch_;  // pixels as the stage makes them
};

}  // namespace zepcodec::dds

#endif  // ZEPJP_CODECS_DDS_BLOCKS_H_
