// SPDX-License-Identifier: MIT
#include "jpeg/coefficient_scan.h"

#include <vector>

#include "jpeg/scan_source.h"

namespace jpeg {
namespace {

struct Part {
  const zepiDecodeHuffmanSpec* dc;
  const zepiDecodeHuffmanSpec* ac;
  int16_t last_dc;
};

class CoefficientScan {
 public:
  CoefficientScan(const Scan& scan, const Tables& tables, const ScanWalk& walk, ScanSource* source,
                  Coefficients* coefficients)
      : scan_(scan), walk_(walk), source_(*source), coefficients_(*coefficients) {
    for (const ScanComponent& component : scan.components) {
      parts_.push_back({&tables.dc[component.dc_table], &tables.ac[component.ac_table], 0});
    }
  }

  void Decode() {
    ScanSource& from = source_;
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
      for (int column = 0; column < walk_.mcus_per_row; ++column) {
        if (source_.Begin()) {
          for (Part& part : parts_) part.last_dc = 0;
        }
        walk_.ForEachBlock(column, row, [&](size_t i, int x, int y) {
          const auto component = static_cast<size_t>(scan_.components[i].index);
          DecodeOne(decode, coefficients_.planes[component].Block(x, y), &parts_[i]);
        });
        source_.End(1);
      }
    }
  }

  // Of blocks that are lost the first scan of DC shows the last value at least.
  template <class DecodeBlock>
  void DecodeOne(const DecodeBlock& decode, int16_t* block, Part* part) {
    if (!source_.lost()) {
      const zepStatus status = decode(block, part);
      if (status == zepStatusOk) return;
      source_.Lose(status, 0);
      if (!coefficients_.frame.is_progressive) std::memset(block, 0, 64 * sizeof(*block));
    }
    if (scan_.first == 0 && scan_.high == 0) {
      block[0] = static_cast<int16_t>(part->last_dc * (1 << scan_.low));
    }
  }

  const Scan& scan_;
  const ScanWalk& walk_;
  ScanSource& source_;
  Coefficients& coefficients_;
  std::vector<Part> parts_;
};

}  // namespace

size_t DecodeScan(const uint8_t* data, size_t size, size_t begin, const Scan& scan,
                  const Tables& tables, int restart_interval, Coefficients* coefficients,
                  Messages* messages) {
  const Geometry geometry(coefficients->frame, 1);
  const ScanWalk walk(geometry, scan);
  ScanSource source(data, size, begin, walk.McuCount(), restart_interval, messages);
  CoefficientScan(scan, tables, walk, &source, coefficients).Decode();
  return source.end();
}

}  // namespace jpeg
