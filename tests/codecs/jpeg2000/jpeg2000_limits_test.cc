// SPDX-License-Identifier: MIT
// What decoding a JPEG 2000 file may cost: time and memory are bounded by the bytes of the file and
// the samples of the picture, whatever the headers say. Small files that would take minutes or
// gigabytes.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "codecs/jpeg2000/budget.h"
#include "codecs/jpeg2000/picture_decoder.h"
#include "tests/codecs/jpeg2000/jpeg2000_random.h"
#include "tests/codecs/jpeg2000/jpeg2000_sample.h"
#include "tests/codecs/jpeg2000/jpeg2000_streams.h"
#include "tests/codecs/support/counted_memory.h"

namespace jpeg2000 = zepcodec::jpeg2000;

namespace {

using jpeg2000_files::Bytes;
using jpeg2000_files::Decoded;
using jpeg2000_files::kIsSample;
using jpeg2000_files::MakePicture;
using jpeg2000_streams::Codestream;
using jpeg2000_streams::Coding;
using jpeg2000_streams::CodingStyle;
using jpeg2000_streams::PacketOfPasses;
using jpeg2000_streams::Quantization;
using jpeg2000_streams::Sampling;
using jpeg2000_streams::Segment;
using jpeg2000_streams::Shape;
using jpeg2000_streams::Size;
using jpeg2000_streams::TilePart;
using jpeg2000_streams::Volume;
using jpeg2000_streams::Volumes;

struct Measured {
  Decoded decoded;
  int64_t memory = 0;
  double seconds = 0;

