// Reachability checking over the three kinds of input: the property is read from the -d
// text, expanded into configuration levels, and every witness is checked on its traces.
#include "verify/reachability.h"

#include <algorithm>

#include "platform/reporter.h"
#include "reach/dummy_closure.h"
#include "reach/reach.h"
#include "reach/reach_predicate.h"
#include "verify/witness_check.h"

namespace nurex {

VerdictTexts reachabilityVerdicts() {
  return {"there is a reachable state satisfying the predicate", "no reachable state satisfies the predicate"};
}

ReachExprPtr readReachProperty(const std::string& property) {
  if (property.empty()) return makeReachFail("predicate is not specified");
  ReachExprPtr tree = parseReachProperty(property);
  if (!tree || raiseStatus(0) >= StatusError) return makeReachFail("Failed to read the property");
  return tree;
}

namespace {

template <class Unit>
class ReachabilityMode : public SearchMode<Unit> {
 public:
  using Base = SearchMode<Unit>;
  using Configuration = typename Base::Configuration;

  ReachabilityMode(const Unit& unit, const OptionMap& given, bool stgStates, ReachExprPtr predicate)
      : Base(unit, adjusted(given, stgStates)), predicate_(std::move(predicate)) {}

  std::string message_if_found() const override { return reachabilityVerdicts().found; }
  std::string message_if_none() const override { return reachabilityVerdicts().none; }

  void build_instance(int group) override {
    ReachEncoder<Unit> encoder(this->formula, this->unit, this->options["enable_via_dummies"] != 0, group,
                               [this, group](uint32_t level) -> Configuration& { return make_level(level, group); });
    // After a failure the instance is made plainly unsatisfiable; the error stands.
    if (!assertReachPredicate(predicate_, this->unit, encoder, group)) this->formula.add_empty_clause(group);
  }

  // A predicate that needs no level is witnessed by the empty configuration.
  void collect_solution(Solution& solution) override {
    Base::collect_solution(solution);
    if (this->configurations.empty()) solution.traces.emplace_back();
  }

  bool validate(const Solution& solution) override {
    if (!Base::validate(solution)) return false;
    std::vector<uint32_t> levels = levels_;
    if (levels.empty()) levels.push_back(0);
    WitnessSettings settings{this->options["enable_via_dummies"] != 0, this->options["no_max_dummies"] != 0};
    if (witnessSatisfies(this->unit, *predicate_, levels, solution.traces, settings)) return true;
    reportError("reachability check failed");
    return false;
  }

 private:
  static OptionMap adjusted(OptionMap options, bool stgStates) {
    options["no_max_dummies"] = stgStates;
    options["enable_via_dummies"] = stgStates;
    options["method"] = 0;
    if (!options.has("inclusion_constraints")) options["inclusion_constraints"] = 0;
    return options;
  }

  // A new level's record stands among the others in the order of level numbers, so that the
  // traces of a solution come in that order.
  Configuration& make_level(uint32_t level, int group) {
    auto record = std::make_unique<Configuration>(this->formula, this->unit, false);
    record->encode_base(group, this->backward_conflict_constraints, this->incremental_acyclic_constraint);
    if constexpr (std::is_same_v<Unit, StgPrefix>)
      if (this->options["no_max_dummies"] != 0) encodeNoMaximalDummies(*record, group);
    size_t at = std::upper_bound(levels_.begin(), levels_.end(), level) - levels_.begin();
    levels_.insert(levels_.begin() + at, level);
    Configuration& made = *record;
    this->configurations.insert(this->configurations.begin() + at, std::move(record));
    return made;
  }

  ReachExprPtr predicate_;
  std::vector<uint32_t> levels_;  // level number of each record, ascending
};

}  // namespace

template <class Unit>
std::unique_ptr<SearchModeBase> makeReachabilityChecker(const Unit& unit, const OptionMap& options,
                                                        const std::string& property, bool stgStates) {
  return std::make_unique<ReachabilityMode<Unit>>(unit, options, stgStates, readReachProperty(property));
}

template <class Unit>
std::unique_ptr<SearchModeBase> makeReachabilityMode(const Unit& unit, const OptionMap& options) {
  return makeReachabilityChecker(unit, options, runStrings.dataString, false);
}

std::unique_ptr<SearchModeBase> makeStgReachabilityMode(const StgPrefix& unit, const OptionMap& options) {
  return makeReachabilityChecker(unit, options, runStrings.dataString, true);
}

template std::unique_ptr<SearchModeBase> makeReachabilityMode(const PetriNetPrefix&, const OptionMap&);
template std::unique_ptr<SearchModeBase> makeReachabilityMode(const StgPrefix&, const OptionMap&);
template std::unique_ptr<SearchModeBase> makeReachabilityMode(const PetriNetMergedProcess&, const OptionMap&);
template std::unique_ptr<SearchModeBase> makeReachabilityChecker(const PetriNetPrefix&, const OptionMap&,
                                                                 const std::string&, bool);
template std::unique_ptr<SearchModeBase> makeReachabilityChecker(const StgPrefix&, const OptionMap&,
                                                                 const std::string&, bool);
template std::unique_ptr<SearchModeBase> makeReachabilityChecker(const PetriNetMergedProcess&, const OptionMap&,
                                                                 const std::string&, bool);

}  // namespace nurex
