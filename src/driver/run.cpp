// Start-up, dispatch and shut-down of one run; the exit code is the reporter's status.
#include "driver/run.h"

#include <cstdio>

#include "driver/command_line.h"
#include "driver/mode_frame.h"
#include "platform/memory.h"
#include "platform/reporter.h"
#include "platform/system.h"

namespace nurex {

namespace {

void shutDown() {
  releaseMemoryReserve();
  deleteTempFiles();
}

// wait_mode 3 always waits, 2 on a warning or error, 1 on an error, 0 never. Whether it waited.
bool waitForUser(uint32_t status, int32_t waitMode) {
  if (static_cast<int64_t>(status) + waitMode < 3) return false;
  printTo(stdout, "\n Press `Enter'...");
  int c;
  while ((c = std::getchar()) != EOF && c != '\n') {
  }
  return true;
}

}  // namespace

int runMain(int argc, char** argv) {
  // On Linux the heap needs no low-fragmentation request.
  installOutOfMemoryHandler();
  std::optional<OptionMap> options = parseCommandLine(argc, argv);
  if (!options) {
    shutDown();
    return static_cast<int>(raiseStatus(0));
  }
  verbosity = static_cast<unsigned>((*options)["verbosity"]);
  printTo(stdout, "\nfile: %s", runStrings.inputFileName.c_str());
  runMode(*options);
  // Every text line above starts with its newline; this one ends the last, so that the
  // shell's prompt starts a line of its own (after a wait, the user's Enter did).
  if (!waitForUser(raiseStatus(0), (*options)["wait_mode"])) printTo(stdout, "\n");
  options.reset();
  shutDown();
  return static_cast<int>(raiseStatus(0));
}

}  // namespace nurex
