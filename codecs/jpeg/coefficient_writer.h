// SPDX-License-Identifier: MIT
// Writes the coefficients of a picture as scans.
#ifndef ZEPJP_CODECS_JPEG_COEFFICIENT_WRITER_H_
#define ZEPJP_CODECS_JPEG_COEFFICIENT_WRITER_H_

#include "codecs/jpeg/coefficients.h"
#include "codecs/jpeg/scan_script.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg {

// Appends to a file whose frame header is written: tables and data of each scan of a script that
// was checked. The tables are the best for each scan; those of a sequential file are the standard's
// unless `optimizes`. Scans do not depend on one another, so
// the threads of the pool write different ones at the same time.
Status WriteScans(const Coefficients& coefficients, const Script& script, bool optimizes,
                  int restart_interval, ThreadPool* pool, ByteBuffer* file);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENT_WRITER_H_
