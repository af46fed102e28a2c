// SPDX-License-Identifier: MIT
// What decoding takes, counted as the decoder allocates it.
#include <algorithm>
#include <cstdint>

#include "codecs/jpeg/coefficients.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/part_plan.h"
#include "codecs/jpeg/scan_pipeline.h"
#include "codecs/jpeg/window.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg {
namespace {

constexpr int64_t kOther = 1 << 16;        // tables, messages
constexpr int64_t kBytesForInterval = 96;  // lists of markers and of intervals, as vectors grow
constexpr int64_t kBytesForSegment = 64;
constexpr int64_t kCopiesOfMetadata = 3;
constexpr int64_t kMostTables = 64;  // of scans that are decoded at the same time

// Blocks of a component, with those that only fill up MCUs.
int64_t PaddedBlocks(const Geometry& geometry, const ComponentGeometry& place) {
  return int64_t{geometry.mcus_per_row} * place.h * geometry.mcu_rows * place.v;
}

int64_t MostIntervals(const FileInfo& info, const Geometry& geometry) {
  if (info.restart_interval == 0) return 1;
  int64_t most = int64_t{geometry.mcus_per_row} * geometry.mcu_rows;
  for (const ComponentGeometry& place : geometry.components) {
    most = std::max(most, int64_t{place.blocks_per_row} * place.block_rows);
  }
  return most / info.restart_interval + 1;
}

int64_t MetadataBytes(const SavedSegments& metadata) {
  int64_t bytes = 0;
  for (const Segment& segment : metadata.segments) {
    bytes += static_cast<int64_t>(segment.data.size()) + kBytesForSegment;
  }
  return kCopiesOfMetadata * bytes;
}

// Samples between file and picture: planes or rows of MCUs of the window, and rows of full
// resolution.
int64_t PlaneBytes(const Window& window, bool whole) {
  const Geometry& geometry = window.geometry;
  const int64_t step = geometry.step;
  int64_t bytes = 0;
  for (const ComponentGeometry& place : geometry.components) {
    const int64_t rows = int64_t{place.v} * place.block_size;
    bytes += step * (whole ? rows * (window.mcus.end_row - window.mcus.first_row) : rows + 1);
    bytes += step * (geometry.McuHeight() + 2) + int64_t{8} * geometry.width;
  }
  return bytes;
}

// What several threads take more than one.
int64_t ThreadBytes(const FileInfo& info, const DecodeOptions& options, const Window& window,
                    int64_t blocks, int64_t threads) {
  if (threads == 1) return 0;
  const int64_t windows = (threads - 1) * PlaneBytes(window, false);
  if (info.frame.is_progressive) return windows + kMostTables * int64_t{sizeof(Tables)};
  if (!info.has_single_scan) return 0;
  const int64_t in_row = blocks / window.geometry.mcu_rows;
  const int64_t parts = std::min(blocks / options.part_blocks + 1,
                                 ScanPipeline::MostParts(in_row, options.part_blocks, threads));
  return windows + parts * MostBytesOfPart(options.part_blocks);
}

// The picture, or the bands that a sink takes.
int64_t PixelBytes(const FileInfo& info, const DecodeOptions& options, const Window& window,
                   int64_t threads) {
  const int64_t channels = ChannelCount(LayoutOf(info.model));
  const int64_t in_row = window.region.width * channels * (info.frame.precision > 8 ? 2 : 1);
  if (options.rows == nullptr || !GivesRows(info)) return in_row * window.region.height;
  const int64_t of_one = window.geometry.McuHeight() + 1;
  if (threads == 1) return in_row * of_one;
  const int64_t of_band =
      int64_t{ScanPipeline::RowsInABand(threads)} * window.geometry.McuHeight() + 1;
  return in_row * std::min<int64_t>(ScanPipeline::MostBands(threads) * of_band,
                                    window.region.height + of_one);
}

Window WindowOf(const DecodeOptions& options, const Geometry& geometry) {
  Region region;
  if (!options.region.In(geometry.width, geometry.height, &region).ok()) {
    region = {0, 0, geometry.width, geometry.height};  // decoding will end before it takes memory
  }
  return Window(geometry, region);
}

}  // namespace

int64_t MemoryNeed(const FileInfo& info, const DecodeOptions& options) {
  const Frame& frame = info.frame;
  const bool is_deep = frame.precision > 8;
  const Geometry geometry(frame, is_deep ? 1 : options.scale);
  const Window window = WindowOf(options, geometry);
  const auto threads = static_cast<int64_t>(ThreadCount(options.threads));
  int64_t blocks = 0;
  int64_t blocks_in_window = 0;
  for (const ComponentGeometry& place : geometry.components) {
    const McuWindow part = window.mcus.In(place.h, place.v);
    blocks += PaddedBlocks(geometry, place);
    blocks_in_window +=
        int64_t{part.end_column - part.first_column} * (part.end_row - part.first_row);
  }
  int64_t bytes = PixelBytes(info, options, window, threads);
  if (is_deep || frame.is_progressive) {
    bytes += blocks * static_cast<int64_t>(CoefficientPlane::BytesForBlock());
  }
  if (is_deep) {
    bytes += blocks_in_window * int64_t{64 * sizeof(uint16_t)};
  } else {
    bytes += PlaneBytes(window, !frame.is_progressive && !info.has_single_scan);
    bytes += ThreadBytes(info, options, window, blocks, threads);
  }
  return bytes + kBytesForInterval * MostIntervals(info, Geometry(frame, 1)) +
         MetadataBytes(info.metadata) + kOther;
}

}  // namespace zepcodec::jpeg
