// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/container.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string>

#include "codecs/support/byte_writer.h"
#include "codecs/support/exif.h"
#include "codecs/support/fields.h"

namespace zepcodec::jpegxr {
namespace {

using tiff::NewField;

constexpr uint16_t kXmpTag = 700, kIccTag = 34675;
constexpr uint16_t kPixelFormatTag = 0xBC01, kTransformTag = 0xBC02;
constexpr uint16_t kWidthTag = 0xBC80, kHeightTag = 0xBC81;
constexpr uint16_t kXResolutionTag = 0xBC82, kYResolutionTag = 0xBC83;  // dots per inch
constexpr uint16_t kOffsetTag = 0xBCC0, kSizeTag = 0xBCC1, kAlphaOffsetTag = 0xBCC2;
constexpr uint32_t kDirectory = 8;

// EXIF orientations by number of the transform. Bit 2 turns the picture clockwise; then bit 0
// mirrors top and bottom, and bit 1 left and right.
constexpr std::array<int, 8> kOrientations = {1, 4, 2, 3, 6, 7, 5, 8};

constexpr uint8_t kFormatStart[15] = {0x24, 0xC3, 0xDD, 0x6F, 0x03, 0x4E, 0xFE, 0x4B,
                                      0xB1, 0x85, 0x3D, 0x77, 0x76, 0x8D, 0xC9};

// The identifier of a pixel format; the formats differ in the last byte.
std::vector<uint8_t> PixelFormatOf(const Picture& image) {
  constexpr uint8_t kGrey[] = {0x08, 0x0B, 0x13, 0x3F, 0x3E, 0x11};
  constexpr uint8_t kRgb[] = {0x0D, 0x15, 0x12, 0x18, 0x3B, 0x27};
  const auto type = static_cast<int>(image.type());
  std::vector<uint8_t> bytes(std::begin(kFormatStart), std::end(kFormatStart));
  bytes.push_back(IsGrey(image.layout()) ? kGrey[type] : kRgb[type]);
  return bytes;
}

// A codestream goes to the end of the file: it knows where it ends, and some writers' sizes are too
// small or 0.
Span CodestreamAt(const Span& file, uint32_t offset) {
  if (offset >= file.size) return {};
  return {file.data + offset, file.size - offset, offset};
}

// Replaces an orientation in the EXIF data.
void SetOrientation(int orientation, Metadata* metadata) {
  metadata->exif = WithOrientation(orientation, metadata->exif);
  metadata->orientation = orientation;
}

void ReadMetadata(const ByteReader& file, const tiff::FieldList& list, Messages* notes,
                  Container* container) {
  Metadata& metadata = container->metadata;
  metadata.icc_profile = list.Bytes(kIccTag);
  metadata.xmp = list.Bytes(kXmpTag);
  metadata.exif = JoinExif(CollectExif(file, list, notes));
  metadata.orientation = OrientationOfExif(metadata.exif);
  const double x = list.Real(kXResolutionTag), y = list.Real(kYResolutionTag);
  if (x > 0 && y > 0) metadata.resolution = {Resolution::Unit::kInch, x, y};
  const uint32_t transform = list.Number(kTransformTag, UINT32_MAX);
  container->has_transform = transform < kOrientations.size();
  if (container->has_transform) SetOrientation(kOrientations[transform], &metadata);
}

NewField FloatField(uint16_t tag, double value) {
  const auto number = static_cast<float>(value);
  uint32_t bits;
  std::memcpy(&bits, &number, sizeof(bits));
  return tiff::NumberField(tag, tiff::kFloat, {bits});
}

std::vector<NewField> FieldsOf(const Metadata& metadata) {
  std::vector<NewField> fields = SplitExif(metadata.exif);
  if (const int orientation = TakeOrientation(&fields); orientation > 0) {
    const auto* const found = std::find(kOrientations.begin(), kOrientations.end(), orientation);
    const auto transform = static_cast<uint32_t>(found - kOrientations.begin());
    fields.push_back(tiff::NumberField(kTransformTag, tiff::kLong, {transform}));
  }
  if (!metadata.xmp.empty()) fields.push_back(BytesField(kXmpTag, tiff::kByte, metadata.xmp));
  if (!metadata.icc_profile.empty()) {
    fields.push_back(BytesField(kIccTag, tiff::kUndefined, metadata.icc_profile));
  }
  const Resolution& resolution = metadata.resolution;
  const bool is_inch = resolution.unit == Resolution::Unit::kInch;
  if (is_inch || resolution.unit == Resolution::Unit::kCentimetre) {
    const double dots = is_inch ? 1 : 2.54;
    fields.push_back(FloatField(kXResolutionTag, dots * resolution.x));
    fields.push_back(FloatField(kYResolutionTag, dots * resolution.y));
  }
  return fields;
}

// The file up to the codestream, which begins at `start`.
std::vector<uint8_t> MakeHead(const Picture& image, uint64_t start, uint64_t size) {
  std::vector<NewField> fields = FieldsOf(image.metadata());
  fields.push_back(BytesField(kPixelFormatTag, tiff::kByte, PixelFormatOf(image)));
  const auto add = [&](uint16_t tag, uint64_t number) {
    fields.push_back(tiff::NumberField(tag, tiff::kLong, {static_cast<uint32_t>(number)}));
  };
  add(kWidthTag, static_cast<uint64_t>(image.width()));
  add(kHeightTag, static_cast<uint64_t>(image.height()));
  add(kOffsetTag, start);
  add(kSizeTag, size);
  std::vector<uint8_t> head = {'I', 'I', 0xBC, 1, kDirectory, 0, 0, 0};
  AppendFields(std::move(fields), 0, &head);
  return head;
}

}  // namespace

Status ReadContainer(const uint8_t* data, size_t size, Messages* messages, Messages* notes,
                     Container* container) {
  const Span file = {data, size, 0};
  if (size >= 8 && std::memcmp(data, "WMPHOTO", 8) == 0) {
    container->picture = file;
    return Status();
  }
  if (size < 8 || std::memcmp(data, "II\xBC", 3) != 0) return Status::Error("no JPEG XR file");
  const ByteReader bytes(data, size, ByteOrder::kLittle);
  tiff::FieldList list;
  if (!ReadFields(bytes, bytes.At(4).Long(), notes, &list).ok()) {
    return Status::Error("the file has no directory");
  }
  if (list.is_cut) messages->AddAt(size, "the directory ends early");
  container->picture = CodestreamAt(file, list.Number(kOffsetTag, 0));
  if (list.Number(kOffsetTag, 0) == 0 || container->picture.size == 0) {
    return Status::Error("the file has no codestream");
  }
  if (list.Number(kSizeTag, 0) > container->picture.size) {
    messages->AddAt(size, "the file ends before its codestream does");
  }
  // Its size is not checked: some encoders write one that is too large.
  const uint32_t alpha = list.Number(kAlphaOffsetTag, 0);
  if (alpha != 0) container->alpha = CodestreamAt(file, alpha);
  ReadMetadata(bytes, list, notes, container);
  return Status();
}

void ApplyTransform(int transform, Container* container) {
  if (container->has_transform || transform == 0) return;
  SetOrientation(kOrientations[static_cast<size_t>(transform)], &container->metadata);
}

Status WriteContainer(const Picture& image, const std::vector<uint8_t>& codestream_header,
                      const std::vector<Span>& packets, ByteSink* sink, ByteBuffer* file) {
  uint64_t size = codestream_header.size();
  for (const Span& packet : packets) size += packet.size;
  const uint64_t start = MakeHead(image, 0, 0).size();
  if (size + start > UINT32_MAX) return Status::Error("too large for a file of this kind");
  const std::vector<uint8_t> head = MakeHead(image, start, size);
  if (!file->Resize(0) || (sink == nullptr && !file->MakeRoom(static_cast<size_t>(start + size))) ||
      !file->Append(head.data(), head.size()) ||
      !file->Append(codestream_header.data(), codestream_header.size())) {
    return Status::NoMemory();
  }
  for (const Span& packet : packets) {
    if (!file->Append(packet.data, packet.size)) return Status::NoMemory();
    if (Status status = PassOn(sink, file); !status.ok()) return status;
  }
  return Status();
}

}  // namespace zepcodec::jpegxr
