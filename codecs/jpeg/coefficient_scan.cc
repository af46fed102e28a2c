// SPDX-License-Identifier: MIT
#include "codecs/jpeg/coefficient_scan.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "codecs/jpeg/scan_source.h"

namespace zepcodec::jpeg {
namespace {

bool Enters(RowGate* gate, int row) { return gate == nullptr || gate->Enter(row); }

// After this many MCUs.
void Leave(RowGate* gate, const ScanWalk& walk, int64_t mcus) {
  if (gate != nullptr) gate->Leave(static_cast<int>(mcus / walk.mcus_per_row));
}

struct Part {
  CoefficientPlane* plane;
  int across;  // blocks in an MCU
  int down;
  const zepiDecodeHuffmanSpec* dc;
  const zepiDecodeHuffmanSpec* ac;
  int16_t last_dc;
};

// Sequential scans and those of DC.
class BlockScan {
 public:
  BlockScan(const ScanTask& task, ScanSource* source, RowGate* gate, Coefficients* coefficients)
      : scan_(task.scan),
        walk_(task.walk),
        source_(*source),
        gate_(gate),
        coefficients_(*coefficients),
        shows_lost_(task.shows_lost) {
    for (size_t i = 0; i < walk_.parts.size(); ++i) {
      const ScanComponent& component = scan_.components[i];
      const auto index = static_cast<size_t>(component.index);
      parts_.push_back({&coefficients->planes[index], walk_.parts[i].across, walk_.parts[i].down,
                        &task.tables.dc[component.dc_table], &task.tables.ac[component.ac_table],
                        0});
    }
  }

  void Decode() {
    IntervalReader& from = source_.reader();
    const int low = scan_.low;
    if (!coefficients_.frame.is_progressive) {
      Walk([&](int16_t* block, Part* part) {
        return zepiDecodeHuffman8x8_JPEG_1u16s_C1(from.bytes(), from.length(), from.at(), block,
                                                  &part->last_dc, from.marker(), part->dc, part->ac,
                                                  from.state());
      });
    } else if (scan_.first == 0 && scan_.high == 0) {
      Walk([&](int16_t* block, Part* part) {
        return zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(from.bytes(), from.length(), from.at(),
                                                          block, &part->last_dc, from.marker(), low,
                                                          part->dc, from.state());
      });
    } else {
      Walk([&](int16_t* block, Part*) {
        return zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(from.bytes(), from.length(), from.at(),
                                                           block, from.marker(), low, from.state());
      });
    }
  }

 private:
  template <class DecodeBlock>
  void Walk(const DecodeBlock& decode) {
    const int64_t all = walk_.McuCount();
    for (int64_t first = 0, count = 0; first < all; first += count) {
      if (source_.Begin()) {
        for (Part& part : parts_) part.last_dc = 0;
      }
      count = source_.mcus_left();
      if (!source_.lost() || shows_lost_) {
        const auto column = static_cast<int>(first % walk_.mcus_per_row);
        const auto row = static_cast<int>(first / walk_.mcus_per_row);
        if (!Enters(gate_, row)) return;
        count = std::min<int64_t>(count, walk_.mcus_per_row - column);
        for (int i = 0; i < count && (!source_.lost() || shows_lost_); ++i) {
          DecodeMcu(decode, column + i, row, i);
        }
      }
      source_.End(count);
      Leave(gate_, walk_, first + count);
    }
  }

  template <class DecodeBlock>
  void DecodeMcu(const DecodeBlock& decode, int column, int row, int mcus_done) {
    for (Part& part : parts_) {
      for (int y = row * part.down; y < (row + 1) * part.down; ++y) {
        int16_t* block = part.plane->Block(column * part.across, y);
        for (int x = 0; x < part.across; ++x, block += 64) {
          if (!source_.lost()) {
            const zepStatus status = decode(block, &part);
            if (status == zepStatusOk) continue;
            source_.Lose(status, mcus_done);
            if (!coefficients_.frame.is_progressive) std::memset(block, 0, 64 * sizeof(*block));
          }
          if (shows_lost_) ShowLost(part, block);
        }
      }
    }
  }

  void ShowLost(const Part& part, int16_t* block) const {
    block[0] = static_cast<int16_t>(part.last_dc * (1 << scan_.low));
  }

