// Thread start, hand-over of passes and shut-down.
#include "unfold/worker_pool.h"

#include <time.h>

#include <chrono>
#include <string>
#include <system_error>

#include "platform/reporter.h"
#include "platform/system.h"

namespace nurex {

namespace {

using Clock = std::chrono::steady_clock;

void pause() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

// Between the passes of one batch the gap is short; waiting for it awake for a while saves
// a sleep and a wake-up, which cost more than the pass on small batches.
template <class Ready>
bool spinUntil(Ready ready) {
  constexpr auto Budget = std::chrono::microseconds(50);
  Clock::time_point start = Clock::now();
  for (uint32_t i = 1;; ++i) {
    if (ready()) return true;
    pause();
    if (i % 64 == 0 && Clock::now() - start > Budget) return false;
  }
}

// Processor time of the calling thread: unlike the clock on the wall, it stands still while
// the thread waits for a core.
double threadSeconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

}  // namespace

WorkerPool::WorkerPool(unsigned threads) : processors_(onlineProcessors()) {
  for (unsigned i = 1; i < threads; ++i) workers_.push_back(std::make_unique<Worker>());
}

WorkerPool::~WorkerPool() {
  if (!started_) return;
  for (auto& worker : workers_) {
    std::lock_guard<std::mutex> guard(worker->lock);
    worker->command = CommandQuit;
    worker->pending.store(true, std::memory_order_release);
    worker->wake.notify_one();
  }
  for (auto& worker : workers_) worker->thread.join();
}

void WorkerPool::takeItems(unsigned worker) {
  for (;;) {
    int64_t n = counter_.fetch_sub(1, std::memory_order_acq_rel);
    if (n < 1) return;
    (*item_)(worker, static_cast<uint32_t>(n));
  }
}

// Which thread takes an item never changes a result, so the hand-over may follow timings:
// the items done so far tell what the rest will take. The first item is left out of the
// reckoning: it often pays for scratch grown with the prefix, and judged by it alone, passes
// of cheap items looked worth sharing.
void WorkerPool::run(PoolCommand command, uint32_t count, const ItemFunction& item) {
  if (count == 0) return;
  item_ = &item;
  counter_.store(count, std::memory_order_release);
  bool shared = false, counted = false, eager = false, alone = false;
  Clock::time_point start = Clock::now(), sharedAt;
  double first = 0, callerWork = 0;
  for (uint32_t done = 1;; ++done) {
    int64_t n = counter_.fetch_sub(1, std::memory_order_acq_rel);
    if (n < 1) break;
    item(0, static_cast<uint32_t>(n));
    if (shared || workers_.empty() || n < 2) continue;
    if (eager_.load(std::memory_order_relaxed) > 0) {
      shared = eager = true;
      wakeWorkers(command);
      continue;
    }
    // Reading the clock costs about what a cheap item does; past the first items every
    // eighth one is enough to judge by.
    if (done > 8 && done % 8 != 0) continue;
    double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    if (done == 1) first = elapsed;
    if (done == 1 || elapsed - first < SampleSeconds) continue;
    double rest = (elapsed - first) / (done - 1) * static_cast<double>(n - 1);
    if (rest < SharedSeconds || alone) continue;
    if (!started_) {
      if (!counted) worthSharing_ += rest;
      counted = true;
      if (worthSharing_ < StartSeconds) continue;
      if (worthSharing_ < StartShare * sinceBirth()) continue;
    } else if (declinedUntil_ > 0 && sinceBirth() < declinedUntil_) {
      alone = true;
      continue;
    }
    if ((!started_ || declinedUntil_ > 0) && !coreIdle()) {
      if (started_) declinedUntil_ = 2 * sinceBirth();
      alone = true;
      continue;
    }
    declinedUntil_ = 0;
    shared = true;
    sharedAt = Clock::now();
    callerWork = -threadSeconds();
    wakeWorkers(command);
  }
  if (!shared) {
    item_ = nullptr;
    return;
  }
  callerWork += threadSeconds();
  waitForWorkers();
  item_ = nullptr;
  double taken = std::chrono::duration<double>(Clock::now() - sharedAt).count();
  if (!eager) judgeSharing(callerWork + workerWork_.exchange(0), taken);
}

// A second thread pays only on a core that nothing else wants: on a machine whose cores are
// all taken it gets a share of one, and the caller waits for the items it holds.
bool WorkerPool::coreIdle() const {
  int assumed = assumedLoad_.load(std::memory_order_relaxed);
  if (assumed != 0) return assumed > 0;
  unsigned runnable = runnableTasks();
  return runnable == 0 || processors_ == 0 || runnable < processors_;
}

// Each window starts afresh, so that a machine whose load changes is judged anew.
void WorkerPool::judgeSharing(double work, double taken) {
  judgedWork_ += work;
  judgedTaken_ += taken;
  if (judgedTaken_ < JudgeSeconds) return;
  if (judgedWork_ < (1 + JudgeGain) * judgedTaken_) declinedUntil_ = 2 * sinceBirth();
  judgedWork_ = judgedTaken_ = 0;
}

void WorkerPool::wakeWorkers(PoolCommand command) {
  if (!started_) {
    started_ = true;
    startThreads();
  }
  running_.store(static_cast<unsigned>(workers_.size()), std::memory_order_release);
  for (auto& worker : workers_) {
    std::lock_guard<std::mutex> guard(worker->lock);
    worker->command = command;
    worker->pending.store(true, std::memory_order_release);
    worker->wake.notify_one();
  }
}

// A process or memory limit may refuse a thread; the unfolding goes on with those that
// started (perhaps only the calling thread), since which thread takes an item never
// changes a result.
void WorkerPool::startThreads() {
  for (unsigned i = 0; i < workers_.size(); ++i) {
    try {
      workers_[i]->thread = std::thread([this, i] { workerLoop(i + 1); });
    } catch (const std::system_error&) {
      workers_.resize(i);
      reportWarning(threadStartFailure(i + 1));
      return;
    }
  }
}

std::string threadStartFailure(unsigned threads) {
  return "cannot start another thread; the unfolding goes on with " + std::to_string(threads) + " thread(s)";
}

void WorkerPool::waitForWorkers() {
  if (spinUntil([this] { return running_.load(std::memory_order_acquire) == 0; })) return;
  std::unique_lock<std::mutex> done(doneLock_);
  doneWake_.wait(done, [this] { return running_.load(std::memory_order_acquire) == 0; });
}

// The last one out takes the lock before it notifies, so that the caller cannot test the
// count and then miss the notification.
void WorkerPool::finishPass() {
  if (running_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  std::lock_guard<std::mutex> guard(doneLock_);
  doneWake_.notify_one();
}

void WorkerPool::workerLoop(unsigned number) {
  Worker& self = *workers_[number - 1];
  for (;;) {
    uint32_t command;
    spinUntil([&self] { return self.pending.load(std::memory_order_acquire); });
    {
      std::unique_lock<std::mutex> guard(self.lock);
      self.wake.wait(guard, [&self] { return self.pending.load(std::memory_order_acquire); });
      self.pending.store(false, std::memory_order_relaxed);
      command = self.command;
    }
    if (command == CommandQuit) return;
    if (command != CommandStop) {
      double work = -threadSeconds();
      takeItems(number);
      work += threadSeconds();
      // Before finishPass: the caller reads the sum once all workers are done.
      for (double sum = workerWork_.load(std::memory_order_relaxed);
           !workerWork_.compare_exchange_weak(sum, sum + work, std::memory_order_relaxed);) {
      }
    }
    finishPass();
  }
}

}  // namespace nurex
