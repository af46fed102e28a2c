// SPDX-License-Identifier: MIT
// Whole photographs: the JPEG XR codec beside libjxr, one core, in the same run.
//   jpegxr_compare [--rounds N] FILE.jpg...
// For each photograph, lossless, quantized, and quantized with halved chroma, all with one stage of
// overlap: the times of encoding and decoding (both decode our codestream); the PSNR of each side's
// file, as decoded by libjxr; and the bytes.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "best_time.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/jpegxr/decoder.h"
#include "codecs/jpegxr/encoder.h"
#include "libjxr_codec.h"
#include "zepcore.h"

namespace jpeg = zepcodec::jpeg;
namespace jpegxr = zepcodec::jpegxr;

namespace {

constexpr int kQuantizer = 36;

void Require(const zepcodec::Status& status) {
  if (!status.ok()) throw std::runtime_error(status.text());
}

zepcodec::Picture ReadPhotograph(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::vector<char> file{std::istreambuf_iterator<char>(stream), {}};
  zepcodec::Picture image;
  jpeg::FileInfo info;
  Require(jpeg::Decode(reinterpret_cast<const uint8_t*>(file.data()), file.size(),
                       jpeg::DecodeOptions(), &image, &info));
  if (image.channels() != 3) throw std::runtime_error(path + " is not RGB");
  return image;
}

double Psnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    const double distance = a[i] - b[i];
    sum += distance * distance;
  }
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / sum);
}

struct Mode {
  const char* name;
  int quantizer;
  bool halves_chroma;
};
constexpr Mode kModes[] = {
    {"lossless", 1, false}, {"quant. 444", kQuantizer, false}, {"quant. 420", kQuantizer, true}};

// The codestream in a file of ours.
std::vector<uint8_t> CodestreamOf(const zepcodec::ByteBuffer& file) {
  const char signature[] = "WMPHOTO";
  const uint8_t* const end = file.data() + file.size();
  return {std::search(file.data(), end, signature, signature + sizeof(signature)), end};
}

void Compare(const std::string& path, const zepcodec::Picture& image, const Mode& mode,
             int rounds) {
  jpegxr::EncodeOptions options;
  options.lossless = mode.quantizer == 1;
  options.quantizer = mode.quantizer;
  if (mode.halves_chroma) options.color = jpegxr::ColorFormat::k420;
  options.threads = 1;
  rival::JxrOptions rival_options;
  rival_options.quantizer = mode.quantizer;
  rival_options.halves_chroma = mode.halves_chroma;
  jpegxr::DecodeOptions decode_options;
  decode_options.max_pixels = INT64_MAX;
  decode_options.threads = 1;

  const std::vector<uint8_t> samples(image.Row(0), image.Row(0) + image.SizeInBytes());
  BestTime encode[2];
  BestTime decode[2];
  zepcodec::ByteBuffer ours;
  std::vector<uint8_t> theirs;
  std::vector<uint8_t> codestream;
  for (int round = 0; round < rounds; ++round) {
    encode[0].Time([&] {
      zepcodec::PictureRows rows(image);
      Require(jpegxr::Encode(&rows, options, &ours));
    });
    encode[1].Time([&] {
      theirs = rival::EncodeJxr(image.Row(0), image.width(), image.height(), rival_options);
    });
    codestream = CodestreamOf(ours);
    decode[0].Time([&] {
      zepcodec::Picture decoded;
      jpegxr::FileInfo info;
      Require(
          jpegxr::Decode(codestream.data(), codestream.size(), decode_options, &decoded, &info));
    });
    decode[1].Time([&] { rival::DecodeJxr(&codestream, image.width(), image.height()); });
  }
  const double psnr[2] = {
      Psnr(samples, rival::DecodeJxr(&codestream, image.width(), image.height())),
      Psnr(samples, rival::DecodeJxr(&theirs, image.width(), image.height()))};
  const std::string name = path.substr(path.rfind('/') + 1);
  std::printf(
      "%-24.24s %-10s %5.1f  %7.0f %7.0f %5.2f  %7.0f %7.0f %5.2f  %6.2f %6.2f  %7.0f %7.0f\n",
      name.c_str(), mode.name, image.width() * 1e-6 * image.height(), encode[0].ms(),
      encode[1].ms(), encode[1].ms() / encode[0].ms(), decode[0].ms(), decode[1].ms(),
      decode[1].ms() / decode[0].ms(), psnr[0], psnr[1],
      static_cast<double>(codestream.size()) / 1000, static_cast<double>(theirs.size()) / 1000);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 3;
  zepSetNumThreads(1);  // threads that read the photographs would keep spinning
  std::printf("%-24s %-10s %5s  %21s  %21s  %13s  %15s\n", "", "", "", "encode, ms", "decode, ms",
              "PSNR, dB", "size, kB");
  std::printf("%-24s %-10s %5s  %7s %7s %5s  %7s %7s %5s  %6s %6s  %7s %7s\n", "file", "", "Mpix",
              "zepjp", "libjxr", "ratio", "zepjp", "libjxr", "ratio", "zepjp", "libjxr", "zepjp",
              "libjxr");
  try {
    for (int i = 1; i < argc; ++i) {
      if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
        rounds = std::max(1, std::atoi(argv[++i]));
        continue;
      }
      const zepcodec::Picture image = ReadPhotograph(argv[i]);
      for (const Mode& mode : kModes) Compare(argv[i], image, mode, rounds);
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
