// Runs the command-line cases of tests/e2e/*.cases against the built nurex and compares
// stdout, stderr, exit status and written files exactly (times masked).
#include <gtest/gtest.h>

#include <dirent.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

#include "support/sanitizer.h"
#include "support/process.h"

namespace nurex::test {
namespace {

struct ExpectedFile {
  std::string path, content;
};

struct E2eCase {
  std::string name, source;
  std::vector<std::string> args;
  std::string input;
  int exit = 0;
  bool checkOut = false, checkErr = false, skipSanitized = false;
  std::string out, err, outContains;
  unsigned long limitAs = 0;
  std::vector<ExpectedFile> files;
  std::vector<std::string> absent;  // files the run must not leave in its directory
};

std::string substitute(std::string text, const std::string& tmp) {
  const std::pair<std::string, std::string> table[] = {
      {"{BENCH}", NUREX_BENCHMARKS}, {"{DATA}", std::string(NUREX_SOURCE_DIR) + "/tests/data"}, {"{TMP}", tmp}};
  for (const auto& [key, value] : table)
    for (size_t at; (at = text.find(key)) != std::string::npos;) text.replace(at, key.size(), value);
  return text;
}

// Arguments split on blanks; double quotes group, and "" is an empty argument.
std::vector<std::string> splitArguments(const std::string& line) {
  std::vector<std::string> args;
  std::string current;
  bool quoted = false, any = false;
  for (char c : line) {
    if (c == '"') {
      quoted = !quoted;
      any = true;
    } else if ((c == ' ' || c == '\t') && !quoted) {
      if (any) args.push_back(current);
      current.clear();
      any = false;
    } else {
      current += c;
      any = true;
    }
  }
  if (any) args.push_back(current);
  return args;
}

std::string unescape(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i)
    if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == 'n') {
      out += '\n';
      ++i;
    } else {
      out += text[i];
    }
  return out;
}

// Blocks are lines up to the next "--- ", "=== " or "#" line (so expected text never starts
// with "#"); a line "\ no newline" drops the newline before it, and the blank line that
// separates two cases is not content.
bool endsBlock(const std::string& line) {
  return line.rfind("--- ", 0) == 0 || line.rfind("=== ", 0) == 0 || line.rfind("#", 0) == 0;
}

std::string readBlock(const std::vector<std::string>& lines, size_t& i) {
  std::string text;
  bool lastBlank = false;
  for (; i < lines.size() && !endsBlock(lines[i]); ++i) {
    lastBlank = lines[i].empty();
    if (lines[i] == "\\ no newline") {
      if (!text.empty()) text.pop_back();
      continue;
    }
    text += lines[i] + "\n";
  }
  if (lastBlank && (i == lines.size() || lines[i].rfind("--- ", 0) != 0)) text.pop_back();
  return text;
}

std::vector<E2eCase> parseCases(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  std::vector<E2eCase> cases;
  std::string stem = path.substr(path.rfind('/') + 1);
  stem = stem.substr(0, stem.find('.'));
  size_t i = 0;
  while (i < lines.size()) {
    if (lines[i].rfind("=== ", 0) != 0) {
      ++i;
      continue;
    }
    E2eCase c;
    c.name = stem + "_" + lines[i].substr(4);
    c.source = path;
    for (++i; i < lines.size() && lines[i].rfind("=== ", 0) != 0;) {
      const std::string& line = lines[i];
      if (line.rfind("$ ", 0) == 0) c.args = splitArguments(line.substr(2)), ++i;
      else if (line == "$") c.args.clear(), ++i;
      else if (line.rfind("exit: ", 0) == 0) c.exit = std::stoi(line.substr(6)), ++i;
      // "error: text": exit status 2 and stderr exactly that one error line.
      else if (line.rfind("error: ", 0) == 0) c.exit = 2, c.checkErr = true, c.err = "\nError: " + line.substr(7) + "\n", ++i;
      else if (line.rfind("stdin: ", 0) == 0) c.input = unescape(line.substr(7)), ++i;
      else if (line.rfind("limit-as: ", 0) == 0) c.limitAs = std::stoul(line.substr(10)), ++i;
      else if (line == "skip-sanitized") c.skipSanitized = true, ++i;
      else if (line.rfind("absent: ", 0) == 0) c.absent.push_back(line.substr(8)), ++i;
      else if (line == "--- stdout") c.checkOut = true, c.out = readBlock(lines, ++i);
      else if (line == "--- stdout-contains") c.outContains = readBlock(lines, ++i);
      else if (line == "--- stderr") c.checkErr = true, c.err = readBlock(lines, ++i);
      else if (line.rfind("--- file ", 0) == 0) {
        ExpectedFile f{line.substr(9), ""};
        f.content = readBlock(lines, ++i);
        c.files.push_back(f);
      } else ++i;
    }
    for (char& ch : c.name)
      if (!isalnum(static_cast<unsigned char>(ch))) ch = '_';
    cases.push_back(c);
  }
  return cases;
}

