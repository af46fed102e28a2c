// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/decoder.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/color.h"
#include "codecs/jpegxr/container.h"
#include "codecs/jpegxr/header_reader.h"
#include "codecs/jpegxr/packet.h"
#include "codecs/jpegxr/tile_decoder.h"
#include "codecs/jpegxr/transform.h"

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

Status DecodeTiles(const Headers& headers, const PaddedBytes& bytes, size_t threads,
                   const std::vector<CodedPlane*>& planes, Progress* progress, Messages* messages) {
  const FrameHeader& frame = headers.frame;
  std::vector<TileResult> results(frame.TileCount());
  Status status = RunParallel(
      threads, results.size(),
      [&] {
        return [&](size_t i) {
          const TileArea area = AreaOfTile(frame, i);
          TileDecoder decoder(frame, area, PacketsOfTile(headers, bytes, i), planes);
          for (size_t y = 0; y < area.Height(); ++y) decoder.DecodeRow();
          results[i] = decoder.result();
        };
      },
      progress);
  for (size_t i = 0; i < results.size(); ++i) {
    if (!results[i].is_whole) messages->AddIn(Place("tile", i), results[i].problem);
  }
  return status;
}

// In strips only a few rows of macroblocks are in memory at a time, and stay in the cache.
bool DecodesStrips(const FrameHeader& frame, size_t threads) {
  return threads == 1 && !(frame.has_hard_tiles && frame.overlap != Overlap::kNone);
}

// Decodes one row of macroblocks at a time, through all tiles in it.
class StripDecoder {
 public:
  // The row that is decoded, the one before it that is transformed, and the end of the one before
  // that, which later pixels need.
  static constexpr size_t kKeptMbRows = 4;

  StripDecoder(const Headers& headers, const PaddedBytes& bytes, int channel,
               std::vector<CodedPlane>* planes, Picture* image)
      : headers_(headers), frame_(headers.frame), bytes_(bytes) {
    for (CodedPlane& plane : *planes) {
      planes_.push_back(&plane);
      writers_.emplace_back(frame_, channel, &plane, image);
      channel = ColorCount(image->layout());
    }
  }

  Status Decode(Progress* progress, Messages* messages) {
    const size_t rows = frame_.MbHeight();
    for (size_t tile_row = 0; tile_row + 1 < frame_.rows.size(); ++tile_row) {
      OpenTiles(tile_row);
      for (size_t row = frame_.rows[tile_row]; row < frame_.rows[tile_row + 1]; ++row) {
        if (Stops(progress, row, rows)) return Status::Cancelled();
        DecodeRow(row);
        if (row > 0) FinishRow(row - 1, false);
      }
      CloseTiles(tile_row, messages);
    }
    FinishRow(rows - 1, true);
    return Status();
  }

 private:
  size_t TilesAcross() const { return frame_.columns.size() - 1; }

  void OpenTiles(size_t tile_row) {
    for (size_t i = 0; i < TilesAcross(); ++i) {
      const size_t tile = tile_row * TilesAcross() + i;
      tiles_.push_back(std::make_unique<TileDecoder>(
          frame_, AreaOfTile(frame_, tile), PacketsOfTile(headers_, bytes_, tile), planes_));
    }
  }

  void CloseTiles(size_t tile_row, Messages* messages) {
    for (size_t i = 0; i < tiles_.size(); ++i) {
      const TileResult& result = tiles_[i]->result();
      if (result.is_whole) continue;
      messages->AddIn(Place("tile", tile_row * TilesAcross() + i), result.problem);
    }
    tiles_.clear();
  }

  void DecodeRow(size_t row) {
    for (CodedPlane* plane : planes_) {
      for (size_t c = 0; c < plane->header.Components(); ++c) {
        Component& component = plane->components[c];
        const size_t height = 4 * component.blocks_down;
        const Window all = component.values.All();
        std::memset(all.Row(row * height), 0, all.stride * height * sizeof(int32_t));
      }
    }
    for (auto& tile : tiles_) tile->DecodeRow();
    for (CodedPlane* plane : planes_) InverseDcRow(frame_, row, plane);
  }

