// SPDX-License-Identifier: MIT
// The headers of a file: frame, scan, tables (ITU-T T.81, annex B).
#ifndef ZEPJP_EXAMPLES_JPEG_FRAME_H_
#define ZEPJP_EXAMPLES_JPEG_FRAME_H_

#include <cstdint>
#include <vector>

#include "zepjp.h"

namespace jpeg {

struct FrameComponent {
  int id;
  int h;  // sampling factors, 1..4
  int v;
  int quant_table;
};

struct Frame {
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

using Scan = std::vector<ScanComponent>;

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

}  // namespace jpeg

#endif  // ZEPJP_EXAMPLES_JPEG_FRAME_H_
