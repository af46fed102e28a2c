// SPDX-License-Identifier: MIT
#include "tools/zepconvert/conversion.h"

#include <chrono>
#include <limits>
#include <numeric>
#include <utility>

#include "codecs/dds/codec.h"
#include "codecs/jpeg/decoder.h"
#include "codecs/support/convert.h"
#include "codecs/support/exif.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/hdr_file.h"
#include "tools/zepconvert/jp2_file.h"
#include "tools/zepconvert/jpeg_file.h"
#include "tools/zepconvert/jxr_file.h"
#include "tools/zepconvert/ljpeg_file.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/png_file.h"
#include "tools/zepconvert/png_profile.h"
#include "tools/zepconvert/pnm_file.h"
#include "tools/zepconvert/tiff_file.h"

namespace jpeg = zepcodec::jpeg;
namespace dds = zepcodec::dds;

namespace zepconvert {
namespace {

using zepcodec::PixelLayout;
using Clock = std::chrono::steady_clock;

// Adds the time of its life to a stage.
class Timer {
 public:
  explicit Timer(double* seconds) : seconds_(seconds), start_(Clock::now()) {}
  ~Timer() { *seconds_ += std::chrono::duration<double>(Clock::now() - start_).count(); }
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

 private:
  double* seconds_;
  Clock::time_point start_;
};

zepcodec::Status LoadJpeg(const Settings& settings, const zepcodec::ByteBuffer& input,
                          Picture* picture, Result* result) {
  jpeg::StageTimes times;
  zepcodec::Status status = ReadJpeg(settings, result->job.input, input, picture, &times);
  result->seconds[kHuffmanDecode] = times.huffman;
  result->seconds[kInverseDct] = times.dct;
  result->seconds[kColorDecode] = times.color;
  return status;
}

zepcodec::Status LoadDds(const Settings& settings, const zepcodec::ByteBuffer& input,
                         Picture* picture) {
  dds::Header header;
  zepcodec::Status status =
      dds::Decode(input.data(), input.size(), settings.max_pixels, 0, &picture->image, &header);
  if (status.ok() && dds::HasHalves(header.format)) {
    return zepcodec::Status::Error("BC6H holds half floats, which only .hdr files take");
  }
  if (header.pictures > 1) {
    picture->notes.push_back("the first of " + std::to_string(header.pictures) +
                             " pictures was taken");
  }
  return status;
}

zepcodec::Status LoadAny(const Settings& settings, const zepcodec::ByteBuffer& input,
                         Picture* picture, Result* result) {
  const Format format = FormatOfBytes(input.data(), input.size());
  if (format == Format::kJpeg) return LoadJpeg(settings, input, picture, result);
  if (format == Format::kUnknown) {
    return zepcodec::Status::Error(
        "neither a JPEG nor a JPEG 2000 nor a JPEG XR nor a PNG nor a TIFF nor a binary PGM, PPM "
        "or PAM nor a DDS file");
  }
  if (format == Format::kJp2 || format == Format::kJ2k) {
    const Timer timer(&result->seconds[kJp2Decode]);
    return ReadJp2(settings, input, picture);
  }
  if (format == Format::kJxr && settings.scale == 1) {
    const Timer timer(&result->seconds[kJxrDecode]);
    return ReadJxr(settings, input, picture);
  }
  if (settings.scale != 1) {
    return zepcodec::Status::Error(
        "only JPEG (but lossless ones) and JPEG 2000 files can be reduced (--scale)");
  }
  if (format == Format::kLjpeg) {
    const Timer timer(&result->seconds[kLjpegDecode]);
    return ReadLjpeg(settings, input, picture);
  }
  const Timer timer(&result->seconds[format == Format::kDds ? kTextureDecode : kDecodeOther]);
  if (format == Format::kDds) return LoadDds(settings, input, picture);
  if (format == Format::kTiff) return ReadTiff(settings, input, picture);
  const auto read = format == Format::kPng ? ReadPng : ReadPnm;
  return read(input.data(), input.size(), settings.max_pixels, picture);
}

zepcodec::Status Relayout(PixelLayout layout, int bits, zepcodec::Picture* image) {
  if (layout == image->layout() && bits == image->bits()) return zepcodec::Status();
  zepcodec::Picture changed;
  zepcodec::Status status = Convert(*image, layout, bits, {}, &changed);
  *image = std::move(changed);
  return status;
}

zepcodec::Status Load(const Settings& settings, const zepcodec::ByteBuffer& input, Picture* picture,
                      Result* result) {
  const zepcodec::Status status = LoadAny(settings, input, picture, result);
  zepcodec::Picture& image = picture->image;
  if (!status.ok() || !HasAlpha(image.layout()) || !IsOpaque(image)) return status;
  return Relayout(IsGrey(image.layout()) ? PixelLayout::kGrey : PixelLayout::kRgb, image.bits(),
                  &image);
}

// Its samples with 8 bits.
zepcodec::Status MakeShallow(Picture* picture) {
  return Relayout(picture->image.layout(), 8, &picture->image);
}

dds::EncodeOptions TextureOptions(const Settings& settings, const zepcodec::Picture& image) {
  dds::EncodeOptions options = settings.texture;
  options.threads = settings.threads;
  if (!settings.has_texture_format && HasAlpha(image.layout())) {
    options.format = dds::BlockFormat::kBc3;
  }
  return options;
}

// True where the output is made for opacity.
bool KeepsAlpha(Format format) {
  return format == Format::kPng || format == Format::kPam || format == Format::kJp2;
}

// What the output can have of this picture.
PixelLayout LayoutFor(const Settings& settings, Format format, const zepcodec::Picture& image) {
  const PixelLayout before = image.layout();
  bool is_grey = settings.grey || format == Format::kPgm || ChannelCount(before) <= 2;
  bool has_alpha = HasAlpha(before) && KeepsAlpha(format);
  if (format == Format::kDds) {
    const dds::EncodeOptions options = TextureOptions(settings, image);
    if (options.format == dds::BlockFormat::kBc4) is_grey = true;
    if (options.format == dds::BlockFormat::kBc5) return PixelLayout::kRgb;
    // BC1 has none, though its pixels have room for it.
    has_alpha = HasAlpha(before) && options.format != dds::BlockFormat::kBc1 &&
                HasAlpha(dds::LayoutOf(options.format, options.is_ycocg));
  }
  if (is_grey) return has_alpha ? PixelLayout::kGreyAlpha : PixelLayout::kGrey;
  const bool keeps_inks =
      format == Format::kJpeg || format == Format::kLjpeg || format == Format::kPam;
  if (before == PixelLayout::kCmyk && keeps_inks) return before;
  return has_alpha ? PixelLayout::kRgba : PixelLayout::kRgb;
}

void AdjustMetadata(const Settings& settings, bool loses_colors, Picture* picture) {
  if (loses_colors) jpeg::RemoveIccProfile(&picture->metadata);
  // Its offsets point at what stood behind the picture.
  jpeg::RemoveMultiPictureIndex(&picture->metadata);
  if (!settings.keep_metadata) picture->metadata.segments.clear();
}

constexpr char kLaidOverWhite[] = "transparent parts were laid over white";

// A profile never costs the picture: what a PNG file cannot have is left out.
void DropUnfitProfile(bool is_grey, Picture* picture) {
  const std::vector<uint8_t> profile = jpeg::FindIccProfile(picture->metadata);
  if (profile.empty()) return;
  const std::string fault = PngProfileFault(profile, is_grey);
  if (fault.empty()) return;
  jpeg::RemoveIccProfile(&picture->metadata);
  picture->notes.push_back("the colour profile was dropped: " + fault);
}

bool HoldsExif(Format format) {
  return format == Format::kJpeg || format == Format::kLjpeg || format == Format::kPng;
}

void NoteMetadata(Format format, Picture* picture) {
  if (format == Format::kPng) DropUnfitProfile(IsGrey(picture->image.layout()), picture);
  if (!HoldsExif(format) && zepcodec::OrientationOfExif(jpeg::FindExif(picture->metadata)) > 1) {
    picture->notes.emplace_back(
        "the picture is stored turned or mirrored, and this kind of file cannot say so");
  }
}

// PNG and TIFF files have 8 or 16 bits, others any number.
zepcodec::Status AdjustDeep(const Settings& settings, Format format, Picture* picture) {
  zepcodec::Picture& image = picture->image;
  const PixelLayout before = image.layout();
  const bool is_grey = settings.grey || format == Format::kPgm || IsGrey(before);
  const bool has_alpha = HasAlpha(before) && KeepsAlpha(format);
  const bool has_any_depth = format != Format::kPng && format != Format::kTiff;
  if (HasAlpha(before) && !has_alpha) picture->notes.emplace_back(kLaidOverWhite);
  AdjustMetadata(settings, is_grey && !IsGrey(before), picture);
  return Relayout(zepcodec::LayoutWithChannels((is_grey ? 1 : 3) + (has_alpha ? 1 : 0)),
                  has_any_depth ? image.bits() : 16, &image);
}

// A JPEG file of 12 bits has no opacity and no inks.
zepcodec::Status MakeTwelveBits(const Settings& settings, Picture* picture) {
  zepcodec::Picture& image = picture->image;
  const bool is_grey = IsGrey(image.layout()) || (settings.grey && !picture->IsDeep());
  return Relayout(is_grey ? PixelLayout::kGrey : PixelLayout::kRgb, 12, &image);
}

// Brings the picture into a form that the output can have.
zepcodec::Status Adjust(const Settings& settings, Format format, Picture* picture) {
  if (format == Format::kJpeg && settings.depth == 12) {
    if (zepcodec::Status status = MakeTwelveBits(settings, picture); !status.ok()) return status;
    return AdjustDeep(settings, format, picture);
  }
  if (picture->IsDeep()) {
    const bool has_any_depth = format != Format::kPng && format != Format::kTiff;
    if (CanBeDeep(format) && (has_any_depth || picture->image.bits() > 8)) {
      return AdjustDeep(settings, format, picture);
    }
    if (zepcodec::Status status = MakeShallow(picture); !status.ok()) return status;
  }
  const PixelLayout before = picture->image.layout();
  const PixelLayout after = LayoutFor(settings, format, picture->image);
  zepcodec::Status status = Relayout(after, 8, &picture->image);
  if (!status.ok()) return status;
  if (format == Format::kDds && settings.texture.format == dds::BlockFormat::kBc5) {
    for (size_t i = 2; i < picture->image.SizeInBytes(); i += 3) picture->image.Row(0)[i] = 0;
    picture->notes.emplace_back("BC5 holds red and green only");
  }
  if (before == PixelLayout::kCmyk && after == PixelLayout::kRgb) {
    picture->notes.emplace_back("CMYK was converted to RGB without its profile");
  }
  if (HasAlpha(before) && !HasAlpha(after)) {
    picture->notes.emplace_back(kLaidOverWhite);
  }
  // A profile for colours says nothing about grey, one for inks nothing about RGB.
  const bool loses_colors = ChannelCount(before) > 2 && after != before &&
                            (ChannelCount(after) <= 2 || before == PixelLayout::kCmyk);
  AdjustMetadata(settings, loses_colors, picture);
  return status;
}

zepcodec::Status SaveJpeg(const Settings& settings, const Picture& picture,
                          zepcodec::ByteBuffer* output, Result* result) {
  jpeg::StageTimes times;
  zepcodec::Status status = WriteJpeg(settings, picture, output, &times);
  result->lossless = false;
  result->seconds[kColorEncode] = times.color;
  result->seconds[kForwardDct] = times.dct;
  result->seconds[kHuffmanEncode] = times.huffman;
  return status;
}

zepcodec::Status SaveDds(const Settings& settings, const zepcodec::Picture& image,
                         zepcodec::ByteBuffer* output, Result* result) {
  const Timer timer(&result->seconds[kTextureEncode]);
  const dds::EncodeOptions options = TextureOptions(settings, image);
  result->lossless = false;
  zepcodec::Picture pixels;
  zepcodec::Status status =
      Convert(image, dds::LayoutOf(options.format, options.is_ycocg), 8, {}, &pixels);
  return status.ok() ? dds::Encode(pixels, options, output) : status;
}

zepcodec::Status SaveOther(const Settings& settings, Format format, const Picture& picture,
                           zepcodec::ByteBuffer* output) {
  if (format == Format::kTiff) return WriteTiff(settings, picture, output);
  if (format == Format::kPng) {
    return WritePng(picture.image, picture.metadata, output);
  }
  const PnmKind kind = format == Format::kPam   ? PnmKind::kPam
                       : format == Format::kPpm ? PnmKind::kPpm
                                                : PnmKind::kPgmOrPpm;
  return WritePnm(picture.image, kind, output);
}

zepcodec::Status Save(const Settings& settings, Format format, const Picture& picture,
                      zepcodec::ByteBuffer* output, Result* result) {
  if (format == Format::kJpeg) return SaveJpeg(settings, picture, output, result);
  if (format == Format::kDds) return SaveDds(settings, picture.image, output, result);
  if (format == Format::kJp2 || format == Format::kJ2k) {
    const Timer timer(&result->seconds[kJp2Encode]);
    result->lossless = settings.ratio == 0 && settings.psnr == 0;
    return WriteJp2(settings, format == Format::kJp2, picture, output);
  }
  if (format == Format::kJxr) {
    const Timer timer(&result->seconds[kJxrEncode]);
    result->lossless = IsLosslessJxr(settings);
    return WriteJxr(settings, picture, output);
  }
  if (format == Format::kLjpeg) {
    const Timer timer(&result->seconds[kLjpegEncode]);
    result->lossless = settings.point_transform == 0;
    return WriteLjpeg(settings, picture, output);
  }
  const Timer timer(&result->seconds[kEncodeOther]);
  return SaveOther(settings, format, picture, output);
}

Format OutputFormat(const Settings& settings, const std::string& name) {
  const Format format = FormatOfName(name);
  return format == Format::kJpeg && settings.is_lossless ? Format::kLjpeg : format;
}

zepcodec::Status MeasureLoss(const zepcodec::ByteBuffer& output, const std::string& error_picture,
                             zepcodec::Picture* image, Result* result) {
  Picture again;
  zepcodec::Picture errors;
  zepcodec::ByteBuffer file;
  zepcodec::Status status = LoadPicture(output, &again);
  if (!status.ok()) return status;
  // Blocks may be less opaque than the picture.
  status = HasAlpha(again.image.layout()) ? Relayout(again.image.layout(), 8, image)
                                          : Relayout(image->layout(), 8, &again.image);
  if (!status.ok()) return status;
  result->psnr = Measure(*image, again.image);
  result->modes = ModesOfBc7(output, *image, again.image);
  status = MakeErrorPicture(*image, again.image, &errors);
  if (status.ok()) status = WritePng(errors, jpeg::SavedSegments(), &file);
  return status.ok() ? WriteFile(error_picture, file.data(), file.size(), result->job.input)
                     : status;
}

// Half floats, which only a BC6H texture has here, to a file of floats.
zepcodec::Status ConvertHalves(const Settings& settings, const zepcodec::ByteBuffer& input,
                               Picture* picture, zepcodec::ByteBuffer* output, Result* result) {
  dds::Header header;
  zepcodec::Picture& halves = picture->image;
  if (FormatOfBytes(input.data(), input.size()) != Format::kDds) {
    return zepcodec::Status::Error("only BC6H textures can become .hdr files");
  }
  {
    const Timer timer(&result->seconds[kTextureDecode]);
    zepcodec::Status status =
        dds::Decode(input.data(), input.size(), settings.max_pixels, 0, &halves, &header);
    if (!status.ok()) return status;
    if (!dds::HasHalves(header.format)) {
      return zepcodec::Status::Error("the picture is not of half floats");
    }
  }
  const Timer timer(&result->seconds[kEncodeOther]);
  bool has_negative = false;
  result->width = halves.width();
  result->height = halves.height();
  zepcodec::Status status = WriteHdr(halves, output, &has_negative);
  if (has_negative) picture->notes.emplace_back("negative values became 0");
  result->output_bytes = output->size();
  return status;
}

// By way of its pixels.
zepcodec::Status Change(const Settings& settings, const zepcodec::ByteBuffer& input,
                        const std::string& error_picture, Picture* picture,
                        zepcodec::ByteBuffer* output, Result* result) {
  const Format format = OutputFormat(settings, result->job.output);
  if (format == Format::kHdr) return ConvertHalves(settings, input, picture, output, result);
  zepcodec::Status status = Load(settings, input, picture, result);
  if (!status.ok()) return status;
  {
    const Timer timer(&result->seconds[kAdjust]);
    status = Adjust(settings, format, picture);
  }
  if (!status.ok()) return status;
  NoteMetadata(format, picture);
  result->width = picture->image.width();
  result->height = picture->image.height();
  status = Save(settings, format, *picture, output, result);
  if (!status.ok()) return status;
  result->output_bytes = output->size();
  if (error_picture.empty() || result->lossless) return status;
  if (picture->IsDeep()) status = MakeShallow(picture);
  return status.ok() ? MeasureLoss(*output, error_picture, &picture->image, result) : status;
}

zepcodec::Status Transcode(const Settings& settings, const zepcodec::ByteBuffer& input,
                           Picture* picture, zepcodec::ByteBuffer* output, Result* result) {
  if (FormatOfBytes(input.data(), input.size()) != Format::kJpeg ||
      FormatOfName(result->job.output) != Format::kJpeg) {
    return zepcodec::Status::Error("only JPEG files with lossy coding are transcoded, to .jpg");
  }
  const Timer timer(&result->seconds[kHuffmanEncode]);
  zepcodec::Status status = TranscodeJpeg(settings, input, picture, output);
  if (!status.ok()) return status;
  jpeg::FileInfo info;
  status = jpeg::ReadFileInfo(output->data(), output->size(), &info);
  result->width = info.frame.width;
  result->height = info.frame.height;
  result->output_bytes = output->size();
  return status;
}

}  // namespace

const char* StageName(Stage stage) {
  constexpr std::array<const char*, kStageCount> kNames = {
      "read file",        "decode PNG, PNM, TIFF", "decode texture",
      "decode JPEG 2000", "decode JPEG XR",        "decode lossless JPEG",
      "Huffman decoding", "inverse DCT",           "up-sampling, RGB",
      "layout of pixels", "YCbCr, reduction",      "forward DCT",
      "Huffman encoding", "encode texture",        "encode JPEG 2000",
      "encode JPEG XR",   "encode lossless JPEG",  "encode PNG, PNM, TIFF",
      "write file"};
  return kNames[stage];
}

double Result::TotalSeconds() const { return std::accumulate(seconds.begin(), seconds.end(), 0.0); }

zepcodec::Status LoadPicture(const zepcodec::ByteBuffer& input, Picture* picture) {
  Settings settings;
  settings.max_pixels = std::numeric_limits<int64_t>::max();
  Result ignored;
  zepcodec::Status status = Load(settings, input, picture, &ignored);
  return status.ok() && picture->IsDeep() ? MakeShallow(picture) : status;
}

void Convert(const Settings& settings, const zepcodec::ByteBuffer& input,
             const std::string& error_picture, Result* result) {
  Picture picture;
  zepcodec::ByteBuffer output;
  result->input_bytes = input.size();
  result->status = settings.transcodes
                       ? Transcode(settings, input, &picture, &output, result)
                       : Change(settings, input, error_picture, &picture, &output, result);
  if (!result->status.ok()) return;
  {
    const Timer timer(&result->seconds[kWriteFile]);
    result->status = WriteFile(result->job.output, output.data(), output.size(), result->job.input);
  }
  if (!result->status.ok()) {
    result->status = zepcodec::Status::Error(result->job.output + " " + result->status.text());
  }
  result->warnings = std::move(picture.warnings);
  result->notes = std::move(picture.notes);
}

}  // namespace zepconvert
