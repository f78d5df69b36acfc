// Syntax error texts of the generated parsers.
#include "reach/syntax_message.h"

namespace nurex {

std::string syntaxErrorText(const std::string& unexpected, const std::vector<std::string>& expected) {
  std::string text = "syntax error";
  if (unexpected.empty()) return text;
  text += ", unexpected " + unexpected;
  if (expected.empty() || expected.size() > static_cast<size_t>(SyntaxErrorMaxExpected)) return text;
  for (size_t i = 0; i < expected.size(); ++i) text += (i ? " or " : ", expecting ") + expected[i];
  return text;
}

std::string unfoldTokenName(const char* tableName) {
  std::string name = tableName;
  if (name == "invalid token") return "$undefined";
  if (name == "end of file") return "$end";
  if (name.size() >= 3 && name.front() == '\'' && name.back() == '\'') {
    std::string inner = name.substr(1, name.size() - 2);
    return inner.size() == 2 && inner[0] == '\\' ? inner.substr(1) : inner;
  }
  if (name.size() >= 2 && name.front() == '"' && name.back() == '"') return name.substr(1, name.size() - 2);
  return name;
}

}  // namespace nurex
