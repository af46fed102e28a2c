// SPDX-License-Identifier: MIT
#include "codecs/jpeg/coefficient_writer.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "codecs/jpeg/markers/markers.h"
#include "codecs/jpeg/markers/segment_writer.h"
#include "codecs/support/parallel.h"
#include "zepjp.h"

namespace zepcodec::jpeg {
namespace {

// Luminance, grey and black use tables 0, chroma uses tables 1.
int TableOf(int component) { return component == 1 || component == 2 ? 1 : 0; }
constexpr int kTableCountOfScan = 2;

// An optimal table as a DHT segment lists it.
struct OptimalList {
  explicit OptimalList(const int32_t* counts) {
    zepiEncodeHuffmanRawTableInit_JPEG_8u(counts, list.bits.data(), symbols);
    list.symbols = symbols;
    list.symbol_count = 0;
    for (const uint8_t count : list.bits) list.symbol_count += count;
  }
  uint8_t symbols[256];
  HuffmanList list;
};

class ScanWriter {
 public:
  ScanWriter(const Coefficients& coefficients, const Geometry& geometry, const Scan& scan,
             bool is_progressive, int restart_interval, ByteBuffer* file)
      : coefficients_(coefficients),
        scan_(scan),
        walk_(geometry, scan),
        is_progressive_(is_progressive),
        restart_interval_(restart_interval),
        file_(file),
        last_dc_(scan.components.size()) {
    for (ScanComponent& component : scan_.components) {
      component.dc_table = component.ac_table = TableOf(component.index);
    }
  }

  Status Write(bool optimizes);

 private:
  struct Codes {
    int32_t dc_counts[256] = {};
    int32_t ac_counts[256] = {};
    zepiEncodeHuffmanSpec dc;
    zepiEncodeHuffmanSpec ac;
    bool is_used = false;
  };

  bool CodesDc() const { return scan_.first == 0 && scan_.high == 0; }
  bool CodesAc() const { return scan_.last > 0; }
  Codes& CodesOf(size_t part) { return codes_[scan_.components[part].dc_table]; }
  const int16_t* Block(size_t part, int x, int y) const {
    return coefficients_.planes[static_cast<size_t>(scan_.components[part].index)].Block(x, y);
  }

  template <class OnRestart, class OnBlock>
  void Walk(const OnRestart& on_restart, const OnBlock& on_block);
  void Count();
  void MakeTable(int kind, int slot, const HuffmanList& list, SegmentWriter* writer);
  void WriteTables(bool optimizes, SegmentWriter* writer);
  void CountBlock(size_t part, const int16_t* block, int flush);
  void EncodeBlock(size_t part, const int16_t* block, int flush);
  bool MakeRoom();
  Status EncodeAll();
  void Restart();

  const Coefficients& coefficients_;
  Scan scan_;
  ScanWalk walk_;
  bool is_progressive_;
  int restart_interval_;
  ByteBuffer* file_;
  Codes codes_[kTableCountOfScan];
  std::vector<int16_t> last_dc_;
  zepiEncodeHuffmanState state_;
  int32_t at_ = 0;  // position after the end of the file
  int restarts_ = 0;
  zepStatus status_ = zepStatusOk;
  bool has_memory_ = true;
};

template <class OnRestart, class OnBlock>
void ScanWriter::Walk(const OnRestart& on_restart, const OnBlock& on_block) {
  zepiEncodeHuffmanStateInit_JPEG_8u(&state_);
  std::fill(last_dc_.begin(), last_dc_.end(), int16_t{0});
  int64_t left = restart_interval_ > 0 ? restart_interval_ : INT64_MAX;
  for (int row = 0; row < walk_.mcu_rows; ++row) {
    for (int column = 0; column < walk_.mcus_per_row; ++column, --left) {
      if (left == 0) {
        on_restart();
        std::fill(last_dc_.begin(), last_dc_.end(), int16_t{0});
        left = restart_interval_;
      }
      walk_.ForEachBlock(column, row,
                         [&](size_t part, int x, int y) { on_block(part, Block(part, x, y)); });
    }
  }
}

// The state holds the end-of-band run.
void ScanWriter::CountBlock(size_t part, const int16_t* block, int flush) {
  Codes& codes = CodesOf(part);
  zepStatus status = zepStatusOk;
  if (!is_progressive_) {
    if (flush == 0) {
      status = zepiGetHuffmanStatistics8x8_JPEG_16s_C1(block, codes.dc_counts, codes.ac_counts,
                                                       &last_dc_[part]);
    }
  } else if (scan_.first == 0) {
    if (flush == 0 && scan_.high == 0) {
      status = zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, codes.dc_counts,
                                                               &last_dc_[part], scan_.low);
    }
  } else {
    const auto count = scan_.high == 0 ? zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1
                                       : zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1;
    status = count(block, codes.ac_counts, scan_.first, scan_.last, scan_.low, &state_, flush);
  }
  status_ = std::min(status_, status);
}

void ScanWriter::Count() {
  Walk([&] { CountBlock(0, nullptr, 1); },
       [&](size_t part, const int16_t* block) { CountBlock(part, block, 0); });
  CountBlock(0, nullptr, 1);
}

void ScanWriter::MakeTable(int kind, int slot, const HuffmanList& list, SegmentWriter* writer) {
  zepiEncodeHuffmanSpec* spec = kind == 0 ? &codes_[slot].dc : &codes_[slot].ac;
  zepiEncodeHuffmanSpecInit_JPEG_8u(list.bits.data(), list.symbols, spec);
  writer->Huffman(kind, slot, list);
}

void ScanWriter::WriteTables(bool optimizes, SegmentWriter* writer) {
  for (const ScanComponent& component : scan_.components) {
    codes_[component.dc_table].is_used = true;
  }
  for (int slot = 0; slot < kTableCountOfScan; ++slot) {
    const Codes& codes = codes_[slot];
    if (!codes.is_used) continue;
    if (CodesDc()) {
      MakeTable(0, slot, optimizes ? OptimalList(codes.dc_counts).list : kDcHuffman[slot], writer);
    }
    if (CodesAc()) {
      MakeTable(1, slot, optimizes ? OptimalList(codes.ac_counts).list : kAcHuffman[slot], writer);
    }
  }
}

Status ScanWriter::Write(bool optimizes) {
  if (optimizes) Count();
  SegmentWriter writer(file_);
  WriteTables(optimizes, &writer);
  writer.ScanHeader(coefficients_.frame, scan_);
  if (!writer.ok()) return Status::NoMemory();
  return EncodeAll();
}

void ScanWriter::EncodeBlock(size_t part, const int16_t* block, int flush) {
  if (!MakeRoom()) return;
  const Codes& codes = CodesOf(part);
  uint8_t* const out = file_->data() + file_->size();
  const auto length =
      static_cast<int32_t>(std::min<size_t>(file_->capacity() - file_->size(), INT32_MAX));
  zepStatus status = zepStatusOk;
  if (!is_progressive_) {
    status = zepiEncodeHuffman8x8_JPEG_16s1u_C1(block, out, length, &at_, &last_dc_[part],
                                                &codes.dc, &codes.ac, &state_, flush);
  } else if (scan_.first == 0 && scan_.high == 0) {
    status = zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, out, length, &at_, &last_dc_[part],
                                                        scan_.low, &codes.dc, &state_, flush);
  } else if (scan_.first == 0) {
    status = zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, out, length, &at_, scan_.low,
                                                         &state_, flush);
  } else {
    const auto encode = scan_.high == 0 ? zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1
                                        : zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1;
    status = encode(block, out, length, &at_, scan_.first, scan_.last, scan_.low, &codes.ac,
                    &state_, flush);
  }
  status_ = std::min(status_, status);
}