  // Pixels that the filters or the halved chroma of the next row can still change are written
  // later.
  void FinishRow(size_t row, bool is_last) {
    constexpr size_t kWaiting = 8;
    const size_t bottom = is_last ? SIZE_MAX : 16 * (row + 1) - kWaiting;
    for (CodedPlane* plane : planes_) InverseMbRow(frame_, row, plane);
    const size_t end =
        bottom <= frame_.extra_top ? 0 : std::min<size_t>(bottom - frame_.extra_top, frame_.height);
    for (PixelWriter& writer : writers_) {
      for (size_t y = written_; y < end; ++y) writer.WriteRow(y);
    }
    written_ = std::max(written_, end);
  }

  const Headers& headers_;
  const FrameHeader& frame_;
  const PaddedBytes& bytes_;
  std::vector<CodedPlane*> planes_;
  std::vector<PixelWriter> writers_;
  std::vector<std::unique_ptr<TileDecoder>> tiles_;
  size_t written_ = 0;
};

// One codestream. Its colours go to `channel` and those after it, then opacity if it has any.
class FrameDecoder {
 public:
  FrameDecoder(const Span& codestream, const DecodeOptions& options)
      : codestream_(codestream), options_(options), threads_(ThreadCount(options.threads)) {}

  Status ReadHeader() {
    Status status = ReadHeaders(codestream_.data, codestream_.size, codestream_.offset, &headers_);
    return status.ok() ? CheckClaims(headers_.frame, codestream_.size, options_) : status;
  }
  const FrameHeader& frame() const { return headers_.frame; }

  Status Decode(int channel, Picture* image, Messages* messages) {
    const FrameHeader& frame = headers_.frame;
    PaddedBytes bytes;
    Status status = bytes.Set(codestream_, headers_.data_start);
    if (!status.ok()) return status;
    std::vector<CodedPlane> planes(frame.has_alpha ? 2 : 1);
    planes[0].header = frame.plane;
    if (frame.has_alpha) planes[1].header = frame.alpha;
    if (!DecodesStrips(frame, threads_)) {
      return DecodeWhole(bytes, channel, &planes, image, messages);
    }
    for (CodedPlane& plane : planes) {
      plane.Resize(frame.MbWidth(), frame.MbHeight(), StripDecoder::kKeptMbRows);
    }
    return StripDecoder(headers_, bytes, channel, &planes, image)
        .Decode(options_.progress, messages);
  }

  // The memory that Decode() takes in addition to the image.
  int64_t Memory() const {
    const FrameHeader& frame = headers_.frame;
    const bool in_strips = DecodesStrips(frame, threads_);
    const size_t open_tiles =
        in_strips ? frame.columns.size() - 1 : std::min(threads_, frame.TileCount());
    const size_t kept_rows = in_strips ? StripDecoder::kKeptMbRows : 0;
    constexpr size_t kRest = size_t{1} << 22;  // stacks of threads and other small things
    size_t bytes = codestream_.size + PacketReader::kSpareBytes + kRest;
    bytes += frame.TileCount() * sizeof(TileResult) * 2 +
             headers_.packet_offsets.capacity() * sizeof(uint64_t);
    for (const PlaneHeader* plane : {&frame.plane, &frame.alpha}) {
      if (plane == &frame.alpha && !frame.has_alpha) break;
      bytes += CodedPlane::MemoryOf(*plane, frame.MbWidth(), frame.MbHeight(), kept_rows) +
               TileDecoder::MemoryOf(open_tiles, frame.MbWidth()) +
               PixelWriter::MemoryOf(frame.MbWidth()) * threads_;
    }
    return static_cast<int64_t>(bytes);
  }

 private:
  Status DecodeWhole(const PaddedBytes& bytes, int channel, std::vector<CodedPlane>* planes,
                     Picture* image, Messages* messages) {
    const FrameHeader& frame = headers_.frame;
    std::vector<CodedPlane*> pointers;
    for (CodedPlane& plane : *planes) {
      plane.Resize(frame.MbWidth(), frame.MbHeight());
      pointers.push_back(&plane);
    }
    Status status = DecodeTiles(headers_, bytes, threads_, pointers, options_.progress, messages);
    for (CodedPlane* plane : pointers) {
      if (status.ok()) status = Inverse(frame, threads_, plane);
      if (status.ok()) status = ToImage(frame, channel, threads_, plane, image);
      channel = ColorCount(image->layout());
    }
    return status;
  }

  Span codestream_;
  const DecodeOptions& options_;
  size_t threads_;
  Headers headers_;
};

