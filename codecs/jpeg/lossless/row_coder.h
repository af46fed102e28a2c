// SPDX-License-Identifier: MIT
// Codes rows of a picture in memory as differences: a thread's share of the encoder.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_ROW_CODER_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_ROW_CODER_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/band_joiner.h"
#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpeg/lossless/rows.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"
#include "zepjp.h"

namespace zepcodec::jpeg::lossless {

constexpr size_t kCategories = 17;
using Counts = std::array<int64_t, kCategories>;

struct Table {
  std::array<uint8_t, 16> bits;
  std::array<uint8_t, 256> categories;
  zepiEncodeHuffmanSpec spec;
};

class RowCoder {
 public:
  // Any thread may have one. All arguments must outlive it.
  RowCoder(const Picture& picture, const EncodeOptions& options);

  // Rows are coded from this one on.
  void MoveTo(int y);

  // Adds the magnitude categories of the next row; components beyond the last entry of `counts`
  // share that one.
  void Count(std::vector<Counts>* counts);

  // Codes the next row, after the restart marker if one comes before it. `is_band`: bytes of other
  // rows come before those in `band`.
  Status Code(const std::vector<Table>& tables, bool is_band, CodedBand* band);
  // Fills up the last byte.
  Status Finish(ByteBuffer* bytes) { return CodeRow(nullptr, bytes); }
  // Instead of Finish(): fills in how to join the coded bytes to other bands.
  void Describe(CodedBand* band) const;

 private:
  bool IsFirstRow(int y) const {
    return y == 0 || (options_.restart_rows > 0 && y % options_.restart_rows == 0);
  }
  void Split();
  void Predict();
  Status Restart(bool is_band, CodedBand* band);
  Status CodeRow(const std::vector<Table>* tables, ByteBuffer* bytes);

  const Picture& picture_;
  const EncodeOptions& options_;
  const size_t components_;
  int y_ = 0;
  Row samples_[kMostComponents];
  Row above_[kMostComponents];
  Row differences_[kMostComponents];
  zepiEncodeHuffmanState state_;
};

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_ROW_CODER_H_
