// SPDX-License-Identifier: MIT
// A picture as files code it: the quantized coefficients of all blocks.
#ifndef ZEPJP_CODECS_JPEG_COEFFICIENTS_H_
#define ZEPJP_CODECS_JPEG_COEFFICIENTS_H_

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/markers/frame.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

// The blocks of a component, with those that only fill up MCUs, in natural order.
class CoefficientPlane {
 public:
  // All zeros. False: no memory.
  [[nodiscard]] bool Allocate(int across, int down) {
    across_ = across;
    down_ = down;
    const size_t blocks = static_cast<size_t>(across) * static_cast<size_t>(down);
    if (!bytes_.Resize(blocks * kBlockBytes) || !touched_.Resize(blocks)) return false;
    std::memset(bytes_.data(), 0, bytes_.size());
    std::memset(touched_.data(), 0, blocks);
    return true;
  }
  // Bytes that Allocate() takes for a block.
  static constexpr size_t BytesForBlock() { return kBlockBytes + 1; }

  int16_t* Block(int x, int y) { return reinterpret_cast<int16_t*>(bytes_.data() + Offset(x, y)); }
  const int16_t* Block(int x, int y) const {
    return reinterpret_cast<const int16_t*>(bytes_.data() + Offset(x, y));
  }
  // A byte for each block, block after block: whether a progressive scan may have made AC
  // coefficients there.
  uint8_t* Touched(int x, int y) { return touched_.data() + Offset(x, y) / kBlockBytes; }
  int across() const { return across_; }
  int down() const { return down_; }

 private:
  static constexpr size_t kBlockBytes = 64 * sizeof(int16_t);

  size_t Offset(int x, int y) const {
    const auto row = static_cast<size_t>(y) * static_cast<size_t>(across_);
    return (row + static_cast<size_t>(x)) * kBlockBytes;
  }

  ByteBuffer bytes_;
  ByteBuffer touched_;
  int across_ = 0;
  int down_ = 0;
};

// One plane and one table of steps, in natural order, for each component.
struct Coefficients {
  // False: no memory.
  [[nodiscard]] bool Allocate(const Frame& its_frame) {
    frame = its_frame;
    const Geometry geometry(frame, 1);
    planes = std::vector<CoefficientPlane>(frame.components.size());
    steps.assign(frame.components.size(), {});
    has_dc.assign(frame.components.size(), false);
    for (size_t i = 0; i < planes.size(); ++i) {
      const ComponentGeometry& place = geometry.components[i];
      if (!planes[i].Allocate(geometry.mcus_per_row * place.h, geometry.mcu_rows * place.v)) {
        return false;
      }
    }
    return true;
  }

  Frame frame;
  std::vector<CoefficientPlane> planes;
  std::vector<std::array<uint16_t, 64>> steps;
  std::vector<bool> has_dc;  // components that had a first scan of DC
  int64_t idle_visits = 0;   // see kMostIdleVisits
};

// How a scan goes through the blocks of its components: interleaved in MCUs, or, with a single
// component, only the blocks that hold samples.
struct ScanWalk {
  ScanWalk(const Geometry& geometry, const Scan& scan) {
    const bool is_alone = scan.components.size() == 1;
    mcus_per_row = geometry.mcus_per_row;
    mcu_rows = geometry.mcu_rows;
    for (const ScanComponent& component : scan.components) {
      const ComponentGeometry& place = geometry.components[static_cast<size_t>(component.index)];
      parts.push_back({is_alone ? 1 : place.h, is_alone ? 1 : place.v});
      if (!is_alone) continue;
      mcus_per_row = place.blocks_per_row;
      mcu_rows = place.block_rows;
    }
  }
  int64_t McuCount() const { return int64_t{mcus_per_row} * mcu_rows; }

  // Calls on_block(part, x, y) for the blocks of an MCU in their order.
  template <class OnBlock>
  void ForEachBlock(int column, int row, const OnBlock& on_block) const {
    for (size_t i = 0; i < parts.size(); ++i) {
      const auto [across, down] = parts[i];
      for (int y = row * down; y < (row + 1) * down; ++y) {
        for (int x = column * across; x < (column + 1) * across; ++x) on_block(i, x, y);
      }
    }
  }

  struct Part {
    int across;  // blocks in an MCU
    int down;
  };
  int mcus_per_row;
  int mcu_rows;
  std::vector<Part> parts;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENTS_H_
