// SPDX-License-Identifier: MIT
// TIFF rows beside libtiff, which codes one strip of 64 rows of 4096 bytes in a file in memory, so
// that about 99 % of its time is PackBits.
//
// Rows: <export>/<who>/<picture>: noise, a drawing, a photograph's grey.
#include <benchmark/benchmark.h>
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "zepjp.h"

namespace {

constexpr int32_t kWidth = 4096;
constexpr size_t kRows = 64, kBytes = kRows * kWidth;
using Bytes = std::vector<uint8_t>;

enum class Picture { kNoise, kDrawing, kPhoto };

Bytes Make(Picture picture) {
  Bytes bytes(kBytes);
  uint32_t random = 1;
  for (size_t i = 0; i < kBytes; ++i) {
    random = random * 1664525U + 1013904223U;
    const size_t x = i % kWidth, y = i / kWidth;
    const uint32_t noise = random >> 24;
    switch (picture) {
      case Picture::kNoise: bytes[i] = static_cast<uint8_t>(noise); break;
      case Picture::kDrawing: bytes[i] = static_cast<uint8_t>((x * 3 + y * 5) / 700 * 40); break;
      case Picture::kPhoto:
        bytes[i] = static_cast<uint8_t>(x / 40 + y / 3 + (noise & 3) / 2);
        break;
    }
  }
  return bytes;
}

// A file in memory.
struct Memory {
  Bytes bytes;
  size_t position = 0;

  static Memory& Of(thandle_t handle) { return *static_cast<Memory*>(handle); }
  static tmsize_t Read(thandle_t handle, void* to, tmsize_t size) {
    Memory& m = Of(handle);
    const size_t count =
        std::min(static_cast<size_t>(size), m.bytes.size() - std::min(m.position, m.bytes.size()));
    if (count > 0) std::memcpy(to, m.bytes.data() + m.position, count);
    m.position += count;
    return static_cast<tmsize_t>(count);
  }
  static tmsize_t Write(thandle_t handle, void* from, tmsize_t size) {
    Memory& m = Of(handle);
    const size_t end = m.position + static_cast<size_t>(size);
    if (end > m.bytes.size()) m.bytes.resize(end);
    std::memcpy(m.bytes.data() + m.position, from, static_cast<size_t>(size));
    m.position = end;
    return size;
  }
  static toff_t Seek(thandle_t handle, toff_t offset, int whence) {
    Memory& m = Of(handle);
    m.position = static_cast<size_t>(offset) + (whence == SEEK_CUR   ? m.position
                                                : whence == SEEK_END ? m.bytes.size()
                                                                     : 0);
    return m.position;
  }
  static int Close(thandle_t) { return 0; }
  static toff_t Size(thandle_t handle) { return Of(handle).bytes.size(); }

  TIFF* Open(const char* mode) {
    position = 0;
    return TIFFClientOpen("memory", mode, this, Read, Write, Seek, Close, Size, nullptr, nullptr);
  }
};

void Describe(TIFF* file) {
  TIFFSetField(file, TIFFTAG_IMAGEWIDTH, kWidth);
  TIFFSetField(file, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(kRows));
  TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, static_cast<uint32_t>(kRows));
  TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 1);
  TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  TIFFSetField(file, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
}

void SetThroughput(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kBytes));
}

void PackOurs(benchmark::State& state, Picture picture) {
  const Bytes src = Make(picture);
  Bytes dst(kWidth + kWidth / 128 + 1);
  for (auto _ : state) {
    for (size_t y = 0; y < kRows; ++y) {
      auto size = static_cast<int32_t>(dst.size());
      zepiPackBitsRow_TIFF_8u_C1(&src[y * kWidth], kWidth, dst.data(), &size);
    }
    benchmark::ClobberMemory();
  }
  SetThroughput(state);
}

