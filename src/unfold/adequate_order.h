// The adequate orders on configurations by which the unfolder decides cut-offs.
//
//   0  size, and the smaller is below only if it is a subset (decided by the caller)
//   1  size alone
//   2  size, then Parikh vector: the sorted multisets of transitions, lexicographically
//   3  as 2, then Foata normal form: levels by causal depth from the first; a shorter level
//      is below a longer one, levels of equal length compare by their sorted transitions
//   4  as 3, then the causal structure: each event is described by its depth, transition and
//      for each preset condition (by place) the place, the producer's transition and depth;
//      the sorted descriptions are compared lexicographically
//
// In a safe net the Foata normal form already determines a configuration, so order 3 is
// total and 4 only differs from it on configurations of unsafe nets, which the unfolder
// rejects; 4 still defines a tie-break that depends on nothing but the structure.
#pragma once

#include <cstdint>
#include <vector>

#include "unfold/unfold_state.h"

namespace nurex {

struct ConfigurationSummary {
  uint32_t size = 0;
  std::vector<uint32_t> parikh;  // transition indices ascending, with repetition
  std::vector<uint64_t> foata;   // depth << 32 | transition, ascending: the levels one after another
  std::vector<std::vector<uint32_t>> causal;  // order 4: one description per event, sorted
};

// The summary, as far as `order` needs it, of the configuration made of `events` (numbers
// of events in the prefix) and, if given, the possible extension `extra`.
ConfigurationSummary summarizeConfiguration(const UnfoldState& state, const std::vector<uint32_t>& events,
                                            const Candidate* extra, int order);

// For orders 1 to 4: negative if a is below b, positive if above, 0 if the order does not
// separate them.
int compareConfigurations(int order, const ConfigurationSummary& a, const ConfigurationSummary& b);

}  // namespace nurex
