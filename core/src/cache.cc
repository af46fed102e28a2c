// SPDX-License-Identifier: MIT
#include "cache.h"

#include <algorithm>
#include <cstdint>

#include "zepcore.h"

#if defined(__x86_64__) || defined(__i386__)
#  include <cpuid.h>
#endif
#if __has_include(<unistd.h>)
#  include <unistd.h>
#endif

namespace zepcore {
namespace {

// EAX, bits 0..4, is the type: 0 none, 1 data, 2 instruction, 3 unified.
constexpr uint32_t kTypeMask = 31;

#if defined(__x86_64__) || defined(__i386__)
// The size of the largest cache that a cpuid leaf lists, or 0. Processors list only a few; the
// bound is for one whose list never ends.
uint64_t LargestInLeaf(unsigned leaf) {
  constexpr unsigned kMaxCaches = 16;
  const auto last = static_cast<unsigned>(__get_cpuid_max(leaf & 0x80000000U, nullptr));
  if (last < leaf) return 0;
  uint64_t largest = 0;
  for (unsigned i = 0; i < kMaxCaches; ++i) {
    unsigned eax, ebx, ecx, edx;
    __cpuid_count(leaf, i, eax, ebx, ecx, edx);
    const CacheWords words = {eax, ebx, ecx};
    if (!IsCache(words)) break;
    largest = std::max(largest, DataCacheSize(words));
  }
  return largest;
}

// Intel lists caches in leaf 4, AMD in leaf 0x8000001D with the same layout and leaves leaf 4
// empty.
uint64_t LargestByProcessor() {
  const uint64_t largest = LargestInLeaf(4);
  return largest != 0 ? largest : LargestInLeaf(0x8000001DU);
}
#else
uint64_t LargestByProcessor() { return 0; }
#endif

uint64_t LargestBySystem() {
  long largest = 0;
#ifdef _SC_LEVEL4_CACHE_SIZE
  for (const int name : {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE,
                         _SC_LEVEL4_CACHE_SIZE}) {
    largest = std::max(largest, sysconf(name));
  }
#endif
  return static_cast<uint64_t>(largest);
}

}  // namespace

bool IsCache(const CacheWords& words) { return (words.eax & kTypeMask) != 0; }

// EBX holds the line size, partitions and ways in 12, 10 and 10 bits, ECX the number of sets, each
// minus 1.
uint64_t DataCacheSize(const CacheWords& words) {
  const uint32_t type = words.eax & kTypeMask;
  if (type != 1 && type != 3) return 0;
  const uint64_t line = (words.ebx & 0xFFFU) + 1;
  const uint64_t partitions = ((words.ebx >> 12) & 0x3FFU) + 1;
  const uint64_t ways = (words.ebx >> 22) + 1;
  const uint64_t sets = uint64_t{words.ecx} + 1;
  const uint64_t in_one_set = line * partitions * ways;  // at most 2^32
  return sets > UINT64_MAX / in_one_set ? UINT64_MAX : in_one_set * sets;
}

int32_t ReportedCacheSize(uint64_t largest) {
  constexpr int32_t kUnknown = 1 << 20;
  if (largest == 0) return kUnknown;
  return static_cast<int32_t>(std::min<uint64_t>(largest, INT32_MAX));
}

}  // namespace zepcore

int32_t zepGetMaxCacheSizeB(void) {
  const uint64_t largest = zepcore::LargestByProcessor();
  return zepcore::ReportedCacheSize(largest != 0 ? largest : zepcore::LargestBySystem());
}
