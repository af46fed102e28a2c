// SPDX-License-Identifier: MIT
#include "codecs/jpeg/decoder.h"

#include <utility>

#include "codecs/jpeg/coefficient_decoder.h"
#include "codecs/jpeg/coefficient_rows.h"
#include "codecs/jpeg/deep_planes.h"
#include "codecs/jpeg/file_reader.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/plane.h"
#include "codecs/jpeg/row_output.h"
#include "codecs/jpeg/sequential_decoder.h"

namespace zepcodec::jpeg {
namespace {

Status CheckOptions(const DecodeOptions& options) {
  const int scale = options.scale;
  if (scale == 1 || scale == 2 || scale == 4 || scale == 8) return Status();
  return Status::Error("the scale must be 1, 2, 4 or 8");
}

Status DecodeDeep(FileReader* file, const Window& window, Picture* picture) {
  Coefficients coefficients;
  std::vector<DeepPlane> planes;
  if (Status status = DecodeAllScans(file, &coefficients); !status.ok()) return status;
  if (Status status = ToDeepPlanes(coefficients, window, &planes); !status.ok()) return status;
  return ToPicture(planes, window, file->info->frame, file->info->model, picture);
}

// All that is not decoded row by row is not given to the sink.
Status DecodePicture(FileReader* file, const Window& window, Picture* picture) {
  const bool gives_rows = GivesRows(*file->info);
  RowOutput output(window, file->info->model, picture, gives_rows ? file->options.rows : nullptr);
  if (!output.Init()) return Status::NoMemory();
  if (gives_rows) return DecodeRows(file, &output);
  if (file->info->frame.is_progressive) {
    Coefficients coefficients;
    Status status = DecodeAllScans(file, &coefficients);
    return status.ok() ? WriteRows(file, coefficients, &output) : status;
  }
  std::vector<Plane> planes;
  Status status = DecodePlanes(file, window, &planes);
  return status.ok() ? WriteRows(file, planes, &output) : status;
}

Window WindowOfAll(const Geometry& geometry) {
  return Window(geometry, {0, 0, geometry.width, geometry.height});
}

Status DecodeAllPlanes(FileReader* file, const Window& window, std::vector<Plane>* planes) {
  if (!file->info->frame.is_progressive) return DecodePlanes(file, window, planes);
  Coefficients coefficients;
  if (Status status = DecodeAllScans(file, &coefficients); !status.ok()) return status;
  *planes = std::vector<Plane>(window.geometry.components.size());
  for (size_t i = 0; i < planes->size(); ++i) {
    if (!(*planes)[i].AllocateAll(window, window.geometry.components[i])) {
      return Status::NoMemory();
    }
  }
  const CoefficientRows rows(coefficients, window, planes);
  for (int row = 0; row < window.mcus.end_row; ++row) rows.DecodeRow(row);
  return Status();
}

}  // namespace

bool GivesRows(const FileInfo& info) {
  return info.has_single_scan && !info.frame.is_progressive && info.frame.precision == 8;
}

Status Decode(const uint8_t* data, size_t size, const DecodeOptions& options, Picture* picture,
              FileInfo* info) {
  if (Status status = CheckOptions(options); !status.ok()) return status;
  *info = FileInfo();
  FileReader file(data, size, options, info);
  if (Status status = file.ReadHeaders(); !status.ok()) return status;
  const bool is_deep = info->frame.precision == kDeepBits;
  if (is_deep && options.scale != 1) {
    return Status::Unsupported("pictures of 12 bits are decoded at full scale only");
  }
  const Geometry geometry(info->frame, options.scale);
  Region region;
  Status status = options.region.In(geometry.width, geometry.height, &region);
  if (!status.ok()) return status;
  const Window window(geometry, region);
  return is_deep ? DecodeDeep(&file, window, picture) : DecodePicture(&file, window, picture);
}

Status DecodeComponents(const uint8_t* data, size_t size, const DecodeOptions& options,
                        std::vector<ComponentSamples>* components, FileInfo* info) {
  if (options.scale != 1) return Status::Error("components are decoded at full scale only");
  *info = FileInfo();
  components->clear();
  FileReader file(data, size, options, info);
  if (Status status = file.ReadHeaders(); !status.ok()) return status;
  if (info->frame.precision != 8) {
    return Status::Error("components of 8 bits only are decoded on their own");
  }
  const Window window = WindowOfAll(Geometry(info->frame, 1));
  std::vector<Plane> planes;
  if (Status status = DecodeAllPlanes(&file, window, &planes); !status.ok()) return status;
  for (size_t i = 0; i < planes.size(); ++i) {
    const ComponentGeometry& place = window.geometry.components[i];
    ComponentSamples out{place.width, place.height, {}};
    for (int y = 0; y < place.height; ++y) {
      const uint8_t* row = planes[i].Row(y);
      out.samples.insert(out.samples.end(), row, row + place.width);
    }
    components->push_back(std::move(out));
  }
  return Status();
}

Status DecodeCoefficients(const uint8_t* data, size_t size, const DecodeOptions& options,
                          Coefficients* coefficients, FileInfo* info) {
  *info = FileInfo();
  FileReader file(data, size, options, info);
  if (Status status = file.ReadHeaders(); !status.ok()) return status;
  if (info->frame.components.size() == 2) {
    return Status::Unsupported("pictures of two components are decoded to samples only");
  }
  return DecodeAllScans(&file, coefficients);
}

Status ReadFileInfo(const uint8_t* data, size_t size, FileInfo* info) {
  *info = FileInfo();
  DecodeOptions options;
  options.max_pixels = INT64_MAX;
  return FileReader(data, size, options, info).ReadHeaders();
}

}  // namespace zepcodec::jpeg
