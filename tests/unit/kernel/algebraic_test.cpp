// Algebraic nodes on random covers: division, three-way division, kernels against brute
// force, divisors and factored forms, each checked as BDDs; a few textbook cases by value.
#include "kernel/algebraic.h"

#include <gtest/gtest.h>

#include <set>

#include "kernel_test_support.h"

namespace nurex {
namespace {

using namespace kernel_test;

SumOfProducts randomCover(std::mt19937& random, const std::vector<uint32_t>& variables) {
  SumOfProducts sop;
  for (uint32_t k = 1 + random() % 6; k > 0; --k)
    sop.push_back(randomCube(random, variables, 1 + random() % static_cast<uint32_t>(variables.size())));
  return sop;
}

// A canonical cover as text, the key of sets of covers.
std::string key(const SopNode& n) {
  std::string text;
  for (const Cube& cube : n.cover()) {
    for (const CubeLiteral& l : cube) text += (l.positive ? "+" : "-") + std::to_string(l.variable);
    text += ";";
  }
  return text;
}

// Kernels by definition: the quotients F/C by cubes C over F's literals that are cube-free
// and have at least two cubes.
std::set<std::string> bruteForceKernels(const SopNode& f) {
  std::set<std::pair<uint32_t, bool>> distinct;
  for (const Cube& cube : f.cover())
    for (const CubeLiteral& l : cube) distinct.insert({l.variable, l.positive});
  std::vector<std::pair<uint32_t, bool>> literals(distinct.begin(), distinct.end());
  std::set<std::string> result;
  for (uint32_t mask = 0; mask < (1u << literals.size()); ++mask) {
    Cube c;
    for (size_t i = 0; i < literals.size(); ++i)
      if (mask >> i & 1) c.push_back({literals[i].first, literals[i].second});
    SopNode quotient = weakDivide(f, SopNode({c})).quotient;
    if (quotient.cover().size() >= 2 && isCubeFree(quotient)) result.insert(key(quotient));
  }
  return result;
}

TEST(Algebraic, RandomCoversDivideKernelAndFactor) {
  std::mt19937 random(5);
  for (int round = 0; round < 150; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    std::vector<uint32_t> variables = randomVariables(random, 3 + random() % 4, 10);
    SumOfProducts sop = randomCover(random, variables);
    SopNode f(sop);
    ASSERT_EQ(f.function(), sopToBdd(sop));
    for (const Cube& a : f.cover())  // no cube contains another
      for (const Cube& b : f.cover()) EXPECT_TRUE(&a == &b || weakDivide(SopNode({b}), SopNode({a})).quotient.isZero());
    std::optional<SopNode> simple = f.simplify(), complement = f.complement();
    ASSERT_TRUE(simple && complement);
    EXPECT_EQ(simple->function(), f.function());
    EXPECT_LE(simple->literals(), f.literals());
    EXPECT_EQ(complement->function(), !f.function());
    bdd dontCare = cubeToBdd(randomCube(random, variables, 2));
    std::optional<SopNode> loose = f.simplify(dontCare);
    ASSERT_TRUE(loose);
    EXPECT_EQ(loose->function() & !dontCare, f.function() & !dontCare);
    EXPECT_LE(loose->literals(), simple->literals());
    std::optional<SopNode> fromCover =
        nodeFromCover(coverOf(f.function() & !dontCare, bdd_apply(f.function(), dontCare, bddop_nor)));
    EXPECT_EQ(fromCover.value().literals(), loose->literals());

    std::set<std::string> found;
    for (const Kernel& k : kernels(f)) {
      EXPECT_EQ(weakDivide(f, SopNode({k.coKernel})).quotient, k.kernel);
      found.insert(key(k.kernel));
    }
    EXPECT_EQ(found, bruteForceKernels(f));

    std::set<std::string> seen;
    for (const SopNode& d : divisors(f)) {
      EXPECT_LT(d.literals(), f.literals());
      EXPECT_TRUE(seen.insert(key(d)).second) << "a divisor twice";
      Division division = weakDivide(f, d);
      EXPECT_EQ((division.quotient.function() & d.function()) | division.remainder.function(), f.function());
      for (const Cube& r : division.remainder.cover())
        EXPECT_NE(std::find(f.cover().begin(), f.cover().end(), r), f.cover().end()) << "a remainder cube not in F";
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
  // Divisors: kernels first (F itself excluded by its size), then co-kernels, then literals.
  std::vector<SopNode> all = divisors(f);
  ASSERT_FALSE(all.empty());
  EXPECT_EQ(all.front(), SopNode({{c}, {d}}));
  EXPECT_EQ(all.back(), SopNode({{e}}));
}

}  // namespace
}  // namespace nurex
