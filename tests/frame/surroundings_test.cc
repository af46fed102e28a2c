// SPDX-License-Identifier: MIT
// Row-parallel calls when threads or memory are short, in a child of fork(), and inside a parallel
// region of the caller.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "zepcore.h"
#include "zepjp.h"

namespace {

constexpr zepiSize kSize = {700, 300};

// Returns whether a large region is converted correctly.
bool ConvertsRightly() {
  std::vector<uint8_t> rgb(size_t{3} * kSize.width * kSize.height);
  std::vector<uint8_t> grey(size_t{1} * kSize.width * kSize.height, 1);
  for (size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<uint8_t>(i / 3 * 7);
  if (zepiRGBToY_JPEG_8u_C3C1R(rgb.data(), 3 * kSize.width, grey.data(), kSize.width, kSize) !=
      zepStatusOk) {
    return false;
  }
  for (size_t i = 0; i < grey.size(); ++i) {
    if (grey[i] != rgb[3 * i]) return false;  // equal channels are their own luminance
  }
  return true;
}

// How many threads may exist besides the main one. The replaced system function enforces it.
std::atomic<int> most_threads{1 << 30};
std::atomic<int> live_threads{0};
std::atomic<int> refused_threads{0};

struct Start {
  void* (*routine)(void*);
  void* argument;
};

void* RunCounted(void* opaque) {
  const Start start = *static_cast<Start*>(opaque);
  delete static_cast<Start*>(opaque);
  void* const result = start.routine(start.argument);
  --live_threads;
  return result;
}

}  // namespace

// Replaces the system's function for the OpenMP runtime and the library.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*routine)(void*), void* argument) noexcept {
  using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  if (++live_threads > most_threads) {
    --live_threads;
    ++refused_threads;
    return EAGAIN;
  }
  auto* const start = new Start{routine, argument};
  const int error = create(thread, attributes, RunCounted, start);
  if (error != 0) {
    delete start;
    --live_threads;
  }
  return error;
}

namespace {

class Surroundings : public testing::Test {
 protected:
  Surroundings() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
  ~Surroundings() override {
    most_threads = 1 << 30;
    zepSetNumThreads(0);
  }
};

TEST_F(Surroundings, FewerThreadsDoTheWorkWhereSomeAreRefused) {
  for (int most = 0; most <= 9; ++most) {
    for (const int wanted : {2, 3, 8}) {
      // A team belongs to the thread that asked for it: a new thread has none yet.
      bool is_right = false;
      std::thread caller([&] {
        zepSetNumThreads(wanted);
        refused_threads = 0;
        most_threads = live_threads + most;
        is_right = ConvertsRightly() && ConvertsRightly();
        most_threads = 1 << 30;
      });
      caller.join();
      EXPECT_TRUE(is_right) << most << " threads of " << wanted;
      EXPECT_EQ(refused_threads > 0, ZEPJP_HAS_OPENMP && most < wanted - 1);
    }
  }
}

// Sets the limit, converts a region and ends the program, with 0 if the result is right.
[[noreturn]] void ConvertUnder(__rlimit_resource resource, rlim_t most, int threads) {
  const rlimit limit = {most, most};
  bool is_right = setrlimit(resource, &limit) == 0;
  // The limit on threads does not apply to root, and counts everything that its user runs.
  if (resource == RLIMIT_NPROC) is_right = is_right && setuid(54321) == 0;
  zepSetNumThreads(threads);
  is_right = is_right && ConvertsRightly() && ConvertsRightly();
  std::_Exit(is_right ? 0 : 1);
}

rlim_t AddressSpaceInUse() {
  long pages = 0;
  std::FILE* const status = std::fopen("/proc/self/statm", "r");
  if (status == nullptr || std::fscanf(status, "%ld", &pages) != 1) std::abort();
  std::fclose(status);
  return static_cast<rlim_t>(pages * sysconf(_SC_PAGESIZE));
}

TEST_F(Surroundings, TheUsersLimitOfThreads) {
  if (getuid() != 0) GTEST_SKIP() << "only root can change to a user without other threads";
  for (rlim_t most = 1; most <= 9; ++most) {
    EXPECT_EXIT(ConvertUnder(RLIMIT_NPROC, most, 6), testing::ExitedWithCode(0), "") << most;
  }
}

TEST_F(Surroundings, LittleMemory) {
  for (unsigned spare = 1; spare <= 1200; spare += 1 + spare / 8) {
    EXPECT_EXIT(ConvertUnder(RLIMIT_AS, AddressSpaceInUse() + (rlim_t{spare} << 20), 8),
                testing::ExitedWithCode(0), "")
        << spare << " MiB";
  }
}

TEST_F(Surroundings, AChildOfForkGoesOnAlone) {
  zepSetNumThreads(4);
  ASSERT_TRUE(ConvertsRightly());
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    alarm(20);
    live_threads = 0;
    most_threads = 0;
    std::_Exit(ConvertsRightly() && refused_threads == 0 ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "it hangs";
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_TRUE(ConvertsRightly());
}

#ifdef _OPENMP
TEST_F(Surroundings, InsideAParallelRegionTheRuntimeDecides) {
  zepSetNumThreads(4);
  std::atomic<int> right{0};
  const int before = live_threads;
#  pragma omp parallel num_threads(2)
  right += ConvertsRightly() ? 1 : 0;
  EXPECT_EQ(right, 2);
  EXPECT_LE(live_threads, before + 1);
}
#endif

}  // namespace
