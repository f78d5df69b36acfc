// Deadlock checking (-D): a configuration whose final marking enables no transition.
#pragma once

#include <memory>

#include "sat/search_mode.h"

namespace nurex {

VerdictTexts deadlockVerdicts();

template <class Unit>
std::unique_ptr<SearchModeBase> makeDeadlockMode(const Unit& unit, const OptionMap& options);

}  // namespace nurex
