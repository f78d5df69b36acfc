// The mapped implementation of each signal after -T: the gate with what feeds each of its
// pins, and the sub-functions behind them; as text, XML, the result line and a Verilog netlist.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "decompose/gate_library.h"
#include "model/net.h"
#include "model/results.h"

namespace nurex::mapping {

struct Pin {
  std::string name;                // the gate's input
  const Signal* signal = nullptr;  // the signal that feeds it, unless a sub-function does
  int32_t subFunction = -1;        // index into SignalImplementation::subFunctions, or -1
  bool inverted = false;           // fed through an inverter (a bubble)
};

struct MappedGate {
  std::string equation;              // the function the gate implements, as text
  const GenlibGate* gate = nullptr;  // none: a bare wire, its one pin passed through
  bool inverted = false;             // an inverter behind the output
  bool zeroDelay = false;
  // One per gate input, in GenlibGate::inputs order; a latch's feedback pin is fed by the
  // signal itself. A constant gate has none.
  std::vector<Pin> pins;
  std::string setCover, resetCover;  // a latch with monotonic covers: both non-empty
};

// One per output and internal signal.
class SignalImplementation : public Solution {
 public:
  // The area in hundredths: the integer measure that totals add up exactly.
  uint64_t cost() const override;
  void print(FILE* stream, ResultForm form) const override;
  XmlNode* toXml(XmlDocument& document) const override;

  const Signal* signal = nullptr;
  double area = 0;  // of the gate, the sub-functions' gates and all inverters
  std::vector<const Signal*> triggers;  // an approximation
  std::vector<const Signal*> context;
  MappedGate top;                       // the gate that drives the signal
  std::vector<MappedGate> subFunctions;  // they may feed each other, never in a cycle
};

// "%.2f", as areas are printed.
std::string areaText(double area);

// The list holds SignalImplementations only, in signal order.
double totalArea(const ResultList& list);
// "Logic decomposition finished (area=A)", or "Failed to decompose".
std::string decompositionResult(const ResultList& list, bool failed);

// The module NUREX_mapped_implementation, or "\nFailed to decompose\n" after a failure.
std::string mappedNetlistText(const Stg& stg, const ResultList& list, const GateLibrary& library, bool failed);
void writeMappedNetlist(FILE* stream, const Stg& stg, const ResultList& list, const GateLibrary& library, bool failed);
// The netlist in the named file; when it cannot be opened, the warning and standard output.
void writeMappedNetlistFile(const std::string& fileName, const Stg& stg, const ResultList& list,
                            const GateLibrary& library, bool failed);

}  // namespace nurex::mapping
