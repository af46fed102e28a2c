// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "zepcore.h"

#ifdef _OPENMP
#  include <omp.h>
#endif

namespace {

constexpr int32_t kMaxCount = 1024;

int32_t ExpectedDefault() {
#ifdef _OPENMP
  return omp_get_max_threads();
#else
  return 1;
#endif
}

class Threads : public testing::Test {
 protected:
  ~Threads() override { zepSetNumThreads(0); }
};

TEST_F(Threads, DefaultIsThatOfOpenMp) {
  EXPECT_EQ(ownGetNumThreads(), ExpectedDefault());
  EXPECT_GE(ownGetNumThreads(), 1);
}

TEST_F(Threads, SetCountsAreKept) {
  for (int32_t count = 1; count <= kMaxCount; ++count) {
    zepSetNumThreads(count);
    ASSERT_EQ(ownGetNumThreads(), count);
  }
}

TEST_F(Threads, HugeCountsAreLimited) {
  for (const int32_t count : {kMaxCount + 1, 1 << 20, INT32_MAX}) {
    zepSetNumThreads(count);
    EXPECT_EQ(ownGetNumThreads(), kMaxCount);
  }
}

TEST_F(Threads, ZeroAndLessRestoreTheDefault) {
  for (const int32_t count : {0, -1, -2, INT32_MIN}) {
    zepSetNumThreads(7);
    zepSetNumThreads(count);
    EXPECT_EQ(ownGetNumThreads(), ExpectedDefault()) << count;
  }
}

TEST_F(Threads, AThreadCanHaveItsOwnCount) {
  zepSetNumThreads(7);
  std::thread([] {
    EXPECT_EQ(zepSetOwnNumThreads(3), 0);
    EXPECT_EQ(ownGetNumThreads(), 3);
    zepSetNumThreads(5);
    EXPECT_EQ(ownGetNumThreads(), 3);
    EXPECT_EQ(zepSetOwnNumThreads(INT32_MAX), 3);
    EXPECT_EQ(ownGetNumThreads(), kMaxCount);
    EXPECT_EQ(zepSetOwnNumThreads(-1), kMaxCount);
    EXPECT_EQ(ownGetNumThreads(), 5);
    zepSetOwnNumThreads(2);
  }).join();
  EXPECT_EQ(ownGetNumThreads(), 5);
}

#ifdef _OPENMP
TEST_F(Threads, DefaultFollowsOpenMp) {
  const int before = omp_get_max_threads();
  omp_set_num_threads(3);
  EXPECT_EQ(ownGetNumThreads(), 3);
  zepSetNumThreads(5);
  EXPECT_EQ(ownGetNumThreads(), 5);
  omp_set_num_threads(2 * kMaxCount);
  zepSetNumThreads(0);
  EXPECT_EQ(ownGetNumThreads(), kMaxCount);
  omp_set_num_threads(before);
}
#endif

TEST_F(Threads, CountHoldsForAllThreads) {
  zepSetNumThreads(9);
  int32_t seen = 0;
  std::thread([&seen] { seen = ownGetNumThreads(); }).join();
  EXPECT_EQ(seen, 9);
}

TEST_F(Threads, ConcurrentCallsSeeOneOfTheSetCounts) {
  zepSetNumThreads(1);
  std::vector<int> strange(4, 0);
  std::vector<std::thread> team;
  for (int32_t me = 0; me < 4; ++me) {
    team.emplace_back([me, &strange] {
      for (int i = 0; i < 10000; ++i) {
        zepSetNumThreads(me + 1);
        const int32_t seen = ownGetNumThreads();
        if (seen < 1 || seen > 4) ++strange[static_cast<size_t>(me)];
      }
    });
  }
  for (std::thread& thread : team) thread.join();
  EXPECT_EQ(strange, std::vector<int>(4, 0));
}

}  // namespace
