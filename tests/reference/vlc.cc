// SPDX-License-Identifier: MIT
#include "reference/vlc.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

namespace reference {
namespace {

using Tables = std::vector<std::vector<std::string>>;

const std::map<uint32_t, Tables>& Codes() {
  static const std::map<uint32_t, Tables> codes = {
      {4, {{"1", "01", "000", "001"}}},
      {5, {{"1", "01", "001", "0000", "0001"}, {"1", "000", "001", "010", "011"}}},
      {6,
       {{"1", "00000", "001", "00001", "01", "0001"},
        {"01", "0000", "10", "0001", "11", "001"},
        {"0000", "0001", "01", "10", "11", "001"},
        {"00000", "00001", "01", "1", "0001", "001"}}},
      {7,
       {{"01", "10", "11", "001", "0001", "00000", "00001"},
        {"1", "01", "001", "0001", "00001", "000000", "000001"}}},
      {8,
       {{"10", "001", "00001", "0001", "11", "010", "00000", "011"},
        {"001", "010", "0001", "011", "100", "101", "0000", "11"}}},
      {9,
       {{"010", "00000", "0010", "00001", "00010", "1", "011", "00011", "0011"},
        {"1", "001", "010", "0001", "000001", "011", "00001", "0000000", "0000001"}}},
      {12,
       {{"00001", "000001", "0000000", "0000001", "00100", "010", "00101", "1", "00110", "0001",
         "00111", "011"},
        {"0010", "00010", "000000", "000001", "0011", "010", "00011", "11", "011", "100", "00001",
         "101"},
        {"11", "001", "0000000", "0000001", "00001", "010", "0000010", "011", "100", "101",
         "0000011", "0001"},
        {"001", "11", "0000000", "00001", "00010", "010", "0000001", "011", "00011", "100",
         "000001", "101"},
        {"010", "1", "0000001", "0001", "0000010", "011", "00000000", "0010", "0000011", "0011",
         "00000001", "00001"}}},
  };
  return codes;
}

using Differences = std::vector<std::vector<int>>;

const std::map<uint32_t, Differences>& AllDifferences() {
  static const std::map<uint32_t, Differences> differences = {
      {4, {}},
      {5, {{0, -1, 0, 1, 1}}},
      {6, {{-1, 1, 1, 1, 0, 1}, {-2, 0, 0, 2, 0, 0}, {-1, -1, 0, 1, -2, 0}}},
      {7, {{1, 0, -1, -1, -1, -1, -1}}},
      {8, {{-1, 0, 1, 1, -1, 0, 1, 1}}},
      {9, {{2, 2, 1, 1, -1, -2, -2, -2, -3}}},
      {12,
       {{1, 1, 1, 1, 1, 0, 0, -1, 2, 1, 0, 0},
        {2, 2, -1, -1, -1, 0, -2, -1, 0, 0, -2, -1},
        {-1, 1, 0, 2, 0, 0, 0, 0, -2, 0, 1, 1},
        {0, 1, 0, 1, -2, 0, -1, -1, -2, -1, -2, -2}}},
  };
  return differences;
}

uint32_t NumberOf(uint32_t alphabet, uint32_t index) {
  uint32_t number = 1;
  for (const auto& [size, tables] : Codes()) {
    if (size < alphabet) number += static_cast<uint32_t>(tables.size());
  }
  return number + index;
}

uint32_t DifferenceNumberOf(uint32_t alphabet, uint32_t index) {
  uint32_t number = 1;
  for (const auto& [size, tables] : AllDifferences()) {
    if (size < alphabet) number += static_cast<uint32_t>(tables.size());
  }
  return number + index;
}

// A state unpacked to its tables and scans; it is packed again after the call.
struct Table {
  uint32_t alphabet, index, initialized;
  int32_t upper, lower, delta1, delta2;
  uint32_t encoding, difference1, difference2, decoding, long_decoding;
};
struct Entry {
  uint32_t total, index, x, y;
};
struct State {
  uint32_t scan;
  Table tables[21];
  Entry scans[3][16];

