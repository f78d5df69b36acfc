// The pieces of -R where a wrong answer would hide behind a plausible result: parity sums
// against a direct exclusive-or, the candidate filters and texts, the adjacency of cores,
// and the names of new signals and transitions.
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "model/formats/g_reader.h"
#include "model/formats/writers.h"
#include "reach/coefficients.h"
#include "resolve/core_adjacency.h"
#include "resolve/encoding_resolver.h"
#include "resolve/sums_tree.h"
#include "support/capture.h"
#include "unit/verify/random_stg.h"

namespace nurex::test {
namespace {

TEST(SumsTree, AgreesWithDirectExclusiveOr) {
  std::mt19937 random(7);
  for (int round = 0; round < 40; ++round) {
    SatFormula formula(1, false, false);
    std::vector<Literal> variables;
    for (int i = 0; i < 6; ++i) variables.push_back(formula.new_literal(false));
    SumsTree sums;
    std::vector<std::vector<Literal>> sets;
    std::vector<Literal> results;
    for (int k = 0; k < 8; ++k) {
      std::vector<Literal> set;
      int size = static_cast<int>(random() % 6);
      for (int j = 0; j < size; ++j) {
        int pick = static_cast<int>(random() % 8);  // six variables and two constants
        Literal l = pick < 6 ? variables[pick] : constant_literal(pick == 6);
        set.push_back(random() % 2 && pick < 6 ? negate(l) : l);
      }
      if (k == 7) set = sets[0];  // the same set twice: the same literal
      sets.push_back(set);
      results.push_back(sums.literalFor(set, formula));
    }
    EXPECT_EQ(results[7], results[0]);
    sums.emit(formula, PermanentGroup);
    for (uint32_t assignment = 0; assignment < 64; assignment += 5) {
      int group = 0;
      formula.recreate_group(group);
      for (int i = 0; i < 6; ++i) formula.add_unit(assignment >> i & 1 ? variables[i] : negate(variables[i]), group);
      ASSERT_TRUE(formula.solve());
      auto value = [&](Literal l) { return is_constant(l) ? l == LiteralTrue : formula.is_true(l); };
      for (size_t k = 0; k < sets.size(); ++k) {
        bool direct = false;
        for (Literal l : sets[k]) direct ^= value(l);
        EXPECT_EQ(value(results[k]), direct) << "round " << round << " set " << k;
      }
    }
  }
  SatFormula formula(1, false, false);
  SumsTree sums;
  Literal a = formula.new_literal(false);
  EXPECT_EQ(sums.literalFor({}, formula), LiteralFalse);
  EXPECT_EQ(sums.literalFor({a}, formula), a);
  EXPECT_EQ(sums.literalFor({a, LiteralTrue}, formula), negate(a));
  EXPECT_EQ(sums.literalFor({a, a}, formula), LiteralFalse);
  EXPECT_EQ(sums.size(), 0u);
}

std::unique_ptr<StgPrefix> unfoldText(const std::string& text) {
  std::unique_ptr<StgPrefix> prefix;
  captureStderr([&] { prefix = unfoldStg(parseStgText(text, "t.g")); });
  return prefix;
}

std::vector<std::string> candidateTexts(const StgPrefix& prefix) {
  std::vector<std::string> texts;
  for (const Insertion& i : validInsertions(prefix, 0)) texts.push_back(insertionText(i));
  return texts;
}

bool has(const std::vector<std::string>& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

TEST(ValidInsertions, FiltersAndTexts) {
  // a (input) and b (output) in a handshake; c is concurrent with b after a+; d is a dummy
  // with two output places.
  auto prefix = unfoldText(
      ".inputs a\n.outputs b c\n.dummy d\n.graph\na+ b+ c+\nb+ d\nc+ d\nd p q\np a-\nq b-\na- b-\nb- c-\nc- a+\n"
      ".marking {<c-,a+>}\n.end\n");
  ASSERT_NE(prefix, nullptr);
  std::vector<std::string> texts = candidateTexts(*prefix);
  EXPECT_TRUE(has(texts, "a+|"));  // behind an input: allowed; the whole postset is only the bar
  EXPECT_FALSE(has(texts, "|a+"));                                         // in front of an input: never
  EXPECT_FALSE(has(texts, "|a-"));
  EXPECT_FALSE(has(texts, "d|"));  // a dummy's whole postset
  EXPECT_FALSE(has(texts, "d|p"));  // p leads to the input a-
  EXPECT_FALSE(has(texts, "d|q"));  // a plain arc to b-: the same as "q|b-"
  EXPECT_FALSE(has(texts, "a+|<a+,b+>"));
  EXPECT_TRUE(has(texts, "|b+"));  // the whole preset: only the bar and the name
  // b- has the two places q and <a-,b->, each with one consumer: every subset; one place
  // prints without braces.
  EXPECT_TRUE(has(texts, "q|b-"));
  EXPECT_TRUE(has(texts, "<a-,b->|b-"));
  EXPECT_TRUE(has(texts, "|b-"));
  std::vector<Insertion> sorted = validInsertions(*prefix, 0);
  EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end(), insertionLess));
}

// Parallel insertions: none with -p0; with -p1 the sources are two steps back from the
// target; with -p2 any transition. A target that occurs before its source gets the token
// from the start.
TEST(ValidInsertions, ParallelModes) {
  // a+ b+ c+ a- b- c- in a ring of outputs.
  auto prefix = unfoldText(".outputs a b c\n.graph\na+ b+\nb+ c+\nc+ a-\na- b-\nb- c-\nc- a+\n"
                           ".marking {<c-,a+>}\n.end\n");
  ASSERT_NE(prefix, nullptr);
  auto parallel = [&](int mode) {
    std::vector<std::string> texts;
    for (const Insertion& i : validInsertions(*prefix, mode))
      if (!isSequential(i)) texts.push_back(insertionText(i));
    return texts;
  };
  EXPECT_TRUE(parallel(0).empty());
  std::vector<std::string> one = parallel(1), two = parallel(2);
  EXPECT_TRUE(has(one, "a+ -||-> c+"));    // a+ is two steps in front of c+
  EXPECT_FALSE(has(one, "a+ -||-> a-"));   // three steps: -p2 only
  EXPECT_TRUE(has(two, "a+ -||-> a-"));
  EXPECT_TRUE(has(two, "b- -||*-> a+"));  // a+ occurs first: a token waits from the start
  EXPECT_FALSE(has(two, "b+ -||-> c+"));  // a direct predecessor
  EXPECT_GT(two.size(), one.size());
}

TEST(InsertionTexts, EveryAlternative) {
  Stg stg;
  auto* t = stg.transitions.add(new Transition);
  t->name = "t";
  auto* u = stg.transitions.add(new Transition);
  u->name = "u";
  EXPECT_EQ(insertionText(InsertionConcurrent{u, false, t}), "u -||-> t");
  EXPECT_EQ(insertionText(InsertionConcurrent{u, true, t}), "u -||*-> t");
  EXPECT_EQ(insertionText(InsertionGeneral{{t, u}, {true, false}, {u}}), "{t*,u}-$->{u}");
}

// A ring x+ x- y+ y- a+ a- with inputs x and y: the states after 0, 2, 4 and 6 events share
// code 000, only 4 excites a local signal, and 6 has the initial marking. The nested core
// (2,4) laid on the second side of (0,2) gives (0,4), a CSC conflict; (4,6) laid on (2,4)
// gives (2,6), equal in excitation: a USC arc. (4,6) cannot go on (0,2), its y events
// missing; (2,6) on (0,2) gives (0,6), no conflict at all.
TEST(AdjacencyGraph, ArcsOfARing) {
  auto prefix = unfoldText(".inputs x y\n.outputs a\n.graph\nx+ x-\nx- y+\ny+ y-\ny- a+\na+ a-\na- x+\n"
                           ".marking {<a-,x+>}\n.end\n");
  ASSERT_NE(prefix, nullptr);
  auto run = [&](size_t k) {
    EventList events;
    for (const char* name : {"x+", "x-", "y+", "y-", "a+", "a-"})
      for (const Event* e : prefix->events)
        if (e->transition->name == name && events.size() < k) events.push_back(e);
    return events;
  };
  // The last core repeats the second, its arguments swapped: both take part alike.
  std::vector<CscCore> cores = {CscCore(run(0), run(2)), CscCore(run(2), run(4)), CscCore(run(4), run(6)),
                                CscCore(run(0), run(4)), CscCore(run(2), run(6)), CscCore(run(4), run(2))};
  unsigned saved = verbosity;
  verbosity = 4;
  testing::internal::CaptureStdout();
  CoreAdjacencyGraph graph = buildAdjacencyGraph(*prefix, cores);
  std::string out = testing::internal::GetCapturedStdout();
  verbosity = saved;
  using Lists = std::vector<std::vector<uint32_t>>;
  Lists in, outs;
  for (const auto& v : graph.vertices) {
    in.push_back(v.in);
    outs.push_back(v.out);
  }
  EXPECT_EQ(outs, (Lists{{1, 5}, {2}, {}, {}, {}, {2}}));
  EXPECT_EQ(in, (Lists{{}, {0}, {1, 5}, {}, {}, {0}}));
  EXPECT_EQ(graph.uscArcs, (std::vector<std::pair<uint32_t, uint32_t>>{{1, 2}, {5, 2}}));
  EXPECT_NE(out.find("\nAdjacency graph statistics: |V|=6 |E|=4 |USC arcs|=2"), std::string::npos) << out;
  EXPECT_NE(out.find("\n{y+,y-} -> [usc]{a+,a-}"), std::string::npos) << out;
  EXPECT_NE(out.find("\n{x+,x-} -> {y+,y-} {y+,y-}"), std::string::npos) << out;
}

// The new signal takes the first free name, its transitions the net's "/number" rule.
TEST(EncodingResolver, NamesOfNewSignalsAndTransitions) {
  auto prefix = unfoldText(".inputs a\n.outputs b\n.internal csc\n.graph\na+ b+\nb+ csc+\ncsc+ a-\na- b-\nb- csc-\n"
                           "csc- a+/1\na+/1 b+/1\nb+/1 a-/1\na-/1 b-/1\nb-/1 a+\n.marking {<b-/1,a+>}\n.end\n");
  ASSERT_NE(prefix, nullptr);
  OptionMap options;
  options["mode"] = 10;
  options["min_cost"] = 1;
  testing::internal::CaptureStdout();
  std::string text;
  captureStderr([&] {
    evaluateCostCoefficients(*prefix, options);
    EncodingResolver resolver(*prefix, options);
    resolver.writeFiles = false;
    resolver.run();
    EXPECT_TRUE(resolver.resolved());
    std::ostringstream out;
    writeStgText(resolver.net(), out);
    text = out.str();
  });
  testing::internal::GetCapturedStdout();
  EXPECT_NE(text.find(".internal csc csc1"), std::string::npos) << text;
  EXPECT_NE(text.find("csc1+"), std::string::npos) << text;
  EXPECT_NE(text.find("csc1-"), std::string::npos) << text;
}

}  // namespace
}  // namespace nurex::test
