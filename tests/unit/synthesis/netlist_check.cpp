// Test support: the unmapped Verilog netlist of -E, -G and -S against the derived equations:
// each equation text is its cover, and each statement computes what its function must; the
// equation texts, gC next-state expressions and complemented resets are parsed and evaluated,
// since only their function is fixed (tests/e2e holds exact netlists for the layout).
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
  // As (care, value) cubes when the text is a sum of products of literals: no cube for the
  // constant 0, an empty one for 1.
  std::optional<std::vector<std::pair<Code, Code>>> cubes() const {
    if (!ok_) return std::nullopt;
    std::vector<std::pair<Code, Code>> out;
    for (size_t term : nodes_[0].args) {
      Code care = 0, value = 0;
      for (size_t f : nodes_[term].args) {
        const Node& n = nodes_[f].op == Not ? nodes_[nodes_[f].args[0]] : nodes_[f];
        bool alone = nodes_[0].args.size() == 1 && nodes_[term].args.size() == 1 && &n == &nodes_[f];
        if (alone && n.op == Zero) return out;
        if (alone && n.op == One) continue;
        if (n.op != Var) return std::nullopt;
        care |= Code{1} << n.var;
        value |= Code{&n == &nodes_[f]} << n.var;
      }
      out.emplace_back(care, value);
    }
    return out;
  }

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
  std::optional<std::vector<std::pair<Code, Code>>> parsed = Expression(alt.equation, stg).cubes();
  ASSERT_TRUE(parsed) << "\"" << alt.equation << "\" is no sum of products of the signals";
  std::vector<std::pair<Code, Code>> wanted;
  for (const OracleCube& c : oracleCubes(alt.sop)) wanted.emplace_back(c.care, c.value);
  std::sort(parsed->begin(), parsed->end());
  std::sort(wanted.begin(), wanted.end());
  EXPECT_EQ(*parsed, wanted) << "\"" << alt.equation << "\" is not the cover";
}

// One "assign" statement, live or commented out: its target and expression.
struct Statement {
  bool live;
  std::string target, expression;
};

std::vector<Statement> statementsOf(const std::string& netlist) {
  std::vector<Statement> out;
  std::istringstream in(netlist);
  for (std::string line; std::getline(in, line);) {
    bool live = line.rfind("    assign ", 0) == 0;
    if (!live && line.rfind("    // assign ", 0) != 0) continue;
    size_t from = line.find("assign ") + 7, equals = line.find(" = ", from), end = line.find(';', equals);
    out.push_back({live, line.substr(from, equals - from), line.substr(equals + 3, end - equals - 3)});
  }
  return out;
}

// The statement assigns `target` (live only when first) a function of the signals.
Expression expectStatement(const Stg& stg, const Statement& s, const std::string& target, bool live) {
  EXPECT_EQ(s.target, target);
  EXPECT_EQ(s.live, live) << target << " = " << s.expression;
  Expression e(s.expression, stg);
  EXPECT_TRUE(e.ok()) << "not an expression of the signals: " << target << " = " << s.expression;
  return e;
}

void expectCover(const Expression& e, const EquationAlternative& alt, bool complemented, const std::string& text) {
  std::vector<OracleCube> cover = oracleCubes(alt.sop);
  EXPECT_FALSE(firstCounterexample(contextOf(alt) | e.variables(),
                                   [&](Code code) { return e.value(code) == (evaluate(cover, code) != complemented); }))
      << (complemented ? "not the complement of the cover: " : "not the cover: ") << text;
}

void expectGc(const Expression& e, const Signal& z, const EquationAlternative& set, const EquationAlternative& reset,
              const std::string& text) {
  std::vector<OracleCube> s = oracleCubes(set.sop), r = oracleCubes(reset.sop);
  Code own = Code{1} << z.index;
  EXPECT_FALSE(firstCounterexample(contextOf(set) | contextOf(reset) | e.variables() | own, [&](Code code) {
    bool on = evaluate(s, code), off = evaluate(r, code);
    return (on && off) || e.value(code) == (on || (!off && (code & own) != 0));
  })) << "not 1 under SET, 0 under RESET and the signal's own value otherwise: " << text;
}

std::string names(const Stg& stg, uint8_t kind) {
  std::string list;
  for (const Signal* s : stg.signals)
    if (s->kind == kind) list += (list.empty() ? "" : ", ") + s->name;
  return list;
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
  std::string netlist = netlistOf(*run.mode);
  std::string outs = names(stg, SignalOutput), ins = names(stg, SignalInput);
  EXPECT_EQ(netlist.substr(0, netlist.find('\n')),
            "module NUREX_unmapped_implementation(" + outs + (!outs.empty() && !ins.empty() ? ", " : "") + ins + ");");
  EXPECT_TRUE(netlist.ends_with("endmodule\n")) << netlist;
  std::vector<Statement> statements = statementsOf(netlist);
  size_t at = 0;
  auto next = [&]() -> const Statement& {
    static const Statement none{false, "<none>", ""};
    return at < statements.size() ? statements[at++] : none;
  };
  for (size_t i = 0; i < impls.size(); i += type == 1 ? 1 : 2) {
    const Signal& z = *impls[i]->signal;
    SCOPED_TRACE("signal " + z.name);
    const auto& set = impls[i]->alternatives;
    if (type == 1) {
      for (size_t a = 0; a < set.size(); ++a) {
        const Statement& st = next();
        expectCover(expectStatement(stg, st, z.name, a == 0), set[a], false, st.expression);
      }
      continue;
    }
    const auto& reset = impls[i + 1]->alternatives;
    if (type == 2) {
      for (size_t a = 0; a < set.size(); ++a)
        for (size_t r = 0; r < reset.size(); ++r) {
          const Statement& st = next();
          expectGc(expectStatement(stg, st, z.name, a == 0 && r == 0), z, set[a], reset[r], st.expression);
        }
      continue;
    }
    for (size_t a = 0; a < set.size(); ++a) {
      const Statement& st = next();
      expectCover(expectStatement(stg, st, z.name + "_SET", a == 0), set[a], false, st.expression);
    }
    for (size_t r = 0; r < reset.size(); ++r) {
      const Statement& st = next();
      expectCover(expectStatement(stg, st, z.name + "_nRESET", r == 0), reset[r], true, st.expression);
    }
    const std::string& n = z.name;
    const Statement& c = next();
    EXPECT_TRUE(c.live && c.target == n &&
                c.expression == n + "_SET & " + n + "_nRESET | " + n + " & (" + n + "_SET | " + n + "_nRESET)")
        << "not the C-element of " << n << ": " << c.target << " = " << c.expression;
  }
  EXPECT_EQ(at, statements.size()) << "statements beyond the functions";
}

}  // namespace nurex::test
