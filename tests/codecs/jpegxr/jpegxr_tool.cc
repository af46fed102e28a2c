// SPDX-License-Identifier: MIT
// Pictures of plain samples to JPEG XR and back, for the test beside another implementation.
//
//   jpegxr_tool decode FILE SAMPLES [threads=N]
//   jpegxr_tool encode SAMPLES FILE size=WxH channels=N type=T [KEY=VALUE...]
//
// SAMPLES holds the pixels one after the other, wide samples lower byte first. T is 0 for 8 bits, 1 for 16,
// 2 and 3 for signed ones of 16 and 32, 4 for floats. decode prints a line for the picture, then the messages.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "codecs/jpegxr/decoder.h"
#include "codecs/jpegxr/encoder.h"

namespace jpegxr = zepcodec::jpegxr;

namespace {

using Bytes = std::vector<uint8_t>;
using Settings = std::map<std::string, std::string>;

Bytes ReadAll(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  if (!file) {
    std::fprintf(stderr, "%s cannot be read\n", name.c_str());
    std::exit(2);
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteAll(const std::string& name, const uint8_t* data, size_t size) {
  std::ofstream file(name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

int Number(const Settings& settings, const std::string& key, int otherwise) {
  const auto found = settings.find(key);
  return found == settings.end() ? otherwise : std::atoi(found->second.c_str());
}

// "64x32"; 0 and 0 without it.
void Pair(const Settings& settings, const std::string& key, int* first, int* second) {
  const auto found = settings.find(key);
  if (found == settings.end()) return;
  *first = std::atoi(found->second.c_str());
  *second = std::atoi(found->second.c_str() + found->second.find('x') + 1);
}

int Fail(const zepcodec::Status& status) {
  std::fprintf(stderr, "%s\n", status.text().c_str());
  return 1;
}

int DecodeFile(const std::string& from, const std::string& to, const Settings& settings) {
  const Bytes file = ReadAll(from);
  jpegxr::DecodeOptions options;
  options.threads = Number(settings, "threads", 0);
  zepcodec::Picture image;
  jpegxr::FileInfo info;
  const zepcodec::Status status = jpegxr::Decode(file.data(), file.size(), options, &image, &info);
  if (!status.ok()) return Fail(status);
  std::printf("%dx%d channels=%d type=%d\n", image.width(), image.height(), image.channels(),
              static_cast<int>(image.type()));
  for (const std::string& line : info.messages.Lines()) std::printf("message: %s\n", line.c_str());
  WriteAll(to, image.Row(0), image.SizeInBytes());
  return 0;
}

jpegxr::EncodeOptions OptionsOf(const Settings& settings) {
  jpegxr::EncodeOptions options;
  options.quantizer = Number(settings, "quantizer", 0);
  options.quality = Number(settings, "quality", options.quality);
  options.lossless = settings.count("quantizer") + settings.count("quality") == 0;
  options.overlap = static_cast<jpegxr::Overlap>(Number(settings, "overlap", 1));
  options.color = static_cast<jpegxr::ColorFormat>(Number(settings, "color", 3));
  options.bands = static_cast<jpegxr::Bands>(Number(settings, "bands", 0));
  options.is_frequency_order = Number(settings, "frequency", 0) != 0;
  options.has_hard_tiles = Number(settings, "hard", 0) != 0;
  options.trim = Number(settings, "trim", 0);
  options.shift = Number(settings, "shift", 0);
  options.mantissa = Number(settings, "mantissa", options.mantissa);
  options.exponent_bias = Number(settings, "bias", options.exponent_bias);
  options.threads = Number(settings, "threads", 0);
  Pair(settings, "tiles", &options.tile_width, &options.tile_height);
  return options;
}

int EncodeFile(const std::string& from, const std::string& to, const Settings& settings) {
  zepcodec::Picture image;
  int width = 0;
  int height = 0;
  Pair(settings, "size", &width, &height);
  const auto type = static_cast<zepcodec::SampleType>(Number(settings, "type", 0));
  const Bytes samples = ReadAll(from);
  if (!image.Resize(width, height, zepcodec::LayoutWithChannels(Number(settings, "channels", 1)),
                    type) ||
      samples.size() != image.SizeInBytes()) {
    std::fprintf(stderr, "the samples do not fit the size\n");
    return 1;
  }
  std::copy(samples.begin(), samples.end(), image.Row(0));
  zepcodec::ByteBuffer file;
  const zepcodec::Status status = jpegxr::Encode(image, OptionsOf(settings), &file);
  if (!status.ok()) return Fail(status);
  WriteAll(to, file.data(), file.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "jpegxr_tool decode|encode FROM TO [KEY=VALUE...]\n");
    return 2;
  }
  Settings settings;
  for (int i = 4; i < argc; ++i) {
    const std::string text = argv[i];
    const size_t equals = text.find('=');
    settings[text.substr(0, equals)] = equals == std::string::npos ? "" : text.substr(equals + 1);
  }
  const bool decodes = std::string(argv[1]) == "decode";
  return (decodes ? DecodeFile : EncodeFile)(argv[2], argv[3], settings);
}
