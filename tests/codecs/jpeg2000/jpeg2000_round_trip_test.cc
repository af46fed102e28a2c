// SPDX-License-Identifier: MIT
// What the JPEG 2000 encoder writes, the decoder reads.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/header_bits.h"
#include "codecs/jpeg2000/packet_reader.h"
#include "codecs/jpeg2000/passes.h"
#include "codecs/jpeg2000/progression.h"
#include "codecs/jpeg2000/tag_tree.h"
#include "tests/codecs/jpeg2000/jpeg2000_files.h"
#include "tests/codecs/jpeg2000/jpeg2000_sample.h"

namespace jpeg2000 = zepcodec::jpeg2000;

namespace {

using jpeg2000::EncodeOptions;
using jpeg2000::Image;
using jpeg2000::Progression;
using jpeg2000_files::Behind;
using jpeg2000_files::Bytes;
using jpeg2000_files::Decode;
using jpeg2000_files::DecodeGood;
using jpeg2000_files::Difference;
using jpeg2000_files::Encode;
using jpeg2000_files::kIsSample;
using jpeg2000_files::MakePicture;
using jpeg2000_files::Psnr;
using jpeg2000_files::Shape;

constexpr Progression kOrders[] = {Progression::kLrcp, Progression::kRlcp, Progression::kRpcl,
                                   Progression::kPcrl, Progression::kCprl};

void ExpectLossless(const Shape& shape, const EncodeOptions& options, const std::string& what) {
  const Image image = MakePicture(shape);
  EXPECT_EQ(Difference(image, DecodeGood(Encode(image, options))), "") << what;
}

TEST(Jpeg2000RoundTrip, EveryDepth) {
  for (int bits = 1; bits <= 16; ++bits) {
    for (const bool is_signed : {false, true}) {
      for (int components = 1; components <= 4; components += kIsSample ? 2 : 1) {
        Shape shape;
        shape.bits = bits;
        shape.is_signed = is_signed;
        shape.components = components;
        ExpectLossless(shape, {}, std::to_string(bits) + " bits");
      }
    }
  }
}

// Black and white at random: the coefficients become as large as they can.
TEST(Jpeg2000RoundTrip, ExtremeSamples) {
  for (const int bits : {1, 8, 16}) {
    Image image = MakePicture({64, 64, 3, bits, false});
    uint32_t state = 1;
    for (jpeg2000::Component& component : image.components) {
      for (size_t i = 0; i < component.samples.size(); ++i) {
        state = state * 1664525U + 1013904223U;
        const bool white = i < 2048 ? (i + i / 64) % 2 != 0 : state >> 31 != 0;
        component.samples[i] = white ? (1 << bits) - 1 : 0;
      }
    }
    EXPECT_EQ(Difference(image, DecodeGood(Encode(image, {}))), "") << bits;
    EncodeOptions lossy;
    lossy.reversible = false;
    lossy.base_step = 0.01;
    EXPECT_GT(Psnr(image, DecodeGood(Encode(image, lossy))), bits == 1 ? 50 : 60) << bits;
  }
}

TEST(Jpeg2000RoundTrip, EverySmallSize) {
  for (int width = 1; width <= 9; ++width) {
    for (int height = 1; height <= 9; ++height) {
      for (const int origin : {0, 1}) {
        Shape shape;
        shape.width = width;
        shape.height = height;
        shape.x0 = shape.y0 = origin;
        const std::string what = std::to_string(width) + "x" + std::to_string(height);
        ExpectLossless(shape, {}, what);
        EncodeOptions lossy;
        lossy.reversible = false;
        lossy.base_step = 0.25;
        const Image image = MakePicture(shape);
        EXPECT_GT(Psnr(image, DecodeGood(Encode(image, lossy))), 50) << what;
      }
    }
  }
}

TEST(Jpeg2000RoundTrip, EveryStyle) {
  for (int style = 0; style < 64; style += kIsSample ? 3 : 1) {
    EncodeOptions options;
    options.block_style = style;
    options.block_width_log2 = 2 + style % 9;
    options.block_height_log2 = std::min(10, 12 - options.block_width_log2);
    options.layer_bytes = {800, 2000, 0};
    ExpectLossless({}, options, "style " + std::to_string(style));
  }
}

TEST(Jpeg2000RoundTrip, OrdersTilesPrecincts) {
  for (const Progression order : kOrders) {
    for (const int tile : {0, 16, 33}) {
      for (const int origin : {0, 5}) {
        Shape shape;
        shape.x0 = origin;
        shape.y0 = 2 * origin;
        shape.dx = 2;
        shape.dy = origin > 0 ? 2 : 1;
        EncodeOptions options;
        options.order = order;
        options.tile_width = tile;
        options.tile_height = tile;
        options.tile_x0 = origin > 0 ? 3 : 0;
        options.tile_y0 = origin > 0 ? 7 : 0;
        options.levels = 3;
        options.precincts = {{4, 5}, {3, 3}, {2, 1}};
        options.block_width_log2 = options.block_height_log2 = 3;
        options.uses_sop = tile == 16;
        options.uses_eph = tile == 33;
        options.layer_bytes = {1000, 3000, 0};
        ExpectLossless(shape, options,
                       "order " + std::to_string(int(order)) + " tile " + std::to_string(tile));
      }
    }
  }
}

TEST(Jpeg2000RoundTrip, Levels) {
  for (const int levels : {0, 1, 2, 7, 32}) {
    EncodeOptions options;
    options.levels = levels;
    ExpectLossless({}, options, std::to_string(levels) + " levels");
  }
}

TEST(Jpeg2000RoundTrip, ThreadsChangeNothing) {
  const Image image = MakePicture({300, 200, 3, 8, false});
  EncodeOptions options;
  options.reversible = false;
  options.layer_bytes = {3000, 9000};
  options.tile_width = 64;
  options.tile_height = 64;
  options.threads = 1;
  const Bytes one = Encode(image, options);
  options.threads = 5;
  EXPECT_EQ(Encode(image, options), one);
  jpeg2000::DecodeOptions decoding;
  decoding.threads = 1;
  const Image decoded = DecodeGood(one, decoding);
  decoding.threads = 5;
  EXPECT_EQ(Difference(DecodeGood(one, decoding), decoded), "");
}

TEST(Jpeg2000RoundTrip, FilesKeepToTheirBytes) {
  const Image image = MakePicture({200, 150, 3, 8, false});
  double best = 0;
  for (const size_t bytes : {1000U, 2000U, 5000U, 10000U, 20000U}) {
    for (const bool is_jp2 : {false, true}) {
      EncodeOptions options;
      options.is_jp2 = is_jp2;
      options.reversible = false;
      options.layer_bytes = {bytes};
      const Bytes file = Encode(image, options);
      EXPECT_LE(file.size(), bytes);
      EXPECT_GT(file.size(), bytes - 40);
      if (is_jp2) continue;
      const double psnr = Psnr(image, DecodeGood(file));
      EXPECT_GT(psnr, best + 1);
      best = psnr;
    }
  }
  EXPECT_GT(best, 40);
}

TEST(Jpeg2000RoundTrip, EachLayerIsBetter) {
  const Image image = MakePicture({200, 150, 3, 8, false});
  EncodeOptions options;
  options.layer_bytes = {2000, 5000, 15000, 0};
  const Bytes file = Encode(image, options);
  double best = 0;
  for (int layers = 1; layers <= 4; ++layers) {
    jpeg2000::DecodeOptions decoding;
    decoding.layers = layers;
    const double psnr = Psnr(image, DecodeGood(file, decoding));
    EXPECT_GT(psnr, best + 1) << layers;
    best = psnr;
  }
  EXPECT_EQ(best, 200);
}

// A layer of a file is as good as a file of its own of that size.
TEST(Jpeg2000RoundTrip, LayersCostLittle) {
  const Image image = MakePicture({200, 150, 3, 8, false});
  EncodeOptions options;
  options.reversible = false;
  options.layer_bytes = {2000, 6000, 15000};
  jpeg2000::DecodeOptions decoding;
  decoding.layers = 2;
  const double as_layer = Psnr(image, DecodeGood(Encode(image, options), decoding));
  options.layer_bytes = {6000};
  EXPECT_GT(as_layer, Psnr(image, DecodeGood(Encode(image, options))) - 0.3);
}

TEST(Jpeg2000RoundTrip, DerivedSteps) {
  const Image image = MakePicture({200, 150, 3, 8, false});
  EncodeOptions options;
  options.reversible = false;
  options.layer_bytes = {8000};
  const double expounded = Psnr(image, DecodeGood(Encode(image, options)));
  options.derived_steps = true;
  EXPECT_GT(Psnr(image, DecodeGood(Encode(image, options))), expounded - 0.3);
}

TEST(Jpeg2000RoundTrip, Reduced) {
  Shape shape;
  shape.width = 131;
  shape.height = 67;
  shape.x0 = 9;
  shape.y0 = 4;
  shape.dx = 2;
  const Image image = MakePicture(shape);
  EncodeOptions options;
  options.tile_width = options.tile_height = 50;
  const Bytes file = Encode(image, options);
  for (int reduce = 0; reduce <= 5; ++reduce) {
    jpeg2000::DecodeOptions decoding;
    decoding.reduce = reduce;
    const Image small = DecodeGood(file, decoding);
    for (const jpeg2000::Component& component : small.components) {
      const auto begin = jpeg2000::CeilShift((9 + component.dx - 1) / component.dx, reduce);
      const auto end = jpeg2000::CeilShift((140 + component.dx - 1) / component.dx, reduce);
      EXPECT_EQ(component.width, end - begin);
      // The mean stays, but for the parts of the border that count more.
      double mean = 0, full_mean = 0;
      const auto& full = image.components[size_t(&component - small.components.data())];
      for (const int32_t sample : component.samples) mean += sample;
      for (const int32_t sample : full.samples) full_mean += sample;
      mean /= static_cast<double>(component.samples.size());
      full_mean /= static_cast<double>(full.samples.size());
      if (reduce <= 2) {
        EXPECT_NEAR(mean, full_mean, 5) << reduce;
      }
    }
  }
  jpeg2000::DecodeOptions decoding;
  decoding.reduce = 6;
  EXPECT_FALSE(Decode(file, decoding).status.ok());
}

TEST(Jpeg2000RoundTrip, BoxesKeepColourAndOpacity) {
  for (const int components : {1, 2, 3, 4}) {
    Shape shape;
    shape.components = components;
    Image image = MakePicture(shape);
    if (components == 3) image.metadata.icc_profile = {1, 2, 3, 4, 5};
    const Image decoded = DecodeGood(Encode(image, {}));
    EXPECT_EQ(decoded.alpha, image.alpha);
    EXPECT_EQ(decoded.metadata.icc_profile, image.metadata.icc_profile);
    if (components != 3) {
      EXPECT_EQ(decoded.color, image.color);
    }
    jpeg2000::FileInfo info;
    const Bytes file = Encode(image, {});
    EXPECT_TRUE(jpeg2000::ReadFileInfo(file.data(), file.size(), &info).ok());
    EXPECT_TRUE(info.is_jp2);
    EXPECT_EQ(info.size.components.size(), size_t(components));
  }
}

TEST(Jpeg2000RoundTrip, DifferentDepths) {
  Image image = MakePicture({});
  image.components[1].bits = 5;
  image.components[2].bits = 12;
  for (int32_t& sample : image.components[1].samples) sample /= 8;
  for (int32_t& sample : image.components[2].samples) sample *= 16;
  EXPECT_EQ(Difference(image, DecodeGood(Encode(image, {}))), "");
}

TEST(Jpeg2000RoundTrip, BadArgumentsAreErrors) {
  const Image good = MakePicture({});
  zepcodec::ByteBuffer file;
  const auto expect_error = [&](const Image& image, const EncodeOptions& options) {
    const zepcodec::Status status = jpeg2000::Encode(image, options, &file);
    EXPECT_FALSE(status.ok());
    EXPECT_FALSE(status.text().empty());
  };
  Image image = good;
  image.components.clear();
  expect_error(image, {});
  image = good;
  image.components[1].samples.pop_back();
  expect_error(image, {});
  image = good;
  image.components[0].bits = 17;
  expect_error(image, {});
  image = good;
  image.x1 = image.x0;
  expect_error(image, {});
  EncodeOptions options;
  options.levels = 33;
  expect_error(good, options);
  options = {};
  options.block_width_log2 = 7;
  expect_error(good, options);
  options = {};
  options.tile_x0 = 1;
  expect_error(good, options);
  options = {};
  options.layer_bytes.clear();
  expect_error(good, options);
  options = {};
  options.precincts = {{0, 5}};
  expect_error(good, options);
}

// Packets as one string, to compare orders.
using Place = std::tuple<int, int, int64_t, int>;

std::vector<Place> Listed(const jpeg2000::Tile& tile, const jpeg2000::ProgressionVolume& volume) {
  std::vector<Place> places;
  jpeg2000::PacketOrder order(tile, volume);
  jpeg2000::Packet packet{};
  while (order.Next(&packet)) {
    places.emplace_back(packet.component, packet.resolution, packet.precinct, packet.layer);
  }
  return places;
}

// Whether a precinct of the component's resolution begins at a place of the reference grid, as the
// standard's loops over all places put it (B.12.1.3).
bool BeginsAt(const jpeg2000::Tile& tile, int c, int r, int64_t x, int64_t y, int64_t* precinct) {
  const jpeg2000::TileComponent& component = tile.components[size_t(c)];
  const jpeg2000::Resolution& resolution = component.resolutions[size_t(r)];
  if (resolution.PrecinctCount() == 0) return false;
  const int halvings = component.levels() - r;
  const auto begins = [&](int64_t at, int64_t tile_start, int64_t start, int step, int log2) {
    const int64_t unit = int64_t{step} << (log2 + halvings);
    return at % unit == 0 || (at == tile_start && start % (int64_t{1} << log2) != 0);
  };
  if (!begins(x, tile.area.x0, resolution.area.x0, component.dx, resolution.precinct_width_log2) ||
      !begins(y, tile.area.y0, resolution.area.y0, component.dy, resolution.precinct_height_log2)) {
    return false;
  }
  const auto index = [&](int64_t at, int step, int64_t start, int log2) {
    return (jpeg2000::CeilDivide(at, int64_t{step} << halvings) >> log2) - (start >> log2);
  };
  const int64_t column = index(x, component.dx, resolution.area.x0, resolution.precinct_width_log2);
  const int64_t row = index(y, component.dy, resolution.area.y0, resolution.precinct_height_log2);
  *precinct = row * resolution.precincts_across + column;
  return true;
}

// By the loops of the standard, over every place of the tile.
std::vector<Place> ByLoops(const jpeg2000::Tile& tile, Progression order, int layers) {
  std::vector<Place> places;
  const int components = static_cast<int>(tile.components.size());
  const int resolutions = static_cast<int>(tile.components[0].resolutions.size());
  const auto at_place = [&](int c, int r, int64_t x, int64_t y) {
    int64_t precinct = 0;
    if (!BeginsAt(tile, c, r, x, y, &precinct)) return;
    for (int l = 0; l < layers; ++l) places.emplace_back(c, r, precinct, l);
  };
  const auto over_places = [&](auto body) {
    for (int64_t y = tile.area.y0; y < tile.area.y1; ++y) {
      for (int64_t x = tile.area.x0; x < tile.area.x1; ++x) body(x, y);
    }
  };
  const auto over_precincts = [&](int r, int l) {
    for (int c = 0; c < components; ++c) {
      const int64_t count = tile.components[size_t(c)].resolutions[size_t(r)].PrecinctCount();
      for (int64_t p = 0; p < count; ++p) places.emplace_back(c, r, p, l);
    }
  };
  switch (order) {
    case Progression::kLrcp:
      for (int l = 0; l < layers; ++l) {
        for (int r = 0; r < resolutions; ++r) over_precincts(r, l);
      }
      break;
    case Progression::kRlcp:
      for (int r = 0; r < resolutions; ++r) {
        for (int l = 0; l < layers; ++l) over_precincts(r, l);
      }
      break;
    case Progression::kRpcl:
      for (int r = 0; r < resolutions; ++r) {
        over_places([&](int64_t x, int64_t y) {
          for (int c = 0; c < components; ++c) at_place(c, r, x, y);
        });
      }
      break;
    case Progression::kPcrl:
      over_places([&](int64_t x, int64_t y) {
        for (int c = 0; c < components; ++c) {
          for (int r = 0; r < resolutions; ++r) at_place(c, r, x, y);
        }
      });
      break;
    case Progression::kCprl:
      for (int c = 0; c < components; ++c) {
        over_places([&](int64_t x, int64_t y) {
          for (int r = 0; r < resolutions; ++r) at_place(c, r, x, y);
        });
      }
      break;
  }
  return places;
}

TEST(Jpeg2000Packets, OrdersAreThoseOfTheLoops) {
  for (const int origin : {0, 3, 16, 21}) {
    jpeg2000::SizeSegment size;
    size.x0 = origin;
    size.y0 = origin + 2;
    size.x1 = origin + 90;
    size.y1 = origin + 61;
    size.tile_width = 64;
    size.tile_height = 48;
    size.components = {{8, false, 1, 1}, {8, false, 2, 1}, {8, false, 3, 2}};
    jpeg2000::Parameters parameters;
    parameters.components.resize(3);
    for (auto& component : parameters.components) {
      component.coding.levels = 3;
      component.coding.precinct_width_log2 = {1, 2, 2, 4};
      component.coding.precinct_height_log2 = {2, 2, 3, 3};
    }
    for (int number = 0; number < size.TilesAcross() * size.TilesDown(); ++number) {
      const jpeg2000::Tile tile = jpeg2000::MakeTile(size, parameters, number);
      for (const Progression order : kOrders) {
        EXPECT_EQ(Listed(tile, {0, 0, 2, 33, 16, order}), ByLoops(tile, order, 2))
            << "origin " << origin << " tile " << number << " order " << int(order);
      }
    }
  }
}

TEST(Jpeg2000Packets, TagTreesReadWhatTheyWrite) {
  uint32_t state = 5;
  for (const auto& [width, height] : {std::pair{1, 1}, {2, 3}, {6, 3}, {17, 9}}) {
    const auto count = static_cast<size_t>(width * height);
    std::vector<int> values(count);
    jpeg2000::TagTree writer(width, height);
    for (size_t i = 0; i < count; ++i) {
      state = state * 1664525U + 1013904223U;
      values[i] = static_cast<int>(state >> 28);
      writer.Set(i, values[i]);
    }
    writer.Prepare();
    Bytes bytes;
    jpeg2000::HeaderWriter bits(&bytes);
    for (int threshold = 1; threshold <= 16; threshold += 3) {
      for (size_t i = 0; i < count; ++i) writer.EncodeBelow(i, threshold, &bits);
    }
    bits.Finish();
    jpeg2000::TagTree reader(width, height);
    jpeg2000::HeaderReader source(bytes.data(), bytes.data() + bytes.size());
    for (int threshold = 1; threshold <= 16; threshold += 3) {
      for (size_t i = 0; i < count; ++i) {
        EXPECT_EQ(reader.DecodeBelow(i, threshold, &source), values[i] < threshold);
      }
    }
    for (size_t i = 0; i < count; ++i) EXPECT_EQ(reader.Low(i), values[i]);
    EXPECT_FALSE(source.failed());
    EXPECT_EQ(source.Finish(), bytes.data() + bytes.size());
  }
}

// The example of the standard (B.10.2): a grid of 6 x 3, the first two values of which are 1 and 3.
TEST(Jpeg2000Packets, TagTreeOfTheStandard) {
  jpeg2000::TagTree tree(6, 3);
  const int values[18] = {1, 3, 2, 3, 2, 3, 2, 2, 1, 4, 3, 2, 2, 2, 2, 2, 1, 2};
  for (size_t i = 0; i < 18; ++i) tree.Set(i, values[i]);
  tree.Prepare();
  Bytes bytes;
  jpeg2000::HeaderWriter bits(&bytes);
  for (size_t i = 0; i < 3; ++i) {
    for (int t = 1; t <= values[i] + 1; ++t) tree.EncodeBelow(i, t, &bits);
  }
  bits.Finish();
  // 01111, 001, 101
  EXPECT_EQ(bytes, (Bytes{0b01111001, 0b10100000}));
}

TEST(Jpeg2000Packets, PassCounts) {
  for (int count = 1; count <= jpeg2000::kMostPasses; ++count) {
    Bytes bytes;
    jpeg2000::HeaderWriter writer(&bytes);
    jpeg2000::WritePassCount(count, &writer);
    writer.Finish();
    jpeg2000::HeaderReader reader(bytes.data(), bytes.data() + bytes.size());
    EXPECT_EQ(jpeg2000::ReadPassCount(&reader), count);
    EXPECT_FALSE(reader.failed());
  }
}

TEST(Jpeg2000Packets, HeadersStuffBits) {
  Bytes bytes;
  jpeg2000::HeaderWriter writer(&bytes);
  writer.Put(0xFFFFF, 20);
  writer.Finish();
  EXPECT_EQ(bytes, (Bytes{0xFF, 0x7F, 0xF8}));
  bytes.clear();
  jpeg2000::HeaderWriter ends_full(&bytes);
  ends_full.Put(0xFF, 8);
  ends_full.Finish();
  EXPECT_EQ(bytes, (Bytes{0xFF, 0x00}));
  jpeg2000::HeaderReader reader(bytes.data(), bytes.data() + bytes.size());
  EXPECT_EQ(reader.Bits(8), 0xFFu);
  EXPECT_EQ(reader.Finish(), bytes.data() + 2);
}

// A file with start and end markers around its packet headers, taken apart.
struct Parts {
  Bytes main_header;
  struct Tile {
    Bytes headers;
    Bytes bodies;
  };
  std::vector<Tile> tiles;
};

Parts TakeApart(const Bytes& file) {
  Parts parts;
  size_t at = Behind(file, jpeg2000::kSot) - 2;
  parts.main_header.assign(file.begin(), file.begin() + static_cast<ptrdiff_t>(at));
  const auto copy = [&](size_t begin, size_t end, Bytes* to) {
    to->insert(to->end(), file.begin() + static_cast<ptrdiff_t>(begin),
               file.begin() + static_cast<ptrdiff_t>(end));
  };
  while (file[at + 1] == (jpeg2000::kSot & 0xFF)) {
    const size_t length = size_t{file[at + 6]} << 24 | size_t{file[at + 7]} << 16 |
                          size_t{file[at + 8]} << 8 | file[at + 9];
    const size_t end = at + length;
    parts.tiles.emplace_back();
    size_t packet = at + 14;
    while (packet < end) {
      const size_t header_end = Behind(file, jpeg2000::kEph, packet);
      const size_t next = std::min(end, Behind(file, jpeg2000::kSop, header_end) - 2);
      copy(packet + 6, header_end, &parts.tiles.back().headers);
      copy(header_end, next, &parts.tiles.back().bodies);
      packet = next;
    }
    at = end;
  }
  return parts;
}

void Append(const Bytes& from, Bytes* to) { to->insert(to->end(), from.begin(), from.end()); }

void PutNumber(size_t value, int bytes, Bytes* to) {
  for (int i = bytes; i-- > 0;) to->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

Bytes Segment(int marker, const Bytes& content) {
  Bytes bytes;
  PutNumber(static_cast<size_t>(marker), 2, &bytes);
  PutNumber(content.size() + 2, 2, &bytes);
  Append(content, &bytes);
  return bytes;
}

Bytes TilePart(size_t tile, const Bytes& extra_segments, const Bytes& body) {
  Bytes bytes = {0xFF, 0x90, 0, 10};
  PutNumber(tile, 2, &bytes);
  PutNumber(14 + extra_segments.size() + body.size(), 4, &bytes);
  bytes.insert(bytes.end(), {0, 1});
  Append(extra_segments, &bytes);
  bytes.insert(bytes.end(), {0xFF, 0x93});
  Append(body, &bytes);
  return bytes;
}

struct PackedCase {
  Image image;
  Parts parts;
};

PackedCase MakePackedCase() {
  EncodeOptions options;
  options.is_jp2 = false;
  options.uses_sop = options.uses_eph = true;
  options.tile_width = options.tile_height = 40;
  options.layer_bytes = {1500, 0};
  PackedCase made{MakePicture({}), {}};
  made.parts = TakeApart(Encode(made.image, options));
  EXPECT_EQ(made.parts.tiles.size(), 4u);
  return made;
}

// Headers in front of each tile, in two segments that stand in the wrong order.
TEST(Jpeg2000RoundTrip, PackedHeadersOfTiles) {
  const PackedCase packed = MakePackedCase();
  Bytes file = packed.parts.main_header;
  for (size_t i = 0; i < packed.parts.tiles.size(); ++i) {
    const Parts::Tile& tile = packed.parts.tiles[i];
    const auto half = static_cast<ptrdiff_t>(tile.headers.size() / 2);
    Bytes second = {1}, first = {0};
    second.insert(second.end(), tile.headers.begin() + half, tile.headers.end());
    first.insert(first.end(), tile.headers.begin(), tile.headers.begin() + half);
    Bytes segments = Segment(jpeg2000::kPpt, second);
    Append(Segment(jpeg2000::kPpt, first), &segments);
    Append(TilePart(i, segments, tile.bodies), &file);
  }
  PutNumber(jpeg2000::kEoc, 2, &file);
  EXPECT_EQ(Difference(packed.image, DecodeGood(file)), "");
}

// All headers in the main header, cut into segments anywhere.
TEST(Jpeg2000RoundTrip, PackedHeadersOfTheFile) {
  const PackedCase packed = MakePackedCase();
  Bytes all;
  for (const Parts::Tile& tile : packed.parts.tiles) {
    PutNumber(tile.headers.size(), 4, &all);
    Append(tile.headers, &all);
  }
  Bytes file = packed.parts.main_header;
  constexpr size_t kPiece = 61;
  uint8_t number = 0;
  for (size_t at = 0; at < all.size(); at += kPiece) {
    Bytes content = {number++};
    const auto begin = all.begin() + static_cast<ptrdiff_t>(at);
    content.insert(content.end(), begin,
                   begin + static_cast<ptrdiff_t>(std::min(kPiece, all.size() - at)));
    Append(Segment(jpeg2000::kPpm, content), &file);
  }
  for (size_t i = 0; i < packed.parts.tiles.size(); ++i) {
    Append(TilePart(i, {}, packed.parts.tiles[i].bodies), &file);
  }
  PutNumber(jpeg2000::kEoc, 2, &file);
  EXPECT_EQ(Difference(packed.image, DecodeGood(file)), "");
}

// A change of order that says what the tile's own order says, in two volumes.
TEST(Jpeg2000RoundTrip, ChangesOfOrder) {
  EncodeOptions options;
  options.is_jp2 = false;
  options.order = Progression::kRlcp;
  const Image image = MakePicture({});
  Bytes file = Encode(image, options);
  const Bytes volumes = {0, 0, 0, 1, 2, 3, 1, /* then */ 2, 0, 0, 1, 33, 3, 1};
  const Bytes segment = Segment(jpeg2000::kPoc, volumes);
  file[Behind(file, jpeg2000::kCod) + 3] = 0;  // the tile's order is now wrong
  const auto first_tile = static_cast<ptrdiff_t>(Behind(file, jpeg2000::kSot) - 2);
  file.insert(file.begin() + first_tile, segment.begin(), segment.end());
  EXPECT_EQ(Difference(image, DecodeGood(file)), "");
}

void PutBox(const char* name, const Bytes& content, Bytes* to) {
  PutNumber(content.size() + 8, 4, to);
  to->insert(to->end(), name, name + 4);
  Append(content, to);
}

TEST(Jpeg2000RoundTrip, Palettes) {
  Shape shape;
  shape.components = 1;
  shape.bits = 2;
  const Image indexes = MakePicture(shape);
  EncodeOptions options;
  options.is_jp2 = false;
  Bytes boxes = {0, 0, 0, 12, 'j', 'P', ' ', ' ', 13, 10, 0x87, 10};
  Bytes header;
  PutBox("colr", {1, 0, 0, 0, 0, 0, 16}, &header);
  // Blue, green and red of four colours, then the channels red, green, blue.
  PutBox("pclr", {0, 4, 3, 7, 7, 7, 3, 2, 1, 13, 12, 11, 23, 22, 21, 33, 32, 31}, &header);
  PutBox("cmap", {0, 0, 1, 2, 0, 0, 1, 1, 0, 0, 1, 0}, &header);
  PutBox("jp2h", header, &boxes);
  PutBox("jp2c", Encode(indexes, options), &boxes);
  const Image image = DecodeGood(boxes);
  ASSERT_EQ(image.components.size(), 3u);
  EXPECT_EQ(image.color, jpeg2000::ColorSpace::kRgb);
  for (size_t i = 0; i < indexes.components[0].samples.size(); ++i) {
    const int32_t row = indexes.components[0].samples[i];
    for (int c = 0; c < 3; ++c) {
      ASSERT_EQ(image.components[size_t(c)].samples[i], 10 * row + 1 + c) << i;
    }
    ASSERT_EQ(image.components[0].bits, 8);
  }
}

TEST(Jpeg2000RoundTrip, KindsOfColor) {
  using jpeg2000::ColorSpace;
  for (const ColorSpace color : {ColorSpace::kInvertedGrey, ColorSpace::kYcc, ColorSpace::kCmy,
                                 ColorSpace::kCmyk, ColorSpace::kYcck, ColorSpace::kLab}) {
    Image image = MakePicture({20, 20, 3, 8, false});
    image.color = color;
    image.lab = {{90, 150, 160}, true, {1, 100, 80}, true};
    const Image decoded = DecodeGood(Encode(image, {}));
    EXPECT_EQ(decoded.color, color);
    if (color != ColorSpace::kLab) continue;
    EXPECT_TRUE(decoded.lab.is_d65);
    EXPECT_EQ(decoded.lab.range, image.lab.range);
    EXPECT_EQ(decoded.lab.offsets, image.lab.offsets);
  }
  // Opacity that was multiplied in, and a component that is neither.
  Image image = MakePicture({20, 20, 4, 8, false});
  image.alpha = 1;
  image.color = ColorSpace::kGrey;
  image.is_premultiplied = true;
  const Image decoded = DecodeGood(Encode(image, {}));
  EXPECT_EQ(decoded.alpha, 1);
  EXPECT_TRUE(decoded.is_premultiplied);
  EXPECT_EQ(Difference(image, decoded), "");
}

// Channels in the order blue, green, opacity, red.
TEST(Jpeg2000RoundTrip, ChannelsInAnyOrder) {
  const Image image = MakePicture({20, 20, 4, 8, false});
  EncodeOptions options;
  options.is_jp2 = false;
  options.transforms_components = false;
  Bytes boxes = {0, 0, 0, 12, 'j', 'P', ' ', ' ', 13, 10, 0x87, 10};
  Bytes header;
  PutBox("cdef", {0, 4, 0, 0, 0, 0, 0, 3, 0, 1, 0, 0, 0, 2, 0, 2, 0, 1, 0, 0, 0, 3, 0, 0, 0, 1},
         &header);
  PutBox("jp2h", header, &boxes);
  PutBox("jp2c", Encode(image, options), &boxes);
  const Image decoded = DecodeGood(boxes);
  EXPECT_EQ(decoded.alpha, 3);
  const size_t order[4] = {3, 1, 0, 2};
  for (size_t c = 0; c < 4; ++c) {
    EXPECT_EQ(decoded.components[c].samples, image.components[order[c]].samples) << c;
  }
}

}  // namespace
