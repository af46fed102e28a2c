// SPDX-License-Identifier: MIT
#include "reference/mcu.h"

#include <vector>

#include "reference/pixels.h"
#include "reference/rgb_to_ycbcr.h"
#include "reference/ycbcr_to_rgb.h"

namespace reference {
namespace {

// The reduction of chroma in both directions.
struct Sampling {
  int32_t x, y;
  zepiSize Size() const { return {8 * x, 8 * y}; }
};
constexpr Sampling k444 = {1, 1}, k422 = {2, 1}, k411 = {2, 2};

// The index of sample (x, y) of a component that is `columns` blocks wide.
size_t Place(int32_t columns, int32_t x, int32_t y) {
  const int32_t block = y / 8 * columns + x / 8;
  return static_cast<size_t>(64 * block + y % 8 * 8 + x % 8);
}

// The samples of a component, row by row.
struct Samples {
  int32_t columns;  // blocks
  int32_t rows;
  std::vector<uint8_t> values = std::vector<uint8_t>(static_cast<size_t>(64 * columns * rows));

  int32_t Step() const { return 8 * columns; }
  uint8_t& At(int32_t x, int32_t y) { return values[static_cast<size_t>(y * Step() + x)]; }
};

void ToBlocks(Samples samples, int16_t* blocks) {
  for (int32_t y = 0; y < 8 * samples.rows; ++y) {
    for (int32_t x = 0; x < 8 * samples.columns; ++x) {
      const auto value = static_cast<int16_t>(samples.At(x, y) - 128);
      Put(blocks, 0, static_cast<int32_t>(Place(samples.columns, x, y)), 0, value);
    }
  }
}

Samples FromBlocks(const int16_t* blocks, int32_t columns, int32_t rows) {
  Samples samples = {columns, rows};
  for (int32_t y = 0; y < 8 * rows; ++y) {
    for (int32_t x = 0; x < 8 * columns; ++x) {
      const int32_t value = Get(blocks, 0, static_cast<int32_t>(Place(columns, x, y)), 0);
      samples.At(x, y) = Clamp255(value + 128);
    }
  }
  return samples;
}

// Converts with the function for planes, on planes of the size of the MCU.
template <class PlaneFunction>
zepStatus ByPlanes(const PlaneFunction& function, Sampling sampling, const uint8_t* src,
                   int32_t step, int16_t* const* dst) {
  Samples y = {sampling.x, sampling.y}, cb = y, cr = y, k = y;
  uint8_t* const planes[] = {y.values.data(), cb.values.data(), cr.values.data(), k.values.data()};
  function(src, step, planes, y.Step(), sampling.Size());
  ToBlocks(y, dst[0]);
  for (int32_t i = 1; i < 3; ++i) {
    Samples chroma = {1, 1};
    for (int32_t row = 0; row < 8; ++row) {
      for (int32_t x = 0; x < 8; ++x) chroma.At(x, row) = Get(planes[i], y.Step(), x, row);
    }
    ToBlocks(chroma, dst[i]);
  }
  return zepStatusOk;
}

// Sums of the inks' complements over the group of chroma sample (x, y).
struct Sums {
  int32_t r = 0, g = 0, b = 0;
};
Sums InkSums(const uint8_t* src, int32_t step, Sampling sampling, int32_t x, int32_t y) {
  Sums sums;
  for (int32_t j = 0; j < sampling.y; ++j) {
    for (int32_t i = 0; i < sampling.x; ++i) {
      const int32_t at = 4 * (sampling.x * x + i), row = sampling.y * y + j;
      sums.r += 255 - Get(src, step, at, row);
      sums.g += 255 - Get(src, step, at + 1, row);
      sums.b += 255 - Get(src, step, at + 2, row);
    }
  }
  return sums;
}

zepStatus FromInks(Sampling sampling, const uint8_t* src, int32_t step, int16_t* const* dst) {
  Samples y = {sampling.x, sampling.y}, cb = y, cr = y, k = y;
  uint8_t* const planes[] = {y.values.data(), cb.values.data(), cr.values.data(), k.values.data()};
  reference::zepiCMYKToYCCK_JPEG_8u_C4P4R(src, step, planes, y.Step(), sampling.Size());
  ToBlocks(y, dst[0]);
  ToBlocks(k, dst[3]);
  const int32_t count = sampling.x * sampling.y, shift = count == 4 ? 16 : count == 2 ? 15 : 14;
  Samples chroma[2] = {{1, 1}, {1, 1}};
  for (int32_t row = 0; row < 8; ++row) {
    for (int32_t x = 0; x < 8; ++x) {
      const Sums s = InkSums(src, step, sampling, x, row);
      chroma[0].At(x, row) =
          Clamp255((-2764 * s.r - 5428 * s.g + 8192 * s.b + count * 2105344) >> shift);
      chroma[1].At(x, row) =
          Clamp255((8192 * s.r - 6860 * s.g - 1332 * s.b + count * 2105344) >> shift);
    }
  }
  ToBlocks(chroma[0], dst[1]);
  ToBlocks(chroma[1], dst[2]);
  return zepStatusOk;
}

zepStatus SampleDown(Sampling sampling, const uint8_t* src, int32_t step, int16_t* const* dst) {
  Samples first = {sampling.x, sampling.y};
  for (int32_t y = 0; y < 8 * sampling.y; ++y) {
    for (int32_t x = 0; x < 8 * sampling.x; ++x) first.At(x, y) = Get(src, step, 3 * x, y);
  }
  ToBlocks(first, dst[0]);
  const int32_t count = sampling.x * sampling.y;
  for (int32_t channel = 1; channel < 3; ++channel) {
    Samples means = {1, 1};
    for (int32_t y = 0; y < 8; ++y) {
      for (int32_t x = 0; x < 8; ++x) {
        int32_t sum = count / 2;
        for (int32_t j = 0; j < sampling.y; ++j) {
          for (int32_t i = 0; i < sampling.x; ++i) {
            sum += Get(src, step, 3 * (sampling.x * x + i) + channel, sampling.y * y + j);
          }
        }
        means.At(x, y) = static_cast<uint8_t>(sum / count);
      }
    }
    ToBlocks(means, dst[channel]);
  }
  return zepStatusOk;
}

// All components at full size.
struct FullPlanes {
  FullPlanes(Sampling sampling, const int16_t* const* src, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
      const bool is_chroma = i == 1 || i == 2;
      Samples own =
          is_chroma ? FromBlocks(src[i], 1, 1) : FromBlocks(src[i], sampling.x, sampling.y);
      for (int32_t y = 0; y < 8 * sampling.y; ++y) {
        for (int32_t x = 0; x < 8 * sampling.x; ++x) {
          planes[i].push_back(is_chroma ? own.At(x / sampling.x, y / sampling.y) : own.At(x, y));
        }
      }
      pointers[i] = planes[i].data();
    }
  }
  std::vector<uint8_t> planes[4];
  const uint8_t* pointers[4] = {};
};

template <class PlaneFunction>
zepStatus ToPixels(const PlaneFunction& function, Sampling sampling, const int16_t* const* src,
                   uint8_t* dst, int32_t step, int32_t count = 3) {
  const FullPlanes full(sampling, src, count);
  return function(full.pointers, 8 * sampling.x, dst, step, sampling.Size());
}

zepStatus SampleUp(Sampling sampling, const int16_t* const* src, uint8_t* dst, int32_t step) {
  const FullPlanes full(sampling, src, 3);
  for (int32_t y = 0; y < 8 * sampling.y; ++y) {
    for (int32_t x = 0; x < 8 * sampling.x; ++x) {
      for (int32_t i = 0; i < 3; ++i) {
        Put(dst, step, 3 * x + i, y, Get(full.pointers[i], 8 * sampling.x, x, y));
      }
    }
  }
  return zepStatusOk;
}

}  // namespace

