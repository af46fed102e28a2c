// SPDX-License-Identifier: MIT
#include "codecs/jpeg/lossless/parallel_scan.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "codecs/jpeg/band_sequence.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/interval_reader.h"
#include "codecs/jpeg/lossless/row_bands.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg::lossless {
namespace {

int LastRow(const ParallelScan& scan) {
  return std::min(scan.place.region.y + scan.place.region.height, scan.rows);
}

// The bytes of an interval, which begin with its first one.
DifferenceCode CodeOf(const ParallelScan& scan, size_t index) {
  const std::vector<Intervals::Found>& found = scan.intervals.found;
  const size_t begin = found[index].start;
  const size_t end = index + 1 < found.size() ? found[index + 1].start - 2 : scan.intervals.end;
  constexpr size_t kMost = std::numeric_limits<int32_t>::max();
  DifferenceCode code = scan.code;
  code.bytes = scan.data + begin;
  code.length = static_cast<int32_t>(std::min(scan.size - begin, kMost));
  code.end = static_cast<int32_t>(std::min(end - begin, kMost));
  return code;
}

// Rows of whole intervals.
struct Band {
  Picture rows;  // for a sink
  RowTarget target{};
  bool is_sound = false;
};

// Decodes an interval as far as the region needs it. False: it is damaged.
bool DecodeInterval(const ParallelScan& scan, size_t index, RowAssembler* rows) {
  const DifferenceCode code = CodeOf(scan, index);
  const int64_t first = int64_t{scan.rows_in_interval} * static_cast<int64_t>(index);
  const auto end = static_cast<int>(std::min<int64_t>(first + scan.rows_in_interval, scan.rows));
  if (first >= LastRow(scan) || end <= scan.place.region.y) return true;
  DifferenceCursor cursor(0);
  rows->Start(static_cast<int>(first));
  while (rows->y() < std::min(end, LastRow(scan))) {
    int16_t* to[kMostComponents] = {};
    for (size_t c = 0; c < code.components; ++c) to[c] = rows->Differences(c);
    if (cursor.DecodeMcus(code, to, scan.place.width) != zepStatusOk) return false;
    rows->EndRow();
  }
  return rows->y() < end ||
         BytesLeftOver(static_cast<size_t>(cursor.at), static_cast<size_t>(code.end)) == 0;
}

std::unique_ptr<Band> DecodeBand(const ParallelScan& scan, size_t number, RowAssembler* rows) {
  auto band = std::make_unique<Band>();
  const int first = static_cast<int>(number) * scan.rows_in_band;
  const int end = first + scan.rows_in_band;
  const bool has_memory =
      OpenBand(scan.place.region, first, end, scan.output, &band->rows, &band->target);
  if (!has_memory) throw std::bad_alloc();
  rows->SetTarget(band->target);
  const auto in_band = static_cast<size_t>(scan.rows_in_band / scan.rows_in_interval);
  const size_t begin = number * in_band;
  const size_t last = std::min(begin + in_band, scan.intervals.found.size());
  band->is_sound = true;
  for (size_t i = begin; i < last && band->is_sound; ++i) {
    band->is_sound = DecodeInterval(scan, i, rows);
  }
  return band;
}

Status DecodeIntervals(const ParallelScan& scan, ThreadPool* pool, Progress* progress,
                       bool* is_done) {
  const auto count = static_cast<size_t>(DivideUp(scan.rows, scan.rows_in_band));
  const auto most = static_cast<size_t>(MostBands(static_cast<int64_t>(pool->size())));
  *is_done = true;
  // Without a sink no thread has to wait.
  BandSequence<std::unique_ptr<Band>> bands(count, scan.output->has_sink() ? most : count,
                                            [&](std::unique_ptr<Band>* band) {
                                              if ((*band)->is_sound)
                                                return scan.output->Close((*band)->target);
                                              *is_done = false;
                                              return Status::Error("a damaged interval");
                                            });
  const Status status = RunParallel(
      pool, count,
      [&] {
        auto rows = std::make_unique<RowAssembler>(scan.place);
        return [&, rows = std::move(rows)](size_t) {
          size_t number = 0;
          try {
            if (bands.Enter(&number)) bands.Add(number, DecodeBand(scan, number, rows.get()));
          } catch (const std::bad_alloc&) {
            bands.Fail(Status::NoMemory());  // the other threads must not wait for this band
          }
        };
      },
      progress);
  if (!status.ok() || !*is_done) return status;
  return bands.status();
}

int64_t MostParts(int64_t threads) { return 3 * threads; }

// A single interval in parts.
class PartPipeline {
 public:
  PartPipeline(const ParallelScan& scan, Progress* progress)
      : scan_(scan),
        progress_(progress),
        code_(CodeOf(scan, 0)),
        rows_(scan.place),
        bands_(scan.place.region, scan.rows_in_band, scan.output),
        left_(static_cast<int64_t>(scan.place.width) * scan.rows) {
    rows_.Start(0);
    const int64_t count = code_.end / scan.part_bytes;
    if (count < 2) return;
    int32_t begin = 0;
    for (int64_t i = 1; i <= count; ++i) {
      auto end = static_cast<int32_t>(code_.end * i / count);
      // Not between an FF and the 00 after it.
      while (end < code_.end && code_.bytes[end - 1] == 0xFF) ++end;
      if (end <= begin) continue;
      parts_.push_back(std::make_unique<DifferencePart>(begin, end));
      begin = end;
    }
    cursor_ = DifferenceCursor(0);
    is_decoded_.resize(parts_.size());
  }

