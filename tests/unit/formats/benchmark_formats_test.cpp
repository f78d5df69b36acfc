// Every benchmark prefix loads with the statistics that verdicts.tsv records for it, and the
// legacy ones survive a write and a second read.
#include <filesystem>
#include <map>
#include <sstream>

#include "model/checks.h"
#include "model/formats/format_common.h"
#include "model/formats/readers.h"
#include "model/formats/writers.h"
#include "unit/formats/format_test_util.h"
#include "support/verdicts.h"

namespace nurex::test {
namespace {

namespace fs = std::filesystem;
const std::string Benchmarks = NUREX_BENCHMARKS;

// The rows by prefix file.
std::map<std::string, VerdictCells> readVerdicts() {
  std::map<std::string, VerdictCells> rows;
  for (VerdictCells& v : readBenchmarkVerdicts()) rows[v["prefix"]] = v;
  return rows;
}

// The statistics line of a prefix file, read as the loaders would read it, or "" on failure.
std::string statisticsOf(const std::string& path, bool stg) {
  if (endsWith(path, ".mci")) {
    if (stg) {
      auto prefix = readStgPrefixMci(path);
      return prefix ? formatStatistics(computeStatistics(prefix->conditions, prefix->events)) : "";
    }
    auto prefix = readPrefixMci(path);
    return prefix ? formatStatistics(computeStatistics(prefix->conditions, prefix->events)) : "";
  }
  LoadedUnit loaded;
  if (!readPnmlUnit(path,
                    {"branching_process:low_level_net", "branching_process:STG", "merged_process:low_level_net",
                     "merged_process:STG"},
                    loaded))
    return "";
  EXPECT_EQ(loaded.stgPrefix != nullptr, stg) << path;
  if (loaded.stgPrefix) return formatStatistics(computeStatistics(loaded.stgPrefix->conditions, loaded.stgPrefix->events));
  if (loaded.petriNetPrefix)
    return formatStatistics(computeStatistics(loaded.petriNetPrefix->conditions, loaded.petriNetPrefix->events));
  return "merged process";
}

TEST(BenchmarkFormats, EveryPrefixGivesTheRecordedStatistics) {
  auto verdicts = readVerdicts();
  size_t checked = 0;
  for (const auto& entry : fs::directory_iterator(Benchmarks + "/prefixes")) {
    std::string file = entry.path().filename().string();
    auto row = verdicts.find(file);
    ASSERT_NE(row, verdicts.end()) << file << " has no row in verdicts.tsv";
    std::string statistics;
    captureStderr([&] { statistics = statisticsOf(entry.path().string(), row->second["kind"] == "stg"); });
    EXPECT_LT(raiseStatus(0), StatusError) << file;
    EXPECT_EQ(statistics, statisticsLine(row->second)) << file;
    ++checked;
  }
  EXPECT_EQ(checked, verdicts.size());
}

// A .mci benchmark written back and read again keeps its prefix.
TEST(BenchmarkFormats, LegacyPrefixesSurviveWriting) {
  for (const char* name : {"vme.mci", "cdp.mci", "dp_8.mci"}) {
    std::unique_ptr<PetriNetPrefix> first, second;
    captureStderr([&] {
      first = readPrefixMci(Benchmarks + "/prefixes/" + name);
      std::ofstream out(scratchPath(name), std::ios::binary);
      ASSERT_TRUE(first && writePrefixMci(*first, out));
      out.close();
      second = readPrefixMci(scratchPath(name));
    });
    ASSERT_TRUE(second) << name;
    EXPECT_EQ(canonicalNet(*second), canonicalNet(*first)) << name;
    EXPECT_EQ(canonicalEvents(*second), canonicalEvents(*first)) << name;
  }
}

}  // namespace
}  // namespace nurex::test
