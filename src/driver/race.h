// The two engines on `.g` input: the prefix engine (unfolder and SAT) on one thread and the
// explicit-state engine on another, the first verdict counting (beyond the specification).
#pragma once

#include "platform/options.h"

namespace nurex {

// Whether the run goes to the explicit-state engine, alone or racing: `.g` input, a mode it
// answers, and no option whose output names events of the prefix or asks for all solutions.
bool explicitEngineApplies(const OptionMap& options);

// Runs the engines that the options select; `prefixPath` is the mode's usual load and run.
void runEngines(const OptionMap& options, void (*prefixPath)(const OptionMap&));

// For the prefix engine's handler frame once its checker has run: whether its answer is the
// one that counts (always, outside a race). Its held-back output is written out when it does.
bool claimAnswer();

}  // namespace nurex
