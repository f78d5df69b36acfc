// Platform services: temporary files, physical core count, monotonic clock.
#pragma once

#include <cstdio>
#include <string>

namespace nurex {

// Opens a new "_tmp*" file in the temporary directory for update; null and an error on failure.
FILE* createTempFile();
// Removes every listed temporary file in list order, warning on failures.
void deleteTempFiles();

// Physical cores; a warning and 1 when the platform cannot tell.
unsigned processorCores();
// The same count from the text of /proc/cpuinfo (exposed for tests); 0 if it names no core.
unsigned countCoresInCpuinfo(const std::string& text);

// Seconds on the monotonic high-resolution clock.
double monotonicSeconds();

}  // namespace nurex
