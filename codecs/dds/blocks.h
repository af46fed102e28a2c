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
  BlockFormat format;
  bool is_ycocg;
  int bc7_mode;  // for the encoder
};

// Bytes of a row of blocks.
inline size_t BlockRowBytes(BlockFormat format, int width) {
  return (static_cast<size_t>(width) + 3) / 4 * BlockSize(format);
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
  explicit BlockDecoder(const Coding& coding) : coding_(coding) {}

  // The most memory of a decoder for pictures of this width.
  static size_t MemoryOf(const Coding& coding, int width);

  // Fills `count` rows of the picture from row `y` on. `left` columns and `top` rows of the first
  // blocks are left out.
  Status Decode(const BlockRows& blocks, int left, int top, int y, int count, Picture* image);

 private:
  Status DecodeBands(const BlockRows& blocks, int y, int count, Picture* image);
  Status DecodePixels(const uint8_t* blocks, int width, int height, uint8_t* pixels);
  Status DecodeStage(const uint8_t* blocks, int width, int height, uint8_t* pixels) const;

  Coding coding_;
  ByteBuffer row_;      // pixels of a row of blocks
  ByteBuffer scratch_;  // pixels as the stage makes them
};

}  // namespace zepcodec::dds

#endif  // ZEPJP_CODECS_DDS_BLOCKS_H_
