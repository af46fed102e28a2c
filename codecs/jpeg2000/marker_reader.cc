// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/marker_reader.h"

#include <algorithm>
#include <limits>
#include <string>

#include "codecs/jpeg2000/geometry.h"

namespace zepcodec::jpeg2000 {
namespace {

constexpr int kMostTiles = 65535;
constexpr size_t kMostVolumes =
    1024;  // a file of nothing but changes of order is not worth the time
constexpr size_t kSotSize = 12;

std::string Hex(int marker) {
  const char* digits = "0123456789ABCDEF";
  std::string text = "FF ";
  text += digits[marker >> 4 & 15];
  return text + digits[marker & 15];
}

// Reserved markers without a segment; they mean nothing (A.1.2).
bool IsBareMarker(int marker) { return marker >= 0xFF30 && marker < 0xFF40; }

int32_t Clamped(uint32_t value) {
  return static_cast<int32_t>(std::min<uint32_t>(value, std::numeric_limits<int32_t>::max()));
}

}  // namespace

Status MarkerReader::NextSegment(size_t end, int* marker, Cursor* cursor) {
  Cursor head{data_ + position_, data_ + end};
  *marker = head.Word();
  if (head.failed) return Status::Error("the file ends where a marker should follow");
  if (*marker < 0xFF00) return Status::Error("no marker where one should follow");
  if (*marker == kSod || *marker == kEoc || *marker == kSoc || IsBareMarker(*marker)) {
    *cursor = Cursor{head.next, head.next};
    position_ += 2;
    return Status();
  }
  const int length = head.Word();
  if (head.failed || length < 2 || static_cast<size_t>(length) - 2 > head.left()) {
    return Status::Error("segment " + Hex(*marker) + " of length " + std::to_string(length) +
                         " does not fit");
  }
  *cursor = Cursor{head.next, head.next + length - 2};
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
    Cursor cursor{};
    Status status = NextSegment(size_, &marker, &cursor);
    if (status.ok() && marker == kSot) {
      position_ = begin;
      return CheckMain();
    }
    if (status.ok()) status = ReadMainSegment(marker, cursor);
    if (!status.ok()) {
      return Status::Error("byte " + std::to_string(begin) + ": " + status.text());
    }
  }
}

Status MarkerReader::ReadMainSegment(int marker, Cursor cursor) {
  if (marker == kSiz) return ReadSize(cursor);
  if (tiles_.empty()) return Status::Error("the size of the picture (SIZ) does not come first");
  if (marker == kPpm) {
    AddHeaders(cursor, &packed_);
    return Status();
  }
  if (marker == kSod || marker == kEoc) return Status::Error("the file has no picture in it");
  return HasParameters(marker) ? ReadParameters(marker, false, cursor, &main_) : Status();
}

Status MarkerReader::ReadSize(Cursor cursor) {
  if (!tiles_.empty()) return Status::Error("a second size of the picture (SIZ)");
  SizeSegment& size = picture_size_;
  cursor.Word();  // capabilities
  for (int32_t* value : {&size.x1, &size.y1, &size.x0, &size.y0, &size.tile_width,
                         &size.tile_height, &size.tile_x0, &size.tile_y0}) {
    *value = Clamped(cursor.Long());
  }
  const int count = cursor.Word();
  if (cursor.failed || cursor.left() < 3 * static_cast<size_t>(count)) {
    return Status::Error("the size of the picture (SIZ) is too short");
  }
  if (count < 1 || count > kMostComponents) {
    return Status::Error(std::to_string(count) + " components; 1 to " +
                         std::to_string(kMostComponents) + " can be read");
  }
  for (int i = 0; i < count; ++i) {
    const int depth = cursor.Byte();
    const int dx = cursor.Byte();
    const int dy = cursor.Byte();
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
        messages_->AddAt(position_, "segment " + Hex(marker) + " before it is unknown, skipped");
      }
      return false;
  }
}

Status MarkerReader::ReadParameters(int marker, bool in_tile, Cursor cursor,
                                    Parameters* parameters) const {
  switch (marker) {
    case kCod: return ReadCoding(in_tile, cursor, parameters);
    case kCoc: return ReadComponentCoding(in_tile, cursor, parameters);
    case kQcd: return ReadQuantization(in_tile, false, cursor, parameters);
    case kQcc: return ReadQuantization(in_tile, true, cursor, parameters);
    case kRgn: return ReadRegion(cursor, parameters);
    case kPoc: return ReadVolumes(cursor, &parameters->volumes);
    default: return Status::Error("high-throughput code-blocks cannot be read");  // kCap
  }
}

