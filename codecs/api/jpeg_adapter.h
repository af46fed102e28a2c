// SPDX-License-Identifier: MIT
// The caller's options of JPEG files as the codec has them.
#ifndef ZEPJP_CODECS_API_JPEG_ADAPTER_H_
#define ZEPJP_CODECS_API_JPEG_ADAPTER_H_

#include "codecs/include/zepcodec.h"
#include "codecs/jpeg/encoder.h"
#include "codecs/support/status.h"

namespace zepcodec::api {

// Null: the defaults.
Status ReadJpegOptions(const zepcJpegOptions* given, jpeg::EncodeOptions* options);

}  // namespace zepcodec::api

#endif  // ZEPJP_CODECS_API_JPEG_ADAPTER_H_
