// GENLIB reading: a tokenizer with '#' comments, and a recursive-descent parser of the
// entries and of the function expressions ('+' below '*' or juxtaposition, below '!' and
// the postfix "'"). Nesting is bounded, so hostile text cannot exhaust the stack.
#include "kernel/genlib_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "platform/reporter.h"

namespace nurex {

namespace {

constexpr uint32_t MaxNesting = 200;

struct Token {
  std::string text;
  uint32_t line;
  bool special;  // one of = ; ( ) ! ' * +
};

bool isSpecial(char c) { return std::string_view("=;()!'*+").find(c) != std::string_view::npos; }
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }

std::vector<Token> tokenize(std::string_view text) {
  std::vector<Token> tokens;
  uint32_t line = 1;
  for (size_t i = 0; i < text.size();) {
    char c = text[i];
    if (c == '\n') ++line;
    if (isBlank(c)) {
      ++i;
    } else if (c == '#') {
      while (i < text.size() && text[i] != '\n') ++i;
    } else if (isSpecial(c)) {
      tokens.push_back({std::string(1, c), line, true});
      ++i;
    } else {
      size_t start = i;
      while (i < text.size() && !isBlank(text[i]) && !isSpecial(text[i]) && text[i] != '#') ++i;
      tokens.push_back({std::string(text.substr(start, i - start)), line, false});
    }
  }
  return tokens;
}

class GenlibParser {
 public:
  GenlibParser(std::string_view text, GenlibLibrary& out) : tokens_(tokenize(text)), out_(out) {}

  bool parse(std::string& error) {
    while (at_ < tokens_.size()) {
      const Token& t = tokens_[at_];
      bool ok = t.text == "GATE" || t.text == "LATCH" ? entry(t.text == "LATCH")
                : t.text == "PIN"                     ? pin()
                : t.text == "SEQ"                     ? seq()
                                                      : fail("unexpected \"" + t.text + "\"");
      if (!ok) {
        error = "line " + std::to_string(errorLine_) + ": " + error_;
        return false;
      }
    }
    return true;
  }

 private:
  bool fail(const std::string& what) {
    if (error_.empty()) {
      error_ = what;
      errorLine_ = at_ < tokens_.size() ? tokens_[at_].line : (tokens_.empty() ? 1 : tokens_.back().line);
    }
    return false;
  }
  bool atText(const char* text) const { return at_ < tokens_.size() && tokens_[at_].text == text; }
  bool atWord() const { return at_ < tokens_.size() && !tokens_[at_].special; }
  bool expect(const char* text) {
    if (atText(text)) {
      ++at_;
      return true;
    }
    return fail(std::string("\"") + text + "\" expected" + (at_ < tokens_.size() ? " before \"" + tokens_[at_].text + "\"" : " at the end"));
  }
  bool word(std::string& out, const char* what) {
    if (!atWord()) return fail(std::string(what) + " expected");
    out = tokens_[at_++].text;
    return true;
  }
  bool number(double& out, const char* what) {
    std::string text;
    if (!word(text, what)) return false;
    char* end = nullptr;
    errno = 0;
    out = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || errno == ERANGE || text.empty()) {
      --at_;
      return fail(std::string(what) + " expected, not \"" + text + "\"");
    }
    return true;
  }

  // GATE name area output=expression;   (or LATCH)
  bool entry(bool latch) {
    ++at_;
    GenlibGate gate;
    gate.latch = latch;
    if (!word(gate.name, "a gate name") || !number(gate.area, "an area") || !word(gate.output, "an output name") ||
        !expect("="))
      return false;
    depth_ = 0;
    if (!expression(gate.function, gate.inputs) || !expect(";")) return false;
    out_.gates.push_back(std::move(gate));
    return true;
  }

  // PIN name phase input-load max-load rise-block rise-fanout fall-block fall-fanout
  bool pin() {
    ++at_;
    if (out_.gates.empty()) return fail("PIN before any GATE or LATCH");
    GenlibPin p;
    if (atText("*")) {
      p.name = "*";
      ++at_;
    } else if (!word(p.name, "a pin name")) {
      return false;
    }
    std::string phase;
    if (!word(phase, "a phase")) return false;
    if (phase == "INV") p.phase = PhaseInv;
    else if (phase == "NONINV") p.phase = PhaseNonInv;
    else if (phase == "UNKNOWN") p.phase = PhaseUnknown;
    else return --at_, fail("phase INV, NONINV or UNKNOWN expected, not \"" + phase + "\"");
    double* fields[] = {&p.inputLoad, &p.maxLoad, &p.riseBlock, &p.riseFanout, &p.fallBlock, &p.fallFanout};
    for (double* f : fields)
      if (!number(*f, "a load or delay")) return false;
    out_.gates.back().pins.push_back(std::move(p));
    return true;
  }

  // SEQ output next type, after a LATCH
  bool seq() {
    ++at_;
    if (out_.gates.empty() || !out_.gates.back().latch) return fail("SEQ outside a LATCH");
    GenlibGate& gate = out_.gates.back();
    return word(gate.seqOutput, "a latch output") && word(gate.seqNext, "a feedback name") &&
           word(gate.seqType, "a latch type");
  }

  bool deeper() { return ++depth_ <= MaxNesting || fail("the function is nested too deeply"); }

