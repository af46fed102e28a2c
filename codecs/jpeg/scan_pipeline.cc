// SPDX-License-Identifier: MIT
#include "codecs/jpeg/scan_pipeline.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "codecs/jpeg/band_writer.h"
#include "codecs/jpeg/block_transform.h"
#include "codecs/support/messages.h"

namespace zepcodec::jpeg {
namespace {

int64_t BlocksInMcu(const ScanLayout& layout) {
  int64_t blocks = 0;
  for (const ScanPart& part : layout.parts)
    blocks += int64_t{part.blocks_across} * part.blocks_down;
  return blocks;
}

ScanCode CodeOf(const uint8_t* bytes, size_t size, const ScanLayout& layout) {
  ScanCode code = {bytes, static_cast<int32_t>(size), {}};
  for (size_t i = 0; i < layout.parts.size(); ++i) {
    const ScanPart& part = layout.parts[i];
    for (int block = part.blocks_across * part.blocks_down; block > 0; --block) {
      code.mcu.push_back({i, part.dc, part.ac});
    }
  }
  return code;
}

// The blocks of a band, to be fetched in their order.
class BlockSource {
 public:
  explicit BlockSource(std::vector<BlockRun> runs) : runs_(std::move(runs)) {}

  // What follows begins with block `index`, which is not before those fetched already.
  void Seek(int64_t index) {
    while (index >= runs_[run_].first + runs_[run_].count) ++run_;
    next_ = index - runs_[run_].first;
  }

  // Valid until the next call.
  const int16_t* Next(size_t component) {
    while (next_ == runs_[run_].count) {
      ++run_;
      next_ = 0;
    }
    const BlockRun& run = runs_[run_];
    const int16_t* block = run.blocks + 64 * next_++;
    const int16_t offset = run.dc_offset[component];
    if (offset == 0) return block;
    std::memcpy(block_, block, sizeof(block_));
    block_[0] = static_cast<int16_t>(static_cast<uint16_t>(block_[0] + offset));
    return block_;
  }

