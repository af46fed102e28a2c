// SPDX-License-Identifier: MIT
#include "jpeg2000/decoder.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <string>
#include <vector>

#include "jpeg2000/boxes.h"
#include "jpeg2000/geometry.h"
#include "jpeg2000/marker_reader.h"
#include "jpeg2000/parallel.h"
#include "jpeg2000/tile_decoder.h"

namespace jpeg2000 {
namespace {

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
      return Status::Error("the picture has " + std::to_string(component.coding.levels) +
                           " levels, fewer than are to be left out");
    }
  }
  return Status();
}

Status CheckClaims(const SizeSegment& size, size_t bytes, const DecodeOptions& options) {
  int64_t samples = 0;
  int64_t pixels = 0;
  for (const SizeSegment::ComponentSize& component : size.components) {
    const int64_t count = ReducedArea(size, component, options.reduce).Count();
    samples += count;
    pixels = std::max(pixels, count);
  }
  const std::string claim = "the header announces " + std::to_string(pixels) + " pixels";
  if (pixels > options.max_pixels) {
    return Status::Error(claim + ", more than the limit of " + std::to_string(options.max_pixels));
  }
  const auto most = static_cast<int64_t>(bytes) * kSamplesInAByte;
  if (samples > std::max(most, kAlwaysAcceptedSamples)) {
    return Status::Error(claim + ", more than " + std::to_string(bytes) + " bytes can hold");
  }
  return Status();
}

// All samples in the middle of their range.
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
    const int32_t middle = sizes.is_signed ? 0 : 1 << (sizes.bits - 1);
    made.samples.assign(static_cast<size_t>(area.Count()), middle);
    image->components.push_back(std::move(made));
  }
}

// Many tiles are shared out among the threads, few by their code-blocks.
Status DecodeTiles(const MarkerReader& reader, const DecodeOptions& options, Messages* messages,
                   Image* image) {
  const size_t count = reader.tiles().size();
  const size_t threads = ThreadCount(options.threads);
  const bool by_tile = count >= 4 * threads;
  const Wanted wanted = {options.reduce, options.layers};
  std::vector<Messages> found(count);
  std::atomic<bool> has_failed{false};
  Status status = RunParallel(by_tile ? threads : 1, count, [&] {
    return [&](size_t i) {
      const Status done =
          DecodeTile(reader, static_cast<int>(i), wanted, by_tile ? 1 : threads, &found[i], image);
      if (!done.ok()) has_failed = true;
    };
  });
  for (const Messages& of_tile : found) messages->Append(of_tile);
  return has_failed ? Status::NoMemory() : status;
}

Status DecodeFile(const uint8_t* data, size_t size, const DecodeOptions& options, Image* image,
                  FileInfo* info) {
  Boxes boxes;
  Status status = ReadBoxes(data, size, &info->messages, &boxes);
  if (!status.ok()) return status;
  info->is_jp2 = boxes.is_jp2;
  MarkerReader reader(boxes.codestream.data, boxes.codestream.size, &info->messages);
  status = reader.ReadMainHeader();
  info->size = reader.picture_size();
  info->parameters = reader.parameters();
  if (!status.ok() || image == nullptr) return status;
  status = CheckOptions(options, reader.parameters());
  if (status.ok()) status = CheckClaims(reader.picture_size(), boxes.codestream.size, options);
  if (!status.ok()) return status;
  reader.ReadTileParts();
  MakeComponents(reader.picture_size(), options.reduce, image);
  status = DecodeTiles(reader, options, &info->messages, image);
  if (status.ok()) ApplyBoxes(boxes, &info->messages, image);
  return status;
}

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Image* image,
              FileInfo* info) {
  try {
    return DecodeFile(data, size, options, image, info);
  } catch (const std::bad_alloc&) {
    return Status::NoMemory();
  }
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  return Decode(data, size, DecodeOptions(), nullptr, info);
}

}  // namespace jpeg2000
