// The unfolder's tables against plain arrays and maps: persistent cut maps (copies, differences,
// merges, nodes given back across threads), the marking table, and stamp sets across wraps.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "model/formats/g_reader.h"
#include "unfold/cut_map.h"
#include "unfold/marking_table.h"
#include "unfold/node_pool.h"
#include "unfold/stamp_set.h"
#include "unfold/worker_pool.h"
#include "unit/unfold/unfold_test_support.h"

namespace nurex {
namespace {

using Plain = std::vector<uint32_t>;

// A map beside the plain array that it must equal.
struct Tracked {
  CutMap map;
  Plain plain;
  explicit Tracked(uint32_t places, const std::vector<uint32_t>* weights = nullptr)
      : map(places, weights), plain(places, CutMap::None) {}
  void set(uint32_t p, uint32_t b) {
    map.set(p, b);
    plain[p] = b;
  }
};

void expectSame(const CutMap& map, const Plain& plain) {
  uint32_t size = 0;
  uint32_t sum = 0;
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
void expectSame(const Tracked& t) { expectSame(t.map, t.plain); }

void expectDifferences(const CutMap& a, const Plain& x, const CutMap& b, const Plain& y) {
  Plain seen(x.size(), 0);
  uint32_t last = 0;
  bool first = true;
  CutMap::forEachDifference(a, b, [&](uint32_t p, uint32_t u, uint32_t v) {
    EXPECT_EQ(u, x[p]);
    EXPECT_EQ(v, y[p]);
    EXPECT_TRUE(first || p > last) << "places out of order";
    first = false;
    last = p;
    seen[p] = 1;
  });
  for (uint32_t p = 0; p < x.size(); ++p) EXPECT_EQ(seen[p] == 1, x[p] != y[p]) << p;
}
void expectDifferences(const Tracked& a, const Tracked& b) { expectDifferences(a.map, a.plain, b.map, b.plain); }

uint32_t randomEntry(std::mt19937& random, uint32_t noneOneIn) {
  if (random() % noneOneIn == 0) return CutMap::None;
  uint32_t b = static_cast<uint32_t>(random() % 1000);
  return random() % 3 == 0 ? b | CutMap::Consumed : b;
}

// Lineages of maps derived from each other; `burst` changes per step let some lineages grow
// past the array limit while others stay below it, and entries are removed as well. Every
// other step gives its changes at once, by ascending place.
void deriveAndCompare(uint32_t places, int steps, int burst) {
  std::mt19937 random(places * 31 + burst);
  std::vector<Tracked> maps{Tracked(places)};
  for (int step = 0; step < steps; ++step) {
    size_t from = random() % maps.size();
    Tracked next = maps[from];
    std::vector<uint32_t> changed;
    for (int k = random() % burst; k >= 0; --k) {
      uint32_t p = random() % places;
      uint32_t b = randomEntry(random, 4);
      if (step % 2 == 0) next.set(p, b);
      else changed.push_back(p), next.plain[p] = b;
    }
    std::sort(changed.begin(), changed.end());
    changed.erase(std::unique(changed.begin(), changed.end()), changed.end());
    std::vector<uint64_t> changes;
    for (uint32_t p : changed) changes.push_back(CutMap::pair(p, next.plain[p]));
    next.map.setMany(changes);
    if (maps.size() < 12) maps.push_back(next);
    else maps[from] = next;
  }
  for (const Tracked& m : maps) expectSame(m);
  for (const Tracked& m : maps)
    for (const Tracked& n : maps) expectDifferences(m, n);
}

TEST(UnfoldCutMap, CopiesAreIndependentAndDifferencesExact) {
  int64_t before = node_pool::blocksInUse();
  for (uint32_t places : {1u, 16u, 17u, 300u, 5000u})
    for (int burst : {4, 40}) {
      SCOPED_TRACE("places " + std::to_string(places) + " burst " + std::to_string(burst));
      deriveAndCompare(places, 400, burst);
    }
  EXPECT_EQ(node_pool::blocksInUse(), before);
}

// Growing one map entry by entry passes the array limit; each copy taken on the way must
// keep its own contents, and a tree must compare with an array by entries alone.
TEST(UnfoldCutMap, GrowingPastTheArrayLimit) {
  const uint32_t places = 600;
  Tracked map(places);
  std::vector<Tracked> copies;
  for (uint32_t k = 0; k < 2 * CutMap::SparseLimit + 10; ++k) {
    map.set((k * 7919) % places, k);
    if (k % 37 == 0 || k + 1 == CutMap::SparseLimit || k == CutMap::SparseLimit) copies.push_back(map);
  }
  expectSame(map);
  for (const Tracked& copy : copies) {
    expectSame(copy);
    expectDifferences(copy, map);
    expectDifferences(map, copy);
  }
  // Shrinking a tree below the limit keeps it a tree; it still compares with arrays.
  for (uint32_t k = 0; k < 2 * CutMap::SparseLimit; ++k) map.set((k * 7919) % places, CutMap::None);
  expectSame(map);
  for (const Tracked& copy : copies) expectDifferences(map, copy);
}

// Two threads derive maps from shared ones and drop them in either thread, so nodes made
// on one thread are given back on the other; contents stay exact and no node is lost. When
// the shared maps are pinned, their nodes stay until the pinned maps go, and only then.
void shareBetweenThreads(uint32_t places, bool pin) {
  std::vector<Tracked> built;
  std::mt19937 random(places);
  for (int i = 0; i < 8; ++i) {
    built.emplace_back(places);
    for (uint32_t k = 0; k < (i + 1) * places / 10; ++k) {
      uint32_t p = random() % places, b = randomEntry(random, 8);
      built.back().set(p, b);
    }
  }
  int64_t beforePinning = node_pool::blocksInUse();
  std::vector<PinnedCut> pinned;
  pinned.reserve(built.size());
  std::vector<const CutMap*> shared;
  for (Tracked& t : built) {
    if (pin) pinned.emplace_back(std::move(t.map));
    shared.push_back(pin ? &pinned.back().map() : &t.map);
  }
  std::vector<std::vector<Tracked>> made(2);
  auto work = [&](int t) {
    std::mt19937 r(places + t);
    for (int step = 0; step < 3000; ++step) {
      size_t from = r() % shared.size();
      Tracked next(places);
      next.map = *shared[from];
      next.plain = built[from].plain;
      for (int k = r() % 6; k >= 0; --k) {
        uint32_t p = r() % places, b = randomEntry(r, 5);
        next.set(p, b);
      }
      made[t].push_back(std::move(next));
      if (made[t].size() > 64) made[t].erase(made[t].begin() + r() % made[t].size());
    }
  };
  std::thread other(work, 1);
  work(0);
  other.join();
  for (int t = 0; t < 2; ++t)
    for (const Tracked& m : made[t]) expectSame(m);
  for (size_t i = 0; i < shared.size(); ++i) expectSame(*shared[i], built[i].plain);
  // The maps that thread 1 made are dropped here, and those of thread 0 on a new thread.
  made[1].clear();
  std::thread dropper([&] { made[0].clear(); });
  dropper.join();
  EXPECT_EQ(node_pool::blocksInUse(), beforePinning);
}

TEST(UnfoldCutMap, MapsSharedBetweenThreads) {
  int64_t before = node_pool::blocksInUse();
  for (bool pin : {false, true})
    for (uint32_t places : {40u, 3000u}) {
      SCOPED_TRACE(std::to_string(places) + (pin ? " places, pinned" : " places"));
      shareBetweenThreads(places, pin);
    }
  EXPECT_EQ(node_pool::blocksInUse(), before);
}

// Merges order entries by their numbers, and owners by a table: a node tagged x is below
// one tagged y when every map tagged y was derived from maps tagged x by raising entries.
struct NumberOrder {
  const std::vector<std::vector<uint32_t>>* below = nullptr;  // below[y]: tags under y
  int decided = 0;
  int compareOwners(uint32_t x, uint32_t y) {
    if (!below || x == y || x >= below->size() || y >= below->size()) return 0;
    auto under = [&](uint32_t a, uint32_t b) {
      return std::find((*below)[b].begin(), (*below)[b].end(), a) != (*below)[b].end();
    };
    int order = under(x, y) ? -1 : under(y, x) ? 1 : 0;
    decided += order != 0;
    return order;
  }
  uint32_t later(uint32_t x, uint32_t y) const {
    uint32_t b = x & ~CutMap::Consumed, c = y & ~CutMap::Consumed;
    return b == c ? x | y : b > c ? x : y;
  }
};

Plain laterOf(const Plain& x, const Plain& y, const NumberOrder& order) {
  Plain z(x.size());
  for (size_t p = 0; p < x.size(); ++p)
    z[p] = x[p] == CutMap::None ? y[p] : y[p] == CutMap::None ? x[p] : order.later(x[p], y[p]);
  return z;
}

// A family of trees, each derived from one or two earlier ones (merged) by raising entries,
// so that an earlier tag is below a later one wherever the family says so. Merging any two
// gives the entrywise later, with sizes, sums and weights of a direct count; tags decide
// some subtrees whole; and merged maps stay independent of their sources.
TEST(UnfoldCutMap, MergesTakeTheLaterEntryAndShareWhatTagsDecide) {
  const uint32_t places = 700;
  std::vector<uint32_t> weights(4000);
  for (uint32_t b = 0; b < weights.size(); ++b) weights[b] = b % 7;
  int64_t before = node_pool::blocksInUse();
  {
    std::mt19937 random(7);
    std::vector<std::vector<uint32_t>> below;
    NumberOrder order{&below};
    Tracked root(places, &weights);
    for (uint32_t p = 0; p < places; p += 2) root.set(p, p);
    std::vector<Tracked> maps;
    for (uint32_t tag = 0; tag < 40; ++tag) {
      std::vector<uint32_t> under;
      Tracked next = root;
      if (!maps.empty()) {
        size_t a = random() % maps.size();
        next = maps[a];
        under = below[a];
        under.push_back(static_cast<uint32_t>(a));
        if (random() % 2) {
          size_t c = random() % maps.size();
          next.map.setOwner(tag);
          next.map.mergeLater(maps[c].map, order);
          next.plain = laterOf(next.plain, maps[c].plain, order);
          under.insert(under.end(), below[c].begin(), below[c].end());
          under.push_back(static_cast<uint32_t>(c));
        }
      }
      next.map.setOwner(tag);
      // Raise a few entries, in a burst of neighbouring places or scattered.
      uint32_t start = random() % places;
      for (int k = random() % 12; k >= 0; --k) {
        uint32_t p = random() % 3 ? (start + k) % places : random() % places;
        uint32_t b = (next.plain[p] == CutMap::None ? 700 : (next.plain[p] & ~CutMap::Consumed) + 1 + random() % 5);
        if (random() % 4 == 0) b |= CutMap::Consumed;
        if (b < weights.size()) next.set(p, b);
      }
      maps.push_back(next);
      below.push_back(under);
    }
    for (const Tracked& x : maps)
      for (const Tracked& y : maps) {
        Tracked merged = x;
        merged.map.setOwner(1000);
        merged.map.mergeLater(y.map, order);
        merged.plain = laterOf(x.plain, y.plain, order);
        expectSame(merged);
        uint32_t weight = 0;
        for (uint32_t b : merged.plain)
          if (b != CutMap::None) weight += weights[b & ~CutMap::Consumed];
        EXPECT_EQ(merged.map.weightSum(), weight);
        merged.set(1, 3999);  // a change to the merge leaves both sources alone
      }
    for (const Tracked& m : maps) expectSame(m);
    EXPECT_GT(order.decided, 100);
  }
  EXPECT_EQ(node_pool::blocksInUse(), before);
}

// A whole run on two threads, over a ring whose cuts start as arrays and grow into trees:
// candidates made on one thread and dropped on the other give every node back.
TEST(UnfoldCutMap, AnUnfolderRunGivesBackEveryNode) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  const int cells = 60;
  std::ostringstream text;
  text << ".dummy";
  for (int i = 0; i < cells; ++i) text << " work" << i << " pass" << i;
  text << "\n.graph\n";
  for (int i = 0; i < cells; ++i)
    text << "idle" << i << " work" << i << "\nwork" << i << " busy" << i << "\nbusy" << i << " pass" << i << "\ntoken" << i
         << " pass" << i << "\npass" << i << " idle" << i << " token" << (i + 1) % cells << "\n";
  text << ".marking {token0";
  for (int i = 0; i < cells; ++i) text << " idle" << i;
  text << " }\n.end\n";
  int64_t before = node_pool::blocksInUse();
  for (int threads : {1, 2}) {
    auto prefix = test::asPrefix(withoutSignals(parseStgText(text.str(), "ring.g", nullptr)));
    UnfoldOptions options = test::optionsFor(test::Search::Closure, threads);
    ASSERT_TRUE(unfoldNet(*prefix, options));
    EXPECT_EQ(prefix->events.size(), uint32_t(3 * cells - 1));
    EXPECT_EQ(node_pool::blocksInUse(), before) << threads << " threads";
  }
}

}  // namespace
}  // namespace nurex

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
}  // namespace nurex::test
