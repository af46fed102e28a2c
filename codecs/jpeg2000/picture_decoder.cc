// SPDX-License-Identifier: MIT
// The samples of a tile become pixels of the picture as soon as it is decoded, in small areas
// that stay in the cache. If a pixel needs samples of several tiles, all components are
// decoded first.
#include "codecs/jpeg2000/picture_decoder.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "codecs/jpeg2000/areas.h"
#include "codecs/jpeg2000/colors.h"
#include "codecs/jpeg2000/opened_file.h"
#include "codecs/jpeg2000/tile_loop.h"
#include "codecs/jpeg2000/tile_plan.h"
#include "codecs/jpeg2000/without_exceptions.h"

namespace zepcodec::jpeg2000 {
namespace {

// A part of a picture in memory.
struct Canvas {
  Picture picture;
  int x = 0, y = 0;  // of its first pixel in the whole picture
};

// Memory that a thread uses for one area after the other.
struct AreaMemory {
  std::vector<PlainVector<int32_t>> samples;
  Picture pixels;

  PlainVector<int32_t> TakeSamples(size_t count) {
    PlainVector<int32_t> taken;
    if (!samples.empty()) {
      taken = std::move(samples.back());
      samples.pop_back();
    }
    taken.resize(count);
    return taken;
  }
  void GiveBack(Image* image) {
    for (Component& component : image->components) {
      samples.push_back(std::move(component.samples));
    }
  }
};

// Reads samples like SampleReader, from all components of a part of a picture.
struct ImageReader {
  const Image& image;
  const std::vector<Rect>& areas;  // of the components on their grids

  void Read(size_t c, const Rect& area, int32_t* to) const {
    for (int64_t y = area.y0; y < area.y1; ++y, to += area.width()) {
      const int32_t* const row = image.components[c].Row(static_cast<int>(y - areas[c].y0));
      std::copy_n(row + (area.x0 - areas[c].x0), area.width(), to);
    }
  }
};

class PictureDecoder {
 public:
  PictureDecoder(const OpenedFile& file, const DecodeOptions& options, FileInfo* info)
      : file_(file), options_(options), info_(info), pool_(options.threads) {}

  // Reads the tile-parts' headers after all that can be refused.
  Status Decode(OpenedFile* file, Picture* picture);

 private:
  Status Prepare();
  bool MakeCanvas(const Region& region, Canvas* canvas) const;
  Status DecodeWhole(Canvas* canvas);
  Status DecodeParts(const std::vector<std::vector<TilePart>>& plan, Canvas* canvas);
  Status DecodeRow(const std::vector<TilePart>& parts, const PartOfWork& work, Canvas* canvas);
  Status DecodeAlone(const TilePart& part);
  Status DecodeSamples(const TilePart& part, ThreadPool* pool, Progress* progress,
                       TileSamples* samples);
  Status HandOut(const Picture& rows, int y) { return options_.rows->Take(rows, y - region_.y); }
  // The components' areas that a region shows, on their reduced grids.
  Wanted WantedOf(const Region& region) const;
  template <class MakeReader>
  Status Convert(const Region& region, ThreadPool* pool, const MakeReader& make_reader,
                 Canvas* canvas) const;
  template <class Reader>
  bool ConvertArea(const Region& area, Reader* reader, AreaMemory* memory, Canvas* canvas) const;

