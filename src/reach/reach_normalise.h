// Normalisation of a checked REACH tree over one unit: binds variables, enumerates
// quantifiers and folds everything that does not depend on the state, leaving a constant, a
// `fail` node, or Boolean operators over state atoms.
#pragma once

#include "reach/reach_expr.h"
#include "model/prefix.h"
#include "reach/reach_net_ops.h"
#include "reach/reach_scope.h"

namespace nurex {

template <class Unit>
class ReachNormaliser {
 public:
  explicit ReachNormaliser(const Unit& unit) : ops_(unit) {}

  // Rewrites the tree in place. Failures are not reported: they become `fail` nodes that
  // flow towards the root.
  void normalise(ReachExprPtr& node);

 private:
  using Handler = void (ReachNormaliser::*)(ReachExprPtr&);

  void keep(ReachExprPtr&) {}
  void variable(ReachExprPtr& node);
  void failNode(ReachExprPtr& node);
  void stateAtom(ReachExprPtr& node);
  void netOperator(ReachExprPtr& node);
  void valueOperator(ReachExprPtr& node);
  void negation(ReachExprPtr& node);
  void implication(ReachExprPtr& node);
  void equivalence(ReachExprPtr& node);
  void leftChain(ReachExprPtr& node);
  void finishLeftChainNode(ReachExprPtr& node);
  void conditional(ReachExprPtr& node);
  void junction(ReachExprPtr& node);
  void parity(ReachExprPtr& node);
  void thresholdList(ReachExprPtr& node);
  void setLiteral(ReachExprPtr& node);
  void quantifier(ReachExprPtr& node);
  void let(ReachExprPtr& node);

  template <class Fold>
  void foldOperands(std::vector<ReachExprPtr>& operands, Fold& fold);
  template <class Fold>
  ReachExprPtr collect(const ReachBinder& binder, ReachTag tag, Fold& fold);
  ReachExprPtr instance(const ReachBinder& binder, ReachTag tag);
  // Normalises the only child; false (with the node replaced by the child) if it failed.
  bool childSucceeds(ReachExprPtr& node);

  ReachNetOps<Unit> ops_;
  // Variables bound to values; a null binding is a `let` name left for the encoder.
  ReachScope<const ReachExpr*> scope_;
};

// One call: normalise `root` over `unit` with a normaliser made for it.
template <class Unit>
void normaliseReach(const Unit& unit, ReachExprPtr& root) {
  ReachNormaliser<Unit>(unit).normalise(root);
}

}  // namespace nurex
