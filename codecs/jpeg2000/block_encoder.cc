// SPDX-License-Identifier: MIT
// Coefficients become magnitudes of up to 31 bits and a sign: integers of the reversible path as
// they are, reals divided by the quantizer step. Magnitudes are shifted so that the highest plane
// of the band is always bit 30; on the irreversible path the bits below the coded planes hold the
// fraction of a step, which only counts for the distortion.
//
// The library codes all passes, and tells the length and the squared error after each. A block can
// be truncated after any pass, but only truncations on the convex hull of distortion over length
// are worth considering: with falling slopes (distortion removed per byte), one threshold for the
// whole picture gives the best use of its bytes (rate_control.cc).
#include "codecs/jpeg2000/block_encoder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

namespace zepcodec::jpeg2000 {
namespace {

constexpr int kMagnitudeBits = 31;
constexpr int32_t kSign = std::numeric_limits<int32_t>::min();
constexpr float kMostMagnitude = 0x7FFFFF80;  // the largest below 2^31

// Keeps the cuts on the convex hull: each removes less distortion per byte than the one before it.
void AddToHull(EncodedBlock::Cut cut, std::vector<EncodedBlock::Cut>* hull) {
  while (true) {
    const bool is_first = hull->empty();
    const double gain = cut.distortion - (is_first ? 0 : hull->back().distortion);
    const size_t length = cut.length - (is_first ? 0 : hull->back().length);
    if (gain <= 0) return;
    cut.slope = gain / std::max(0.5, static_cast<double>(length));
    if (is_first || cut.slope < hull->back().slope) break;
    hull->pop_back();
  }
  hull->push_back(cut);
}

}  // namespace

BlockEncoder::BlockEncoder(zepiSize most)
    : samples_(static_cast<size_t>(most.width) * static_cast<size_t>(most.height)) {
  if (zepiEncodeInitAlloc_JPEG2K(&state_, most) != zepStatusOk) throw std::bad_alloc();
}

BlockEncoder::BlockEncoder(BlockEncoder&& other) noexcept
    : state_(std::exchange(other.state_, nullptr)), samples_(std::move(other.samples_)) {}

BlockEncoder::~BlockEncoder() {
  if (state_ != nullptr) zepiEncodeFree_JPEG2K(state_);
}

template <class T, class Magnitude>
void BlockEncoder::Quantize(const T* from, const BlockSource& source, const Magnitude& magnitude) {
  int32_t* to = samples_.data();
  for (int32_t y = 0; y < source.size.height; ++y, from += source.row_step) {
    for (int32_t x = 0; x < source.size.width; ++x) {
      *to++ = magnitude(from[x]) | (from[x] < 0 ? kSign : 0);
    }
  }
}

void BlockEncoder::StoreBytes(EncodedBlock* block) {
  block->bytes.resize(block->pass_ends.back());
  size_t stored = 0;
  int32_t unfinished = block->bytes.empty() ? 0 : 1;
  while (unfinished != 0 && stored < block->bytes.size()) {
    auto room = static_cast<int32_t>(block->bytes.size() - stored);
    zepiEncodeStoreBits_JPEG2K_1u(block->bytes.data() + stored, &room, state_, &unfinished);
    stored += static_cast<size_t>(room);
  }
}

void BlockEncoder::Encode(const BlockSource& source, int spare_planes, EncodedBlock* block) {
  *block = EncodedBlock();
  const int coded_planes = source.most_planes - spare_planes;
  // The library counts distortion in squared steps of the lowest plane.
  const double weight = std::ldexp(source.weight, 2 * spare_planes);
  const int shift = kMagnitudeBits - source.most_planes;
  if (source.integers != nullptr) {
    const int32_t most = (1 << source.most_planes) - 1;
    Quantize(source.integers, source,
             [&](int32_t v) { return std::min(std::abs(v), most) << shift; });
  } else {
    // Below the planes that are coded, the fraction of a step counts for the distortion.
    const auto scale = static_cast<float>(std::ldexp(1 / source.quantizer_step, shift));
    Quantize(source.reals, source, [&](float v) {
      return static_cast<int32_t>(std::min(std::fabs(v) * scale, kMostMagnitude));
    });
  }
  int32_t planes = 0, passes = 0, segments = 0;
  zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(samples_.data(), 4 * source.size.width, source.size,
                                         state_, source.orientation, coded_planes, 0, 0,
                                         source.style, &planes, &passes, &segments);
  if (passes == 0) return;
  block->zero_planes = kMagnitudeBits - planes;
  for (int32_t pass = 0; pass < passes; ++pass) {
    int32_t length = 0;
    zepiEncodeGetTermPassLen_JPEG2K(state_, pass, &length);
    block->pass_ends.push_back(static_cast<size_t>(length));
  }
  StoreBytes(block);
  for (int32_t pass = 0; pass < passes; ++pass) {
    const size_t length = block->pass_ends[size_t(pass)];
    // FF followed by a byte of 90 or more would look like a marker.
    if (length > 0 && block->bytes[length - 1] == 0xFF) continue;
    double distortion = 0;
    zepiEncodeGetDist_JPEG2K(state_, pass, &distortion);
    AddToHull({pass + 1, length, distortion * weight, 0}, &block->cuts);
  }
  if (block->cuts.empty() || block->cuts.back().passes < passes) {
    block->cuts.push_back({passes, block->bytes.size(), 0, 0});
  }
}

}  // namespace zepcodec::jpeg2000
