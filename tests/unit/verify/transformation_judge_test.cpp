// The transformation judge on a handshake with a CSC conflict, its resolution by an internal
// signal and one mutation per failure kind, and on concurrent outputs ordered by added places.
#include "support/transformation_judge.h"

#include <gtest/gtest.h>

#include "model/formats/g_reader.h"

namespace nurex::test {
namespace {

std::unique_ptr<Stg> parse(const std::string& declarations, const std::string& graph, const std::string& marking) {
  auto stg = parseStgText(declarations + "\n.graph\n" + graph + ".marking {" + marking + "}\n.end\n", "t.g");
  EXPECT_TRUE(stg) << graph;
  return stg;
}

// a+ b+ b- a- b+ b-: code a=1 b=0 both before b+ and before a-, an output against an input.
const std::string HandshakeIo = ".inputs a\n.outputs b";
const std::string Handshake = "a+ b+\nb+ b-\nb- a-\na- b+/1\nb+/1 b-/1\nb-/1 a+\n";
const std::string HandshakeMarking = "<b-/1,a+>";
const std::string CscIo = HandshakeIo + "\n.internal csc";
// csc rises during the first b pulse and falls during the second: all eight codes differ.
const std::string Resolved = "a+ b+\nb+ csc+\ncsc+ b-\nb- a-\na- b+/1\nb+/1 csc-\ncsc- b-/1\nb-/1 a+\n";

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

TEST(TransformationJudge, HandshakeResolutionAndItsMutations) {
  struct Case {
    const char* what;
    std::string io, graph, expected;  // expected: a fragment of the failure; empty if accepted
  };
  const std::vector<Case> cases = {
      {"resolved", CscIo, Resolved, ""},
      {"dummy before an input", CscIo + "\n.dummy d", replaced(Resolved, "b- a-", "b- d\nd a-"), ""},
      {"unresolved", HandshakeIo, Handshake, "CSC conflict"},
      {"csc pulse inside the first b pulse", CscIo,
       "a+ b+\nb+ csc+\ncsc+ csc-\ncsc- b-\nb- a-\na- b+/1\nb+/1 b-/1\nb-/1 a+\n", "CSC conflict"},
      {"csc rises twice", CscIo, replaced(replaced(Resolved, "b+/1 csc-", "b+/1 csc+/1"), "csc- b-/1", "csc+/1 b-/1"),
       "inconsistent: csc+/1"},
      {"place never emptied", CscIo, Resolved + "b+ p\n", "unsafe: place p"},
      {"csc declared output", HandshakeIo + " csc", Resolved, "new signal csc is not internal"},
      {"b made internal", ".inputs a\n.internal b csc", Resolved, "signal b changes its kind"},
      {"csc in front of input a-", CscIo, replaced(Resolved, "b+ csc+\ncsc+ b-\nb- a-", "b+ b-\nb- csc+\ncsc+ a-"),
       "input delayed: a- waits for csc+"},
      {"csc and a dummy in front of a-", CscIo + "\n.dummy d",
       replaced(Resolved, "b+ csc+\ncsc+ b-\nb- a-", "b+ b-\nb- csc+\ncsc+ d\nd a-"), "input delayed: a- waits for csc+"},
      {"csc may rise into a dead end", CscIo, replaced(Resolved, "b+ csc+\n", "b+ q\nq csc+ csc+/2\n"),
       "new deadlock: the output may stop after a+ b+"},
  };
  auto input = parse(HandshakeIo, Handshake, HandshakeMarking);
  for (const Case& c : cases) {
    auto output = parse(c.io, c.graph, HandshakeMarking);
    Judgement j = judgeTransformation(*input, *output);
    EXPECT_TRUE(j.decided) << c.what;
    if (c.expected.empty())
      EXPECT_EQ(j.failure, "") << c.what;
    else
      EXPECT_NE(j.failure.find(c.expected), std::string::npos) << c.what << ": " << j.failure;
  }
}

TEST(TransformationJudge, OrderingConcurrentTransitionsNeedsReductionsAndKeepsInputs) {
  // a+ and b+ concurrent, then c+; a- and b- concurrent, then c-.
  const std::string io = ".inputs a\n.outputs b c";
  const std::string net = "a+ c+\nb+ c+\nc+ a- b-\na- c-\nb- c-\nc- a+ b+\n";
  const std::string marking = "<c-,a+> <c-,b+>";
  struct Case {
    std::string input, output;
    bool reductions;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {net, net + "a+ b+\n", false, "trace lost: b+"},
      {net, net + "a+ b+\n", true, ""},
      {net, net + "b+ a+\n", true, "input dropped: a+"},
      {net + "a+ b+\n", net, false, "trace added: b+"},
      {net + "a+ b+\n", net, true, "trace added: b+"},
  };
  for (const Case& c : cases) {
    auto input = parse(io, c.input, marking);
    auto output = parse(io, c.output, marking);
    Judgement j = judgeTransformation(*input, *output, {c.reductions});
    SCOPED_TRACE(c.output + (c.reductions ? " with reductions" : ""));
    if (c.expected.empty())
      EXPECT_EQ(j.failure, "");
    else
      EXPECT_EQ(j.failure.rfind(c.expected, 0), 0u) << j.failure;
  }
}

TEST(TransformationJudge, DeclaredInitialValuesAndStateLimit) {
  auto input = parse(HandshakeIo, Handshake, HandshakeMarking);
  auto output = parse(CscIo, Resolved, HandshakeMarking);
  output->signals[output->internalsBegin]->initialValue = 1;  // csc+ comes first, so csc=1 is wrong
  EXPECT_NE(judgeTransformation(*input, *output).failure.find("inconsistent: csc+ fires with csc=1"),
            std::string::npos);
  output->signals[output->internalsBegin]->initialValue = 0;
  EXPECT_EQ(judgeTransformation(*input, *output).failure, "");
  Judgement limited = judgeTransformation(*input, *output, {false, true, 5});
  EXPECT_FALSE(limited.decided);
  // Started before a-, every signal first falls, so each must start at 1.
  auto lateInput = parse(HandshakeIo, Handshake, "<b-,a->");
  auto lateOutput = parse(CscIo, Resolved, "<b-,a->");
  EXPECT_EQ(judgeTransformation(*lateInput, *lateOutput).failure, "");
}

}  // namespace
}  // namespace nurex::test
