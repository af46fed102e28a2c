// SPDX-License-Identifier: MIT
// Compares regions and rows of a picture with the whole picture.
#ifndef ZEPJP_FUZZ_PARTS_H_
#define ZEPJP_FUZZ_PARTS_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "codecs/support/region.h"
#include "codecs/support/row_sink.h"
#include "require.h"

namespace fuzz {

// Rows must be those of the picture's region.
class RowCheck : public zepcodec::RowSink {
 public:
  RowCheck(const zepcodec::Picture& picture, const zepcodec::Region& region)
      : picture_(picture), region_(region) {}

  zepcodec::Status Take(const zepcodec::Picture& rows, int y) override {
    Require(y == next_ && rows.height() > 0 && rows.width() == region_.width);
    next_ += rows.height();
    Require(next_ <= region_.height);
    const size_t pixel = picture_.BytesPerSample() * static_cast<size_t>(picture_.channels());
    for (int row = 0; row < rows.height(); ++row) {
      const uint8_t* const want =
          picture_.Row(region_.y + y + row) + static_cast<size_t>(region_.x) * pixel;
      Require(std::memcmp(rows.Row(row), want, rows.Stride()) == 0);
    }
    return zepcodec::Status();
  }
  bool is_done() const { return next_ == region_.height; }

 private:
  const zepcodec::Picture& picture_;
  zepcodec::Region region_;
  int next_ = 0;
};

// Decodes a region with decode(options, &picture), as a picture and in rows. The seed chooses the
// region.
template <class Options, class Decode>
void RequireParts(size_t seed, const zepcodec::Picture& picture, Options options,
                  const Decode& decode) {
  zepcodec::Region region;
  region.x = static_cast<int>(seed % static_cast<size_t>(picture.width()));
  region.y = static_cast<int>(seed / 3 % static_cast<size_t>(picture.height()));
  region.width = 1 + static_cast<int>(seed / 5 % static_cast<size_t>(picture.width() - region.x));
  region.height = 1 + static_cast<int>(seed / 7 % static_cast<size_t>(picture.height() - region.y));
  options.region = zepcodec::WantedRegion(region, {});
  zepcodec::Picture part;
  Require(decode(options, &part).ok());
  RowCheck of_picture(picture, region);
  Require(of_picture.Take(part, 0).ok() && of_picture.is_done());
  RowCheck rows(picture, region);
  options.rows = &rows;
  zepcodec::Picture rest;
  Require(decode(options, &rest).ok());
  if (rest.width() > 0) Require(rows.Take(rest, 0).ok());
  Require(rows.is_done());
}

}  // namespace fuzz

#endif  // ZEPJP_FUZZ_PARTS_H_
