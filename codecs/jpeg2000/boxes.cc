// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/boxes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <utility>

#include "codecs/jpeg2000/codestream.h"
#include "codecs/support/byte_writer.h"
#include "codecs/support/exif.h"
#include "codecs/support/fields.h"
#include "codecs/support/fraction.h"

namespace zepcodec::jpeg2000 {
namespace {

constexpr uint32_t Name(const char (&text)[5]) {
  uint32_t name = 0;
  for (int i = 0; i < 4; ++i) name = name << 8 | static_cast<uint8_t>(text[i]);
  return name;
}

constexpr uint8_t kSignature[12] = {0, 0, 0, 12, 'j', 'P', ' ', ' ', 13, 10, 0x87, 10};
constexpr size_t kMostEntries = 1024;

constexpr uint8_t kExifUuid[16] = {0x4A, 0x70, 0x67, 0x54, 0x69, 0x66, 0x66, 0x45,
                                   0x78, 0x69, 0x66, 0x2D, 0x3E, 0x4A, 0x50, 0x32};
constexpr uint8_t kXmpUuid[16] = {0xBE, 0x7A, 0xCF, 0xCB, 0x97, 0xA9, 0x42, 0xE8,
                                  0x9C, 0x71, 0x99, 0x94, 0x91, 0xE3, 0xAF, 0xAC};
constexpr double kMetresInAnInch = 0.0254, kMetresInACentimetre = 0.01;
constexpr double kMostDots = 1e9;  // in an inch

// Illuminants of L*a*b*.
constexpr uint32_t kD50 = 0x443530;
constexpr uint32_t kD65 = 0x443635;

struct Box {
  uint32_t name;
  ByteReader content;
};

// Reads the next box; false: there is none.
bool NextBox(ByteReader* rest, Box* box) {
  const size_t begin = rest->position();
  const size_t most = rest->left();
  uint64_t length = rest->Long();
  box->name = rest->Long();
  if (length == 1) length = rest->Number(8);
  const size_t head = rest->position() - begin;
  if (rest->failed()) return false;
  if (length == 0 || length > most) length = most;  // to the end, or cut off
  if (length < head) return false;
  box->content = rest->Take(static_cast<size_t>(length) - head);
  return true;
}

// Numbers of ITU-T T.800 and T.801. Of those that are left out, some are RGB with other primaries.
ColorSpace Enumerated(int number) {
  switch (number) {
    case 0: return ColorSpace::kInvertedGrey;  // bi-level, 1 is black
    case 3: return ColorSpace::kYcc;           // YCbCr(2), as in JPEG files
    case 11: return ColorSpace::kCmy;
    case 12: return ColorSpace::kCmyk;
    case 13: return ColorSpace::kYcck;
    case 14: return ColorSpace::kLab;
    case 15: return ColorSpace::kGrey;  // bi-level, 1 is white
    case 16: return ColorSpace::kRgb;
    case 17: return ColorSpace::kGrey;
    case 18:
    case 24: return ColorSpace::kYcc;
    default: return ColorSpace::kUnknown;
  }
}

// Range and offset of L*, a* and b*, then the illuminant; all or nothing.
void ReadLabRange(ByteReader content, LabRange* lab) {
  if (content.left() < 28) return;
  lab->has_offsets = true;
  for (size_t i = 0; i < 3; ++i) {
    lab->range[i] = content.Long();
    lab->offsets[i] = content.Long();
  }
  lab->is_d65 = content.Long() == kD65;
}

// The first known colour space has priority.
void ReadColor(ByteReader content, Boxes* boxes) {
  const int method = content.Byte();
  content.Skip(2);  // precedence and approximation
  if (content.failed()) return;
  if (method == 1 && content.left() >= 4 && boxes->color == ColorSpace::kUnknown) {
    const auto number = static_cast<int>(std::min<uint32_t>(content.Long(), 65535));
    boxes->color = Enumerated(number);
    if (boxes->color == ColorSpace::kUnknown) boxes->unknown_color = number;
    if (boxes->color == ColorSpace::kLab) ReadLabRange(content, &boxes->lab);
  }
  if (method == 2 && boxes->metadata.icc_profile.empty()) {
    boxes->metadata.icc_profile.assign(content.next(), content.next() + content.left());
  }
}

// The kind of colours that an ICC profile is for.
ColorSpace ColorOfProfile(const std::vector<uint8_t>& profile) {
  constexpr size_t kColorsOfProfile = 16;
  switch (ByteReader(profile.data(), profile.size()).At(kColorsOfProfile).Long()) {
    case Name("GRAY"): return ColorSpace::kGrey;
    case Name("RGB "): return ColorSpace::kRgb;
    case Name("CMYK"): return ColorSpace::kCmyk;
    default: return ColorSpace::kUnknown;
  }
}

// Without a header, components 1 and 2 on a coarser grid are taken for chroma, as other decoders
// do.
bool LooksLikeYcc(const Image& image) {
  if (image.components.size() < 3) return false;
  const Component& luma = image.components[0];
  const Component& cb = image.components[1];
  const Component& cr = image.components[2];
  return cb.dx == cr.dx && cb.dy == cr.dy && cb.dx >= luma.dx && cb.dy >= luma.dy &&
         cb.dx * cb.dy > luma.dx * luma.dy;
}

bool ReadPalette(ByteReader content, Boxes::Palette* palette) {
  *palette = {};
  const auto rows = static_cast<size_t>(content.Word());
  const auto count = static_cast<size_t>(content.Byte());
  if (rows < 1 || rows > kMostEntries || count < 1 || content.left() < count) return false;
  size_t row_bytes = 0;
  for (size_t i = 0; i < count; ++i) {
    const int depth = content.Byte();
    const int bits = (depth & 127) + 1;
    if (bits > kMostBits) return false;
    palette->columns.push_back({bits, depth > 127});
    row_bytes += bits > 8 ? 2 : 1;
  }
  if (content.left() < rows * row_bytes) return false;
  for (size_t i = 0; i < rows * count; ++i) {
    const Boxes::Palette::Column& column = palette->columns[i % count];
    const int mask = (1 << column.bits) - 1;
    int32_t value = (column.bits > 8 ? content.Word() : content.Byte()) & mask;
    if (column.is_signed && value >> (column.bits - 1) != 0) value -= 1 << column.bits;
    palette->entries.push_back(value);
  }
  return true;
}

void ReadMappings(ByteReader content, Boxes* boxes) {
  while (content.left() >= 4) {
    const int component = content.Word();
    const bool uses_palette = content.Byte() == 1;
    boxes->mappings.push_back({component, uses_palette, content.Byte()});
  }
}

void ReadDefinitions(ByteReader content, Boxes* boxes) {
  content.Skip(2);  // their number
  while (content.left() >= 6) {
    const int channel = content.Word();
    const int type = content.Word();
    boxes->definitions.push_back({channel, type, content.Word()});
  }
}

// Pixels per metre: fractions, then exponents of 10, the vertical ones first.
bool ReadResolution(ByteReader content, Resolution* resolution) {
  double numbers[2] = {};
  for (double& number : numbers) {
    const int over = content.Word();
    const int under = content.Word();
    if (under == 0) return false;
    number = kMetresInAnInch * over / under;
  }
  for (double& number : numbers) {
    number *= std::pow(10.0, static_cast<int8_t>(content.Byte()));
    if (content.failed() || !(number > 0 && number <= kMostDots)) return false;
  }
  *resolution = {Resolution::Unit::kInch, numbers[1], numbers[0]};
  return true;
}

// The resolution of capture has priority over that for display.
void ReadResolutions(ByteReader content, Messages* notes, Boxes* boxes) {
  Box box{};
  bool has_capture = false;
  while (NextBox(&content, &box)) {
    if (box.name != Name("resc") && (box.name != Name("resd") || has_capture)) continue;
    if (ReadResolution(box.content, &boxes->metadata.resolution)) {
      has_capture = box.name == Name("resc");
    } else {
      notes->AddAt(box.content.offset(), "the resolution is damaged and was left out");
    }
  }
}

// Reads EXIF data and XMP packets. Some programs write EXIF data with the name that precedes them
// in JPEG files.
void ReadUuid(ByteReader content, Messages* notes, Metadata* metadata) {
  constexpr char kExifName[6] = {'E', 'x', 'i', 'f', 0, 0};
  const size_t offset = content.offset();
  const ByteReader uuid = content.Take(sizeof(kExifUuid));
  if (uuid.failed()) return;
  const bool is_exif = std::memcmp(uuid.next(), kExifUuid, sizeof(kExifUuid)) == 0;
  const bool is_xmp = std::memcmp(uuid.next(), kXmpUuid, sizeof(kXmpUuid)) == 0;
  if (is_xmp && metadata->xmp.empty()) {
    metadata->xmp.assign(content.next(), content.next() + content.left());
  }
  if (!is_exif || !metadata->exif.empty()) return;
  if (content.left() > sizeof(kExifName) &&
      std::memcmp(content.next(), kExifName, sizeof(kExifName)) == 0) {
    content.Skip(sizeof(kExifName));
  }
  ByteReader file;
  uint32_t first = 0;
  if (tiff::OpenTiff(content.next(), content.left(), content.offset(), &file, &first)) {
    metadata->exif.assign(content.next(), content.next() + content.left());
    metadata->orientation = OrientationOfExif(metadata->exif);
  } else {
    notes->AddAt(offset, "the EXIF data are damaged and were left out");
  }
}

void ReadHeaderBox(const Box& box, Messages* messages, Messages* notes, Boxes* boxes) {
  switch (box.name) {
    case Name("colr"): ReadColor(box.content, boxes); break;
    case Name("cmap"): ReadMappings(box.content, boxes); break;
    case Name("cdef"): ReadDefinitions(box.content, boxes); break;
    case Name("res "): ReadResolutions(box.content, notes, boxes); break;
    case Name("pclr"):
      if (ReadPalette(box.content, &boxes->palette)) break;
      boxes->palette = {};
      messages->AddAt(box.content.offset(), "the palette is damaged and was left out");
      break;
    default: break;
  }
}

void Map(const Boxes::Palette& palette, int number, Component* component) {
  const auto column = static_cast<size_t>(number);
  component->bits = palette.columns[column].bits;
  component->is_signed = palette.columns[column].is_signed;
  const auto last = static_cast<int32_t>(palette.Rows()) - 1;
  for (int32_t& sample : component->samples) {
    const auto row = static_cast<size_t>(std::clamp(sample, 0, last));
    sample = palette.entries[row * palette.columns.size() + column];
  }
}

// How channels are made. A palette without a mapping: each of its columns makes one, in their
// order.
std::vector<Boxes::Mapping> MappingsOf(const Boxes& boxes, size_t components) {
  if (!boxes.mappings.empty() || components != 1) return boxes.mappings;
  std::vector<Boxes::Mapping> mappings;
  for (size_t i = 0; i < boxes.palette.columns.size(); ++i) {
    mappings.push_back({0, true, static_cast<int>(i)});
  }
  return mappings;
}

// A component is moved, not copied, to the last channel that uses it.
void ApplyPalette(const Boxes& boxes, Messages* messages, Messages* notes, Image* image) {
  if (boxes.palette.columns.empty()) return;
  const std::vector<Boxes::Mapping> mappings = MappingsOf(boxes, image->components.size());
  const std::vector<size_t> sources = PaletteSources(boxes, image->components.size());
  if (sources.empty()) {
    messages->Add("the palette does not fit the components and was left out");
    return;
  }
  if (boxes.mappings.empty()) {
    notes->Add("the palette has no mapping; its columns are the channels");
  }
  std::vector<Component> channels;
  for (size_t i = 0; i < sources.size(); ++i) {
    Component& from = image->components[sources[i]];
    const bool is_last = std::find(sources.begin() + static_cast<ptrdiff_t>(i) + 1, sources.end(),
                                   sources[i]) == sources.end();
    channels.push_back(is_last ? std::move(from) : from);
    if (mappings[i].uses_palette) Map(boxes.palette, mappings[i].column, &channels.back());
  }
  image->components = std::move(channels);
}

// Opacity of the whole picture, or else of one colour; null: none.
const Boxes::Definition* FindOpacity(const Boxes& boxes) {
  const Boxes::Definition* found = nullptr;
  for (const Boxes::Definition& definition : boxes.definitions) {
    if (definition.type != 1 && definition.type != 2) continue;
    if (found == nullptr || (found->association != 0 && definition.association == 0)) {
      found = &definition;
    }
  }
  return found;
}

// Colours in their order, then opacity, then all other channels.
void ApplyDefinitions(const Boxes& boxes, Image* image) {
  const size_t count = image->components.size();
  std::vector<size_t> places(count);
  for (size_t i = 0; i < count; ++i) places[i] = i;
  const Boxes::Definition* const opacity = FindOpacity(boxes);
  for (const Boxes::Definition& definition : boxes.definitions) {
    if (static_cast<size_t>(definition.channel) >= count) return;
    size_t& place = places[size_t(definition.channel)];
    const auto association = static_cast<size_t>(definition.association);
    if (definition.type != 0) {
      place = &definition == opacity ? count : count + 1;
    } else if (association >= 1 && association <= count) {
      place = association - 1;
    }
  }
  std::vector<size_t> order(count);
  for (size_t i = 0; i < count; ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return places[a] < places[b]; });
  std::vector<Component> channels;
  for (size_t i = 0; i < count; ++i) {
    if (opacity != nullptr && order[i] == static_cast<size_t>(opacity->channel)) {
      image->alpha = static_cast<int>(i);
      image->is_premultiplied = opacity->type == 2;
    }
    channels.push_back(std::move(image->components[order[i]]));
  }
  image->components = std::move(channels);
}

class BoxWriter : public ByteWriter {
 public:
  using ByteWriter::ByteWriter;
  // A box stays open until its Close().
  size_t Open(uint32_t name) {
    Long(0);
    Long(name);
    return size() - 8;
  }
  void Close(size_t box) { Set(box, size() - box, 4); }
};

int Depth(const Component& component) {
  return (component.is_signed ? 128 : 0) | (component.bits - 1);
}

// As Enumerated() reads it.
uint32_t NumberOf(const Image& image) {
  switch (image.color) {
    case ColorSpace::kInvertedGrey: return 0;
    case ColorSpace::kCmy: return 11;
    case ColorSpace::kCmyk: return 12;
    case ColorSpace::kYcck: return 13;
    case ColorSpace::kLab: return 14;
    case ColorSpace::kYcc: return 18;
    default: break;
  }
  const size_t colors = image.components.size() - (image.alpha >= 0 ? 1 : 0);
  return colors < 3 ? 17 : 16;
}

void WriteLabRange(const LabRange& lab, BoxWriter* writer) {
  if (!lab.has_offsets) return;
  for (size_t i = 0; i < 3; ++i) {
    writer->Long(static_cast<uint32_t>(lab.range[i]));
    writer->Long(static_cast<uint32_t>(lab.offsets[i]));
  }
  writer->Long(lab.is_d65 ? kD65 : kD50);
}

// A profile for other colours would change the meaning of the samples. Four channels are inks only
// by a profile that says so.
bool HasFittingProfile(const Image& image) {
  if (image.metadata.icc_profile.empty()) return false;
  const ColorSpace color = ColorOfProfile(image.metadata.icc_profile);
  if (image.color == ColorSpace::kUnknown) return true;
  return color == image.color ||
         (color == ColorSpace::kUnknown && image.color != ColorSpace::kCmyk);
}

void WriteColor(const Image& image, BoxWriter* writer) {
  const size_t box = writer->Open(Name("colr"));
  if (HasFittingProfile(image)) {
    writer->Number(0x020000, 3);
    writer->Bytes(image.metadata.icc_profile);
  } else {
    writer->Number(0x010000, 3);
    writer->Long(NumberOf(image));
    if (image.color == ColorSpace::kLab) WriteLabRange(image.lab, writer);
  }
  writer->Close(box);
}

uint32_t MostColors(ColorSpace color) {
  switch (color) {
    case ColorSpace::kUnknown: return kMostComponents;
    case ColorSpace::kGrey:
    case ColorSpace::kInvertedGrey: return 1;
    case ColorSpace::kCmyk:
    case ColorSpace::kYcck: return 4;
    default: return 3;
  }
}

void WriteDefinitions(const Image& image, BoxWriter* writer) {
  constexpr uint32_t kNeither = 65535;
  if (image.alpha < 0) return;
  const size_t box = writer->Open(Name("cdef"));
  writer->Word(static_cast<uint32_t>(image.components.size()));
  uint32_t color = 0;
  for (size_t i = 0; i < image.components.size(); ++i) {
    const bool is_alpha = static_cast<int>(i) == image.alpha;
    const bool is_color = !is_alpha && color < MostColors(image.color);
    const uint32_t opacity = image.is_premultiplied ? 2 : 1;
    writer->Word(static_cast<uint32_t>(i));
    writer->Word(is_color ? 0 : is_alpha ? opacity : kNeither);
    writer->Word(is_color ? ++color : is_alpha ? 0 : kNeither);
  }
  writer->Close(box);
}

// Writes the resolution of capture. A pixel shape without a size cannot be stored.
void WriteResolution(const Resolution& resolution, BoxWriter* writer) {
  const bool is_inch = resolution.unit == Resolution::Unit::kInch;
  if (!is_inch && resolution.unit != Resolution::Unit::kCentimetre) return;
  const double unit = is_inch ? kMetresInAnInch : kMetresInACentimetre;
  double numbers[2] = {resolution.y / unit, resolution.x / unit};
  int exponents[2] = {};
  for (size_t i = 0; i < 2; ++i) {
    if (!(numbers[i] > 1e-9 && numbers[i] < 1e12)) return;
    exponents[i] = static_cast<int>(std::floor(std::log10(numbers[i])));
    numbers[i] /= std::pow(10.0, exponents[i]);
  }
  const size_t box = writer->Open(Name("res "));
  const size_t capture = writer->Open(Name("resc"));
  for (const double number : numbers) {
    const Fraction fraction = ToFraction(number, UINT16_MAX);
    writer->Word(fraction.over);
    writer->Word(fraction.under);
  }
  for (const int exponent : exponents) writer->Byte(exponent);
  writer->Close(capture);
  writer->Close(box);
}

void WriteUuid(const uint8_t (&uuid)[16], const std::vector<uint8_t>& content, BoxWriter* writer) {
  if (content.empty()) return;
  const size_t box = writer->Open(Name("uuid"));
  writer->Bytes(uuid, sizeof(uuid));
  writer->Bytes(content);
  writer->Close(box);
}

void WriteHeader(const Image& image, BoxWriter* writer) {
  const std::vector<Component>& components = image.components;
  const bool same = std::all_of(components.begin(), components.end(), [&](const Component& c) {
    return Depth(c) == Depth(components[0]);
  });
  const size_t header = writer->Open(Name("jp2h"));
  const size_t box = writer->Open(Name("ihdr"));
  writer->Long(static_cast<uint32_t>(image.y1 - image.y0));
  writer->Long(static_cast<uint32_t>(image.x1 - image.x0));
  writer->Word(static_cast<uint32_t>(components.size()));
  writer->Byte(same ? static_cast<uint32_t>(Depth(components[0])) : 255);
  const bool is_known = image.color != ColorSpace::kUnknown || !image.metadata.icc_profile.empty();
  writer->Byte(7);
  writer->Byte(is_known ? 0 : 1);
  writer->Byte(0);
  writer->Close(box);
  if (!same) {
    const size_t depths = writer->Open(Name("bpcc"));
    for (const Component& c : components) writer->Byte(static_cast<uint32_t>(Depth(c)));
    writer->Close(depths);
  }
  WriteColor(image, writer);
  WriteDefinitions(image, writer);
  WriteResolution(image.metadata.resolution, writer);
  writer->Close(header);
}

}  // namespace

