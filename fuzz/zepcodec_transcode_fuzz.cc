// SPDX-License-Identifier: MIT
// Any bytes as a JPEG file that is rewritten with options from the first bytes. The written file
// can be read again, has the size that the options determine, and can be turned back.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "codec_call.h"
#include "input.h"
#include "zepcodec.h"

namespace {

using fuzz::Input;
using fuzz::Pick;
using fuzz::Require;

constexpr int64_t kMostPixels = 1 << 16;

zepcTranscodeOptions ReadOptions(Input* input) {
  static const char* const kScripts[] = {
      nullptr,
      nullptr,
      nullptr,
      nullptr,
      nullptr,
      "0 1 2: 0-0, 0, 0; 0: 1-63, 0, 0;",
      "0,1,2: 0-0, 0, 1; 0: 1-63, 0, 0; 1: 1-63, 0, 0; 2: 1-63, 0, 0; 0,1,2: 0-0, 1, 0;",
      "0;1;2;"};
  zepcTranscodeOptions options = {};
  options.size = sizeof(options);
  options.max_pixels = kMostPixels;
  const uint8_t flags = input->Byte();
  options.transform = static_cast<zepcTransform>(Pick(input, 10));
  options.is_exact = flags & 1;
  options.is_progressive = flags >> 1 & 1;
  options.optimizes = flags >> 2 & 1;
  options.drops_metadata = flags >> 3 & 1;
  options.keeps_damaged = flags >> 4 & 1;
  options.scan_script = kScripts[flags >> 5];
  options.restart_interval = Pick(input, 9);
  const int32_t region = input->Byte();
  if (region > 127)
    options.region = {(region & 3) * 7 - 1, (region >> 2 & 3) * 9, 9, 1 + (region & 31)};
  return options;
}

void CheckCoefficients(const void* file, size_t size) {
  zepcDecodeOptions options = {};
  options.size = sizeof(options);
  options.keeps_damaged = 1;
  zepcCoefficients* coefficients = nullptr;
  Require(zepcJpegReadCoefficients(file, size, &options, &coefficients) == zepcStatusOk);
  void* again = nullptr;
  size_t again_size = 0;
  const zepcStatus status =
      zepcJpegWriteCoefficients(coefficients, nullptr, nullptr, &again, &again_size);
  if (status != zepcStatusOk) fuzz::RequireFailure(status);
  zepcFree(again);
  zepcJpegFreeCoefficients(coefficients);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const zepcTranscodeOptions options = ReadOptions(&input);
  const std::vector<uint8_t> file = input.Rest();
  if (file.empty()) return 0;
  void* made = nullptr;
  size_t made_size = 0;
  const zepcStatus status =
      zepcJpegTranscode(file.data(), file.size(), &options, &made, &made_size);
  Require((status >= 0) == (made != nullptr));
  if (status < 0) {
    fuzz::RequireFailure(status);
    return 0;
  }
  Require(status == zepcStatusOk || options.keeps_damaged != 0);
  zepcInfo before = {}, after = {};
  before.size = after.size = sizeof(zepcInfo);
  const zepcStatus probed = zepcProbe(file.data(), file.size(), nullptr, &before);
  if (probed == zepcStatusOk) {
    Require(zepcProbe(made, made_size, nullptr, &after) == zepcStatusOk);
    Require(after.bits == before.bits && after.components == before.components);
    if (options.transform == zepcTransformNone && options.region.width == 0) {
      Require(after.width == before.width && after.height == before.height);
    }
    if (options.drops_metadata != 0) Require(after.has_exif == 0 && after.has_icc == 0);
  }
  CheckCoefficients(made, made_size);
  zepcFree(made);
  return 0;
}
