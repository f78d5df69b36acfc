// The prefixes of the benchmark nets: sizes as recorded from an independent unfolder with
// order 3, markings as found by the explicit-state checker, and the same prefix from one
// and two threads and from each extension-search method.
#include <gtest/gtest.h>

#include <vector>

#include "model/formats/g_reader.h"
#include "model/loaders.h"
#include "model/net_unit.h"
#include "support/capture.h"
#include "support/state_space.h"
#include "support/verdicts.h"
#include "unit/unfold/unfold_test_support.h"
#include "unfold/worker_pool.h"

namespace nurex::test {
namespace {

// Signal events cut off against the local configuration of a dummy event. Such a
// configuration ends with the dummy pending, so this unfolder never takes it as the
// correspondent of a signal event; the reference unfolder may, and then its prefix is smaller.
template <class P>
int signalCutOffsBehindDummies(const P& prefix) {
  auto dummy = [](const Event* e) { return e->transition->signal && e->transition->signal->kind == SignalDummy; };
  int count = 0;
  for (const Event* e : prefix.events)
    for (const Event* f : e->correspondent.correspondents()) count += !dummy(e) && dummy(f);
  return count;
}

bool referenceCutsBehindDummies(VerdictCells& row) {
  std::unique_ptr<StgUnit> unit;
  captureStderr([&] { unit.reset(loadStgUnit(std::string(NUREX_BENCHMARKS) + "/prefixes/" + row["prefix"])); });
  return unit && unit->holds<StgPrefix>() && signalCutOffsBehindDummies(unit->get<StgPrefix>()) > 0;
}

template <class Net>
void checkNet(VerdictCells& row, std::unique_ptr<Net> net, bool referenceBehindDummies) {
  StateSpace space = exploreStateSpace(*net);
  ASSERT_TRUE(space.complete && space.safe);
  EXPECT_EQ(space.size(), std::stoull(row["states"])) << "explicit-state count of " << row["name"];

  std::string reference;
  for (Search search : {Search::Closure, Search::Relation, Search::Plain}) {
    for (int threads : {1, 2}) {
      if (search == Search::Plain && threads == 2) continue;
      // The net is moved into each prefix, so the file is read again.
      bool hasSignals = false;
      auto copy = readStgText(std::string(NUREX_BENCHMARKS) + "/nets/" + row["name"] + ".g", &hasSignals);
      std::unique_ptr<Net> fresh;
      if constexpr (Net::isStg) fresh = std::move(copy);
      else fresh = withoutSignals(std::move(copy));
      auto prefix = asPrefix(std::move(fresh));
      ASSERT_TRUE(unfoldNet(*prefix, optionsFor(search, threads)));
      std::string signature = prefixSignature(prefix->conditions, prefix->events);
      if (reference.empty()) {
        reference = signature;
        PrefixStatistics ours = computeStatistics(prefix->conditions, prefix->events);
        EXPECT_EQ(signalCutOffsBehindDummies(*prefix), 0);
        if (referenceBehindDummies) EXPECT_GT(ours.events, std::stoull(row["E"]));
        else EXPECT_EQ(formatStatistics(ours), statisticsLine(row));
        std::set<PlaceSet> markings;
        ASSERT_TRUE(prefixPlaceSets(prefix->conditions, prefix->events, markings));
        EXPECT_EQ(markings, space.placeSets()) << row["name"];
      } else {
        EXPECT_EQ(signature, reference) << row["name"] << " differs with search " << static_cast<int>(search)
                                        << " and " << threads << " threads";
      }
    }
  }
}

TEST(UnfoldBenchmarks, SizesMarkingsAndDeterminism) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  std::vector<VerdictCells> rows = readBenchmarkVerdicts();
  ASSERT_GT(rows.size(), 40u);
  for (VerdictCells& row : rows) {
    SCOPED_TRACE(row["name"]);
    bool hasSignals = false;
    bool referenceBehindDummies = referenceCutsBehindDummies(row);
    std::string err = captureStderr([&] {
      auto stg = readStgText(std::string(NUREX_BENCHMARKS) + "/nets/" + row["name"] + ".g", &hasSignals);
      ASSERT_TRUE(stg);
      if (hasSignals) checkNet<Stg>(row, std::move(stg), referenceBehindDummies);
      else checkNet<PetriNet>(row, withoutSignals(std::move(stg)), false);
    });
    EXPECT_EQ(err, "");
  }
}

}  // namespace
}  // namespace nurex::test
