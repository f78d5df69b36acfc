// The mapped Verilog netlist: one instance per library gate, inverters for bubbles and
// inverted outputs on wires of their own, buffers and bare wires as assigns.
#include <string>
#include <vector>

#include "decompose/mapped_implementation.h"
#include "synthesis/expression_text.h"
#include "synthesis/netlist_parts.h"

namespace nurex::mapping {

namespace {

const char* const FailedNetlist = "\nFailed to decompose\n";

class MappedNetlistWriter {
 public:
  MappedNetlistWriter(const Stg& stg, const GateLibrary& library) : stg_(stg), library_(library), names_(stg.signals) {}

  std::string text(const ResultList& list) {
    NetlistPorts ports = netlistPorts(stg_.signals);
    out_ = "module NUREX_mapped_implementation(" + ports.list() + ");\n";
    declarations("output", ports.outputs);
    declarations("input", ports.inputs);
    out_ += "    // mapped implementation; total area=" + areaText(totalArea(list)) + "\n";
    for (const auto& s : list) signalBlock(static_cast<const SignalImplementation&>(*s));
    out_ += "    // initial values of the signals\n    // " + initialValuesText(stg_.signals) + "\nendmodule\n";
    return out_;
  }

 private:
  void declarations(const char* direction, const std::vector<std::string>& names) {
    for (const std::string& name : names) out_ += std::string("    ") + direction + " " + name + ";\n";
    if (!names.empty()) out_ += "\n";
  }

  // Wires go first in the block, so the instances are gathered apart and follow them.
  void signalBlock(const SignalImplementation& s) {
    const MappedGate& top = s.top;
    std::string function = top.setCover.empty() && top.resetCover.empty()
                               ? top.equation
                               : "monotonic_covers(SET: " + top.setCover + ", RESET: " + top.resetCover + ")";
    out_ += "    // [" + s.signal->name + "] = " + function + "\n";
    base_ = s.signal->name;
    wires_.clear();
    body_.clear();
    subNets_.clear();
    for (size_t k = 0; k < s.subFunctions.size(); ++k) subNets_.push_back(newWire());
    state_.assign(s.subFunctions.size(), Unvisited);
    for (size_t k = 0; k < s.subFunctions.size(); ++k) subFunction(s, k);
    gate(s, top, verilogName(s.signal->name));
    out_ += wires_ + body_;
  }

  // A sub-function after those that feed it.
  void subFunction(const SignalImplementation& s, size_t k) {
    if (state_[k] != Unvisited) return;
    state_[k] = Visiting;
    for (const Pin& pin : s.subFunctions[k].pins)
      if (fedBySubFunction(s, pin)) subFunction(s, pin.subFunction);
    body_ += "    // [" + subNets_[k] + "] = " + s.subFunctions[k].equation + "\n";
    gate(s, s.subFunctions[k], subNets_[k]);
    state_[k] = Done;
  }

  static bool fedBySubFunction(const SignalImplementation& s, const Pin& pin) {
    return pin.subFunction >= 0 && static_cast<size_t>(pin.subFunction) < s.subFunctions.size();
  }

  void gate(const SignalImplementation& s, const MappedGate& g, const std::string& out) {
    std::vector<std::string> nets;
    for (const Pin& pin : g.pins) {
      // A pin fed by nothing named is a latch's feedback.
      std::string net = fedBySubFunction(s, pin) ? subNets_[pin.subFunction]
                                                 : verilogName(pin.signal ? pin.signal->name : s.signal->name);
      if (pin.inverted) net = inverter("IN_BUBBLE", net, newWire());
      nets.push_back(net);
    }
    std::string driven = g.inverted ? newWire() : out;
    if (g.zeroDelay) body_ += "    // #PRAGMA: zero delay\n";
    if (!g.gate || (g.gate == library_.bufferGate && nets.size() == 1)) {
      body_ += "    assign " + driven + " = " + (nets.empty() ? "1'bx" : nets[0]) + ";\n";
    } else {
      std::string connections = "(." + verilogName(g.gate->output) + "(" + driven + ")";
      for (size_t i = 0; i < g.pins.size(); ++i) connections += ", ." + verilogName(g.pins[i].name) + "(" + nets[i] + ")";
      body_ += "    " + verilogName(g.gate->name) + " " + instance("U") + " " + connections + ");\n";
    }
    if (g.inverted) inverter("OUT_BUBBLE", driven, out);
  }

  std::string inverter(const char* kind, const std::string& in, const std::string& out) {
    const GenlibGate& inv = *library_.inverterGate;
    body_ += "    " + verilogName(inv.name) + " " + instance(kind) + " (." + verilogName(inv.output) + "(" + out +
             "), ." + verilogName(inv.inputs.front()) + "(" + in + "));\n";
    return out;
  }

  // The signal's name, "w" and the running number; a name in use skips to the next number.
  std::string newWire() {
    std::string name;
    do name = verilogName(base_ + "w" + std::to_string(++wireCount_));
    while (names_.taken(name));
    names_.take(name);
    wires_ += "    wire " + name + ";\n";
    return name;
  }

  std::string instance(const std::string& kind) { return names_.fresh(kind + std::to_string(++instanceCount_)); }

  enum Visit : uint8_t { Unvisited, Visiting, Done };

  const Stg& stg_;
  const GateLibrary& library_;
  NetlistNames names_;
  std::string out_, wires_, body_;  // the module; the current block's wires and instances
  std::string base_;                // the current block's signal
  std::vector<std::string> subNets_;
  std::vector<Visit> state_;
  uint32_t wireCount_ = 0, instanceCount_ = 0;
};

}  // namespace

std::string mappedNetlistText(const Stg& stg, const ResultList& list, const GateLibrary& library, bool failed) {
  return failed ? FailedNetlist : MappedNetlistWriter(stg, library).text(list);
}

void writeMappedNetlist(FILE* stream, const Stg& stg, const ResultList& list, const GateLibrary& library, bool failed) {
  std::fputs(mappedNetlistText(stg, list, library, failed).c_str(), stream);
  std::fflush(stream);
}

void writeMappedNetlistFile(const std::string& fileName, const Stg& stg, const ResultList& list,
                            const GateLibrary& library, bool failed) {
  writeNetlistFile(fileName, stdout, mappedNetlistText(stg, list, library, failed));
}

}  // namespace nurex::mapping
