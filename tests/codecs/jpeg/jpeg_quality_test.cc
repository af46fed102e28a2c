// SPDX-License-Identifier: MIT
// What the forward transform costs: the error of the coefficients in files beside that of the exact
// transform (ITU-T T.81, A.3.3, in double precision, rounded once). The transform is orthonormal,
// so this is the error of the samples too.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "codecs/jpeg/strip_maker.h"
#include "tests/codecs/jpeg/jpeg_files.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using jpeg_files::Bytes;
using jpeg_files::Encode;
using zepcodec::PixelLayout;

using Block = std::array<double, 64>;

// C(u) / 2 cos((2 x + 1) u pi / 16), for each u and x.
Block MakeCosines() {
  Block cosines;
  for (int u = 0; u < 8; ++u) {
    for (int x = 0; x < 8; ++x) {
      const double scale = u == 0 ? std::sqrt(0.125) : 0.5;
      cosines[static_cast<size_t>(8 * u + x)] = scale * std::cos((2 * x + 1) * u * M_PI / 16);
    }
  }
  return cosines;
}

// The rows of a block become columns of frequencies: twice for the transform of both directions.
Block PassAndTranspose(const Block& in) {
  static const Block kCosines = MakeCosines();
  Block out = {};
  for (size_t i = 0; i < 512; ++i) {
    const size_t y = i / 64, u = i / 8 % 8, x = i % 8;
    out[8 * u + y] += kCosines[8 * u + x] * in[8 * y + x];
  }
  return out;
}

Block ExactTransform(const uint8_t* samples, int step) {
  Block block;
  for (int i = 0; i < 64; ++i) {
    block[static_cast<size_t>(i)] = samples[i / 8 * step + i % 8] - 128;
  }
  return PassAndTranspose(PassAndTranspose(block));
}

struct Errors {
  double ours = 0;   // sums of squares
  double exact = 0;  // with one rounding, halves to even
  double Loss() const { return 10 * std::log10(ours / exact); }  // dB
};

void AddErrors(const Block& exact, const int16_t* block, const uint16_t* steps, Errors* errors) {
  for (size_t i = 0; i < 64; ++i) {
    const double step = steps[i];
    const double ours = exact[i] - block[i] * step;
    const double best = exact[i] - std::nearbyint(exact[i] / step) * step;
    errors->ours += ours * ours;
    errors->exact += best * best;
  }
}

// Of each component of the file that the options make of the picture.
std::vector<Errors> ErrorsOf(const zepcodec::Picture& picture, const jpeg::EncodeOptions& options) {
  const Bytes file = Encode(picture, options);
  jpeg::Coefficients coefficients;
  jpeg::FileInfo info;
  EXPECT_TRUE(jpeg::DecodeCoefficients(file.data(), file.size(), {}, &coefficients, &info).ok());
  const jpeg::Geometry geometry(coefficients.frame, 1);
  jpeg::StripMaker strip(picture, options.sampling, geometry);
  EXPECT_TRUE(strip.Init());
  strip.Use(&picture, 0);
  std::vector<Errors> errors(coefficients.planes.size());
  for (int row = 0; row < geometry.mcu_rows; ++row) {
    strip.Make(row);
    for (size_t i = 0; i < errors.size(); ++i) {
      const jpeg::ComponentGeometry& place = geometry.components[i];
      for (int k = 0; k < place.v * place.blocks_per_row; ++k) {
        const int x = k % place.blocks_per_row, y = k / place.blocks_per_row;
        const uint8_t* samples = strip.Samples(i) + y * 8 * strip.step() + 8 * x;
        AddErrors(ExactTransform(samples, strip.step()),
                  coefficients.planes[i].Block(x, row * place.v + y), coefficients.steps[i].data(),
                  &errors[i]);
      }
    }
  }
  return errors;
}

double WorstLoss(const zepcodec::Picture& picture, const jpeg::EncodeOptions& options) {
  double worst = -1e9;
  for (const Errors& errors : ErrorsOf(picture, options)) worst = std::max(worst, errors.Loss());
  return worst;
}

jpeg::EncodeOptions Options(int quality, jpeg::ForwardDct forward_dct) {
  jpeg::EncodeOptions options;
  options.quality = quality;
  options.forward_dct = forward_dct;
  return options;
}

TEST(JpegQuality, DefaultsLoseNothing) {
  for (const PixelLayout layout : {PixelLayout::kGrey, PixelLayout::kRgb, PixelLayout::kCmyk}) {
    const zepcodec::Picture picture = pictures::Detailed(320, 240, layout);
    EXPECT_LE(WorstLoss(picture, jpeg::EncodeOptions()), 0.001);
    // The measure sees what the other transform does to small steps.
    EXPECT_GE(WorstLoss(picture, Options(90, jpeg::ForwardDct::kFast)), 0.03);
  }
}

TEST(JpegQuality, DefaultsLoseNothingInScans) {
  jpeg::EncodeOptions options;
  options.progressive = true;
  EXPECT_LE(WorstLoss(pictures::Detailed(320, 240, PixelLayout::kRgb), options), 0.001);
}

TEST(JpegQuality, LowQualityTakesTheFastTransform) {
  const zepcodec::Picture picture = pictures::Detailed(320, 240, PixelLayout::kRgb);
  for (const int quality : {1, 10, 25, 39, 40, 41, 42, 50, 75, 90, 100}) {
    const Bytes file = Encode(picture, Options(quality, jpeg::ForwardDct::kAutomatic));
    const Bytes fast = Encode(picture, Options(quality, jpeg::ForwardDct::kFast));
    const Bytes precise = Encode(picture, Options(quality, jpeg::ForwardDct::kPrecise));
    EXPECT_NE(fast, precise) << quality;
    EXPECT_EQ(file, quality <= 40 ? fast : precise) << quality;
  }
}

}  // namespace
