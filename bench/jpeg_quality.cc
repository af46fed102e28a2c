// SPDX-License-Identifier: MIT
// The quality of JPEG files at equal size: this project's encoder beside libjpeg-turbo's.
//   jpeg_quality FILE.jpg...
// Each picture is first reduced to half its size (means of 2 x 2 pixels), which removes traces of
// the compression of its file. libjpeg-turbo (accurate integer transform, 4:2:0) encodes it at the
// qualities around the given one; between these its PSNR is interpolated over the logarithm of the
// size. The result is our PSNR minus that of libjpeg-turbo at the same size, averaged over the
// pictures. PSNR is over all RGB samples, as decoded by libjpeg-turbo.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "codecs/jpeg/encoder.h"
#include "tests/codecs/jpeg/libjpeg_codec.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using libjpeg_codec::Bytes;
using zepcodec::Picture;

constexpr int kQualities[] = {20, 30, 40, 50, 75, 85, 90, 95};
constexpr int kReach = 2;  // qualities of the peer above and below ours
constexpr jpeg::ForwardDct kTransforms[] = {jpeg::ForwardDct::kFast, jpeg::ForwardDct::kPrecise,
                                            jpeg::ForwardDct::kAutomatic};

struct Point {
  double log_size;
  double psnr;
};

double Psnr(const Picture& a, const Picture& b) {
  double sum = 0;
  for (int y = 0; y < a.height(); ++y) {
    for (size_t i = 0; i < a.Stride(); ++i) {
      const int distance = a.Row(y)[i] - b.Row(y)[i];
      sum += distance * distance;
    }
  }
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.SizeInBytes()) / std::max(1.0, sum));
}

Point PointOf(const Picture& picture, const Bytes& file) {
  return {std::log(static_cast<double>(file.size())),
          Psnr(picture, libjpeg_codec::Decompress(file))};
}

Picture ReadHalf(const char* path) {
  std::ifstream in(path, std::ios::binary);
  const Bytes file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const Picture full = libjpeg_codec::Decompress(file);
  Picture half;
  if (!half.Resize(full.width() / 2, full.height() / 2, full.layout())) std::abort();
  const size_t channels = static_cast<size_t>(full.channels());
  for (int y = 0; y < half.height(); ++y) {
    for (size_t i = 0; i < half.Stride(); ++i) {
      const size_t x = i / channels * 2 * channels + i % channels;
      const uint8_t* above = full.Row(2 * y) + x;
      const uint8_t* below = full.Row(2 * y + 1) + x;
      const int sum = above[0] + above[channels] + below[0] + below[channels];
      half.Row(y)[i] = static_cast<uint8_t>((sum + 2) / 4);
    }
  }
  return half;
}

Point Ours(const Picture& picture, int quality, jpeg::ForwardDct forward_dct) {
  jpeg::EncodeOptions options;
  options.quality = quality;
  options.forward_dct = forward_dct;
  zepcodec::ByteBuffer file;
  const zepcodec::Status status = jpeg::Encode(picture, options, &file);
  if (!status.ok()) throw std::runtime_error(status.text());
  return PointOf(picture, Bytes(file.data(), file.data() + file.size()));
}

std::vector<Point> Rival(const Picture& picture, int quality) {
  std::vector<Point> curve;
  for (int q = quality - kReach; q <= quality + kReach; ++q) {
    libjpeg_codec::Settings settings;
    settings.quality = q;
    curve.push_back(PointOf(picture, libjpeg_codec::Compress(picture, settings)));
  }
  return curve;
}

double PsnrAt(const std::vector<Point>& curve, double log_size) {
  size_t i = 1;
  while (i + 1 < curve.size() && curve[i].log_size < log_size) ++i;
  const Point& a = curve[i - 1];
  const Point& b = curve[i];
  return a.psnr + (b.psnr - a.psnr) * (log_size - a.log_size) / (b.log_size - a.log_size);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  std::printf("PSNR less libjpeg-turbo's at the same size, dB (mean of %d pictures; the worst)\n",
              argc - 1);
  std::printf("quality          fast          precise        automatic\n");
  try {
    std::vector<Picture> pictures;
    for (int i = 1; i < argc; ++i) pictures.push_back(ReadHalf(argv[i]));
    for (const int quality : kQualities) {
      double sum[3] = {};
      double worst[3] = {1e9, 1e9, 1e9};
      for (const Picture& picture : pictures) {
        const std::vector<Point> curve = Rival(picture, quality);
        for (size_t i = 0; i < 3; ++i) {
          const Point ours = Ours(picture, quality, kTransforms[i]);
          const double gain = ours.psnr - PsnrAt(curve, ours.log_size);
          sum[i] += gain;
          worst[i] = std::min(worst[i], gain);
        }
      }
      const double count = argc - 1;
      std::printf("%7d   %+6.3f %+6.3f    %+6.3f %+6.3f    %+6.3f %+6.3f\n", quality,
                  sum[0] / count, worst[0], sum[1] / count, worst[1], sum[2] / count, worst[2]);
      std::fflush(stdout);
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
