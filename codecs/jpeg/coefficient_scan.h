// SPDX-License-Identifier: MIT
// Decodes a scan of any kind into the coefficients of a picture.
#ifndef ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_
#define ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg/coefficients.h"
#include "codecs/support/messages.h"

namespace zepcodec::jpeg {

// What is needed to decode a scan. All that is pointed to must outlive the call.
struct ScanTask {
  const uint8_t* data;  // the whole file
  size_t size;
  size_t begin;  // of the scan's data
  const Scan& scan;
  const ScanWalk& walk;
  const Tables& tables;  // with all that the scan uses
  int restart_interval;
  bool shows_lost;  // see TakeFirstDc()
};

struct ScanOutcome {
  size_t end;           // of the scan's data
  int64_t idle_visits;  // see kMostIdleVisits
};

// Keeps a scan behind those before it while several are decoded at the same time.
class RowGate {
 public:
  virtual ~RowGate() = default;
  // Waits until a row of the scan's MCUs can be decoded. False: never.
  virtual bool Enter(int row) = 0;
  // The first `rows` rows are done.
  virtual void Leave(int rows) = 0;
};

// Notes that the components of a scan have had their first scan of DC, if this is one. True where all
// of them have it only now: then lost blocks show the last DC coefficient before them.
bool TakeFirstDc(const Scan& scan, Coefficients* coefficients);

// What is damaged is reported and stays as the scans before left it.
//
// The time is that of the coded bytes, not of the blocks that the scan passes: runs of ended bands and what lies
// beyond the data are skipped. Only a refinement must look at blocks in such a run where coefficients may be; these
// count as idle visits. Without a gate all scans before must be done.
ScanOutcome DecodeScan(const ScanTask& task, Coefficients* coefficients, Messages* messages,
                       RowGate* gate = nullptr);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_
