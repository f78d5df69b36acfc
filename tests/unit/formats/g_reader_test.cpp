// The .g reader: declarations, node kinds and their numbering, markings and errors (the round
// trip through the writer is in stg_text_writer_test.cpp).
#include "model/formats/g_reader.h"
#include "model/formats/writers.h"
#include "unit/formats/format_test_util.h"

namespace nurex::test {
namespace {

std::unique_ptr<Stg> parse(const std::string& text, std::string& diagnostics, bool* hasSignals = nullptr) {
  std::unique_ptr<Stg> stg;
  diagnostics = captureStderr([&] { stg = parseStgText(text, "t.g", hasSignals); });
  return stg;
}

std::string namesOf(const PetriNet& net) {
  std::string text;
  for (const Place* p : net.places) text += p->name + " ";
  text += "|";
  for (const Transition* t : net.transitions) text += " " + t->name;
  return text;
}

TEST(GReader, ReadsDeclarationsGraphAndMarking) {
  bool hasSignals = false;
  std::unique_ptr<Stg> stg;
  std::string diagnostics = captureStderr([&] { stg = readStgText(dataPath("mixed.g"), &hasSignals); });
  ASSERT_TRUE(stg) << diagnostics;
  EXPECT_EQ(diagnostics, "");
  EXPECT_TRUE(hasSignals);
  EXPECT_EQ(stg->name, "mixed");
  // Numbered in order of first appearance; implicit places where two transitions meet.
  EXPECT_EQ(namesOf(*stg), "p0 <a+/1,b+> p1 <b+,c+> <c+,a-> <a-,b-> <a-,c-> | a+/1 eps b+ c+ a- b- c-");
  EXPECT_EQ(canonicalSignals(*stg),
            "a:0:2\nb:1:2\nc:2:2\neps:3:2\na+/1->a:0\na-->a:1\nb+->b:0\nb-->b:1\nc+->c:0\nc-->c:1\neps->eps:2\n");
  EXPECT_EQ(stg->outputsBegin, 1u);
  EXPECT_EQ(stg->dummiesBegin, 3u);
  EXPECT_EQ(stg->places[0]->tokens, 1u);
  EXPECT_EQ(stg->places[3]->tokens, 1u);
  EXPECT_NE(canonicalNet(*stg).find("P p1 0 < b+ eps > a-\n"), std::string::npos) << canonicalNet(*stg);
  for (const Transition* t : stg->transitions)
    for (uint32_t i = 1; i < t->preset.size(); ++i) EXPECT_LT(t->preset[i - 1]->index, t->preset[i]->index);
}

TEST(GReader, NamesAreTransitionsOnlyInTheirForms) {
  std::string diagnostics;
  auto stg = parse(".inputs a\n.dummy d\n.graph\na+/12 x+\nx+ d/3\nd/3 y/1\ny/1 a~\na~ a-/x\n", diagnostics);
  ASSERT_TRUE(stg) << diagnostics;
  // x and y are not declared: places, as is a-/x with its bad number.
  EXPECT_EQ(namesOf(*stg), "x+ y/1 a-/x | a+/12 d/3 a~");
  EXPECT_EQ(stg->transitions[1]->signal->kind, SignalDummy);
  EXPECT_EQ(stg->transitions[2]->sign, SignNone);
}

TEST(GReader, FileWithOnlyDummiesIsAPetriNet) {
  std::string diagnostics;
  bool hasSignals = true;
  auto stg = parse(".model net\n.dummy t u\n.graph\np t\nt q\nq u\nu p\n.marking {p}\n.end\n", diagnostics, &hasSignals);
  ASSERT_TRUE(stg);
  EXPECT_FALSE(hasSignals);
  std::string before = canonicalNet(*stg);
  auto net = withoutSignals(std::move(stg));
  EXPECT_EQ(canonicalNet(*net), before);
  EXPECT_EQ(net->name, "net");
  EXPECT_EQ(net->transitions[0]->signal, nullptr);
}

TEST(GReader, MarkingForms) {
  std::string diagnostics;
  auto stg = parse(".outputs a b\n.graph\na+ b-\nb- a+\np a- b+\na- b+ p\nb+ a-\n"
                   ".marking{<a+, b-> p=3\n<b-,a+>=2 }\n",
                   diagnostics);
  ASSERT_TRUE(stg) << diagnostics;
  EXPECT_EQ(namesOf(*stg), "<a+,b-> <b-,a+> p <a-,b+> <b+,a-> | a+ b- a- b+");
  EXPECT_EQ(stg->places[0]->tokens, 1u);
  EXPECT_EQ(stg->places[1]->tokens, 2u);
  EXPECT_EQ(stg->places[2]->tokens, 3u);
}

TEST(GReader, RepeatedArcBetweenTransitionsIsAParallelPlace) {
  std::string diagnostics;
  auto stg = parse(".outputs a\n.graph\na+ a- a-\na- a+\np a+\na+ p\n.marking { <a+,a-> p }\n", diagnostics);
  ASSERT_TRUE(stg) << diagnostics;
  EXPECT_EQ(namesOf(*stg), "<a+,a-> <a+,a->/2 <a-,a+> p | a+ a-");
  EXPECT_EQ(stg->places[0]->tokens, 1u);
  EXPECT_EQ(stg->places[1]->tokens, 0u);
  // A repeated arc between a place and a transition adds nothing.
  EXPECT_EQ(stg->places[3]->preset.size(), 1u);
}

// Enough arcs that the set of arcs seen grows several times; every repetition, in either
// direction and on any later line, is dropped.
TEST(GReader, RepeatedArcsAmongManyNodesAreKeptOnce) {
  const int n = 300;
  std::ostringstream text;
  text << ".dummy";
  for (int i = 0; i < n; ++i) text << " t" << i;
  text << "\n.graph\n";
  for (int round = 0; round < 2; ++round)
    for (int i = 0; i < n; ++i) {
      text << "p" << i << " t" << i << " t" << (i + 1) % n << " t" << i << "\n";
      text << "t" << i << " q" << i << " q" << i << "\n";
    }
  std::string diagnostics;
  auto stg = parse(text.str(), diagnostics);
  ASSERT_TRUE(stg) << diagnostics;
  ASSERT_EQ(stg->transitions.size(), uint32_t(n));
  ASSERT_EQ(stg->places.size(), uint32_t(2 * n));
  for (const Transition* t : stg->transitions) {
    EXPECT_EQ(t->preset.size(), 2u) << t->name;
    EXPECT_EQ(t->postset.size(), 1u) << t->name;
  }
  for (const Place* p : stg->places) {
    bool input = p->name[0] == 'p';
    EXPECT_EQ(p->postset.size(), input ? 2u : 0u) << p->name;
    EXPECT_EQ(p->preset.size(), input ? 0u : 1u) << p->name;
  }
}

TEST(GReader, ErrorsNameFileLineAndFault) {
  struct Case {
    std::string text, error;
  } cases[] = {
      {".inputs a\n.graph\np q\n",
       "syntax error (file t.g, line 3): arc between two places p and q (transitions must be declared: with .dummy, or "
       "as signals written with +, - or ~)"},
      {".inputs a\n.graph\np b+\n", "syntax error (file t.g, line 3): arc between two places p and b+; b is not a declared signal"},
      {".inputs a\n.graph\na+ p\np a/1\n",
       "syntax error (file t.g, line 4): the transition a/1 of signal a needs a sign (+, - or ~)"},
      {".dummy d\n.graph\nd d+\n", "syntax error (file t.g, line 3): the dummy d is written with a sign in d+"},
      {".inputs a\n.graph\na+ p\n.marking { q }\n",
       "syntax error (file t.g, line 4): marked place q is not in the graph (a place without arcs needs a line of its own "
       "there)"},
      {".inputs a\n.graph\na+ p\n.marking { <a+,a-> }\n",
       "syntax error (file t.g, line 4): marked place <a+,a-> does not exist"},
      {".inputs a\n.outputs b a\n", "signal a is declared more then once (file t.g, line 2)"},
      {".inputs a a\n", "signal a is declared more then once (file t.g, line 1)"},
      {".dummy a\n.internal a\n", "signal a is declared more then once (file t.g, line 2)"},
      {".inputs a\n.slow a\n", "syntax error (file t.g, line 2): unknown keyword .slow"},
      {"a+ b+\n", "syntax error (file t.g, line 1): unexpected \"a+\" before .graph"},
      {".dummy t\n.graph\np t\n.marking p\n", "syntax error (file t.g, line 4): \"{\" expected after .marking"},
      {".dummy t\n.graph\np t\n.marking { p\n", "syntax error (file t.g, line 5): the marking is not closed by \"}\""},
      {".dummy t\n.graph\np t\n.marking { p=x }\n", "syntax error (file t.g, line 4): token count expected in the marking"},
      {".dummy t\n.graph\np t\n.marking { p=99999999999 }\n", "syntax error (file t.g, line 4): token count expected in the marking"},
      {".dummy t\n.graph\np t\n.marking { <p }\n", "syntax error (file t.g, line 4): \">\" expected in the marking"},
      {".dummy t\n.graph\np t\n.marking { p } x\n", "syntax error (file t.g, line 4): unexpected text after the marking"},
      // A second mention once added to the count, which wrapped to an empty marking.
      {".dummy t\n.graph\np t\n.marking { p=4294967295 p }\n", "syntax error (file t.g, line 4): place p is marked twice"},
      {"", "t.g has no .graph section"},
      {".inputs a\n.outputs b\n.end\n", "t.g has no .graph section"},
      {".inputs a\n.graph\n.marking { }\n.end\n", "the .graph section of t.g is empty"},
  };
  for (const Case& c : cases) {
    std::string diagnostics;
    EXPECT_FALSE(parse(c.text, diagnostics)) << c.text;
    EXPECT_EQ(raiseStatus(0), StatusError);
    EXPECT_EQ(diagnostics, errorText(c.error));
  }
}

// Declarations hold for the whole file, also those written below the graph.
TEST(GReader, DeclarationsAfterTheGraphApplyToItAll) {
  std::string diagnostics;
  std::unique_ptr<Stg> stg = parse(".graph\na+ b+\nb+ a-\na- b-\nb- a+\n.inputs a\n.outputs b\n.marking { <b-,a+> }\n",
                                   diagnostics);
  ASSERT_TRUE(stg) << diagnostics;
  EXPECT_EQ(stg->transitions.size(), 4u);
  EXPECT_EQ(stg->places.size(), 4u);
  for (const Transition* t : stg->transitions) EXPECT_NE(t->signal, nullptr) << t->name;
}

TEST(GReader, MissingFileCannotBeOpened) {
  std::string path = scratchPath("absent.g");
  std::string diagnostics = captureStderr([&] { EXPECT_FALSE(readStgText(path)); });
  EXPECT_EQ(diagnostics, errorText("cannot open \"" + path + "\" for input"));
}

}  // namespace
}  // namespace nurex::test
