// SPDX-License-Identifier: MIT
// Puts the data of a scan together from bands that were coded on their own, each from its first bit on
// at the beginning of a byte.
//
// In the file the bits of a band follow those of the band before, at any bit of a byte. So all of its
// bytes are shifted, and the 00 after each FF is taken out and put in anew. After a restart marker bytes
// are what they are.
#ifndef ZEPJP_CODECS_JPEG_BAND_JOINER_H_
#define ZEPJP_CODECS_JPEG_BAND_JOINER_H_

#include <cstddef>
#include <cstdint>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"
#include "zepjp.h"

namespace zepcodec::jpeg {

// Up to 7 bits that do not fill a byte, in the lower bits.
struct OpenBits {
  uint32_t bits = 0;
  int count = 0;
};

// The bits of an encoder that have not become a byte.
OpenBits OpenBitsOf(const zepiEncodeHuffmanState& state);

struct CodedBand {
  ByteBuffer bytes;
  size_t head_size = 0;  // up to the first restart marker
  OpenBits head;         // before that marker; they still have to be filled up
  OpenBits tail;         // at the end, where there is such a marker
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
