// SPDX-License-Identifier: MIT
#include "codecs/jpeg/scan_writer.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "codecs/jpeg/band_sequence.h"
#include "codecs/jpeg/markers/markers.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg {
namespace {

// Luminance, grey and black use tables 0, chroma uses tables 1.
int TableOf(int component) { return component == 1 || component == 2 ? 1 : 0; }

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

}  // namespace

ScanWriter::ScanWriter(const Coefficients& coefficients, const Geometry& geometry, const Scan& scan,
                       bool is_progressive, int restart_interval, ByteBuffer* file)
    : coefficients_(coefficients),
      scan_(scan),
      walk_(geometry, scan),
      is_progressive_(is_progressive),
      restart_interval_(restart_interval),
      file_(file),
      end_row_(walk_.mcu_rows),
      last_dc_(scan.components.size()) {
  for (ScanComponent& component : scan_.components) {
    component.dc_table = component.ac_table = TableOf(component.index);
  }
}

template <class OnRestart, class OnBlock>
void ScanWriter::Walk(const OnRestart& on_restart, const OnBlock& on_block) {
  zepiEncodeHuffmanStateInit_JPEG_8u(&state_);
  std::fill(last_dc_.begin(), last_dc_.end(), int16_t{0});
  int64_t left = restart_interval_ > 0 ? restart_interval_ : INT64_MAX;
  if (first_row_ > 0) {
    // A band goes on after the MCU above; if that ends an interval, with the marker.
    walk_.ForEachBlock(walk_.mcus_per_row - 1, first_row_ - 1,
                       [&](size_t part, int x, int y) { last_dc_[part] = Block(part, x, y)[0]; });
    if (restart_interval_ > 0) {
      const int64_t before = int64_t{first_row_} * walk_.mcus_per_row;
      left = (restart_interval_ - before % restart_interval_) % restart_interval_;
      restarts_ = (before - 1) / restart_interval_;
    }
  }
  for (int row = first_row_; row < end_row_; ++row) {
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

Status ScanWriter::WriteHeaders(bool optimizes) {
  SegmentWriter writer(file_);
  WriteTables(optimizes, &writer);
  writer.ScanHeader(coefficients_.frame, scan_);
  return writer.ok() ? Status() : Status::NoMemory();
}

Status ScanWriter::Write(bool optimizes) {
  if (optimizes) Count();
  Status status = WriteHeaders(optimizes);
  if (status.ok()) status = EncodeRows();
  if (!status.ok()) return status;
  EncodeBlock(0, nullptr, 1);
  return End();
}

ScanWriter ScanWriter::BandOf(size_t band, ByteBuffer* file) const {
  ScanWriter part = *this;
  part.file_ = file;
  part.first_row_ = static_cast<int>(band) * kRowsInABand;
  part.end_row_ = std::min(part.first_row_ + kRowsInABand, walk_.mcu_rows);
  return part;
}

void ScanWriter::AddCounts(const ScanWriter& band) {
  for (int slot = 0; slot < kTableCountOfScan; ++slot) {
    for (int symbol = 0; symbol < 256; ++symbol) {
      codes_[slot].dc_counts[symbol] += band.codes_[slot].dc_counts[symbol];
      codes_[slot].ac_counts[symbol] += band.codes_[slot].ac_counts[symbol];
    }
  }
  status_ = std::min(status_, band.status_);
}

Status ScanWriter::CountInBands(ThreadPool* pool) {
  std::mutex mutex;
  const ScanWriter empty = *this;
  return RunParallel(pool, BandCount(), [&] {
    return [&](size_t index) {
      ScanWriter band = empty.BandOf(index, nullptr);
      band.Count();
      const std::lock_guard<std::mutex> lock(mutex);
      AddCounts(band);
    };
  });
}

Status ScanWriter::WriteInBands(bool optimizes, ThreadPool* pool) {
  constexpr size_t kBandsOfThread = 3;
  if (optimizes) {
    if (Status status = CountInBands(pool); !status.ok()) return status;
  }
  if (Status status = WriteHeaders(optimizes); !status.ok()) return status;
  BandJoiner joiner(file_);
  BandSequence<CodedBand> bands(BandCount(), kBandsOfThread * pool->size(), [&](CodedBand* band) {
    return joiner.Append(*band) ? Status() : Status::NoMemory();
  });
  const Status status = RunParallel(pool, BandCount(), [&] {
    return [&](size_t) {
      try {
        size_t index = 0;
        if (!bands.Enter(&index)) return;
        CodedBand coded;
        ScanWriter band = BandOf(index, &coded.bytes);
        if (Status done = band.EncodeRows(); !done.ok()) return bands.Fail(done);
        if (Status done = band.End(); !done.ok()) return bands.Fail(done);
        band.Describe(&coded);
        bands.Add(index, std::move(coded));
      } catch (const std::bad_alloc&) {
        bands.Fail(Status::NoMemory());  // the other threads must not wait for this band
      }
    };
  });
  if (!bands.status().ok()) return bands.status();
  if (!status.ok()) return status;
  return joiner.Finish() ? Status() : Status::NoMemory();
}

void ScanWriter::Describe(CodedBand* band) const {
  band->has_restart = has_restart_;
  band->head_size = has_restart_ ? head_size_ : band->bytes.size();
  band->head = has_restart_ ? head_ : OpenBitsOf(state_);
  band->tail = OpenBitsOf(state_);
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

// The bits before the first marker of a band are padded when it is joined.
void ScanWriter::Restart() {
  if (first_row_ > 0 && !has_restart_) {
    head_size_ = file_->size() + static_cast<size_t>(at_);
    head_ = OpenBitsOf(state_);
    zepiEncodeHuffmanStateInit_JPEG_8u(&state_);
  } else {
    EncodeBlock(0, nullptr, 1);
  }
  has_restart_ = true;
  if (!MakeRoom()) return;
  uint8_t* const out = file_->data() + file_->size();
  out[at_++] = 0xFF;
  out[at_++] = static_cast<uint8_t>(kRst0 + restarts_++ % 8);
}

Status ScanWriter::EncodeRows() {
  Walk([&] { Restart(); }, [&](size_t part, const int16_t* block) { EncodeBlock(part, block, 0); });
  return has_memory_ ? Status() : Status::NoMemory();
}

// Takes over the last bytes.
Status ScanWriter::End() {
  if (!has_memory_ || !file_->Resize(file_->size() + static_cast<size_t>(at_))) {
    return Status::NoMemory();
  }
  if (status_ == zepStatusOk) return Status();
  return Status::Error(std::string("coding a block failed: ") + zepStatusName(status_));
}

}  // namespace zepcodec::jpeg
