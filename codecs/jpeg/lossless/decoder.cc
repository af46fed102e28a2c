// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <string>

#include "codecs/jpeg/band_output.h"
#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpeg/lossless/geometry.h"
#include "codecs/jpeg/lossless/parallel_scan.h"
#include "codecs/jpeg/lossless/rows.h"
#include "codecs/jpeg/lossless/scan_decoder.h"
#include "codecs/jpeg/markers/marker_reader.h"
#include "codecs/jpeg/markers/marker_walk.h"
#include "codecs/jpeg/markers/markers.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg::lossless {
namespace {

// Reads up to the next scan and checks its header; `found` is false at the end of the picture.
Status NextScan(MarkerReader* reader, bool* found) {
  Event event = Event::kFrame;
  while (event == Event::kFrame) {
    if (Status status = reader->Next(&event); !status.ok()) return status;
    if (!reader->frame().is_lossless && !reader->frame().components.empty()) {
      return Status::Error("a frame of another process than lossless with Huffman coding");
    }
  }
  *found = event == Event::kScan;
  if (!*found) return Status();
  for (const ScanComponent& part : reader->scan().components) {
    if (reader->tables().has_dc[part.dc_table]) continue;
    return Status::Error("a scan without its Huffman table");
  }
  const ScanGeometry geometry(reader->frame(), reader->scan());
  if (reader->restart_interval() % geometry.mcus_per_row == 0) return Status();
  return Status::Error("a restart interval of " + std::to_string(reader->restart_interval()) +
                       " MCUs is not made of whole rows");
}

void FillInfo(const MarkerReader& reader, FileInfo* info) {
  const Frame& frame = reader.frame();
  info->width = frame.width;
  info->height = frame.height;
  info->components = static_cast<int>(frame.components.size());
  info->bits = frame.precision;
  info->predictor = reader.scan().predictor();
  info->point_transform = reader.scan().point_transform();
  info->restart_interval = reader.restart_interval();
  info->adobe_transform = reader.adobe_transform();
  info->metadata = reader.metadata();
}

// Reads up to the first scan.
Status ReadHeaders(MarkerReader* reader, FileInfo* info) {
  bool found = false;
  Status status = NextScan(reader, &found);
  if (status.ok() && !found) status = Status::Error("the file has no picture in it");
  FillInfo(*reader, info);
  if (status.ok()) {
    const ScanGeometry geometry(reader->frame(), reader->scan());
    info->has_single_scan = reader->scan().components.size() == reader->frame().components.size();
    info->rows_in_band = RowsInABand(geometry, reader->restart_interval());
  }
  return reader->AtMarker(status);
}

class Decoder {
 public:
  Decoder(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
          FileInfo* info)
      : data_(data),
        size_(size),
        options_(options),
        picture_(picture),
        info_(info),
        reader_(data, size, &info->messages),
        pool_(options.threads) {}

  Status Decode() {
    if (Status status = ReadHeaders(&reader_, info_); !status.ok()) return status;
    if (Status status = CheckSize(); !status.ok()) return status;
    const RowForm form = {region_.width, region_.height,
                          LayoutOfComponents(static_cast<size_t>(info_->components)), info_->bits};
    BandOutput output(form, picture_, GivesRows(*info_) ? options_.rows : nullptr);
    if (!output.Init()) return Status::NoMemory();
    for (bool found = true; found && !IsRepeated();) {
      if (Status status = DecodeScan(&output); !status.ok()) return status;
      // All components are decoded: what follows does not matter.
      if (std::count(decoded_.begin(), decoded_.end(), true) == info_->components) break;
      if (Status status = NextScan(&reader_, &found); !status.ok()) {
        info_->messages.AddAt(reader_.marker_offset(), status.text());
        break;
      }
    }
    FillInfo(reader_, info_);
    FillMissing();
    return Status();
  }

 private:
  Status CheckSize() {
    const int64_t pixels = int64_t{info_->width} * info_->height;
    const std::string claim =
        std::to_string(info_->width) + " x " + std::to_string(info_->height) + " pixels";
    if (pixels > options_.max_pixels) {
      return Status::TooLarge("the header announces " + claim + ", more than the limit of " +
                              std::to_string(options_.max_pixels));
    }
    const int64_t bits = 8 * static_cast<int64_t>(size_ - reader_.position());
    if (SampleCount(reader_.frame()) > std::max(bits, kAlwaysAcceptedSamples)) {
      return Status::Error("the file is too small for the " + claim + " that it announces");
    }
    return options_.region.In(info_->width, info_->height, &region_);
  }

