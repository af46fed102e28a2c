// SPDX-License-Identifier: MIT
// The bit stream that a caller of the JPEG XR coders holds between calls: where the next bytes are,
// and up to 32 bits in the upper end of an accumulator. A decoder's are read and not used yet, an
// encoder's are not written yet.
#ifndef ZEPJP_SRC_JPEGXR_BIT_STREAM_H_
#define ZEPJP_SRC_JPEGXR_BIT_STREAM_H_

#include <cstdint>

#include "frame/checks.h"

namespace zepjp {

template <class Byte>
struct BitStream {
  Byte** bytes;
  uint32_t *accumulator, *count;

  // Adds the checks of the three pointers, and of the bytes.
  Checks& Check(Checks& checks) const {
    return checks.Planes(bytes, 1).Ptr(accumulator).Ptr(count);
  }
  // More bits than the accumulator has. The pointers have been checked.
  bool IsTooLong() const { return *count > 32; }
};
using BitSource = BitStream<const uint8_t>;
using BitTarget = BitStream<uint8_t>;

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEGXR_BIT_STREAM_H_
