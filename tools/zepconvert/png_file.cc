// SPDX-License-Identifier: MIT
#include "tools/zepconvert/png_file.h"

#include <cmath>
#include <csetjmp>
#include <cstring>
#include <string>
#include <vector>

#include <png.h>

#include "tools/zepconvert/png_profile.h"

namespace jpeg = zepcodec::jpeg;

namespace zepconvert {
namespace {

constexpr bool kIsBigEndianMachine = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
constexpr double kInchesPerMetre = 39.37007874;

// libpng reports errors by a long jump. All that lives across one are members, nothing is
// constructed between the place that it returns to and the calls that may jump.
struct ErrorText {
  char text[256] = "damaged";
  char profile[256] = "";  // why a colour profile was not taken
};

void KeepError(png_structp png, png_const_charp text) {
  auto* error = static_cast<ErrorText*>(png_get_error_ptr(png));
  std::strncpy(error->text, text, sizeof(error->text) - 1);
  png_longjmp(png, 1);
}

// Only warnings about a profile matter.
void KeepWarning(png_structp png, png_const_charp text) {
  auto* error = static_cast<ErrorText*>(png_get_error_ptr(png));
  if (std::strncmp(text, "iCCP", 4) == 0) {
    std::strncpy(error->profile, text, sizeof(error->profile) - 1);
  }
}

// Chunks that nobody here asks for. A few kilobytes of them can unpack to many megabytes.
constexpr png_byte kSkippedChunks[] =
    "tEXt\0zTXt\0iTXt\0sPLT\0hIST\0pCAL\0sCAL";  // with a zero after each
constexpr int kSkippedChunkCount = sizeof(kSkippedChunks) / 5;

class Reader {
 public:
  Reader(const uint8_t* data, size_t size) : next_(data), left_(size) {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &error_, KeepError, KeepWarning);
    if (png_ != nullptr) info_ = png_create_info_struct(png_);
    if (info_ != nullptr) png_set_read_fn(png_, this, ReadBytes);
  }
  ~Reader() { png_destroy_read_struct(&png_, &info_, nullptr); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  bool ok() const { return info_ != nullptr; }
  const char* error() const { return error_.text; }
  int channels() const { return channels_; }
  int bits() const { return bits_; }
  int64_t width() const { return png_get_image_width(png_, info_); }
  int64_t height() const { return png_get_image_height(png_, info_); }

  // Up to the pixels, which will have 8 or 16 bits and 1 to 4 channels.
  bool ReadHeader() {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_set_user_limits(png_, 0x7FFFFFFF, 0x7FFFFFFF);  // the caller has a limit of its own
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, kSkippedChunks, kSkippedChunkCount);
    png_read_info(png_, info_);
    // Each row has a byte for its filter.
    raw_bytes_ = (uint64_t{png_get_rowbytes(png_, info_)} + 1) * png_get_image_height(png_, info_);
    png_set_expand(png_);
    if (!kIsBigEndianMachine) png_set_swap(png_);
    passes_ = png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
    channels_ = png_get_channels(png_, info_);
    bits_ = png_get_bit_depth(png_, info_);
    return true;
  }

  // Why the file's colour profile was not taken; empty where it was, or where there is none.
  std::string ProfileFault() const { return icc_.empty() ? error_.profile : ""; }

  // Deflate makes at most 1032 bytes of one: a picture that cannot be in the file is refused.
  bool CanHold(size_t file_size) const { return raw_bytes_ / 1032 <= file_size; }

  bool ReadPixels(uint8_t* pixels) {
    const size_t step =
        static_cast<size_t>(width()) * static_cast<size_t>(channels_) * (bits_ == 16 ? 2 : 1);
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    for (int pass = 0; pass < passes_; ++pass) {
      for (int64_t y = 0; y < height(); ++y) {
        png_read_row(png_, pixels + static_cast<size_t>(y) * step, nullptr);
      }
    }
    png_read_end(png_, info_);
    return true;
  }

  void ReadMetadata(jpeg::SavedSegments* metadata) {
    if (setjmp(png_jmpbuf(png_)) != 0) return;
    png_charp name = nullptr;
    int method = 0;
    png_bytep bytes = nullptr;
    png_uint_32 size = 0;
    if (png_get_iCCP(png_, info_, &name, &method, &bytes, &size) != 0) {
      icc_.assign(bytes, bytes + size);
      jpeg::AddIccProfile(icc_, metadata);
    }
    if (png_get_eXIf_1(png_, info_, &size, &bytes) != 0) {
      exif_.assign(bytes, bytes + size);
      jpeg::AddExif(exif_, metadata);
    }
    const png_uint_32 per_metre = png_get_pixels_per_meter(png_, info_);
    const int dots = static_cast<int>(std::lround(per_metre / kInchesPerMetre));
    if (dots > 0 && dots <= 65535) metadata->density = {1, dots, dots};
  }

 private:
  static void ReadBytes(png_structp png, png_bytep out, size_t count) {
    auto* reader = static_cast<Reader*>(png_get_io_ptr(png));
    if (count > reader->left_) png_error(png, "the file ends within the picture");
    std::memcpy(out, reader->next_, count);
    reader->next_ += count;
    reader->left_ -= count;
  }

