// The process-wide BuDDy manager: made on first use, variables added on demand, and BuDDy's
// errors turned into the system's own messages.
#pragma once

#include <bdd.h>  // BuDDy's C++ interface: a `bdd` value counts its references

#include <cstdint>
#include <stdexcept>

namespace nurex {

// Thrown by the error hook after the error has been reported; caught by the kernel entry
// points, never beyond them.
struct BddError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Makes the manager on first use; on failure reports "failed to create a BDD manager" and
// ends the process with status 5.
void bddManager();
// At least `count` variables exist afterwards (variable i stands for signal i). Both throw
// BddError after a report, as BuDDy's operators do, past BuDDy's 2^21 - 1 variables.
void ensureBddVariables(uint32_t count);
// The variable, made if needed.
bdd bddVariable(uint32_t index);

}  // namespace nurex
