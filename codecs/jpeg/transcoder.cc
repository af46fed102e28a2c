// SPDX-License-Identifier: MIT
#include "codecs/jpeg/transcoder.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "codecs/jpeg/coefficient_turn.h"
#include "codecs/jpeg/coefficient_writer.h"
#include "codecs/jpeg/markers/markers.h"
#include "codecs/jpeg/markers/segment_writer.h"
#include "codecs/support/exif.h"

namespace zepcodec::jpeg {
namespace {

// The part in MCUs and pixels.
struct Part {
  int first_column, first_row;  // MCUs
  int width, height;            // pixels
};

Status FindPart(const Crop& crop, const Frame& frame, Part* part) {
  if (crop.left < 0 || crop.top < 0 || crop.width < 1 || crop.height < 1 ||
      crop.left >= frame.width || crop.top >= frame.height) {
    return Status::BadOption("the part to crop lies outside the picture");
  }
  const int across = 8 * frame.max_h, down = 8 * frame.max_v;
  part->first_column = crop.left / across;
  part->first_row = crop.top / down;
  const auto right = std::min<int64_t>(int64_t{crop.left} + crop.width, frame.width);
  const auto bottom = std::min<int64_t>(int64_t{crop.top} + crop.height, frame.height);
  part->width = static_cast<int>(right) - part->first_column * across;
  part->height = static_cast<int>(bottom) - part->first_row * down;
  return Status();
}

Status Cut(const Crop& crop, Coefficients* coefficients) {
  Part part{};
  if (Status status = FindPart(crop, coefficients->frame, &part); !status.ok()) return status;
  Frame frame = coefficients->frame;
  frame.width = part.width;
  frame.height = part.height;
  Coefficients result;
  if (!result.Allocate(frame)) return Status::NoMemory();
  result.steps = coefficients->steps;
  for (size_t i = 0; i < frame.components.size(); ++i) {
    CoefficientPlane& to = result.planes[i];
    const int x = part.first_column * frame.components[i].h;
    const int y = part.first_row * frame.components[i].v;
    const auto row_bytes = static_cast<size_t>(to.across()) * 64 * sizeof(int16_t);
    for (int row = 0; row < to.down(); ++row) {
      std::memcpy(to.Block(0, row), coefficients->planes[i].Block(x, y + row), row_bytes);
    }
  }
  *coefficients = std::move(result);
  return Status();
}

// Numbers the different tables of the components in `frame`. Returns the first component of each.
std::vector<size_t> AssignTables(const Coefficients& coefficients, Frame* frame) {
  std::vector<size_t> first_users;
  for (size_t i = 0; i < coefficients.steps.size(); ++i) {
    const auto same = [&](size_t user) {
      return coefficients.steps[user] == coefficients.steps[i];
    };
    const auto found = std::find_if(first_users.begin(), first_users.end(), same);
    frame->components[i].quant_table = static_cast<int>(found - first_users.begin());
    if (found == first_users.end()) first_users.push_back(i);
  }
  return first_users;
}

// Baseline files have samples and steps of 8 bits.
int FrameMarker(const Coefficients& coefficients, bool is_progressive) {
  if (is_progressive) return kSof2;
  const auto is_wide = [](const std::array<uint16_t, 64>& steps) {
    return *std::max_element(steps.begin(), steps.end()) > 255;
  };
  const bool is_extended =
      coefficients.frame.precision != 8 ||
      std::any_of(coefficients.steps.begin(), coefficients.steps.end(), is_wide);
  return is_extended ? kSof1 : kSof0;
}

bool WriteHeaders(const FileInfo& info, const TranscodeOptions& options, bool is_progressive,
                  const Coefficients& coefficients, ByteBuffer* file) {
  SegmentWriter writer(file);
  writer.Marker(kSoi);
  if (info.has_jfif) writer.Jfif(info.metadata.density);
  if (info.adobe_transform >= 0) writer.Adobe(info.adobe_transform);
  if (options.keep_metadata) {
    for (const Segment& segment : info.metadata.segments) writer.Saved(segment);
  }
  Frame frame = coefficients.frame;
  int slot = 0;
  for (const size_t user : AssignTables(coefficients, &frame)) {
    writer.Quantization(slot++, coefficients.steps[user]);
  }
  writer.FrameHeader(FrameMarker(coefficients, is_progressive), frame);
  if (options.restart_interval > 0) writer.RestartInterval(options.restart_interval);
  return writer.ok();
}

}  // namespace

Status Transcode(const uint8_t* data, size_t size, const TranscodeOptions& options,
                 ByteBuffer* file, FileInfo* info) {
  DecodeOptions decode_options;
  decode_options.max_pixels = options.max_pixels;
  Coefficients coefficients;
  if (Status status = DecodeCoefficients(data, size, decode_options, &coefficients, info);
      !status.ok()) {
    return status;
  }
  if (options.makes_upright || options.turn.transposes || options.turn.mirrors_x ||
      options.turn.mirrors_y) {
    const Turn turn = options.makes_upright ? UprightOf(OrientationOfExif(FindExif(info->metadata)))
                                            : options.turn;
    if (Status status = TurnCoefficients(turn, options.is_exact, &coefficients); !status.ok()) {
      return status;
    }
    if (options.makes_upright) MakeExifUpright(&info->metadata);
    if (turn.transposes) std::swap(info->metadata.density.x, info->metadata.density.y);
  }
  if (options.has_crop) {
    if (Status status = Cut(options.crop, &coefficients); !status.ok()) return status;
  }
  return WriteCoefficients(*info, options, coefficients, file);
}

Status WriteCoefficients(const FileInfo& info, const TranscodeOptions& options,
                         const Coefficients& coefficients, ByteBuffer* file) {
  const auto count = static_cast<int>(coefficients.frame.components.size());
  const Script script = !options.script.empty() ? options.script
                        : options.progressive   ? ProgressiveScript(count)
                                                : SequentialScript(count);
  if (Status status = CheckScript(script, coefficients.frame); !status.ok()) return status;
  const bool is_progressive = IsProgressive(script);
  if (!file->Resize(0) || !WriteHeaders(info, options, is_progressive, coefficients, file)) {
    return Status::NoMemory();
  }
  // The standard's tables have no codes for samples of 12 bits.
  const bool optimizes = options.optimizes || coefficients.frame.precision != 8;
  ThreadPool pool(1);
  if (Status status =
          WriteScans(coefficients, script, optimizes, options.restart_interval, &pool, file);
      !status.ok()) {
    return status;
  }
  SegmentWriter writer(file);
  writer.Marker(kEoi);
  return writer.ok() ? Status() : Status::NoMemory();
}

}  // namespace zepcodec::jpeg
