// Reading a cell library in the GENLIB text form: GATE and LATCH entries with their area,
// Boolean function, PIN lines (phase, loads, delays) and, for latches, the SEQ line.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace nurex {

// A Boolean expression of a gate's function, over its input names.
struct GenlibExpr {
  enum Kind : uint8_t { Const0, Const1, Input, Not, And, Or } kind = Const0;
  std::string name;                                  // Input
  std::vector<std::unique_ptr<GenlibExpr>> operands;  // Not: one; And, Or: two or more
};

enum GenlibPhase : uint8_t { PhaseInv, PhaseNonInv, PhaseUnknown };

struct GenlibPin {
  std::string name;  // "*" stands for every input
  GenlibPhase phase = PhaseUnknown;
  double inputLoad = 0, maxLoad = 0, riseBlock = 0, riseFanout = 0, fallBlock = 0, fallFanout = 0;
};

struct GenlibGate {
  std::string name;
  double area = 0;
  bool latch = false;
  std::string output;  // the name on the left of '='
  std::unique_ptr<GenlibExpr> function;
  std::vector<std::string> inputs;  // the function's input names, in order of first use
  std::vector<GenlibPin> pins;
  // LATCH only: the SEQ line's output, its feedback name (ANY when it has none) and type.
  std::string seqOutput, seqNext, seqType;

  // Position of the feedback input among `inputs`, -1 when the function does not read it.
  int32_t nextInput() const;
  // Inputs without the feedback, the count by which gates are compared.
  uint32_t inputCount() const { return static_cast<uint32_t>(inputs.size()) - (nextInput() >= 0 ? 1 : 0); }
};

struct GenlibLibrary {
  std::string name;
  std::vector<GenlibGate> gates;  // in file order
};

// Parses GENLIB text; on a fault, false with "line N: what" in `error` and `out` partly
// filled. Never throws, whatever the text.
bool parseGenlib(std::string_view text, GenlibLibrary& out, std::string& error);

// Reads the file; errors go through the Reporter: "cannot open ... for input", or
// "incorrect syntax of NAME (line N: what)". Null after an error.
std::unique_ptr<GenlibLibrary> readGenlibFile(const std::string& fileName);
// The same from an open file, read from where it stands, named `fileName` in messages.
std::unique_ptr<GenlibLibrary> readGenlibStream(FILE* file, const std::string& fileName);

// The value of the gate's function for the given input values (by position in `inputs`).
bool evaluateGenlib(const GenlibExpr& expr, const std::vector<std::string>& inputs, const std::vector<bool>& values);

}  // namespace nurex
