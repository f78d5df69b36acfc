// The legacy .mp merged-process format: lines, line ends, validation with line numbers.
#include "model/formats/format_common.h"
#include "model/formats/readers.h"
#include "unit/formats/format_test_util.h"

namespace nurex::test {
namespace {

const std::string Deprecated = legacyFormatDeprecated("*.mp");

// choice.mp: p -a-> q, p -b-> q, q -c-> p; the mp-condition of q has two producers.
std::string choiceText() { return readBytes(dataPath("choice.mp")); }

std::unique_ptr<PetriNetMergedProcess> readText(const std::string& text, std::string& diagnostics,
                                                std::string* path = nullptr) {
  std::string file = writeScratch("case.mp", text);
  if (path) *path = file;
  std::unique_ptr<PetriNetMergedProcess> mp;
  diagnostics = captureStderr([&] { mp = readMergedProcessMp(file); });
  return mp;
}

std::string replaceLine(std::string text, int line, const std::string& content) {
  size_t start = 0;
  for (int i = 1; i < line; ++i) start = text.find('\n', start) + 1;
  return text.replace(start, text.find('\n', start) - start, content);
}

TEST(MpFormat, ReadsAMergedProcessAndRebuildsItsNet) {
  std::string diagnostics;
  auto mp = readText(choiceText(), diagnostics);
  ASSERT_TRUE(mp);
  EXPECT_EQ(diagnostics, warningText(Deprecated));
  EXPECT_EQ(canonicalNet(*mp), "P p 1 < c > a b\nP q 0 < a b > c\nT a\nT b\nT c\n");
  EXPECT_EQ(canonicalEvents(*mp), "a [ c0=p ] [ c1=q ]\nb [ c0=p ] [ c1=q ]\nc [ c1=q ] [ c2=p ] cut-off\n");
  EXPECT_EQ(mp->conditions[1]->preset.size(), 2u);
  EXPECT_EQ(mp->conditions[2]->occurrenceDepth, 2u);
  EXPECT_EQ(formatStatistics(computeStatistics(mp->conditions, mp->events)), "\n |B|=3 |E|=3 |C|=1 |BE|=3 |EB|=3");
}

TEST(MpFormat, AcceptsEveryLineEndAndBlanks) {
  std::string text = choiceText(), expected, diagnostics;
  auto reference = readText(text, diagnostics);
  ASSERT_TRUE(reference);
  for (const char* end : {"\r\n", "\r", " \t\n"}) {
    std::string changed;
    for (char c : text) {
      if (c == '\n') changed += end;
      else changed += c == ' ' ? std::string(" \t ") : std::string(1, c);
    }
    // Blanks before the line end would become part of a name, so names keep plain ends.
    size_t names = changed.find(std::string("1") + end + "p");
    changed = changed.substr(0, names) + "1\np\nq\na\nb\nc\n";
    auto mp = readText(changed, diagnostics);
    ASSERT_TRUE(mp) << diagnostics;
    EXPECT_EQ(canonicalEvents(*mp), canonicalEvents(*reference));
  }
}

TEST(MpFormat, FaultsNameTheirLine) {
  struct Case {
    int line;
    std::string content;
    const char* what;
  } cases[] = {
      {1, "3 3 2", "missing count"},
      {2, "0 1 1", "place 0"},
      {2, "3 1 1", "place beyond the list"},
      {3, "2 0 0", "occurrence depth 0"},
      {4, "1 2 1", "tokens at depth 2"},
      {4, "1 2 -1", "negative number"},
      {5, "4 0 1 1 0 1", "transition beyond the list"},
      {5, "1 2 1 1 0 1", "cut-off flag 2"},
      {5, "1 0 0 1 1", "empty preset"},
      {5, "1 0 1 1 0 3", "mp-condition beyond the list"},
      {5, "1 0 1 1 0 1 9", "extra number"},
      {6, "2 0 1 1 0 x", "letter"},
      {7, "3 1 1 4294967295 1 2", "postset larger than the file"},
      {7, "3 1 1 1 1 99999999999", "number beyond 32 bits"},
      {9, "longname", "name longer than stated"},
  };
  for (const Case& c : cases) {
    std::string diagnostics, path;
    EXPECT_FALSE(readText(replaceLine(choiceText(), c.line, c.content), diagnostics, &path)) << c.what;
    EXPECT_EQ(diagnostics, warningText(Deprecated) + errorText(syntaxErrorInFile(path, c.line))) << c.what;
  }
  std::string text = choiceText(), diagnostics, path;
  EXPECT_FALSE(readText(text.substr(0, text.size() - 2), diagnostics, &path));
  EXPECT_EQ(diagnostics, warningText(Deprecated) + errorText(syntaxErrorInFile(path, 13)));
}

TEST(MpFormat, TwoInitialTokensAreUnsafe) {
  std::string diagnostics;
  EXPECT_FALSE(readText(replaceLine(choiceText(), 2, "1 1 2"), diagnostics));
  EXPECT_EQ(diagnostics, warningText(Deprecated) + errorText("the initial marking is not safe: place(s) c0"));
}

TEST(MpFormat, StgSiblingTakesSignalsFromNames) {
  std::unique_ptr<StgMergedProcess> mp;
  std::string diagnostics = captureStderr([&] { mp = readStgMergedProcessMp(dataPath("choice_stg.mp")); });
  ASSERT_TRUE(mp) << diagnostics;
  EXPECT_EQ(diagnostics, warningText(Deprecated));
  EXPECT_EQ(canonicalSignals(*mp), "y:0:2\nx:1:2\nx+->x:0\nx-->x:1\ny+->y:0\n");
}

}  // namespace
}  // namespace nurex::test
