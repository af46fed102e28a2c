// SPDX-License-Identifier: MIT
// A sequential scan of all components on its way to a picture, on several threads.
//
// There are four kinds of work. Any thread decodes any part of the scan to blocks (coded_part.h).
// The parts are joined in their order, by one thread at a time, which takes little time. Any thread
// reconstructs bands of the picture from joined blocks. And bands for a row sink are given to the
// sink in their order, by one thread at a time. Each thread chooses the work that completes the
// picture's next rows soonest: bands before parts. So few parts are in memory at a time, and no
// thread waits for long. But a band waits for the one above as long as there are parts to decode,
// since without that it would decode a row a second time.
//
// The result for a damaged file depends on how the single-threaded decoder resumes after each fault.
// So any fault ends the work here, and that decoder decodes the file from the start. The blocks
// before the fault are the same for both, so the rows that a sink already has stay valid.
#ifndef ZEPJP_CODECS_JPEG_SCAN_PIPELINE_H_
#define ZEPJP_CODECS_JPEG_SCAN_PIPELINE_H_

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "codecs/jpeg/band_writer.h"
#include "codecs/jpeg/block_rows.h"
#include "codecs/jpeg/coded_part.h"
#include "codecs/jpeg/intervals.h"
#include "codecs/jpeg/part_plan.h"
#include "codecs/jpeg/row_output.h"
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
  static int64_t MostParts(int64_t blocks_in_row, int64_t part_blocks, int64_t threads);
  // The bands that are made or wait for the sink, and one above them.
  static int64_t MostBands(int64_t threads) { return threads + 2; }
  // Small bands are still in the cache when they are made. With more threads, more bands are made
  // at the same time as the band above, and must decode a row of that a second time.
  static int RowsInABand(int64_t threads) {
    return static_cast<int>(std::clamp<int64_t>(threads, 3, kRowsInABand));
  }

  // The scan's data begins at data[begin]. All arguments must outlive the pipeline.
  ScanPipeline(const uint8_t* data, size_t size, size_t begin, const Intervals& intervals,
               const ScanLayout& layout, int64_t part_blocks, ColorModel model, RowOutput* output);

  // Whether the scan is large enough, and its intervals are all there.
  bool IsWorthwhile() const { return parts_.size() > 1; }

  // Makes the rows of the region. `is_sound`: they are made. Otherwise the data is damaged.
  Status Run(ThreadPool* pool, Progress* progress, bool* is_sound);

 private:
  class Worker;
  enum class Work { kNone, kGive, kJoin, kBand, kPart };
  // A band that is made or waits for the sink.
  struct Band {
    Picture rows;  // for a sink
    RowTarget target;
    BandWriter::Edge edge;
    int number = -1;  // of the band whose edge this is
    bool is_made = false;
  };

  Work Choose() const;
  bool HasAllBlocks() const;
  bool MayDecodePart() const;
  bool BandIsReady() const;
  bool MayGive() const;
  int BandStart(int band) const;
  int BandEnd(int band) const;
  const BandWriter::Edge* EdgeAbove(int band) const;
  Band& BandAt(int band) { return bands_[static_cast<size_t>(band) % bands_.size()]; }
  const Band& BandAt(int band) const { return bands_[static_cast<size_t>(band) % bands_.size()]; }
  std::vector<BlockRun> RunsFrom(int row) const;
  BlockList TakeStorage();
  void BandIsMade(int band);
  int64_t FirstBlockAfterJoined(int64_t next_block) const;

  const ScanLayout& layout_;
  const int64_t part_blocks_;
  ColorModel model_;
  RowOutput& output_;
  ScanCode code_;
  int64_t blocks_in_row_ = 0;
  CodedParts parts_;
  int rows_in_band_ = 1;
  int band_count_ = 0;

  std::mutex mutex_;
  std::condition_variable has_changed_;
  // All below is guarded by the mutex.
  std::vector<BlockList> storage_;  // of parts that were freed
  std::vector<bool> is_decoded_;
  size_t next_part_ = 0;  // to be decoded
  size_t joined_ = 0;     // parts
  size_t freed_ = 0;      // parts
  bool is_joining_ = false;
  BlockCursor cursor_;       // of the true decoder
  int64_t next_block_ = 0;   // after the joined parts
  std::vector<Band> bands_;  // band k in place k modulo their number
  int next_band_ = 0;        // to be made
  int given_ = 0;            // bands
  bool is_giving_ = false;
  int active_ = 0;         // threads at work
  size_t most_parts_ = 0;  // in memory, if that is enough for a band
  bool is_sound_ = true;
  bool is_over_ = false;
  Status status_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_SCAN_PIPELINE_H_
