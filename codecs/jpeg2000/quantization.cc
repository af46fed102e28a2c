// SPDX-License-Identifier: MIT
// A step is 2^(R - exponent) * (1 + mantissa / 2^11), with R the nominal range of the band in bits.
//
// An error e in one coefficient becomes e times a synthesis basis function in the picture, so its
// squared error is e^2 times the squared norm of that function. Norms are computed here by
// synthesizing a single coefficient of each band: along a line with the lifting steps in floating
// point, and as the product of both directions in the plane. The encoder chooses steps as the base
// step divided by the norm, so that errors of a step count the same everywhere, and weighs
// distortions of code-blocks with the norm.
#include "codecs/jpeg2000/quantization.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace zepcodec::jpeg2000 {
namespace {

constexpr int kMantissaBits = 11;
constexpr int kMostExponent = 30;  // with two guard bits: 31 planes, the most of a code-block

// log2 of the nominal gain of a band: each high-pass filter doubles the range.
int GainBits(int orientation) {
  if (orientation == kLL) return 0;
  return orientation == kHH ? 2 : 1;
}

size_t BandIndex(int resolution, int orientation) {
  if (orientation == kLL) return 0;
  const int in_resolution = orientation == kHL ? 0 : orientation == kLH ? 1 : 2;
  return static_cast<size_t>(3 * (resolution - 1) + 1 + in_resolution);
}

StepSize StepAt(const Quantization& quantization, int levels, int resolution, const Band& band) {
  if (quantization.style == QuantizationStyle::kDerived) {
    const StepSize& lowest = quantization.steps[0];
    return {std::max(0, lowest.exponent - levels + band.level), lowest.mantissa};
  }
  const size_t index = BandIndex(resolution, band.orientation);
  // If the segment is too short, its last step holds for all other bands.
  return quantization.steps[std::min(index, static_cast<size_t>(quantization.count) - 1)];
}

// One level of synthesis of a line with low-pass coefficients in the even places: the lifting steps
// of the irreversible (Annex F.3.8.2) or the reversible filter, without rounding.
void Synthesize(bool reversible, std::vector<double>* line) {
  const auto lift = [line](size_t first, double weight) {
    std::vector<double>& x = *line;
    for (size_t i = first; i + 1 < x.size(); i += 2) {
      x[i] -= weight * ((i > 0 ? x[i - 1] : x[i + 1]) + x[i + 1]);
    }
  };
  if (reversible) {
    lift(0, 0.25);
    lift(1, -0.5);
    return;
  }
  constexpr double kK = 1.230174104914001;
  for (size_t i = 0; i < line->size(); ++i) (*line)[i] *= i % 2 == 0 ? kK : 1 / kK;
  lift(0, 0.443506852043971);
  lift(1, 0.882911075530934);
  lift(0, -0.052980118572961);
  lift(1, -1.586134342059924);
}

// The norm of the samples that one coefficient becomes after `level` levels of synthesis of a line.
double LineNorm(bool reversible, int level, bool high) {
  constexpr size_t kCenter = 16;
  std::vector<double> line(2 * kCenter + 1, 0.0);
  line[kCenter + (high ? 1 : 0)] = 1;
  Synthesize(reversible, &line);
  for (int i = 1; i < level; ++i) {
    std::vector<double> spread(2 * line.size() + 1, 0.0);
    for (size_t k = 0; k < line.size(); ++k) spread[2 * k] = line[k];
    Synthesize(reversible, &spread);
    line = spread;
  }
  double energy = 0;
  for (const double value : line) energy += value * value;
  return std::sqrt(energy);
}

constexpr int kExactLevels = 9;  // each further level doubles the energy of a line

struct LineNorms {
  LineNorms() {
    for (const bool reversible : {false, true}) {
      for (int level = 1; level <= kExactLevels; ++level) {
        for (const bool high : {false, true}) {
          norms[reversible][size_t(level)][high] = LineNorm(reversible, level, high);
        }
      }
    }
  }
  double Of(bool reversible, int level, bool high) const {
    if (level == 0) return 1;
    const int exact = std::min(level, kExactLevels);
    return norms[reversible][size_t(exact)][high] * std::pow(2.0, 0.5 * (level - exact));
  }
  std::array<std::array<std::array<double, 2>, kExactLevels + 1>, 2> norms = {};
};

// The nearest step that can be written to a segment.
StepSize Nearest(double step, int range_bits) {
  int exponent = 0;
  const double mantissa = 2 * std::frexp(step, &exponent);  // 1 <= mantissa < 2
  --exponent;
  int parts = static_cast<int>(std::lround((mantissa - 1) * (1 << kMantissaBits)));
  if (parts == 1 << kMantissaBits) {
    parts = 0;
    ++exponent;
  }
  return {std::clamp(range_bits - exponent, 0, kMostExponent), parts};
}

}  // namespace

BandSteps StepsOf(const Quantization& quantization, const ComponentCoding& coding, int bits,
                  int resolution, const Band& band) {
  const StepSize size = StepAt(quantization, coding.levels, resolution, band);
  const int planes = std::max(0, quantization.guard_bits + size.exponent - 1);
  if (coding.reversible) return {planes, 1};
  const double mantissa = 1 + static_cast<double>(size.mantissa) / (1 << kMantissaBits);
  return {planes, std::ldexp(mantissa, bits + GainBits(band.orientation) - size.exponent)};
}

Quantization MakeQuantization(QuantizationStyle style, const ComponentCoding& coding, int bits,
                              int extra_bits, double base) {
  Quantization made;
  made.guard_bits = 2;
  made.style = coding.reversible ? QuantizationStyle::kNone : style;
  const bool one = made.style == QuantizationStyle::kDerived;
  made.count = one ? 1 : 3 * coding.levels + 1;
  for (int r = 0; r <= (one ? 0 : coding.levels); ++r) {
    const int level = std::min(coding.levels, coding.levels - r + 1);
    for (const int orientation : {kLL, kHL, kLH, kHH}) {
      if ((orientation == kLL) != (r == 0)) continue;
      const int range = bits + GainBits(orientation);
      StepSize& step = made.steps[BandIndex(r, orientation)];
      if (coding.reversible) {
        step = {range + extra_bits, 0};
      } else {
        step = Nearest(base / SynthesisNorm(false, level, orientation), range);
      }
    }
  }
  return made;
}

double SynthesisNorm(bool reversible, int level, int orientation) {
  static const LineNorms kNorms;
  return kNorms.Of(reversible, level, orientation == kHL || orientation == kHH) *
         kNorms.Of(reversible, level, orientation == kLH || orientation == kHH);
}

// The columns of the inverse component transforms (Annex G).
double ComponentNorm(bool reversible, bool transforms_components, size_t component) {
  if (!transforms_components || component > 2) return 1;
  if (component == 0) return std::sqrt(3.0);
  if (reversible) return std::sqrt(0.75 * 0.75 + 2 * 0.25 * 0.25);
  return component == 1 ? std::hypot(0.34413, 1.772) : std::hypot(0.71414, 1.402);
}

}  // namespace zepcodec::jpeg2000
