// SPDX-License-Identifier: MIT
#include "codecs/jpeg/lossless/scan_decoder.h"

#include <algorithm>
#include <cstring>

#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/lossless/parallel_scan.h"
#include "codecs/jpeg/lossless/row_bands.h"

namespace zepcodec::jpeg::lossless {

ScanDecoder::ScanDecoder(const uint8_t* data, size_t size, const MarkerReader& headers,
                         const Region& region, BandOutput* output, Messages* messages)
    : data_(data),
      size_(size),
      frame_(headers.frame()),
      region_(region),
      output_(*output),
      geometry_(frame_, headers.scan()),
      prediction_{headers.scan().predictor(), frame_.precision, headers.scan().point_transform()},
      restart_interval_(headers.restart_interval()),
      intervals_(FindIntervals(data, size, headers.position(), geometry_.McuCount(),
                               restart_interval_, messages)),
      source_(data, size, intervals_, geometry_.McuCount(), restart_interval_, messages),
      wide_(static_cast<size_t>(frame_.width)) {
  const std::vector<ScanComponent>& components = headers.scan().components;
  for (size_t i = 0; i < components.size(); ++i) {
    const FrameComponent& component = frame_.components[static_cast<size_t>(components[i].index)];
    const Sampling mcu = geometry_.mcu[i];
    const Row line(static_cast<size_t>(geometry_.mcus_per_row) * static_cast<size_t>(mcu.h));
    parts_.push_back({components[i].index,
                      {component.h, component.v},
                      mcu.h,
                      std::vector<Row>(static_cast<size_t>(mcu.v), line),
                      line});
    tables_[i] = &headers.tables().dc[components[i].dc_table];
    has_plain_mcus_ = has_plain_mcus_ && mcu.h == 1 && mcu.v == 1;
  }
}

// One sample of each component in an MCU, and adjacent channels.
bool ScanDecoder::IsPlainScan() const {
  bool is_plain = has_plain_mcus_ && IsPlain(frame_);
  for (size_t i = 0; i < parts_.size(); ++i) {
    is_plain = is_plain && parts_[i].component == parts_[0].component + static_cast<int>(i);
  }
  return is_plain;
}

Status ScanDecoder::DecodeParts(ThreadPool* pool, int64_t part_bytes, Progress* progress,
                                bool* is_done) const {
  DifferenceCode code{nullptr, 0, 0, parts_.size(), {}, true};
  for (size_t i = 0; i < parts_.size(); ++i) {
    code.tables[i] = tables_[i];
    code.has_one_table =
        code.has_one_table && std::memcmp(tables_[i], tables_[0], sizeof(*tables_[0])) == 0;
  }
  const RowPlace place = {static_cast<size_t>(geometry_.mcus_per_row), parts_.size(),
                          parts_[0].component, prediction_, region_};
  const auto mcus = McusInAnInterval(geometry_.McuCount(), restart_interval_);
  const ParallelScan scan = {data_,
                             size_,
                             intervals_,
                             geometry_.mcu_rows,
                             static_cast<int>(mcus / geometry_.mcus_per_row),
                             code,
                             place,
                             part_bytes,
                             RowsInABand(geometry_, restart_interval_),
                             &output_};
  return DecodeOnThreads(scan, pool, progress, is_done);
}

// Restart intervals are whole rows.
Status ScanDecoder::Decode(ThreadPool* pool, int64_t part_bytes, Progress* progress) {
  bool is_done = false;
  if (IsPlainScan()) {
    Status status = DecodeParts(pool, part_bytes, progress, &is_done);
    if (!status.ok() || is_done) return status;
  }
  RowBands bands(region_, RowsInABand(geometry_, restart_interval_), &output_);
  for (int row = 0; row < geometry_.mcu_rows && FirstLine(row) < RegionEnd(); ++row) {
    if (Stops(progress, row, geometry_.mcu_rows)) return Status::Cancelled();
    const bool is_first = source_.Begin();
    if (is_first) BeginInterval(row);
    if (!source_.is_passed_over()) {
      DecodeMcuRow();
      Reconstruct(is_first);
      if (Status status = bands.MoveTo(FirstLine(row)); !status.ok()) return status;
      target_ = bands.target();
      TakeMcuRow(row);
    }
    source_.End(geometry_.mcus_per_row);
  }
  return bands.Finish();
}

// Intervals above the region are passed over.
void ScanDecoder::BeginInterval(int row) {
  const int64_t rows = source_.mcus_left() / geometry_.mcus_per_row;
  const bool is_above = FirstLine(static_cast<int>(row + rows)) <= region_.y;
  if (is_above && source_.MayPassOver()) source_.PassOver();
}

void ScanDecoder::DecodeMcuRow() {
  for (Part& part : parts_) {
    for (Row& line : part.lines) {
      std::fill(line.begin(), line.end(), int16_t{0});  // lost samples keep them
    }
  }
  if (source_.lost()) return;
  const zepStatus status = has_plain_mcus_ ? DecodeLines() : DecodeMcus();
  if (status != zepStatusOk) source_.Lose(status, 0);
}

zepStatus ScanDecoder::DecodeLines() {
  IntervalReader& from = source_.reader();
  int16_t* lines[kMostComponents] = {};
  for (size_t i = 0; i < parts_.size(); ++i) lines[i] = parts_[i].lines[0].data();
  return zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
      from.bytes(), from.length(), from.at(), lines, geometry_.mcus_per_row,
      static_cast<int32_t>(parts_.size()), from.marker(), tables_, from.state());
}