Status MarkerReader::ReadCoding(bool in_tile, Cursor cursor, Parameters* parameters) const {
  const int style = cursor.Byte();
  const int order = cursor.Byte();
  const int layers = cursor.Word();
  const int transform = cursor.Byte();
  if (cursor.failed || order > 4 || layers < 1 || transform > 1) {
    return Status::Error("a bad coding style (COD)");
  }
  ComponentCoding coding;
  Status status = ReadBlockCoding((style & 1) != 0, &cursor, &coding);
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

Status MarkerReader::ReadComponentCoding(bool in_tile, Cursor cursor,
                                         Parameters* parameters) const {
  const int number = ReadComponentNumber(&cursor);
  const int style = cursor.Byte();
  if (cursor.failed || number < 0) return Status::Error("a bad coding style (COC)");
  Parameters::ForComponent* component = &parameters->components[size_t(number)];
  component->coding_priority = in_tile ? Parameters::kTileComponent : Parameters::kMainComponent;
  return ReadBlockCoding((style & 1) != 0, &cursor, &component->coding);
}

Status MarkerReader::ReadBlockCoding(bool has_precincts, Cursor* cursor, ComponentCoding* coding) {
  ComponentCoding read;
  read.levels = cursor->Byte();
  read.block_width_log2 = (cursor->Byte() & 15) + 2;
  read.block_height_log2 = (cursor->Byte() & 15) + 2;
  read.block_style = cursor->Byte();
  const int transform = cursor->Byte();
  read.reversible = transform == 1;
  if (read.block_style > 63) return Status::Error("code-blocks of an unknown style");
  if (cursor->failed || read.levels > kMostLevels || read.block_width_log2 > 10 ||
      read.block_height_log2 > 10 || read.block_width_log2 + read.block_height_log2 > 12 ||
      transform > 1) {
    return Status::Error("a bad coding style");
  }
  for (size_t r = 0; r <= size_t(read.levels); ++r) {
    const int size = has_precincts ? cursor->Byte() : 0xFF;
    read.precinct_width_log2[r] = static_cast<uint8_t>(size & 15);
    read.precinct_height_log2[r] = static_cast<uint8_t>(size >> 4);
    if (r > 0 && ((size & 15) == 0 || (size >> 4) == 0)) {
      return Status::Error("precincts of a width or height of 1");
    }
  }
  if (cursor->failed) return Status::Error("a coding style without sizes of precincts");
  *coding = read;
  return Status();
}

Status MarkerReader::ReadQuantization(bool in_tile, bool one, Cursor cursor,
                                      Parameters* parameters) const {
  const int number = one ? ReadComponentNumber(&cursor) : 0;
  const int head = cursor.Byte();
  const int style = head & 31;
  if (cursor.failed || number < 0 || style > 2) return Status::Error("a bad quantization");
  Quantization read;
  read.style = static_cast<QuantizationStyle>(style);
  read.guard_bits = head >> 5;
  const size_t step_bytes = style == 0 ? 1 : 2;
  const size_t most = style == 1 ? 1 : kMostSubbands;
  for (size_t i = 0; i < most && cursor.left() >= step_bytes; ++i) {
    const int value = style == 0 ? cursor.Byte() << 8 : cursor.Word();
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

Status MarkerReader::ReadRegion(Cursor cursor, Parameters* parameters) const {
  const int number = ReadComponentNumber(&cursor);
  const int style = cursor.Byte();
  const int shift = cursor.Byte();
  if (cursor.failed || number < 0 || style != 0 || shift > 37) {
    return Status::Error("a bad region of interest (RGN)");
  }
  parameters->components[size_t(number)].roi_shift = shift;
  return Status();
}

Status MarkerReader::ReadVolumes(Cursor cursor, std::vector<ProgressionVolume>* volumes) const {
  while (cursor.left() >= 7) {
    ProgressionVolume volume;
    volume.first_resolution = cursor.Byte();
    volume.first_component = cursor.Byte();
    volume.end_layer = cursor.Word();
    volume.end_resolution = cursor.Byte();
    volume.end_component = cursor.Byte();
    if (volume.end_component == 0) volume.end_component = 256;
    const int order = cursor.Byte();
    if (order > 4 || volumes->size() == kMostVolumes) {
      return Status::Error("a bad change of order (POC)");
    }
    volume.order = static_cast<Progression>(order);
    volumes->push_back(volume);
  }
  return Status();
}

int MarkerReader::ReadComponentNumber(Cursor* cursor) const {
  const int number = cursor->Byte();
  return number < static_cast<int>(main_.components.size()) ? number : -1;
}

void MarkerReader::AddHeaders(Cursor cursor, Numbered* headers) {
  const int number = cursor.Byte();
  if (!cursor.failed) headers->push_back({number, {cursor.next, cursor.left()}});
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
      messages_->AddAt(position_, "in a part of tile " + std::to_string(part.tile) + ": " +
                                      status.text() + "; the part is lost");
    }
    position_ = part.end;
  }
}

// Where a part is not where it should be, the next one that looks like one is taken.
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
    Cursor cursor{data_ + position_ + 4, data_ + size_};
    const int tile = cursor.Word();
    const uint32_t length = cursor.Long();
    if (static_cast<size_t>(tile) >= tiles_.size() || (length != 0 && length < kSotSize + 2)) {
      continue;
    }
    const size_t left = size_ - position_;
    *part = {tile, position_, length == 0 || length > left ? size_ : position_ + length};
    if (position_ != expected) messages_->AddAt(expected, "no part of a tile; bytes skipped");
    if (length > left) {
      messages_->AddIn(Place("tile", tile), "the file ends " + std::to_string(length - left) +
                                                " bytes before the end of the tile's part");
    }
    return true;
  }
  const bool has_end =
      expected + 2 <= size_ && data_[expected] == 0xFF && data_[expected + 1] == (kEoc & 0xFF);
  if (!has_end) notes_->AddAt(expected, "the codestream has no end marker");
  return false;
}

