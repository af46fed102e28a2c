// SPDX-License-Identifier: MIT
// An encoder for JPEG XR files (ITU-T T.832), put together from the stages in zepjp.h.
//
// Grey and RGB pictures of 8, 16 and 32 bits and of floats: without loss, or quantized.
#ifndef ZEPJP_CODECS_JPEGXR_ENCODER_H_
#define ZEPJP_CODECS_JPEGXR_ENCODER_H_

#include <cstdint>

#include "codecs/jpegxr/codestream.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/parallel.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"

namespace zepcodec::jpegxr {

struct EncodeOptions {
  // Without loss, but for what `shift`, `mantissa` and halved chroma leave out; it fills the quality.
  bool lossless = true;
  int quality = 90;  // 1 to 100
  // A quantizer index, 1 to 255, in place of the quality.
  int quantizer = 0;
  // Pictures (and hard tiles) of up to 16 samples across that have halved chroma get the first stage only.
  Overlap overlap = Overlap::kFirst;
  ColorFormat color = ColorFormat::k444;  // of RGB pictures
  Bands bands = Bands::kAll;
  bool is_frequency_order = false;
  // In samples, multiples of 16; 0: one tile.
  int tile_width = 0;
  int tile_height = 0;
  bool has_hard_tiles = false;
  int trim = 0;  // refinement bits that are left out, 0 to 15
  // Low bits of wide integers that are not coded. 32 bits need some: 25 bits and a sign are what the
  // transforms have room for.
  int shift = 0;
  // Of floats: bits of the mantissa, and what its exponents count from.
  int mantissa = 13;
  int exponent_bias = 4;
  // 0: as many as the machine runs at once. They change the time only.
  int threads = 0;
  // Null: nobody watches.
  Progress* progress = nullptr;
};

// Makes a file of a picture without opacity.
Status Encode(const Picture& image, const EncodeOptions& options, ByteBuffer* file);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_ENCODER_H_