  const uint8_t* next_;
  size_t left_;
  ErrorText error_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  int channels_ = 0;
  int bits_ = 8;
  uint64_t raw_bytes_ = 0;
  int passes_ = 1;
  std::vector<uint8_t> icc_;
  std::vector<uint8_t> exif_;
};

constexpr int kColorTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                               PNG_COLOR_TYPE_RGB_ALPHA};

constexpr png_byte kProfileChunk[] = "iCCP";

class Writer {
 public:
  explicit Writer(zepcodec::ByteBuffer* file) : file_(file) {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error_, KeepError, KeepWarning);
    if (png_ != nullptr) info_ = png_create_info_struct(png_);
    if (info_ != nullptr) png_set_write_fn(png_, this, WriteBytes, [](png_structp) {});
  }
  ~Writer() { png_destroy_write_struct(&png_, &info_); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  bool ok() const { return info_ != nullptr; }
  const char* error() const { return error_.text; }

  // Of 8 or 16 bits.
  bool Write(const zepcodec::Picture& image, const jpeg::SavedSegments& metadata) {
    // libpng would refuse profiles that are in wide use, as that of 3144 bytes for sRGB.
    const std::vector<uint8_t> profile = jpeg::FindIccProfile(metadata);
    const bool has_profile =
        !profile.empty() && PngProfileFault(profile, image.channels() <= 2).empty();
    if (has_profile) icc_chunk_ = MakeProfileChunk(profile);
    return WriteChunks(image, metadata);
  }

 private:
  bool WriteChunks(const zepcodec::Picture& image, const jpeg::SavedSegments& metadata) {
    exif_ = jpeg::FindExif(metadata);
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_set_user_limits(png_, 0x7FFFFFFF, 0x7FFFFFFF);
    // Photographs gain little from more effort.
    png_set_compression_level(png_, 3);
    png_set_IHDR(png_, info_, static_cast<png_uint_32>(image.width()),
                 static_cast<png_uint_32>(image.height()), image.bits(),
                 kColorTypes[image.channels() - 1], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE,
                 PNG_FILTER_TYPE_BASE);
    SetMetadata(metadata.density);
    png_write_info_before_PLTE(png_, info_);
    if (!icc_chunk_.empty()) {
      png_write_chunk(png_, kProfileChunk, icc_chunk_.data(), icc_chunk_.size());
    }
    png_write_info(png_, info_);
    if (image.bits() == 16 && !kIsBigEndianMachine) png_set_swap(png_);
    for (int y = 0; y < image.height(); ++y) png_write_row(png_, image.Row(y));
    png_write_end(png_, info_);
    return true;
  }

  void SetMetadata(const jpeg::Density& density) {
    if (!exif_.empty()) {
      png_set_eXIf_1(png_, info_, static_cast<png_uint_32>(exif_.size()), exif_.data());
    }
    if (density.unit == 0) return;
    const double scale = density.unit == 1 ? kInchesPerMetre : 100;
    png_set_pHYs(png_, info_, static_cast<png_uint_32>(std::lround(density.x * scale)),
                 static_cast<png_uint_32>(std::lround(density.y * scale)), PNG_RESOLUTION_METER);
  }

  static void WriteBytes(png_structp png, png_bytep bytes, size_t count) {
    auto* writer = static_cast<Writer*>(png_get_io_ptr(png));
    if (!writer->file_->Append(bytes, count)) png_error(png, "not enough memory for the file");
  }

  zepcodec::ByteBuffer* file_;
  ErrorText error_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  std::vector<uint8_t> icc_chunk_;
  std::vector<uint8_t> exif_;
};

zepcodec::Status PngError(const char* text) {
  return zepcodec::Status::Error(std::string("PNG: ") + text);
}

}  // namespace

zepcodec::Status ReadPng(const uint8_t* data, size_t size, int64_t max_pixels, Picture* picture) {
  Reader reader(data, size);
  if (!reader.ok()) return zepcodec::Status::NoMemory();
  if (!reader.ReadHeader()) return PngError(reader.error());
  zepcodec::Status status = CheckPixels(reader.width(), reader.height(), max_pixels);
  if (!status.ok()) return status;
  if (!reader.CanHold(size)) return PngError("the file is too small for the picture it announces");
  const auto width = static_cast<int>(reader.width());
  const auto height = static_cast<int>(reader.height());
  const int bits = reader.bits() == 16 ? 16 : 8;
  if (!picture->image.Resize(width, height, zepcodec::LayoutWithChannels(reader.channels()),
                             bits)) {
    return zepcodec::Status::NoMemory();
  }
  if (!reader.ReadPixels(picture->image.Row(0))) return PngError(reader.error());
  reader.ReadMetadata(&picture->metadata);
  if (const std::string fault = reader.ProfileFault(); !fault.empty()) {
    picture->notes.push_back("the colour profile was dropped: " + fault);
  }
  return zepcodec::Status();
}

zepcodec::Status WritePng(const zepcodec::Picture& image, const jpeg::SavedSegments& metadata,
                          zepcodec::ByteBuffer* file) {
  if (!file->Resize(0)) return zepcodec::Status::NoMemory();
  Writer writer(file);
  if (!writer.ok()) return zepcodec::Status::NoMemory();
  return writer.Write(image, metadata) ? zepcodec::Status() : PngError(writer.error());
}

}  // namespace zepconvert
