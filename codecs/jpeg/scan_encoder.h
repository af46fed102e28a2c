// SPDX-License-Identifier: MIT
// Codes the blocks of a scan, one row of MCUs after the other, from the first row on or as a band.
#ifndef ZEPJP_CODECS_JPEG_SCAN_ENCODER_H_
#define ZEPJP_CODECS_JPEG_SCAN_ENCODER_H_

#include <cstdint>
#include <vector>

#include "codecs/jpeg/band_joiner.h"
#include "codecs/jpeg/block_maker.h"
#include "codecs/jpeg/encoder.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/strip_maker.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"
#include "zepjp.h"

namespace zepcodec::jpeg {

struct CoderTables {
  uint16_t steps[64];  // prepared for the forward transform
  zepiEncodeHuffmanSpec dc;
  zepiEncodeHuffmanSpec ac;
};

class ScanEncoder {
 public:
  // Begins with a row of MCUs; if that is not the scan's first, for a band. One entry of `tables`
  // for each component. All references must outlive the encoder.
  ScanEncoder(const Geometry& geometry, const std::vector<const CoderTables*>& tables,
              const EncodeOptions& options, int first_row, ByteBuffer* file);

  // Codes a row of MCUs, the next one, from its samples.
  Status EncodeRow(const StripMaker& strip);
  // Writes the last byte if it is incomplete.
  Status Finish();
  // Instead of Finish(): fills in how to join the coded bytes, which are in `file`, to other bands.
  void Describe(CodedBand* band);
  // Instead of rows: codes the first MCU of a band, which comes after MCUs with these last DC
  // coefficients.
  Status EncodeFirstMcu(const CodedBand& band, const std::vector<int16_t>& last_dc);

 private:
  static constexpr int kChunkBlocks = 48;
  static constexpr size_t kMostBytesOfBlock = 512;  // 64 codes and values of 27 bits, all stuffed

  struct Part {
    ComponentGeometry place;
    const CoderTables* tables;
    int16_t last_dc;
  };

  void TransformBlocks(const StripMaker& strip, int row, int first_mcu, int mcus);
  void KeepFirstMcu();
  Status CodeBlocks(int mcus);
  Status Restart();

  alignas(64) int16_t blocks_[kChunkBlocks * 64];
  std::vector<Part> parts_;
  int mcus_per_row_;
  int restart_interval_;
  BlockMaker maker_;
  ByteBuffer* file_;
  int blocks_in_mcu_ = 0;
  int first_row_ = 0;
  int row_ = 0;
  int mcus_left_ = 0;  // until the next restart marker
  int64_t restarts_ = 0;
  bool is_band_ = false;
  std::vector<int16_t> first_mcu_;  // see CodedBand
  bool has_restart_ = false;
  size_t head_size_ = 0;  // see CodedBand
  OpenBits head_;
  zepiEncodeHuffmanState state_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SCAN_ENCODER_H_
