// SPDX-License-Identifier: MIT
#include "codecs/jpeg/block_rows.h"

#include <algorithm>

#include "codecs/jpeg/block_transform.h"

namespace zepcodec::jpeg {

int64_t BlocksInMcu(const ScanLayout& layout) {
  int64_t blocks = 0;
  for (const ScanPart& part : layout.parts) {
    blocks += int64_t{part.blocks_across} * part.blocks_down;
  }
  return blocks;
}

// Blocks are copied some time before they are transformed: a wide load of bytes that shorter stores
// have just written takes long.
void MakeRow(const ScanLayout& layout, int row, BlockSource* source, std::vector<Plane>* planes) {
  constexpr int kChunkBlocks = 48;
  alignas(64) int16_t room[kChunkBlocks * 64];
  const int16_t* blocks[kChunkBlocks] = {};
  struct Target {
    InverseTransform inverse;
    uint8_t* samples;
    int step;
  };
  Target targets[4];
  for (size_t i = 0; i < layout.parts.size(); ++i) {
    const ScanPart& part = layout.parts[i];
    Plane& plane = (*planes)[part.component];
    targets[i] = {TransformFor(part.block_size),
                  plane.Row(row * part.blocks_down * part.block_size), plane.step()};
  }
  const int64_t in_mcu = std::max<int64_t>(BlocksInMcu(layout), 1);
  source->Seek((int64_t{row} * layout.mcus_per_row + layout.window.first_column) * in_mcu);
  const int columns = layout.window.end_column - layout.window.first_column;
  const auto chunk = static_cast<int>(kChunkBlocks / in_mcu);
  for (int first = 0; first < columns; first += chunk) {
    const int end = std::min(first + chunk, columns);
    size_t count = 0;
    for (int mcu = first; mcu < end; ++mcu) {
      for (size_t i = 0; i < layout.parts.size(); ++i) {
        const int in_part = layout.parts[i].blocks_across * layout.parts[i].blocks_down;
        for (int k = 0; k < in_part; ++k, ++count) {
          blocks[count] = source->Next(i, room + 64 * count);
        }
      }
    }
    const int16_t* const* block = blocks;
    for (int mcu = first; mcu < end; ++mcu) {
      for (size_t i = 0; i < layout.parts.size(); ++i) {
        const ScanPart& part = layout.parts[i];
        const Target& target = targets[i];
        for (int y = 0; y < part.blocks_down; ++y) {
          uint8_t* samples = target.samples + ptrdiff_t{y} * part.block_size * target.step +
                             mcu * part.blocks_across * part.block_size;
          for (int x = 0; x < part.blocks_across; ++x, samples += part.block_size) {
            target.inverse(*block++, samples, target.step, part.steps);
          }
        }
      }
    }
  }
}

}  // namespace zepcodec::jpeg
