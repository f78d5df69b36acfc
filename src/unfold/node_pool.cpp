// Per-thread free lists of cut-map nodes over shared slabs, with a depot between threads.
#include "unfold/node_pool.h"

#include <atomic>
#include <mutex>
#include <new>
#include <tuple>
#include <utility>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define NUREX_POISON(p, n) ASAN_POISON_MEMORY_REGION(p, n)
#define NUREX_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION(p, n)
#else
#define NUREX_POISON(p, n) ((void)(p), (void)(n))
#define NUREX_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace nurex::node_pool {

namespace {

struct FreeBlock {
  FreeBlock* next;
};

constexpr size_t SlabBytes = size_t(1) << 18;

// About 16 KiB of blocks move between a thread and the depot at a time.
constexpr uint32_t batchSize(uint32_t sizeClass) {
  uint32_t n = 16384 / classBytes[sizeClass];
  return n < 8 ? 8 : n;
}

struct Chain {
  FreeBlock* head;
  uint32_t count;
};

// Shared by all threads, never destroyed: blocks may still be given back while the
// process shuts down. Slabs stay for the life of the process and serve later runs.
struct Depot {
  std::mutex lock;
  std::vector<Chain> chains[ClassCount];
  std::atomic<uint32_t> available[ClassCount] = {};
  std::vector<std::pair<char*, char*>> spareRegions;  // unused tails of slabs of threads that ended
  std::atomic<int64_t> inUse{0};
};

Depot& depot() {
  static Depot* shared = new Depot;
  return *shared;
}

// Trivially destructible, so that the hot path needs no initialisation check.
struct ThreadCache {
  FreeBlock* head[ClassCount];
  uint32_t count[ClassCount];
  char* bump;
  char* bumpEnd;
  int64_t taken;  // blocks taken minus blocks given on this thread, not yet added to the depot's count
  bool flushAtExit;
};
constinit thread_local ThreadCache cache{};

void pushChain(uint32_t sizeClass, Chain chain) {
  Depot& d = depot();
  std::lock_guard<std::mutex> guard(d.lock);
  d.chains[sizeClass].push_back(chain);
  d.available[sizeClass].fetch_add(1, std::memory_order_relaxed);
}

// Everything this thread holds goes to the depot when the thread ends.
void flushThread() {
  ThreadCache& c = cache;
  for (uint32_t k = 0; k < ClassCount; ++k)
    if (c.head[k]) {
      pushChain(k, {c.head[k], c.count[k]});
      c.head[k] = nullptr;
      c.count[k] = 0;
    }
  Depot& d = depot();
  d.inUse.fetch_add(c.taken, std::memory_order_relaxed);
  c.taken = 0;
  if (c.bump != c.bumpEnd) {
    std::lock_guard<std::mutex> guard(d.lock);
    d.spareRegions.push_back({c.bump, c.bumpEnd});
  }
  c.bump = c.bumpEnd = nullptr;
}

struct ExitFlush {
  ~ExitFlush() { flushThread(); }
};

inline void registerExitFlush() {
  if (cache.flushAtExit) return;
  cache.flushAtExit = true;
  static thread_local ExitFlush flush;
  (void)&flush;
}

bool takeChain(uint32_t sizeClass) {
  Depot& d = depot();
  if (d.available[sizeClass].load(std::memory_order_relaxed) == 0) return false;
  std::lock_guard<std::mutex> guard(d.lock);
  std::vector<Chain>& chains = d.chains[sizeClass];
  if (chains.empty()) return false;
  cache.head[sizeClass] = chains.back().head;
  cache.count[sizeClass] = chains.back().count;
  chains.pop_back();
  d.available[sizeClass].fetch_sub(1, std::memory_order_relaxed);
  return true;
}

void newRegion(size_t bytes) {
  Depot& d = depot();
  {
    std::lock_guard<std::mutex> guard(d.lock);
    for (size_t i = 0; i < d.spareRegions.size(); ++i)
      if (size_t(d.spareRegions[i].second - d.spareRegions[i].first) >= bytes) {
        std::tie(cache.bump, cache.bumpEnd) = d.spareRegions[i];
        d.spareRegions.erase(d.spareRegions.begin() + i);
        return;
      }
  }
  // The tail of the old region is too short for this class; it stays unused.
  cache.bump = static_cast<char*>(::operator new(SlabBytes, std::align_val_t(64)));
  cache.bumpEnd = cache.bump + SlabBytes;
}

void* refill(uint32_t sizeClass) {
  registerExitFlush();
  if (takeChain(sizeClass)) {
    FreeBlock* block = cache.head[sizeClass];
    NUREX_UNPOISON(block, classBytes[sizeClass]);
    cache.head[sizeClass] = block->next;
    --cache.count[sizeClass];
    return block;
  }
  size_t bytes = classBytes[sizeClass];
  if (size_t(cache.bumpEnd - cache.bump) < bytes) newRegion(bytes);
  void* block = cache.bump;
  cache.bump += bytes;
  return block;
}

}  // namespace

void* take(uint32_t sizeClass) {
  ++cache.taken;
  FreeBlock* block = cache.head[sizeClass];
  if (!block) return refill(sizeClass);
  NUREX_UNPOISON(block, classBytes[sizeClass]);
  cache.head[sizeClass] = block->next;
  --cache.count[sizeClass];
  return block;
}

void give(void* memory, uint32_t sizeClass) {
  registerExitFlush();
  --cache.taken;
  auto* block = static_cast<FreeBlock*>(memory);
  block->next = cache.head[sizeClass];
  NUREX_POISON(reinterpret_cast<char*>(block) + sizeof(FreeBlock), classBytes[sizeClass] - sizeof(FreeBlock));
  cache.head[sizeClass] = block;
  uint32_t batch = batchSize(sizeClass);
  if (++cache.count[sizeClass] < 2 * batch) return;
  // The newest blocks stay here; the older half goes to the depot.
  FreeBlock* last = block;
  for (uint32_t i = 1; i < batch; ++i) last = last->next;
  pushChain(sizeClass, {last->next, cache.count[sizeClass] - batch});
  last->next = nullptr;
  cache.count[sizeClass] = batch;
}

int64_t blocksInUse() {
  Depot& d = depot();
  d.inUse.fetch_add(cache.taken, std::memory_order_relaxed);
  cache.taken = 0;
  return d.inUse.load(std::memory_order_relaxed);
}

}  // namespace nurex::node_pool
