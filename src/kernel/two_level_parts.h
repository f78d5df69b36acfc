// The pieces of the two-level minimiser: cubes over a local numbering of at most 64 variables,
// prime generation, minterm enumeration and the heuristic cover.
#pragma once

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "kernel/bdd_cover.h"

namespace nurex {

// Bit i stands for the i-th variable of a LocalVariables numbering.
struct LocalCube {
  uint64_t positive = 0, negative = 0;
  auto operator<=>(const LocalCube&) const = default;
  uint32_t literals() const { return static_cast<uint32_t>(std::popcount(positive | negative)); }
  bool contains(uint64_t minterm) const { return (minterm & positive) == positive && (minterm & negative) == 0; }
};

// The variables of a problem in BDD level order; a variable's local number is its position.
class LocalVariables {
 public:
  // `set` is a BuDDy variable set (a conjunction of positive literals).
  explicit LocalVariables(const bdd& set);
  size_t size() const { return levels_.size(); }
  int level(size_t local) const { return levels_[local]; }
  const bdd& set() const { return set_; }
  // The local number of the variable at `level`, which must be one of the set.
  size_t localAt(int level) const;
  Cube toCube(const LocalCube& cube) const;

 private:
  std::vector<int> levels_;
  bdd set_;
};

// Levels of BuDDy's order, so that a reordering could not break the recursions.
inline int levelOf(const bdd& f) {
  return f == bddtrue || f == bddfalse ? INT_MAX : bdd_var2level(bdd_var(f));
}
inline bdd lowAt(const bdd& f, int level) { return levelOf(f) == level ? bdd_low(f) : f; }
inline bdd highAt(const bdd& f, int level) { return levelOf(f) == level ? bdd_high(f) : f; }

// The cofactors of two BDDs at the topmost variable of either.
struct PairSplit {
  PairSplit(const bdd& first, const bdd& second)
      : level(std::min(levelOf(first), levelOf(second))),
        first0(lowAt(first, level)),
        first1(highAt(first, level)),
        second0(lowAt(second, level)),
        second1(highAt(second, level)) {}
  int level;
  bdd first0, first1, second0, second1;
};

// Results of a recursion over pairs of BDDs. The pairs stay referenced so that their node
// numbers are not reused while the memo lives; references to results stay valid as it grows.
template <typename Result>
class PairMemo {
 public:
  const Result* find(const bdd& a, const bdd& b) const {
    auto found = map_.find(key(a, b));
    return found == map_.end() ? nullptr : &found->second;
  }
  const Result& store(const bdd& a, const bdd& b, Result result) {
    kept_.push_back(a);
    kept_.push_back(b);
    return map_.emplace(key(a, b), std::move(result)).first->second;
  }
  size_t size() const { return map_.size(); }

 private:
  static uint64_t key(const bdd& a, const bdd& b) {
    return static_cast<uint64_t>(static_cast<uint32_t>(a.id())) << 32 | static_cast<uint32_t>(b.id());
  }
  std::unordered_map<uint64_t, Result> map_;
  std::vector<bdd> kept_;
};

// The primes of `upper` that meet `lower`, ascending; nullopt once more than `limit` turn up.
std::optional<std::vector<LocalCube>> primesMeeting(const bdd& upper, const bdd& lower, const LocalVariables& variables,
                                                    uint32_t limit);
// The minterms of `f` over the variables; nullopt if there are more than `limit`.
std::optional<std::vector<uint64_t>> mintermsOf(const bdd& f, const LocalVariables& variables, uint32_t limit);

// An irredundant cover of primes of NOT off that covers on, without a size limit.
SumOfProducts heuristicCover(const bdd& on, const bdd& off);

}  // namespace nurex
