// SPDX-License-Identifier: MIT
#include "ljpeg/scan_decoder.h"

#include <algorithm>
#include <string>

#include "jpeg/messages.h"

namespace ljpeg {
namespace {

std::string Reason(zepStatus status) {
  switch (status) {
    case zepStatusBufferExhausted: return "the file ends within the picture";
    case zepStatusBadHuffCode: return "no such Huffman code, or a marker too early";
    default: return zepStatusName(status);
  }
}

}  // namespace

ScanDecoder::ScanDecoder(const uint8_t* data, size_t size, size_t begin, const Scan& scan,
                         common::Raster* picture, FileInfo* info)
    : data_(data), size_(size), scan_(scan), picture_(picture), info_(info) {
  const int height = info->height;
  const int rows = info->restart_interval / info->width;
  rows_in_interval_ = rows > 0 ? rows : height;
  const auto count = static_cast<size_t>((height + rows_in_interval_ - 1) / rows_in_interval_);
  jpeg::Messages messages;
  intervals_ = jpeg::FindIntervals(data, size, begin, count, &messages);
  for (const jpeg::Message& message : messages.kept()) info->messages.Add(message.ToString());
  const auto width = static_cast<size_t>(info->width);
  for (size_t i = 0; i < scan.parts.size(); ++i) {
    parts_.push_back({scan.parts[i].component, Row(width), Row(width)});
    tables_[i] = scan.parts[i].table;
  }
}

common::Status ScanDecoder::Decode() {
  size_t index = 0;
  for (int y = 0; y < info_->height; y += rows_in_interval_, ++index) {
    const int rows = std::min(rows_in_interval_, info_->height - y);
    BeginInterval(intervals_.starts[index], y, rows);
    for (int row = y; row < interval_end_; ++row) {
      DecodeRow(row);
      Reconstruct(row == y);
      if (!IsPredictable()) {
        return common::Status::Error("predictor 6 with samples of 16 bits is not supported");
      }
      TakeRow(row);
    }
    FinishInterval(index);
  }
  return common::Status();
}

void ScanDecoder::BeginInterval(size_t start, int y, int rows) {
  interval_end_ = y + rows;
  lost_ = start == jpeg::Intervals::kLost;
  if (lost_) {
    info_->messages.Add("a restart interval is missing: rows " + std::to_string(y) + " to " +
                        std::to_string(interval_end_ - 1) + " are lost");
    return;
  }
  base_ = start;
  at_ = 0;
  marker_ = 0;
  Rebase();
  zepiDecodeHuffmanStateInit_JPEG_8u(&state_);
}

// Positions have 32 bits, files may be larger.
void ScanDecoder::Rebase() {
  base_ += static_cast<size_t>(at_);
  at_ = 0;
  length_ = static_cast<int32_t>(std::min<size_t>(size_ - base_, INT32_MAX));
}

void ScanDecoder::DecodeRow(int y) {
  int16_t* rows[kMostComponents] = {};
  for (size_t i = 0; i < parts_.size(); ++i) {
    rows[i] = parts_[i].row.data();
    std::fill(parts_[i].row.begin(), parts_[i].row.end(), int16_t{0});  // for what may be lost
  }
  if (lost_) return;
  if (at_ > INT32_MAX / 2) Rebase();
  const zepStatus status = zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
      data_ + base_, length_, &at_, rows, info_->width, static_cast<int32_t>(parts_.size()),
      &marker_, tables_, &state_);
  if (status != zepStatusOk) ReportLoss(status, y);
}

void ScanDecoder::ReportLoss(zepStatus status, int y) {
  lost_ = true;
  info_->messages.AddAtByte(Offset(), Reason(status) + "; row " + std::to_string(y) +
                                          " is damaged, " + std::to_string(interval_end_ - 1 - y) +
                                          " more are lost");
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

// Much data that no row asked for is a sign of damage that made no bad code.
void ScanDecoder::FinishInterval(size_t index) {
  constexpr size_t kMayRemain = 8;
  if (lost_) return;
  size_t next = intervals_.end;
  if (index + 1 < intervals_.starts.size()) {
    if (intervals_.starts[index + 1] == jpeg::Intervals::kLost) return;
    next = intervals_.starts[index + 1] - 2;
  }
  if (next <= Offset() + kMayRemain) return;
  info_->messages.AddAtByte(
      Offset(), std::to_string(next - Offset()) + " bytes are left over; damage before them");
}

}  // namespace ljpeg
