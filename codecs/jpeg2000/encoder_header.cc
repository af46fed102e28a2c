// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/encoder_header.h"

#include <algorithm>

#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/quantization.h"

namespace zepcodec::jpeg2000 {
namespace {

constexpr size_t kMostCodedComponents = 4;
constexpr int kMostTiles = 65535;
// The formats count in 32 bits, and so do the steps of the planes.
constexpr int32_t kMostSide = (1 << 28) - 1;

Status CheckComponents(const Image& image) {
  if (image.components.empty() || image.components.size() > kMostCodedComponents) {
    return Status::Error("pictures of 1 to 4 components can be written");
  }
  const bool has_area = image.x0 >= 0 && image.y0 >= 0 && image.x0 < image.x1 &&
                        image.y0 < image.y1 && image.x1 <= kMostSide && image.y1 <= kMostSide;
  if (!has_area) return Status::Error("the picture has no area, or too large a one");
  for (const Component& component : image.components) {
    if (component.bits < 1 || component.bits > kMostBits) {
      return Status::Error("components of 1 to 16 bits can be written");
    }
    if (component.dx < 1 || component.dx > 255 || component.dy < 1 || component.dy > 255) {
      return Status::Error("a component on a grid of more than 255");
    }
    const Rect area =
        ComponentArea({image.x0, image.y0, image.x1, image.y1}, component.dx, component.dy);
    if (area.empty() || area.width() != component.width || area.height() != component.height) {
      return Status::Error("a component that does not fit the area of the picture");
    }
  }
  return Status();
}

Status CheckOptions(const EncodeOptions& options) {
  const auto is_block_side = [](int log2) { return log2 >= 2 && log2 <= 10; };
  if (options.levels < 0 || options.levels > kMostLevels) {
    return Status::Error("up to 32 levels can be written");
  }
  if (!is_block_side(options.block_width_log2) || !is_block_side(options.block_height_log2) ||
      options.block_width_log2 + options.block_height_log2 > 12) {
    return Status::Error("code-blocks have sides of 4 to 1024 and up to 4096 samples");
  }
  if (options.block_style < 0 || options.block_style > 63) {
    return Status::Error("an unknown style of code-blocks");
  }
  if (options.layer_bytes.empty() || options.layer_bytes.size() > 65535) {
    return Status::Error("1 to 65535 layers can be written");
  }
  for (const EncodeOptions::PrecinctSize& size : options.precincts) {
    if (size.width_log2 < 1 || size.width_log2 > 15 || size.height_log2 < 1 ||
        size.height_log2 > 15) {
      return Status::Error("precincts have sides of 2 to 32768");
    }
  }
  if (!(options.base_step > 0)) return Status::Error("a step that is not above 0");
  return Status();
}

SizeSegment MakeSize(const Image& image, const EncodeOptions& options) {
  SizeSegment size;
  size.x0 = image.x0;
  size.y0 = image.y0;
  size.x1 = image.x1;
  size.y1 = image.y1;
  size.tile_x0 = options.tile_x0;
  size.tile_y0 = options.tile_y0;
  size.tile_width = options.tile_width > 0 ? options.tile_width : image.x1 - options.tile_x0;
  size.tile_height = options.tile_height > 0 ? options.tile_height : image.y1 - options.tile_y0;
  for (const Component& c : image.components) {
    size.components.push_back({c.bits, c.is_signed, c.dx, c.dy});
  }
  return size;
}

Status CheckTiles(const SizeSegment& size) {
  const auto is_good = [](int64_t origin, int64_t length, int64_t start) {
    return origin >= 0 && origin <= start && origin + length > start && length <= kMostSide;
  };
  if (!is_good(size.tile_x0, size.tile_width, size.x0) ||
      !is_good(size.tile_y0, size.tile_height, size.y0)) {
    return Status::Error("the first tile holds nothing of the picture");
  }
  const int64_t count = int64_t{size.TilesAcross()} * size.TilesDown();
  return count > kMostTiles ? Status::Error("more than 65535 tiles") : Status();
}

bool CanTransform(const Image& image) {
  const auto same = [&](const Component& c) {
    const Component& first = image.components[0];
    return c.dx == first.dx && c.dy == first.dy && c.bits == first.bits &&
           c.is_signed == first.is_signed;
  };
  return image.components.size() >= 3 &&
         std::all_of(image.components.begin(), image.components.begin() + 3, same);
}

ComponentCoding MakeCoding(const EncodeOptions& options) {
  ComponentCoding coding;
  coding.levels = options.levels;
  coding.block_width_log2 = options.block_width_log2;
  coding.block_height_log2 = options.block_height_log2;
  coding.block_style = options.block_style;
  coding.reversible = options.reversible;
  coding.precinct_width_log2.fill(15);
  coding.precinct_height_log2.fill(15);
  for (size_t down = 0; !options.precincts.empty() && down <= size_t(options.levels); ++down) {
    const auto& size = options.precincts[std::min(down, options.precincts.size() - 1)];
    const size_t resolution = size_t(options.levels) - down;
    coding.precinct_width_log2[resolution] = static_cast<uint8_t>(size.width_log2);
    coding.precinct_height_log2[resolution] = static_cast<uint8_t>(size.height_log2);
  }
  return coding;
}

Parameters MakeParameters(const Image& image, const EncodeOptions& options) {
  Parameters parameters;
  parameters.tile.uses_sop = options.uses_sop;
  parameters.tile.uses_eph = options.uses_eph;
  parameters.tile.order = options.order;
  parameters.tile.layers = static_cast<int>(options.layer_bytes.size());
  parameters.tile.transforms_components = options.transforms_components && CanTransform(image);
  const auto style =
      options.derived_steps ? QuantizationStyle::kDerived : QuantizationStyle::kExpounded;
  // Colour differences of integers take a bit more.
  const int extra_bits = parameters.tile.transforms_components ? 1 : 0;
  for (const Component& component : image.components) {
    Parameters::ForComponent made;
    made.coding = MakeCoding(options);
    made.quantization =
        MakeQuantization(style, made.coding, component.bits, extra_bits, options.base_step);
    parameters.components.push_back(made);
  }
  return parameters;
}

}  // namespace

Status MakeHeader(const Image& image, const EncodeOptions& options, SizeSegment* size,
                  Parameters* parameters) {
  Status status = CheckComponents(image);
  if (status.ok()) status = CheckOptions(options);
  if (!status.ok()) return status;
  *size = MakeSize(image, options);
  status = CheckTiles(*size);
  if (status.ok()) *parameters = MakeParameters(image, options);
  return status;
}

}  // namespace zepcodec::jpeg2000
