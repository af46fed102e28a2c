// SPDX-License-Identifier: MIT
#include "jpeg/coefficient_scan.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "jpeg/scan_source.h"

namespace jpeg {
namespace {

struct Part {
  CoefficientPlane* plane;
  int across;  // blocks in an MCU
  int down;
  const zepiDecodeHuffmanSpec* dc;
  const zepiDecodeHuffmanSpec* ac;
  int16_t last_dc;
};

class CoefficientScan {
 public:
  CoefficientScan(const Scan& scan, const Tables& tables, const ScanWalk& walk, ScanSource* source,
                  Coefficients* coefficients)
      : scan_(scan), walk_(walk), source_(*source), coefficients_(*coefficients) {
    for (size_t i = 0; i < walk.parts.size(); ++i) {
      const ScanComponent& component = scan.components[i];
      parts_.push_back({&coefficients->planes[static_cast<size_t>(component.index)],
                        walk.parts[i].across, walk.parts[i].down, &tables.dc[component.dc_table],
                        &tables.ac[component.ac_table], 0});
    }
  }

  void Decode() {
    IntervalReader& from = source_.reader();
    const int low = scan_.low;
    if (!coefficients_.frame.is_progressive) {
      Walk([&](int16_t* block, Part* part) {
        return zepiDecodeHuffman8x8_JPEG_1u16s_C1(from.bytes(), from.length(), from.at(), block,
                                                  &part->last_dc, from.marker(), part->dc, part->ac,
                                                  from.state());
      });
    } else if (scan_.first == 0 && scan_.high == 0) {
      Walk([&](int16_t* block, Part* part) {
        return zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(from.bytes(), from.length(), from.at(),
                                                          block, &part->last_dc, from.marker(), low,
                                                          part->dc, from.state());
      });
    } else if (scan_.first == 0) {
      Walk([&](int16_t* block, Part*) {
        return zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(from.bytes(), from.length(), from.at(),
                                                           block, from.marker(), low, from.state());
      });
    } else {
      const auto decode = scan_.high == 0 ? zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1
                                          : zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1;
      Walk([&](int16_t* block, Part* part) {
        return decode(from.bytes(), from.length(), from.at(), block, from.marker(), scan_.first,
                      scan_.last, low, part->ac, from.state());
      });
    }
  }

 private:
  template <class DecodeBlock>
  void Walk(const DecodeBlock& decode) {
    for (int row = 0; row < walk_.mcu_rows; ++row) {
      for (int first = 0, count = 0; first < walk_.mcus_per_row; first += count) {
        if (source_.Begin()) {
          for (Part& part : parts_) part.last_dc = 0;
        }
        count =
            static_cast<int>(std::min<int64_t>(walk_.mcus_per_row - first, source_.mcus_left()));
        for (int i = 0; i < count; ++i) DecodeMcu(decode, first + i, row, i);
        source_.End(count);
      }
    }
  }

  template <class DecodeBlock>
  void DecodeMcu(const DecodeBlock& decode, int column, int row, int mcus_done) {
    for (Part& part : parts_) {
      for (int y = row * part.down; y < (row + 1) * part.down; ++y) {
        int16_t* block = part.plane->Block(column * part.across, y);
        for (int x = 0; x < part.across; ++x, block += 64) {
          if (!source_.lost()) {
            const zepStatus status = decode(block, &part);
            if (status == zepStatusOk) continue;
            source_.Lose(status, mcus_done);
            if (!coefficients_.frame.is_progressive) std::memset(block, 0, 64 * sizeof(*block));
          }
          ShowLost(part, block);
        }
      }
    }
  }

  // Of blocks that are lost the first scan of DC shows the last value at least.
  void ShowLost(const Part& part, int16_t* block) const {
    if (scan_.first != 0 || scan_.high != 0) return;
    block[0] = static_cast<int16_t>(part.last_dc * (1 << scan_.low));
  }

  const Scan& scan_;
  const ScanWalk& walk_;
  ScanSource& source_;
  Coefficients& coefficients_;
  std::vector<Part> parts_;
};

}  // namespace

size_t DecodeScan(const uint8_t* data, size_t size, size_t begin, const Scan& scan,
                  const ScanWalk& walk, const Tables& tables, int restart_interval,
                  Coefficients* coefficients, Messages* messages) {
  ScanSource source(data, size, begin, walk.McuCount(), restart_interval, messages);
  CoefficientScan(scan, tables, walk, &source, coefficients).Decode();
  return source.reader().end();
}

}  // namespace jpeg
