// SPDX-License-Identifier: MIT
#include "reference/huffman_tables.h"

#include <cstddef>
#include <vector>

namespace reference {
namespace {

using std::size_t;

// Lists the lengths of all codes in order, then a 0; false for more than 256 codes.
bool ListSizes(const uint8_t* list_bits, std::vector<int>* sizes) {
  for (int length = 1; length <= 16; ++length) {
    if (sizes->size() + list_bits[length - 1] > 256) return false;
    sizes->insert(sizes->end(), list_bits[length - 1], length);
  }
  sizes->push_back(0);
  return true;
}

// Lists the codes: they count up within a length and are doubled from one length to the next. With
// `check`, each length must have a free code left.
bool ListCodes(const std::vector<int>& sizes, bool check, std::vector<uint64_t>* codes) {
  uint64_t code = 0;
  int length = sizes[0];
  for (size_t k = 0; sizes[k] != 0;) {
    while (sizes[k] == length) {
      codes->push_back(code++);
      ++k;
    }
    if (check && code >= (uint64_t{1} << length)) return false;
    while (sizes[k] != 0 && sizes[k] != length) {
      code *= 2;
      ++length;
    }
  }
  return true;
}

}  // namespace

zepStatus zepiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* list_bits, const uint8_t* list_vals,
                                            zepiEncodeHuffmanSpec* table) {
  *table = {};
  std::vector<int> sizes;
  std::vector<uint64_t> codes;
  if (!ListSizes(list_bits, &sizes)) return zepStatusBadHuffTable;
  if (!ListCodes(sizes, true, &codes)) return zepStatusBadHuffTable;
  for (size_t k = 0; k < codes.size(); ++k) {
    table->entry[list_vals[k]] =
        static_cast<uint32_t>(sizes[k] * 65536 + static_cast<int>(codes[k]));
  }
  return zepStatusOk;
}

zepStatus zepiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* list_bits, const uint8_t* list_vals,
                                            zepiDecodeHuffmanSpec* table) {
  *table = {};
  std::vector<int> sizes;
  std::vector<uint64_t> codes;
  if (!ListSizes(list_bits, &sizes)) return zepStatusBadHuffTable;
  ListCodes(sizes, false, &codes);
  size_t k = 0;
  for (int length = 1; length <= 16; ++length) {
    if (list_bits[length - 1] == 0) {
      table->lastCode[length] = 65535;
      continue;
    }
    table->firstIndex[length] = static_cast<uint16_t>(k);
    table->firstCode[length] = static_cast<uint16_t>(codes[k]);
    for (int i = 0; i < list_bits[length - 1]; ++i, ++k) table->symbol[k] = list_vals[k];
    table->lastCode[length] = static_cast<uint16_t>(codes[k - 1]);
  }
  table->lastCode[17] = 65535;
  for (k = 0; k < codes.size() && sizes[k] <= 8; ++k) {
    const uint64_t first = codes[k] << (8 - sizes[k]);
    if (first > 256) return zepStatusBadHuffTable;
    for (uint64_t i = first; i < first + (1U << (8 - sizes[k])); ++i) {
      if (i < 256) table->fast[i] = static_cast<uint32_t>(sizes[k] * 65536 + table->symbol[k]);
    }
  }
  return zepStatusOk;
}

}  // namespace reference
