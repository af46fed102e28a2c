// SPDX-License-Identifier: MIT
#include "codecs/jpeg/part_plan.h"

#include <algorithm>
#include <utility>

#include "codecs/jpeg/block_rows.h"

namespace zepcodec::jpeg {
namespace {

class Planner {
 public:
  Planner(const uint8_t* bytes, int64_t part_blocks) : bytes_(bytes), part_blocks_(part_blocks) {}

  void AddInterval(const Stretch& interval) {
    const int64_t blocks = interval.end_block - interval.first_block;
    if (blocks > 2 * part_blocks_) return Cut(interval);
    whole_.push_back(interval);
    if (interval.end_block - whole_[0].first_block >= part_blocks_) EndPart();
  }
  // Nothing is added to a part of whole intervals any more.
  void EndPart() {
    if (!whole_.empty()) AddPart(std::move(whole_));
    whole_.clear();
  }
  CodedParts TakeParts() { return std::move(parts_); }

 private:
  void AddPart(std::vector<Stretch> stretches) {
    parts_.push_back(
        std::make_unique<CodedPart>(std::move(stretches), static_cast<size_t>(part_blocks_)));
  }

  void Cut(const Stretch& interval) {
    const int64_t count =
        std::max<int64_t>((interval.end_block - interval.first_block) / part_blocks_, 1);
    const int64_t bytes = interval.end - interval.begin;
    Stretch stretch = interval;
    for (int64_t i = 1; i <= count; ++i) {
      stretch.end = static_cast<int32_t>(interval.begin + bytes * i / count);
      // Not between an FF and the 00 after it.
      while (stretch.end < interval.end && bytes_[stretch.end - 1] == 0xFF) ++stretch.end;
      stretch.ends_interval = i == count;
      if (stretch.end <= stretch.begin && !stretch.ends_interval) continue;
      AddPart({stretch});
      stretch.begin = stretch.end;
      stretch.starts_interval = false;
    }
  }

  const uint8_t* bytes_;
  int64_t part_blocks_;
  std::vector<Stretch> whole_;
  CodedParts parts_;
};

}  // namespace

// Short intervals are put together to parts, long ones are cut.
CodedParts PlanParts(const uint8_t* data, size_t begin, const Intervals& intervals,
                     const ScanLayout& layout, int64_t part_blocks) {
  Planner planner(data + begin, part_blocks);
  const int64_t in_mcu = BlocksInMcu(layout);
  const int64_t mcus = layout.McuCount();
  const int64_t in_interval = McusInAnInterval(mcus, layout.restart_interval);
  for (size_t i = 0; i < intervals.found.size(); ++i) {
    const int64_t first = static_cast<int64_t>(i) * in_interval;
    const int64_t end = std::min(first + in_interval, mcus);
    if (!layout.window.Meets(first, end - first, layout.mcus_per_row)) {
      planner.EndPart();
      continue;
    }
    const bool is_last = i + 1 == intervals.found.size();
    const size_t marker = is_last ? intervals.end : intervals.found[i + 1].start - 2;
    planner.AddInterval({static_cast<int32_t>(intervals.found[i].start - begin),
                         static_cast<int32_t>(marker - begin), true, true, first * in_mcu,
                         end * in_mcu});
  }
  planner.EndPart();
  return planner.TakeParts();
}

}  // namespace zepcodec::jpeg
