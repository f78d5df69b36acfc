// The comparisons of the adequate orders on hand-made configuration summaries.
#include <gtest/gtest.h>

#include "unfold/adequate_order.h"

namespace nurex::test {
namespace {

// A summary from the transitions of each Foata level, the first level first.
ConfigurationSummary summary(std::vector<std::vector<uint32_t>> levels, std::vector<std::vector<uint32_t>> causal = {}) {
  ConfigurationSummary s;
  for (uint64_t depth = 1; depth <= levels.size(); ++depth)
    for (uint32_t t : levels[depth - 1]) {
      s.parikh.push_back(t);
      s.foata.push_back(depth << 32 | t);
      ++s.size;
    }
  std::sort(s.parikh.begin(), s.parikh.end());
  std::sort(s.foata.begin(), s.foata.end());
  s.causal = std::move(causal);
  return s;
}

// Both directions, so that the result is antisymmetric.
void expectBelow(int order, const ConfigurationSummary& a, const ConfigurationSummary& b) {
  EXPECT_LT(compareConfigurations(order, a, b), 0);
  EXPECT_GT(compareConfigurations(order, b, a), 0);
}

TEST(UnfoldOrders, SizeComesFirstInEveryOrder) {
  ConfigurationSummary small = summary({{9}}), large = summary({{0}, {1}});
  for (int order = 1; order <= 4; ++order) expectBelow(order, small, large);
}

TEST(UnfoldOrders, ParikhVectorsCompareAsSortedSequences) {
  // {t1, t3} against {t2, t2}: the sequence 1 3 is below 2 2.
  ConfigurationSummary a = summary({{1}, {3}}), b = summary({{2}, {2}});
  EXPECT_EQ(compareConfigurations(1, a, b), 0);
  expectBelow(2, a, b);
  expectBelow(3, a, b);
  expectBelow(4, a, b);
  expectBelow(2, summary({{0, 0, 5}}), summary({{0, 1, 1}}));
}

TEST(UnfoldOrders, FoataLevelsBreakParikhTies) {
  // Same multiset {1, 2, 3}; a shorter first level is below a longer one.
  ConfigurationSummary narrow = summary({{1}, {2, 3}}), wide = summary({{1, 2}, {3}});
  EXPECT_EQ(compareConfigurations(2, narrow, wide), 0);
  expectBelow(3, narrow, wide);
  // Levels of equal length compare by their transitions.
  expectBelow(3, summary({{1, 3}, {2}}), summary({{2, 3}, {1}}));
  EXPECT_EQ(compareConfigurations(3, summary({{1, 3}, {2}}), summary({{3, 1}, {2}})), 0);
}

TEST(UnfoldOrders, OrderFourRefinesThreeByCausalStructure) {
  ConfigurationSummary a = summary({{1}, {2}}, {{1, 1}, {2, 2, 0, 2, 1}});
  ConfigurationSummary b = summary({{1}, {2}}, {{1, 1}, {2, 2, 1, 2, 1}});
  EXPECT_EQ(compareConfigurations(3, a, b), 0);
  expectBelow(4, a, b);
  EXPECT_EQ(compareConfigurations(4, a, a), 0);
}

}  // namespace
}  // namespace nurex::test
