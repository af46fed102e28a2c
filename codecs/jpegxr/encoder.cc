// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/encoder.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/color.h"
#include "codecs/jpegxr/container.h"
#include "codecs/jpegxr/header_writer.h"
#include "codecs/jpegxr/quantizer.h"
#include "codecs/jpegxr/tile_encoder.h"
#include "codecs/jpegxr/transform.h"

namespace zepcodec::jpegxr {
namespace {

Status CheckImage(const Picture& image) {
  if (image.width() < 1 || image.height() < 1) return Status::Error("a picture without pixels");
  if (image.channels() != 1 && image.channels() != 3) return Status::Error("neither grey nor RGB");
  return Status();
}

Status CheckOptions(const EncodeOptions& options, SampleType type) {
  const auto is_within = [](int value, int low, int high) { return value >= low && value <= high; };
  if (!is_within(options.quality, 1, 100)) return Status::Error("the quality is 1 to 100");
  if (!is_within(options.quantizer, 0, 255)) return Status::Error("quantizers are 1 to 255");
  if (!is_within(options.trim, 0, 15)) return Status::Error("0 to 15 bits can be trimmed");
  if (options.tile_width < 0 || options.tile_width % 16 != 0 || options.tile_height < 0 ||
      options.tile_height % 16 != 0) {
    return Status::Error("tiles are multiples of 16");
  }
  if (type == SampleType::kF32 && !is_within(options.mantissa, 1, 23)) {
    return Status::Error("mantissas have 1 to 23 bits");
  }
  if (!is_within(options.shift, 0, 8 * BytesOf(type) - 1)) {
    return Status::Error("more bits left out than there are");
  }
  return Status();
}

// The starts of tiles and the end of the last one, in macroblocks.
std::vector<uint32_t> TileStarts(uint32_t whole, int tile_samples) {
  const uint32_t tile = tile_samples == 0 ? whole : static_cast<uint32_t>(tile_samples / 16);
  std::vector<uint32_t> starts;
  for (uint32_t start = 0; start < whole; start += tile) starts.push_back(start);
  starts.push_back(whole);
  return starts;
}

PlaneHeader MakePlaneHeader(const Picture& image, const EncodeOptions& options) {
  PlaneHeader plane;
  plane.color = image.channels() == 1 ? ColorFormat::kGrey : options.color;
  plane.bands = options.bands;
  plane.shift = options.shift;
  if (image.type() == SampleType::kF32) {
    plane.shift = options.mantissa;
    plane.exponent_bias = options.exponent_bias;
  }
  const int index = options.quantizer > 0 ? options.quantizer : IndexOfQuality(options.quality);
  const auto quantizer = static_cast<uint8_t>(options.lossless ? 1 : index);
  plane.dc.fill(quantizer);
  plane.lp.fill(quantizer);
  plane.hp.fill(quantizer);
  // Three more bits of precision where 32 bits have room for them.
  plane.is_scaled = !options.lossless && BytesOf(image.type()) < 4;
  return plane;
}

// In macroblocks.
uint32_t NarrowestFilteredPart(const FrameHeader& frame) {
  if (!frame.has_hard_tiles) return frame.MbWidth();
  uint32_t narrowest = frame.MbWidth();
  for (size_t i = 1; i < frame.columns.size(); ++i) {
    narrowest = std::min(narrowest, frame.columns[i] - frame.columns[i - 1]);
  }
  return narrowest;
}

Status MakeFrameHeader(const Picture& image, const EncodeOptions& options, FrameHeader* frame) {
  frame->overlap = options.overlap;
  frame->is_frequency_order = options.is_frequency_order;
  frame->has_trim = options.trim > 0;
  frame->is_rgb = image.channels() == 3;
  frame->type = image.type();
  frame->width = static_cast<uint32_t>(image.width());
  frame->height = static_cast<uint32_t>(image.height());
  frame->extra_right = (16 - frame->width % 16) % 16;
  frame->extra_bottom = (16 - frame->height % 16) % 16;
  frame->columns = TileStarts(frame->MbWidth(), options.tile_width);
  frame->rows = TileStarts(frame->MbHeight(), options.tile_height);
  constexpr size_t kMostTiles = 4096;
  if (frame->columns.size() > kMostTiles + 1 || frame->rows.size() > kMostTiles + 1) {
    return Status::Error("more than 4096 tiles in a row or column");
  }
  frame->has_hard_tiles = options.has_hard_tiles && frame->TileCount() > 1;
  frame->has_index = frame->TileCount() > 1 || frame->is_frequency_order;
  frame->plane = MakePlaneHeader(image, options);
  if (IsSubsampled(frame->plane.color) && NarrowestFilteredPart(*frame) < 2) {
    frame->overlap = std::min(frame->overlap, Overlap::kFirst);
  }
  return Status();
}

// The packets of each tile.
using Packets = std::vector<std::vector<std::vector<uint8_t>>>;

Status WriteFile(const Picture& image, const FrameHeader& frame, const Packets& tiles,
                 ByteBuffer* file) {
  std::vector<uint64_t> sizes;
  std::vector<Span> packets;
  for (const auto& tile : tiles) {
    for (const std::vector<uint8_t>& packet : tile) {
      sizes.push_back(packet.size());
      packets.push_back({packet.data(), packet.size(), 0});
    }
  }
  return WriteContainer(image, MakeHeaders(frame, sizes), packets, file);
}

// Planes as a whole: for several threads, or where filters stop at tiles.
Status EncodeWhole(const Picture& image, const FrameHeader& frame, size_t threads, uint32_t trim,
                   Progress* progress, CodedPlane* plane, Packets* tiles) {
  plane->Resize(frame.MbWidth(), frame.MbHeight());
  Status status = FromImage(image, frame, threads, plane);
  if (status.ok()) status = Forward(frame, threads, plane);
  if (!status.ok()) return status;
  return RunParallel(
      threads, tiles->size(),
      [&] {
        return [&](size_t i) {
          TileEncoder encoder(frame, i, trim, plane);
          for (size_t y = 0; y < encoder.Height(); ++y) encoder.EncodeRow();
          (*tiles)[i] = encoder.Finish();
        };
      },
      progress);
}

// One row of macroblocks at a time, through all tiles in it; only a few rows are in memory, and
// stay in the cache.
class StripEncoder {
 public:
  StripEncoder(const Picture& image, const FrameHeader& frame, uint32_t trim, CodedPlane* plane,
               Packets* tiles)
      : frame_(frame), trim_(trim), plane_(plane), tiles_(tiles) {
    constexpr size_t kKeptMbRows = 4;
    plane->Resize(frame.MbWidth(), frame.MbHeight(), kKeptMbRows);
    reader_ = std::make_unique<PixelReader>(image, frame, kKeptMbRows, plane);
  }

