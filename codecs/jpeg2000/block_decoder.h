// SPDX-License-Identifier: MIT
// Decodes code-blocks, and stores their dequantized coefficients where the wavelet reads them.
#ifndef ZEPJP_CODECS_JPEG2000_BLOCK_DECODER_H_
#define ZEPJP_CODECS_JPEG2000_BLOCK_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/packet_reader.h"
#include "zepjp.h"

namespace zepcodec::jpeg2000 {

struct BlockJob {
  const CodedBlock* block;
  int orientation;
  int style;
  int most_planes;  // includes the shift of the region of interest
  int roi_shift;
  bool reversible;
  double quantizer_step;
  zepiSize size;
  // The part of the block that is wanted, and where its coefficients go: the place in a level of a
  // component ...
  Rect part;
  size_t component;
  size_t level;
  int64_t x, y;
  // ... which gives one of these two pointers, and the distance of rows in elements.
  int32_t* integers;
  float* reals;
  int64_t row_step;

  void SetTarget(int32_t* to) { integers = to; }
  void SetTarget(float* to) { reals = to; }
};

class BlockDecoder {
 public:
  // For blocks of up to this size.
  explicit BlockDecoder(zepiSize most);
  // False: damaged passes were left out.
  bool Decode(const BlockJob& job);

 private:
  template <class T, class Value>
  void Store(const BlockJob& job, T* to, const Value& value) const;
  void Dequantize(const BlockJob& job, int lost) const;
  void Gather(const CodedBlock::Kept& block, int most_passes);

  std::vector<uint8_t> state_;
  std::vector<int32_t> samples_;
  std::vector<uint8_t> bytes_;
  std::vector<int32_t> lengths_;
  int passes_ = 0;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_BLOCK_DECODER_H_
