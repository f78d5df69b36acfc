// Evaluation of cost-coefficient expressions: the hand-written scanner with the size macros,
// the error routine, and the evaluation of the seven option slots.
#include "reach/coefficients.h"

#include "coeff_parser.hpp"
#include "platform/reporter.h"

namespace nurex {

namespace {

// The value of `#` and a letter, or false for an unknown letter.
bool macroValue(char letter, const Stg& stg, int32_t& value) {
  uint32_t count;
  switch (letter) {
    case 'i': count = stg.inputCount(); break;
    case 'o': count = stg.outputCount(); break;
    case 'I': count = stg.internalCount(); break;
    case 'd': count = stg.dummyCount(); break;
    case 's': count = stg.signals.size() - stg.dummyCount(); break;
    case 'p': count = stg.places.size(); break;
    case 't': count = stg.transitions.size(); break;
    default: return false;
  }
  value = static_cast<int32_t>(count);
  return true;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

void reportCoefficientError(const CoeffScanState& state, const std::string& message) {
  std::string marked = state.text;
  marked.insert(state.position, "<<<ERROR>>>");
  reportError("bad coefficient option: " + message + " when parsing " + marked);
}

bool evaluateCoefficient(const std::string& text, const Stg& stg, int32_t& value) {
  CoeffScanState state{text, 0, stg, 0};
  if (coeff_parse(state) != 0) return false;
  value = state.result;
  return true;
}

void evaluateCostCoefficients(const Stg& stg, OptionMap& options) {
  for (int slot = 0; slot < CoefficientSlotCount; ++slot) {
    int32_t value;
    if (!evaluateCoefficient(runStrings.coefficientText[slot], stg, value)) return;
    options[coefficientInfo[slot].key] = value;
  }
}

}  // namespace nurex

// A lexical error is reported here and handed to the parser as its error token, which
// ends the parse without a second message.
int coeff_lex(COEFF_STYPE* value, nurex::CoeffScanState& state) {
  const std::string& text = state.text;
  size_t& at = state.position;
  while (at < text.size() && text[at] == ' ') ++at;
  if (at == text.size()) return COEFF_EOF;
  char c = text[at];
  if (nurex::isDigit(c)) {
    uint32_t number = 0;
    for (; at < text.size() && nurex::isDigit(text[at]); ++at) number = number * 10 + (text[at] - '0');
    *value = static_cast<int32_t>(number);
    return NUM;
  }
  if (c == '#') {
    ++at;
    if (at < text.size() && nurex::macroValue(text[at], state.stg, *value)) {
      ++at;
      return NUM;
    }
    nurex::reportError("invalid token: #");
    return COEFF_error;
  }
  ++at;
  switch (c) {
    case '%': case '(': case ')': case '*': case '+': case '-': case '/':
      return c;
    default:
      nurex::reportError(std::string("incorrect character: ") + c);
      return COEFF_error;
  }
}
