// SPDX-License-Identifier: MIT
// TIFF as the public functions see it.
#include <utility>

#include "codecs/api/codec.h"
#include "codecs/api/structs.h"
#include "codecs/support/convert.h"
#include "codecs/tiff/codec.h"

namespace zepcodec::api {
namespace {

constexpr int64_t kSmallThings = int64_t{1} << 16;

bool IsTiff(const File& file) { return tiff::IsTiff(file.data, file.size); }

tiff::DecodeOptions OptionsOf(const DecodeRequest& request) {
  tiff::DecodeOptions options;
  options.max_pixels = request.options.max_pixels;
  options.progress = request.progress;
  options.region = request.region;
  options.rows = request.rows;
  return options;
}

// The rows of another source with all bits of their bytes.
class WholeRows : public RowSource {
 public:
  explicit WholeRows(RowSource* rows) : rows_(rows) {
    const Picture& form = rows->form();
    // It has the picture's size, so that there is room for it.
    (void)form_.Borrow(nullptr, form.width(), form.height(), form.layout(), form.type(),
                       8 * BytesOf(form.type()));
    form_.metadata() = form.metadata();
  }
  const Picture& form() const override { return form_; }

 protected:
  Status Read(int, int count, Picture* rows) override {
    Picture given;
    int y = 0;
    Status status = rows_->Next(count, &given, &y);
    return status.ok() ? Convert(given, form_.layout(), form_.bits(), {}, rows) : status;
  }

 private:
  RowSource* rows_;
  Picture form_;
};

Status Probe(const File& file, const DecodeRequest& request, Findings* info) {
  tiff::FileInfo found;
  Status status = tiff::ReadFileInfo(file.data, file.size, &found);
  info->width = found.width;
  info->height = found.height;
  if (!status.ok()) {
    if (!request.metadata_only || !found.has_read_metadata) return status;
    info->layout = zepcLayoutGrey;
    FillMetadata(found.metadata, info);
    return Status();
  }
  info->components = found.channels;
  info->layout = LayoutOf(LayoutWithChannels(found.channels));
  info->bits = found.bits;
  info->sample = SampleOf(UnsignedOf(found.bits));
  info->is_lossless = 1;
  info->pictures = found.has_more_pictures ? 2 : 1;
  FillMetadata(found.metadata, info);
  info->gives_rows = request.rows != nullptr;
  info->memory =
      tiff::MemoryToDecode(found, OptionsOf(request)) + MemoryOf(found.metadata) + kSmallThings;
  return status;
}

Status Decode(const File& file, const DecodeRequest& request, Picture* picture, Report* report) {
  if (request.options.reduce > 0) {
    return Status::Unsupported("TIFF files are decoded at their full size only");
  }
  tiff::FileInfo info;
  Status status = tiff::Decode(file.data, file.size, OptionsOf(request), picture, &info);
  if (!status.ok()) return status;
  report->damage = std::move(info.messages);
  report->notes = std::move(info.notes);
  picture->metadata() = std::move(info.metadata);
  if (info.has_more_pictures) report->notes.Add("the first of several pictures was taken");
  return status;
}

Status Encode(RowSource* rows, const EncodeRequest& request, ByteBuffer* bytes) {
  const Picture& form = rows->form();
  const zepcTiffOptions given = Complete(request.options.tiff);
  const bool is_plain = form.layout() == PixelLayout::kGrey || form.layout() == PixelLayout::kRgb;
  if (!is_plain || !IsUnsigned(form.type())) {
    return Status::Unsupported("TIFF files hold grey and RGB of 8 or 16 bits here");
  }
  tiff::EncodeOptions options;
  options.compression =
      given.is_uncompressed != 0 ? tiff::Compression::kNone : tiff::Compression::kPackBits;
  options.has_byte_planes = given.has_byte_planes != 0 && form.type() == SampleType::kU16;
  options.progress = request.progress;
  options.sink = request.sink;
  if (form.bits() == 8 * BytesOf(form.type())) return tiff::Encode(rows, options, bytes);
  WholeRows whole(rows);
  return tiff::Encode(&whole, options, bytes);
}

}  // namespace

const Codec kTiffCodec = {
    {zepcFormatTiff, "TIFF", "tif tiff", "image/tiff",
     "strips of grey and RGB of 8 and 16 bits, plain or PackBits",
     "grey and RGB of 8 and 16 bits, plain or PackBits", 1, 1, 1, 1, DepthsOf({8, 16}), 0, 0},
    IsTiff,
    Probe,
    Decode,
    Encode};

}  // namespace zepcodec::api
