// Reporter latch and message limit, temporary files, core counting, and the arrays of every
// relation of nets and prefixes (two pointers in place, more on the heap).
#include <gtest/gtest.h>

#include <algorithm>
#include <unistd.h>
#include <vector>

#include "platform/ptr_array.h"
#include "platform/reporter.h"
#include "platform/system.h"
#include "support/capture.h"

namespace nurex::test {
namespace {

TEST(Reporter, LatchKeepsTheWorstSeverity) {
  std::string err = captureStderr([] {
    reportWarning("w");
    EXPECT_EQ(raiseStatus(0), 1u);
    reportError("e");
    reportWarning("later");
    EXPECT_EQ(raiseStatus(0), 2u);
    EXPECT_EQ(raiseStatus(5), 2u);  // returns the value found
    EXPECT_EQ(raiseStatus(2), 5u);
  });
  EXPECT_EQ(err, "\nWarning: w\n\nError: e\n\nWarning: later\n");
  resetStatus();
}

TEST(Reporter, MessageIsCutToTheBuffer) {
  std::string long_(12000, 'x');
  std::string err = captureStderr([&] { reportError(long_); });
  EXPECT_EQ(err, "\nError: " + std::string(MessageBufferSize - 1, 'x') + "\n");
  resetStatus();
}

TEST(TempFiles, CreatedListedAndDeletedQuietly) {
  std::string err = captureStderr([] {
    FILE* f = createTempFile();
    ASSERT_NE(f, nullptr);
    std::fputs("x", f);
    std::fclose(f);
    deleteTempFiles();
    deleteTempFiles();  // an empty list is silent
  });
  EXPECT_EQ(err, "");
  EXPECT_EQ(raiseStatus(0), 0u);
}

TEST(Cores, CountsDistinctPhysicalCores) {
  const char* twoByTwo =
      "processor\t: 0\nphysical id\t: 0\ncore id\t\t: 0\n\n"
      "processor\t: 1\nphysical id\t: 0\ncore id\t\t: 1\n\n"
      "processor\t: 2\nphysical id\t: 0\ncore id\t\t: 0\n\n"  // a hyperthread sibling
      "processor\t: 3\nphysical id\t: 1\ncore id\t\t: 0\n\n";
  EXPECT_EQ(countCoresInCpuinfo(twoByTwo), 3u);
  EXPECT_EQ(countCoresInCpuinfo("processor : 0\n"), 0u);
  EXPECT_GE(processorCores(), 1u);
}

TEST(Cores, RunnableTasksFromTheLoadFigures) {
  EXPECT_EQ(parseRunnableTasks("7.50 7.27 7.06 6/118 17215\n"), 6u);
  EXPECT_EQ(parseRunnableTasks("0.00 0.01 0.05 12/1034 99\n"), 12u);
  EXPECT_EQ(parseRunnableTasks("0.00 0.01 0.05"), 0u);
  EXPECT_EQ(parseRunnableTasks("0.00 0.01 0.05 x/3 1"), 0u);
  EXPECT_GE(runnableTasks(), 1u);  // the test itself runs
  EXPECT_GE(onlineProcessors(), 1u);
}

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