  bool IsRepeated() {
    for (const ScanComponent& part : reader_.scan().components) {
      if (!decoded_[static_cast<size_t>(part.index)]) continue;
      info_->messages.AddAt(reader_.marker_offset(), "a second scan of a component, not read");
      return true;
    }
    return false;
  }

  Status DecodeScan(BandOutput* output) {
    ScanDecoder scan(data_, size_, reader_, region_, output, &info_->messages);
    Status status = scan.Decode(&pool_, options_.part_bytes, options_.progress);
    if (!status.ok()) return status;
    for (const ScanComponent& part : reader_.scan().components) {
      decoded_[static_cast<size_t>(part.index)] = true;
    }
    reader_.Seek(scan.end());
    return Status();
  }

  void FillMissing() {
    const Row grey(static_cast<size_t>(info_->width), static_cast<int16_t>(1 << (info_->bits - 1)));
    const Row* const rows[kMostComponents] = {&grey};
    for (int c = 0; c < info_->components; ++c) {
      if (decoded_[static_cast<size_t>(c)]) continue;
      info_->messages.AddAt(reader_.position(), "component " + std::to_string(c) + " has no scan");
      for (int y = 0; y < region_.height; ++y) JoinRows(rows, 1, 0, c, 0, y, picture_);
    }
  }

  const uint8_t* data_;
  size_t size_;
  const DecodeOptions& options_;
  Picture* picture_;
  FileInfo* info_;
  MarkerReader reader_;
  ThreadPool pool_;
  Region region_;
  std::array<bool, kMostComponents> decoded_{};
};

}  // namespace

bool GivesRows(const FileInfo& info) { return info.has_single_scan; }

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
              FileInfo* info) {
  *info = FileInfo();
  return Decoder(data, size, options, picture, info).Decode();
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  *info = FileInfo();
  MarkerReader reader(data, size, &info->messages);
  return ReadHeaders(&reader, info);
}

bool IsLosslessJpeg(const uint8_t* data, size_t size) {
  if (size < 2 || data[0] != 0xFF || data[1] != kSoi) return false;
  for (MarkerWalk walk(data, size, 2); walk.Next();) {
    if (IsFrame(walk.marker())) return walk.marker() == kSof3 && !walk.segment().failed();
  }
  return false;
}

// The rows of the region, or the bands that a sink takes.
int64_t PixelBytes(const FileInfo& info, const DecodeOptions& options, const Region& region,
                   int64_t threads) {
  const int64_t in_row = int64_t{region.width} * info.components * (info.bits > 8 ? 2 : 1);
  if (options.rows == nullptr || !GivesRows(info)) return in_row * region.height;
  const bool has_intervals = info.restart_interval > 0;
  const int64_t bands = threads > 1 && has_intervals ? MostBands(threads) : 1;
  return in_row * std::min<int64_t>(bands * info.rows_in_band, region.height);
}

int64_t MemoryNeed(const FileInfo& info, const DecodeOptions& options) {
  constexpr int64_t kOther = 1 << 16;        // tables, messages
  constexpr int64_t kBytesForInterval = 96;  // lists of markers and of intervals, as vectors grow
  constexpr int64_t kRows = 6;  // of each component: those of an MCU, the one above, one for all
  constexpr int64_t kBytesForSegment = 64;
  const int64_t width = info.width, height = info.height, components = info.components;
  Region region;
  if (!options.region.In(info.width, info.height, &region).ok()) {
    region = {0, 0, info.width, info.height};  // decoding will end before it takes memory
  }
  const auto threads = static_cast<int64_t>(ThreadCount(options.threads));
  int64_t bytes = PixelBytes(info, options, region, threads);
  bytes += ParallelScanNeed(width, components, options.part_bytes, threads);
  bytes += (width + 4) * kRows * components * int64_t{sizeof(int16_t)};
  if (info.restart_interval > 0) bytes += height * kBytesForInterval;
  for (const jpeg::Segment& segment : info.metadata.segments) {
    bytes += 2 * static_cast<int64_t>(segment.data.size()) + kBytesForSegment;
  }
  return bytes + kOther;
}

}  // namespace zepcodec::jpeg::lossless
