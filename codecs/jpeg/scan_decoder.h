// SPDX-License-Identifier: MIT
// Decodes the blocks of a scan into planes of samples, one row of MCUs after the other.
#ifndef ZEPJP_CODECS_JPEG_SCAN_DECODER_H_
#define ZEPJP_CODECS_JPEG_SCAN_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/block_transform.h"
#include "codecs/jpeg/plane.h"
#include "codecs/jpeg/scan_source.h"
#include "codecs/jpeg/window.h"
#include "codecs/support/messages.h"
#include "zepjp.h"

namespace zepcodec::jpeg {

// The part of an MCU that belongs to one component.
struct ScanPart {
  size_t component;  // of the frame
  Plane* plane;
  int block_size;
  int blocks_across;
  int blocks_down;
  const zepiDecodeHuffmanSpec* dc;
  const zepiDecodeHuffmanSpec* ac;
  uint16_t steps[64];
};

struct ScanLayout {
  int mcus_per_row;
  int mcu_rows;
  int restart_interval;  // in MCUs, 0 for none
  McuWindow window;      // the MCUs whose samples are wanted
  std::vector<ScanPart> parts;

  int64_t McuCount() const { return int64_t{mcus_per_row} * mcu_rows; }
};

class ScanDecoder {
 public:
  // The layout's planes and tables must outlive the decoder.
  ScanDecoder(const uint8_t* data, size_t size, Intervals intervals, const ScanLayout& layout,
              Messages* messages);

  // Decodes a row of MCUs; rows come in their order, from the first one of the scan. Damage is
  // reported; damaged parts become flat areas. Outside the window blocks are only read; restart
  // intervals are passed over where that cannot change the samples inside.
  void DecodeRow(int row);
  // The offset of the end of the scan's data.
  size_t end() { return source_.reader().end(); }

 private:
  static constexpr int kChunkBlocks = 48;

  struct Part : ScanPart {
    InverseTransform inverse;
    int16_t last_dc;
  };

  void BeginInterval(int64_t first_mcu);
  void DecodeBlocks(int mcus);
  void ReconstructBlocks(int row, int first_mcu, int mcus);

  alignas(64) int16_t blocks_[kChunkBlocks * 64];
  int mcus_per_row_;
  McuWindow window_;
  int blocks_in_mcu_ = 0;
  std::vector<Part> parts_;
  ScanSource source_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SCAN_DECODER_H_
