// Gates against their Boolean functions on both solvers: every kind, arity up to 5, every
// polarity, every input assignment, with negated, repeated and constant children.
#include <gtest/gtest.h>

#include <string>

#include "sat/guarded_solver.h"
#include "sat/sat_formula.h"
#include "sat_test_support.h"

namespace nurex {
namespace {

using namespace sat_test;

bool reference(GateKind kind, const std::vector<bool>& v) {
  auto maj = [](bool a, bool b, bool c) { return (a && b) || (a && c) || (b && c); };
  size_t ones = 0;
  for (bool x : v) ones += x;
  switch (kind) {
    case GateLiteral: return v[0];
    case GateXor: return ones % 2 == 1;
    case GateAnd: return ones == v.size();
    case GateOr: return ones > 0;
    case GateEqual: return ones == 0 || ones == v.size();
    case GateMaj: return maj(v[0], v[1], v[2]);
    case GateOrXor: return (v[0] || v[1]) != v[2];
    case GateIte: return v[0] ? v[2] : v[1];
    case GateMajN: return maj(v[0], !v[1], v[2]);
    case GateAndEq: return v[0] && (v[1] == v[2]);
    case GateQuad: return maj(v[0], v[1], v[2]) != v[3];
  }
  return false;
}

struct KindArity {
  GateKind kind;
  size_t arity;
};

std::vector<KindArity> all_gates() {
  std::vector<KindArity> gates = {{GateLiteral, 1}, {GateMaj, 3},   {GateOrXor, 3}, {GateIte, 3},
                                  {GateMajN, 3},    {GateAndEq, 3}, {GateQuad, 4}};
  for (GateKind kind : {GateXor, GateAnd, GateOr, GateEqual})
    for (size_t arity = 1; arity <= 5; ++arity) gates.push_back({kind, arity});
  return gates;
}

// Children over `inputs` input variables: pattern 0 plain, 1 alternating signs, the others
// random literals of the inputs with repeats, negations and constants.
std::vector<Literal> children_of(size_t arity, size_t inputs, int pattern, Random& random) {
  std::vector<Literal> children;
  for (size_t i = 0; i < arity; ++i) {
    if (pattern == 0) children.push_back(positive_literal(i));
    if (pattern == 1) children.push_back(positive_literal(i) ^ (i & 1));
    if (pattern >= 2) {
      uint64_t r = random.below(8);
      if (r == 0) children.push_back(constant_literal(random.below(2) == 1));
      else children.push_back(positive_literal(random.below(inputs)) ^ (r & 1));
    }
  }
  return children;
}

void check_gate(SatFormula& formula, Literal output, GateKind kind, const std::vector<Literal>& children,
                size_t inputs, Polarity polarity, const std::string& label) {
  std::vector<Literal> variables;
  for (size_t i = 0; i < inputs; ++i) variables.push_back(positive_literal(i));
  // A gate folded to a constant or an input is exact, whatever polarity was asked for.
  if (is_constant(output) || variable_of(output) < inputs) polarity = 0;
  for (uint64_t assignment = 0; assignment < (uint64_t{1} << inputs); ++assignment) {
    std::vector<bool> values;
    for (Literal c : children) values.push_back(literal_value(c, assignment));
    bool function = reference(kind, values);
    for (bool out : {false, true}) {
      std::vector<Literal> units = fix(variables, assignment);
      units.push_back(output ^ (out ? 0 : 1));
      ASSERT_EQ(solve_under(formula, units), expected_sat(polarity, function, out))
          << label << " assignment " << assignment << " output " << out;
    }
  }
}

TEST(SatGates, ClausesAgreeWithFunctionOnBothSolvers) {
  Random random(7);
  for (int solver : Solvers)
    for (KindArity gate : all_gates())
      for (Polarity polarity : {1, -1, 0})
        for (int pattern = 0; pattern < 12; ++pattern) {
          size_t inputs = gate.arity;
          SatFormula formula(solver, false, false);
          fresh_literals(formula, inputs);
          std::vector<Literal> children = children_of(gate.arity, inputs, pattern, random);
          Literal output = formula.make_gate(gate.kind, children, 0, polarity);
          std::string label = "solver " + std::to_string(solver) + " kind " + std::to_string(gate.kind) + " arity " +
                              std::to_string(gate.arity) + " polarity " + std::to_string(polarity) + " pattern " +
                              std::to_string(pattern);
          check_gate(formula, output, gate.kind, children, inputs, polarity, label);
        }
}

// Upgrading a cached gate adds the other direction to the same output, whatever the kind.
TEST(SatGates, CachedPolarityUpgradeCompletesTheGate) {
  for (int solver : Solvers)
    for (KindArity gate : all_gates()) {
      SatFormula formula(solver, false, false);
      fresh_literals(formula, gate.arity);
      Random random(1);
      std::vector<Literal> children = children_of(gate.arity, gate.arity, 1, random);
      CachedLiteral cached;
      Literal first = formula.make_gate(cached, gate.kind, children, 0, 1);
      EXPECT_EQ(formula.make_gate(cached, gate.kind, children, 0, 1), first);
      Literal second = formula.make_gate(cached, gate.kind, children, 0, -1);
      EXPECT_EQ(second, first);
      EXPECT_EQ(cached.polarity, 0);
      check_gate(formula, first, gate.kind, children, gate.arity, 0, "upgraded kind " + std::to_string(gate.kind));
    }
}

TEST(SatGates, PolarityUpgradeAddsOnlyTheMissingClauses) {
  SatFormula formula(1, false, false);
  std::vector<Literal> x = fresh_literals(formula, 3);
  CachedLiteral cached;
  Literal y = formula.make_gate(cached, GateAnd, x, 0, 1);
  EXPECT_EQ(formula.engine().num_clauses(), 3u);  // y implies each child
  EXPECT_EQ(formula.engine().num_variables(), 4u);
  EXPECT_EQ(formula.make_gate(cached, GateAnd, x, 0, -1), y);
  EXPECT_EQ(formula.engine().num_clauses(), 4u);  // all children imply y
  EXPECT_EQ(formula.engine().num_variables(), 4u);
  EXPECT_EQ(formula.make_gate(cached, GateAnd, x, 0, 1), y);
  EXPECT_EQ(formula.engine().num_clauses(), 4u);
}

TEST(SatGates, FoldedGatesCreateNoVariable) {
  SatFormula formula(0, false, false);
  Literal x = formula.new_literal(false), z = formula.new_literal(false);
  EXPECT_EQ(formula.make_gate(GateXor, {x, negate(x)}, 0, 0), LiteralTrue);
  EXPECT_EQ(formula.make_gate(GateXor, {x, x}, 0, 0), LiteralFalse);
  EXPECT_EQ(formula.make_gate(GateXor, {negate(x), LiteralTrue}, 0, 0), x);
  EXPECT_EQ(formula.make_gate(GateAnd, {x, negate(x), z}, 0, 0), LiteralFalse);
  EXPECT_EQ(formula.make_gate(GateOr, {x, LiteralFalse, x}, 0, 0), x);
  EXPECT_EQ(formula.make_gate(GateAnd, {}, 0, 0), LiteralTrue);
  EXPECT_EQ(formula.make_gate(GateOr, {}, 0, 0), LiteralFalse);
  EXPECT_EQ(formula.make_gate(GateIte, {z, x, x}, 0, 0), x);
  EXPECT_EQ(formula.make_gate(GateIte, {LiteralFalse, x, z}, 0, 0), x);
  EXPECT_EQ(formula.make_gate(GateMaj, {x, z, negate(z)}, 0, 0), x);
  EXPECT_EQ(formula.make_gate(GateMaj, {x, z, x}, 0, 0), x);
  EXPECT_EQ(formula.make_gate(GateEqual, {x, x, x}, 0, 0), LiteralTrue);
  EXPECT_EQ(formula.make_gate(GateLiteral, {negate(z)}, 0, 0), negate(z));
  EXPECT_EQ(formula.engine().num_variables(), 2u);
  EXPECT_EQ(formula.engine().num_clauses(), 0u);
}

// ITE's consensus clauses, the half adder's and the full adder's extra clauses are
// solver 1's only.
TEST(SatGates, RedundantClausesOnlyForSolverOne) {
  for (int solver : Solvers) {
    SatFormula formula(solver, false, false);
    std::vector<Literal> x = fresh_literals(formula, 3);
    formula.make_gate(GateIte, x, 0, 0);
    EXPECT_EQ(formula.engine().num_clauses(), solver == 1 ? 6u : 4u);
    formula.make_gate(GateIte, x, 0, 1);
    EXPECT_EQ(formula.engine().num_clauses(), solver == 1 ? 9u : 6u);
  }
}

TEST(SatGates, ClauseShapes) {
  struct Shape {
    GateKind kind;
    size_t arity;
    Polarity polarity;
    uint32_t clauses, literals, variables;
  };
  const Shape shapes[] = {
      {GateXor, 2, 0, 4, 12, 1},  {GateXor, 3, 0, 8, 32, 1},  {GateXor, 3, 1, 4, 16, 1},
      {GateXor, 4, 0, 12, 44, 2}, {GateXor, 5, 0, 16, 48, 4}, {GateAnd, 4, 0, 5, 13, 1},
      {GateOr, 4, -1, 4, 8, 1},   {GateEqual, 3, 0, 11, 27, 3}, {GateMaj, 3, -1, 3, 9, 1},
      {GateOrXor, 3, 1, 3, 10, 1}, {GateAndEq, 3, 1, 3, 8, 1}, {GateAndEq, 3, -1, 2, 8, 1},
      {GateQuad, 4, 0, 12, 48, 1}, {GateMajN, 3, 0, 6, 18, 1},
  };
  for (const Shape& shape : shapes) {
    SatFormula formula(0, false, false);
    std::vector<Literal> x = fresh_literals(formula, shape.arity);
    formula.make_gate(shape.kind, x, 0, shape.polarity);
    SCOPED_TRACE("kind " + std::to_string(shape.kind) + " arity " + std::to_string(shape.arity));
    EXPECT_EQ(formula.engine().num_clauses(), shape.clauses);
    EXPECT_EQ(formula.engine().num_literals(), shape.literals);
    EXPECT_EQ(formula.engine().num_variables(), shape.arity + shape.variables);
  }
}

// The output variable's no-branch mark by kind and arity, with restrict_branching off
// and on; auxiliary XOR-tree variables are always marked.
TEST(SatGates, NoBranchMarksByKindAndArity) {
  struct Mark {
    GateKind kind;
    size_t arity;
    bool always;
  };
  const Mark marks[] = {
      {GateXor, 2, false},   {GateXor, 3, false},   {GateXor, 5, false},   {GateAnd, 2, false},
      {GateAnd, 3, true},    {GateAnd, 4, false},   {GateAnd, 5, true},    {GateOr, 2, true},
      {GateOr, 3, true},     {GateOr, 4, true},     {GateOr, 5, false},    {GateEqual, 3, true},
      {GateEqual, 4, true},  {GateEqual, 5, false}, {GateMaj, 3, true},    {GateOrXor, 3, true},
      {GateIte, 3, false},   {GateMajN, 3, false},  {GateAndEq, 3, true},  {GateQuad, 4, true},
  };
  for (int solver : Solvers)
    for (bool restrict : {false, true})
      for (const Mark& mark : marks) {
        SatFormula formula(solver, restrict, false);
        std::vector<Literal> x = fresh_literals(formula, mark.arity);
        Literal y = formula.make_gate(mark.kind, x, 0, 0);
        auto& engine = dynamic_cast<GuardedSolver&>(formula.engine());
        SCOPED_TRACE("kind " + std::to_string(mark.kind) + " arity " + std::to_string(mark.arity));
        EXPECT_EQ(engine.no_branch(variable_of(y)), mark.always || restrict);
        if (mark.kind == GateXor && mark.arity == 5) {
          for (uint32_t v = variable_of(y) + 1; v < engine.num_variables(); ++v) EXPECT_TRUE(engine.no_branch(v));
        }
      }
}

}  // namespace
}  // namespace nurex
