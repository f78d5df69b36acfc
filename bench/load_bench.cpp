// Loading benchmark: wall time (median of several loads) and peak resident memory for the
// largest benchmark prefixes and for generated chain prefixes of growing size, per format.
// Usage: bench_load_bench [runs [file...]]; with files, only those are measured.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "model/formats/readers.h"
#include "model/formats/writers.h"
#include "platform/reporter.h"

using namespace nurex;
namespace fs = std::filesystem;

namespace {

const std::vector<std::string> AllTypes = {"branching_process:low_level_net", "branching_process:STG",
                                           "merged_process:low_level_net", "merged_process:STG"};

// Loads the file once and returns its event count, or -1.
long loadOnce(const std::string& path) {
  if (path.size() > 4 && path.compare(path.size() - 4, 4, ".mci") == 0) {
    auto prefix = readPrefixMci(path);
    return prefix ? long(prefix->events.size()) : -1;
  }
  LoadedUnit unit;
  if (!readPnmlUnit(path, AllTypes, unit)) return -1;
  if (unit.petriNetPrefix) return unit.petriNetPrefix->events.size();
  if (unit.stgPrefix) return unit.stgPrefix->events.size();
  return 0;
}

long peakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Each file is measured in a child process of its own, so that peaks do not mix.
void measure(const std::string& path, int runs) {
  std::fflush(stdout);
  pid_t child = fork();
  if (child != 0) {
    int status;
    waitpid(child, &status, 0);
    return;
  }
  std::freopen("/dev/null", "w", stderr);  // the legacy format's deprecation warning
  long before = peakKilobytes();
  std::vector<double> seconds;
  long events = 0;
  for (int i = 0; i < runs; ++i) {
    auto start = std::chrono::steady_clock::now();
    events = loadOnce(path);
    seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(seconds.begin(), seconds.end());
  std::printf("%-28s %10ju %9ld %10.2f %10.2f %9.1f\n", fs::path(path).filename().c_str(), uintmax_t(fs::file_size(path)),
              events, seconds[seconds.size() / 2] * 1e3, seconds.front() * 1e3, (peakKilobytes() - before) / 1024.0);
  std::fflush(stdout);
  _exit(0);
}

// A chain c0 -e0-> c1 -e1-> ... over a ring of 16 places, the last event a cut-off.
PetriNetPrefix chainPrefix(uint32_t events) {
  PetriNetPrefix prefix;
  prefix.name = "chain";
  const uint32_t ring = 16;
  for (uint32_t i = 0; i < ring; ++i) {
    prefix.places.add(new Place)->name = std::string(1, 'p').append(std::to_string(i));
    prefix.transitions.add(new Transition)->name = std::string(1, 't').append(std::to_string(i));
  }
  for (uint32_t i = 0; i < ring; ++i) {
    addPlaceArc(prefix.places[i], prefix.transitions[i]);
    addTransitionArc(prefix.transitions[i], prefix.places[(i + 1) % ring]);
  }
  prefix.places[0]->tokens = 1;
  Condition* c = prefix.conditions.add(new Condition);
  c->place = prefix.places[0];
  for (uint32_t i = 0; i < events; ++i) {
    Event* e = prefix.events.add(new Event);
    e->transition = prefix.transitions[i % ring];
    e->preset.push_back(c);
    c->postset.push_back(e);
    c = prefix.conditions.add(new Condition);
    c->place = prefix.places[(i + 1) % ring];
    c->producer = e;
    e->postset.push_back(c);
  }
  prefix.events.back()->correspondent.setInitialState();
  return prefix;
}

// The chain prefixes are made and written by a child, so that the measuring process never
// held them and their memory does not hide in the peaks.
void writeChainFiles(const fs::path& scratch, uint32_t size) {
  std::fflush(stdout);
  pid_t child = fork();
  if (child != 0) {
    int status;
    waitpid(child, &status, 0);
    return;
  }
  std::freopen("/dev/null", "w", stderr);
  PetriNetPrefix prefix = chainPrefix(size);
  std::string stem = (scratch / ("chain_" + std::to_string(size))).string();
  writeUnitPnml(prefix, stem + ".pnml");
  writeUnitPnml(prefix, stem + ".pnml.gz");
  std::ofstream out(stem + ".mci", std::ios::binary);
  writePrefixMci(prefix, out);
  out.close();
  _exit(0);
}

}  // namespace

int main(int argc, char** argv) {
  int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
  std::printf("%-28s %10s %9s %10s %10s %9s\n", "file", "bytes", "|E|", "median ms", "min ms", "peak MB");
  if (argc > 2) {
    for (int i = 2; i < argc; ++i) measure(argv[i], runs);
    return 0;
  }
  fs::path benchmarks = fs::path(__FILE__).parent_path().parent_path() / "benchmarks" / "prefixes";
  for (const char* name : {"dph_5.pnml", "dpd_5.pnml.gz", "rw_6.pnml.gz", "cdp.mci", "gcd.pnml"})
    measure((benchmarks / name).string(), runs);
  fs::path scratch = fs::temp_directory_path() / ("nurex_load_bench_" + std::to_string(getpid()));
  fs::create_directories(scratch);
  for (uint32_t size : {10000u, 100000u, 1000000u}) {
    writeChainFiles(scratch, size);
    for (const char* extension : {".pnml", ".pnml.gz", ".mci"})
      measure((scratch / ("chain_" + std::to_string(size) + extension)).string(), size >= 1000000u ? 3 : runs);
  }
  fs::remove_all(scratch);
  return 0;
}
