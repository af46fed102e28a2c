// SPDX-License-Identifier: MIT
// What decoding takes, counted as the decoder allocates it.
#include <algorithm>
#include <cstdint>

#include "codecs/jpeg/coefficients.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/scan_pipeline.h"
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

int64_t IntervalCount(const FileInfo& info, const Geometry& geometry) {
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

// Samples between file and picture: planes or rows of MCUs, and rows of full resolution.
int64_t PlaneBytes(const Geometry& geometry, bool whole) {
  const int64_t step = geometry.step;
  int64_t bytes = 0;
  for (const ComponentGeometry& place : geometry.components) {
    const int64_t rows = int64_t{place.v} * place.block_size;
    bytes += step * (whole ? rows * geometry.mcu_rows : rows + 1);
    bytes += step * (geometry.McuHeight() + 2) + int64_t{8} * geometry.width;
  }
  return bytes;
}

// What several threads take more than one.
int64_t ThreadBytes(const FileInfo& info, const DecodeOptions& options, const Geometry& geometry,
                    int64_t blocks) {
  const auto threads = static_cast<int64_t>(ThreadCount(options.threads));
  if (threads == 1) return 0;
  const int64_t windows = (threads - 1) * PlaneBytes(geometry, false);
  if (info.frame.is_progressive) return windows + kMostTables * int64_t{sizeof(Tables)};
  if (!info.has_single_scan) return 0;
  const int64_t parts = std::min(blocks / kBlocksInAPart + 1,
                                 ScanPipeline::MostParts(blocks / geometry.mcu_rows, threads));
  return windows + parts * kMostBytesOfPart;
}

}  // namespace

int64_t MemoryNeed(const FileInfo& info, const DecodeOptions& options) {
  const Frame& frame = info.frame;
  const bool is_deep = frame.precision > 8;
  const Geometry geometry(frame, is_deep ? 1 : options.scale);
  int64_t blocks = 0;
  for (const ComponentGeometry& place : geometry.components) {
    blocks += PaddedBlocks(geometry, place);
  }
  const auto components = static_cast<int64_t>(frame.components.size());
  int64_t bytes = int64_t{geometry.width} * geometry.height * components * (is_deep ? 2 : 1);
  if (is_deep || frame.is_progressive) {
    bytes += blocks * static_cast<int64_t>(CoefficientPlane::BytesForBlock());
  }
  if (is_deep) {
    bytes += blocks * int64_t{64 * sizeof(uint16_t)};
  } else {
    bytes += PlaneBytes(geometry, !frame.is_progressive && !info.has_single_scan);
  }
  if (!is_deep) bytes += ThreadBytes(info, options, geometry, blocks);
  return bytes + kBytesForInterval * IntervalCount(info, Geometry(frame, 1)) +
         MetadataBytes(info.metadata) + kOther;
}

}  // namespace zepcodec::jpeg
