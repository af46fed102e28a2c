// SPDX-License-Identifier: MIT
// Pictures of plain samples to JPEG XR and back, for the test beside another implementation.
//
//   jpegxr_tool decode FILE SAMPLES [threads=N]
//   jpegxr_tool encode SAMPLES FILE size=WxH channels=N type=T [KEY=VALUE...]
//
// SAMPLES holds the pixels one after the other, wide samples lower byte first. T is 0 for 8 bits, 1
// for 16, 2 and 3 for signed ones of 16 and 32, 4 for halves, 5 for floats. decode prints a line
// for the picture, then the messages.
#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

#include "codecs/jpegxr/decoder.h"
#include "codecs/jpegxr/encoder.h"
#include "tests/codecs/support/sample_tool.h"

namespace jpegxr = zepcodec::jpegxr;

namespace {

using sample_tool::Bytes;
using sample_tool::Fail;
using sample_tool::Number;
using sample_tool::ReadAll;
using sample_tool::Settings;
using sample_tool::WriteAll;

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
  for (const auto& [width, height] : sample_tool::Pairs(settings, "tiles")) {
    options.tile_width = width;
    options.tile_height = height;
  }
  return options;
}

int EncodeFile(const std::string& from, const std::string& to, const Settings& settings) {
  zepcodec::Picture image;
  std::pair<int, int> size;
  for (const auto& pair : sample_tool::Pairs(settings, "size")) size = pair;
  const auto type = static_cast<zepcodec::SampleType>(Number(settings, "type", 0));
  const Bytes samples = ReadAll(from);
  if (!image.Resize(size.first, size.second,
                    zepcodec::LayoutWithChannels(Number(settings, "channels", 1)), type) ||
      samples.size() != image.SizeInBytes()) {
    std::fprintf(stderr, "the samples do not fit the size\n");
    return 1;
  }
  std::copy(samples.begin(), samples.end(), image.Row(0));
  zepcodec::ByteBuffer file;
  zepcodec::PictureRows rows(image);
  const zepcodec::Status status = jpegxr::Encode(&rows, OptionsOf(settings), &file);
  if (!status.ok()) return Fail(status);
  WriteAll(to, file.data(), file.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) { return sample_tool::Main(argc, argv, DecodeFile, EncodeFile); }
