// The legacy .mci prefix format: layout, name rule for STG transitions, size test, rejection
// of damaged files, and the writer.
#include <functional>

#include "model/formats/format_common.h"
#include "model/formats/legacy_names.h"
#include "model/formats/readers.h"
#include "model/formats/writers.h"
#include "unit/formats/format_test_util.h"

namespace nurex::test {
namespace {

// The fields of an .mci file, written out word by word.
struct MciFile {
  std::vector<uint32_t> eventTransitions;
  std::vector<std::vector<uint32_t>> conditions;  // place, producer, consumers...
  std::vector<std::pair<uint32_t, uint32_t>> cutOffs;
  std::vector<std::vector<uint32_t>> reserved;
  std::vector<std::string> places, transitions;
  std::string separator;  // the string between place and transition names, normally empty

  std::string bytes() const {
    std::string out;
    auto word = [&out](uint32_t w) {
      for (int i = 0; i < 4; ++i) out.push_back(char(w >> (8 * i) & 0xFF));
    };
    word(conditions.size());
    word(eventTransitions.size());
    for (uint32_t t : eventTransitions) word(t);
    for (const auto& c : conditions) {
      for (uint32_t w : c) word(w);
      word(0);
    }
    for (auto [e, correspondent] : cutOffs) word(e), word(correspondent);
    word(0);
    for (const auto& list : reserved) {
      for (uint32_t w : list) word(w);
      word(0);
    }
    word(0);
    word(places.size());
    word(transitions.size());
    size_t longest = 0;
    for (const auto& n : places) longest = std::max(longest, n.size());
    for (const auto& n : transitions) longest = std::max(longest, n.size());
    word(longest);
    for (const auto& n : places) out += n + '\0';
    out += separator + '\0';
    for (const auto& n : transitions) out += n + '\0';
    out += '\0';
    return out;
  }
};

// One signal a toggling between two places: c0 (p0, initial) -a+-> c1 (p1) -a-> c2 (p0),
// the second event a cut-off of the initial state.
MciFile ringFile() {
  MciFile f;
  f.eventTransitions = {1, 2};
  f.conditions = {{1, 0, 1}, {2, 1, 2}, {1, 2}};
  f.cutOffs = {{2, 0}};
  f.places = {"p0", "p1"};
  f.transitions = {"O.a+", "O.a-"};
  return f;
}

const std::string Deprecated = legacyFormatDeprecated("*.mci");

TEST(MciFormat, ReadsAPetriNetPrefixAndRebuildsItsNet) {
  std::string path = writeScratch("ring.mci", ringFile().bytes());
  std::unique_ptr<PetriNetPrefix> prefix;
  std::string diagnostics = captureStderr([&] { prefix = readPrefixMci(path); });
  ASSERT_TRUE(prefix);
  EXPECT_EQ(diagnostics, warningText(Deprecated));
  EXPECT_EQ(canonicalNet(*prefix), "P p0 1 < O.a- > O.a+\nP p1 0 < O.a+ > O.a-\nT O.a+\nT O.a-\n");
  EXPECT_EQ(canonicalEvents(*prefix), "O.a+ [ c0=p0 ] [ c1=p1 ]\nO.a- [ c1=p1 ] [ c2=p0 ] cut-off:initial\n");
  EXPECT_EQ(prefix->conditions[1]->producer, prefix->events[0]);
  EXPECT_EQ(formatStatistics(computeStatistics(prefix->conditions, prefix->events)),
            "\n |B|=3 |E|=2 |C|=1 |BE|=2 |EB|=2");
}

TEST(MciFormat, ReadsAnStgPrefixWithSignalsTakenFromNames) {
  std::string path = writeScratch("ring_stg.mci", ringFile().bytes());
  std::unique_ptr<StgPrefix> prefix;
  std::string diagnostics = captureStderr([&] { prefix = readStgPrefixMci(path); });
  ASSERT_TRUE(prefix);
  EXPECT_EQ(diagnostics, warningText(Deprecated));
  EXPECT_EQ(canonicalSignals(*prefix), "a:1:0\na+->a:0\na-->a:1\n");
  EXPECT_EQ(prefix->events[0]->sign, SignPlus);
  EXPECT_EQ(prefix->events[1]->sign, SignMinus);
  EXPECT_EQ(prefix->outputsBegin, 0u);
  EXPECT_EQ(prefix->internalsBegin, 1u);
}

// Transitions without events, so that only the name rule decides.
std::unique_ptr<StgPrefix> readNames(const std::vector<std::string>& names, std::string& diagnostics) {
  MciFile f;
  f.places = {"p"};
  f.transitions = names;
  std::string path = writeScratch("names.mci", f.bytes());
  std::unique_ptr<StgPrefix> prefix;
  diagnostics = captureStderr([&] { prefix = readStgPrefixMci(path); });
  return prefix;
}

TEST(MciFormat, NameRuleGivesKindSignalAndSign) {
  std::string diagnostics;
  auto prefix = readNames({"i.a-", "O.x-/1", "I.csc+/1", "d.dum/1", "t1", "O.y~", "i.b"}, diagnostics);
  ASSERT_TRUE(prefix) << diagnostics;
  // Signals by kind, then name length, then name; transitions by name.
  EXPECT_EQ(canonicalSignals(*prefix),
            "a:0:0\nb:0:0\nx:1:0\ny:1:0\ncsc:2:0\nt1:3:2\ndum:3:2\n"
            "a-->a:1\nb->b:2\ncsc+/1->csc:0\ndum/1->dum:2\nt1->t1:2\nx-/1->x:1\ny~->y:2\n");
  EXPECT_NE(diagnostics.find(warningText("signal x is dead")), std::string::npos);
}

TEST(MciFormat, NameRuleFaultsEndTheLoad) {
  struct Case {
    std::vector<std::string> names;
    std::string error;
  } cases[] = {
      {{"O.a+", "i.a-"}, "signal a is declared with multiple type modifiers"},
      {{"O.x+", "x+"}, "removing prefix from a transition name causes a collision: x+"},
      {{"O.+/1"}, "transition has empty signal name: +/1"},
  };
  for (const Case& c : cases) {
    std::string diagnostics;
    EXPECT_FALSE(readNames(c.names, diagnostics));
    EXPECT_EQ(raiseStatus(0), StatusError);
    EXPECT_EQ(diagnostics, warningText(Deprecated) + errorText(c.error)) << c.error;
  }
}

TEST(MciFormat, SignedDummyTransitionWarnsAndStaysUnsigned) {
  std::string diagnostics;
  auto prefix = readNames({"d.dum+/1"}, diagnostics);
  ASSERT_TRUE(prefix);
  EXPECT_EQ(prefix->transitions[0]->sign, SignNone);
  EXPECT_EQ(diagnostics, warningText(Deprecated) + warningText("dummy transition dum+/1 cannot have sign"));
}

TEST(MciFormat, SizeTestRecognisesTheFormat) {
  std::string empty = MciFile().bytes();
  ASSERT_EQ(empty.size(), 30u);
  std::string diagnostics = captureStderr([&] { EXPECT_TRUE(readPrefixMci(writeScratch("empty.mci", empty))); });
  EXPECT_EQ(diagnostics, warningText(Deprecated));

  // 29 bytes hold every field that is read, yet the counts ask for 30.
  std::string path = writeScratch("short.mci", empty.substr(0, 29));
  diagnostics = captureStderr([&] { EXPECT_FALSE(readPrefixMci(path)); });
  EXPECT_EQ(diagnostics, warningText(Deprecated) + errorText("\"" + path + "\" is not in the *.mci format (or not little-endian)"));

  std::string bigEndian = ringFile().bytes();
  std::swap(bigEndian[0], bigEndian[3]);
  std::swap(bigEndian[4], bigEndian[7]);
  path = writeScratch("big.mci", bigEndian);
  diagnostics = captureStderr([&] { EXPECT_FALSE(readPrefixMci(path)); });
  EXPECT_NE(diagnostics.find("is not in the *.mci format (or not little-endian)"), std::string::npos);
}

TEST(MciFormat, EveryTruncationIsRejected) {
  std::string bytes = ringFile().bytes();
  // The empty string that closes the transition names is never read.
  for (size_t length = 0; length + 1 < bytes.size(); ++length) {
    std::string path = writeScratch("cut.mci", bytes.substr(0, length));
    std::string diagnostics = captureStderr([&] { EXPECT_FALSE(readPrefixMci(path)) << length; });
    EXPECT_EQ(raiseStatus(0), StatusError) << length;
    bool known = diagnostics.find(errorText("incorrect syntax of " + path)) != std::string::npos ||
                 diagnostics.find("is not in the *.mci format") != std::string::npos;
    EXPECT_TRUE(known) << length << diagnostics;
  }
  std::string path = writeScratch("cut.mci", bytes.substr(0, bytes.size() - 1));
  captureStderr([&] { EXPECT_TRUE(readPrefixMci(path)); });
}

TEST(MciFormat, NumbersOutOfRangeAreSyntaxErrors) {
  std::vector<std::pair<const char*, std::function<void(MciFile&)>>> faults = {
      {"place 0", [](MciFile& f) { f.conditions[0][0] = 0; }},
      {"place beyond the list", [](MciFile& f) { f.conditions[0][0] = 3; }},
      {"producer beyond the events", [](MciFile& f) { f.conditions[2][1] = 3; }},
      {"consumer beyond the events", [](MciFile& f) { f.conditions[0][2] = 0xFFFFFFFFu; }},
      {"transition 0", [](MciFile& f) { f.eventTransitions[0] = 0; }},
      {"transition beyond the list", [](MciFile& f) { f.eventTransitions[1] = 3; }},
      {"cut-off beyond the events", [](MciFile& f) { f.cutOffs[0].first = 3; }},
      {"correspondent beyond the events", [](MciFile& f) { f.cutOffs[0].second = 3; }},
      {"text between the name lists", [](MciFile& f) { f.separator = "x"; }},
  };
  for (auto& [what, change] : faults) {
    MciFile f = ringFile();
    change(f);
    std::string path = writeScratch("bad.mci", f.bytes());
    std::string diagnostics = captureStderr([&] { EXPECT_FALSE(readPrefixMci(path)) << what; });
    EXPECT_EQ(diagnostics, warningText(Deprecated) + errorText("incorrect syntax of " + path)) << what;
  }
}

TEST(MciFormat, CutOffTableAndReservedTable) {
  MciFile f = ringFile();
  f.cutOffs = {{1, 0xFFFFFFFFu}, {2, 1}};
  f.reserved = {{7, 8, 9}, {1}};
  std::unique_ptr<PetriNetPrefix> prefix;
  captureStderr([&] { prefix = readPrefixMci(writeScratch("cutoffs.mci", f.bytes())); });
  ASSERT_TRUE(prefix);
  EXPECT_TRUE(prefix->events[0]->correspondent.isUnknown());
  EXPECT_EQ(prefix->events[1]->correspondent.event(), prefix->events[0]);
}

TEST(MciFormat, WriterMirrorsTheLayout) {
  std::string bytes = ringFile().bytes();
  std::unique_ptr<PetriNetPrefix> prefix;
  captureStderr([&] { prefix = readPrefixMci(writeScratch("ring.mci", bytes)); });
  ASSERT_TRUE(prefix);
  std::ostringstream out;
  std::string diagnostics = captureStderr([&] { EXPECT_TRUE(writePrefixMci(*prefix, out)); });
  EXPECT_EQ(diagnostics, warningText(Deprecated));
  EXPECT_EQ(out.str(), bytes);

  std::ofstream closed;
  diagnostics = captureStderr([&] { EXPECT_FALSE(writePrefixMci(*prefix, closed)); });
  EXPECT_EQ(diagnostics, warningText(Deprecated) + errorText("cannot write a file"));
}

TEST(MciFormat, SavedStgPrefixKeepsKindPrefixesInTheFileOnly) {
  std::unique_ptr<StgPrefix> prefix, again;
  captureStderr([&] { prefix = readStgPrefixMci(writeScratch("ring.mci", ringFile().bytes())); });
  ASSERT_TRUE(prefix);
  std::string path = scratchPath("saved.mci");
  captureStderr([&] { EXPECT_TRUE(savePrefix(*prefix, path)); });
  EXPECT_EQ(prefix->transitions[0]->name, "a+");
  EXPECT_NE(readBytes(path).find(std::string("O.a-\0", 5)), std::string::npos);
  captureStderr([&] { again = readStgPrefixMci(path); });
  ASSERT_TRUE(again);
  EXPECT_EQ(canonicalNet(*again), canonicalNet(*prefix));
  EXPECT_EQ(canonicalSignals(*again), canonicalSignals(*prefix));
}

TEST(MciFormat, MissingFileCannotBeOpened) {
  std::string path = scratchPath("absent.mci");
  std::string diagnostics = captureStderr([&] { EXPECT_FALSE(readPrefixMci(path)); });
  EXPECT_EQ(diagnostics, errorText("cannot open \"" + path + "\" for input"));
}

}  // namespace
}  // namespace nurex::test
