// SPDX-License-Identifier: MIT
// Writes JPEG files anew without touching their coefficients: baseline to progressive and back,
// with the best Huffman tables, or a part of the picture.
#ifndef ZEPJP_CODECS_JPEG_TRANSCODER_H_
#define ZEPJP_CODECS_JPEG_TRANSCODER_H_

#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/scan_script.h"
#include "codecs/support/orientation.h"

namespace zepcodec::jpeg {

// In pixels. A part begins on a border between MCUs: left and top are rounded down to one, and the
// part grows.
struct Crop {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

struct TranscodeOptions {
  bool progressive = false;  // with the default script
  Script script;             // instead, if not empty
  bool optimizes = false;    // the tables of sequential files
  int restart_interval = 0;  // in MCUs; 0 for none
  Turn turn;
  bool makes_upright = false;  // the turn that the EXIF orientation asks for, instead
  bool is_exact = false;       // see TurnCoefficients()
  bool has_crop = false;       // of the turned picture
  Crop crop;
  bool keep_metadata = true;
  int64_t max_pixels = int64_t{1} << 28;
};

// Writes coefficients as a file with these segments. Only `keep_metadata` and the options for
// scans, tables and restart intervals are used.
Status WriteCoefficients(const FileInfo& info, const TranscodeOptions& options,
                         const Coefficients& coefficients, ByteBuffer* file);

Status Transcode(const uint8_t* data, size_t size, const TranscodeOptions& options,
                 ByteBuffer* file, FileInfo* info);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_TRANSCODER_H_