  const Scan& scan_;
  const ScanWalk& walk_;
  ScanSource& source_;
  RowGate* gate_;
  Coefficients& coefficients_;
  std::vector<Part> parts_;
  // In a first DC scan, lost blocks get the last DC value.
  bool shows_lost_;
};

// A band of AC coefficients of one component.
class BandScan {
 public:
  BandScan(const ScanTask& task, ScanSource* source, RowGate* gate, Coefficients* coefficients)
      : scan_(task.scan),
        table_(&task.tables.ac[task.scan.components[0].ac_table]),
        walk_(task.walk),
        source_(*source),
        gate_(gate),
        plane_(coefficients->planes[static_cast<size_t>(task.scan.components[0].index)]),
        decode_(task.scan.high == 0 ? zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1
                                    : zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1) {}

  void Decode() {
    const int64_t all = walk_.McuCount();
    for (int64_t first = 0, count = 0; first < all; first += count) {
      source_.Begin();
      count = source_.mcus_left();
      if (!source_.lost()) {
        if (scan_.high == 0 && EndedBands() > 0) {
          count = SkipEnded(count);
        } else {
          const auto x = static_cast<int>(first % walk_.mcus_per_row);
          const auto y = static_cast<int>(first / walk_.mcus_per_row);
          if (!Enters(gate_, y)) return;
          count = std::min<int64_t>(count, walk_.mcus_per_row - x);
          DecodeBlocks(x, y, static_cast<int>(count));
        }
      }
      source_.End(count);
      Leave(gate_, walk_, first + count);
    }
  }
  int64_t idle_visits() const { return idle_visits_; }

 private:
  // Blocks left in an end-of-band run.
  uint32_t EndedBands() const { return source_.reader().state()->eobRun; }

  // Passes over blocks in such a run, at most `most`; returns how many.
  int64_t SkipEnded(int64_t most) {
    const int64_t count = std::min<int64_t>(EndedBands(), most);
    source_.reader().state()->eobRun -= static_cast<uint32_t>(count);
    return count;
  }

  void DecodeBlocks(int x, int y, int count) {
    IntervalReader& from = source_.reader();
    int16_t* block = plane_.Block(x, y);
    uint8_t* touched = plane_.Touched(x, y);
    for (int i = 0; i < count; ++i) {
      if (EndedBands() > 0) {
        i += static_cast<int>(SkipEnded(Untouched(touched + i, count - i)));
        if (i == count) return;
      }
      if (EndedBands() > 0) {
        ++idle_visits_;
      } else {
        touched[i] = 1;
      }
      const zepStatus status =
          decode_(from.bytes(), from.length(), from.at(), block + ptrdiff_t{64} * i, from.marker(),
                  scan_.first, scan_.last, scan_.low, table_, from.state());
      if (status == zepStatusOk) continue;
      return source_.Lose(status, i);
    }
  }

  // How many of the next blocks an end-of-band run leaves unchanged: all of them in a first scan,
  // those without coefficients in a refinement.
  int Untouched(const uint8_t* touched, int count) const {
    if (scan_.high == 0) return count;
    const void* found = std::memchr(touched, 1, static_cast<size_t>(count));
    return found == nullptr ? count
                            : static_cast<int>(static_cast<const uint8_t*>(found) - touched);
  }

  const Scan& scan_;
  const zepiDecodeHuffmanSpec* table_;
  const ScanWalk& walk_;
  ScanSource& source_;
  RowGate* gate_;
  CoefficientPlane& plane_;
  decltype(&zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1) decode_;
  int64_t idle_visits_ = 0;
};

}  // namespace

bool TakeFirstDc(const Scan& scan, Coefficients* coefficients) {
  if (scan.first > 0 || scan.high > 0) return false;
  bool is_first = true;
  for (const ScanComponent& component : scan.components) {
    const auto index = static_cast<size_t>(component.index);
    is_first = is_first && !coefficients->has_dc[index];
    coefficients->has_dc[index] = true;
  }
  return is_first;
}

ScanOutcome DecodeScan(const ScanTask& task, Coefficients* coefficients, Messages* messages,
                       RowGate* gate) {
  const int64_t mcus = task.walk.McuCount();
  ScanSource source(
      task.data, task.size,
      FindIntervals(task.data, task.size, task.begin, mcus, task.restart_interval, messages), mcus,
      task.restart_interval, messages);
  int64_t idle_visits = 0;
  if (task.scan.first > 0) {
    BandScan scan(task, &source, gate, coefficients);
    scan.Decode();
    idle_visits = scan.idle_visits();
  } else {
    BlockScan(task, &source, gate, coefficients).Decode();
  }
  return {source.reader().end(), idle_visits};
}

}  // namespace zepcodec::jpeg
