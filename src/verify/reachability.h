// Reachability checking (-F, -Fs): a configuration whose final state satisfies a REACH
// predicate given with -d.
#pragma once

#include <memory>
#include <string>

#include "reach/reach_expr.h"
#include "sat/search_mode.h"

namespace nurex {

VerdictTexts reachabilityVerdicts();

// -F over a Petri net prefix, an STG prefix or a merged process, with the -d string.
template <class Unit>
std::unique_ptr<SearchModeBase> makeReachabilityMode(const Unit& unit, const OptionMap& options);
// -Fs: STG states seen from outside (no maximal dummy event, `@` through dummies).
std::unique_ptr<SearchModeBase> makeStgReachabilityMode(const StgPrefix& unit, const OptionMap& options);

// Either of the two over a given property text ("@name" reads a file), for callers that do
// not go through the -d string.
template <class Unit>
std::unique_ptr<SearchModeBase> makeReachabilityChecker(const Unit& unit, const OptionMap& options,
                                                        const std::string& property, bool stgStates);

// The predicate of a property text: the checked tree, or a `fail` node with "predicate is not
// specified" for an empty text and "Failed to read the property" after any reported error.
ReachExprPtr readReachProperty(const std::string& property);

}  // namespace nurex
