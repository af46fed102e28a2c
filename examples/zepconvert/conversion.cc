// SPDX-License-Identifier: MIT
#include "zepconvert/conversion.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "jpeg/decoder.h"
#include "zepconvert/file_io.h"
#include "zepconvert/picture.h"
#include "zepconvert/png_file.h"
#include "zepconvert/pnm_file.h"

namespace zepconvert {
namespace {

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

jpeg::Status LoadJpeg(const Settings& settings, const jpeg::ByteBuffer& input, Picture* picture,
                      Result* result) {
  jpeg::StageTimes times;
  jpeg::DecodeOptions options;
  options.scale = settings.scale;
  options.max_pixels = settings.max_pixels;
  options.times = &times;
  jpeg::FileInfo info;
  jpeg::Status status = jpeg::Decode(input.data(), input.size(), options, &picture->image, &info);
  result->seconds[kHuffmanDecode] = times.huffman;
  result->seconds[kInverseDct] = times.dct;
  result->seconds[kColorDecode] = times.color;
  if (!status.ok()) return status;
  for (const jpeg::Message& message : info.messages.kept()) {
    picture->warnings.push_back(message.ToString());
  }
  const int64_t more = info.messages.count() - static_cast<int64_t>(picture->warnings.size());
  if (more > 0) picture->warnings.push_back("and " + std::to_string(more) + " more");
  picture->metadata = std::move(info.metadata);
  return status;
}

jpeg::Status Load(const Settings& settings, const jpeg::ByteBuffer& input, Picture* picture,
                  Result* result) {
  const Format format = FormatOfBytes(input.data(), input.size());
  if (format == Format::kJpeg) return LoadJpeg(settings, input, picture, result);
  if (format == Format::kUnknown) {
    return jpeg::Status::Error("neither a JPEG nor a PNG nor a binary PGM or PPM file");
  }
  if (settings.scale != 1) {
    return jpeg::Status::Error("only JPEG files can be reduced (--scale)");
  }
  const Timer timer(&result->seconds[kDecodeOther]);
  const auto read = format == Format::kPng ? ReadPng : ReadPnm;
  return read(input.data(), input.size(), settings.max_pixels, picture);
}

// Brings the picture into a form that the output can have.
jpeg::Status Adjust(const Settings& settings, Format format, Picture* picture) {
  const jpeg::PixelLayout before = picture->image.layout();
  const bool to_grey =
      (settings.grey || format == Format::kPgm) && before != jpeg::PixelLayout::kGrey;
  const bool to_rgb = !to_grey && before == jpeg::PixelLayout::kCmyk && format != Format::kJpeg;
  jpeg::Image changed;
  jpeg::Status status;
  if (to_grey) status = ToGrey(picture->image, &changed);
  if (to_rgb) status = CmykToRgb(picture->image, &changed);
  if (!status.ok()) return status;
  if (to_grey || to_rgb) {
    picture->image = std::move(changed);
    // A profile for colours says nothing about grey, one for inks nothing about RGB.
    jpeg::RemoveIccProfile(&picture->metadata);
  }
  if (to_rgb) picture->notes.emplace_back("CMYK was converted to RGB without its profile");
  // Its offsets point at what stood behind the picture.
  jpeg::RemoveMultiPictureIndex(&picture->metadata);
  if (!settings.keep_metadata) picture->metadata.segments.clear();
  return status;
}

jpeg::Status SaveJpeg(const Settings& settings, const Picture& picture, jpeg::ByteBuffer* output,
                      Result* result) {
  jpeg::StageTimes times;
  jpeg::EncodeOptions options;
  options.quality = settings.quality;
  options.sampling = settings.sampling;
  options.restart_interval = settings.restart_interval;
  options.precise_dct = settings.precise_dct;
  options.metadata = picture.metadata;
  options.times = &times;
  jpeg::Status status = jpeg::Encode(picture.image, options, output);
  result->lossless = false;
  result->seconds[kColorEncode] = times.color;
  result->seconds[kForwardDct] = times.dct;
  result->seconds[kHuffmanEncode] = times.huffman;
  return status;
}

jpeg::Status Save(const Settings& settings, Format format, const Picture& picture,
                  jpeg::ByteBuffer* output, Result* result) {
  if (format == Format::kJpeg) return SaveJpeg(settings, picture, output, result);
  const Timer timer(&result->seconds[kEncodeOther]);
  if (format == Format::kPng) return WritePng(picture.image, picture.metadata, output);
  return WritePnm(picture.image, format == Format::kPpm, output);
}

void Measure(const jpeg::ByteBuffer& output, const Picture& picture, Result* result) {
  if (result->lossless) return;
  jpeg::Image again;
  jpeg::FileInfo info;
  jpeg::DecodeOptions options;
  options.max_pixels = std::numeric_limits<int64_t>::max();
  result->status = jpeg::Decode(output.data(), output.size(), options, &again, &info);
  if (result->status.ok()) result->psnr = Psnr(picture.image, again);
}

}  // namespace

const char* StageName(Stage stage) {
  constexpr std::array<const char*, kStageCount> kNames = {
      "read file",        "decode PNG or PNM", "Huffman decoding", "inverse DCT",
      "up-sampling, RGB", "grey, CMYK to RGB", "YCbCr, reduction", "forward DCT",
      "Huffman encoding", "encode PNG or PNM", "write file"};
  return kNames[stage];
}

double Result::TotalSeconds() const { return std::accumulate(seconds.begin(), seconds.end(), 0.0); }

double Psnr(const jpeg::Image& a, const jpeg::Image& b) {
  uint64_t sum = 0;
  for (size_t i = 0; i < a.SizeInBytes(); ++i) {
    const int distance = a.Row(0)[i] - b.Row(0)[i];
    sum += static_cast<uint64_t>(distance * distance);
  }
  if (sum == 0) return std::numeric_limits<double>::infinity();
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.SizeInBytes()) /
                         static_cast<double>(sum));
}

void Convert(const Settings& settings, const jpeg::ByteBuffer& input, bool measure,
             Result* result) {
  const Format format = FormatOfName(result->job.output);
  Picture picture;
  jpeg::ByteBuffer output;
  result->input_bytes = input.size();
  result->status = Load(settings, input, &picture, result);
  if (!result->status.ok()) return;
  {
    const Timer timer(&result->seconds[kAdjust]);
    result->status = Adjust(settings, format, &picture);
  }
  if (!result->status.ok()) return;
  result->width = picture.image.width();
  result->height = picture.image.height();
  result->status = Save(settings, format, picture, &output, result);
  if (!result->status.ok()) return;
  result->output_bytes = output.size();
  if (measure) Measure(output, picture, result);
  if (!result->status.ok()) return;
  {
    const Timer timer(&result->seconds[kWriteFile]);
    result->status = WriteFile(result->job.output, output.data(), output.size());
  }
  if (!result->status.ok()) {
    result->status = jpeg::Status::Error(result->job.output + " " + result->status.text());
  }
  result->warnings = std::move(picture.warnings);
  result->notes = std::move(picture.notes);
}

}  // namespace zepconvert
