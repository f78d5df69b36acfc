// Clauses whose models are the configurations of a process: causality, conflicts, and for
// merged processes backward conflicts, occurrence order and acyclicity.
#include "sat/configuration.h"

#include <algorithm>

#include "platform/options.h"
#include "platform/reporter.h"

namespace nurex {

bool isInitialCondition(const Condition* c) { return c->producer == nullptr; }
bool isInitialCondition(const MpCondition* c) { return c->tokens > 0 || c->preset.empty(); }

namespace {

template <class Fn>
void forEachProducer(const Condition* c, Fn&& fn) {
  if (c->producer) fn(c->producer);
}
template <class Fn>
void forEachProducer(const MpCondition* c, Fn&& fn) {
  for (MpEvent* e : c->preset) fn(e);
}

// The events on one side of a condition (consumers, or producers when `producers`).
template <class C, class Fn>
void forEachNeighbour(const C* c, bool producers, Fn&& fn) {
  if (producers) forEachProducer(c, fn);
  else
    for (auto* e : c->postset) fn(e);
}
// The conditions on the matching side of an event (preset for consumers, postset for producers).
template <class E>
const auto& eventSide(const E* e, bool producers) {
  return producers ? e->postset : e->preset;
}

}  // namespace

template <class Unit>
std::vector<bool> conflict_skip_set(const Unit& unit, bool producers) {
  const uint32_t nb = unit.conditions.size();
  std::vector<bool> skip(nb, false), mark(unit.events.size(), false);
  std::vector<const typename Unit::ConditionType*> listed;
  for (const auto* b : unit.conditions) {
    if (skip[b->index]) continue;
    uint32_t all = 0, k = 0;
    forEachNeighbour(b, producers, [&](const auto* e) {
      ++all;
      if (!eventIsCutOff(e)) {
        mark[e->index] = true;
        ++k;
      }
    });
    if (all >= 2 && k >= 2) {
      listed.clear();
      forEachNeighbour(b, producers, [&](const auto* e) {
        if (mark[e->index])
          for (const auto* d : eventSide(e, producers)) listed.push_back(d);
      });
      std::sort(listed.begin(), listed.end(), [](auto* x, auto* y) { return x->index < y->index; });
      listed.erase(std::unique(listed.begin(), listed.end()), listed.end());
      for (const auto* d : listed) {
        if (d->index <= b->index || skip[d->index]) continue;
        uint32_t t = 0, o = 0;
        forEachNeighbour(d, producers, [&](const auto* e) {
          if (eventIsCutOff(e)) return;
          ++t;
          if (!mark[e->index]) ++o;
        });
        if (o == 0) skip[d->index] = true;  // d's events are among b's
        else if (t == k + o) {               // b's events are among d's
          skip[b->index] = true;
          break;
        }
      }
    } else {
      skip[b->index] = true;
    }
    forEachNeighbour(b, producers, [&](const auto* e) { mark[e->index] = false; });
  }
  return skip;
}

template <class Unit>
ConfigurationVariables<Unit>::ConfigurationVariables(SatFormula& formula, const Unit& unit, bool no_branch)
    : formula(formula),
      unit(unit),
      no_branch(no_branch),
      event_in_table(unit.events.size()),
      produced_table(unit.conditions.size()),
      marked_table(unit.conditions.size()),
      place_marked_table(unit.places.size()),
      transition_enabled(unit.transitions.size()) {
  if constexpr (Unit::NetType::isStg) {
    signal_code.resize(unit.signals.size());
    signal_enabled.resize(unit.signals.size());
    signal_next.resize(unit.signals.size());
  }
}

template <class Unit>
Literal ConfigurationVariables<Unit>::event_in(const E* e) {
  if (eventIsCutOff(e)) return LiteralFalse;
  CachedLiteral& cached = event_in_table[e->index];
  if (cached.literal == LiteralUninit) {
    uint32_t v = formula.new_variable(no_branch);
    cached.literal = positive_literal(v);
  }
  return cached.literal;
}

template <class Unit>
Literal ConfigurationVariables<Unit>::produced(const C* b, Polarity polarity) {
  CachedLiteral& cached = produced_table[b->index];
  if (isInitialCondition(b)) {
    cached = {LiteralTrue, 0};
    return LiteralTrue;
  }
  std::vector<Literal> producers;
  forEachProducer(b, [&](const E* e) {
    if (!eventIsCutOff(e)) producers.push_back(event_in(e));
  });
  return formula.make_gate(cached, GateOr, producers, acyclic_group_, polarity);
}

template <class Unit>
Literal ConfigurationVariables<Unit>::marked(const C* b, Polarity polarity) {
  CachedLiteral& cached = marked_table[b->index];
  if (cached.literal != LiteralUninit && (cached.polarity == 0 || cached.polarity == polarity)) return cached.literal;
  std::vector<Literal> children{produced(b, polarity)};
  for (const E* e : b->postset)
    if (!eventIsCutOff(e)) children.push_back(negate(event_in(e)));
  return formula.make_gate(cached, GateAnd, children, acyclic_group_, polarity);
}

template <class Unit>
const std::vector<const typename Unit::ConditionType*>& ConfigurationVariables<Unit>::conditions_of_place(const Place* p) {
  if (!place_index_built_) {
    // Conditions that only cut-offs produce can never be marked, so they stay out.
    conditions_by_place_.assign(unit.places.size(), {});
    for (const C* b : unit.conditions) {
      bool producible = isInitialCondition(b);
      forEachProducer(b, [&](const E* e) { producible |= !eventIsCutOff(e); });
      if (producible) conditions_by_place_[b->place->index].push_back(b);
    }
    place_index_built_ = true;
  }
  return conditions_by_place_[p->index];
}

template <class Unit>
Literal ConfigurationVariables<Unit>::place_marked(const Place* p, Polarity polarity) {
  CachedLiteral& cached = place_marked_table[p->index];
  if (cached.literal != LiteralUninit && (cached.polarity == 0 || cached.polarity == polarity)) return cached.literal;
  std::vector<Literal> children;
  for (const C* b : conditions_of_place(p)) children.push_back(marked(b, polarity));
  return formula.make_gate(cached, GateOr, children, acyclic_group_, polarity);
}

template <class Unit>
void ConfigurationVariables<Unit>::encode_causality(int group) {
  for (const E* e : unit.events) {
    if (eventIsCutOff(e)) continue;
    for (const C* b : e->preset) formula.add_binary(negate(event_in(e)), produced(b, +1), group);
  }
}

template <class Unit>
void ConfigurationVariables<Unit>::encode_conflicts(int group, bool producers) {
  std::vector<bool> skip = conflict_skip_set(unit, producers);
  std::vector<Literal> literals;
  for (const C* b : unit.conditions) {
    if (skip[b->index]) continue;
    literals.clear();
    forEachNeighbour(b, producers, [&](const E* e) {
      if (!eventIsCutOff(e)) literals.push_back(event_in(e));
    });
    formula.at_most_one(literals, group);
  }
}

template <class Unit>
void ConfigurationVariables<Unit>::encode_occurrence_order(int group) {
  if constexpr (Unit::isMergedProcess) {
  std::vector<const C*> order(unit.conditions.begin(), unit.conditions.end());
  std::sort(order.begin(), order.end(), [](const C* x, const C* y) {
    if (x->place->index != y->place->index) return x->place->index < y->place->index;
    return x->occurrenceDepth < y->occurrenceDepth;
  });
  for (size_t i = 1; i < order.size(); ++i)
    if (order[i - 1]->place == order[i]->place)
      formula.add_binary(produced(order[i - 1], +1), negate(produced(order[i], -1)), group);
  }
  (void)group;
}

// Nodes: condition c is c->index, event e is |B| + e->index. Tarjan's algorithm, iterative.
template <class Unit>
std::vector<std::vector<uint32_t>> ConfigurationVariables<Unit>::strong_components(const std::vector<bool>& eventAllowed) const {
  const uint32_t nb = unit.conditions.size(), n = nb + unit.events.size();
  auto successors = [&](uint32_t v, std::vector<uint32_t>& out) {
    out.clear();
    if (v < nb) {
      for (const E* e : unit.conditions[v]->postset)
        if (eventAllowed[e->index]) out.push_back(nb + e->index);
    } else if (eventAllowed[v - nb]) {
      for (const C* c : unit.events[v - nb]->postset) out.push_back(c->index);
    }
  };
  std::vector<uint32_t> index(n, NoIndex), low(n, 0), stack;
  std::vector<bool> onStack(n, false);
  std::vector<std::vector<uint32_t>> components;
  struct Frame {
    uint32_t v;
    std::vector<uint32_t> succ;
    size_t next;
  };
  uint32_t counter = 0;
  for (uint32_t root = 0; root < n; ++root) {
    if (index[root] != NoIndex || (root >= nb && !eventAllowed[root - nb])) continue;
    std::vector<Frame> frames;
    auto open = [&](uint32_t v) {
      index[v] = low[v] = counter++;
      stack.push_back(v);
      onStack[v] = true;
      frames.push_back({v, {}, 0});
      successors(v, frames.back().succ);
    };
    open(root);
    while (!frames.empty()) {
      Frame& f = frames.back();
      if (f.next < f.succ.size()) {
        uint32_t w = f.succ[f.next++];
        if (index[w] == NoIndex) open(w);
        else if (onStack[w]) low[f.v] = std::min(low[f.v], index[w]);
        continue;
      }
      uint32_t v = f.v;
      frames.pop_back();
      if (!frames.empty()) low[frames.back().v] = std::min(low[frames.back().v], low[v]);
      if (low[v] != index[v]) continue;
      std::vector<uint32_t> component;
      uint32_t w;
      do {
        w = stack.back();
        stack.pop_back();
        onStack[w] = false;
        component.push_back(w);
      } while (w != v);
      if (component.size() > 1) {
        std::sort(component.begin(), component.end());
        components.push_back(std::move(component));
      }
    }
  }
  return components;
}

// For each condition b with a producer in the component: reachability from b through nodes
// present in the configuration must never come back to a producer of b.
template <class Unit>
void ConfigurationVariables<Unit>::encode_component_reachability(const std::vector<uint32_t>& component, int group) {
  const uint32_t nb = unit.conditions.size();
  std::vector<int64_t> position(nb + unit.events.size(), -1);
  for (size_t i = 0; i < component.size(); ++i) position[component[i]] = static_cast<int64_t>(i);
  auto literalOf = [&](uint32_t v) {
    return v < nb ? produced(unit.conditions[v], -1) : event_in(unit.events[v - nb]);
  };
  std::vector<std::vector<uint32_t>> successors(component.size());
  for (size_t i = 0; i < component.size(); ++i) {
    uint32_t v = component[i];
    if (v < nb) {
      for (const E* e : unit.conditions[v]->postset)
        if (position[nb + e->index] >= 0) successors[i].push_back(nb + e->index);
    } else {
      for (const C* c : unit.events[v - nb]->postset)
        if (position[c->index] >= 0) successors[i].push_back(c->index);
    }
  }
  for (uint32_t b : component) {
    if (b >= nb) break;  // conditions come first in the sorted component
    const C* cb = unit.conditions[b];
    std::vector<uint32_t> producersInside;
    forEachProducer(cb, [&](const E* e) {
      if (position[nb + e->index] >= 0) producersInside.push_back(nb + e->index);
    });
    if (producersInside.empty()) continue;
    std::vector<Literal> r(component.size());
    for (Literal& l : r) l = formula.new_literal(formula.restrict_branching());
    formula.add_binary(negate(produced(cb, -1)), r[position[b]], group);
    for (uint32_t e : producersInside) formula.add_unit(negate(r[position[e]]), group);
    for (size_t i = 0; i < component.size(); ++i)
      for (uint32_t y : successors[i]) {
        if (y == b) continue;
        formula.add_clause({negate(r[i]), negate(literalOf(y)), r[position[y]]}, group);
      }
  }
}

template <class Unit>
void ConfigurationVariables<Unit>::encode_acyclicity(int group) {
  std::vector<bool> allowed(unit.events.size());
  for (const E* e : unit.events) allowed[e->index] = !eventIsCutOff(e);
  for (const auto& component : strong_components(allowed)) {
    if (verbosity >= 3)
      printTo(stdout, "\nExceeded the threshold on the number of chordless cycles: |SCC|=%u, threshold=%llu",
              static_cast<unsigned>(component.size()), 0ull);
    encode_component_reachability(component, group);
  }
}

template <class Unit>
bool ConfigurationVariables<Unit>::reject_cyclic(int group) {
  std::vector<bool> allowed(unit.events.size(), false);
  for (const E* e : events_in_model()) allowed[e->index] = true;
  auto components = strong_components(allowed);
  if (components.empty()) return false;
  for (const auto& component : components) encode_component_reachability(component, group);
  if (verbosity >= 1) printTo(stdout, "\nThe configuration contains a CYCLE, new constraints have been added");
  return true;
}

template <class Unit>
void ConfigurationVariables<Unit>::encode_base(int group, bool backward_conflicts, bool incremental_acyclic) {
  acyclic_group_ = group;
  encode_causality(group);
  encode_conflicts(group, false);
  if constexpr (Unit::isMergedProcess) {
    if (backward_conflicts) encode_conflicts(group, true);
    encode_occurrence_order(group);
    if (!incremental_acyclic) encode_acyclicity(group);
  }
  (void)backward_conflicts;
  (void)incremental_acyclic;
}

template <class Unit>
void ConfigurationVariables<Unit>::projection(std::vector<Literal>& out) const {
  for (const E* e : unit.events) {
    if (eventIsCutOff(e)) continue;
    Literal l = event_in_table[e->index].literal;
    if (l != LiteralUninit && !is_constant(l)) out.push_back(l);
  }
}

template <class Unit>
std::vector<typename Unit::EventType*> ConfigurationVariables<Unit>::events_in_model() const {
  std::vector<E*> events;
  for (E* e : unit.events) {
    if (eventIsCutOff(e)) continue;
    Literal l = event_in_table[e->index].literal;
    if (l != LiteralUninit && formula.value(l) == ValueTrue) events.push_back(e);
  }
  return events;
}

template <class Unit>
void add_ordered_inclusion(ConfigurationVariables<Unit>& c1, ConfigurationVariables<Unit>& c2, int group) {
  for (const auto* e : c1.unit.events)
    if (!eventIsCutOff(e)) c1.formula.add_binary(negate(c1.event_in(e)), c2.event_in(e), group);
}

template <class Unit>
Literal add_unordered_inclusion(ConfigurationVariables<Unit>& c1, ConfigurationVariables<Unit>& c2, int group) {
  SatFormula& formula = c1.formula;
  Literal d = formula.new_literal(false);
  for (const auto* e : c1.unit.events) {
    if (eventIsCutOff(e)) continue;
    Literal in1 = c1.event_in(e), in2 = c2.event_in(e);
    formula.add_clause({negate(in1), in2, negate(d)}, group);
    formula.add_clause({in1, negate(in2), d}, group);
  }
  return d;
}

template <class Unit>
bool is_conflict_free(const Unit& unit) {
  return std::all_of(unit.conditions.begin(), unit.conditions.end(), [](const auto* c) { return c->postset.size() <= 1; });
}

void resolve_inclusion_constraints(OptionMap& options, bool conflict_free) {
  if (options["inclusion_constraints"] != -1) return;
  options["inclusion_constraints"] = conflict_free ? 1 : 0;
  if (conflict_free) printTo(stdout, "\nThe net is (dynamically) conflict-free: optimized method is used.");
}

#define NUREX_INSTANTIATE_INCLUSION(Unit)                                                                     \
  template void add_ordered_inclusion(ConfigurationVariables<Unit>&, ConfigurationVariables<Unit>&, int);     \
  template Literal add_unordered_inclusion(ConfigurationVariables<Unit>&, ConfigurationVariables<Unit>&, int); \
  template bool is_conflict_free(const Unit&);
NUREX_INSTANTIATE_INCLUSION(PetriNetPrefix)
NUREX_INSTANTIATE_INCLUSION(StgPrefix)
NUREX_INSTANTIATE_INCLUSION(PetriNetMergedProcess)
NUREX_INSTANTIATE_INCLUSION(StgMergedProcess)
#undef NUREX_INSTANTIATE_INCLUSION

template class ConfigurationVariables<PetriNetPrefix>;
template class ConfigurationVariables<StgPrefix>;
template class ConfigurationVariables<PetriNetMergedProcess>;
template class ConfigurationVariables<StgMergedProcess>;
template std::vector<bool> conflict_skip_set(const PetriNetPrefix&, bool);
template std::vector<bool> conflict_skip_set(const StgPrefix&, bool);
template std::vector<bool> conflict_skip_set(const PetriNetMergedProcess&, bool);
template std::vector<bool> conflict_skip_set(const StgMergedProcess&, bool);

}  // namespace nurex
