// SPDX-License-Identifier: MIT
#include "reference/progressive_encoder.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "reference/bit_writer.h"
#include "reference/coefficients.h"

namespace reference {
namespace {

// An item of the output: a symbol, or `count` bits.
struct Item {
  bool is_symbol;
  int64_t value;
  uint32_t count;
};

uint32_t Category(int64_t value) {
  uint32_t bits = 0;
  for (int64_t rest = std::llabs(value); rest != 0; rest /= 2) ++bits;
  return bits;
}

// A block of a scan as a list of items (T.81, G.1.2.2 and G.1.2.3), and the bits that stay pending
// after it.
struct Scan {
  int64_t eob_run = 0;
  std::vector<uint8_t> corrections;
  std::vector<Item> items = {};
  bool has_no_symbol = false;

  explicit Scan(const zepiEncodeHuffmanState& state)
      : eob_run(state.eobRun),
        corrections(state.correctionBits, state.correctionBits + state.numCorrectionBits) {}

  void Symbol(int64_t symbol) { items.push_back({true, symbol, 0}); }
  void Bits(int64_t value, uint32_t count) { items.push_back({false, value, count}); }
  void Corrections(std::vector<uint8_t>* bits) {
    for (const uint8_t bit : *bits) Bits(bit, 1);
    bits->clear();
  }
  void EndOfBand() {
    if (eob_run == 0) return;
    const uint32_t size = Category(eob_run) - 1;
    Symbol(int64_t{size} * 16);
    if (size > 0) Bits(eob_run - (int64_t{1} << size), size);
    eob_run = 0;
    Corrections(&corrections);
  }
  void EndBlock(bool is_open) {
    if (is_open) ++eob_run;
    if (eob_run == 32767 || corrections.size() > 961) EndOfBand();
  }

  void First(const int16_t* block, int32_t first, int32_t last, int32_t shift) {
    int64_t run = 0;
    for (int32_t k = first; k <= last; ++k) {
      const int64_t value = GetValue(block + kZigzag.natural[k]);
      const int64_t magnitude = std::llabs(value) >> shift;
      if (magnitude == 0) {
        ++run;
        continue;
      }
      EndOfBand();
      for (; run > 15; run -= 16) Symbol(0xF0);
      const uint32_t category = Category(magnitude);
      if (category == 16) {
        has_no_symbol = true;
        return;
      }
      Symbol(run * 16 + category);
      Bits(value < 0 ? -magnitude - 1 : magnitude, category);
      run = 0;
    }
    EndBlock(run > 0);
  }

  void Refine(const int16_t* block, int32_t first, int32_t last, int32_t shift) {
    int32_t end = 0;
    const auto magnitude = [&](int32_t k) {
      return std::llabs(GetValue(block + kZigzag.natural[k])) >> shift;
    };
    for (int32_t k = first; k <= last; ++k) {
      if (magnitude(k) == 1) end = k;
    }
    std::vector<uint8_t> own;
    int64_t run = 0;
    for (int32_t k = first; k <= last; ++k) {
      if (magnitude(k) == 0) {
        ++run;
        continue;
      }
      while (run > 15 && k <= end) {
        EndOfBand();
        Symbol(0xF0);
        Corrections(&own);
        run -= 16;
      }
      if (magnitude(k) > 1) {
        own.push_back(magnitude(k) % 2 != 0 ? 1 : 0);
        continue;
      }
      EndOfBand();
      Symbol(run * 16 + 1);
      Bits(GetValue(block + kZigzag.natural[k]) < 0 ? 0 : 1, 1);
      Corrections(&own);
      run = 0;
    }
    const bool is_open = run > 0 || !own.empty();
    corrections.insert(corrections.end(), own.begin(), own.end());
    EndBlock(is_open);
  }

