// Pieces shared by the Verilog netlists of -E and -T: the ports, made names that clash with
// nothing, the initial values, and the file that falls back to a stream when it cannot open.
#pragma once

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "model/net.h"

namespace nurex {

// The output file name asks for a netlist: it ends in ".v".
bool namesNetlist(const std::string& name);
// "a, b, c".
std::string joinedNames(const std::vector<std::string>& names);

// Verilog names of the output and of the input signals, in table order; internal signals
// are driven in the body but are no ports.
struct NetlistPorts {
  std::vector<std::string> outputs, inputs;
  std::string list() const;  // outputs, then inputs, joined by ", "
};
NetlistPorts netlistPorts(const NodeList<Signal>& signals);

// "a=0 b=1 ...": the initial code of the signals that are not dummies.
std::string initialValuesText(const NodeList<Signal>& signals);

// Names of a module: the signals' names are taken from the start, and a made name never
// takes one already given (an output "x_SET" beside x would otherwise get two drivers).
class NetlistNames {
 public:
  explicit NetlistNames(const NodeList<Signal>& signals);
  // `wanted` as a Verilog name, or with "_1", "_2", ... until it is free.
  std::string fresh(const std::string& wanted);
  bool taken(const std::string& verilog) const { return taken_.count(verilog) != 0; }
  void take(const std::string& verilog) { taken_.insert(verilog); }

 private:
  std::set<std::string> taken_;
};

// Writes the text to the named file; when it cannot be opened, warns and writes it to
// `fallback` instead. A file that cannot be written completely is an error.
void writeNetlistFile(const std::string& name, FILE* fallback, const std::string& text);

}  // namespace nurex
