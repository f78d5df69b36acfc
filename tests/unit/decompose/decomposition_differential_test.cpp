// Differential test of -T: on CSC-free benchmarks, with the built-in and a second library,
// down to single gates (-t) or not, and without latches (-g!), every finished decomposition
// must give an STG that passes the explicit-state judgement against its input and a mapped
// netlist whose gates compute every signal's next value in every reachable state, and the
// netlist must compile with Icarus Verilog.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "decompose/logic_decomposer.h"
#include "model/formats/writers.h"
#include "platform/options.h"
#include "support/capture.h"
#include "support/mapped_circuit_checker.h"
#include "support/sanitizer.h"
#include "support/transformation_judge.h"
#include "unit/verify/stg_replay.h"

namespace nurex::test {
namespace {

struct Setting {
  const char* name;
  bool downToGates, latches, richer;
};

const Setting Settings[] = {
    {"built-in", false, true, false}, {"built-in -t", true, true, false}, {"built-in -t -g!", true, false, false},
    {"richer", false, true, true},     {"richer -t", true, true, true},
};

// Small CSC-free benchmarks; each decomposes within a few seconds.
const char* const Benchmarks[] = {"c-elem", "fifo",   "full",          "half",          "hazard",  "chu133",
                                  "chu150", "chu172", "converta",      "dff",           "ebergen", "nowick",
                                  "vbe5b",  "vbe5c",  "atod",          "mp-forward-pkt", "nak-pa", "ram-read-sbuf",
                                  "sbuf-ram-write", "sbuf-send-ctl", "sbuf-read-ctl", "rcv-setup", "DME", "hybridf",
                                  "etlatchP", "alloc-outbound",
                                  // with dummy transitions
                                  "dme-e"};

struct Outcome {
  bool finished = false, error = false;
  size_t inserted = 0;
  std::string judged, mapped, compiled, output;
};

std::string richerPath() { return std::string(NUREX_SOURCE_DIR) + "/tests/data/decompose/richer.genlib"; }

Outcome decompose(const StgPrefix& prefix, const Setting& setting) {
  OptionMap options;
  options["mode"] = 11;
  options["decompose_down_to_trivial"] = setting.downToGates;
  options["use_latches"] = setting.latches;
  Outcome outcome;
  std::string saved = runStrings.dataString;
  runStrings.dataString = setting.richer ? richerPath() : "";
  quietly([&] {
    LogicDecomposer decomposer(prefix, options);
    decomposer.writeFiles = false;
    bool ok = decomposer.run();
    outcome.error = raiseStatus(0) >= StatusError && !decomposer.failed();
    outcome.finished = ok && !decomposer.failed();
    outcome.inserted = decomposer.insertedSignals();
    if (!outcome.finished) return;
    std::ostringstream text;
    writeStgText(decomposer.net(), text);
    outcome.output = text.str();
    Judgement j = judgeTransformation(prefix, decomposer.net());
    outcome.judged = j.decided ? j.failure : "";
    std::string netlist =
        mapping::mappedNetlistText(decomposer.net(), decomposer.result_list(), *decomposer.library(), false);
    outcome.output += "\n" + netlist;
    Judgement m = checkMappedCircuit(netlist, decomposer.library()->genlib, decomposer.net());
    outcome.mapped = m.decided ? m.failure : "";
    outcome.compiled = compileWithCells(netlist, decomposer.library()->genlib);
  });
  runStrings.dataString = saved;
  return outcome;
}

TEST(DecompositionDifferential, BenchmarksUnderEverySetting) {
  int finished[std::size(Settings)] = {}, inserted[std::size(Settings)] = {};
  size_t stride = underSanitizer ? 3 : 1, tried = 0;
  for (size_t b = 0; b < std::size(Benchmarks); b += stride) {
    const char* name = Benchmarks[b];
    ++tried;
    std::unique_ptr<StgUnit> unit = loadStgQuietly(std::string(NUREX_SOURCE_DIR) + "/benchmarks/nets/" + name + ".g");
    ASSERT_TRUE(unit && unit->holds<StgPrefix>()) << name;
    for (size_t k = 0; k < std::size(Settings); ++k) {
      SCOPED_TRACE(std::string(name) + " " + Settings[k].name);
      Outcome o = decompose(unit->get<StgPrefix>(), Settings[k]);
      ASSERT_FALSE(o.error);
      if (!o.finished) continue;
      ++finished[k];
      inserted[k] += static_cast<int>(o.inserted);
      EXPECT_EQ(o.judged, "") << o.output;
      EXPECT_EQ(o.mapped, "") << o.output;
      EXPECT_EQ(o.compiled, "") << o.output;
    }
  }
  for (size_t k = 0; k < std::size(Settings); ++k) {
    std::printf("%-18s finished %d of %zu, %d signals inserted\n", Settings[k].name, finished[k], tried, inserted[k]);
    // Without -t a network of gates always serves; down to single gates most still finish.
    if (!Settings[k].downToGates) EXPECT_EQ(finished[k], static_cast<int>(tried));
    else EXPECT_GE(finished[k] * 3, static_cast<int>(tried) * 2);
  }
}

}  // namespace
}  // namespace nurex::test
