// SPDX-License-Identifier: MIT
// Any bytes as a JPEG 2000 file: the result is a picture or an error. A region of it and its rows
// have the same pixels. The first byte selects what to leave out, and the region.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "codecs/jpeg2000/picture_decoder.h"

namespace jpeg2000 = zepcodec::jpeg2000;

namespace {

using zepcodec::Picture;
using zepcodec::Region;
using zepcodec::Status;

void Require(bool condition) {
  if (!condition) std::abort();
}

// Compares rows with a part of a picture.
class Comparison : public zepcodec::RowSink {
 public:
  Comparison(const Picture& whole, const Region& region) : whole_(whole), region_(region) {}

  Status Take(const Picture& rows, int y) override {
    Require(y == next_ && rows.width() == region_.width && rows.layout() == whole_.layout());
    const size_t left = static_cast<size_t>(region_.x) * static_cast<size_t>(whole_.channels()) *
                        whole_.BytesPerSample();
    for (int i = 0; i < rows.height(); ++i) {
      Require(std::memcmp(rows.Row(i), whole_.Row(region_.y + y + i) + left, rows.Stride()) == 0);
    }
    next_ += rows.height();
    return Status();
  }
  bool has_all() const { return next_ == region_.height; }

 private:
  const Picture& whole_;
  Region region_;
  int next_ = 0;
};

Region RegionOf(int choice, const Picture& whole) {
  const int x = whole.width() * (choice % 4) / 5, y = whole.height() * (choice / 4 % 4) / 5;
  return {x, y, std::max(1, (whole.width() - x) / 2), std::max(1, (whole.height() - y) / 2)};
}

Status Decode(const std::vector<uint8_t>& file, const jpeg2000::DecodeOptions& options,
              Picture* picture) {
  jpeg2000::FileInfo info;
  return jpeg2000::DecodePicture(file.data(), file.size(), options, picture, &info);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  // A copy of the exact size lets the sanitizer detect reads beyond the end.
  const std::vector<uint8_t> file(data + 1, data + size);
  jpeg2000::DecodeOptions options;
  options.reduce = data[0] % 4;
  options.layers = data[0] / 4 % 3;
  options.threads = 1;
  options.max_pixels = 1 << 18;  // larger pictures cost time and find nothing new
  Picture whole;
  const Status status = Decode(file, options, &whole);
  Require(status.ok() == status.text().empty());
  int64_t memory = 0;
  const Status known = jpeg2000::EstimateMemory(file.data(), file.size(), options, &memory);
  if (!status.ok()) return 0;
  Require(known.ok() && memory > 0);
  const Region region = RegionOf(data[0] / 12, whole);
  options.region = zepcodec::WantedRegion(region, {});
  Picture part;
  Require(Decode(file, options, &part).ok());
  Comparison compared(whole, region), rows(whole, region);
  Require(compared.Take(part, 0).ok() && compared.has_all());
  options.rows = &rows;
  Require(Decode(file, options, &part).ok());
  Require(rows.has_all() || part.width() == region.width);
  return 0;
}
