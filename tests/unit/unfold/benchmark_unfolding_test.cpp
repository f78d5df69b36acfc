// The prefixes of the benchmark nets: sizes as recorded from an independent unfolder with
// order 3, markings as found by the explicit-state checker, and the same prefix from one
// and two threads and from each extension-search method.
#include <gtest/gtest.h>

#include <vector>

#include "model/formats/g_reader.h"
#include "support/capture.h"
#include "support/state_space.h"
#include "support/verdicts.h"
#include "unit/unfold/unfold_test_support.h"

namespace nurex::test {
namespace {

struct VerdictRow {
  std::string name;
  uint64_t states = 0;
  PrefixStatistics statistics;
};

std::vector<VerdictRow> readVerdicts() {
  std::vector<VerdictRow> rows;
  for (VerdictCells& v : readBenchmarkVerdicts()) {
    VerdictRow row;
    row.name = v["name"];
    row.states = std::stoull(v["states"]);
    PrefixStatistics& s = row.statistics;
    s.conditions = std::stoull(v["B"]);
    s.events = std::stoull(v["E"]);
    s.cutOffs = std::stoull(v["C"]);
    s.conditionEventArcs = std::stoull(v["BE"]);
    s.eventConditionArcs = std::stoull(v["EB"]);
    rows.push_back(row);
  }
  return rows;
}

std::string statisticsText(const PrefixStatistics& s) { return formatStatistics(s); }

template <class Net>
void checkNet(const VerdictRow& row, std::unique_ptr<Net> net) {
  StateSpace space = exploreStateSpace(*net);
  ASSERT_TRUE(space.complete && space.safe);
  EXPECT_EQ(space.size(), row.states) << "explicit-state count of " << row.name;

  std::string reference;
  for (Search search : {Search::Closure, Search::Relation, Search::Plain}) {
    for (int threads : {1, 2}) {
      if (search == Search::Plain && threads == 2) continue;
      // The net is moved into each prefix, so the file is read again.
      bool hasSignals = false;
      auto copy = readStgText(std::string(NUREX_BENCHMARKS) + "/nets/" + row.name + ".g", &hasSignals);
      std::unique_ptr<Net> fresh;
      if constexpr (Net::isStg) fresh = std::move(copy);
      else fresh = withoutSignals(std::move(copy));
      auto prefix = asPrefix(std::move(fresh));
      ASSERT_TRUE(unfoldNet(*prefix, optionsFor(search, threads)));
      std::string signature = prefixSignature(prefix->conditions, prefix->events);
      if (reference.empty()) {
        reference = signature;
        EXPECT_EQ(statisticsText(computeStatistics(prefix->conditions, prefix->events)),
                  statisticsText(row.statistics));
        std::set<PlaceSet> markings;
        ASSERT_TRUE(prefixPlaceSets(prefix->conditions, prefix->events, markings));
        EXPECT_EQ(markings, space.placeSets()) << row.name;
      } else {
        EXPECT_EQ(signature, reference) << row.name << " differs with search " << static_cast<int>(search)
                                        << " and " << threads << " threads";
      }
    }
  }
}

TEST(UnfoldBenchmarks, SizesMarkingsAndDeterminism) {
  std::vector<VerdictRow> rows = readVerdicts();
  ASSERT_GT(rows.size(), 40u);
  for (const VerdictRow& row : rows) {
    SCOPED_TRACE(row.name);
    bool hasSignals = false;
    std::string err = captureStderr([&] {
      auto stg = readStgText(std::string(NUREX_BENCHMARKS) + "/nets/" + row.name + ".g", &hasSignals);
      ASSERT_TRUE(stg);
      if (hasSignals) checkNet<Stg>(row, std::move(stg));
      else checkNet<PetriNet>(row, withoutSignals(std::move(stg)));
    });
    EXPECT_EQ(err, "");
  }
}

}  // namespace
}  // namespace nurex::test