Status MarkerReader::ReadTilePart(const TilePart& part) {
  TileParts& tile = tiles_[size_t(part.tile)];
  position_ = part.begin + kSotSize;
  bool has_volumes = false;
  Numbered headers;
  while (true) {
    int marker = 0;
    Cursor cursor{};
    Status status = NextSegment(part.end, &marker, &cursor);
    if (!status.ok()) return status;
    if (marker == kSod) break;
    if (marker == kPpt) {
      AddHeaders(cursor, &headers);
      continue;
    }
    status = ReadTileSegment(marker, cursor, !tile.is_present && !has_volumes, &tile);
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

Status MarkerReader::ReadTileSegment(int marker, Cursor cursor, bool first_volumes,
                                     TileParts* tile) {
  if (!HasParameters(marker)) return Status();
  checked_.volumes.clear();
  Status status = ReadParameters(marker, true, cursor, &checked_);
  if (marker == kPoc && tile->volumes == 0 && !first_volumes) tile->volumes = main_.volumes.size();
  tile->volumes += checked_.volumes.size();
  if (status.ok() && tile->volumes > kMostVolumes)
    status = Status::Error("too many changes of order");
  if (!status.ok()) return status;
  tile->changes.push_back({marker, marker == kPoc && first_volumes, {cursor.next, cursor.left()}});
  return status;
}

std::unique_ptr<Parameters> MarkerReader::ParametersOf(const TileParts& tile) const {
  auto own = std::make_unique<Parameters>(main_);
  for (const TileParts::Change& change : tile.changes) {
    if (change.starts_volumes) own->volumes.clear();
    const Span& content = change.content;
    const Cursor cursor{content.data, content.data + content.size};
    // No errors: it was read before.
    if (!ReadParameters(change.marker, true, cursor, own.get()).ok()) break;
  }
  return own;
}

// A part's headers stand behind their length.
void MarkerReader::TakePackedHeaders(TileParts* tile) {
  const size_t left = packed_headers_.size() - packed_position_;
  if (left < 4) return;
  const uint8_t* from = packed_headers_.data() + packed_position_;
  Cursor cursor{from, from + 4};
  const size_t length = std::min<size_t>(cursor.Long(), left - 4);
  tile->headers.push_back({from + 4, length});
  packed_position_ += 4 + length;
}

}  // namespace zepcodec::jpeg2000
