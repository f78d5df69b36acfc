// SatFormula: clause normalisation, literal values, at-most-one, solving, formula.cnf, the
// solver choice and the definition record.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/options.h"
#include "platform/reporter.h"
#include "sat/guarded_solver.h"
#include "sat/sat_formula.h"
#include "sat_test_support.h"

namespace nurex {
namespace {

using namespace sat_test;

TEST(SatFormulaClauses, NormalisationDropsAndShortens) {
  for (int solver : Solvers) {
    SatFormula formula(solver, false, false);
    std::vector<Literal> x = fresh_literals(formula, 3);
    SatSolver& engine = formula.engine();
    formula.add_clause({x[0], negate(x[0])}, 0);
    formula.add_clause({x[1], x[0], negate(x[1]), x[2]}, 0);
    formula.add_clause({x[0], LiteralTrue, x[1]}, 0);
    formula.add_binary(LiteralTrue, x[2], 0);
    EXPECT_EQ(engine.num_clauses(), 0u);
    formula.add_clause({x[2], LiteralFalse, x[0], x[2], LiteralFalse}, 0);
    EXPECT_EQ(engine.num_clauses(), 1u);
    EXPECT_EQ(engine.num_literals(), 2u);
    formula.add_binary(x[1], x[1], PermanentGroup);       // a unit
    formula.add_binary(LiteralFalse, x[2], PermanentGroup);  // a unit
    std::vector<Literal> units;
    engine.unit_clauses(units);
    EXPECT_EQ(units, (std::vector<Literal>{x[1], x[2]}));
    EXPECT_TRUE(formula.solve());
    EXPECT_TRUE(formula.is_true(x[1]));
    formula.add_clause({LiteralFalse, LiteralFalse, LiteralFalse}, 0);  // the empty clause
    EXPECT_FALSE(formula.solve());
    EXPECT_LT(raiseStatus(0), StatusError);  // unsatisfiable is no failure
  }
}

TEST(SatFormulaClauses, ValuesOfLiterals) {
  SatFormula formula(1, false, false);
  Literal x = formula.new_literal(false);
  formula.add_unit(negate(x), 0);
  ASSERT_TRUE(formula.solve());
  EXPECT_EQ(formula.value(x), ValueFalse);
  EXPECT_EQ(formula.value(negate(x)), ValueTrue);
  EXPECT_EQ(formula.value(LiteralTrue), ValueTrue);
  EXPECT_EQ(formula.value(LiteralFalse), ValueFalse);
  EXPECT_EQ(formula.value(LiteralUninit), ValueUndefined);
}

// at_most_one against "at most one member of the list holds", members counted with
// their repeats, on lists with duplicates, both signs and constants.
TEST(SatFormulaAtMostOne, AgreesWithCounting) {
  Random random(11);
  for (int solver : Solvers)
    for (size_t length = 0; length <= 9; ++length)
      for (int round = 0; round < 4; ++round) {
        size_t inputs = std::max<size_t>(1, length);
        SatFormula formula(solver, false, false);
        std::vector<Literal> x = fresh_literals(formula, inputs);
        std::vector<Literal> list;
        for (size_t i = 0; i < length; ++i) {
          uint64_t r = random.below(12);
          if (round == 0) list.push_back(x[i]);
          else if (r == 0) list.push_back(constant_literal(random.below(3) == 0));
          else list.push_back(x[random.below(inputs)] ^ (r & 1));
        }
        formula.at_most_one(list, 0);
        for (uint64_t assignment = 0; assignment < (uint64_t{1} << inputs); ++assignment) {
          size_t holding = 0;
          for (Literal l : list) holding += literal_value(l, assignment);
          ASSERT_EQ(solve_under(formula, fix(x, assignment)), holding <= 1)
              << "solver " << solver << " length " << length << " round " << round;
        }
      }
}

TEST(SatFormulaAtMostOne, PairsUpToSixLadderFromSeven) {
  SatFormula six(0, false, false);
  six.at_most_one(fresh_literals(six, 6), 0);
  EXPECT_EQ(six.engine().num_clauses(), 15u);
  EXPECT_EQ(six.engine().num_variables(), 6u);

  SatFormula seven(0, false, false);
  seven.at_most_one(fresh_literals(seven, 7), 0);
  EXPECT_EQ(seven.engine().num_variables(), 7u + 6u);
  EXPECT_EQ(seven.engine().num_clauses(), 1u + 3u * 5u + 1u);
  auto& engine = dynamic_cast<GuardedSolver&>(seven.engine());
  for (uint32_t v = 7; v < 13; ++v) EXPECT_TRUE(engine.no_branch(v));
}

TEST(SatFormulaAtMostOne, ForcedAndConstantMembers) {
  SatFormula formula(1, false, false);
  Literal x = formula.new_literal(false), y = formula.new_literal(false);
  formula.at_most_one(std::vector<Literal>{x, x, y}, PermanentGroup);
  std::vector<Literal> units;
  formula.engine().unit_clauses(units);
  EXPECT_EQ(units, std::vector<Literal>{negate(x)});
  EXPECT_EQ(formula.engine().num_clauses(), 1u);  // y is left free
  EXPECT_TRUE(solve_under(formula, {y}));

  SatFormula with_true(1, false, false);
  x = with_true.new_literal(false), y = with_true.new_literal(false);
  with_true.at_most_one(std::vector<Literal>{LiteralTrue, x, y}, PermanentGroup);
  with_true.engine().unit_clauses(units);
  EXPECT_EQ(units, (std::vector<Literal>{negate(x), negate(y)}));

  SatFormula two_true(0, false, false);
  two_true.at_most_one(std::vector<Literal>{LiteralTrue, LiteralTrue}, 0);
  EXPECT_FALSE(two_true.solve());
}

// Ends with the status read and the latch put back, so later tests start clean.
uint32_t takeStatus() {
  uint32_t status = raiseStatus(0);
  resetStatus();
  return status;
}

TEST(SatFormulaSolver, UnknownNumberWarnsAndUsesSolverOne) {
  resetStatus();
  testing::internal::CaptureStderr();
  SatFormula formula(5, false, false);
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, "\nWarning: there is no SAT solver 5; the default SAT solver is used\n");
  EXPECT_EQ(formula.solver_number(), 1);
  EXPECT_TRUE(formula.wants_redundant_clauses());
  EXPECT_EQ(takeStatus(), StatusWarning);

