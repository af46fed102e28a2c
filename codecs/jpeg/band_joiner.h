// SPDX-License-Identifier: MIT
// Joins bands of a scan that were coded independently, each starting at the first bit of a byte.
//
// In the file, a band starts at the bit after the previous band, at any position in a byte. So its
// bytes are shifted, and the 00 after each FF is removed and inserted anew. From the first restart
// marker of a band on, its bytes are copied unchanged.
#ifndef ZEPJP_CODECS_JPEG_BAND_JOINER_H_
#define ZEPJP_CODECS_JPEG_BAND_JOINER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"
#include "zepjp.h"

namespace zepcodec::jpeg {

// Up to 7 bits that do not fill a byte, right-aligned.
struct OpenBits {
  uint32_t bits = 0;
  int count = 0;
};

// The bits of an encoder that have not become a byte.
OpenBits OpenBitsOf(const zepiEncodeHuffmanState& state);

struct CodedBand {
  // The coefficients of the first MCU, if that is not coded yet: its DC differences depend on the
  // band above.
  std::vector<int16_t> first_mcu;
  std::vector<int16_t> last_dc;  // of each component
  // All that is coded.
  ByteBuffer bytes;
  size_t head_size = 0;  // up to the first restart marker
  OpenBits head;         // before that marker, to be padded to a byte
  OpenBits tail;         // at the end, if there is such a marker
  bool has_restart = false;
};

class BandJoiner {
 public:
  explicit BandJoiner(ByteBuffer* file) : file_(file) {}

  // False: no memory.
  [[nodiscard]] bool Append(const CodedBand& band);
  // Fills up the last byte.
  [[nodiscard]] bool Finish();

 private:
  void AppendShifted(const uint8_t* bytes, size_t size);
  size_t AppendWords(const uint8_t* bytes, size_t size);
  void AddBits(uint32_t bits, int count);
  void PutByte(uint32_t byte);

  ByteBuffer* file_;
  uint8_t* out_ = nullptr;
  OpenBits open_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_BAND_JOINER_H_
