// SPDX-License-Identifier: MIT
// Three stages follow one another, each a row of macroblocks at a time: the tiles are decoded to
// coefficients, the components are transformed, pixels are made. The stages, the groups of tiles
// side by side and the components are lanes of a pipeline, so that several threads work on
// different rows.
//
// Of a region only the tiles that meet it are decoded, as far down as it reaches, and only its
// macroblocks and those beside it, which the overlap filters need, are transformed.
#include "codecs/jpegxr/frame_decoder.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/color.h"
#include "codecs/jpegxr/packet.h"
#include "codecs/jpegxr/tile_decoder.h"
#include "codecs/jpegxr/tile_lanes.h"
#include "codecs/jpegxr/transform.h"
#include "codecs/support/lanes.h"

namespace zepcodec::jpegxr {
namespace {

constexpr int64_t kMostPixels = int64_t{1} << 56;  // more than a header can claim

// The fewest bits of a macroblock: the code of components with high parts, and a pattern in each of
// the other bands.
int64_t LeastBits(const PlaneHeader& plane) {
  return (plane.Components() == 1 ? 1 : 2) + (plane.HasLp() ? 1 : 0) + (plane.HasHp() ? 1 : 0);
}

Status CheckClaims(const FrameHeader& frame, size_t bytes, const DecodeOptions& options) {
  const int64_t pixels = int64_t{frame.width} * frame.height;
  const std::string claim = "the header announces " + std::to_string(pixels) + " pixels";
  if (pixels > options.max_pixels) {
    return Status::TooLarge(claim + ", more than the limit of " +
                            std::to_string(options.max_pixels));
  }
  // Includes the padding to whole macroblocks, which is most of a narrow picture.
  const int64_t coded_pixels = int64_t{256} * frame.MbWidth() * frame.MbHeight();
  if (coded_pixels >
      std::max(2 * std::min(options.max_pixels, kMostPixels), kAlwaysAcceptedSamples)) {
    return Status::Error("macroblocks of " + std::to_string(coded_pixels) + " pixels for " +
                         std::to_string(pixels) + " of a narrow picture");
  }
  const size_t components = frame.plane.Components() + (frame.has_alpha ? 1 : 0);
  const int64_t samples = coded_pixels * static_cast<int64_t>(components);
  const int64_t bits = LeastBits(frame.plane) + (frame.has_alpha ? LeastBits(frame.alpha) : 0);
  if (samples > kAlwaysAcceptedSamples &&
      coded_pixels / 256 > static_cast<int64_t>(8 * bytes) / bits) {
    return Status::Error(claim + ", more than " + std::to_string(bytes) + " bytes can hold");
  }
  return Status();
}

// A copy of the tiles' bytes, followed by spare bytes.
class PaddedBytes {
 public:
  Status Set(const Span& codestream, size_t start) {
    const size_t size = codestream.size - start;
    if (!bytes_.Resize(size + PacketReader::kSpareBytes)) return Status::NoMemory();
    std::memcpy(bytes_.data(), codestream.data + start, size);
    std::memset(bytes_.data() + size, 0, PacketReader::kSpareBytes);
    size_ = size;
    return Status();
  }
  const uint8_t* At(uint64_t offset) const {
    return offset < size_ ? bytes_.data() + offset : nullptr;
  }
  const uint8_t* End() const { return bytes_.data() + size_; }

 private:
  ByteBuffer bytes_;
  size_t size_ = 0;
};

TilePackets PacketsOfTile(const Headers& headers, const PaddedBytes& bytes, size_t tile) {
  const size_t bands = headers.frame.is_frequency_order ? PacketsOf(headers.frame.plane.bands) : 1;
  TilePackets packets = {{}, bytes.End()};
  for (size_t i = 0; i < bands; ++i) {
    const size_t packet = tile * bands + i;
    if (packet < headers.packet_offsets.size()) {
      packets.begins[i] = bytes.At(headers.packet_offsets[packet]);
    }
  }
  return packets;
}

// One call of FrameDecoder::Decode().
class Pipeline {
 public:
  Pipeline(const Headers& headers, const TileArea& area, const Target& target, Progress* progress,
           ThreadPool* pool)
      : headers_(headers),
        frame_(headers.frame),
        area_(area),
        tiles_(TilesOf(frame_, area)),
        shares_(frame_, tiles_, area.y1, UsefulThreads(frame_, pool->size())),
        target_(target),
        progress_(progress),
        pool_(pool) {}

  Status Decode(const Span& codestream, Messages* messages) {
    if (Status status = bytes_.Set(codestream, headers_.data_start); !status.ok()) return status;
    if (Stops(progress_, 0, 1)) return Status::Cancelled();
    MakePlanes();
    results_.resize((tiles_.end_row - tiles_.first_row) * TilesAcross());
    AddLanes();
    Status status = lanes_.Run(pool_);
    for (size_t i = 0; i < results_.size(); ++i) {
      if (!results_[i].is_whole) messages->AddIn(Place("tile", TileAt(i)), results_[i].problem);
    }
    return status;
  }

