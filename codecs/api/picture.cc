// SPDX-License-Identifier: MIT
#include "codecs/api/picture.h"

#include <algorithm>

#include "codecs/api/codec.h"
#include "codecs/api/error.h"
#include "codecs/api/structs.h"
#include "codecs/support/exif.h"

namespace {

namespace api = zepcodec::api;

template <class Struct>
zepcStatus CheckCall(const zepcPicture* picture, const Struct* output) {
  if (picture == nullptr || output == nullptr) {
    return api::Fail(zepcStatusBadArgument, "a null pointer");
  }
  if (!api::HasSize(output)) {
    return api::Fail(zepcStatusBadArgument, "the size of the struct is not set");
  }
  return zepcStatusOk;
}

zepcResolutionUnit UnitOf(zepcodec::Resolution::Unit unit) {
  switch (unit) {
    case zepcodec::Resolution::Unit::kShape: return zepcResolutionShape;
    case zepcodec::Resolution::Unit::kInch: return zepcResolutionInch;
    case zepcodec::Resolution::Unit::kCentimetre: return zepcResolutionCm;
    default: return zepcResolutionNone;
  }
}

}  // namespace

zepcStatus zepcPicturePixels(const zepcPicture* picture, zepcPixels* pixels) {
  if (const zepcStatus bad = CheckCall(picture, pixels); bad != zepcStatusOk) return bad;
  const zepcodec::Picture& own = picture->pixels;
  zepcPixels whole{};
  if (own.width() > 0) {
    whole.data = const_cast<uint8_t*>(own.Row(0));
    whole.stride = own.Stride();
    whole.width = own.width();
    whole.height = own.height();
    whole.layout = api::LayoutOf(own.layout(), picture->is_bgr);
    whole.sample = api::SampleOf(own.type());
    whole.bits = own.bits();
  }
  api::Fill(whole, pixels);
  return zepcStatusOk;
}

zepcStatus zepcPictureMetadata(const zepcPicture* picture, zepcMetadata* metadata) {
  if (const zepcStatus bad = CheckCall(picture, metadata); bad != zepcStatusOk) return bad;
  const zepcodec::Metadata& own = picture->metadata;
  const auto bytes = [](const std::vector<uint8_t>& from, const void** data, size_t* size) {
    *data = from.empty() ? nullptr : from.data();
    *size = from.size();
  };
  zepcMetadata whole{};
  bytes(own.exif, &whole.exif, &whole.exif_size);
  bytes(own.icc_profile, &whole.icc, &whole.icc_size);
  bytes(own.xmp, &whole.xmp, &whole.xmp_size);
  bytes(own.jpeg_segments, &whole.jpeg_segments, &whole.jpeg_segments_size);
  whole.orientation = own.orientation;
  whole.resolution_unit = UnitOf(own.resolution.unit);
  whole.resolution_x = own.resolution.x;
  whole.resolution_y = own.resolution.y;
  api::Fill(whole, metadata);
  return zepcStatusOk;
}

int32_t zepcExifOrientation(const void* exif, size_t exif_size) {
  if (exif == nullptr) return 0;
  const auto* const bytes = static_cast<const uint8_t*>(exif);
  int32_t orientation = 0;
  (void)api::Guarded([&] {
    orientation = zepcodec::OrientationOfExif({bytes, bytes + exif_size});
    return zepcStatusOk;
  });
  return orientation;
}

void zepcExifSetUpright(void* exif, size_t exif_size) {
  if (exif == nullptr) return;
  auto* const bytes = static_cast<uint8_t*>(exif);
  (void)api::Guarded([&] {
    std::vector<uint8_t> copy(bytes, bytes + exif_size);
    zepcodec::SetExifUpright(&copy);
    std::copy(copy.begin(), copy.end(), bytes);
    return zepcStatusOk;
  });
}

zepcStatus zepcPictureMessage(const zepcPicture* picture, int32_t index, zepcMessage* message) {
  if (const zepcStatus bad = CheckCall(picture, message); bad != zepcStatusOk) return bad;
  if (index < 0 || static_cast<size_t>(index) >= picture->notes.size()) {
    return api::Fail(zepcStatusBadArgument, "there is no message with this number");
  }
  const zepcPicture::Note& note = picture->notes[static_cast<size_t>(index)];
  zepcMessage whole{};
  whole.is_damage = note.is_damage ? 1 : 0;
  whole.offset = note.offset;
  whole.text = note.text.c_str();
  api::Fill(whole, message);
  return zepcStatusOk;
}

void zepcPictureFree(zepcPicture* picture) { delete picture; }