void FillOpaque(Picture* image) {
  const size_t bytes = image->BytesPerSample();
  const auto channels = static_cast<size_t>(image->channels());
  uint8_t* const samples = image->Row(0);
  for (size_t i = channels - 1; i < image->SampleCount(); i += channels) {
    image->StoreOne(samples + i * bytes);
  }
}

// The codestreams of a file, with their headers read.
class FileDecoder {
 public:
  FileDecoder(const Container& container, const DecodeOptions& options)
      : alpha_(container.alpha), options_(options), decoder_(container.picture, options) {}

  Status ReadHeader() { return decoder_.ReadHeader(); }
  const FrameHeader& frame() const { return decoder_.frame(); }
  PixelLayout Layout() const {
    const bool has_alpha = frame().has_alpha || HasOwnAlpha();
    if (frame().is_rgb) return has_alpha ? PixelLayout::kRgba : PixelLayout::kRgb;
    return has_alpha ? PixelLayout::kGreyAlpha : PixelLayout::kGrey;
  }

  // The most memory that Decode() takes.
  int64_t Memory() const {
    int64_t bytes = decoder_.Memory();
    if (HasOwnAlpha()) {
      FrameDecoder alpha(alpha_, options_);
      if (OpenAlpha(&alpha).ok()) bytes = std::max(bytes, alpha.Memory());
    }
    const int64_t channels = ChannelCount(Layout());
    return bytes + channels * BytesOf(frame().type) * frame().width * frame().height;
  }

  Status Decode(Picture* image, FileInfo* info) {
    if (!image->Resize(static_cast<int>(frame().width), static_cast<int>(frame().height), Layout(),
                       frame().type)) {
      return Status::NoMemory();
    }
    std::memset(image->Row(0), 0, image->SizeInBytes());  // for rows that damage leaves out
    Status status = decoder_.Decode(0, image, &info->messages);
    if (!status.ok() || !HasOwnAlpha()) return status;
    FrameDecoder decoder(alpha_, options_);
    Status alpha = OpenAlpha(&decoder);
    if (alpha.ok()) alpha = decoder.Decode(ColorCount(image->layout()), image, &info->messages);
    const Status::Kind kind = alpha.kind();
    if (kind == Status::Kind::kCancelled || kind == Status::Kind::kNoMemory) return alpha;
    if (!alpha.ok()) {
      info->messages.Add("opacity: " + alpha.text());
      FillOpaque(image);
    }
    return status;
  }

 private:
  bool HasOwnAlpha() const { return alpha_.size > 0 && !frame().has_alpha; }

  Status OpenAlpha(FrameDecoder* decoder) const {
    const Status status = decoder->ReadHeader();
    const FrameHeader& alpha = decoder->frame();
    if (status.ok() && (alpha.width != frame().width || alpha.height != frame().height ||
                        alpha.type != frame().type || alpha.is_rgb)) {
      return Status::Error("it does not fit the picture");
    }
    return status;
  }

  Span alpha_;
  const DecodeOptions& options_;
  FrameDecoder decoder_;
};

// Reads the headers, then calls `use` with the decoder of the file.
template <class Use>
Status OpenFile(const uint8_t* data, size_t size, const DecodeOptions& options, FileInfo* info,
                const Use& use) {
  try {
    Container container;
    Status status = ReadContainer(data, size, &info->messages, &info->notes, &container);
    if (!status.ok()) return status;
    FileDecoder decoder(container, options);
    status = decoder.ReadHeader();
    info->frame = decoder.frame();
    info->layout = decoder.Layout();
    ApplyTransform(info->frame.orientation, &container);
    info->metadata = container.metadata;
    return status.ok() ? use(&decoder) : status;
  } catch (const std::bad_alloc&) {
    return Status::NoMemory();
  }
}

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* image,
              FileInfo* info) {
  return OpenFile(data, size, options, info,
                  [&](FileDecoder* decoder) { return decoder->Decode(image, info); });
}

Status EstimateMemory(const uint8_t* data, size_t size, const DecodeOptions& options,
                      int64_t* bytes) {
  FileInfo info;
  return OpenFile(data, size, options, &info, [&](FileDecoder* decoder) {
    *bytes = decoder->Memory();
    return Status();
  });
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  const DecodeOptions options;
  return OpenFile(data, size, options, info, [](FileDecoder*) { return Status(); });
}

}  // namespace zepcodec::jpegxr
