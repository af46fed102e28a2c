// SPDX-License-Identifier: MIT
#include "codecs/jpeg/scan_pipeline.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace zepcodec::jpeg {
namespace {

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

}  // namespace

ScanPipeline::ScanPipeline(const uint8_t* data, size_t size, size_t begin,
                           const Intervals& intervals, const ScanLayout& layout,
                           int64_t part_blocks, ColorModel model, RowOutput* output)
    : layout_(layout),
      part_blocks_(part_blocks),
      model_(model),
      output_(*output),
      blocks_in_row_(layout.mcus_per_row * BlocksInMcu(layout)) {
  if (!intervals.is_sound || blocks_in_row_ * layout.mcu_rows < 2 * part_blocks) return;
  if (size - begin > std::numeric_limits<int32_t>::max()) return;
  code_ = CodeOf(data + begin, size - begin, layout);
  parts_ = PlanParts(data, begin, intervals, layout, part_blocks);
}

int ScanPipeline::BandStart(int band) const {
  return layout_.window.first_row + band * rows_in_band_;
}

int ScanPipeline::BandEnd(int band) const {
  return std::min(BandStart(band) + rows_in_band_, layout_.window.end_row);
}

// What comes after the window is not decoded.
bool ScanPipeline::HasAllBlocks() const {
  return next_block_ >= layout_.window.end_row * blocks_in_row_;
}

bool ScanPipeline::BandIsReady() const {
  return next_band_ < band_count_ && next_band_ - given_ + 1 < static_cast<int>(bands_.size()) &&
         next_block_ >= BandEnd(next_band_) * blocks_in_row_;
}

// As many parts as can be worked on, and then only where nobody works on what would free one.
bool ScanPipeline::MayDecodePart() const {
  return next_part_ < parts_.size() && !HasAllBlocks() &&
         (next_part_ - freed_ < most_parts_ || active_ == 0);
}

bool ScanPipeline::MayGive() const {
  return !is_giving_ && given_ < next_band_ && BandAt(given_).is_made;
}

ScanPipeline::Work ScanPipeline::Choose() const {
  if (MayGive()) return Work::kGive;
  const bool may_join = joined_ < next_part_ && is_decoded_[joined_] && !HasAllBlocks();
  if (!is_joining_ && may_join) return Work::kJoin;
  if (BandIsReady() && (next_band_ == 0 || EdgeAbove(next_band_) != nullptr)) return Work::kBand;
  if (MayDecodePart()) return Work::kPart;
  return BandIsReady() ? Work::kBand : Work::kNone;
}

