// SPDX-License-Identifier: MIT
// Whole codecs on one and on two threads, through the public interface, in the same run.
//   thread_scaling [--rounds N] [--only TEXT] FILE...
// Each file is decoded once; then its pixels are encoded and decoded in each way of the table whose
// name contains the text. A decoder gives a picture, or rows, which need no memory that is new to
// the process. The two thread counts take turns, and the shortest times count. Prints a table in
// Markdown, the sums over all files: times, their ratio, the processor time that two threads take
// more than one, and what a model expects of more threads. The model takes from the two times the
// part S that does not become shorter and the part P that does:
// S + P = T(1), S + P / 2 = T(2), T(n) = S + P / n.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "codecs/include/zepcodec.h"

namespace {

using Bytes = std::vector<char>;

// A codec with options, which encodes and is then decoded.
struct Way {
  const char* name;
  std::function<void(zepcEncodeOptions*)> set;
};

struct Times {
  double wall[2] = {};  // on one thread, on two
  double processor[2] = {};
};

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "%s: %s\n", what.c_str(), zepcLastError());
  std::exit(1);
}

double ProcessorSeconds() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Adds the shortest of the rounds.
void Measure(int rounds, const std::function<void(int threads)>& work, Times* sum) {
  Times best;
  for (int round = 0; round < rounds; ++round) {
    for (size_t i = 0; i < 2; ++i) {
      const double processor = ProcessorSeconds();
      const auto start = std::chrono::steady_clock::now();
      work(static_cast<int>(i) + 1);
      const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
      if (round > 0 && wall.count() >= best.wall[i]) continue;
      best.wall[i] = wall.count();
      best.processor[i] = ProcessorSeconds() - processor;
    }
  }
  for (size_t i = 0; i < 2; ++i) {
    sum->wall[i] += best.wall[i];
    sum->processor[i] += best.processor[i];
  }
}

zepcPicture* Decode(const void* file, size_t size, int threads) {
  zepcDecodeOptions options = {};
  options.size = sizeof(options);
  options.threads = threads;
  zepcPicture* picture = nullptr;
  if (zepcDecode(file, size, &options, &picture) != zepcStatusOk) Fail("decoding");
  return picture;
}

void DecodeRows(const void* file, size_t size, int threads) {
  zepcDecodeOptions options = {};
  options.size = sizeof(options);
  options.threads = threads;
  options.rows = [](void*, const zepcPixels*, int32_t) { return int32_t{0}; };
  zepcPicture* picture = nullptr;
  if (zepcDecode(file, size, &options, &picture) != zepcStatusOk) Fail("decoding rows");
  zepcPictureFree(picture);
}

struct WayTimes {
  Times encoding;
  Times decoding;
  Times decoding_rows;
};

void Compare(const Way& way, const zepcPixels& pixels, int rounds, WayTimes* times) {
  void* file = nullptr;
  size_t size = 0;
  const auto encode = [&](int threads) {
    zepcEncodeOptions options = {};
    options.size = sizeof(options);
    options.threads = threads;
    way.set(&options);
    zepcFree(file);
    if (zepcEncode(&pixels, &options, &file, &size) != zepcStatusOk) Fail(way.name);
  };
  Measure(rounds, encode, &times->encoding);
  Measure(
      rounds, [&](int threads) { zepcPictureFree(Decode(file, size, threads)); }, &times->decoding);
  Measure(
      rounds, [&](int threads) { DecodeRows(file, size, threads); }, &times->decoding_rows);
  zepcFree(file);
}

void PrintRow(const char* name, const char* direction, const Times& times) {
  const double one = times.wall[0];
  const double two = times.wall[1];
  const double shared = std::min(2 * (one - two), one);
  std::printf("| %s | %s | %.1f | %.1f | %.2f | %+.0f %% |", name, direction, 1e3 * one, 1e3 * two,
              one / two, 100 * (times.processor[1] / times.processor[0] - 1));
  for (const int threads : {4, 8, 16}) {
    std::printf(" %.1f |", one / (one - shared + shared / threads));
  }
  std::printf("\n");
  std::fflush(stdout);
}

template <class Options>
Options Sized() {
  Options options = {};
  options.size = sizeof(options);
  return options;
}

