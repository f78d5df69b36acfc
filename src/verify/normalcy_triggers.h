// The analysis of triggers behind normalcy checking: for each local signal, the shortest
// event with mixed trigger signs, and its shortest positive and negative hypotheses.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/results.h"

namespace nurex {

// An event of a local signal: the trace of its local configuration and its triggers.
struct TriggerRecord {
  Trace trace;
  std::vector<const Event*> triggers;  // by index
};

struct TriggerAnalysis {
  // By signal index; empty where the signal has no such event.
  std::vector<std::optional<TriggerRecord>> mixed_events, p_hypotheses, n_hypotheses;
  uint32_t reason = 0;  // 0 none, 1 mixed triggers, 2 contradictory hypotheses
  const Signal* offending_signal = nullptr;
  bool ok = true;  // false after the error for a signal without any hypothesis
};

// The nearest causal predecessors of e that are signal events, passing through dummies.
std::vector<const Event*> triggerEvents(const StgPrefix& prefix, const Event* e);

// Fills the three maps from the non-cut-off events of output and internal signals and
// decides the structural reason, if any.
TriggerAnalysis analyseTriggers(const StgPrefix& prefix);

// Names of the transitions (or event numbers) of a trigger list, as a trace line.
Trace triggerTrace(const std::vector<const Event*>& triggers);

}  // namespace nurex
