// SPDX-License-Identifier: MIT
// Any bytes as refinement bits, from any state of the stream: block, position and state must equal
// those of the model, and only the bytes that the model reads may be read.
#include "input.h"
#include "reference/fixed_length.h"

namespace {

template <class T>
struct Block {
  uint32_t accumulator, count;
  T values[16];
};

template <class T, class Export, class Model>
void Compare(fuzz::Input* input, const Export& exported, const Model& model) {
  Block<T> ours;
  input->Fill(&ours, sizeof(ours));
  ours.count %= 33;
  T multiplier;
  input->Fill(&multiplier, sizeof(multiplier));
  const uint32_t m = input->Byte() % 16, refine = input->Byte() % 2;
  std::vector<uint8_t> bytes = input->Rest();
  bytes.resize(bytes.size() + 64);
  Block<T> expected = ours;
  const uint8_t* expected_from = bytes.data();
  const auto step = static_cast<int32_t>(4 * sizeof(T));
  model(&expected_from, &expected.accumulator, &expected.count, expected.values, step, m,
        multiplier, refine);
  bytes.resize(static_cast<size_t>(expected_from - bytes.data()));
  bytes.shrink_to_fit();
  const uint8_t nothing = 0;
  const uint8_t* const start = bytes.empty() ? &nothing : bytes.data();
  const uint8_t* from = start;
  exported(&from, &ours.accumulator, &ours.count, ours.values, step, m, multiplier, refine);
  fuzz::MustEqual(ours, expected);
  fuzz::MustEqual(from, start + bytes.size());
}

#define CALL(function) [](auto... arguments) { return function(arguments...); }
#define CALLS(function) CALL(::function), CALL(reference::function)

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  if (input.Byte() % 2 == 0) {
    Compare<int32_t>(&input, CALLS(zepiFLCDecode4x4_JPEGXR_1u32s_C1IR));
  } else {
    Compare<int16_t>(&input, CALLS(zepiFLCDecode4x4_JPEGXR_1u16s_C1IR));
  }
  return 0;
}
