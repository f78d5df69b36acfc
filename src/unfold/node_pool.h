// Blocks of a few fixed sizes for the nodes of cut maps, which are made and dropped by the
// hundred thousand in a run: each thread keeps free lists by size, fed from large slabs.
#pragma once

#include <cstddef>
#include <cstdint>

namespace nurex::node_pool {

// Block sizes in bytes, by class; a multiple of 8, ascending.
constexpr uint32_t ClassCount = 11;
constexpr uint32_t classBytes[ClassCount] = {72, 88, 104, 136, 152, 200, 264, 392, 520, 776, 1032};

// A block of the class, from this thread's list when it has one.
void* take(uint32_t sizeClass);
// Returns a block to this thread's list, whichever thread took it; a list grown long passes
// a batch to a depot shared by all threads, from which lists that run dry are refilled.
void give(void* block, uint32_t sizeClass);

// Blocks handed out and not given back, as counted by this thread and by the threads that
// have ended (for tests: the others may hold counts of their own).
int64_t blocksInUse();

}  // namespace nurex::node_pool
