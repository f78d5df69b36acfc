// Start-up, dispatch and shut-down of one run.
#include "driver/run.h"

#include "platform/reporter.h"

namespace nurex {

int runMain(int, char**) { return static_cast<int>(raiseStatus(0)); }

}  // namespace nurex
