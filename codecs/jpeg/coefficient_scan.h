// SPDX-License-Identifier: MIT
// Decodes a scan of any kind into the coefficients of a picture.
#ifndef ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_
#define ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg/coefficients.h"
#include "codecs/support/messages.h"

namespace zepcodec::jpeg {

// The input of DecodeScan(). All pointers and references must outlive the call.
struct ScanTask {
  const uint8_t* data;  // the whole file
  size_t size;
  size_t begin;  // of the scan's data
  const Scan& scan;
  const ScanWalk& walk;
  const Tables& tables;  // all that the scan uses were read
  int restart_interval;
  bool shows_lost;  // see TakeFirstDc()
};

struct ScanOutcome {
  size_t end;           // of the scan's data
  int64_t idle_visits;  // see kMostIdleVisits
};

// Makes a scan wait for earlier ones while several are decoded at the same time.
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

// Damage is reported; damaged blocks keep the values of earlier scans.
//
// The time depends on the coded bytes, not on the number of blocks: end-of-band runs and blocks
// after the end of the data are skipped. Only a refinement scan must visit the blocks of such a run
// that may have coefficients; these are the idle visits. Without a gate, all earlier scans must be
// complete.
ScanOutcome DecodeScan(const ScanTask& task, Coefficients* coefficients, Messages* messages,
                       RowGate* gate = nullptr);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENT_SCAN_H_
