// SPDX-License-Identifier: MIT
// Makes the system refuse threads, by a pthread_create() that replaces the system's.
#ifndef ZEPJP_TESTS_CODECS_SUPPORT_REFUSED_THREADS_H_
#define ZEPJP_TESTS_CODECS_SUPPORT_REFUSED_THREADS_H_

namespace refused_threads {

// False under sanitizers, which replace that function themselves.
bool CanRefuse();

// During its lifetime, only `allowed` more threads can be started.
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
