// Inference of event signs and initial signal values, and the phase records of a signal.
#include <gtest/gtest.h>

#include "model/checks.h"
#include "support/capture.h"
#include "support/prefix_builder.h"

namespace nurex::test {
namespace {

// A chain of events of one output signal `a`, with the given declared signs.
struct Chain {
  PrefixBuilder<Stg> b;
  Signal* a;
  std::vector<Event*> events;
  explicit Chain(std::vector<uint32_t> signs, uint8_t initial = ValueUnknown) {
    a = b.signal("a", SignalOutput, initial);
    Place* p = b.place("p");
    Condition* c = b.condition(p);
    for (size_t i = 0; i < signs.size(); ++i) {
      std::string name = signs[i] == SignPlus ? "a+" : signs[i] == SignMinus ? "a-" : "a";
      c = b.step(b.transition(name + "/" + std::to_string(i), a, signs[i]), c, p);
      events.push_back(b.prefix.events.back());
    }
    sortSignals(b.prefix);
  }
  std::vector<uint32_t> signs() const {
    std::vector<uint32_t> out;
    for (Event* e : events) out.push_back(e->sign);
    return out;
  }
};

TEST(SignalInference, Table) {
  struct Row {
    const char* what;
    std::vector<uint32_t> declared;
    uint8_t initial;
    bool ok;
    std::vector<uint32_t> signs;
    uint8_t value;
    const char* messages;
  };
  const uint32_t P = SignPlus, M = SignMinus, N = SignNone;
  const Row rows[] = {
      {"undeclared signs alternate from an assumed 0", {N, N, N}, ValueUnknown, true, {P, M, P}, 0,
       "\nWarning: signal a is assigned initial value 0\n"},
      {"an assumption confirmed by a declared sign stays", {N, M, N}, ValueUnknown, true, {P, M, P}, 0,
       "\nWarning: signal a is assigned initial value 0\n"},
      {"an assumption contradicted at once flips", {N, P, N}, ValueUnknown, true, {M, P, M}, 1, ""},
      {"a contradiction flips the assumed signs silently", {N, N, M}, ValueUnknown, true, {M, P, M}, 1, ""},
      {"declared minus first gives value 1", {M, P}, ValueUnknown, true, {M, P}, 1, ""},
      {"known value and undeclared sign", {N, N}, 1, true, {M, P}, 1, ""},
      {"known value contradicted by a declared sign", {P}, 1, false, {P}, 1,
       "\nError: the STG is inconsistent, signal a; trace:\na+/0\n"},
      {"two rising edges in a row", {P, P}, ValueUnknown, false, {P, P}, 0,
       "\nError: the STG is inconsistent, signal a; trace:\na+/0, a+/1\n"},
      {"no event: dead, assumed 0", {}, ValueUnknown, true, {}, 0,
       "\nWarning: signal a is dead\n\nWarning: signal a is assigned initial value 0\n"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    Chain chain(row.declared, row.initial);
    bool ok = false;
    std::string err = captureStderr([&] { ok = inferSignalValues(chain.b.prefix); });
    EXPECT_EQ(ok, row.ok);
    EXPECT_EQ(err, row.messages);
    EXPECT_EQ(chain.signs(), row.signs);
    EXPECT_EQ(chain.a->initialValue, row.value);
  }
}

TEST(SignalInference, DummiesLoseValuesAndSigns) {
  PrefixBuilder<Stg> b;
  Signal* d = b.signal("d", SignalDummy, 0);
  Place* p = b.place("p");
  b.step(b.transition("d", d, SignPlus), b.condition(p), p);
  sortSignals(b.prefix);
  std::string err = captureStderr([&] { EXPECT_TRUE(inferSignalValues(b.prefix)); });
  EXPECT_EQ(err,
            "\nWarning: dummy signal d has an initial value distinct from '?'\n"
            "\nWarning: dummy transition d cannot have sign\n");
  EXPECT_EQ(d->initialValue, ValueUnknown);
  EXPECT_EQ(b.prefix.transitions[0]->sign, SignNone);
  EXPECT_EQ(b.prefix.events[0]->sign, SignNone);
}

TEST(SignalInference, ParityCountsTheWholeLocalConfiguration) {
  // a+ and b+ concurrent, then a join event a- that needs both: its local configuration has
  // one earlier a-event, so with a declared minus the value stays 0.
  PrefixBuilder<Stg> b;
  Signal* a = b.signal("a", SignalInput);
  Signal* s = b.signal("b", SignalOutput);
  Place* p = b.place("p");
  Place* q = b.place("q");
  Condition* c1 = b.step(b.transition("a+", a, SignPlus), b.condition(p), p);
  Condition* c2 = b.step(b.transition("b", s, SignNone), b.condition(q), q);
  b.condition(p, b.event(b.transition("a", a, SignNone), {c1, c2}));
  sortSignals(b.prefix);
  std::string err = captureStderr([&] { EXPECT_TRUE(inferSignalValues(b.prefix)); });
  EXPECT_EQ(err, "\nWarning: signal b is assigned initial value 0\n");
  EXPECT_EQ(b.prefix.events[2]->sign, SignMinus);
  EXPECT_EQ(a->initialValue, 0);
}

TEST(SignalPhaseRecords, RisingHeadsCollectTheirFallingFollowers) {
  Chain chain({SignNone, SignNone, SignNone, SignNone}, 1);
  ASSERT_TRUE(captureStderr([&] { inferSignalValues(chain.b.prefix); }).empty());
  // Value 1: a- a+ a- a+ ; records: no-head {e0}, head e1 {e2}, head e3 {}.
  std::vector<SignalPhaseRecord> records;
  ASSERT_TRUE(buildSignalPhaseRecords(chain.b.prefix, chain.a, records));
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0].head, nullptr);
  EXPECT_EQ(records[0].followers, std::vector<Event*>{chain.events[0]});
  EXPECT_EQ(records[1].head, chain.events[1]);
  EXPECT_EQ(records[1].followers, std::vector<Event*>{chain.events[2]});
  EXPECT_EQ(records[2].head, chain.events[3]);
  EXPECT_TRUE(records[2].followers.empty());

  Chain falling({SignMinus}, 0);  // a falling edge with nothing to fall from
  falling.events[0]->sign = SignMinus;
  std::string err = captureStderr([&] { EXPECT_FALSE(buildSignalPhaseRecords(falling.b.prefix, falling.a, records)); });
  EXPECT_NE(err.find("the STG is inconsistent, signal a"), std::string::npos);
}

}  // namespace
}  // namespace nurex::test