  bool expression(std::unique_ptr<GenlibExpr>& out, std::vector<std::string>& inputs) {
    if (!deeper() || !product(out, inputs)) return false;
    while (atText("+")) {
      ++at_;
      std::unique_ptr<GenlibExpr> next;
      if (!product(next, inputs)) return false;
      out = join(GenlibExpr::Or, std::move(out), std::move(next));
    }
    --depth_;
    return true;
  }

  // Factors joined by '*' or written side by side.
  bool product(std::unique_ptr<GenlibExpr>& out, std::vector<std::string>& inputs) {
    if (!factor(out, inputs)) return false;
    for (;;) {
      if (atText("*")) ++at_;
      else if (!(atWord() || atText("(") || atText("!"))) return true;
      std::unique_ptr<GenlibExpr> next;
      if (!factor(next, inputs)) return false;
      out = join(GenlibExpr::And, std::move(out), std::move(next));
    }
  }

  bool factor(std::unique_ptr<GenlibExpr>& out, std::vector<std::string>& inputs) {
    if (!deeper()) return false;
    if (atText("!")) {
      ++at_;
      std::unique_ptr<GenlibExpr> inner;
      if (!factor(inner, inputs)) return false;
      out = negation(std::move(inner));
    } else if (atText("(")) {
      ++at_;
      if (!expression(out, inputs) || !expect(")")) return false;
    } else if (atWord()) {
      const std::string& name = tokens_[at_++].text;
      out = std::make_unique<GenlibExpr>();
      if (name == "CONST0" || name == "0") {
        out->kind = GenlibExpr::Const0;
      } else if (name == "CONST1" || name == "1") {
        out->kind = GenlibExpr::Const1;
      } else {
        out->kind = GenlibExpr::Input;
        out->name = name;
        if (std::find(inputs.begin(), inputs.end(), name) == inputs.end()) inputs.push_back(name);
      }
    } else {
      return fail(at_ < tokens_.size() ? "unexpected \"" + tokens_[at_].text + "\" in a function"
                                       : "the function is cut short");
    }
    while (atText("'")) {
      ++at_;
      out = negation(std::move(out));
    }
    --depth_;
    return true;
  }

  static std::unique_ptr<GenlibExpr> negation(std::unique_ptr<GenlibExpr> inner) {
    auto e = std::make_unique<GenlibExpr>();
    e->kind = GenlibExpr::Not;
    e->operands.push_back(std::move(inner));
    return e;
  }

  static std::unique_ptr<GenlibExpr> join(GenlibExpr::Kind kind, std::unique_ptr<GenlibExpr> a,
                                          std::unique_ptr<GenlibExpr> b) {
    if (a->kind == kind) {
      a->operands.push_back(std::move(b));
      return a;
    }
    auto e = std::make_unique<GenlibExpr>();
    e->kind = kind;
    e->operands.push_back(std::move(a));
    e->operands.push_back(std::move(b));
    return e;
  }

  std::vector<Token> tokens_;
  GenlibLibrary& out_;
  size_t at_ = 0;
  uint32_t depth_ = 0;
  std::string error_;
  uint32_t errorLine_ = 0;
};

}  // namespace

int32_t GenlibGate::nextInput() const {
  if (!latch || seqNext.empty() || seqNext == "ANY") return -1;
  auto found = std::find(inputs.begin(), inputs.end(), seqNext);
  return found == inputs.end() ? -1 : static_cast<int32_t>(found - inputs.begin());
}

bool parseGenlib(std::string_view text, GenlibLibrary& out, std::string& error) {
  return GenlibParser(text, out).parse(error);
}

std::unique_ptr<GenlibLibrary> readGenlibFile(const std::string& fileName) {
  FILE* file = std::fopen(fileName.c_str(), "rb");
  if (!file) {
    reportError(cannotOpenForInput(fileName));
    return nullptr;
  }
  std::unique_ptr<GenlibLibrary> library = readGenlibStream(file, fileName);
  std::fclose(file);
  return library;
}

std::unique_ptr<GenlibLibrary> readGenlibStream(FILE* file, const std::string& fileName) {
  std::string text;
  char chunk[1 << 16];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) text.append(chunk, got);
  bool failed = std::ferror(file);
  auto library = std::make_unique<GenlibLibrary>();
  library->name = fileName;
  std::string error = "read error";
  if (failed || !parseGenlib(text, *library, error)) {
    reportError("incorrect syntax of " + fileName + " (" + error + ")");
    return nullptr;
  }
  return library;
}

bool evaluateGenlib(const GenlibExpr& expr, const std::vector<std::string>& inputs, const std::vector<bool>& values) {
  switch (expr.kind) {
    case GenlibExpr::Const0: return false;
    case GenlibExpr::Const1: return true;
    case GenlibExpr::Input: {
      auto found = std::find(inputs.begin(), inputs.end(), expr.name);
      size_t i = static_cast<size_t>(found - inputs.begin());
      return found != inputs.end() && i < values.size() && values[i];
    }
    case GenlibExpr::Not: return !evaluateGenlib(*expr.operands[0], inputs, values);
    case GenlibExpr::And:
      return std::all_of(expr.operands.begin(), expr.operands.end(),
                         [&](const auto& e) { return evaluateGenlib(*e, inputs, values); });
    case GenlibExpr::Or:
      return std::any_of(expr.operands.begin(), expr.operands.end(),
                         [&](const auto& e) { return evaluateGenlib(*e, inputs, values); });
  }
  return false;
}

}  // namespace nurex
