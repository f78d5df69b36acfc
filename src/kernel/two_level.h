// Two-level minimisation: a sum of products with the fewest literals between ON and NOT OFF.
#pragma once

#include <optional>

#include "kernel/bdd_cover.h"

namespace nurex {

struct MinimiserLimits {
  uint32_t max_primes = 20000;         // above this many primes the cover is found heuristically
  uint32_t max_rows = 20000;           // ON minterms the exact covering step may handle
  uint64_t max_branch_nodes = 200000;  // branch-and-bound budget before the best cover so far is kept
};

// A sum of products F over the cover's support with ON <= F and F & OFF = 0 (combinational
// form), minimal in literal count when the limits allow an exact search. Never returns a
// cover that meets OFF or misses ON; nullopt only after a BDD error has been reported.
std::optional<SumOfProducts> minimiseCover(const BddCover& cover, const MinimiserLimits& limits = {});

}  // namespace nurex
