// SPDX-License-Identifier: MIT
// The strips or tiles of a TIFF file as rows of pixels.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_TIFF_BANDS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_TIFF_BANDS_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/zepconvert/tiff_handle.h"
#include "tools/zepconvert/tiff_shape.h"

namespace zepconvert {

// Hands out rows in their order. A band is a strip or a row of tiles.
class TiffBands {
 public:
  TiffBands(TiffHandle* tiff, const TiffShape& shape) : tiff_(*tiff), shape_(shape) {}
  virtual ~TiffBands() = default;

  // Lost samples are 0.
  virtual void ReadRow(int y, uint8_t* row) = 0;
  virtual int64_t memory() const = 0;

  const std::vector<std::string>& damage() const { return damage_; }
  bool is_all_lost() const { return !has_good_rows_; }

 protected:
  void AddDamage(const std::string& place) { damage_.push_back(place + ": " + tiff_.TakeError()); }

  TiffHandle& tiff_;
  const TiffShape& shape_;
  bool has_good_rows_ = false;

 private:
  std::vector<std::string> damage_;
};

std::unique_ptr<TiffBands> MakeTiffBands(TiffHandle* tiff, const TiffShape& shape);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_TIFF_BANDS_H_
