// SPDX-License-Identifier: MIT
#include "jpeg2000/wavelet.h"

#include "zepjp.h"

namespace jpeg2000 {
namespace {

using WholeTile = decltype(zepiWTFwd_B53_JPEG2K_32s_C1IR);
using BufferSize = decltype(zepiWTGetBufSize_B53_JPEG2K_32s_C1IR);

void Transform(WholeTile* transform, BufferSize* buffer_size, const Resolution& resolution,
               Plane* plane) {
  const Rect& area = resolution.area;
  if (area.empty()) return;
  // Only whether it is odd matters of an origin.
  const zepiRect rect = {static_cast<int32_t>(area.x0 & 1), static_cast<int32_t>(area.y0 & 1),
                         static_cast<int32_t>(area.width()), static_cast<int32_t>(area.height())};
  int32_t size = 0;
  buffer_size(&rect, &size);
  std::vector<uint8_t> buffer(static_cast<size_t>(size) + 1);
  transform(plane->values.data(), plane->Step(), &rect, buffer.data());
}

}  // namespace

void ForwardWavelet(const TileComponent& component, bool reversible, Plane* plane) {
  WholeTile* const transform =
      reversible ? zepiWTFwd_B53_JPEG2K_32s_C1IR : zepiWTFwd_D97_JPEG2K_32s_C1IR;
  BufferSize* const buffer_size =
      reversible ? zepiWTGetBufSize_B53_JPEG2K_32s_C1IR : zepiWTGetBufSize_D97_JPEG2K_32s_C1IR;
  for (size_t r = component.resolutions.size(); --r > 0;) {
    Transform(transform, buffer_size, component.resolutions[r], plane);
  }
}

void InverseWavelet(const TileComponent& component, bool reversible, int resolution, Plane* plane) {
  WholeTile* const transform =
      reversible ? zepiWTInv_B53_JPEG2K_32s_C1IR : zepiWTInv_D97_JPEG2K_32s_C1IR;
  BufferSize* const buffer_size =
      reversible ? zepiWTGetBufSize_B53_JPEG2K_32s_C1IR : zepiWTGetBufSize_D97_JPEG2K_32s_C1IR;
  for (size_t r = 1; r <= static_cast<size_t>(resolution); ++r) {
    Transform(transform, buffer_size, component.resolutions[r], plane);
  }
}

}  // namespace jpeg2000
