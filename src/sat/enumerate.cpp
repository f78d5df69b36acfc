// Model enumeration over a projection: all models by blocking clauses, and the models
// maximal or minimal by inclusion of their true literals.
#include <algorithm>

#include "sat/sat_formula.h"

namespace nurex {

namespace {
bool true_set_within(const TernaryVector& inner, const TernaryVector& outer) {
  for (size_t i = 0; i < inner.size(); i += 2)
    if (inner[i] && !outer[i]) return false;
  return true;
}
}  // namespace

void SatFormula::enumerate(std::span<const Literal> projection, int group,
                           const std::function<void(const TernaryVector&)>& callback, int64_t limit) {
  TernaryVector vector(2 * projection.size());
  std::vector<Literal> blocking;
  for (int64_t taken = 0; limit < 0 || taken < limit; ++taken) {
    if (!solve()) return;
    blocking.clear();
    for (size_t i = 0; i < projection.size(); ++i) {
      Literal l = projection[i];
      TernaryValue x = value(l);
      vector[2 * i] = x == ValueTrue;
      vector[2 * i + 1] = x == ValueUndefined;  // unset slots read as undefined too
      if (x == ValueTrue) blocking.push_back(negate(l));
      if (x == ValueFalse) blocking.push_back(l);
    }
    callback(vector);
    add_clause(blocking, group);
  }
}

// Each round demands that one literal that is currently false (maximal) or true (minimal)
// changes; vectors that the new one dominates are dropped.
std::vector<TernaryVector> SatFormula::enumerate_extremal(std::span<const Literal> projection, int group,
                                                          bool maximal) {
  std::vector<TernaryVector> result;
  std::vector<Literal> clause;
  while (solve()) {
    TernaryVector vector(2 * projection.size());
    clause.clear();
    for (size_t i = 0; i < projection.size(); ++i) {
      TernaryValue x = value(projection[i]);
      bool is_true = maximal ? x != ValueFalse : x == ValueTrue;
      vector[2 * i] = is_true;
      if (maximal && !is_true) clause.push_back(projection[i]);
      if (!maximal && is_true) clause.push_back(negate(projection[i]));
    }
    std::erase_if(result, [&](const TernaryVector& old) {
      return maximal ? true_set_within(old, vector) : true_set_within(vector, old);
    });
    result.push_back(vector);
    if (clause.empty()) break;
    add_clause(clause, group);
  }
  return result;
}

std::vector<TernaryVector> SatFormula::enumerate_maximal(std::span<const Literal> projection, int group) {
  return enumerate_extremal(projection, group, true);
}

std::vector<TernaryVector> SatFormula::enumerate_minimal(std::span<const Literal> projection, int group) {
  return enumerate_extremal(projection, group, false);
}

}  // namespace nurex
