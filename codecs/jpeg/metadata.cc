// SPDX-License-Identifier: MIT
#include "codecs/jpeg/metadata.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "codecs/jpeg/markers/markers.h"
#include "codecs/support/byte_reader.h"
#include "codecs/support/exif.h"

namespace zepcodec::jpeg {
namespace {

// The names that open these segments; the terminating zeros are part of them.
constexpr char kJfifName[] = "JFIF";
constexpr char kAdobeName[] = {'A', 'd', 'o', 'b', 'e'};
constexpr char kExifName[] = "Exif\0";      // and the zero that ends the literal
constexpr char kIccName[] = "ICC_PROFILE";  // then the part's number and the number of parts
constexpr char kXmpName[] = "http://ns.adobe.com/xap/1.0/";
constexpr char kMultiPictureName[] = "MPF";
constexpr size_t kIccHeaderBytes = sizeof(kIccName) + 2;

template <size_t kSize>
bool IsNamed(const Segment& segment, int marker, const char (&name)[kSize]) {
  return segment.marker == marker && segment.data.size() >= kSize &&
         std::memcmp(segment.data.data(), name, kSize) == 0;
}

bool IsIccPart(const Segment& segment) {
  return IsNamed(segment, kApp2, kIccName) && segment.data.size() >= kIccHeaderBytes;
}

bool IsMultiPictureIndex(const Segment& segment) {
  return IsNamed(segment, kApp2, kMultiPictureName);
}

// Whether nothing else tells what the segment says: the JFIF and Adobe headers are the encoder's own,
// and an index of further pictures is wrong for a picture of its own.
bool IsFurther(const Segment& segment) {
  const bool is_kind =
      (segment.marker >= kApp0 && segment.marker <= kApp15) || segment.marker == kCom;
  return is_kind && !IsNamed(segment, kApp0, kJfifName) && !IsNamed(segment, kApp14, kAdobeName) &&
         !IsNamed(segment, kApp1, kExifName) && !IsNamed(segment, kApp1, kXmpName) &&
         !IsNamed(segment, kApp2, kIccName) && !IsMultiPictureIndex(segment);
}

void AppendSegment(const Segment& segment, std::vector<uint8_t>* bytes) {
  const size_t length = segment.data.size() + 2;
  bytes->insert(bytes->end(), {0xFF, static_cast<uint8_t>(segment.marker),
                               static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)});
  bytes->insert(bytes->end(), segment.data.begin(), segment.data.end());
}

// Segments one after the other, up to the first bytes that are none.
std::vector<Segment> SplitSegments(const std::vector<uint8_t>& bytes) {
  std::vector<Segment> segments;
  for (size_t at = 0; bytes.size() - at >= 4 && bytes[at] == 0xFF;) {
    const size_t length = size_t{bytes[at + 2]} << 8 | bytes[at + 3];
    if (length < 2 || length > bytes.size() - at - 2 || segments.size() == kMostSegments) break;
    const uint8_t* const content = bytes.data() + at + 4;
    segments.push_back({bytes[at + 1], {content, content + length - 2}});
    at += 2 + length;
  }
  return segments;
}

}  // namespace

std::vector<uint8_t> FindExif(const SavedSegments& metadata) {
  for (const Segment& segment : metadata.segments) {
    if (!IsNamed(segment, kApp1, kExifName)) continue;
    return {segment.data.begin() + sizeof(kExifName), segment.data.end()};
  }
  return {};
}

std::vector<uint8_t> FindIccProfile(const SavedSegments& metadata) {
  std::map<int, const Segment*> parts;
  int count = 0;
  for (const Segment& segment : metadata.segments) {
    if (!IsIccPart(segment)) continue;
    parts.emplace(segment.data[sizeof(kIccName)], &segment);
    count = std::max<int>(count, segment.data[sizeof(kIccName) + 1]);
  }
  if (parts.empty()) return {};
  const int first = parts.begin()->first, last = parts.rbegin()->first;
  const bool is_whole = first <= 1 && last - first + 1 == count;
  if (!is_whole || static_cast<int>(parts.size()) != count) return {};
  std::vector<uint8_t> profile;
  for (const auto& [number, part] : parts) {
    profile.insert(profile.end(), part->data.begin() + kIccHeaderBytes, part->data.end());
  }
  return profile;
}

bool HasIccProfile(const SavedSegments& metadata) {
  return std::any_of(metadata.segments.begin(), metadata.segments.end(), IsIccPart);
}

bool AddExif(const std::vector<uint8_t>& exif, SavedSegments* metadata) {
  if (exif.size() > kMaxSegmentBytes - sizeof(kExifName)) return false;
  Segment segment{kApp1, {std::begin(kExifName), std::end(kExifName)}};
  segment.data.insert(segment.data.end(), exif.begin(), exif.end());
  metadata->segments.push_back(std::move(segment));
  return true;
}

