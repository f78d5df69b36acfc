// The .g text form as written, the choice of writer by file name, and what is written read
// back the same.
#include "model/formats/writers.h"
#include "model/formats/g_reader.h"
#include "support/random_net.h"
#include "unit/formats/format_test_util.h"

namespace nurex::test {
namespace {

// A small STG built by hand, without going through any reader.
struct StgBuilder {
  Stg stg;
  Signal* signal(const std::string& name, uint8_t kind) {
    Signal* s = stg.signals.add(new Signal);
    s->name = name;
    s->kind = kind;
    return s;
  }
  Transition* transition(const std::string& name, Signal* s, uint32_t sign) {
    Transition* t = stg.transitions.add(new Transition);
    t->name = name;
    t->signal = s;
    t->sign = sign;
    return t;
  }
  Place* place(const std::string& name, uint32_t tokens, std::vector<Transition*> in, std::vector<Transition*> out) {
    Place* p = stg.places.add(new Place);
    p->name = name;
    p->tokens = tokens;
    for (Transition* t : in) addTransitionArc(t, p);
    for (Transition* t : out) addPlaceArc(p, t);
    return p;
  }
};

// a+ -> b+ through an implicit marked place; b+ -> p (two tokens) -> a-, b-; a- -> a+;
// b- -> sink, which has no consumer. b- carries a legacy kind prefix in its name.
void buildExample(StgBuilder& b) {
  Signal* a = b.signal("a", SignalInput);
  Signal* s = b.signal("b", SignalOutput);
  b.stg.outputsBegin = 1;
  b.stg.internalsBegin = b.stg.dummiesBegin = 2;
  Transition* aPlus = b.transition("a+", a, SignPlus);
  Transition* bPlus = b.transition("b+", s, SignPlus);
  Transition* aMinus = b.transition("a-", a, SignMinus);
  Transition* bMinus = b.transition("O.b-", s, SignMinus);
  b.place("P1", 1, {aPlus}, {bPlus});
  b.place("p", 2, {bPlus}, {aMinus, bMinus});
  b.place("P2", 0, {aMinus}, {aPlus});
  b.place("sink", 0, {bMinus}, {});
}

const std::string ExampleText =
    "\n.inputs a\n.outputs b\n\n.graph\np a- b-\na+ b+\nb+ p\na- a+\nb- sink\n\n.marking { <a+,b+> p=2 }\n.end\n";

TEST(StgTextWriter, WritesTheGraphMarkingAndSignalLists) {
  StgBuilder b;
  buildExample(b);
  std::ostringstream out;
  std::string diagnostics = captureStderr([&] { EXPECT_TRUE(writeStgText(b.stg, out)); });
  EXPECT_EQ(out.str(), ExampleText);
  EXPECT_EQ(diagnostics, "");
}

TEST(StgTextWriter, SignalListsComeInKindOrder) {
  StgBuilder b;
  Signal* x = b.signal("x", SignalInternal);
  Signal* d = b.signal("d", SignalDummy);
  b.signal("e", SignalDummy);
  b.stg.internalsBegin = 0;
  b.stg.dummiesBegin = 1;
  Transition* t = b.transition("x~", x, SignNone);
  Transition* u = b.transition("d", d, SignNone);
  b.place("p", 1, {u}, {t});
  b.place("q", 0, {t}, {u});
  std::ostringstream out;
  EXPECT_TRUE(writeStgText(b.stg, out));
  EXPECT_EQ(out.str(), "\n.internal x\n.dummy d e\n\n.graph\nx~ d\nd x~\n\n.marking { <d,x~> }\n.end\n");
}

TEST(StgTextWriter, FailedStreamIsTheResult) {
  StgBuilder b;
  buildExample(b);
  std::ofstream closed;
  std::string diagnostics = captureStderr([&] { EXPECT_FALSE(writeStgText(b.stg, closed)); });
  EXPECT_EQ(diagnostics, "");
}

TEST(StgTextWriter, SaveChoosesTheWriterByName) {
  StgBuilder b;
  buildExample(b);
  // Only the last letter counts for the .g form.
  std::string png = scratchPath("out.png");
  std::string diagnostics = captureStderr([&] { EXPECT_TRUE(saveStg(b.stg, png)); });
  EXPECT_EQ(diagnostics, "");
  EXPECT_EQ(readBytes(png), ExampleText);

  std::string text = scratchPath("out.txt");
  diagnostics = captureStderr([&] { EXPECT_TRUE(saveStg(b.stg, text)); });
  EXPECT_EQ(diagnostics, warningText("unknown file extension: " + text));
  EXPECT_EQ(readBytes(text).rfind("<pnml xmlns=\"http://www.pnml.org/version-2009/grammar/pnml\">", 0), 0u);

  for (const char* name : {"out.pnml", "out.pnml.gz"}) {
    diagnostics = captureStderr([&] { EXPECT_TRUE(saveStg(b.stg, scratchPath(name))); });
    EXPECT_EQ(diagnostics, "") << name;
  }
  // A prefix goes the same way, with "mci" for the legacy form.
  StgPrefix prefix;
  prefix.name = "empty";
  std::string other = scratchPath("prefix.xml");
  diagnostics = captureStderr([&] { EXPECT_TRUE(savePrefix(prefix, other)); });
  EXPECT_EQ(diagnostics, warningText("unknown file extension: " + other));
  EXPECT_NE(readBytes(other).find("<net type=\"branching_process:STG\">"), std::string::npos);

  std::string missing = scratchPath("no_dir/out.g");
  diagnostics = captureStderr([&] { EXPECT_FALSE(saveStg(b.stg, missing)); });
  EXPECT_EQ(diagnostics, errorText("cannot open \"" + missing + "\" for output"));
}

// Whatever the writer prints reads back to the same net: random STGs (free arcs, random
// markings, transitions without a postset), with isolated places and transitions added.
// What the writer writes reads back as the same net and signals.
void expectReadBack(const Stg& stg, const std::string& what) {
  std::ostringstream text;
  ASSERT_TRUE(writeStgText(stg, text)) << what;
  std::unique_ptr<Stg> again;
  std::string diagnostics = captureStderr([&] { again = parseStgText(text.str(), "written"); });
  ASSERT_TRUE(again) << what << diagnostics << text.str();
  EXPECT_EQ(canonicalNet(*again, true), canonicalNet(stg, true)) << what << "\n" << text.str();
  EXPECT_EQ(canonicalSignals(*again), canonicalSignals(stg)) << what;
}

// Every benchmark net and the mixed declarations of tests/data, read without a word; random
// STGs, a third of them with a lone place and an idle transition.
TEST(StgTextWriter, NetsAndRandomStgsReadBackTheSame) {
  std::vector<std::filesystem::path> files{dataPath("mixed.g")};
  for (const char* dir : {"/nets", "/large"})
    for (const auto& entry : std::filesystem::directory_iterator(std::string(NUREX_BENCHMARKS) + dir))
      if (entry.path().extension() == ".g") files.push_back(entry.path());
  EXPECT_GE(files.size(), 60u);
  for (const std::filesystem::path& path : files) {
    std::unique_ptr<Stg> net;
    EXPECT_EQ(captureStderr([&] { net = readStgText(path.string()); }), "") << path;
    ASSERT_TRUE(net && net->transitions.size() > 0) << path;
    expectReadBack(*net, path.string());
  }
  for (uint64_t seed = 1; seed <= 300; ++seed) {
    std::unique_ptr<Stg> stg = randomSafeStg(seed);
    if (seed % 3 == 0) {
      Place* lone = stg->places.add(new Place);
      lone->name = "lone";
      lone->tokens = seed % 2;
      Transition* idle = stg->transitions.add(new Transition);
      const std::string& first = stg->transitions[0]->name;
      idle->name = first.substr(0, first.rfind('/')) + "/99";
      idle->signal = stg->transitions[0]->signal;
      idle->sign = stg->transitions[0]->sign;
    }
    expectReadBack(*stg, "seed " + std::to_string(seed));
  }
}

}  // namespace
}  // namespace nurex::test
