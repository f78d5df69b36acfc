// The marking table: records found by hash, size and the caller's comparison, including
// hashes that share a bucket; events chained per record in the order they came; kept places
// only for markings small enough.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

#include "unfold/marking_table.h"

namespace nurex {
namespace {

std::vector<uint32_t> eventsOf(const MarkingTable& table, const MarkingTable::Record& record) {
  std::vector<uint32_t> events;
  for (uint32_t e = record.first; e != NoIndex; e = table.nextEvent(e)) events.push_back(e);
  return events;
}

// Markings stand for themselves as small numbers; several share a hash, and hashes that
// differ above the bucket mask share a bucket. Events of interleaved markings must stay
// apart and in order.
TEST(UnfoldMarkingTable, RecordsAndTheirEventsAgainstAMap) {
  MarkingTable table;
  std::mt19937 random(7);
  std::map<uint32_t, std::vector<uint32_t>> expected;  // marking -> events
  std::vector<uint32_t> markingOfEvent;
  auto hashOf = [](uint32_t marking) { return uint64_t(marking % 5) << 18 | (marking % 3); };
  // A record holds the marking of its first event, as in the unfolder.
  auto holds = [&](uint32_t marking) {
    return [&, marking](const MarkingTable::Record& r) { return markingOfEvent[r.first] == marking; };
  };
  for (uint32_t e = 0; e < 3000; ++e) {
    uint32_t marking = random() % 40;
    markingOfEvent.push_back(marking);
    uint32_t before = table.recordCount();
    MarkingTable::Record& r = table.insert(hashOf(marking), marking % 4, holds(marking));
    EXPECT_EQ(table.recordCount() > before, expected.count(marking) == 0);
    table.addEvent(r, e);
    expected[marking].push_back(e);
  }
  EXPECT_EQ(table.recordCount(), expected.size());
  for (const auto& [marking, events] : expected) {
    uint32_t found = table.find(hashOf(marking), marking % 4, holds(marking));
    ASSERT_NE(found, MarkingTable::NoRecord);
    EXPECT_EQ(eventsOf(table, table.record(found)), events) << "marking " << marking;
    // The same hash with another size is another marking.
    EXPECT_EQ(table.find(hashOf(marking), marking % 4 + 4, holds(marking)), MarkingTable::NoRecord);
  }
}

TEST(UnfoldMarkingTable, KeepsOnlySmallMarkingsOfTheRecordsSize) {
  MarkingTable table;
  auto none = [](const MarkingTable::Record&) { return false; };
  std::vector<uint32_t> small{2, 5, 9};
  MarkingTable::Record& a = table.insert(1, 3, none);
  table.keep(a, small);
  EXPECT_EQ(std::vector<uint32_t>(table.keptPlaces(a).begin(), table.keptPlaces(a).end()), small);

  std::vector<uint32_t> large(MarkingTable::KeptPlacesLimit + 1);
  for (uint32_t i = 0; i < large.size(); ++i) large[i] = 3 * i;
  MarkingTable::Record& b = table.insert(2, static_cast<uint32_t>(large.size()), none);
  table.keep(b, large);
  EXPECT_EQ(b.places, MarkingTable::NoPlaces);
  EXPECT_TRUE(table.keptPlaces(b).empty());

  // Places that do not make up the record's whole marking are not kept.
  MarkingTable::Record& c = table.insert(3, 4, none);
  table.keep(c, small);
  EXPECT_TRUE(table.keptPlaces(c).empty());
  // Keeping one record's places leaves another's as they were.
  EXPECT_EQ(std::vector<uint32_t>(table.keptPlaces(table.record(0)).begin(), table.keptPlaces(table.record(0)).end()),
            small);
}

}  // namespace
}  // namespace nurex