  OptionMap options;
  options["solver"] = 0;
  options["restrict_branching"] = 1;
  SatFormula from_options(options);
  EXPECT_EQ(from_options.solver_number(), 0);
  EXPECT_TRUE(from_options.restrict_branching());
  EXPECT_EQ(takeStatus(), StatusClean);
}

TEST(SatFormulaSolver, SolveAddsToTheGlobalTime) {
  SatFormula formula(0, false, false);
  std::vector<Literal> x = fresh_literals(formula, 40);
  formula.at_most_one(x, 0);
  double before = globalSatTime;
  EXPECT_TRUE(formula.solve());
  EXPECT_GT(globalSatTime, before);
}

class SatFormulaFiles : public testing::Test {
 protected:
  void SetUp() override {
    previous_ = std::filesystem::current_path();
    directory_ = std::filesystem::temp_directory_path() / ("nurex_sat_" + std::to_string(getpid()));
    std::filesystem::create_directories(directory_);
    std::filesystem::current_path(directory_);
  }
  void TearDown() override {
    std::filesystem::current_path(previous_);
    std::filesystem::remove_all(directory_);
  }
  static std::string read(const std::string& name) {
    std::ifstream in(name);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  std::filesystem::path previous_, directory_;
};

TEST_F(SatFormulaFiles, CnfFileHoldsTheLastInstance) {
  for (int solver : Solvers) {
    SatFormula formula(solver, false, true);
    Literal x = formula.new_literal(false), y = formula.new_literal(false);
    formula.add_clause({x, negate(y)}, 0);
    formula.add_unit(y, 2);
    EXPECT_TRUE(formula.solve());
    EXPECT_EQ(read("formula.cnf"), "p cnf 2 2\n1 -2 0\n2 0\n");
    formula.recreate_group(2);
    formula.add_clause({negate(x), negate(y), LiteralFalse}, PermanentGroup);
    EXPECT_TRUE(formula.solve());
    EXPECT_EQ(read("formula.cnf"), "p cnf 2 2\n1 -2 0\n-1 -2 0\n");
  }
}

TEST_F(SatFormulaFiles, UnwritableCnfWarnsAndSolves) {
  resetStatus();
  std::filesystem::create_directory("formula.cnf");  // cannot be opened as a file
  SatFormula formula(1, false, true);
  formula.new_literal(false);
  testing::internal::CaptureStderr();
  EXPECT_TRUE(formula.solve());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "\nWarning: cannot open \"formula.cnf\" for output\n");
  EXPECT_EQ(takeStatus(), StatusWarning);
}

TEST(SatFormulaStatistics, LinesAndCounts) {
  SatFormula formula(1, false, false);
  std::vector<Literal> x = fresh_literals(formula, 3);
  formula.add_clause({x[0], x[1], x[2]}, 0);
  formula.add_binary(x[0], negate(x[1]), 1);
  testing::internal::CaptureStdout();
  formula.print_statistics(stdout);
  unsigned saved = verbosity;
  verbosity = 0;
  formula.print_instance_size();
  verbosity = 1;
  formula.print_instance_size();
  verbosity = saved;
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Original Num Var/Cl/Lit\t\t\t3/2/5\nInstance size: cl/vars/lits=2/3/5...");
}

TEST(SatFormulaDefinitions, RecordNotesGatesAndClauseVariables) {
  SatFormula formula(1, false, false);
  DefinitionRecord record;
  formula.set_definition_record(&record);
  std::vector<Literal> x = fresh_literals(formula, 2);
  Literal y = formula.make_gate(GateOr, x, 1, 0);
  formula.add_unit(y, 2);
  ASSERT_EQ(record.gate_of_variable.count(variable_of(y)), 1u);
  const Gate& gate = record.gate_of_variable.at(variable_of(y));
  EXPECT_EQ(gate.kind(), GateOr);
  EXPECT_EQ(gate.arity(), 2u);
  EXPECT_EQ(std::vector<Literal>(gate.children().begin(), gate.children().end()), x);
  EXPECT_TRUE(record.used_variables.count({variable_of(x[0]), 1}));
  EXPECT_TRUE(record.used_variables.count({variable_of(y), 2}));
  EXPECT_FALSE(record.used_variables.count({variable_of(x[0]), 2}));
  formula.reset();
  EXPECT_TRUE(record.gate_of_variable.empty() && record.used_variables.empty());
}

}  // namespace
}  // namespace nurex
