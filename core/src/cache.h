// SPDX-License-Identifier: MIT
// From the words in which an x86 processor describes its caches to their size.
#ifndef ZEPJP_CORE_SRC_CACHE_H_
#define ZEPJP_CORE_SRC_CACHE_H_

#include <cstdint>

namespace zepcore {

// One cache as cpuid's deterministic cache leaf (4, or 0x8000001D) describes it.
struct CacheWords {
  uint32_t eax, ebx, ecx;
};

// Whether this is a description of a cache at all: the list ends with one that is not.
bool IsCache(const CacheWords& words);

// Its size in bytes; 0 for one that holds no data (instruction caches).
uint64_t DataCacheSize(const CacheWords& words);

// What to answer for a largest cache of this many bytes, 0 standing for "not known".
int32_t ReportedCacheSize(uint64_t largest);

}  // namespace zepcore

#endif  // ZEPJP_CORE_SRC_CACHE_H_
