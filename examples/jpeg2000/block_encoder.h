// SPDX-License-Identifier: MIT
// Quantizes and codes code-blocks, and finds the places where they are best cut.
#ifndef ZEPJP_EXAMPLES_JPEG2000_BLOCK_ENCODER_H_
#define ZEPJP_EXAMPLES_JPEG2000_BLOCK_ENCODER_H_

#include <cstdint>
#include <vector>

#include "jpeg2000/packet_writer.h"
#include "zepjp.h"

namespace jpeg2000 {

struct BlockSource {
  const int32_t* from;
  int64_t step;  // from row to row, in coefficients
  zepiSize size;
  int orientation;
  int style;
  int most_planes;
  double scale;   // quantizer steps for one unit of the plane
  double weight;  // squared error in the picture for that of one step
};

class BlockEncoder {
 public:
  // For blocks of up to this size. Throws std::bad_alloc.
  explicit BlockEncoder(zepiSize most);
  BlockEncoder(BlockEncoder&& other) noexcept;
  BlockEncoder(const BlockEncoder&) = delete;
  BlockEncoder& operator=(const BlockEncoder&) = delete;
  ~BlockEncoder();

  void Encode(const BlockSource& source, EncodedBlock* block);

 private:
  void Quantize(const BlockSource& source);
  void StoreBytes(EncodedBlock* block);

  zepiEncodeStateJPEG2K* state_ = nullptr;
  std::vector<int32_t> samples_;
};

}  // namespace jpeg2000

#endif  // ZEPJP_EXAMPLES_JPEG2000_BLOCK_ENCODER_H_
