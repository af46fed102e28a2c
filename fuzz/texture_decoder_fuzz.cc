// SPDX-License-Identifier: MIT
// Any bytes as texture blocks, in pictures of any small size, with any step: the memory of the
// pixels must equal that of the model.
#include "input.h"
#include "reference/texture.h"

namespace {

// Limits of the pictures; a step is at most kMaxMore bytes longer than a row.
constexpr int kMaxWidth = 70, kMaxHeight = 9, kMaxMore = 20;
constexpr size_t kRowBytes = 4 * kMaxWidth + kMaxMore;
constexpr size_t kMemory = kRowBytes * kMaxHeight;

template <class Decode>
std::vector<uint8_t> Pixels(const std::vector<uint8_t>& blocks, int32_t step, zepiSize size,
                            Decode decode) {
  std::vector<uint8_t> memory(kMemory, uint8_t{0xA5});
  uint8_t* const first = step > 0 ? memory.data() : memory.data() + (kMaxHeight - 1) * kRowBytes;
  if (decode(blocks.data(), first, step, size) != zepStatusOk) std::abort();
  return memory;
}

template <class Export, class Model>
void Compare(fuzz::Input* input, size_t pixel_bytes, size_t block_bytes, Export call, Model model) {
  const zepiSize size = {1 + input->Byte() % kMaxWidth, 1 + input->Byte() % kMaxHeight};
  const bool is_upwards = input->Byte() % 2 != 0;
  const auto distance =
      static_cast<int32_t>(input->Byte() % 4 == 0 ? 1 + input->Byte()
                                                  : static_cast<size_t>(size.width) * pixel_bytes +
                                                        input->Byte() % kMaxMore);
  const auto blocks_wide = static_cast<size_t>((size.width + 3) / 4);
  const auto blocks_high = static_cast<size_t>((size.height + 3) / 4);
  std::vector<uint8_t> blocks(blocks_wide * blocks_high * block_bytes);
  input->Fill(blocks.data(), blocks.size());
  const int32_t step = is_upwards ? -distance : distance;
  if (Pixels(blocks, step, size, call) != Pixels(blocks, step, size, model)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  switch (input.Byte() % 5) {
    case 0:
      Compare(&input, 4, 8, zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R,
              reference::zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R);
      break;
    case 1:
      Compare(&input, 4, 16, zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R,
              reference::zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R);
      break;
    case 2:
      Compare(&input, 4, 16, zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R,
              reference::zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R);
      break;
    case 3:
      Compare(&input, 1, 8, zepiTextureDecodeBlock_BC4_8u_C1R,
              reference::zepiTextureDecodeBlock_BC4_8u_C1R);
      break;
    default:
      Compare(&input, 2, 16, zepiTextureDecodeBlockToRG_BC5_8u_C1C2R,
              reference::zepiTextureDecodeBlockToRG_BC5_8u_C1C2R);
  }
  return 0;
}
