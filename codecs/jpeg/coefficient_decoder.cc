// SPDX-License-Identifier: MIT
#include "codecs/jpeg/coefficient_decoder.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "codecs/jpeg/band_writer.h"
#include "codecs/jpeg/coefficient_rows.h"
#include "codecs/jpeg/coefficient_scan.h"
#include "codecs/jpeg/intervals.h"
#include "codecs/jpeg/scan_wavefront.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg {
namespace {

int64_t MostIdleVisits(const Geometry& geometry) {
  return std::max(kMostIdleVisits * BlockCount(geometry), kAlwaysAcceptedVisits);
}

// The steps of the components that have their first scan.
void TakeSteps(FileReader* file, Coefficients* coefficients) {
  for (const ScanComponent& part : file->headers.scan().components) {
    const auto index = static_cast<size_t>(part.index);
    if (file->is_decoded[index]) continue;
    const int quant = file->headers.frame().components[index].quant_table;
    std::copy_n(file->headers.tables().quant[quant], 64, coefficients->steps[index].begin());
    file->is_decoded[index] = true;
  }
}

// False: there is a single scan, or not all is well, or there are more scans than files usually
// have.
bool PlanScans(FileReader* file, const Geometry& geometry, ScanWavefront* scans) {
  constexpr size_t kMostScans = 64;
  Messages faults;
  MarkerReader reader(file->data, file->size, &faults);
  for (;;) {
    Event event = Event::kFrame;
    while (event == Event::kFrame) {
      if (!reader.Next(&event).ok()) return false;
    }
    if (event == Event::kEnd) break;
    const Scan& scan = reader.scan();
    for (const ScanComponent& part : scan.components) {
      if (!HasTables(reader, part)) return false;
    }
    const ScanWalk walk(geometry, scan);
    const Intervals intervals = FindIntervals(file->data, file->size, reader.position(),
                                              walk.McuCount(), reader.restart_interval(), &faults);
    if (!intervals.is_sound) return false;
    scans->Add(scan, reader.tables(), reader.position(), intervals.end, reader.restart_interval());
    const auto planned = static_cast<int>(scans->scan_count());
    if (planned == file->options.scans) break;
    if (scans->scan_count() == kMostScans) return false;
    reader.Seek(intervals.end);
  }
  return scans->scan_count() > 1;
}

// `is_done`: all scans are decoded. Otherwise there is a fault, or too little to be shared out.
Status DecodeScansTogether(FileReader* file, Coefficients* coefficients, bool* is_done) {
  if (file->pool.size() < 2) return Status();
  const Geometry geometry(file->headers.frame(), 1);
  ScanWavefront scans(file->data, file->size, geometry, coefficients);
  if (!PlanScans(file, geometry, &scans)) {
    coefficients->has_dc.assign(coefficients->has_dc.size(), false);
    return Status();
  }
  if (Status status = scans.Run(&file->pool, file->options.progress, is_done); !status.ok())
    return status;
  *is_done = *is_done && coefficients->idle_visits <= MostIdleVisits(geometry);
  if (!*is_done) {
    return coefficients->Allocate(file->headers.frame()) ? Status() : Status::NoMemory();
  }
  // What the file says between the scans.
  for (size_t i = 0; i < scans.scan_count(); ++i) {
    TakeSteps(file, coefficients);
    file->headers.Seek(scans.end(i));
    if (i + 1 < scans.scan_count()) file->NextScan();
  }
  if (file->options.scans == 0) file->NextScan();
  file->Finish();
  return Status();
}

Status DecodeScan(FileReader* file, Coefficients* coefficients) {
  const Scan& scan = file->headers.scan();
  const Geometry geometry(file->headers.frame(), 1);
  const ScanWalk walk(geometry, scan);
  if (coefficients->idle_visits > MostIdleVisits(geometry)) {
    return Status::Error("more scans than a picture of this size can need; the rest is left out");
  }
  for (const ScanComponent& part : scan.components) {
    if (!HasTables(file->headers, part)) return MissingTables();
  }
  TakeSteps(file, coefficients);
  const ScanTask task = {file->data,
                         file->size,
                         file->headers.position(),
                         scan,
                         walk,
                         file->headers.tables(),
                         file->headers.restart_interval(),
                         TakeFirstDc(scan, coefficients)};
  const ScanOutcome outcome = DecodeScan(task, coefficients, &file->info->messages);
  coefficients->idle_visits += outcome.idle_visits;
  file->headers.Seek(outcome.end);
  return Status();
}

}  // namespace

Status DecodeAllScans(FileReader* file, Coefficients* coefficients) {
  if (!coefficients->Allocate(file->headers.frame())) return Status::NoMemory();
  bool is_done = false;
  Status status = DecodeScansTogether(file, coefficients, &is_done);
  if (!status.ok() || is_done) return status;
  int number = 0;
  do {
    status = DecodeScan(file, coefficients);
    if (EndsAll(status)) return status;
    if (!status.ok() && number == 0) return file->headers.AtMarker(status);
    if (!status.ok()) {
      file->info->messages.AddAt(file->headers.marker_offset(), status.text());
      break;
    }
    if (Stops(file->options.progress, file->headers.position(), file->size)) {
      return Status::Cancelled();
    }
    if (++number == file->options.scans) break;
  } while (file->NextScan());
  file->Finish();
  return Status();
}

Status WriteRows(FileReader* file, const Coefficients& coefficients, RowOutput* output) {
  const Window& window = output->window();
  const int rows = window.mcus.end_row - window.mcus.first_row;
  return RunParallel(
      &file->pool, static_cast<size_t>(DivideUp(rows, kRowsInABand)),
      [&] {
        auto writer = std::make_unique<BandWriter>(window, file->info->model);
        if (!writer->Init()) throw std::bad_alloc();
        return [&, writer = std::move(writer)](size_t band) {
          const CoefficientRows blocks(coefficients, window, writer->planes());
          const int first = window.mcus.first_row + static_cast<int>(band) * kRowsInABand;
          const int end = std::min(first + kRowsInABand, window.mcus.end_row);
          Picture unused;
          RowTarget target;
          if (!output->OpenRows(first, end, &unused, &target)) throw std::bad_alloc();
          writer->WriteBand(first, end, nullptr, target, [&](int row) { blocks.DecodeRow(row); });
        };
      },
      file->options.progress);
}

}  // namespace zepcodec::jpeg
