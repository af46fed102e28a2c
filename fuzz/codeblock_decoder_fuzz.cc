// SPDX-License-Identifier: MIT
// Any bytes as the segments of a code-block: the decoder in one call, the decoder in steps and the
// model must give the same results.
#include "harness/guarded.h"
#include "input.h"
#include "reference/codeblock.h"

namespace {

struct Case {
  zepiSize size;
  int32_t subband, planes, passes, flags;
  std::vector<int32_t> lengths;
  std::vector<uint8_t> bytes;
};

Case Read(fuzz::Input* input) {
  Case read;
  read.size = {1 + input->Byte() % 40, 1 + input->Byte() % 20};
  read.subband = input->Byte() % 4;
  read.planes = input->Byte() % 34 - 1;
  read.passes = input->Byte() % 100 - 2;
  const int more = input->Byte();
  read.flags =
      input->Byte() % 64 | (more % 2 != 0 ? 0x10000 : 0) | (more / 2 % 2 != 0 ? 0x40000 : 0);
  const int segments = 1 + more / 4 % 16;
  std::vector<int32_t> lengths;
  for (int i = 1; i < segments; ++i) lengths.push_back(input->Byte() % 64);
  read.bytes = input->Rest();
  auto left = static_cast<int32_t>(read.bytes.size());
  for (const int32_t length : lengths) {
    read.lengths.push_back(std::min(length, left));
    left -= read.lengths.back();
  }
  read.lengths.push_back(left);
  return read;
}

std::vector<uint32_t> Block(const Case& input) {
  return std::vector<uint32_t>(static_cast<size_t>(input.size.width) *
                               static_cast<size_t>(input.size.height));
}

zepStatus DecodeInSteps(const Case& input, const uint8_t* src, std::vector<uint32_t>* block) {
  zepiDecodeStateJPEG2K* state = nullptr;
  if (zepiDecodeCBProgrInitAlloc_JPEG2K(&state, input.size) != zepStatusOk) std::abort();
  zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(reinterpret_cast<int32_t*>(block->data()),
                                         4 * input.size.width, input.size, state, input.subband,
                                         input.planes, input.flags);
  zepiDecodeCBProgrSetPassCounter_JPEG2K(input.passes, state);
  zepStatus status = zepStatusOk;
  for (size_t k = 0; k < input.lengths.size() && status == zepStatusOk; ++k) {
    status = zepiDecodeCBProgrStep_JPEG2K(src, input.lengths[k], state);
    src += input.lengths[k];
  }
  zepiDecodeCBProgrFree_JPEG2K(state);
  return status;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input bytes(data, size);
  const Case input = Read(&bytes);
  harness::Guarded<uint8_t> src(input.bytes.size());
  if (!input.bytes.empty()) std::memcpy(src.data(), input.bytes.data(), input.bytes.size());
  int32_t state_size = 0;
  zepiDecodeGetBufSize_JPEG2K(input.size, &state_size);
  harness::Guarded<uint8_t> state(static_cast<size_t>(state_size));
  std::vector<uint32_t> block = Block(input);
  const zepStatus status = zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(
      src.data(), reinterpret_cast<int32_t*>(block.data()), 4 * input.size.width, input.size,
      input.subband, input.planes, input.passes, input.lengths.data(),
      static_cast<int32_t>(input.lengths.size()), input.flags, nullptr, state.data());
  const reference::DecodedBlock model =
      reference::DecodeCodeBlock(input.size.width, input.size.height, input.bytes, input.lengths,
                                 input.subband, input.planes, input.passes, input.flags);
  if (model.failed != (status == zepStatusJPEG2KDecodeError)) std::abort();
  if (model.samples != block) std::abort();

  std::vector<uint32_t> stepped = Block(input);
  if (DecodeInSteps(input, src.data(), &stepped) != status) std::abort();
  // In steps, the samples keep the bits below the last plane, and those of a pass that failed.
  if (status == zepStatusOk && (input.flags & 0x40000) != 0 && stepped != block) std::abort();
  return 0;
}
