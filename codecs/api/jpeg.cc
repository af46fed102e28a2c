// SPDX-License-Identifier: MIT
// JPEG files and their coefficients, without decoding to pixels.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "codecs/api/codec.h"
#include "codecs/api/encode.h"
#include "codecs/api/error.h"
#include "codecs/api/jpeg_adapter.h"
#include "codecs/api/structs.h"
#include "codecs/include/zepcodec.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/transcoder.h"
#include "codecs/support/progress.h"

// Planes whose blocks lie row by row, as zepcComponent shows them.
struct zepcCoefficients {
  zepcodec::jpeg::Coefficients coefficients;
  zepcodec::jpeg::FileInfo info;  // headers and segments of the file that they were read from
};

namespace zepcodec::api {
namespace {

zepcStatus DamageOf(const Messages& messages) {
  return Fail(zepcStatusBadFile, messages.kept()[0].ToString().c_str());
}

int64_t OrUsual(int64_t value, int64_t usual) { return value == 0 ? usual : value; }

// Coefficients take more memory than the picture's estimate counts: 2 bytes a sample, twice where
// they are turned or cut.
zepcStatus CheckMemory(const File& file, int64_t max_memory, int copies) {
  jpeg::FileInfo info;
  if (Status status = jpeg::ReadFileInfo(file.data, file.size, &info); !status.ok()) {
    return StatusOf(status, zepcStatusBadFile);
  }
  const jpeg::Geometry geometry(info.frame, 1);
  int64_t blocks = 0;
  for (const jpeg::ComponentGeometry& place : geometry.components) {
    blocks += int64_t{geometry.mcus_per_row} * place.h * geometry.mcu_rows * place.v;
  }
  const int64_t bytes =
      blocks * static_cast<int64_t>(jpeg::CoefficientPlane::BytesForBlock()) * copies +
      2 * static_cast<int64_t>(file.size);
  if (bytes <= max_memory) return zepcStatusOk;
  const std::string text = "the coefficients take about " + std::to_string(bytes) +
                           " bytes, more than the limit of " + std::to_string(max_memory);
  return Fail(zepcStatusTooLarge, text.c_str());
}

std::optional<Turn> TurnOf(zepcTransform transform) {
  switch (transform) {
    case zepcTransformNone:
    case zepcTransformUpright: return Turn{};
    case zepcTransformMirrorX: return UprightOf(2);
    case zepcTransformTurn180: return UprightOf(3);
    case zepcTransformMirrorY: return UprightOf(4);
    case zepcTransformTranspose: return UprightOf(5);
    case zepcTransformTurn90: return UprightOf(6);
    case zepcTransformTransverse: return UprightOf(7);
    case zepcTransformTurn270: return UprightOf(8);
  }
  return std::nullopt;
}

Status ReadOptions(const zepcTranscodeOptions& given, jpeg::TranscodeOptions* options) {
  for (const Status& status : {CheckRange("restart_interval", given.restart_interval, 0, 65535),
                               CheckRange("max_pixels", given.max_pixels, 0, INT64_MAX),
                               CheckRange("max_memory", given.max_memory, 0, INT64_MAX),
                               CheckRange("region.width", given.region.width, 0, INT32_MAX)}) {
    if (!status.ok()) return status;
  }
  const std::optional<Turn> turn = TurnOf(given.transform);
  if (!turn.has_value()) return Status::Error("there is no such transform");
  options->turn = *turn;
  options->makes_upright = given.transform == zepcTransformUpright;
  options->is_exact = given.is_exact != 0;
  options->has_crop = given.region.width > 0;
  options->crop = {given.region.x, given.region.y, given.region.width, given.region.height};
  options->progressive = given.is_progressive != 0;
  options->optimizes = given.optimizes != 0;
  options->restart_interval = given.restart_interval;
  options->keep_metadata = given.drops_metadata == 0;
  options->max_pixels = OrUsual(given.max_pixels, kUsualMaxPixels);
  return given.scan_script == nullptr ? Status()
                                      : jpeg::ParseScript(given.scan_script, &options->script);
}

zepcStatus CheckJpeg(const File& file) {
  const zepcFormat format = zepcFormatOfBytes(file.data, file.size);
  if (format == zepcFormatJpeg) return zepcStatusOk;
  return format == zepcFormatUnknown
             ? Fail(zepcStatusUnknownFormat, "the format is not known")
             : Fail(zepcStatusUnsupported, "only lossy JPEG files have coefficients");
}

zepcStatus Transcode(const File& file, const zepcTranscodeOptions& given, void** bytes,
                     size_t* size) {
  jpeg::TranscodeOptions options;
  if (Status status = ReadOptions(given, &options); !status.ok()) {
    return StatusOf(status, zepcStatusBadArgument);
  }
  if (const zepcStatus bad = CheckJpeg(file); bad != zepcStatusOk) return bad;
  const zepcStatus memory = CheckMemory(file, OrUsual(given.max_memory, kUsualMaxMemory), 2);
  if (memory != zepcStatusOk) return memory;
  jpeg::FileInfo info;
  ByteBuffer made;
  Status status = jpeg::Transcode(file.data, file.size, options, &made, &info);
  if (!status.ok()) return StatusOf(status, zepcStatusBadFile);
  const bool is_damaged = !info.messages.empty();
  if (is_damaged && given.keeps_damaged == 0) return DamageOf(info.messages);
  const zepcStatus done = HandOut(&made, bytes, size);
  return done == zepcStatusOk && is_damaged ? zepcStatusDamaged : done;
}

zepcStatus ReadCoefficients(const File& file, const zepcDecodeOptions& given,
                            zepcCoefficients** coefficients) {
  if (const zepcStatus bad = CheckJpeg(file); bad != zepcStatusOk) return bad;
  const zepcStatus memory = CheckMemory(file, OrUsual(given.max_memory, kUsualMaxMemory), 1);
  if (memory != zepcStatusOk) return memory;
  Watch watch(given.progress, given.progress_user);
  jpeg::DecodeOptions options;
  options.max_pixels = OrUsual(given.max_pixels, kUsualMaxPixels);
  options.progress = watch.progress();
  auto made = std::make_unique<zepcCoefficients>();
  Status status =
      jpeg::DecodeCoefficients(file.data, file.size, options, &made->coefficients, &made->info);
  if (!status.ok()) return StatusOf(status, zepcStatusBadFile);
  const bool is_damaged = !made->info.messages.empty();
  if (is_damaged && given.keeps_damaged == 0) return DamageOf(made->info.messages);
  *coefficients = made.release();
  return is_damaged ? zepcStatusDamaged : zepcStatusOk;
}

Status CheckInfo(const zepcCoefficientsInfo& info) {
  for (const Status& status :
       {CheckRange("width", info.width, 1, 65535), CheckRange("height", info.height, 1, 65535),
        CheckRange("components", info.components, 1, 4)}) {
    if (!status.ok()) return status;
  }
  if (info.components == 2) return Status::Error("components must be 1, 3 or 4");
  return info.bits == 8 || info.bits == 12 ? Status() : Status::Error("bits must be 8 or 12");
}

Status AddComponent(const zepcComponent& given, jpeg::Frame* frame) {
  const auto number = static_cast<int>(frame->components.size()) + 1;
  for (const Status& status : {CheckRange("h", given.h, 1, 4), CheckRange("v", given.v, 1, 4)}) {
    if (!status.ok()) return status;
  }
  if (std::find(std::begin(given.steps), std::end(given.steps), 0) != std::end(given.steps)) {
    return Status::Error("a step of the quantizer is 0");
  }
  frame->components.push_back({number, given.h, given.v, 0});
  frame->max_h = std::max(frame->max_h, given.h);
  frame->max_v = std::max(frame->max_v, given.v);
  return Status();
}

zepcStatus MakeCoefficients(const zepcCoefficientsInfo& info, const zepcComponent* components,
                            zepcCoefficients** coefficients) {
  if (Status status = CheckInfo(info); !status.ok()) {
    return StatusOf(status, zepcStatusBadArgument);
  }
  jpeg::Frame frame;
  frame.width = info.width;
  frame.height = info.height;
  frame.precision = info.bits;
  // The caller's array has structs of the caller's size.
  const auto* bytes = reinterpret_cast<const uint8_t*>(components);
  std::vector<zepcComponent> whole;
  for (int32_t i = 0; i < info.components; ++i) {
    const auto* const one = reinterpret_cast<const zepcComponent*>(bytes);
    if (!HasSize(one)) return BadArgument("the size of a component is not set");
    whole.push_back(Complete(one));
    if (Status status = AddComponent(whole.back(), &frame); !status.ok()) {
      return StatusOf(status, zepcStatusBadArgument);
    }
    bytes += one->size;
  }
  int blocks_in_mcu = 0;
  for (const zepcComponent& one : whole) blocks_in_mcu += one.h * one.v;
  if (info.components > 1 && blocks_in_mcu > 10) {
    return BadArgument("an MCU has more than ten blocks");
  }
  auto made = std::make_unique<zepcCoefficients>();
  if (!made->coefficients.Allocate(frame)) {
    return Fail(zepcStatusNoMemory, "not enough memory");
  }
  for (size_t i = 0; i < whole.size(); ++i) {
    std::copy(std::begin(whole[i].steps), std::end(whole[i].steps),
              made->coefficients.steps[i].begin());
  }
  made->info.has_jfif = info.components == 1 || info.components == 3;
  *coefficients = made.release();
  return zepcStatusOk;
}

// The categories that Huffman tables of 8-bit files and of deeper ones have (ITU-T T.81, table F.1
// and F.2); differences of DC reach twice as far as its values.
Status CheckValues(const jpeg::Coefficients& coefficients) {
  const int most = coefficients.frame.precision == 8 ? 1023 : 16383;
  for (const jpeg::CoefficientPlane& plane : coefficients.planes) {
    for (int y = 0; y < plane.down(); ++y) {
      const int16_t* const row = plane.Block(0, y);
      const ptrdiff_t count = ptrdiff_t{64} * plane.across();
      bool is_within = true;
      for (ptrdiff_t i = 0; i < count; ++i) {
        const int least = i % 64 == 0 ? -most - 1 : -most;
        is_within = is_within && row[i] <= most && row[i] >= least;
      }
      if (!is_within) {
        return Status::Unsupported("a coefficient is beyond " + std::to_string(most) +
                                   ", which JPEG files cannot hold");
      }
    }
  }
  return Status();
}

zepcStatus WriteCoefficients(const zepcCoefficients& from, const zepcJpegOptions* given,
                             const zepcMetadata* metadata, void** bytes, size_t* size) {
  jpeg::EncodeOptions options;
  if (Status status = ReadJpegOptions(given, &options); !status.ok()) {
    return StatusOf(status, zepcStatusBadArgument);
  }
  if (Status status = CheckValues(from.coefficients); !status.ok()) {
    return StatusOf(status, zepcStatusUnsupported);
  }
  jpeg::FileInfo info;
  info.has_jfif = from.info.has_jfif;
  info.adobe_transform = from.info.adobe_transform;
  info.metadata = metadata != nullptr ? jpeg::ToSegments(MetadataOf(metadata)) : from.info.metadata;
  jpeg::TranscodeOptions transcode;
  transcode.progressive = options.progressive;
  transcode.script = options.script;
  transcode.optimizes = options.optimizes;
  transcode.restart_interval = options.restart_interval;
  ByteBuffer made;
  Status status = jpeg::WriteCoefficients(info, transcode, from.coefficients, &made);
  return status.ok() ? HandOut(&made, bytes, size) : StatusOf(status, zepcStatusBadArgument);
}

}  // namespace
}  // namespace zepcodec::api

