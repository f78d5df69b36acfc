// Test support: the (marking, code) state space of an STG, breadth first, with unknown
// initial values inferred and consistency checked; shared by the judges of transformed STGs
// and of mapped circuits.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "model/net.h"

namespace nurex::test {

bool isDummy(const Transition* t);

// States keyed by marking bytes then code bytes; codes start from the declared initial values
// (1 or else 0), as countedStgStates does, and `offset` maps them to the real ones.
struct StgSpace {
  const Stg* stg = nullptr;
  std::vector<std::string> keys;
  std::unordered_map<std::string, uint32_t> index;
  std::vector<std::vector<std::pair<const Transition*, uint32_t>>> successors;
  std::vector<uint32_t> parent;
  std::vector<const Transition*> via;
  std::vector<uint8_t> init, offset;  // per signal
  bool complete = true;
  std::string failure;  // unsafe or inconsistent, with a run

  uint8_t value(uint32_t state, const Signal* s) const {
    return static_cast<uint8_t>(keys[state][stg->places.size() + s->index] ^ offset[s->index]);
  }
  // The state of a marking and a code counted from the declared values.
  uint32_t stateOf(const std::vector<uint8_t>& marking, const std::vector<uint8_t>& code) const {
    return index.at(std::string(marking.begin(), marking.end()) + std::string(code.begin(), code.end()));
  }
  // The transitions of a breadth-first run to the state, then `last`, or "(empty run)".
  std::string run(uint32_t state, const Transition* last = nullptr) const;
};

// Explores with toggling signals, takes each unknown initial value (`known` > 1) from the
// first transition of its signal met, then checks consistency.
void exploreStgSpace(const Stg& stg, const std::vector<uint8_t>& known, uint32_t limit, StgSpace& space);

}  // namespace nurex::test
