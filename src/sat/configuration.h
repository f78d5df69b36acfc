// Configuration encoding: clauses over one SatFormula whose models are exactly the
// configurations of a branching or merged process.
#pragma once

#include <cstdint>
#include <vector>

#include "model/prefix.h"
#include "sat/sat_formula.h"

namespace nurex {

class OptionMap;

template <class Unit>
class ConfigurationVariables {
 public:
  using C = typename Unit::ConditionType;
  using E = typename Unit::EventType;

  ConfigurationVariables(SatFormula& formula, const Unit& unit, bool no_branch);

  // A plain variable made on first use; cut-offs have none and read as FALSE.
  Literal event_in(const E* e);
  // OR over the non-cut-off producers; TRUE for an initial condition.
  Literal produced(const C* b, Polarity polarity);
  // In the final cut: produced and no non-cut-off consumer taken.
  Literal marked(const C* b, Polarity polarity);
  // OR of marked over the conditions of the place.
  Literal place_marked(const Place* p, Polarity polarity);

  // Causality, conflicts, and for merged processes backward conflicts, occurrence order and
  // (unless built incrementally) acyclicity, all under `group`.
  void encode_base(int group, bool backward_conflicts, bool incremental_acyclic);

  // event_in of every non-cut-off event, leaving out unset and constant entries.
  void projection(std::vector<Literal>& out) const;
  // The non-cut-off events whose variable is true in the current model, by number.
  std::vector<E*> events_in_model() const;

  // Merged processes: if the model's events hold a cycle, forbid it and return true.
  bool reject_cyclic(int group);

  SatFormula& formula;
  const Unit& unit;
  bool no_branch;
  std::vector<CachedLiteral> event_in_table, produced_table, marked_table, place_marked_table;
  std::vector<CachedLiteral> signal_code, signal_enabled, signal_next, transition_enabled;

 private:
  void encode_causality(int group);
  void encode_conflicts(int group, bool producers);
  void encode_occurrence_order(int group);
  void encode_acyclicity(int group);
  void encode_component_reachability(const std::vector<uint32_t>& component, int group);
  std::vector<std::vector<uint32_t>> strong_components(const std::vector<bool>& eventAllowed) const;
  const std::vector<const C*>& conditions_of_place(const Place* p);

  std::vector<std::vector<const C*>> conditions_by_place_;
  bool place_index_built_ = false;
  int acyclic_group_ = -2;
};

// Conditions whose at-most-one constraint over consumers (or, for merged processes,
// producers) is implied by another one and can be left out.
template <class Unit>
std::vector<bool> conflict_skip_set(const Unit& unit, bool producers);

// Inclusion constraints between two records over one formula. Ordered: C1 is a subset of C2.
// Unordered: returns a fresh d; d true means C1 is a subset of C2, d false the converse.
template <class Unit>
void add_ordered_inclusion(ConfigurationVariables<Unit>& c1, ConfigurationVariables<Unit>& c2, int group);
template <class Unit>
Literal add_unordered_inclusion(ConfigurationVariables<Unit>& c1, ConfigurationVariables<Unit>& c2, int group);

// No condition has more than one consumer.
template <class Unit>
bool is_conflict_free(const Unit& unit);
// Replaces an `inclusion_constraints` of -1 by 1 for a conflict-free process (with its
// message on stdout) and by 0 otherwise.
void resolve_inclusion_constraints(OptionMap& options, bool conflict_free);

bool isInitialCondition(const Condition* c);
bool isInitialCondition(const MpCondition* c);

}  // namespace nurex
