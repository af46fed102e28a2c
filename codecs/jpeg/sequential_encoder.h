// SPDX-License-Identifier: MIT
// Encodes a picture as a single scan with the standard's Huffman tables: blocks are coded as they
// come.
#ifndef ZEPJP_CODECS_JPEG_SEQUENTIAL_ENCODER_H_
#define ZEPJP_CODECS_JPEG_SEQUENTIAL_ENCODER_H_

#include <vector>

#include "codecs/jpeg/encoder.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/markers/frame.h"
#include "codecs/jpeg/scan_encoder.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/row_source.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg {

// The picture and how to encode it.
struct EncodeWork {
  RowSource* rows;
  const Frame& frame;
  const Geometry& geometry;
  const EncodeOptions& options;
  std::vector<const CoderTables*> tables;  // of each component
  ThreadPool* pool;
};

// Appends the scan. Finished bytes are passed on to the sink.
Status EncodeAtOnce(const EncodeWork& work, ByteBuffer* file);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SEQUENTIAL_ENCODER_H_
