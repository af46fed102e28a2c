// SPDX-License-Identifier: MIT
#include "tools/zepconvert/row_output.h"

#include <algorithm>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/library_file.h"
#include "tools/zepconvert/png_file.h"
#include "tools/zepconvert/pnm_file.h"

namespace zepconvert {
namespace {

// Calls `write` with one row after the other.
template <class Write>
void ForEachRow(const zepcPixels& shape, const NextRows& next, const Write& write) {
  constexpr int kRowsAtOnce = 32;
  const Form form = {shape.layout, shape.sample, shape.bits};
  Image band(shape.width, std::min(kRowsAtOnce, shape.height), form);
  zepcPixels rows = band.pixels();
  for (int y = 0; y < shape.height; y += rows.height) {
    rows.height = std::min(band.height(), shape.height - y);
    if (!next(rows)) throw Failure("rows of the picture are missing");
    for (int i = 0; i < rows.height; ++i) write(band.Row(i));
  }
}

void WritePngRows(const zepcPixels& shape, const Metadata& metadata, const NextRows& next,
                  OutputFile* file) {
  PngWriter writer(shape, metadata);
  ForEachRow(shape, next, [&](const uint8_t* row) {
    writer.WriteRow(row);
    file->Write(writer.TakeBytes());
  });
  writer.Finish();
  file->Write(writer.TakeBytes());
}

void WritePnmRows(Format format, const zepcPixels& shape, const NextRows& next, OutputFile* file) {
  const PnmWriter writer(shape, format);
  Bytes out(writer.row_bytes());
  file->Write({writer.header().data(), writer.header().size()});
  ForEachRow(shape, next, [&](const uint8_t* row) {
    writer.WriteRow(row, out.data());
    file->Write(out);
  });
}

}  // namespace

bool TakesRows(const Settings& settings, Format format) {
  switch (format) {
    case Format::kJpeg:
      return settings.jpeg.is_progressive == 0 && settings.jpeg.optimizes == 0 &&
             !settings.scan_script.has_value();
    case Format::kJp2:
    case Format::kJ2k: return IsLossless(settings, format);
    case Format::kDds:
      return settings.dds.has_mipmaps == 0 && settings.dds.texture != zepcTextureBc5;
    case Format::kHdr:
    case Format::kUnknown: return false;
    default: return true;
  }
}

void WriteRows(const Settings& settings, Format format, const zepcPixels& shape,
               const Metadata& metadata, const NextRows& next, OutputFile* file) {
  if (IsOfLibrary(format)) {
    WriteLibraryRows(settings, format, shape, metadata, next, file);
  } else if (format == Format::kPng) {
    WritePngRows(shape, metadata, next, file);
  } else {
    WritePnmRows(format, shape, next, file);
  }
}

}  // namespace zepconvert
