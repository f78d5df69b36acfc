// End to end: the Verilog module that `nurex -E|-G|-S net.g out.v` writes compiles with
// Icarus Verilog, and an STG with a CSC conflict gets only the failure line.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "support/process.h"

namespace nurex::test {
namespace {

std::string readFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream content;
  content << in.rdbuf();
  return content.str();
}

// The compiler's path, found on PATH; empty if it is not installed.
std::string iverilogPath() {
  ProcessResult r = runProcess("/bin/sh", {"-c", "command -v iverilog"});
  std::string path = r.status == 0 ? r.out : "";
  while (!path.empty() && (path.back() == '\n' || path.back() == ' ')) path.pop_back();
  return path;
}

// Dummies (pe-send-ifc), an internal signal (etlatchP), several alternatives (DME), and a
// signal that never moves, whose functions are constants.
const std::string bench = std::string(NUREX_BENCHMARKS) + "/nets/";
const std::string data = std::string(NUREX_SOURCE_DIR) + "/tests/data/synthesis/";
const std::pair<const std::string*, const char*> nets[] = {
    {&bench, "c-elem"}, {&bench, "chu133"}, {&bench, "etlatchP"}, {&bench, "nak-pa"},
    {&bench, "pe-send-ifc"}, {&bench, "DME"}, {&bench, "vbe10b"}, {&data, "dead_output"}};

TEST(VerilogOutput, CompilesWithIcarus) {
  std::string iverilog = iverilogPath();
  if (iverilog.empty()) GTEST_SKIP() << "iverilog is not installed (make deps installs it)";
  std::string tmp = makeTempDirectory();
  ASSERT_FALSE(tmp.empty());
  for (const auto& [dir, name] : nets)
    for (const char* mode : {"-E", "-G", "-S"}) {
      SCOPED_TRACE(std::string(mode) + " " + name);
      std::string netlist = tmp + "/" + name + mode + ".v";
      ProcessResult r = runProcess(NUREX_BINARY, {mode, *dir + name + ".g", netlist});
      ASSERT_LT(r.status, 2) << r.err;  // the dead signal is warned about
      std::string text = readFile(netlist);
      ASSERT_EQ(text.rfind("module NUREX_unmapped_implementation(", 0), 0u) << text;
      ProcessResult compiled = runProcess(iverilog, {"-o", "/dev/null", netlist});
      EXPECT_EQ(compiled.status, 0) << compiled.out << compiled.err << "\n" << text;
      EXPECT_EQ(compiled.err, "");
    }
  runProcess("/bin/rm", {"-rf", tmp});
}

TEST(VerilogOutput, CscConflictWritesTheFailureLine) {
  std::string tmp = makeTempDirectory();
  ASSERT_FALSE(tmp.empty());
  for (const char* mode : {"-E", "-G", "-S"}) {
    SCOPED_TRACE(mode);
    std::string netlist = tmp + "/vme.v";
    ProcessResult r = runProcess(NUREX_BINARY, {mode, std::string(NUREX_BENCHMARKS) + "/nets/vme.g", netlist});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find(": cannot derive equation\n"), std::string::npos) << r.err;
    EXPECT_EQ(readFile(netlist), "\nFailed to synthesise the specification\n");
  }
  runProcess("/bin/rm", {"-rf", tmp});
}

}  // namespace
}  // namespace nurex::test
