// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/opened_file.h"

#include <algorithm>
#include <string>

#include "codecs/jpeg2000/tile_loop.h"

namespace zepcodec::jpeg2000 {
namespace {

// The library's functions take steps of rows as 32-bit numbers of bytes.
constexpr int64_t kLongestSide = int64_t{1} << 28;

Rect WholeArea(const SizeSegment& size) { return {size.x0, size.y0, size.x1, size.y1}; }

Status CheckOptions(const DecodeOptions& options, const Parameters& parameters) {
  if (options.reduce < 0 || options.layers < 0) return Status::Error("a negative option");
  for (const Parameters::ForComponent& component : parameters.components) {
    if (options.reduce > component.coding.levels) {
      return Status::BadOption("the picture has " + std::to_string(component.coding.levels) +
                               " levels, fewer than are to be left out");
    }
  }
  return Status();
}

// What is in memory at the end: components, or what a palette makes of them.
int64_t CountSamples(const SizeSegment& size, const Boxes& boxes, int reduce) {
  constexpr int64_t kMost = int64_t{1} << 58;  // so that the sum of all does not overflow
  int64_t samples = 0;
  for (const SizeSegment::ComponentSize& component : size.components) {
    samples += std::min(ReducedArea(WholeArea(size), component, reduce).Count(), kMost);
  }
  int64_t mapped = 0;
  for (const size_t component : PaletteSources(boxes, size.components.size())) {
    mapped +=
        std::min(ReducedArea(WholeArea(size), size.components[component], reduce).Count(), kMost);
  }
  return std::max(samples, mapped);
}

Status CheckClaims(const SizeSegment& size, const Boxes& boxes, const DecodeOptions& options) {
  int64_t pixels = 0;
  for (const SizeSegment::ComponentSize& component : size.components) {
    const Rect area = ReducedArea(WholeArea(size), component, options.reduce);
    if (std::max(area.width(), area.height()) > kLongestSide) {
      return Status::Error("a picture of " + std::to_string(area.width()) + " x " +
                           std::to_string(area.height()) + " samples has too long sides");
    }
    pixels = std::max(pixels, area.Count());
  }
  std::string claim = "the header announces " + std::to_string(pixels) + " pixels";
  if (pixels > options.max_pixels) {
    return Status::TooLarge(claim + ", more than the limit of " +
                            std::to_string(options.max_pixels));
  }
  const int64_t samples = CountSamples(size, boxes, options.reduce);
  claim += " of together " + std::to_string(samples) + " samples";
  if (samples / kSamplesInAPixel > options.max_pixels) {
    return Status::TooLarge(claim + ", more than the limit of " + std::to_string(kSamplesInAPixel) +
                            " for each of " + std::to_string(options.max_pixels) + " pixels");
  }
  const size_t bytes = boxes.codestream.left();
  if (samples > std::max(static_cast<int64_t>(bytes) * kSamplesInAByte, kAlwaysAcceptedSamples)) {
    return Status::Error(claim + ", more than " + std::to_string(bytes) + " bytes can hold");
  }
  return Status();
}

// Components without samples get them, in the middle of their range.
void MakeSamples(Image* image) {
  for (Component& component : image->components) {
    if (!component.samples.empty()) continue;
    const int32_t middle = component.is_signed ? 0 : 1 << (component.bits - 1);
    component.samples.assign(size_t(component.width) * size_t(component.height), middle);
  }
}

bool Meets(const SizeSegment& size, int tile, const Wanted& wanted) {
  for (size_t c = 0; c < wanted.areas.size(); ++c) {
    const Rect area = ReducedArea(TileArea(size, tile), size.components[c], wanted.reduce);
    if (!Intersection(area, wanted.areas[c]).empty()) return true;
  }
  return false;
}

bool IsWhole(const OpenedFile& file, const Wanted& wanted) {
  for (size_t c = 0; c < wanted.areas.size(); ++c) {
    if (wanted.areas[c].Count() != file.AreaOf(c, wanted.reduce).Count()) return false;
  }
  return true;
}

// With the whole picture, tiles without samples are decoded too, for their messages.
std::vector<int> TilesToDecode(const OpenedFile& file, const Wanted& wanted) {
  const bool is_whole = IsWhole(file, wanted);
  std::vector<int> tiles;
  for (int i = 0; i < static_cast<int>(file.reader->tiles().size()); ++i) {
    if (is_whole || Meets(file.size(), i, wanted)) tiles.push_back(i);
  }
  return tiles;
}

}  // namespace

Rect OpenedFile::AreaOf(size_t component, int reduce) const {
  return ReducedArea(WholeArea(size()), size().components[component], reduce);
}

Status Open(const uint8_t* data, size_t size, FileInfo* info, OpenedFile* file) {
  Status status = ReadBoxes(data, size, &info->messages, &info->notes, &file->boxes);
  if (!status.ok()) return status;
  info->is_jp2 = file->boxes.is_jp2;
  file->reader.emplace(file->boxes.codestream, &info->messages, &info->notes);
  status = file->reader->ReadMainHeader();
  info->size = file->reader->picture_size();
  info->parameters = file->reader->parameters();
  return status;
}

Status Check(const OpenedFile& file, const DecodeOptions& options) {
  Status status = CheckOptions(options, file.reader->parameters());
  return status.ok() ? CheckClaims(file.reader->picture_size(), file.boxes, options) : status;
}

void MakeComponents(const OpenedFile& file, int reduce, Image* image) {
  const SizeSegment& size = file.size();
  image->x0 = size.x0;
  image->y0 = size.y0;
  image->x1 = size.x1;
  image->y1 = size.y1;
  image->components.clear();
  for (size_t c = 0; c < size.components.size(); ++c) {
    const Rect area = file.AreaOf(c, reduce);
    const SizeSegment::ComponentSize& sizes = size.components[c];
    Component made;
    made.width = static_cast<int>(area.width());
    made.height = static_cast<int>(area.height());
    made.dx = sizes.dx;
    made.dy = sizes.dy;
    made.bits = sizes.bits;
    made.is_signed = sizes.is_signed;
    image->components.push_back(std::move(made));
  }
}

void MakeForm(const OpenedFile& file, int reduce, Messages* messages, Messages* notes,
              Image* form) {
  MakeComponents(file, reduce, form);
  ApplyBoxes(file.boxes, messages, notes, form);
}

// All tiles have fewer layers in most cases; the picture gets one note.
void TakeReports(const std::vector<TileReport>& reports, FileInfo* info) {
  int layers = 0;
  for (const TileReport& report : reports) {
    info->messages.Append(report.messages);
    info->work += report.work;
    if (report.layers_found > 0) {
      layers = layers == 0 ? report.layers_found : std::min(layers, report.layers_found);
    }
  }
  if (layers > 0) {
    info->notes.Add("the file holds " + std::to_string(layers) + " of the announced " +
                    std::to_string(info->parameters.tile.layers) + " quality layers");
  }
}

// Many tiles are shared out among the threads, few by their code-blocks. A single tile's planes
// become the samples of the picture; several write into samples that are there before.
Status DecodeTiles(const OpenedFile& file, const Wanted& wanted, ThreadPool* pool,
                   Progress* progress, FileInfo* info, Image* image) {
  const std::vector<int> tiles = TilesToDecode(file, wanted);
  if (tiles.size() > 1) MakeSamples(image);
  std::vector<TileReport> reports(tiles.size());
  const auto decode = [&](size_t i, ThreadPool* threads, Progress* of_blocks) {
    TileSamples samples = {file.size(), {}, false};
    Status status =
        DecodeTile(*file.reader, tiles[i], wanted, threads, of_blocks, &reports[i], &samples);
    return status.ok() ? Store(threads, wanted.areas, &samples, image) : status;
  };
  Status status = ForTiles(pool, tiles.size(), progress, {}, decode);
  if (!status.ok()) return status;
  TakeReports(reports, info);
  MakeSamples(image);
  return status;
}

}  // namespace zepcodec::jpeg2000
