// The run's life cycle from start-up to the exit status.
#pragma once

namespace nurex {

int runMain(int argc, char** argv);

}  // namespace nurex
