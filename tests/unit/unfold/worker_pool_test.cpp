// The unfolder's pool: every item of a pass runs exactly once, on any number of threads,
// and the pass is over when run() returns.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <vector>

#include "unfold/worker_pool.h"

namespace nurex::test {
namespace {

void spinFor(std::chrono::microseconds length) {
  auto end = std::chrono::steady_clock::now() + length;
  while (std::chrono::steady_clock::now() < end) {
  }
}

TEST(UnfoldWorkerPool, EveryItemOncePerPass) {
  for (unsigned threads : {1u, 2u, 4u}) {
    WorkerPool pool(threads);
    EXPECT_EQ(pool.threads(), threads);
    for (uint32_t pass = 0; pass < 200; ++pass) {
      uint32_t count = pass % 71;
      std::vector<std::atomic<int>> seen(count + 1);
      std::atomic<unsigned> badWorker{0};
      pool.run(CommandExtend, count, [&](unsigned worker, uint32_t item) {
        if (worker >= threads) ++badWorker;
        ++seen[item];
      });
      EXPECT_EQ(seen[0].load(), 0);
      for (uint32_t i = 1; i <= count; ++i) ASSERT_EQ(seen[i].load(), 1) << "pass " << pass << " item " << i;
      EXPECT_EQ(badWorker.load(), 0u);
    }
  }
}

// The caller starts alone; a pass whose items take long must still reach the other threads,
// and each item runs once. On a machine with all cores taken the same pass stays on the caller.
TEST(UnfoldWorkerPool, LongPassesAreSharedOnAnIdleMachine) {
  for (bool idle : {true, false}) {
    WorkerPool::AssumedLoad load(idle);
    WorkerPool pool(2);
    std::atomic<uint32_t> onWorker{0};
    // Items of 20 µs, three times the work after which the threads start.
    const auto count = static_cast<uint32_t>(3 * WorkerPool::StartSeconds / 20e-6);
    std::vector<std::atomic<int>> seen(count + 1);
    pool.run(CommandExtend, count, [&](unsigned worker, uint32_t item) {
      spinFor(std::chrono::microseconds(20));
      if (worker != 0) ++onWorker;
      ++seen[item];
    });
    EXPECT_EQ(onWorker.load() > 0, idle);
    for (uint32_t i = 1; i <= count; ++i) ASSERT_EQ(seen[i].load(), 1) << "item " << i;
  }
}

// Passes worth sharing that add up to less than the cost of a second thread leave the run
// on the caller alone. The pool judges by the clock, so a run preempted on a loaded machine
// may rightly look long: one run in three attempts must stay on one thread, which a pool
// that always shares never does.
TEST(UnfoldWorkerPool, ShortRunsStayOnOneThread) {
  uint32_t fewest = ~0u;
  for (int attempt = 0; attempt < 3 && fewest != 0; ++attempt) {
    WorkerPool pool(2);
    std::atomic<uint32_t> onWorker{0};
    for (int pass = 0; pass < 3; ++pass)
      pool.run(CommandExtend, 50, [&](unsigned worker, uint32_t) {
        spinFor(std::chrono::microseconds(10));
        if (worker != 0) ++onWorker;
      });
    fewest = std::min(fewest, onWorker.load());
  }
  EXPECT_EQ(fewest, 0u);
}

// The same long pass after a long stretch of work outside the passes: what two threads
// could shorten is too small a part of the run for a second one.
TEST(UnfoldWorkerPool, PassesThatAreASmallPartOfTheRunStayOnOneThread) {
  WorkerPool pool(2);
  spinFor(std::chrono::microseconds(static_cast<int64_t>(20 * WorkerPool::StartSeconds / WorkerPool::StartShare * 1e6)));
  std::atomic<uint32_t> onWorker{0};
  const auto count = static_cast<uint32_t>(3 * WorkerPool::StartSeconds / 20e-6);
  pool.run(CommandExtend, count, [&](unsigned worker, uint32_t) {
    spinFor(std::chrono::microseconds(20));
    if (worker != 0) ++onWorker;
  });
  EXPECT_EQ(onWorker.load(), 0u);
}

// Items that cannot run side by side keep the second thread waiting for the first: once a
// window of shared passes shows no gain, the passes that follow stay on the caller.
TEST(UnfoldWorkerPool, SharingThatGainsNothingStops) {
  WorkerPool::AssumedLoad idle(true);
  std::mutex oneAtATime;
  auto serialItems = [&](std::atomic<uint32_t>& onWorker) {
    return [&](unsigned worker, uint32_t) {
      std::lock_guard<std::mutex> guard(oneAtATime);
      spinFor(std::chrono::microseconds(20));
      if (worker != 0) ++onWorker;
    };
  };
  // The sharing stops until the run has gone on as long again: the second pass is shorter.
  // A loaded machine (or a sanitized build beside other tests) can blur a window's measure, so
  // one of eight runs must show it.
  const auto count = static_cast<uint32_t>(3 * WorkerPool::StartSeconds / 20e-6);
  bool shared = false, stopped = false;
  for (int attempt = 0; attempt < 8 && !stopped; ++attempt) {
    WorkerPool pool(2);
    std::atomic<uint32_t> before{0}, after{0};
    pool.run(CommandExtend, count, serialItems(before));
    pool.run(CommandExtend, count / 4, serialItems(after));
    shared = shared || before.load() > 0;
    stopped = before.load() > 0 && after.load() == 0;
  }
  EXPECT_TRUE(shared);
  EXPECT_TRUE(stopped);
}

}  // namespace
}  // namespace nurex::test
