// The encoder of normalised REACH predicates: one literal of a SatFormula per node, with
// configuration levels made at their first reference and the state atoms `$`, `@` and next
// state over them.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "model/checks.h"
#include "reach/reach_expr.h"
#include "reach/reach_scope.h"
#include "sat/configuration.h"

namespace nurex {

template <class Unit>
class ReachEncoder {
 public:
  using C = typename Unit::ConditionType;
  using E = typename Unit::EventType;
  using Configuration = ConfigurationVariables<Unit>;
  // Makes the record of a level at its first reference, with its constraints.
  using LevelFactory = std::function<Configuration&(uint32_t level)>;

  // `enable_via_dummies` (branching processes of STGs only) lets `@` see an event as
  // enabled also once some dummy events in its past have fired.
  ReachEncoder(SatFormula& formula, const Unit& unit, bool enable_via_dummies, int group, LevelFactory make_level);

  // The literal of a node of the normal form, or TRUE or FALSE. A node outside the normal
  // form is an internal error, reported.
  Literal encode(const ReachExpr& node, Polarity polarity);

  SatFormula& formula() { return formula_; }

 private:
  struct Level {
    Configuration* record;
    std::vector<CachedLiteral> event_enabled;
    std::vector<std::vector<CachedLiteral>> phase;  // per signal, one AND per phase record
  };

  Level& level(uint32_t number);
  Literal atom(const ReachExpr& node, Polarity polarity);
  Literal state(Level& level, const ReachExpr& value, Polarity polarity);
  Literal event_enabled(Level& level, const E* e, Polarity polarity);
  Literal transition_enabled(Level& level, const Transition* t, Polarity polarity);
  Literal any_enabled(Level& level, CachedLiteral& cached, const std::vector<const E*>& events, Polarity polarity);
  Literal signal_value(Level& level, const Signal* s, Polarity polarity);
  Literal signal_enabled(Level& level, const Signal* s, Polarity polarity);
  Literal signal_next(Level& level, const Signal* s, Polarity polarity);
  Literal junction(const ReachExpr& node, GateKind kind, Polarity operands, Polarity polarity);
  Literal internal_error(const ReachExpr& node);
  void index_events();

  SatFormula& formula_;
  const Unit& unit_;
  bool via_dummies_;
  int group_;
  LevelFactory make_level_;
  std::vector<std::unique_ptr<Level>> levels_;  // by level number; null until referenced
  ReachScope<Literal> lets_;
  std::vector<std::vector<const E*>> events_of_transition_, events_of_signal_;
  std::vector<std::vector<SignalPhaseRecord>> phases_;  // per signal, branching processes of STGs
  bool indexed_ = false;
};

}  // namespace nurex
