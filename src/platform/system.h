// Platform services: temporary files, physical core count, monotonic clock.
#pragma once

#include <cstdio>
#include <string>

namespace nurex {

// Opens a new "_tmp*" file in the temporary directory for update; null and an error on failure.
FILE* createTempFile();
// Removes every listed temporary file in list order, warning on failures.
void deleteTempFiles();
// Closes the temporary file created last and removes it at once, warning on a failure.
void discardLastTempFile(FILE* file);

// Both names lead to one existing file (links included).
bool sameFile(const std::string& a, const std::string& b);

// Flushes and closes a file written with stdio; false when some of what was written did not
// arrive (a full disk shows only here).
bool closeWrittenFile(FILE* file);

// Physical cores; a warning and 1 when the platform cannot tell. Less the cores that the
// calling thread leaves to others (reserveCores), but at least 1.
unsigned processorCores();
// The cores that work started from the calling thread leaves to another engine.
void reserveCores(unsigned count);
// The same count from the text of /proc/cpuinfo (exposed for tests); 0 if it names no core.
unsigned countCoresInCpuinfo(const std::string& text);

// Processors (hardware threads) online; 0 when the platform cannot tell.
unsigned onlineProcessors();
// Tasks running or ready to run on the whole machine, the caller included; 0 when the
// platform cannot tell.
unsigned runnableTasks();
// The same count from the text of /proc/loadavg (exposed for tests); 0 if it holds none.
unsigned parseRunnableTasks(const char* loadavg);

// Seconds on the monotonic high-resolution clock.
double monotonicSeconds();

}  // namespace nurex
