// SPDX-License-Identifier: MIT
// The component transforms beside OpenJPEG's, which work on planes of 32-bit elements only: the
// reversible one in integers, the irreversible one in floating point.
//
// Rows: <export>/<who>/<width>x<height>. 1024x4 stays in the cache, 2048x2048 does not. All samples
// are 0, and stay 0 however often they are transformed in place.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "zepjp.h"

extern "C" {
void opj_mct_encode(int32_t* c0, int32_t* c1, int32_t* c2, size_t count);
void opj_mct_decode(int32_t* c0, int32_t* c1, int32_t* c2, size_t count);
void opj_mct_encode_real(float* c0, float* c1, float* c2, size_t count);
void opj_mct_decode_real(float* c0, float* c1, float* c2, size_t count);
}

namespace {

constexpr zepiSize kSizes[] = {{1024, 4}, {2048, 2048}};

// The rival needs planes aligned to 16 bytes. The distance of planes is such that no store has the
// same low 12 address bits as a later load.
template <class T>
class Image {
 public:
  explicit Image(zepiSize size) : size_(size) {
    const size_t slack = 1344 / sizeof(T);
    const size_t plane = count() + slack;
    memory_.resize(3 * plane + slack);
    pixels_.resize(3 * count());
    const auto misaligned = reinterpret_cast<uintptr_t>(memory_.data()) % 64;
    T* first = memory_.data() + (64 - misaligned) / sizeof(T);
    for (size_t i = 0; i < 3; ++i) const_planes[i] = planes[i] = first + i * plane;
  }
  size_t count() const {
    return static_cast<size_t>(size_.width) * static_cast<size_t>(size_.height);
  }
  zepiSize size() const { return size_; }
  int32_t step() const { return size_.width * static_cast<int32_t>(sizeof(T)); }
  T* pixels() { return pixels_.data(); }

  T* planes[3];
  const T* const_planes[3];

 private:
  zepiSize size_;
  std::vector<T> memory_, pixels_;
};

template <class T, class Work>
void Register(const std::string& name, Work work) {
  for (const zepiSize size : kSizes) {
    const std::string full =
        name + "/" + std::to_string(size.width) + "x" + std::to_string(size.height);
    benchmark::RegisterBenchmark(full.c_str(), [=](benchmark::State& state) {
      Image<T> image(size);
      for (auto _ : state) {
        work(image);
        benchmark::ClobberMemory();
      }
      state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) *
                              static_cast<int64_t>(image.count()));
    });
  }
}

// Ours on elements of type T, the rival's on its own type.
template <class T, class Rival, class InPlace>
void Pair(const std::string& name, InPlace in_place,
          void (*rival)(Rival*, Rival*, Rival*, size_t)) {
  Register<T>(name + "/ours", [=](Image<T>& m) { in_place(m.planes, m.step(), m.size()); });
  Register<Rival>(name + "/rival", [=](Image<Rival>& m) {
    rival(m.planes[0], m.planes[1], m.planes[2], m.count());
  });
}

// The rival has no function for interleaved pixels.
template <class T, class Function>
void ToPlanes(const std::string& name, Function function) {
  Register<T>(name + "/ours", [=](Image<T>& m) {
    function(m.pixels(), 3 * m.step(), m.planes, m.step(), m.size());
  });
}
template <class T, class Function>
void ToPixels(const std::string& name, Function function) {
  Register<T>(name + "/ours", [=](Image<T>& m) {
    function(m.const_planes, m.step(), m.pixels(), 3 * m.step(), m.size());
  });
}

#define NAMED(function) #function, function

const bool kRegistered = [] {
  Pair<int16_t>(NAMED(zepiRCTFwd_JPEG2K_16s_P3IR), opj_mct_encode);
  Pair<int16_t>(NAMED(zepiRCTInv_JPEG2K_16s_P3IR), opj_mct_decode);
  Pair<int32_t>(NAMED(zepiRCTFwd_JPEG2K_32s_P3IR), opj_mct_encode);
  Pair<int32_t>(NAMED(zepiRCTInv_JPEG2K_32s_P3IR), opj_mct_decode);
  ToPlanes<int16_t>(NAMED(zepiRCTFwd_JPEG2K_16s_C3P3R));
  ToPlanes<int32_t>(NAMED(zepiRCTFwd_JPEG2K_32s_C3P3R));
  ToPixels<int16_t>(NAMED(zepiRCTInv_JPEG2K_16s_P3C3R));
  ToPixels<int32_t>(NAMED(zepiRCTInv_JPEG2K_32s_P3C3R));
  Pair<int16_t>(NAMED(zepiICTFwd_JPEG2K_16s_P3IR), opj_mct_encode_real);
  Pair<int16_t>(NAMED(zepiICTInv_JPEG2K_16s_P3IR), opj_mct_decode_real);
  Pair<int32_t>(NAMED(zepiICTFwd_JPEG2K_32s_P3IR), opj_mct_encode_real);
  Pair<int32_t>(NAMED(zepiICTInv_JPEG2K_32s_P3IR), opj_mct_decode_real);
  Pair<float>(NAMED(zepiICTFwd_JPEG2K_32f_P3IR), opj_mct_encode_real);
  Pair<float>(NAMED(zepiICTInv_JPEG2K_32f_P3IR), opj_mct_decode_real);
  ToPlanes<float>(NAMED(zepiICTFwd_JPEG2K_32f_C3P3R));
  ToPixels<float>(NAMED(zepiICTInv_JPEG2K_32f_P3C3R));
  return true;
}();

}  // namespace