 private:
  std::vector<BlockRun> runs_;
  size_t run_ = 0;
  int64_t next_ = 0;
  alignas(64) int16_t block_[64];
};

// Reconstructs the blocks of a row of MCUs.
void MakeRow(const ScanLayout& layout, int row, BlockSource* source, std::vector<Plane>* planes) {
  struct Target {
    InverseTransform inverse;
    uint8_t* samples;
    int step;
  };
  Target targets[4];
  for (size_t i = 0; i < layout.parts.size(); ++i) {
    const ScanPart& part = layout.parts[i];
    Plane& plane = (*planes)[part.component];
    targets[i] = {TransformFor(part.block_size),
                  plane.Row(row * part.blocks_down * part.block_size), plane.step()};
  }
  for (int mcu = 0; mcu < layout.mcus_per_row; ++mcu) {
    for (size_t i = 0; i < layout.parts.size(); ++i) {
      const ScanPart& part = layout.parts[i];
      const Target& target = targets[i];
      for (int y = 0; y < part.blocks_down; ++y) {
        uint8_t* samples = target.samples + ptrdiff_t{y} * part.block_size * target.step +
                           mcu * part.blocks_across * part.block_size;
        for (int x = 0; x < part.blocks_across; ++x, samples += part.block_size) {
          target.inverse(source->Next(i), samples, target.step, part.steps);
        }
      }
    }
  }
}

}  // namespace

ScanPipeline::ScanPipeline(const uint8_t* data, size_t size, size_t begin, const ScanLayout& layout,
                           const Geometry& geometry, ColorModel model, Picture* picture)
    : geometry_(geometry),
      model_(model),
      picture_(picture),
      layout_(layout),
      blocks_in_row_(layout.mcus_per_row * BlocksInMcu(layout)) {
  const int64_t mcus = int64_t{layout.mcus_per_row} * layout.mcu_rows;
  const int64_t interval = layout.restart_interval > 0 ? layout.restart_interval : mcus;
  const auto count = static_cast<size_t>((mcus + interval - 1) / interval);
  if (blocks_in_row_ * layout.mcu_rows < 2 * kBlocksInAPart) return;
  if (size - begin > std::numeric_limits<int32_t>::max()) return;
  Messages faults;
  const Intervals intervals = FindIntervals(data, size, begin, count, &faults);
  if (faults.count() > 0 || intervals.found.size() != count) return;
  code_ = CodeOf(data + begin, size - begin, layout);
  end_ = intervals.end;
  PlanParts(intervals, begin, interval * BlocksInMcu(layout));
}

// Short intervals are put together to parts, long ones are cut.
void ScanPipeline::PlanParts(const Intervals& intervals, size_t begin, int64_t interval_blocks) {
  const int64_t all_blocks = blocks_in_row_ * layout_.mcu_rows;
  std::vector<Stretch> whole;
  for (size_t i = 0; i < intervals.found.size(); ++i) {
    const bool is_last = i + 1 == intervals.found.size();
    const size_t marker = is_last ? intervals.end : intervals.found[i + 1].start - 2;
    const auto first = static_cast<int64_t>(i) * interval_blocks;
    const Stretch interval = {static_cast<int32_t>(intervals.found[i].start - begin),
                              static_cast<int32_t>(marker - begin),
                              true,
                              true,
                              first,
                              std::min(first + interval_blocks, all_blocks)};
    if (interval_blocks > 2 * kBlocksInAPart) {
      PlanStretches(interval);
      continue;
    }
    whole.push_back(interval);
    if (!is_last && interval.end_block - whole[0].first_block < kBlocksInAPart) continue;
    parts_.push_back(std::make_unique<CodedPart>(std::move(whole)));
    whole.clear();
  }
}

void ScanPipeline::PlanStretches(const Stretch& interval) {
  const int64_t count =
      std::max<int64_t>((interval.end_block - interval.first_block) / kBlocksInAPart, 1);
  const int64_t bytes = interval.end - interval.begin;
  Stretch stretch = interval;
  for (int64_t i = 1; i <= count; ++i) {
    stretch.end = static_cast<int32_t>(interval.begin + bytes * i / count);
    // Not between an FF and the 00 after it.
    while (stretch.end < interval.end && code_.bytes[stretch.end - 1] == 0xFF) ++stretch.end;
    stretch.ends_interval = i == count;
    if (stretch.end <= stretch.begin && !stretch.ends_interval) continue;
    parts_.push_back(std::make_unique<CodedPart>(std::vector<Stretch>{stretch}));
    stretch.begin = stretch.end;
    stretch.starts_interval = false;
  }
}

int ScanPipeline::BandEnd(int band) const {
  return std::min((band + 1) * kRowsInABand, layout_.mcu_rows);
}

bool ScanPipeline::BandIsReady() const {
  return next_band_ < static_cast<int>(is_made_.size()) &&
         next_block_ >= BandEnd(next_band_) * blocks_in_row_;
}

// As many parts as can be worked on, and then only where nobody works on what would free one.
bool ScanPipeline::MayDecodePart() const {
  return next_part_ < parts_.size() && (next_part_ - freed_ < most_parts_ || active_ == 0);
}

ScanPipeline::Work ScanPipeline::Choose() const {
  if (!is_joining_ && joined_ < next_part_ && is_decoded_[joined_]) return Work::kJoin;
  if (BandIsReady()) return Work::kBand;
  return MayDecodePart() ? Work::kPart : Work::kNone;
}

// A thread's share of the work. Between its steps it holds the mutex.
class ScanPipeline::Worker {
 public:
  Worker(ScanPipeline* scan, Progress* progress)
      : scan_(*scan),
        progress_(progress),
        lock_(scan->mutex_, std::defer_lock),
        writer_(scan->geometry_, scan->model_, scan->picture_) {}

  // The other threads must not wait for one that ends early.
  void Work() {
    try {
      if (!writer_.Init()) return Finish(Status::NoMemory());
      TakeTurns();
    } catch (const std::bad_alloc&) {
      Finish(Status::NoMemory());
    }
  }

 private:
  void TakeTurns() {
    lock_.lock();
    while (!scan_.is_over_) {
      const ScanPipeline::Work work = scan_.Choose();
      if (work == ScanPipeline::Work::kNone) {
        scan_.has_changed_.wait(lock_);
        continue;
      }
      ++scan_.active_;
      switch (work) {
        case ScanPipeline::Work::kJoin: Join(); break;
        case ScanPipeline::Work::kBand: MakeBand(); break;
        default: DecodePart(); break;
      }
      --scan_.active_;
      scan_.has_changed_.notify_all();
    }
    lock_.unlock();
  }

