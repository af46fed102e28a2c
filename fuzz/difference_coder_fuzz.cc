// SPDX-License-Identifier: MIT
// Any bytes as coded rows of differences, with any tables and from any state: status, position,
// marker, state and samples must equal those of the model after every row.
#include "input.h"
#include "reference/difference_coder.h"

namespace {

struct Stream {
  zepiDecodeHuffmanState state;
  int32_t position, marker;
  int16_t samples[4][100];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const fuzz::Lists lists[2] = {fuzz::Lists(&input), fuzz::Lists(&input)};
  zepiDecodeHuffmanSpec specs[2];
  const zepiDecodeHuffmanSpec* tables[4];
  for (int i = 0; i < 4; ++i) {
    const int which = i % 2;
    zepiDecodeHuffmanSpecInit_JPEG_8u(lists[which].counts, lists[which].symbols.data(),
                                      &specs[which]);
    tables[i] = &specs[which];
  }
  Stream ours;
  std::memset(&ours, 0, sizeof(ours));
  const int32_t components = 1 + input.Byte() % 4, width = 1 + input.Byte() % 100;
  const uint8_t kind = input.Byte();
  if (kind % 4 == 1) input.Fill(&ours.state, sizeof(ours.state));
  ours.state.numBits &= 31;
  if (kind % 4 == 2) input.Fill(&ours.position, sizeof(ours.position));
  if (kind % 4 == 3) ours.marker = input.Byte();
  Stream model = ours;
  const std::vector<uint8_t> coded = input.Rest();
  const auto length = static_cast<int32_t>(coded.size());
  const uint8_t empty = 0;
  const uint8_t* const source = coded.empty() ? &empty : coded.data();
  int16_t* const our_rows[] = {ours.samples[0], ours.samples[1], ours.samples[2], ours.samples[3]};
  int16_t* const model_rows[] = {model.samples[0], model.samples[1], model.samples[2],
                                 model.samples[3]};
  for (int row = 0; row < 8; ++row) {
    const zepStatus status =
        zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(source, length, &ours.position, our_rows, width,
                                             components, &ours.marker, tables, &ours.state);
    fuzz::MustEqual(status, reference::zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
                                source, length, &model.position, model_rows, width, components,
                                &model.marker, tables, &model.state));
    fuzz::MustEqual(ours, model);
    if (status != zepStatusOk && row > 1) break;
  }
  return 0;
}
