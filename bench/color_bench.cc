// SPDX-License-Identifier: MIT
// Colour conversion and sampling beside libjpeg-turbo's kernels and a plain copy.
//
// Rows: <export>/<who>/<width>x<height>. 1024x8 stays in the caches, 3840x2160 does not.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "rival_jpeg.h"
#include "zepcore.h"
#include "zepjp.h"

namespace {

constexpr zepiSize kCached = {1024, 8};
constexpr zepiSize k4K = {3840, 2160};
constexpr zepiSize kSmall[] = {{8, 1}, {16, 1}, {24, 1}};
constexpr int kSlack = 256;  // the rival pads rows to whole registers

// An image of up to four channels and its planes, in the forms that both sides need.
class Images {
 public:
  explicit Images(zepiSize size) : size_(size), interleaved_(Bytes(4) + kSlack), words_(Bytes(1)) {
    for (size_t i = 0; i < interleaved_.size(); ++i) {
      interleaved_[i] = static_cast<uint8_t>(i * 2654435761U >> 13);
    }
    for (auto& plane : planes_)
      plane.assign(interleaved_.begin(), interleaved_.begin() + Offset() + kSlack);
    for (auto& plane : results_) plane.resize(Bytes(1) + kSlack);
    result_.resize(Bytes(4) + kSlack);
    for (int32_t y = 0; y < size.height; ++y) {
      const size_t row = static_cast<size_t>(y) * static_cast<size_t>(size.width);
      rows3.push_back(&interleaved_[row * 3]);
      rows4.push_back(&interleaved_[row * 4]);
      result_rows3.push_back(&result_[row * 3]);
      result_rows4.push_back(&result_[row * 4]);
      for (int i = 0; i < 3; ++i) {
        plane_rows[i].push_back(&planes_[i][row]);
        result_plane_rows[i].push_back(&results_[i][row]);
      }
    }
    for (int i = 0; i < 3; ++i) {
      rival_planes[i] = plane_rows[i].data();
      rival_results[i] = result_plane_rows[i].data();
    }
  }

  zepiSize size() const { return size_; }
  const uint8_t* interleaved() const { return interleaved_.data(); }
  const uint16_t* words() const { return words_.data(); }
  uint8_t* result() { return result_.data(); }
  const uint8_t* const* planes() const { return plane_pointers_; }
  uint8_t* const* results() const { return result_pointers_; }

  std::vector<uint8_t*> rows3, rows4, result_rows3, result_rows4, plane_rows[3],
      result_plane_rows[3];
  uint8_t** rival_planes[3];
  uint8_t** rival_results[3];

 private:
  size_t Bytes(size_t channels) const {
    return static_cast<size_t>(size_.width) * static_cast<size_t>(size_.height) * channels;
  }
  std::ptrdiff_t Offset() const { return static_cast<std::ptrdiff_t>(Bytes(1)); }

  zepiSize size_;
  std::vector<uint8_t> interleaved_, result_, planes_[4], results_[4];
  std::vector<uint16_t> words_;
  const uint8_t* plane_pointers_[4] = {nullptr, nullptr, nullptr, nullptr};
  uint8_t* result_pointers_[4] = {nullptr, nullptr, nullptr, nullptr};

