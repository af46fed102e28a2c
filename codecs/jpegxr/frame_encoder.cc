// SPDX-License-Identifier: MIT
// Four stages follow one another, each a row of macroblocks at a time: pixels become samples, the
// components are transformed, the coefficients of tiles are quantized and predicted, the tiles are
// coded. The stages, the components and the groups of tiles side by side are lanes of a pipeline,
// so that several threads work on different rows.
#include "codecs/jpegxr/frame_encoder.h"

#include <algorithm>
#include <atomic>
#include <memory>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/color.h"
#include "codecs/jpegxr/plane_quantizer.h"
#include "codecs/jpegxr/tile_encoder.h"
#include "codecs/jpegxr/tile_lanes.h"
#include "codecs/jpegxr/transform.h"
#include "codecs/support/lanes.h"

namespace zepcodec::jpegxr {
namespace {

class Pipeline {
 public:
  Pipeline(RowSource* rows, const FrameHeader& frame, uint32_t trim, Progress* progress,
           ThreadPool* pool, Packets* tiles)
      : rows_(rows),
        frame_(frame),
        trim_(trim),
        shares_(frame, TilesOf(frame, AreaOf(frame)), frame.MbHeight(),
                UsefulThreads(frame, pool->size())),
        progress_(progress),
        pool_(pool),
        tiles_(tiles),
        waiting_(pool->size() == 1 ? 1 : 4) {}

  Status Encode() {
    if (Stops(progress_, 0, 1)) return Status::Cancelled();
    tiles_->resize(frame_.TileCount());
    plane_.header = frame_.plane;
    plane_.Resize(frame_.MbWidth(), frame_.MbHeight(), shares_.kept_rows());
    reader_ = std::make_unique<PixelReader>(frame_, shares_.kept_rows(), &plane_);
    AddLanes();
    return lanes_.Run(pool_);
  }

 private:
  enum Rank { kCoding, kQuantizing, kTransform, kPixels };

  // A group of tiles side by side, in the row of tiles that is encoded.
  struct Group {
    TileGroup columns;
    std::vector<PlaneQuantizer> quantizers;
    std::vector<std::unique_ptr<TileEncoder>> encoders;
    std::vector<std::vector<QuantizedMacroblock>> rows;  // a ring
  };

  size_t RowCount() const { return frame_.MbHeight(); }

  void AddLanes() {
    const size_t pixels =
        lanes_.Add(kPixels, RowCount(), [this](size_t row) { return ReadRow(row); });
    // At the end of a hard tile all rows of chroma are needed; the last one is made with the next
    // row.
    const size_t more = frame_.has_hard_tiles && frame_.plane.color == ColorFormat::k420 ? 1 : 0;
    std::vector<size_t> transforms;
    for (size_t c = 0; c < plane_.header.Components(); ++c) {
      transforms.push_back(lanes_.Add(kTransform, RowCount(), [this, c](size_t row) {
        TransformRow(row, c);
        return Status();
      }));
      lanes_.Wait(transforms.back(), pixels,
                  [this, more](size_t row) { return std::min(row + 1 + more, RowCount()); });
    }
    for (size_t phase = 0; phase < shares_.phases(); ++phase) {
      for (const TileGroup& group : shares_.groups()) AddTiles(phase, group, pixels, transforms);
    }
  }

  void AddTiles(size_t phase, const TileGroup& columns, size_t pixels,
                const std::vector<size_t>& transforms) {
    const std::vector<uint32_t>& rows = shares_.RowsOf(phase);
    const auto group = std::make_shared<Group>();
    group->columns = columns;
    group->rows.resize(waiting_);
    for (auto& row : group->rows) {
      row.resize(frame_.columns[columns.end_column] - frame_.columns[columns.first_column]);
    }
    const size_t quantizing =
        lanes_.Add(kQuantizing, rows.size(), [this, &rows, group](size_t step) {
          QuantizeRow(rows[step], step, group.get());
          return Status();
        });
    const size_t coding = lanes_.Add(kCoding, rows.size(), [this, &rows, group](size_t step) {
      return EncodeRow(rows[step], step, group.get());
    });
    // The second stage of a row follows the first stage of the next row.
    for (const size_t transform : transforms) {
      lanes_.Wait(quantizing, transform, [this, &rows](size_t step) {
        return std::min<size_t>(rows[step] + 2, RowCount());
      });
    }
    lanes_.Wait(quantizing, coding,
                [this](size_t step) { return step < waiting_ ? 0 : step - waiting_ + 1; });
    lanes_.Wait(coding, quantizing, [](size_t step) { return step + 1; });
    const size_t kept = shares_.kept_rows();
    lanes_.Wait(pixels, quantizing, [this, phase, kept](size_t row) {
      return row < kept ? 0 : shares_.RowsAbove(phase, row - kept + 1);
    });
  }

