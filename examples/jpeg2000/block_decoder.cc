// SPDX-License-Identifier: MIT
#include "jpeg2000/block_decoder.h"

#include <algorithm>
#include <cmath>

namespace jpeg2000 {
namespace {

constexpr int kConceal = 0x10000;
constexpr int kKeepMidpoints = 0x40000;
constexpr int kMostDecodedPlanes = 31;
constexpr uint32_t kSign = 0x80000000;
// Far beyond what a picture gives, and low enough for the sums of a transform.
constexpr double kMostValue = 1 << 29;

// A magnitude in half steps. Samples of the region of interest were shifted above all others; what lies
// between two of their values is again half a step.
uint64_t Unshift(uint64_t halves, int roi_shift) {
  if (roi_shift == 0 || halves >> (roi_shift + 1) == 0) return halves;
  const uint64_t rest = halves & ((uint64_t{1} << roi_shift) - 1);
  return halves >> roi_shift | (rest != 0 ? 1 : 0);
}

// In place; `lost` planes lie below the decoded ones.
void Dequantize(const BlockJob& job, int lost) {
  const double scale = job.scale / 2;
  for (int32_t y = 0; y < job.size.height; ++y) {
    int32_t* row = job.to + ptrdiff_t{job.step / 4} * y;
    for (int32_t x = 0; x < job.size.width; ++x) {
      const auto coded = static_cast<uint32_t>(row[x]);
      if (coded == 0) continue;
      const uint64_t halves =
          Unshift(uint64_t{coded & ~kSign} << std::min(lost, 32), job.roi_shift);
      double value = job.reversible ? static_cast<double>(halves >> 1)
                                    : std::floor(static_cast<double>(halves) * scale + 0.5);
      value = std::min(value, kMostValue);
      row[x] = static_cast<int32_t>((coded & kSign) != 0 ? -value : value);
    }
  }
}

}  // namespace

BlockDecoder::BlockDecoder(zepiSize most) {
  int32_t size = 0;
  zepiDecodeGetBufSize_JPEG2K(most, &size);
  state_.resize(static_cast<size_t>(size));
}

void BlockDecoder::Gather(const CodedBlock& block, int most_passes) {
  bytes_.clear();
  lengths_.clear();
  passes_ = 0;
  for (const Span& span : block.spans) {
    bytes_.insert(bytes_.end(), span.data, span.data + span.size);
  }
  for (const Segment& segment : block.segments) {
    if (passes_ >= most_passes) break;
    passes_ = std::min(passes_ + segment.passes, most_passes);
    lengths_.push_back(static_cast<int32_t>(segment.length));
  }
  bytes_.push_back(0);  // so that there is a pointer to it
}

bool BlockDecoder::Decode(const BlockJob& job) {
  // One plane more, for the half steps.
  const int planes = job.most_planes - job.block->zero_planes + 1;
  const int decoded = std::min(planes, kMostDecodedPlanes);
  Gather(*job.block, 3 * decoded - 2);
  const zepStatus status = zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(
      bytes_.data(), job.to, job.step, job.size, job.orientation, decoded, passes_, lengths_.data(),
      static_cast<int32_t>(lengths_.size()), job.style | kConceal | kKeepMidpoints, nullptr,
      state_.data());
  Dequantize(job, planes - decoded);
  return status == zepStatusOk;
}

}  // namespace jpeg2000
