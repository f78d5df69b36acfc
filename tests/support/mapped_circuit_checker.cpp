// Test support: the mapped circuit judge (a reader of the netlist's structural Verilog, an
// evaluator of its gates on the STG's states) and the Icarus Verilog compile of a netlist.
#include "support/mapped_circuit_checker.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <vector>

#include "support/process.h"
#include "support/state_space.h"
#include "support/stg_states.h"
#include "synthesis/expression_text.h"
#include "verify/signal_encoding.h"

namespace nurex::test {

namespace {

// Words of the netlist: identifiers (escaped ones without their backslash and blank), sized
// constants, and single punctuation characters; comments dropped.
struct Token {
  std::string text;
  bool word = false;
  int line = 0;
  bool escaped = false;  // never a keyword
};

std::vector<Token> tokenize(const std::string& text) {
  std::vector<Token> tokens;
  int line = 1;
  for (size_t i = 0; i < text.size();) {
    char c = text[i];
    if (c == '\n') ++line;
    if (std::isspace(static_cast<unsigned char>(c))) {
      ++i;
    } else if (text.compare(i, 2, "//") == 0) {
      i = text.find('\n', i);
      if (i == std::string::npos) i = text.size();
    } else if (c == '\\') {
      size_t end = i + 1;
      while (end < text.size() && !std::isspace(static_cast<unsigned char>(text[end]))) ++end;
      tokens.push_back({text.substr(i + 1, end - i - 1), true, line, true});
      i = end;
    } else if (std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '\'' || c == '$') {
      size_t end = i;
      while (end < text.size() && (std::isalnum(static_cast<unsigned char>(text[end])) || text[end] == '_' ||
                                   text[end] == '$' || text[end] == '\''))
        ++end;
      tokens.push_back({text.substr(i, end - i), true, line});
      i = end;
    } else {
      tokens.push_back({std::string(1, c), false, line});
      ++i;
    }
  }
  return tokens;
}

// What drives a net: an instance of a cell (its input nets by the cell's input order), or an
// assign of a net or a constant, perhaps negated.
struct Driver {
  const GenlibGate* cell = nullptr;
  std::string name;               // the instance, or "assign"
  std::vector<std::string> nets;  // cell inputs; an assign's source net (none: a constant)
  bool constant = false, negated = false;
};

struct Netlist {
  std::set<std::string> outputs, inputs, wires;
  std::map<std::string, Driver> drivers;  // by driven net
};

class NetlistReader {
 public:
  NetlistReader(const std::string& text, const GenlibLibrary& library) : tokens_(tokenize(text)) {
    for (const GenlibGate& g : library.gates) cells_.emplace(g.name, &g);
  }

  // Empty on success, else what is wrong and where.
  std::string read(Netlist& out) {
    if (!accept("module") || !word() || !accept("(")) return error("a module header");
    while (pos_ < tokens_.size() && !accept(")")) ++pos_;
    if (!accept(";")) return error("';' after the ports");
    while (pos_ < tokens_.size() && failure_.empty()) {
      if (accept("endmodule")) return failure_;
      if (accept("output")) names(out.outputs);
      else if (accept("input")) names(out.inputs);
      else if (accept("wire")) names(out.wires);
      else if (accept("assign")) assignment(out);
      else instance(out);
    }
    return failure_.empty() ? "netlist: no endmodule" : failure_;
  }

 private:
  bool accept(const char* text) {
    if (pos_ >= tokens_.size() || tokens_[pos_].escaped || tokens_[pos_].text != text) return false;
    ++pos_;
    return true;
  }
  const std::string* word() {
    if (pos_ >= tokens_.size() || !tokens_[pos_].word) return nullptr;
    return &tokens_[pos_++].text;
  }
  std::string error(const std::string& wanted) {
    int line = pos_ < tokens_.size() ? tokens_[pos_].line : tokens_.empty() ? 0 : tokens_.back().line;
    if (failure_.empty()) failure_ = "netlist line " + std::to_string(line) + ": expected " + wanted;
    return failure_;
  }

  void names(std::set<std::string>& into) {
    do {
      const std::string* name = word();
      if (!name) return (void)error("a name");
      into.insert(*name);
    } while (accept(","));
    if (!accept(";")) error("';'");
  }

  void drive(Netlist& out, const std::string& net, Driver driver) {
    if (!out.drivers.emplace(net, std::move(driver)).second) failure_ = "net " + net + " has two drivers";
  }

  void assignment(Netlist& out) {
    const std::string* target = word();
    if (!target || !accept("=")) return (void)error("'net =' after assign");
    Driver d;
    d.name = "assign";
    d.negated = accept("!") || accept("~");
    const std::string* source = word();
    if (!source || !accept(";")) return (void)error("a net or constant and ';' in an assign");
    if (*source == "1'b0" || *source == "1'b1") d.constant = true, d.negated ^= *source == "1'b1";
    else d.nets.push_back(*source);
    drive(out, *target, d);
  }

