// Clause groups on both solvers, the adapters' state, unit lists, dumps and reset, and a
// scripted random sequence checked against brute force.
#include <gtest/gtest.h>

#include <cadical.hpp>

#include "platform/reporter.h"
#include "sat/cadical_solver.h"
#include "sat/minisat_solver.h"
#include "sat/sat_formula.h"
#include "sat_test_support.h"

namespace nurex {
namespace {

using namespace sat_test;

TEST(SatGroups, DeletedGroupNoLongerConstrains) {
  for (int solver : Solvers) {
    SatFormula formula(solver, false, false);
    Literal x = formula.new_literal(false), y = formula.new_literal(false);
    formula.add_unit(x, 0);
    formula.add_unit(negate(x), 1);
    formula.add_binary(negate(x), y, 2);
    EXPECT_FALSE(formula.solve());
    formula.recreate_group(1);
    ASSERT_TRUE(formula.solve());
    EXPECT_TRUE(formula.is_true(y));  // groups 0 and 2 still hold
    EXPECT_EQ(formula.engine().num_clauses(), 2u);
    formula.recreate_group(2);  // starts empty
    EXPECT_EQ(formula.engine().num_clauses(), 1u);
    EXPECT_TRUE(solve_under(formula, {negate(y)}));
  }
}

TEST(SatGroups, EmptyClauseInAGroupLastsAsLongAsTheGroup) {
  for (int solver : Solvers) {
    SatFormula formula(solver, false, false);
    formula.new_literal(false);
    formula.add_empty_clause(2);
    EXPECT_FALSE(formula.solve());
    formula.recreate_group(2);
    EXPECT_TRUE(formula.solve());
  }
}

TEST(SatGroups, NumberingNeverShifts) {
  for (int solver : Solvers) {
    SatFormula formula(solver, false, false);
    EXPECT_EQ(formula.group_count(), 3u);
    Literal x = formula.new_literal(false);
    int slot = -1;
    EXPECT_EQ(formula.new_group_like(slot), 3);
    EXPECT_EQ(slot, 3);
    formula.add_unit(x, 3);
    formula.recreate_group(0);
    formula.recreate_group(1);
    EXPECT_EQ(formula.group_count(), 4u);
    EXPECT_TRUE(solve_under(formula, {x}));
    EXPECT_FALSE(solve_under(formula, {negate(x)}));  // slot 3 kept its clause
    formula.reset();
    EXPECT_EQ(formula.group_count(), 3u);
    EXPECT_EQ(formula.engine().num_variables(), 0u);
    EXPECT_EQ(formula.engine().num_clauses(), 0u);
  }
}

// Random adds, group replacements and solves: both solvers and a brute-force evaluation
// of the live clauses agree at every solve.
TEST(SatGroups, ScriptedSequenceAgreesAcrossSolvers) {
  constexpr size_t Variables = 8;
  for (uint64_t seed = 1; seed <= 6; ++seed) {
    Random random(seed);
    SatFormula zero(0, false, false), one(1, false, false);
    std::vector<Literal> x0 = fresh_literals(zero, Variables), x1 = fresh_literals(one, Variables);
    int extra0 = -1, extra1 = -1;
    zero.new_group_like(extra0);
    one.new_group_like(extra1);
    std::vector<std::pair<std::vector<Literal>, int>> live;  // clause, slot
    for (int step = 0; step < 120; ++step) {
      uint64_t op = random.below(10);
      if (op < 6) {
        std::vector<Literal> clause;
        for (uint64_t k = 0, n = 1 + random.below(3); k < n; ++k)
          clause.push_back(positive_literal(random.below(Variables)) ^ random.below(2));
        int slot = static_cast<int>(random.below(5)) - 1;
        if (slot < 0) slot = PermanentGroup;
        zero.add_clause(clause, slot);
        one.add_clause(clause, slot);
        live.emplace_back(clause, slot);
      } else if (op < 8) {
        int slot = static_cast<int>(random.below(4));
        zero.recreate_group(slot);
        one.recreate_group(slot);
        std::erase_if(live, [slot](const auto& entry) { return entry.second == slot; });
      } else {
        bool expected = false;
        for (uint64_t a = 0; a < (1u << Variables) && !expected; ++a) {
          bool all = true;
          for (const auto& entry : live) {
            bool any = false;
            for (Literal l : entry.first) any = any || literal_value(l, a);
            all = all && any;
          }
          expected = all;
        }
        ASSERT_EQ(zero.solve(), expected) << "seed " << seed << " step " << step;
        ASSERT_EQ(one.solve(), expected) << "seed " << seed << " step " << step;
      }
    }
  }
}

TEST(SatSolverAdapters, UnitListsDumpsAndIterators) {
  CadicalSolver cadical;
  MinisatSolver minisat;
  for (SatSolver* engine : {static_cast<SatSolver*>(&cadical), static_cast<SatSolver*>(&minisat)}) {
    uint32_t a, b;
    engine->new_variable(a, false);
    engine->new_variable(b, false);
    int g0, g1;
    engine->new_group(g0);
    engine->new_group(g1);
    EXPECT_EQ(g0, 0);
    EXPECT_EQ(g1, 1);
    Literal la = positive_literal(a), lb = positive_literal(b);
    Literal nb = negate(lb);
    engine->add_clause(1, &nb, PermanentGroup);
    engine->add_clause(1, &la, g1);
    Literal pair[2] = {la, lb};
    engine->add_clause(2, pair, g0);
    engine->delete_group(g0);

    std::vector<Literal> units;
    engine->unit_clauses(units);
    // Solver 0 keeps every unit with its group; solver 1 lists those without a group.
    std::vector<Literal> expected_units = {nb};
    if (engine == &cadical) expected_units = {la, nb};
    EXPECT_EQ(units, expected_units);
    std::vector<uint32_t> dump;
    engine->dump_clauses(dump);
    EXPECT_GE(dump.capacity(), 100000u);
    EXPECT_EQ(dump, (std::vector<uint32_t>{1, nb, 1, la}));
    auto clauses = engine->new_clause_iterator();
    const Literal* literals;
    uint32_t size;
    ASSERT_TRUE(clauses->next(literals, size));
    EXPECT_EQ(size, 1u);
    EXPECT_EQ(literals[0], nb);

    ASSERT_EQ(engine->solve(), SolveSatisfiable);
    auto model = engine->new_literal_iterator();
    std::vector<Literal> true_literals;
    for (Literal l; model->next(l);) true_literals.push_back(l);
    EXPECT_EQ(true_literals, (std::vector<Literal>{la, nb}));
    engine->reset();
    EXPECT_EQ(engine->num_variables(), 0u);
    EXPECT_EQ(engine->num_clauses(), 0u);
    EXPECT_EQ(engine->solve(), SolveSatisfiable);
  }
}

TEST(SatSolverAdapters, CadicalStateWord) {
  CadicalSolver engine;
  EXPECT_EQ(engine.state(), CadicalFresh);
  uint32_t v;
  engine.new_variable(v, true);
  EXPECT_TRUE(engine.no_branch(v));  // recorded, not honoured
  int group;
  engine.new_group(group);
  Literal l = positive_literal(v);
  engine.add_clause(1, &l, group);
  EXPECT_EQ(engine.solve(), SolveSatisfiable);
  EXPECT_EQ(engine.state(), CadicalSolved);

  unsigned saved = verbosity;
  verbosity = 1;
  testing::internal::CaptureStdout();
  EXPECT_EQ(engine.solve(), SolveSatisfiable);
  engine.add_clause(1, &l, PermanentGroup);
  EXPECT_EQ(engine.state(), CadicalChanged);
  EXPECT_EQ(engine.solve(), SolveSatisfiable);
  engine.delete_group(group);
  EXPECT_EQ(engine.state(), CadicalGroupDeleted);
  EXPECT_EQ(engine.solve(), SolveSatisfiable);
  verbosity = saved;
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nSolving the same SAT instance");
}

// Pigeonhole 5 into 4 needs conflicts; with none allowed CaDiCaL gives up.
void add_pigeonhole(SatFormula& formula) {
  Literal p[5][4];
  for (auto& row : p)
    for (Literal& l : row) l = formula.new_literal(false);
  for (auto& row : p) formula.add_clause(std::span<const Literal>(row, 4), 0);
  for (int hole = 0; hole < 4; ++hole)
    for (int a = 0; a < 5; ++a)
      for (int b = a + 1; b < 5; ++b) formula.add_binary(negate(p[a][hole]), negate(p[b][hole]), 0);
}

TEST(SatSolverAdapters, CadicalFailureIsFinal) {
  resetStatus();
  SatFormula formula(0, false, false);
  add_pigeonhole(formula);
  auto& engine = dynamic_cast<CadicalSolver&>(formula.engine());
  engine.cadical().limit("conflicts", 0);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(formula.solve());
  EXPECT_EQ(engine.state(), CadicalFailed);
  EXPECT_FALSE(formula.solve());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "\nError: SAT solver timeout\n\nError: error while solving a SAT instance\n");
  EXPECT_EQ(raiseStatus(0), StatusError);
  resetStatus();
}

TEST(SatSolverAdapters, MinisatAnswersPigeonhole) {
  SatFormula formula(1, false, false);
  add_pigeonhole(formula);
  formula.engine().eliminate();
  EXPECT_FALSE(formula.solve());
}

}  // namespace
}  // namespace nurex
