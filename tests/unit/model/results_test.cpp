// Results output: stdout form, file form and its fallback, XML report.
#include "model/results.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "platform/options.h"
#include "support/capture.h"
#include "support/process.h"

namespace nurex::test {
namespace {

struct Fixture {
  Transition a, b, c;
  Fixture() {
    a.name = "a+";
    b.name = "b-";
    c.name = "c";
  }
  std::unique_ptr<Solution> solution(std::vector<Trace> traces, bool numbers = false) {
    auto s = std::make_unique<Solution>(numbers);
    s->traces = std::move(traces);
    return s;
  }
};

std::string readFile(const std::string& name) {
  std::ifstream in(name);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string stdoutOf(const ResultList& results, const std::string& outputName) {
  runStrings.outputFileName = outputName;
  testing::internal::CaptureStdout();
  writeResults(results, "found it", "nothing");
  return testing::internal::GetCapturedStdout();
}

TEST(Results, StdoutForm) {
  Fixture f;
  ResultList none;
  EXPECT_EQ(stdoutOf(none, ""), "\nnothing\n");
  EXPECT_EQ(stdoutOf(none, "cerr"), "\nnothing\n");

  ResultList two;
  two.push_back(f.solution({{{0, &f.a}, {2, &f.b}}}));
  two.push_back(f.solution({{{1, &f.c}}, {}}));  // a second, empty trace
  EXPECT_EQ(stdoutOf(two, ""),
            "\nSOLUTION 0:\na+, b-\npath cost: 2\n"
            "\nSOLUTION 1:\nc\n\ntotal cost of all paths: 1\n"
            "\nfound it\n");

  ResultList numbers;
  numbers.push_back(f.solution({{{0, &f.a}, {2, &f.b}, {5, &f.c}}}, true));
  EXPECT_EQ(stdoutOf(numbers, ""), "\nSOLUTION 0:\n0, 2, 5\npath cost: 3\n\nfound it\n");
}

TEST(Results, FileFormAndFallback) {
  Fixture f;
  std::string dir = makeTempDirectory();
  ResultList none;
  EXPECT_EQ(stdoutOf(none, dir + "/out.txt"), "");
  EXPECT_EQ(readFile(dir + "/out.txt"), "NO\n");

  ResultList one;
  one.push_back(f.solution({{{0, &f.a}}, {{1, &f.b}}}));
  EXPECT_EQ(stdoutOf(one, dir + "/out.XML"), "");  // the test for a report is on lower case
  EXPECT_EQ(readFile(dir + "/out.XML"), "\nYES\n_SEQUENCE:\na+\n_SEQUENCE:\nb-\n");

  runStrings.outputFileName = dir + "/missing/out.txt";
  std::string err = captureStderr([&] { writeResults(one, "found it", "nothing"); });
  EXPECT_EQ(err, "\nWarning: cannot open \"" + dir + "/missing/out.txt\" for output\n"
                 "\nYES\n_SEQUENCE:\na+\n_SEQUENCE:\nb-\n");
  EXPECT_EQ(raiseStatus(0), 1u);
  resetStatus();
  runProcess("/bin/rm", {"-rf", dir});
}

TEST(Results, XmlReport) {
  Fixture f;
  std::string dir = makeTempDirectory();
  ResultList one;
  one.push_back(f.solution({{{0, &f.a}, {3, &f.b}}}));
  EXPECT_EQ(stdoutOf(one, dir + "/r.xml"), "");
  EXPECT_EQ(readFile(dir + "/r.xml"),
            "<result status=\"success\" message=\"found it\">\n"
            "\t<solutions>\n"
            "\t\t<solution cost=\"2\">\n"
            "\t\t\t<trace>\n"
            "\t\t\t\t<step event=\"0\" transition=\"a+\"/>\n"
            "\t\t\t\t<step event=\"3\" transition=\"b-\"/>\n"
            "\t\t\t</trace>\n"
            "\t\t</solution>\n"
            "\t</solutions>\n"
            "</result>\n\n");

  runStrings.outputFileName = dir + "/no/r.xml";
  std::string err = captureStderr([&] { writeResults(one, "found it", "nothing"); });
  EXPECT_EQ(err, "\nError: cannot open \"" + dir + "/no/r.xml\" for output\n");
  resetStatus();
  runStrings.outputFileName.clear();
  runProcess("/bin/rm", {"-rf", dir});
}

}  // namespace
}  // namespace nurex::test
