// SPDX-License-Identifier: MIT
// The library decodes to sign and magnitude with midpoint reconstruction: one extra plane at the
// bottom holds the half step, so magnitudes are counted in half steps here. The decoder has 31
// planes. A block can have more with a region of interest (up to 37 more, by its shift); then the
// lowest planes are not decoded, and magnitudes are widened to 64 bits until the shift is undone.
//
// Values are stored where the wavelet reads them: integers for the reversible path, reals times the
// quantizer step for the irreversible one.
#include "codecs/jpeg2000/block_decoder.h"

#include <algorithm>

namespace zepcodec::jpeg2000 {
namespace {

constexpr int kConceal = 0x10000;
constexpr int kKeepMidpoints = 0x40000;
constexpr int kMostDecodedPlanes = 31;
constexpr int32_t kMagnitude = 0x7FFFFFFF;
constexpr uint64_t kMostHalves = 1 << 30;  // far above the coefficients of a picture

// A magnitude in half steps. Coefficients of the region of interest were shifted above all others;
// a remainder below a half step counts as one half step.
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

template <class T, class Value>
void BlockDecoder::Store(const BlockJob& job, T* to, const Value& value) const {
  const int32_t* from = samples_.data() + job.part.y0 * job.size.width + job.part.x0;
  for (int64_t y = 0; y < job.part.height(); ++y, to += job.row_step, from += job.size.width) {
    for (int64_t x = 0; x < job.part.width(); ++x) {
      const T magnitude = value(from[x] & kMagnitude);
      to[x] = from[x] < 0 ? -magnitude : magnitude;
    }
  }
}

// `lost`: the number of planes below the decoded ones.
void BlockDecoder::Dequantize(const BlockJob& job, int lost) const {
  const auto scale = static_cast<float>(job.quantizer_step / 2);
  const bool is_plain = lost == 0 && job.roi_shift == 0;
  const auto halves = [&](int32_t coded) {
    const auto bits = static_cast<uint64_t>(coded) << std::min(lost, 32);
    return std::min(Unshift(bits, job.roi_shift), kMostHalves);
  };
  if (job.reversible && is_plain) {
    Store(job, job.integers, [](int32_t coded) { return coded >> 1; });
  } else if (job.reversible) {
    Store(job, job.integers,
          [&](int32_t coded) { return static_cast<int32_t>(halves(coded) / 2); });
  } else if (is_plain) {
    Store(job, job.reals, [scale](int32_t coded) { return static_cast<float>(coded) * scale; });
  } else {
    Store(job, job.reals, [&](int32_t coded) { return static_cast<float>(halves(coded)) * scale; });
  }
}

void BlockDecoder::Gather(const CodedBlock::Kept& block, int most_passes) {
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
  bytes_.push_back(0);  // the library wants a pointer, also for no bytes
}

bool BlockDecoder::Decode(const BlockJob& job) {
  // One extra plane for the half steps. Some encoders write more passes than the planes have; these
  // are ignored.
  const int planes = job.most_planes - job.block->zero_planes + 1;
  const int decoded = std::min(planes, kMostDecodedPlanes);
  const int coded = std::min(planes - 1, decoded);
  if (coded < 1) return true;
  Gather(*job.block->kept, 3 * coded - 2);
  const zepStatus status = zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(
      bytes_.data(), samples_.data(), 4 * job.size.width, job.size, job.orientation, decoded,
      passes_, lengths_.data(), static_cast<int32_t>(lengths_.size()),
      job.style | kConceal | kKeepMidpoints, nullptr, state_.data());
  Dequantize(job, planes - decoded);
  return status == zepStatusOk;
}

}  // namespace zepcodec::jpeg2000
