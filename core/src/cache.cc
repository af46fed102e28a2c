// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdint>

#include "cpu_features.h"
#include "zepcore.h"

#if defined(__x86_64__) || defined(__i386__)
#  include <cpuid.h>
#else
#  include <unistd.h>
#endif

namespace {

#if defined(__x86_64__) || defined(__i386__)
// The largest in the list of caches that a cpuid leaf gives, 0 where it gives none.
uint64_t LargestCache(unsigned leaf) {
  uint64_t largest = 0;
  for (unsigned i = 0; i < 16; ++i) {
    unsigned eax, ebx, ecx, edx;
    if (__get_cpuid_count(leaf, i, &eax, &ebx, &ecx, &edx) == 0) break;
    const zepcore::CacheWords words = {eax, ebx, ecx};
    if (!zepcore::IsCache(words)) break;
    largest = std::max(largest, zepcore::DataCacheSize(words));
  }
  return largest;
}

uint64_t LargestCache() { return std::max(LargestCache(4), LargestCache(0x8000001D)); }
#else
uint64_t LargestCache() {
  long largest = 0;
#  ifdef _SC_LEVEL3_CACHE_SIZE
  for (const int name : {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE}) {
    largest = std::max(largest, sysconf(name));
  }
#  endif
  return static_cast<uint64_t>(largest);
}
#endif

}  // namespace

int32_t zepGetMaxCacheSizeB(void) {
  constexpr int32_t kUnknown = 1 << 20;
  const uint64_t largest = LargestCache();
  if (largest == 0) return kUnknown;
  return static_cast<int32_t>(std::min<uint64_t>(largest, INT32_MAX));
}
