// SPDX-License-Identifier: MIT
// Any coefficients with any tables into any room: status, position, state, DC and bytes must equal
// those of the model after every call.
#include "input.h"
#include "reference/block_encoder.h"

namespace {

struct Stream {
  zepiEncodeHuffmanState state;
  int32_t position;
  int16_t last_dc;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const fuzz::Lists dc_lists(&input), ac_lists(&input);
  zepiEncodeHuffmanSpec dc, ac;
  zepiEncodeHuffmanSpecInit_JPEG_8u(dc_lists.counts, dc_lists.symbols.data(), &dc);
  zepiEncodeHuffmanSpecInit_JPEG_8u(ac_lists.counts, ac_lists.symbols.data(), &ac);
  const int32_t room = 1 + input.Byte() * 8;
  Stream ours;
  std::memset(&ours, 0, sizeof(ours));
  Stream model = ours;
  // Memory of exactly the room, so that the sanitizer detects a write beyond it.
  std::vector<uint8_t> bytes(static_cast<size_t>(room), 0xA5), expected = bytes;
  for (int i = 0; i < 8; ++i) {
    int16_t block[64] = {};
    const uint8_t count = input.Byte() % 65;
    for (uint8_t j = 0; j < count; ++j) {
      const uint8_t place = input.Byte() % 64;
      if (input.Byte() % 2 == 0) {
        block[place] = static_cast<int8_t>(input.Byte());
      } else {
        input.Fill(&block[place], sizeof(block[place]));
      }
    }
    const int32_t flush = i == 7;
    const zepStatus status = zepiEncodeHuffman8x8_JPEG_16s1u_C1(
        block, bytes.data(), room, &ours.position, &ours.last_dc, &dc, &ac, &ours.state, flush);
    const zepStatus wanted = reference::zepiEncodeHuffman8x8_JPEG_16s1u_C1(
        block, expected.data(), room, &model.position, &model.last_dc, &dc, &ac, &model.state,
        flush);
    fuzz::MustEqual(status, wanted);
    fuzz::MustEqual(ours, model);
    if (bytes != expected) std::abort();
  }
  return 0;
}
