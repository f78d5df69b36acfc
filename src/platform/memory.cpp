// Out-of-memory handling: the reserve block is freed first so the message can still be built.
#include "platform/memory.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "platform/reporter.h"

namespace nurex {

namespace {
std::atomic<void*> reserve{nullptr};
constexpr unsigned long ReserveSize = 8192;

// Touches the stack so that its pages are mapped while address space is left: reporting runs
// printf, whose frames could not grow the stack once memory is exhausted.
__attribute__((noinline)) void commitStack() {
  volatile char frames[512 * 1024];
  for (size_t i = 0; i < sizeof frames; i += 512) frames[i] = 0;
}

}  // namespace

void installOutOfMemoryHandler() {
  commitStack();
  if (!reserve.load()) reserve.store(std::malloc(ReserveSize));
  std::set_new_handler([] { outOfMemory(); });
}

void releaseMemoryReserve() { std::free(reserve.exchange(nullptr)); }

void outOfMemory() {
  // Only the thread that takes the reserve reports; every caller exits with status 5.
  void* block = reserve.exchange(nullptr);
  if (block) {
    std::free(block);
    reportError("memory overflow");
    raiseStatus(StatusOutOfMemory);
  }
  raiseStatus(StatusOutOfMemory);
  std::exit(static_cast<int>(raiseStatus(0)));
}

void* checkedMalloc(unsigned long size) {
  void* p = std::malloc(size ? size : 1);
  if (!p) outOfMemory();
  return p;
}

}  // namespace nurex
