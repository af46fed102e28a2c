// SPDX-License-Identifier: MIT
// Pictures of plain samples to JPEG 2000 and back, for the test beside another implementation.
//
//   jpeg2000_tool decode FILE SAMPLES [reduce=N] [layers=N]
//   jpeg2000_tool encode SAMPLES FILE size=WxH bits=N [signed=1] [grids=1x1,2x2,2x2] [KEY=VALUE...]
//
// SAMPLES holds the components one after the other, a byte for a sample or, above 8 bits, two, the
// lower first. decode prints a line for each component, then the messages.
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "codecs/jpeg2000/decoder.h"
#include "codecs/jpeg2000/encoder.h"
#include "tests/codecs/support/sample_tool.h"

namespace jpeg2000 = zepcodec::jpeg2000;

namespace {

using sample_tool::Bytes;
using sample_tool::Number;
using sample_tool::Pairs;
using sample_tool::Settings;

int Log2(int value) {
  int log = 0;
  while ((1 << log) < value) ++log;
  return log;
}

int DecodeFile(const std::string& from, const std::string& to, const Settings& settings) {
  const Bytes file = sample_tool::ReadAll(from);
  jpeg2000::DecodeOptions options;
  options.reduce = Number(settings, "reduce", 0);
  options.layers = Number(settings, "layers", 0);
  options.threads = Number(settings, "threads", 0);
  jpeg2000::Image image;
  jpeg2000::FileInfo info;
  const zepcodec::Status status =
      jpeg2000::Decode(file.data(), file.size(), options, &image, &info);
  if (!status.ok()) return sample_tool::Fail(status);
  Bytes samples;
  for (const jpeg2000::Component& component : image.components) {
    std::printf("%dx%d bits=%d signed=%d grid=%dx%d\n", component.width, component.height,
                component.bits, component.is_signed, component.dx, component.dy);
    for (const int32_t sample : component.samples) {
      samples.push_back(static_cast<uint8_t>(sample));
      if (component.bits > 8) samples.push_back(static_cast<uint8_t>(sample >> 8));
    }
  }
  for (const std::string& line : info.messages.Lines()) std::printf("message: %s\n", line.c_str());
  sample_tool::WriteAll(to, samples.data(), samples.size());
  return 0;
}

void MakeComponents(const Settings& settings, const Bytes& samples, jpeg2000::Image* image) {
  std::vector<std::pair<int, int>> grids = Pairs(settings, "grids");
  if (grids.empty()) grids.assign(1, {1, 1});
  size_t next = 0;
  const auto ceil_divide = [](int value, int divisor) { return (value + divisor - 1) / divisor; };
  for (const auto& [dx, dy] : grids) {
    jpeg2000::Component component;
    component.dx = dx;
    component.dy = dy;
    component.width = ceil_divide(image->x1, dx) - ceil_divide(image->x0, dx);
    component.height = ceil_divide(image->y1, dy) - ceil_divide(image->y0, dy);
    component.bits = Number(settings, "bits", 8);
    component.is_signed = Number(settings, "signed", 0) != 0;
    const size_t count = size_t(component.width) * size_t(component.height);
    const bool is_wide = component.bits > 8;
    for (size_t i = 0; i < count && next + (is_wide ? 1 : 0) < samples.size(); ++i) {
      int32_t value = samples[next++];
      if (is_wide) value |= samples[next++] << 8;
      if (component.is_signed) {
        value = is_wide ? static_cast<int16_t>(value) : static_cast<int8_t>(value);
      }
      component.samples.push_back(value);
    }
    image->components.push_back(component);
  }
}

jpeg2000::EncodeOptions OptionsOf(const Settings& settings, const std::string& file_name) {
  jpeg2000::EncodeOptions options;
  options.is_jp2 = file_name.size() > 4 && file_name.substr(file_name.size() - 4) == ".jp2";
  options.reversible = Number(settings, "lossy", 0) == 0;
  options.levels = Number(settings, "levels", options.levels);
  options.block_style = Number(settings, "style", 0);
  options.order = static_cast<jpeg2000::Progression>(Number(settings, "order", 0));
  options.uses_sop = Number(settings, "sop", 0) != 0;
  options.uses_eph = Number(settings, "eph", 0) != 0;
  options.transforms_components = Number(settings, "mct", 1) != 0;
  options.derived_steps = Number(settings, "derived", 0) != 0;
  options.threads = Number(settings, "threads", 0);
  for (const auto& [width, height] : Pairs(settings, "block")) {
    options.block_width_log2 = Log2(width);
    options.block_height_log2 = Log2(height);
  }
  for (const auto& [width, height] : Pairs(settings, "tile")) {
    options.tile_width = width;
    options.tile_height = height;
  }
  for (const auto& [x, y] : Pairs(settings, "tile-origin")) {
    options.tile_x0 = x;
    options.tile_y0 = y;
  }
  for (const auto& [width, height] : Pairs(settings, "precincts")) {
    options.precincts.push_back({Log2(width), Log2(height)});
  }
  const auto step = settings.find("step");
  if (step != settings.end()) options.base_step = std::atof(step->second.c_str());
  const auto layers = settings.find("layers");
  if (layers != settings.end()) {
    options.layer_bytes.clear();
    std::istringstream text(layers->second);
    std::string item;
    while (std::getline(text, item, ',')) {
      options.layer_bytes.push_back(static_cast<size_t>(std::atol(item.c_str())));
    }
  }
  return options;
}

int EncodeFile(const std::string& from, const std::string& to, const Settings& settings) {
  jpeg2000::Image image;
  for (const auto& [x, y] : Pairs(settings, "origin")) {
    image.x0 = x;
    image.y0 = y;
  }
  for (const auto& [width, height] : Pairs(settings, "size")) {
    image.x1 = image.x0 + width;
    image.y1 = image.y0 + height;
  }
  MakeComponents(settings, sample_tool::ReadAll(from), &image);
  image.color =
      image.components.size() < 3 ? jpeg2000::ColorSpace::kGrey : jpeg2000::ColorSpace::kRgb;
  zepcodec::ByteBuffer file;
  const zepcodec::Status status = jpeg2000::Encode(image, OptionsOf(settings, to), &file);
  if (!status.ok()) return sample_tool::Fail(status);
  sample_tool::WriteAll(to, file.data(), file.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) { return sample_tool::Main(argc, argv, DecodeFile, EncodeFile); }
