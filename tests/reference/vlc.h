// SPDX-License-Identifier: MIT
// The adaptive coding of JPEG XR coefficients, bit by bit. Functions have the names and arguments
// of the exports, but check nothing.
//
// A state is 445 words of 32 bits:
//   0                          the number of the current scan
//   1 + 12 t + field           table t, 0 to 20: alphabet, index, initialized, upper, lower,
//                              delta1, delta2, then 1 + the number of the code table, of two
//                              difference tables (0: none), of the code table again, and 0. Code
//                              tables are numbered through the alphabets 4, 5, 6, 7, 8, 9, 12;
//                              difference tables alike.
//   253 + 64 s + 4 k + field   entry k of scan s: total, index, x, y
#ifndef ZEPJP_TESTS_REFERENCE_VLC_H_
#define ZEPJP_TESTS_REFERENCE_VLC_H_

#include <cstdint>
#include <string>
#include <vector>

#include "zepjp.h"

namespace reference {

// The codes of a table of an alphabet, symbol by symbol, first bit first.
const std::vector<std::string>& VlcCodes(uint32_t alphabet, uint32_t table);
uint32_t NumVlcTables(uint32_t alphabet);

// Positions of words in a state.
constexpr uint32_t kVlcTableWords = 12, kVlcIndex = 1, kVlcDelta1 = 5, kVlcDelta2 = 6;
inline uint32_t VlcWord(uint32_t table, uint32_t field) {
  return 1 + kVlcTableWords * table + field;
}
inline uint32_t VlcScanWord(uint32_t scan, uint32_t position, uint32_t field) {
  return 253 + 64 * scan + 4 * position + field;
}
uint32_t GetWord(const zepiVLCState* state, uint32_t word);
void SetWord(zepiVLCState* state, uint32_t word, uint32_t value);
// Sets table `table` to the code table `index` of its alphabet, and its counters to 0.
void ForceVlcTable(zepiVLCState* state, uint32_t table, uint32_t index);

zepStatus zepiVLCInit_JPEGXR(zepiVLCState* state);
zepStatus zepiVLCAdapt_JPEGXR(zepiVLCState* state, uint32_t group);
zepStatus zepiVLCScanReset_JPEGXR(zepiVLCState* state, uint32_t scan);
zepStatus zepiVLCScanSet_JPEGXR(zepiVLCState* state, uint32_t scan);

zepStatus zepiVLCScan4x4DC_JPEGXR_32s(const int32_t* src, uint32_t model_bits, zepiVLCState* state,
                                      int32_t* run_level, uint32_t* pair_count, int32_t* packed);
zepStatus zepiVLCEncodeDC420_JPEGXR_32s1u(const int32_t* run_level, uint32_t count, uint8_t** dst,
                                          uint32_t* acc, uint32_t* bit_count, zepiVLCState* state);
zepStatus zepiVLCEncodeDC422_JPEGXR_32s1u(const int32_t* run_level, uint32_t count, uint8_t** dst,
                                          uint32_t* acc, uint32_t* bit_count, zepiVLCState* state);
zepStatus zepiVLCEncodeDC444_JPEGXR_32s1u(const int32_t* run_level, uint32_t count,
                                          uint32_t channel, uint8_t** dst, uint32_t* acc,
                                          uint32_t* bit_count, zepiVLCState* state);
zepStatus zepiVLCDecodeDC420_JPEGXR_1u32s(const uint8_t** src, uint32_t* acc, uint32_t* bit_count,
                                          zepiVLCState* state, int32_t* dst);
zepStatus zepiVLCDecodeDC422_JPEGXR_1u32s(const uint8_t** src, uint32_t* acc, uint32_t* bit_count,
                                          zepiVLCState* state, int32_t* dst);
zepStatus zepiVLCDecodeDC444_JPEGXR_1u32s(const uint8_t** src, uint32_t* acc, uint32_t* bit_count,
                                          zepiVLCState* state, int32_t* dst);

zepStatus zepiVLCEncode4x4_JPEGXR_16s1u_C1R(const int16_t* src, uint32_t step, uint32_t channel,
                                            uint32_t model_bits, uint8_t** dst, uint32_t* acc,
                                            uint32_t* bit_count, zepiVLCState* state,
                                            zepiVLCContext* context);
zepStatus zepiVLCEncode4x4_JPEGXR_32s1u_C1R(const int32_t* src, uint32_t step, uint32_t channel,
                                            uint32_t model_bits, uint8_t** dst, uint32_t* acc,
                                            uint32_t* bit_count, zepiVLCState* state,
                                            zepiVLCContext* context);
zepStatus zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R(const int16_t* src, uint32_t step, uint32_t channel,
                                                uint32_t model_bits, uint32_t trim_bits,
                                                uint8_t** dst, uint32_t* acc, uint32_t* bit_count,
                                                zepiVLCState* state, int32_t* flex,
                                                zepiVLCContext* context);
zepStatus zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(const int32_t* src, uint32_t step, uint32_t channel,
                                                uint32_t model_bits, uint32_t trim_bits,
                                                uint8_t** dst, uint32_t* acc, uint32_t* bit_count,
                                                zepiVLCState* state, int32_t* flex,
                                                zepiVLCContext* context);
zepStatus zepiVLCDecode4x4_JPEGXR_1u16s_C1R(const uint8_t** src, uint32_t* acc, uint32_t* bit_count,
                                            uint32_t model_bits, zepiVLCState* state, uint32_t step,
                                            uint32_t channel, int16_t* dst,
                                            zepiVLCContext* context);
zepStatus zepiVLCDecode4x4_JPEGXR_1u32s_C1R(const uint8_t** src, uint32_t* acc, uint32_t* bit_count,
                                            uint32_t model_bits, zepiVLCState* state, uint32_t step,
                                            uint32_t channel, int32_t* dst,
                                            zepiVLCContext* context);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_VLC_H_
