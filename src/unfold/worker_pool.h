// The unfolder's threads: the calling thread and number_of_threads - 1 workers that take
// numbered items of a pass from one shared atomic counter.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace nurex {

// Commands of a pass; 0 and 1 end a worker's pass or the worker itself.
enum PoolCommand : uint32_t {
  CommandStop = 0,
  CommandQuit = 1,
  CommandExtend = 10,         // possible extensions of one event of the batch
  CommandRelation = 11,       // the relation row of one event of the batch
  CommandCorrespondent = 12,  // the cut-off check of one event of the batch
};

class WorkerPool {
 public:
  // Item n of a pass (from 1 to the count) runs on the thread numbered `worker` (0 is the caller).
  using ItemFunction = std::function<void(unsigned worker, uint32_t item)>;

  explicit WorkerPool(unsigned threads);
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  unsigned threads() const { return static_cast<unsigned>(workers_.size()) + 1; }
  // The calling thread starts every pass alone and wakes the workers only when what is left
  // would take it this long: waking a thread and waiting for it costs tens of microseconds
  // on a busy machine, and a cheap item is slower on a thread whose caches are cold.
  static constexpr double SharedSeconds = 200e-6;
  // The items of a pass are timed over at least this long before the rest is judged.
  static constexpr double SampleSeconds = 100e-6;
  // The worker threads start once the passes worth sharing add up to this much work. A
  // second thread costs a millisecond or two over a run: its start, its scratch sized to the
  // net, and the allocator's locking, which a process with one thread skips. Runs short of
  // this stay single-threaded.
  static constexpr double StartSeconds = 8e-3;
  // Nor before those passes make this share of the run so far: where they make less, the
  // part that two threads could shorten is too small to pay for the second one.
  static constexpr double StartShare = 0.4;
  // Shared passes are judged by the processor time that the threads spent on their items
  // against the time that the passes took, over windows of this much: on a machine busy
  // with other processes a woken thread may get no core, and the caller then waits for it.
  static constexpr double JudgeSeconds = 4e-3;
  // A window in which the threads worked less than 1 + JudgeGain times its length stops the
  // sharing until the run has gone on as long again: so little parallelism does not pay for
  // the wake-ups, the waits and the cold caches of the second thread. Neither the threads'
  // start nor a new window comes while the machine has no idle core.
  static constexpr double JudgeGain = 0.25;
  // Hands `count` items to all threads and returns when every one has finished the pass.
  void run(PoolCommand command, uint32_t count, const ItemFunction& item);

  // While one lives, every pool shares each pass of two items or more at once: tests on
  // small nets then run through the threads, which timings alone would never start.
  class EagerSharing {
   public:
    EagerSharing() { eager_.fetch_add(1); }
    ~EagerSharing() { eager_.fetch_sub(1); }
    EagerSharing(const EagerSharing&) = delete;
    EagerSharing& operator=(const EagerSharing&) = delete;
  };
  // While one lives, every pool takes the machine for idle or for busy, whatever else runs:
  // tests of the timings then do not depend on the machine's load.
  class AssumedLoad {
   public:
    explicit AssumedLoad(bool idle) { assumedLoad_.store(idle ? 1 : -1); }
    ~AssumedLoad() { assumedLoad_.store(0); }
    AssumedLoad(const AssumedLoad&) = delete;
    AssumedLoad& operator=(const AssumedLoad&) = delete;
  };

 private:
  struct Worker {
    std::thread thread;
    std::mutex lock;
    std::condition_variable wake;
    uint32_t command = CommandStop;
    std::atomic<bool> pending{false};
  };
  void workerLoop(unsigned number);
  void takeItems(unsigned worker);
  void wakeWorkers(PoolCommand command);
  void startThreads();
  void waitForWorkers();
  void finishPass();
  bool coreIdle() const;
  void judgeSharing(double work, double taken);
  double sinceBirth() const { return std::chrono::duration<double>(Clock::now() - born_).count(); }

  std::vector<std::unique_ptr<Worker>> workers_;
  // The counter changes with every item; on a line of its own it does not evict the
  // fields that every item reads.
  alignas(64) std::atomic<int64_t> counter_{0};
  alignas(64) const ItemFunction* item_ = nullptr;
  std::mutex doneLock_;
  std::condition_variable doneWake_;
  std::atomic<unsigned> running_{0};
  static inline std::atomic<int> eager_{0};
  static inline std::atomic<int> assumedLoad_{0};  // 1 idle, -1 busy, 0 as the machine says
  unsigned processors_;                            // online, 0 if unknown
  bool started_ = false;        // the worker threads
  double worthSharing_ = 0;     // seconds of the passes worth sharing before they started
  using Clock = std::chrono::steady_clock;
  Clock::time_point born_ = Clock::now();
  std::atomic<double> workerWork_{0};         // processor seconds of the workers in this pass
  double judgedWork_ = 0, judgedTaken_ = 0;   // of the shared passes of the current window
  double declinedUntil_ = 0;                  // no sharing before this time since birth
};

// The warning when a thread cannot be started; `threads` is how many the run goes on with.
std::string threadStartFailure(unsigned threads);

}  // namespace nurex
