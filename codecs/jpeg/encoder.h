// SPDX-License-Identifier: MIT
// An encoder for baseline and progressive JPEG files (ITU-T T.81), put together from the stages in
// zepjp.h.
//
// Grey pictures become one component, RGB becomes YCbCr with a JFIF header, CMYK becomes YCCK with
// an Adobe header and inverted inks. The Huffman tables are the standard's, or the best for the
// picture.
#ifndef ZEPJP_CODECS_JPEG_ENCODER_H_
#define ZEPJP_CODECS_JPEG_ENCODER_H_

#include "codecs/jpeg/metadata.h"
#include "codecs/jpeg/scan_script.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/byte_sink.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/row_source.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

// The resolution of the colour components: full, half the width, half the width and height.
enum class Sampling { k444, k422, k420 };

// The forward transform for 8-bit samples. The fast one rounds to integers before it quantizes,
// which costs photographs about 0.25 dB at quality 90. The precise one, the transform of 12-bit
// samples, rounds once. Automatic: the fast one up to quality 40, where it costs nothing at equal
// file size.
enum class ForwardDct { kAutomatic, kFast, kPrecise };

struct EncodeOptions {
  int quality = 90;  // 1..100
  Sampling sampling = Sampling::k420;
  int restart_interval = 0;  // in MCUs, up to 65535; 0 for none
  ForwardDct forward_dct = ForwardDct::kAutomatic;
  // These keep all coefficients until the end.
  bool progressive = false;  // with the default script
  Script script;             // instead, if not empty
  bool optimizes = false;    // the Huffman tables; progressive files always do
  // Resolution, and segments that are written as they are.
  SavedSegments metadata;
  // 0: one for each processor. The file is always the same.
  int threads = 1;
  // Reports progress and can cancel; null: neither.
  Progress* progress = nullptr;
  // Takes finished bytes of the file while it is made; null: all are kept.
  ByteSink* sink = nullptr;
};

// Makes a file of a picture of 8 bits; or of a grey or RGB one of 12 bits: an extended file, its
// chroma at full resolution, with the best Huffman tables. The file's memory is used again if it is
// large enough.
Status Encode(const Picture& picture, const EncodeOptions& options, ByteBuffer* file);

// The same of rows, which need not be in memory at the same time. Files with the standard's Huffman
// tables need a few bands of rows, all others need all rows.
Status Encode(RowSource* rows, const EncodeOptions& options, ByteBuffer* file);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_ENCODER_H_
