// SPDX-License-Identifier: MIT
// Decodes a scan of any kind into the coefficients of a picture.
#ifndef ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_
#define ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg/coefficients.h"
#include "codecs/support/messages.h"

namespace zepcodec::jpeg {

// The scan's data begins at data[begin]; its tables are there, and `walk` is its own. Returns where it ends. What is
// damaged is reported and stays as the scans before left it.
//
// The time is that of the coded bytes, not of the blocks that the scan passes: runs of ended bands and what lies
// beyond the data are skipped. Only a refinement must look at blocks in such a run where coefficients may be; these
// count as Coefficients::idle_visits.
size_t DecodeScan(const uint8_t* data, size_t size, size_t begin, const Scan& scan,
                  const ScanWalk& walk, const Tables& tables, int restart_interval,
                  Coefficients* coefficients, Messages* messages);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_
