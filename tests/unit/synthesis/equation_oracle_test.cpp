// The test-only minimiser and support search on functions whose answers are known by hand,
// and the requirements read off the counted states of a C-element.
#include <gtest/gtest.h>

#include "equation_oracle.h"
#include "model/loaders.h"
#include "support/capture.h"

namespace nurex::test {
namespace {

constexpr Code A = 1, B = 2, C = 4, D = 8;

// The requirement of a completely specified function of the signals in `vars`.
Requirement truthTable(Code vars, bool (*f)(Code)) {
  Requirement r;
  for (Code code = 0; code <= vars; ++code)
    if ((code & ~vars) == 0) (f(code) ? r.on : r.off).push_back(code);
  return r;
}

TEST(EquationOracle, MinimumLiteralsOfKnownFunctions) {
  auto majority = [](Code c) { return std::popcount(c) >= 2; };
  EXPECT_EQ(minimumLiterals(truthTable(A | B | C, majority), A | B | C), 6u);
  auto parity = [](Code c) { return std::popcount(c) % 2 == 1; };
  EXPECT_EQ(minimumLiterals(truthTable(A | B | C, parity), A | B | C), 12u);
  EXPECT_EQ(minimumLiterals(truthTable(A | B | C | D, parity), A | B | C | D), 32u);
  // Cyclic core: minterms 0 1 2 5 6 7 of cba need three two-literal primes of six.
  auto cyclic = [](Code c) { return c == 0 || c == 1 || c == 2 || c == 5 || c == 6 || c == 7; };
  EXPECT_EQ(minimumLiterals(truthTable(A | B | C, cyclic), A | B | C), 6u);
  // Constants cost nothing, also where only one side is given.
  EXPECT_EQ(minimumLiterals({{}, {0, A}}, A), 0u);
  EXPECT_EQ(minimumLiterals({{A, A | B}, {}}, A | B), 0u);
  EXPECT_EQ(minimumLiterals({{}, {}}, 0), 0u);
}

TEST(EquationOracle, DontCaresAndProjection) {
  // ON a!b, OFF !a!b and ab: neither single literal avoids OFF.
  EXPECT_EQ(minimumLiterals({{A}, {0, A | B}}, A | B), 2u);
  // Without OFF ab, "a" alone does.
  EXPECT_EQ(minimumLiterals({{A}, {0}}, A | B), 1u);
  // Codes differing outside the support are merged by projection: C is ignored.
  EXPECT_EQ(minimumLiterals({{A | C, A}, {B, B | C}}, A | B), 1u);
  // A support that cannot tell an ON code from an OFF code has no cover.
  EXPECT_EQ(minimumLiterals({{A | C}, {A}}, A | B), std::nullopt);
  // More than six signals are not priced.
  EXPECT_EQ(minimumLiterals({{127}, {0}}, 127), std::nullopt);
  // Six signals, all codes given: the parity of six needs 32 cubes of six.
  auto parity = [](Code c) { return std::popcount(c) % 2 == 1; };
  EXPECT_EQ(minimumLiterals(truthTable(63, parity), 63), 192u);
}

TEST(EquationOracle, SupportsValidMinimalAndAll) {
  // ON {ab}, OFF {!a!b}: a alone and b alone each tell them apart.
  Requirement r{{A | B}, {0}};
  EXPECT_TRUE(validSupport(r, A));
  EXPECT_TRUE(minimalSupport(r, B));
  EXPECT_FALSE(minimalSupport(r, A | B));
  EXPECT_FALSE(validSupport(r, C));
  EXPECT_EQ(allMinimalSupports(r, A | B | C), (std::vector<Code>{A, B}));
  // ON {a!b, !ab}, OFF {ab, !a!b}: only both together.
  Requirement x{{A, B}, {0, A | B}};
  EXPECT_EQ(allMinimalSupports(x, A | B | C), (std::vector<Code>{A | B}));
  // Nothing to tell apart: the empty support.
  EXPECT_EQ(allMinimalSupports({{A}, {}}, A | B), (std::vector<Code>{0}));
  // The same code on both sides: no support at all.
  EXPECT_TRUE(allMinimalSupports({{A}, {A}}, A | B).empty());
}

TEST(EquationOracle, RequirementsOfTheCElement) {
  std::unique_ptr<StgUnit> unit;
  quietly([&] { unit.reset(loadStgUnit(std::string(NUREX_SOURCE_DIR) + "/tests/data/synthesis/c_element.g")); });
  ASSERT_NE(unit, nullptr);
  const Stg& stg = unit->get<StgPrefix>();
  CountedStates counted = countedStgStates(stg);
  ASSERT_TRUE(counted.complete && counted.safe);
  ASSERT_EQ(counted.states.size(), 8u);
  ASSERT_EQ(stg.signals[2]->name, "c");
  const Signal& c = *stg.signals[2];
  const Code all = A | B | C, ab = A | B;
  // Next value: the majority of a, b, c.
  Requirement next = requirementOf(counted.states, c, Role::Next, false);
  EXPECT_EQ(next.on, (std::vector<Code>{A | B, A | C, B | C, all}));
  EXPECT_EQ(next.off, (std::vector<Code>{0, A, B, C}));
  EXPECT_EQ(allMinimalSupports(next, all), (std::vector<Code>{all}));
  EXPECT_EQ(minimumLiterals(next, all), 6u);
  // gC: SET is 1 at ab!c and 0 where the next value is 0; RESET dually.
  Requirement set = requirementOf(counted.states, c, Role::Set, false);
  EXPECT_EQ(set.on, (std::vector<Code>{ab}));
  EXPECT_EQ(set.off, (std::vector<Code>{0, A, B, C}));
  EXPECT_EQ(allMinimalSupports(set, all), (std::vector<Code>{ab}));
  Requirement reset = requirementOf(counted.states, c, Role::Reset, false);
  EXPECT_EQ(reset.on, (std::vector<Code>{C}));
  EXPECT_EQ(reset.off, (std::vector<Code>{A | B, A | C, B | C, all}));
  EXPECT_EQ(allMinimalSupports(reset, all), (std::vector<Code>{ab}));
  EXPECT_EQ(minimumLiterals(reset, ab), 2u);
  // Standard C: 0 on every other state, so c itself is needed.
  Requirement setC = requirementOf(counted.states, c, Role::Set, true);
  EXPECT_EQ(setC.off, (std::vector<Code>{0, A, B, C, A | C, B | C, all}));
  EXPECT_EQ(allMinimalSupports(setC, all), (std::vector<Code>{all}));
  EXPECT_EQ(minimumLiterals(setC, all), 3u);
}

}  // namespace
}  // namespace nurex::test
