// SPDX-License-Identifier: MIT
// An encoder for JPEG 2000 codestreams and JP2 files (ITU-T T.800), put together from the stages in zepjp.h.
//
// Pictures of 1 to 4 components of 1 to 16 bits: without loss by the reversible transforms, or by the
// irreversible ones and a target for the bytes of each quality layer.
#ifndef ZEPJP_CODECS_JPEG2000_ENCODER_H_
#define ZEPJP_CODECS_JPEG2000_ENCODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/image.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

struct EncodeOptions {
  bool is_jp2 = true;  // boxes around the codestream
  // 5/3 wavelet; without it 9/7.
  bool reversible = true;
  // The bytes of the whole file up to and with each quality layer, in rising order; 0: all coding
  // passes. One layer with 0 and `reversible`: without loss.
  std::vector<size_t> layer_bytes = {0};
  int levels = 5;
  int block_width_log2 = 6;
  int block_height_log2 = 6;
  int block_style = 0;  // of BlockStyle
  Progression order = Progression::kLrcp;
  // Of the resolutions from the highest down, the last for all below; empty: no division.
  struct PrecinctSize {
    int width_log2;
    int height_log2;
  };
  std::vector<PrecinctSize> precincts;
  // 0: one tile.
  int tile_width = 0;
  int tile_height = 0;
  int tile_x0 = 0;  // not behind the picture's own
  int tile_y0 = 0;
  bool uses_sop = false;
  bool uses_eph = false;
  // Of the first three components, where they agree in size and depth.
  bool transforms_components = true;
  // Of the irreversible transform: steps for all subbands, or derived from one.
  bool derived_steps = false;
  double base_step = 0.5;  // in samples
  // 0: as many as the machine runs at once. They change the time only.
  int threads = 0;
  // Null: nobody watches.
  Progress* progress = nullptr;
};

// Makes a file.
Status Encode(const Image& image, const EncodeOptions& options, ByteBuffer* file);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_ENCODER_H_
