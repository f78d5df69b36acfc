// The frame that every (mode, unit kind) handler runs in.
#pragma once

#include <memory>

#include "model/net_unit.h"
#include "platform/options.h"
#include "sat/search_mode.h"

namespace nurex {

template <class U>
using ModeFactory = std::unique_ptr<SearchModeBase> (*)(const U&, const OptionMap&);

// Runs one mode on a loaded unit: statistics, coefficients (STG units), checker, verdict, times.
// A null factory means the mode has no implementation for this kind of unit yet.
template <class U>
void runHandlerFrame(U& unit, OptionMap options, ModeFactory<U> makeChecker);

// Entry of the mode table: load, dispatch by tag, destroy.
void runMode(const OptionMap& options);

}  // namespace nurex
