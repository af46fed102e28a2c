// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/header_reader.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "codecs/jpegxr/header_bits.h"

namespace zepcodec::jpegxr {
namespace {

constexpr char kSignature[8] = "WMPHOTO";
constexpr uint32_t kGreyOutput = 0, kRgbOutput = 7, kRgbeOutput = 8;

// By the number in the header.
bool FindSampleType(uint32_t number, SampleType* type) {
  switch (number) {
    case 1: *type = SampleType::kU8; return true;
    case 2: *type = SampleType::kU16; return true;
    case 3: *type = SampleType::kS16; return true;
    case 4: *type = SampleType::kF16; return true;
    case 6: *type = SampleType::kS32; return true;
    case 7: *type = SampleType::kF32; return true;
    default: return false;
  }
}

Packing FindPacking(uint32_t color, uint32_t number) {
  if (color == kRgbeOutput) return number == 1 ? Packing::kRgbe : Packing::kNone;
  if (color != kRgbOutput) return Packing::kNone;
  switch (number) {
    case 8: return Packing::k555;
    case 9: return Packing::k101010;
    case 10: return Packing::k565;
    default: return Packing::kNone;
  }
}

// The kind of samples, by its numbers in the header.
Status FindSamples(uint32_t color, uint32_t number, FrameHeader* frame) {
  frame->is_rgb = color != kGreyOutput;
  frame->packing = FindPacking(color, number);
  if (frame->packing != Packing::kNone) {
    frame->type = TypeOf(frame->packing);
    return frame->has_alpha ? Status::Error("opacity beside packed samples") : Status();
  }
  if (color != kGreyOutput && color != kRgbOutput) return Status::Error("neither grey nor RGB");
  return FindSampleType(number, &frame->type)
             ? Status()
             : Status::Error("samples of a kind that is not supported");
}

QuantizerSet ReadSet(size_t components, HeaderReader* reader) {
  const uint32_t mode = components > 1 ? reader->Bits(2) : 0;
  QuantizerSet set;
  set.fill(static_cast<uint8_t>(reader->Bits(8)));
  if (mode == 1) set[1] = set[2] = static_cast<uint8_t>(reader->Bits(8));
  if (mode > 1) {
    for (size_t c = 1; c < components; ++c) set[c] = static_cast<uint8_t>(reader->Bits(8));
  }
  return set;
}

void ReadQuantizers(HeaderReader* reader, PlaneHeader* plane) {
  const size_t components = plane->Components();
  plane->is_dc_uniform = reader->Bit();
  if (plane->is_dc_uniform) plane->dc = ReadSet(components, reader);
  if (!plane->HasLp()) return;
  const bool is_same_as_dc = reader->Bit();
  plane->is_lp_uniform = is_same_as_dc ? plane->is_dc_uniform : reader->Bit();
  plane->lp = plane->dc;
  if (!is_same_as_dc && plane->is_lp_uniform) plane->lp = ReadSet(components, reader);
  if (!plane->HasHp()) return;
  const bool is_same_as_lp = reader->Bit();
  plane->is_hp_uniform = is_same_as_lp ? plane->is_lp_uniform : reader->Bit();
  plane->hp = plane->lp;
  if (!is_same_as_lp && plane->is_hp_uniform) plane->hp = ReadSet(components, reader);
}

Status ReadPlaneHeader(SampleType type, HeaderReader* reader, PlaneHeader* plane) {
  const uint32_t color = reader->Bits(3);
  if (color > 3) return Status::Error("neither grey nor three components");
  plane->color = static_cast<ColorFormat>(color);
  plane->is_scaled = reader->Bit();
  const uint32_t bands = reader->Bits(4);
  if (bands > 3) return Status::Error("an unknown number of bands");
  plane->bands = static_cast<Bands>(bands);
  if (plane->color != ColorFormat::kGrey) reader->Bits(8);  // where chroma lies
  if (HasShift(type)) plane->shift = static_cast<int>(reader->Bits(8));
  if (type == SampleType::kF32) {
    const auto bias = static_cast<int>(reader->Bits(8));
    plane->exponent_bias = bias < 128 ? bias : bias - 256;
  }
  const int most = type == SampleType::kF32 ? 23 : 8 * BytesOf(type) - 1;
  if (plane->shift > most) return Status::Error("more bits left out than there are");
  ReadQuantizers(reader, plane);
  reader->Align();
  return Status();
}

// Reads the sizes of all tiles except the last one, in macroblocks, and computes where they begin.
Status ReadTileSizes(uint32_t count, uint32_t bits, uint32_t whole, HeaderReader* reader,
                     std::vector<uint32_t>* starts) {
  starts->assign(1, 0);
  for (uint32_t i = 1; i < count; ++i) {
    const uint32_t size = reader->Bits(bits);
    if (size == 0 || size >= whole - starts->back()) {
      return Status::Error("tiles beyond the picture");
    }
    starts->push_back(starts->back() + size);
  }
  starts->push_back(whole);
  return Status();
}

struct Flags {
  bool is_tiled = false;
  bool is_short = false;
  bool has_window = false;
  bool is_stretched = false;
};

Status ReadFlags(HeaderReader* reader, FrameHeader* frame, Flags* flags) {
  if (reader->Bits(4) != 1) return Status::Error("an unknown version");
  frame->has_hard_tiles = reader->Bit();
  const uint32_t filters = reader->Bits(3);
  frame->has_old_filters = filters == 0;
  flags->is_tiled = reader->Bit();
  frame->is_frequency_order = reader->Bit();
  frame->orientation = static_cast<int>(reader->Bits(3));
  frame->has_index = reader->Bit();
  const uint32_t overlap = reader->Bits(2);
  frame->overlap = static_cast<Overlap>(overlap);
  flags->is_short = reader->Bit();
  reader->Bit();  // words of 32 bits or of 16: a hint
  flags->has_window = reader->Bit();
  frame->has_trim = reader->Bit();
  flags->is_stretched = reader->Bit();
  frame->is_bgr = reader->Bit();
  reader->Bit();
  frame->has_alpha = reader->Bit();
  const uint32_t color = reader->Bits(4);
  const uint32_t samples = reader->Bits(4);
  if (overlap > 2) return Status::Error("an unknown overlap");
  // Hard tiles came after the old filters.
  if (overlap > 0 && (filters > 1 || (frame->has_old_filters && frame->has_hard_tiles))) {
    return Status::Error("overlap filters of an unknown kind");
  }
  return FindSamples(color, samples, frame);
}

Status ReadGeometry(const Flags& flags, HeaderReader* reader, FrameHeader* frame) {
  const uint32_t width = reader->Bits(flags.is_short ? 16 : 32);
  const uint32_t height = reader->Bits(flags.is_short ? 16 : 32);
  constexpr uint32_t kMost = (1U << 28) - 1;
  if (width >= kMost || height >= kMost) return Status::Error("an impossible size");
  frame->width = width + 1;
  frame->height = height + 1;
  const uint32_t tiles_across = flags.is_tiled ? reader->Bits(12) + 1 : 1;
  const uint32_t tiles_down = flags.is_tiled ? reader->Bits(12) + 1 : 1;
  if (!frame->has_index && (frame->is_frequency_order || tiles_across * tiles_down > 1)) {
    return Status::Error("several packets without an index");
  }
  // The window follows the tile sizes, but is needed to check them.
  HeaderReader window = *reader;
  const uint32_t size_bits = flags.is_short ? 8 : 16;
  for (uint32_t i = 2; i < tiles_across + tiles_down; ++i) window.Bits(size_bits);
  if (flags.is_stretched) {
    for (uint32_t i = 0; i < tiles_across * tiles_down && !window.failed(); ++i) window.Bits(8);
  }
  if (flags.has_window) {
    frame->extra_top = window.Bits(6);
    frame->extra_left = window.Bits(6);
    frame->extra_bottom = window.Bits(6);
    frame->extra_right = window.Bits(6);
  } else {
    frame->extra_right = (16 - frame->width % 16) % 16;
    frame->extra_bottom = (16 - frame->height % 16) % 16;
  }
  if ((frame->extra_left + frame->width + frame->extra_right) % 16 != 0 ||
      (frame->extra_top + frame->height + frame->extra_bottom) % 16 != 0) {
    return Status::Error("the size is not one of whole macroblocks");
  }
  Status status = ReadTileSizes(tiles_across, size_bits, frame->MbWidth(), reader, &frame->columns);
  if (status.ok()) {
    status = ReadTileSizes(tiles_down, size_bits, frame->MbHeight(), reader, &frame->rows);
  }
  *reader = window;
  reader->Align();
  return status;
}

Status ReadIndex(size_t packets, HeaderReader* reader, std::vector<uint64_t>* offsets) {
  if (reader->Bits(16) != 1) return Status::Error("damaged index");
  for (size_t i = 0; i < packets && !reader->failed(); ++i) offsets->push_back(reader->Number());
  return Status();
}

Status ReadFields(HeaderReader* reader, Headers* headers) {
  FrameHeader& frame = headers->frame;
  Flags flags;
  Status status = ReadFlags(reader, &frame, &flags);
  if (status.ok()) status = ReadGeometry(flags, reader, &frame);
  // Packed samples have the header of 8-bit ones.
  const bool is_packed = frame.packing != Packing::kNone;
  const SampleType type = is_packed ? SampleType::kU8 : frame.type;
  if (status.ok()) status = ReadPlaneHeader(type, reader, &frame.plane);
  if (status.ok() && frame.has_alpha) {
    status = ReadPlaneHeader(type, reader, &frame.alpha);
    if (status.ok() && frame.alpha.color != ColorFormat::kGrey) {
      status = Status::Error("opacity of several components");
    }
  }
  if (status.ok() && frame.is_rgb != (frame.plane.color != ColorFormat::kGrey)) {
    status = Status::Error("other components coded than shown");
  }
  if (!status.ok()) return status;
  headers->packet_offsets.clear();
  if (frame.has_index) {
    const size_t bands = frame.is_frequency_order ? PacketsOf(frame.plane.bands) : 1;
    return ReadIndex(frame.TileCount() * bands, reader, &headers->packet_offsets);
  }
  headers->packet_offsets.push_back(0);
  return status;
}

}  // namespace

Status ReadHeaders(const uint8_t* data, size_t size, size_t offset, Headers* headers) {
  if (size < sizeof(kSignature) || std::memcmp(data, kSignature, sizeof(kSignature)) != 0) {
    return Status::Error("no JPEG XR codestream");
  }
  HeaderReader reader(data + sizeof(kSignature), size - sizeof(kSignature));
  Status status = ReadFields(&reader, headers);
  if (status.ok()) {
    const uint64_t profile = reader.Number();
    const uint64_t start = sizeof(kSignature) + reader.BytePosition() + profile;
    headers->data_start = static_cast<size_t>(start);
    if (!reader.failed() && profile <= size && start <= size) return status;
    status = Status::Error("the header ends early");
  }
  const size_t at = std::min(offset + sizeof(kSignature) + reader.BytePosition(), offset + size);
  return Status::Error("byte " + std::to_string(at) + ": " + status.text());
}

}  // namespace zepcodec::jpegxr
