// Stop requests and the hooks through which they reach solvers that are running.
#include "platform/stop_request.h"

#include <algorithm>

namespace nurex {

namespace {
thread_local StopRequest* threadRequest = nullptr;
}

void StopRequest::raise() {
  std::lock_guard<std::mutex> lock(mutex_);
  flag_.store(true);
  for (const std::function<void()>* hook : hooks_) (*hook)();
}

void setThreadStopRequest(StopRequest* request) { threadRequest = request; }
bool stopRequested() { return threadRequest && threadRequest->raised(); }

StopHook::StopHook(std::function<void()> interrupt) : interrupt_(std::move(interrupt)), request_(threadRequest) {
  if (!request_) return;
  std::lock_guard<std::mutex> lock(request_->mutex_);
  request_->hooks_.push_back(&interrupt_);
  if (request_->flag_.load()) interrupt_();
}

StopHook::~StopHook() {
  if (!request_) return;
  std::lock_guard<std::mutex> lock(request_->mutex_);
  auto& hooks = request_->hooks_;
  hooks.erase(std::find(hooks.begin(), hooks.end(), &interrupt_));
}

}  // namespace nurex