zepStatus zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiRGBToYCbCr_JPEG_8u_C3P3R, k444, src, step, dst);
}

zepStatus zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiRGBToYCbCr_JPEG_8u_C4P3R, k444, src, step, dst);
}

zepStatus zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiRGBToYCbCr422_JPEG_8u_C3P3R, k422, src, step, dst);
}

zepStatus zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiRGBToYCbCr422_JPEG_8u_C4P3R, k422, src, step, dst);
}

zepStatus zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiRGBToYCbCr411_JPEG_8u_C3P3R, k411, src, step, dst);
}

zepStatus zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiRGBToYCbCr411_JPEG_8u_C4P3R, k411, src, step, dst);
}

zepStatus zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiBGRToYCbCr_JPEG_8u_C3P3R, k444, src, step, dst);
}

zepStatus zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiBGRToYCbCr_JPEG_8u_C4P3R, k444, src, step, dst);
}

zepStatus zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiBGRToYCbCr422_JPEG_8u_C3P3R, k422, src, step, dst);
}

zepStatus zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiBGRToYCbCr422_JPEG_8u_C4P3R, k422, src, step, dst);
}

zepStatus zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiBGRToYCbCr411_JPEG_8u_C3P3R, k411, src, step, dst);
}

zepStatus zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return ByPlanes(reference::zepiBGRToYCbCr411_JPEG_8u_C4P3R, k411, src, step, dst);
}

zepStatus zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return FromInks(k444, src, step, dst);
}

zepStatus zepiCMYKToYCCK422LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return FromInks(k422, src, step, dst);
}

zepStatus zepiCMYKToYCCK411LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return FromInks(k411, src, step, dst);
}

zepStatus zepiSampleDown444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return SampleDown(k444, src, step, dst);
}

