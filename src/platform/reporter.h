// The process-wide status word, error and warning output, message builders and
// the verbosity word that gates trace output.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace nurex {

enum : uint32_t { StatusClean = 0, StatusWarning = 1, StatusError = 2, StatusOutOfMemory = 5 };

// Raises the latched status to `level` if higher; returns the value found before.
// raiseStatus(0) reads the status.
uint32_t raiseStatus(uint32_t level);
// Tests and the run's start put the latch back to 0.
void resetStatus();

// "\nError: %s\n" on stderr, flushed; status 2.
void reportError(const std::string& text);
// "\nWarning: %s\n" on stderr, flushed; status 1.
void reportWarning(const std::string& text);
// A formatted write into a buffer of 10,000 characters, then to `stream`, flushed.
void printTo(FILE* stream, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Text of any length to `stream`, flushed; held back like printTo under a capture.
void writeText(FILE* stream, const std::string& text);

// What one thread writes to stdout and stderr, and the status it raises, held back while it
// is not yet known whether that thread's answer counts (two engines racing).
struct OutputCapture {
  std::vector<std::pair<FILE*, std::string>> pieces;
  std::atomic<uint32_t> status{0};
};
// Sends the calling thread's output and status to `capture`; null restores the real ones.
// Returns the capture that was in force.
OutputCapture* captureThreadOutput(OutputCapture* capture);
// Writes out what the capture holds and raises the real status to its status.
void releaseCapture(OutputCapture& capture);

// While it lives, the thread's output and status go nowhere: a probe of a net that the
// caller made itself only wants the answer (the status it raised).
class QuietScope {
 public:
  QuietScope() : outer_(captureThreadOutput(&sink_)) {}
  ~QuietScope() { captureThreadOutput(outer_); }
  QuietScope(const QuietScope&) = delete;
  QuietScope& operator=(const QuietScope&) = delete;
  uint32_t status() const { return sink_.status.load(); }

 private:
  OutputCapture sink_;
  OutputCapture* outer_;
};

// One message is cut to this many characters, terminator included.
constexpr size_t MessageBufferSize = 10000;

// The verbosity word: written once from the options, read everywhere.
extern unsigned verbosity;

// Message builders shared by several subsystems.
std::string cannotOpenForInput(const std::string& name);
std::string cannotOpenForOutput(const std::string& name);
std::string cannotWriteFile();
std::string syntaxErrorInFile(const std::string& name, unsigned long line);
std::string noSuchSatSolver(long number);

}  // namespace nurex
