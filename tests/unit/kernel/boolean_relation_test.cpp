// The relation solver on gate decompositions of random incompletely specified functions and on
// random relations, every vector checked minterm by minterm; optimality, the filter, errors.
#include "kernel/boolean_relation.h"

#include <gtest/gtest.h>

#include "kernel_test_support.h"
#include "platform/reporter.h"

namespace nurex {
namespace {

using namespace kernel_test;

const std::vector<uint32_t> Inputs{0, 1, 2, 3, 4};
constexpr uint32_t FirstOutput = 20;

std::vector<uint32_t> outputVariables(size_t n) {
  std::vector<uint32_t> outputs;
  for (uint32_t i = 0; i < n; ++i) outputs.push_back(FirstOutput + i);
  return outputs;
}

// Minterm m over the variables (bit j of m is variables[j]).
bdd minterm(uint64_t m, const std::vector<uint32_t>& variables) {
  bdd point = bddtrue;
  for (size_t j = 0; j < variables.size(); ++j)
    point &= (m >> j & 1) ? bddVariable(variables[j]) : !bddVariable(variables[j]);
  return point;
}

// Each minterm over the variables in with the given chance in percent.
bdd randomSet(std::mt19937& random, const std::vector<uint32_t>& variables, uint32_t percent) {
  bdd result = bddfalse;
  for (uint64_t m = 0; m < (uint64_t{1} << variables.size()); ++m)
    if (random() % 100 < percent) result |= minterm(m, variables);
  return result;
}

// Per x in the domain, the output code each vector gives is one the relation allows; the
// vectors are distinct, over the inputs, and cheapest first.
void expectCompatible(const BooleanRelation& relation, const std::vector<RelationSolution>& solutions) {
  ASSERT_FALSE(solutions.empty());
  for (uint32_t m = 0; m < 32; ++m) {
    bdd point = minterm(m, Inputs);
    if ((point & relation.relation) == bddfalse) continue;
    for (size_t s = 0; s < solutions.size(); ++s) {
      bdd code = point;
      for (size_t k = 0; k < relation.outputs.size(); ++k) {
        bdd y = bddVariable(relation.outputs[k]);
        code &= (point & solutions[s].bdds[k]) != bddfalse ? y : !y;
      }
      EXPECT_NE(code & relation.relation, bddfalse) << "vector " << s << " fails at minterm " << m;
    }
  }
  for (size_t s = 0; s < solutions.size(); ++s) {
    for (size_t k = 0; k < relation.outputs.size(); ++k) {
      EXPECT_EQ(sopToBdd(solutions[s].functions[k]), solutions[s].bdds[k]);
      sopTable(solutions[s].functions[k], Inputs);  // fails on a literal outside the inputs
    }
    for (size_t t = 0; t < s; ++t) EXPECT_NE(solutions[t].bdds, solutions[s].bdds) << "a vector twice";
    EXPECT_TRUE(s == 0 || solutions[s - 1].literals <= solutions[s].literals);
  }
}

struct Gate {
  const char* name;
  uint32_t pins;
  uint64_t table;  // bit c: the output for pin code c (bit i of c is pin i)
};
const Gate Gates[] = {{"AND2", 2, 0b1000}, {"OR2", 2, 0b1110}, {"NAND2", 2, 0b0111}, {"XOR2", 2, 0b0110},
                      {"AOI21", 3, 0b00000111} /* !(p0 p1 + p2) */, {"OA21", 3, 0b11100000} /* (p0 + p1) p2 */};

// G(y) for random ON and OFF sets (every other one completely specified), then random
// relations: with points that allow no output, exactly a function (one vector fits), and a
// function with extra freedom.
TEST(BooleanRelation, GateDecompositionsAndRandomRelations) {
  std::mt19937 random(11);
  for (const Gate& gate : Gates) {
    for (int round = 0; round < 16; ++round) {
      SCOPED_TRACE(std::string(gate.name) + " round " + std::to_string(round));
      uint32_t on = random(), off = round % 2 ? random() & ~on : ~on;
      std::vector<uint32_t> outputs = outputVariables(gate.pins);
      bdd g = tableToBdd(gate.table, outputs);
      bdd onSet = tableToBdd(on, Inputs), offSet = tableToBdd(off, Inputs);
      BooleanRelation relation{bdd_imp(onSet, g) & bdd_imp(offSet, !g), Inputs, outputs};
      expectCompatible(relation, solveRelation(relation));
    }
  }
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    std::vector<uint32_t> outputs = outputVariables(2 + round % 2), all = Inputs;
    all.insert(all.end(), outputs.begin(), outputs.end());
    std::vector<bdd> h;
    bdd function = bddtrue;
    for (uint32_t v : outputs) {
      h.push_back(tableToBdd(random(), Inputs));
      function &= bdd_biimp(bddVariable(v), h.back());
    }
    int kind = round % 3;
    bdd r = kind == 0 ? randomSet(random, all, 30) : kind == 1 ? function : function | randomSet(random, all, 20);
    BooleanRelation relation{r, Inputs, outputs};
    std::vector<RelationSolution> solutions = solveRelation(relation, {6, 24, 256, false, {}});
    expectCompatible(relation, solutions);
    EXPECT_LE(solutions.size(), 6u);
    if (kind == 1) {
      ASSERT_EQ(solutions.size(), 1u);
      EXPECT_EQ(solutions[0].bdds, h);
    }
  }
}

// Narrowing a relation narrows each output's interval, so the cost of the independently
// minimised outputs bounds the subtree and the first vector found is a cheapest one: checked
// against all pairs of functions of three inputs.
TEST(BooleanRelation, FirstVectorIsCheapest) {
  std::mt19937 random(31);
  const std::vector<uint32_t> three{0, 1, 2};
  std::vector<uint64_t> cost(256);
  for (uint32_t table = 0; table < 256; ++table)
    cost[table] = literalCount(minimiseCover(coverOf(tableToBdd(table, three), tableToBdd(~table, three))).value());
  std::vector<uint32_t> outputs = outputVariables(2);
  for (const Gate& gate : Gates) {
    if (gate.pins != 2) continue;
    for (int round = 0; round < 10; ++round) {
      uint32_t on = random() & 0xFF, off = random() & 0xFF & ~on;
      uint64_t optimum = UINT64_MAX;
      for (uint32_t f = 0; f < 256; ++f)
        for (uint32_t g = 0; g < 256; ++g) {
          uint32_t value = 0;
          for (uint32_t m = 0; m < 8; ++m) value |= (gate.table >> ((f >> m & 1) | (g >> m & 1) << 1) & 1) << m;
          if ((on & ~value) == 0 && (off & value) == 0) optimum = std::min(optimum, cost[f] + cost[g]);
        }
      bdd g = tableToBdd(gate.table, outputs);
      bdd onSet = tableToBdd(on, three), offSet = tableToBdd(off, three);
      std::vector<RelationSolution> solutions =
          solveRelation({bdd_imp(onSet, g) & bdd_imp(offSet, !g), three, outputs});
      ASSERT_FALSE(solutions.empty());
      EXPECT_EQ(solutions[0].literals, optimum) << gate.name << " round " << round;
    }
  }
}

TEST(BooleanRelation, FilterAndErrors) {
  // ab + c as OR2 without constant pins: (ab, c) or (c, ab).
  std::vector<uint32_t> outputs = outputVariables(2);
  bdd f = (bddVariable(0) & bddVariable(1)) | bddVariable(2);
  bdd g = bddVariable(outputs[0]) | bddVariable(outputs[1]);
  BooleanRelation relation{bdd_biimp(f, g), Inputs, outputs};
  RelationLimits limits;
  limits.exclude_constant = true;
  std::vector<RelationSolution> solutions = solveRelation(relation, limits);
  expectCompatible(relation, solutions);
  EXPECT_EQ(solutions[0].literals, 3u);
  for (const RelationSolution& s : solutions)
    for (const bdd& h : s.bdds) EXPECT_TRUE(h != bddfalse && h != bddtrue);

  // An empty domain: any vector fits, the constants cheapest.
  solutions = solveRelation({bddfalse, Inputs, outputs});
  ASSERT_EQ(solutions.size(), 1u);
  EXPECT_EQ(solutions[0].literals, 0u);

  resetStatus();
  testing::internal::CaptureStderr();
  EXPECT_TRUE(solveRelation({relation.relation & bddVariable(30), Inputs, outputs}).empty());
  EXPECT_TRUE(solveRelation({relation.relation, Inputs, {outputs[0], 0}}).empty());
  std::string errors = testing::internal::GetCapturedStderr();
  EXPECT_NE(errors.find("reads variables outside its inputs and outputs"), std::string::npos);
  EXPECT_NE(errors.find("both an input and an output"), std::string::npos);
  EXPECT_EQ(raiseStatus(0), StatusError);
  resetStatus();
}

}  // namespace
}  // namespace nurex