void PackRival(benchmark::State& state, Picture picture) {
  Bytes src = Make(picture);
  Memory memory;
  memory.bytes.reserve(4 * kBytes);
  for (auto _ : state) {
    memory.bytes.clear();
    TIFF* file = memory.Open("wm");
    Describe(file);
    TIFFWriteEncodedStrip(file, 0, src.data(), static_cast<tmsize_t>(kBytes));
    TIFFClose(file);
  }
  SetThroughput(state);
}

void UnpackOurs(benchmark::State& state, Picture picture) {
  const Bytes src = Make(picture);
  std::vector<Bytes> packed(kRows, Bytes(kWidth + kWidth / 128 + 1));
  for (size_t y = 0; y < kRows; ++y) {
    auto size = static_cast<int32_t>(packed[y].size());
    zepiPackBitsRow_TIFF_8u_C1(&src[y * kWidth], kWidth, packed[y].data(), &size);
    packed[y].resize(static_cast<size_t>(size));
  }
  Bytes dst(kBytes);
  for (auto _ : state) {
    for (size_t y = 0; y < kRows; ++y) {
      auto size = static_cast<int32_t>(packed[y].size());
      zepiUnpackBitsRow_TIFF_8u_C1(packed[y].data(), &size, &dst[y * kWidth], kWidth);
    }
    benchmark::ClobberMemory();
  }
  SetThroughput(state);
}

void UnpackRival(benchmark::State& state, Picture picture) {
  Bytes bytes = Make(picture);
  Memory memory;
  TIFF* file = memory.Open("wm");
  Describe(file);
  TIFFWriteEncodedStrip(file, 0, bytes.data(), static_cast<tmsize_t>(kBytes));
  TIFFClose(file);
  file = memory.Open("rm");
  for (auto _ : state) {
    TIFFReadEncodedStrip(file, 0, bytes.data(), static_cast<tmsize_t>(kBytes));
    benchmark::ClobberMemory();
  }
  TIFFClose(file);
  SetThroughput(state);
}

// Samples, and the same number of high and low bytes.
void SplitOurs(benchmark::State& state) {
  const std::vector<uint16_t> src(kBytes / 2, 0x1234);
  Bytes dst(kBytes);
  for (auto _ : state) {
    for (size_t y = 0; y < kRows / 2; ++y)
      zepiSplitRow_TIFF_16u8u_C1(&src[y * kWidth], &dst[2 * y * kWidth], kWidth);
    benchmark::ClobberMemory();
  }
  SetThroughput(state);
}
void JoinOurs(benchmark::State& state) {
  const Bytes src(kBytes, 0x12);
  std::vector<uint16_t> dst(kBytes / 2);
  for (auto _ : state) {
    for (size_t y = 0; y < kRows / 2; ++y)
      zepiJoinRow_TIFF_8u16u_C1(&src[2 * y * kWidth], &dst[y * kWidth], kWidth);
    benchmark::ClobberMemory();
  }
  SetThroughput(state);
}

const bool registered = [] {
  const std::pair<const char*, Picture> pictures[] = {
      {"noise", Picture::kNoise}, {"drawing", Picture::kDrawing}, {"photo", Picture::kPhoto}};
  for (const auto& [name, picture] : pictures) {
    const std::string pack = "zepiPackBitsRow_TIFF_8u_C1", unpack = "zepiUnpackBitsRow_TIFF_8u_C1";
    benchmark::RegisterBenchmark((pack + "/ours/" + name).c_str(), PackOurs, picture);
    benchmark::RegisterBenchmark((pack + "/rival/" + name).c_str(), PackRival, picture);
    benchmark::RegisterBenchmark((unpack + "/ours/" + name).c_str(), UnpackOurs, picture);
    benchmark::RegisterBenchmark((unpack + "/rival/" + name).c_str(), UnpackRival, picture);
  }
  benchmark::RegisterBenchmark("zepiSplitRow_TIFF_16u8u_C1/ours/4096", SplitOurs);
  benchmark::RegisterBenchmark("zepiJoinRow_TIFF_8u16u_C1/ours/4096", JoinOurs);
  return true;
}();

}  // namespace