std::vector<E2eCase> allCases() {
  std::vector<E2eCase> cases;
  std::string dir = std::string(NUREX_SOURCE_DIR) + "/tests/e2e";
  std::vector<std::string> files;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* entry = readdir(d)) {
      std::string name = entry->d_name;
      if (name.size() > 6 && name.compare(name.size() - 6, 6, ".cases") == 0) files.push_back(dir + "/" + name);
    }
    closedir(d);
  }
  std::sort(files.begin(), files.end());
  for (const std::string& f : files)
    for (E2eCase& c : parseCases(f)) cases.push_back(std::move(c));
  return cases;
}

// After each `lead`, the run of characters from `figures` keeps its slashes and tabs and has
// every maximal group of other characters replaced by '#'.
std::string maskNumbers(const std::string& text, const std::string& lead, const char* figures) {
  std::string out;
  size_t at = 0;
  for (size_t found; (found = text.find(lead, at)) != std::string::npos;) {
    size_t end = found + lead.size();
    out.append(text, at, end - at);
    bool inNumber = false;
    for (; end < text.size() && std::strchr(figures, text[end]) && text[end]; ++end) {
      char c = text[end];
      if (c == '/' || c == '\t') {
        out += c;
        inNumber = false;
      } else if (!inNumber) {
        out += '#';
        inNumber = true;
      }
    }
    at = end;
  }
  out.append(text, at, std::string::npos);
  return out;
}

// Times vary from run to run and solver sizes from solver to solver: "SAT/Total time: 0.12/0.34"
// compares as "SAT/Total time: #/#", and so do the figures of the solver statistics line.
std::string maskTimes(const std::string& text) {
  return maskNumbers(maskNumbers(text, "SAT/Total time: ", "0123456789./"), "Original Num Var/Cl/Lit", "\t0123456789/");
}


bool sanitized() { return underSanitizer; }

// The cases show the prefix engine's output, which names the prefix; so `.g` input in the
// modes that race the explicit-state engine goes to the prefix engine unless a case says -e.
void pinPrefixEngine(std::vector<std::string>& args) {
  static const std::set<std::string> racing = {"-D", "-F", "-Fs", "-U", "-C", "-N"};
  if (args.empty() || !racing.count(args[0])) return;
  auto isG = [](const std::string& a) { return a.size() > 2 && a.compare(a.size() - 2, 2, ".g") == 0; };
  auto isEngine = [](const std::string& a) { return a.rfind("-e", 0) == 0; };
  if (std::any_of(args.begin(), args.end(), isG) && std::none_of(args.begin(), args.end(), isEngine))
    args.insert(args.begin() + 1, "-ep");
}

// Test listings show the case's name, not its bytes.
void PrintTo(const E2eCase& c, std::ostream* os) { *os << c.name; }

class EndToEnd : public testing::TestWithParam<E2eCase> {};

TEST_P(EndToEnd, Case) {
  const E2eCase& c = GetParam();
  if (c.skipSanitized && sanitized()) GTEST_SKIP() << "address-space limits do not work under the sanitizer";
  std::string tmp = makeTempDirectory();
  ASSERT_FALSE(tmp.empty());
  std::vector<std::string> args;
  for (const std::string& a : c.args) args.push_back(substitute(a, tmp));
  pinPrefixEngine(args);
  ProcessOptions options;
  options.input = c.input;
  options.workingDirectory = tmp;
  options.addressSpaceLimit = c.limitAs;
  // "$ nurex-unfold ..." runs the unfolder instead.
  std::string program = NUREX_BINARY;
  if (!args.empty() && args[0] == "nurex-unfold") {
#ifdef NUREX_UNFOLD_BINARY
    program = NUREX_UNFOLD_BINARY;
    args.erase(args.begin());
#else
    GTEST_SKIP() << "nurex-unfold is not built";
#endif
  }
  ProcessResult r = runProcess(program, args, options);
  SCOPED_TRACE(c.source);
  EXPECT_FALSE(r.timedOut);
  EXPECT_EQ(r.status, c.exit) << "stderr:\n" << r.err;
  if (c.checkOut) {
    EXPECT_EQ(maskTimes(r.out), maskTimes(substitute(c.out, tmp)));
  }
  if (c.checkErr) {
    EXPECT_EQ(r.err, substitute(c.err, tmp));
  }
  std::istringstream wanted(substitute(c.outContains, tmp));
  for (std::string line; std::getline(wanted, line);)
    if (!line.empty()) {
      EXPECT_NE(r.out.find(line), std::string::npos) << "stdout lacks: " << line << "\n" << r.out;
    }
  for (const ExpectedFile& f : c.files) {
    std::ifstream in(substitute(f.path, tmp).find('/') == 0 ? substitute(f.path, tmp) : tmp + "/" + f.path);
    std::stringstream content;
    content << in.rdbuf();
    EXPECT_TRUE(in.good() || in.eof()) << "missing file " << f.path;
    EXPECT_EQ(content.str(), substitute(f.content, tmp)) << "file " << f.path;
  }
  for (const std::string& name : c.absent) EXPECT_FALSE(std::ifstream(tmp + "/" + name).good()) << "file " << name;
  runProcess("/bin/rm", {"-rf", tmp});
}

INSTANTIATE_TEST_SUITE_P(Cases, EndToEnd, testing::ValuesIn(allCases()),
                         [](const testing::TestParamInfo<E2eCase>& info) { return info.param.name; });

}  // namespace
}  // namespace nurex::test
