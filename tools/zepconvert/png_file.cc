// SPDX-License-Identifier: MIT
#include "tools/zepconvert/png_file.h"

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <png.h>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/png_profile.h"

namespace zepconvert {
namespace {

constexpr bool kIsBigEndianMachine = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
constexpr double kInchesPerMetre = 39.37007874;

// Files hold whole numbers of pixels in a metre, so 300 an inch come back as 299.9994.
double DotsPerInch(png_uint_32 per_metre) {
  const double dots = per_metre / kInchesPerMetre;
  const double whole = std::round(dots);
  return std::lround(whole * kInchesPerMetre) == static_cast<int64_t>(per_metre) ? whole : dots;
}

png_uint_32 Rounded(double value) {
  constexpr double kMost = 0x7FFFFFFF;
  return static_cast<png_uint_32>(std::clamp(std::round(value), 1.0, kMost));
}

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
    "tEXt\0zTXt\0sPLT\0hIST\0pCAL\0sCAL";  // with a zero after each
constexpr int kSkippedChunkCount = sizeof(kSkippedChunks) / 5;

// An XMP packet is the text of an iTXt chunk that begins so: the keyword, a zero, no compression
// (two zeros), and no language and no translated keyword (a zero each).
constexpr png_byte kTextChunk[] = "iTXt";
constexpr char kXmpHead[] = "XML:com.adobe.xmp\0\0\0\0";  // and the zero that ends the literal

}  // namespace

class PngReader::Parts {
 public:
  explicit Parts(ByteView input) : next_(input.data), left_(input.size) {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &error_, KeepError, KeepWarning);
    if (png_ != nullptr) info_ = png_create_info_struct(png_);
    if (info_ != nullptr) png_set_read_fn(png_, this, ReadBytes);
  }
  ~Parts() { png_destroy_read_struct(&png_, &info_, nullptr); }
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  bool ok() const { return info_ != nullptr; }
  const char* error() const { return error_.text; }
  int channels() const { return channels_; }
  const std::vector<uint8_t>& xmp() const { return xmp_; }
  int bits() const { return bits_; }
  int64_t width() const { return png_get_image_width(png_, info_); }
  int64_t height() const { return png_get_image_height(png_, info_); }

  // Up to the pixels, which will have 8 or 16 bits and 1 to 4 channels.
  bool ReadHeader() {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_set_user_limits(png_, 0x7FFFFFFF, 0x7FFFFFFF);  // the caller has a limit of its own
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, kSkippedChunks, kSkippedChunkCount);
    // Texts come as they are in the file, so that none is unpacked.
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_IF_SAFE, kTextChunk, 1);
    png_set_read_user_chunk_fn(png_, this, TakeChunk);
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

  // Why the file's colour profile was not taken; empty where nothing is wrong with it.
  const char* profile_fault() const { return error_.profile; }

  // Deflate makes at most 1032 bytes of one: a picture that cannot be in the file is refused.
  bool CanHold(size_t file_size) const { return raw_bytes_ / 1032 <= file_size; }

  int passes() const { return passes_; }

  bool ReadRow(uint8_t* row) {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_read_row(png_, row, nullptr);
    return true;
  }

  bool Finish() {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_read_end(png_, info_);
    return true;
  }

  void ReadMetadata(Metadata* metadata) {
    if (setjmp(png_jmpbuf(png_)) != 0) return;
    png_charp name = nullptr;
    int method = 0;
    png_bytep bytes = nullptr;
    png_uint_32 size = 0;
    if (png_get_iCCP(png_, info_, &name, &method, &bytes, &size) != 0) {
      metadata->icc.assign(bytes, bytes + size);
    }
    if (png_get_eXIf_1(png_, info_, &size, &bytes) != 0) {
      metadata->exif.assign(bytes, bytes + size);
      metadata->orientation = zepcExifOrientation(bytes, size);
    }
    png_uint_32 x = 0, y = 0;
    int unit = 0;
    if (png_get_pHYs(png_, info_, &x, &y, &unit) == 0 || x == 0 || y == 0) return;
    if (unit == PNG_RESOLUTION_METER) {
      metadata->resolution_unit = zepcResolutionInch;
      metadata->resolution_x = DotsPerInch(x);
      metadata->resolution_y = DotsPerInch(y);
    } else if (x != y) {
      metadata->resolution_unit = zepcResolutionShape;
      metadata->resolution_x = x;
      metadata->resolution_y = y;
    }
  }

 private:
  static void ReadBytes(png_structp png, png_bytep out, size_t count) {
    auto* reader = static_cast<Parts*>(png_get_io_ptr(png));
    if (count > reader->left_) png_error(png, "the file ends within the picture");
    std::memcpy(out, reader->next_, count);
    reader->next_ += count;
    reader->left_ -= count;
  }

  // Takes the XMP packet from its chunk. 1: libpng need not keep the chunk; 0: it is treated as
  // usual.
  static int TakeChunk(png_structp png, png_unknown_chunkp chunk) {
    auto* reader = static_cast<Parts*>(png_get_user_chunk_ptr(png));
    if (std::memcmp(chunk->name, kTextChunk, sizeof(kTextChunk)) != 0) return 0;
    constexpr size_t kHead = sizeof(kXmpHead);
    const bool is_xmp = chunk->size > kHead && std::memcmp(chunk->data, kXmpHead, kHead) == 0;
    if (!is_xmp || !reader->xmp_.empty()) return 1;
    try {
      reader->xmp_.assign(chunk->data + kHead, chunk->data + chunk->size);
    } catch (const std::bad_alloc&) {
      return -1;
    }
    return 1;
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
  std::vector<uint8_t> xmp_;
};

