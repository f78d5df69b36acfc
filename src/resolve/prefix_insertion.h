// Rewriting a prefix in place for the insertions of a new signal, so that a step of -R does
// not unfold the STG again and the events of the conflicts found so far keep their identity.
#pragma once

#include <vector>

#include "resolve/insertion.h"

namespace nurex {

// One insertion as applied to the net: its new transition and the places made for it
// (`into` feeds x, `out` is fed by x; null where the insertion re-routes existing places).
struct AppliedInsertion {
  Insertion insertion;
  std::vector<InsertionInstance> instances;  // taken from the prefix before any change
  Transition* x = nullptr;
  Place* into = nullptr;
  Place* out = nullptr;
};

// Adds the events and conditions of the new transitions and renumbers the prefix in a causal
// order. False, with the prefix unusable, if some event no longer matches its transition:
// the caller then unfolds the net again.
bool insertIntoPrefix(StgPrefix& prefix, const std::vector<AppliedInsertion>& applied);

// Every event takes and gives tokens as its transition does, the initial conditions are the
// initial marking, and every event comes after its causes in the numbering.
bool prefixMatchesNet(const StgPrefix& prefix);

}  // namespace nurex
