// SPDX-License-Identifier: MIT
// Pixels on their way from a codec to the caller, in the form that the caller wants.
#ifndef ZEPJP_CODECS_API_DELIVERY_H_
#define ZEPJP_CODECS_API_DELIVERY_H_

#include <cstdint>

#include "codecs/api/pixels.h"
#include "codecs/include/zepcodec.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/convert.h"
#include "codecs/support/picture.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/status.h"

namespace zepcodec::api {

// What the caller wants of the pixels.
struct Target {
  PixelFormat format;
  OpacityUse opacity;
};
Target TargetFor(const zepcDecodeOptions& options, const Picture& picture);

// Whether nothing has to be changed.
bool IsAsWanted(const Target& target, const Picture& picture);

// Of a pixel. A layout or sample that is not known yet counts with the largest size.
int64_t PixelBytes(zepcLayout layout, zepcSample sample);

// Hands rows to the caller's callback.
class RowDelivery : public RowSink {
 public:
  static constexpr int kRowsAtOnce = 64;

  explicit RowDelivery(const zepcDecodeOptions& options) : options_(options) {}
  Status Take(const Picture& rows, int y) override;

 private:
  // Into the buffer, which `rows` then are.
  Status Convert(const Target& target, ConstPixels* rows);
  Status Call(const ConstPixels& rows, int y);

  const zepcDecodeOptions& options_;
  ByteBuffer band_;
};

}  // namespace zepcodec::api

#endif  // ZEPJP_CODECS_API_DELIVERY_H_
