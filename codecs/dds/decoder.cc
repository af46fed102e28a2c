// SPDX-License-Identifier: MIT
// The rows of blocks of a level become pixels in bands, on all threads.
#include <algorithm>
#include <string>
#include <vector>

#include "codecs/dds/blocks.h"
#include "codecs/dds/codec.h"
#include "codecs/support/parallel.h"
#include "codecs/support/shared_status.h"

namespace zepcodec::dds {
namespace {

bool Resize(const PixelFormat& format, int width, int height, Picture* image) {
  const bool is_unsigned = format.type == SampleType::kU8 || format.type == SampleType::kU16;
  return is_unsigned ? image->Resize(width, height, format.layout, format.bits)
                     : image->Resize(width, height, format.layout, format.type);
}

// Where a level's blocks are, if the file has it whole.
Status FindLevel(const Header& header, const DecodeOptions& options, Level* place) {
  if (options.level < 0 || options.level >= header.levels) {
    return Status::BadOption("there is no level " + std::to_string(options.level));
  }
  *place = LevelsOf(header)[static_cast<size_t>(options.level)];
  if (place->width > options.max_pixels / place->height) {
    return Status::TooLarge(std::to_string(place->width) + " x " + std::to_string(place->height) +
                            " pixels are more than the limit of " +
                            std::to_string(options.max_pixels));
  }
  return Status();
}

// Rows of blocks in a band. Where two threads touch the same large page for the first time, both
// clear it, so that few bands are best.
size_t BlockRowsInBand(size_t threads, size_t block_rows) {
  constexpr size_t kLeast = 4;
  const size_t bands = 2 * threads;
  return std::max((block_rows + bands - 1) / bands, kLeast);
}

// A batch of rows of the simple formats takes less time than a thread needs to wake up.
int ThreadsFor(const DecodeOptions& options, BlockFormat format) {
  const bool is_costly = HasHalves(format) || format == BlockFormat::kBc7;
  return options.rows != nullptr && !is_costly ? 1 : options.threads;
}

class Decoder {
 public:
  Decoder(const Header& header, const Level& level, const Region& region, const uint8_t* data)
      : coding_(CodingOf(header)),
        result_(ResultOf(header)),
        region_(region),
        row_bytes_(StoredRowBytes(coding_, level.width)),
        blocks_(data + level.offset + StoredOffset(coding_, region.x)) {}

  Status Decode(const DecodeOptions& options, Picture* image) {
    ThreadPool pool(ThreadsFor(options, coding_.format));
    if (Stops(options.progress, 0, 1)) return Status::Cancelled();
    if (options.rows != nullptr) return DecodeRows(options, &pool);
    Status status = DecodeBlocks(0, BlockRowsOf(region_), options.progress, &pool, image);
    return status;
  }

  // Rows of blocks that are in memory at a time if rows are handed out.
  static size_t BlockRowsAtOnce(size_t threads) { return 8 * threads; }

  static size_t BlockRowsOf(const Region& region) {
    return static_cast<size_t>((region.y + region.height + 3) / 4 - region.y / 4);
  }

 private:
  Status DecodeRows(const DecodeOptions& options, ThreadPool* pool) {
    const size_t all = BlockRowsOf(region_);
    const size_t at_once = std::min(all, BlockRowsAtOnce(pool->size()));
    Picture rows;
    for (size_t first = 0; first < all; first += at_once) {
      const size_t end = std::min(first + at_once, all);
      Status status = DecodeBlocks(first, end, nullptr, pool, &rows);
      if (status.ok()) status = options.rows->Take(rows, TopOf(first));
      if (!status.ok()) return status;
      if (Stops(options.progress, end, all)) return Status::Cancelled();
    }
    return Status();
  }

  // The row of the region with which a row of its blocks begins.
  int TopOf(size_t block_row) const {
    const int top = static_cast<int>((static_cast<size_t>(region_.y) / 4 + block_row) * 4);
    return std::clamp(top - region_.y, 0, region_.height);
  }

  // The pixels of the rows of blocks from `first` up to but excluding `end`.
  Status DecodeBlocks(size_t first, size_t end, Progress* progress, ThreadPool* pool,
                      Picture* image) {
    const int top = TopOf(first);
    if (!Resize(result_, region_.width, TopOf(end) - top, image)) {
      return Status::NoMemory();
    }
    const size_t band = BlockRowsInBand(pool->size(), end - first);
    SharedStatus shared;
    Status status = RunParallel(
        pool, (end - first + band - 1) / band,
        [&] {
          return [&, decoder = BlockDecoder(coding_)](size_t i) mutable {
            const size_t begin = first + i * band;
            const int y = TopOf(begin);
            const size_t row = static_cast<size_t>(region_.y) / 4 + begin;
            shared.Take(decoder.Decode({blocks_ + row * row_bytes_, row_bytes_}, region_.x % 4,
                                       begin == 0 ? region_.y % 4 : 0, y - top,
                                       TopOf(std::min(begin + band, end)) - y, image));
          };
        },
        progress);
    return shared.has_failed() ? shared.status() : status;
  }

  Coding coding_;
  PixelFormat result_;
  Region region_;
  size_t row_bytes_;
  const uint8_t* blocks_;  // at the region's left border
};

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* image,
              Header* header) {
  Level place = {};
  Region region;
  Status status = ParseHeader(data, size, header);
  if (status.ok()) status = FindLevel(*header, options, &place);
  if (status.ok()) status = options.region.In(place.width, place.height, &region);
  if (!status.ok()) return status;
  return Decoder(*header, place, region, data).Decode(options, image);
}

int64_t MemoryToDecode(const Header& header, const DecodeOptions& options) {
  Level place = {};
  Region region;
  if (!FindLevel(header, options, &place).ok() ||
      !options.region.In(place.width, place.height, &region).ok()) {
    return 0;  // Decode() refuses it
  }
  const size_t threads = ThreadCount(ThreadsFor(options, header.format));
  const PixelFormat result = ResultOf(header);
  const auto row = static_cast<size_t>(region.width) *
                   static_cast<size_t>(ChannelCount(result.layout) * BytesOf(result.type));
  const size_t all = Decoder::BlockRowsOf(region);
  const size_t at_once =
      options.rows == nullptr ? all : std::min(all, Decoder::BlockRowsAtOnce(threads));
  const size_t scratch =
      threads * (BlockDecoder::MemoryOf(CodingOf(header), region.width) + sizeof(BlockDecoder));
  constexpr size_t kRest = size_t{1} << 16;
  return static_cast<int64_t>(4 * at_once * row + scratch + kRest);
}

}  // namespace zepcodec::dds
