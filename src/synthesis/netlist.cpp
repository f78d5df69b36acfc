// The unmapped Verilog netlist of derived equations, and where the mode's results go.
#include <string>

#include "platform/options.h"
#include "synthesis/equations.h"
#include "synthesis/expression_text.h"
#include "synthesis/netlist_parts.h"

namespace nurex {

namespace {

const char* const FailedNetlist = "\nFailed to synthesise the specification\n";

// Only the first alternative is live: the rest are comments, so each signal has one driver.
const char* statementLead(bool live) { return live ? "    " : "    // "; }

class NetlistWriter {
 public:
  NetlistWriter(const EquationMode& mode, const StgPrefix& unit) : mode_(mode), unit_(unit), names_(unit.signals) {}

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

  void header() {
    NetlistPorts ports = netlistPorts(unit_.signals);
    out_ += "module NUREX_unmapped_implementation(" + ports.list() + ");\n";
    if (!ports.outputs.empty()) out_ += "    output " + joinedNames(ports.outputs) + ";\n";
    if (!ports.inputs.empty()) out_ += "    input " + joinedNames(ports.inputs) + ";\n";
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
    std::string z = verilogName(name), s = names_.fresh(name + "_SET"), r = names_.fresh(name + "_nRESET");
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
    out_ += "\n    // initial values of the signals\n    // " + initialValuesText(unit_.signals) + "\nendmodule\n";
  }

  const EquationMode& mode_;
  const StgPrefix& unit_;
  std::string out_;
  NetlistNames names_;
};

}  // namespace

void EquationMode::write_netlist(FILE* stream) const {
  std::fputs(netlist_text().c_str(), stream);
  std::fflush(stream);
}

std::string EquationMode::netlist_text() const {
  return solutions.empty() ? FailedNetlist : NetlistWriter(*this, unit).text();
}

void EquationMode::describe() {
  // The error stream takes the netlist that its file cannot.
  if (namesNetlist(runStrings.outputFileName)) writeNetlistFile(runStrings.outputFileName, stderr, netlist_text());
  else writeResults(solutions, message_if_found(), message_if_none());
}

// Equations of the signals before the failing one are no implementation of the whole
// specification, so none of them is written.
void EquationMode::describe_failure() {
  solutions.clear();
  describe();
}

}  // namespace nurex
