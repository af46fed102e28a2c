// SPDX-License-Identifier: MIT
// Any bytes as a JPEG file, at every scale: the result is a picture or an error. The first byte
// selects the scale, or the components alone; and a region, which must equal that part of the
// picture, on one or two threads, as a picture and as rows.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "codecs/jpeg/decoder.h"

namespace jpeg = zepcodec::jpeg;

namespace {

// Compares rows with those of a picture.
class Comparison : public zepcodec::RowSink {
 public:
  explicit Comparison(const zepcodec::Picture& expected) : expected_(expected) {}

  zepcodec::Status Take(const zepcodec::Picture& rows, int y) override {
    if (y != next_ || rows.Stride() != expected_.Stride()) std::abort();
    next_ += rows.height();
    if (next_ > expected_.height()) std::abort();
    if (std::memcmp(rows.Row(0), expected_.Row(y), rows.SizeInBytes()) != 0) std::abort();
    return zepcodec::Status();
  }
  bool is_complete() const { return next_ == expected_.height(); }

 private:
  const zepcodec::Picture& expected_;
  int next_ = 0;
};

void CheckRegion(const std::vector<uint8_t>& file, int choice, jpeg::DecodeOptions options,
                 zepcodec::Picture* whole) {
  const int width = whole->width(), height = whole->height();
  zepcodec::Region region = {width * (choice & 3) / 4, height * (choice >> 2 & 3) / 4, 0, 0};
  region.width = (width - region.x + 1) / (1 + (choice >> 4 & 1));
  region.height = (height - region.y + 1) / (1 + (choice >> 4 & 1));
  region.width = region.width > width - region.x ? width - region.x : region.width;
  region.height = region.height > height - region.y ? height - region.y : region.height;
  if (!zepcodec::Cut(region, whole).ok()) return;
  options.region = {region, zepcodec::Turn()};
  options.part_blocks = 32;  // so that small pictures have several parts
  for (options.threads = 1; options.threads <= 2; ++options.threads) {
    zepcodec::Picture part;
    jpeg::FileInfo info;
    options.rows = nullptr;
    if (!jpeg::Decode(file.data(), file.size(), options, &part, &info).ok()) std::abort();
    if (part.SizeInBytes() != whole->SizeInBytes() ||
        std::memcmp(part.Row(0), whole->Row(0), part.SizeInBytes()) != 0) {
      std::abort();
    }
    Comparison rows(*whole);
    options.rows = &rows;
    if (!jpeg::Decode(file.data(), file.size(), options, &part, &info).ok()) std::abort();
    if (rows.is_complete() != jpeg::GivesRows(info)) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const int choice = data[0] % 5;
  // A copy of the exact size lets the sanitizer detect reads beyond the end.
  const std::vector<uint8_t> file(data + 1, data + size);
  jpeg::DecodeOptions options;
  options.max_pixels = 1 << 20;  // larger pictures cost time and find nothing new
  jpeg::FileInfo info;
  zepcodec::Status status;
  if (choice == 4) {
    std::vector<jpeg::ComponentSamples> components;
    status = jpeg::DecodeComponents(file.data(), file.size(), options, &components, &info);
    if (status.ok() && components.empty()) std::abort();
  } else {
    zepcodec::Picture image;
    options.scale = 1 << choice;
    status = jpeg::Decode(file.data(), file.size(), options, &image, &info);
    if (status.ok() && image.SizeInBytes() == 0) std::abort();
    if (status.ok()) CheckRegion(file, data[0] / 5, options, &image);
  }
  if (status.ok() == !status.text().empty()) std::abort();
  return 0;
}
