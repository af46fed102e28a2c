// SPDX-License-Identifier: MIT
#include "tests/codecs/support/refused_threads.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <climits>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#  define ZEPJP_TESTS_CAN_REFUSE 0
#elif defined(__has_feature)
#  if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#    define ZEPJP_TESTS_CAN_REFUSE 0
#  endif
#endif
#ifndef ZEPJP_TESTS_CAN_REFUSE
#  define ZEPJP_TESTS_CAN_REFUSE 1
#endif

namespace refused_threads {
namespace {

std::atomic<int> allowed_more{INT_MAX};
std::atomic<int> started{0};

}  // namespace

bool CanRefuse() { return ZEPJP_TESTS_CAN_REFUSE != 0; }

After::After(int allowed) {
  started = 0;
  allowed_more = allowed;
}
After::~After() { allowed_more = INT_MAX; }

int Started() { return started; }

}  // namespace refused_threads

#if ZEPJP_TESTS_CAN_REFUSE
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*work)(void*), void* argument) noexcept {
  using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  if (refused_threads::allowed_more-- <= 0) return EAGAIN;
  ++refused_threads::started;
  return create(thread, attributes, work, argument);
}
#endif
