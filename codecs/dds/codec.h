// SPDX-License-Identifier: MIT
// Textures in DDS files, encoded and decoded by the functions of zepjp.h.
#ifndef ZEPJP_CODECS_DDS_CODEC_H_
#define ZEPJP_CODECS_DDS_CODEC_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/dds/header.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"

namespace zepcodec::dds {

// The pixels that blocks are made of and decoded to. BC5 holds R and G of an RGB picture; B is 0.
constexpr PixelLayout LayoutOf(BlockFormat format, bool is_ycocg) {
  if (format == BlockFormat::kBc4) return PixelLayout::kGrey;
  if (format == BlockFormat::kBc5 || is_ycocg || HasHalves(format)) return PixelLayout::kRgb;
  return PixelLayout::kRgba;
}

struct EncodeOptions {
  BlockFormat format = BlockFormat::kBc1;
  bool is_ycocg = false;  // with kBc3
  bool has_mipmaps = false;
  HeaderStyle style = HeaderStyle::kFourCc;
  int bc7_mode = -1;  // as zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R() has it
  int threads = 1;    // for BC7; 0: one for each processor
  // Reports progress and can cancel; null: neither.
  Progress* progress = nullptr;
};

// Makes a file of a picture of the layout that LayoutOf() tells. There is no encoder for BC6H.
Status Encode(const Picture& image, const EncodeOptions& options, ByteBuffer* file);

// A level of the first picture, BC6H as half floats; level 0 is the picture itself. Pictures of
// more pixels are refused, and files that hold less than their header announces, before memory is
// taken.
Status Decode(const uint8_t* data, size_t size, int64_t max_pixels, int level, Picture* image,
              Header* header);

}  // namespace zepcodec::dds

#endif  // ZEPJP_CODECS_DDS_CODEC_H_
