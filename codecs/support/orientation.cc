// SPDX-License-Identifier: MIT
#include "codecs/support/orientation.h"

#include <cstring>

namespace zepcodec {
namespace {

// With a constant number of bytes the copy of a pixel is one or two moves.
template <size_t kBytes>
void TurnRows(const Turn& turn, const Picture& from, Picture* to) {
  const size_t bytes = kBytes > 0 ? kBytes : from.Stride() / static_cast<size_t>(from.width());
  const auto step_x =
      turn.transposes ? static_cast<ptrdiff_t>(from.Stride()) : static_cast<ptrdiff_t>(bytes);
  for (int y = 0; y < to->height(); ++y) {
    const int source_y = turn.mirrors_y ? to->height() - 1 - y : y;
    const int source_x = turn.mirrors_x ? to->width() - 1 : 0;
    const uint8_t* in = turn.transposes
                            ? from.Row(source_x) + static_cast<size_t>(source_y) * bytes
                            : from.Row(source_y) + static_cast<size_t>(source_x) * bytes;
    const ptrdiff_t step = turn.mirrors_x ? -step_x : step_x;
    uint8_t* out = to->Row(y);
    for (int x = 0; x < to->width(); ++x, out += bytes) {
      std::memcpy(out, in + x * step, bytes);
    }
  }
}

}  // namespace

Status Apply(const Turn& turn, const Picture& from, Picture* to) {
  const int width = turn.transposes ? from.height() : from.width();
  const int height = turn.transposes ? from.width() : from.height();
  if (!to->ResizeLike(from, width, height)) return Status::NoMemory();
  switch (from.Stride() / static_cast<size_t>(from.width())) {
    case 1: TurnRows<1>(turn, from, to); break;
    case 2: TurnRows<2>(turn, from, to); break;
    case 3: TurnRows<3>(turn, from, to); break;
    case 4: TurnRows<4>(turn, from, to); break;
    case 6: TurnRows<6>(turn, from, to); break;
    case 8: TurnRows<8>(turn, from, to); break;
    default: TurnRows<0>(turn, from, to); break;
  }
  return Status();
}

}  // namespace zepcodec
