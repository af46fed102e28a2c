// SPDX-License-Identifier: MIT
// The bit stream that a caller of the JPEG XR coders keeps between calls: a pointer to the next
// bytes, and up to 32 bits at the upper end of an accumulator. A decoder's bits were read but not
// used yet, an encoder's are not written yet.
#ifndef ZEPJP_SRC_JPEGXR_BIT_STREAM_H_
#define ZEPJP_SRC_JPEGXR_BIT_STREAM_H_

#include <cstdint>

#include "frame/checks.h"

namespace zepjp {

template <class Byte>
struct BitStream {
  Byte** bytes;
  uint32_t *accumulator, *count;

  // Adds the checks of the three pointers, and of the pointer to the bytes.
  Checks& Check(Checks& checks) const {
    return checks.Planes(bytes, 1).Ptr(accumulator).Ptr(count);
  }
  // Whether the count exceeds the accumulator. The pointers must have been checked.
  bool IsTooLong() const { return *count > 32; }
};
using BitSource = BitStream<const uint8_t>;
using BitTarget = BitStream<uint8_t>;

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEGXR_BIT_STREAM_H_