  explicit State(const zepiVLCState* from) { std::memcpy(this, from, sizeof(*this)); }
  void Store(zepiVLCState* to) const { std::memcpy(static_cast<void*>(to), this, sizeof(*this)); }
};
static_assert(sizeof(State) == 1780);

bool HasTwoCounters(uint32_t alphabet) { return alphabet == 6 || alphabet == 12; }

int32_t Clamp(int32_t value) { return value < -64 ? -64 : value > 64 ? 64 : value; }

void Install(Table* table) {
  const int last = static_cast<int>(NumVlcTables(table->alphabet)) - 1;
  const int index = static_cast<int>(table->index);
  table->lower = index == 0 ? INT_MIN : -8;
  table->upper = index == last ? 0x40000000 : 8;
  table->encoding = NumberOf(table->alphabet, table->index);
  table->decoding = table->encoding;
  table->long_decoding = 0;
  table->difference1 = table->difference2 = 0;
  if (HasTwoCounters(table->alphabet)) {
    const int below = index >= 1 ? index - 1 : 0;
    const int above = index <= last - 1 ? index : last - 1;
    table->difference1 = DifferenceNumberOf(table->alphabet, static_cast<uint32_t>(below));
    table->difference2 = DifferenceNumberOf(table->alphabet, static_cast<uint32_t>(above));
  } else if (table->alphabet != 4) {
    table->difference1 = DifferenceNumberOf(table->alphabet, 0);
  }
}

void Adapt(Table* table) {
  const int32_t chosen = HasTwoCounters(table->alphabet) ? table->delta2 : table->delta1;
  if (table->initialized == 0) {
    table->index = HasTwoCounters(table->alphabet) ? 1 : 0;
    table->delta1 = table->delta2 = 0;
    table->initialized = 1;
  } else if (table->delta1 < table->lower) {
    --table->index;
    table->delta1 = table->delta2 = 0;
  } else if (chosen <= table->upper) {
    table->delta1 = Clamp(table->delta1);
    table->delta2 = Clamp(table->delta2);
  } else {
    ++table->index;
    table->delta1 = table->delta2 = 0;
  }
  Install(table);
}

void Count(Table* table, uint32_t symbol) {
  const uint32_t alphabet = table->alphabet, index = table->index;
  const Differences& differences = AllDifferences().at(alphabet);
  const uint32_t last = NumVlcTables(alphabet) - 1;
  if (HasTwoCounters(alphabet)) {
    table->delta1 += differences[index == 0 ? 0 : index - 1][symbol];
    table->delta2 += differences[index == last ? last - 1 : index][symbol];
  } else {
    table->delta1 += differences[0][symbol];
  }
}

void AdaptScan(Entry* entries, uint32_t k) {
  ++entries[k].total;
  if (k != 0 && entries[k].total > entries[k - 1].total) std::swap(entries[k], entries[k - 1]);
}

// Writes the stream bit by bit.
struct Writer {
  uint8_t** dst;
  uint32_t *acc, *count;

  void Bit(uint32_t bit) {
    const uint32_t valid = *count == 0 ? 0 : *acc >> (32 - *count) << (32 - *count);
    *acc = valid;
    Flush();
    *acc |= bit << (31 - *count);
    ++*count;
    Flush();
  }
  void Flush() {
    while (*count >= 16) {
      *(*dst)++ = static_cast<uint8_t>(*acc >> 24);
      *(*dst)++ = static_cast<uint8_t>(*acc >> 16);
      *acc <<= 16;
      *count -= 16;
    }
  }
  void Bits(uint32_t value, uint32_t bits) {
    for (uint32_t i = 0; i < bits; ++i) Bit(value >> (bits - 1 - i) & 1);
  }
  void Code(const std::string& code) {
    for (const char digit : code) Bit(digit == '1' ? 1 : 0);
  }
};

struct Reader {
  const uint8_t** src;
  uint32_t *acc, *count;

