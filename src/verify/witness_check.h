// The check of a reachability witness: the normalised predicate evaluated on the final
// states of the solution's traces, independently of its encoding.
#pragma once

#include <cstdint>
#include <vector>

#include "model/results.h"
#include "reach/reach_expr.h"

namespace nurex {

struct WitnessSettings {
  bool enable_via_dummies;  // `@` may see an event enabled once dummies in its past have fired
  bool no_max_dummies;      // no trace may have a dummy event that nothing in it follows
};

// traces[i] is the configuration of level levels[i]. True when the predicate holds there and,
// with no_max_dummies, no trace has a maximal dummy event.
template <class Unit>
bool witnessSatisfies(const Unit& unit, const ReachExpr& predicate, const std::vector<uint32_t>& levels,
                      const std::vector<Trace>& traces, WitnessSettings settings);

}  // namespace nurex
