// SPDX-License-Identifier: MIT
#include "codecs/jpeg/block_rows.h"

#include "codecs/jpeg/block_transform.h"

namespace zepcodec::jpeg {

int64_t BlocksInMcu(const ScanLayout& layout) {
  int64_t blocks = 0;
  for (const ScanPart& part : layout.parts) {
    blocks += int64_t{part.blocks_across} * part.blocks_down;
  }
  return blocks;
}

void MakeRow(const ScanLayout& layout, int row, BlockSource* source, std::vector<Plane>* planes) {
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
  const int64_t first = int64_t{row} * layout.mcus_per_row + layout.window.first_column;
  source->Seek(first * BlocksInMcu(layout));
  const int columns = layout.window.end_column - layout.window.first_column;
  for (int mcu = 0; mcu < columns; ++mcu) {
    for (size_t i = 0; i < layout.parts.size(); ++i) {
      const ScanPart& part = layout.parts[i];
      const Target& target = targets[i];
      for (int y = 0; y < part.blocks_down; ++y) {
        uint8_t* samples = target.samples + ptrdiff_t{y} * part.block_size * target.step +
                           mcu * part.blocks_across * part.block_size;
        for (int x = 0; x < part.blocks_across; ++x, samples += part.block_size) {
          target.inverse(source->Next(i), samples, target.step, part.steps);
        }
      }
    }
  }
}

}  // namespace zepcodec::jpeg
