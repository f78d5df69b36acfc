// Algebraic nodes on random covers: division, three-way division, kernels against brute
// force, divisors and factored forms, each checked as BDDs; a few textbook cases by value.
#include "kernel/algebraic.h"

#include <gtest/gtest.h>

#include <set>

#include "kernel_test_support.h"

namespace nurex {
namespace {

using namespace kernel_test;

SumOfProducts randomCover(std::mt19937& random) {
  std::vector<uint32_t> variables = randomVariables(random, 3 + random() % 4, 10);
  SumOfProducts sop;
  for (uint32_t k = 1 + random() % 6; k > 0; --k)
    sop.push_back(randomCube(random, variables, 1 + random() % static_cast<uint32_t>(variables.size())));
  return sop;
}

std::vector<uint32_t> variablesOf(const SumOfProducts& sop) {
  std::set<uint32_t> variables;
  for (const Cube& cube : sop)
    for (const CubeLiteral& l : cube) variables.insert(l.variable);
  return {variables.begin(), variables.end()};
}

// Cubes as sets of literal ranks, to compare covers regardless of order.
std::set<std::set<uint32_t>> cubeSets(const SumOfProducts& sop) {
  std::set<std::set<uint32_t>> result;
  for (const Cube& cube : sop) {
    std::set<uint32_t> literals;
    for (const CubeLiteral& l : cube) literals.insert(l.variable * 2 + !l.positive);
    result.insert(literals);
  }
  return result;
}

// Kernels by definition: every cube C over F's literals whose quotient F/C is cube-free with
// at least two cubes.
std::set<std::set<std::set<uint32_t>>> bruteForceKernels(const SopNode& f) {
  std::set<uint32_t> ranks;
  for (const auto& cube : cubeSets(f.cover())) ranks.insert(cube.begin(), cube.end());
  std::vector<uint32_t> literals(ranks.begin(), ranks.end());
  std::set<std::set<std::set<uint32_t>>> result;
  for (uint32_t mask = 0; mask < (1u << literals.size()); ++mask) {
    Cube c;
    for (size_t i = 0; i < literals.size(); ++i)
      if (mask >> i & 1) c.push_back({literals[i] / 2, literals[i] % 2 == 0});
    if (std::adjacent_find(c.begin(), c.end(), [](auto& a, auto& b) { return a.variable == b.variable; }) != c.end())
      continue;
    SopNode quotient = weakDivide(f, SopNode({c})).quotient;
    if (quotient.cover().size() >= 2 && isCubeFree(quotient)) result.insert(cubeSets(quotient.cover()));
  }
  return result;
}

void expectDivision(const SopNode& f, const SopNode& d, const Division& division) {
  EXPECT_EQ((division.quotient.function() & d.function()) | division.remainder.function(), f.function());
  for (const Cube& q : division.quotient.cover())
    for (const Cube& c : d.cover())
      for (const CubeLiteral& l : q)
        EXPECT_EQ(std::find(c.begin(), c.end(), l), c.end()) << "a literal shared by quotient and divisor";
  for (const Cube& r : division.remainder.cover())
    EXPECT_NE(std::find(f.cover().begin(), f.cover().end(), r), f.cover().end()) << "a remainder cube not in F";
}

TEST(Algebraic, RandomCoversDivideKernelAndFactor) {
  std::mt19937 random(5);
  for (int round = 0; round < 150; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    SumOfProducts sop = randomCover(random);
    SopNode f(sop);
    ASSERT_EQ(f.function(), sopToBdd(sop));
    for (size_t i = 0; i < f.cover().size(); ++i)
      for (size_t j = 0; j < f.cover().size(); ++j)
        if (i != j) {
          EXPECT_TRUE(weakDivide(SopNode({f.cover()[j]}), SopNode({f.cover()[i]})).quotient.isZero());
        }
    std::optional<SopNode> simple = f.simplify(), complement = f.complement();
    ASSERT_TRUE(simple && complement);
    EXPECT_EQ(simple->function(), f.function());
    EXPECT_LE(simple->literals(), f.literals());
    EXPECT_EQ(complement->function(), !f.function());
    std::vector<uint32_t> support = variablesOf(sop);
    bdd dontCare = sopToBdd({randomCube(random, support, std::min<uint32_t>(2, support.size()))});
    std::optional<SopNode> loose = f.simplify(dontCare);
    ASSERT_TRUE(loose);
    EXPECT_EQ(loose->function() & !dontCare, f.function() & !dontCare);
    EXPECT_LE(loose->literals(), simple->literals());
    BddCover cover;
    cover.on = f.function() & !dontCare;
    cover.off = bdd_apply(f.function(), dontCare, bddop_nor);
    std::optional<SopNode> fromCover = nodeFromCover(cover);
    ASSERT_TRUE(fromCover);
    EXPECT_EQ(fromCover->literals(), loose->literals());

    std::set<std::set<std::set<uint32_t>>> found;
    for (const Kernel& k : kernels(f)) {
      EXPECT_TRUE(isCubeFree(k.kernel));
      EXPECT_GE(k.kernel.cover().size(), 2u);
      EXPECT_EQ(cubeSets(weakDivide(f, SopNode({k.coKernel})).quotient.cover()), cubeSets(k.kernel.cover()));
      found.insert(cubeSets(k.kernel.cover()));
    }
    EXPECT_EQ(found, bruteForceKernels(f));

    std::set<std::set<std::set<uint32_t>>> seen;
    for (const SopNode& d : divisors(f)) {
      EXPECT_LT(d.literals(), f.literals());
      EXPECT_TRUE(seen.insert(cubeSets(d.cover())).second) << "a divisor twice";
      expectDivision(f, d, weakDivide(f, d));
      std::optional<ThreeWayDivision> three = divideThreeWay(f, d);
      ASSERT_TRUE(three);
      EXPECT_EQ(three->complement.function(), !d.function());
      EXPECT_EQ((three->onQuotient.function() & d.function()) | (three->offQuotient.function() & !d.function()) |
                    three->remainder.function(),
                f.function());
    }

    FactoredForm form = factor(f);
    EXPECT_EQ(form.function(), f.function()) << factoredText(form);
    EXPECT_LE(form.literals(), f.literals()) << factoredText(form);
  }
}

TEST(Algebraic, TextbookCases) {
  auto a = CubeLiteral{0, true}, b = CubeLiteral{1, true}, c = CubeLiteral{2, true}, d = CubeLiteral{3, true},
       e = CubeLiteral{4, true}, na = CubeLiteral{0, false};
  std::vector<std::string> names{"a", "b", "c", "d", "e"};
  auto name = [&](uint32_t v) { return names[v]; };
  // (a + b)(c + d) + e
  SopNode f({{a, c}, {a, d}, {b, c}, {b, d}, {e}});
  Division division = weakDivide(f, SopNode({{a}, {b}}));
  EXPECT_EQ(division.quotient, SopNode({{c}, {d}}));
  EXPECT_EQ(division.remainder, SopNode({{e}}));
  FactoredForm form = factor(f);
  EXPECT_EQ(form.literals(), 5u);
  EXPECT_EQ(factoredText(form, name), "(a | b) & (c | d) | e");
  EXPECT_EQ(factoredText(factor(SopNode({{a, b}, {na, c}}))), "v0*v1 + !v0*v2");
  EXPECT_EQ(factoredText(factor(SopNode({{a, b}, {a, c}})), name), "a & (b | c)");
  EXPECT_EQ(factoredText(factor(SopNode({Cube{}})), name), "1b`1");
  EXPECT_EQ(factoredText(factor(SopNode()), name), "1b`0");

  // ab + !a c by D = a: Q1 = b, !D = !a, Q0 = c, nothing left.
  std::optional<ThreeWayDivision> three = divideThreeWay(SopNode({{a, b}, {na, c}}), SopNode({{a}}));
  ASSERT_TRUE(three);
  EXPECT_EQ(three->onQuotient, SopNode({{b}}));
  EXPECT_EQ(three->complement, SopNode({{na}}));
  EXPECT_EQ(three->offQuotient, SopNode({{c}}));
  EXPECT_TRUE(three->remainder.isZero());

  // Canonical form: order, repeated literals and cubes, containment, contradictions.
  EXPECT_EQ(SopNode({{b, a}, {a, b, c}, {a, na}, {b, a}}).cover(), (SumOfProducts{{a, b}}));
  EXPECT_TRUE(SopNode({{a}, {}}).isOne());
  EXPECT_TRUE(isCubeFree(SopNode({{a}, {b}})));
  EXPECT_FALSE(isCubeFree(SopNode({{a, b}, {a, c}})));
  EXPECT_FALSE(isCubeFree(SopNode({{a, b}})));
  EXPECT_EQ(largestCommonCube(SopNode({{a, b, c}, {a, c, d}})), (Cube{a, c}));
  EXPECT_TRUE(weakDivide(f, SopNode()).quotient.isZero());
  // Divisors: kernels first (F itself excluded by its size), then co-kernels, then literals.
  std::vector<SopNode> all = divisors(f);
  ASSERT_FALSE(all.empty());
  EXPECT_EQ(all.front(), SopNode({{c}, {d}}));
  EXPECT_EQ(all.back(), SopNode({{e}}));
}

}  // namespace
}  // namespace nurex
