// The minimiser's fallback beyond its limits: a Minato–Morreale irredundant sum of products
// between ON and NOT OFF, each cube expanded to a prime, then an irredundant selection.
#include <algorithm>

#include "kernel/two_level_parts.h"

namespace nurex {

namespace {

// ISOP(L, U) for L <= U: the cubes that need !x are found from L0 & !U1 within U0, those that
// need x likewise, and what the two leave uncovered from L within U0 & U1, without x.
class Isop {
 public:
  struct Result {
    SumOfProducts cubes;
    bdd function;
  };

  const Result& run(const bdd& lower, const bdd& upper) {
    if (lower == bddfalse) return none_;
    if (upper == bddtrue) return universe_;
    if (const Result* known = memo_.find(lower, upper)) return *known;
    PairSplit split(lower, upper);
    const bdd &lower0 = split.first0, &lower1 = split.first1, &upper0 = split.second0, &upper1 = split.second1;
    const Result& negative = run(lower0 & !upper1, upper0);
    const Result& positive = run(lower1 & !upper0, upper1);
    const Result& shared = run((lower0 & !negative.function) | (lower1 & !positive.function), upper0 & upper1);
    int variable = bdd_level2var(split.level);
    Result result;
    result.function = (bdd_nithvar(variable) & negative.function) | (bdd_ithvar(variable) & positive.function) |
                      shared.function;
    prefixed(result.cubes, negative.cubes, {static_cast<uint32_t>(variable), false});
    prefixed(result.cubes, positive.cubes, {static_cast<uint32_t>(variable), true});
    result.cubes.insert(result.cubes.end(), shared.cubes.begin(), shared.cubes.end());
    return memo_.store(lower, upper, std::move(result));
  }

 private:
  // Variables below `literal` in the order come later in each cube.
  static void prefixed(SumOfProducts& out, const SumOfProducts& cubes, CubeLiteral literal) {
    for (const Cube& cube : cubes) {
      Cube with{literal};
      with.insert(with.end(), cube.begin(), cube.end());
      out.push_back(std::move(with));
    }
  }

  const Result none_{{}, bddfalse}, universe_{{Cube{}}, bddtrue};
  PairMemo<Result> memo_;
};

// Drops literals in cube order while the cube stays clear of OFF.
Cube expandToPrime(Cube cube, const bdd& off) {
  for (size_t i = 0; i < cube.size();) {
    Cube wider = cube;
    wider.erase(wider.begin() + static_cast<long>(i));
    if ((cubeToBdd(wider) & off) == bddfalse) cube = std::move(wider);
    else ++i;
  }
  return cube;
}

bool costlierFirst(const Cube& a, const Cube& b) {
  if (a.size() != b.size()) return a.size() > b.size();
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](const CubeLiteral& x, const CubeLiteral& y) {
    return x.variable != y.variable ? x.variable < y.variable : x.positive > y.positive;
  });
}

}  // namespace

SumOfProducts heuristicCover(const bdd& on, const bdd& off) {
  SumOfProducts cubes = Isop().run(on, !off).cubes;
  for (Cube& cube : cubes) cube = expandToPrime(std::move(cube), off);
  std::sort(cubes.begin(), cubes.end(), costlierFirst);
  cubes.erase(std::unique(cubes.begin(), cubes.end()), cubes.end());
  // Costly cubes go first: one is dropped when the ON part it covers is covered by the cubes
  // kept so far and those still to come; every ON point stays covered by kept or later cubes.
  std::vector<bdd> later(cubes.size() + 1, bddfalse);
  for (size_t i = cubes.size(); i-- > 0;) later[i] = later[i + 1] | cubeToBdd(cubes[i]);
  bdd kept = bddfalse;
  SumOfProducts result;
  for (size_t i = 0; i < cubes.size(); ++i) {
    bdd cube = cubeToBdd(cubes[i]);
    if ((on & cube & !(kept | later[i + 1])) == bddfalse) continue;
    kept |= cube;
    result.push_back(std::move(cubes[i]));
  }
  return result;
}

}  // namespace nurex
