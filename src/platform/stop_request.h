// A request to stop the long stages of one thread (the unfolder's loop, SAT solving), raised
// from another thread when a racing engine has answered first.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

namespace nurex {

class StopRequest {
 public:
  // Sets the flag and interrupts every solver that runs under the request.
  void raise();
  bool raised() const { return flag_.load(std::memory_order_relaxed); }

 private:
  friend class StopHook;
  std::atomic<bool> flag_{false};
  std::mutex mutex_;
  std::vector<const std::function<void()>*> hooks_;
};

// The request that the calling thread's stages obey; null (the default) for none.
void setThreadStopRequest(StopRequest* request);
bool stopRequested();

// While alive, a raise of the thread's request calls `interrupt` (from the raising thread);
// if the request is already raised, it is called at once.
class StopHook {
 public:
  explicit StopHook(std::function<void()> interrupt);
  ~StopHook();
  StopHook(const StopHook&) = delete;
  StopHook& operator=(const StopHook&) = delete;

 private:
  std::function<void()> interrupt_;
  StopRequest* request_;
};

}  // namespace nurex