bool AddIccProfile(const std::vector<uint8_t>& profile, SavedSegments* metadata) {
  constexpr size_t kPartBytes = kMaxSegmentBytes - kIccHeaderBytes;
  const size_t count = (profile.size() + kPartBytes - 1) / kPartBytes;
  if (count > 255) return false;
  for (size_t i = 0; i < count; ++i) {
    const size_t first = i * kPartBytes;
    const size_t size = std::min(kPartBytes, profile.size() - first);
    Segment segment{kApp2, {std::begin(kIccName), std::end(kIccName)}};
    segment.data.push_back(static_cast<uint8_t>(i + 1));
    segment.data.push_back(static_cast<uint8_t>(count));
    const uint8_t* part = profile.data() + first;
    segment.data.insert(segment.data.end(), part, part + size);
    metadata->segments.push_back(std::move(segment));
  }
  return true;
}

zepcodec::Metadata ToMetadata(const SavedSegments& saved, Messages* notes) {
  zepcodec::Metadata metadata;
  metadata.exif = FindExif(saved);
  metadata.orientation = OrientationOfExif(metadata.exif);
  metadata.icc_profile = FindIccProfile(saved);
  // A profile begins with its length (ICC.1, 7.2.2).
  constexpr size_t kProfileHeader = 128;
  const std::vector<uint8_t>& profile = metadata.icc_profile;
  const uint32_t length = ByteReader(profile.data(), profile.size()).Long();
  const auto part = std::find_if(saved.segments.begin(), saved.segments.end(), IsIccPart);
  if (part != saved.segments.end() &&
      (profile.size() < kProfileHeader || length > profile.size())) {
    metadata.icc_profile.clear();
    notes->AddAt(part->offset, "the colour profile is not complete and was dropped");
  }
  for (const Segment& segment : saved.segments) {
    if (!IsNamed(segment, kApp1, kXmpName)) continue;
    metadata.xmp.assign(segment.data.begin() + sizeof(kXmpName), segment.data.end());
    break;
  }
  for (const Segment& segment : saved.segments) {
    if (IsFurther(segment)) AppendSegment(segment, &metadata.jpeg_segments);
  }
  const Density& density = saved.density;
  if (density.x > 0 && density.y > 0) {
    metadata.resolution = {density.unit == 1        ? Resolution::Unit::kInch
                           : density.unit == 2      ? Resolution::Unit::kCentimetre
                           : density.x == density.y ? Resolution::Unit::kNone
                                                    : Resolution::Unit::kShape,
                           static_cast<double>(density.x), static_cast<double>(density.y)};
  }
  return metadata;
}

SavedSegments ToSegments(const zepcodec::Metadata& metadata) {
  SavedSegments saved;
  const Resolution& resolution = metadata.resolution;
  const double x = std::round(resolution.x);
  const double y = std::round(resolution.y);
  if (resolution.unit != Resolution::Unit::kNone && x >= 1 && x <= 65535 && y >= 1 && y <= 65535) {
    const int unit = resolution.unit == Resolution::Unit::kInch         ? 1
                     : resolution.unit == Resolution::Unit::kCentimetre ? 2
                                                                        : 0;
    saved.density = {unit, static_cast<int>(x), static_cast<int>(y)};
  }
  if (!metadata.exif.empty()) AddExif(metadata.exif, &saved);
  if (!metadata.xmp.empty() && metadata.xmp.size() <= kMaxSegmentBytes - sizeof(kXmpName)) {
    Segment segment{kApp1, {std::begin(kXmpName), std::end(kXmpName)}};
    segment.data.insert(segment.data.end(), metadata.xmp.begin(), metadata.xmp.end());
    saved.segments.push_back(std::move(segment));
  }
  if (!metadata.icc_profile.empty()) AddIccProfile(metadata.icc_profile, &saved);
  for (Segment& segment : SplitSegments(metadata.jpeg_segments)) {
    if (IsFurther(segment)) saved.segments.push_back(std::move(segment));
  }
  return saved;
}

void MakeExifUpright(SavedSegments* metadata) {
  for (Segment& segment : metadata->segments) {
    if (!IsNamed(segment, kApp1, kExifName)) continue;
    std::vector<uint8_t> exif(segment.data.begin() + sizeof(kExifName), segment.data.end());
    SetExifUpright(&exif);
    std::copy(exif.begin(), exif.end(), segment.data.begin() + sizeof(kExifName));
  }
}

}  // namespace zepcodec::jpeg
