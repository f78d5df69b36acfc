// Matching a function, given as a BddCover, with library gates: which signal feeds each gate
// input, with or without a bubble, and whether the output is inverted; the cheapest match.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "decompose/gate_library.h"
#include "kernel/bdd_cover.h"

namespace nurex {

struct GateMatchInput {
  uint32_t variable;  // the BDD variable (signal) that feeds the gate input
  bool bubble;        // fed inverted
};

struct GateMatch {
  const GenlibGate* gate = nullptr;  // none: unsuccessful
  bool inverted = false;             // an inverter behind the gate's output
  std::vector<GateMatchInput> inputs;  // one per gate input, feedback left out
  double area = 0;                     // the gate's area and one inverter per bubble
  // "UNSUCCESSFUL MATCH", or "Gate: name (inverted), area: A, inputs: v3 !v5".
  std::string text() const;
};

// The cheapest match of the cover among `gates` (earlier gates win ties). A combinational
// cover must give 1 on ON and 0 on OFF; a sequential one 1 on ER+ and QR+ and 0 on ER- and
// QR-, which a latch may reach through its feedback (the signal's own value: 0 in ER+ and
// QR-, 1 in QR+ and ER-). Latches match sequential covers only. The inverter area prices
// each bubble and an inverted output.
GateMatch matchGate(const BddCover& cover, const std::vector<const GenlibGate*>& gates, double inverterArea);

// A gate's own function as a cover over variables 0, 1, ... for its data inputs in order:
// combinational (ON, OFF), or for a latch with feedback sequential, ER+ and QR- where its
// output is 1 and 0 with the feedback at 0, QR+ and ER- with it at 1.
BddCover gateCover(const GenlibGate& gate);

struct LibraryGate {
  const GenlibGate* gate;
  BddCover cover;
};

// The candidates of `selectGates`, classified by their covers, without the gates that
// another one does as cheaply (inversions priced by the inverter area; on equal price the
// one with the earlier name stays), each dropped with "Gate X will be ignored as it can be
// matched as ..." at verbosity 1; then the buffer and the inverter come back if they went.
std::vector<LibraryGate> classifyGates(const GateLibrary& library, bool useLatches, int32_t maxInputs);

// A function of two sub-functions, v0 and v1, that may be one gate: the fast path of the
// decomposition from a sum of two parts to a gate. In cube notation, one character per
// variable: "11" (v0*v1), "1- -1" (v0+v1), "10 01" (v0 xor v1); "11/00" is a set/reset
// pair (set where v0*v1, reset where !v0*!v1, hold elsewhere: a C-element).
struct TwoInputCover {
  std::string text;
  BddCover cover;
  GateMatch match;  // the cheapest gate, or none
};

// Every and and or of two literals, the exclusive or and its complement; with latches also
// every set/reset pair of two different minterms. Matched against the classified gates.
std::vector<TwoInputCover> twoInputCovers(const std::vector<LibraryGate>& gates, double inverterArea, bool useLatches);

// Loads the library named (empty: the built-in one, "DEFAULT" in the message at verbosity 3)
// and classifies its gates, and, if asked, makes the two-input covers; false after the load's
// errors.
bool setLibrary(const std::string& fileName, bool useLatches, int32_t maxInputs, std::unique_ptr<GateLibrary>& library,
                std::vector<LibraryGate>& gates, std::vector<TwoInputCover>* covers = nullptr);

}  // namespace nurex
