// Test support: the unmapped Verilog netlist of -E, -G and -S, line by line against the
// derived equations: header, comment block, one body per implementation style, trailer; the
// equation texts, the gC next-state expressions and the complemented resets are parsed
// and evaluated, since only their function is fixed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <random>
#include <sstream>

#include "equation_check.h"
#include "platform/reporter.h"

namespace nurex::test {
namespace {

// Constants as written in the netlist; the Verilog spelling is accepted beside the other.
bool isConstant(const std::string& text, bool value) {
  return text == (value ? "1b`1" : "1b`0") || text == (value ? "1'b1" : "1'b0");
}

std::string verilogConstants(std::string text) {
  for (size_t at; (at = text.find("1b`")) != std::string::npos;) text.replace(at, 3, "1'b");
  return text;
}

// A parsed expression of the netlist syntax: "|" over "&" over "!", parentheses, signal
// names and the constants; binary operators stand between single blanks.
class Expression {
 public:
  Expression(std::string text, const Stg& stg) : text_(std::move(text)) {
    for (const Signal* s : stg.signals)
      if (s->kind != SignalDummy) index_[s->name] = s->index;
    ok_ = parseOr() && at_ == text_.size();
  }
  bool ok() const { return ok_; }
  Code variables() const { return variables_; }
  bool value(Code code) const { return evaluate(0, code); }

 private:
  enum Op { Or, And, Not, Var, One, Zero };
  static constexpr std::pair<const char*, Op> constants[] = {{"1b`1", One}, {"1b`0", Zero}, {"1'b1", One}, {"1'b0", Zero}};
  struct Node {
    Op op;
    uint32_t var = 0;
    std::vector<size_t> args;
  };

  bool binary(const char* op) {
    if (text_.compare(at_, 3, op) != 0) return false;
    at_ += 3;
    return true;
  }
  bool parseList(Op op, const char* text, bool (Expression::*part)()) {
    size_t self = nodes_.size();
    nodes_.push_back({op, 0, {}});
    do {
      nodes_[self].args.push_back(nodes_.size());
      if (!(this->*part)()) return false;
    } while (binary(text));
    return true;
  }
  bool parseOr() { return parseList(Or, " | ", &Expression::parseAnd); }
  bool parseAnd() { return parseList(And, " & ", &Expression::parseFactor); }
  bool parseFactor() {
    if (at_ >= text_.size()) return false;
    if (text_[at_] == '!') {
      ++at_;
      size_t self = nodes_.size();
      nodes_.push_back({Not, 0, {}});
      nodes_[self].args.push_back(nodes_.size());
      return parseFactor();
    }
    if (text_[at_] == '(') {
      ++at_;
      if (!parseOr() || at_ >= text_.size() || text_[at_] != ')') return false;
      ++at_;
      return true;
    }
    for (auto [constant, op] : constants)
      if (text_.compare(at_, 4, constant) == 0) {
        at_ += 4;
        nodes_.push_back({op, 0, {}});
        return true;
      }
    size_t end = at_;
    while (end < text_.size() && (isalnum(static_cast<unsigned char>(text_[end])) || text_[end] == '_')) ++end;
    auto it = index_.find(text_.substr(at_, end - at_));
    if (it == index_.end()) return false;
    at_ = end;
    nodes_.push_back({Var, it->second, {}});
    variables_ |= Code{1} << it->second;
    return true;
  }
  bool evaluate(size_t n, Code code) const {
    const Node& node = nodes_[n];
    switch (node.op) {
      case Or:
        for (size_t a : node.args)
          if (evaluate(a, code)) return true;
        return false;
      case And:
        for (size_t a : node.args)
          if (!evaluate(a, code)) return false;
        return true;
      case Not: return !evaluate(node.args[0], code);
      case Var: return code >> node.var & 1;
      case One: return true;
      case Zero: return false;
    }
    return false;
  }

