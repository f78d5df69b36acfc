// Test support: what the equations of a CSC-free STG must satisfy, read off its counted
// states, and a brute-force exact two-level minimiser over a few variables to price them.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "model/net.h"
#include "support/stg_states.h"

namespace nurex::test {

// Codes are bit masks over signal indices (bit i: signal i is 1); every STG used here has
// fewer than 64 non-dummy signals.
using Code = uint64_t;

// The derived function of one signal: 0 complex gate (next state), 1 SET, 2 RESET.
enum class Role { Next, Set, Reset };

// The distinct codes where a function must be 1 and must be 0, ascending.
struct Requirement {
  std::vector<Code> on, off;
};

// -E: 1 where the implied next value is 1 and 0 where it is 0. gC (`standardC` false): SET
// is 1 where z is rising and 0 where the next value is 0; RESET dually. Standard C: SET is 1
// exactly where z is rising and 0 on every other state; RESET dually.
Requirement requirementOf(const std::vector<CountedState>& states, const Signal& z, Role role, bool standardC);

// No code is required to be both 1 and 0 once projected onto the signals of `support`.
bool validSupport(const Requirement& r, Code support);
// Valid, and invalid without any one of its signals.
bool minimalSupport(const Requirement& r, Code support);
// Every minimal valid support among the subsets of `candidates` (at most 16 signals), ascending.
std::vector<Code> allMinimalSupports(const Requirement& r, Code candidates);

// A sum of products over signal indices: a cube is (care mask, value mask).
struct OracleCube {
  Code care = 0, value = 0;
};
bool evaluate(const std::vector<OracleCube>& sop, Code code);

// The fewest literals of a sum of products over exactly the signals of `support` (at most
// 6) that is 1 on every ON code and 0 on every OFF code after projection; nullopt if the
// support is not valid or the exact search went past its budget.
std::optional<uint64_t> minimumLiterals(const Requirement& r, Code support);

}  // namespace nurex::test
