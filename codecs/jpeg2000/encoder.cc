// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/encoder.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "codecs/jpeg2000/boxes.h"
#include "codecs/jpeg2000/colors.h"
#include "codecs/jpeg2000/encoder_header.h"
#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/marker_writer.h"
#include "codecs/jpeg2000/rate_control.h"
#include "codecs/jpeg2000/rate_forecast.h"
#include "codecs/jpeg2000/tile_encoder.h"
#include "codecs/jpeg2000/tile_loop.h"
#include "codecs/jpeg2000/without_exceptions.h"
#include "codecs/support/byte_order.h"

namespace zepcodec::jpeg2000 {
namespace {

Status CheckSamples(const Image& image) {
  for (const Component& component : image.components) {
    const int64_t count = int64_t{component.width} * component.height;
    if (component.samples.size() != static_cast<uint64_t>(count)) {
      return Status::Error("a component that does not fit the area of the picture");
    }
  }
  return Status();
}

// Whether each tile has all its coding passes in one layer, so that it needs no other tile.
bool AreTilesIndependent(const EncodeOptions& options) {
  return options.layer_bytes.size() == 1 && options.layer_bytes[0] == 0;
}

// Gives the samples of a row of tiles, down to but excluding the row `bottom` of the picture.
using GetSamples = std::function<Status(int64_t bottom, std::unique_ptr<SampleSource>* samples)>;

// A picture on its way to a file. `image` needs no samples.
class FileEncoder {
 public:
  FileEncoder(const Image& image, const EncodeOptions& options, ByteSink* sink, ByteBuffer* file)
      : image_(image), options_(options), sink_(sink), file_(file), pool_(options.threads) {}

  Status Prepare();
  // All tiles are in memory, for layers of limited size.
  Status EncodeAtOnce(const SampleSource& samples);
  // A row of tiles is in memory.
  Status EncodeByRows(const GetSamples& get);

 private:
  bool CanForecast() const;
  Status CodeInFull(const SampleSource& samples, std::deque<TileEncoder>* tiles);
  Status CodeByForecast(const SampleSource& samples, std::deque<TileEncoder>* tiles);
  template <class Code>
  Status CodePart(double begin, double end, const Code& code);
  Status Cut(std::deque<TileEncoder>* tiles, double* slope);
  size_t BytesOutsideOfPackets() const;
  int TileCount() const { return size_.TilesAcross() * size_.TilesDown(); }
  Status WriteHeaders();
  Status EncodeRow(int row, const SampleSource& samples);
  Status WriteTile(int tile, const std::vector<uint8_t>& packets);
  Status WriteEnd();
  Status Append(const std::vector<uint8_t>& bytes);

