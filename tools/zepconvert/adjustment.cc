// SPDX-License-Identifier: MIT
#include "tools/zepconvert/adjustment.h"

#include <string>
#include <vector>

#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/png_profile.h"

namespace zepconvert {
namespace {

bool HoldsAlpha(const Settings& settings, Format format, const Capacity& capacity) {
  if (format != Format::kDds) return capacity.holds_opacity;
  switch (settings.dds.texture) {
    case zepcTextureAuto:
    case zepcTextureBc2:
    case zepcTextureBc3:
    case zepcTextureBc7: return true;
    default: return false;
  }
}

bool HoldsInks(const Settings& settings, Format format, const Capacity& capacity) {
  if (format == Format::kJpeg && settings.jpeg_depth != 8) return false;
  // Few readers of JP2 files know inks.
  return capacity.holds_cmyk && format != Format::kJp2;
}

bool IsBc5(const Settings& settings, Format format) {
  return format == Format::kDds && settings.dds.texture == zepcTextureBc5;
}

zepcLayout LayoutFor(const Settings& settings, Format format, zepcLayout before, bool is_opaque) {
  const Capacity capacity = CapacityOf(format);
  const bool is_texture = format == Format::kDds;
  if (IsBc5(settings, format)) return zepcLayoutRgb;
  const bool has_alpha = !is_opaque && HoldsAlpha(settings, format, capacity);
  const bool is_grey = settings.grey || IsGrey(before) || format == Format::kPgm ||
                       (is_texture && settings.dds.texture == zepcTextureBc4);
  if (is_grey) return has_alpha ? zepcLayoutGreyAlpha : zepcLayoutGrey;
  if (before == zepcLayoutCmyk && HoldsInks(settings, format, capacity)) return before;
  return has_alpha ? zepcLayoutRgba : zepcLayoutRgb;
}

// The depth of unsigned samples.
int DepthFor(const Settings& settings, Format format, int wanted) {
  const Capacity capacity = CapacityOf(format);
  if (format == Format::kJpeg) return settings.jpeg_depth;
  if (capacity.HoldsDepth(wanted)) return wanted;
  return wanted > 8 && capacity.HoldsDepth(16) ? 16 : 8;
}

Form FormFor(const Settings& settings, Format format, const Form& before, bool is_opaque) {
  const zepcLayout layout = LayoutFor(settings, format, before.layout, is_opaque);
  if (format == Format::kHdr) {
    return {IsGrey(before.layout) ? zepcLayoutGrey : zepcLayoutRgb, before.sample, before.bits};
  }
  if (!IsLight(before.sample)) {
    return UnsignedForm(layout, DepthFor(settings, format, before.bits));
  }
  // JPEG XR holds light as it is.
  if (format == Format::kJpegXr && IsGrey(layout) == IsGrey(before.layout)) {
    return {layout, before.sample, before.bits};
  }
  return UnsignedForm(layout, DepthFor(settings, format, 16));
}

// Tells what other samples or channels cost.
void NoteLosses(const Form& before, const Form& after, bool is_opaque,
                std::vector<std::string>* notes) {
  if (before.layout == zepcLayoutCmyk && after.layout == zepcLayoutRgb) {
    notes->emplace_back("CMYK was converted to RGB without its profile");
  }
  if (!is_opaque && !HasAlpha(after.layout)) {
    notes->emplace_back(IsLight(after.sample) ? "opacity was left out"
                                              : "transparent parts were laid over white");
  }
  const std::string result = std::to_string(after.bits) + " bits";
  if (IsLight(before.sample) && !IsLight(after.sample)) {
    notes->push_back("linear light became samples of " + result + ", cut off at white");
  } else if (after.bits < before.bits) {
    notes->push_back("samples of " + std::to_string(before.bits) + " bits became " + result);
  }
}

// BC5 holds two channels.
void ClearBlue(Image* image) {
  for (int y = 0; y < image->height(); ++y) {
    uint8_t* const row = image->Row(y);
    for (size_t i = 2; i < image->SamplesInRow(); i += 3) row[i] = 0;
  }
}

// A profile for colours says nothing about grey, one for inks nothing about RGB.
void DropProfileOfOtherColors(zepcLayout before, zepcLayout after, Picture* picture) {
  std::vector<uint8_t>& icc = picture->metadata.icc;
  const bool loses_colors = !IsGrey(before) && IsGrey(after);
  const bool loses_inks = before == zepcLayoutCmyk && after != before;
  if (icc.empty() || (!loses_colors && !loses_inks)) return;
  icc.clear();
  // The other case is part of the note about inks.
  if (loses_colors) {
    picture->notes.emplace_back(
        "the colour profile was dropped: it is for colours, the picture is grey");
  }
}

// A profile never costs the picture: what a PNG file cannot have is left out.
void DropUnfitProfile(zepcLayout layout, Picture* picture) {
  std::vector<uint8_t>& icc = picture->metadata.icc;
  if (icc.empty()) return;
  const std::string fault = PngProfileFault(icc, IsGrey(layout));
  if (fault.empty()) return;
  icc.clear();
  picture->notes.push_back("the colour profile was dropped: " + fault);
}

// A segment of a JPEG file has at most 65,533 bytes, the name of its kind among them.
bool FitsSegment(size_t bytes, size_t name_bytes) { return bytes + name_bytes <= 65533; }

void NoteTooLarge(Picture* picture) {
  constexpr size_t kExifName = 6;
  constexpr size_t kXmpName = 29;
  const Metadata& metadata = picture->metadata;
  if (!FitsSegment(metadata.exif.size(), kExifName)) {
    picture->notes.emplace_back("EXIF data of more than 64 kB have no place in a JPEG file");
  }
  if (!FitsSegment(metadata.xmp.size(), kXmpName)) {
    picture->notes.emplace_back("XMP of more than 64 kB has no place in a JPEG file");
  }
}

void NoteDropped(const Capacity& capacity, Picture* picture) {
  const Metadata& metadata = picture->metadata;
  std::string list;
  const auto add = [&](bool is_lost, const char* name) {
    if (is_lost) list += (list.empty() ? "" : ", ") + std::string(name);
  };
  add(!capacity.keeps_exif && !metadata.exif.empty(), "EXIF data");
  add(!capacity.keeps_icc && !metadata.icc.empty(), "the colour profile");
  add(!capacity.keeps_xmp && !metadata.xmp.empty(), "XMP");
  add(!capacity.keeps_jpeg_segments && !metadata.jpeg_segments.empty(),
      "comments and further JPEG segments");
  add(!capacity.keeps_resolution && metadata.resolution_unit != zepcResolutionNone,
      "the resolution");
  if (!list.empty()) {
    picture->notes.push_back("this kind of file has no place for some metadata: " + list);
  }
  if (metadata.orientation > 1 && !capacity.keeps_exif) {
    picture->notes.emplace_back(
        "the picture is stored turned or mirrored, and this kind of file cannot say so "
        "(--auto-orient turns it)");
  }
}

}  // namespace

Form AdjustHead(const Settings& settings, Format format, const Form& before, bool is_opaque,
                Picture* picture) {
  Metadata& metadata = picture->metadata;
  if (settings.kept == Kept::kNothing) metadata.icc.clear();
  if (settings.kept != Kept::kAll) {
    metadata.exif.clear();
    metadata.xmp.clear();
    metadata.jpeg_segments.clear();
    metadata.orientation = 0;
  }
  if (format == Format::kHdr && !IsLight(before.sample)) {
    throw Failure("only linear light (floats and fixed point) can become .hdr files");
  }
  const Form after = FormFor(settings, format, before, is_opaque);
  NoteLosses(before, after, is_opaque, &picture->notes);
  if (format == Format::kJpegXr && after.sample == zepcSampleF32) {
    picture->notes.emplace_back("of each 32-bit float the first 13 bits of the mantissa are kept");
  }
  if (IsBc5(settings, format)) picture->notes.emplace_back("BC5 holds red and green only");
  DropProfileOfOtherColors(before.layout, after.layout, picture);
  if (format == Format::kPng) DropUnfitProfile(after.layout, picture);
  NoteDropped(CapacityOf(format), picture);
  if (IsSameKind(format, Format::kJpeg)) NoteTooLarge(picture);
  return after;
}

void Adjust(const Settings& settings, Format format, Picture* picture) {
  Image& image = picture->image;
  const Form before = image.form();
  const Form after = AdjustHead(settings, format, before, IsOpaque(image), picture);
  const bool is_bc5 = IsBc5(settings, format);
  if (!(before == after) || is_bc5) {
    image = Converted(image, after, IsLight(after.sample) ? zepcOpacityDrop : zepcOpacityAuto);
  }
  if (is_bc5) ClearBlue(&image);
}

}  // namespace zepconvert
