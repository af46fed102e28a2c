// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/marker_reader.h"

#include <algorithm>
#include <limits>
#include <string>

#include "codecs/jpeg2000/geometry.h"

namespace zepcodec::jpeg2000 {
namespace {

constexpr int kMostTiles = 65535;
constexpr size_t kMostVolumes = 1024;  // limits the time for files with very many changes of order
constexpr size_t kSotSize = 12;

// Reserved markers without a segment; they mean nothing (A.1.2).
bool IsBareMarker(int marker) { return marker >= 0xFF30 && marker < 0xFF40; }

int32_t Clamped(uint32_t value) {
  return static_cast<int32_t>(std::min<uint32_t>(value, std::numeric_limits<int32_t>::max()));
}

}  // namespace

Status MarkerReader::NextSegment(size_t end, int* marker, ByteReader* segment) {
  ByteReader head(data_ + position_, end - position_, ByteOrder::kBig, OffsetOf(position_));
  marker_offset_ = head.offset();
  *marker = head.Word();
  if (head.failed()) return Status::Error("the file ends where a marker should follow");
  if (*marker < 0xFF00) return Status::Error("no marker where one should follow");
  if (*marker == kSod || *marker == kEoc || *marker == kSoc || IsBareMarker(*marker)) {
    *segment = head.Take(0);
    position_ += 2;
    return Status();
  }
  const int length = head.Word();
  if (head.failed() || length < 2 || static_cast<size_t>(length) - 2 > head.left()) {
    return Status::Error("segment " + MarkerName(*marker) + " of length " + std::to_string(length) +
                         " does not fit");
  }
  *segment = head.Take(static_cast<size_t>(length) - 2);
  position_ += static_cast<size_t>(length) + 2;
  return Status();
}

Status MarkerReader::ReadMainHeader() {
  if (size_ < 2 || data_[0] != 0xFF || data_[1] != (kSoc & 0xFF)) {
    return Status::Error("not a JPEG 2000 codestream: it does not begin with FF 4F");
  }
  position_ = 2;
  while (true) {
    const size_t begin = position_;
    int marker = 0;
    ByteReader segment;
    Status status = NextSegment(size_, &marker, &segment);
    if (status.ok() && marker == kSot) {
      position_ = begin;
      return CheckMain();
    }
    if (status.ok()) status = ReadMainSegment(marker, segment);
    if (!status.ok()) {
      return Status::Error("byte " + std::to_string(marker_offset_) + ": " + status.text());
    }
  }
}

Status MarkerReader::ReadMainSegment(int marker, ByteReader segment) {
  if (marker == kSiz) return ReadSize(segment);
  if (tiles_.empty()) return Status::Error("the size of the picture (SIZ) does not come first");
  if (marker == kPpm) {
    AddHeaders(segment, &packed_);
    return Status();
  }
  if (marker == kSod || marker == kEoc) return Status::Error("the file has no picture in it");
  return HasParameters(marker) ? ReadParameters(marker, false, segment, &main_) : Status();
}

Status MarkerReader::ReadSize(ByteReader segment) {
  if (!tiles_.empty()) return Status::Error("a second size of the picture (SIZ)");
  SizeSegment& size = picture_size_;
  segment.Word();  // capabilities
  for (int32_t* value : {&size.x1, &size.y1, &size.x0, &size.y0, &size.tile_width,
                         &size.tile_height, &size.tile_x0, &size.tile_y0}) {
    *value = Clamped(segment.Long());
  }
  const int count = segment.Word();
  if (segment.failed() || segment.left() < 3 * static_cast<size_t>(count)) {
    return Status::Error("the size of the picture (SIZ) is too short");
  }
  if (count < 1 || count > kMostComponents) {
    return Status::Error(std::to_string(count) + " components; 1 to " +
                         std::to_string(kMostComponents) + " can be read");
  }
  for (int i = 0; i < count; ++i) {
    const int depth = segment.Byte();
    const int dx = segment.Byte();
    const int dy = segment.Byte();
    size.components.push_back({(depth & 127) + 1, depth > 127, dx, dy});
  }
  if (Status status = CheckSize(); !status.ok()) return status;
  main_.components.resize(size.components.size());
  tiles_.resize(size_t(size.TilesAcross()) * size_t(size.TilesDown()));
  return Status();
}

Status MarkerReader::CheckSize() const {
  const SizeSegment& size = picture_size_;
  if (size.x0 >= size.x1 || size.y0 >= size.y1) return Status::Error("the picture has no area");
  const auto first_tile_is_hit = [](int64_t tile, int64_t length, int64_t start) {
    return length > 0 && tile <= start && tile + length > start;
  };
  if (!first_tile_is_hit(size.tile_x0, size.tile_width, size.x0) ||
      !first_tile_is_hit(size.tile_y0, size.tile_height, size.y0)) {
    return Status::Error("the first tile holds nothing of the picture");
  }
  if (int64_t{size.TilesAcross()} * size.TilesDown() > kMostTiles) {
    return Status::Error("more than " + std::to_string(kMostTiles) + " tiles");
  }
  for (const SizeSegment::ComponentSize& component : size.components) {
    if (component.bits > 16) {
      return Status::Error("components of " + std::to_string(component.bits) +
                           " bits; up to 16 can be read");
    }
    if (component.dx < 1 || component.dy < 1 ||
        ComponentArea({size.x0, size.y0, size.x1, size.y1}, component.dx, component.dy).empty()) {
      return Status::Error("a component without samples");
    }
  }
  return Status();
}

Status MarkerReader::CheckMain() const {
  if (tiles_.empty()) return Status::Error("the size of the picture (SIZ) is missing");
  if (!main_.has_tile_coding) return Status::Error("the coding style (COD) is missing");
  for (const Parameters::ForComponent& component : main_.components) {
    if (component.quantization_priority == Parameters::kUnset) {
      return Status::Error("the quantization (QCD) is missing");
    }
  }
  return Status();
}

bool MarkerReader::HasParameters(int marker) {
  switch (marker) {
    case kCod:
    case kCoc:
    case kQcd:
    case kQcc:
    case kRgn:
    case kPoc:
    case kCap: return true;
    case kTlm:
    case kPlm:
    case kPlt:
    case kCrg:
    case kCom: return false;
    default:
      if (!IsBareMarker(marker)) {
        messages_->AddAt(marker_offset_, "segment " + MarkerName(marker) + " is unknown, skipped");
      }
      return false;
  }
}

Status MarkerReader::ReadParameters(int marker, bool in_tile, ByteReader segment,
                                    Parameters* parameters) const {
  switch (marker) {
    case kCod: return ReadCoding(in_tile, segment, parameters);
    case kCoc: return ReadComponentCoding(in_tile, segment, parameters);
    case kQcd: return ReadQuantization(in_tile, false, segment, parameters);
    case kQcc: return ReadQuantization(in_tile, true, segment, parameters);
    case kRgn: return ReadRegion(segment, parameters);
    case kPoc: return ReadVolumes(segment, &parameters->volumes);
    default: return Status::Error("high-throughput code-blocks cannot be read");  // kCap
  }
}

Status MarkerReader::ReadCoding(bool in_tile, ByteReader segment, Parameters* parameters) const {
  const int style = segment.Byte();
  const int order = segment.Byte();
  const int layers = segment.Word();
  const int transform = segment.Byte();
  if (segment.failed() || order > 4 || layers < 1 || transform > 1) {
    return Status::Error("a bad coding style (COD)");
  }
  ComponentCoding coding;
  Status status = ReadBlockCoding((style & 1) != 0, &segment, &coding);
  if (!status.ok()) return status;
  parameters->tile = {(style & 2) != 0, (style & 4) != 0, static_cast<Progression>(order), layers,
                      transform != 0};
  parameters->has_tile_coding = true;
  const int priority = in_tile ? Parameters::kTile : Parameters::kMain;
  for (Parameters::ForComponent& component : parameters->components) {
    if (component.coding_priority > priority) continue;
    component.coding = coding;
    component.coding_priority = priority;
  }
  return status;
}

Status MarkerReader::ReadComponentCoding(bool in_tile, ByteReader segment,
                                         Parameters* parameters) const {
  const int number = ReadComponentNumber(&segment);
  const int style = segment.Byte();
  if (segment.failed() || number < 0) return Status::Error("a bad coding style (COC)");
  Parameters::ForComponent* component = &parameters->components[size_t(number)];
  component->coding_priority = in_tile ? Parameters::kTileComponent : Parameters::kMainComponent;
  return ReadBlockCoding((style & 1) != 0, &segment, &component->coding);
}

Status MarkerReader::ReadBlockCoding(bool has_precincts, ByteReader* segment,
                                     ComponentCoding* coding) {
  ComponentCoding read;
  read.levels = segment->Byte();
  read.block_width_log2 = (segment->Byte() & 15) + 2;
  read.block_height_log2 = (segment->Byte() & 15) + 2;
  read.block_style = segment->Byte();
  const int transform = segment->Byte();
  read.reversible = transform == 1;
  if (read.block_style > 63) return Status::Error("code-blocks of an unknown style");
  if (segment->failed() || read.levels > kMostLevels || read.block_width_log2 > 10 ||
      read.block_height_log2 > 10 || read.block_width_log2 + read.block_height_log2 > 12 ||
      transform > 1) {
    return Status::Error("a bad coding style");
  }
  for (size_t r = 0; r <= size_t(read.levels); ++r) {
    const int size = has_precincts ? segment->Byte() : 0xFF;
    read.precinct_width_log2[r] = static_cast<uint8_t>(size & 15);
    read.precinct_height_log2[r] = static_cast<uint8_t>(size >> 4);
    if (r > 0 && ((size & 15) == 0 || (size >> 4) == 0)) {
      return Status::Error("precincts of a width or height of 1");
    }
  }
  if (segment->failed()) return Status::Error("a coding style without sizes of precincts");
  *coding = read;
  return Status();
}

Status MarkerReader::ReadQuantization(bool in_tile, bool one, ByteReader segment,
                                      Parameters* parameters) const {
  const int number = one ? ReadComponentNumber(&segment) : 0;
  const int head = segment.Byte();
  const int style = head & 31;
  if (segment.failed() || number < 0 || style > 2) return Status::Error("a bad quantization");
  Quantization read;
  read.style = static_cast<QuantizationStyle>(style);
  read.guard_bits = head >> 5;
  const size_t step_bytes = style == 0 ? 1 : 2;
  const size_t most = style == 1 ? 1 : kMostSubbands;
  for (size_t i = 0; i < most && segment.left() >= step_bytes; ++i) {
    const int value = style == 0 ? segment.Byte() << 8 : segment.Word();
    read.steps[i] = {value >> 11, value & 0x7FF};
    read.count = static_cast<int>(i) + 1;
  }
  if (read.count == 0) return Status::Error("a quantization without steps");
  const int priority = one ? (in_tile ? Parameters::kTileComponent : Parameters::kMainComponent)
                           : (in_tile ? Parameters::kTile : Parameters::kMain);
  for (size_t i = 0; i < parameters->components.size(); ++i) {
    Parameters::ForComponent& component = parameters->components[i];
    if (one ? i != size_t(number) : component.quantization_priority > priority) continue;
    component.quantization = read;
    component.quantization_priority = priority;
  }
  return Status();
}

Status MarkerReader::ReadRegion(ByteReader segment, Parameters* parameters) const {
  const int number = ReadComponentNumber(&segment);
  const int style = segment.Byte();
  const int shift = segment.Byte();
  if (segment.failed() || number < 0 || style != 0 || shift > 37) {
    return Status::Error("a bad region of interest (RGN)");
  }
  parameters->components[size_t(number)].roi_shift = shift;
  return Status();
}

Status MarkerReader::ReadVolumes(ByteReader segment,
                                 std::vector<ProgressionVolume>* volumes) const {
  while (segment.left() >= 7) {
    ProgressionVolume volume;
    volume.first_resolution = segment.Byte();
    volume.first_component = segment.Byte();
    volume.end_layer = segment.Word();
    volume.end_resolution = segment.Byte();
    volume.end_component = segment.Byte();
    if (volume.end_component == 0) volume.end_component = 256;
    const int order = segment.Byte();
    if (order > 4 || volumes->size() == kMostVolumes) {
      return Status::Error("a bad change of order (POC)");
    }
    volume.order = static_cast<Progression>(order);
    volumes->push_back(volume);
  }
  return Status();
}

int MarkerReader::ReadComponentNumber(ByteReader* segment) const {
  const int number = segment->Byte();
  return number < static_cast<int>(main_.components.size()) ? number : -1;
}

void MarkerReader::AddHeaders(ByteReader segment, Numbered* headers) {
  const int number = segment.Byte();
  if (!segment.failed()) headers->push_back({number, {segment.next(), segment.left()}});
}

std::vector<Span> MarkerReader::InOrder(Numbered headers) {
  std::stable_sort(headers.begin(), headers.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<Span> spans;
  for (const auto& [number, span] : headers) spans.push_back(span);
  return spans;
}

void MarkerReader::ReadTileParts() {
  checked_ = main_;
  for (const Span& span : InOrder(packed_)) {
    packed_headers_.insert(packed_headers_.end(), span.data, span.data + span.size);
  }
  TilePart part{};
  while (FindTilePart(&part)) {
    if (Status status = ReadTilePart(part); !status.ok()) {
      messages_->AddAt(marker_offset_, "in a part of tile " + std::to_string(part.tile) + ": " +
                                           status.text() + "; the part is lost");
    }
    position_ = part.end;
  }
}

// If no tile-part begins at the expected offset, the next plausible one is taken.
bool MarkerReader::FindTilePart(TilePart* part) {
  const size_t expected = position_;
  const auto at_sot = [this](size_t at) {
    return data_[at] == 0xFF && data_[at + 1] == (kSot & 0xFF) && data_[at + 2] == 0 &&
           data_[at + 3] == 10;
  };
  for (; position_ + kSotSize <= size_; ++position_) {
    if (position_ == expected && data_[position_] == 0xFF &&
        data_[position_ + 1] == (kEoc & 0xFF)) {
      return false;
    }
    if (!at_sot(position_)) continue;
    ByteReader head = codestream_.At(position_ + 4);
    const int tile = head.Word();
    const uint32_t length = head.Long();
    if (static_cast<size_t>(tile) >= tiles_.size() || (length != 0 && length < kSotSize + 2)) {
      continue;
    }
    const size_t left = size_ - position_;
    *part = {tile, position_, length == 0 || length > left ? size_ : position_ + length};
    if (position_ != expected)
      messages_->AddAt(OffsetOf(expected), "no part of a tile; bytes skipped");
    if (length > left) {
      messages_->AddAt(OffsetOf(position_), Place("tile", tile),
                       "the file ends " + std::to_string(length - left) +
                           " bytes before the end of the tile's part");
    }
    return true;
  }
  const bool has_end =
      expected + 2 <= size_ && data_[expected] == 0xFF && data_[expected + 1] == (kEoc & 0xFF);
  if (!has_end) notes_->AddAt(OffsetOf(expected), "the codestream has no end marker");
  return false;
}

Status MarkerReader::ReadTilePart(const TilePart& part) {
  TileParts& tile = tiles_[size_t(part.tile)];
  position_ = part.begin + kSotSize;
  bool has_volumes = false;
  Numbered headers;
  while (true) {
    int marker = 0;
    ByteReader segment;
    Status status = NextSegment(part.end, &marker, &segment);
    if (!status.ok()) return status;
    if (marker == kSod) break;
    if (marker == kPpt) {
      AddHeaders(segment, &headers);
      continue;
    }
    status = ReadTileSegment(marker, segment, !tile.is_present && !has_volumes, &tile);
    has_volumes |= marker == kPoc;
    if (!status.ok()) return status;
  }
  if (!tile.is_present) ++present_tiles_;
  tile.is_present = true;
  tile.bodies.push_back({data_ + position_, part.end - position_});
  for (const Span& span : InOrder(headers)) tile.headers.push_back(span);
  TakePackedHeaders(&tile);
  return Status();
}

Status MarkerReader::ReadTileSegment(int marker, ByteReader segment, bool first_volumes,
                                     TileParts* tile) {
  if (!HasParameters(marker)) return Status();
  checked_.volumes.clear();
  Status status = ReadParameters(marker, true, segment, &checked_);
  if (marker == kPoc && tile->volumes == 0 && !first_volumes) tile->volumes = main_.volumes.size();
  tile->volumes += checked_.volumes.size();
  if (status.ok() && tile->volumes > kMostVolumes)
    status = Status::Error("too many changes of order");
  if (!status.ok()) return status;
  tile->changes.push_back(
      {marker, marker == kPoc && first_volumes, {segment.next(), segment.left()}});
  return status;
}

std::unique_ptr<Parameters> MarkerReader::ParametersOf(const TileParts& tile) const {
  auto own = std::make_unique<Parameters>(main_);
  for (const TileParts::Change& change : tile.changes) {
    if (change.starts_volumes) own->volumes.clear();
    const ByteReader segment(change.content.data, change.content.size);
    // No errors: it was read before.
    if (!ReadParameters(change.marker, true, segment, own.get()).ok()) break;
  }
  return own;
}

// The packet headers of a tile-part follow their length.
void MarkerReader::TakePackedHeaders(TileParts* tile) {
  const size_t left = packed_headers_.size() - packed_position_;
  if (left < 4) return;
  ByteReader packed(packed_headers_.data() + packed_position_, left);
  const size_t length = std::min<size_t>(packed.Long(), left - 4);
  tile->headers.push_back({packed.next(), length});
  packed_position_ += 4 + length;
}

}  // namespace zepcodec::jpeg2000
