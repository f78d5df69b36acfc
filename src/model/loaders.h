// The three loaders of the modes: each picks the reader by file name and PNML type and
// returns an owned unit, or null after a reported error.
#pragma once

#include <string>

#include "model/net_unit.h"

namespace nurex {

DeadlockUnit* loadDeadlockUnit(const std::string& fileName);
ReachUnit* loadReachUnit(const std::string& fileName);
StgUnit* loadStgUnit(const std::string& fileName);

}  // namespace nurex
