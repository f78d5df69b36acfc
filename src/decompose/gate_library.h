// The gate library of -T: a GENLIB library (a file, or the built-in text), with the buffer,
// the inverter and the area model that prices functions before they are mapped.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/genlib_reader.h"

namespace nurex {

struct GateLibrary {
  GenlibLibrary genlib;
  const GenlibGate* bufferGate = nullptr;    // cheapest one-input gate that does not invert
  const GenlibGate* inverterGate = nullptr;  // cheapest one-input gate that inverts
  double inverterArea = -1;                  // the area of the cheapest inverting function
  double literalArea = -1;                   // area of one more literal in a gate
  double gateBaseArea = -1;                  // fixed part of a gate's area
};

// Reads the GENLIB file, or the built-in library when `fileName` is empty, and checks that
// it has the constants, a buffer, an inverter and a two-input gate. Null after the errors
// (all of them are reported before giving up).
std::unique_ptr<GateLibrary> loadGateLibrary(const std::string& fileName);

// Gates of a function written as "o=!(i1*i2);" over inputs i1, i2, ..., in library order;
// a two-input function is also tried with its inputs exchanged (the first order that has a
// gate gives the list). A latch counts when its feedback is not read.
std::vector<const GenlibGate*> gatesOfFunction(const GenlibLibrary& library, std::string_view text);

// The candidates of the decomposition loop: no "**wire**", latches only if allowed, at most
// `maxInputs` inputs (the feedback not counted), and with a non-zero limit the buffer and
// the inverter always.
std::vector<const GenlibGate*> selectGates(const GateLibrary& library, bool useLatches, int32_t maxInputs);

// "Better" orders gates by area, then combinational before latch, then by name.
bool betterGate(const GenlibGate& a, const GenlibGate& b);

}  // namespace nurex
