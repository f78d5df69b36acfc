// Test support: the one explicit-state explorer of small nets and STGs (breadth first over
// markings, with signal codes and pending dummies where asked, a shortest run to each state),
// and the markings that a prefix represents, for comparing the two.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "model/prefix.h"

namespace nurex::test {

// Token count per place, by place index.
using TokenVector = std::vector<uint32_t>;
// The marked places of a safe marking, ascending.
using PlaceSet = std::vector<uint32_t>;

// The marked places of a marking.
PlaceSet placesOf(const TokenVector& marking);
// No signal, or a dummy one.
bool isDummy(const Transition* t);

struct ExploreOptions {
  uint32_t stateLimit = 1000000;
  const Stg* stg = nullptr;                  // states carry the code of its signals
  const std::vector<bool>* fires = nullptr;  // only these transitions fire; all when null
  const TokenVector* start = nullptr;        // instead of the initial marking
  bool stopWhenUnsafe = false;               // the first second token on a place ends the search
  // States also hold the postsets of the dummy occurrences whose tokens are all still in place,
  // so that a (marking, code) is reached once with and once without such a pending dummy.
  bool pendingDummies = false;
};

struct StateSpace {
  static constexpr uint32_t NoState = 0xFFFFFFFFu;
  using Pending = std::vector<std::vector<uint32_t>>;

  const Stg* stg = nullptr;
  std::vector<TokenVector> markings;  // by state number; state 0 is the start
  // Per state and signal, counted from the declared values (1, else 0) and toggled by every
  // transition of the signal; `offset` maps them to the inferred values. Empty without an STG.
  std::vector<std::vector<uint8_t>> codes;
  std::vector<Pending> pending;  // per state, with pendingDummies
  std::vector<std::vector<std::pair<const Transition*, uint32_t>>> successors;
  std::vector<uint32_t> parent;         // breadth-first tree: predecessor, NoState for state 0
  std::vector<const Transition*> via;   // the transition from the parent
  std::vector<uint8_t> offset;          // per signal, see signalFailure
  bool complete = true;   // false when the state limit stopped the exploration
  bool safe = true;       // no reachable marking puts two tokens on a place
  uint32_t firstUnsafe = NoState;  // a state of minimal distance with two tokens somewhere

  uint32_t size() const { return static_cast<uint32_t>(markings.size()); }
  // The state of a marking (and code), or NoState; not for spaces with pending dummies.
  uint32_t find(const TokenVector& marking, const std::vector<uint8_t>& code = {}) const;
  bool isDead(uint32_t state) const { return successors[state].empty(); }
  // A shortest run from the start to the state.
  std::vector<const Transition*> runTo(uint32_t state) const;
  // The names of runTo(state), then `last`, or "(empty run)".
  std::string runText(uint32_t state, const Transition* last = nullptr) const;
  // The states reachable from `from` by transitions that `follow` accepts, ascending.
  std::vector<uint32_t> closure(std::vector<uint32_t> from, const std::function<bool(const Transition*)>& follow) const;
  // Every marking as a set of marked places (meaningful for safe nets).
  std::set<PlaceSet> placeSets() const;
  uint8_t value(uint32_t state, const Signal* s) const {
    return static_cast<uint8_t>(codes[state][s->index] ^ (offset.empty() ? 0 : offset[s->index]));
  }

  std::unordered_map<std::string, uint32_t> index;  // by state key
};

// Explores at most `stateLimit` states. Transitions with an empty preset are enabled
// everywhere, so such a net is never complete unless the limit is not reached.
StateSpace exploreStateSpace(const PetriNet& net, const ExploreOptions& options = {});

// What is wrong with an STG's space explored with codes until unsafe: "unsafe: ..." naming the
// place, else "inconsistent: ..." naming a transition that fires against its sign, each with a
// run; "" if nothing. Each unknown initial value (`known` > 1) is taken from the first
// transition of its signal met; `init` gets the values and the space its offsets.
std::string signalFailure(StateSpace& space, const std::vector<uint8_t>& known, std::vector<uint8_t>& init);

TokenVector initialMarking(const PetriNet& net);
// Per signal: declared 1 and not a dummy.
std::vector<uint8_t> initialCode(const Stg& stg);
bool isEnabled(const Transition* t, const TokenVector& marking);
// Moves the tokens, and toggles the signal's value in `code` if one is given.
void fire(const Transition* t, TokenVector& marking, std::vector<uint8_t>* code = nullptr);
// Fires the net's transitions of the run's indices from the initial marking; false if one is
// not enabled.
bool replayRun(const PetriNet& net, const std::vector<const Transition*>& run, TokenVector& marking);

// Per transition: it is among `occurring` (if given) and enabled at the marking or, in an STG,
// at one that dummy transitions among `occurring` reach from it.
std::vector<bool> enabledThroughDummies(const PetriNet& net, bool stg, const TokenVector& marking,
                                        const std::vector<bool>* occurring = nullptr);

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
