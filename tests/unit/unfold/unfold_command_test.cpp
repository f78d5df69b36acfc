// The nurex-unfold command: help, argument errors with their exit codes, and prefixes
// written in each output form and read back.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "model/formats/readers.h"
#include "support/capture.h"
#include "support/process.h"

namespace nurex::test {
namespace {

#ifdef NUREX_UNFOLD_BINARY

ProcessResult unfold(const std::vector<std::string>& args) { return runProcess(NUREX_UNFOLD_BINARY, args); }

std::string net(const std::string& name) { return std::string(NUREX_BENCHMARKS) + "/nets/" + name + ".g"; }

std::string contents(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(UnfoldCommand, HelpAndArgumentErrors) {
  ProcessResult help = unfold({"-h"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("Usage: nurex-unfold [-h]"), std::string::npos);
  EXPECT_NE(help.out.find("-o"), std::string::npos);

  ProcessResult none = unfold({});
  EXPECT_EQ(none.status, 2);
  EXPECT_EQ(none.err, "\nError: an input file and an output file must be given (nurex-unfold -h shows how)\n");

  ProcessResult order = unfold({"-o9", net("vme"), "out.pnml"});
  EXPECT_EQ(order.status, 2);
  EXPECT_EQ(order.err, "\nError: invalid value of option -o: \"9\"\n");

  ProcessResult unknown = unfold({"-q", net("vme"), "out.pnml"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.err, "\nError: unrecognized option: -q\n");

  std::string dir = makeTempDirectory();
  ProcessResult text = unfold({net("vme"), dir + "/out.txt"});
  EXPECT_EQ(text.status, 2);
  EXPECT_NE(text.err.find("unexpected file extension of " + dir + "/out.txt"), std::string::npos);

  ProcessResult missing = unfold({dir + "/absent.g", dir + "/out.pnml"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_NE(missing.err.find("\nError: "), std::string::npos);
}

TEST(UnfoldCommand, WritesEachFormAndTheSameFileForAnyThreadCount) {
  std::string dir = makeTempDirectory();
  const std::string statistics = "\n |B|=26 |E|=22 |C|=3 |BE|=26 |EB|=24";
  for (const char* form : {".pnml", ".pnml.gz", ".mci"}) {
    SCOPED_TRACE(form);
    std::string one = dir + "/one" + form, two = dir + "/two" + form;
    ProcessResult first = unfold({"-t1", net("NEWVME"), one});
    ProcessResult second = unfold({"-t", "2", "-o3", net("NEWVME"), two});
    // The .mci writer warns that the form is deprecated.
    int status = std::string(form) == ".mci" ? 1 : 0;
    EXPECT_EQ(first.status, status) << first.err;
    EXPECT_EQ(second.status, status) << second.err;
    EXPECT_EQ(first.out, "\nfile: " + net("NEWVME") + statistics + "\n");
    EXPECT_EQ(contents(one), contents(two));
    captureStderr([&] {
      if (std::string(form) == ".mci") {
        auto prefix = readStgPrefixMci(one);
        ASSERT_TRUE(prefix);
        EXPECT_EQ(formatStatistics(computeStatistics(prefix->conditions, prefix->events)), statistics);
      } else {
        LoadedUnit loaded;
        ASSERT_TRUE(readPnmlUnit(one, {"branching_process:STG"}, loaded));
        ASSERT_TRUE(loaded.stgPrefix);
        EXPECT_EQ(formatStatistics(computeStatistics(loaded.stgPrefix->conditions, loaded.stgPrefix->events)),
                  statistics);
      }
    });
  }
}

TEST(UnfoldCommand, APetriNetGivesALowLevelPrefix) {
  std::string dir = makeTempDirectory();
  ProcessResult r = unfold({"-v1", net("dph_5"), dir + "/dph.pnml"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("\n |B|=2712 |E|=1351 |C|=547 |BE|=2701 |EB|=2701"), std::string::npos);
  EXPECT_NE(r.out.find("\n unfolding time: "), std::string::npos);
  LoadedUnit loaded;
  captureStderr([&] { EXPECT_TRUE(readPnmlUnit(dir + "/dph.pnml", {"branching_process:low_level_net"}, loaded)); });
  EXPECT_TRUE(loaded.petriNetPrefix);
}

#endif

}  // namespace
}  // namespace nurex::test
