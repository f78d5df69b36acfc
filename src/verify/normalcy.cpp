// The normalcy mode: structural answers from the trigger analysis, a CSC search before the
// minimising one, and the SAT search for two configurations with ordered codes whose
// next-state values break a signal's hypothesis.
#include "verify/normalcy.h"

#include "platform/reporter.h"

namespace nurex {

NormalcyMode::NormalcyMode(const StgPrefix& prefix, const OptionMap& options)
    : ConflictMode(prefix, options, true, false), violation_(prefix.signals.size(), LiteralUninit) {
  if (signals.ok()) analysis = analyseTriggers(prefix);
  reason = analysis.reason;
  offending_signal = analysis.offending_signal;
}

void NormalcyMode::order_configurations(Configuration& first, Configuration& second, int group) {
  add_inclusion(first, second, false, group);
}

void NormalcyMode::equal_codes(int group) {
  for (const Signal* s : unit.signals) {
    if (s->kind == SignalDummy) continue;
    formula.add_binary(negate(signals.code(first_record(), s)), signals.code(second_record(), s), group);
  }
}

Literal NormalcyMode::violation(const Signal* z) {
  Literal& cached = violation_[z->index];
  if (cached != LiteralUninit) return cached;
  bool n = has_n_hypothesis(z);
  // n-normalcy breaks when Nxt rises from C1 to C2, p-normalcy when it falls.
  Literal pair[2] = {signals.next(first_record(), z), signals.next(second_record(), z)};
  pair[n ? 0 : 1] = negate(pair[n ? 0 : 1]);
  return cached = formula.make_gate(GateAnd, pair, PermanentGroup, +1);
}

bool NormalcyMode::violated(const Signal* z, const FinalState& first, const FinalState& second) const {
  bool a = nextValue(first, z->index), b = nextValue(second, z->index);
  return has_n_hypothesis(z) ? !a && b : a && !b;
}

void NormalcyMode::difference_constraint(int group) {
  std::vector<Literal> clause;
  for (uint32_t i = unit.outputsBegin; i < unit.dummiesBegin; ++i) {
    signals.enabled(first_record(), unit.signals[i]);
    signals.enabled(second_record(), unit.signals[i]);
  }
  for (uint32_t i = unit.outputsBegin; i < unit.dummiesBegin; ++i) clause.push_back(violation(unit.signals[i]));
  formula.add_clause(clause, group);
}

void NormalcyMode::item_constraint(int group) { formula.add_unit(violation(unit.signals[item]), group); }

bool NormalcyMode::validate(const Solution& given) {
  const auto& s = static_cast<const NormalcySolution&>(given);
  if (s.reason != ReasonCscConflict && s.reason != ReasonOther) return true;
  Solution pair;
  pair.traces.assign(s.traces.end() - 2, s.traces.end());
  if (!SearchMode<StgPrefix>::validate(pair)) return false;
  FinalState a = finalStateOf(unit, pair.traces[0], signals.via_dummies),
             b = finalStateOf(unit, pair.traces[1], signals.via_dummies);
  const Signal* z = s.offending;
  bool holds = z && (s.reason == ReasonCscConflict ? codesEqual(a, b) && nextValue(a, z->index) != nextValue(b, z->index)
                                                   : codeDominated(a, b) && violated(z, a, b));
  if (!holds) reportError("normalcy check failed");
  return holds;
}

// A model's reason and signal are decided per model, so that each reported solution names
// a signal that its own pair of configurations shows.
void NormalcyMode::add_solution() {
  auto solution = std::make_unique<NormalcySolution>(options["output_configurations"] != 0);
  if (analysis.reason != ReasonNone) {
    fill(*solution, nullptr, nullptr);
  } else {
    collect_solution(*solution);
    std::vector<Trace> pair = std::move(solution->traces);
    FinalState a = finalStateOf(unit, pair[0], signals.via_dummies),
               b = finalStateOf(unit, pair[1], signals.via_dummies);
    offending_signal = item >= 0 ? unit.signals[item] : nullptr;
    for (uint32_t i = unit.outputsBegin; i < unit.dummiesBegin && !offending_signal; ++i)
      if (violated(unit.signals[i], a, b)) offending_signal = unit.signals[i];
    if (!offending_signal) offending_signal = differing_local_signal(a, b);
    if (!offending_signal) {
      reportError("normalcy check failed");
      return;
    }
    reason = codesEqual(a, b) ? ReasonCscConflict : ReasonOther;
    fill(*solution, &pair[0], &pair[1]);
  }
  if (!validate(*solution)) return;
  if (all_solutions == 0) solutions.clear();
  solutions.push_back(std::move(solution));
}

void NormalcyMode::fill(NormalcySolution& s, const Trace* first, const Trace* second) const {
  const Signal* z = offending_signal;
  s.reason = reason;
  s.signal = z ? z->name : "";
  s.offending = z;
  bool n = z && has_n_hypothesis(z);
  auto addRecord = [&](const std::optional<TriggerRecord>& record) {
    s.traces.push_back(record->trace);
    s.triggers.push_back(triggerTrace(record->triggers));
  };
  switch (reason) {
    case ReasonMixedTriggers: addRecord(analysis.mixed_events[z->index]); break;
    case ReasonContradictoryHypotheses:
      addRecord(analysis.p_hypotheses[z->index]);
      addRecord(analysis.n_hypotheses[z->index]);
      break;
    case ReasonOther:
      s.first_trace_violates_n = !n;
      addRecord(n ? analysis.n_hypotheses[z->index] : analysis.p_hypotheses[z->index]);
      [[fallthrough]];
    default:
      s.traces.push_back(*first);
      s.traces.push_back(*second);
  }
  if (reason >= ReasonCscConflict) s.hypothesis = n ? 'n' : 'p';
}

bool NormalcyMode::structural_answer() {
  add_solution();
  return true;
}

bool NormalcyMode::solve_first() {
  if (!analysis.ok || raiseStatus(0) >= StatusError) return false;
  if (analysis.reason != ReasonNone) return structural_answer();
  return ConflictMode::solve_first();
}

bool NormalcyMode::solve_all() {
  if (!analysis.ok || raiseStatus(0) >= StatusError) return false;
  if (analysis.reason != ReasonNone) return structural_answer();
  return ConflictMode::solve_all();
}

// A CSC conflict is the cheapest explanation and is looked for first, by its own detector.
bool NormalcyMode::solve_minimum() {
  if (!analysis.ok || raiseStatus(0) >= StatusError) return false;
  if (analysis.reason != ReasonNone) return structural_answer();
  ConflictMode detector(unit, options, true, true);
  detector.run();
  if (raiseStatus(0) >= StatusError) return false;
  if (!detector.result_list().empty()) {
    const auto& conflict = static_cast<const ConflictSolution&>(*detector.result_list().front());
    auto solution = std::make_unique<NormalcySolution>(options["output_configurations"] != 0);
    reason = ReasonCscConflict;
    offending_signal = conflict.signal;
    fill(*solution, &conflict.traces[0], &conflict.traces[1]);
    solutions.clear();
    solutions.push_back(std::move(solution));
    return true;
  }
  return ConflictMode::solve_minimum();
}

std::unique_ptr<SearchModeBase> makeNormalcyMode(const StgPrefix& prefix, const OptionMap& options) {
  return std::make_unique<NormalcyMode>(prefix, options);
}

}  // namespace nurex
