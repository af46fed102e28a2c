// SPDX-License-Identifier: MIT
#include "jpeg2000/block_decoder.h"

#include <algorithm>

namespace jpeg2000 {
namespace {

constexpr int kConceal = 0x10000;
constexpr int kKeepMidpoints = 0x40000;
constexpr int kMostDecodedPlanes = 31;
constexpr uint32_t kSign = 0x80000000;
// Far beyond what a picture gives.
constexpr uint64_t kMostInteger = 1 << 29;

// A magnitude in half steps. Samples of the region of interest were shifted above all others; what lies
// between two of their values is again half a step.
uint64_t Unshift(uint64_t halves, int roi_shift) {
  if (roi_shift == 0 || halves >> (roi_shift + 1) == 0) return halves;
  const uint64_t rest = halves & ((uint64_t{1} << roi_shift) - 1);
  return halves >> roi_shift | (rest != 0 ? 1 : 0);
}

}  // namespace

BlockDecoder::BlockDecoder(zepiSize most) {
  int32_t size = 0;
  zepiDecodeGetBufSize_JPEG2K(most, &size);
  state_.resize(static_cast<size_t>(size));
  samples_.resize(static_cast<size_t>(most.width) * static_cast<size_t>(most.height));
}

// `lost` planes lie below the decoded ones.
void BlockDecoder::Dequantize(const BlockJob& job, int lost) {
  const double scale = job.quantizer_step / 2;
  const int32_t* from = samples_.data();
  for (int64_t y = 0; y < job.size.height; ++y) {
    for (int64_t x = y * job.row_step; x < y * job.row_step + job.size.width; ++x) {
      const auto coded = static_cast<uint32_t>(*from++);
      const uint64_t halves =
          Unshift(uint64_t{coded & ~kSign} << std::min(lost, 32), job.roi_shift);
      const bool negative = (coded & kSign) != 0;
      if (job.reversible) {
        const auto value = static_cast<int32_t>(std::min(halves >> 1, kMostInteger));
        job.integers[x] = negative ? -value : value;
      } else {
        const double value = static_cast<double>(halves) * scale;
        job.reals[x] = static_cast<float>(negative ? -value : value);
      }
    }
  }
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
      bytes_.data(), samples_.data(), 4 * job.size.width, job.size, job.orientation, decoded,
      passes_, lengths_.data(), static_cast<int32_t>(lengths_.size()),
      job.style | kConceal | kKeepMidpoints, nullptr, state_.data());
  Dequantize(job, planes - decoded);
  return status == zepStatusOk;
}

}  // namespace jpeg2000
