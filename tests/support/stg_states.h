// Test support: explicit-state USC, CSC and normalcy facts of a small safe consistent STG,
// and its counted states with their codes and excited signals.
// The states that count are those of runs after which no dummy occurrence is pending
// (all the tokens that it produced still in place), i.e. the configurations without a
// maximal dummy event. A signal is excited in a state when one of its transitions is enabled
// there or after some sequence of dummy transitions.
#pragma once

#include <cstdint>
#include <vector>

#include "support/state_space.h"

namespace nurex::test {

struct StgStateFacts {
  bool complete = true;  // false when the state limit stopped the exploration
  bool safe = true;
  uint32_t states = 0;  // counted states (marking, code)
  int uscCost = -1;     // shortest total length of a USC pair; -1 if there is none
  int cscCost = -1;
  bool normal = true;  // every local signal p-normal or n-normal over all counted pairs
};

StgStateFacts exploreStg(const Stg& stg, uint32_t stateLimit = 20000);

// A counted state, distinct from the others by marking or code.
struct CountedState {
  TokenVector marking;
  std::vector<uint8_t> code;     // per signal; dummies stay 0
  std::vector<uint8_t> excited;  // per signal: some transition of it is enabled, now or after dummies
  uint32_t distance = 0;         // length of a shortest run reaching it
};

struct CountedStates {
  bool complete = true;  // false when the state limit stopped the exploration
  bool safe = true;
  std::vector<CountedState> states;  // in (marking, code) order; empty unless complete and safe
};

CountedStates countedStgStates(const Stg& stg, uint32_t stateLimit = 20000);

// Per signal: some transition of it (among `occurring`, if given) is enabled in the safe
// marking or in one that dummy transitions reach from it.
std::vector<uint8_t> excitedSignals(const Stg& stg, const TokenVector& marking,
                                    const std::vector<bool>* occurring = nullptr);

}  // namespace nurex::test