Status ReadBoxes(const uint8_t* data, size_t size, Messages* messages, Messages* notes,
                 Boxes* boxes) {
  ByteReader rest(data, size);
  if (size >= 2 && data[0] == 0xFF && data[1] == 0x4F) {
    boxes->codestream = rest;
    return Status();
  }
  if (size < sizeof(kSignature) || std::memcmp(data, kSignature, sizeof(kSignature)) != 0) {
    return Status::Error("neither a JPEG 2000 codestream nor a JP2 file");
  }
  boxes->is_jp2 = true;
  rest.Skip(sizeof(kSignature));
  bool has_codestream = false;
  Box box{};
  while (NextBox(&rest, &box)) {
    if (box.name == Name("uuid")) ReadUuid(box.content, notes, &boxes->metadata);
    if (box.name == Name("jp2h") && !has_codestream) {
      Box part{};
      while (NextBox(&box.content, &part)) ReadHeaderBox(part, messages, notes, boxes);
    }
    if (box.name == Name("jp2c") && !has_codestream) {
      boxes->codestream = box.content;
      has_codestream = true;
    }
  }
  return has_codestream ? Status() : Status::Error("the JP2 file has no codestream in it");
}

std::vector<size_t> PaletteSources(const Boxes& boxes, size_t count) {
  constexpr size_t kMostChannels = 4;
  std::vector<size_t> sources;
  if (boxes.palette.columns.empty()) return sources;
  const std::vector<Boxes::Mapping> mappings = MappingsOf(boxes, count);
  if (mappings.size() > kMostChannels) return sources;
  for (const Boxes::Mapping& mapping : mappings) {
    const auto component = static_cast<size_t>(mapping.component);
    const bool has_column =
        !mapping.uses_palette || static_cast<size_t>(mapping.column) < boxes.palette.columns.size();
    if (component >= count || !has_column) return {};
    sources.push_back(component);
  }
  return sources;
}

