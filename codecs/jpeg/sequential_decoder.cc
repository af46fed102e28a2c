// SPDX-License-Identifier: MIT
#include "codecs/jpeg/sequential_decoder.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "codecs/jpeg/band_writer.h"
#include "codecs/jpeg/scan_decoder.h"
#include "codecs/jpeg/scan_pipeline.h"

namespace zepcodec::jpeg {
namespace {

// Of the scan at hand; the planes are left out.
Status MakeLayout(const MarkerReader& headers, const Window& window, ScanLayout* layout) {
  const Tables& tables = headers.tables();
  const Scan& scan = headers.scan();
  const Frame& frame = headers.frame();
  const Geometry whole(frame, 1);
  const ScanWalk walk(whole, scan);
  layout->restart_interval = headers.restart_interval();
  layout->mcus_per_row = walk.mcus_per_row;
  layout->mcu_rows = walk.mcu_rows;
  layout->window = window.mcus;
  for (size_t i = 0; i < walk.parts.size(); ++i) {
    const ScanComponent& part = scan.components[i];
    const auto index = static_cast<size_t>(part.index);
    if (!HasTables(headers, part)) return MissingTables();
    ScanPart out{index,
                 nullptr,
                 window.geometry.components[index].block_size,
                 walk.parts[i].across,
                 walk.parts[i].down,
                 &tables.dc[part.dc_table],
                 &tables.ac[part.ac_table],
                 {}};
    std::memcpy(out.steps, tables.quant[frame.components[index].quant_table], sizeof(out.steps));
    layout->parts.push_back(out);
  }
  if (scan.components.size() > 1) return Status();
  // The MCUs of a component that is alone are blocks.
  const FrameComponent& alone = frame.components[layout->parts[0].component];
  layout->window = window.mcus.In(alone.h, alone.v);
  return Status();
}

void UsePlanes(std::vector<Plane>* planes, ScanLayout* layout) {
  for (ScanPart& part : layout->parts) part.plane = &(*planes)[part.component];
}

Intervals IntervalsOf(FileReader* file, const ScanLayout& layout) {
  return FindIntervals(file->data, file->size, file->headers.position(), layout.McuCount(),
                       layout.restart_interval, &file->info->messages);
}

// Gives one row of MCUs after the other away.
Status DecodeOnOneThread(FileReader* file, Intervals intervals, ScanLayout* layout,
                         RowOutput* output) {
  BandWriter writer(output->window(), file->info->model);
  if (!writer.Init()) return Status::NoMemory();
  UsePlanes(writer.planes(), layout);
  ScanDecoder scan(file->data, file->size, std::move(intervals), *layout, &file->info->messages);
  const McuWindow& window = output->window().mcus;
  Picture band;
  writer.MoveTo(window.first_row);
  for (int row = 0; row < window.end_row; ++row) {
    if (Stops(file->options.progress, row, window.end_row)) return Status::Cancelled();
    scan.DecodeRow(row);
    if (row < window.first_row) continue;
    RowTarget target;
    if (!output->OpenRows(row, row + 1, &band, &target)) return Status::NoMemory();
    writer.Write(row, target);
    if (Status status = output->Close(target); !status.ok()) return status;
  }
  return Status();
}

Status DecodeScanToPlanes(FileReader* file, const Window& window, std::vector<Plane>* planes) {
  ScanLayout layout;
  if (Status status = MakeLayout(file->headers, window, &layout); !status.ok()) return status;
  UsePlanes(planes, &layout);
  Intervals intervals = IntervalsOf(file, layout);
  const size_t end = intervals.end;
  ScanDecoder scan(file->data, file->size, std::move(intervals), layout, &file->info->messages);
  const int rows = std::min(layout.window.end_row, layout.mcu_rows);
  for (int row = 0; row < rows; ++row) {
    if (Stops(file->options.progress, row, rows)) return Status::Cancelled();
    scan.DecodeRow(row);
  }
  file->SetDecoded();
  file->headers.Seek(end);
  return Status();
}

}  // namespace

Status DecodeRows(FileReader* file, RowOutput* output) {
  ScanLayout layout;
  if (Status status = MakeLayout(file->headers, output->window(), &layout); !status.ok()) {
    return file->headers.AtMarker(status);
  }
  Intervals intervals = IntervalsOf(file, layout);
  const size_t end = intervals.end;
  bool is_done = false;
  if (file->pool.size() > 1) {
    ScanPipeline scan(file->data, file->size, file->headers.position(), intervals, layout,
                      file->options.part_blocks, file->info->model, output);
    if (scan.IsWorthwhile()) {
      Status status = scan.Run(&file->pool, file->options.progress, &is_done);
      if (!status.ok()) return status;
    }
  }
  if (!is_done) {
    Status status = DecodeOnOneThread(file, std::move(intervals), &layout, output);
    if (!status.ok()) return status;
  }
  file->SetDecoded();
  file->headers.Seek(end);
  file->NextScan();
  file->Finish();
  return Status();
}

Status DecodePlanes(FileReader* file, const Window& window, std::vector<Plane>* planes) {
  const Geometry& geometry = window.geometry;
  *planes = std::vector<Plane>(geometry.components.size());
  for (size_t i = 0; i < planes->size(); ++i) {
    if (!(*planes)[i].AllocateAll(window, geometry.components[i])) return Status::NoMemory();
  }
  do {
    const Status status = DecodeScanToPlanes(file, window, planes);
    if (EndsAll(status)) return status;
    if (!status.ok() && file->HasNoScanYet()) return file->headers.AtMarker(status);
    if (!status.ok()) {
      file->info->messages.AddAt(file->headers.marker_offset(), status.text());
      break;
    }
  } while (file->NextScan());
  file->Finish();
  return Status();
}

Status WriteRows(FileReader* file, const std::vector<Plane>& planes, RowOutput* output) {
  const Window& window = output->window();
  PictureWriter writer(file->info->model, window);
  if (!writer.Init(planes)) return Status::NoMemory();
  Picture band;
  for (int row = window.mcus.first_row; row < window.mcus.end_row; ++row) {
    RowTarget target;
    if (!output->OpenRows(row, row + 1, &band, &target)) return Status::NoMemory();
    writer.Write(window.FirstLine(row), window.EndLine(row), target);
    if (Status status = output->Close(target); !status.ok()) return status;
  }
  return Status();
}

}  // namespace zepcodec::jpeg
