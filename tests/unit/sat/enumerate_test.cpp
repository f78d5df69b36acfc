// Model enumeration over a projection against brute force.
#include <gtest/gtest.h>

#include <set>

#include "sat/sat_formula.h"
#include "sat_test_support.h"

namespace nurex {
namespace {

using namespace sat_test;

// x0 or x1 or x2, not (x1 and x3), x4 free: a small formula with a known model set.
bool holds(uint64_t a) {
  bool x0 = a & 1, x1 = a & 2, x2 = a & 4, x3 = a & 8;
  return (x0 || x1 || x2) && !(x1 && x3);
}

std::vector<Literal> build(SatFormula& formula) {
  std::vector<Literal> x = fresh_literals(formula, 5);
  formula.add_clause({x[0], x[1], x[2]}, PermanentGroup);
  formula.add_binary(negate(x[1]), negate(x[3]), PermanentGroup);
  return x;
}

uint64_t true_set(const TernaryVector& vector) {
  uint64_t set = 0;
  for (size_t i = 0; i < vector.size(); i += 2) set |= uint64_t{vector[i]} << (i / 2);
  return set;
}

TEST(SatEnumerate, AllModelsOfTheProjection) {
  for (int solver : Solvers) {
    SatFormula formula(solver, false, false);
    std::vector<Literal> x = build(formula);
    std::vector<Literal> projection = {x[0], x[1], x[2], x[3], LiteralUninit};
    std::set<uint64_t> seen;
    formula.enumerate(projection, 0, [&](const TernaryVector& v) {
      EXPECT_TRUE(v[9] && !v[8]);  // the unset slot reads "10"
      EXPECT_TRUE(seen.insert(true_set(v)).second);
    }, -1);
    std::set<uint64_t> expected;
    for (uint64_t a = 0; a < 16; ++a)
      if (holds(a)) expected.insert(a);
    EXPECT_EQ(seen, expected);
  }
}

TEST(SatEnumerate, LimitAndZero) {
  SatFormula formula(1, false, false);
  std::vector<Literal> x = build(formula);
  int calls = 0;
  formula.enumerate(x, 0, [&](const TernaryVector&) { ++calls; }, 0);
  EXPECT_EQ(calls, 0);
  formula.enumerate(x, 0, [&](const TernaryVector&) { ++calls; }, 3);
  EXPECT_EQ(calls, 3);
  // An empty projection blocks everything after one model.
  formula.enumerate(std::vector<Literal>{}, 1, [&](const TernaryVector&) { ++calls; }, -1);
  EXPECT_EQ(calls, 4);
}

TEST(SatEnumerate, MaximalAndMinimalModels) {
  for (int solver : Solvers)
    for (bool maximal : {true, false}) {
      SatFormula formula(solver, false, false);
      std::vector<Literal> x = build(formula);
      std::vector<Literal> projection(x.begin(), x.begin() + 4);
      std::vector<TernaryVector> found =
          maximal ? formula.enumerate_maximal(projection, 0) : formula.enumerate_minimal(projection, 0);
      std::set<uint64_t> sets;
      for (const TernaryVector& v : found) sets.insert(true_set(v));
      std::set<uint64_t> expected;
      for (uint64_t a = 0; a < 16; ++a) {
        if (!holds(a)) continue;
        bool extreme = true;
        for (uint64_t b = 0; b < 16; ++b)
          if (b != a && holds(b) && (maximal ? (a & b) == a : (a & b) == b)) extreme = false;
        if (extreme) expected.insert(a);
      }
      EXPECT_EQ(sets, expected) << "solver " << solver << " maximal " << maximal;
    }
}

}  // namespace
}  // namespace nurex
