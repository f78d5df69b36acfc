// Thread start, hand-over of passes and shut-down.
#include "unfold/worker_pool.h"

namespace nurex {

WorkerPool::WorkerPool(unsigned threads) {
  for (unsigned i = 1; i < threads; ++i) workers_.push_back(std::make_unique<Worker>());
  for (unsigned i = 0; i < workers_.size(); ++i) workers_[i]->thread = std::thread([this, i] { workerLoop(i + 1); });
}

WorkerPool::~WorkerPool() {
  for (auto& worker : workers_) {
    std::lock_guard<std::mutex> guard(worker->lock);
    worker->command = CommandQuit;
    worker->pending = true;
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

void WorkerPool::run(PoolCommand command, uint32_t count, const ItemFunction& item) {
  if (count == 0) return;
  item_ = &item;
  counter_.store(count, std::memory_order_release);
  // Waking the workers costs more than a few items take.
  if (!workers_.empty() && count >= MinimumShared) {
    {
      std::lock_guard<std::mutex> guard(doneLock_);
      running_ = static_cast<unsigned>(workers_.size());
    }
    for (auto& worker : workers_) {
      std::lock_guard<std::mutex> guard(worker->lock);
      worker->command = command;
      worker->pending = true;
      worker->wake.notify_one();
    }
    takeItems(0);
    std::unique_lock<std::mutex> done(doneLock_);
    doneWake_.wait(done, [this] { return running_ == 0; });
  } else {
    takeItems(0);
  }
  item_ = nullptr;
}

void WorkerPool::workerLoop(unsigned number) {
  Worker& self = *workers_[number - 1];
  for (;;) {
    uint32_t command;
    {
      std::unique_lock<std::mutex> guard(self.lock);
      self.wake.wait(guard, [&self] { return self.pending; });
      self.pending = false;
      command = self.command;
    }
    if (command == CommandQuit) return;
    if (command != CommandStop) takeItems(number);
    std::lock_guard<std::mutex> guard(doneLock_);
    if (--running_ == 0) doneWake_.notify_one();
  }
}

}  // namespace nurex
