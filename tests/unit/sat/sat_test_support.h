// Helpers of the SAT-layer tests: solving under temporary units, and reference functions.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

#include "sat/sat_formula.h"

namespace nurex::sat_test {

constexpr int TemporaryGroup = 2;

// Replaces the temporary group by the given units and solves.
inline bool solve_under(SatFormula& formula, std::span<const Literal> units) {
  formula.recreate_group(TemporaryGroup);
  for (Literal l : units) formula.add_unit(l, TemporaryGroup);
  return formula.solve();
}
inline bool solve_under(SatFormula& formula, std::initializer_list<Literal> units) {
  return solve_under(formula, std::span<const Literal>(units.begin(), units.size()));
}

// Units fixing variables to the bits of `value`.
inline std::vector<Literal> fix(std::span<const Literal> variables, uint64_t value) {
  std::vector<Literal> units;
  for (size_t i = 0; i < variables.size(); ++i) units.push_back(variables[i] ^ (((value >> i) & 1) ? 0 : 1));
  return units;
}

inline std::vector<Literal> fresh_literals(SatFormula& formula, size_t count) {
  std::vector<Literal> literals;
  for (size_t i = 0; i < count; ++i) literals.push_back(formula.new_literal(false));
  return literals;
}

// The value of a literal when the variables hold the bits of `assignment`.
inline bool literal_value(Literal l, uint64_t assignment) {
  if (l == LiteralTrue) return true;
  if (l == LiteralFalse) return false;
  return (((assignment >> variable_of(l)) & 1) != 0) != is_negated(l);
}

// Small deterministic generator, independent of the library's distributions.
struct Random {
  uint64_t state;
  explicit Random(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15ull + 1) {}
  uint64_t next() {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state;
  }
  uint64_t below(uint64_t n) { return next() % n; }
};

constexpr int Solvers[] = {0, 1};

// Satisfiability with the inputs fixed and a defined literal forced to `out`, as each
// polarity demands: +1 keeps output => function, -1 function => output, 0 both.
inline bool expected_sat(Polarity polarity, bool function, bool out) {
  if (polarity == 1) return !out || function;
  if (polarity == -1) return out || !function;
  return out == function;
}

}  // namespace nurex::sat_test
