// The texts of the REACH type checker and of the wrapper around every parser message.
#pragma once

#include <string>

namespace nurex::reachmsg {

inline std::string incorrectSyntax(const std::string& message, const std::string& location) {
  return "incorrect syntax of the expression: " + message + " (located at " + location + ")";
}
inline std::string undeclaredIdentifier(const std::string& name) { return "Undeclared identifier: " + name; }
inline std::string constantExpected() { return "Constant expression expected"; }

inline std::string operandMismatch(const std::string& op, const std::string& expected) {
  return "Type mismatch in the operand of '" + op + "': expression of type " + expected + " is expected";
}
inline std::string nextStateMismatch(unsigned count) {
  return "Type mismatch in the operand of \"" + std::string(count, '\'') + "\": expression of type signal is expected";
}
inline std::string operandsMismatch(const std::string& op) { return "Type mismatch in the operands of '" + op + "'"; }
inline std::string operandsMismatch(const std::string& op, const std::string& expected) {
  return operandsMismatch(op) + ": expressions of type " + expected + " are expected";
}
inline std::string logicalMismatch(const std::string& op) {
  return operandsMismatch(op) + ": expression of type bool is expected";
}
inline std::string inNotASet() { return "The second operand of 'in' is not a set"; }

inline std::string indexMismatch(const std::string& form) {
  if (form == "[m..n]") return "Type mismatch in an index of '[m..n]': expressions of type numerical are expected";
  return "Type mismatch in the index of '" + form + "': expression of type numerical is expected";
}

inline std::string conditionNotBoolean() { return "Type mismatch in '?:': the condition must be Boolean"; }
inline std::string failBranchNeedsConstantCondition() {
  return "The condition of '?:' must be constant if the 'then' or 'else' expressions are of type fail";
}
inline std::string conditionalOperands() { return "The operands of '?:' must be either Boolean or constant"; }
inline std::string branchesDiffer() {
  return "Type mismatch in '?:': the 'then' and 'else' expressions must be of the same type";
}

inline std::string listMismatch() { return "Type mismatch: all expressions in the list must be of the same type"; }
inline std::string thresholdOperands() {
  return "Type mismatch in the operands of 'threshold[*]': the operands must be Boolean";
}
inline std::string thresholdValue() { return "Type mismatch in 'threshold[*]': the threshold must be numerical"; }
inline std::string domainNotASet(const std::string& variable) {
  return "Type mismatch: the domain of the variable " + variable + " must be a set";
}
// The spelling "exression" is part of the message.
inline std::string definitionNotBooleanOrConstant() { return "The defining exression must be Boolean or constant"; }
inline std::string filterNotBoolean() {
  return "Type mismatch in 's.t.': the condition must be a Boolean expression";
}
inline std::string bodyNotBoolean(const std::string& keyword) {
  return "Type mismatch in '" + keyword + "': the body must be a Boolean expression";
}
inline std::string letBody() { return "Type mismatch in 'let': the body must be Boolean or constant"; }
inline std::string overallNotBoolean() {
  return "Type mismatch in the overall specification: a Boolean expression is expected";
}

}  // namespace nurex::reachmsg
