// SPDX-License-Identifier: MIT
// Any bytes as a file of any format, through the C interface, with options from the first bytes:
// the result is a picture with the properties that it reports, or an error with a sentence.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec_call.h"
#include "input.h"
#include "zepcodec.h"

namespace {

using fuzz::Input;
using fuzz::Pick;
using fuzz::Require;

constexpr int64_t kMostPixels = 1 << 16;  // larger pictures cost time and find nothing new
constexpr int64_t kMostMemory = 1 << 28;

// Checks that the progress never falls, and cancels after some calls if the fuzzer's bytes say so.
struct Watch {
  double last = 0;
  int32_t calls_left = 0;
};

int32_t OnProgress(void* user, double done) {
  auto* const watch = static_cast<Watch*>(user);
  Require(done >= watch->last && done <= 1);
  watch->last = done;
  return --watch->calls_left == 0 ? 1 : 0;
}

struct Rows {
  int32_t next = 0;
  uint32_t sum = 0;
};

// Reads every byte, so that an address sanitizer detects missing ones. `sum` is that of the rows
// above.
uint32_t SumOf(const zepcPixels& pixels, uint32_t sum = 0) {
  const auto* const data = static_cast<const uint8_t*>(pixels.data);
  const size_t row_bytes = static_cast<size_t>(pixels.width) * fuzz::PixelBytes(pixels);
  Require(pixels.stride >= row_bytes);
  for (int32_t y = 0; y < pixels.height; ++y) {
    for (size_t x = 0; x < row_bytes; ++x) {
      sum = sum * 31 + data[static_cast<size_t>(y) * pixels.stride + x];
    }
  }
  return sum;
}

int32_t OnRows(void* user, const zepcPixels* rows, int32_t y) {
  auto* const seen = static_cast<Rows*>(user);
  Require(y == seen->next && rows->height > 0);
  seen->next += rows->height;
  seen->sum = SumOf(*rows, seen->sum);
  return 0;
}

zepcDecodeOptions ReadOptions(Input* input) {
  zepcDecodeOptions options = {};
  options.size = sizeof(options);
  options.max_pixels = kMostPixels;
  options.max_memory = kMostMemory;
  options.threads = 1;
  const uint8_t flags = input->Byte();
  options.keeps_damaged = flags & 1;
  options.applies_orientation = flags >> 1 & 1;
  options.layout = static_cast<zepcLayout>(Pick(input, 9));  // also one invalid value
  options.sample = static_cast<zepcSample>(Pick(input, 8));
  options.opacity = static_cast<zepcOpacity>(flags >> 2 & 3);
  options.background[1] = static_cast<uint16_t>(257 * flags);
  const uint8_t parts = input->Byte();
  options.reduce = parts & 7;
  options.layers = parts >> 3 & 3;
  options.level = parts >> 5;
  const uint8_t region = input->Byte();
  if ((flags & 16) != 0)
    options.region = {region & 3, region >> 2 & 3, 1 + (region >> 4 & 3), 1 + (region >> 6)};
  return options;
}

void CheckDetails(const zepcPicture* picture, zepcStatus status) {
  zepcMetadata metadata = {};
  metadata.size = sizeof(metadata);
  Require(zepcPictureMetadata(picture, &metadata) == zepcStatusOk);
  Require((metadata.exif == nullptr) == (metadata.exif_size == 0));
  Require((metadata.icc == nullptr) == (metadata.icc_size == 0));
  Require((metadata.xmp == nullptr) == (metadata.xmp_size == 0));
  Require(metadata.orientation >= 0 && metadata.orientation <= 8);
  zepcMessage message = {};
  message.size = sizeof(message);
  bool is_note = false, has_damage = false;
  int32_t count = 0;
  for (; zepcPictureMessage(picture, count, &message) == zepcStatusOk; ++count) {
    Require(message.text != nullptr && message.text[0] != '\0');
    Require(message.is_damage == 0 || !is_note);
    is_note = message.is_damage == 0;
    has_damage = has_damage || message.is_damage != 0;
  }
  Require(has_damage == (status == zepcStatusDamaged));
}

// The picture must have the announced size and the properties that the options ask for.
void CheckPicture(const zepcPixels& pixels, const zepcInfo& info,
                  const zepcDecodeOptions& options) {
  Require(pixels.data != nullptr && pixels.width > 0 && pixels.height > 0);
  if (options.layout != zepcLayoutNative) Require(pixels.layout == options.layout);
  if (options.sample != zepcSampleNative) Require(pixels.sample == options.sample);
  if (options.region.width > 0) {
    Require(pixels.width == options.region.width && pixels.height == options.region.height);
  } else if (options.reduce == 0 && options.level == 0) {
    const bool is_as_stored = pixels.width == info.width && pixels.height == info.height;
    const bool is_turned = pixels.width == info.height && pixels.height == info.width;
    Require(is_as_stored || (options.applies_orientation != 0 && is_turned));
  }
  if (options.layout == zepcLayoutNative && options.opacity == zepcOpacityAuto) {
    Require(pixels.layout == info.layout);
  }
  if (options.sample == zepcSampleNative) {
    Require(pixels.sample == info.sample && pixels.bits == info.bits);
  }
}

// Decodes the same picture again, by rows and into a buffer.
void CheckOtherWays(const std::vector<uint8_t>& file, zepcDecodeOptions options,
                    const zepcPixels& pixels) {
  const uint32_t sum = SumOf(pixels);
  const size_t row_bytes = static_cast<size_t>(pixels.width) * fuzz::PixelBytes(pixels);
  std::vector<uint8_t> buffer((row_bytes + 3) * static_cast<size_t>(pixels.height) - 3);
  zepcPixels to = pixels;
  to.data = buffer.data();
  to.stride = row_bytes + 3;
  Require(zepcDecodeInto(file.data(), file.size(), &options, &to, nullptr) >= 0);
  Require(SumOf(to) == sum);
  Rows rows;
  options.rows = OnRows;
  options.rows_user = &rows;
  zepcPicture* details = nullptr;
  Require(zepcDecode(file.data(), file.size(), &options, &details) >= 0);
  Require(rows.next == pixels.height && rows.sum == sum);
  zepcPictureFree(details);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  zepcDecodeOptions options = ReadOptions(&input);
  const int32_t calls = input.Byte();
  const std::vector<uint8_t> file = input.Rest();
  if (file.empty()) return 0;
  zepcInfo info = {};
  info.size = sizeof(info);
  const zepcStatus probed = zepcProbe(file.data(), file.size(), &options, &info);
  if (probed != zepcStatusOk) fuzz::RequireFailure(probed);
  Watch watch;
  watch.calls_left = calls;
  options.progress = OnProgress;
  options.progress_user = &watch;
  zepcPicture* picture = nullptr;
  const zepcStatus status = zepcDecode(file.data(), file.size(), &options, &picture);
  Require((status >= 0) == (picture != nullptr));
  if (status < 0) {
    fuzz::RequireFailure(status);
    return 0;
  }
  Require(probed == zepcStatusOk);
  Require(zepcFormatOfBytes(file.data(), file.size()) == info.format);
  CheckDetails(picture, status);
  zepcPixels pixels = {};
  pixels.size = sizeof(pixels);
  Require(zepcPicturePixels(picture, &pixels) == zepcStatusOk);
  CheckPicture(pixels, info, options);
  options.progress = nullptr;
  CheckOtherWays(file, options, pixels);
  zepcPictureFree(picture);
  return 0;
}
