// SPDX-License-Identifier: MIT
#include "cpu_features.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zepcore.h"

namespace {

using zepcore::FeatureWords;

constexpr uint64_t kSse4 = ZEPCORE_CPU_SSE4;
constexpr uint64_t kUpToAvx2 = ZEPCORE_CPU_SSE4 | ZEPCORE_CPU_AVX2;
constexpr uint64_t kUpToAvx512 = kUpToAvx2 | ZEPCORE_CPU_AVX512;

// One CPUID bit that a processor with AVX-512 has, and the feature mask without that bit.
struct NeededBit {
  const char* name;
  char word;  // '1': leaf 1 ECX, 'b' and 'c': leaf 7 EBX and ECX, 'e': 0x80000001 ECX, 'x': XCR0
  int position;
  uint64_t mask_without;
};

const std::vector<NeededBit>& NeededBits() {
  static const std::vector<NeededBit> bits = {
      {"PCLMULQDQ", '1', 1, 0},
      {"SSE4.1", '1', 19, 0},
      {"SSE4.2", '1', 20, 0},
      {"POPCNT", '1', 23, 0},
      {"AES", '1', 25, 0},
      {"FMA", '1', 12, kSse4},
      {"OSXSAVE", '1', 27, kSse4},
      {"AVX", '1', 28, kSse4},
      {"F16C", '1', 29, kSse4},
      {"BMI1", 'b', 3, kSse4},
      {"AVX2", 'b', 5, kSse4},
      {"BMI2", 'b', 8, kSse4},
      {"LZCNT", 'e', 5, kSse4},
      {"XMM saved", 'x', 1, kSse4},
      {"YMM saved", 'x', 2, kSse4},
      {"AVX512F", 'b', 16, kUpToAvx2},
      {"AVX512DQ", 'b', 17, kUpToAvx2},
      {"AVX512CD", 'b', 28, kUpToAvx2},
      {"AVX512BW", 'b', 30, kUpToAvx2},
      {"AVX512VL", 'b', 31, kUpToAvx2},
      {"AVX512VBMI", 'c', 1, kUpToAvx2},
      {"AVX512VBMI2", 'c', 6, kUpToAvx2},
      {"VAES", 'c', 9, kUpToAvx2},
      {"VPCLMULQDQ", 'c', 10, kUpToAvx2},
      {"AVX512VNNI", 'c', 11, kUpToAvx2},
      {"AVX512BITALG", 'c', 12, kUpToAvx2},
      {"AVX512VPOPCNTDQ", 'c', 14, kUpToAvx2},
      {"opmask saved", 'x', 5, kUpToAvx2},
      {"ZMM0..15 saved", 'x', 6, kUpToAvx2},
      {"ZMM16..31 saved", 'x', 7, kUpToAvx2},
  };
  return bits;
}

void Flip(const NeededBit& bit, FeatureWords* words) {
  const uint32_t flag = 1U << bit.position;
  switch (bit.word) {
    case '1': words->leaf1_ecx ^= flag; break;
    case 'b': words->leaf7_ebx ^= flag; break;
    case 'c': words->leaf7_ecx ^= flag; break;
    case 'e': words->extended1_ecx ^= flag; break;
    default: words->xcr0 ^= flag;
  }
}

// CPUID words with exactly the needed bits.
FeatureWords LeastWords() {
  FeatureWords words = {};
  for (const NeededBit& bit : NeededBits()) Flip(bit, &words);
  return words;
}

constexpr FeatureWords kAllOnes = {UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT64_MAX};

TEST(MaskOf, LeastWordsGiveEverything) {
  EXPECT_EQ(zepcore::MaskOf(LeastWords(), true), kUpToAvx512);
}

TEST(MaskOf, AllOnesGiveNoVariantAndNoReservedBit) {
  EXPECT_EQ(zepcore::MaskOf(kAllOnes, true), kUpToAvx512);
}

TEST(MaskOf, NothingGivesNothing) {
  EXPECT_EQ(zepcore::MaskOf(FeatureWords{}, true), 0U);
  EXPECT_EQ(zepcore::MaskOf(FeatureWords{}, false), 0U);
}

TEST(MaskOf, EachNeededBitIsNeeded) {
  for (const NeededBit& bit : NeededBits()) {
    for (FeatureWords words : {LeastWords(), kAllOnes}) {
      Flip(bit, &words);
      EXPECT_EQ(zepcore::MaskOf(words, true), bit.mask_without) << "without " << bit.name;
    }
  }
}

TEST(MaskOf, NoOtherBitOfAWordMatters) {
  for (const char word : {'1', 'b', 'c', 'e', 'x'}) {
    for (int position = 0; position < 32; ++position) {
      const NeededBit other = {"", word, position, 0};
      bool needed = false;
      for (const NeededBit& bit : NeededBits()) {
        needed = needed || (bit.word == word && bit.position == position);
      }
      if (needed) continue;
      FeatureWords words = LeastWords();
      Flip(other, &words);
      EXPECT_EQ(zepcore::MaskOf(words, true), kUpToAvx512) << word << position;
    }
  }
}

TEST(MaskOf, ThirtyTwoBitProgramsHaveSse4AtMost) {
  EXPECT_EQ(zepcore::MaskOf(LeastWords(), false), kSse4);
  for (const NeededBit& bit : NeededBits()) {
    FeatureWords words = LeastWords();
    Flip(bit, &words);
    EXPECT_EQ(zepcore::MaskOf(words, false), bit.mask_without & kSse4) << "without " << bit.name;
  }
}

TEST(MaskOf, SystemThatSavesOnlyXmm) {
  FeatureWords words = LeastWords();
  words.xcr0 = 3;
  EXPECT_EQ(zepcore::MaskOf(words, true), kSse4);
}

TEST(MaskOf, SystemThatSavesNoZmm) {
  FeatureWords words = LeastWords();
  words.xcr0 = 7;
  EXPECT_EQ(zepcore::MaskOf(words, true), kUpToAvx2);
}

TEST(MaskOf, ProcessorWithoutLeaf7) {
  FeatureWords words = LeastWords();
  words.leaf7_ebx = 0;
  words.leaf7_ecx = 0;
  EXPECT_EQ(zepcore::MaskOf(words, true), kSse4);
}

TEST(MaskOf, ProcessorWithoutExtendedLeaf) {
  FeatureWords words = LeastWords();
  words.extended1_ecx = 0;
  EXPECT_EQ(zepcore::MaskOf(words, true), kSse4);
}

TEST(MaskOf, Avx512OfTheFirstGeneration) {
  FeatureWords words = LeastWords();
  words.leaf7_ecx = 0;
  EXPECT_EQ(zepcore::MaskOf(words, true), kUpToAvx2);
}

struct Setting {
  const char* text;
  uint64_t value;
};

TEST(Narrowed, NumbersClearBitsAndSetTheVariant) {
  const std::vector<Setting> settings = {
      {"0", 0},
      {"00", 0},
      {"0x0", 0},
      {"256", 0x100},
      {"0256", 256},
      {"0x100", 0x100},
      {"0X300", 0x300},
      {"0x0000000000000000000000700", 0x700},
      {"1792", 0x700},
      {"48", 0x30},
      {"0x10", 0x10},
      {"0x20", 0x20},
      {"0x731", 0x731},
      {"0xabcdef", 0xABCDEF},
      {"0xABCDEF", 0xABCDEF},
      {"18446744073709551615", UINT64_MAX},
      {"0xffffffffffffffff", UINT64_MAX},
  };
  for (const Setting& setting : settings) {
    for (const uint64_t detected : {uint64_t{0}, kSse4, kUpToAvx2, kUpToAvx512, kSse4 | 0x10}) {
      EXPECT_EQ(zepcore::Narrowed(detected, setting.text),
                (detected & setting.value) | (setting.value & 0x30))
          << setting.text << " with " << detected;
    }
  }
}

TEST(Narrowed, AnythingElseIsIgnored) {
  for (const char* text : {"",
                           " ",
                           "x",
                           "0x",
                           "0X",
                           "avx2",
                           "-1",
                           "+1",
                           " 1",
                           "1 ",
                           "0x 1",
                           "0x-1",
                           "12a",
                           "0x1g",
                           "1e3",
                           "0x0x1",
                           "x100",
                           "0b11",
                           "18446744073709551616",
                           "99999999999999999999",
                           "0x10000000000000000",
                           "256,512"}) {
    EXPECT_EQ(zepcore::Narrowed(kUpToAvx512, text), kUpToAvx512) << '"' << text << '"';
    EXPECT_EQ(zepcore::Narrowed(0, text), 0U) << '"' << text << '"';
  }
  EXPECT_EQ(zepcore::Narrowed(kUpToAvx512, nullptr), kUpToAvx512);
}

}  // namespace