namespace api = zepcodec::api;

zepcStatus zepcJpegTranscode(const void* data, size_t size, const zepcTranscodeOptions* options,
                             void** file, size_t* file_size) {
  return api::Guarded([&] {
    if (data == nullptr || file == nullptr || file_size == nullptr) {
      return api::BadArgument("a null pointer");
    }
    if (options != nullptr && !api::HasSize(options)) {
      return api::BadArgument("the size of the options is not set");
    }
    return api::Transcode({static_cast<const uint8_t*>(data), size}, api::Complete(options), file,
                          file_size);
  });
}

zepcStatus zepcJpegReadCoefficients(const void* data, size_t size, const zepcDecodeOptions* options,
                                    zepcCoefficients** coefficients) {
  return api::Guarded([&] {
    if (data == nullptr || coefficients == nullptr) return api::BadArgument("a null pointer");
    if (options != nullptr && !api::HasSize(options)) {
      return api::BadArgument("the size of the options is not set");
    }
    const zepcDecodeOptions whole = api::Complete(options);
    if (whole.max_pixels < 0 || whole.max_memory < 0) {
      return api::BadArgument("a limit is negative");
    }
    return api::ReadCoefficients({static_cast<const uint8_t*>(data), size}, whole, coefficients);
  });
}

zepcStatus zepcJpegMakeCoefficients(const zepcCoefficientsInfo* info,
                                    const zepcComponent* components,
                                    zepcCoefficients** coefficients) {
  return api::Guarded([&] {
    if (info == nullptr || components == nullptr || coefficients == nullptr) {
      return api::BadArgument("a null pointer");
    }
    if (!api::HasSize(info)) return api::BadArgument("the size of the info is not set");
    return api::MakeCoefficients(api::Complete(info), components, coefficients);
  });
}

