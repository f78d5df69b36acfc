// The scratch sets of the unfolder's walks: a set is started by a new generation, and the
// generations wrap around many times in a run on a large prefix.
#include <gtest/gtest.h>

#include "unfold/stamp_set.h"

namespace nurex::test {
namespace {

// A stamp left from a set that many generations back must not count when the counter comes
// round to its value again; nor may a set started just after the wrap see older members.
TEST(UnfoldStampSet, MembersOfOldSetsNeverReturnAcrossTheWrap) {
  StampSet set;
  set.ensure(8);
  set.next();
  set.mark(3);
  for (int round = 0; round < 3 * 65536 + 5; ++round) {
    set.next();
    ASSERT_FALSE(set.has(3)) << "set " << round;
    ASSERT_TRUE(set.insert(round % 8 == 3 ? 4 : 5));
    ASSERT_FALSE(set.insert(round % 8 == 3 ? 4 : 5));
    ASSERT_TRUE(set.has(round % 8 == 3 ? 4 : 5));
    ASSERT_FALSE(set.has(round % 8 == 3 ? 5 : 4));
  }
}

}  // namespace
}  // namespace nurex::test
