// SPDX-License-Identifier: MIT
#include "codecs/jpeg/lossless/scan_decoder.h"

#include <algorithm>
#include <string>

#include "codecs/support/messages.h"

namespace zepcodec::jpeg::lossless {
namespace {

// Rows of MCUs in a restart interval; without any the whole picture is one.
int RowsInInterval(const FileInfo& info, const ScanGeometry& geometry) {
  const int rows = info.restart_interval / geometry.mcus_per_row;
  return rows > 0 ? rows : geometry.mcu_rows;
}

jpeg::Intervals FindIntervals(const uint8_t* data, size_t size, size_t begin, int mcu_rows,
                              int rows_in_interval, FileInfo* info) {
  const auto count = static_cast<size_t>((mcu_rows + rows_in_interval - 1) / rows_in_interval);
  return jpeg::FindIntervals(data, size, begin, count, &info->messages);
}

}  // namespace

ScanDecoder::ScanDecoder(const uint8_t* data, size_t size, size_t begin, const Frame& frame,
                         const Scan& scan, Picture* picture, FileInfo* info)
    : frame_(frame),
      picture_(picture),
      info_(info),
      geometry_(frame, scan),
      prediction_{scan.predictor, info->bits, scan.point_transform},
      rows_in_interval_(RowsInInterval(*info, geometry_)),
      reader_(data, size,
              FindIntervals(data, size, begin, geometry_.mcu_rows, rows_in_interval_, info)),
      wide_(static_cast<size_t>(info->width)) {
  for (size_t i = 0; i < scan.parts.size(); ++i) {
    const int component = scan.parts[i].component;
    const Sampling mcu = geometry_.mcu[i];
    const Row line(static_cast<size_t>(geometry_.mcus_per_row) * static_cast<size_t>(mcu.h));
    parts_.push_back({component, frame.components[static_cast<size_t>(component)].sampling, mcu.h,
                      std::vector<Row>(static_cast<size_t>(mcu.v), line), line});
    tables_[i] = scan.parts[i].table;
    has_plain_mcus_ = has_plain_mcus_ && mcu.h == 1 && mcu.v == 1;
  }
}

Status ScanDecoder::Decode(Progress* progress) {
  for (int first = 0; first < geometry_.mcu_rows; first = interval_end_) {
    BeginInterval(first);
    for (int row = first; row < interval_end_; ++row) {
      if (Stops(progress, row, geometry_.mcu_rows)) return Status::Cancelled();
      DecodeMcuRow(row);
      Reconstruct(row == first);
      TakeMcuRow(row);
    }
    FinishInterval();
  }
  return Status();
}

void ScanDecoder::BeginInterval(int mcu_row) {
  const size_t missing = reader_.Next(mcu_row > 0 && !lost_);
  lost_ = missing > 0;
  const int64_t rows = int64_t{rows_in_interval_} * static_cast<int64_t>(lost_ ? missing : 1);
  interval_end_ = static_cast<int>(std::min<int64_t>(mcu_row + rows, geometry_.mcu_rows));
  if (reader_.is_repaired()) {
    info_->messages.AddAt(reader_.offset() - 2, "a damaged restart marker, read as one");
  }
  if (!lost_) return;
  info_->messages.Add("a restart interval is missing: rows " + std::to_string(mcu_row) + " to " +
                      std::to_string(interval_end_ - 1) + " are lost");
}

void ScanDecoder::DecodeMcuRow(int mcu_row) {
  for (Part& part : parts_) {
    for (Row& line : part.lines)
      std::fill(line.begin(), line.end(), int16_t{0});  // for what may be lost
  }
  if (lost_) return;
  reader_.KeepInRange();
  const zepStatus status = has_plain_mcus_ ? DecodeLines() : DecodeMcus();
  if (status != zepStatusOk) ReportLoss(status, mcu_row);
}

zepStatus ScanDecoder::DecodeLines() {
  int16_t* lines[kMostComponents] = {};
  for (size_t i = 0; i < parts_.size(); ++i) lines[i] = parts_[i].lines[0].data();
  return zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
      reader_.bytes(), reader_.length(), reader_.at(), lines, geometry_.mcus_per_row,
      static_cast<int32_t>(parts_.size()), reader_.marker(), tables_, reader_.state());
}

// An MCU holds h x v samples of each component, line by line.
zepStatus ScanDecoder::DecodeMcus() {
  for (int mcu = 0; mcu < geometry_.mcus_per_row; ++mcu) {
    for (size_t i = 0; i < parts_.size(); ++i) {
      const int across = parts_[i].across;
      for (Row& line : parts_[i].lines) {
        int16_t* samples[kMostComponents] = {line.data() + static_cast<ptrdiff_t>(mcu) * across};
        const zepiDecodeHuffmanSpec* table[kMostComponents] = {tables_[i]};
        const zepStatus status = zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
            reader_.bytes(), reader_.length(), reader_.at(), samples, across, 1, reader_.marker(),
            table, reader_.state());
        if (status != zepStatusOk) return status;
      }
    }
  }
  return zepStatusOk;
}

void ScanDecoder::ReportLoss(zepStatus status, int mcu_row) {
  lost_ = true;
  info_->messages.AddAt(reader_.offset(), jpeg::Reason(status) + "; row " +
                                              std::to_string(mcu_row) + " is damaged, " +
                                              std::to_string(interval_end_ - 1 - mcu_row) +
                                              " more are lost");
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

// Into the picture: all components at once where they follow one another, as they do in scans of several.
void ScanDecoder::TakeMcuRow(int mcu_row) {
  const Row* rows[kMostComponents] = {};
  const int count = static_cast<int>(parts_.size());
  bool is_plain = has_plain_mcus_ && frame_.IsPlain();
  for (size_t i = 0; i < parts_.size(); ++i) {
    rows[i] = &parts_[i].lines[0];
    is_plain = is_plain && parts_[i].component == parts_[0].component + static_cast<int>(i);
  }
  if (is_plain) {
    JoinRows(rows, count, prediction_.point_transform, parts_[0].component, mcu_row, picture_);
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
  const auto [max_h, max_v] = frame_.most;
  for (size_t x = 0; x < wide_.size(); ++x) {
    wide_[x] = line[x * static_cast<size_t>(h) / static_cast<size_t>(max_h)];
  }
  const Row* rows[kMostComponents] = {&wide_};
  const int first = (y * max_v + v - 1) / v;
  const int last = std::min(((y + 1) * max_v + v - 1) / v, info_->height);
  for (int row = first; row < last; ++row) {
    JoinRows(rows, 1, prediction_.point_transform, part.component, row, picture_);
  }
}

void ScanDecoder::FinishInterval() {
  const size_t left = lost_ ? 0 : reader_.LeftOver();
  if (left == 0) return;
  lost_ = true;  // the reader does not stand at the next marker
  info_->messages.AddAt(reader_.offset(),
                        std::to_string(left) + " bytes are left over; damage before them");
}

}  // namespace zepcodec::jpeg::lossless
