// SPDX-License-Identifier: MIT
// Any bytes as BC6H and BC7 blocks, in pictures of any small size: the memory of the pixels must
// equal that of the model.
#include "input.h"
#include "reference/bptc.h"

namespace {

constexpr int kMaxWidth = 33, kMaxHeight = 9, kMaxMore = 20;
constexpr size_t kRowBytes = 6 * kMaxWidth + kMaxMore;

template <class T, class Decode>
std::vector<uint8_t> Pixels(const std::vector<uint8_t>& blocks, int32_t step, zepiSize size,
                            Decode decode) {
  std::vector<uint8_t> memory(kRowBytes * kMaxHeight, uint8_t{0xA5});
  if (decode(blocks.data(), reinterpret_cast<T*>(memory.data()), step, size) != zepStatusOk) {
    std::abort();
  }
  return memory;
}

template <class T, size_t kChannels, class Export, class Model>
void Compare(fuzz::Input* input, Export call, Model model) {
  const zepiSize size = {1 + input->Byte() % kMaxWidth, 1 + input->Byte() % kMaxHeight};
  const auto row = static_cast<size_t>(size.width) * kChannels * sizeof(T);
  const auto step = static_cast<int32_t>(row + input->Byte() % kMaxMore);
  const auto blocks_wide = static_cast<size_t>((size.width + 3) / 4);
  const auto blocks_high = static_cast<size_t>((size.height + 3) / 4);
  std::vector<uint8_t> blocks(blocks_wide * blocks_high * 16);
  input->Fill(blocks.data(), blocks.size());
  if (Pixels<T>(blocks, step, size, call) != Pixels<T>(blocks, step, size, model)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  switch (input.Byte() % 3) {
    case 0:
      Compare<uint16_t, 3>(&input, zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R,
                           reference::zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R);
      break;
    case 1:
      Compare<uint16_t, 3>(&input, zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R,
                           reference::zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R);
      break;
    default:
      Compare<uint8_t, 4>(&input, zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R,
                          reference::zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R);
  }
  return 0;
}