// Makes room for a block or a flush, after taking over the bytes that were written.
bool ScanWriter::MakeRoom() {
  constexpr size_t kMostBytesOfBlock =
      2048;  // codes, extra bits and correction bits, every byte stuffed
  if (file_->capacity() - file_->size() - static_cast<size_t>(at_) >= kMostBytesOfBlock)
    return true;
  has_memory_ = has_memory_ && file_->Resize(file_->size() + static_cast<size_t>(at_)) &&
                file_->MakeRoom(64 * kMostBytesOfBlock);
  at_ = 0;
  return has_memory_;
}

void ScanWriter::Restart() {
  EncodeBlock(0, nullptr, 1);
  if (!MakeRoom()) return;
  uint8_t* const out = file_->data() + file_->size();
  out[at_++] = 0xFF;
  out[at_++] = static_cast<uint8_t>(kRst0 + restarts_++ % 8);
}

Status ScanWriter::EncodeAll() {
  Walk([&] { Restart(); }, [&](size_t part, const int16_t* block) { EncodeBlock(part, block, 0); });
  EncodeBlock(0, nullptr, 1);
  if (!has_memory_ || !file_->Resize(file_->size() + static_cast<size_t>(at_))) {
    return Status::NoMemory();
  }
  if (status_ == zepStatusOk) return Status();
  return Status::Error(std::string("coding a block failed: ") + zepStatusName(status_));
}

// About the time that a scan takes, in blocks: those with AC coefficients take the longest.
int64_t CostOf(const Geometry& geometry, const Scan& scan) {
  const ScanWalk walk(geometry, scan);
  int64_t blocks = 0;
  for (const ScanWalk::Part& part : walk.parts) blocks += int64_t{part.across} * part.down;
  return blocks * walk.McuCount() * (scan.last > 0 ? 4 : 1);
}

// The numbers of the scans, the longest ones first, so that no thread is left alone with one.
std::vector<size_t> LongestFirst(const Geometry& geometry, const Script& script) {
  std::vector<size_t> order(script.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    return CostOf(geometry, script[a]) > CostOf(geometry, script[b]);
  });
  return order;
}

}  // namespace

Status WriteScans(const Coefficients& coefficients, const Script& script, bool optimizes,
                  int restart_interval, ThreadPool* pool, ByteBuffer* file) {
  const Geometry geometry(coefficients.frame, 1);
  const bool is_progressive = IsProgressive(script);
  const auto write = [&](size_t scan, ByteBuffer* to) {
    return ScanWriter(coefficients, geometry, script[scan], is_progressive, restart_interval, to)
        .Write(optimizes || is_progressive);
  };
  if (pool->size() == 1 || script.size() == 1) {
    for (size_t scan = 0; scan < script.size(); ++scan) {
      if (Status status = write(scan, file); !status.ok()) return status;
    }
    return Status();
  }
  std::vector<ByteBuffer> coded(script.size());
  std::vector<Status> statuses(script.size());
  const std::vector<size_t> order = LongestFirst(geometry, script);
  Status status = RunParallel(pool, order.size(), [&] {
    return [&](size_t item) {
      const size_t scan = order[item];
      statuses[scan] = write(scan, &coded[scan]);
    };
  });
  for (size_t scan = 0; status.ok() && scan < coded.size(); ++scan) {
    status = statuses[scan];
    if (!status.ok()) break;
    if (!file->Append(coded[scan].data(), coded[scan].size())) status = Status::NoMemory();
    coded[scan] = ByteBuffer();
  }
  return status;
}

}  // namespace zepcodec::jpeg
