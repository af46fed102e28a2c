// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/container.h"

#include <cstring>
#include <string>

namespace zepcodec::jpegxr {
namespace {

constexpr uint16_t kPixelFormatTag = 0xBC01, kWidthTag = 0xBC80, kHeightTag = 0xBC81;
constexpr uint16_t kOffsetTag = 0xBCC0, kSizeTag = 0xBCC1;
constexpr uint16_t kAlphaSizeTag = 0xBCC3;  // behind the offset of opacity
constexpr uint16_t kByteType = 1, kLongType = 4;
constexpr size_t kEntryBytes = 12;

constexpr uint8_t kFormatStart[15] = {0x24, 0xC3, 0xDD, 0x6F, 0x03, 0x4E, 0xFE, 0x4B,
                                      0xB1, 0x85, 0x3D, 0x77, 0x76, 0x8D, 0xC9};

// The last byte of the identifier of a format.
uint8_t FormatByte(const Picture& image) {
  constexpr uint8_t kGrey[] = {0x08, 0x0B, 0x13, 0x3F, 0x3E, 0x11};
  constexpr uint8_t kRgb[] = {0x0D, 0x15, 0x12, 0x18, 0x3B, 0x27};
  const auto type = static_cast<int>(image.type());
  return IsGrey(image.layout()) ? kGrey[type] : kRgb[type];
}

uint32_t Little(const uint8_t* bytes, int count) {
  uint32_t value = 0;
  for (int i = count; i-- > 0;) value = value << 8 | bytes[i];
  return value;
}

void Put(uint32_t value, int count, std::vector<uint8_t>* bytes) {
  for (int i = 0; i < count; ++i) bytes->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void PutEntry(uint16_t tag, uint16_t type, uint32_t count, uint32_t value,
              std::vector<uint8_t>* bytes) {
  Put(tag, 2, bytes);
  Put(type, 2, bytes);
  Put(count, 4, bytes);
  Put(value, 4, bytes);
}

// A codestream goes to the end of the file: it knows where it ends, and some writers' sizes are too small or 0.
Span CodestreamAt(const Span& file, uint32_t offset) {
  if (offset >= file.size) return {};
  return {file.data + offset, file.size - offset};
}

}  // namespace

Status ReadContainer(const uint8_t* data, size_t size, Messages* messages, Container* container) {
  const Span file = {data, size};
  if (size >= 8 && std::memcmp(data, "WMPHOTO", 8) == 0) {
    container->picture = file;
    return Status();
  }
  if (size < 8 || std::memcmp(data, "II\xBC", 3) != 0) return Status::Error("no JPEG XR file");
  const uint32_t directory = Little(data + 4, 4);
  if (directory > size || size - directory < 2) return Status::Error("the file has no directory");
  const uint32_t entries = Little(data + directory, 2);
  uint32_t values[4] = {};  // offset and size of the picture and of opacity
  const uint8_t* entry = data + directory + 2;
  for (uint32_t i = 0; i < entries; ++i, entry += kEntryBytes) {
    if (static_cast<size_t>(data + size - entry) < kEntryBytes) {
      messages->Add("the directory ends early");
      break;
    }
    const uint32_t tag = Little(entry, 2);
    const uint32_t value = Little(entry + 8, Little(entry + 2, 2) == 3 ? 2 : 4);
    if (tag >= kOffsetTag && tag <= kAlphaSizeTag) values[tag - kOffsetTag] = value;
  }
  container->picture = CodestreamAt(file, values[0]);
  if (container->picture.size == 0) return Status::Error("the file has no codestream");
  if (values[1] > container->picture.size)
    messages->Add("the file ends before its codestream does");
  // Some encoders claim too much for opacity.
  if (values[2] != 0) container->alpha = CodestreamAt(file, values[2]);
  return Status();
}

Status WriteContainer(const Picture& image, const std::vector<uint8_t>& codestream_header,
                      const std::vector<Span>& packets, ByteBuffer* file) {
  constexpr uint32_t kDirectory = 8, kEntries = 5;
  constexpr uint32_t kFormat = kDirectory + 2 + kEntries * kEntryBytes + 4;
  constexpr uint32_t kStart = kFormat + 16;
  uint64_t size = codestream_header.size();
  for (const Span& packet : packets) size += packet.size;
  if (size + kStart > UINT32_MAX) return Status::Error("too large for a file of this kind");
  std::vector<uint8_t> head = {'I', 'I', 0xBC, 1};
  Put(kDirectory, 4, &head);
  Put(kEntries, 2, &head);
  PutEntry(kPixelFormatTag, kByteType, 16, kFormat, &head);
  PutEntry(kWidthTag, kLongType, 1, static_cast<uint32_t>(image.width()), &head);
  PutEntry(kHeightTag, kLongType, 1, static_cast<uint32_t>(image.height()), &head);
  PutEntry(kOffsetTag, kLongType, 1, kStart, &head);
  PutEntry(kSizeTag, kLongType, 1, static_cast<uint32_t>(size), &head);
  Put(0, 4, &head);
  head.insert(head.end(), kFormatStart, kFormatStart + sizeof(kFormatStart));
  head.push_back(FormatByte(image));
  if (!file->Resize(0) || !file->MakeRoom(kStart + static_cast<size_t>(size)) ||
      !file->Append(head.data(), head.size()) ||
      !file->Append(codestream_header.data(), codestream_header.size())) {
    return Status::NoMemory();
  }
  for (const Span& packet : packets) {
    if (!file->Append(packet.data, packet.size)) return Status::NoMemory();
  }
  return Status();
}

}  // namespace zepcodec::jpegxr
