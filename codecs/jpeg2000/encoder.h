// SPDX-License-Identifier: MIT
// An encoder for JPEG 2000 codestreams and JP2 files (ITU-T T.800), put together from the stages in
// zepjp.h.
//
// It takes 1 to 4 components of 1 to 16 bits: lossless with the reversible transforms, or lossy
// with the irreversible ones and a number of bytes for each quality layer.
#ifndef ZEPJP_CODECS_JPEG2000_ENCODER_H_
#define ZEPJP_CODECS_JPEG2000_ENCODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/image.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/byte_sink.h"
#include "codecs/support/progress.h"
#include "codecs/support/row_source.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

struct EncodeOptions {
  bool is_jp2 = true;  // boxes around the codestream
  // True: the 5/3 wavelet; false: 9/7.
  bool reversible = true;
  // The size of the file up to and including each quality layer, in rising order; 0: all coding
  // passes. One layer with 0 and `reversible` is lossless.
  std::vector<size_t> layer_bytes = {0};
  int levels = 5;
  int block_width_log2 = 6;
  int block_height_log2 = 6;
  int block_style = 0;  // of BlockStyle
  Progression order = Progression::kLrcp;
  // Precincts of the resolutions from the highest down; the last one holds for all below it. Empty:
  // no precincts.
  struct PrecinctSize {
    int width_log2;
    int height_log2;
  };
  std::vector<PrecinctSize> precincts;
  // 0: one tile.
  int tile_width = 0;
  int tile_height = 0;
  int tile_x0 = 0;  // at most the picture's x0
  int tile_y0 = 0;
  bool uses_sop = false;
  bool uses_eph = false;
  // The component transform of the first three components, if these agree in size and depth.
  bool transforms_components = true;
  // Irreversible: true: the steps of all subbands are derived from one; false: all are given.
  bool derived_steps = false;
  double base_step = 0.5;  // in steps of a sample
  // 0: one for each processor. The result is the same.
  int threads = 0;
  // Null: no callback.
  Progress* progress = nullptr;
};

// Encodes the rows of a picture. Without layers of a limited size only a row of tiles is in memory,
// and finished tiles go to the sink, which may be null; `file` gets the rest. The length of a JP2
// file's last box is open if it is not known when the first bytes go to the sink.
Status EncodePicture(RowSource* rows, const EncodeOptions& options, ByteSink* sink,
                     ByteBuffer* file);

// Encodes the components of a picture to a file.
Status Encode(const Image& image, const EncodeOptions& options, ByteBuffer* file);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_ENCODER_H_
