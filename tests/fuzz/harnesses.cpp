// The fuzz targets: readers get the bytes as a file of their extension, parsers as text,
// and the pipeline target loads a small .g, unfolds it and checks deadlock and CSC.
#include "fuzz/harnesses.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>

#include "kernel/genlib_reader.h"
#include "model/checks.h"
#include "model/formats/g_reader.h"
#include "model/formats/readers.h"
#include "model/formats/writers.h"
#include "platform/options.h"
#include "platform/reporter.h"
#include "reach/coefficients.h"
#include "reach/reach.h"
#include "unfold/unfolder.h"
#include "verify/conflicts.h"
#include "support/net_text.h"
#include "verify/deadlock.h"

namespace nurex::fuzz {

namespace {

// One scratch file per process and extension, rewritten for every input.
std::string scratchFile(const char* extension) {
  const char* dir = std::getenv("TMPDIR");
  return std::string(dir && *dir ? dir : "/tmp") + "/nurex_fuzz_" + std::to_string(getpid()) + extension;
}

std::string asFile(const uint8_t* data, size_t size, const char* extension) {
  std::string name = scratchFile(extension);
  if (FILE* f = std::fopen(name.c_str(), "wb")) {
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
  }
  return name;
}

// Diagnostics are the expected outcome of most inputs; they would only slow the fuzzer.
struct Quiet {
  Quiet() {
    std::fflush(stderr);
    std::fflush(stdout);
    saved_err = dup(2);
    saved_out = dup(1);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
    dup2(null, 1);
    close(null);
  }
  ~Quiet() {
    std::fflush(stderr);
    std::fflush(stdout);
    dup2(saved_err, 2);
    dup2(saved_out, 1);
    close(saved_err);
    close(saved_out);
    resetStatus();
  }
  int saved_err, saved_out;
};

uint64_t loaded = 0;

// A reader rejects through the Reporter (no unit, status 2) or loads with a lower status.
void checkStatus(bool read) {
  if (read != (raiseStatus(0) < StatusError)) __builtin_trap();
  resetStatus();
  loaded += read;
}

// A loaded unit is walked throughout, so that a dangling node shows under the sanitizers.
template <class Unit>
void checkRead(const Unit* unit) {
  checkStatus(unit != nullptr);
  if (!unit) return;
  volatile size_t names = computeStatistics(unit->conditions, unit->events).events;
  for (const auto* e : unit->events) names = names + e->transition->name.size();
  for (const auto* c : unit->conditions) names = names + c->place->name.size();
}

// Every net read is also written and read back, and must come back the same: the writer
// prints what -R and -T hand to the user.
int gText(const uint8_t* data, size_t size) {
  Quiet quiet;
  std::string file = asFile(data, size, ".g");
  bool hasSignals = false;
  std::unique_ptr<Stg> first = readStgText(file, &hasSignals);
  std::remove(file.c_str());
  checkStatus(first != nullptr);
  if (!first) return 0;
  std::ostringstream text;
  if (!writeStgText(*first, text)) return 0;
  bool againHasSignals = false;
  std::unique_ptr<Stg> second = parseStgText(text.str(), "written", &againHasSignals);
  // Place names may change (a name the marking would misread gets a fresh one), nothing else.
  std::string before = test::canonicalNet(*first, true, true) + test::canonicalSignals(*first);
  std::string after = second ? test::canonicalNet(*second, true, true) + test::canonicalSignals(*second) : "(not read)";
  if (againHasSignals != hasSignals || after != before) {
    std::string report = "written:\n" + text.str() + "\nread first:\n" + before + "\nread back:\n" + after + "\n";
    if (write(quiet.saved_err, report.data(), report.size()) < 0) {
    }
    __builtin_trap();
  }
  return 0;
}

int mci(const uint8_t* data, size_t size) {
  Quiet quiet;
  std::string file = asFile(data, size, ".mci");
  checkRead(readPrefixMci(file).get());
  checkRead(readStgPrefixMci(file).get());
  std::remove(file.c_str());
  return 0;
}

int mp(const uint8_t* data, size_t size) {
  Quiet quiet;
  std::string file = asFile(data, size, ".mp");
  checkRead(readMergedProcessMp(file).get());
  checkRead(readStgMergedProcessMp(file).get());
  std::remove(file.c_str());
  return 0;
}

int pnmlAs(const uint8_t* data, size_t size, const char* extension) {
  Quiet quiet;
  std::string file = asFile(data, size, extension);
  LoadedUnit unit;
  bool read = readPnmlUnit(file,
                           {"branching_process:low_level_net", "branching_process:STG", "merged_process:low_level_net",
                            "merged_process:STG"},
                           unit);
  if (unit.stgPrefix) checkRead(unit.stgPrefix.get());
  else if (unit.petriNetMergedProcess) checkRead(unit.petriNetMergedProcess.get());
  else if (unit.petriNetPrefix) checkRead(unit.petriNetPrefix.get());
  else if (unit.stgMergedProcess) checkRead(unit.stgMergedProcess.get());
  else checkStatus(read);
  std::remove(file.c_str());
  return 0;
}

int pnml(const uint8_t* data, size_t size) { return pnmlAs(data, size, ".pnml"); }
int pnmlGzip(const uint8_t* data, size_t size) { return pnmlAs(data, size, ".pnml.gz"); }

int reach(const uint8_t* data, size_t size) {
  Quiet quiet;
  parseReachText(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}

// Coefficient expressions are evaluated over an STG's signal counts; a small fixed one serves.
int coefficient(const uint8_t* data, size_t size) {
  Quiet quiet;
  static const std::unique_ptr<Stg> stg = [] {
    const char text[] = ".inputs a b\n.outputs x\n.internal y\n.graph\na+ x+\nx+ b+\nb+ y+\ny+ a-\na- x-\nx- b-\nb- y-\ny- a+\n"
                        ".marking {<y-,a+>}\n.end\n";
    std::string file = asFile(reinterpret_cast<const uint8_t*>(text), sizeof text - 1, ".coeff.g");
    std::unique_ptr<Stg> read = readStgText(file);
    std::remove(file.c_str());
    return read;
  }();
  int32_t value;
  if (stg) evaluateCoefficient(std::string(reinterpret_cast<const char*>(data), size), *stg, value);
  return 0;
}

int genlib(const uint8_t* data, size_t size) {
  GenlibLibrary library;
  std::string error;
  parseGenlib(std::string_view(reinterpret_cast<const char*>(data), size), library, error);
  return 0;
}

// The work of a run grows with the net; a small one keeps every input quick.
constexpr size_t PipelineNodeLimit = 24;

int pipeline(const uint8_t* data, size_t size) {
  Quiet quiet;
  std::string file = asFile(data, size, ".g");
  std::unique_ptr<Stg> stg = readStgText(file);
  std::remove(file.c_str());
  if (!stg || stg->places.size() + stg->transitions.size() > PipelineNodeLimit) return 0;
  auto prefix = std::make_unique<StgPrefix>();
  static_cast<Stg&>(*prefix) = std::move(*stg);
  UnfoldOptions options = reUnfoldingOptions();
  options.number_of_threads = 1;
  if (!unfoldNet(*prefix, options) || !inferSignalValues(*prefix) || !runLoadChecks(*prefix)) return 0;
  OptionMap deadlock;
  deadlock["solver"] = 1;
  makeDeadlockMode(*prefix, deadlock)->run();
  resetStatus();
  OptionMap csc;
  csc["solver"] = 1;
  makeCscMode(*prefix, csc)->run();
  return 0;
}

}  // namespace

const std::vector<FuzzTarget>& fuzzTargets() {
  static const std::vector<FuzzTarget> targets = {
      {"g", gText},     {"mci", mci},     {"mp", mp},           {"pnml", pnml},
      {"pnml_gz", pnmlGzip}, {"reach", reach}, {"coefficient", coefficient}, {"pipeline", pipeline},
      {"genlib", genlib},
  };
  return targets;
}

uint64_t loadedUnits() { return loaded; }

const FuzzTarget* findFuzzTarget(const std::string& name) {
  for (const FuzzTarget& t : fuzzTargets())
    if (name == t.name) return &t;
  return nullptr;
}

}  // namespace nurex::fuzz
