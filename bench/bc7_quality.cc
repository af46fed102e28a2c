// SPDX-License-Identifier: MIT
// Speed against quality of BC7 encoding: one line for each mode, over all pictures (PPM) together.
//   bc7_quality [--rows N] [--modes LIST] PICTURE.ppm ...
// Prints the mode, millions of pixels per second of processor time, and the PSNR in dB over R, G, B
// of all pictures together. --rows takes only the first N rows of each picture.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "zepjp.h"

namespace {

struct Picture {
  zepiSize size = {};
  std::vector<uint8_t> rgba;
};

bool Read(const char* path, int rows, Picture* picture) {
  std::ifstream file(path, std::ios::binary);
  std::string magic;
  int width = 0, height = 0, most = 0;
  file >> magic >> width >> height >> most;
  file.get();
  if (!file || magic != "P6" || most != 255 || width < 1 || height < 1) return false;
  if (rows > 0) height = std::min(height, rows);
  std::vector<char> rgb(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
  file.read(rgb.data(), static_cast<std::streamsize>(rgb.size()));
  if (!file) return false;
  picture->size = {width, height};
  for (size_t i = 0; i < rgb.size(); ++i) {
    picture->rgba.push_back(static_cast<uint8_t>(rgb[i]));
    if (i % 3 == 2) picture->rgba.push_back(255);
  }
  return true;
}

struct Result {
  double seconds = 0, error = 0, pixels = 0;
  int modes[8] = {};
};

void Measure(const Picture& picture, int mode, Result* result) {
  const zepiSize size = picture.size;
  const auto columns = static_cast<size_t>((size.width + 3) / 4),
             rows = static_cast<size_t>((size.height + 3) / 4);
  std::vector<uint8_t> blocks(columns * rows * 16), decoded(picture.rgba.size());
  const std::clock_t start = std::clock();
  zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(picture.rgba.data(), 4 * size.width, size,
                                              blocks.data(), mode);
  result->seconds += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(blocks.data(), decoded.data(), 4 * size.width, size);
  for (size_t i = 0; i < decoded.size(); ++i) {
    const double difference = decoded[i] - picture.rgba[i];
    result->error += difference * difference;
  }
  result->pixels += static_cast<double>(size.width) * size.height;
  for (size_t i = 0; i < blocks.size(); i += 16) ++result->modes[__builtin_ctz(blocks[i])];
}

}  // namespace

int main(int argc, char** argv) {
  int rows = 0;
  std::vector<int> modes = {0, 1, 2, 3, 4, 5, 6, 7, -1, -2};
  std::vector<Picture> pictures;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--rows" && i + 1 < argc) {
      rows = std::atoi(argv[++i]);
    } else if (argument == "--modes" && i + 1 < argc) {
      modes.clear();
      std::istringstream list(argv[++i]);
      for (int mode; list >> mode; list.ignore()) modes.push_back(mode);
    } else {
      pictures.emplace_back();
      if (!Read(argv[i], rows, &pictures.back())) {
        std::fprintf(stderr, "bc7_quality: cannot read %s\n", argv[i]);
        return 1;
      }
    }
  }
  for (const int mode : modes) {
    Result result;
    for (const Picture& picture : pictures) Measure(picture, mode, &result);
    std::printf("%d %.2f %.3f", mode, result.pixels / result.seconds * 1e-6,
                10 * std::log10(255.0 * 255.0 * 3 * result.pixels / result.error));
    for (const int count : result.modes) std::printf(" %.3f", count / (result.pixels / 16));
    std::printf("\n");
    std::fflush(stdout);
  }
}