  std::string text_;
  std::map<std::string, uint32_t> index_;
  size_t at_ = 0;
  bool ok_ = false;
  std::vector<Node> nodes_;
  Code variables_ = 0;
};

// The first code over the signals of `vars` where `holds` is false: all codes over at
// most 12 signals, a fixed sample of them beyond.
template <class F>
std::optional<Code> firstCounterexample(Code vars, F&& holds) {
  std::vector<uint32_t> bits;
  for (uint32_t i = 0; i < 64; ++i)
    if (vars >> i & 1) bits.push_back(i);
  bool all = bits.size() <= 12;
  std::mt19937_64 sample(vars);
  for (uint32_t k = 0; k < (all ? 1u << bits.size() : 4096u); ++k) {
    Code code = 0;
    for (size_t j = 0; j < bits.size(); ++j)
      if (all ? k >> j & 1 : sample() & 1) code |= Code{1} << bits[j];
    if (!holds(code)) return code;
  }
  return std::nullopt;
}

Code contextOf(const EquationAlternative& alt) {
  Code c = 0;
  for (const Signal* s : alt.context) c |= Code{1} << s->index;
  return c;
}

// The equation text is the alternative's cover, cube for cube in some order.
void expectEquationText(const Stg& stg, const EquationAlternative& alt) {
  std::map<std::string, uint32_t> index;
  for (const Signal* s : stg.signals)
    if (s->kind != SignalDummy) index[s->name] = s->index;
  auto split = [](const std::string& text, const std::string& by) {
    std::vector<std::string> parts;
    for (size_t from = 0;;) {
      size_t at = text.find(by, from);
      parts.push_back(text.substr(from, at == std::string::npos ? std::string::npos : at - from));
      if (at == std::string::npos) return parts;
      from = at + by.size();
    }
  };
  std::vector<std::pair<Code, Code>> parsed, wanted;
  if (!isConstant(alt.equation, false))
    for (const std::string& term : split(alt.equation, " | ")) {
      Code care = 0, value = 0;
      if (!isConstant(term, true))
        for (const std::string& literal : split(term, " & ")) {
          bool negative = !literal.empty() && literal[0] == '!';
          auto it = index.find(literal.substr(negative));
          ASSERT_NE(it, index.end()) << "\"" << literal << "\" in \"" << alt.equation << "\"";
          care |= Code{1} << it->second;
          value |= Code{!negative} << it->second;
        }
      parsed.emplace_back(care, value);
    }
  for (const OracleCube& c : oracleCubes(alt.sop)) wanted.emplace_back(c.care, c.value);
  std::sort(parsed.begin(), parsed.end());
  std::sort(wanted.begin(), wanted.end());
  EXPECT_EQ(parsed, wanted) << "\"" << alt.equation << "\" is not the cover";
}

// "    assign z = <expression>;" or, commented, "    // assign ..."; the expression.
std::string assignedExpression(const std::string& line, const std::string& target, bool live) {
  std::string head = std::string(live ? "    " : "    // ") + "assign " + target + " = ";
  if (line.rfind(head, 0) != 0 || line.back() != ';') return "";
  return line.substr(head.size(), line.size() - head.size() - 1);
}

void expectGcStatement(const Stg& stg, const std::string& line, const Signal& z, const EquationAlternative& set,
                       const EquationAlternative& reset, bool live) {
  std::string text = assignedExpression(line, z.name, live);
  Expression e(text, stg);
  ASSERT_TRUE(e.ok()) << "not a gC statement of " << z.name << ": \"" << line << "\"";
  std::vector<OracleCube> s = oracleCubes(set.sop), r = oracleCubes(reset.sop);
  Code own = Code{1} << z.index;
  EXPECT_FALSE(firstCounterexample(contextOf(set) | contextOf(reset) | e.variables() | own, [&](Code code) {
    bool on = evaluate(s, code), off = evaluate(r, code);
    return (on && off) || e.value(code) == (on || (!off && (code & own) != 0));
  })) << "not 1 under SET, 0 under RESET and the signal's own value otherwise: " << line;
}

void expectComplement(const Stg& stg, const std::string& line, const Signal& z, const EquationAlternative& reset,
                      bool live) {
  std::string suffix = "; // cost=" + std::to_string(reset.literals);
  ASSERT_GT(line.size(), suffix.size());
  ASSERT_EQ(line.substr(line.size() - suffix.size()), suffix) << line;
  std::string text = assignedExpression(line.substr(0, line.size() - suffix.size() + 1), z.name + "_nRESET", live);
  Expression e(text, stg);
  ASSERT_TRUE(e.ok()) << "not a reset statement of " << z.name << ": \"" << line << "\"";
  std::vector<OracleCube> r = oracleCubes(reset.sop);
  EXPECT_FALSE(firstCounterexample(contextOf(reset) | e.variables(),
                                   [&](Code code) { return e.value(code) != evaluate(r, code); }))
      << "not the complement of the reset cover: " << line;
}

std::string names(const Stg& stg, uint8_t kind) {
  std::string list;
  for (const Signal* s : stg.signals)
    if (s->kind == kind) list += (list.empty() ? "" : ", ") + s->name;
  return list;
}

std::string costLine(const std::string& target, const EquationAlternative& alt, bool live) {
  return std::string(live ? "    " : "    // ") + "assign " + target + " = " + alt.equation +
         "; // cost=" + std::to_string(alt.literals);
}

class NetlistReader {
 public:
  explicit NetlistReader(const std::string& text) {
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines_.push_back(line);
    complete_ = !text.empty() && text.back() == '\n';
  }
  // The next line, or a marker that the text has ended.
  const std::string& next() { return at_ < lines_.size() ? lines_[at_++] : end_; }
  // Only the first difference is reported: the rest of the text is out of step after it.
  // Constants may be spelt either way.
  void expect(const std::string& want) {
    if (failed_) return;
    const std::string& line = next();
    failed_ = verilogConstants(line) != verilogConstants(want);
    EXPECT_FALSE(failed_) << "line " << at_ << "\n  is: " << line << "\nnot: " << want;
  }
  bool done() const { return failed_ || (at_ == lines_.size() && complete_); }

