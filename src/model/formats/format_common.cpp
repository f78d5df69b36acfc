// Whole-file input and the message texts shared by the formats.
#include "model/formats/format_common.h"

#include <sys/stat.h>

#include <cstdio>

#include "platform/reporter.h"

namespace nurex {

bool readWholeFile(const std::string& fileName, std::string& text) {
  FILE* file = std::fopen(fileName.c_str(), "rb");
  if (!file) {
    reportError(cannotOpenForInput(fileName));
    return false;
  }
  text.clear();
  // The size of a regular file saves the regrowth of a large text.
  struct stat status;
  if (fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0)
    text.reserve(static_cast<size_t>(status.st_size));
  char chunk[1 << 16];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) text.append(chunk, got);
  bool failed = std::ferror(file);
  std::fclose(file);
  if (failed) {
    // A directory opens on some systems and then fails to read.
    reportError(cannotOpenForInput(fileName));
    return false;
  }
  return true;
}

bool endsWith(std::string_view text, std::string_view tail) {
  return text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail;
}

std::string legacyFormatDeprecated(const std::string& formatName) {
  return "the legacy " + formatName +
         " format is deprecated, as it does not store sufficient information for some applications and may result in "
         "errorneous output; you are STRONGLY ADVISED to switch to the new PNML-based format";
}


std::string signalDeclaredTwice(const std::string& signal, const std::string& file, unsigned long line) {
  return "signal " + signal + " is declared more then once (file " + file + ", line " + std::to_string(line) + ")";
}

std::string dummySignalHasInitialValue(const std::string& signal) {
  return "dummy signal " + signal + " has an initial value distinct from '?'";
}

std::string dummyTransitionHasSign(const std::string& transition) {
  return "dummy transition " + transition + " cannot have sign";
}

std::string unknownFileExtension(const std::string& fileName) { return "unknown file extension: " + fileName; }

}  // namespace nurex