  Status ReadRow(size_t row) {
    Picture band;
    int y = 0;
    Status status = rows_->Next(16, &band, &y);
    if (status.ok()) reader_->ReadMbRow(row, band);
    return status;
  }

  void TransformRow(size_t row, size_t c) {
    ForwardMbRow(frame_, row, c, &plane_);
    if (row > 0) ForwardDcRow(frame_, row - 1, c, &plane_);
    if (row + 1 == RowCount()) ForwardDcRow(frame_, row, c, &plane_);
  }

  void QuantizeRow(size_t row, size_t step, Group* group) {
    const size_t tile_row = TileRowOf(frame_, row);
    const size_t first = tile_row * (frame_.columns.size() - 1);
    const TileGroup& columns = group->columns;
    if (row == frame_.rows[tile_row]) {
      group->quantizers.clear();
      for (size_t i = columns.first_column; i < columns.end_column; ++i) {
        group->quantizers.emplace_back(&plane_, AreaOfTile(frame_, first + i));
      }
    }
    QuantizedMacroblock* const macroblocks = group->rows[step % waiting_].data();
    for (size_t i = columns.first_column; i < columns.end_column; ++i) {
      group->quantizers[i - columns.first_column].QuantizeRow(macroblocks + frame_.columns[i] -
                                                              frame_.columns[columns.first_column]);
    }
  }

  Status EncodeRow(size_t row, size_t step, Group* group) {
    const size_t tile_row = TileRowOf(frame_, row);
    const size_t first = tile_row * (frame_.columns.size() - 1);
    const TileGroup& columns = group->columns;
    auto& encoders = group->encoders;
    if (row == frame_.rows[tile_row]) {
      for (size_t i = columns.first_column; i < columns.end_column; ++i) {
        encoders.push_back(std::make_unique<TileEncoder>(frame_, first + i, trim_));
      }
    }
    const QuantizedMacroblock* const macroblocks = group->rows[step % waiting_].data();
    for (size_t i = columns.first_column; i < columns.end_column; ++i) {
      encoders[i - columns.first_column]->EncodeRow(macroblocks + frame_.columns[i] -
                                                    frame_.columns[columns.first_column]);
    }
    if (row + 1 == frame_.rows[tile_row + 1]) {
      for (size_t i = columns.first_column; i < columns.end_column; ++i) {
        (*tiles_)[first + i] = encoders[i - columns.first_column]->Finish();
      }
      encoders.clear();
    }
    const size_t steps = RowCount() * shares_.groups().size();
    return Stops(progress_, ++coded_, steps) ? Status::Cancelled() : Status();
  }

  RowSource* rows_;
  const FrameHeader& frame_;
  uint32_t trim_;
  TileLanes shares_;
  Progress* progress_;
  ThreadPool* pool_;
  Packets* tiles_;
  size_t waiting_;  // rows that are quantized and not coded, at most
  CodedPlane plane_;
  std::unique_ptr<PixelReader> reader_;
  std::atomic<size_t> coded_{0};
  Lanes lanes_;
};

}  // namespace

Status EncodeFrame(RowSource* rows, const FrameHeader& frame, uint32_t trim, ThreadPool* pool,
                   Progress* progress, Packets* tiles) {
  return Pipeline(rows, frame, trim, progress, pool, tiles).Encode();
}

}  // namespace zepcodec::jpegxr
