// Printing of literals and variables.
#include "sat/literal.h"

namespace nurex {

std::string literal_name(Literal l) {
  switch (l) {
    case LiteralUninit: return "UNINIT";
    case LiteralTrue: return "TRUE";
    case LiteralFalse: return "FALSE";
    default: return variable_name(variable_of(l)) + (is_negated(l) ? "'" : "");
  }
}

std::string variable_name(uint32_t variable) {
  if (variable == VariableConst) return "CONST";
  if (variable == VariableUninit) return "UNINIT";
  return std::to_string(variable);
}

}  // namespace nurex