  void instance(Netlist& out) {
    const std::string* cell = word();
    const std::string* name = cell ? word() : nullptr;
    if (!name || !accept("(")) return (void)error("an instance");
    auto found = cells_.find(*cell);
    if (found == cells_.end()) return (void)(failure_ = "instance " + *name + ": no cell " + *cell + " in the library");
    const GenlibGate& gate = *found->second;
    std::map<std::string, std::string> pins;
    do {
      const std::string* pin = accept(".") ? word() : nullptr;
      const std::string* net = pin && accept("(") ? word() : nullptr;
      if (!net || !accept(")")) return (void)error("'.pin(net)' in instance " + *name);
      if (!pins.emplace(*pin, *net).second) return (void)(failure_ = "instance " + *name + ": pin " + *pin + " twice");
    } while (accept(","));
    if (!accept(")") || !accept(";")) return (void)error("');' after instance " + *name);
    Driver d{&gate, *name, {}, false, false};
    for (const std::string& input : gate.inputs) {
      auto pin = pins.find(input);
      if (pin == pins.end()) return (void)(failure_ = "instance " + *name + ": pin " + input + " is not connected");
      d.nets.push_back(pin->second);
    }
    auto output = pins.find(gate.output);
    if (output == pins.end() || pins.size() != gate.inputs.size() + 1)
      return (void)(failure_ = "instance " + *name + ": the pins are not those of " + gate.name);
    drive(out, output->second, d);
  }

  std::vector<Token> tokens_;
  size_t pos_ = 0;
  std::map<std::string, const GenlibGate*> cells_;
  std::string failure_;
};

// The net values of one state: signals hold the state's values, wires follow from their
// drivers in dependency order (computed on demand; a wire met again while open is a loop).
class Evaluator {
 public:
  Evaluator(const Netlist& netlist, const std::map<std::string, bool>& signals) : netlist_(netlist), values_(signals) {}

  // The value the net's driver gives; false with `failure` set on a loop or a missing driver.
  bool driven(const std::string& net, bool& value) {
    const Driver& d = netlist_.drivers.at(net);
    if (d.constant) return value = d.negated, true;
    std::vector<bool> inputs;
    for (const std::string& in : d.nets) {
      bool v;
      if (!valueOf(in, v)) return false;
      inputs.push_back(v);
    }
    value = d.cell ? evaluateGenlib(*d.cell->function, d.cell->inputs, inputs) : inputs[0] != d.negated;
    return true;
  }
  std::string failure;

 private:
  bool valueOf(const std::string& net, bool& value) {
    if (auto known = values_.find(net); known != values_.end()) return value = known->second, true;
    if (!netlist_.drivers.count(net)) return failure = "wire " + net + " has no driver", false;
    if (!open_.insert(net).second) return failure = "wire " + net + " lies on a loop of wires", false;
    if (!driven(net, value)) return false;
    open_.erase(net);
    values_[net] = value;
    return true;
  }

