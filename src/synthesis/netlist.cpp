// The unmapped Verilog netlist of derived equations, and where the mode's results go.
#include <set>
#include <string>

#include "platform/options.h"
#include "platform/reporter.h"
#include "platform/system.h"
#include "synthesis/equations.h"
#include "synthesis/expression_text.h"

namespace nurex {

namespace {

const char* const FailedNetlist = "\nFailed to synthesise the specification\n";

bool namesNetlist(const std::string& name) { return name.size() >= 2 && name.compare(name.size() - 2, 2, ".v") == 0; }

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (size_t i = 0; i < names.size(); ++i) text += (i ? ", " : "") + names[i];
  return text;
}

// Only the first alternative is live: the rest are comments, so each signal has one driver.
const char* statementLead(bool live) { return live ? "    " : "    // "; }

class NetlistWriter {
 public:
  NetlistWriter(const EquationMode& mode, const StgPrefix& unit) : mode_(mode), unit_(unit) {}

  std::string text() {
    header();
    int32_t type = mode_.synthesis_type();
    std::vector<const SignalImplementation*> list = mode_.implementations();
    for (size_t i = 0; i < list.size(); ++i) {
      if (type == ComplexGate) {
        complex_gate(*list[i]);
        continue;
      }
      if (i + 1 == list.size()) break;  // SET and RESET come in pairs
      if (type == GeneralisedC) gc_element(*list[i], *list[i + 1]);
      else standard_c(*list[i], *list[i + 1]);
      ++i;
    }
    trailer();
    return out_;
  }

 private:
  std::string expression(const EquationAlternative& a) const {
    return expressionText(a.sop, unit_.signals, ConstantStyle::Verilog);
  }
  std::string complement(const EquationAlternative& a) const {
    return complementText(a.sop, unit_.signals, ConstantStyle::Verilog);
  }

  // A made wire never takes the name of a signal or of another wire: an output named
  // "x_SET" beside an output x would otherwise get two drivers.
  std::string wire(const std::string& wanted) {
    std::string name = verilogName(wanted);
    for (uint32_t n = 1; taken_.count(name); ++n) name = verilogName(wanted + "_" + std::to_string(n));
    taken_.insert(name);
    return name;
  }

  void header() {
    std::vector<std::string> outputs, inputs;
    for (const Signal* s : unit_.signals) taken_.insert(verilogName(s->name));
    for (const Signal* s : unit_.signals) {
      if (s->kind == SignalOutput) outputs.push_back(verilogName(s->name));
      if (s->kind == SignalInput) inputs.push_back(verilogName(s->name));
    }
    out_ += "module NUREX_unmapped_implementation(" + joined(outputs) +
            (outputs.empty() || inputs.empty() ? "" : ", ") + joined(inputs) + ");\n";
    if (!outputs.empty()) out_ += "    output " + joined(outputs) + ";\n";
    if (!inputs.empty()) out_ += "    input " + joined(inputs) + ";\n";
    out_ += "\n";
    static const char* const kinds[] = {"complex-gate", "gC", "standard-C"};
    out_ += std::string("    // ") + kinds[mode_.synthesis_type() - 1] +
            " implementation, each 'assign' statement is assumed to be ATOMIC;\n";
    out_ += "    // total cost=" + std::to_string(mode_.total_cost()) + "\n";
  }

  void complex_gate(const SignalImplementation& s) {
    out_ += "\n";
    std::string name = verilogName(s.signal->name);
    for (size_t i = 0; i < s.alternatives.size(); ++i) {
      const EquationAlternative& a = s.alternatives[i];
      out_ += statementLead(i == 0) + std::string("assign ") + name + " = " + expression(a) +
              "; // cost=" + std::to_string(a.literals) + "\n";
    }
  }

  // z' = SET | z & !RESET: 1 when SET holds, 0 when RESET holds, z otherwise (the two never
  // hold together on a reachable state).
  void gc_element(const SignalImplementation& set, const SignalImplementation& reset) {
    std::string name = verilogName(set.signal->name);
    bool live = true;
    for (const EquationAlternative& s : set.alternatives)
      for (const EquationAlternative& r : reset.alternatives) {
        out_ += "\n    // SET=" + expression(s) + ", RESET=" + expression(r) +
                ", cost=" + std::to_string(s.literals + r.literals) + "\n";
        out_ += statementLead(live) + std::string("assign ") + name + " = " + expression(s) + " | " + name + " & " +
                complement(r) + ";\n";
        live = false;
      }
  }

  void standard_c(const SignalImplementation& set, const SignalImplementation& reset) {
    std::string name = set.signal->name;
    std::string z = verilogName(name), s = wire(name + "_SET"), r = wire(name + "_nRESET");
    out_ += "\n\n    // Signal " + name + " cost=" + std::to_string(set.cost() + reset.cost()) + "\n";
    for (size_t i = 0; i < set.alternatives.size(); ++i)
      out_ += statementLead(i == 0) + std::string("assign ") + s + " = " + expression(set.alternatives[i]) +
              "; // cost=" + std::to_string(set.alternatives[i].literals) + "\n";
    for (size_t i = 0; i < reset.alternatives.size(); ++i)
      out_ += statementLead(i == 0) + std::string("assign ") + r + " = " + complement(reset.alternatives[i]) +
              "; // cost=" + std::to_string(reset.alternatives[i].literals) + "\n";
    out_ += "    assign " + z + " = " + s + " & " + r + " | " + z + " & (" + s + " | " + r + "); // C-element\n";
  }

  void trailer() {
    std::string values;
    for (const Signal* s : unit_.signals)
      if (s->kind != SignalDummy) values += (values.empty() ? "" : " ") + s->name + "=" + std::to_string(s->initialValue);
    out_ += "\n    // initial values of the signals\n    // " + values + "\nendmodule\n";
  }

  const EquationMode& mode_;
  const StgPrefix& unit_;
  std::string out_;
  std::set<std::string> taken_;  // Verilog names of the signals and of the wires made so far
};

// The netlist file, or the error stream after the warning when it cannot be opened.
void writeNetlistFile(const EquationMode& mode) {
  const std::string& name = runStrings.outputFileName;
  FILE* file = std::fopen(name.c_str(), "w");
  if (!file) reportWarning(cannotOpenForOutput(name));
  mode.write_netlist(file ? file : stderr);
  if (file && !closeWrittenFile(file)) reportError(cannotWriteFile());
}

}  // namespace

void EquationMode::write_netlist(FILE* stream) const {
  std::string text = solutions.empty() ? FailedNetlist : NetlistWriter(*this, unit).text();
  std::fputs(text.c_str(), stream);
  std::fflush(stream);
}

void EquationMode::describe() {
  if (namesNetlist(runStrings.outputFileName)) writeNetlistFile(*this);
  else writeResults(solutions, message_if_found(), message_if_none());
}

// Equations of the signals before the failing one are no implementation of the whole
// specification, so none of them is written.
void EquationMode::describe_failure() {
  solutions.clear();
  describe();
}

}  // namespace nurex
