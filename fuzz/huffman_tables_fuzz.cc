// SPDX-License-Identifier: MIT
// Any lists as Huffman tables: the encoder's and decoder's tables must equal those of the models.
#include "input.h"
#include "reference/huffman_tables.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const fuzz::Lists lists(&input);
  const uint8_t* const symbols = lists.symbols.data();
  zepiEncodeHuffmanSpec encoder, encoder_model;
  std::memset(&encoder, 1, sizeof(encoder));
  std::memset(&encoder_model, 1, sizeof(encoder_model));
  fuzz::MustEqual(
      zepiEncodeHuffmanSpecInit_JPEG_8u(lists.counts, symbols, &encoder),
      reference::zepiEncodeHuffmanSpecInit_JPEG_8u(lists.counts, symbols, &encoder_model));
  fuzz::MustEqual(encoder, encoder_model);
  zepiDecodeHuffmanSpec decoder, decoder_model;
  std::memset(&decoder, 1, sizeof(decoder));
  std::memset(&decoder_model, 1, sizeof(decoder_model));
  fuzz::MustEqual(
      zepiDecodeHuffmanSpecInit_JPEG_8u(lists.counts, symbols, &decoder),
      reference::zepiDecodeHuffmanSpecInit_JPEG_8u(lists.counts, symbols, &decoder_model));
  fuzz::MustEqual(decoder, decoder_model);
  return 0;
}
