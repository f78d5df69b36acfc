// Persistent cut maps against plain arrays: changes to one copy never show in another, and
// differences, sizes and hash sums of the marked places agree with a direct computation.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "unfold/cut_map.h"

namespace nurex {
namespace {

using Plain = std::vector<uint32_t>;

void expectSame(const CutMap& map, const Plain& plain) {
  uint32_t size = 0;
  uint64_t sum = 0;
  for (uint32_t p = 0; p < plain.size(); ++p) {
    ASSERT_EQ(map.get(p), plain[p]) << "place " << p;
    if (CutMap::marks(plain[p])) ++size, sum += placeWord(p);
  }
  EXPECT_EQ(map.size(), size);
  EXPECT_EQ(map.sum(), sum);
  Plain listed(plain.size(), CutMap::None), marked = plain;
  for (uint32_t& b : marked)
    if (!CutMap::marks(b)) b = CutMap::None;
  uint32_t last = 0, count = 0;
  map.forEach([&](uint32_t p, uint32_t b) {
    EXPECT_TRUE(count == 0 || p > last);
    last = p;
    ++count;
    listed[p] = b;
  });
  EXPECT_EQ(listed, marked);
}

TEST(UnfoldCutMap, CopiesAreIndependentAndDifferencesExact) {
  for (uint32_t places : {1u, 16u, 17u, 300u, 5000u}) {
    SCOPED_TRACE("places " + std::to_string(places));
    std::mt19937 random(places);
    std::vector<CutMap> maps{CutMap(places)};
    std::vector<Plain> plains{Plain(places, CutMap::None)};
    for (int step = 0; step < 400; ++step) {
      size_t from = random() % maps.size();
      CutMap next = maps[from];
      Plain plain = plains[from];
      for (int k = random() % 4; k >= 0; --k) {
        uint32_t p = random() % places;
        uint32_t b = random() % 3 == 0 ? CutMap::None : static_cast<uint32_t>(random() % 1000);
        if (b != CutMap::None && random() % 3 == 0) b |= CutMap::Consumed;
        next.set(p, b);
        plain[p] = b;
      }
      if (maps.size() < 12) {
        maps.push_back(next);
        plains.push_back(plain);
      } else {
        maps[from] = next;
        plains[from] = plain;
      }
    }
    for (size_t i = 0; i < maps.size(); ++i) expectSame(maps[i], plains[i]);
    for (size_t i = 0; i < maps.size(); ++i)
      for (size_t j = 0; j < maps.size(); ++j) {
        Plain seen(places, 0);
        CutMap::forEachDifference(maps[i], maps[j], [&](uint32_t p, uint32_t x, uint32_t y) {
          EXPECT_EQ(x, plains[i][p]);
          EXPECT_EQ(y, plains[j][p]);
          seen[p] = 1;
        });
        for (uint32_t p = 0; p < places; ++p) EXPECT_EQ(seen[p] == 1, plains[i][p] != plains[j][p]) << p;
      }
  }
}

}  // namespace
}  // namespace nurex
