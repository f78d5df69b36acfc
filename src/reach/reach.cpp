// The REACH front end's entry: one scanner over the text in memory, one parse.
#include "reach/reach.h"

#include <climits>
#include <cstdio>

#include "platform/memory.h"
#include "platform/reporter.h"
#include "reach/reach_build.h"
#include "reach_scanner.hpp"

namespace nurex {

namespace {

bool readWholeFile(const std::string& name, std::string& text) {
  FILE* file = std::fopen(name.c_str(), "rb");
  if (!file) return false;
  char buffer[65536];
  for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, n);
  bool ok = !std::ferror(file);
  std::fclose(file);
  return ok;
}

}  // namespace

ReachExprPtr parseReachText(const std::string& text) {
  if (text.size() > static_cast<size_t>(INT_MAX)) outOfMemory();
  ReachSymbolTable symbols;
  declarePredefinedNames(symbols);
  ReachScanState state;
  yyscan_t scanner = nullptr;
  if (pn_reach_lex_init_extra(&state, &scanner) != 0) outOfMemory();
  YY_BUFFER_STATE buffer = pn_reach__scan_bytes(text.data(), static_cast<int>(text.size()), scanner);
  ReachExprPtr result;
  int status = pn_reach_parse(scanner, symbols, result);
  pn_reach__delete_buffer(buffer, scanner);
  pn_reach_lex_destroy(scanner);
  if (status != 0 || state.failed) return nullptr;
  return result;
}

ReachExprPtr parseReachProperty(const std::string& dataString) {
  if (dataString.empty() || dataString[0] != '@') return parseReachText(dataString);
  std::string name = dataString.substr(1), text;
  if (!readWholeFile(name, text)) {
    reportError(cannotOpenForInput(name));
    return nullptr;
  }
  return parseReachText(text);
}

}  // namespace nurex
