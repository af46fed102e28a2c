// SPDX-License-Identifier: MIT
// Whole photographs: the JPEG 2000 codec beside OpenJPEG, one core, in the same run.
//   jpeg2000_compare [--rounds N] FILE.jpg...
// For each photograph, lossless (5/3) and at 20:1 (9/7): the times of encoding and decoding, where
// each side decodes its own codestream; the bytes; and the PSNR as decoded by OpenJPEG.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "best_time.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg2000/decoder.h"
#include "codecs/jpeg2000/encoder.h"
#include "openjpeg_codec.h"
#include "zepcore.h"

namespace jpeg = zepcodec::jpeg;
namespace jpeg2000 = zepcodec::jpeg2000;

namespace {

constexpr double kRatio = 20;

void Require(const zepcodec::Status& status) {
  if (!status.ok()) throw std::runtime_error(status.text());
}

rival::Picture ReadPhotograph(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::vector<char> file{std::istreambuf_iterator<char>(stream), {}};
  zepcodec::Picture image;
  jpeg::FileInfo info;
  Require(jpeg::Decode(reinterpret_cast<const uint8_t*>(file.data()), file.size(),
                       jpeg::DecodeOptions(), &image, &info));
  rival::Picture picture;
  picture.width = image.width();
  picture.height = image.height();
  const auto channels = static_cast<size_t>(image.channels());
  picture.planes.resize(channels);
  for (size_t i = 0; i < image.SizeInBytes(); ++i) {
    picture.planes[i % channels].push_back(image.Row(0)[i]);
  }
  return picture;
}

jpeg2000::Image ToOurs(const rival::Picture& picture) {
  jpeg2000::Image image;
  image.x1 = picture.width;
  image.y1 = picture.height;
  for (const std::vector<int32_t>& plane : picture.planes) {
    jpeg2000::Component component;
    component.width = picture.width;
    component.height = picture.height;
    component.samples.assign(plane.begin(), plane.end());
    image.components.push_back(std::move(component));
  }
  return image;
}

double Psnr(const rival::Picture& a, const rival::Picture& b) {
  double sum = 0;
  double count = 0;
  for (size_t i = 0; i < a.planes.size(); ++i) {
    for (size_t j = 0; j < a.planes[i].size(); ++j) {
      const double distance = a.planes[i][j] - b.planes[i][j];
      sum += distance * distance;
    }
    count += static_cast<double>(a.planes[i].size());
  }
  return 10 * std::log10(255.0 * 255.0 * count / sum);
}

void Compare(const std::string& path, bool is_lossless, int rounds) {
  const rival::Picture picture = ReadPhotograph(path);
  const jpeg2000::Image image = ToOurs(picture);
  const double bytes =
      static_cast<double>(picture.planes.size() * picture.planes[0].size()) / kRatio;
  jpeg2000::EncodeOptions options;
  options.is_jp2 = false;
  options.reversible = is_lossless;
  options.threads = 1;
  if (!is_lossless) options.layer_bytes = {static_cast<size_t>(bytes)};
  rival::Options rival_options;
  rival_options.is_reversible = is_lossless;
  if (!is_lossless) rival_options.ratio = kRatio;
  jpeg2000::DecodeOptions decode_options;
  decode_options.max_pixels = INT64_MAX;
  decode_options.threads = 1;

  BestTime encode[2];
  BestTime decode[2];
  zepcodec::ByteBuffer ours;
  std::vector<uint8_t> theirs;
  for (int round = 0; round < rounds; ++round) {
    encode[0].Time([&] { Require(jpeg2000::Encode(image, options, &ours)); });
    encode[1].Time([&] { theirs = rival::Encode(picture, rival_options); });
    decode[0].Time([&] {
      jpeg2000::Image decoded;
      jpeg2000::FileInfo info;
      Require(jpeg2000::Decode(ours.data(), ours.size(), decode_options, &decoded, &info));
    });
    decode[1].Time([&] { rival::Decode(&theirs); });
  }
  std::vector<uint8_t> copy(ours.data(), ours.data() + ours.size());
  const std::string name = path.substr(path.rfind('/') + 1);
  std::printf(
      "%-28.28s %-8s %5.1f  %7.0f %7.0f %5.2f  %7.0f %7.0f %5.2f  %6.2f %6.2f  %7.0f %7.0f\n",
      name.c_str(), is_lossless ? "lossless" : "20:1", picture.width * 1e-6 * picture.height,
      encode[0].ms(), encode[1].ms(), encode[1].ms() / encode[0].ms(), decode[0].ms(),
      decode[1].ms(), decode[1].ms() / decode[0].ms(), Psnr(picture, rival::Decode(&copy)),
      Psnr(picture, rival::Decode(&theirs)), static_cast<double>(ours.size()) / 1000,
      static_cast<double>(theirs.size()) / 1000);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 3;
  zepSetNumThreads(1);  // threads that read the photographs would keep spinning
  std::printf("%-28s %-8s %5s  %21s  %21s  %13s  %15s\n", "", "", "", "encode, ms", "decode, ms",
              "PSNR, dB", "size, kB");
  std::printf("%-28s %-8s %5s  %7s %7s %5s  %7s %7s %5s  %6s %6s  %7s %7s\n", "file", "", "Mpix",
              "zepjp", "OpenJ.", "ratio", "zepjp", "OpenJ.", "ratio", "zepjp", "OpenJ.", "zepjp",
              "OpenJ.");
  try {
    for (int i = 1; i < argc; ++i) {
      if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
        rounds = std::max(1, std::atoi(argv[++i]));
        continue;
      }
      for (const bool is_lossless : {true, false}) Compare(argv[i], is_lossless, rounds);
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
