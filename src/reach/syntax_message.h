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
// quotes and escapes ('\\' becomes a lone backslash); the end of input is "$end" and the
// invalid token "$undefined".
std::string unfoldTokenName(const char* tableName);

// The text for a generated parser's error context, from the parser's own accessors (its
// lookahead-corrected list of expected tokens). `status` turns negative when listing the
// expected tokens ran out of memory; the parser then reports "memory exhausted" itself.
// Static, since every generated parser names its own, different types `yypcontext_t` and
// `yysymbol_kind_t`: a shared instantiation would mix them up.
template <class Context, class Symbol>
static std::string syntaxErrorOf(const Context* context, Symbol (*token)(const Context*),
                          int (*expectedTokens)(const Context*, Symbol*, int), const char* (*name)(Symbol),
                          Symbol none, int& status) {
  status = 0;
  Symbol lookahead = token(context);
  if (lookahead == none) return syntaxErrorText("", {});
  Symbol symbols[SyntaxErrorMaxExpected];
  int count = expectedTokens(context, symbols, SyntaxErrorMaxExpected);
  if (count < 0) {
    status = count;
    return "";
  }
  std::vector<std::string> expected;
  for (int i = 0; i < count; ++i) expected.push_back(unfoldTokenName(name(symbols[i])));
  return syntaxErrorText(unfoldTokenName(name(lookahead)), expected);
}

}  // namespace nurex
