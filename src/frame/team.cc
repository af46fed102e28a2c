// SPDX-License-Identifier: MIT
// OpenMP runtimes end the program when the system refuses them a thread or memory, and hang in a
// child of fork(), whose threads are gone while the runtime still counts on them. So a team that
// this thread has not had yet is tried out with plain threads first, whose failure is harmless:
// all of them are held until the last one has started, then let go, and what could be started is
// what the runtime is asked for. Their stacks are made here, for glibc keeps its own for later
// threads, and a runtime that wants another size could not have them. This costs some ten
// microseconds a thread, once for each calling thread and team size.
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

// A thread of the trial: it waits for the gate and ends.
struct Trial {
  pthread_t thread;
  pthread_mutex_t* gate;
  void* room;
  long id;
};

#ifdef __linux__
long ThreadId() { return syscall(SYS_gettid); }

// A thread that was joined counts against the system's limits for another moment. The bound is for
// a system that gives the same number to a new thread at once.
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

// The addresses that one thread takes: its stack, a little larger than usual as runtimes choose it,
// and the heap that glibc reserves where a thread allocates: 64 MiB, which it cuts out of 128.
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

// The size of a team that can be started here: `wanted` if that many threads can live at once and
// leave some memory for the runtime's own records, else one less than can.
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

// What this thread asked for last, and got. The initial-exec model never allocates.
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