zepcStatus zepcJpegCoefficientsInfo(const zepcCoefficients* coefficients,
                                    zepcCoefficientsInfo* info) {
  if (coefficients == nullptr || info == nullptr) return api::BadArgument("a null pointer");
  if (!api::HasSize(info)) return api::BadArgument("the size of the info is not set");
  const zepcodec::jpeg::Frame& frame = coefficients->coefficients.frame;
  api::Fill(zepcCoefficientsInfo{0, frame.width, frame.height, frame.precision,
                                 static_cast<int32_t>(frame.components.size())},
            info);
  return zepcStatusOk;
}

zepcStatus zepcJpegComponent(zepcCoefficients* coefficients, int32_t index,
                             zepcComponent* component) {
  if (coefficients == nullptr || component == nullptr) return api::BadArgument("a null pointer");
  if (!api::HasSize(component)) return api::BadArgument("the size of the component is not set");
  zepcodec::jpeg::Coefficients& own = coefficients->coefficients;
  if (index < 0 || static_cast<size_t>(index) >= own.planes.size()) {
    return api::BadArgument("there is no component with this number");
  }
  const auto i = static_cast<size_t>(index);
  zepcComponent whole{};
  whole.h = own.frame.components[i].h;
  whole.v = own.frame.components[i].v;
  std::copy(own.steps[i].begin(), own.steps[i].end(), std::begin(whole.steps));
  whole.blocks_across = own.planes[i].across();
  whole.blocks_down = own.planes[i].down();
  whole.blocks = own.planes[i].Block(0, 0);
  api::Fill(whole, component);
  return zepcStatusOk;
}

zepcStatus zepcJpegWriteCoefficients(const zepcCoefficients* coefficients,
                                     const zepcJpegOptions* options, const zepcMetadata* metadata,
                                     void** file, size_t* file_size) {
  return api::Guarded([&] {
    if (coefficients == nullptr || file == nullptr || file_size == nullptr) {
      return api::BadArgument("a null pointer");
    }
    if (options != nullptr && !api::HasSize(options)) {
      return api::BadArgument("the size of the options is not set");
    }
    if (const zepcStatus bad = api::CheckMetadata(metadata); bad != zepcStatusOk) return bad;
    return api::WriteCoefficients(*coefficients, options, metadata, file, file_size);
  });
}

void zepcJpegFreeCoefficients(zepcCoefficients* coefficients) { delete coefficients; }
