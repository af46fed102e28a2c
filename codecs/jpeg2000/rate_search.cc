// SPDX-License-Identifier: MIT
// The PSNR of a file is known only after it was decoded, and grows with its size. So sizes are
// tried: from a pair of sizes, one too small and one large enough, the geometric mean is encoded
// and decoded, and replaces one of the two, up to ten times or until they are within half a
// percent.
#include "codecs/jpeg2000/rate_search.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "codecs/jpeg2000/decoder.h"

namespace zepcodec::jpeg2000 {
namespace {

// In dB, relative to the largest sample of each component.
double PsnrOf(const Image& original, const Image& decoded) {
  double sum = 0;
  double count = 0;
  for (size_t c = 0; c < original.components.size(); ++c) {
    const Component& a = original.components[c];
    const Component& b = decoded.components[c];
    const double most = (1 << a.bits) - 1;
    const int32_t lowest = a.is_signed ? -(1 << (a.bits - 1)) : 0;
    const int32_t highest = lowest + (1 << a.bits) - 1;
    for (size_t i = 0; i < a.samples.size(); ++i) {
      const int32_t value = std::min(std::max(b.samples[i], lowest), highest);
      const double error = (a.samples[i] - value) / most;
      sum += error * error;
    }
    count += static_cast<double>(a.samples.size());
  }
  if (sum == 0) return std::numeric_limits<double>::infinity();
  return 10 * std::log10(count / sum);
}

double BytesOfSamples(const Image& image) {
  double bytes = 0;
  for (const Component& component : image.components) {
    bytes += static_cast<double>(component.samples.size()) * (component.bits > 8 ? 2 : 1);
  }
  return bytes;
}

}  // namespace

Status EncodeToPsnr(double psnr, const Image& image, EncodeOptions options, ByteBuffer* file) {
  constexpr int kTries = 10;
  constexpr double kCloseEnough = 1.005;
  double enough = BytesOfSamples(image);
  double too_few = enough / 1000;
  options.layer_bytes = {0};
  Status status = Encode(image, options, file);
  for (int i = 0; i < kTries && status.ok() && enough > too_few * kCloseEnough; ++i) {
    const double bytes = std::sqrt(too_few * enough);
    options.layer_bytes = {static_cast<size_t>(bytes)};
    ByteBuffer tried;
    status = Encode(image, options, &tried);
    if (!status.ok()) return status;
    DecodeOptions decode;
    decode.max_pixels = INT64_MAX;
    decode.threads = options.threads;
    Image decoded;
    FileInfo info;
    status = Decode(tried.data(), tried.size(), decode, &decoded, &info);
    if (!status.ok()) return status;
    if (PsnrOf(image, decoded) < psnr) {
      too_few = bytes;
    } else {
      enough = bytes;
      *file = std::move(tried);
    }
  }
  return status;
}

}  // namespace zepcodec::jpeg2000
