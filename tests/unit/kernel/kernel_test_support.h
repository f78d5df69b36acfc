// Helpers of the kernel tests: functions over a few BDD variables as truth tables, random sums
// of products, and evaluation of a sum of products without BDDs.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "kernel/bdd_cover.h"

namespace nurex::kernel_test {

// Bit m of a table is the value at minterm m; bit j of m is the value of variables[j].
inline bdd tableToBdd(uint64_t table, const std::vector<uint32_t>& variables) {
  ensureBddVariables(variables.back() + 1);
  bdd result = bddfalse;
  for (uint64_t m = 0; m < (uint64_t{1} << variables.size()); ++m) {
    if (!(table >> m & 1)) continue;
    bdd minterm = bddtrue;
    for (size_t j = 0; j < variables.size(); ++j)
      minterm &= (m >> j & 1) ? bdd_ithvar(static_cast<int>(variables[j])) : bdd_nithvar(static_cast<int>(variables[j]));
    result |= minterm;
  }
  return result;
}

// The table of a sum of products over `variables`; a literal of another variable fails the test.
inline uint64_t sopTable(const SumOfProducts& sop, const std::vector<uint32_t>& variables) {
  uint64_t table = 0;
  for (uint64_t m = 0; m < (uint64_t{1} << variables.size()); ++m) {
    bool value = std::any_of(sop.begin(), sop.end(), [&](const Cube& cube) {
      return std::all_of(cube.begin(), cube.end(), [&](const CubeLiteral& literal) {
        auto at = std::find(variables.begin(), variables.end(), literal.variable);
        if (at == variables.end()) {
          ADD_FAILURE() << "literal of v" << literal.variable << " outside the support";
          return false;
        }
        return ((m >> (at - variables.begin())) & 1) == (literal.positive ? 1u : 0u);
      });
    });
    if (value) table |= uint64_t{1} << m;
  }
  return table;
}

inline BddCover coverOf(const bdd& on, const bdd& off, const std::vector<uint32_t>& support = {}) {
  BddCover cover;
  cover.on = on;
  cover.off = off;
  cover.support = support;
  return cover;
}

// Distinct variables drawn from 0..range-1, ascending.
inline std::vector<uint32_t> randomVariables(std::mt19937& random, uint32_t count, uint32_t range) {
  std::vector<uint32_t> all(range);
  for (uint32_t v = 0; v < range; ++v) all[v] = v;
  std::shuffle(all.begin(), all.end(), random);
  all.resize(count);
  std::sort(all.begin(), all.end());
  return all;
}

inline Cube randomCube(std::mt19937& random, const std::vector<uint32_t>& variables, uint32_t literals) {
  Cube cube;
  for (uint32_t v : randomVariables(random, literals, static_cast<uint32_t>(variables.size())))
    cube.push_back({variables[v], random() % 2 == 0});
  return cube;
}

}  // namespace nurex::kernel_test
