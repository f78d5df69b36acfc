// The greedy hitting set: choice by count with ties to the last in its bucket, sets met
// beforehand, counts that fall to zero, and the hitting property on random lists.
#include <gtest/gtest.h>

#include <random>

#include "platform/reporter.h"
#include "reach/hitting_set.h"

namespace nurex {
namespace {

using Sets = std::vector<std::vector<uint32_t>>;

TEST(HittingSet, EmptyListsAndSetsMetBeforehand) {
  EXPECT_TRUE(greedyHittingSet({}, {}).empty());
  std::vector<bool> chosen(8, false);
  chosen[1] = true;
  EXPECT_EQ(greedyHittingSet({{1, 2}, {3}, {2, 1}}, chosen), std::vector<uint32_t>{3});
  EXPECT_TRUE(greedyHittingSet({{1}, {4, 1}}, chosen).empty());
  // A set with no element cannot be met and is left out.
  EXPECT_EQ(greedyHittingSet({{}, {5}}, {}), std::vector<uint32_t>{5});
}

TEST(HittingSet, MostFrequentFirstAndTiesToTheLast) {
  // Counts 1:1 2:2 3:2 4:1. 3 is last in the top bucket; it leaves 2 with count 1 behind 1
  // (and 4 at count 0), so 2 follows.
  EXPECT_EQ(greedyHittingSet({{1, 2}, {2, 3}, {3, 4}}, {}), (std::vector<uint32_t>{3, 2}));
  EXPECT_EQ(greedyHittingSet({{5}, {6}}, {}), (std::vector<uint32_t>{6, 5}));
  EXPECT_EQ(greedyHittingSet({{7, 7}, {7}}, {}), std::vector<uint32_t>{7});
  EXPECT_EQ(greedyHittingSet({{1, 9}, {2, 9}, {3, 9}, {1, 2, 3}}, {}), (std::vector<uint32_t>{9, 3}));
}

TEST(HittingSet, EveryRandomSetIsMet) {
  std::mt19937 random(11);
  for (int round = 0; round < 200; ++round) {
    Sets sets(random() % 12);
    std::vector<bool> chosen(20, false);
    for (auto& set : sets)
      for (uint32_t k = random() % 4 + 1; k > 0; --k) set.push_back(random() % 20);
    for (int k = random() % 3; k > 0; --k) chosen[random() % 20] = true;
    std::vector<uint32_t> result = greedyHittingSet(sets, chosen);
    EXPECT_EQ(result, greedyHittingSet(sets, chosen));
    for (uint32_t e : result) {
      EXPECT_FALSE(chosen[e]);
      chosen[e] = true;
    }
    for (const auto& set : sets) {
      bool met = false;
      for (uint32_t e : set) met |= chosen[e];
      EXPECT_TRUE(met);
    }
  }
}

TEST(HittingSet, TraceLinesAtVerbosityFive) {
  unsigned saved = verbosity;
  verbosity = 5;
  testing::internal::CaptureStdout();
  greedyHittingSet({{1, 2}, {2, 3}, {3, 4}}, {});
  std::string out = testing::internal::GetCapturedStdout();
  verbosity = saved;
  EXPECT_EQ(out, "\n Computing Hitting Set of 3 non-singleton sets\n The cardinality of the computed Hitting Set is 2");
}

}  // namespace
}  // namespace nurex
