// Differential test of -R -f: every STG it writes must pass the explicit-state judgement
// against its input (safe, consistent, CSC-free, new signals internal, the same visible
// traces, inputs never delayed, no new deadlock), on the benchmarks with conflicts, the
// regression STGs of tests/data/resolve and seeded random STGs.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "model/formats/writers.h"
#include "model/loaders.h"
#include "reach/coefficients.h"
#include "resolve/encoding_resolver.h"
#include "support/capture.h"
#include "support/sanitizer.h"
#include "support/stg_states.h"
#include "support/transformation_judge.h"
#include "unit/verify/random_stg.h"
#include "unit/verify/stg_replay.h"

namespace nurex::test {
namespace {

struct Outcome {
  bool error = false, resolved = false;
  size_t signals = 0, parallel = 0;  // signals inserted; parallel insertions among them
  size_t reductions = 0;
  size_t rebuilt = 0;  // insertions after which the prefix was unfolded again, not rewritten
  size_t lockedPairs = 0;
  std::string notAlternating;  // pairs reported locked that do not alternate
  std::string judged;  // the judge's failure, empty when accepted
  std::string output;  // the written STG, for the failure message
};

Outcome resolve(const StgPrefix& prefix, uint32_t steps = 200, int concurrent = 0, bool reduce = false) {
  OptionMap options;
  options["mode"] = 10;
  options["min_cost"] = 1;
  options["use_concurrency_reduction"] = reduce;
  options["concurrent_insertions"] = concurrent;
  // Parallel insertions are made cheap so that the minimum takes them where it can.
  if (concurrent) options["coeff_conc_insertions"] = 0;
  Outcome outcome;
  quietly([&] {
    int32_t conc = options["coeff_conc_insertions"];
    evaluateCostCoefficients(prefix, options);
    if (concurrent) options["coeff_conc_insertions"] = conc;
    EncodingResolver resolver(prefix, options);
    resolver.writeFiles = false;
    resolver.stepLimit = steps;
    resolver.run();
    outcome.error = raiseStatus(0) >= StatusError;
    outcome.resolved = resolver.resolved();
    outcome.signals = resolver.insertedSignals();
    outcome.reductions = resolver.appliedReductions();
    outcome.rebuilt = resolver.rebuiltPrefixes;
    for (const auto& solution : resolver.applied())
      for (const Insertion& i : static_cast<const TransformationCost&>(*solution).transformation)
        outcome.parallel += !isSequential(i);
    // Later insertions keep the order of the earlier signals' edges, so a signal reported
    // locked with the new one at its step must alternate with it in the final STG.
    for (size_t k = 0; k < resolver.applied().size() && resolver.resolved() && !reduce; ++k) {
      std::string name = k ? "csc" + std::to_string(k) : "csc";
      for (const std::string& s : static_cast<const ResolutionSolution&>(*resolver.applied()[k]).lockedSignals) {
        ++outcome.lockedPairs;
        if (!signalsAlternate(resolver.net(), name, s)) outcome.notAlternating += name + "/" + s + " ";
      }
    }
    if (outcome.error || !outcome.resolved) return;
    std::ostringstream text;
    writeStgText(resolver.net(), text);
    outcome.output = text.str();
    JudgeOptions judge;
    judge.reductionsAllowed = reduce;
    Judgement j = judgeTransformation(prefix, resolver.net(), judge);
    outcome.judged = j.decided ? j.failure : "";
  });
  return outcome;
}

std::string gText(const Stg& stg) {
  std::ostringstream text;
  writeStgText(stg, text);
  return text.str();
}

TEST(ResolutionDifferential, BenchmarksAndRegressions) {
  std::vector<std::string> files = {std::string(NUREX_SOURCE_DIR) + "/benchmarks/nets/vme.g",
                                    std::string(NUREX_SOURCE_DIR) + "/benchmarks/nets/NEWVME.g"};
  std::filesystem::path regressions = std::string(NUREX_SOURCE_DIR) + "/tests/data/resolve";
  if (std::filesystem::exists(regressions))
    for (const auto& entry : std::filesystem::directory_iterator(regressions))
    if (entry.path().extension() == ".g") files.push_back(entry.path().string());
  for (const std::string& file : files) {
    SCOPED_TRACE(file);
    std::unique_ptr<StgUnit> unit = loadStgQuietly(file);
    ASSERT_TRUE(unit && unit->holds<StgPrefix>());
    Outcome o = resolve(unit->get<StgPrefix>());
    ASSERT_FALSE(o.error);
    EXPECT_TRUE(o.resolved);
    EXPECT_EQ(o.judged, "") << o.output;
    EXPECT_EQ(o.notAlternating, "");
    EXPECT_EQ(o.rebuilt, 0u);
    Outcome r = resolve(unit->get<StgPrefix>(), 200, 0, true);
    ASSERT_FALSE(r.error);
    EXPECT_TRUE(r.resolved);
    EXPECT_EQ(r.judged, "") << r.output;
    if (file.ends_with("/vme.g")) {
      // The classic answer: d- waits for ldtack-, and no signal is needed.
      EXPECT_EQ(r.signals, 0u);
      EXPECT_EQ(r.reductions, 1u);
    }
  }
}

// Inputs are never delayed, so a conflict that only an input's progress tells apart cannot
// be resolved by insertion; each STG is also tried with its inputs made outputs, where every
// conflict can be worked on.
std::unique_ptr<Stg> withoutInputs(std::unique_ptr<Stg> stg) {
  for (Signal* s : stg->signals)
    if (s->kind == SignalInput) s->kind = SignalOutput;
  sortSignals(*stg);
  return stg;
}

TEST(ResolutionDifferential, RandomStgsWithConflicts) {
  RandomStgOptions small, deep;
  deep.maxDepth = 4;
  deep.maxSignals = 8;
  int withConflicts[2] = {}, resolved[2] = {}, signals[2] = {}, parallel = 0, lockedPairs = 0, misjudged = 0;
  uint64_t seeds = sizedForBuild(70);
  for (uint64_t seed = 1; seed <= seeds; ++seed)
    for (int variant : {0, 1}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + (variant ? " without inputs" : ""));
      std::unique_ptr<StgPrefix> prefix;
      captureStderr([&] {
        std::unique_ptr<Stg> stg = randomConsistentStg(seed, seed % 3 == 0 ? deep : small);
        prefix = unfoldStg(variant ? withoutInputs(std::move(stg)) : std::move(stg));
      });
      ASSERT_NE(prefix, nullptr);
      StgStateFacts facts = exploreStg(*prefix);
      if (!facts.complete || facts.cscCost < 0) continue;
      ++withConflicts[variant];
      // Every other seed may also place the new signal's transitions in parallel (-p1).
      Outcome o = resolve(*prefix, 6, seed % 2 ? 1 : 0);
      ASSERT_FALSE(o.error) << gText(*prefix);
      EXPECT_EQ(o.rebuilt, 0u) << gText(*prefix);
      if (!o.resolved) {
        if (getenv("NUREX_DUMP_UNRESOLVED")) std::printf("=== seed %llu variant %d\n%s\n", (unsigned long long)seed, variant, gText(*prefix).c_str());
        continue;
      }
      ++resolved[variant];
      signals[variant] += static_cast<int>(o.signals);
      parallel += static_cast<int>(o.parallel);
      lockedPairs += static_cast<int>(o.lockedPairs);
      // The lock term only prices a step; on random STGs with choices it can still take a
      // pair for locked that does not alternate, so this is counted rather than asserted.
      misjudged += !o.notAlternating.empty();
      EXPECT_EQ(o.judged, "") << "input:\n" << gText(*prefix) << "\noutput:\n" << o.output;
    }
  for (int variant : {0, 1})
    std::printf("random STGs%s with CSC conflicts: %d, resolved %d with %d signals\n", variant ? " without inputs" : "",
                withConflicts[variant], resolved[variant], signals[variant]);
  std::printf("parallel insertions applied: %d, locked pairs checked: %d, runs with a pair taken for locked "
              "that does not alternate: %d\n", parallel, lockedPairs, misjudged);
  EXPECT_GT(parallel, 0);
  EXPECT_GT(withConflicts[0], static_cast<int>(seeds / 20));
  EXPECT_GT(resolved[0], withConflicts[0] / 5);
  EXPECT_GE(resolved[1] * 3, withConflicts[1] * 2);
}

// With -r the output may drop traces, never inputs; every result must still pass the judge.
TEST(ResolutionDifferential, RandomStgsWithReductions) {
  int withConflicts = 0, resolved = 0, reductions = 0, signals = 0;
  uint64_t seeds = sizedForBuild(20);
  for (uint64_t seed = 1; seed <= seeds; ++seed)
    for (int variant : {0, 1}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + (variant ? " without inputs" : ""));
      std::unique_ptr<StgPrefix> prefix;
      captureStderr([&] {
        std::unique_ptr<Stg> stg = randomConsistentStg(seed);
        prefix = unfoldStg(variant ? withoutInputs(std::move(stg)) : std::move(stg));
      });
      ASSERT_NE(prefix, nullptr);
      StgStateFacts facts = exploreStg(*prefix);
      if (!facts.complete || facts.cscCost < 0) continue;
      ++withConflicts;
      Outcome r = resolve(*prefix, 6, 0, true);
      ASSERT_FALSE(r.error) << gText(*prefix);
      if (!r.resolved) continue;
      ++resolved;
      reductions += static_cast<int>(r.reductions);
      signals += static_cast<int>(r.signals);
      EXPECT_EQ(r.judged, "") << "input:\n" << gText(*prefix) << "\noutput:\n" << r.output;
    }
  std::printf("random STGs with CSC conflicts: %d, resolved with -r %d by %d reductions and %d signals\n",
              withConflicts, resolved, reductions, signals);
  EXPECT_GT(reductions, 0);
  EXPECT_GE(resolved * 5, withConflicts * 2);
}

}  // namespace
}  // namespace nurex::test
