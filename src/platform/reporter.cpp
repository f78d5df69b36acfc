// Status latch and diagnostics output.
#include "platform/reporter.h"

#include <cstdarg>

namespace nurex {

namespace {
std::atomic<uint32_t> status{0};

// Messages go through a bounded buffer, so one message never exceeds it; the buffer is not on
// the heap, so that "memory overflow" can still be written when the heap is exhausted.
thread_local char buffer[MessageBufferSize];

void emit(FILE* stream, const char* frame, const std::string& text) {
  std::snprintf(buffer, sizeof buffer, "%s", text.c_str());
  std::fprintf(stream, frame, buffer);
  std::fflush(stream);
}
}  // namespace

unsigned verbosity = 0;

uint32_t raiseStatus(uint32_t level) {
  uint32_t found = status.load();
  while (found < level && !status.compare_exchange_weak(found, level)) {
  }
  return found;
}

void resetStatus() { status.store(0); }

void reportError(const std::string& text) {
  emit(stderr, "\nError: %s\n", text);
  raiseStatus(StatusError);
}

void reportWarning(const std::string& text) {
  emit(stderr, "\nWarning: %s\n", text);
  raiseStatus(StatusWarning);
}

void printTo(FILE* stream, const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  std::fputs(buffer, stream);
  std::fflush(stream);
}

std::string cannotOpenForInput(const std::string& name) { return "cannot open \"" + name + "\" for input"; }

std::string cannotOpenForOutput(const std::string& name) { return "cannot open \"" + name + "\" for output"; }
std::string cannotWriteFile() { return "cannot write a file"; }

std::string syntaxErrorInFile(const std::string& name, unsigned long line) {
  return "syntax error (file " + name + ", line " + std::to_string(line) + ")";
}

std::string noSuchSatSolver(long number) {
  return "there is no SAT solver " + std::to_string(number) + "; the default SAT solver is used";
}

}  // namespace nurex
