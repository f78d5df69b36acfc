// Parity sums over candidate literals, shared: every set whose exclusive-or a formula needs
// gets one variable, and all sets are defined together through a tree of common parts.
#pragma once

#include <map>
#include <vector>

#include "sat/sat_formula.h"

namespace nurex {

class SumsTree {
 public:
  // FALSE for the empty sum, the literal itself for one, else the variable of the set
  // (the same for the same set). Constants and pairs of one variable cancel into the sign.
  Literal literalFor(std::vector<Literal> literals, SatFormula& formula);
  // Defines every variable handed out since the last call and forgets the sets. Prints the
  // tree's measures at verbosity 5.
  void emit(SatFormula& formula, int group);
  size_t size() const { return sets_.size(); }

 private:
  std::map<std::vector<Literal>, Literal> sets_;
};

}  // namespace nurex