void MakeChannels(const Boxes& boxes, Messages* messages, Messages* notes, Image* image) {
  ApplyPalette(boxes, messages, notes, image);
  image->alpha = -1;
  image->is_premultiplied = false;
  ApplyDefinitions(boxes, image);
}

void ApplyBoxes(const Boxes& boxes, Messages* messages, Messages* notes, Image* image) {
  MakeChannels(boxes, messages, notes, image);
  image->color = boxes.color;
  image->lab = boxes.lab;
  image->metadata = boxes.metadata;
  if (image->color != ColorSpace::kUnknown) return;
  image->color = ColorOfProfile(boxes.metadata.icc_profile);
  if (!boxes.metadata.icc_profile.empty()) return;
  image->unknown_color = boxes.unknown_color;
  if (boxes.unknown_color < 0 && LooksLikeYcc(*image)) image->color = ColorSpace::kYcc;
}

Status WriteBoxes(const Image& image, std::vector<uint8_t>* bytes) {
  bytes->insert(bytes->end(), kSignature, kSignature + sizeof(kSignature));
  BoxWriter writer(bytes);
  const size_t type = writer.Open(Name("ftyp"));
  writer.Long(Name("jp2 "));
  writer.Long(0);
  writer.Long(Name("jp2 "));
  writer.Close(type);
  WriteHeader(image, &writer);
  WriteUuid(kExifUuid, image.metadata.exif, &writer);
  WriteUuid(kXmpUuid, image.metadata.xmp, &writer);
  if (bytes->size() > UINT32_MAX - kBoxHeadSize) return Status::Error("too large for a JP2 file");
  writer.Open(Name("jp2c"));
  return Status();
}

}  // namespace zepcodec::jpeg2000
