// Cost-coefficient expressions: values, size macros, and the exact error texts.
#include <gtest/gtest.h>

#include "platform/options.h"
#include "platform/reporter.h"
#include "reach/coefficients.h"

namespace nurex {
namespace {

// An STG with the given numbers of signals of each kind, and of places and transitions.
void fillStg(Stg& stg, int inputs, int outputs, int internals, int dummies, int places, int transitions) {
  const int counts[] = {inputs, outputs, internals, dummies};
  for (uint8_t kind = 0; kind < 4; ++kind)
    for (int i = 0; i < counts[kind]; ++i) {
      Signal* s = stg.signals.add(new Signal);
      s->name = "s" + std::to_string(s->index);
      s->kind = kind;
    }
  stg.outputsBegin = inputs;
  stg.internalsBegin = inputs + outputs;
  stg.dummiesBegin = inputs + outputs + internals;
  for (int i = 0; i < places; ++i) stg.places.add(new Place);
  for (int i = 0; i < transitions; ++i) stg.transitions.add(new Transition);
}

class Coefficients : public testing::Test {
 protected:
  void SetUp() override {
    fillStg(stg, 3, 2, 0, 1, 4, 7);
    resetStatus();
  }
  void TearDown() override { resetStatus(); }

  // The value, or -1 with the captured stderr in `err`.
  int32_t evaluate(const std::string& text) {
    testing::internal::CaptureStderr();
    int32_t value = -1;
    bool ok = evaluateCoefficient(text, stg, value);
    err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(ok, value != -1) << text;
    EXPECT_EQ(raiseStatus(0), ok ? 0u : 2u) << text;
    resetStatus();
    return value;
  }

  Stg stg;
  std::string err;
};

TEST_F(Coefficients, Arithmetic) {
  const std::pair<const char*, int32_t> cases[] = {
      {"2+3*4", 14}, {"(2+3)*4", 20}, {"--1", 1},   {"7%3", 1},     {"1-2+1", 0},   {"7/2", 3},
      {"-7/2+4", 1}, {"-7%3+1", 0},   {" 2 * 3 ", 6}, {"50", 50},   {"2*-3+7", 1}, {"8/2/2", 2},
      {"0", 0},      {"((((9))))", 9},
  };
  for (const auto& [text, value] : cases) {
    EXPECT_EQ(evaluate(text), value) << text;
    EXPECT_EQ(err, "") << text;
  }
}

TEST_F(Coefficients, SizeMacros) {
  EXPECT_EQ(evaluate("#s*8"), 40);  // 3 inputs, 2 outputs, the dummy not counted
  EXPECT_EQ(evaluate("#i"), 3);
  EXPECT_EQ(evaluate("#o"), 2);
  EXPECT_EQ(evaluate("#I"), 0);
  EXPECT_EQ(evaluate("#d"), 1);
  EXPECT_EQ(evaluate("#p"), 4);
  EXPECT_EQ(evaluate("#t"), 7);
  EXPECT_EQ(evaluate("#p*#t-#i"), 25);

  Stg other;
  fillStg(other, 1, 1, 2, 0, 0, 0);
  int32_t value = -1;
  ASSERT_TRUE(evaluateCoefficient("#I*10+#s", other, value));
  EXPECT_EQ(value, 24);
}

TEST_F(Coefficients, ErrorTexts) {
  const std::pair<const char*, std::string> cases[] = {
      {"-1", "bad coefficient option: coefficient must be non-negative when parsing -1<<<ERROR>>>"},
      {"2147483647+1", "bad coefficient option: coefficient must be non-negative when parsing 2147483647+1<<<ERROR>>>"},
      {"#x", "invalid token: #"},
      {"2*#", "invalid token: #"},
      {"a", "incorrect character: a"},
      {"1+2;", "incorrect character: ;"},
      {"2\t", "incorrect character: \t"},
      {"1/0", "bad coefficient option: division by 0 when parsing 1/0<<<ERROR>>>"},
      {"1/(2-2)", "bad coefficient option: division by 0 when parsing 1/(2-2)<<<ERROR>>>"},
      // The marker stands where the scanner is; every token after `a % b` reduces it, so the
      // parser reduces before reading on.
      {"1%0+2", "bad coefficient option: division by 0 when parsing 1%0<<<ERROR>>>+2"},
      {"(1/0)", "bad coefficient option: division by 0 when parsing (1/0<<<ERROR>>>)"},
      {"1 +", "bad coefficient option: syntax error, unexpected $end, expecting NUM or - or ( when parsing 1 +<<<ERROR>>>"},
      {"", "bad coefficient option: syntax error, unexpected $end, expecting NUM or - or ( when parsing <<<ERROR>>>"},
      {")", "bad coefficient option: syntax error, unexpected ), expecting NUM or - or ( when parsing )<<<ERROR>>>"},
      {"(1", "bad coefficient option: syntax error, unexpected $end when parsing (1<<<ERROR>>>"},
      {"1 2", "bad coefficient option: syntax error, unexpected NUM when parsing 1 2<<<ERROR>>>"},
      {"(1))", "bad coefficient option: syntax error, unexpected ) when parsing (1))<<<ERROR>>>"},
  };
  for (const auto& [text, message] : cases) {
    EXPECT_EQ(evaluate(text), -1) << text;
    EXPECT_EQ(err, "\nError: " + message + "\n") << text;
  }
}

TEST_F(Coefficients, SlotsFillTheirKeysAndStopAtTheFirstFailure) {
  RunStrings saved = runStrings;
  OptionMap options;
  evaluateCostCoefficients(stg, options);
  EXPECT_EQ(raiseStatus(0), 0u);
  const int32_t expected[] = {40, 20, 10, 5, 20, 40, 50};
  for (int slot = 0; slot < CoefficientSlotCount; ++slot)
    EXPECT_EQ(options[coefficientInfo[slot].key], expected[slot]) << coefficientInfo[slot].key;

  runStrings.coefficientText[CoeffCsc] = "1";
  runStrings.coefficientText[CoeffDel] = "x";
  runStrings.coefficientText[CoeffConc] = "y";
  OptionMap fresh;
  testing::internal::CaptureStderr();
  evaluateCostCoefficients(stg, fresh);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "\nError: incorrect character: x\n");
  EXPECT_EQ(raiseStatus(0), 2u);
  EXPECT_EQ(fresh["coeff_CSC_cores"], 1);
  EXPECT_EQ(fresh["coeff_USC_cores"], 20);
  EXPECT_EQ(fresh["coeff_delay"], OptionMap()["coeff_delay"]);
  EXPECT_EQ(fresh["coeff_non_locked_signals"], OptionMap()["coeff_non_locked_signals"]);
  runStrings = saved;
}

}  // namespace
}  // namespace nurex
