// The searches (first, all, minimum cost), traces from models and the checks of solutions.
#include "sat/search_mode.h"

#include <algorithm>

#include "platform/reporter.h"

namespace nurex {

std::vector<bool> preset_skip_set(const std::vector<std::vector<uint32_t>>& presets,
                                  const std::vector<std::vector<uint32_t>>& consumers) {
  std::vector<bool> skip(presets.size(), false);
  std::vector<bool> mark(consumers.size(), false);
  std::vector<uint32_t> listed;
  for (uint32_t x = 0; x < presets.size(); ++x) {
    if (skip[x]) continue;
    for (uint32_t m : presets[x]) mark[m] = true;
    listed.clear();
    for (uint32_t m : presets[x]) listed.insert(listed.end(), consumers[m].begin(), consumers[m].end());
    std::sort(listed.begin(), listed.end());
    listed.erase(std::unique(listed.begin(), listed.end()), listed.end());
    for (uint32_t y : listed) {
      if (y <= x || skip[y]) continue;
      size_t outside = 0;
      for (uint32_t m : presets[y]) outside += !mark[m];
      if (outside == 0 && presets[y].size() != presets[x].size()) {
        skip[x] = true;  // y's preset is a proper subset of x's
        break;
      }
      if (outside == 0 || presets[y].size() == presets[x].size() + outside) skip[y] = true;
    }
    for (uint32_t m : presets[x]) mark[m] = false;
  }
  return skip;
}

template <class Unit>
SearchMode<Unit>::SearchMode(const Unit& unit, const OptionMap& options)
    : unit(unit),
      formula(options),
      all_solutions(static_cast<int64_t>(options["all_solutions"])),
      options(options),
      backward_conflict_constraints(options["backward_conflict_constraints"] != 0),
      incremental_acyclic_constraint(options["incremental_acyclic_constraint"] != 0) {}

template <class Unit>
typename SearchMode<Unit>::Configuration& SearchMode<Unit>::configuration(size_t i) {
  while (configurations.size() <= i) configurations.push_back(std::make_unique<Configuration>(formula, unit, false));
  return *configurations[i];
}

template <class Unit>
void SearchMode<Unit>::describe() {
  writeResults(solutions, message_if_found(), message_if_none());
}

template <class Unit>
void SearchMode<Unit>::print_statistics() {
  printTo(stdout, "\n");
  formula.print_statistics(stdout);
}

template <class Unit>
bool SearchMode<Unit>::run() {
  if (all_solutions != 0) return solve_all();
  if (options["min_cost"] != 0) return solve_minimum();
  return solve_first();
}

template <class Unit>
Trace SearchMode<Unit>::trace_of(const Configuration& record) const {
  std::vector<E*> events = record.events_in_model();
  std::vector<int32_t> position(unit.events.size(), -1);
  for (size_t i = 0; i < events.size(); ++i) position[events[i]->index] = static_cast<int32_t>(i);
  std::vector<uint32_t> counter(events.size(), 0);
  auto forEachSuccessor = [&](const E* e, auto&& fn) {
    for (const C* c : e->postset)
      for (const E* f : c->postset)
        if (position[f->index] >= 0) fn(static_cast<size_t>(position[f->index]));
  };
  for (const E* e : events) forEachSuccessor(e, [&](size_t f) { ++counter[f]; });
  std::vector<E*> order;
  for (size_t i = 0; i < events.size(); ++i)
    if (counter[i] == 0) order.push_back(events[i]);
  for (size_t walk = 0; walk < order.size(); ++walk)
    forEachSuccessor(order[walk], [&](size_t f) {
      if (--counter[f] == 0) order.push_back(events[f]);
    });
  // Events on a cycle never reach 0; they are kept at the end so that the checks see them.
  if (order.size() < events.size())
    for (size_t i = 0; i < events.size(); ++i)
      if (counter[i] != 0) order.push_back(events[i]);
  return traceOf(order);
}

template <class Unit>
void SearchMode<Unit>::collect_solution(Solution& solution) {
  solution.traces.clear();
  for (const auto& record : configurations) solution.traces.push_back(trace_of(*record));
}

template <class Unit>
std::vector<typename Unit::EventType*> SearchMode<Unit>::events_of(const Trace& trace) const {
  std::vector<E*> events;
  for (const TraceStep& step : trace) events.push_back(unit.events[step.index]);
  return events;
}

template <class Unit>
bool SearchMode<Unit>::safe_run(const Trace& trace, std::vector<bool>& marked) const {
  marked.assign(unit.conditions.size(), false);
  std::vector<bool> seen(unit.conditions.size(), false);
  for (const C* c : unit.conditions)
    if (isInitialCondition(c)) marked[c->index] = seen[c->index] = true;
  for (const E* e : events_of(trace)) {
    for (const C* c : e->preset) {
      if (!marked[c->index]) {
        reportError("the safe run check failed on c" + std::to_string(c->index));
        return false;
      }
      marked[c->index] = false;
    }
    for (const C* c : e->postset) {
      if (c->index == NoIndex) continue;
      if (marked[c->index] || seen[c->index]) {
        reportError("the safe run check failed on c" + std::to_string(c->index));
        return false;
      }
      marked[c->index] = seen[c->index] = true;
    }
  }
  return true;
}

template <class Unit>
bool SearchMode<Unit>::merged_process_checks(const Trace& trace) const {
  std::vector<E*> events = events_of(trace);
  std::vector<uint8_t> state(unit.events.size(), 0);  // 1 in the trace, 2 on the path, 3 done
  for (const E* e : events) state[e->index] = 1;
  for (const E* root : events) {
    if (state[root->index] != 1) continue;
    std::vector<std::pair<const E*, size_t>> path{{root, 0}};
    state[root->index] = 2;
    std::vector<const E*> successors;
    while (!path.empty()) {
      auto& [e, next] = path.back();
      successors.clear();
      for (const C* c : e->postset)
        for (const E* f : c->postset)
          if (state[f->index]) successors.push_back(f);
      if (next == successors.size()) {
        state[e->index] = 3;
        path.pop_back();
        continue;
      }
      const E* f = successors[next++];
      if (state[f->index] == 2) {
        reportError("acyclicity check failed");
        return false;
      }
      if (state[f->index] == 1) {
        state[f->index] = 2;
        path.push_back({f, 0});
      }
    }
  }
  if constexpr (Unit::isMergedProcess) {
    std::vector<uint32_t> depth(unit.places.size(), 0);  // 0: no occurrence yet
    for (const E* e : events) {
      for (const C* c : e->preset) {
        uint32_t& d = depth[c->place->index];
        bool ok = isInitialCondition(c) ? d == 0 : d == c->occurrenceDepth;
        if (!ok) {
          reportError("no-gap check failed");
          return false;
        }
        d = c->occurrenceDepth;
      }
      for (const C* c : e->postset) {
        uint32_t& d = depth[c->place->index];
        if (c->occurrenceDepth == 1 ? d != 0 : d != c->occurrenceDepth - 1) {
          reportError("no-gap check failed");
          return false;
        }
        d = c->occurrenceDepth;
      }
    }
  }
  return true;
}

template <class Unit>
bool SearchMode<Unit>::validate(const Solution& solution) {
  std::vector<bool> marked;
  for (const Trace& trace : solution.traces) {
    if constexpr (Unit::isMergedProcess)
      if (!merged_process_checks(trace)) return false;
    if (!safe_run(trace, marked)) return false;
  }
  return true;
}

template <class Unit>
void SearchMode<Unit>::add_solution() {
  auto solution = std::make_unique<Solution>(options["output_configurations"] != 0);
  collect_solution(*solution);
  // Every answer is checked before it can be reported; a failure is an internal error.
  if (!validate(*solution)) return;
  if (all_solutions == 0) solutions.clear();
  solutions.push_back(std::move(solution));
}

template <class Unit>
bool SearchMode<Unit>::reject_cyclic() {
  if (!Unit::isMergedProcess || !incremental_acyclic_constraint) return false;
  bool added = false;
  for (auto& record : configurations) added |= record->reject_cyclic(PermanentGroup);
  return added;
}

template <class Unit>
bool SearchMode<Unit>::solve_first() {
  build_instance(PermanentGroup);
  do {
    formula.print_instance_size();
    if (!formula.solve() || raiseStatus(0) >= StatusError) return false;
  } while (reject_cyclic());
  add_solution();
  return !solutions.empty();
}

template <class Unit>
void SearchMode<Unit>::projection(std::vector<Literal>& out) {
  for (const auto& record : configurations) record->projection(out);
}

template <class Unit>
bool SearchMode<Unit>::solve_all() {
  build_instance(PermanentGroup);
  std::vector<Literal> literals;
  projection(literals);
  if (raiseStatus(0) < StatusError)
    formula.enumerate(literals, 0, [&](const TernaryVector&) {
      if (!reject_cyclic()) add_solution();
    }, all_solutions);
  return !solutions.empty();
}

template <class Unit>
void SearchMode<Unit>::cost_vector(BitVector& out, Polarity polarity) {
  out.clear();
  if (configurations.empty()) return;
  // Consumers of one condition exclude each other, so a group's count is its OR.
  std::vector<Literal> terms;
  for (const auto& record : configurations) {
    std::vector<bool> grouped(unit.events.size(), false);
    std::vector<Literal> group;
    for (const C* c : unit.conditions) {
      group.clear();
      for (const E* e : c->postset)
        if (!eventIsCutOff(e) && !grouped[e->index]) {
          grouped[e->index] = true;
          group.push_back(record->event_in(e));
        }
      if (group.size() == 1) terms.push_back(group[0]);
      else if (group.size() > 1) terms.push_back(formula.make_gate(GateOr, group, PermanentGroup, polarity));
    }
    for (const E* e : unit.events)
      if (!eventIsCutOff(e) && !grouped[e->index]) terms.push_back(record->event_in(e));
  }
  out = BitVectorEncoder(formula, PermanentGroup).count(terms);
}

template <class Unit>
bool SearchMode<Unit>::solve_and_record(const BitVector& v, std::vector<bool>& b) {
  do {
    if (!formula.solve() || raiseStatus(0) >= StatusError) return false;
  } while (reject_cyclic());
  if (!solutions.empty()) solutions.pop_back();
  add_solution();
  b.assign(v.size(), false);
  for (size_t i = 0; i < v.size(); ++i) b[i] = formula.value(v[i]) == ValueTrue;
  return true;
}

template <class Unit>
bool SearchMode<Unit>::first_for_minimum(BitVector& v, std::vector<bool>& b) {
  if (!solve_first() || raiseStatus(0) >= StatusError) return false;
  solutions.pop_back();
  std::vector<Literal> literals, cube;
  projection(literals);
  for (Literal l : literals) {
    TernaryValue value = formula.value(l);
    if (value == ValueTrue) cube.push_back(l);
    else if (value == ValueFalse) cube.push_back(negate(l));
  }
  cost_vector(v, 0);
  for (Literal l : cube) formula.add_unit(l, TemporaryGroup);
  b.assign(v.size(), false);
  bool found = solve_and_record(v, b);
  formula.recreate_group(TemporaryGroup);
  return found;
}

// Greedy lexicographic minimisation from the top bit; the stored solution is always the
// best so far and `b` holds its cost.
template <class Unit>
void SearchMode<Unit>::descend(const BitVector& v, std::vector<bool>& b) {
  if (solutions.empty() && !solve_and_record(v, b)) return;
  bool ok = true;
  std::vector<Literal> fixed, pending;
  for (size_t i = v.size(); i-- > 0;) {
    Literal l = v[i];
    if (!b[i]) {
      if (l == LiteralFalse) continue;
      if (l == LiteralTrue) break;
      pending.push_back(negate(l));
      continue;
    }
    if (l == LiteralTrue) continue;
    fixed.insert(fixed.end(), pending.begin(), pending.end());
    if (ok) {
      for (Literal p : pending) formula.add_unit(p, TemporaryGroup);
    } else {
      formula.recreate_group(TemporaryGroup);
      for (Literal f : fixed) formula.add_unit(f, TemporaryGroup);
    }
    pending.clear();
    if (l == LiteralFalse) {
      if (!(ok = solve_and_record(v, b))) break;
      continue;
    }
    formula.add_unit(negate(l), TemporaryGroup);
    ok = solve_and_record(v, b);
    fixed.push_back(ok ? negate(l) : l);
    if (raiseStatus(0) >= StatusError) break;
  }
  formula.recreate_group(TemporaryGroup);
}

template <class Unit>
bool SearchMode<Unit>::solve_minimum() {
  BitVector v;
  std::vector<bool> b;
  first_for_minimum(v, b);
  if (raiseStatus(0) < StatusError && !solutions.empty()) descend(v, b);
  return raiseStatus(0) < StatusError && !solutions.empty();
}

template class SearchMode<PetriNetPrefix>;
template class SearchMode<StgPrefix>;
template class SearchMode<PetriNetMergedProcess>;
template class SearchMode<StgMergedProcess>;

}  // namespace nurex
