// Test support: explicit-state USC, CSC and normalcy facts of a small safe consistent STG.
// The states that count are those of runs after which no dummy occurrence is pending
// (all the tokens that it produced still in place), i.e. the configurations without a
// maximal dummy event.
#pragma once

#include <cstdint>
#include <vector>

#include "model/net.h"

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

}  // namespace nurex::test
