// Damaged input through the fuzz targets of the readers, which check that a reader rejects
// through the Reporter (status 2 with a null result) or loads, and walk what it loads:
// deterministic mutations of valid files of every format, and the regression corpora (every
// input that once found a fault and a few hundred seeds), which must leave the reporter clean.
#include <gtest/gtest.h>

#include <algorithm>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <random>

#include "fuzz/harnesses.h"
#include "model/formats/format_common.h"
#include "platform/reporter.h"
#include "unit/formats/format_test_util.h"

namespace nurex::test {
namespace {

TEST(FormatRobustness, MutatedFilesOfEveryFormat) {
  const std::string bench = std::string(NUREX_BENCHMARKS);
  struct Case {
    const char* target;
    std::string file;
    int count;
  } cases[] = {
      {"mci", bench + "/prefixes/vme.mci", 600},           {"mci", bench + "/prefixes/hybridf.mci", 400},
      {"mp", dataPath("choice.mp"), 600},                  {"mp", dataPath("choice_stg.mp"), 300},
      {"pnml", dataPath("toggle.pnml"), 800},              {"pnml", dataPath("choice_mp.pnml"), 500},
      {"pnml_gz", bench + "/prefixes/vme-read.pnml.gz", 200}, {"g", dataPath("mixed.g"), 500},
      {"g", bench + "/nets/vme.g", 300},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    const fuzz::FuzzTarget* target = fuzz::findFuzzTarget(c.target);
    ASSERT_NE(target, nullptr);
    std::string original = readBytes(c.file);
    ASSERT_FALSE(original.empty());
    Mutator mutator(static_cast<uint32_t>(std::hash<std::string>()(c.file)));
    uint64_t before = fuzz::loadedUnits(), runs = 0;
    for (int i = 0; i < c.count; ++i) {
      std::string bytes = mutator.mutate(original);
      target->run(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
      runs += std::string(c.target) == "mci" || std::string(c.target) == "mp" ? 2 : 1;
    }
    // Both outcomes occur, or the mutations would not reach the depth of the readers; damaged
    // gzip data fails its check sum, so only plain formats must also load sometimes.
    uint64_t loaded = fuzz::loadedUnits() - before;
    if (!endsWith(c.file, ".gz")) {
      EXPECT_GT(loaded, 0u);
    }
    EXPECT_LT(loaded, runs);
  }
}

std::vector<std::string> corpusFiles(const std::string& target) {
  std::string dir = std::string(NUREX_SOURCE_DIR) + "/tests/fuzz/corpus/" + target;
  std::vector<std::string> files;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* entry = readdir(d))
      if (entry->d_name[0] != '.') files.push_back(dir + "/" + entry->d_name);
    closedir(d);
  }
  std::sort(files.begin(), files.end());
  return files;
}

TEST(FuzzCorpus, EveryTargetReplaysItsCorpus) {
  for (const fuzz::FuzzTarget& target : fuzz::fuzzTargets()) {
    std::vector<std::string> files = corpusFiles(target.name);
    EXPECT_GE(files.size(), 10u) << "the corpus of " << target.name << " is missing";
    for (const std::string& file : files) {
      SCOPED_TRACE(file);
      std::ifstream in(file, std::ios::binary);
      std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
      EXPECT_EQ(target.run(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()), 0);
      EXPECT_EQ(raiseStatus(0), StatusClean);
    }
  }
}

}  // namespace
}  // namespace nurex::test
