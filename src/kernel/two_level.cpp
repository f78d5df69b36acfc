// Two-level minimisation of a cover: exact (primes and unate covering) within the limits, the
// heuristic cover beyond them, and a BDD check of every result.
#include "kernel/two_level.h"

#include <algorithm>
#include <bit>
#include <unordered_map>

#include "kernel/two_level_parts.h"
#include "kernel/unate_covering.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

bool literalBefore(const CubeLiteral& a, const CubeLiteral& b) {
  return a.variable != b.variable ? a.variable < b.variable : a.positive > b.positive;
}

// Cubes by their literals, variable by variable, a positive literal before a negative one.
void sortCubes(SumOfProducts& sop) {
  for (Cube& cube : sop) std::sort(cube.begin(), cube.end(), literalBefore);
  std::sort(sop.begin(), sop.end(), [](const Cube& a, const Cube& b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), literalBefore);
  });
}

// Rows are the ON minterms, columns the primes. A prime with few free variables finds its
// rows by listing its own minterms, one with many by testing each row.
CoveringMatrix coveringMatrix(const std::vector<LocalCube>& primes, const std::vector<uint64_t>& minterms,
                              size_t variableCount) {
  CoveringMatrix matrix;
  matrix.rows.resize(minterms.size());
  std::unordered_map<uint64_t, uint32_t> rowOf;
  for (uint32_t r = 0; r < minterms.size(); ++r) rowOf.emplace(minterms[r], r);
  uint64_t all = variableCount == 64 ? ~uint64_t{0} : (uint64_t{1} << variableCount) - 1;
  for (uint32_t p = 0; p < primes.size(); ++p) {
    const LocalCube& prime = primes[p];
    matrix.weights.push_back(prime.literals());
    uint64_t free = all & ~(prime.positive | prime.negative);
    if (static_cast<size_t>(std::popcount(free)) < 64 && uint64_t{1} << std::popcount(free) <= minterms.size()) {
      for (uint64_t part = free;; part = (part - 1) & free) {
        if (auto found = rowOf.find(prime.positive | part); found != rowOf.end()) matrix.rows[found->second].push_back(p);
        if (part == 0) break;
      }
    } else {
      for (uint32_t r = 0; r < minterms.size(); ++r)
        if (prime.contains(minterms[r])) matrix.rows[r].push_back(p);
    }
  }
  return matrix;
}

// A least-literal cover made of the primes of NOT off that meet on, or nullopt when the
// problem is beyond the limits.
std::optional<SumOfProducts> exactCover(const bdd& on, const bdd& off, const LocalVariables& variables,
                                        const MinimiserLimits& limits) {
  if (variables.size() > 64) return std::nullopt;
  std::optional<std::vector<LocalCube>> primes = primesMeeting(!off, on, variables, limits.max_primes);
  if (!primes) return std::nullopt;
  std::optional<std::vector<uint64_t>> minterms = mintermsOf(on, variables, limits.max_rows);
  if (!minterms) return std::nullopt;
  CoveringMatrix matrix = coveringMatrix(*primes, *minterms, variables.size());
  CoveringResult chosen = minimumCover(matrix, limits.max_branch_nodes);
  if (!chosen.feasible) return std::nullopt;
  SumOfProducts result;
  for (uint32_t p : chosen.columns) result.push_back(variables.toCube((*primes)[p]));
  return result;
}

SumOfProducts minimise(bdd on, const bdd& off, const MinimiserLimits& limits) {
  if (on == bddfalse) return {};
  if (off == bddfalse) return {Cube{}};
  // Primes of NOT off use only the variables of off; ON is widened over the others, which
  // changes nothing for a cover that does not read them.
  bdd offSupport = bddSupport(off);
  on = bdd_exist(on, bdd_exist(bddSupport(on), offSupport));
  LocalVariables variables(offSupport);
  if (std::optional<SumOfProducts> exact = exactCover(on, off, variables, limits)) return *exact;
  return heuristicCover(on, off);
}

}  // namespace

std::optional<SumOfProducts> minimiseCover(const BddCover& cover, const MinimiserLimits& limits) {
  try {
    bddManager();
    // A sequential cover must be 1 where the signal is excited to rise or stable at 1.
    bdd on = cover.sequential ? cover.er_plus | cover.qr_plus : cover.on;
    bdd off = cover.sequential ? cover.er_minus | cover.qr_minus : cover.off;
    if ((on & off) != bddfalse) {
      reportError("internal error in the two-level minimiser: the ON and OFF sets of a cover overlap");
      return std::nullopt;
    }
    SumOfProducts result = minimise(on, off, limits);
    sortCubes(result);
    bdd function = sopToBdd(result);
    if ((on & !function) != bddfalse || (function & off) != bddfalse) {
      reportError("internal error in the two-level minimiser: the result does not lie between ON and NOT OFF");
      return std::nullopt;
    }
    return result;
  } catch (const BddError&) {
    return std::nullopt;  // reported by the error hook
  }
}

}  // namespace nurex
