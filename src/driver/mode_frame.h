// The frame that every (mode, unit kind) handler runs in, and the checker interface of modes.
#pragma once

#include <memory>

#include "model/net_unit.h"
#include "platform/options.h"

namespace nurex {

// What a mode's checker offers the frame; the mode classes are the polymorphic ones.
class ModeChecker {
 public:
  virtual ~ModeChecker() = default;
  virtual void run() = 0;
  // The verdict and the solutions, through the results writer.
  virtual void writeVerdict() = 0;
  virtual void printSolverStatistics() = 0;
  // Seconds spent in SAT solving during run().
  virtual double satSeconds() const = 0;
};

// Runs one mode on a loaded unit: statistics, coefficients (STG units), checker, verdict, times.
// A null checker means the mode has no implementation for this kind of unit.
template <class U>
void runHandlerFrame(U& unit, OptionMap options, std::unique_ptr<ModeChecker> (*makeChecker)(U&, const OptionMap&));

// Entry of the mode table: load, dispatch by tag, destroy.
void runMode(const OptionMap& options);

}  // namespace nurex
