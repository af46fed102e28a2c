// SPDX-License-Identifier: MIT
// The scans of a progressive file, several at the same time.
//
// A scan refines the coefficients that earlier scans left in a block, so these scans must have passed
// the block, but they need not be complete. All scans can go through the picture at the same time,
// each some rows after the one it refines. Before each row, a scan waits until all scans before it
// with the same components have passed the row's blocks.
//
// Threads take the scans in an order that leaves no thread without work at the end: the scans that
// most coded bytes depend on come first. A scan depends on earlier scans of the same component if
// both have DC coefficients, or both have AC coefficients. So a scan of DC may change places with
// one of AC. But the two must not be in the same block at the same time: the decoders of AC
// coefficients put back the whole block where they try a second time.
//
// As in ScanPipeline, any fault ends the work, and the file is decoded scan by scan.
#ifndef ZEPJP_CODECS_JPEG_SCAN_WAVEFRONT_H_
#define ZEPJP_CODECS_JPEG_SCAN_WAVEFRONT_H_

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "codecs/jpeg/coefficient_scan.h"
#include "codecs/jpeg/coefficients.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg {

class ScanWavefront {
 public:
  ScanWavefront(const uint8_t* data, size_t size, const Geometry& geometry,
                Coefficients* coefficients)
      : data_(data), size_(size), geometry_(geometry), coefficients_(coefficients) {}

  // Plans the next scan of the file. Its tables must be there.
  void Add(const Scan& scan, const Tables& tables, size_t begin, size_t end, int restart_interval);
  size_t scan_count() const { return scans_.size(); }
  // Where the data of a scan ends.
  size_t end(size_t scan) const { return scans_[scan]->end; }

  // Decodes all scans. `is_sound`: there was no fault.
  Status Run(ThreadPool* pool, Progress* progress, bool* is_sound);

 private:
  class Gate;
  struct PlannedScan {
    PlannedScan(const Geometry& geometry, const Scan& its_scan, const Tables& its_tables)
        : scan(its_scan), tables(its_tables), walk(geometry, scan) {}

    Scan scan;
    Tables tables;
    ScanWalk walk;
    size_t begin = 0;
    size_t end = 0;
    int restart_interval = 0;
    bool shows_lost = false;
    int rows_done = 0;  // of MCUs; INT_MAX: all. Guarded by the mutex
  };

  std::vector<PlannedScan*> InOrderOfWork() const;
  void Decode(size_t index);
  bool IsFree(size_t index, int row) const;
  void Fail();

  const uint8_t* data_;
  size_t size_;
  const Geometry& geometry_;
  Coefficients* coefficients_;
  std::vector<std::unique_ptr<PlannedScan>> scans_;
  std::vector<PlannedScan*> order_;  // in which threads take them

  std::mutex mutex_;
  std::condition_variable has_changed_;
  // All below is guarded by the mutex.
  int waiting_ = 0;
  int64_t idle_visits_ = 0;
  bool is_sound_ = true;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SCAN_WAVEFRONT_H_