  Status Encode(Progress* progress) {
    const size_t rows = frame_.MbHeight();
    for (size_t row = 0; row < rows; ++row) {
      if (Stops(progress, row, rows)) return Status::Cancelled();
      reader_->ReadMbRow(row);
      ForwardMbRow(frame_, row, plane_);
      if (row > 0) EncodeRow(row - 1);
    }
    EncodeRow(rows - 1);
    return Status();
  }

 private:
  size_t TilesAcross() const { return frame_.columns.size() - 1; }

  void EncodeRow(size_t row) {
    ForwardDcRow(frame_, row, plane_);
    const size_t first_tile = tile_row_ * TilesAcross();
    if (row == frame_.rows[tile_row_]) {
      for (size_t i = 0; i < TilesAcross(); ++i) {
        encoders_.push_back(std::make_unique<TileEncoder>(frame_, first_tile + i, trim_, plane_));
      }
    }
    for (auto& encoder : encoders_) encoder->EncodeRow();
    if (row + 1 < frame_.rows[tile_row_ + 1]) return;
    for (size_t i = 0; i < TilesAcross(); ++i) (*tiles_)[first_tile + i] = encoders_[i]->Finish();
    encoders_.clear();
    ++tile_row_;
  }

  const FrameHeader& frame_;
  uint32_t trim_;
  CodedPlane* plane_;
  Packets* tiles_;
  std::unique_ptr<PixelReader> reader_;
  std::vector<std::unique_ptr<TileEncoder>> encoders_;
  size_t tile_row_ = 0;
};

Status EncodeFile(const Picture& image, const EncodeOptions& options, ByteBuffer* file) {
  Status status = CheckImage(image);
  if (status.ok()) status = CheckOptions(options, image.type());
  FrameHeader frame;
  if (status.ok()) status = MakeFrameHeader(image, options, &frame);
  if (!status.ok()) return status;
  const size_t threads = ThreadCount(options.threads);
  CodedPlane plane;
  plane.header = frame.plane;
  Packets tiles(frame.TileCount());
  const auto trim = static_cast<uint32_t>(options.trim);
  if (threads > 1 || (frame.has_hard_tiles && frame.overlap != Overlap::kNone)) {
    status = EncodeWhole(image, frame, threads, trim, options.progress, &plane, &tiles);
  } else {
    status = StripEncoder(image, frame, trim, &plane, &tiles).Encode(options.progress);
  }
  return status.ok() ? WriteFile(image, frame, tiles, file) : status;
}

}  // namespace

Status Encode(const Picture& image, const EncodeOptions& options, ByteBuffer* file) {
  try {
    return EncodeFile(image, options, file);
  } catch (const std::bad_alloc&) {
    return Status::NoMemory();
  }
}

}  // namespace zepcodec::jpegxr
