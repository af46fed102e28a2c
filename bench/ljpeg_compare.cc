// SPDX-License-Identifier: MIT
// Whole photographs: the lossless JPEG codec beside dcmtk, one core, in the same run.
//   ljpeg_compare [--rounds N] FILE.jpg...
// For each photograph, as 8-bit RGB and as 12-bit grey (its green, with four bits of noise below):
// the times of encoding and decoding (both decode our file), and the bytes. Both make tables for
// the picture.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "best_time.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/lossless/codec.h"
#include "dcmtk_codec.h"
#include "zepcore.h"

namespace jpeg = zepcodec::jpeg;
namespace ljpeg = zepcodec::jpeg::lossless;

namespace {

void Require(const zepcodec::Status& status) {
  if (!status.ok()) throw std::runtime_error(status.text());
}

void Require(bool is_fine, const char* text) {
  if (!is_fine) throw std::runtime_error(text);
}

zepcodec::Picture ReadPhotograph(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::vector<char> file{std::istreambuf_iterator<char>(stream), {}};
  zepcodec::Picture image;
  jpeg::FileInfo info;
  Require(jpeg::Decode(reinterpret_cast<const uint8_t*>(file.data()), file.size(),
                       jpeg::DecodeOptions(), &image, &info));
  Require(image.channels() == 3, "not an RGB picture");
  return image;
}

zepcodec::Picture TwelveBits(const zepcodec::Picture& rgb) {
  zepcodec::Picture picture;
  Require(picture.Resize(rgb.width(), rgb.height(), zepcodec::PixelLayout::kGrey, 16), "no memory");
  std::mt19937 random(1);
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    picture.Set(i, rgb.Get(3 * i + 1) * 16 + static_cast<int>(random() & 15));
  }
  return picture;
}

void Compare(const std::string& path, const zepcodec::Picture& picture, int predictor, int rounds) {
  ljpeg::EncodeOptions options;
  options.predictor = predictor;
  ljpeg::DecodeOptions decode_options;
  decode_options.max_pixels = INT64_MAX;
  rival::DcmtkPicture theirs{picture.width(),
                             picture.height(),
                             picture.channels(),
                             picture.bits(),
                             {picture.Row(0), picture.Row(0) + picture.SizeInBytes()}};
  rival::DcmtkPicture decoded = theirs;
  BestTime encode[2];
  BestTime decode[2];
  zepcodec::ByteBuffer file;
  std::vector<uint8_t> their_file;
  zepcodec::Picture back;
  for (int round = 0; round < rounds; ++round) {
    encode[0].Time([&] { Require(ljpeg::Encode(picture, options, &file)); });
    encode[1].Time([&] { their_file = rival::EncodeDcmtk(&theirs, predictor); });
    std::vector<uint8_t> copy(file.data(), file.data() + file.size());
    decode[0].Time([&] {
      ljpeg::FileInfo info;
      Require(ljpeg::Decode(file.data(), file.size(), decode_options, &back, &info));
    });
    decode[1].Time([&] { rival::DecodeDcmtk(&copy, &decoded); });
  }
  Require(std::equal(theirs.bytes.begin(), theirs.bytes.end(), back.Row(0)), "our samples differ");
  Require(decoded.bytes == theirs.bytes, "dcmtk's samples differ");
  const std::string name = path.substr(path.rfind('/') + 1);
  std::printf("%-24.24s %-7s %d %5.1f  %7.1f %7.1f %5.2f  %7.1f %7.1f %5.2f  %8.0f %8.0f\n",
              name.c_str(), picture.channels() == 3 ? "RGB 8" : "grey 12", predictor,
              picture.width() * 1e-6 * picture.height(), encode[0].ms(), encode[1].ms(),
              encode[1].ms() / encode[0].ms(), decode[0].ms(), decode[1].ms(),
              decode[1].ms() / decode[0].ms(), static_cast<double>(file.size()) / 1000,
              static_cast<double>(their_file.size()) / 1000);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 3;
  zepSetNumThreads(1);  // threads that read the photographs would keep spinning
  std::printf("%-24s %-7s %1s %5s  %21s  %21s  %17s\n", "", "", "", "", "encode, ms", "decode, ms",
              "size, kB");
  std::printf("%-24s %-7s %1s %5s  %7s %7s %5s  %7s %7s %5s  %8s %8s\n", "file", "", "p", "Mpix",
              "zepjp", "dcmtk", "ratio", "zepjp", "dcmtk", "ratio", "zepjp", "dcmtk");
  try {
    for (int i = 1; i < argc; ++i) {
      if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
        rounds = std::max(1, std::atoi(argv[++i]));
        continue;
      }
      const zepcodec::Picture rgb = ReadPhotograph(argv[i]);
      const zepcodec::Picture grey = TwelveBits(rgb);
      for (const int predictor : {1, 4, 7}) {
        Compare(argv[i], rgb, predictor, rounds);
        Compare(argv[i], grey, predictor, rounds);
      }
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
