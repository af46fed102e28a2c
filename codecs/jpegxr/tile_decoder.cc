// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/tile_decoder.h"

#include <memory>
#include <string>

#include "codecs/jpegxr/plane_decoder.h"

namespace zepcodec::jpegxr {
namespace {

constexpr uint32_t kTrimBits = 4;

// A packet starts with 00 00 01 and a byte with the low bits of the tile's number and the kind of
// packet.
bool ReadPacketHeader(PacketReader* reader) {
  const uint32_t start = reader->Bits(16) << 8 | reader->Bits(8);
  reader->Bits(8);
  return start == 1;
}

}  // namespace

TileDecoder::TileDecoder(const FrameHeader& frame, const TileArea& area, const TilePackets& packets,
                         const std::vector<CodedPlane*>& planes)
    : frame_(frame), area_(area), packets_(packets) {
  for (CodedPlane* plane : planes) {
    decoders_.push_back(std::make_unique<PlaneDecoder>(plane, area));
  }
  if (!Open()) result_ = {false, "the packet has no start"};
}

TileDecoder::~TileDecoder() = default;

size_t TileDecoder::MemoryOf(size_t count, size_t mb_width) {
  constexpr size_t kCoderState = 2048;
  return count * (sizeof(TileDecoder) + sizeof(PlaneDecoder) + kCoderState) +
         mb_width * 2 * sizeof(Neighbour);
}

void TileDecoder::DecodeRow() {
  const size_t y = row_++;
  for (size_t x = 0; x < area_.Width() && result_.is_whole; ++x) {
    for (auto& decoder : decoders_) {
      const bool is_good = decoder->DecodeMacroblock(x, y, trim_, bands_);
      if (is_good && !IsBeyondEnd()) continue;
      result_ = {false, std::string(is_good ? "the data ends" : "damage") + " in macroblock " +
                            std::to_string(y * area_.Width() + x)};
      break;
    }
  }
}

bool TileDecoder::Open() {
  const size_t count = frame_.is_frequency_order ? PacketsOf(frame_.plane.bands) : 1;
  for (size_t i = 0; i < count; ++i) {
    const bool is_missing = packets_.begins[i] == nullptr;
    if (!is_missing) readers_[i] = PacketReader(packets_.begins[i], packets_.end);
    if (is_missing || !ReadPacketHeader(&readers_[i])) {
      // Without refinement bits the picture is coarser but complete.
      if (i != 3) return false;
      trim_ = 15;
      continue;
    }
    // At the start of the packet of refinement bits, if they have one.
    if (frame_.has_trim && (count == 1 ? !frame_.is_frequency_order : i == 3)) {
      trim_ = readers_[i].Bits(kTrimBits);
    }
  }
  const auto reader = [&](size_t i) { return &readers_[i < count ? i : 0]; };
  bands_ = {reader(0), reader(1), reader(2), reader(3), !frame_.is_frequency_order};
  for (auto& decoder : decoders_) decoder->ReadDcHeader(bands_.dc);
  const PlaneHeader& plane = frame_.plane;
  if (plane.HasLp()) {
    for (auto& decoder : decoders_) decoder->ReadLpHeader(bands_.lp);
  }
  if (plane.HasHp()) {
    for (auto& decoder : decoders_) decoder->ReadHpHeader(bands_.hp);
  }
  return true;
}

bool TileDecoder::IsBeyondEnd() const {
  for (const PacketReader& reader : readers_) {
    if (reader.from != nullptr && reader.IsBeyondEnd()) return true;
  }
  return false;
}

}  // namespace zepcodec::jpegxr