 public:
  void Point() {
    for (int i = 0; i < 4; ++i) {
      plane_pointers_[i] = planes_[i].data();
      result_pointers_[i] = results_[i].data();
    }
  }
};

template <class Work>
void Register(const std::string& name, zepiSize size, const Work& work) {
  const std::string full =
      name + "/" + std::to_string(size.width) + "x" + std::to_string(size.height);
  benchmark::RegisterBenchmark(full.c_str(), [=](benchmark::State& state) {
    Images images(size);
    images.Point();
    for (auto _ : state) {
      work(images);
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * size.width * size.height);
  });
}

// Ours and the rival's function, if there is one.
template <class Ours, class Rival>
void Pair(const std::string& name, const std::vector<zepiSize>& sizes, const Ours& ours,
          const Rival& rival) {
  for (const zepiSize size : sizes) {
    Register(name + "/ours", size, ours);
    Register(name + "/rival", size, rival);
  }
}

template <class Ours>
void Alone(const std::string& name, const Ours& ours) {
  Register(name + "/ours", kCached, ours);
}

#define FORWARD_C(function, channels)                                                           \
  [](Images& m) {                                                                               \
    function(m.interleaved(), m.size().width* channels, m.results(), m.size().width, m.size()); \
  }

void RegisterForward() {
  const std::vector<zepiSize> sizes = {kSmall[0], kSmall[1], kSmall[2], kCached, k4K};
  const auto rgb = [](Images& m) {
    rival::rgb_to_ycc(static_cast<unsigned>(m.size().width), m.rows3.data(), m.rival_results, 0,
                      m.size().height);
  };
  const auto rgbx = [](Images& m) {
    rival::rgbx_to_ycc(static_cast<unsigned>(m.size().width), m.rows4.data(), m.rival_results, 0,
                       m.size().height);
  };
  const auto grey = [](Images& m) {
    rival::rgb_to_gray(static_cast<unsigned>(m.size().width), m.rows3.data(), m.rival_results, 0,
                       m.size().height);
  };
  Pair("zepiRGBToYCbCr_JPEG_8u_C3P3R", sizes, FORWARD_C(zepiRGBToYCbCr_JPEG_8u_C3P3R, 3), rgb);
  Pair("zepiBGRToYCbCr_JPEG_8u_C3P3R", {kCached}, FORWARD_C(zepiBGRToYCbCr_JPEG_8u_C3P3R, 3), rgb);
  Pair("zepiRGBToYCbCr_JPEG_8u_C4P3R", {kCached}, FORWARD_C(zepiRGBToYCbCr_JPEG_8u_C4P3R, 4), rgbx);
  Pair("zepiBGRToYCbCr_JPEG_8u_C4P3R", {kCached}, FORWARD_C(zepiBGRToYCbCr_JPEG_8u_C4P3R, 4), rgbx);
  const auto luminance = [](auto function) {
    return [function](Images& m) {
      function(m.interleaved(), m.size().width * 3, m.results()[0], m.size().width, m.size());
    };
  };
  Pair("zepiRGBToY_JPEG_8u_C3C1R", sizes, luminance(zepiRGBToY_JPEG_8u_C3C1R), grey);
  Pair("zepiBGRToY_JPEG_8u_C3C1R", {kCached}, luminance(zepiBGRToY_JPEG_8u_C3C1R), grey);
  Alone("zepiRGBToY_JPEG_8u_P3C1R", [](Images& m) {
    zepiRGBToY_JPEG_8u_P3C1R(m.planes(), m.size().width, m.results()[0], m.size().width, m.size());
  });
  const auto planes = [](auto function) {
    return [function](Images& m) {
      function(m.planes(), m.size().width, m.results(), m.size().width, m.size());
    };
  };
  Alone("zepiRGBToYCbCr_JPEG_8u_P3R", planes(zepiRGBToYCbCr_JPEG_8u_P3R));
  Alone("zepiCMYKToYCCK_JPEG_8u_P4R", planes(zepiCMYKToYCCK_JPEG_8u_P4R));
  Alone("zepiCMYKToYCCK_JPEG_8u_C4P4R", FORWARD_C(zepiCMYKToYCCK_JPEG_8u_C4P4R, 4));
  const auto packed = [](auto function) {
    return [function](Images& m) {
      function(m.words(), m.size().width * 2, m.results(), m.size().width, m.size());
    };
  };
  Alone("zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R", packed(zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R));
  Alone("zepiBGR555ToYCbCr_JPEG_16u8u_C3P3R", packed(zepiBGR555ToYCbCr_JPEG_16u8u_C3P3R));
  Alone("zepiRGB565ToYCbCr_JPEG_16u8u_C3P3R", packed(zepiRGB565ToYCbCr_JPEG_16u8u_C3P3R));
  Alone("zepiBGR565ToYCbCr_JPEG_16u8u_C3P3R", packed(zepiBGR565ToYCbCr_JPEG_16u8u_C3P3R));
}

// The rival converts all rows, then reduces both chroma planes.
template <bool kVertical, bool kFourBytes>
void RivalReduce(Images& m) {
  const auto width = static_cast<unsigned>(m.size().width);
  auto& rows = kFourBytes ? m.rows4 : m.rows3;
  const auto convert = kFourBytes ? rival::rgbx_to_ycc : rival::rgb_to_ycc;
  const auto down = kVertical ? rival::h2v2_downsample : rival::h2v1_downsample;
  for (int32_t y = 0; y + 2 <= m.size().height; y += 2) {
    convert(width, rows.data() + y, m.rival_planes, static_cast<unsigned>(y), 2);
    for (int plane = 1; plane < 3; ++plane) {
      const int32_t out = kVertical ? y / 2 : y;
      down(width, 2, kVertical ? 1 : 2, width / 16, m.plane_rows[plane].data() + y,
           m.result_plane_rows[plane].data() + out);
    }
  }
}

void RegisterReducing() {
  const std::vector<zepiSize> sizes = {kCached, k4K};
  Pair("zepiRGBToYCbCr411_JPEG_8u_C3P3R", sizes, FORWARD_C(zepiRGBToYCbCr411_JPEG_8u_C3P3R, 3),
       RivalReduce<true, false>);
  Pair("zepiBGRToYCbCr411_JPEG_8u_C3P3R", {kCached}, FORWARD_C(zepiBGRToYCbCr411_JPEG_8u_C3P3R, 3),
       RivalReduce<true, false>);
  Pair("zepiRGBToYCbCr411_JPEG_8u_C4P3R", {kCached}, FORWARD_C(zepiRGBToYCbCr411_JPEG_8u_C4P3R, 4),
       RivalReduce<true, true>);
  Pair("zepiBGRToYCbCr411_JPEG_8u_C4P3R", {kCached}, FORWARD_C(zepiBGRToYCbCr411_JPEG_8u_C4P3R, 4),
       RivalReduce<true, true>);
  Pair("zepiRGBToYCbCr422_JPEG_8u_C3P3R", sizes, FORWARD_C(zepiRGBToYCbCr422_JPEG_8u_C3P3R, 3),
       RivalReduce<false, false>);
  Pair("zepiBGRToYCbCr422_JPEG_8u_C3P3R", {kCached}, FORWARD_C(zepiBGRToYCbCr422_JPEG_8u_C3P3R, 3),
       RivalReduce<false, false>);
  Pair("zepiRGBToYCbCr422_JPEG_8u_C4P3R", {kCached}, FORWARD_C(zepiRGBToYCbCr422_JPEG_8u_C4P3R, 4),
       RivalReduce<false, true>);
  Pair("zepiBGRToYCbCr422_JPEG_8u_C4P3R", {kCached}, FORWARD_C(zepiBGRToYCbCr422_JPEG_8u_C4P3R, 4),
       RivalReduce<false, true>);
}

void RegisterInverse() {
  const auto interleaved = [](auto function, int32_t channels) {
    return [function, channels](Images& m) {
      function(m.planes(), m.size().width, m.result(), m.size().width * channels, m.size());
    };
  };
  const auto planes = [](auto function) {
    return [function](Images& m) {
      function(m.planes(), m.size().width, m.results(), m.size().width, m.size());
    };
  };
  const auto rival = [](Images& m) {
    rival::ycc_to_rgb(static_cast<unsigned>(m.size().width), m.rival_planes, 0,
                      m.result_rows3.data(), m.size().height);
  };
  Pair("zepiYCbCrToRGB_JPEG_8u_P3C3R", {kSmall[0], kSmall[1], kSmall[2], kCached, k4K},
       interleaved(zepiYCbCrToRGB_JPEG_8u_P3C3R, 3), rival);
  Pair("zepiYCbCrToBGR_JPEG_8u_P3C3R", {kCached}, interleaved(zepiYCbCrToBGR_JPEG_8u_P3C3R, 3),
       rival);
  Alone("zepiYCbCrToRGB_JPEG_8u_P3R", planes(zepiYCbCrToRGB_JPEG_8u_P3R));
  Alone("zepiYCCKToCMYK_JPEG_8u_P4C4R", interleaved(zepiYCCKToCMYK_JPEG_8u_P4C4R, 4));
  Alone("zepiYCCKToCMYK_JPEG_8u_P4R", planes(zepiYCCKToCMYK_JPEG_8u_P4R));
  Alone("zepiYCbCr422ToRGB_JPEG_8u_C2C3R", [](Images& m) {
    zepiYCbCr422ToRGB_JPEG_8u_C2C3R(m.interleaved(), m.size().width * 2, m.result(),
                                    m.size().width * 3, m.size());
  });
}

// The rival's merged upsampling; it makes two rows of pixels at once if chroma has half the height.
template <int kRows, bool kFourBytes>
void RivalMerged(Images& m) {
  auto& rows = kFourBytes ? m.result_rows4 : m.result_rows3;
  const auto up = kRows == 1   ? kFourBytes ? rival::h2v1_to_rgbx : rival::h2v1_to_rgb
                  : kFourBytes ? rival::h2v2_to_rgbx
                               : rival::h2v2_to_rgb;
  for (int32_t y = 0; y < m.size().height; y += kRows) {
    up(static_cast<unsigned>(m.size().width), m.rival_planes, static_cast<unsigned>(y / kRows),
       rows.data() + y);
  }
}

void RegisterReduced() {
  const std::vector<zepiSize> sizes = {kCached, k4K};
  const auto three = [](auto function) {
    return [function](Images& m) {
      const int32_t steps[] = {m.size().width, m.size().width, m.size().width};
      function(m.planes(), steps, m.result(), m.size().width * 3, m.size());
    };
  };
  const auto four = [](auto function) {
    return [function](Images& m) {
      const int32_t steps[] = {m.size().width, m.size().width, m.size().width};
      function(m.planes(), steps, m.result(), m.size().width * 4, m.size(), uint8_t{255});
    };
  };
  Pair("zepiYCbCr411ToRGB_JPEG_8u_P3C3R", sizes, three(zepiYCbCr411ToRGB_JPEG_8u_P3C3R),
       RivalMerged<2, false>);
  Pair("zepiYCbCr411ToRGB_JPEG_8u_P3C4R", {kCached}, four(zepiYCbCr411ToRGB_JPEG_8u_P3C4R),
       RivalMerged<2, true>);
  Pair("zepiYCbCr411ToBGR_JPEG_8u_P3C3R", {kCached}, three(zepiYCbCr411ToBGR_JPEG_8u_P3C3R),
       RivalMerged<2, false>);
  Pair("zepiYCbCr411ToBGR_JPEG_8u_P3C4R", {kCached}, four(zepiYCbCr411ToBGR_JPEG_8u_P3C4R),
       RivalMerged<2, true>);
  Pair("zepiYCbCr422ToRGB_JPEG_8u_P3C3R", sizes, three(zepiYCbCr422ToRGB_JPEG_8u_P3C3R),
       RivalMerged<1, false>);
  Pair("zepiYCbCr422ToRGB_JPEG_8u_P3C4R", {kCached}, four(zepiYCbCr422ToRGB_JPEG_8u_P3C4R),
       RivalMerged<1, true>);
  Pair("zepiYCbCr422ToBGR_JPEG_8u_P3C3R", {kCached}, three(zepiYCbCr422ToBGR_JPEG_8u_P3C3R),
       RivalMerged<1, false>);
  Pair("zepiYCbCr422ToBGR_JPEG_8u_P3C4R", {kCached}, four(zepiYCbCr422ToBGR_JPEG_8u_P3C4R),
       RivalMerged<1, true>);
}

void RegisterOtherPixels() {
  const auto rival = [](Images& m) {
    rival::ycc_to_rgbx(static_cast<unsigned>(m.size().width), m.rival_planes, 0,
                       m.result_rows4.data(), m.size().height);
  };
  const auto four = [](auto function) {
    return [function](Images& m) {
      function(m.planes(), m.size().width, m.result(), m.size().width * 4, m.size(), uint8_t{255});
    };
  };
  Pair("zepiYCbCrToRGB_JPEG_8u_P3C4R", {kCached}, four(zepiYCbCrToRGB_JPEG_8u_P3C4R), rival);
  Pair("zepiYCbCrToBGR_JPEG_8u_P3C4R", {kCached}, four(zepiYCbCrToBGR_JPEG_8u_P3C4R), rival);
  const auto packed = [](auto function) {
    return [function](Images& m) {
      function(m.planes(), m.size().width, reinterpret_cast<uint16_t*>(m.result()),
               m.size().width * 2, m.size());
    };
  };
  Alone("zepiYCbCrToRGB555_JPEG_8u16u_P3C3R", packed(zepiYCbCrToRGB555_JPEG_8u16u_P3C3R));
  Alone("zepiYCbCrToRGB565_JPEG_8u16u_P3C3R", packed(zepiYCbCrToRGB565_JPEG_8u16u_P3C3R));
  Alone("zepiYCbCrToBGR555_JPEG_8u16u_P3C3R", packed(zepiYCbCrToBGR555_JPEG_8u16u_P3C3R));
  Alone("zepiYCbCrToBGR565_JPEG_8u16u_P3C3R", packed(zepiYCbCrToBGR565_JPEG_8u16u_P3C3R));
}

// The throughput of sampling counts the samples of the larger side.
template <bool kVertical>
void RivalDown(Images& m) {
  const auto width = static_cast<unsigned>(m.size().width);
  const auto down = kVertical ? rival::h2v2_downsample : rival::h2v1_downsample;
  for (int32_t y = 0; y + 2 <= m.size().height; y += 2) {
    down(width, 2, kVertical ? 1 : 2, width / 16, m.plane_rows[0].data() + y,
         m.result_plane_rows[0].data() + (kVertical ? y / 2 : y));
  }
}

void RivalUpH2V1(Images& m) {
  uint8_t** output = m.result_plane_rows[0].data();
  rival::h2v1_fancy_upsample(m.size().height, static_cast<unsigned>(m.size().width / 2),
                             m.plane_rows[0].data(), &output);
}

// It reads one row above and below, so it gets the inner rows.
void RivalUpH2V2(Images& m) {
  uint8_t** output = m.result_plane_rows[0].data();
  rival::h2v2_fancy_upsample(m.size().height, static_cast<unsigned>(m.size().width / 2),
                             m.plane_rows[0].data() + 1, &output);
}

void RegisterSampling() {
  const auto half = [](zepiSize s, int32_t rows) { return zepiSize{s.width / 2, s.height / rows}; };
  Pair(
      "zepiSampleDownH2V1_JPEG_8u_C1R", {kCached},
      [=](Images& m) {
        zepiSampleDownH2V1_JPEG_8u_C1R(m.planes()[0], m.size().width, m.size(), m.results()[0],
                                       m.size().width / 2, half(m.size(), 1));
      },
      RivalDown<false>);
  Pair(
      "zepiSampleDownH2V2_JPEG_8u_C1R", {kCached},
      [=](Images& m) {
        zepiSampleDownH2V2_JPEG_8u_C1R(m.planes()[0], m.size().width, m.size(), m.results()[0],
                                       m.size().width / 2, half(m.size(), 2));
      },
      RivalDown<true>);
  Pair(
      "zepiSampleUpH2V1_JPEG_8u_C1R", {kCached},
      [=](Images& m) {
        zepiSampleUpH2V1_JPEG_8u_C1R(m.planes()[0], m.size().width / 2, half(m.size(), 1),
                                     m.results()[0], m.size().width, m.size());
      },
      RivalUpH2V1);
  Pair(
      "zepiSampleUpH2V2_JPEG_8u_C1R", {kCached},
      [=](Images& m) {
        zepiSampleUpH2V2_JPEG_8u_C1R(m.planes()[0], m.size().width / 2, half(m.size(), 2),
                                     m.results()[0], m.size().width, m.size());
      },
      RivalUpH2V2);
  // One row at a time; the rival's functions take any number of rows.
  const auto rows = [](Images& m, auto call) {
    for (int32_t y = 0; y + 2 <= m.size().height; ++y)
      call(m.plane_rows[0].data() + y, m.result_plane_rows[0][static_cast<size_t>(y)]);
  };
  Alone("zepiSampleDownRowH2V1_Box_JPEG_8u_C1", [=](Images& m) {
    rows(m, [&](uint8_t** src, uint8_t* dst) {
      zepiSampleDownRowH2V1_Box_JPEG_8u_C1(src[0], m.size().width, dst);
    });
  });
  Alone("zepiSampleDownRowH2V2_Box_JPEG_8u_C1", [=](Images& m) {
    rows(m, [&](uint8_t** src, uint8_t* dst) {
      zepiSampleDownRowH2V2_Box_JPEG_8u_C1(src[0], src[1], m.size().width, dst);
    });
  });
  Alone("zepiSampleUpRowH2V1_Triangle_JPEG_8u_C1", [=](Images& m) {
    rows(m, [&](uint8_t** src, uint8_t* dst) {
      zepiSampleUpRowH2V1_Triangle_JPEG_8u_C1(src[0], m.size().width / 2, dst);
    });
  });
  Alone("zepiSampleUpRowH2V2_Triangle_JPEG_8u_C1", [=](Images& m) {
    rows(m, [&](uint8_t** src, uint8_t* dst) {
      zepiSampleUpRowH2V2_Triangle_JPEG_8u_C1(src[0], src[1], m.size().width / 2, dst);
    });
  });
  Alone("zepiAdd128_JPEG_16s8u_C1R", [](Images& m) {
    zepiAdd128_JPEG_16s8u_C1R(reinterpret_cast<const int16_t*>(m.words()), m.size().width * 2,
                              m.result(), m.size().width, m.size());
  });
  Alone("zepiSub128_JPEG_8u16s_C1R", [](Images& m) {
    zepiSub128_JPEG_8u16s_C1R(m.interleaved(), m.size().width,
                              reinterpret_cast<int16_t*>(m.result()), m.size().width * 2, m.size());
  });
}

// The limit of the memory: copying three bytes for each pixel.
void RegisterCopies() {
  for (const zepiSize size : {kCached, k4K}) {
    Register("copy_3_bytes/bound", size, [](Images& m) {
      std::memcpy(m.result(), m.interleaved(),
                  3 * static_cast<size_t>(m.size().width) * static_cast<size_t>(m.size().height));
    });
  }
}

const bool registered = [] {
  zepSetNumThreads(1);
  RegisterForward();
  RegisterReducing();
  RegisterInverse();
  RegisterReduced();
  RegisterOtherPixels();
  RegisterSampling();
  RegisterCopies();
  return true;
}();

}  // namespace
