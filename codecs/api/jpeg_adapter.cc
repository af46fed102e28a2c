// SPDX-License-Identifier: MIT
// JPEG and lossless JPEG as the public functions see them.
#include "codecs/api/jpeg_adapter.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "codecs/api/codec.h"
#include "codecs/api/structs.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/encoder.h"
#include "codecs/jpeg/lossless/codec.h"
#include "codecs/jpeg/markers/marker_walk.h"
#include "codecs/support/convert.h"

namespace zepcodec::api {
namespace {

bool IsJpeg(const File& file) {
  return file.size >= 3 && file.data[0] == 0xFF && file.data[1] == 0xD8 && file.data[2] == 0xFF;
}

bool IsLosslessJpeg(const File& file) {
  return IsJpeg(file) && jpeg::lossless::IsLosslessJpeg(file.data, file.size);
}

void FillSaved(const jpeg::SavedSegments& saved, Findings* info) {
  Messages ignored;
  FillMetadata(jpeg::ToMetadata(saved, &ignored), info);
}

Status CheckReduce(const DecodeRequest& request) {
  return CheckRange("reduce of a JPEG file", request.options.reduce, 0, 3);
}

jpeg::DecodeOptions OptionsOf(const DecodeRequest& request) {
  auto options = CommonOptions<jpeg::DecodeOptions>(request);
  options.scale = 1 << std::min(request.options.reduce, 3);
  options.scans = request.options.layers;
  return options;
}

Status ProbeJpeg(const File& file, const DecodeRequest& request, Findings* info) {
  jpeg::FileInfo found;
  if (Status status = CheckReduce(request); !status.ok()) return status;
  if (Status status = jpeg::ReadFileInfo(file.data, file.size, &found); !status.ok()) return status;
  const jpeg::Frame& frame = found.frame;
  info->width = frame.width;
  info->height = frame.height;
  info->components = static_cast<int32_t>(frame.components.size());
  info->layout = LayoutOf(jpeg::LayoutOf(found.model));
  info->bits = frame.precision;
  info->sample = SampleOf(UnsignedOf(frame.precision));
  info->is_progressive = frame.is_progressive ? 1 : 0;
  if (frame.is_progressive) info->layers = jpeg::CountScans(file.data, file.size);
  info->levels = frame.precision == 8 ? 3 : 0;
  info->gives_rows = jpeg::GivesRows(found);
  info->memory = jpeg::MemoryNeed(found, OptionsOf(request));
  FillSaved(found.metadata, info);
  return Status();
}

Status DecodeJpeg(const File& file, const DecodeRequest& request, Picture* picture,
                  Report* report) {
  jpeg::FileInfo info;
  Status status = jpeg::Decode(file.data, file.size, OptionsOf(request), picture, &info);
  if (!status.ok()) return status;
  report->damage = std::move(info.messages);
  picture->metadata() = jpeg::ToMetadata(info.metadata, &report->notes);
  if (info.frame.components.size() == 2) {
    report->notes.Add("the file has two components; the first is shown as grey");
  }
  return status;
}

Status CheckSides(const Picture& picture) {
  constexpr int kMost = 65535;
  return picture.width() <= kMost && picture.height() <= kMost
             ? Status()
             : Status::Unsupported("the sides of JPEG files have up to 65535 pixels");
}

Status EncodeJpeg(RowSource* rows, const EncodeRequest& request, ByteBuffer* bytes) {
  const Picture& picture = rows->form();
  jpeg::EncodeOptions options;
  if (Status status = ReadJpegOptions(request.options.jpeg, &options); !status.ok()) return status;
  if (HasAlpha(picture.layout())) {
    return Status::Unsupported("a JPEG file holds no transparent pixels");
  }
  options.metadata = jpeg::ToSegments(picture.metadata());
  options.threads = request.options.threads;
  options.progress = request.progress;
  options.sink = request.sink;
  if (Status status = CheckSides(picture); !status.ok()) return status;
  const bool is_deep = picture.bits() == 12 && picture.type() == SampleType::kU16;
  const bool is_usual = picture.bits() == 8 && picture.type() == SampleType::kU8;
  if (!is_usual && (!is_deep || picture.layout() == PixelLayout::kCmyk)) {
    return Status::Unsupported("a JPEG file holds samples of 8 bits, or grey or RGB of 12 bits");
  }
  return jpeg::Encode(rows, options, bytes);
}

// Lossless files hold 0 for full ink. All but inks passes unchanged.
class InvertingSink : public RowSink {
 public:
  explicit InvertingSink(RowSink* to) : to_(to) {}

  Status Take(const Picture& rows, int y) override {
    if (rows.layout() != PixelLayout::kCmyk) return to_->Take(rows, y);
    if (!inverted_.ResizeLike(rows, rows.width(), rows.height())) return Status::NoMemory();
    std::memcpy(inverted_.Row(0), rows.Row(0), rows.SizeInBytes());
    Invert(&inverted_);
    return to_->Take(inverted_, y);
  }

 private:
  RowSink* to_;
  Picture inverted_;
};

class InvertingSource : public RowSource {
 public:
  explicit InvertingSource(RowSource* from) : from_(from) {}
  const Picture& form() const override { return from_->form(); }

 protected:
  Status Read(int y, int count, Picture* rows) override {
    if (Status status = from_->Next(count, &rows_, &y); !status.ok()) return status;
    if (!rows->ResizeLike(rows_, rows_.width(), rows_.height())) return Status::NoMemory();
    std::memcpy(rows->Row(0), std::as_const(rows_).Row(0), rows_.SizeInBytes());
    Invert(rows);
    return Status();
  }

