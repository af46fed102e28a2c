// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/encoder.h"

#include <algorithm>
#include <new>
#include <vector>

#include "codecs/jpegxr/container.h"
#include "codecs/jpegxr/frame_encoder.h"
#include "codecs/jpegxr/header_writer.h"
#include "codecs/jpegxr/quantizer.h"

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

Status WriteFile(const Picture& form, const FrameHeader& frame, const Packets& tiles,
                 ByteSink* sink, ByteBuffer* file) {
  std::vector<uint64_t> sizes;
  std::vector<Span> packets;
  for (const auto& tile : tiles) {
    for (const std::vector<uint8_t>& packet : tile) {
      sizes.push_back(packet.size());
      packets.push_back({packet.data(), packet.size(), 0});
    }
  }
  return WriteContainer(form, MakeHeaders(frame, sizes), packets, sink, file);
}

Status EncodeFile(RowSource* rows, const EncodeOptions& options, ByteBuffer* file) {
  const Picture& form = rows->form();
  Status status = CheckImage(form);
  if (status.ok()) status = CheckOptions(options, form.type());
  FrameHeader frame;
  if (status.ok()) status = MakeFrameHeader(form, options, &frame);
  if (!status.ok()) return status;
  ThreadPool pool(options.threads);
  Packets tiles;
  status = EncodeFrame(rows, frame, static_cast<uint32_t>(options.trim), &pool, options.progress,
                       &tiles);
  return status.ok() ? WriteFile(form, frame, tiles, options.sink, file) : status;
}

}  // namespace

Status Encode(RowSource* rows, const EncodeOptions& options, ByteBuffer* file) {
  try {
    return EncodeFile(rows, options, file);
  } catch (const std::bad_alloc&) {
    return Status::NoMemory();
  }
}

}  // namespace zepcodec::jpegxr
