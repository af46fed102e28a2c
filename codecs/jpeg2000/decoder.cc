// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/decoder.h"

#include <algorithm>

#include "codecs/jpeg2000/boxes.h"
#include "codecs/jpeg2000/colors.h"
#include "codecs/jpeg2000/memory.h"
#include "codecs/jpeg2000/opened_file.h"
#include "codecs/jpeg2000/without_exceptions.h"

namespace zepcodec::jpeg2000 {
namespace {

// Leaves the part of each component that a region of the picture shows.
Status CutComponents(const OpenedFile& file, const DecodeOptions& options, Wanted* wanted,
                     Image* image) {
  if (options.region.is_all()) return Status();
  Image form;
  Messages ignored;
  MakeForm(file, options.reduce, &ignored, &ignored, &form);
  PictureMaker maker;
  Region region;
  Status status = maker.Prepare(form, &ignored);
  if (status.ok()) status = options.region.In(maker.width(), maker.height(), &region);
  if (!status.ok()) return status;
  for (size_t c = 0; c < image->components.size(); ++c) {
    Component& component = image->components[c];
    const Region part =
        NeededOf(region, maker.width(), maker.height(), component.width, component.height);
    component.part = {component.width, component.height, part.x, part.y};
    component.width = part.width;
    component.height = part.height;
    const Rect& area = wanted->areas[c];
    wanted->areas[c] =
        Moved({part.x, part.y, part.x + part.width, part.y + part.height}, area.x0, area.y0);
  }
  return status;
}

Status DecodeFile(const uint8_t* data, size_t size, const DecodeOptions& options, Image* image,
                  FileInfo* info) {
  OpenedFile file;
  Status status = Open(data, size, info, &file);
  if (status.ok()) status = Check(file, options);
  if (!status.ok()) return status;
  MakeComponents(file, options.reduce, image);
  Wanted wanted = {options.reduce, options.layers, {}};
  for (size_t c = 0; c < image->components.size(); ++c) {
    wanted.areas.push_back(file.AreaOf(c, options.reduce));
  }
  status = CutComponents(file, options, &wanted, image);
  if (!status.ok()) return status;
  file.reader->ReadTileParts();
  ThreadPool pool(options.threads);
  status = DecodeTiles(file, wanted, &pool, options.progress, info, image);
  if (status.ok()) ApplyBoxes(file.boxes, &info->messages, &info->notes, image);
  return status;
}

}  // namespace

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Image* image,
              FileInfo* info) {
  return WithoutExceptions([&] { return DecodeFile(data, size, options, image, info); });
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  return WithoutExceptions([&] {
    OpenedFile file;
    return Open(data, size, info, &file);
  });
}

Status ReadShape(const uint8_t* data, size_t size, Picture* pixel, int* width, int* height) {
  return WithoutExceptions([&] {
    OpenedFile file;
    FileInfo info;
    if (Status status = Open(data, size, &info, &file); !status.ok()) return status;
    Image form;
    Messages ignored;
    MakeForm(file, 0, &ignored, &ignored, &form);
    PictureMaker maker;
    if (Status status = maker.Prepare(form, &ignored); !status.ok()) return status;
    *width = maker.width();
    *height = maker.height();
    if (!pixel->Resize(1, 1, maker.layout(), maker.bits())) return Status::NoMemory();
    pixel->metadata() = form.metadata;
    return Status();
  });
}

Status EstimateMemory(const uint8_t* data, size_t size, const DecodeOptions& options,
                      int64_t* bytes) {
  return WithoutExceptions([&] {
    OpenedFile file;
    FileInfo info;
    Status status = Open(data, size, &info, &file);
    if (status.ok()) status = Check(file, options);
    if (!status.ok()) return status;
    file.reader->ReadTileParts();
    return MemoryOf(file, options, bytes);
  });
}

}  // namespace zepcodec::jpeg2000