  void Finish(const Status& status) {
    if (!lock_.owns_lock()) lock_.lock();
    scan_.status_ = status;
    scan_.is_over_ = true;
    scan_.has_changed_.notify_all();
  }

  void DecodePart() {
    const size_t part = scan_.next_part_++;
    BlockList storage = scan_.TakeStorage();
    lock_.unlock();
    const bool has_memory = scan_.parts_[part]->Decode(scan_.code_, std::move(storage));
    lock_.lock();
    scan_.is_decoded_[part] = true;
    if (!has_memory) Finish(Status::NoMemory());
  }

  void Join() {
    scan_.is_joining_ = true;
    CodedPart& part = *scan_.parts_[scan_.joined_];
    int64_t next_block = scan_.next_block_;
    lock_.unlock();
    const CodedPart::Outcome outcome = part.Join(scan_.code_, &scan_.cursor_, &next_block);
    lock_.lock();
    scan_.is_joining_ = false;
    scan_.next_block_ = next_block;
    ++scan_.joined_;
    if (outcome == CodedPart::Outcome::kNoMemory) Finish(Status::NoMemory());
    if (outcome == CodedPart::Outcome::kDamaged) {
      scan_.is_sound_ = false;
      Finish(Status());
    }
  }

  void MakeBand() {
    const int band = scan_.next_band_++;
    const int first = band * kRowsInABand;
    const int end = scan_.BandEnd(band);
    BlockSource source(scan_.RunsFrom(std::max(first - 1, 0)));
    lock_.unlock();
    writer_.Write(first, end, [&](int row) {
      source.Seek(row * scan_.blocks_in_row_);
      MakeRow(scan_.layout_, row, &source, writer_.planes());
      return true;
    });
    const bool stops = Stops(progress_, end, scan_.layout_.mcu_rows);
    lock_.lock();
    scan_.BandIsMade(band);
    if (stops) Finish(Status::Cancelled());
  }

  ScanPipeline& scan_;
  Progress* progress_;
  std::unique_lock<std::mutex> lock_;
  BandWriter writer_;
};

// Of the joined parts in memory, from a row on.
std::vector<BlockRun> ScanPipeline::RunsFrom(int row) const {
  const int64_t first = row * blocks_in_row_;
  std::vector<BlockRun> runs;
  for (size_t i = freed_; i < joined_; ++i) {
    for (const BlockRun& run : parts_[i]->runs()) {
      if (run.first + run.count > first) runs.push_back(run);
    }
  }
  return runs;
}

// Memory that was used before costs less than new memory.
BlockList ScanPipeline::TakeStorage() {
  if (storage_.empty()) return {};
  BlockList storage = std::move(storage_.back());
  storage_.pop_back();
  return storage;
}

// Frees the parts that no band needs any more. The next band to be finished still needs a row above it.
void ScanPipeline::BandIsMade(int band) {
  is_made_[static_cast<size_t>(band)] = true;
  while (made_ < static_cast<int>(is_made_.size()) && is_made_[static_cast<size_t>(made_)]) ++made_;
  if (made_ == static_cast<int>(is_made_.size())) is_over_ = true;
  const int64_t needed = (int64_t{made_} * kRowsInABand - 1) * blocks_in_row_;
  for (; freed_ < joined_; ++freed_) {
    const std::vector<BlockRun>& runs = parts_[freed_]->runs();
    if (!runs.empty() && runs.back().first + runs.back().count > needed) break;
    storage_.push_back(parts_[freed_]->TakeStorage());
    parts_[freed_].reset();
  }
}

int64_t ScanPipeline::MostParts(int64_t blocks_in_row, int64_t threads) {
  const int64_t of_band = kRowsInABand * blocks_in_row / kBlocksInAPart + 2;
  return threads * (of_band + 1) + 2;
}

Status ScanPipeline::Run(ThreadPool* pool, Progress* progress, bool* is_sound) {
  const auto bands = static_cast<size_t>(DivideUp(layout_.mcu_rows, kRowsInABand));
  const size_t threads = std::min(pool->size(), parts_.size());
  is_decoded_.assign(parts_.size(), false);
  is_made_.assign(bands, false);
  most_parts_ = static_cast<size_t>(MostParts(blocks_in_row_, static_cast<int64_t>(threads)));
  const Status status = pool->Run(threads, [&] { Worker(this, progress).Work(); });
  *is_sound = is_sound_;
  return status.ok() ? status_ : status;
}

}  // namespace zepcodec::jpeg
