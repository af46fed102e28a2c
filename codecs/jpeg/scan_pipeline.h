// SPDX-License-Identifier: MIT
// A sequential scan of all components on its way to a picture, on several threads.
//
// There are three kinds of work. Any thread decodes any part of the scan to blocks (coded_part.h).
// The parts are joined in their order, by one thread at a time, which takes little time. And any
// thread reconstructs bands of the picture from joined blocks. Each thread chooses the work that
// completes the picture's next rows soonest: joining before bands, bands before parts. So few parts
// are in memory at a time, and no thread waits for long.
//
// The result for a damaged file depends on how the single-threaded decoder resumes after each fault.
// So any fault ends the work here, and that decoder decodes the file from the start.
#ifndef ZEPJP_CODECS_JPEG_SCAN_PIPELINE_H_
#define ZEPJP_CODECS_JPEG_SCAN_PIPELINE_H_

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "codecs/jpeg/coded_part.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/intervals.h"
#include "codecs/jpeg/picture_writer.h"
#include "codecs/jpeg/scan_decoder.h"
#include "codecs/support/picture.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg {

class ScanPipeline {
 public:
  // The most parts that are in memory at a time: those that are decoded, and those of the bands that
  // are made.
  static int64_t MostParts(int64_t blocks_in_row, int64_t threads);

  // The scan's data begins at data[begin]. `picture` has its size. What is referred to must outlive the
  // pipeline.
  ScanPipeline(const uint8_t* data, size_t size, size_t begin, const ScanLayout& layout,
               const Geometry& geometry, ColorModel model, Picture* picture);

  // Whether the scan is large enough, and its intervals are all there.
  bool IsWorthwhile() const { return parts_.size() > 1; }

  // Makes the picture. `is_sound`: the picture is there. Otherwise the data is damaged.
  Status Run(ThreadPool* pool, Progress* progress, bool* is_sound);
  // Where the scan's data ends in the file.
  size_t end() const { return end_; }

 private:
  class Worker;
  enum class Work { kNone, kJoin, kBand, kPart };

  void PlanParts(const Intervals& intervals, size_t begin, int64_t interval_blocks);
  void PlanStretches(const Stretch& interval);
  Work Choose() const;
  bool MayDecodePart() const;
  bool BandIsReady() const;
  int BandEnd(int band) const;
  std::vector<BlockRun> RunsFrom(int row) const;
  BlockList TakeStorage();
  void BandIsMade(int band);

  const Geometry& geometry_;
  ColorModel model_;
  Picture* picture_;
  const ScanLayout& layout_;
  ScanCode code_;
  size_t end_ = 0;
  int64_t blocks_in_row_ = 0;
  std::vector<std::unique_ptr<CodedPart>> parts_;

  std::mutex mutex_;
  std::condition_variable has_changed_;
  // All below is guarded by the mutex.
  std::vector<BlockList> storage_;  // of parts that were freed
  std::vector<bool> is_decoded_;
  size_t next_part_ = 0;  // to be decoded
  size_t joined_ = 0;     // parts
  size_t freed_ = 0;      // parts
  bool is_joining_ = false;
  BlockCursor cursor_;      // of the true decoder
  int64_t next_block_ = 0;  // after the joined parts
  int next_band_ = 0;       // to be made
  std::vector<bool> is_made_;
  int made_ = 0;           // bands
  int active_ = 0;         // threads at work
  size_t most_parts_ = 0;  // in memory, if that is enough for a band
  bool is_sound_ = true;
  bool is_over_ = false;
  Status status_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SCAN_PIPELINE_H_
