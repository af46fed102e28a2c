// SPDX-License-Identifier: MIT
// Speed against quality of texture encoders: one line for each encoder or mode, over all pictures
// (PPM) together.
//   texture_quality FORMAT [--rows N] [--coders LIST] PICTURE.ppm ...
// FORMAT is bc1, bc3 or bc7. Prints the encoder, millions of pixels per second of processor time,
// and the PSNR in dB of all pictures together; for BC7 also the shares of its modes. The rivals of
// BC1 and BC3 are stb_dxt and libsquish. --rows takes only the first N rows of each picture. Alpha
// is 255, but in BC3 it is the mean of the colours and counts in the PSNR.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <squish.h>

#include "rival_stb.h"
#include "zepjp.h"

namespace {

struct Picture {
  zepiSize size = {};
  std::vector<uint8_t> rgba;
};

bool Read(const char* path, int rows, bool has_alpha, Picture* picture) {
  std::ifstream file(path, std::ios::binary);
  std::string magic;
  int width = 0, height = 0, most = 0;
  file >> magic >> width >> height >> most;
  file.get();
  if (!file || magic != "P6" || most != 255 || width < 1 || height < 1) return false;
  if (rows > 0) height = std::min(height, rows);
  std::vector<char> bytes(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file) return false;
  picture->size = {width, height};
  for (size_t i = 0; i < bytes.size(); i += 3) {
    int sum = 0;
    for (size_t c = 0; c < 3; ++c) {
      picture->rgba.push_back(static_cast<uint8_t>(bytes[i + c]));
      sum += picture->rgba.back();
    }
    picture->rgba.push_back(static_cast<uint8_t>(has_alpha ? sum / 3 : 255));
  }
  return true;
}

struct Coder {
  std::string name;
  std::function<void(const Picture&, uint8_t* blocks)> encode;
};

struct Format {
  size_t block_bytes;
  bool has_alpha;
  std::vector<Coder> coders;
  std::function<void(const uint8_t* blocks, Picture*)> decode;
};

template <class Encode>
Coder Ours(Encode* encode) {
  return {"ours", [encode](const Picture& picture, uint8_t* blocks) {
            encode(picture.rgba.data(), 4 * picture.size.width, picture.size, blocks);
          }};
}

template <class Decode>
std::function<void(const uint8_t*, Picture*)> OurDecoder(Decode* decode) {
  return [decode](const uint8_t* blocks, Picture* picture) {
    decode(blocks, picture->rgba.data(), 4 * picture->size.width, picture->size);
  };
}

// It takes single blocks; pixels beyond an edge repeat the last ones.
Coder StbDxt(std::string name, bool has_alpha, int mode) {
  return {std::move(name), [has_alpha, mode](const Picture& picture, uint8_t* blocks) {
            const int width = picture.size.width, height = picture.size.height;
            for (int y = 0; y < height; y += 4) {
              for (int x = 0; x < width; x += 4, blocks += has_alpha ? 16 : 8) {
                uint8_t pixels[64];
                for (int i = 0; i < 16; ++i) {
                  const int row = std::min(y + i / 4, height - 1);
                  const int column = std::min(x + i % 4, width - 1);
                  std::memcpy(
                      pixels + 4 * i,
                      &picture.rgba[4 * static_cast<size_t>(row) * static_cast<size_t>(width) +
                                    4 * static_cast<size_t>(column)],
                      4);
                }
                stb_compress_dxt_block(blocks, pixels, has_alpha ? 1 : 0, mode);
              }
            }
          }};
}

Coder Squish(std::string name, int flags) {
  return {std::move(name), [flags](const Picture& picture, uint8_t* blocks) {
            squish::CompressImage(picture.rgba.data(), picture.size.width, picture.size.height,
                                  blocks, flags);
          }};
}

template <class Encode, class Decode>
Format Dxt(Encode* encode, Decode* decode, bool has_alpha) {
  const int kind = has_alpha ? squish::kDxt5 : squish::kDxt1;
  return {has_alpha ? size_t{16} : size_t{8},
          has_alpha,
          {Ours(encode), StbDxt("stb_dxt", has_alpha, STB_DXT_NORMAL),
           StbDxt("stb_dxt-high", has_alpha, STB_DXT_HIGHQUAL),
           Squish("squish-range", kind | squish::kColourRangeFit),
           Squish("squish-cluster", kind | squish::kColourClusterFit),
           Squish("squish-iterative", kind | squish::kColourIterativeClusterFit)},
          OurDecoder(decode)};
}

Format Bc7() {
  Format format = {16, false, {}, OurDecoder(zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R)};
  for (const int mode : {0, 1, 2, 3, 4, 5, 6, 7, -1, -2}) {
    format.coders.push_back({std::to_string(mode), [mode](const Picture& picture, uint8_t* blocks) {
                               zepiTextureEncodeBlockFromRGBA_BC7_8u_C4C1R(
                                   picture.rgba.data(), 4 * picture.size.width, picture.size,
                                   blocks, mode);
                             }});
  }
  return format;
}

struct Result {
  double seconds = 0, error = 0, pixels = 0;
  int modes[8] = {};  // of BC7
};

// The time of one call, the mean over at least 10 ms.
double Time(const std::function<void()>& call) {
  const std::clock_t start = std::clock();
  std::clock_t now;
  int calls = 0;
  do {
    call();
    ++calls;
    now = std::clock();
  } while (now - start < CLOCKS_PER_SEC / 100);
  return static_cast<double>(now - start) / CLOCKS_PER_SEC / calls;
}

void Measure(const Format& format, const Coder& coder, const Picture& picture, Result* result) {
  const auto columns = static_cast<size_t>((picture.size.width + 3) / 4),
             rows = static_cast<size_t>((picture.size.height + 3) / 4);
  std::vector<uint8_t> blocks(columns * rows * format.block_bytes);
  result->seconds += Time([&] { coder.encode(picture, blocks.data()); });
  Picture decoded = picture;
  format.decode(blocks.data(), &decoded);
  for (size_t i = 0; i < decoded.rgba.size(); ++i) {
    const double difference = decoded.rgba[i] - picture.rgba[i];
    result->error += difference * difference;
  }
  result->pixels += static_cast<double>(picture.size.width) * picture.size.height;
  for (size_t i = 0; i < blocks.size(); i += format.block_bytes) {
    ++result->modes[blocks[i] == 0 ? 0 : __builtin_ctz(blocks[i])];
  }
}

int Usage() {
  std::fprintf(stderr, "texture_quality bc1|bc3|bc7 [--rows N] [--coders LIST] PICTURE.ppm ...\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string name = argc > 1 ? argv[1] : "";
  Format format;
  if (name == "bc1") {
    format = Dxt(zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R,
                 zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R, false);
  } else if (name == "bc3") {
    format = Dxt(zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R,
                 zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R, true);
  } else if (name == "bc7") {
    format = Bc7();
  } else {
    return Usage();
  }
  int rows = 0;
  std::vector<std::string> wanted;
  std::vector<Picture> pictures;
  for (int i = 2; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--rows" && i + 1 < argc) {
      rows = std::atoi(argv[++i]);
    } else if (argument == "--coders" && i + 1 < argc) {
      std::istringstream list(argv[++i]);
      for (std::string coder; std::getline(list, coder, ',');) wanted.push_back(coder);
    } else {
      pictures.emplace_back();
      if (!Read(argv[i], rows, format.has_alpha, &pictures.back())) {
        std::fprintf(stderr, "texture_quality: cannot read %s\n", argv[i]);
        return 1;
      }
    }
  }
  for (const Coder& coder : format.coders) {
    if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), coder.name) == wanted.end()) {
      continue;
    }
    Result result;
    for (const Picture& picture : pictures) Measure(format, coder, picture, &result);
    const double values = result.pixels * (format.has_alpha ? 4 : 3);
    std::printf("%s %.2f %.3f", coder.name.c_str(), result.pixels / result.seconds * 1e-6,
                10 * std::log10(255.0 * 255.0 * values / result.error));
    if (name == "bc7") {
      for (const int count : result.modes) std::printf(" %.3f", count / (result.pixels / 16));
    }
    std::printf("\n");
    std::fflush(stdout);
  }
}
