// Unate covering against exhaustive search on random weighted matrices, rows no column
// covers, and the node budget.
#include "kernel/unate_covering.h"

#include <gtest/gtest.h>

#include <random>

namespace nurex {
namespace {

uint64_t weightOf(const CoveringMatrix& m, const std::vector<uint32_t>& columns) {
  uint64_t w = 0;
  for (uint32_t c : columns) w += m.weights[c];
  return w;
}

bool covers(const CoveringMatrix& m, uint32_t chosen) {
  for (const auto& row : m.rows) {
    bool met = false;
    for (uint32_t c : row) met |= (chosen >> c & 1) != 0;
    if (!met) return false;
  }
  return true;
}

uint64_t exhaustiveMinimum(const CoveringMatrix& m) {
  uint64_t best = UINT64_MAX;
  for (uint32_t chosen = 0; chosen < (1u << m.weights.size()); ++chosen) {
    if (!covers(m, chosen)) continue;
    uint64_t w = 0;
    for (uint32_t c = 0; c < m.weights.size(); ++c)
      if (chosen >> c & 1) w += m.weights[c];
    best = std::min(best, w);
  }
  return best;
}

CoveringMatrix randomMatrix(std::mt19937& random) {
  CoveringMatrix m;
  uint32_t columns = 4 + random() % 11;
  for (uint32_t c = 0; c < columns; ++c) m.weights.push_back(1 + random() % 5);
  for (uint32_t r = 2 + random() % 20; r > 0; --r) {
    std::vector<uint32_t>& row = m.rows.emplace_back();
    for (uint32_t k = 1 + random() % 4; k > 0; --k) row.push_back(random() % columns);
  }
  return m;
}

TEST(UnateCovering, ReachesTheExhaustiveMinimum) {
  std::mt19937 random(31);
  for (int round = 0; round < 300; ++round) {
    CoveringMatrix m = randomMatrix(random);
    CoveringResult result = minimumCover(m, 100000);
    ASSERT_TRUE(result.feasible);
    EXPECT_TRUE(result.exact);
    uint32_t chosen = 0;
    for (uint32_t c : result.columns) chosen |= 1u << c;
    EXPECT_TRUE(covers(m, chosen)) << "round " << round;
    EXPECT_EQ(weightOf(m, result.columns), exhaustiveMinimum(m)) << "round " << round;
    EXPECT_TRUE(std::is_sorted(result.columns.begin(), result.columns.end()));
  }
}

TEST(UnateCovering, BudgetKeepsACover) {
  std::mt19937 random(8);
  bool cut = false;
  for (int round = 0; round < 100; ++round) {
    CoveringMatrix m = randomMatrix(random);
    CoveringResult result = minimumCover(m, 1);
    cut |= !result.exact;
    uint32_t chosen = 0;
    for (uint32_t c : result.columns) chosen |= 1u << c;
    EXPECT_TRUE(covers(m, chosen)) << "round " << round;
    EXPECT_GE(weightOf(m, result.columns), exhaustiveMinimum(m));
  }
  EXPECT_TRUE(cut);
}

TEST(UnateCovering, RowWithoutColumnsIsInfeasibleAndNoRowsNeedNothing) {
  EXPECT_FALSE(minimumCover({{{0, 1}, {}}, {1, 1}}, 100).feasible);
  CoveringResult none = minimumCover({{}, {3, 1}}, 100);
  EXPECT_TRUE(none.feasible);
  EXPECT_TRUE(none.columns.empty());
  // One heavy column against two light ones covering the same rows.
  EXPECT_EQ(minimumCover({{{0, 1}, {0, 2}}, {3, 1, 1}}, 100).columns, (std::vector<uint32_t>{1, 2}));
  EXPECT_EQ(minimumCover({{{0, 1}, {0, 2}}, {2, 1, 1}}, 100).columns, (std::vector<uint32_t>{0}));
}

}  // namespace
}  // namespace nurex
