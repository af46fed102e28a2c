// SPDX-License-Identifier: MIT
// Makes the system refuse threads: stands in front of pthread_create().
#ifndef ZEPJP_TESTS_CODECS_SUPPORT_REFUSED_THREADS_H_
#define ZEPJP_TESTS_CODECS_SUPPORT_REFUSED_THREADS_H_

namespace refused_threads {

// Not where a sanitizer has its own function in that place.
bool CanRefuse();

// While it lives, only so many more threads can be started.
class After {
 public:
  explicit After(int allowed);
  ~After();
  After(const After&) = delete;
  After& operator=(const After&) = delete;
};

// Threads that were started since the last After().
int Started();

}  // namespace refused_threads

#endif  // ZEPJP_TESTS_CODECS_SUPPORT_REFUSED_THREADS_H_
