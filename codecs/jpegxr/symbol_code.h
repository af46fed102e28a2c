// SPDX-License-Identifier: MIT
// The adaptive prefix codes that the library leaves to its callers: those of the DC band and of the
// pattern of coded blocks (ITU-T T.832, 8.11).
#ifndef ZEPJP_CODECS_JPEGXR_SYMBOL_CODE_H_
#define ZEPJP_CODECS_JPEGXR_SYMBOL_CODE_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpegxr/packet.h"

namespace zepcodec::jpegxr {

// A prefix code of up to 9 symbols and 7 bits.
struct SymbolCode {
  struct Entry {
    uint8_t bits;
    uint8_t length;
  };
  Entry of_symbol[9];
  // A look-up table, indexed by the next 8 bits: the symbol and the length of its code.
  struct Found {
    uint8_t symbol;
    uint8_t length;
  };
  Found by_bits[256];

  uint32_t Read(PacketReader* reader) const {
    const Found found = by_bits[reader->Look8()];
    reader->Skip(found.length);
    return found.symbol;
  }
  void Write(uint32_t symbol, PacketWriter* writer) const {
    writer->Put(of_symbol[symbol].bits, of_symbol[symbol].length);
  }
};

// Fixed codes: 4 symbols for the number of coded blocks in a quadrant, 8 for the set of components
// with a high part in the DC band.
extern const SymbolCode kBlockCountCode;
extern const SymbolCode kDcComponentsCode;

// Two or more code tables for the same symbols. The bits that another table would have saved are
// added up, and Adapt() changes tables when the sum crosses a threshold.
class AdaptiveCode {
 public:
  enum class Alphabet { k5, k7, k9 };
  explicit AdaptiveCode(Alphabet alphabet) : alphabet_(alphabet) {}

  void Reset() {
    index_ = 0;
    saving_ = 0;
  }
  uint32_t Read(PacketReader* reader) {
    const uint32_t symbol = Code().Read(reader);
    saving_ += Difference(symbol);
    return symbol;
  }
  void Write(uint32_t symbol, PacketWriter* writer) {
    Code().Write(symbol, writer);
    saving_ += Difference(symbol);
  }
  void Adapt();

 private:
  const SymbolCode& Code() const;
  int Difference(uint32_t symbol) const;

  Alphabet alphabet_;
  int index_ = 0;
  int saving_ = 0;
};

// A magnitude of at least 2: a symbol of 7 for its range, then the bits inside that range.
uint32_t ReadLevel(AdaptiveCode* code, PacketReader* reader);
void WriteLevel(uint32_t magnitude, AdaptiveCode* code, PacketWriter* writer);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_SYMBOL_CODE_H_
