// SPDX-License-Identifier: MIT
// Takes the bytes of a file from an encoder while the rest is still being made.
#ifndef ZEPJP_CODECS_SUPPORT_BYTE_SINK_H_
#define ZEPJP_CODECS_SUPPORT_BYTE_SINK_H_

#include <cstddef>
#include <cstdint>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"

namespace zepcodec {

class ByteSink {
 public:
  virtual ~ByteSink() = default;
  // The next bytes of the file.
  virtual Status Write(const uint8_t* bytes, size_t size) = 0;
};

// Passes finished bytes on and empties their buffer, once there are enough of them to be worth a
// call. Without a sink the buffer collects the whole file.
inline Status PassOn(ByteSink* sink, ByteBuffer* bytes) {
  constexpr size_t kEnough = size_t{1} << 16;
  if (sink == nullptr || bytes->size() < kEnough) return Status();
  Status status = sink->Write(bytes->data(), bytes->size());
  (void)bytes->Resize(0);
  return status;
}

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_BYTE_SINK_H_