  const Netlist& netlist_;
  std::map<std::string, bool> values_;
  std::set<std::string> open_;
};

// The ports are the STG's outputs and inputs; local signals have a driver, inputs none.
std::string structureFailure(const Netlist& netlist, const Stg& stg) {
  std::set<std::string> outputs, inputs;
  for (const Signal* s : stg.signals) {
    if (s->kind == SignalOutput) outputs.insert(s->name);
    if (s->kind == SignalInput) inputs.insert(s->name);
    if (isLocalSignal(s) && !netlist.drivers.count(s->name)) return "signal " + s->name + " has no driver";
    if (s->kind == SignalInput && netlist.drivers.count(s->name)) return "input " + s->name + " is driven";
  }
  std::set<std::string> signals;
  for (const Signal* s : stg.signals) signals.insert(s->name);
  auto undeclared = [&](const std::string& net) { return !signals.count(net) && !netlist.wires.count(net); };
  for (const auto& [net, driver] : netlist.drivers) {
    if (undeclared(net)) return "net " + net + " is neither a signal nor a declared wire";
    for (const std::string& in : driver.nets)
      if (undeclared(in)) return "net " + in + " is neither a signal nor a declared wire";
  }
  if (outputs != netlist.outputs) return "the output ports are not the STG's outputs";
  if (inputs != netlist.inputs) return "the input ports are not the STG's inputs";
  return "";
}

std::string codeText(const StateSpace& space, uint32_t state) {
  std::string text;
  for (const Signal* s : space.stg->signals)
    if (s->kind != SignalDummy) text += (text.empty() ? "" : " ") + s->name + "=" + std::to_string(space.value(state, s));
  return text;
}

std::string genlibVerilog(const GenlibExpr& e) {
  switch (e.kind) {
    case GenlibExpr::Const0: return "1'b0";
    case GenlibExpr::Const1: return "1'b1";
    case GenlibExpr::Input: return verilogName(e.name);
    case GenlibExpr::Not: return "!(" + genlibVerilog(*e.operands[0]) + ")";
    default: break;
  }
  std::string text = "(";
  for (size_t i = 0; i < e.operands.size(); ++i)
    text += (i ? (e.kind == GenlibExpr::And ? " & " : " | ") : "") + genlibVerilog(*e.operands[i]);
  return text + ")";
}

std::string programOnPath(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::string dirs = path ? path : "/usr/bin:/bin";
  for (size_t start = 0; start <= dirs.size();) {
    size_t end = dirs.find(':', start);
    if (end == std::string::npos) end = dirs.size();
    std::string candidate = dirs.substr(start, end - start) + "/" + name;
    if (access(candidate.c_str(), X_OK) == 0) return candidate;
    start = end + 1;
  }
  return "";
}

}  // namespace

Judgement checkMappedCircuit(const std::string& text, const GenlibLibrary& library, const Stg& stg,
                             uint32_t stateLimit) {
  Netlist netlist;
  if (std::string failure = NetlistReader(text, library).read(netlist); !failure.empty()) return {true, failure};
  if (std::string failure = structureFailure(netlist, stg); !failure.empty()) return {true, failure};
  StateSpace space = exploreStateSpace(stg, {.stateLimit = stateLimit, .stg = &stg, .stopWhenUnsafe = true});
  std::vector<uint8_t> known, init;
  for (const Signal* s : stg.signals) known.push_back(s->initialValue);
  if (!space.complete) return {false, "state limit reached"};
  if (std::string failure = signalFailure(space, known, init); !failure.empty()) return {true, "STG " + failure};
  CountedStates counted = countedStgStates(stg, stateLimit);
  if (!counted.complete) return {false, "state limit reached in the counted states"};
  // Nearest states first, so that the witness is a shortest run.
  std::stable_sort(counted.states.begin(), counted.states.end(),
                   [](const CountedState& x, const CountedState& y) { return x.distance < y.distance; });
  for (const CountedState& c : counted.states) {
    uint32_t state = space.find(c.marking, c.code);
    std::map<std::string, bool> values;
    for (const Signal* s : stg.signals)
      if (s->kind != SignalDummy) values[s->name] = space.value(state, s);
    Evaluator evaluator(netlist, values);
    for (const Signal* z : stg.signals) {
      if (!isLocalSignal(z)) continue;
      bool next = values[z->name] != (c.excited[z->index] != 0), value;
      if (!evaluator.driven(z->name, value)) return {true, evaluator.failure};
      if (value != next)
        return {true, "signal " + z->name + ": the gates give " + std::to_string(value) + " where the next value is " +
                          std::to_string(next) + ", after " + space.runText(state) + " (" + codeText(space, state) + ")"};
    }
  }
  return {true, ""};
}

std::string cellModules(const GenlibLibrary& library) {
  std::set<std::string> done;
  std::string text;
  for (const GenlibGate& g : library.gates) {
    if (!done.insert(g.name).second) continue;
    std::vector<std::string> inputs;
    for (const std::string& i : g.inputs) inputs.push_back(verilogName(i));
    std::string ports = verilogName(g.output);
    for (const std::string& i : inputs) ports += ", " + i;
    text += "module " + verilogName(g.name) + " (" + ports + ");\n    output " + verilogName(g.output) + ";\n";
    for (const std::string& i : inputs) text += "    input " + i + ";\n";
    text += "    assign " + verilogName(g.output) + " = " + genlibVerilog(*g.function) + ";\nendmodule\n";
  }
  return text;
}

std::string compileWithCells(const std::string& netlist, const GenlibLibrary& library) {
  std::string compiler = programOnPath("iverilog");
  if (compiler.empty()) return "iverilog is not installed";
  std::string dir = makeTempDirectory();
  if (dir.empty()) return "no temporary directory";
  std::string cells = dir + "/cells.v", module = dir + "/netlist.v";
  std::ofstream(cells) << cellModules(library);
  std::ofstream(module) << netlist;
  ProcessResult result = runProcess(compiler, {"-o", "/dev/null", cells, module});
  std::remove(cells.c_str());
  std::remove(module.c_str());
  rmdir(dir.c_str());
  if (result.status == 0) return "";
  return "iverilog failed (status " + std::to_string(result.status) + "): " + result.out + result.err;
}

}  // namespace nurex::test
