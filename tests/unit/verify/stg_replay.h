// Test support: replays the deadlocks and conflicts of the modes in the original net (not in the prefix),
// and loads STGs quietly.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "model/net_unit.h"
#include "model/results.h"
#include "platform/options.h"

namespace nurex::test {

// Transitions that have an event in the prefix: legacy files give arcs only to those,
// and a transition without an event is never enabled at a reachable marking.
template <class Unit>
std::vector<bool> transitionsWithEvents(const Unit& unit) {
  std::vector<bool> occurs(unit.transitions.size(), false);
  for (const auto* e : unit.events) occurs[e->transition->index] = true;
  return occurs;
}
// Replays the run in the net: it ends where no transition among `occurs` is enabled.
void expectDeadlock(const PetriNet& net, const std::vector<bool>& occurs, const std::vector<const Transition*>& run);
// Replays both traces and checks that they are a USC (or, with `csc`, a CSC) conflict.
void expectConflict(const StgPrefix& prefix, const Solution& solution, bool csc);

// The options of a state-coding run: -mN, -$N, -f, -a (all = -1 for all solutions).
OptionMap stateCodingOptions(int method, int solver, int minimise = 0, int all = 0);

// tests/data/verify/<name>.g, unfolded on load (stderr swallowed); null on failure.
std::unique_ptr<StgUnit> loadTestStg(const std::string& name);
// Any STG file, loaded with stdout and stderr swallowed; null on failure.
std::unique_ptr<StgUnit> loadStgQuietly(const std::string& path);

}  // namespace nurex::test
