// SPDX-License-Identifier: MIT
// Any bytes as blocks of progressive scans, or of a sequential scan read by the direct coder, with
// any tables and from any state: the results of every call must equal those of the model.
#include "input.h"
#include "reference/direct_coder.h"
#include "reference/progressive_decoder.h"

namespace {

struct Stream {
  zepiDecodeHuffmanState state;
  int32_t position, marker;
  int16_t last_dc;
  int16_t block[64];
};

struct Band {
  int32_t first, last, shift;
};

#define CALL(function, ...) \
  (is_export ? ::function(__VA_ARGS__) : ::reference::function(__VA_ARGS__))

zepStatus Decode(bool is_export, int kind, const uint8_t* source, int32_t length, const Band& band,
                 const zepiDecodeHuffmanSpec& table, Stream* at) {
  switch (kind) {
    case 0:
      return CALL(zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1, source, length, &at->position,
                  at->block, &at->last_dc, &at->marker, band.shift, &table, &at->state);
    case 1:
      return CALL(zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1, source, length, &at->position,
                  at->block, &at->marker, band.shift, &at->state);
    case 2:
      return CALL(zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1, source, length, &at->position,
                  at->block, &at->marker, band.first, band.last, band.shift, &table, &at->state);
    case 3:
      return CALL(zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1, source, length, &at->position,
                  at->block, &at->marker, band.first, band.last, band.shift, &table, &at->state);
    default:
      return CALL(zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1, source, length, &at->position,
                  at->block, &at->last_dc, &at->marker, &table, &table);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const fuzz::Lists lists(&input);
  zepiDecodeHuffmanSpec table;
  const zepStatus is_table =
      zepiDecodeHuffmanSpecInit_JPEG_8u(lists.counts, lists.symbols.data(), &table);
  Stream ours;
  std::memset(&ours, 0, sizeof(ours));
  const int kind = input.Byte() % 5;
  // The direct coder's results are not defined for a table that was refused.
  if (kind == 4 && is_table != zepStatusOk) return 0;
  const uint8_t start = input.Byte();
  if (start % 5 == 1) input.Fill(&ours.state, sizeof(ours.state));
  ours.state.numBits &= 31;
  ours.state.eobRun &= 0x7FFF;
  if (start % 5 == 2) input.Fill(&ours.position, sizeof(ours.position));
  if (start % 5 == 3) ours.marker = input.Byte();
  if (start % 5 == 4) input.Fill(ours.block, sizeof(ours.block));
  const int32_t first = 1 + input.Byte() % 63;
  const Band band = {first, first + input.Byte() % (64 - first), input.Byte() % 14};
  Stream model = ours;
  const std::vector<uint8_t> coded = input.Rest();
  const auto length = static_cast<int32_t>(coded.size());
  const uint8_t empty = 0;
  const uint8_t* const source = coded.empty() ? &empty : coded.data();
  for (int i = 0; i < 64; ++i) {
    const zepStatus status = Decode(true, kind, source, length, band, table, &ours);
    fuzz::MustEqual(status, Decode(false, kind, source, length, band, table, &model));
    fuzz::MustEqual(ours, model);
    if (status != zepStatusOk && i > 2) break;
  }
  return 0;
}
