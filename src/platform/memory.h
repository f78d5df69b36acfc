// The memory reserve and the reaction to exhausted memory (exit status 5).
#pragma once

namespace nurex {

// Sets aside the reserve block and makes failed `new` call outOfMemory().
void installOutOfMemoryHandler();
// Frees the reserve if it is still there (shut-down).
void releaseMemoryReserve();
// Frees the reserve, reports "memory overflow" once, raises the status to 5 and exits.
[[noreturn]] void outOfMemory();
// malloc that ends the run through outOfMemory() instead of returning null.
void* checkedMalloc(unsigned long size);

}  // namespace nurex