std::vector<Way> AllWays() {
  static zepcJpegOptions progressive = Sized<zepcJpegOptions>();
  static zepcJpegOptions restarts = Sized<zepcJpegOptions>();
  static zepcJpegOptions optimized = Sized<zepcJpegOptions>();
  static zepcJpeg2000Options lossy = Sized<zepcJpeg2000Options>();
  static zepcJpegXrOptions tiles = Sized<zepcJpegXrOptions>();
  constexpr zepcTexture kTextures[] = {zepcTextureBc1, zepcTextureBc2, zepcTextureBc3,
                                       zepcTextureBc5, zepcTextureBc7};
  static zepcDdsOptions textures[std::size(kTextures)];
  progressive.is_progressive = 1;
  restarts.restart_interval = 64;
  optimized.optimizes = 1;
  lossy.ratio = 20;
  tiles.tile_width = tiles.tile_height = 1024;
  for (size_t i = 0; i < std::size(kTextures); ++i) {
    textures[i] = Sized<zepcDdsOptions>();
    textures[i].texture = kTextures[i];
  }
  const auto jpeg = [](const zepcJpegOptions* jpeg_options) {
    return [=](zepcEncodeOptions* options) {
      options->format = zepcFormatJpeg;
      options->jpeg = jpeg_options;
    };
  };
  const auto dds = [](const zepcDdsOptions* dds_options) {
    return [=](zepcEncodeOptions* options) {
      options->format = zepcFormatDds;
      options->dds = dds_options;
    };
  };
  const auto format = [](zepcFormat of_file) {
    return [=](zepcEncodeOptions* options) { options->format = of_file; };
  };
  return {{"JPEG, baseline", jpeg(nullptr)},
          {"JPEG, restart markers", jpeg(&restarts)},
          {"JPEG, baseline, optimized", jpeg(&optimized)},
          {"JPEG, progressive", jpeg(&progressive)},
          {"lossless JPEG", format(zepcFormatLosslessJpeg)},
          {"JPEG 2000, lossless", format(zepcFormatJp2)},
          {"JPEG 2000, 20:1",
           [](zepcEncodeOptions* options) {
             options->format = zepcFormatJp2;
             options->jpeg2000 = &lossy;
           }},
          {"JPEG XR", format(zepcFormatJpegXr)},
          {"JPEG XR, tiles",
           [](zepcEncodeOptions* options) {
             options->format = zepcFormatJpegXr;
             options->jpeg_xr = &tiles;
           }},
          {"BC1", dds(&textures[0])},
          {"BC2", dds(&textures[1])},
          {"BC3", dds(&textures[2])},
          {"BC5", dds(&textures[3])},
          {"BC7", dds(&textures[4])}};
}

}  // namespace

int main(int count, char** arguments) {
  int rounds = 5;
  std::string only;
  std::vector<std::string> paths(arguments + 1, arguments + count);
  for (; paths.size() > 2 && paths[0][0] == '-'; paths.erase(paths.begin(), paths.begin() + 2)) {
    if (paths[0] == "--rounds") rounds = std::max(std::atoi(paths[1].c_str()), 1);
    if (paths[0] == "--only") only = paths[1];
  }
  std::printf("| work | direction | 1 thread, ms | 2 threads, ms | ratio | processor time |");
  std::printf(" model: 4 | 8 | 16 |\n|---|---|---|---|---|---|---|---|---|\n");
  for (const Way& way : AllWays()) {
    if (std::string(way.name).find(only) == std::string::npos) continue;
    WayTimes times;
    for (const std::string& path : paths) {
      std::ifstream stream(path, std::ios::binary);
      const Bytes file{std::istreambuf_iterator<char>(stream), {}};
      zepcPicture* picture = Decode(file.data(), file.size(), 0);
      zepcPixels pixels = {};
      pixels.size = sizeof(pixels);
      zepcPicturePixels(picture, &pixels);
      Compare(way, pixels, rounds, &times);
      zepcPictureFree(picture);
    }
    PrintRow(way.name, "decode", times.decoding);
    PrintRow(way.name, "decode to rows", times.decoding_rows);
    PrintRow(way.name, "encode", times.encoding);
  }
  return 0;
}
