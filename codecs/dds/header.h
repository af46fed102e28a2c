// SPDX-License-Identifier: MIT
// The header of a DDS file: the format of its blocks, and where those of each level lie.
#ifndef ZEPJP_CODECS_DDS_HEADER_H_
#define ZEPJP_CODECS_DDS_HEADER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/dds/pixel_format.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"

namespace zepcodec::dds {

// BC1 to BC3 are also called DXT1, DXT3, DXT5; BC4 and BC5 are ATI1 and ATI2. BC6H has half floats.
// kPixels: pixels without blocks. Those from kBc4Signed on are only read.
enum class BlockFormat {
  kBc1,
  kBc2,
  kBc3,
  kBc4,
  kBc5,
  kBc6hUnsigned,
  kBc6hSigned,
  kBc7,
  kBc4Signed,
  kBc5Signed,
  kPixels
};

constexpr bool HasHalves(BlockFormat format) {
  return format == BlockFormat::kBc6hUnsigned || format == BlockFormat::kBc6hSigned;
}

constexpr bool HasSignedValues(BlockFormat format) {
  return format == BlockFormat::kBc4Signed || format == BlockFormat::kBc5Signed;
}

constexpr bool IsWritten(BlockFormat format) {
  return format <= BlockFormat::kBc7 && !HasHalves(format);
}

// Not of kPixels.
constexpr size_t BlockSize(BlockFormat format) {
  const bool is_small = format == BlockFormat::kBc1 || format == BlockFormat::kBc4 ||
                        format == BlockFormat::kBc4Signed;
  return is_small ? 8 : 16;
}

// How a header names its format: by four characters (DXT1, DXT3, DXT5, ATI1, ATI2), which every
// program knows; by the later names of the two last (BC4U, BC5U); by a number in an extended
// header. BC6H and BC7 have numbers only.
enum class HeaderStyle { kFourCc, kUnsignedFourCc, kDx10 };

struct Header {
  BlockFormat format = BlockFormat::kBc1;
  // Of BC3: Y in the alpha part, Co and Cg as red and green. Marked in a reserved field, which
  // other programs ignore.
  bool is_ycocg = false;
  PixelFormat pixels;             // of kPixels
  bool is_premultiplied = false;  // colours are multiplied by their opacity
  int width = 0;
  int height = 0;
  int64_t depth = 1;     // slices of a volume
  int levels = 1;        // the picture, then each time half the size before
  int64_t pictures = 1;  // faces of a cube, elements of an array; all of one size
  size_t data_offset = 0;

  // What can be seen: pictures and slices.
  int64_t PictureCount() const { return pictures * depth; }
};

struct Level {
  int width;
  int height;
  uint64_t offset;  // in the file, for the first picture and slice
  uint64_t size;    // of a slice
};

constexpr int kMostPixelsOnASide = 1 << 28;  // rows of pixels then have less than 2^31 bytes

// The number of levels down to a single pixel.
int FullLevelCount(int width, int height);
// The levels of the first picture.
std::vector<Level> LevelsOf(const Header& header);

// Refuses files of other formats, and files that hold less than their header announces.
Status ParseHeader(const uint8_t* data, size_t size, Header* header);

// For one picture; `data_offset` is not used.
Status AppendHeader(const Header& header, HeaderStyle style, ByteBuffer* file);

}  // namespace zepcodec::dds

#endif  // ZEPJP_CODECS_DDS_HEADER_H_
