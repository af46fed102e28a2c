// SPDX-License-Identifier: MIT
// Any bytes as a row to pack, and as packets to unpack: sizes, bytes and statuses must equal those
// of the models, and unpacking must restore a packed row.
#include "input.h"
#include "reference/tiff.h"

namespace {

using Bytes = std::vector<uint8_t>;

void Pack(const Bytes& row, size_t room) {
  Bytes ours(room), model(room);
  auto our_size = static_cast<int32_t>(room), model_size = our_size;
  const auto length = static_cast<int32_t>(row.size());
  const zepStatus status = zepiPackBitsRow_TIFF_8u_C1(row.data(), length, ours.data(), &our_size);
  fuzz::MustEqual(
      status, reference::zepiPackBitsRow_TIFF_8u_C1(row.data(), length, model.data(), &model_size));
  fuzz::MustEqual(our_size, model_size);
  if (ours != model) std::abort();
  if (status != zepStatusOk) return;
  Bytes back(row.size());
  if (zepiUnpackBitsRow_TIFF_8u_C1(ours.data(), &our_size, back.data(), length) != zepStatusOk)
    std::abort();
  if (back != row) std::abort();
}

void Unpack(const Bytes& packed, size_t length) {
  Bytes ours(length), model(length);
  auto our_size = static_cast<int32_t>(packed.size()), model_size = our_size;
  const auto row = static_cast<int32_t>(length);
  fuzz::MustEqual(
      zepiUnpackBitsRow_TIFF_8u_C1(packed.data(), &our_size, ours.data(), row),
      reference::zepiUnpackBitsRow_TIFF_8u_C1(packed.data(), &model_size, model.data(), row));
  fuzz::MustEqual(our_size, model_size);
  if (ours != model) std::abort();
}

// The bytes repeated, to a little more than the packer plans at once.
Bytes Repeated(const Bytes& bytes) {
  Bytes row;
  while (row.size() < 17000) row.insert(row.end(), bytes.begin(), bytes.end());
  return row;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const uint8_t choice = input.Byte();
  const size_t length = 1 + input.Byte() + 256u * (input.Byte() % 8);
  const Bytes bytes = input.Rest();
  if (bytes.empty()) return 0;
  if (choice == 6) {
    const Bytes row = Repeated(bytes);
    Pack(row, row.size() - 1024 + length);
  } else if (choice % 2 == 0) {
    Pack(bytes, length);
  } else {
    Unpack(bytes, length);
  }
  return 0;
}
