// SPDX-License-Identifier: MIT
// Five stages follow one another, each a row of macroblocks at a time: pixels become samples, the
// components are transformed, the coefficients of tiles are quantized and predicted, the low bands
// of the tiles are coded, the high band is coded. The stages, the components and the groups of
// tiles side by side are lanes of a pipeline, so that several threads work on different rows.
#include "codecs/jpegxr/frame_encoder.h"

#include <algorithm>
#include <atomic>
#include <deque>
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
    tiles_->assign(frame_.TileCount(), TilePacketBytes(PacketsOf(frame_)));
    plane_.header = frame_.plane;
    plane_.Resize(frame_.MbWidth(), frame_.MbHeight(), shares_.kept_rows());
    reader_ = std::make_unique<PixelReader>(frame_, shares_.kept_rows(), &plane_);
    AddLanes();
    return lanes_.Run(pool_);
  }

 private:
  enum Rank { kCodingHigh, kCodingLow, kQuantizing, kTransform, kPixels };

  // A row of macroblocks of a group of tiles, between quantizing and coding.
  struct Row {
    std::vector<QuantizedMacroblock> macroblocks;
    std::vector<LowBits> low;  // of each tile
  };

  // A group of tiles side by side. Each stage has those of the row of tiles that it works on.
  struct Group {
    TileGroup columns;
    std::vector<PlaneQuantizer> quantizers;
    std::deque<LowTileEncoder> low_encoders;
    std::deque<HighTileEncoder> high_encoders;
    std::vector<Row> rows;  // a ring
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
    for (Row& row : group->rows) {
      row.macroblocks.resize(frame_.columns[columns.end_column] -
                             frame_.columns[columns.first_column]);
      row.low.resize(columns.end_column - columns.first_column);
    }
    const size_t quantizing =
        lanes_.Add(kQuantizing, rows.size(), [this, &rows, group](size_t step) {
          QuantizeRow(rows[step], step, group.get());
          return Status();
        });
    const size_t low = lanes_.Add(kCodingLow, rows.size(), [this, &rows, group](size_t step) {
      EncodeLowRow(rows[step], step, group.get());
      return Status();
    });
    const size_t high = lanes_.Add(kCodingHigh, rows.size(), [this, &rows, group](size_t step) {
      return EncodeHighRow(rows[step], step, group.get());
    });
    // The second stage of a row follows the first stage of the next row.
    for (const size_t transform : transforms) {
      lanes_.Wait(quantizing, transform, [this, &rows](size_t step) {
        return std::min<size_t>(rows[step] + 2, RowCount());
      });
    }
    lanes_.Wait(quantizing, high,
                [this](size_t step) { return step < waiting_ ? 0 : step - waiting_ + 1; });
    lanes_.Wait(low, quantizing, [](size_t step) { return step + 1; });
    lanes_.Wait(high, low, [](size_t step) { return step + 1; });
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

  // A row of tiles, as it is needed for a row of macroblocks.
  struct TileRow {
    size_t first;  // tile of the frame
    bool begins, ends;
  };
  TileRow TileRowAt(size_t row) const {
    const size_t tile_row = TileRowOf(frame_, row);
    return {tile_row * (frame_.columns.size() - 1), row == frame_.rows[tile_row],
            row + 1 == frame_.rows[tile_row + 1]};
  }

  // Calls work(i, column, x) for each tile of a group: its number in the group, its column of
  // tiles, and its first column of macroblocks in the group.
  template <class Work>
  void ForEachTile(const TileGroup& columns, const Work& work) const {
    for (size_t i = columns.first_column; i < columns.end_column; ++i) {
      work(i - columns.first_column, i, frame_.columns[i] - frame_.columns[columns.first_column]);
    }
  }

  void QuantizeRow(size_t row, size_t step, Group* group) {
    const TileRow tiles = TileRowAt(row);
    if (tiles.begins) group->quantizers.clear();
    Row& to = group->rows[step % waiting_];
    ForEachTile(group->columns, [&](size_t i, size_t column, size_t x) {
      if (tiles.begins) {
        group->quantizers.emplace_back(&plane_, AreaOfTile(frame_, tiles.first + column));
      }
      group->quantizers[i].QuantizeRow(to.macroblocks.data() + x);
    });
  }

  void EncodeLowRow(size_t row, size_t step, Group* group) {
    const TileRow tiles = TileRowAt(row);
    if (tiles.begins) group->low_encoders.clear();
    Row& coded = group->rows[step % waiting_];
    ForEachTile(group->columns, [&](size_t i, size_t column, size_t x) {
      const size_t tile = tiles.first + column;
      if (tiles.begins) group->low_encoders.emplace_back(frame_, tile);
      group->low_encoders[i].EncodeRow(coded.macroblocks.data() + x, &coded.low[i]);
      if (tiles.ends) group->low_encoders[i].Finish(&(*tiles_)[tile]);
    });
  }

  Status EncodeHighRow(size_t row, size_t step, Group* group) {
    const TileRow tiles = TileRowAt(row);
    if (tiles.begins) group->high_encoders.clear();
    const Row& coded = group->rows[step % waiting_];
    ForEachTile(group->columns, [&](size_t i, size_t column, size_t x) {
      const size_t tile = tiles.first + column;
      if (tiles.begins) group->high_encoders.emplace_back(frame_, tile, trim_);
      group->high_encoders[i].EncodeRow(coded.macroblocks.data() + x, coded.low[i]);
      if (tiles.ends) group->high_encoders[i].Finish(&(*tiles_)[tile]);
    });
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
  size_t waiting_;  // rows that are quantized and not coded yet, at most
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
