// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/decoder.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "codecs/jpeg2000/boxes.h"
#include "codecs/jpeg2000/colors.h"
#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/marker_reader.h"
#include "codecs/jpeg2000/memory.h"
#include "codecs/jpeg2000/tile_decoder.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg2000 {
namespace {

// The library's functions take steps of rows as 32-bit numbers of bytes.
constexpr int64_t kLongestSide = int64_t{1} << 28;

Rect WholeArea(const SizeSegment& size) { return {size.x0, size.y0, size.x1, size.y1}; }

Rect ReducedArea(const SizeSegment& size, const SizeSegment::ComponentSize& component, int reduce) {
  const Rect area = ComponentArea(WholeArea(size), component.dx, component.dy);
  return {CeilShift(area.x0, reduce), CeilShift(area.y0, reduce), CeilShift(area.x1, reduce),
          CeilShift(area.y1, reduce)};
}

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
    samples += std::min(ReducedArea(size, component, reduce).Count(), kMost);
  }
  int64_t mapped = 0;
  for (const size_t component : PaletteSources(boxes, size.components.size())) {
    mapped += std::min(ReducedArea(size, size.components[component], reduce).Count(), kMost);
  }
  return std::max(samples, mapped);
}

Status CheckClaims(const SizeSegment& size, const Boxes& boxes, const DecodeOptions& options) {
  int64_t pixels = 0;
  for (const SizeSegment::ComponentSize& component : size.components) {
    const Rect area = ReducedArea(size, component, options.reduce);
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

void MakeComponents(const SizeSegment& size, int reduce, Image* image) {
  image->x0 = size.x0;
  image->y0 = size.y0;
  image->x1 = size.x1;
  image->y1 = size.y1;
  image->components.clear();
  for (const SizeSegment::ComponentSize& sizes : size.components) {
    const Rect area = ReducedArea(size, sizes, reduce);
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

// Components without samples get them, in the middle of their range.
void MakeSamples(Image* image) {
  for (Component& component : image->components) {
    if (!component.samples.empty()) continue;
    const int32_t middle = component.is_signed ? 0 : 1 << (component.bits - 1);
    component.samples.assign(size_t(component.width) * size_t(component.height), middle);
  }
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
Status DecodeTiles(const MarkerReader& reader, const DecodeOptions& options, FileInfo* info,
                   Image* image) {
  const size_t count = reader.tiles().size();
  const size_t threads = ThreadCount(options.threads);
  const bool by_tile = count >= 4 * threads;
  const Wanted wanted = {options.reduce, options.layers, by_tile ? nullptr : options.progress};
  if (count > 1) MakeSamples(image);
  std::vector<TileReport> reports(count);
  std::atomic<bool> has_failed{false};
  Status status = RunParallel(
      by_tile ? threads : 1, count,
      [&] {
        return [&](size_t i) {
          if (wanted.progress != nullptr) {
            const auto part = [&](size_t n) {
              return static_cast<double>(n) / static_cast<double>(count);
            };
            wanted.progress->SetPart(part(i), part(i + 1));
          }
          const Status done = DecodeTile(reader, static_cast<int>(i), wanted, by_tile ? 1 : threads,
                                         &reports[i], image);
          if (!done.ok()) has_failed = true;
        };
      },
      options.progress);
  if (options.progress != nullptr && options.progress->stopped()) return Status::Cancelled();
  if (status.ok() && has_failed) status = Status::NoMemory();
  if (!status.ok()) return status;
  TakeReports(reports, info);
  MakeSamples(image);
  return status;
}

// A file with its main header read.
struct Opened {
  Boxes boxes;
  std::optional<MarkerReader> reader;
};

Status Open(const uint8_t* data, size_t size, FileInfo* info, Opened* file) {
  Status status = ReadBoxes(data, size, &info->messages, &info->notes, &file->boxes);
  if (!status.ok()) return status;
  info->is_jp2 = file->boxes.is_jp2;
  file->reader.emplace(file->boxes.codestream, &info->messages, &info->notes);
  status = file->reader->ReadMainHeader();
  info->size = file->reader->picture_size();
  info->parameters = file->reader->parameters();
  return status;
}

Status Check(const Opened& file, const DecodeOptions& options) {
  Status status = CheckOptions(options, file.reader->parameters());
  return status.ok() ? CheckClaims(file.reader->picture_size(), file.boxes, options) : status;
}

Status DecodeFile(const uint8_t* data, size_t size, const DecodeOptions& options, Image* image,
                  FileInfo* info) {
  Opened file;
  Status status = Open(data, size, info, &file);
  if (status.ok()) status = Check(file, options);
  if (!status.ok()) return status;
  MarkerReader& reader = *file.reader;
  reader.ReadTileParts();
  MakeComponents(reader.picture_size(), options.reduce, image);
  status = DecodeTiles(reader, options, info, image);
  if (status.ok()) ApplyBoxes(file.boxes, &info->messages, &info->notes, image);
  return status;
}

// Nothing but a lack of memory is thrown.
template <class Work>
Status WithoutExceptions(const Work& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return Status::NoMemory();
  }
}

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Image* image,
              FileInfo* info) {
  return WithoutExceptions([&] { return DecodeFile(data, size, options, image, info); });
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  return WithoutExceptions([&] {
    Opened file;
    return Open(data, size, info, &file);
  });
}

Status ReadShape(const uint8_t* data, size_t size, Picture* pixel, int* width, int* height) {
  return WithoutExceptions([&] {
    Opened file;
    FileInfo info;
    if (Status status = Open(data, size, &info, &file); !status.ok()) return status;
    Image image;
    for (const SizeSegment::ComponentSize& sizes : info.size.components) {
      Component one;
      const Rect area = ReducedArea(info.size, sizes, 0);
      one.width = static_cast<int>(area.x1 - area.x0);
      one.height = static_cast<int>(area.y1 - area.y0);
      one.dx = sizes.dx;
      one.dy = sizes.dy;
      one.bits = sizes.bits;
      one.is_signed = sizes.is_signed;
      one.samples = {0};
      image.components.push_back(std::move(one));
    }
    Messages ignored;
    ApplyBoxes(file.boxes, &ignored, &ignored, &image);
    SizeOfPicture(image, width, height);
    if (*width < 1 || *height < 1) return Status::Error("a component without samples");
    for (Component& one : image.components) one.width = one.height = 1;
    return ToPicture(image, &ignored, pixel);
  });
}

Status EstimateMemory(const uint8_t* data, size_t size, const DecodeOptions& options,
                      int64_t* bytes) {
  return WithoutExceptions([&] {
    Opened file;
    FileInfo info;
    Status status = Open(data, size, &info, &file);
    if (status.ok()) status = Check(file, options);
    if (!status.ok()) return status;
    const size_t channels = PaletteSources(file.boxes, info.size.components.size()).size();
    *bytes = MemoryOf(info.size, info.parameters, size, channels, options);
    return status;
  });
}

}  // namespace zepcodec::jpeg2000
