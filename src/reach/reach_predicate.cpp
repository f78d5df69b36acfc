// Normalising and asserting a REACH predicate, with its trace output at verbosity 3.
#include "reach/reach_predicate.h"

#include <cstdio>

#include "platform/reporter.h"
#include "reach/reach_normalise.h"
#include "reach/reach_values.h"

namespace nurex {

namespace {

// The tree can be longer than one formatted message, so it is written as it stands.
void printPredicate(const char* heading, const ReachExpr& predicate, const char* tail) {
  writeText(stdout, heading + printReach(predicate) + tail);
}

}  // namespace

std::string failedToExpand(const std::string& message) {
  return "failed to expand reachability expression:\n" + message;
}

template <class Unit>
bool assertReachPredicate(ReachExprPtr& predicate, const Unit& unit, ReachEncoder<Unit>& encoder, int group) {
  if (verbosity >= 3) printPredicate("\n Predicate before normalisation: ", *predicate, "");
  normaliseReach(unit, predicate);
  if (verbosity >= 3) printPredicate("\n Predicate after normalisation: ", *predicate, "\n");
  if (isReachFail(*predicate)) {
    reportError(failedToExpand(reachFailMessage(*predicate)));
    return false;
  }
  SatFormula& formula = encoder.formula();
  if (isReachBool(*predicate)) {
    printTo(stdout, "\n Trivial case\n");
    if (!predicate->boolValue()) formula.add_empty_clause(group);
    return true;
  }
  Literal root = encoder.encode(*predicate, +1);
  if (root == LiteralFalse) formula.add_empty_clause(group);
  else if (root != LiteralTrue) formula.add_unit(root, group);
  return raiseStatus(0) < StatusError;
}

template bool assertReachPredicate(ReachExprPtr&, const PetriNetPrefix&, ReachEncoder<PetriNetPrefix>&, int);
template bool assertReachPredicate(ReachExprPtr&, const StgPrefix&, ReachEncoder<StgPrefix>&, int);
template bool assertReachPredicate(ReachExprPtr&, const PetriNetMergedProcess&, ReachEncoder<PetriNetMergedProcess>&,
                                   int);

}  // namespace nurex
