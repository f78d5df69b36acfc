// The part of REACH expansion that reads the unit: predefined sets, look-ups, regular
// expressions, structure operators, node tests and the checks of state atoms, for the three
// kinds of input. Internal to src/reach.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "reach/reach_expr.h"

namespace nurex {

template <class Unit>
class ReachNetOps {
 public:
  using C = typename Unit::ConditionType;
  using E = typename Unit::EventType;
  static constexpr bool isStg = Unit::NetType::isStg;
  static constexpr bool isBranching = !Unit::isMergedProcess;

  explicit ReachNetOps(const Unit& unit);

  // The value of a predefined name (a set, or a fail for the signal sets of a plain net);
  // null for any other name.
  const ReachExpr* predefined(const std::string& name) const;
  // The value of a prefix operator of the net (look-ups, regular expressions, #, name,
  // downclose, trig, node tests, pre, post, cond, ev, pls, tran, sig) whose operand is a
  // value: a value or a fail node.
  ReachExprPtr apply(const ReachExpr& node) const;
  // `$`, `@` and next state over a value: false for a cut-off's state, a fail for dummy
  // signals, or null when the node stays as it is.
  ReachExprPtr checkStateAtom(const ReachExpr& node) const;


 private:
  ReachExprPtr lookUp(const ReachExpr& node) const;
  ReachExprPtr matchNames(const ReachExpr& node) const;
  ReachExprPtr nodeTest(const ReachExpr& node) const;
  ReachExprPtr signalKindTest(ReachTag tag, const Signal* s) const;
  ReachExprPtr structure(const ReachExpr& node) const;
  void image(ReachTag tag, const ReachExpr& value, std::vector<ReachExprPtr>& out) const;
  ReachExprPtr downclose(const ReachExpr& operand) const;
  ReachExprPtr trig(const ReachExpr& operand) const;
  ReachExprPtr numberOrName(const ReachExpr& node) const;

  ReachExprPtr conditionValue(const C* c) const;
  ReachExprPtr eventValue(const E* e) const;

  const Unit& unit_;
  std::unordered_map<std::string, uint32_t> placeByName_, transitionByName_, signalByName_;
  std::vector<std::pair<std::string, ReachExprPtr>> predefined_;
};

}  // namespace nurex
