// SPDX-License-Identifier: MIT
#include "ljpeg/scan_decoder.h"

#include <algorithm>
#include <string>

#include "jpeg/messages.h"

namespace ljpeg {
namespace {

// Rows of a restart interval; without any the whole picture is one.
int RowsInInterval(const FileInfo& info) {
  const int rows = info.restart_interval / info.width;
  return rows > 0 ? rows : info.height;
}

jpeg::Intervals FindIntervals(const uint8_t* data, size_t size, size_t begin, FileInfo* info) {
  const int rows = RowsInInterval(*info);
  const auto count = static_cast<size_t>((info->height + rows - 1) / rows);
  jpeg::Messages messages;
  jpeg::Intervals intervals = jpeg::FindIntervals(data, size, begin, count, &messages);
  for (const jpeg::Message& message : messages.kept()) info->messages.Add(message.ToString());
  return intervals;
}

}  // namespace

ScanDecoder::ScanDecoder(const uint8_t* data, size_t size, size_t begin, const Scan& scan,
                         common::Raster* picture, FileInfo* info)
    : scan_(scan),
      picture_(picture),
      info_(info),
      rows_in_interval_(RowsInInterval(*info)),
      reader_(data, size, FindIntervals(data, size, begin, info)) {
  const auto width = static_cast<size_t>(info->width);
  for (size_t i = 0; i < scan.parts.size(); ++i) {
    parts_.push_back({scan.parts[i].component, Row(width), Row(width)});
    tables_[i] = scan.parts[i].table;
  }
}

common::Status ScanDecoder::Decode() {
  for (int y = 0; y < info_->height; y = interval_end_) {
    BeginInterval(y);
    for (int row = y; row < interval_end_; ++row) {
      DecodeRow(row);
      Reconstruct(row == y);
      if (!IsPredictable()) {
        return common::Status::Error("predictor 6 with samples of 16 bits is not supported");
      }
      TakeRow(row);
    }
    FinishInterval();
  }
  return common::Status();
}

void ScanDecoder::BeginInterval(int y) {
  const size_t missing = reader_.Next(y > 0 && !lost_);
  lost_ = missing > 0;
  const int64_t rows = int64_t{rows_in_interval_} * static_cast<int64_t>(lost_ ? missing : 1);
  interval_end_ = static_cast<int>(std::min<int64_t>(y + rows, info_->height));
  if (reader_.is_repaired()) {
    info_->messages.AddAtByte(reader_.offset() - 2, "a damaged restart marker, read as one");
  }
  if (!lost_) return;
  info_->messages.Add("a restart interval is missing: rows " + std::to_string(y) + " to " +
                      std::to_string(interval_end_ - 1) + " are lost");
}

void ScanDecoder::DecodeRow(int y) {
  int16_t* rows[kMostComponents] = {};
  for (size_t i = 0; i < parts_.size(); ++i) {
    rows[i] = parts_[i].row.data();
    std::fill(parts_[i].row.begin(), parts_[i].row.end(), int16_t{0});  // for what may be lost
  }
  if (lost_) return;
  reader_.KeepInRange();
  const zepStatus status = zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
      reader_.bytes(), reader_.length(), reader_.at(), rows, info_->width,
      static_cast<int32_t>(parts_.size()), reader_.marker(), tables_, reader_.state());
  if (status != zepStatusOk) ReportLoss(status, y);
}

void ScanDecoder::ReportLoss(zepStatus status, int y) {
  lost_ = true;
  info_->messages.AddAtByte(reader_.offset(),
                            jpeg::Reason(status) + "; row " + std::to_string(y) + " is damaged, " +
                                std::to_string(interval_end_ - 1 - y) + " more are lost");
}

void ScanDecoder::Reconstruct(bool is_first) {
  for (Part& part : parts_) {
    int16_t* const row = part.row.data();
    if (is_first) {
      zepiReconstructPredFirstRow_JPEG_16s_C1(row, row, info_->width, info_->bits,
                                              scan_.point_transform);
    } else {
      zepiReconstructPredRow_JPEG_16s_C1(row, part.above.data(), row, info_->width,
                                         scan_.predictor);
    }
  }
}

// The library's predictor 6 takes samples as signed. As long as no sample needs its highest bit, that is no
// difference, and some programs write 12 bits as 16.
bool ScanDecoder::IsPredictable() const {
  if (scan_.predictor != 6 || info_->bits - scan_.point_transform < 16) return true;
  return std::all_of(parts_.begin(), parts_.end(), [](const Part& part) {
    return std::all_of(part.row.begin(), part.row.end(), [](int16_t s) { return s >= 0; });
  });
}

// Into the picture: all components at once where they follow one another, as they do in scans of several.
void ScanDecoder::TakeRow(int y) {
  const Row* rows[kMostComponents] = {};
  const int count = static_cast<int>(parts_.size());
  bool is_in_order = true;
  for (size_t i = 0; i < parts_.size(); ++i) {
    rows[i] = &parts_[i].row;
    is_in_order = is_in_order && parts_[i].component == parts_[0].component + static_cast<int>(i);
  }
  if (is_in_order) {
    JoinRows(rows, count, scan_.point_transform, parts_[0].component, y, picture_);
  } else {
    for (size_t i = 0; i < parts_.size(); ++i) {
      JoinRows(rows + i, 1, scan_.point_transform, parts_[i].component, y, picture_);
    }
  }
  for (Part& part : parts_) std::swap(part.row, part.above);
}

void ScanDecoder::FinishInterval() {
  const size_t left = lost_ ? 0 : reader_.LeftOver();
  if (left == 0) return;
  lost_ = true;  // the reader does not stand at the next marker
  info_->messages.AddAtByte(reader_.offset(),
                            std::to_string(left) + " bytes are left over; damage before them");
}

}  // namespace ljpeg
