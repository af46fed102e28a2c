// SPDX-License-Identifier: MIT
// Finds a team size that the OpenMP runtime can start.
//
// OpenMP runtimes abort the program when the system refuses them a thread or memory. They also hang
// in a child of fork(): its threads are gone, but the runtime still waits for them. A library must
// not do either.
//
// So before this thread uses a new team size, it starts that number of plain POSIX threads, whose
// failure is harmless. All of them wait at a gate until the last one has started; then they end,
// and the runtime is asked for no more threads than could run at the same time. This takes some ten
// microseconds per thread, once for each calling thread and team size.
//
// The trial threads run on stacks that are mapped here and unmapped afterwards. Stacks that glibc
// allocates would stay in its cache, and a runtime that wants another stack size could not use that
// memory.
#include "frame/team.h"

#include <omp.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "simd/startup.h"

#ifdef __linux__
#  include <sys/syscall.h>
#  include <unistd.h>
#endif

namespace zepjp {
namespace {

std::atomic<bool> is_forked_child{false};

ZEP_AT_LOAD void NoteForks() {
  pthread_atfork(nullptr, nullptr, [] { is_forked_child.store(true, std::memory_order_relaxed); });
}

constexpr int32_t kMaxTeam = 1024;

// A trial thread: it waits at the gate and ends.
struct Trial {
  pthread_t thread;
  pthread_mutex_t* gate;
  void* room;
  long id;
};

#ifdef __linux__
long ThreadId() { return syscall(SYS_gettid); }

// A joined thread still counts against the system's limits for a moment. The loop is bounded in
// case the system gives the same number to a new thread at once.
void WaitUntilGone(const Trial& trial) {
  constexpr int kMaxYields = 100000;
  for (int i = 0; i < kMaxYields && syscall(SYS_tgkill, getpid(), trial.id, 0) == 0; ++i) {
    sched_yield();
  }
}
#else
long ThreadId() { return 0; }
void WaitUntilGone(const Trial&) {}
#endif

void* WaitAtGate(void* argument) {
  auto* const trial = static_cast<Trial*>(argument);
  trial->id = ThreadId();
  pthread_mutex_lock(trial->gate);
  pthread_mutex_unlock(trial->gate);
  return nullptr;
}

// The address space that one thread needs: its stack, a little above the default because runtimes
// choose larger ones, and the heap that glibc reserves when a thread allocates (128 MiB; it
// keeps an aligned 64 MiB and frees the rest).
struct Room {
  size_t stack;
  size_t whole;
};

Room RoomOfThread() {
  constexpr size_t kUsualStack = size_t{8} << 20;
  constexpr size_t kExtraStack = size_t{256} << 10;
  constexpr size_t kHeap = size_t{sizeof(void*) == 8 ? 128 : 2} << 20;
  size_t stack = kUsualStack;
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) == 0) {
    pthread_attr_getstacksize(&attributes, &stack);
    pthread_attr_destroy(&attributes);
  }
  stack += kExtraStack;
  return {stack, stack + kHeap};
}

bool Start(Trial& trial, pthread_mutex_t* gate, const Room& room) {
  trial.gate = gate;
  trial.room =
      mmap(nullptr, room.whole, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (trial.room == MAP_FAILED) return false;
  pthread_attr_t attributes;
  bool is_started = pthread_attr_init(&attributes) == 0;
  if (is_started) {
    is_started = mprotect(trial.room, room.stack, PROT_READ | PROT_WRITE) == 0 &&
                 pthread_attr_setstack(&attributes, trial.room, room.stack) == 0 &&
                 pthread_create(&trial.thread, &attributes, WaitAtGate, &trial) == 0;
    pthread_attr_destroy(&attributes);
  }
  if (!is_started) munmap(trial.room, room.whole);
  return is_started;
}

// The size of a team that can be started here: `wanted` if wanted - 1 threads can run beside this
// one and leave some memory for the runtime's own records, else the number that could be started.
int32_t TryTeam(int32_t wanted) {
  constexpr size_t kRecordsOfRuntime = size_t{1} << 20;
  auto* const trials =
      static_cast<Trial*>(std::malloc(sizeof(Trial) * static_cast<size_t>(wanted - 1)));
  if (trials == nullptr) return 1;
  pthread_mutex_t gate = PTHREAD_MUTEX_INITIALIZER;
  pthread_mutex_lock(&gate);
  const Room room = RoomOfThread();
  int32_t started = 0;
  while (started < wanted - 1 && Start(trials[started], &gate, room)) ++started;
  void* const records = std::malloc(kRecordsOfRuntime);
  const bool is_enough = records != nullptr && started == wanted - 1;
  std::free(records);
  pthread_mutex_unlock(&gate);
  for (int32_t i = 0; i < started; ++i) pthread_join(trials[i].thread, nullptr);
  for (int32_t i = 0; i < started; ++i) {
    WaitUntilGone(trials[i]);
    munmap(trials[i].room, room.whole);
  }
  std::free(trials);
  return is_enough ? wanted : std::max(started, 1);
}

// The last team size that this thread asked for, and the one it got. The initial-exec model never
// allocates.
struct Team {
  int32_t wanted;
  int32_t size;
};
__attribute__((tls_model("initial-exec"))) thread_local Team last_team = {1, 1};

}  // namespace

int32_t TeamSize(int32_t wanted) {
  if (is_forked_child.load(std::memory_order_relaxed)) return 1;
  if (wanted <= 1 || omp_get_active_level() >= omp_get_max_active_levels()) return 1;
  wanted = std::min({wanted, kMaxTeam, static_cast<int32_t>(omp_get_thread_limit())});
  if (wanted != last_team.wanted) last_team = {wanted, TryTeam(wanted)};
  return last_team.size;
}

}  // namespace zepjp
