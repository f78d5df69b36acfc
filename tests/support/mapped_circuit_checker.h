// Test support: a judge of mapped Verilog netlists. It reads the netlist on its own, and over
// every reachable state of the STG checks that each non-input signal's gates, evaluated on the
// state's signal values, give the signal's next value; and it compiles netlists with Icarus.
#pragma once

#include <cstdint>
#include <string>

#include "kernel/genlib_reader.h"
#include "model/net.h"
#include "support/transformation_judge.h"

namespace nurex::test {

// Accepted (empty failure) when the module's ports are the STG's outputs and inputs, every
// output and internal signal has one driver and no input has one, every instance is a cell
// of the library with each of its pins connected once, the wires have no cycle, and in every
// counted state of the STG each output and internal signal is driven to its next value (its
// value, flipped when it is excited). Otherwise a one-line reason, with a run as witness.
Judgement checkMappedCircuit(const std::string& netlist, const GenlibLibrary& library, const Stg& stg,
                             uint32_t stateLimit = 200000);

// One Verilog module per cell of the library (the first of equal names), its output then its
// inputs as ports, and "assign O = expr;" with the cell's function.
std::string cellModules(const GenlibLibrary& library);

// Compiles the netlist with the library's cell modules by "iverilog -o /dev/null"; empty on
// success, else the compiler's message.
std::string compileWithCells(const std::string& netlist, const GenlibLibrary& library);

}  // namespace nurex::test
