// Mode dispatch: the table of eleven entries, the loaders of the mode groups, and the
// handler tables per mode and unit kind.
#include <cstdio>

#include "driver/checkers.h"
#include "driver/command_line.h"
#include "driver/mode_frame.h"
#include "driver/race.h"
#include "model/loaders.h"
#include "platform/reporter.h"
#include "platform/system.h"

namespace nurex {

template <class U>
void runHandlerFrame(U& unit, OptionMap options, ModeFactory<U> makeChecker) {
  printStatistics(unit);
  if constexpr (U::NetType::isStg) evaluateCoefficientsOf(unit, options);
  if (raiseStatus(0) >= StatusError) return;
  if (!makeChecker) {
    reportError("This mode is currently not supported");
    return;
  }
  std::unique_ptr<SearchModeBase> checker = makeChecker(unit, options);
  double start = monotonicSeconds();
  checker->run();
  double stop = monotonicSeconds();
  if (!claimAnswer()) return;
  if (raiseStatus(0) >= StatusError) {
    if (raiseStatus(0) < StatusOutOfMemory) checker->describe_failure();
    return;
  }
  checker->describe();
  checker->print_statistics();
  printTo(stdout, "\n SAT/Total time: %.2f/%.2f", globalSatTime, stop - start);
}

namespace {

template <int Mode>
struct ModeVisitor {
  template <class U>
  static void run(U& unit, OptionMap options) {
    runHandlerFrame<U>(unit, options, checkerFactory<Mode, U>());
  }
};

template <class Unit, int Mode>
void loadAndRun(Unit* (*load)(const std::string&), const OptionMap& options) {
  Unit* unit = load(runStrings.inputFileName);
  if (unit && raiseStatus(0) < StatusError) {
    static constexpr auto handlers = Unit::template tableOf<ModeVisitor<Mode>, void, OptionMap>();
    unit->visit(handlers, OptionMap(options));
  }
  delete unit;
}

template <int Mode>
void prefixEntry(const OptionMap& options) {
  if constexpr (Mode == 1) loadAndRun<DeadlockUnit, Mode>(loadDeadlockUnit, options);
  else if constexpr (Mode == 2) loadAndRun<ReachUnit, Mode>(loadReachUnit, options);
  else loadAndRun<StgUnit, Mode>(loadStgUnit, options);
}

template <int Mode>
void modeEntry(const OptionMap& options) {
  if (explicitEngineApplies(options)) runEngines(options, &prefixEntry<Mode>);
  else prefixEntry<Mode>(options);
}

using ModeEntryFunction = void (*)(const OptionMap&);
// Index 0 and anything behind 11 are null: the parser cannot produce them, but the check stays.
const ModeEntryFunction modeEntries[ModeCount + 2] = {
    nullptr,        &modeEntry<1>, &modeEntry<2>, &modeEntry<3>, &modeEntry<4>,  &modeEntry<5>, &modeEntry<6>,
    &modeEntry<7>, &modeEntry<8>, &modeEntry<9>, &modeEntry<10>, &modeEntry<11>, nullptr};

}  // namespace

void runMode(const OptionMap& options) {
  int32_t mode = options["mode"];
  ModeEntryFunction entry = mode >= 0 && mode <= ModeCount + 1 ? modeEntries[mode] : nullptr;
  if (!entry) {
    reportError("This mode is currently not supported");
    return;
  }
  entry(options);
}

}  // namespace nurex
