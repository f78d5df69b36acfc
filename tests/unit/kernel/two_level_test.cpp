// The two-level minimiser against an exhaustive optimum on small incompletely specified
// functions, its fallback paths, the constant and sequential forms, and larger functions.
#include "kernel/two_level.h"

#include <gtest/gtest.h>

#include <bit>

#include "kernel_test_support.h"
#include "platform/reporter.h"
#include "unit/synthesis/equation_oracle.h"

namespace nurex {
namespace {

using namespace kernel_test;

constexpr MinimiserLimits HeuristicOnly{1, 1, 1};
constexpr MinimiserLimits TinyBranchBudget{20000, 20000, 1};

// The fewest literals of any sum of products F with on <= F <= !off, by the exhaustive
// minimiser of the synthesis tests (minterm m is the code with the bits of m).
uint32_t exhaustiveOptimum(uint64_t on, uint64_t off, uint32_t n) {
  test::Requirement r;
  for (uint32_t m = 0; m < (1u << n); ++m) {
    if (on >> m & 1) r.on.push_back(m);
    if (off >> m & 1) r.off.push_back(m);
  }
  std::optional<uint64_t> optimum = test::minimumLiterals(r, (test::Code{1} << n) - 1);
  EXPECT_TRUE(optimum);
  return static_cast<uint32_t>(optimum.value_or(0));
}

// Cubes in the minimiser's order, each a prime of NOT off (no literal can go).
void expectSortedPrimes(const SumOfProducts& sop, uint64_t off, const std::vector<uint32_t>& variables) {
  for (size_t i = 0; i + 1 < sop.size(); ++i) EXPECT_NE(sop[i], sop[i + 1]);
  for (const Cube& cube : sop) {
    for (size_t k = 0; k + 1 < cube.size(); ++k) EXPECT_LT(cube[k].variable, cube[k + 1].variable);
    for (size_t k = 0; k < cube.size(); ++k) {
      Cube wider = cube;
      wider.erase(wider.begin() + static_cast<long>(k));
      EXPECT_NE(sopTable({wider}, variables) & off, 0u) << "a literal of a cube is not needed";
    }
  }
}

struct SmallFunction {
  std::vector<uint32_t> variables;
  uint64_t on = 0, off = 0;
};

// ON, OFF and don't-care minterms in random proportions, at most 14 ON minterms.
SmallFunction randomSmallFunction(std::mt19937& random, uint32_t n) {
  SmallFunction f;
  f.variables = randomVariables(random, n, 20);
  uint32_t onShare = random() % 50, offShare = random() % 60;
  uint32_t onCount = 0;
  for (uint32_t m = 0; m < (1u << n); ++m) {
    uint32_t draw = random() % 100;
    if (draw < onShare && onCount < 14) {
      f.on |= uint64_t{1} << m;
      ++onCount;
    } else if (draw >= 100 - offShare) {
      f.off |= uint64_t{1} << m;
    }
  }
  return f;
}

TEST(TwoLevel, SmallFunctionsReachTheExhaustiveOptimum) {
  std::mt19937 random(2024);
  for (int round = 0; round < 400; ++round) {
    uint32_t n = 1 + round % 6;
    SmallFunction f = randomSmallFunction(random, n);
    BddCover cover = coverOf(tableToBdd(f.on, f.variables), tableToBdd(f.off, f.variables), f.variables);
    uint32_t optimum = exhaustiveOptimum(f.on, f.off, n);
    for (const MinimiserLimits& limits : {MinimiserLimits{}, HeuristicOnly, TinyBranchBudget}) {
      std::optional<SumOfProducts> sop = minimiseCover(cover, limits);
      ASSERT_TRUE(sop) << "round " << round;
      uint64_t table = sopTable(*sop, f.variables);
      EXPECT_EQ(table & f.on, f.on) << "round " << round;
      EXPECT_EQ(table & f.off, 0u) << "round " << round;
      if (limits.max_branch_nodes > 1) EXPECT_EQ(literalCount(*sop), optimum) << "round " << round << " " << cover.text();
      else EXPECT_GE(literalCount(*sop), optimum);
      if (f.on != 0 && f.off != 0) expectSortedPrimes(*sop, f.off, f.variables);
    }
  }
}

TEST(TwoLevel, HeuristicCoverIsIrredundant) {
  std::mt19937 random(77);
  for (int round = 0; round < 100; ++round) {
    SmallFunction f = randomSmallFunction(random, 6);
    std::optional<SumOfProducts> sop =
        minimiseCover(coverOf(tableToBdd(f.on, f.variables), tableToBdd(f.off, f.variables), f.variables), HeuristicOnly);
    ASSERT_TRUE(sop);
    for (size_t k = 0; k < sop->size(); ++k) {
      SumOfProducts fewer = *sop;
      fewer.erase(fewer.begin() + static_cast<long>(k));
      EXPECT_NE(sopTable(fewer, f.variables) & f.on, f.on) << "cube " << k << " of round " << round << " is redundant";
    }
  }
}

TEST(TwoLevel, ConstantsAndLiterals) {
  bdd v3 = bddVariable(3), v5 = bddVariable(5);
  EXPECT_EQ(minimiseCover(coverOf(bddfalse, bddfalse, {})), SumOfProducts{});
  EXPECT_EQ(minimiseCover(coverOf(bddfalse, v3, {3})), SumOfProducts{});
  EXPECT_EQ(minimiseCover(coverOf(v3 & v5, bddfalse, {3, 5})), SumOfProducts{Cube{}});
  EXPECT_EQ(minimiseCover(coverOf(v3, !v3, {3})), (SumOfProducts{{{3, true}}}));
  EXPECT_EQ(minimiseCover(coverOf((!v3) & v5, v3 & v5, {3, 5})), (SumOfProducts{{{3, false}}}));
  EXPECT_EQ(minimiseCover(coverOf(v3 | v5, (!v3) & (!v5), {3, 5})), (SumOfProducts{{{3, true}}, {{5, true}}}));
  // ON reads v5 but OFF does not: the cover does not need it.
  EXPECT_EQ(minimiseCover(coverOf(v3 & v5, !v3, {3, 5})), (SumOfProducts{{{3, true}}}));
}

TEST(TwoLevel, SequentialCoverIsOneWhereRisingOrHigh) {
  bdd a = bddVariable(0), b = bddVariable(1), c = bddVariable(2);
  BddCover cover;
  cover.sequential = true;
  cover.er_plus = a & !b;
  cover.qr_plus = a & b & c;
  cover.er_minus = (!a) & b;
  cover.qr_minus = (!a) & (!b) & (!c);
  EXPECT_EQ(minimiseCover(cover), (SumOfProducts{{{0, true}}}));
  EXPECT_EQ(minimiseCover(cover.complement()), (SumOfProducts{{{0, false}}}));
}

TEST(TwoLevel, OverlappingOnAndOffIsReported) {
  resetStatus();
  bdd a = bddVariable(0), b = bddVariable(1);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(minimiseCover(coverOf(a, a & b, {0, 1})));
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("\nError: internal error in the two-level minimiser"), std::string::npos) << err;
  EXPECT_EQ(raiseStatus(0), StatusError);
  resetStatus();
}

// Random sums of products over 10 to 16 variables; OFF is a second sum minus ON.
struct LargeFunction {
  SumOfProducts on, off;
  BddCover cover() const {
    BddCover cover;
    for (const Cube& cube : on) cover.add_on(cube);
    cover.off = sopToBdd(off) & !cover.on;
    return cover;
  }
};

LargeFunction randomLargeFunction(std::mt19937& random, uint32_t n) {
  std::vector<uint32_t> variables = randomVariables(random, n, 24);
  LargeFunction f;
  for (uint32_t k = 10 + random() % 30; k > 0; --k) f.on.push_back(randomCube(random, variables, 3 + random() % 5));
  for (uint32_t k = 10 + random() % 30; k > 0; --k) f.off.push_back(randomCube(random, variables, 2 + random() % 5));
  return f;
}

void expectValid(const BddCover& cover, const std::optional<SumOfProducts>& sop) {
  ASSERT_TRUE(sop);
  bdd f = sopToBdd(*sop);
  EXPECT_EQ(cover.on & !f, bddfalse);
  EXPECT_EQ(f & cover.off, bddfalse);
}

TEST(TwoLevel, LargerFunctionsGiveValidCovers) {
  std::mt19937 random(99);
  for (int round = 0; round < 14; ++round) {
    BddCover cover = randomLargeFunction(random, 10 + round % 7).cover();
    // A smaller search budget than the default keeps the test quick.
    std::optional<SumOfProducts> exact = minimiseCover(cover, {20000, 20000, 20000});
    expectValid(cover, exact);
    std::optional<SumOfProducts> heuristic = minimiseCover(cover, HeuristicOnly);
    expectValid(cover, heuristic);
    expectValid(cover, minimiseCover(cover, TinyBranchBudget));
    if (exact && heuristic) {
      EXPECT_LE(literalCount(*exact), literalCount(*heuristic)) << "round " << round;
    }
  }
}

TEST(TwoLevel, ResultDoesNotDependOnNodeNumbers) {
  std::mt19937 random(5);
  LargeFunction f = randomLargeFunction(random, 12);
  std::optional<SumOfProducts> exact = minimiseCover(f.cover());
  std::optional<SumOfProducts> heuristic = minimiseCover(f.cover(), HeuristicOnly);
  // Once its nodes are collected and others are taken, the function is built on new numbers.
  bdd_gbc();
  std::vector<bdd> unrelated;
  for (int k = 0; k < 300; ++k) unrelated.push_back(cubeToBdd(randomCube(random, randomVariables(random, 9, 24), 6)));
  BddCover rebuilt = f.cover();
  EXPECT_EQ(minimiseCover(rebuilt), exact);
  EXPECT_EQ(minimiseCover(rebuilt, HeuristicOnly), heuristic);
}

}  // namespace
}  // namespace nurex
