// SPDX-License-Identifier: MIT
// An encoder for JPEG XR files (ITU-T T.832), put together from the stages in zepjp.h.
//
// It takes grey and RGB pictures with 8, 16 and 32-bit samples and floats, lossless or quantized.
#ifndef ZEPJP_CODECS_JPEGXR_ENCODER_H_
#define ZEPJP_CODECS_JPEGXR_ENCODER_H_

#include <cstdint>

#include "codecs/jpegxr/codestream.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/byte_sink.h"
#include "codecs/support/progress.h"
#include "codecs/support/row_source.h"
#include "codecs/support/status.h"

namespace zepcodec::jpegxr {

struct EncodeOptions {
  // Without quantization; `shift`, `mantissa` and halved chroma can still lose something. Then
  // `quality` is not used.
  bool lossless = true;
  int quality = 90;  // 1 to 100
  // A quantizer index, 1 to 255, instead of the quality; 0: the quality decides.
  int quantizer = 0;
  // Pictures and hard tiles that are at most 16 samples wide get the first stage only if their
  // chroma is halved.
  Overlap overlap = Overlap::kFirst;
  ColorFormat color = ColorFormat::k444;  // for RGB pictures
  Bands bands = Bands::kAll;
  bool is_frequency_order = false;
  // In samples, multiples of 16; 0: one tile.
  int tile_width = 0;
  int tile_height = 0;
  bool has_hard_tiles = false;
  int trim = 0;  // refinement bits that are left out, 0 to 15
  // Low bits of wide integers that are not coded. 32-bit samples need it: the transforms have room
  // for 25 bits and a sign.
  int shift = 0;
  // For floats: bits of the mantissa, and the bias of the exponent.
  int mantissa = 13;
  int exponent_bias = 4;
  // 0: one for each processor. The result is the same.
  int threads = 0;
  // Null: no callback.
  Progress* progress = nullptr;
  // Takes the bytes of the file when all are made; null: `file` collects them.
  ByteSink* sink = nullptr;
};

// Encodes a picture without opacity to a file. Some rows of macroblocks of it are in memory at a
// time, or some rows of tiles if there are fewer tiles side by side than threads.
Status Encode(RowSource* rows, const EncodeOptions& options, ByteBuffer* file);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_ENCODER_H_
