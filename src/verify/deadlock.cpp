// Deadlock checking over the four kinds of process, by two methods: method 1 asks that no
// event of the process be enabled in the final cut, method 2 that no transition of the net
// be enabled in the final marking.
#include "verify/deadlock.h"

#include <algorithm>

#include "platform/reporter.h"

namespace nurex {

VerdictTexts deadlockVerdicts() { return {"the system has a deadlock", "the system is deadlock-free"}; }

namespace {

template <class Unit>
class DeadlockMode : public SearchMode<Unit> {
 public:
  using Base = SearchMode<Unit>;
  using E = typename Base::E;
  using C = typename Base::C;

  DeadlockMode(const Unit& unit, const OptionMap& given) : Base(unit, adjusted(given)) {
    if (builtHere(unit)) return;  // the warning is about what another unfolder may have dropped
    if (std::none_of(unit.events.begin(), unit.events.end(), [](const E* e) { return eventIsCutOff(e); }))
      reportWarning(
          "the prefix has no cut-off events; if they were discarded by the unfolder then false deadlocks could have "
          "been introduced");
  }

  std::string message_if_found() const override { return deadlockVerdicts().found; }
  std::string message_if_none() const override { return deadlockVerdicts().none; }

  void build_instance(int group) override {
    auto& record = this->configuration(0);
    record.encode_base(group, this->backward_conflict_constraints, this->incremental_acyclic_constraint);
    if (this->options["method"] == 1) method_use_cutoffs(group);
    else method_ignore_cutoffs(group);
  }

  bool validate(const Solution& solution) override {
    if (!Base::validate(solution)) return false;
    std::vector<bool> marked;
    for (const Trace& trace : solution.traces) {
      this->safe_run(trace, marked);
      for (const E* e : this->unit.events)
        if (std::all_of(e->preset.begin(), e->preset.end(), [&](const C* c) { return marked[c->index]; })) {
          reportError("deadlock check failed");
          return false;
        }
    }
    return true;
  }

 private:
  static bool builtHere(const Unit& unit) {
    if constexpr (Unit::isMergedProcess) return false;
    else return unit.unfoldedHere;
  }

  static OptionMap adjusted(OptionMap options) {
    options["no_max_dummies"] = 0;
    options["enable_via_dummies"] = 0;
    if (options["method"] == 0) options["method"] = 2;
    return options;
  }

  // Events whose preset holds that of another event need no clause of their own.
  std::vector<bool> event_skip_set() const {
    std::vector<std::vector<uint32_t>> presets(this->unit.events.size()), consumers(this->unit.conditions.size());
    for (const E* e : this->unit.events)
      for (const C* c : e->preset) presets[e->index].push_back(c->index);
    for (const C* c : this->unit.conditions)
      for (const E* e : c->postset) consumers[c->index].push_back(e->index);
    return preset_skip_set(presets, consumers);
  }

  void method_use_cutoffs(int group) {
    auto& record = this->configuration(0);
    std::vector<bool> skip = event_skip_set();
    std::vector<Literal> clause;
    for (const E* e : this->unit.events) {
      if (skip[e->index]) continue;
      if constexpr (Unit::isMergedProcess) {
        clause.clear();
        for (const C* b : e->preset) clause.push_back(negate(record.marked(b, -1)));
        this->formula.add_clause(clause, group);
      } else {
        std::vector<const E*> causes, takers;
        bool reachable = true;
        for (const C* b : e->preset) {
          if (b->producer) {
            // A condition that only a cut-off produces never holds a token here.
            if (eventIsCutOff(b->producer)) reachable = false;
            causes.push_back(b->producer);
          }
          for (const E* f : b->postset)
            if (!eventIsCutOff(f)) takers.push_back(f);
        }
        if (!reachable) continue;
        clause.clear();
        for (const E* x : unique(causes)) clause.push_back(negate(record.event_in(x)));
        for (const E* x : unique(takers)) clause.push_back(record.event_in(x));
        this->formula.add_clause(clause, group);
      }
    }
  }

  void method_ignore_cutoffs(int group) {
    auto& record = this->configuration(0);
    const Unit& unit = this->unit;
    std::vector<std::vector<uint32_t>> presets(unit.transitions.size()), consumers(unit.places.size());
    for (const Transition* t : unit.transitions)
      for (const Place* p : t->preset) presets[t->index].push_back(p->index);
    for (const Place* p : unit.places)
      for (const Transition* t : p->postset) consumers[p->index].push_back(t->index);
    std::vector<bool> skip = preset_skip_set(presets, consumers);
    // A transition with no event can never be enabled at a reachable marking.
    std::vector<bool> occurs(unit.transitions.size(), false);
    for (const E* e : unit.events) occurs[e->transition->index] = true;
    std::vector<Literal> clause;
    for (const Transition* t : unit.transitions) {
      if (skip[t->index] || !occurs[t->index]) continue;
      clause.clear();
      for (const Place* p : t->preset) clause.push_back(negate(record.place_marked(p, -1)));
      this->formula.add_clause(clause, group);
    }
    if constexpr (!Unit::isMergedProcess) redundant_clauses(group);
  }

  // If all causes of an event without competitors are in a deadlocked configuration, the
  // event is too: a cheap hint for the solver.
  void redundant_clauses(int group) {
    auto& record = this->configuration(0);
    std::vector<Literal> clause;
    for (const E* e : this->unit.events) {
      if (!std::all_of(e->preset.begin(), e->preset.end(), [](const C* b) { return b->postset.size() == 1; })) continue;
      std::vector<const E*> causes;
      for (const C* b : e->preset)
        if (b->producer) causes.push_back(b->producer);
      clause.clear();
      for (const E* x : unique(causes)) clause.push_back(negate(record.event_in(x)));
      if (!eventIsCutOff(e)) clause.push_back(record.event_in(e));
      this->formula.add_clause(clause, group);
    }
  }

  static std::vector<const E*> unique(std::vector<const E*> events) {
    std::sort(events.begin(), events.end(), [](const E* a, const E* b) { return a->index < b->index; });
    events.erase(std::unique(events.begin(), events.end()), events.end());
    return events;
  }
};

}  // namespace

template <class Unit>
std::unique_ptr<SearchModeBase> makeDeadlockMode(const Unit& unit, const OptionMap& options) {
  return std::make_unique<DeadlockMode<Unit>>(unit, options);
}

template std::unique_ptr<SearchModeBase> makeDeadlockMode(const PetriNetPrefix&, const OptionMap&);
template std::unique_ptr<SearchModeBase> makeDeadlockMode(const StgPrefix&, const OptionMap&);
template std::unique_ptr<SearchModeBase> makeDeadlockMode(const PetriNetMergedProcess&, const OptionMap&);
template std::unique_ptr<SearchModeBase> makeDeadlockMode(const StgMergedProcess&, const OptionMap&);

}  // namespace nurex