// A thread's share of the work. Between its steps it holds the mutex.
class ScanPipeline::Worker {
 public:
  Worker(ScanPipeline* scan, Progress* progress)
      : scan_(*scan),
        progress_(progress),
        lock_(scan->mutex_, std::defer_lock),
        writer_(scan->output_.window(), scan->model_) {}

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
        case ScanPipeline::Work::kGive: Give(); break;
        case ScanPipeline::Work::kJoin: Join(); break;
        case ScanPipeline::Work::kBand: MakeBand(); break;
        default: DecodePart(); break;
      }
      --scan_.active_;
      scan_.has_changed_.notify_all();
    }
    lock_.unlock();
  }

  // The first reason to end counts.
  void Finish(const Status& status) {
    if (!lock_.owns_lock()) lock_.lock();
    if (!scan_.is_over_) scan_.status_ = status;
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
    ++scan_.joined_;
    scan_.next_block_ = scan_.FirstBlockAfterJoined(next_block);
    if (outcome == CodedPart::Outcome::kNoMemory) Finish(Status::NoMemory());
    if (outcome == CodedPart::Outcome::kDamaged) {
      scan_.is_sound_ = false;
      Finish(Status());
    }
  }

  void MakeBand() {
    const int band = scan_.next_band_++;
    const int first = scan_.BandStart(band);
    const int end = scan_.BandEnd(band);
    const McuWindow& window = scan_.layout_.window;
    Band& place = scan_.BandAt(band);
    place.is_made = false;
    place.number = -1;
    const BandWriter::Edge* const edge = scan_.EdgeAbove(band);
    BlockSource source(scan_.RunsFrom(std::max(first - 1, window.first_row)));
    lock_.unlock();
    bool has_memory = scan_.output_.OpenRows(first, end, &place.rows, &place.target);
    if (has_memory) {
      const auto make_row = [&](int row) {
        MakeRow(scan_.layout_, row, &source, writer_.planes());
      };
      writer_.WriteBand(first, end, edge, place.target, make_row);
      has_memory = writer_.CopyEdge(&place.edge);
    }
    const bool stops = Stops(progress_, end - window.first_row, window.end_row - window.first_row);
    lock_.lock();
    scan_.BandIsMade(band);
    if (!has_memory) Finish(Status::NoMemory());
    if (stops) Finish(Status::Cancelled());
  }

  void Give() {
    scan_.is_giving_ = true;
    const RowTarget target = scan_.BandAt(scan_.given_).target;
    lock_.unlock();
    const Status status = scan_.output_.Close(target);
    lock_.lock();
    scan_.is_giving_ = false;
    if (!status.ok()) return Finish(status);
    if (++scan_.given_ == scan_.band_count_) Finish(Status());
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

// No band needs the blocks between parts.
int64_t ScanPipeline::FirstBlockAfterJoined(int64_t next_block) const {
  if (joined_ == parts_.size()) return std::numeric_limits<int64_t>::max();
  return std::max(parts_[joined_]->first_block(), next_block);
}

// Memory that was used before costs less than new memory.
BlockList ScanPipeline::TakeStorage() {
  if (storage_.empty()) return {};
  BlockList storage = std::move(storage_.back());
  storage_.pop_back();
  return storage;
}

// Null if the band above is not made yet.
const BandWriter::Edge* ScanPipeline::EdgeAbove(int band) const {
  if (band == 0) return nullptr;
  const Band& above = BandAt(band - 1);
  return above.number == band - 1 ? &above.edge : nullptr;
}

// Frees the parts that no band needs any more. The next band to be finished still needs a row above it.
void ScanPipeline::BandIsMade(int band) {
  BandAt(band).is_made = true;
  BandAt(band).number = band;
  int made = given_;
  while (made < next_band_ && BandAt(made).is_made) ++made;
  const int64_t needed = int64_t{BandStart(made) - 1} * blocks_in_row_;
  for (; freed_ < joined_; ++freed_) {
    const std::vector<BlockRun>& runs = parts_[freed_]->runs();
    if (!runs.empty() && runs.back().first + runs.back().count > needed) break;
    storage_.push_back(parts_[freed_]->TakeStorage());
    parts_[freed_].reset();
  }
}

int64_t ScanPipeline::MostParts(int64_t blocks_in_row, int64_t part_blocks, int64_t threads) {
  const int64_t of_band = RowsInABand(threads) * blocks_in_row / part_blocks + 2;
  return (threads + 1) / 2 * of_band + 2 * threads + 1;
}

Status ScanPipeline::Run(ThreadPool* pool, Progress* progress, bool* is_sound) {
  const size_t threads = std::min(pool->size(), parts_.size());
  const auto count = static_cast<int64_t>(threads);
  is_decoded_.assign(parts_.size(), false);
  rows_in_band_ = RowsInABand(count);
  band_count_ = DivideUp(layout_.window.end_row - layout_.window.first_row, rows_in_band_);
  bands_ = std::vector<Band>(static_cast<size_t>(MostBands(count)));
  most_parts_ = static_cast<size_t>(MostParts(blocks_in_row_, part_blocks_, count));
  next_block_ = std::max<int64_t>(parts_[0]->first_block(), 0);
  const Status status = pool->Run(threads, [&] { Worker(this, progress).Work(); });
  *is_sound = is_sound_;
  return status.ok() ? status_ : status;
}

}  // namespace zepcodec::jpeg
