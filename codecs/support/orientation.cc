// SPDX-License-Identifier: MIT
#include "codecs/support/orientation.h"

#include <cstring>

namespace zepcodec {
namespace {

// With a constant number of bytes the copy of a pixel is one or two moves.
template <size_t kBytes>
void TurnRows(const Turn& turn, const ConstPixels& from, const Pixels& to) {
  const size_t bytes = kBytes > 0 ? kBytes : from.format.BytesPerPixel();
  const auto step_x = static_cast<ptrdiff_t>(turn.transposes ? from.stride : bytes);
  for (int y = 0; y < to.height; ++y) {
    const auto source_y = static_cast<size_t>(turn.mirrors_y ? to.height - 1 - y : y);
    const auto source_x = static_cast<size_t>(turn.mirrors_x ? to.width - 1 : 0);
    const uint8_t* in = turn.transposes ? from.data + source_x * from.stride + source_y * bytes
                                        : from.data + source_y * from.stride + source_x * bytes;
    const ptrdiff_t step = turn.mirrors_x ? -step_x : step_x;
    uint8_t* out = to.data + static_cast<size_t>(y) * to.stride;
    for (int x = 0; x < to.width; ++x, out += bytes) {
      std::memcpy(out, in + x * step, bytes);
    }
  }
}

}  // namespace

void TurnPixels(const Turn& turn, const ConstPixels& from, const Pixels& to) {
  switch (from.format.BytesPerPixel()) {
    case 1: TurnRows<1>(turn, from, to); break;
    case 2: TurnRows<2>(turn, from, to); break;
    case 3: TurnRows<3>(turn, from, to); break;
    case 4: TurnRows<4>(turn, from, to); break;
    case 6: TurnRows<6>(turn, from, to); break;
    case 8: TurnRows<8>(turn, from, to); break;
    default: TurnRows<0>(turn, from, to); break;
  }
}

Status Apply(const Turn& turn, const Picture& from, Picture* to) {
  const int width = turn.transposes ? from.height() : from.width();
  const int height = turn.transposes ? from.width() : from.height();
  if (!to->ResizeLike(from, width, height)) return Status::NoMemory();
  TurnPixels(turn, PixelsOf(from), PixelsOf(to));
  return Status();
}

}  // namespace zepcodec
