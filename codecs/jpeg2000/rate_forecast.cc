// SPDX-License-Identifier: MIT
// A sample of the code-blocks gets its share of the bytes, steepest steps first. The slope of the
// last step that fits is about the one at which all blocks will be truncated. Half of it is allowed
// for the difference. The lowest plane with a step above that, in any block of the sample, is the
// lowest that is coded in the others: the steps of quantization are such that a plane counts the
// same in all subbands.
#include "codecs/jpeg2000/rate_forecast.h"

#include <algorithm>
#include <vector>

namespace zepcodec::jpeg2000 {
namespace {

struct Step {
  double slope;
  size_t bytes;
};

double SlopeAt(const TileEncoder& tile, size_t bytes) {
  std::vector<Step> steps;
  for (const EncodedBlock& block : tile.blocks()) {
    size_t before = 0;
    for (const EncodedBlock::Cut& cut : block.cuts) {
      steps.push_back({cut.slope, cut.length - before});
      before = cut.length;
    }
  }
  std::sort(steps.begin(), steps.end(),
            [](const Step& a, const Step& b) { return a.slope > b.slope; });
  size_t taken = 0;
  for (const Step& step : steps) {
    taken += step.bytes;
    if (taken > bytes) return step.slope;
  }
  return 0;
}

// Pass 0 is on the highest plane, three more follow on each plane below.
int PlanesBelow(const EncodedBlock& block, int pass) {
  const int planes = (static_cast<int>(block.pass_ends.size()) + 2) / 3;
  return planes - 1 - (pass + 2) / 3;
}

}  // namespace

RateForecast ForecastRate(const TileEncoder& tile, size_t bytes) {
  constexpr int kMostPlanes = 31;
  constexpr double kAllowance = 0.5;
  const auto share = static_cast<double>(bytes) * tile.SampleShare();
  RateForecast forecast;
  forecast.slope = kAllowance * SlopeAt(tile, static_cast<size_t>(share));
  if (forecast.slope <= 0) return forecast;
  int spare = kMostPlanes;
  for (const EncodedBlock& block : tile.blocks()) {
    for (const EncodedBlock::Cut& cut : block.cuts) {
      if (cut.slope >= forecast.slope) spare = std::min(spare, PlanesBelow(block, cut.passes - 1));
    }
  }
  forecast.spare_planes = spare == kMostPlanes ? 0 : spare;
  return forecast;
}

}  // namespace zepcodec::jpeg2000