 private:
  // Coding has the longest chain of steps. A single thread finishes rows while they are in the
  // cache.
  enum Rank { kCoding, kPixels, kTransform, kCodingAlone };

  // The tiles of a group of columns in the row of tiles that is decoded.
  using Tiles = std::vector<std::unique_ptr<TileDecoder>>;

  size_t FirstRow() const { return frame_.rows[tiles_.first_row]; }
  size_t RowCount() const { return area_.y1 - FirstRow(); }
  size_t TilesAcross() const { return tiles_.end_column - tiles_.first_column; }
  // The number of a tile in the frame, from the one in the range.
  size_t TileAt(size_t i) const {
    return (tiles_.first_row + i / TilesAcross()) * (frame_.columns.size() - 1) +
           tiles_.first_column + i % TilesAcross();
  }

  void MakePlanes() {
    planes_.resize(frame_.has_alpha ? 2 : 1);
    planes_[0].header = frame_.plane;
    if (frame_.has_alpha) planes_[1].header = frame_.alpha;
    int channel = target_.channel;
    for (CodedPlane& plane : planes_) {
      plane.Resize(frame_.MbWidth(), frame_.MbHeight(), shares_.kept_rows());
      pointers_.push_back(&plane);
      writers_.emplace_back(frame_, channel, target_.region, &plane);
      channel = ColorCount(target_.picture->layout());
    }
  }

  void AddLanes() {
    const size_t pixels =
        lanes_.Add(kPixels, RowCount(), [this](size_t step) { return WriteRow(step); });
    std::vector<size_t> transforms;
    for (CodedPlane& plane : planes_) {
      for (size_t c = 0; c < plane.header.Components(); ++c) {
        transforms.push_back(lanes_.Add(kTransform, RowCount(), [this, &plane, c](size_t step) {
          TransformRow(FirstRow() + step, c, &plane);
          return Status();
        }));
        lanes_.Wait(pixels, transforms.back(), [](size_t step) { return step + 1; });
      }
    }
    for (size_t phase = 0; phase < shares_.phases(); ++phase) {
      for (const TileGroup& group : shares_.groups()) AddTiles(phase, group, pixels, transforms);
    }
  }

  void AddTiles(size_t phase, const TileGroup& group, size_t pixels,
                const std::vector<size_t>& transforms) {
    const std::vector<uint32_t>& rows = shares_.RowsOf(phase);
    const auto tiles = std::make_shared<Tiles>();
    const Rank rank = pool_->size() == 1 ? kCodingAlone : kCoding;
    const size_t lane = lanes_.Add(rank, rows.size(), [this, &rows, group, tiles](size_t step) {
      DecodeRow(rows[step], group, tiles.get());
      return Status();
    });
    // The row replaces one whose last pixels are written two rows later.
    const size_t kept = shares_.kept_rows() - 3;
    lanes_.Wait(lane, pixels, [this, &rows, kept](size_t step) {
      const size_t row = rows[step] - FirstRow();
      return row < kept ? 0 : row - kept;
    });
    for (const size_t transform : transforms) {
      lanes_.Wait(transform, lane, [this, phase](size_t step) {
        return shares_.RowsAbove(phase, FirstRow() + step + 1);
      });
    }
  }

  void DecodeRow(size_t row, const TileGroup& group, Tiles* tiles) {
    Clear(row, group);
    const size_t tile_row = TileRowOf(frame_, row);
    if (row == frame_.rows[tile_row]) {
      tiles->clear();
      for (size_t i = group.first_column; i < group.end_column; ++i) {
        const size_t tile = tile_row * (frame_.columns.size() - 1) + i;
        tiles->push_back(std::make_unique<TileDecoder>(
            frame_, AreaOfTile(frame_, tile), PacketsOfTile(headers_, bytes_, tile), pointers_));
      }
    }
    for (auto& tile : *tiles) tile->DecodeRow();
    if (row + 1 < std::min<size_t>(frame_.rows[tile_row + 1], area_.y1)) return;
    const size_t first = (tile_row - tiles_.first_row) * TilesAcross() - tiles_.first_column;
    for (size_t i = group.first_column; i < group.end_column; ++i) {
      results_[first + i] = (*tiles)[i - group.first_column]->result();
    }
  }

  // Coefficients that are not coded are 0.
  void Clear(size_t row, const TileGroup& group) {
    const TileArea area = {frame_.columns[group.first_column], row,
                           frame_.columns[group.end_column], row + 1};
    for (CodedPlane& plane : planes_) {
      for (size_t c = 0; c < plane.header.Components(); ++c) {
        Component& component = plane.components[c];
        for (const Window& window : {component.Values(area), component.Dcs(area)}) {
          for (size_t y = 0; y < window.height; ++y) {
            std::memset(window.Row(y), 0, window.width * sizeof(int32_t));
          }
        }
      }
    }
  }

