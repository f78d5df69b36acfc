// Test support: runs -E, -G or -S on a prefix and holds the derived equations against the
// counted states of the STG (values, supports and literal counts).
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "equation_oracle.h"
#include "model/net_unit.h"
#include "model/prefix.h"
#include "synthesis/equations.h"

namespace nurex::test {

struct SynthesisRun {
  std::unique_ptr<SearchModeBase> holder;
  EquationMode* mode = nullptr;
  bool found = false;  // what run() returned: false after an error, and with no local signal
  uint32_t status = 0;
  std::string out, err;
};

// benchmarks/nets/<name>.g and tests/data/<name>.g, unfolded on load (output swallowed);
// null on failure.
std::unique_ptr<StgUnit> loadBenchmarkNet(const std::string& name);
std::unique_ptr<StgUnit> loadTestNet(const std::string& name);

// The cover of the mode as the oracle's cubes.
std::vector<OracleCube> oracleCubes(const SumOfProducts& sop);

// synthesis_type 1, 2 or 3 with the given solver; stdout and stderr captured, status reset first.
SynthesisRun runEquations(const StgPrefix& prefix, int type, int solver);

// Figures of what the checks covered, to show that they were not vacuous.
struct EquationTally {
  int functions = 0, alternatives = 0, priced = 0, unpriced = 0, supportSetsCompared = 0, failures = 0;
};

// The functions of a successful run: one per local signal (-E) or a SET and a RESET each,
// values at every counted state, contexts exactly the minimal supports, costs minimal.
void expectEquationsAgree(const Stg& stg, const std::vector<CountedState>& states, const SynthesisRun& run,
                          int type, EquationTally& tally);

// The first local signal, in table order, with a code required both 1 and 0 in one of its
// roles under `type`; nullopt when there is none.
std::optional<std::pair<const Signal*, Role>> firstConflict(const Stg& stg, const std::vector<CountedState>& states,
                                                             int type);

// A run on an STG whose first conflict is `conflict`: the error, status 2, and nothing
// derived for that signal or any after it.
void expectConflictFailure(const Stg& stg, const std::vector<CountedState>& states, const SynthesisRun& run, int type,
                           std::pair<const Signal*, Role> conflict);

// The unmapped Verilog netlist of a successful run, line by line against its equations
// (expectEquationsAgree checks it too), and the netlist text of a mode.
void expectNetlist(const Stg& stg, const SynthesisRun& run, int type);
std::string netlistOf(const EquationMode& mode);

}  // namespace nurex::test