  void StoreTo(zepiEncodeHuffmanState* state) const {
    state->eobRun = static_cast<uint32_t>(eob_run);
    state->numCorrectionBits = static_cast<uint32_t>(corrections.size());
    std::copy(corrections.begin(), corrections.end(), state->correctionBits);
  }
};

zepStatus WriteItems(const std::vector<Item>& items, const zepiEncodeHuffmanSpec* table,
                     Writer* writer) {
  for (const Item& item : items) {
    const zepStatus status = item.is_symbol
                                 ? writer->WriteSymbol(table, static_cast<uint32_t>(item.value))
                                 : writer->Write(item.value, item.count);
    if (status != zepStatusOk) return status;
  }
  return zepStatusOk;
}

zepStatus Flush(const zepiEncodeHuffmanSpec* table, Writer* writer) {
  Scan scan(*writer->state);
  scan.EndOfBand();
  if (!scan.items.empty() && table == nullptr) return zepStatusNullPtr;
  zepStatus status = WriteItems(scan.items, table, writer);
  if (status == zepStatusOk) status = writer->Write(127, 7);
  std::memset(writer->state, 0, 1048);
  return status;
}

zepStatus FlushOnes(Writer* writer) {
  const zepStatus status = writer->Write(127, 7);
  std::memset(writer->state, 0, 1048);
  return status;
}

zepStatus WriteScan(const Scan& scan, const zepiEncodeHuffmanSpec* table, Writer* writer) {
  const zepStatus status = WriteItems(scan.items, table, writer);
  if (status != zepStatusOk) return status;
  if (scan.has_no_symbol) return zepStatusBadHuffTable;
  scan.StoreTo(writer->state);
  return zepStatusOk;
}

// Returns false if a count would overflow; then none has changed.
bool Count(const std::vector<Item>& items, int32_t* statistics) {
  std::vector<int64_t> sums(statistics, statistics + 256);
  for (const Item& item : items) {
    if (item.is_symbol) ++sums[static_cast<size_t>(item.value)];
  }
  if (std::any_of(sums.begin(), sums.end(), [](int64_t sum) { return sum > INT32_MAX; }))
    return false;
  for (size_t i = 0; i < 256; ++i) statistics[i] = static_cast<int32_t>(sums[i]);
  return true;
}

std::vector<Item> DcItem(int64_t difference) { return {{true, Category(difference), 0}}; }

zepStatus CountScan(const Scan& scan, int32_t* statistics, zepiEncodeHuffmanState* state) {
  if (scan.has_no_symbol) return zepStatusBadHuffTable;
  if (!Count(scan.items, statistics)) return zepStatusOutOfRange;
  state->eobRun = static_cast<uint32_t>(scan.eob_run);
  state->numCorrectionBits = static_cast<uint32_t>(scan.corrections.size());
  return zepStatusOk;
}

zepStatus CountFlush(int32_t* statistics, zepiEncodeHuffmanState* state) {
  Scan scan(*state);
  scan.EndOfBand();
  if (!Count(scan.items, statistics)) return zepStatusOutOfRange;
  std::memset(state, 0, 1048);
  return zepStatusOk;
}

}  // namespace

zepStatus zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                     int32_t length, int32_t* position,
                                                     int16_t* last_dc, int32_t shift,
                                                     const zepiEncodeHuffmanSpec* table,
                                                     zepiEncodeHuffmanState* state, int32_t flush) {
  Writer writer = {dst, length, position, state};
  if (flush != 0) return FlushOnes(&writer);
  const int64_t dc = GetValue(src) >> shift;
  const int64_t difference = dc - GetValue(last_dc);
  PutValue(dc, last_dc);
  const uint32_t category = Category(difference);
  const zepStatus status = writer.WriteSymbol(table, category);
  if (status != zepStatusOk || category == 0) return status;
  return writer.Write(difference < 0 ? difference - 1 : difference, category);
}

zepStatus zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                      int32_t length, int32_t* position,
                                                      int32_t shift, zepiEncodeHuffmanState* state,
                                                      int32_t flush) {
  Writer writer = {dst, length, position, state};
  if (flush != 0) return FlushOnes(&writer);
  return writer.Write(GetValue(src) >> shift & 1, 1);
}

zepStatus zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                     int32_t length, int32_t* position,
                                                     int32_t first, int32_t last, int32_t shift,
                                                     const zepiEncodeHuffmanSpec* table,
                                                     zepiEncodeHuffmanState* state, int32_t flush) {
  Writer writer = {dst, length, position, state};
  if (flush != 0) return Flush(table, &writer);
  Scan scan(*state);
  scan.First(src, first, last, shift);
  return WriteScan(scan, table, &writer);
}

zepStatus zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                      int32_t length, int32_t* position,
                                                      int32_t first, int32_t last, int32_t shift,
                                                      const zepiEncodeHuffmanSpec* table,
                                                      zepiEncodeHuffmanState* state,
                                                      int32_t flush) {
  Writer writer = {dst, length, position, state};
  if (flush != 0) return Flush(table, &writer);
  Scan scan(*state);
  scan.Refine(src, first, last, shift);
  return WriteScan(scan, table, &writer);
}

zepStatus zepiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* src, int32_t* dc_statistics,
                                                  int32_t* ac_statistics, int16_t* last_dc) {
  Scan scan{zepiEncodeHuffmanState{}};
  scan.First(src, 1, 63, 0);
  if (scan.has_no_symbol) return zepStatusBadHuffTable;
  scan.EndOfBand();
  std::vector<int32_t> dc(dc_statistics, dc_statistics + 256);
  if (!Count(DcItem(int64_t{GetValue(src)} - GetValue(last_dc)), dc.data()) ||
      !Count(scan.items, ac_statistics)) {
    return zepStatusOutOfRange;
  }
  std::copy(dc.begin(), dc.end(), dc_statistics);
  PutValue(GetValue(src), last_dc);
  return zepStatusOk;
}

zepStatus zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const int16_t* src, int32_t* statistics,
                                                          int16_t* last_dc, int32_t shift) {
  const int64_t dc = GetValue(src) >> shift;
  if (!Count(DcItem(dc - GetValue(last_dc)), statistics)) return zepStatusOutOfRange;
  PutValue(dc, last_dc);
  return zepStatusOk;
}

zepStatus zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const int16_t* src, int32_t* statistics,
                                                          int32_t first, int32_t last,
                                                          int32_t shift,
                                                          zepiEncodeHuffmanState* state,
                                                          int32_t flush) {
  if (flush != 0) return CountFlush(statistics, state);
  Scan scan(*state);
  scan.First(src, first, last, shift);
  return CountScan(scan, statistics, state);
}

zepStatus zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const int16_t* src, int32_t* statistics,
                                                           int32_t first, int32_t last,
                                                           int32_t shift,
                                                           zepiEncodeHuffmanState* state,
                                                           int32_t flush) {
  if (flush != 0) return CountFlush(statistics, state);
  Scan scan(*state);
  scan.Refine(src, first, last, shift);
  return CountScan(scan, statistics, state);
}

zepStatus zepiGetHuffmanStatisticsOne_JPEG_16s_C1(const int16_t* src, int32_t* statistics) {
  return Count(DcItem(GetValue(src)), statistics) ? zepStatusOk : zepStatusOutOfRange;
}

}  // namespace reference
