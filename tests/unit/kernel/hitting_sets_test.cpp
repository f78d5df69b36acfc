// Minimal hitting sets against exhaustive search on random families, the edge families, and
// a family of the size the support search produces.
#include "kernel/hitting_sets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace nurex {
namespace {

using Family = std::vector<std::vector<uint32_t>>;

// Which elements each set of a family holds, for elements below `universe`.
std::vector<std::vector<bool>> membership(const Family& family, uint32_t universe) {
  std::vector<std::vector<bool>> holds(family.size(), std::vector<bool>(universe, false));
  for (size_t s = 0; s < family.size(); ++s)
    for (uint32_t e : family[s]) holds[s][e] = true;
  return holds;
}

bool hitsAll(const std::vector<std::vector<bool>>& holds, const std::vector<uint32_t>& set) {
  return std::all_of(holds.begin(), holds.end(), [&](const std::vector<bool>& h) {
    return std::any_of(set.begin(), set.end(), [&](uint32_t e) { return h[e]; });
  });
}

// Every subset of the elements that hits all sets and has no hitting set one element smaller
// (hitting is monotone, so that is minimality).
Family exhaustive(const Family& family) {
  std::vector<uint32_t> elements;
  for (const auto& s : family) elements.insert(elements.end(), s.begin(), s.end());
  std::sort(elements.begin(), elements.end());
  elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
  auto holds = membership(family, elements.empty() ? 0 : elements.back() + 1);
  Family result;
  for (uint32_t mask = 0; mask < (1u << elements.size()); ++mask) {
    std::vector<uint32_t> set;
    for (size_t i = 0; i < elements.size(); ++i)
      if (mask >> i & 1) set.push_back(elements[i]);
    if (!hitsAll(holds, set)) continue;
    bool minimal = true;
    for (size_t k = 0; k < set.size() && minimal; ++k) {
      std::vector<uint32_t> smaller = set;
      smaller.erase(smaller.begin() + static_cast<long>(k));
      minimal = !hitsAll(holds, smaller);
    }
    if (minimal) result.push_back(set);
  }
  std::sort(result.begin(), result.end(),
            [](const auto& a, const auto& b) { return a.size() != b.size() ? a.size() < b.size() : a < b; });
  return result;
}

TEST(HittingSets, EdgeFamilies) {
  EXPECT_EQ(minimalHittingSets({}), Family{{}});
  EXPECT_EQ(minimalHittingSets({{3, 1}, {}}), Family{});
  EXPECT_EQ(minimalHittingSets({{7}}), Family{{7}});
  EXPECT_EQ(minimalHittingSets({{2, 1}, {1, 2}, {1, 2, 3}}), (Family{{1}, {2}}));
  EXPECT_EQ(minimalHittingSets({{1, 2}, {3, 4}}), (Family{{1, 3}, {1, 4}, {2, 3}, {2, 4}}));
  // Element numbers far apart and beyond one machine word of dense numbers.
  EXPECT_EQ(minimalHittingSets({{1000000, 5}, {5, 4000000000u}}), (Family{{5}, {1000000, 4000000000u}}));
}

TEST(HittingSets, RandomFamiliesMatchExhaustiveSearch) {
  std::mt19937 random(4);
  for (int round = 0; round < 300; ++round) {
    Family family(random() % 9);
    uint32_t universe = 1 + random() % 11;
    for (auto& s : family)
      for (uint32_t k = random() % 5 + (round % 10 != 0); k > 0; --k) s.push_back(random() % universe * 3);
    EXPECT_EQ(minimalHittingSets(family), exhaustive(family)) << "round " << round;
  }
}

TEST(HittingSets, WideFamilyOverSeventyElements) {
  // Complements of small agreeing sets, as the support search gives them: large sets over
  // more elements than one word holds.
  std::mt19937 random(12);
  Family family;
  for (int s = 0; s < 200; ++s) {
    std::vector<uint32_t> agree;
    for (int k = 0; k < 4; ++k) agree.push_back(random() % 70);
    std::vector<uint32_t>& set = family.emplace_back();
    for (uint32_t e = 0; e < 70; ++e)
      if (std::find(agree.begin(), agree.end(), e) == agree.end()) set.push_back(e);
  }
  Family result = minimalHittingSets(family);
  ASSERT_GT(result.size(), 1000u);
  auto holds = membership(family, 70);
  for (size_t i = 0; i < result.size(); ++i) {
    EXPECT_TRUE(hitsAll(holds, result[i]));
    for (size_t k = 0; k < result[i].size(); ++k) {
      std::vector<uint32_t> smaller = result[i];
      smaller.erase(smaller.begin() + static_cast<long>(k));
      EXPECT_FALSE(hitsAll(holds, smaller));
    }
    if (i > 0) {
      EXPECT_TRUE(result[i - 1].size() < result[i].size() || result[i - 1] < result[i]);
    }
  }
}

}  // namespace
}  // namespace nurex
