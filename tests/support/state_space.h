// Test support: an explicit-state checker for small nets (breadth-first over markings, with
// a shortest run to each), and the markings that a prefix represents, for comparing the two.
#pragma once

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include "model/prefix.h"

namespace nurex::test {

// Token count per place, by place index.
using TokenVector = std::vector<uint32_t>;
// The marked places of a safe marking, ascending.
using PlaceSet = std::vector<uint32_t>;

struct StateSpace {
  static constexpr uint32_t NoState = 0xFFFFFFFFu;

  std::vector<TokenVector> markings;  // by state number; state 0 is the initial marking
  std::vector<std::vector<std::pair<uint32_t, uint32_t>>> successors;  // (transition index, state)
  std::vector<uint32_t> parent;            // breadth-first tree: predecessor, NoState for state 0
  std::vector<uint32_t> parentTransition;  // the transition from the parent
  bool complete = true;   // false when the state limit stopped the exploration
  bool safe = true;       // no reachable marking puts two tokens on a place
  uint32_t firstUnsafe = NoState;  // a state of minimal distance with two tokens somewhere

  uint32_t size() const { return static_cast<uint32_t>(markings.size()); }
  // The state of a marking, or NoState.
  uint32_t find(const TokenVector& marking) const;
  bool isDead(uint32_t state) const { return successors[state].empty(); }
  // Transition indices of a shortest run from the initial marking to the state.
  std::vector<uint32_t> runTo(uint32_t state) const;
  // Every marking as a set of marked places (meaningful for safe nets).
  std::set<PlaceSet> placeSets() const;
};

// Explores at most `stateLimit` markings. Transitions with an empty preset are enabled
// everywhere, so such a net is never complete unless the limit is not reached.
StateSpace exploreStateSpace(const PetriNet& net, uint32_t stateLimit = 1000000);

TokenVector initialMarking(const PetriNet& net);
bool isEnabled(const Transition* t, const TokenVector& marking);
// Fires the transitions (by index) from the initial marking; false if one is not enabled.
bool replayRun(const PetriNet& net, const std::vector<uint32_t>& transitions, TokenVector& marking);

// The final markings (as place sets) of all configurations of the non-cut-off events of a
// prefix, found by generating each configuration once, its events in index order. Stops
// and returns false past `configurationLimit` configurations. With `noMaximalDummies`, only
// configurations in which every dummy event has a consumer of its postset count.
bool prefixPlaceSets(const NodeList<Condition>& conditions, const NodeList<Event>& events, std::set<PlaceSet>& out,
                     uint64_t configurationLimit = 5000000, bool noMaximalDummies = false);

// Whether two conditions of a prefix are concurrent, by brute force over the local
// configurations of their producers.
bool conditionsConcurrent(const Condition* a, const Condition* b);

}  // namespace nurex::test
