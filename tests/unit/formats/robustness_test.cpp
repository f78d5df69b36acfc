// Damaged input: deterministic mutations of valid files of every format go through the
// fuzz targets of their readers, which check that a reader rejects through the Reporter
// (status 2 with a null result) or loads, and walk what it loads.
#include <random>

#include "fuzz/harnesses.h"
#include "model/formats/format_common.h"
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

}  // namespace
}  // namespace nurex::test