// An MCU holds h x v samples of each component, line by line.
zepStatus ScanDecoder::DecodeMcus() {
  IntervalReader& from = source_.reader();
  for (int mcu = 0; mcu < geometry_.mcus_per_row; ++mcu) {
    for (size_t i = 0; i < parts_.size(); ++i) {
      const int across = parts_[i].across;
      for (Row& line : parts_[i].lines) {
        int16_t* samples[kMostComponents] = {line.data() + static_cast<ptrdiff_t>(mcu) * across};
        const zepiDecodeHuffmanSpec* table[kMostComponents] = {tables_[i]};
        const zepStatus status =
            zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(from.bytes(), from.length(), from.at(), samples,
                                                 across, 1, from.marker(), table, from.state());
        if (status != zepStatusOk) return status;
      }
    }
  }
  return zepStatusOk;
}

void ScanDecoder::Reconstruct(bool is_first) {
  for (Part& part : parts_) {
    const Row* above = is_first ? nullptr : &part.above;
    for (Row& line : part.lines) {
      if (above == nullptr) {
        AddFirstRow(prediction_, &line);
      } else {
        AddRow(prediction_, *above, &line);
      }
      above = &line;
    }
  }
}

// The picture's row with the first sample of a row of MCUs.
int ScanDecoder::FirstLine(int mcu_row) const {
  const Sampling& sampling = parts_[0].sampling;
  const auto lines = static_cast<int>(parts_[0].lines.size());
  return DivideUp(int64_t{mcu_row} * lines * frame_.max_v, sampling.v);
}

// Copies the samples to the picture: all components at once if they are adjacent channels.
void ScanDecoder::TakeMcuRow(int mcu_row) {
  const Row* rows[kMostComponents] = {};
  const int count = static_cast<int>(parts_.size());
  for (size_t i = 0; i < parts_.size(); ++i) rows[i] = &parts_[i].lines[0];
  if (IsPlainScan()) {
    if (mcu_row >= region_.y) {
      JoinRows(rows, count, prediction_.point_transform, parts_[0].component, region_.x,
               mcu_row - region_.y - target_.y, target_.picture);
    }
  } else {
    for (const Part& part : parts_) {
      const int lines = static_cast<int>(part.lines.size());
      for (int i = 0; i < lines; ++i) {
        TakeLine(part, part.lines[static_cast<size_t>(i)], mcu_row * lines + i);
      }
    }
  }
  for (Part& part : parts_) std::swap(part.lines.back(), part.above);
}

// Line y of a component, repeated to the resolution of the picture.
void ScanDecoder::TakeLine(const Part& part, const Row& line, int y) {
  const auto [h, v] = part.sampling;
  for (size_t x = 0; x < wide_.size(); ++x) {
    wide_[x] = line[x * static_cast<size_t>(h) / static_cast<size_t>(frame_.max_h)];
  }
  const Row* rows[kMostComponents] = {&wide_};
  const int first = std::max((y * frame_.max_v + v - 1) / v, region_.y);
  const int last = std::min(((y + 1) * frame_.max_v + v - 1) / v, RegionEnd());
  for (int row = first; row < last; ++row) {
    JoinRows(rows, 1, prediction_.point_transform, part.component, region_.x,
             row - region_.y - target_.y, target_.picture);
  }
}

}  // namespace zepcodec::jpeg::lossless
