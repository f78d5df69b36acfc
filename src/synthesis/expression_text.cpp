// Text of sums of products over signal variables.
#include "synthesis/expression_text.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace nurex {

namespace {

const char* constantText(bool value, ConstantStyle style) {
  if (style == ConstantStyle::Verilog) return value ? "1'b1" : "1'b0";
  return value ? "1b`1" : "1b`0";
}

// Constant 0 is the empty sum, constant 1 a sum holding the empty cube.
bool isConstant(const SumOfProducts& sop, bool& value) {
  value = std::any_of(sop.begin(), sop.end(), [](const Cube& c) { return c.empty(); });
  return sop.empty() || value;
}

bool isPlainIdentifier(const std::string& name) {
  if (name.empty() || !(std::isalpha(static_cast<unsigned char>(name[0])) || name[0] == '_')) return false;
  return std::all_of(name.begin(), name.end(),
                     [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$'; });
}

// The keywords a signal of an STG might plausibly be called; they cannot stand as names.
bool isVerilogKeyword(const std::string& name) {
  static const char* const keywords[] = {
      "always", "and",    "assign", "begin",   "buf",    "case",     "default",   "else",   "end",
      "endcase", "endmodule", "for", "function", "if",   "initial",  "inout",     "input",  "integer",
      "module", "nand",   "negedge", "nor",    "not",    "or",       "output",    "parameter", "posedge",
      "reg",    "supply0", "supply1", "tri",   "wait",   "while",    "wire",      "xnor",   "xor"};
  return std::find_if(std::begin(keywords), std::end(keywords), [&](const char* k) { return name == k; }) !=
         std::end(keywords);
}

}  // namespace

std::string verilogName(const std::string& name) {
  if (isPlainIdentifier(name) && !isVerilogKeyword(name)) return name;
  return "\\" + name + " ";
}

std::string signalNamesText(const std::vector<const Signal*>& signals) {
  std::string text;
  for (const Signal* s : signals) text += " " + s->name;
  return text;
}

std::string expressionText(const SumOfProducts& sop, const NodeList<Signal>& signals, ConstantStyle style) {
  bool value;
  if (isConstant(sop, value)) return constantText(value, style);
  std::string text;
  for (size_t i = 0; i < sop.size(); ++i) {
    if (i) text += " | ";
    for (size_t j = 0; j < sop[i].size(); ++j) {
      if (j) text += " & ";
      if (!sop[i][j].positive) text += "!";
      const std::string& name = signals[sop[i][j].variable]->name;
      text += style == ConstantStyle::Verilog ? verilogName(name) : name;
    }
  }
  return text;
}

std::string complementText(const SumOfProducts& sop, const NodeList<Signal>& signals, ConstantStyle style) {
  bool value;
  if (isConstant(sop, value)) return constantText(!value, style);
  return "!(" + expressionText(sop, signals, style) + ")";
}

}  // namespace nurex
