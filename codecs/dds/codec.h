// SPDX-License-Identifier: MIT
// Textures in DDS files, encoded and decoded by the functions of zepjp.h.
#ifndef ZEPJP_CODECS_DDS_CODEC_H_
#define ZEPJP_CODECS_DDS_CODEC_H_

#include <cstddef>
#include <cstdint>

#include "codecs/dds/header.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/byte_sink.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/region.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/row_source.h"
#include "codecs/support/status.h"

namespace zepcodec::dds {

// The pixels that blocks are made of and decoded to. BC5 holds R and G of an RGB picture; B is 0.
constexpr PixelLayout LayoutOf(BlockFormat format, bool is_ycocg) {
  switch (format) {
    case BlockFormat::kBc4:
    case BlockFormat::kBc4Signed: return PixelLayout::kGrey;
    case BlockFormat::kBc5:
    case BlockFormat::kBc5Signed:
    case BlockFormat::kBc6hUnsigned:
    case BlockFormat::kBc6hSigned: return PixelLayout::kRgb;
    default: return is_ycocg ? PixelLayout::kRgb : PixelLayout::kRgba;
  }
}

// What Decode() makes of a file.
inline PixelFormat ResultOf(const Header& header) {
  PixelFormat result = header.pixels;
  if (header.format == BlockFormat::kPixels) return result;
  result.layout = LayoutOf(header.format, header.is_ycocg);
  result.type = HasHalves(header.format) ? SampleType::kF16 : SampleType::kU8;
  result.bits = 8 * BytesOf(result.type);
  return result;
}

struct EncodeOptions {
  BlockFormat format = BlockFormat::kBc1;
  bool is_ycocg = false;  // with kBc3
  bool has_mipmaps = false;
  HeaderStyle style = HeaderStyle::kFourCc;
  int bc7_mode = -1;  // as zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R() has it
  int threads = 1;    // 0: one for each processor
  // Reports progress and can cancel; null: neither.
  Progress* progress = nullptr;
  // Takes the bytes of the file while it is made; null: `file` collects them.
  ByteSink* sink = nullptr;
};

// Makes a file of a picture of unsigned samples; pixels are converted to the layout that LayoutOf()
// tells. A picture with more channels than the format is unsupported. With mipmaps the whole
// picture is in memory, else some bands of rows. There is no encoder for BC6H, signed
// values and pixels without blocks.
Status Encode(RowSource* rows, const EncodeOptions& options, ByteBuffer* file);

struct DecodeOptions {
  int64_t max_pixels = int64_t{1} << 28;  // files that claim more are refused
  int level = 0;                          // 0 is the picture itself
  int threads = 1;                        // 0: one for each processor
  // Reports progress and can cancel; null: neither.
  Progress* progress = nullptr;
  WantedRegion region;
  // Takes bands of rows instead of the picture; null: no.
  RowSink* rows = nullptr;
};

// A level of the first picture, or a region of it, BC6H as half floats. Colours that are multiplied
// by their opacity are divided by it, except floats. Pictures of more pixels are
// refused, and files that hold less than their header announces, before memory is taken.
Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* image,
              Header* header);

// The memory that Decode() takes for a file with this header.
int64_t MemoryToDecode(const Header& header, const DecodeOptions& options);

}  // namespace zepcodec::dds

#endif  // ZEPJP_CODECS_DDS_CODEC_H_
