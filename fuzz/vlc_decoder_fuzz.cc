// SPDX-License-Identifier: MIT
// Any bits as blocks of JPEG XR, one after the other with one state that starts with any choice of
// tables and order of scans. Decoders and model must agree on coefficients, states and how far they
// read. Both then encode the decoded values to the same bits.
#include "harness/guarded.h"
#include "input.h"
#include "reference/vlc.h"

namespace {

using harness::Guarded;

// The bytes of a block: 15 x 64 bits, the pending bits before it and the bits read ahead.
constexpr size_t kStateBytes = 1780, kBlockBytes = 132;
using State = std::vector<uint8_t>;

zepiVLCState* Of(State* state) { return reinterpret_cast<zepiVLCState*>(state->data()); }

// The inputs and results of one call.
struct Call {
  uint32_t kind, model_bits, channel;
  zepiVLCContext context;
  uint32_t acc, count;
  int32_t values[16];
  size_t bytes;
};

State AnyState(fuzz::Input* input) {
  State state(kStateBytes);
  zepiVLCInit_JPEGXR(Of(&state));
  for (uint32_t scan = 0; scan < 3; ++scan) zepiVLCScanReset_JPEGXR(Of(&state), scan);
  for (uint32_t t = 5; t < 21; ++t) {
    const uint32_t alphabet = reference::GetWord(Of(&state), reference::VlcWord(t, 0));
    reference::ForceVlcTable(Of(&state), t, input->Byte() % reference::NumVlcTables(alphabet));
  }
  const uint32_t scan = input->Byte() % 3;
  zepiVLCScanSet_JPEGXR(Of(&state), scan);
  for (int swaps = input->Byte() % 16; swaps > 0; --swaps) {
    const uint32_t k = 1 + input->Byte() % 15u;
    reference::SetWord(Of(&state), reference::VlcScanWord(scan, k, 0), 20 + input->Byte() % 20u);
  }
  return state;
}

#define CHOOSE(is_model, function, ...) \
  ((is_model) ? reference::function(__VA_ARGS__) : ::function(__VA_ARGS__))

void Decode(bool is_model, const uint8_t* bytes, State* state, Call* call) {
  const uint8_t* at = bytes;
  zepiVLCState* const s = Of(state);
  int16_t narrow[16] = {};
  switch (call->kind) {
    case 0:
      CHOOSE(is_model, zepiVLCDecode4x4_JPEGXR_1u16s_C1R, &at, &call->acc, &call->count,
             call->model_bits, s, 8, call->channel, narrow, &call->context);
      for (int i = 0; i < 16; ++i) call->values[i] = narrow[i];
      break;
    case 1:
      CHOOSE(is_model, zepiVLCDecode4x4_JPEGXR_1u32s_C1R, &at, &call->acc, &call->count,
             call->model_bits, s, 16, call->channel, call->values, &call->context);
      break;
    case 2:
      CHOOSE(is_model, zepiVLCDecodeDC420_JPEGXR_1u32s, &at, &call->acc, &call->count, s,
             call->values);
      break;
    case 3:
      CHOOSE(is_model, zepiVLCDecodeDC422_JPEGXR_1u32s, &at, &call->acc, &call->count, s,
             call->values);
      break;
    default:
      call->values[0] = static_cast<int32_t>(call->channel);
      CHOOSE(is_model, zepiVLCDecodeDC444_JPEGXR_1u32s, &at, &call->acc, &call->count, s,
             call->values);
  }
  call->bytes = static_cast<size_t>(at - bytes);
}

// The values as a block of 32-bit coefficients.
std::vector<uint8_t> Encode(bool is_model, const Call& decoded, State* state) {
  std::vector<uint8_t> bytes(kBlockBytes + 8);
  uint8_t* at = bytes.data();
  uint32_t acc = decoded.acc, count = decoded.count;
  zepiVLCContext context = {0, 0};
  int32_t flex[16];
  CHOOSE(is_model, zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R, decoded.values, 16, decoded.channel,
         decoded.model_bits, decoded.model_bits / 2, &at, &acc, &count, Of(state), flex, &context);
  bytes.resize(static_cast<size_t>(at - bytes.data()));
  for (const int32_t value : flex) bytes.push_back(static_cast<uint8_t>(value));
  bytes.push_back(static_cast<uint8_t>(acc >> 24));
  bytes.push_back(static_cast<uint8_t>(count));
  bytes.push_back(static_cast<uint8_t>(context.count));
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  State state = AnyState(&input), model_state = state;
  Call next = {};
  next.count = input.Byte() % 33;
  next.acc = input.Byte() * 0x01010101u;
  for (int i = input.Byte() % 8; i >= 0; --i) {
    const uint32_t options = input.Byte();
    next.kind = options % 5;
    next.channel = options / 5 % 2;
    next.model_bits = options / 16;
    next.context = {options, static_cast<int32_t>(options) - 9};
    for (int32_t& value : next.values) value = 0;
    uint8_t stream[kBlockBytes];
    input.Fill(stream, 40);
    std::memset(stream + 40, static_cast<int>(options * 37 & 255), kBlockBytes - 40);

    Call want = next, got = next;
    Decode(true, stream, &model_state, &want);
    Guarded<uint8_t> exact(want.bytes);
    if (want.bytes > 0) std::memcpy(exact.raw(), stream, want.bytes);
    Decode(false, exact.raw(), &state, &got);
    fuzz::MustEqual(got, want);
    if (state != model_state) std::abort();
    if (Encode(false, got, &state) != Encode(true, got, &model_state)) std::abort();
    if (state != model_state) std::abort();
    next.acc = got.acc;
    next.count = got.count;
    zepiVLCAdapt_JPEGXR(Of(&state), options % 2);
    reference::zepiVLCAdapt_JPEGXR(Of(&model_state), options % 2);
    if (state != model_state) std::abort();
  }
  return 0;
}