 private:
  std::vector<std::string> lines_;
  size_t at_ = 0;
  bool complete_ = false, failed_ = false;
  const std::string end_ = "<end of text>";
};

const char* const styleComment[] = {"", "    // complex-gate implementation, each 'assign' statement is assumed to be ATOMIC;",
                                    "    // gC implementation, each 'assign' statement is assumed to be ATOMIC;",
                                    "    // standard-C implementation, each 'assign' statement is assumed to be ATOMIC;"};

void expectBody(const Stg& stg, NetlistReader& in, const std::vector<const SignalImplementation*>& impls, int type) {
  for (size_t i = 0; i < impls.size(); i += type == 1 ? 1 : 2) {
    const Signal& z = *impls[i]->signal;
    SCOPED_TRACE("signal " + z.name);
    if (type == 1) {
      in.expect("");
      for (size_t a = 0; a < impls[i]->alternatives.size(); ++a)
        in.expect(costLine(z.name, impls[i]->alternatives[a], a == 0));
      continue;
    }
    const auto &set = impls[i]->alternatives, &reset = impls[i + 1]->alternatives;
    if (type == 2) {
      for (size_t s = 0; s < set.size(); ++s)
        for (size_t r = 0; r < reset.size(); ++r) {
          in.expect("");
          in.expect("    // SET=" + set[s].equation + ", RESET=" + reset[r].equation +
                    ", cost=" + std::to_string(set[s].literals + reset[r].literals));
          expectGcStatement(stg, in.next(), z, set[s], reset[r], s == 0 && r == 0);
        }
      continue;
    }
    in.expect("");
    in.expect("");
    in.expect("    // Signal " + z.name + " cost=" + std::to_string(impls[i]->cost() + impls[i + 1]->cost()));
    for (size_t s = 0; s < set.size(); ++s) in.expect(costLine(z.name + "_SET", set[s], s == 0));
    for (size_t r = 0; r < reset.size(); ++r) expectComplement(stg, in.next(), z, reset[r], r == 0);
    const std::string& n = z.name;
    in.expect("    assign " + n + " = " + n + "_SET & " + n + "_nRESET | " + n + " & (" + n + "_SET | " + n +
              "_nRESET); // C-element");
  }
}

}  // namespace

std::string netlistOf(const EquationMode& mode) {
  char* buffer = nullptr;
  size_t size = 0;
  FILE* stream = open_memstream(&buffer, &size);
  mode.write_netlist(stream);
  fclose(stream);
  std::string text(buffer, size);
  free(buffer);
  return text;
}

void expectNetlist(const Stg& stg, const SynthesisRun& run, int type) {
  ASSERT_NE(run.mode, nullptr);
  ASSERT_LT(run.status, StatusError) << run.err;
  std::vector<const SignalImplementation*> impls = run.mode->implementations();
  for (const SignalImplementation* impl : impls)
    for (const EquationAlternative& alt : impl->alternatives) expectEquationText(stg, alt);
  NetlistReader in(netlistOf(*run.mode));
  std::string outs = names(stg, SignalOutput), ins = names(stg, SignalInput);
  in.expect("module NUREX_unmapped_implementation(" + outs + (!outs.empty() && !ins.empty() ? ", " : "") + ins + ");");
  if (!outs.empty()) in.expect("    output " + outs + ";");
  if (!ins.empty()) in.expect("    input " + ins + ";");
  in.expect("");
  in.expect(styleComment[type]);
  in.expect("    // total cost=" + std::to_string(run.mode->total_cost()));
  expectBody(stg, in, impls, type);
  in.expect("");
  in.expect("    // initial values of the signals");
  std::string values = "    //";
  for (const Signal* s : stg.signals)
    if (s->kind != SignalDummy) values += " " + s->name + "=" + std::to_string(s->initialValue);
  in.expect(values);
  in.expect("endmodule");
  EXPECT_TRUE(in.done()) << "text after endmodule, or no final newline";
}

}  // namespace nurex::test
