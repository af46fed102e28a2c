// SPDX-License-Identifier: MIT
#include "codecs/jpeg/lossless/scan_decoder.h"

#include <algorithm>

namespace zepcodec::jpeg::lossless {

ScanDecoder::ScanDecoder(const uint8_t* data, size_t size, const MarkerReader& headers,
                         Picture* picture, Messages* messages)
    : frame_(headers.frame()),
      picture_(picture),
      geometry_(frame_, headers.scan()),
      prediction_{headers.scan().predictor(), frame_.precision, headers.scan().point_transform()},
      source_(data, size,
              FindIntervals(data, size, headers.position(), geometry_.McuCount(),
                            headers.restart_interval(), messages),
              geometry_.McuCount(), headers.restart_interval(), messages),
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

// Restart intervals are whole rows.
Status ScanDecoder::Decode(Progress* progress) {
  for (int row = 0; row < geometry_.mcu_rows; ++row) {
    if (Stops(progress, row, geometry_.mcu_rows)) return Status::Cancelled();
    const bool is_first = source_.Begin();
    DecodeMcuRow();
    Reconstruct(is_first);
    TakeMcuRow(row);
    source_.End(geometry_.mcus_per_row);
  }
  return Status();
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

// Copies the samples to the picture: all components at once if they are adjacent channels.
void ScanDecoder::TakeMcuRow(int mcu_row) {
  const Row* rows[kMostComponents] = {};
  const int count = static_cast<int>(parts_.size());
  bool is_plain = has_plain_mcus_ && IsPlain(frame_);
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
  for (size_t x = 0; x < wide_.size(); ++x) {
    wide_[x] = line[x * static_cast<size_t>(h) / static_cast<size_t>(frame_.max_h)];
  }
  const Row* rows[kMostComponents] = {&wide_};
  const int first = (y * frame_.max_v + v - 1) / v;
  const int last = std::min(((y + 1) * frame_.max_v + v - 1) / v, frame_.height);
  for (int row = first; row < last; ++row) {
    JoinRows(rows, 1, prediction_.point_transform, part.component, row, picture_);
  }
}

}  // namespace zepcodec::jpeg::lossless
