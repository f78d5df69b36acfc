// Command-line parsing: values stored, coefficient slots, solver defaults.
#include "driver/command_line.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "support/capture.h"

namespace nurex::test {
namespace {

std::optional<OptionMap> parse(std::vector<std::string> args, std::string* err = nullptr) {
  args.insert(args.begin(), "nurex");
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  std::optional<OptionMap> result;
  std::string captured = captureStderr([&] { result = parseCommandLine(static_cast<int>(argv.size()), argv.data()); });
  if (err) *err = captured;
  return result;
}

TEST(CommandLine, DefaultsAndStoredValues) {
  auto o = parse({"-D", "-!", "-$0", "-+", "-@", "-a12", "-b", "-m2", "-s", "-v7", "-w2", "-g!5", "net.mci", "out.txt"});
  ASSERT_TRUE(o);
  OptionMap& m = *o;
  EXPECT_EQ(m["mode"], 1);
  EXPECT_EQ(m["restrict_branching"], 1);
  EXPECT_EQ(m["solver"], 0);
  EXPECT_EQ(m["incremental_acyclic_constraint"], 1);
  EXPECT_EQ(m["output_configurations"], 1);
  EXPECT_EQ(m["all_solutions"], 12);
  EXPECT_EQ(m["backward_conflict_constraints"], 1);
  EXPECT_EQ(m["method"], 2);
  EXPECT_EQ(m["store_cnf_formula"], 1);
  EXPECT_EQ(m["verbosity"], 7);
  EXPECT_EQ(m["wait_mode"], 2);
  EXPECT_EQ(m["use_latches"], 0);
  EXPECT_EQ(m["max_gate_inputs"], 5);
  EXPECT_EQ(m["no_max_dummies"], 1);
  EXPECT_EQ(m["inclusion_constraints"], -1);
  EXPECT_EQ(runStrings.inputFileName, "net.mci");
  EXPECT_EQ(runStrings.outputFileName, "out.txt");

  auto all = parse({"-U", "-a", "-l-", "n.mci"});
  ASSERT_TRUE(all);
  EXPECT_EQ((*all)["all_solutions"], -1);
  EXPECT_EQ((*all)["inclusion_constraints"], 0);
}

TEST(CommandLine, SolverDefaultDependsOnMode) {
  for (const char* mode : {"-E", "-G", "-S"}) EXPECT_EQ((*parse({mode, "n.mci"}))["solver"], 0) << mode;
  for (const char* mode : {"-D", "-C", "-U", "-N", "-R", "-T"}) EXPECT_EQ((*parse({mode, "n.mci"}))["solver"], 1) << mode;
  EXPECT_EQ((*parse({"-E", "-$1", "n.mci"}))["solver"], 1);
}

TEST(CommandLine, CoefficientOptionsApplyLeftToRight) {
  ASSERT_TRUE(parse({"-R", "-cl", "-cdel=3", "n.mci"}));
  EXPECT_EQ(runStrings.coefficientText[CoeffCsc], "#s*8");
  EXPECT_EQ(runStrings.coefficientText[CoeffDel], "3");
  EXPECT_EQ(runStrings.coefficientText[CoeffLock], "50");

  ASSERT_TRUE(parse({"-R", "-cdel=3", "-cl", "n.mci"}));
  EXPECT_EQ(runStrings.coefficientText[CoeffDel], "0");

  auto t = parse({"-T", "-cdel=7", "-cs", "-cconc=#s+1", "n.mci"});
  ASSERT_TRUE(t);
  EXPECT_EQ((*t)["pwr_of_2"], 0);
  const char* expected[] = {"0", "0", "0", "0", "1", "#s+1", "0"};
  for (int i = 0; i < CoefficientSlotCount; ++i) EXPECT_EQ(runStrings.coefficientText[i], expected[i]) << i;

  ASSERT_TRUE(parse({"-T", "-cl", "n.mci"}));
  const char* longT[] = {"0", "0", "0", "#s*32", "#s*1", "#s*2", "8"};
  for (int i = 0; i < CoefficientSlotCount; ++i) EXPECT_EQ(runStrings.coefficientText[i], longT[i]) << i;

  ASSERT_TRUE(parse({"-R", "n.mci"}));  // a new parse starts from the defaults
  EXPECT_EQ(runStrings.coefficientText[CoeffConc], "#s*8");
}

TEST(CommandLine, DataStringAndValueStoredBeforeModeError) {
  auto o = parse({"-F", "-d", "-x", "n.mci"});  // the data may look like an option
  ASSERT_TRUE(o);
  EXPECT_EQ(runStrings.dataString, "-x");

  std::string err;
  EXPECT_FALSE(parse({"-D", "-m1", "-p2", "n.mci"}, &err));
  EXPECT_EQ(err, "\nError: option -p2 is invalid in the current mode\n");
  EXPECT_EQ(raiseStatus(0), 2u);
}

TEST(CommandLine, LargeCountsAreReadWhole) {
  EXPECT_EQ((*parse({"-D", "-a4294967295", "n.mci"}))["all_solutions"], -1);
  EXPECT_FALSE(parse({"-D", "-a4294967296", "n.mci"}));
  EXPECT_EQ((*parse({"-T", "-g2147483647", "n.mci"}))["max_gate_inputs"], 2147483647);
}

// Results written over the input would destroy it: the same file under another name or
// through a link is refused too, and nothing is written.
TEST(CommandLine, OutputFileThatIsTheInputIsRefused) {
  char dir[] = "/tmp/nurex_same_XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  std::string input = std::string(dir) + "/net.g", link = std::string(dir) + "/link.g";
  { std::ofstream(input) << "kept"; }
  ASSERT_EQ(symlink(input.c_str(), link.c_str()), 0);
  for (const std::string& output : {input, std::string(dir) + "/./net.g", link}) {
    std::string err;
    EXPECT_FALSE(parse({"-D", input, output}, &err)) << output;
    EXPECT_EQ(err, "\nError: the output file " + output + " is the input file\n");
    resetStatus();
  }
  EXPECT_TRUE(parse({"-D", input, std::string(dir) + "/other.txt"}));
  std::ifstream in(input);
  std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(content, "kept");
  std::remove(link.c_str());
  std::remove(input.c_str());
  rmdir(dir);
}

}  // namespace
}  // namespace nurex::test
