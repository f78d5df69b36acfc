// Status latch and diagnostics output.
#include "platform/reporter.h"

#include <cstdarg>
#include <cstring>

namespace nurex {

namespace {
std::atomic<uint32_t> status{0};
thread_local OutputCapture* capture = nullptr;

std::atomic<uint32_t>& statusWord() { return capture ? capture->status : status; }

// Whether the text went to the capture instead of the stream.
bool held(FILE* stream, const char* text) {
  if (!capture || (stream != stdout && stream != stderr)) return false;
  if (!capture->pieces.empty() && capture->pieces.back().first == stream) capture->pieces.back().second += text;
  else capture->pieces.emplace_back(stream, text);
  return true;
}

// Messages go through a bounded buffer, so one message never exceeds it; the buffer is not on
// the heap, so that "memory overflow" can still be written when the heap is exhausted.
thread_local char buffer[MessageBufferSize];

void emit(FILE* stream, const char* frame, const std::string& text) {
  std::snprintf(buffer, sizeof buffer, "%s", text.c_str());
  if (capture) {
    std::string framed(std::strlen(frame) + std::strlen(buffer), '\0');
    framed.resize(std::snprintf(framed.data(), framed.size() + 1, frame, buffer));
    if (held(stream, framed.c_str())) return;
  }
  std::fprintf(stream, frame, buffer);
  std::fflush(stream);
}
}  // namespace

unsigned verbosity = 0;

uint32_t raiseStatus(uint32_t level) {
  std::atomic<uint32_t>& word = statusWord();
  uint32_t found = word.load();
  while (found < level && !word.compare_exchange_weak(found, level)) {
  }
  return found;
}

void resetStatus() { statusWord().store(0); }

void writeText(FILE* stream, const std::string& text) {
  if (held(stream, text.c_str())) return;
  std::fputs(text.c_str(), stream);
  std::fflush(stream);
}

OutputCapture* captureThreadOutput(OutputCapture* c) {
  OutputCapture* outer = capture;
  capture = c;
  return outer;
}

void releaseCapture(OutputCapture& c) {
  for (const auto& [stream, text] : c.pieces) {
    std::fputs(text.c_str(), stream);
    std::fflush(stream);
  }
  c.pieces.clear();
  uint32_t level = c.status.load();
  uint32_t found = status.load();
  while (found < level && !status.compare_exchange_weak(found, level)) {
  }
}

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
  if (held(stream, buffer)) return;
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
