// The wording of syntax errors shared by the generated parsers: "syntax error, unexpected X,
// expecting A or B", with token names as the messages show them.
#pragma once

#include <string>
#include <vector>

namespace nurex {

// At most this many expected tokens are named; with more, only the unexpected one is.
constexpr int SyntaxErrorMaxExpected = 4;

// `unexpected` empty gives plain "syntax error".
std::string syntaxErrorText(const std::string& unexpected, const std::vector<std::string>& expected);

// A token name of the parser tables as messages show it: a quoted single character loses its
// quotes and escapes ('\\' becomes a lone backslash), "$undefined" stands for the invalid token.
std::string unfoldTokenName(const char* tableName);

}  // namespace nurex
