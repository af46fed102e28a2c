// SPDX-License-Identifier: MIT
// Any bytes as coded blocks, with any tables and from any state: status, position, marker, state,
// DC and coefficients must equal those of the model after every call.
#include "input.h"
#include "reference/block_decoder.h"

namespace {

struct Stream {
  zepiDecodeHuffmanState state;
  int32_t position, marker;
  int16_t last_dc;
  int16_t block[64];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const fuzz::Lists dc_lists(&input), ac_lists(&input);
  zepiDecodeHuffmanSpec dc, ac;
  zepiDecodeHuffmanSpecInit_JPEG_8u(dc_lists.counts, dc_lists.symbols.data(), &dc);
  zepiDecodeHuffmanSpecInit_JPEG_8u(ac_lists.counts, ac_lists.symbols.data(), &ac);
  Stream ours;
  std::memset(&ours, 0, sizeof(ours));
  const uint8_t kind = input.Byte();
  // A count of bits that no coder writes cannot be compared, but it must do no harm.
  const bool broken_state = kind % 5 == 4;
  if (kind % 5 == 1 || broken_state) input.Fill(&ours.state, sizeof(ours.state));
  if (!broken_state) ours.state.numBits &= 31;
  if (kind % 5 == 2) input.Fill(&ours.position, sizeof(ours.position));
  if (kind % 5 == 3) ours.marker = input.Byte();
  Stream model = ours;
  const std::vector<uint8_t> coded = input.Rest();
  const auto length = static_cast<int32_t>(coded.size());
  const uint8_t empty = 0;
  const uint8_t* const source = coded.empty() ? &empty : coded.data();
  for (int i = 0; i < 64; ++i) {
    const zepStatus status =
        zepiDecodeHuffman8x8_JPEG_1u16s_C1(source, length, &ours.position, ours.block,
                                           &ours.last_dc, &ours.marker, &dc, &ac, &ours.state);
    if (broken_state) continue;
    const zepStatus expected = reference::zepiDecodeHuffman8x8_JPEG_1u16s_C1(
        source, length, &model.position, model.block, &model.last_dc, &model.marker, &dc, &ac,
        &model.state);
    fuzz::MustEqual(status, expected);
    fuzz::MustEqual(ours, model);
    if (status != zepStatusOk && i > 2) break;
  }
  return 0;
}