  std::string text() const {
    if (!decoded.status.ok()) return decoded.status.text();
    return decoded.info.messages.empty() ? "" : decoded.info.messages.kept()[0].ToString();
  }
  int64_t samples() const {
    int64_t count = 0;
    for (const auto& component : decoded.image.components) {
      count += int64_t{component.width} * component.height;
    }
    return count;
  }
};

Measured Measure(const Bytes& file) {
  Measured measured;
  jpeg2000::DecodeOptions options;
  options.threads = 1;
  const auto start = std::chrono::steady_clock::now();
  measured.memory =
      counted_memory::PeakOf([&] { measured.decoded = jpeg2000_files::Decode(file, options); });
  measured.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return measured;
}

// The bounds of the documentation. The time is generous, for sanitizers and machines with other
// work; the work is not.
Measured ExpectBounded(const Bytes& file) {
  Measured measured = Measure(file);
  const auto bytes = static_cast<int64_t>(file.size());
  const int64_t samples = measured.samples();
  EXPECT_LE(measured.memory, (int64_t{32} << 20) + 12 * samples + 1100 * bytes);
  EXPECT_LE(measured.decoded.info.work, jpeg2000::kFreeWork + jpeg2000::kWorkForByte * bytes +
                                            jpeg2000::kWorkForSample * samples);
  const double expected = 2 + 1e-7 * static_cast<double>(measured.decoded.info.work) +
                          2e-6 * static_cast<double>(samples) + 2e-6 * static_cast<double>(bytes);
  EXPECT_LE(measured.seconds, 3 * expected);
  return measured;
}

// Tiles of 256 x 256 samples with a precinct for each sample.
Bytes TinyPrecincts(int across, const std::vector<Bytes>& main_segments, const Bytes& body,
                    int layers = 1) {
  const auto side = static_cast<uint32_t>(256 * across);
  std::vector<Bytes> pieces = {Size({side, side, 256, 256, {{1, 1}}, 7}),
                               CodingStyle({0, {0x00}, 2, layers, 0x44, 0, false}),
                               Quantization(0)};
  pieces.insert(pieces.end(), main_segments.begin(), main_segments.end());
  for (int i = 0; i < across * across; ++i) pieces.push_back(TilePart(i, body));
  return Codestream(pieces);
}

TEST(Jpeg2000Limits, ChangesOfOrderWithoutLayersAreNotSorted) {
  const Bytes nothing = Volumes(std::vector<Volume>(1024, {0, 0, 0, 33, 0, 2}));
  for (const Bytes& body : {Bytes(), Bytes(100, 0)}) {
    const Measured measured = ExpectBounded(TinyPrecincts(4, {nothing}, body));
    EXPECT_TRUE(measured.decoded.status.ok());
    EXPECT_LT(measured.seconds, 20);
  }
  // With all packets it is a good file.
  const Measured measured = ExpectBounded(TinyPrecincts(1, {nothing}, Bytes(65536, 0)));
  EXPECT_EQ(measured.text(), "");
}

// Each volume goes through all packets of the first layer again.
TEST(Jpeg2000Limits, RepeatedChangesOfOrderAreStopped) {
  const Bytes again = Volumes(std::vector<Volume>(1024, {0, 0, 1, 33, 0, 2}));
  const Measured measured = ExpectBounded(TinyPrecincts(2, {again}, Bytes(65536, 0), 2));
  EXPECT_TRUE(measured.decoded.status.ok());
  EXPECT_NE(measured.text().find("stopped"), std::string::npos) << measured.text();
}

TEST(Jpeg2000Limits, LayersAreNotVisitedAgainAndAgain) {
  const Bytes again = Volumes(std::vector<Volume>(1024, {0, 0, 4096, 1, 0, 0}));
  std::vector<Bytes> pieces = {Size({256, 256, 32, 32, {{1, 1}}, 7}),
                               CodingStyle({1, {}, 0, 4096, 0x44, 0, false}), Quantization(1),
                               again};
  for (int i = 0; i < 64; ++i) pieces.push_back(TilePart(i, Bytes(4096, 0)));
  const Measured measured = ExpectBounded(Codestream(pieces));
  EXPECT_NE(measured.text().find("stopped"), std::string::npos) << measured.text();
}

TEST(Jpeg2000Limits, TinyPrecinctsOfManyTiles) {
  for (const size_t bytes : {0U, 1U, 300U}) {
    ExpectBounded(TinyPrecincts(kIsSample ? 4 : 16, {}, Bytes(bytes, 0)));
  }
}

// A code-block in each precinct, which gets a pass.
TEST(Jpeg2000Limits, PrecinctsWithBlocks) {
  jpeg2000_streams::Bits bits;
  bits.Put(0b11100, 5);  // not empty, included, no zero plane, one pass, three bits of length
  bits.Put(0, 3);
  Bytes body;
  for (int i = 0; i < 65536; ++i) jpeg2000_streams::Put(bits.Take(), &body);
  const Measured measured = ExpectBounded(TinyPrecincts(2, {}, body));
  EXPECT_EQ(measured.text(), "");
}

// 16129 tiles of a pixel in 16 components, each with a segment of its own and a long main header.
TEST(Jpeg2000Limits, ParametersAreNotKeptForEachTile) {
  std::vector<Bytes> pieces = {Size({127, 127, 1, 1, std::vector<Sampling>(16), 7}),
                               CodingStyle({}), Quantization(0),
                               Volumes(std::vector<Volume>(1024, {0, 0, 1, 1, 0, 0}))};
  const Bytes region = Segment(0xFF5E, {0, 0, 1});
  for (int i = 0; i < 16129; ++i) pieces.push_back(TilePart(i, {0}, region));
  const Bytes file = Codestream(pieces);
  const Measured measured = ExpectBounded(file);
  EXPECT_TRUE(measured.decoded.status.ok());
  EXPECT_LT(measured.memory, 64 << 20);
}

TEST(Jpeg2000Limits, ResolutionsOfManyTiles) {
  const Bytes size = Size({255, 255, 1, 1, std::vector<Sampling>(16), 7});
  const Bytes coding = CodingStyle({32, {}, 0, 1, 0x44, 0, false});
  std::vector<Bytes> pieces = {size, coding, Quantization(32), TilePart(0, {})};
  const Measured missing = ExpectBounded(Codestream(pieces));
  EXPECT_EQ(missing.decoded.info.work, 0) << "missing tiles need no geometry";
  EXPECT_EQ(missing.decoded.info.messages.count(), 65025);
  pieces.pop_back();
  for (int i = 0; i < 65025; ++i) pieces.push_back(TilePart(i, Bytes(4, 0)));
  ExpectBounded(Codestream(pieces));
}

// The limit holds for all components together.
TEST(Jpeg2000Limits, ManyComponentsAreRefused) {
  for (const uint32_t side : {8000U, 16384U}) {
    const Shape shape = {side, side, 0, 0, std::vector<Sampling>(16), 7};
    const size_t bytes = size_t{side} * side * 16 / 4096 + 100;
    const Measured measured =
        Measure(Codestream({Size(shape), CodingStyle({5, {}, 0, 1, 0x44, 0, false}),
                            Quantization(5), TilePart(0, Bytes(bytes, 0))}));
    EXPECT_FALSE(measured.decoded.status.ok());
    EXPECT_NE(measured.text().find("samples"), std::string::npos) << measured.text();
    EXPECT_LT(measured.memory, 1 << 20);
  }
}

// Blocks of 4 x 4 in one precinct; the packet has passes for the first one only, or for none.
TEST(Jpeg2000Limits, SmallBlocks) {
  for (const uint8_t first : Bytes{0x00, 0x80}) {
    Bytes body(16384, 0);
    body[0] = first;
    const Measured measured = ExpectBounded(Codestream({Size({4096, 4096, 0, 0, {{1, 1}}, 7}),
                                                        CodingStyle({0, {}, 0, 1, 0x00, 0, false}),
                                                        Quantization(0), TilePart(0, body)}));
    EXPECT_TRUE(measured.decoded.status.ok());
    EXPECT_LT(measured.memory, (first == 0 ? 5 : 9) * measured.samples());
  }
}

// Packets that go through a quarter of a million blocks and say nothing of any.
TEST(Jpeg2000Limits, LayersOfManyBlocks) {
  const Measured measured = ExpectBounded(Codestream(
      {Size({2048, 2048, 0, 0, {{1, 1}}, 7}), CodingStyle({0, {}, 0, 65535, 0x00, 0, false}),
       Quantization(0), TilePart(0, Bytes(65535, 0x80))}));
  EXPECT_NE(measured.text().find("stopped"), std::string::npos) << measured.text();
}

// Start markers close to each other, from each of which a header would be read to the end of the
// file: each pass is a segment of its own, with a length.
TEST(Jpeg2000Limits, HeadersFromManyStartMarkers) {
  Bytes body;
  for (int i = 0; i < 20000; ++i) {
    jpeg2000_streams::Put(0xFF910004, 4, &body);
    jpeg2000_streams::Put(static_cast<uint64_t>(i), 2, &body);
    jpeg2000_streams::Put(Bytes(4, 0xBF), &body);
  }
  jpeg2000_streams::Put(Bytes(300000, 0), &body);
  ExpectBounded(Codestream({Size({1024, 1024, 0, 0, {{1, 1}}, 7}),
                            CodingStyle({0, {0x88}, 0, 2000, 0x00, 4, true}), Quantization(0),
                            TilePart(0, body)}));
}

TEST(Jpeg2000Limits, ManyPartsAndLayers) {
  std::vector<Bytes> pieces = {Size({}), CodingStyle({}), Quantization(0)};
  for (int i = 0; i < 70000; ++i) pieces.push_back(TilePart(0, {}));
  ExpectBounded(Codestream(pieces));
  const Measured measured = ExpectBounded(Codestream(
      {Size({256, 256, 0, 0, {{1, 1}}, 7}), CodingStyle({5, {}, 0, 65535, 0x44, 0, false}),
       Quantization(5), TilePart(0, Bytes(6 * 65535, 0))}));
  EXPECT_EQ(measured.text(), "");
}

// All planes that a code-block can have, over two bytes.
TEST(Jpeg2000Limits, PassesWithoutData) {
  Bytes body;
  for (int i = 0; i < 64; ++i) {
    jpeg2000_streams::Put(PacketOfPasses(109, {0x5A, static_cast<uint8_t>(i)}), &body);
  }
  const Bytes file = Codestream({Size({512, 512, 0, 0, {{1, 1}}, 15}),
                                 CodingStyle({0, {0x66}, 0, 1, 0x44, 0, false}),
                                 Quantization(0, 31, 7), TilePart(0, body)});
  const Measured measured = ExpectBounded(file);
  EXPECT_EQ(measured.text(), "");
}

// A picture that is large in one direction, in levels down to a single sample.
TEST(Jpeg2000Limits, ManyLevels) {
  Bytes body = PacketOfPasses(40, {0x5A, 0x33});
  body.insert(body.end(), 4096, 0);
  const Measured measured = ExpectBounded(Codestream({Size({60000, 200, 0, 0, {{1, 1}}, 7}),
                                                      CodingStyle({32, {}, 0, 1, 0x44, 0, false}),
                                                      Quantization(32, 18), TilePart(0, body)}));
  EXPECT_TRUE(measured.decoded.status.ok());
  EXPECT_LT(measured.memory, 9 * measured.samples() + (1 << 21));
}

TEST(Jpeg2000Limits, LongSidesAreRefused) {
  for (const bool is_tall : {true, false}) {
    const uint32_t length = 0x7FFFFFFF;
    const Bytes file =
        Codestream({Size({is_tall ? 1 : length, is_tall ? length : 1, 0, 0, {{1, 1}}, 7}),
                    CodingStyle({}), Quantization(0), TilePart(0, Bytes(600000, 0))});
    jpeg2000::DecodeOptions options;
    options.max_pixels = INT64_MAX;
    const Decoded decoded = jpeg2000_files::Decode(file, options);
    EXPECT_NE(decoded.status.text().find("sides"), std::string::npos) << decoded.status.text();
  }
}

// Work memory of the wavelets is for lines, which are as long as the picture here.
TEST(Jpeg2000Limits, ThinPictures) {
  Bytes body = PacketOfPasses(40, {0x5A, 0x33});
  body.insert(body.end(), 4096, 0);
  constexpr uint32_t kLength = kIsSample ? 600000 : 3000000;
  for (const bool reversible : {true, false}) {
    for (const bool is_tall : {true, false}) {
      const Bytes file =
          Codestream({Size({is_tall ? 1 : kLength, is_tall ? kLength : 1, 0, 0, {{1, 1}}, 7}),
                      CodingStyle({20, {}, 0, 1, 0x44, 0, false, reversible}), Quantization(20, 18),
                      TilePart(0, body)});
      const Measured measured = ExpectBounded(file);
      EXPECT_TRUE(measured.decoded.status.ok());
      EXPECT_LT(measured.memory, 13 * measured.samples() + (2 << 20));
    }
  }
}

// Each column of a palette makes a channel, which counts like a component.
TEST(Jpeg2000Limits, PalettesOverLargePictures) {
  const Bytes palette = jpeg2000_streams::Box("pclr", {0, 1, 4, 7, 7, 7, 7, 1, 2, 3, 4});
  Bytes mapping;
  for (uint8_t i = 0; i < 4; ++i) jpeg2000_streams::Put({0, 0, 1, i}, &mapping);
  for (const uint32_t side : {7000U, 2000U}) {
    const Bytes stream = Codestream({Size({side, side, 0, 0, {{1, 1}}, 7}),
                                     CodingStyle({5, {}, 0, 1, 0x44, 0, false}), Quantization(5),
                                     TilePart(0, Bytes(size_t{side} * side / 4096 + 100, 0))});
    const Measured measured = Measure(jpeg2000_streams::Jp2(
        side, side, 1, {palette, jpeg2000_streams::Box("cmap", mapping)}, stream));
    EXPECT_EQ(measured.decoded.status.ok(), side == 2000) << measured.text();
    EXPECT_LE(measured.memory, 17 * measured.samples() / 4 + (1 << 20));
  }
}

struct Memory {
  int64_t estimate = 0;
  int64_t measured = 0;
};

// What zepconvert and others ask for before they decode, and what decoding takes.
Memory MemoryOf(const Bytes& file, const jpeg2000::DecodeOptions& options) {
  Memory memory;
  EXPECT_TRUE(jpeg2000::EstimateMemory(file.data(), file.size(), options, &memory.estimate).ok());
  memory.measured = counted_memory::PeakOf([&] {
    zepcodec::Picture picture;
    jpeg2000::FileInfo info;
    EXPECT_TRUE(jpeg2000::DecodePicture(file.data(), file.size(), options, &picture, &info).ok());
  });
  return memory;
}

TEST(Jpeg2000Limits, MemoryIsKnownBefore) {
  constexpr double kPixels = 450 * 350;
  for (const bool reversible : {true, false}) {
    for (const int block : {6, 4, 2}) {
      for (const int tile : {0, 128}) {
        jpeg2000::EncodeOptions encode;
        encode.reversible = reversible;
        encode.block_width_log2 = encode.block_height_log2 = block;
        encode.tile_width = encode.tile_height = tile;
        const Bytes file = jpeg2000_files::Encode(MakePicture({450, 350, 3, 8, false}), encode);
        jpeg2000::DecodeOptions options;
        options.threads = 1;
        const auto [estimate, measured] = MemoryOf(file, options);
        EXPECT_LE(measured, estimate) << reversible << block << tile;
        // With pointers of 32 bits, blocks take less than the estimate has for them.
        EXPECT_GE(measured * 9 / 4, estimate) << reversible << block << tile;
        const double per_pixel = static_cast<double>(measured) / kPixels;
        std::printf("%s, blocks of %d, tiles of %d: %.1f bytes a pixel, %.1f expected\n",
                    reversible ? "5/3" : "9/7", 1 << block, tile, per_pixel,
                    static_cast<double>(estimate) / kPixels);
        EXPECT_LT(per_pixel, block == 6 ? 21 : 100);
      }
    }
  }
}

// Takes rows and forgets them.
class NoRows : public zepcodec::RowSink {
 public:
  zepcodec::Status Take(const zepcodec::Picture&, int) override { return {}; }
};

TEST(Jpeg2000Limits, MemoryOfRegionsAndRowsIsKnownBefore) {
  constexpr int kWidth = 1200, kHeight = kIsSample ? 360 : 900;
  jpeg2000_random::Random random(3);
  for (const int tile : {0, 256, 700}) {
    for (const int precinct : {0, 7}) {
      jpeg2000::EncodeOptions encode;
      encode.reversible = precinct == 0;
      encode.tile_width = encode.tile_height = tile;
      if (precinct > 0) encode.precincts = {{precinct, precinct}};
      const Bytes file =
          jpeg2000_files::Encode(MakePicture({kWidth, kHeight, 3, 8, false}), encode);
      for (int i = 0; i < 12; i += kIsSample ? 5 : 1) {
        jpeg2000::DecodeOptions options;
        options.threads = 1 + i % 3;
        options.reduce = i % 4;
        const int width = kWidth >> options.reduce, height = kHeight >> options.reduce;
        if (i % 2 == 0) {
          options.region = {jpeg2000_random::RandomRegion(width, height, &random), {}};
        }
        NoRows rows;
        if (i % 3 > 0) options.rows = &rows;
        const auto [estimate, measured] = MemoryOf(file, options);
        EXPECT_LE(measured, estimate) << tile << " " << precinct << " " << i;
        EXPECT_LE(estimate, 3 * measured + (int64_t{1} << 21))
            << tile << " " << precinct << " " << i;
      }
    }
  }
}

}  // namespace
