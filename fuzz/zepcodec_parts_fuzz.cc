// SPDX-License-Identifier: MIT
// Any bytes as a file of any format: a part of the picture, decoded on its own, on two threads, and
// row by row, equals that part of the whole picture, also where the file is damaged.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "codec_call.h"
#include "input.h"
#include "zepcodec.h"

namespace {

using fuzz::Input;
using fuzz::Require;

using Bytes = std::vector<uint8_t>;

struct FreePicture {
  void operator()(zepcPicture* picture) const { zepcPictureFree(picture); }
};
using Picture = std::unique_ptr<zepcPicture, FreePicture>;

Picture Decode(const Bytes& file, const zepcDecodeOptions& options) {
  zepcPicture* picture = nullptr;
  const zepcStatus status = zepcDecode(file.data(), file.size(), &options, &picture);
  Require((status >= 0) == (picture != nullptr));
  return Picture(picture);
}

zepcPixels PixelsOf(const Picture& picture) {
  zepcPixels pixels = {};
  pixels.size = sizeof(pixels);
  Require(zepcPicturePixels(picture.get(), &pixels) == zepcStatusOk);
  return pixels;
}

// A number from 0 to `most` for a byte.
int32_t Scale(uint8_t byte, int32_t most) {
  return static_cast<int32_t>(int64_t{byte} * most / 255);
}

zepcRect RegionIn(const zepcPixels& pixels, const uint8_t (&bytes)[4]) {
  zepcRect region = {};
  region.x = Scale(bytes[0], pixels.width - 1);
  region.y = Scale(bytes[1], pixels.height - 1);
  region.width = 1 + Scale(bytes[2], pixels.width - 1 - region.x);
  region.height = 1 + Scale(bytes[3], pixels.height - 1 - region.y);
  return region;
}

// Rows of the part, which begin with row `y` of it.
void RequireSame(const zepcPixels& whole, const zepcRect& region, const zepcPixels& rows,
                 int32_t y) {
  const size_t pixel = fuzz::PixelBytes(whole);
  Require(rows.layout == whole.layout && rows.sample == whole.sample && rows.bits == whole.bits);
  Require(rows.width == region.width && y + rows.height <= region.height);
  for (int32_t i = 0; i < rows.height; ++i) {
    const uint8_t* const wanted = static_cast<const uint8_t*>(whole.data) +
                                  static_cast<size_t>(region.y + y + i) * whole.stride +
                                  static_cast<size_t>(region.x) * pixel;
    const uint8_t* const found =
        static_cast<const uint8_t*>(rows.data) + static_cast<size_t>(i) * rows.stride;
    Require(std::memcmp(wanted, found, static_cast<size_t>(region.width) * pixel) == 0);
  }
}

struct Rows {
  zepcPixels whole;
  zepcRect region;
  int32_t next;
};

int32_t OnRows(void* user, const zepcPixels* rows, int32_t y) {
  auto* const seen = static_cast<Rows*>(user);
  Require(y == seen->next && rows->height > 0);
  seen->next += rows->height;
  RequireSame(seen->whole, seen->region, *rows, y);
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const uint8_t parts = input.Byte();
  const uint8_t flags = input.Byte();
  uint8_t place[4];
  input.Fill(place, sizeof(place));
  const Bytes file = input.Rest();
  if (file.empty()) return 0;
  zepcDecodeOptions options = {};
  options.size = sizeof(options);
  options.max_pixels = 1 << 16;  // larger pictures cost time and find nothing new
  options.max_memory = 1 << 28;
  options.threads = 1;
  options.keeps_damaged = 1;
  options.reduce = parts & 3;
  options.layers = parts >> 2 & 3;
  options.level = parts >> 4 & 3;
  options.applies_orientation = flags & 1;
  const Picture picture = Decode(file, options);
  if (picture == nullptr) return 0;
  Rows rows = {PixelsOf(picture), {}, 0};
  rows.region = RegionIn(rows.whole, place);
  options.region = rows.region;
  options.threads = 1 + (flags >> 1 & 1);
  const Picture part = Decode(file, options);
  Require(part != nullptr);
  const zepcPixels pixels = PixelsOf(part);
  Require(pixels.height == rows.region.height);
  RequireSame(rows.whole, rows.region, pixels, 0);
  options.rows = OnRows;
  options.rows_user = &rows;
  Require(Decode(file, options) != nullptr);
  Require(rows.next == rows.region.height);
  return 0;
}
