// Concurrency reductions: a new place that makes a transition wait for a set of transitions
// it used to run in parallel with. What they are as data and text, which ones are valid, what
// they cost, and the clean-up of places that a reduction leaves implicit.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/prefix.h"
#include "platform/options.h"
#include "resolve/csc_core.h"

namespace nurex {

struct ConcurrencyReduction {
  std::vector<const Transition*> sources;  // by transition number
  bool marked = false;                     // the new place holds a token at the start
  const Transition* target = nullptr;
};

// "u --> t", "{u,v} -*-> t".
std::string reductionText(const ConcurrencyReduction& reduction);
bool reductionLess(const ConcurrencyReduction& a, const ConcurrencyReduction& b);

// The new place "<u,t>", or "<CR,t>" for several sources, in `net`, whose transitions are
// numbered as those the reduction names.
Place* addReductionPlace(Stg& net, const ConcurrencyReduction& reduction);

// A valid reduction and what the STG would be like after it.
struct PricedReduction {
  ConcurrencyReduction reduction;
  uint64_t delay = 0, logic = 0, unlock = 0;
  uint64_t cscCores = 0, uscCores = 0;  // the present conflicts it leaves
};

// The reductions that keep the STG safe, add no deadlock and resolve some of the CSC cores
// given (without adding as many), sorted, each measured on the reduced STG.
std::vector<PricedReduction> validReductions(const StgPrefix& prefix, const OptionMap& options,
                                            const std::vector<CscCore>& cores);

// The places that never alone disable a transition at a reachable marking, in place order;
// each one found is taken as gone when the later ones are tested.
std::vector<const Place*> implicitPlaces(const StgPrefix& prefix);

// Removes the places and their arcs from the net (not from a prefix over it).
void removePlaces(Stg& net, const std::vector<const Place*>& places);

}  // namespace nurex