 private:
  RowSource* from_;
  Picture rows_;
};

Status ProbeLossless(const File& file, const DecodeRequest& request, Findings* info) {
  jpeg::lossless::FileInfo found;
  Status status = jpeg::lossless::ReadFileInfo(file.data, file.size, &found);
  if (!status.ok()) return status;
  info->width = found.width;
  info->height = found.height;
  info->components = found.components;
  info->layout = LayoutOf(LayoutOfComponents(static_cast<size_t>(found.components)));
  info->bits = found.bits;
  info->sample = SampleOf(UnsignedOf(found.bits));
  info->is_lossless = found.point_transform == 0 ? 1 : 0;
  info->gives_rows = jpeg::lossless::GivesRows(found);
  info->memory =
      jpeg::lossless::MemoryNeed(found, CommonOptions<jpeg::lossless::DecodeOptions>(request));
  if (request.rows != nullptr && found.components == 4) {
    info->memory += PictureBytes(found.width, found.rows_in_band, found.bits > 8 ? 8 : 4);
  }
  FillSaved(found.metadata, info);
  return Status();
}

Status DecodeLossless(const File& file, const DecodeRequest& request, Picture* picture,
                      Report* report) {
  if (request.options.reduce > 0) {
    return Status::Unsupported("lossless JPEG files are decoded at their full size only");
  }
  auto options = CommonOptions<jpeg::lossless::DecodeOptions>(request);
  InvertingSink inverting(request.rows);
  if (request.rows != nullptr) options.rows = &inverting;
  jpeg::lossless::FileInfo info;
  Status status = jpeg::lossless::Decode(file.data, file.size, options, picture, &info);
  if (!status.ok()) return status;
  report->damage = std::move(info.messages);
  picture->metadata() = jpeg::ToMetadata(info.metadata, &report->notes);
  if (info.components == 3 && info.adobe_transform == 1)
    report->notes.Add("YCbCr was taken as RGB");
  if (info.components == 4) Invert(picture);
  return status;
}

Status EncodeLossless(RowSource* rows, const EncodeRequest& request, ByteBuffer* bytes) {
  const Picture& picture = rows->form();
  const zepcLosslessJpegOptions given = Complete(request.options.lossless_jpeg);
  jpeg::lossless::EncodeOptions options;
  for (const Status& status : {CheckRange("predictor", given.predictor, 0, 7),
                               CheckRange("point_transform", given.point_transform, 0, 15),
                               CheckRange("restart_rows", given.restart_rows, 0, 65535)}) {
    if (!status.ok()) return status;
  }
  if (given.predictor > 0) options.predictor = given.predictor;
  options.point_transform = given.point_transform;
  options.restart_rows = given.restart_rows;
  if (given.has_usual_table != 0) options.tables = jpeg::lossless::Tables::kFixed;
  options.metadata = jpeg::ToSegments(picture.metadata());
  options.threads = request.options.threads;
  options.progress = request.progress;
  options.sink = request.sink;
  if (Status status = CheckSides(picture); !status.ok()) return status;
  if (HasAlpha(picture.layout()) || !IsUnsigned(picture.type()) || picture.bits() < 2) {
    return Status::Unsupported(
        "a lossless JPEG file holds grey, RGB or CMYK of 2 to 16 bits, no opacity");
  }
  InvertingSource inverting(rows);
  options.is_inverted_cmyk = picture.layout() == PixelLayout::kCmyk;
  return jpeg::lossless::Encode(options.is_inverted_cmyk ? &inverting : rows, options, bytes);
}

}  // namespace

Status ReadJpegOptions(const zepcJpegOptions* given, jpeg::EncodeOptions* options) {
  const zepcJpegOptions whole = Complete(given);
  for (const Status& status : {CheckRange("quality", whole.quality, 0, 100),
                               CheckRange("sampling", whole.sampling, 0, zepcSampling420),
                               CheckRange("restart_interval", whole.restart_interval, 0, 65535)}) {
    if (!status.ok()) return status;
  }
  if (whole.quality > 0) options->quality = whole.quality;
  options->sampling = whole.sampling == zepcSampling444   ? jpeg::Sampling::k444
                      : whole.sampling == zepcSampling422 ? jpeg::Sampling::k422
                                                          : jpeg::Sampling::k420;
  options->progressive = whole.is_progressive != 0;
  options->optimizes = whole.optimizes != 0;
  options->restart_interval = whole.restart_interval;
  if (whole.scan_script == nullptr) return Status();
  return jpeg::ParseScript(whole.scan_script, &options->script);
}

const Codec kJpegCodec = {
    {zepcFormatJpeg, "JPEG", "jpg jpeg jpe jfif", "image/jpeg",
     "baseline, extended and progressive files of 8 and 12 bits: grey, RGB, YCbCr, CMYK, YCCK; "
     "the first of two components",
     "baseline and progressive files: grey, RGB and CMYK of 8 bits, grey and RGB of 12", 1, 1, 1, 1,
     DepthsOf({8, 12}), 0, 1},
    IsJpeg,
    ProbeJpeg,
    DecodeJpeg,
    EncodeJpeg};

const Codec kLosslessJpegCodec = {
    {zepcFormatLosslessJpeg, "lossless JPEG", "ljpg ljpeg", "image/jpeg",
     "lossless files with Huffman coding: grey with and without opacity, RGB and CMYK of 2 to 16 "
     "bits",
     "grey, RGB and CMYK of 2 to 16 bits", 1, 1, 1, 0, DepthsUpTo16(2), 0, 1},
    IsLosslessJpeg,
    ProbeLossless,
    DecodeLossless,
    EncodeLossless};

}  // namespace zepcodec::api
