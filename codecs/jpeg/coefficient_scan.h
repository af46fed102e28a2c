// SPDX-License-Identifier: MIT
// Decodes a scan of any kind into the coefficients of a picture.
#ifndef ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_
#define ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg/coefficients.h"
#include "codecs/support/messages.h"

namespace zepcodec::jpeg {

// The scan's data begins at data[begin]; its tables were read, and `walk` belongs to it. Returns
// the offset of its end. Damage is reported; damaged blocks keep the values of earlier scans.
//
// The time depends on the coded bytes, not on the number of blocks: end-of-band runs and blocks
// after the end of the data are skipped. Only a refinement scan must visit the blocks of such a run
// that may have coefficients; these visits count as Coefficients::idle_visits.
size_t DecodeScan(const uint8_t* data, size_t size, size_t begin, const Scan& scan,
                  const ScanWalk& walk, const Tables& tables, int restart_interval,
                  Coefficients* coefficients, Messages* messages);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_
