// SPDX-License-Identifier: MIT
// Five levels of the wavelets on 2048 x 2048 samples, each level on the low quadrant of the one
// before, beside OpenJPEG's transforms of the same component (5/3 in 32-bit integers, 9/7 in
// floats): as whole tiles, as passes along columns and rows (in bands of rows, with borders filled
// by the caller), and with columns lifted row by row.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "zepjp.h"

extern "C" {
// The input of OpenJPEG's transforms: the rectangles of the resolutions, the samples, the thread
// pool.
struct RivalResolution {
  int32_t x0, y0, x1, y1;
  uint32_t precincts[2], band_count;
  struct {
    int32_t x0, y0, x1, y1;
    uint32_t number;
    void* precincts;
    uint32_t precincts_size;
    int32_t bit_planes;
    float step;
  } bands[3];
  uint32_t window[4];
};
struct RivalComponent {
  int32_t x0, y0, x1, y1;
  uint32_t number, resolution_count, minimum_resolution_count;
  RivalResolution* resolutions;
  uint32_t resolutions_size;
  int32_t* data;
  int32_t owns_data;
  size_t data_size_needed, data_size;
  int32_t* window_data;
  uint32_t window[4];
  int32_t sample_count;
};
struct RivalCoder {
  int32_t tile_part[5];
  void *tiles, *image, *parameters, *tile_parameters;
  uint32_t tile_number;
  uint32_t is_decoder;
  void* thread_pool;
  uint32_t window[4];
  int32_t whole_tile;
  int32_t* used_components;
};
int32_t opj_dwt_encode(RivalCoder* coder, RivalComponent* component);
int32_t opj_dwt_decode(RivalCoder* coder, RivalComponent* component, uint32_t resolutions);
int32_t opj_dwt_encode_real(RivalCoder* coder, RivalComponent* component);
int32_t opj_dwt_decode_real(RivalCoder* coder, RivalComponent* component, uint32_t resolutions);
void* opj_thread_pool_create(int threads);
void opj_thread_pool_destroy(void* pool);
}

namespace {

constexpr int kSide = 2048;
constexpr int kLevels = 5;
constexpr size_t kSamples = size_t{kSide} * kSide;

template <class T>
void FillPicture(T* data, size_t count) {
  uint32_t state = 1;
  for (size_t i = 0; i < count; ++i) {
    state = state * 1664525U + 1013904223U;
    data[i] = static_cast<T>(static_cast<int>(state >> 28) + static_cast<int>(i / 64 % 200));
  }
}

void Report(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(kSamples));
}

// Restores the picture, which repeated transforms in place would destroy.
template <class T>
void Renew(benchmark::State& state, const std::vector<T>& picture, std::vector<T>& data) {
  state.PauseTiming();
  std::memcpy(data.data(), picture.data(), picture.size() * sizeof(T));
  state.ResumeTiming();
}

enum class Rival { kForward53, kInverse53, kForward97, kInverse97 };

void RunRival(benchmark::State& state, Rival rival) {
  std::vector<int32_t> picture(kSamples), data(kSamples);
  if (rival == Rival::kForward97 || rival == Rival::kInverse97) {
    FillPicture(reinterpret_cast<float*>(picture.data()), kSamples);
  } else {
    FillPicture(picture.data(), kSamples);
  }
  RivalResolution resolutions[kLevels + 1] = {};
  for (int i = 0; i <= kLevels; ++i) {
    const int side = kSide >> (kLevels - i);
    resolutions[i].x1 = resolutions[i].y1 = side;
    resolutions[i].window[2] = resolutions[i].window[3] = static_cast<uint32_t>(side);
  }
  RivalComponent component = {};
  component.x1 = component.y1 = kSide;
  component.resolution_count = component.minimum_resolution_count = kLevels + 1;
  component.resolutions = resolutions;
  component.data = data.data();
  RivalCoder coder = {};
  coder.whole_tile = 1;
  coder.thread_pool = opj_thread_pool_create(0);
  for (auto _ : state) {
    Renew(state, picture, data);
    switch (rival) {
      case Rival::kForward53: opj_dwt_encode(&coder, &component); break;
      case Rival::kInverse53: opj_dwt_decode(&coder, &component, kLevels + 1); break;
      case Rival::kForward97: opj_dwt_encode_real(&coder, &component); break;
      case Rival::kInverse97: opj_dwt_decode_real(&coder, &component, kLevels + 1); break;
    }
    benchmark::ClobberMemory();
  }
  opj_thread_pool_destroy(coder.thread_pool);
  Report(state);
}