  const OpenedFile& file_;
  const DecodeOptions& options_;
  FileInfo* info_;
  ThreadPool pool_;
  Image components_;  // of the file, without samples
  Image form_;        // the same as channels
  Messages form_messages_, form_notes_;
  PictureMaker maker_;
  Region region_;
  std::vector<TileReport> reports_;  // for each tile
};

Status PictureDecoder::Prepare() {
  MakeComponents(file_, options_.reduce, &components_);
  MakeForm(file_, options_.reduce, &form_messages_, &form_notes_, &form_);
  Status status = maker_.Prepare(form_, &form_notes_);
  return status.ok() ? options_.region.In(maker_.width(), maker_.height(), &region_) : status;
}

Status PictureDecoder::Decode(OpenedFile* file, Picture* picture) {
  Status status = Prepare();
  if (!status.ok()) return status;
  file->reader->ReadTileParts();
  const auto plan = PlanTiles(file_, options_.reduce, maker_.width(), maker_.height(), region_);
  const bool gives_rows = options_.rows != nullptr && !plan.empty();
  Canvas canvas;
  if (!gives_rows && !MakeCanvas(region_, &canvas)) return Status::NoMemory();
  status = plan.empty() ? DecodeWhole(&canvas) : DecodeParts(plan, &canvas);
  if (!status.ok()) return status;
  TakeReports(reports_, info_);
  info_->messages.Append(form_messages_);
  info_->notes.Append(form_notes_);
  *picture = std::move(canvas.picture);
  picture->metadata() = std::move(form_.metadata);
  return status;
}

bool PictureDecoder::MakeCanvas(const Region& region, Canvas* canvas) const {
  canvas->x = region.x;
  canvas->y = region.y;
  return canvas->picture.Resize(region.width, region.height, maker_.layout(), maker_.bits());
}

Wanted PictureDecoder::WantedOf(const Region& region) const {
  Wanted wanted = {options_.reduce, options_.layers, {}};
  for (size_t c = 0; c < components_.components.size(); ++c) {
    const Component& component = components_.components[c];
    const Rect area = file_.AreaOf(c, options_.reduce);
    const Region part =
        NeededOf(region, maker_.width(), maker_.height(), component.width, component.height);
    wanted.areas.push_back(
        Moved({part.x, part.y, int64_t{part.x} + part.width, int64_t{part.y} + part.height},
              area.x0, area.y0));
  }
  return wanted;
}

// Makes the pixels of an area from the samples on the reduced grid.
// False: no memory.
template <class Reader>
bool PictureDecoder::ConvertArea(const Region& area, Reader* reader, AreaMemory* memory,
                                 Canvas* canvas) const {
  Image image;
  const Wanted wanted = WantedOf(area);
  for (size_t c = 0; c < components_.components.size(); ++c) {
    Component part = components_.components[c];
    const Rect& own = wanted.areas[c];
    const Rect whole = file_.AreaOf(c, options_.reduce);
    part.part = {part.width, part.height, static_cast<int>(own.x0 - whole.x0),
                 static_cast<int>(own.y0 - whole.y0)};
    part.width = static_cast<int>(own.width());
    part.height = static_cast<int>(own.height());
    part.samples = memory->TakeSamples(static_cast<size_t>(own.Count()));
    reader->Read(c, own, part.samples.data());
    image.components.push_back(std::move(part));
  }
  Messages ignored;
  MakeChannels(file_.boxes, &ignored, &ignored, &image);
  Picture& pixels = memory->pixels;
  if (!maker_.Make(image, area, &pixels).ok()) return false;
  memory->GiveBack(&image);
  const size_t left = static_cast<size_t>(area.x - canvas->x) *
                      static_cast<size_t>(pixels.channels()) * pixels.BytesPerSample();
  for (int y = 0; y < area.height; ++y) {
    std::memcpy(canvas->picture.Row(area.y - canvas->y + y) + left, pixels.Row(y), pixels.Stride());
  }
  return true;
}

// Makes a reader on each thread.
template <class MakeReader>
Status PictureDecoder::Convert(const Region& region, ThreadPool* pool,
                               const MakeReader& make_reader, Canvas* canvas) const {
  std::atomic<bool> has_failed{false};
  const Status status = ForAreas(pool, region.width, region.height, [&] {
    return [&, reader = make_reader(), memory = AreaMemory()](const Rect& area) mutable {
      const Region part = {region.x + static_cast<int>(area.x0),
                           region.y + static_cast<int>(area.y0), static_cast<int>(area.width()),
                           static_cast<int>(area.height())};
      if (!ConvertArea(part, &reader, &memory, canvas)) has_failed = true;
    };
  });
  return has_failed ? Status::NoMemory() : status;
}

Status PictureDecoder::DecodeWhole(Canvas* canvas) {
  const Wanted wanted = WantedOf(region_);
  Image image = components_;
  for (size_t c = 0; c < wanted.areas.size(); ++c) {
    image.components[c].width = static_cast<int>(wanted.areas[c].width());
    image.components[c].height = static_cast<int>(wanted.areas[c].height());
  }
  Status status = DecodeTiles(file_, wanted, &pool_, options_.progress, info_, &image);
  if (!status.ok()) return status;
  return Convert(
      region_, &pool_,
      [&] {
        return ImageReader{image, wanted.areas};
      },
      canvas);
}

Status PictureDecoder::DecodeSamples(const TilePart& part, ThreadPool* pool, Progress* progress,
                                     TileSamples* samples) {
  return DecodeTile(*file_.reader, part.tile, WantedOf(part.region), pool, progress,
                    &reports_[size_t(part.tile)], samples);
}

Status PictureDecoder::DecodeParts(const std::vector<std::vector<TilePart>>& plan, Canvas* canvas) {
  reports_.resize(file_.reader->tiles().size());
  if (options_.rows == nullptr) {
    std::vector<TilePart> all;
    for (const auto& row : plan) all.insert(all.end(), row.begin(), row.end());
    return DecodeRow(all, {}, canvas);
  }
  if (plan.size() == 1 && plan[0].size() == 1) return DecodeAlone(plan[0][0]);
  Status status;
  for (size_t i = 0; status.ok() && i < plan.size(); ++i) {
    const Region& first = plan[i].front().region;
    Canvas band;
    if (!MakeCanvas({region_.x, first.y, region_.width, first.height}, &band)) {
      return Status::NoMemory();
    }
    const auto share = [&](size_t rows) {
      return static_cast<double>(rows) / static_cast<double>(plan.size());
    };
    status = DecodeRow(plan[i], {share(i), share(i + 1)}, &band);
    if (status.ok()) status = HandOut(band.picture, first.y);
  }
  return status;
}

Status PictureDecoder::DecodeRow(const std::vector<TilePart>& parts, const PartOfWork& work,
                                 Canvas* canvas) {
  return ForTiles(&pool_, parts.size(), options_.progress, work,
                  [&](size_t i, ThreadPool* pool, Progress* progress) {
                    TileSamples samples = {file_.size(), {}, false};
                    Status status = DecodeSamples(parts[i], pool, progress, &samples);
                    if (!status.ok()) return status;
                    return Convert(
                        parts[i].region, pool, [&] { return SampleReader(&samples); }, canvas);
                  });
}

// Hands out the rows of a tile without a picture of all.
Status PictureDecoder::DecodeAlone(const TilePart& part) {
  TileSamples samples = {file_.size(), {}, false};
  Status status = DecodeSamples(part, &pool_, options_.progress, &samples);
  const Region& all = part.region;
  const int most = static_cast<int>(std::max<int64_t>(1, kPixelsAtOnce / all.width));
  for (int y = 0; status.ok() && y < all.height; y += most) {
    const Region band = {all.x, all.y + y, all.width, std::min(most, all.height - y)};
    Canvas canvas;
    if (!MakeCanvas(band, &canvas)) return Status::NoMemory();
    status = Convert(
        band, &pool_, [&] { return SampleReader(&samples); }, &canvas);
    if (status.ok()) status = HandOut(canvas.picture, band.y);
  }
  return status;
}

}  // namespace

Status DecodePicture(const uint8_t* data, size_t size, const DecodeOptions& options,
                     Picture* picture, FileInfo* info) {
  return WithoutExceptions([&] {
    OpenedFile file;
    Status status = Open(data, size, info, &file);
    if (status.ok()) status = Check(file, options);
    if (!status.ok()) return status;
    return PictureDecoder(file, options, info).Decode(&file, picture);
  });
}

}  // namespace zepcodec::jpeg2000
