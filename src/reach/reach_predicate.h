// The frame around REACH expansion: a checked predicate brought to normal form and asserted
// in a formula, for the three kinds of input.
#pragma once

#include "reach/reach_encode.h"
#include "reach/reach_expr.h"

namespace nurex {

// Normalises `predicate` in place over `unit` and asserts it through `encoder`: nothing for
// true, the empty clause for false, otherwise the unit clause of the root's literal. The
// levels that the predicate needs come into being through the encoder. A `fail` at the root
// is reported and nothing is built; the result is then false.
template <class Unit>
bool assertReachPredicate(ReachExprPtr& predicate, const Unit& unit, ReachEncoder<Unit>& encoder, int group);

// The text of a failed expansion.
std::string failedToExpand(const std::string& message);

}  // namespace nurex
