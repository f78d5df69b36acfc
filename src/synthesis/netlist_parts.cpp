// Ports, names, initial values and the output file of the Verilog netlists.
#include "synthesis/netlist_parts.h"

#include "platform/reporter.h"
#include "platform/system.h"
#include "synthesis/expression_text.h"

namespace nurex {

bool namesNetlist(const std::string& name) { return name.size() >= 2 && name.compare(name.size() - 2, 2, ".v") == 0; }

std::string joinedNames(const std::vector<std::string>& names) {
  std::string text;
  for (size_t i = 0; i < names.size(); ++i) text += (i ? ", " : "") + names[i];
  return text;
}

std::string NetlistPorts::list() const {
  return joinedNames(outputs) + (outputs.empty() || inputs.empty() ? "" : ", ") + joinedNames(inputs);
}

NetlistPorts netlistPorts(const NodeList<Signal>& signals) {
  NetlistPorts ports;
  for (const Signal* s : signals) {
    if (s->kind == SignalOutput) ports.outputs.push_back(verilogName(s->name));
    if (s->kind == SignalInput) ports.inputs.push_back(verilogName(s->name));
  }
  return ports;
}

std::string initialValuesText(const NodeList<Signal>& signals) {
  std::string values;
  for (const Signal* s : signals)
    if (s->kind != SignalDummy) values += (values.empty() ? "" : " ") + s->name + "=" + std::to_string(s->initialValue);
  return values;
}

NetlistNames::NetlistNames(const NodeList<Signal>& signals) {
  for (const Signal* s : signals) taken_.insert(verilogName(s->name));
}

std::string NetlistNames::fresh(const std::string& wanted) {
  std::string name = verilogName(wanted);
  for (uint32_t n = 1; taken_.count(name); ++n) name = verilogName(wanted + "_" + std::to_string(n));
  taken_.insert(name);
  return name;
}

void writeNetlistFile(const std::string& name, FILE* fallback, const std::string& text) {
  FILE* file = std::fopen(name.c_str(), "w");
  if (!file) reportWarning(cannotOpenForOutput(name));
  FILE* stream = file ? file : fallback;
  std::fputs(text.c_str(), stream);
  std::fflush(stream);
  if (file && !closeWrittenFile(file)) reportError(cannotWriteFile());
}

}  // namespace nurex