  Reader(const uint8_t** bytes, uint32_t* accumulator, uint32_t* bit_count)
      : src(bytes), acc(accumulator), count(bit_count) {
    *acc = *count == 0 ? 0 : *acc >> (32 - *count) << (32 - *count);
  }

  void Look() {
    if (*count >= 16) return;
    const uint32_t high = *(*src)++, low = *(*src)++;
    *acc |= (high << 8 | low) << (16 - *count);
    *count += 16;
  }
  uint32_t Bit() {
    if (*count == 0) std::abort();
    const uint32_t bit = *acc >> 31;
    *acc <<= 1;
    --*count;
    return bit;
  }
  uint32_t Bits(uint32_t bits) {
    if (bits == 0) return 0;
    uint32_t value = 0;
    if (bits > 16) {
      value = Bits(16);
      bits -= 16;
    }
    Look();
    for (uint32_t i = 0; i < bits; ++i) value = value * 2 + Bit();
    return value;
  }
  uint32_t Code(const std::vector<std::string>& codes) {
    Look();
    std::string digits;
    for (;;) {
      digits += Bit() != 0 ? '1' : '0';
      for (uint32_t symbol = 0; symbol < codes.size(); ++symbol) {
        if (codes[symbol] == digits) return symbol;
      }
    }
  }
};

const std::vector<std::string> kIndexAt14 = {"0", "110", "10", "111"};
const std::vector<std::string> kIndexAt15 = {"0", "1"};
const std::vector<std::string> kShortRuns[3] = {
    {"1", "0"}, {"1", "01", "00"}, {"1", "01", "001", "000"}};
const uint32_t kLevelBase[6] = {2, 3, 4, 6, 10, 14}, kLevelBits[6] = {0, 0, 1, 2, 2, 2};
const uint32_t kRunBase[3][5] = {{1, 2, 3, 4, 5}, {1, 2, 3, 5, 7}, {1, 2, 3, 5, 7}};
const uint32_t kRunBits[3][5] = {{0, 0, 0, 0, 1}, {0, 0, 1, 1, 2}, {0, 0, 1, 1, 3}};
uint32_t RunRow(uint32_t longest) { return longest <= 6 ? 0 : longest <= 10 ? 1 : 2; }

uint32_t Magnitude(int32_t level) {
  return static_cast<uint32_t>(level < 0 ? -int64_t{level} : int64_t{level});
}

// The tables of a block.
struct Block {
  Table* first;
  Table* index[2];
  Table* level[2];
};
Block TablesOf(State* state, uint32_t base, bool chroma) {
  Table* const t = state->tables;
  const uint32_t first = base + (chroma ? 3 : 0);
  return {t + first, {t + first + 1, t + first + 2}, {t + base + 6, t + base + 7}};
}

const std::vector<std::string>& CodesOf(const Table* table) {
  return VlcCodes(table->alphabet, table->index);
}

void WriteSymbol(Table* table, uint32_t symbol, Writer* to) {
  to->Code(CodesOf(table)[symbol]);
  Count(table, symbol);
}

void WriteLevel(Table* table, uint32_t magnitude, Writer* to) {
  if (magnitude > (1u << 30) + 1) magnitude = (1u << 30) + 1;
  const uint32_t v = magnitude - 2;
  if (v < 16) {
    uint32_t symbol = 5;
    while (kLevelBase[symbol] > magnitude) --symbol;
    WriteSymbol(table, symbol, to);
    to->Bits(magnitude - kLevelBase[symbol], kLevelBits[symbol]);
    return;
  }
  uint32_t n = 0;
  while (v >> n > 1) ++n;
  WriteSymbol(table, 6, to);
  to->Bits(n < 19 ? n - 4 : 15, 4);
  if (n >= 19) to->Bits(n < 22 ? n - 19 : 3, 2);
  if (n >= 22) to->Bits(n - 22, 3);
  to->Bits(v, n);
}

void WriteRun(uint32_t run, uint32_t longest, Writer* to) {
  if (longest <= 1) return;
  if (longest <= 4) {
    to->Code(kShortRuns[longest - 2][run - 1]);
    return;
  }
  const uint32_t row = RunRow(longest);
  uint32_t symbol = 4;
  while (kRunBase[row][symbol] > run) --symbol;
  to->Code(VlcCodes(5, 0)[symbol]);
  to->Bits(run - kRunBase[row][symbol], kRunBits[row][symbol]);
}

struct Pair {
  uint32_t run;
  int32_t level;
};

void WriteBlock(const std::vector<Pair>& pairs, uint32_t first_slot, const Block& tables,
                Writer* to) {
  uint32_t slot = first_slot;
  const auto next_of = [&](size_t j) -> uint32_t {
    return j + 1 == pairs.size() ? 0 : pairs[j + 1].run == 0 ? 1 : 2;
  };
  const auto has_level = [&](size_t j) { return Magnitude(pairs[j].level) > 1 ? 1u : 0u; };
  const uint32_t no_run = pairs[0].run == 0 ? 1 : 0;
  uint32_t next = next_of(0);
  WriteSymbol(tables.first, 4 * next + 2 * has_level(0) + no_run, to);
  to->Bit(pairs[0].level < 0 ? 1 : 0);
  uint32_t context = no_run == 1 && next == 1 ? 1 : 0;
  if (has_level(0)) WriteLevel(tables.level[context], Magnitude(pairs[0].level), to);
  if (no_run == 0) WriteRun(pairs[0].run, 15 - slot, to);
  slot += pairs[0].run + 1;
  for (size_t j = 1; j < pairs.size(); ++j) {
    if (next == 2) WriteRun(pairs[j].run, 15 - slot, to);
    slot += pairs[j].run + 1;
    next = next_of(j);
    const uint32_t symbol = 2 * next + has_level(j);
    if (slot - 1 <= 13) {
      WriteSymbol(tables.index[context], symbol, to);
    } else {
      to->Code((slot - 1 == 14 ? kIndexAt14 : kIndexAt15)[symbol]);
    }
    to->Bit(pairs[j].level < 0 ? 1 : 0);
    if (next != 1) context = 0;
    if (has_level(j)) WriteLevel(tables.level[context], Magnitude(pairs[j].level), to);
  }
}

uint32_t ReadSymbol(Table* table, Reader* from) {
  const uint32_t symbol = from->Code(CodesOf(table));
  Count(table, symbol);
  return symbol;
}

uint32_t ReadLevel(Table* table, Reader* from) {
  const uint32_t symbol = ReadSymbol(table, from);
  if (symbol < 6) return kLevelBase[symbol] + from->Bits(kLevelBits[symbol]);
  uint32_t n = 4 + from->Bits(4);
  if (n == 19) n += from->Bits(2);
  if (n == 22) n += from->Bits(3);
  return 2 + (1u << n) + from->Bits(n);
}

// A run beyond the last slot is cut; a run without room counts as 0.
uint32_t ReadRun(uint32_t longest, Reader* from) {
  if (longest <= 1) return longest;
  if (longest <= 4) return 1 + from->Code(kShortRuns[longest - 2]);
  const uint32_t row = RunRow(longest), symbol = from->Code(VlcCodes(5, 0));
  const uint32_t run = kRunBase[row][symbol] + from->Bits(kRunBits[row][symbol]);
  return run > longest ? longest : run;
}

int32_t WithSign(uint32_t magnitude, uint32_t sign) {
  return sign != 0 ? -static_cast<int32_t>(magnitude) : static_cast<int32_t>(magnitude);
}

std::vector<Pair> ReadBlock(uint32_t first_slot, const Block& tables, Reader* from) {
  std::vector<Pair> pairs;
  uint32_t slot = first_slot;
  uint32_t symbol = ReadSymbol(tables.first, from);
  uint32_t next = symbol / 4;
  const bool no_run = symbol % 2 == 1;
  from->Look();
  uint32_t sign = from->Bit();
  uint32_t context = no_run && next == 1 ? 1 : 0;
  const uint32_t first = symbol / 2 % 2 == 1 ? ReadLevel(tables.level[context], from) : 1;
  const uint32_t first_run = no_run ? 0 : ReadRun(15 - slot, from);
  pairs.push_back({first_run, WithSign(first, sign)});
  slot += first_run + 1;
  while (next != 0 && slot <= 15) {
    const uint32_t run = next == 2 ? ReadRun(15 - slot, from) : 0;
    slot += run + 1;
    symbol = slot - 1 <= 13   ? ReadSymbol(tables.index[context], from)
             : slot - 1 == 14 ? from->Code(kIndexAt14)
                              : from->Code(kIndexAt15);
    next = symbol / 2;
    from->Look();
    sign = from->Bit();
    if (next != 1) context = 0;
    const uint32_t level = symbol % 2 == 1 ? ReadLevel(tables.level[context], from) : 1;
    pairs.push_back({run, WithSign(level, sign)});
  }
  return pairs;
}

int32_t LevelOf(int32_t value, uint32_t model_bits) {
  return static_cast<int32_t>((value < 0 ? -1 : 1) * int64_t{Magnitude(value) >> model_bits});
}

int32_t Packed(int32_t value, uint32_t model_bits, uint32_t trim_bits) {
  if (trim_bits >= model_bits) return 0;
  const uint32_t magnitude = Magnitude(value);
  if (magnitude >> model_bits != 0) {
    return static_cast<int32_t>(2 * (magnitude % (1u << model_bits) >> trim_bits));
  }
  const uint32_t t = magnitude >> trim_bits;
  if (t == 0) return 0;
  return static_cast<int32_t>(2 * (2 * t + (value < 0 ? 1 : 0)) + 1);
}

// The pairs of 16 levels in scan order; the scan adapts.
std::vector<Pair> Scan(const int32_t* levels, Entry* entries) {
  std::vector<Pair> pairs;
  uint32_t run = 0;
  for (uint32_t k = 1; k < 16; ++k) {
    const int32_t level = levels[entries[k].index];
    if (level == 0) {
      ++run;
      continue;
    }
    pairs.push_back({run, level});
    run = 0;
    AdaptScan(entries, k);
  }
  return pairs;
}

template <class T>
T LoadAt(const T* base, uint32_t step, uint32_t x, uint32_t y) {
  T value;
  std::memcpy(&value, reinterpret_cast<const uint8_t*>(base) + uint64_t{y} * step + x * sizeof(T),
              sizeof(T));
  return value;
}

template <class T>
void EncodeBlock4x4(const T* src, uint32_t step, uint32_t channel, uint32_t model_bits,
                    Writer writer, zepiVLCState* state, zepiVLCContext* context) {
  State s(state);
  Entry* const entries = s.scans[s.scan];
  int32_t levels[16];
  for (uint32_t k = 0; k < 16; ++k) {
    levels[entries[k].index] = LevelOf(LoadAt(src, step, entries[k].x, entries[k].y), model_bits);
  }
  const std::vector<Pair> pairs = Scan(levels, entries);
  if (!pairs.empty()) WriteBlock(pairs, 1, TablesOf(&s, 13, channel != 0), &writer);
  context->count += static_cast<uint32_t>(pairs.size());
  s.Store(state);
}

template <class T>
void PackBlock(const T* src, uint32_t step, uint32_t model_bits, uint32_t trim_bits,
               int32_t* flex) {
  for (uint32_t i = 0; i < 16; ++i) {
    const int32_t value = LoadAt(src, step, i % 4, i / 4);
    const int32_t packed = i == 0 ? 0 : Packed(value, model_bits, trim_bits);
    std::memcpy(reinterpret_cast<uint8_t*>(flex) + 4 * i, &packed, 4);
  }
}

template <class T>
void DecodeBlock4x4(Reader reader, uint32_t model_bits, zepiVLCState* state, uint32_t step,
                    uint32_t channel, T* dst, zepiVLCContext* context) {
  State s(state);
  Entry* const entries = s.scans[s.scan];
  const std::vector<Pair> pairs = ReadBlock(1, TablesOf(&s, 13, channel != 0), &reader);
  const auto multiplier = static_cast<uint32_t>(context->multiplier == 0 ? 1 : context->multiplier);
  uint32_t k = 1;
  for (const Pair& pair : pairs) {
    k += pair.run;
    const auto value =
        static_cast<T>(static_cast<uint32_t>(pair.level) * (multiplier << model_bits));
    std::memcpy(
        reinterpret_cast<uint8_t*>(dst) + uint64_t{entries[k].y} * step + entries[k].x * sizeof(T),
        &value, sizeof(T));
    AdaptScan(entries, k);
    ++k;
  }
  context->count += static_cast<uint32_t>(pairs.size());
  s.Store(state);
}

void EncodePairs(const int32_t* run_level, uint32_t count, uint32_t first_slot, bool chroma,
                 Writer writer, zepiVLCState* state) {
  std::vector<Pair> pairs;
  uint32_t slot = first_slot;
  for (uint32_t j = 0; j < count && slot <= 15; ++j) {
    Pair pair;
    std::memcpy(&pair, reinterpret_cast<const uint8_t*>(run_level) + 8 * j, sizeof(pair));
    if (pair.run > 15 - slot) pair.run = 15 - slot;
    pairs.push_back(pair);
    slot += pair.run + 1;
  }
  if (pairs.empty()) return;
  State s(state);
  WriteBlock(pairs, first_slot, TablesOf(&s, 5, chroma), &writer);
  s.Store(state);
}

void DecodeJoint(uint32_t first_slot, Reader reader, zepiVLCState* state, int32_t* dst) {
  State s(state);
  int32_t levels[16] = {};
  uint32_t slot = first_slot;
  for (const Pair& pair : ReadBlock(first_slot, TablesOf(&s, 5, true), &reader)) {
    slot += pair.run;
    levels[slot++] = pair.level;
  }
  std::memcpy(static_cast<void*>(dst), levels + first_slot, 4 * (16 - first_slot));
  s.Store(state);
}

}  // namespace

const std::vector<std::string>& VlcCodes(uint32_t alphabet, uint32_t table) {
  return Codes().at(alphabet).at(table);
}
uint32_t NumVlcTables(uint32_t alphabet) {
  return static_cast<uint32_t>(Codes().at(alphabet).size());
}

uint32_t GetWord(const zepiVLCState* state, uint32_t word) {
  uint32_t value;
  std::memcpy(&value, reinterpret_cast<const uint8_t*>(state) + 4 * word, 4);
  return value;
}
void SetWord(zepiVLCState* state, uint32_t word, uint32_t value) {
  std::memcpy(reinterpret_cast<uint8_t*>(state) + 4 * word, &value, 4);
}
void ForceVlcTable(zepiVLCState* state, uint32_t table, uint32_t index) {
  State s(state);
  s.tables[table].index = index;
  s.tables[table].delta1 = s.tables[table].delta2 = 0;
  Install(&s.tables[table]);
  s.Store(state);
}

zepStatus zepiVLCInit_JPEGXR(zepiVLCState* state) {
  const uint32_t alphabets[21] = {5, 4, 8,  7, 7, 12, 6, 6, 12, 6, 6,
                                  7, 7, 12, 6, 6, 12, 6, 6, 7,  7};
  const uint32_t orders[3][16] = {{0, 10, 2, 12, 5, 9, 4, 8, 1, 13, 6, 15, 14, 3, 11, 7},
                                  {0, 5, 10, 12, 1, 2, 8, 4, 6, 9, 3, 14, 13, 7, 11, 15},
                                  {0, 1, 4, 5, 2, 8, 6, 9, 3, 12, 10, 7, 13, 11, 14, 15}};
  const uint32_t places[16][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {3, 0}, {2, 0}, {3, 1}, {2, 1},
                                  {0, 3}, {1, 3}, {0, 2}, {1, 2}, {3, 3}, {2, 3}, {3, 2}, {2, 2}};
  std::memset(static_cast<void*>(state), 0, sizeof(State));
  State s(state);
  for (uint32_t t = 0; t < 21; ++t) s.tables[t].alphabet = alphabets[t];
  for (uint32_t scan = 0; scan < 3; ++scan) {
    for (uint32_t k = 0; k < 16; ++k) {
      const uint32_t index = orders[scan][k];
      s.scans[scan][k] = {0, index, places[index][0], places[index][1]};
    }
  }
  s.scan = 2;
  s.Store(state);
  reference::zepiVLCAdapt_JPEGXR(state, 0);
  return reference::zepiVLCAdapt_JPEGXR(state, 1);
}

zepStatus zepiVLCAdapt_JPEGXR(zepiVLCState* state, uint32_t group) {
  State s(state);
  if (group == 0) {
    Adapt(&s.tables[0]);
    for (uint32_t t = 5; t <= 12; ++t) Adapt(&s.tables[t]);
  } else {
    for (uint32_t t = 13; t <= 20; ++t) Adapt(&s.tables[t]);
  }
  s.Store(state);
  return zepStatusOk;
}

zepStatus zepiVLCScanReset_JPEGXR(zepiVLCState* state, uint32_t scan) {
  const uint32_t totals[16] = {32767, 32, 30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8, 6, 4};
  State s(state);
  for (uint32_t k = 0; k < 16; ++k) s.scans[scan][k].total = totals[k];
  s.Store(state);
  return zepStatusOk;
}

zepStatus zepiVLCScanSet_JPEGXR(zepiVLCState* state, uint32_t scan) {
  State s(state);
  s.scan = scan;
  s.Store(state);
  return zepStatusOk;
}

zepStatus zepiVLCScan4x4DC_JPEGXR_32s(const int32_t* src, uint32_t model_bits, zepiVLCState* state,
                                      int32_t* run_level, uint32_t* pair_count, int32_t* packed) {
  State s(state);
  int32_t levels[16];
  for (uint32_t i = 0; i < 16; ++i) levels[i] = LevelOf(LoadAt(src, 16, i % 4, i / 4), model_bits);
  const std::vector<Pair> pairs = Scan(levels, s.scans[s.scan]);
  if (!pairs.empty()) {
    std::memcpy(static_cast<void*>(run_level), pairs.data(), pairs.size() * sizeof(Pair));
  }
  *pair_count = static_cast<uint32_t>(pairs.size());
  PackBlock(src, 16, model_bits, 0, packed);
  s.Store(state);
  return zepStatusOk;
}

zepStatus zepiVLCEncodeDC420_JPEGXR_32s1u(const int32_t* run_level, uint32_t count, uint8_t** dst,
                                          uint32_t* acc, uint32_t* bit_count, zepiVLCState* state) {
  EncodePairs(run_level, count, 10, true, {dst, acc, bit_count}, state);
  return zepStatusOk;
}

zepStatus zepiVLCEncodeDC422_JPEGXR_32s1u(const int32_t* run_level, uint32_t count, uint8_t** dst,
                                          uint32_t* acc, uint32_t* bit_count, zepiVLCState* state) {
  EncodePairs(run_level, count, 2, true, {dst, acc, bit_count}, state);
  return zepStatusOk;
}

zepStatus zepiVLCEncodeDC444_JPEGXR_32s1u(const int32_t* run_level, uint32_t count,
                                          uint32_t channel, uint8_t** dst, uint32_t* acc,
                                          uint32_t* bit_count, zepiVLCState* state) {
  EncodePairs(run_level, count, 1, channel != 0, {dst, acc, bit_count}, state);
  return zepStatusOk;
}

zepStatus zepiVLCDecodeDC420_JPEGXR_1u32s(const uint8_t** src, uint32_t* acc, uint32_t* bit_count,
                                          zepiVLCState* state, int32_t* dst) {
  DecodeJoint(10, Reader(src, acc, bit_count), state, dst);
  return zepStatusOk;
}

zepStatus zepiVLCDecodeDC422_JPEGXR_1u32s(const uint8_t** src, uint32_t* acc, uint32_t* bit_count,
                                          zepiVLCState* state, int32_t* dst) {
  DecodeJoint(2, Reader(src, acc, bit_count), state, dst);
  return zepStatusOk;
}

zepStatus zepiVLCDecodeDC444_JPEGXR_1u32s(const uint8_t** src, uint32_t* acc, uint32_t* bit_count,
                                          zepiVLCState* state, int32_t* dst) {
  State s(state);
  Reader reader(src, acc, bit_count);
  Entry* const entries = s.scans[s.scan];
  const bool chroma = LoadAt(dst, 0, 0, 0) != 0;
  int32_t levels[16] = {};
  uint32_t k = 1;
  for (const Pair& pair : ReadBlock(1, TablesOf(&s, 5, chroma), &reader)) {
    k += pair.run;
    levels[entries[k].index] = pair.level;
    AdaptScan(entries, k);
    ++k;
  }
  std::memcpy(reinterpret_cast<uint8_t*>(dst) + 4, levels + 1, 60);
  s.Store(state);
  return zepStatusOk;
}

zepStatus zepiVLCEncode4x4_JPEGXR_16s1u_C1R(const int16_t* src, uint32_t step, uint32_t channel,
                                            uint32_t model_bits, uint8_t** dst, uint32_t* acc,
                                            uint32_t* bit_count, zepiVLCState* state,
                                            zepiVLCContext* context) {
  EncodeBlock4x4(src, step, channel, model_bits, {dst, acc, bit_count}, state, context);
  return zepStatusOk;
}

zepStatus zepiVLCEncode4x4_JPEGXR_32s1u_C1R(const int32_t* src, uint32_t step, uint32_t channel,
                                            uint32_t model_bits, uint8_t** dst, uint32_t* acc,
                                            uint32_t* bit_count, zepiVLCState* state,
                                            zepiVLCContext* context) {
  EncodeBlock4x4(src, step, channel, model_bits, {dst, acc, bit_count}, state, context);
  return zepStatusOk;
}

zepStatus zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R(const int16_t* src, uint32_t step, uint32_t channel,
                                                uint32_t model_bits, uint32_t trim_bits,
                                                uint8_t** dst, uint32_t* acc, uint32_t* bit_count,
                                                zepiVLCState* state, int32_t* flex,
                                                zepiVLCContext* context) {
  EncodeBlock4x4(src, step, channel, model_bits, {dst, acc, bit_count}, state, context);
  PackBlock(src, step, model_bits, trim_bits, flex);
  return zepStatusOk;
}

zepStatus zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(const int32_t* src, uint32_t step, uint32_t channel,
                                                uint32_t model_bits, uint32_t trim_bits,
                                                uint8_t** dst, uint32_t* acc, uint32_t* bit_count,
                                                zepiVLCState* state, int32_t* flex,
                                                zepiVLCContext* context) {
  EncodeBlock4x4(src, step, channel, model_bits, {dst, acc, bit_count}, state, context);
  PackBlock(src, step, model_bits, trim_bits, flex);
  return zepStatusOk;
}

zepStatus zepiVLCDecode4x4_JPEGXR_1u16s_C1R(const uint8_t** src, uint32_t* acc, uint32_t* bit_count,
                                            uint32_t model_bits, zepiVLCState* state, uint32_t step,
                                            uint32_t channel, int16_t* dst,
                                            zepiVLCContext* context) {
  DecodeBlock4x4(Reader(src, acc, bit_count), model_bits, state, step, channel, dst, context);
  return zepStatusOk;
}

zepStatus zepiVLCDecode4x4_JPEGXR_1u32s_C1R(const uint8_t** src, uint32_t* acc, uint32_t* bit_count,
                                            uint32_t model_bits, zepiVLCState* state, uint32_t step,
                                            uint32_t channel, int32_t* dst,
                                            zepiVLCContext* context) {
  DecodeBlock4x4(Reader(src, acc, bit_count), model_bits, state, step, channel, dst, context);
  return zepStatusOk;
}

}  // namespace reference