namespace {

constexpr int kColorTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                               PNG_COLOR_TYPE_RGB_ALPHA};

constexpr png_byte kProfileChunk[] = "iCCP";

// A big-endian TIFF structure with one directory of one entry: tag 0x112, a number of 16 bits.
std::vector<uint8_t> ExifOf(int orientation) {
  const auto value = static_cast<uint8_t>(orientation);
  return {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1, 0x12, 0, 3, 0, 0, 0, 1, 0, value, 0, 0, 0, 0, 0, 0};
}

}  // namespace

class PngWriter::Parts {
 public:
  Parts() {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error_, KeepError, KeepWarning);
    if (png_ != nullptr) info_ = png_create_info_struct(png_);
    if (info_ != nullptr) png_set_write_fn(png_, this, WriteBytes, [](png_structp) {});
  }
  ~Parts() { png_destroy_write_struct(&png_, &info_); }
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  bool ok() const { return info_ != nullptr; }
  const char* error() const { return error_.text; }

  Bytes* file() { return &file_; }

  bool WriteHead(const zepcPixels& shape, const Metadata& metadata) {
    // libpng would refuse profiles that are in wide use, as that of 3144 bytes for sRGB.
    const bool has_profile =
        !metadata.icc.empty() && PngProfileFault(metadata.icc, IsGrey(shape.layout)).empty();
    if (has_profile) icc_chunk_ = MakeProfileChunk(metadata.icc);
    if (!metadata.xmp.empty()) {
      xmp_chunk_.assign(kXmpHead, kXmpHead + sizeof(kXmpHead));
      xmp_chunk_.insert(xmp_chunk_.end(), metadata.xmp.begin(), metadata.xmp.end());
    }
    exif_ = metadata.exif;
    if (exif_.empty() && metadata.orientation > 1) exif_ = ExifOf(metadata.orientation);
    return WriteChunks(shape, metadata);
  }

  bool WriteRow(const uint8_t* row) {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_write_row(png_, row);
    return true;
  }

  bool Finish() {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_write_end(png_, info_);
    return true;
  }

 private:
  bool WriteChunks(const zepcPixels& shape, const Metadata& metadata) {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_set_user_limits(png_, 0x7FFFFFFF, 0x7FFFFFFF);
    // Photographs gain little from more effort.
    png_set_compression_level(png_, 3);
    png_set_IHDR(png_, info_, static_cast<png_uint_32>(shape.width),
                 static_cast<png_uint_32>(shape.height), shape.bits,
                 kColorTypes[ChannelCount(shape.layout) - 1], PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    SetMetadata(metadata);
    png_write_info_before_PLTE(png_, info_);
    WriteChunk(kProfileChunk, icc_chunk_);
    png_write_info(png_, info_);
    WriteChunk(kTextChunk, xmp_chunk_);
    if (shape.bits == 16 && !kIsBigEndianMachine) png_set_swap(png_);
    return true;
  }

  void WriteChunk(const png_byte* name, const std::vector<uint8_t>& content) {
    if (!content.empty()) png_write_chunk(png_, name, content.data(), content.size());
  }

  void SetMetadata(const Metadata& metadata) {
    if (!exif_.empty()) {
      png_set_eXIf_1(png_, info_, static_cast<png_uint_32>(exif_.size()), exif_.data());
    }
    if (metadata.resolution_unit == zepcResolutionNone) return;
    const bool is_shape = metadata.resolution_unit == zepcResolutionShape;
    const double scale = is_shape                                         ? 1
                         : metadata.resolution_unit == zepcResolutionInch ? kInchesPerMetre
                                                                          : 100;
    png_set_pHYs(png_, info_, Rounded(metadata.resolution_x * scale),
                 Rounded(metadata.resolution_y * scale),
                 is_shape ? PNG_RESOLUTION_UNKNOWN : PNG_RESOLUTION_METER);
  }

  static void WriteBytes(png_structp png, png_bytep bytes, size_t count) {
    auto* writer = static_cast<Parts*>(png_get_io_ptr(png));
    bool has_room = true;
    try {
      writer->file_.insert(writer->file_.end(), bytes, bytes + count);
    } catch (const std::bad_alloc&) {
      has_room = false;
    }
    if (!has_room) png_error(png, "not enough memory for the file");
  }

  Bytes file_;
  ErrorText error_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  std::vector<uint8_t> icc_chunk_;
  std::vector<uint8_t> xmp_chunk_;
  std::vector<uint8_t> exif_;
};

