// SPDX-License-Identifier: MIT
// A macroblock is decoded band by band, each from its packet (all from one in spatial order):
//
//   DC          a code for the components with high parts, then the values
//   low-pass    15 values in each component (fewer in halved chroma) as runs and levels in an
//               adaptive scan order, with refinement bits
//   high-pass   the pattern of coded blocks, then each coded block as runs and levels
//   refinement  the low bits of high-pass coefficients, their number from ModelBits
//
// Values are predicted while they are still quantized, since the direction of a prediction follows
// from quantized values of neighbours and of the bands above; they are dequantized when they are
// stored.
#include "codecs/jpegxr/plane_decoder.h"

#include "codecs/jpegxr/wrapping.h"

namespace zepcodec::jpegxr {
namespace {

// The bits of an index into that many quantizers; a first bit tells whether it is 0.
uint32_t IndexBits(size_t quantizers) {
  return quantizers < 2 ? 0 : quantizers < 4 ? 1 : quantizers < 6 ? 2 : quantizers < 10 ? 3 : 4;
}

uint32_t ReadIndex(uint32_t bits, PacketReader* reader) {
  if (bits == 0 || !reader->Bit()) return 0;
  return reader->Bits(bits) + 1;
}

QuantizerSet ReadSet(size_t components, PacketReader* reader) {
  const uint32_t mode = components > 1 ? reader->Bits(2) : 0;
  QuantizerSet set;
  set.fill(static_cast<uint8_t>(reader->Bits(8)));
  if (mode == 1) set[1] = set[2] = static_cast<uint8_t>(reader->Bits(8));
  if (mode > 1) {
    for (size_t c = 1; c < components; ++c) set[c] = static_cast<uint8_t>(reader->Bits(8));
  }
  return set;
}

// A level with its refinement bits, which are followed by a sign if the level is 0.
int32_t Refine(int32_t level, uint32_t bits, PacketReader* reader) {
  if (bits == 0) return level;
  const uint32_t low = reader->Bits(bits);
  if (level == 0) {
    if (low == 0) return 0;
    return reader->Bit() ? -static_cast<int32_t>(low) : static_cast<int32_t>(low);
  }
  const auto magnitude = static_cast<uint32_t>(level < 0 ? -int64_t{level} : int64_t{level});
  const auto whole = static_cast<int32_t>(magnitude << bits | low);
  return level < 0 ? WrapSub(0, whole) : whole;
}

// The same for 15 values, in the order of blocks; returns the number of levels.
uint32_t RefineBlock(uint32_t bits, PacketReader* reader, std::array<int32_t, 16>* low) {
  uint32_t count = 0;
  int32_t block[16];
  for (size_t f = 0; f < 16; ++f) {
    const int32_t level = (*low)[f];
    count += level != 0 ? 1 : 0;
    block[4 * kRowOfFrequency[f] + kColumnOfFrequency[f]] =
        (Wrapping(level) << static_cast<int>(bits)).value;
  }
  zepiFLCDecode4x4_JPEGXR_1u32s_C1IR(&reader->from, &reader->accumulator, &reader->count, block, 16,
                                     bits, 1, 1);
  for (size_t f = 0; f < 16; ++f) {
    (*low)[f] = block[4 * kRowOfFrequency[f] + kColumnOfFrequency[f]];
  }
  return count;
}

// The rows of a macroblock lie far apart, so hardware prefetchers do not find the next one.
void Prefetch(Component& component, size_t x, size_t y) {
  constexpr size_t kAhead = 2;
  const size_t width = 4 * component.blocks_across;
  if ((x + kAhead + 1) * width > component.values.width()) return;
  const Window blocks = component.Macroblock(x + kAhead, y);
  for (size_t row = 0; row < blocks.height; ++row) __builtin_prefetch(blocks.Row(row), 1);
}

}  // namespace

PlaneDecoder::PlaneDecoder(CodedPlane* plane, const TileArea& area)
    : plane_(plane),
      area_(area),
      format_(plane->header.color),
      context_(format_),
      above_(area.Width()),
      row_(area.Width()) {
  const PlaneHeader& header = plane->header;
  dc_steps_ = {StepsOf(header.dc, Band::kDc)};
  lp_sets_ = {header.lp};
  lp_steps_ = {StepsOf(header.lp, Band::kLp)};
  hp_steps_ = {StepsOf(header.hp, Band::kHp)};
}

PlaneDecoder::Steps PlaneDecoder::StepsOf(const QuantizerSet& set, Band band) const {
  Steps steps;
  for (size_t c = 0; c < 3; ++c) {
    steps.of[c] = QuantizerStep(set[c], plane_->header.is_scaled, band, c);
  }
  return steps;
}

void PlaneDecoder::ReadDcHeader(PacketReader* reader) {
  if (plane_->header.is_dc_uniform) return;
  const QuantizerSet set = ReadSet(plane_->header.Components(), reader);
  dc_steps_ = {StepsOf(set, Band::kDc)};
  lp_sets_ = {set};  // what a low-pass band without quantizers takes
}

void PlaneDecoder::ReadLpHeader(PacketReader* reader) {
  if (plane_->header.is_lp_uniform) return;
  if (!reader->Bit()) {
    lp_sets_.resize(reader->Bits(4) + 1);
    for (QuantizerSet& set : lp_sets_) set = ReadSet(plane_->header.Components(), reader);
  } else if (plane_->header.is_dc_uniform) {
    lp_sets_ = {plane_->header.dc};
  }
  lp_index_bits_ = IndexBits(lp_sets_.size());
  lp_steps_.clear();
  for (const QuantizerSet& set : lp_sets_) lp_steps_.push_back(StepsOf(set, Band::kLp));
}

void PlaneDecoder::ReadHpHeader(PacketReader* reader) {
  if (plane_->header.is_hp_uniform) return;
  hp_follows_lp_ = reader->Bit();
  std::vector<QuantizerSet> sets = lp_sets_;
  if (!hp_follows_lp_) {
    sets.resize(reader->Bits(4) + 1);
    for (QuantizerSet& set : sets) set = ReadSet(plane_->header.Components(), reader);
    hp_index_bits_ = IndexBits(sets.size());
  }
  hp_steps_.clear();
  for (const QuantizerSet& set : sets) hp_steps_.push_back(StepsOf(set, Band::kHp));
}

// In spatial order both indexes are at the start of the macroblock, else each is in its band's
// packet.
bool PlaneDecoder::ReadQuantizerIndexes(const BandReaders& readers) {
  const PlaneHeader& header = plane_->header;
  lp_quantizer_ = header.HasLp() ? ReadIndex(lp_index_bits_, readers.lp) : 0;
  hp_quantizer_ = hp_follows_lp_   ? lp_quantizer_
                  : header.HasHp() ? ReadIndex(hp_index_bits_, readers.hp)
                                   : 0;
  return lp_quantizer_ < lp_steps_.size() && hp_quantizer_ < hp_steps_.size();
}

void PlaneDecoder::ReadDc(PacketReader* reader) {
  Counts counts;
  const size_t components = plane_->header.Components();
  const uint32_t high_parts = components == 1 ? 0 : kDcComponentsCode.Read(reader);
  for (size_t c = 0; c < components; ++c) {
    const bool has_high = components == 1 ? reader->Bit() : (high_parts >> (2 - c) & 1) != 0;
    uint32_t magnitude = has_high ? ReadLevel(context_.DcLevel(c), reader) - 1 : 0;
    if (has_high) ++*counts.Of(c);
    const uint32_t bits = context_.dc_bits.Of(c);
    magnitude = magnitude << bits | reader->Bits(bits);
    const bool is_negative = magnitude != 0 && reader->Bit();
    current_->low[c][0] = static_cast<int32_t>(is_negative ? 0 - magnitude : magnitude);
  }
  context_.dc_bits.Update(counts.luma, counts.chroma);
}

void PlaneDecoder::ReadLpBlock(size_t component, bool is_coded, Counts* counts,
                               PacketReader* reader) {
  auto& low = current_->low[component];
  const int32_t dc = low[0];
  low.fill(0);
  if (is_coded) {
    low[0] = component == 0 ? 0 : 1;
    zepiVLCDecodeDC444_JPEGXR_1u32s(&reader->from, &reader->accumulator, &reader->count,
                                    context_.Codes(), low.data());
  }
  low[0] = 0;
  const uint32_t bits = context_.lp_bits.Of(component);
  if (bits > 0) {
    *counts->Of(component) += RefineBlock(bits, reader, &low);
  } else {
    for (const int32_t value : low) *counts->Of(component) += value != 0 ? 1 : 0;
  }
  low[0] = dc;
}

// U and V alternate.
void PlaneDecoder::ReadSubsampledLp(bool is_coded, Counts* counts, PacketReader* reader) {
  int32_t levels[14] = {};
  const bool is_422 = format_ == ColorFormat::k422;
  if (is_coded) {
    const auto decode = is_422 ? zepiVLCDecodeDC422_JPEGXR_1u32s : zepiVLCDecodeDC420_JPEGXR_1u32s;
    decode(&reader->from, &reader->accumulator, &reader->count, context_.Codes(), levels);
  }
  const size_t count = is_422 ? 7 : 3;
  const uint8_t* const order = is_422 ? kLp422 : kLp420;
  for (size_t i = 0; i < count; ++i) {
    for (size_t c = 0; c < 2; ++c) current_->low[c + 1][order[i]] = levels[2 * i + c];
  }
  const uint32_t bits = context_.lp_bits.chroma();
  for (size_t f = 1; f <= count; ++f) {
    for (size_t c = 1; c < 3; ++c) {
      int32_t& value = current_->low[c][f];
      counts->chroma += value != 0 ? 1 : 0;
      value = Refine(value, bits, reader);
    }
  }
}

void PlaneDecoder::ReadLp(PacketReader* reader) {
  Counts counts;
  zepiVLCScanSet_JPEGXR(context_.Codes(), kLpScan);
  const uint32_t pattern = context_.lp_pattern.Read(reader);
  if (IsSubsampled(format_)) {
    ReadLpBlock(0, (pattern & 1) != 0, &counts, reader);
    ReadSubsampledLp((pattern & 2) != 0, &counts, reader);
  } else {
    for (size_t c = 0; c < plane_->header.Components(); ++c) {
      ReadLpBlock(c, (pattern >> c & 1) != 0, &counts, reader);
    }
  }
  context_.lp_bits.Update(counts.luma, counts.chroma);
}

void PlaneDecoder::ReadBlocks(size_t component, const Window& blocks, uint32_t trim,
                              zepiVLCContext* context, const BandReaders& readers) {
  const uint32_t model_bits = context_.hp_bits.Of(component);
  const bool is_refined = plane_->header.bands == Bands::kAll && model_bits > trim;
  const int32_t step = hp_steps_[hp_quantizer_].of[component];
  const auto refinement_step = static_cast<int32_t>(static_cast<uint32_t>(step) << trim);
  const uint32_t pattern = current_->patterns[component];
  const size_t across = blocks.width / 4;
  const size_t count = across * (blocks.height / 4);
  PacketReader& reader = *readers.hp;
  PacketReader& refinement = *readers.refinement;
  context->multiplier = step;
  for (size_t j = 0; j < count; ++j) {
    const size_t column = across == 4 ? ColumnOfBlock(j) : j % 2;
    const size_t row = across == 4 ? RowOfBlock(j) : j / 2;
    int32_t* const block = blocks.Row(4 * row) + 4 * column;
    const bool is_coded = (pattern >> j & 1) != 0;
    if (is_coded) {
      zepiVLCDecode4x4_JPEGXR_1u32s_C1R(
          &reader.from, &reader.accumulator, &reader.count, model_bits, context_.Codes(),
          static_cast<uint32_t>(blocks.StepInBytes()), component == 0 ? 0 : 1, block, context);
    }
    if (is_refined) {
      zepiFLCDecode4x4_JPEGXR_1u32s_C1IR(&refinement.from, &refinement.accumulator,
                                         &refinement.count, block, blocks.StepInBytes(),
                                         model_bits - trim, refinement_step, is_coded ? 1 : 0);
    }
  }
}

void PlaneDecoder::ReadHp(size_t x, size_t y, uint32_t trim, const BandReaders& readers) {
  const Neighbour* const left = x > 0 ? current_ - 1 : nullptr;
  const Neighbour* const up = y > 0 ? &above_[x] : nullptr;
  current_->patterns = context_.predictor.ToPatterns(
      context_.pattern.Read(readers.hp),
      {left == nullptr ? nullptr : &left->patterns, up == nullptr ? nullptr : &up->patterns});
  const Direction direction = HpDirection(format_, current_->low);
  zepiVLCScanSet_JPEGXR(context_.Codes(),
                        direction == Direction::kUp ? kVerticalScan : kHorizontalScan);
  zepiVLCContext contexts[2] = {};
  for (size_t c = 0; c < plane_->header.Components(); ++c) {
    Prefetch(plane_->components[c], area_.x0 + x, area_.y0 + y);
    const Window blocks = plane_->components[c].Macroblock(area_.x0 + x, area_.y0 + y);
    ReadBlocks(c, blocks, trim, &contexts[c == 0 ? 0 : 1], readers);
    AddHpPrediction(direction, blocks);
  }
  context_.hp_bits.Update(contexts[0].count, contexts[1].count);
}

void PlaneDecoder::StoreLow(size_t x, size_t y) {
  const Steps& dc = dc_steps_[0];
  const Steps& lp = lp_steps_[lp_quantizer_];
  for (size_t c = 0; c < plane_->header.Components(); ++c) {
    const auto& low = current_->low[c];
    const Window dcs = plane_->components[c].MacroblockDcs(area_.x0 + x, area_.y0 + y);
    const size_t count = dcs.width * dcs.height;
    for (size_t f = 0; f < count; ++f) {
      const size_t row = dcs.width == 4 ? kRowOfFrequency[f] : f / 2;
      const size_t column = dcs.width == 4 ? kColumnOfFrequency[f] : f % 2;
      dcs.Row(row)[column] = WrapMul(low[f], f == 0 ? dc.of[c] : lp.of[c]);
    }
  }
}

bool PlaneDecoder::DecodeMacroblock(size_t x, size_t y, uint32_t trim, const BandReaders& readers) {
  const PlaneHeader& header = plane_->header;
  if (x == 0) above_.swap(row_);
  current_ = &row_[x];
  for (auto& low : current_->low) low.fill(0);
  if (ResetsScans(x)) context_.ResetScans();
  if (!ReadQuantizerIndexes(readers)) return false;
  current_->lp_quantizer = lp_quantizer_;
  ReadDc(readers.dc);
  if (header.HasLp()) ReadLp(readers.lp);
  if (AdaptsCodes(x, area_.Width())) {
    context_.AdaptDc();
    if (header.HasLp()) context_.AdaptLp();
  }
  const Neighbours neighbours = {x > 0 ? current_ - 1 : nullptr, y > 0 ? &above_[x] : nullptr,
                                 x > 0 && y > 0 ? &above_[x - 1] : nullptr};
  const Direction dc = DcDirection(format_, neighbours);
  AddPrediction(format_, dc, LpDirection(dc, neighbours, lp_quantizer_), neighbours,
                &current_->low);
  StoreLow(x, y);
  if (!header.HasHp()) return true;
  ReadHp(x, y, trim, readers);
  if (AdaptsCodes(x, area_.Width())) context_.AdaptHp();
  return true;
}

}  // namespace zepcodec::jpegxr
