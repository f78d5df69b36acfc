// Rewriting a prefix in place for the insertions of a new signal, so that a step of -R does
// not unfold the STG again and the events of the conflicts found so far keep their identity.
#pragma once

#include <memory>
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

// Adds a new internal signal named `base` (or base1, base2, ... if taken) with one transition
// per insertion, "+" or "-" by `signs`, and the places that wire it in; fills x, into and out
// of each insertion. The prefix is not touched.
Signal* addInsertedSignal(Stg& net, const std::string& base, bool initialValue, std::vector<AppliedInsertion>& applied,
                          const std::vector<uint32_t>& signs);

// Moves the net of `prefix` into a fresh prefix and unfolds it as a modified STG is unfolded
// again (no concurrency relation); false after the unfolder's error.
bool unfoldAgain(std::unique_ptr<StgPrefix>& prefix);

class EventOrder;
// Every event of the signal has the sign that the parity of its predecessors of the signal
// gives, no two of them are concurrent, and cut-offs agree with their correspondents.
bool signalConsistent(const StgPrefix& prefix, const EventOrder& order, const Signal* signal);

}  // namespace nurex
