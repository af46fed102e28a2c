// SPDX-License-Identifier: MIT
// The contents of the marker segments of a codestream (ITU-T T.800, Annex A).
#ifndef ZEPJP_CODECS_JPEG2000_CODESTREAM_H_
#define ZEPJP_CODECS_JPEG2000_CODESTREAM_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zepcodec::jpeg2000 {

enum Marker : int {
  kSoc = 0xFF4F,
  kCap = 0xFF50,
  kSiz = 0xFF51,
  kCod = 0xFF52,
  kCoc = 0xFF53,
  kTlm = 0xFF55,
  kPlm = 0xFF57,
  kPlt = 0xFF58,
  kQcd = 0xFF5C,
  kQcc = 0xFF5D,
  kRgn = 0xFF5E,
  kPoc = 0xFF5F,
  kPpm = 0xFF60,
  kPpt = 0xFF61,
  kCrg = 0xFF63,
  kCom = 0xFF64,
  kSot = 0xFF90,
  kSop = 0xFF91,
  kEph = 0xFF92,
  kSod = 0xFF93,
  kEoc = 0xFFD9,
};

constexpr int kMostComponents = 16;
constexpr int kMostLevels = 32;
constexpr int kMostSubbands = 3 * kMostLevels + 1;

// The size of the picture, of its tiles and of its components; all on the reference grid.
struct SizeSegment {
  struct ComponentSize {
    int bits;
    bool is_signed;
    int dx;
    int dy;
  };
  int32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  int32_t tile_x0 = 0, tile_y0 = 0;
  int32_t tile_width = 0, tile_height = 0;
  std::vector<ComponentSize> components;

  int TilesAcross() const { return Tiles(x1, tile_x0, tile_width); }
  int TilesDown() const { return Tiles(y1, tile_y0, tile_height); }

 private:
  static int Tiles(int32_t end, int32_t start, int32_t size) {
    return static_cast<int>((int64_t{end} - start + size - 1) / size);
  }
};

enum class Progression { kLrcp = 0, kRlcp = 1, kRpcl = 2, kPcrl = 3, kCprl = 4 };

// Bits of the code-block style, with the values that the library's functions take.
enum BlockStyle : int {
  kBypass = 1,
  kReset = 2,
  kTerminateAll = 4,
  kCausal = 8,
  kPredictable = 16,
  kSegmentationSymbols = 32,
};

// Parameters that hold for all components of a tile.
struct TileCoding {
  bool uses_sop = false;
  bool uses_eph = false;
  Progression order = Progression::kLrcp;
  int layers = 1;
  bool transforms_components = false;
};

struct ComponentCoding {
  int levels = 5;
  int block_width_log2 = 6;
  int block_height_log2 = 6;
  int block_style = 0;
  bool reversible = true;
  // The precincts of each resolution; 15: not divided.
  std::array<uint8_t, kMostLevels + 1> precinct_width_log2 = {};
  std::array<uint8_t, kMostLevels + 1> precinct_height_log2 = {};
};

struct StepSize {
  int exponent = 0;
  int mantissa = 0;  // 11 bits, after an implied 1
};

enum class QuantizationStyle { kNone = 0, kDerived = 1, kExpounded = 2 };

struct Quantization {
  QuantizationStyle style = QuantizationStyle::kNone;
  int guard_bits = 0;
  int count = 0;  // of the steps that are given
  std::array<StepSize, kMostSubbands> steps = {};
};

// A volume of packets: resolutions and components from begin up to but excluding end, layers from
// 0.
struct ProgressionVolume {
  int first_resolution = 0;
  int first_component = 0;
  int end_layer = 0;
  int end_resolution = 0;
  int end_component = 0;
  Progression order = Progression::kLrcp;
};

// All parameters of a tile. Segments of a tile override those of the main header, and in the same
// header, segments of a component override those of all components.
struct Parameters {
  enum Priority : int { kUnset = 0, kMain, kMainComponent, kTile, kTileComponent };
  struct ForComponent {
    ComponentCoding coding;
    Quantization quantization;
    int coding_priority = kUnset;
    int quantization_priority = kUnset;
    int roi_shift = 0;
  };
  TileCoding tile;
  bool has_tile_coding = false;
  std::vector<ForComponent> components;
  std::vector<ProgressionVolume> volumes;  // empty: the tile's order over everything
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_CODESTREAM_H_
