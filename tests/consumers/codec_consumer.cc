// SPDX-License-Identifier: MIT
// A program of a user in C++: uses the objects of zepcodec.hpp.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "zepcodec.hpp"

int main() {
  std::vector<uint8_t> rgb(size_t{3} * 30 * 20, 77);
  auto pixels = zepc::Make<zepcPixels>();
  pixels.data = rgb.data();
  pixels.stride = 90;
  pixels.width = 30;
  pixels.height = 20;
  pixels.layout = zepcLayoutRgb;
  pixels.sample = zepcSampleU8;
  const zepc::File file = zepc::Encode(pixels, zepcFormatJp2);
  if (zepc::Probe(file.data(), file.size()).width != 30) return 1;
  const zepc::Picture picture = zepc::Decode(file.data(), file.size());
  const auto* const samples = static_cast<const uint8_t*>(picture.pixels().data);
  if (std::vector<uint8_t>(samples, samples + rgb.size()) != rgb) return 1;
  if (!picture.messages().empty()) return 1;
  const zepc::File jpeg = zepc::Encode(pixels, zepcFormatJpeg);
  auto coefficients = zepc::Coefficients::Read(jpeg.data(), jpeg.size());
  if (coefficients.info().components != 3 || coefficients.Write().size() == 0) return 1;
  try {
    zepc::Decode(file.data(), 20);
    return 1;
  } catch (const zepc::Error& error) {
    std::printf("refused: %s\n", error.what());
    return error.status() == zepcStatusBadFile ? 0 : 1;
  }
}
