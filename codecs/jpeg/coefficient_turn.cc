// SPDX-License-Identifier: MIT
// The cosine of horizontal frequency u is symmetric in x for even u and antisymmetric for odd u, so
// a block is mirrored by the sign of its odd columns; so are rows. Transposing a block transposes
// its coefficients, and with them the steps and the sampling factors.
#include "codecs/jpeg/coefficient_turn.h"

#include <algorithm>
#include <string>
#include <utility>

namespace zepcodec::jpeg {
namespace {

void TurnBlock(const Turn& turn, const int16_t* from, int16_t* to) {
  for (int v = 0; v < 8; ++v) {
    for (int u = 0; u < 8; ++u) {
      const int value = turn.transposes ? from[8 * u + v] : from[8 * v + u];
      const bool is_negated = (turn.mirrors_x && u % 2 != 0) != (turn.mirrors_y && v % 2 != 0);
      to[8 * v + u] = static_cast<int16_t>(is_negated ? std::min(-value, 32767) : value);
    }
  }
}

// The length of a side that is mirrored.
Status WholeMcus(int mcu, bool is_exact, int* length) {
  const int whole = *length / mcu * mcu;
  if (whole == *length) return Status();
  if (is_exact || whole == 0) {
    return Status::Unsupported("a side of " + std::to_string(*length) +
                               " pixels is not made of whole MCUs of " + std::to_string(mcu));
  }
  *length = whole;
  return Status();
}

Status MakeFrame(const Turn& turn, bool is_exact, Frame* frame) {
  if (turn.transposes) {
    std::swap(frame->width, frame->height);
    std::swap(frame->max_h, frame->max_v);
    for (FrameComponent& component : frame->components) std::swap(component.h, component.v);
  }
  Status status;
  if (turn.mirrors_x) status = WholeMcus(8 * frame->max_h, is_exact, &frame->width);
  if (status.ok() && turn.mirrors_y) {
    status = WholeMcus(8 * frame->max_v, is_exact, &frame->height);
  }
  return status;
}

void TurnPlane(const Turn& turn, const CoefficientPlane& from, CoefficientPlane* to) {
  for (int y = 0; y < to->down(); ++y) {
    for (int x = 0; x < to->across(); ++x) {
      int from_x = turn.mirrors_x ? to->across() - 1 - x : x;
      int from_y = turn.mirrors_y ? to->down() - 1 - y : y;
      if (turn.transposes) std::swap(from_x, from_y);
      TurnBlock(turn, from.Block(from_x, from_y), to->Block(x, y));
    }
  }
}

}  // namespace

Status TurnCoefficients(const Turn& turn, bool is_exact, Coefficients* coefficients) {
  if (!turn.transposes && !turn.mirrors_x && !turn.mirrors_y) return Status();
  Frame frame = coefficients->frame;
  if (Status status = MakeFrame(turn, is_exact, &frame); !status.ok()) return status;
  Coefficients turned;
  if (!turned.Allocate(frame)) return Status::NoMemory();
  turned.steps = coefficients->steps;
  for (size_t i = 0; i < turned.planes.size(); ++i) {
    if (turn.transposes) {
      auto& steps = turned.steps[i];
      for (size_t v = 0; v < 8; ++v) {
        for (size_t u = 0; u < v; ++u) std::swap(steps[8 * v + u], steps[8 * u + v]);
      }
    }
    TurnPlane(turn, coefficients->planes[i], &turned.planes[i]);
  }
  *coefficients = std::move(turned);
  return Status();
}

}  // namespace zepcodec::jpeg
