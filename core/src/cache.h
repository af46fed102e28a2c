// SPDX-License-Identifier: MIT
// Cache sizes from the cpuid words in which an x86 processor describes its caches.
#ifndef ZEPJP_CORE_SRC_CACHE_H_
#define ZEPJP_CORE_SRC_CACHE_H_

#include <cstdint>

namespace zepcore {

// One cache as cpuid's deterministic cache leaf (4, or 0x8000001D) describes it.
struct CacheWords {
  uint32_t eax, ebx, ecx;
};

// Whether the words describe a cache. The list ends with words that do not.
bool IsCache(const CacheWords& words);

// The size in bytes; 0 for an instruction cache.
uint64_t DataCacheSize(const CacheWords& words);

// The reported size for a largest cache of `largest` bytes; 0 means that the size is unknown.
int32_t ReportedCacheSize(uint64_t largest);

}  // namespace zepcore

#endif  // ZEPJP_CORE_SRC_CACHE_H_