  void TransformRow(size_t row, size_t c, CodedPlane* plane) const {
    if (row < area_.y0) return;
    InverseDcRow(frame_, area_, row, c, plane);
    if (row > area_.y0) InverseMbRow(frame_, area_, row - 1, c, plane);
    if (row + 1 == area_.y1) InverseMbRow(frame_, area_, row, c, plane);
  }

  // The end of the region's rows that are final when this row is transformed. The filters and the
  // halved chroma of the next row can still change the last ones.
  int FinalRows(size_t row) const {
    constexpr int64_t kWaiting = 8;
    if (row + 1 == area_.y1) return target_.region.height;
    const int64_t end = 16 * static_cast<int64_t>(row) - kWaiting - frame_.extra_top;
    return static_cast<int>(std::clamp<int64_t>(end - target_.region.y, 0, target_.region.height));
  }

  Status WriteRow(size_t step) {
    const size_t row = FirstRow() + step;
    const int begin = row <= area_.y0 ? 0 : FinalRows(row - 1);
    const int end = row < area_.y0 ? 0 : FinalRows(row);
    if (end > begin) {
      Status status = WritePixels(begin, end);
      if (!status.ok()) return status;
    }
    return Stops(progress_, step + 1, RowCount()) ? Status::Cancelled() : Status();
  }

  Status WritePixels(int begin, int end) {
    Picture* const to = target_.rows == nullptr ? target_.picture : &band_;
    const int first = target_.rows == nullptr ? 0 : begin;
    if (target_.rows != nullptr &&
        !band_.ResizeLike(*target_.picture, target_.region.width, end - begin)) {
      return Status::NoMemory();
    }
    for (PixelWriter& writer : writers_) {
      for (int y = begin; y < end; ++y) writer.WriteRow(y, to->Row(y - first), *to);
    }
    return target_.rows == nullptr ? Status() : target_.rows->Take(band_, begin);
  }

  const Headers& headers_;
  const FrameHeader& frame_;
  TileArea area_;  // that is transformed
  TileRange tiles_;
  TileLanes shares_;
  Target target_;
  Progress* progress_;
  ThreadPool* pool_;
  PaddedBytes bytes_;
  std::vector<CodedPlane> planes_;
  std::vector<CodedPlane*> pointers_;
  std::vector<PixelWriter> writers_;
  std::vector<TileResult> results_;
  Picture band_;
  Lanes lanes_;
};

}  // namespace

Status FrameDecoder::ReadHeader() {
  Status status = ReadHeaders(codestream_.data, codestream_.size, codestream_.offset, &headers_);
  return status.ok() ? CheckClaims(headers_.frame, codestream_.size, options_) : status;
}

// The macroblocks of a region and those beside it.
TileArea FrameDecoder::AreaFor(const Region& region) const {
  const FrameHeader& frame = headers_.frame;
  const auto first = [](int64_t place) {
    return static_cast<size_t>(std::max<int64_t>(place / 16 - 1, 0));
  };
  const auto end = [](int64_t place, uint32_t most) {
    return static_cast<size_t>(std::min<int64_t>((place + 15) / 16 + 1, most));
  };
  const int64_t x = int64_t{region.x} + frame.extra_left;
  const int64_t y = int64_t{region.y} + frame.extra_top;
  return {first(x), first(y), end(x + region.width, frame.MbWidth()),
          end(y + region.height, frame.MbHeight())};
}

Status FrameDecoder::Decode(const Target& target, ThreadPool* pool, Messages* messages) const {
  return Pipeline(headers_, AreaFor(target.region), target, options_.progress, pool)
      .Decode(codestream_, messages);
}

int64_t FrameDecoder::Memory(const Region& region, size_t threads) const {
  const FrameHeader& frame = headers_.frame;
  const TileArea area = AreaFor(region);
  const TileLanes shares(frame, TilesOf(frame, area), area.y1, UsefulThreads(frame, threads));
  constexpr size_t kRest = size_t{1} << 22;  // stacks of threads and other small things
  uint64_t bytes = codestream_.size + PacketReader::kSpareBytes + kRest;
  bytes += frame.TileCount() * sizeof(TileResult) * 2 +
           headers_.packet_offsets.capacity() * sizeof(uint64_t) +
           frame.MbHeight() * sizeof(uint32_t);
  for (const PlaneHeader* plane : {&frame.plane, &frame.alpha}) {
    if (plane == &frame.alpha && !frame.has_alpha) break;
    bytes += CodedPlane::MemoryOf(*plane, frame.MbWidth(), frame.MbHeight(), shares.kept_rows()) +
             TileDecoder::MemoryOf(shares.OpenTiles(), frame.MbWidth() * shares.phases()) +
             PixelWriter::MemoryOf(frame.MbWidth());
  }
  return static_cast<int64_t>(bytes);
}

}  // namespace zepcodec::jpegxr
