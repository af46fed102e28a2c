// SPDX-License-Identifier: MIT
// The headers of a file: frame, scan, tables (ITU-T T.81, annex B).
#ifndef ZEPJP_CODECS_JPEG_MARKERS_FRAME_H_
#define ZEPJP_CODECS_JPEG_MARKERS_FRAME_H_

#include <cstdint>
#include <vector>

#include "zepjp.h"

namespace zepcodec::jpeg {

struct FrameComponent {
  int id;
  int h;  // sampling factors, 1..4
  int v;
  int quant_table;  // of blocks
};

// Blocks of coefficients, sequential or progressive, or differences of samples.
struct Frame {
  bool is_progressive = false;
  bool is_lossless = false;
  int precision = 8;  // bits of a sample: 8 or 12, of lossless files 2 to 16
  int width = 0;
  int height = 0;
  int max_h = 1;
  int max_v = 1;
  std::vector<FrameComponent> components;
};

struct ScanComponent {
  int index;  // in Frame::components
  int dc_table;
  int ac_table;
};

// A progressive scan codes the coefficients first..last, down to bit `low`; `high` is the lowest
// bit that earlier scans have coded (0: none). A sequential scan codes all bits of all
// coefficients. A lossless scan has its predictor in `first` and its point transform in `low`.
struct Scan {
  std::vector<ScanComponent> components;
  int first = 0;
  int last = 63;
  int high = 0;
  int low = 0;

  int predictor() const { return first; }
  int point_transform() const { return low; }
};

constexpr int kTableCount = 4;

struct Tables {
  // Steps in natural order, ready for the inverse transforms.
  uint16_t quant[kTableCount][64];
  zepiDecodeHuffmanSpec dc[kTableCount];
  zepiDecodeHuffmanSpec ac[kTableCount];
  bool has_quant[kTableCount] = {};
  bool has_dc[kTableCount] = {};
  bool has_ac[kTableCount] = {};
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_MARKERS_FRAME_H_