  bool IsWorthwhile() const { return parts_.size() > 1; }

  Status Run(ThreadPool* pool, bool* is_sound) {
    most_parts_ = static_cast<size_t>(MostParts(static_cast<int64_t>(pool->size())));
    const Status status = pool->Run(std::min(pool->size(), parts_.size()), [&] {
      try {
        TakeTurns();
      } catch (const std::bad_alloc&) {
        std::unique_lock<std::mutex> lock(mutex_, std::defer_lock);
        lock.lock();
        Finish(Status::NoMemory());
      }
    });
    *is_sound = is_sound_;
    return status.ok() ? status_ : status;
  }

 private:
  bool MayTake() const { return !is_taking_ && taken_ < next_ && is_decoded_[taken_]; }
  bool MayDecode() const { return next_ < parts_.size() && next_ - taken_ < most_parts_; }

  void TakeTurns() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!is_over_) {
      if (MayTake()) {
        Take(&lock);
      } else if (MayDecode()) {
        Decode(&lock);
      } else {
        has_changed_.wait(lock);
        continue;
      }
      has_changed_.notify_all();
    }
  }

  // The first reason to end counts.
  void Finish(const Status& status) {
    if (!is_over_) status_ = status;
    is_over_ = true;
    has_changed_.notify_all();
  }

  void Decode(std::unique_lock<std::mutex>* lock) {
    const size_t part = next_++;
    ByteBuffer storage;
    if (!storage_.empty()) {
      storage = std::move(storage_.back());
      storage_.pop_back();
    }
    lock->unlock();
    const bool has_memory = parts_[part]->Decode(code_, std::move(storage));
    lock->lock();
    is_decoded_[part] = true;
    if (!has_memory) Finish(Status::NoMemory());
  }

  void Take(std::unique_lock<std::mutex>* lock) {
    is_taking_ = true;
    const std::unique_ptr<DifferencePart> part = std::move(parts_[taken_]);
    lock->unlock();
    const bool is_sound = part->Join(code_, &cursor_, &left_);
    const Status status = is_sound ? TakeRuns(part->Runs()) : Status();
    const bool stops = Stops(progress_, rows_.y(), scan_.rows);
    lock->lock();
    storage_.push_back(part->TakeStorage());
    is_taking_ = false;
    ++taken_;
    if (!is_sound) {
      is_sound_ = false;
      Finish(Status());
    }
    if (!status.ok()) Finish(status);
    if (stops) Finish(Status::Cancelled());
    if (rows_.y() >= LastRow(scan_)) Finish(Status());
  }

  Status TakeRuns(const std::vector<McuRun>& runs) {
    for (const McuRun& run : runs) {
      for (size_t done = 0; done < run.count && rows_.y() < LastRow(scan_);) {
        if (Status status = bands_.MoveTo(rows_.y()); !status.ok()) return status;
        rows_.SetTarget(bands_.target());
        done += rows_.Take(run, done);
      }
    }
    return rows_.y() < LastRow(scan_) ? Status() : bands_.Finish();
  }

  const ParallelScan& scan_;
  Progress* progress_;
  const DifferenceCode code_;
  // Of the thread that takes parts.
  RowAssembler rows_;
  RowBands bands_;
  DifferenceCursor cursor_;
  int64_t left_;

  std::mutex mutex_;
  std::condition_variable has_changed_;
  // All below is guarded by the mutex.
  std::vector<std::unique_ptr<DifferencePart>> parts_;
  std::vector<bool> is_decoded_;
  std::vector<ByteBuffer> storage_;  // of parts that were taken
  size_t most_parts_ = 0;
  size_t next_ = 0;   // to be decoded
  size_t taken_ = 0;  // joined, and made rows of
  bool is_taking_ = false;
  bool is_over_ = false;
  bool is_sound_ = true;
  Status status_;
};

}  // namespace

Status DecodeOnThreads(const ParallelScan& scan, ThreadPool* pool, Progress* progress,
                       bool* is_done) {
  if (pool->size() < 2 || !scan.intervals.is_sound) return Status();
  if (scan.intervals.end - scan.intervals.found[0].start > std::numeric_limits<int32_t>::max()) {
    return Status();
  }
  if (scan.intervals.count > 1) return DecodeIntervals(scan, pool, progress, is_done);
  PartPipeline pipeline(scan, progress);
  return pipeline.IsWorthwhile() ? pipeline.Run(pool, is_done) : Status();
}

int64_t ParallelScanNeed(int64_t width, int64_t components, int64_t part_bytes, int64_t threads) {
  if (threads < 2) return 0;
  const auto storage =
      static_cast<int64_t>(DifferencePart::StorageFor(static_cast<size_t>(2 * part_bytes)));
  return MostParts(threads) * storage +
         threads * (width + 4) * 2 * components * int64_t{sizeof(int16_t)};
}

}  // namespace zepcodec::jpeg::lossless