zepStatus zepiSampleDown422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return SampleDown(k422, src, step, dst);
}

zepStatus zepiSampleDown411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst) {
  return SampleDown(k411, src, step, dst);
}

zepStatus zepiSplit422LS_MCU_JPEG_8u16s_C2P3R(const uint8_t* src, int32_t step,
                                              int16_t* const* dst) {
  for (int32_t y = 0; y < 8; ++y) {
    for (int32_t x = 0; x < 16; ++x) {
      const auto sample = [=](int32_t at) {
        return static_cast<int16_t>(Get(src, step, at, y) - 128);
      };
      Put(dst[0], 0, static_cast<int32_t>(Place(2, x, y)), 0, sample(2 * x));
      Put(dst[1 + x % 2], 0, 8 * y + x / 2, 0, sample(2 * x + 1));
    }
  }
  return zepStatusOk;
}

zepStatus zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step) {
  return ToPixels(reference::zepiYCbCrToRGB_JPEG_8u_P3C3R, k444, src, dst, step);
}

zepStatus zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha) {
  const auto convert = [alpha](auto... arguments) {
    return reference::zepiYCbCrToRGB_JPEG_8u_P3C4R(arguments..., alpha);
  };
  return ToPixels(convert, k444, src, dst, step);
}

zepStatus zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step) {
  return ToPixels(reference::zepiYCbCrToRGB_JPEG_8u_P3C3R, k422, src, dst, step);
}

zepStatus zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha) {
  const auto convert = [alpha](auto... arguments) {
    return reference::zepiYCbCrToRGB_JPEG_8u_P3C4R(arguments..., alpha);
  };
  return ToPixels(convert, k422, src, dst, step);
}

zepStatus zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step) {
  return ToPixels(reference::zepiYCbCrToRGB_JPEG_8u_P3C3R, k411, src, dst, step);
}

zepStatus zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha) {
  const auto convert = [alpha](auto... arguments) {
    return reference::zepiYCbCrToRGB_JPEG_8u_P3C4R(arguments..., alpha);
  };
  return ToPixels(convert, k411, src, dst, step);
}

zepStatus zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step) {
  return ToPixels(reference::zepiYCbCrToBGR_JPEG_8u_P3C3R, k444, src, dst, step);
}

zepStatus zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha) {
  const auto convert = [alpha](auto... arguments) {
    return reference::zepiYCbCrToBGR_JPEG_8u_P3C4R(arguments..., alpha);
  };
  return ToPixels(convert, k444, src, dst, step);
}

zepStatus zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step) {
  return ToPixels(reference::zepiYCbCrToBGR_JPEG_8u_P3C3R, k422, src, dst, step);
}

zepStatus zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha) {
  const auto convert = [alpha](auto... arguments) {
    return reference::zepiYCbCrToBGR_JPEG_8u_P3C4R(arguments..., alpha);
  };
  return ToPixels(convert, k422, src, dst, step);
}

zepStatus zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step) {
  return ToPixels(reference::zepiYCbCrToBGR_JPEG_8u_P3C3R, k411, src, dst, step);
}

zepStatus zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha) {
  const auto convert = [alpha](auto... arguments) {
    return reference::zepiYCbCrToBGR_JPEG_8u_P3C4R(arguments..., alpha);
  };
  return ToPixels(convert, k411, src, dst, step);
}

zepStatus zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step) {
  return ToPixels(reference::zepiYCCKToCMYK_JPEG_8u_P4C4R, k444, src, dst, step, 4);
}

zepStatus zepiYCCK422ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step) {
  return ToPixels(reference::zepiYCCKToCMYK_JPEG_8u_P4C4R, k422, src, dst, step, 4);
}

zepStatus zepiYCCK411ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step) {
  return ToPixels(reference::zepiYCCKToCMYK_JPEG_8u_P4C4R, k411, src, dst, step, 4);
}

zepStatus zepiSampleUp444LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                 int32_t step) {
  return SampleUp(k444, src, dst, step);
}

zepStatus zepiSampleUp422LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                 int32_t step) {
  return SampleUp(k422, src, dst, step);
}

zepStatus zepiSampleUp411LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                 int32_t step) {
  return SampleUp(k411, src, dst, step);
}

zepStatus zepiJoin422LS_MCU_JPEG_16s8u_P3C2R(const int16_t* const* src, uint8_t* dst,
                                             int32_t step) {
  const FullPlanes full(k422, src, 3);
  for (int32_t y = 0; y < 8; ++y) {
    for (int32_t x = 0; x < 16; ++x) {
      Put(dst, step, 2 * x, y, Get(full.pointers[0], 16, x, y));
      Put(dst, step, 2 * x + 1, y, Get(full.pointers[1 + x % 2], 16, x, y));
    }
  }
  return zepStatusOk;
}

}  // namespace reference