template <class T>
int32_t StepOf(int width) {
  return width * static_cast<int32_t>(sizeof(T));
}

// In place: each level works on the upper left quadrant of the one before.
template <class T>
using InPlace = zepStatus (*)(T*, int32_t, const zepiRect*, uint8_t*);

template <class T>
void RunInPlace(benchmark::State& state, InPlace<T> transform, bool forward) {
  std::vector<T> picture(kSamples), data(kSamples);
  FillPicture(picture.data(), kSamples);
  std::vector<uint8_t> buffer(16 * kSide);
  for (auto _ : state) {
    Renew(state, picture, data);
    for (int i = 0; i < kLevels; ++i) {
      const int side = kSide >> (forward ? i : kLevels - 1 - i);
      const zepiRect tile = {0, 0, side, side};
      transform(data.data(), StepOf<T>(kSide), &tile, buffer.data());
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

// With planes: each level has planes in memory of their own; its plane 0 is the input of the next
// level.
template <class T>
struct Level {
  int side;
  std::vector<T> samples, planes[4];
  T* pointers[4];
  const T* const_pointers[4];
  int32_t steps[4];

  explicit Level(int of_side) : side(of_side) {
    samples.resize(static_cast<size_t>(side) * static_cast<size_t>(side));
    FillPicture(samples.data(), samples.size());
    for (int i = 0; i < 4; ++i) {
      planes[i].resize(samples.size() / 4);
      FillPicture(planes[i].data(), planes[i].size());
      const_pointers[i] = pointers[i] = planes[i].data();
      steps[i] = StepOf<T>(side / 2);
    }
  }
};

template <class T>
std::vector<std::unique_ptr<Level<T>>> MakeLevels() {
  std::vector<std::unique_ptr<Level<T>>> levels;
  for (int i = 0; i < kLevels; ++i) levels.push_back(std::make_unique<Level<T>>(kSide >> i));
  for (size_t i = 1; i < kLevels; ++i) {  // the low plane of a level is the picture of the next
    levels[i - 1]->pointers[0] = levels[i]->samples.data();
    levels[i - 1]->const_pointers[0] = levels[i]->samples.data();
  }
  return levels;
}

template <class T>
using ToPlanes = zepStatus (*)(const T*, int32_t, const zepiRect*, T* const*, const int32_t*,
                               uint8_t*);
template <class T>
using FromPlanes = zepStatus (*)(const T* const*, const int32_t*, T*, int32_t, const zepiRect*,
                                 uint8_t*);

template <class T>
void RunToPlanes(benchmark::State& state, ToPlanes<T> transform) {
  const auto levels = MakeLevels<T>();
  std::vector<uint8_t> buffer(kSamples * sizeof(T) + 16 * kSide);
  for (auto _ : state) {
    for (const auto& level : levels) {
      const zepiRect tile = {0, 0, level->side, level->side};
      transform(level->samples.data(), StepOf<T>(level->side), &tile, level->pointers, level->steps,
                buffer.data());
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

template <class T>
void RunFromPlanes(benchmark::State& state, FromPlanes<T> transform) {
  const auto levels = MakeLevels<T>();
  std::vector<uint8_t> buffer(kSamples * sizeof(T) + 16 * kSide);
  for (auto _ : state) {
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
      const zepiRect tile = {0, 0, (*level)->side, (*level)->side};
      transform((*level)->const_pointers, (*level)->steps, (*level)->samples.data(),
                StepOf<T>((*level)->side), &tile, buffer.data());
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

// Passes: pictures with borders of eight samples on all sides, which are filled by mirroring before
// a pass.
constexpr int kBorder = 8;

template <class T>
class Bordered {
 public:
  Bordered(int width, int height)
      : width_(width),
        height_(height),
        data_(static_cast<size_t>(width + 2 * kBorder) *
              static_cast<size_t>(height + 2 * kBorder)) {
    FillPicture(data_.data(), data_.size());
  }
  T* row(int y) {
    return data_.data() + (y + kBorder) * static_cast<ptrdiff_t>(width_ + 2 * kBorder) + kBorder;
  }
  int32_t step() const { return StepOf<T>(width_ + 2 * kBorder); }
  int width() const { return width_; }
  int height() const { return height_; }

  // Mirrors at the ends: about the last sample if `at_start` or `at_end` is 0, beyond it if 1.
  void MirrorRows(int at_start, int at_end) {
    const size_t bytes = static_cast<size_t>(width_) * sizeof(T);
    for (int i = 1; i <= 4; ++i) {
      std::memcpy(row(-i), row(i - at_start), bytes);
      std::memcpy(row(height_ - 1 + i), row(height_ - 1 - i + at_end), bytes);
    }
  }
  void MirrorColumns(int begin, int end, int at_start, int at_end) {
    for (int y = begin; y < end; ++y) {
      T* const first = row(y);
      T* const last = first + width_ - 1;
      for (int i = 1; i <= 4; ++i) {
        first[-i] = first[i - at_start];
        last[i] = last[at_end - i];
      }
    }
  }

 private:
  int width_, height_;
  std::vector<T> data_;
};

// One level of passes; `low` and `high` hold a band of rows between the two directions.
template <class T>
struct PassLevel {
  explicit PassLevel(int side)
      : half(side / 2),
        samples(side, side),
        hl(half, half),
        lh(half, half),
        hh(half, half),
        low(side, kBand + 2 * kBorder),
        high(side, kBand + 2 * kBorder) {}
  static constexpr int kBand = 16;
  int half;
  Bordered<T> samples, hl, lh, hh;
  Bordered<T> low, high;
};

template <class T>
struct PassLevels {
  PassLevels() {
    for (int i = 0; i < kLevels; ++i) {
      levels.push_back(std::make_unique<PassLevel<T>>(kSide >> i));
    }
    last = std::make_unique<Bordered<T>>(kSide >> kLevels, kSide >> kLevels);
  }
  Bordered<T>& LowOf(size_t level) {
    return level + 1 < levels.size() ? levels[level + 1]->samples : *last;
  }
  std::vector<std::unique_ptr<PassLevel<T>>> levels;
  std::unique_ptr<Bordered<T>> last;
};

template <class T>
using Split = zepStatus (*)(const T*, int32_t, T*, int32_t, T*, int32_t, zepiSize, int32_t);
template <class T>
using Join = zepStatus (*)(const T*, int32_t, const T*, int32_t, zepiSize, T*, int32_t, int32_t);

// Transforms the rows of a band, whose columns are done, to the planes.
template <class T>
void SplitBand(PassLevel<T>& level, Bordered<T>& ll, Split<T> rows, int first, int pairs) {
  const zepiSize size = {level.half, pairs};
  level.low.MirrorColumns(0, pairs, 0, 0);
  level.high.MirrorColumns(0, pairs, 0, 0);
  rows(level.low.row(0), level.low.step(), ll.row(first), ll.step(), level.hl.row(first),
       level.hl.step(), size, 0);
  rows(level.high.row(0), level.high.step(), level.lh.row(first), level.lh.step(),
       level.hh.row(first), level.hh.step(), size, 0);
}

template <class T>
void RunSplits(benchmark::State& state, Split<T> columns, Split<T> rows) {
  PassLevels<T> all;
  for (auto _ : state) {
    for (size_t i = 0; i < kLevels; ++i) {
      PassLevel<T>& level = *all.levels[i];
      level.samples.MirrorRows(0, 0);
      for (int first = 0; first < level.half; first += PassLevel<T>::kBand) {
        const int pairs = std::min(level.half - first, PassLevel<T>::kBand);
        columns(level.samples.row(2 * first), level.samples.step(), level.low.row(0),
                level.low.step(), level.high.row(0), level.high.step(), {2 * level.half, pairs}, 0);
        SplitBand(level, all.LowOf(i), rows, first, pairs);
      }
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

// Transforms the rows `first` to `end` - 1 of the planes to rows of `low` and `high` from `to` on.
template <class T>
void JoinBand(PassLevel<T>& level, Bordered<T>& ll, Join<T> rows, int first, int end, int to) {
  for (Bordered<T>* plane : {&ll, &level.lh}) plane->MirrorColumns(first, end, 0, 1);
  for (Bordered<T>* plane : {&level.hl, &level.hh}) plane->MirrorColumns(first, end, 1, 0);
  const zepiSize size = {level.half, end - first};
  rows(ll.row(first), ll.step(), level.hl.row(first), level.hl.step(), size, level.low.row(to),
       level.low.step(), 0);
  rows(level.lh.row(first), level.lh.step(), level.hh.row(first), level.hh.step(), size,
       level.high.row(to), level.high.step(), 0);
}

template <class T>
void RunJoins(benchmark::State& state, Join<T> columns, Join<T> rows) {
  PassLevels<T> all;
  for (auto _ : state) {
    for (size_t i = kLevels; i-- > 0;) {
      PassLevel<T>& level = *all.levels[i];
      Bordered<T>& ll = all.LowOf(i);
      for (Bordered<T>* plane : {&ll, &level.hl}) plane->MirrorRows(0, 1);
      for (Bordered<T>* plane : {&level.lh, &level.hh}) plane->MirrorRows(1, 0);
      for (int first = 0; first < level.half; first += PassLevel<T>::kBand) {
        const int pairs = std::min(level.half - first, PassLevel<T>::kBand);
        JoinBand(level, ll, rows, first - 2, first + pairs + 2, -2);
        columns(level.low.row(0), level.low.step(), level.high.row(0), level.high.step(),
                {2 * level.half, pairs}, level.samples.row(2 * first), level.samples.step(), 0);
      }
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

// Row by row: a ring of rows replaces the band.
template <class T>
using Lift53 = zepStatus (*)(const T*, const T*, const T*, T*, const T*, T*, int32_t);
template <class T>
using InverseLift53 = zepStatus (*)(const T*, const T*, const T*, const T*, T*, T*, int32_t);
template <class T>
using Lift97 = zepStatus (*)(const T*, const T*, const T*, T*, T*, T*, T*, T*, int32_t);
template <class T>
using InverseLift97 = zepStatus (*)(const T*, const T*, const T*, T*, T*, T*, T*, T*, int32_t);

template <class T>
void RunLift53(benchmark::State& state, Lift53<T> lift, Split<T> rows) {
  PassLevels<T> all;
  for (auto _ : state) {
    for (size_t i = 0; i < kLevels; ++i) {
      PassLevel<T>& level = *all.levels[i];
      Bordered<T>&x = level.samples, &low = level.low, &high = level.high;
      x.MirrorRows(0, 0);
      lift(x.row(-2), x.row(-1), x.row(0), low.row(1), high.row(1), high.row(3), x.width());
      for (int k = 0; k < level.half;
           ++k) {  // rows 0 are finished, row 3 of `high` is the last one
        std::memcpy(high.row(2), high.row(3), static_cast<size_t>(x.width()) * sizeof(T));
        lift(x.row(2 * k), x.row(2 * k + 1), x.row(2 * k + 2), low.row(0), high.row(2), high.row(0),
             x.width());
        std::memcpy(high.row(3), high.row(0), static_cast<size_t>(x.width()) * sizeof(T));
        SplitBand(level, all.LowOf(i), rows, k, 1);
      }
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

template <class T>
void RunInverseLift53(benchmark::State& state, InverseLift53<T> lift, Join<T> rows) {
  PassLevels<T> all;
  for (auto _ : state) {
    for (size_t i = kLevels; i-- > 0;) {
      PassLevel<T>& level = *all.levels[i];
      Bordered<T>&x = level.samples, &low = level.low, &high = level.high;
      Bordered<T>& ll = all.LowOf(i);
      for (Bordered<T>* plane : {&ll, &level.hl}) plane->MirrorRows(0, 1);
      for (Bordered<T>* plane : {&level.lh, &level.hh}) plane->MirrorRows(1, 0);
      JoinBand(level, ll, rows, -1, 0, 1);
      for (int k = 0; k <= level.half; ++k) {
        const int now = k & 1;
        JoinBand(level, ll, rows, k, k + 1, now);
        lift(low.row(now), high.row(1 - now), high.row(now), x.row(2 * k - 2), x.row(2 * k - 1),
             x.row(2 * k), x.width());
      }
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

template <class T>
void RunLift97(benchmark::State& state, Lift97<T> lift, Split<T> rows) {
  PassLevels<T> all;
  for (auto _ : state) {
    for (size_t i = 0; i < kLevels; ++i) {
      PassLevel<T>& level = *all.levels[i];
      Bordered<T>& x = level.samples;
      Bordered<T>& ll = all.LowOf(i);
      x.MirrorRows(0, 0);
      const auto low = [&](int k) { return level.low.row((k + 4) & 3); };
      const auto high = [&](int k) { return level.high.row((k + 4) & 3); };
      for (int k = -2; k <= level.half + 1; ++k) {
        const auto row = [&](int y) {  // mirrored further than the border
          const int end = 2 * level.half - 1;
          return x.row(y < -4 ? -y : y > end + 4 ? 2 * end - y : y);
        };
        lift(row(2 * k), row(2 * k + 1), row(2 * k + 2), low(k - 1), low(k), high(k - 2),
             high(k - 1), high(k), x.width());
        const zepiSize size = {level.half, 1};
        if (k >= 1 && k <= level.half) {
          level.low.MirrorColumns((k + 3) & 3, ((k + 3) & 3) + 1, 0, 0);
          rows(low(k - 1), level.low.step(), ll.row(k - 1), ll.step(), level.hl.row(k - 1),
               level.hl.step(), size, 0);
        }
        if (k >= 2) {
          level.high.MirrorColumns((k + 2) & 3, ((k + 2) & 3) + 1, 0, 0);
          rows(high(k - 2), level.high.step(), level.lh.row(k - 2), level.lh.step(),
               level.hh.row(k - 2), level.hh.step(), size, 0);
        }
      }
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

template <class T>
void RunInverseLift97(benchmark::State& state, InverseLift97<T> lift, Join<T> rows) {
  PassLevels<T> all;
  for (auto _ : state) {
    for (size_t i = kLevels; i-- > 0;) {
      PassLevel<T>& level = *all.levels[i];
      Bordered<T>&x = level.samples, &low = level.low, &high = level.high;
      Bordered<T>& ll = all.LowOf(i);
      for (Bordered<T>* plane : {&ll, &level.hl}) plane->MirrorRows(0, 1);
      for (Bordered<T>* plane : {&level.lh, &level.hh}) plane->MirrorRows(1, 0);
      for (int k = -1; k <= level.half + 1; ++k) {
        JoinBand(level, ll, rows, k, k + 1, 0);
        lift(low.row(0), high.row(0), x.row(2 * k - 4), x.row(2 * k - 3), x.row(2 * k - 2),
             x.row(2 * k - 1), x.row(2 * k), x.row(2 * k + 1), x.width());
      }
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

#define ROWS(run, name, rival, ...)                                         \
  BENCHMARK_CAPTURE(run, name, __VA_ARGS__)->Name(#name "/ours/2048x2048"); \
  BENCHMARK_CAPTURE(RunRival, name, Rival::rival)->Name(#name "/rival/2048x2048")

ROWS(RunInPlace, zepiWTFwd_B53_JPEG2K_16s_C1IR, kForward53, zepiWTFwd_B53_JPEG2K_16s_C1IR, true);
ROWS(RunInPlace, zepiWTInv_B53_JPEG2K_16s_C1IR, kInverse53, zepiWTInv_B53_JPEG2K_16s_C1IR, false);
ROWS(RunToPlanes, zepiWTFwd_B53_JPEG2K_16s_C1R, kForward53, zepiWTFwd_B53_JPEG2K_16s_C1R);
ROWS(RunFromPlanes, zepiWTInv_B53_JPEG2K_16s_C1R, kInverse53, zepiWTInv_B53_JPEG2K_16s_C1R);
ROWS(RunInPlace, zepiWTFwd_B53_JPEG2K_32s_C1IR, kForward53, zepiWTFwd_B53_JPEG2K_32s_C1IR, true);
ROWS(RunInPlace, zepiWTInv_B53_JPEG2K_32s_C1IR, kInverse53, zepiWTInv_B53_JPEG2K_32s_C1IR, false);
ROWS(RunToPlanes, zepiWTFwd_B53_JPEG2K_32s_C1R, kForward53, zepiWTFwd_B53_JPEG2K_32s_C1R);
ROWS(RunFromPlanes, zepiWTInv_B53_JPEG2K_32s_C1R, kInverse53, zepiWTInv_B53_JPEG2K_32s_C1R);

ROWS(RunInPlace, zepiWTFwd_D97_JPEG2K_16s_C1IR, kForward97, zepiWTFwd_D97_JPEG2K_16s_C1IR, true);
ROWS(RunInPlace, zepiWTInv_D97_JPEG2K_16s_C1IR, kInverse97, zepiWTInv_D97_JPEG2K_16s_C1IR, false);
ROWS(RunToPlanes, zepiWTFwd_D97_JPEG2K_16s_C1R, kForward97, zepiWTFwd_D97_JPEG2K_16s_C1R);
ROWS(RunFromPlanes, zepiWTInv_D97_JPEG2K_16s_C1R, kInverse97, zepiWTInv_D97_JPEG2K_16s_C1R);
ROWS(RunInPlace, zepiWTFwd_D97_JPEG2K_32s_C1IR, kForward97, zepiWTFwd_D97_JPEG2K_32s_C1IR, true);
ROWS(RunInPlace, zepiWTInv_D97_JPEG2K_32s_C1IR, kInverse97, zepiWTInv_D97_JPEG2K_32s_C1IR, false);
ROWS(RunToPlanes, zepiWTFwd_D97_JPEG2K_32s_C1R, kForward97, zepiWTFwd_D97_JPEG2K_32s_C1R);
ROWS(RunFromPlanes, zepiWTInv_D97_JPEG2K_32s_C1R, kInverse97, zepiWTInv_D97_JPEG2K_32s_C1R);

ROWS(RunSplits, zepiWTFwdCol_B53_JPEG2K_16s_C1R, kForward53, zepiWTFwdCol_B53_JPEG2K_16s_C1R,
     zepiWTFwdRow_B53_JPEG2K_16s_C1R);
ROWS(RunJoins, zepiWTInvCol_B53_JPEG2K_16s_C1R, kInverse53, zepiWTInvCol_B53_JPEG2K_16s_C1R,
     zepiWTInvRow_B53_JPEG2K_16s_C1R);
ROWS(RunSplits, zepiWTFwdCol_B53_JPEG2K_32s_C1R, kForward53, zepiWTFwdCol_B53_JPEG2K_32s_C1R,
     zepiWTFwdRow_B53_JPEG2K_32s_C1R);
ROWS(RunJoins, zepiWTInvCol_B53_JPEG2K_32s_C1R, kInverse53, zepiWTInvCol_B53_JPEG2K_32s_C1R,
     zepiWTInvRow_B53_JPEG2K_32s_C1R);
ROWS(RunSplits, zepiWTFwdCol_D97_JPEG2K_32f_C1R, kForward97, zepiWTFwdCol_D97_JPEG2K_32f_C1R,
     zepiWTFwdRow_D97_JPEG2K_32f_C1R);
ROWS(RunJoins, zepiWTInvCol_D97_JPEG2K_32f_C1R, kInverse97, zepiWTInvCol_D97_JPEG2K_32f_C1R,
     zepiWTInvRow_D97_JPEG2K_32f_C1R);

ROWS(RunLift53, zepiWTFwdColLift_B53_JPEG2K_16s_C1, kForward53, zepiWTFwdColLift_B53_JPEG2K_16s_C1,
     zepiWTFwdRow_B53_JPEG2K_16s_C1R);
ROWS(RunInverseLift53, zepiWTInvColLift_B53_JPEG2K_16s_C1, kInverse53,
     zepiWTInvColLift_B53_JPEG2K_16s_C1, zepiWTInvRow_B53_JPEG2K_16s_C1R);
ROWS(RunLift53, zepiWTFwdColLift_B53_JPEG2K_32s_C1, kForward53, zepiWTFwdColLift_B53_JPEG2K_32s_C1,
     zepiWTFwdRow_B53_JPEG2K_32s_C1R);
ROWS(RunInverseLift53, zepiWTInvColLift_B53_JPEG2K_32s_C1, kInverse53,
     zepiWTInvColLift_B53_JPEG2K_32s_C1, zepiWTInvRow_B53_JPEG2K_32s_C1R);
ROWS(RunLift97, zepiWTFwdColLift_D97_JPEG2K_16s_C1, kForward97, zepiWTFwdColLift_D97_JPEG2K_16s_C1,
     zepiWTFwdRow_D97_JPEG2K_16s_C1R);
ROWS(RunInverseLift97, zepiWTInvColLift_D97_JPEG2K_16s_C1, kInverse97,
     zepiWTInvColLift_D97_JPEG2K_16s_C1, zepiWTInvRow_D97_JPEG2K_16s_C1R);
ROWS(RunLift97, zepiWTFwdColLift_D97_JPEG2K_32s_C1, kForward97, zepiWTFwdColLift_D97_JPEG2K_32s_C1,
     zepiWTFwdRow_D97_JPEG2K_32s_C1R);
ROWS(RunInverseLift97, zepiWTInvColLift_D97_JPEG2K_32s_C1, kInverse97,
     zepiWTInvColLift_D97_JPEG2K_32s_C1, zepiWTInvRow_D97_JPEG2K_32s_C1R);
ROWS(RunLift97, zepiWTFwdColLift_D97_JPEG2K_32f_C1, kForward97, zepiWTFwdColLift_D97_JPEG2K_32f_C1,
     zepiWTFwdRow_D97_JPEG2K_32f_C1R);
ROWS(RunInverseLift97, zepiWTInvColLift_D97_JPEG2K_32f_C1, kInverse97,
     zepiWTInvColLift_D97_JPEG2K_32f_C1, zepiWTInvRow_D97_JPEG2K_32f_C1R);

}  // namespace
