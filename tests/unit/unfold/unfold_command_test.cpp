// Prefixes that nurex-unfold writes in each output form read back with the statistics it
// printed, the same bytes for any thread count (its messages are in tests/e2e/unfold.cases).
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "model/formats/readers.h"
#include "support/capture.h"
#include "support/process.h"

namespace nurex::test {
namespace {

#ifdef NUREX_UNFOLD_BINARY

std::string contents(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(UnfoldCommand, WrittenFormsReadBackTheSameForAnyThreadCount) {
  std::string dir = makeTempDirectory();
  const std::string newvme = std::string(NUREX_BENCHMARKS) + "/nets/NEWVME.g", dph = std::string(NUREX_BENCHMARKS) + "/nets/dph_5.g";
  struct Case {
    std::string net, form, type, statistics;
  } cases[] = {
      {newvme, ".pnml", "branching_process:STG", "\n |B|=26 |E|=22 |C|=3 |BE|=26 |EB|=24"},
      {newvme, ".pnml.gz", "branching_process:STG", "\n |B|=26 |E|=22 |C|=3 |BE|=26 |EB|=24"},
      {newvme, ".mci", "", "\n |B|=26 |E|=22 |C|=3 |BE|=26 |EB|=24"},
      {dph, ".pnml", "branching_process:low_level_net", "\n |B|=2712 |E|=1351 |C|=547 |BE|=2701 |EB|=2701"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.net + " as " + c.form);
    std::string one = dir + "/one" + c.form, two = dir + "/two" + c.form;
    ProcessResult first = runProcess(NUREX_UNFOLD_BINARY, {"-t1", c.net, one});
    ProcessResult second = runProcess(NUREX_UNFOLD_BINARY, {"-t", "2", "-o3", c.net, two});
    EXPECT_EQ(first.out, "\nfile: " + c.net + c.statistics + "\n");
    EXPECT_EQ(contents(one), contents(two));
    captureStderr([&] {
      PrefixStatistics read;
      if (c.type.empty()) {
        auto prefix = readStgPrefixMci(one);
        ASSERT_TRUE(prefix);
        read = computeStatistics(prefix->conditions, prefix->events);
      } else {
        LoadedUnit loaded;
        ASSERT_TRUE(readPnmlUnit(one, {c.type}, loaded));
        ASSERT_TRUE(loaded.stgPrefix || loaded.petriNetPrefix);
        read = loaded.stgPrefix ? computeStatistics(loaded.stgPrefix->conditions, loaded.stgPrefix->events)
                                : computeStatistics(loaded.petriNetPrefix->conditions, loaded.petriNetPrefix->events);
      }
      EXPECT_EQ(formatStatistics(read), c.statistics);
    });
  }
  runProcess("/bin/rm", {"-rf", dir});
}

#endif

}  // namespace
}  // namespace nurex::test
