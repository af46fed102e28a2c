// SPDX-License-Identifier: MIT
#include "codecs/support/region.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

namespace zepcodec {

Status WantedRegion::In(int width, int height, Region* stored) const {
  if (is_all()) {
    *stored = {0, 0, width, height};
    return Status();
  }
  if (upright_.transposes) std::swap(width, height);
  Region part = region_;
  if (part.x < 0 || part.y < 0 || part.width < 1 || part.height < 1 ||
      part.x > width - part.width || part.y > height - part.height) {
    return Status::BadOption("the region is not inside the picture of " + std::to_string(width) +
                             " x " + std::to_string(height) + " pixels");
  }
  if (upright_.mirrors_x) part.x = width - part.x - part.width;
  if (upright_.mirrors_y) part.y = height - part.y - part.height;
  if (upright_.transposes) {
    std::swap(part.x, part.y);
    std::swap(part.width, part.height);
  }
  *stored = part;
  return Status();
}

Status Cut(const Region& region, Picture* picture) {
  if (region.width == picture->width() && region.height == picture->height()) return Status();
  Picture part;
  if (!part.ResizeLike(*picture, region.width, region.height)) return Status::NoMemory();
  const size_t start =
      static_cast<size_t>(region.x) * static_cast<size_t>(part.channels()) * part.BytesPerSample();
  for (int y = 0; y < region.height; ++y) {
    std::memcpy(part.Row(y), picture->Row(region.y + y) + start, part.Stride());
  }
  part.metadata() = std::move(picture->metadata());
  *picture = std::move(part);
  return Status();
}

Status Cut(const WantedRegion& wanted, Picture* picture) {
  Region region;
  Status status = wanted.In(picture->width(), picture->height(), &region);
  return status.ok() ? Cut(region, picture) : status;
}

}  // namespace zepcodec
