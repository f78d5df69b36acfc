// Literals of an STG's signals after a configuration: the signal code, excitation and
// next-state value, built over the ConfigurationVariables of one record.
#pragma once

#include <vector>

#include "model/checks.h"
#include "sat/configuration.h"

namespace nurex {

using StgConfiguration = ConfigurationVariables<StgPrefix>;

// True for output and internal signals, whose excitation a circuit must implement.
inline bool isLocalSignal(const Signal* s) { return s->kind == SignalOutput || s->kind == SignalInternal; }

// All literals are exact (gates in both directions): a gate that folds into its only child
// is cached as that child, and a child built in one direction would then be taken for exact.
class SignalEncoding {
 public:
  // Builds the phase records of every non-dummy signal; `ok` is false after the
  // inconsistency error. With `via_dummies`, a signal is excited also when one of its
  // events becomes enabled after dummy events that can fire.
  SignalEncoding(const StgPrefix& prefix, bool via_dummies);
  bool ok() const { return ok_; }

  // The signal is 1 after the configuration: some rise that no following fall cancelled.
  // Dummy signals have no code and read as FALSE.
  Literal code(StgConfiguration& record, const Signal* s);
  // Some event of the signal, cut-offs included, is enabled at the end (through dummies).
  Literal enabled(StgConfiguration& record, const Signal* s);
  // Code exclusive-or excitation: the value the signal is heading for.
  Literal next(StgConfiguration& record, const Signal* s);
  // The event is enabled at the end of the configuration (through dummies).
  Literal event_enabled(StgConfiguration& record, const Event* e);

  const bool via_dummies;

 private:
  const StgPrefix& prefix_;
  std::vector<std::vector<SignalPhaseRecord>> phases_;  // by signal index
  std::vector<std::vector<const Event*>> events_;       // events of each signal, cut-offs included
  bool ok_ = true;
};

}  // namespace nurex