namespace {

Failure PngFailure(const char* text) { return Failure(std::string("PNG: ") + text); }

int64_t BigEndian32(const uint8_t* bytes) {
  return int64_t{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

}  // namespace

PngReader::PngReader(ByteView input, int64_t max_pixels) : parts_(std::make_unique<Parts>(input)) {
  if (!parts_->ok()) throw std::bad_alloc();
  if (!parts_->ReadHeader()) throw PngFailure(parts_->error());
  CheckPixels(parts_->width(), parts_->height(), max_pixels);
  if (!parts_->CanHold(input.size)) {
    throw PngFailure("the file is too small for the picture it announces");
  }
}

PngReader::~PngReader() = default;

int PngReader::width() const { return static_cast<int>(parts_->width()); }
int PngReader::height() const { return static_cast<int>(parts_->height()); }
int PngReader::passes() const { return parts_->passes(); }

Form PngReader::form() const {
  return UnsignedForm(LayoutWithChannels(parts_->channels()), parts_->bits() == 16 ? 16 : 8);
}

void PngReader::ReadRow(uint8_t* row) {
  if (!parts_->ReadRow(row)) throw PngFailure(parts_->error());
}

void PngReader::Finish() {
  if (!parts_->Finish()) throw PngFailure(parts_->error());
}

void PngReader::TakeMetadata(Picture* picture) {
  Metadata& metadata = picture->metadata;
  parts_->ReadMetadata(&metadata);
  metadata.xmp = parts_->xmp();
  if (metadata.icc.empty() && *parts_->profile_fault() != 0) {
    picture->notes.push_back(std::string("the colour profile was dropped: ") +
                             parts_->profile_fault());
  }
}

Picture ReadPng(ByteView input, int64_t max_pixels) {
  PngReader reader(input, max_pixels);
  Picture picture;
  picture.image = Image(reader.width(), reader.height(), reader.form());
  for (int pass = 0; pass < reader.passes(); ++pass) {
    for (int y = 0; y < reader.height(); ++y) reader.ReadRow(picture.image.Row(y));
  }
  reader.Finish();
  reader.TakeMetadata(&picture);
  return picture;
}

Dimensions ReadPngSize(ByteView input) {
  if (input.size < 25) return {};
  return {BigEndian32(input.data + 16), BigEndian32(input.data + 20), 4,
          input.data[24] == 16 ? 2 : 1};
}

PngWriter::PngWriter(const zepcPixels& shape, const Metadata& metadata)
    : parts_(std::make_unique<Parts>()) {
  if (!parts_->ok()) throw std::bad_alloc();
  if (!parts_->WriteHead(shape, metadata)) throw PngFailure(parts_->error());
}

PngWriter::~PngWriter() = default;

void PngWriter::WriteRow(const uint8_t* row) {
  if (!parts_->WriteRow(row)) throw PngFailure(parts_->error());
}

void PngWriter::Finish() {
  if (!parts_->Finish()) throw PngFailure(parts_->error());
}

Bytes PngWriter::TakeBytes() { return std::exchange(*parts_->file(), Bytes()); }

Bytes WritePng(const Image& image, const Metadata& metadata) {
  PngWriter writer(image.pixels(), metadata);
  for (int y = 0; y < image.height(); ++y) writer.WriteRow(image.Row(y));
  writer.Finish();
  return writer.TakeBytes();
}

}  // namespace zepconvert