  const Image& image_;
  const EncodeOptions& options_;
  ByteSink* sink_;
  ByteBuffer* file_;
  ThreadPool pool_;
  SizeSegment size_;
  Parameters parameters_;
  size_t box_bytes_ = 0;       // in front of the codestream
  bool is_passed_on_ = false;  // the first bytes went to the sink
};

Status FileEncoder::Prepare() {
  Status status = MakeHeader(image_, options_, &size_, &parameters_);
  return status.ok() ? WriteHeaders() : status;
}

Status FileEncoder::WriteHeaders() {
  std::vector<uint8_t> bytes;
  if (options_.is_jp2) {
    Status status = WriteBoxes(image_, &bytes);
    if (!status.ok()) return status;
  }
  box_bytes_ = bytes.size();
  WriteMainHeader(size_, parameters_, &bytes);
  return file_->Resize(0) ? Append(bytes) : Status::NoMemory();
}

Status FileEncoder::Append(const std::vector<uint8_t>& bytes) {
  return file_->Append(bytes.data(), bytes.size()) ? Status() : Status::NoMemory();
}

Status FileEncoder::EncodeAtOnce(const SampleSource& samples) {
  std::deque<TileEncoder> tiles;
  for (int i = 0; i < TileCount(); ++i) tiles.emplace_back(size_, parameters_, i);
  Status status = CanForecast() ? CodeByForecast(samples, &tiles) : CodeInFull(samples, &tiles);
  for (int i = 0; status.ok() && i < TileCount(); ++i) {
    std::vector<uint8_t> packets;
    tiles[size_t(i)].WritePackets(&packets);
    status = WriteTile(i, packets);
  }
  return status.ok() ? WriteEnd() : status;
}

// A forecast needs the coefficients of all tiles in memory, and a limited size.
bool FileEncoder::CanForecast() const {
  return TileCount() == 1 && !options_.reversible && options_.layer_bytes.back() > 0;
}

size_t FileEncoder::BytesOutsideOfPackets() const {
  constexpr size_t kEndSize = 2;
  return file_->size() + static_cast<size_t>(TileCount()) * kTilePartHeaderSize + kEndSize;
}

Status FileEncoder::Cut(std::deque<TileEncoder>* tiles, double* slope) {
  return CutLayers(options_.layer_bytes, BytesOutsideOfPackets(), &pool_, tiles, slope);
}

Status FileEncoder::CodeInFull(const SampleSource& samples, std::deque<TileEncoder>* tiles) {
  Status status = ForTiles(&pool_, tiles->size(), options_.progress, {},
                           [&](size_t i, ThreadPool* pool, Progress* progress) {
                             TileEncoder& tile = (*tiles)[i];
                             Status done = tile.Transform(samples, pool);
                             if (done.ok()) done = tile.CodeAll(pool, progress);
                             tile.Release();
                             return done;
                           });
  double ignored = 0;
  return status.ok() ? Cut(tiles, &ignored) : status;
}

// Codes the planes that the size is likely to need, and all planes if that was too few.
Status FileEncoder::CodeByForecast(const SampleSource& samples, std::deque<TileEncoder>* tiles) {
  TileEncoder& tile = tiles->front();
  Status status = tile.Transform(samples, &pool_);
  if (status.ok())
    status = CodePart(0, 0.2, [&](Progress* p) { return tile.CodeSample(&pool_, p); });
  if (!status.ok()) return status;
  const size_t most = *std::max_element(options_.layer_bytes.begin(), options_.layer_bytes.end());
  const RateForecast forecast = ForecastRate(tile, most);
  status = CodePart(0.2, 1,
                    [&](Progress* p) { return tile.CodeOthers(forecast.spare_planes, &pool_, p); });
  double slope = 0;
  if (status.ok()) status = Cut(tiles, &slope);
  if (status.ok() && forecast.spare_planes > 0 && slope < forecast.slope) {
    status = tile.CodeAll(&pool_, options_.progress);
    if (status.ok()) status = Cut(tiles, &slope);
  }
  tile.Release();
  return status;
}

// Calls code(progress) for a part of the whole work.
template <class Code>
Status FileEncoder::CodePart(double begin, double end, const Code& code) {
  if (options_.progress != nullptr) options_.progress->SetPart(begin, end);
  return code(options_.progress);
}

Status FileEncoder::EncodeByRows(const GetSamples& get) {
  Status status;
  for (int row = 0; status.ok() && row < size_.TilesDown(); ++row) {
    std::unique_ptr<SampleSource> samples;
    status = get(TileArea(size_, row * size_.TilesAcross()).y1, &samples);
    if (status.ok()) status = EncodeRow(row, *samples);
  }
  return status.ok() ? WriteEnd() : status;
}

Status FileEncoder::EncodeRow(int row, const SampleSource& samples) {
  const auto across = static_cast<size_t>(size_.TilesAcross());
  const int first = row * size_.TilesAcross();
  const PartOfWork work = {1.0 * row / size_.TilesDown(), 1.0 * (row + 1) / size_.TilesDown()};
  std::vector<std::vector<uint8_t>> packets(across);
  Status status = ForTiles(&pool_, across, options_.progress, work,
                           [&](size_t i, ThreadPool* pool, Progress* progress) {
                             TileEncoder tile(size_, parameters_, first + static_cast<int>(i));
                             Status done = tile.Transform(samples, pool);
                             if (done.ok()) done = tile.CodeAll(pool, progress);
                             if (!done.ok()) return done;
                             tile.Release();
                             TakeAllPasses(&tile);
                             tile.WritePackets(&packets[i]);
                             return done;
                           });
  for (size_t i = 0; status.ok() && i < across; ++i) {
    status = WriteTile(first + static_cast<int>(i), packets[i]);
    packets[i] = {};
  }
  return status;
}

// The last tile stays in the buffer, so that a file of one tile is never passed on before its end.
Status FileEncoder::WriteTile(int tile, const std::vector<uint8_t>& packets) {
  const bool is_last = tile + 1 == TileCount();
  const bool has_length = packets.size() <= UINT32_MAX - kTilePartHeaderSize;
  if (!has_length && !is_last) return Status::Error("a tile of more than 4 GiB");
  std::vector<uint8_t> header;
  WriteTilePartHeader(tile, has_length ? packets.size() + kTilePartHeaderSize : 0, &header);
  Status status = Append(header);
  if (status.ok()) status = Append(packets);
  if (!status.ok() || is_last) return status;
  const size_t before = file_->size();
  status = PassOn(sink_, file_);
  is_passed_on_ |= file_->size() < before;
  return status;
}

Status FileEncoder::WriteEnd() {
  std::vector<uint8_t> end;
  WriteMarker(kEoc, &end);
  Status status = Append(end);
  if (!status.ok() || !options_.is_jp2 || is_passed_on_) return status;
  const size_t box = box_bytes_ - kBoxHeadSize;
  const uint64_t length = file_->size() - box;
  if (length <= UINT32_MAX) StoreNumber(ByteOrder::kBig, length, 4, file_->data() + box);
  return status;
}

Status EncodeImage(const Image& image, const EncodeOptions& options, ByteBuffer* file) {
  FileEncoder encoder(image, options, nullptr, file);
  Status status = encoder.Prepare();
  if (status.ok()) status = CheckSamples(image);
  if (!status.ok()) return status;
  if (!AreTilesIndependent(options)) return encoder.EncodeAtOnce(ImageSamples(image));
  return encoder.EncodeByRows([&](int64_t, std::unique_ptr<SampleSource>* samples) {
    *samples = std::make_unique<ImageSamples>(image);
    return Status();
  });
}

Status EncodeRows(RowSource* rows, const EncodeOptions& options, ByteSink* sink, ByteBuffer* file) {
  Image image;
  Status status = FromForm(rows->form(), &image);
  if (!status.ok()) return status;
  FileEncoder encoder(image, options, sink, file);
  status = encoder.Prepare();
  if (!status.ok()) return status;
  Picture picture;
  if (!AreTilesIndependent(options)) {
    status = rows->All(&picture);
    return status.ok() ? encoder.EncodeAtOnce(PictureSamples(picture, 0)) : status;
  }
  int next = 0;
  return encoder.EncodeByRows([&](int64_t bottom, std::unique_ptr<SampleSource>* samples) {
    int top = 0;
    Status read = rows->Next(static_cast<int>(bottom) - next, &picture, &top);
    next = static_cast<int>(bottom);
    *samples = std::make_unique<PictureSamples>(picture, top);
    return read;
  });
}

}  // namespace

Status EncodePicture(RowSource* rows, const EncodeOptions& options, ByteSink* sink,
                     ByteBuffer* file) {
  return WithoutExceptions([&] { return EncodeRows(rows, options, sink, file); });
}

Status Encode(const Image& image, const EncodeOptions& options, ByteBuffer* file) {
  return WithoutExceptions([&] { return EncodeImage(image, options, file); });
}

}  // namespace zepcodec::jpeg2000
