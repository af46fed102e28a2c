// SPDX-License-Identifier: MIT
// Damaged JPEG 2000 files: no crash, a picture or an error, and what is whole is decoded.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <random>

#include "codecs/jpeg2000/geometry.h"
#include "harness/guarded.h"
#include "tests/codecs/jpeg2000/jpeg2000_sample.h"
#include "tests/codecs/jpeg2000/jpeg2000_streams.h"

namespace jpeg2000 = zepcodec::jpeg2000;

namespace {

using jpeg2000::EncodeOptions;
using jpeg2000::Image;
using jpeg2000_files::Behind;
using jpeg2000_files::Bytes;
using jpeg2000_files::Decode;
using jpeg2000_files::Decoded;
using jpeg2000_files::Encode;
using jpeg2000_files::kIsSample;
using jpeg2000_files::MakePicture;
using jpeg2000_files::Psnr;
using jpeg2000_streams::Codestream;
using jpeg2000_streams::CodingStyle;
using jpeg2000_streams::PacketOfPasses;
using jpeg2000_streams::Quantization;
using jpeg2000_streams::Size;
using jpeg2000_streams::TilePart;

// One thread: starting several takes longer than to decode such small pictures.
jpeg2000::DecodeOptions Serial() {
  jpeg2000::DecodeOptions options;
  options.threads = 1;
  options.max_pixels = 1 << 16;
  return options;
}

// In memory that ends where the file ends.
void DecodeGuarded(const Bytes& file) {
  harness::Guarded<uint8_t> memory(file.size());
  if (!file.empty()) std::memcpy(memory.data(), file.data(), file.size());
  Image image;
  jpeg2000::FileInfo info;
  const zepcodec::Status status =
      jpeg2000::Decode(memory.data(), file.size(), Serial(), &image, &info);
  if (!status.ok()) {
    EXPECT_FALSE(status.text().empty());
    return;
  }
  EXPECT_FALSE(image.components.empty());
  for (const jpeg2000::Component& component : image.components) {
    EXPECT_EQ(component.samples.size(), size_t(component.width) * size_t(component.height));
  }
}

Bytes MakeFile(int kind) {
  EncodeOptions options;
  options.layer_bytes = {600, 0};
  if (kind == 1) {
    options.reversible = false;
    options.block_style = 63;
    options.uses_sop = options.uses_eph = true;
    options.block_width_log2 = options.block_height_log2 = 3;
  }
  if (kind == 2) {
    options.tile_width = options.tile_height = 16;
    options.order = jpeg2000::Progression::kPcrl;
    options.precincts = {{4, 4}, {2, 2}};
    options.levels = 2;
    options.is_jp2 = false;
  }
  return Encode(MakePicture({33, 21, kind == 1 ? 4 : 3, 8, false}), options);
}

TEST(Jpeg2000Damage, CutOffAnywhere) {
  for (int kind = 0; kind < 3; ++kind) {
    const Bytes file = MakeFile(kind);
    for (size_t size = 0; size < file.size(); size += kIsSample ? 7 : 1) {
      DecodeGuarded({file.begin(), file.begin() + static_cast<ptrdiff_t>(size)});
    }
  }
}

TEST(Jpeg2000Damage, AnyHeaderByteChanged) {
  for (int kind = 0; kind < 3; ++kind) {
    const Bytes file = MakeFile(kind);
    const size_t end = Behind(file, jpeg2000::kSod) + 16;
    for (size_t i = 0; i < std::min(end, file.size()); ++i) {
      const auto one = static_cast<int>(i % 8);
      for (const int change : {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0xFF}) {
        if (kIsSample && change != 0xFF && change != 1 << one) continue;
        Bytes damaged = file;
        damaged[i] = static_cast<uint8_t>(damaged[i] ^ change);
        DecodeGuarded(damaged);
      }
    }
  }
}

TEST(Jpeg2000Damage, RandomBytesChanged) {
  std::mt19937 random(1);
  for (int kind = 0; kind < 3; ++kind) {
    const Bytes file = MakeFile(kind);
    for (int round = 0; round < (kIsSample ? 200 : 1000); ++round) {
      Bytes damaged = file;
      for (int changes = 1 + round % 8; changes > 0; --changes) {
        damaged[random() % damaged.size()] = static_cast<uint8_t>(random());
      }
      DecodeGuarded(damaged);
    }
  }
}

TEST(Jpeg2000Damage, RandomBytes) {
  std::mt19937 random(2);
  for (int round = 0; round < (kIsSample ? 200 : 1000); ++round) {
    Bytes file(random() % 300);
    for (uint8_t& byte : file) byte = static_cast<uint8_t>(random());
    if (file.size() > 2 && round % 2 == 0) {
      file[0] = 0xFF;
      file[1] = 0x4F;
    }
    DecodeGuarded(file);
  }
}

// The more of a file there is, the more of the picture.
TEST(Jpeg2000Damage, CutFilesShowWhatTheyHave) {
  const Image image = MakePicture({160, 120, 3, 8, false});
  EncodeOptions options;
  options.order = jpeg2000::Progression::kLrcp;
  options.layer_bytes = {1000, 2000, 4000, 8000, 16000, 0};
  const Bytes file = Encode(image, options);
  double before = 0;
  for (const size_t size : {1500U, 3000U, 6000U, 12000U}) {
    const Decoded decoded = Decode({file.begin(), file.begin() + static_cast<ptrdiff_t>(size)});
    ASSERT_TRUE(decoded.status.ok()) << decoded.status.text();
    EXPECT_FALSE(decoded.info.messages.empty());
    const double psnr = Psnr(image, decoded.image);
    EXPECT_GT(psnr, before + 1) << size;
    before = psnr;
  }
  EXPECT_GT(before, 30);
}

// How many samples of component 0 differ.
size_t DifferentSamples(const Image& a, const Image& b) {
  size_t count = 0;
  for (size_t i = 0; i < a.components[0].samples.size(); ++i) {
    if (a.components[0].samples[i] != b.components[0].samples[i]) ++count;
  }
  return count;
}

// A changed byte in the body of the last packet (the highest frequencies) touches one block of 16 x
// 16 coefficients, the area of 32 x 32 samples and what the filter adds.
TEST(Jpeg2000Damage, ErrorsStayInTheirBlock) {
  const Image image = MakePicture({256, 256, 1, 8, false});
  EncodeOptions options;
  options.block_width_log2 = options.block_height_log2 = 4;
  options.block_style =
      jpeg2000::kTerminateAll | jpeg2000::kPredictable | jpeg2000::kSegmentationSymbols;
  const Bytes file = Encode(image, options);
  size_t found = 0;
  const size_t tries = kIsSample ? 10 : 40;
  for (size_t i = 0; i < tries; ++i) {
    Bytes damaged = file;
    damaged[file.size() - 500 - 97 * i] ^= 0x55;
    const Decoded decoded = Decode(damaged);
    ASSERT_TRUE(decoded.status.ok());
    EXPECT_LT(DifferentSamples(image, decoded.image), size_t{40 * 40});
    if (!decoded.info.messages.empty()) ++found;
  }
  EXPECT_GT(found, tries / 2);
}

// With start markers, a packet that is lost takes its precinct with it and no other.
TEST(Jpeg2000Damage, LostPacketsStayInTheirPrecinct) {
  const Image image = MakePicture({256, 256, 1, 8, false});
  EncodeOptions options;
  options.is_jp2 = false;
  options.uses_sop = options.uses_eph = true;
  options.precincts = {{6, 6}};
  const Bytes file = Encode(image, options);
  std::vector<size_t> starts;
  for (size_t at = Behind(file, jpeg2000::kSop); at < file.size();
       at = Behind(file, jpeg2000::kSop, at)) {
    starts.push_back(at + 4);
  }
  ASSERT_GT(starts.size(), 20u);
  for (size_t i = starts.size() - 16; i + 1 < starts.size(); ++i) {
    Bytes damaged = file;
    for (size_t k = 0; k < 6; ++k) damaged[starts[i] + k] = 0xF7;
    const Decoded decoded = Decode(damaged);
    ASSERT_TRUE(decoded.status.ok());
    EXPECT_LT(DifferentSamples(image, decoded.image), size_t{76 * 76}) << i;
    EXPECT_FALSE(decoded.info.messages.empty());
  }
}

TEST(Jpeg2000Damage, MissingTilesAreGrey) {
  const Image image = MakePicture({64, 64, 1, 8, false});
  EncodeOptions options;
  options.is_jp2 = false;
  options.tile_width = options.tile_height = 32;
  Bytes file = Encode(image, options);
  const size_t second = Behind(file, jpeg2000::kSot, Behind(file, jpeg2000::kSot));
  file[second + 3] = 3;  // now another part of tile 3
  const Decoded decoded = Decode(file);
  ASSERT_TRUE(decoded.status.ok());
  EXPECT_FALSE(decoded.info.messages.empty());
  EXPECT_EQ(decoded.image.components[0].Row(5)[40], 128);
  EXPECT_EQ(decoded.image.components[0].Row(5)[20], image.components[0].Row(5)[20]);
  EXPECT_EQ(decoded.image.components[0].Row(40)[20], image.components[0].Row(40)[20]);
}

// The main header of a file whose size, tiles and precincts are as told; no data follows.
Bytes Claim(uint32_t side, uint32_t tile, uint8_t precinct, uint8_t block) {
  EncodeOptions options;
  options.is_jp2 = false;
  options.precincts = {{8, 8}};
  Bytes file = Encode(MakePicture({64, 64, 1, 8, false}), options);
  const auto put = [&](size_t at, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) file[at + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
  };
  const size_t size = Behind(file, jpeg2000::kSiz) + 4;
  put(size, side);
  put(size + 4, side);
  put(size + 16, tile);
  put(size + 20, tile);
  const size_t coding = Behind(file, jpeg2000::kCod) + 2;
  file[coding + 6] = file[coding + 7] = block;
  for (size_t i = 0; i < 6; ++i) file[coding + 10 + i] = precinct;
  return file;
}

TEST(Jpeg2000Damage, LargeClaimsTakeNoMemory) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(Decode(Claim(0x7FFFFFFF, 0x7FFFFFFF, 0xFF, 4)).status.ok());
  EXPECT_FALSE(Decode(Claim(60000, 60000, 0xFF, 4)).status.ok());
  EXPECT_FALSE(Decode(Claim(60000, 1, 0xFF, 4)).status.ok());
  // Few enough samples to be accepted in any case, but with a precinct for four samples, or blocks
  // of four by four.
  for (const Bytes& file : {Claim(4000, 4000, 0x11, 4), Claim(4000, 4000, 0xFF, 0)}) {
    const Decoded decoded = Decode(file);
    EXPECT_TRUE(decoded.status.ok()) << decoded.status.text();
    EXPECT_FALSE(decoded.info.messages.empty());
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

// Volumes that cover all packets again and again.
TEST(Jpeg2000Damage, ManyChangesOfOrderEnd) {
  EncodeOptions options;
  options.is_jp2 = false;
  options.precincts = {{3, 3}};
  options.layer_bytes.assign(200, 0);
  const Image image = MakePicture({128, 128, 1, 8, false});
  Bytes file = Encode(image, options);
  Bytes segment = {0xFF, 0x5F, 0x1B, 0x5A};
  for (int i = 0; i < 1000; ++i) segment.insert(segment.end(), {0, 0, 0, 100, 33, 1, 0});
  const auto first_tile = static_cast<ptrdiff_t>(Behind(file, jpeg2000::kSot) - 2);
  file.insert(file.begin() + first_tile, segment.begin(), segment.end());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(Decode(file).status.ok());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

// One tile of 64 x 64 in one code-block of 9 planes.
Bytes OneBlock(const Bytes& packet, int layers = 1) {
  return Codestream({Size({}), CodingStyle({0, {}, 0, layers, 0x44, 0, false}), Quantization(0),
                     TilePart(0, packet)});
}

// Some encoders write passes below the last plane; they mean nothing.
TEST(Jpeg2000Tolerance, PassesBelowTheLastPlane) {
  Bytes data(100);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 37 % 251);
  const Image expected = jpeg2000_files::DecodeGood(OneBlock(PacketOfPasses(25, data)));
  EXPECT_NE(expected.components[0].samples, zepcodec::PlainVector<int32_t>(64 * 64, 128));
  for (const int passes : {26, 27, 28, 31, 40, 164}) {
    const Image image = jpeg2000_files::DecodeGood(OneBlock(PacketOfPasses(passes, data)));
    EXPECT_EQ(jpeg2000_files::Difference(expected, image), "") << passes;
  }
}

TEST(Jpeg2000Tolerance, MarkersWithoutSegments) {
  const Bytes packet = PacketOfPasses(25, Bytes(100, 0x35));
  const Bytes bare = {0xFF, 0x30, 0xFF, 0x37, 0xFF, 0x3F};
  const Bytes file =
      Codestream({Size({}), bare, CodingStyle({}), Quantization(0), TilePart(0, packet, bare)});
  EXPECT_EQ(jpeg2000_files::Difference(jpeg2000_files::DecodeGood(OneBlock(packet)),
                                       jpeg2000_files::DecodeGood(file)),
            "");
}

// Every second column of tiles lies between the samples.
TEST(Jpeg2000Tolerance, TilesWithoutSamples) {
  const jpeg2000_streams::Shape shape = {4, 2, 1, 2, {{2, 1}, {2, 2}}, 7};
  std::vector<Bytes> pieces = {Size(shape), CodingStyle({}), Quantization(0)};
  pieces.push_back(TilePart(0, {0, 0}));
  pieces.push_back(TilePart(2, {0, 0}));
  jpeg2000_files::DecodeGood(Codestream(pieces));
  pieces.pop_back();
  EXPECT_EQ(Decode(Codestream(pieces)).info.messages.count(), 1);
}

TEST(Jpeg2000Tolerance, FewerLayersThanAnnounced) {
  Bytes packets = PacketOfPasses(25, Bytes(100, 0x35));
  packets.push_back(0);  // the second layer has nothing
  const Decoded decoded = Decode(OneBlock(packets, 5));
  EXPECT_TRUE(decoded.info.messages.empty());
  ASSERT_EQ(decoded.info.notes.count(), 1);
  EXPECT_NE(decoded.info.notes.kept()[0].text.find("2 of the announced 5"), std::string::npos);
  // Where a precinct has nothing at all, or a packet is cut, something is missing.
  packets.pop_back();
  packets.pop_back();
  EXPECT_FALSE(Decode(OneBlock(packets, 5)).info.messages.empty());
  for (const int bytes : {1, 2}) {
    const Bytes file = Codestream({Size({}), CodingStyle({1, {}, 2, 2, 0x44, 0, false}),
                                   Quantization(1), TilePart(0, Bytes(size_t(bytes), 0))});
    EXPECT_FALSE(Decode(file).info.messages.empty()) << bytes;
  }
}

TEST(Jpeg2000Tolerance, FewerLayersWithStartMarkers) {
  EncodeOptions options;
  options.uses_sop = options.uses_eph = true;
  options.layer_bytes = {1000, 2000, 0};
  options.is_jp2 = false;
  Bytes file = Encode(MakePicture({64, 64, 1, 8, false}), options);
  // The tile ends in front of the first packet of the last layer, of six in each.
  size_t at = Behind(file, jpeg2000::kSop);
  for (int i = 0; i < 12; ++i) at = Behind(file, jpeg2000::kSop, at);
  file.resize(at - 2);
  const size_t tile = Behind(file, jpeg2000::kSot) - 2;
  const size_t length = file.size() - tile;
  for (size_t i = 0; i < 4; ++i) file[tile + 6 + i] = static_cast<uint8_t>(length >> (24 - 8 * i));
  const Decoded decoded = Decode(file);
  EXPECT_TRUE(decoded.info.messages.empty());
  EXPECT_EQ(decoded.info.notes.count(), 2) << "layers, and the end marker";
}

TEST(Jpeg2000Tolerance, NoEndMarker) {
  Bytes file = OneBlock(PacketOfPasses(25, Bytes(100, 0x35)));
  file.resize(file.size() - 2);
  const Decoded decoded = Decode(file);
  EXPECT_TRUE(decoded.info.messages.empty());
  EXPECT_EQ(decoded.info.notes.count(), 1);
}

TEST(Jpeg2000Damage, OtherFilesAreErrors) {
  for (const Bytes& file : {Bytes{}, Bytes{0xFF}, Bytes{0xFF, 0xD8, 0xFF, 0xE0}, Bytes{0xFF, 0x4F},
                            Bytes{0, 0, 0, 12, 'j', 'P', ' ', ' ', 13, 10, 0x87, 10}}) {
    const Decoded decoded = Decode(file);
    EXPECT_FALSE(decoded.status.ok());
    EXPECT_FALSE(decoded.status.text().empty());
  }
}

// Around a codestream come boxes, which count too.
TEST(Jpeg2000Damage, OffsetsAreThoseInTheFile) {
  const Bytes good = OneBlock(PacketOfPasses(25, Bytes(100, 0x35)));
  const size_t coding = Behind(good, 0xFF52) - 2;
  Bytes bad = good;
  bad[coding + 5] = 9;  // no such order of packets
  const Bytes unknown = Codestream({Size({}),
                                    CodingStyle({}),
                                    Quantization(0),
                                    {0xFF, 0x7F, 0, 2},
                                    TilePart(0, PacketOfPasses(25, Bytes(100, 0x35)))});
  const size_t segment = Behind(unknown, 0xFF7F) - 2;
  const Bytes boxed = jpeg2000_streams::Jp2(64, 64, 1, {}, bad);
  const size_t boxes = boxed.size() - bad.size();
  EXPECT_EQ(Decode(bad).status.text().find("byte " + std::to_string(coding) + ":"), 0U);
  EXPECT_EQ(Decode(boxed).status.text().find("byte " + std::to_string(boxes + coding) + ":"), 0U);
  const Decoded decoded = Decode(jpeg2000_streams::Jp2(64, 64, 1, {}, unknown));
  ASSERT_EQ(decoded.info.messages.count(), 1);
  EXPECT_EQ(decoded.info.messages.kept()[0].offset, static_cast<int64_t>(boxes + segment));
}

}  // namespace
