// SPDX-License-Identifier: MIT
#include "codecs/jpeg/encoder.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "codecs/jpeg/block_maker.h"
#include "codecs/jpeg/coefficient_writer.h"
#include "codecs/jpeg/deep_planes.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/markers/markers.h"
#include "codecs/jpeg/markers/segment_writer.h"
#include "codecs/jpeg/markers/standard_tables.h"
#include "codecs/jpeg/scan_encoder.h"
#include "codecs/jpeg/sequential_encoder.h"
#include "codecs/jpeg/strip_maker.h"
#include "codecs/support/parallel.h"
#include "zepjp.h"

namespace zepcodec::jpeg {
namespace {

constexpr int kMostPixelsOnASide = 65535;
constexpr int kAdobeYcck = 2;

Status CheckSize(int width, int height) {
  if (width >= 1 && height >= 1 && width <= kMostPixelsOnASide && height <= kMostPixelsOnASide) {
    return Status();
  }
  return Status::Error("a JPEG file holds 1 to 65535 pixels on a side, not " +
                       std::to_string(width) + " x " + std::to_string(height));
}

Status CheckOptions(const EncodeOptions& options) {
  if (options.quality < 1 || options.quality > 100) {
    return Status::Error("the quality must lie in 1 to 100");
  }
  if (options.restart_interval < 0 || options.restart_interval > 65535) {
    return Status::Error("the restart interval must lie in 0 to 65535");
  }
  for (const Segment& segment : options.metadata.segments) {
    if (segment.data.size() > kMaxSegmentBytes) return Status::Error("a segment is too large");
  }
  return Status();
}

Status CheckArguments(const Picture& image, const EncodeOptions& options) {
  if (Status status = CheckSize(image.width(), image.height()); !status.ok()) return status;
  if (HasAlpha(image.layout())) return Status::Error("a JPEG file holds no transparent pixels");
  if (image.type() != SampleType::kU8 || image.bits() != 8) {
    return Status::Error("a JPEG file holds samples of 8 or 12 bits");
  }
  return CheckOptions(options);
}

// Table 0 serves Y, K and grey, table 1 the colour components.
Frame MakeFrame(int width, int height, int channels, Sampling sampling) {
  Frame frame;
  frame.width = width;
  frame.height = height;
  if (channels > 1) {
    frame.max_h = sampling == Sampling::k444 ? 1 : 2;
    frame.max_v = sampling == Sampling::k420 ? 2 : 1;
  }
  for (int i = 0; i < channels; ++i) {
    const bool is_chroma = i == 1 || i == 2;
    frame.components.push_back(
        {i + 1, is_chroma ? 1 : frame.max_h, is_chroma ? 1 : frame.max_v, is_chroma ? 1 : 0});
  }
  return frame;
}

using RawTables = std::array<std::array<uint8_t, 64>, 2>;

void MakeTables(int quality, RawTables* raw, CoderTables* tables) {
  *raw = {kLuminanceSteps, kChrominanceSteps};
  for (size_t i = 0; i < 2; ++i) {
    zepiQuantFwdRawTableInit_JPEG_8u((*raw)[i].data(), quality);
    zepiQuantFwdTableInit_JPEG_8u16u((*raw)[i].data(), tables[i].steps);
    zepiEncodeHuffmanSpecInit_JPEG_8u(kDcHuffman[i].bits.data(), kDcHuffman[i].symbols,
                                      &tables[i].dc);
    zepiEncodeHuffmanSpecInit_JPEG_8u(kAcHuffman[i].bits.data(), kAcHuffman[i].symbols,
                                      &tables[i].ac);
  }
}

// Writes everything up to the frame header, and the restart interval.
bool WriteHeaders(const Frame& frame, const EncodeOptions& options, const RawTables& raw,
                  ByteBuffer* file) {
  const int table_count = frame.components.size() > 1 ? 2 : 1;
  SegmentWriter writer(file);
  writer.Marker(kSoi);
  if (frame.components.size() == 4) {
    writer.Adobe(kAdobeYcck);
  } else {
    writer.Jfif(options.metadata.density);
  }
  for (const Segment& segment : options.metadata.segments) writer.Saved(segment);
  for (int i = 0; i < table_count; ++i) writer.Quantization(i, raw[static_cast<size_t>(i)].data());
  writer.FrameHeader(frame.is_progressive ? kSof2 : frame.precision == 8 ? kSof0 : kSof1, frame);
  if (options.restart_interval > 0) writer.RestartInterval(options.restart_interval);
  return writer.ok();
}

void MakeBlocks(const EncodeWork& work, const BlockMaker& maker, const StripMaker& strip, int row,
                Coefficients* coefficients) {
  for (size_t i = 0; i < coefficients->planes.size(); ++i) {
    const ComponentGeometry& place = work.geometry.components[i];
    CoefficientPlane& plane = coefficients->planes[i];
    maker.Make(strip, row, i, 0, work.geometry.mcus_per_row,
               {plane.Block(0, row * place.v), 64 * place.h, 64 * plane.across()});
  }
}

// All coefficients first, then scans with tables of their own.
Status EncodeInScans(const EncodeWork& work, const Script& script, ByteBuffer* file) {
  Coefficients coefficients;
  Picture picture;
  if (Status status = work.rows->All(&picture); !status.ok()) return status;
  if (!coefficients.Allocate(work.frame)) return Status::NoMemory();
  std::vector<const uint16_t*> steps;
  for (const CoderTables* tables : work.tables) steps.push_back(tables->steps);
  const BlockMaker maker(work.geometry, steps, IsPrecise(work.options));
  Status status = RunParallel(
      work.pool, static_cast<size_t>(work.geometry.mcu_rows),
      [&] {
        auto strip = std::make_unique<StripMaker>(picture, work.options.sampling, work.geometry);
        if (!strip->Init()) throw std::bad_alloc();
        strip->Use(&picture, 0);
        return [&, strip = std::move(strip)](size_t row) {
          strip->Make(static_cast<int>(row));
          MakeBlocks(work, maker, *strip, static_cast<int>(row), &coefficients);
        };
      },
      work.options.progress);
  if (!status.ok()) return status;
  status = WriteScans(coefficients, script, work.options.optimizes, work.options.restart_interval,
                      work.pool, file);
  return status;
}

void TransformDeep(const std::vector<DeepPlane>& planes, const CoderTables* tables,
                   Coefficients* coefficients) {
  for (size_t i = 0; i < planes.size(); ++i) {
    const int table = coefficients->frame.components[i].quant_table;
    CoefficientPlane& blocks = coefficients->planes[i];
    for (int y = 0; y < blocks.down(); ++y) {
      for (int x = 0; x < blocks.across(); ++x) {
        zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(planes[i].At(8 * x, 8 * y), planes[i].step(),
                                             blocks.Block(x, y), tables[table].steps);
      }
    }
  }
}

Script ScriptOf(const EncodeOptions& options, int component_count) {
  if (!options.script.empty()) return options.script;
  return options.progressive ? ProgressiveScript(component_count)
                             : SequentialScript(component_count);
}

Status EncodeDeep(RowSource* rows, const EncodeOptions& options, ByteBuffer* file) {
  const Picture& form = rows->form();
  const int channels = form.channels();
  if (Status status = CheckSize(form.width(), form.height()); !status.ok()) return status;
  if (Status status = CheckOptions(options); !status.ok()) return status;
  if (channels != 1 && channels != 3) {
    return Status::Error("not a grey or RGB picture of 12 bits");
  }
  Frame frame = MakeFrame(form.width(), form.height(), channels, Sampling::k444);
  const Script script = ScriptOf(options, channels);
  if (Status status = CheckScript(script, frame); !status.ok()) return status;
  frame.is_progressive = IsProgressive(script);
  frame.precision = kDeepBits;
  RawTables raw;
  CoderTables tables[2];
  MakeTables(options.quality, &raw, tables);
  Picture picture;
  std::vector<DeepPlane> planes;
  Coefficients coefficients;
  if (Status status = rows->All(&picture); !status.ok()) return status;
  if (!file->Resize(0) || !WriteHeaders(frame, options, raw, file) ||
      !coefficients.Allocate(frame)) {
    return Status::NoMemory();
  }
  if (Status status = ToDeepPlanes(picture, Geometry(frame, 1), &planes); !status.ok()) {
    return status;
  }
  TransformDeep(planes, tables, &coefficients);
  ThreadPool pool(options.threads);
  Status status = WriteScans(coefficients, script, true, options.restart_interval, &pool, file);
  if (!status.ok()) return status;
  SegmentWriter writer(file);
  writer.Marker(kEoi);
  return writer.ok() ? Status() : Status::NoMemory();
}

}  // namespace

Status Encode(const Picture& picture, const EncodeOptions& options, ByteBuffer* file) {
  PictureRows rows(picture);
  return Encode(&rows, options, file);
}

Status Encode(RowSource* rows, const EncodeOptions& options, ByteBuffer* file) {
  const Picture& image = rows->form();
  if (image.bits() == kDeepBits) return EncodeDeep(rows, options, file);
  if (Status status = CheckArguments(image, options); !status.ok()) return status;
  Frame frame = MakeFrame(image.width(), image.height(), image.channels(), options.sampling);
  const Script script = ScriptOf(options, image.channels());
  if (Status status = CheckScript(script, frame); !status.ok()) return status;
  frame.is_progressive = IsProgressive(script);
  const Geometry geometry(frame, 1);
  RawTables raw;
  CoderTables tables[2];
  MakeTables(options.quality, &raw, tables);
  if (!file->Resize(0) || !WriteHeaders(frame, options, raw, file)) return Status::NoMemory();
  ThreadPool pool(options.threads);
  EncodeWork work = {rows, frame, geometry, options, {}, &pool};
  for (const FrameComponent& component : frame.components) {
    work.tables.push_back(&tables[component.quant_table]);
  }
  const bool at_once = script.size() == 1 && !options.optimizes;
  const Status status = at_once ? EncodeAtOnce(work, file) : EncodeInScans(work, script, file);
  if (!status.ok()) return status;
  SegmentWriter writer(file);
  writer.Marker(kEoi);
  return writer.ok() ? Status() : Status::NoMemory();
}

}  // namespace zepcodec::jpeg
