/* SPDX-License-Identifier: MIT */
/* Calls every function before the program's constructors and, if the C library allows it, before
 * those of the shared libraries; and again from main(). */
#include <stdio.h>
#include <string.h>

#include "zepcore.h"

struct Findings {
  int calls;
  int bad_memory;
  uint64_t mask;
  int32_t cache_size, default_threads, set_threads, restored_threads;
};

static int MemoryIsBad(void) {
  unsigned char* const block = (unsigned char*)zepMalloc(100);
  int bad = block == NULL || (uintptr_t)block % 64 != 0 || zepMalloc(0) != NULL;
  if (block != NULL) memset(block, 0xA5, 100);
  zepFree(block);
  zepFree(NULL);
  return bad;
}

static void CallAll(struct Findings* findings) {
  findings->calls++;
  findings->bad_memory = MemoryIsBad();
  findings->mask = zepGetEnabledCpuFeatures();
  findings->cache_size = zepGetMaxCacheSizeB();
  findings->default_threads = ownGetNumThreads();
  zepSetNumThreads(6);
  findings->set_threads = ownGetNumThreads();
  zepSetNumThreads(0);
  findings->restored_threads = ownGetNumThreads();
}

static struct Findings in_constructor;

__attribute__((constructor(101))) static void BeforeOtherConstructors(void) {
  CallAll(&in_constructor);
}

/* Sanitizers are not initialized yet at that time. */
#if defined(__has_feature)
#  if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
      __has_feature(memory_sanitizer)
#    define SANITIZED 1
#  endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#  define SANITIZED 1
#endif

#if defined(__GLIBC__) && !defined(SANITIZED)
#  define HAS_PREINIT 1
static struct Findings in_preinit;

static void BeforeSharedLibraries(void) { CallAll(&in_preinit); }

__attribute__((section(".preinit_array"),
               used)) static void (*const preinit)(void) = BeforeSharedLibraries;
#endif

static int Check(const char* when, const struct Findings* early, const struct Findings* late) {
  const int good = early->calls == 1 && !early->bad_memory && early->mask == late->mask &&
                   early->cache_size == late->cache_size && early->default_threads >= 1 &&
                   early->set_threads == 6 && early->restored_threads == early->default_threads;
  if (!good) {
    printf("%s: calls %d, bad memory %d, mask 0x%lx, cache %d, threads %d %d %d\n", when,
           early->calls, early->bad_memory, (unsigned long)early->mask, (int)early->cache_size,
           (int)early->default_threads, (int)early->set_threads, (int)early->restored_threads);
  }
  return good;
}

int main(void) {
  struct Findings late = {0, 0, 0, 0, 0, 0, 0};
  int good;
  CallAll(&late);
  good = Check("main", &late, &late);
  good = Check("constructor", &in_constructor, &late) && good;
#ifdef HAS_PREINIT
  good = Check("preinit", &in_preinit, &late) && good;
#endif
  return good ? 0 : 1;
}
