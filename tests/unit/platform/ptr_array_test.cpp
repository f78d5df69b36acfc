// The arrays of every relation of nets and prefixes: two pointers live in place, more on the
// heap, and copies, moves and removals must not care which.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/ptr_array.h"

namespace nurex::test {
namespace {

struct Item {
  uint32_t index;
};

std::vector<Item*> listOf(const PtrArray<Item>& a) { return {a.begin(), a.end()}; }

// Each length is built, copied, moved, grown and trimmed across the in-place limit; the
// source of a copy and the target of a move must hold what they should afterwards.
TEST(PtrArray, InPlaceAndHeapArraysBehaveAlike) {
  std::vector<Item> items(9);
  for (uint32_t i = 0; i < items.size(); ++i) items[i].index = 8 - i;
  for (uint32_t n = 0; n <= items.size(); ++n) {
    SCOPED_TRACE(n);
    PtrArray<Item> a;
    std::vector<Item*> expected;
    for (uint32_t i = 0; i < n; ++i) {
      a.push_back(&items[i]);
      expected.push_back(&items[i]);
    }
    EXPECT_EQ(listOf(a), expected);
    PtrArray<Item> copy(a);
    EXPECT_EQ(listOf(copy), expected);
    PtrArray<Item> moved(std::move(copy));
    EXPECT_EQ(listOf(moved), expected);
    PtrArray<Item> assigned{&items[0], &items[1], &items[2]};
    assigned = moved;
    EXPECT_EQ(listOf(assigned), expected);
    assigned.push_back(&items[0]);
    EXPECT_EQ(listOf(moved), expected);  // the copy owns its own storage
    if (n > 0) {
      EXPECT_TRUE(moved.erase(&items[0]));
      expected.erase(expected.begin());
      EXPECT_EQ(listOf(moved), expected);
      EXPECT_FALSE(moved.contains(&items[0]));
    }
    moved.sortByIndex();
    std::sort(expected.begin(), expected.end(), [](Item* x, Item* y) { return x->index < y->index; });
    EXPECT_EQ(listOf(moved), expected);
    moved.resize(moved.size() + 1);
    expected.push_back(nullptr);
    EXPECT_EQ(listOf(moved), expected);
  }
}

}  // namespace
}  // namespace nurex::test
