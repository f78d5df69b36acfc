// Prime implicants of an upper bound that meet a lower bound (Coudert–Madre recursion on the
// BDD, kept to the primes that matter for covering), and minterm enumeration.
#include <algorithm>

#include "kernel/two_level_parts.h"

namespace nurex {

LocalVariables::LocalVariables(const bdd& set) : set_(set) {
  for (bdd rest = set; rest != bddtrue && rest != bddfalse; rest = bdd_high(rest)) levels_.push_back(levelOf(rest));
}

size_t LocalVariables::localAt(int level) const {
  return static_cast<size_t>(std::lower_bound(levels_.begin(), levels_.end(), level) - levels_.begin());
}

Cube LocalVariables::toCube(const LocalCube& cube) const {
  Cube result;
  for (size_t i = 0; i < levels_.size(); ++i) {
    uint64_t bit = uint64_t{1} << i;
    if ((cube.positive | cube.negative) & bit)
      result.push_back({static_cast<uint32_t>(bdd_level2var(levels_[i])), (cube.positive & bit) != 0});
  }
  std::sort(result.begin(), result.end(), [](const CubeLiteral& a, const CubeLiteral& b) { return a.variable < b.variable; });
  return result;
}

namespace {

// Pairs visited before the recursion gives up, whatever the prime counts.
constexpr size_t MaxMemoEntries = 1 << 18;

// With f = !x f0 + x f1, the primes of f are those of f0 f1, and !x p (x p) for each prime p
// of f0 (f1) that is not a prime of f0 f1. A prime without x meets L when it meets L0 + L1, and
// a prime of f0 that meets L0 and is also one of f0 f1 meets L0 + L1, so the difference can be
// taken on the restricted lists.
class PrimeGenerator {
 public:
  PrimeGenerator(const LocalVariables& variables, uint32_t limit) : variables_(variables), limit_(limit) {}

  std::optional<std::vector<LocalCube>> run(const bdd& upper, const bdd& lower) {
    std::vector<LocalCube> result = primes(upper, lower);
    if (overflow_) return std::nullopt;
    return result;
  }

 private:
  const std::vector<LocalCube>& primes(const bdd& upper, const bdd& lower) {
    if (overflow_ || upper == bddfalse || lower == bddfalse) return none_;
    if (upper == bddtrue) return universe_;
    if (const std::vector<LocalCube>* known = memo_.find(upper, lower)) return *known;
    PairSplit split(upper, lower);
    const bdd &upper0 = split.first0, &upper1 = split.first1, &lower0 = split.second0, &lower1 = split.second1;
    const std::vector<LocalCube>& shared = primes(upper0 & upper1, lower0 | lower1);
    const std::vector<LocalCube>& low = primes(upper0, lower0);
    const std::vector<LocalCube>& high = primes(upper1, lower1);
    if (overflow_) return none_;
    uint64_t bit = uint64_t{1} << variables_.localAt(split.level);
    std::vector<LocalCube> result = shared;
    addWithLiteral(result, low, shared, LocalCube{0, bit});
    addWithLiteral(result, high, shared, LocalCube{bit, 0});
    std::sort(result.begin(), result.end());
    if (result.size() > limit_ || memo_.size() >= MaxMemoEntries) {
      overflow_ = true;
      return none_;
    }
    return memo_.store(upper, lower, std::move(result));
  }

  static void addWithLiteral(std::vector<LocalCube>& result, const std::vector<LocalCube>& primes,
                             const std::vector<LocalCube>& shared, LocalCube literal) {
    for (const LocalCube& p : primes) {
      if (std::binary_search(shared.begin(), shared.end(), p)) continue;
      result.push_back({p.positive | literal.positive, p.negative | literal.negative});
    }
  }

  const LocalVariables& variables_;
  uint32_t limit_;
  bool overflow_ = false;
  const std::vector<LocalCube> none_, universe_{LocalCube{}};
  PairMemo<std::vector<LocalCube>> memo_;
};

void enumerate(const bdd& f, const LocalVariables& variables, size_t index, uint64_t minterm,
               std::vector<uint64_t>& out) {
  if (f == bddfalse) return;
  if (index == variables.size()) {
    out.push_back(minterm);
    return;
  }
  int level = variables.level(index);
  enumerate(lowAt(f, level), variables, index + 1, minterm, out);
  enumerate(highAt(f, level), variables, index + 1, minterm | uint64_t{1} << index, out);
}

}  // namespace

std::optional<std::vector<LocalCube>> primesMeeting(const bdd& upper, const bdd& lower, const LocalVariables& variables,
                                                    uint32_t limit) {
  return PrimeGenerator(variables, limit).run(upper, lower);
}

std::optional<std::vector<uint64_t>> mintermsOf(const bdd& f, const LocalVariables& variables, uint32_t limit) {
  if (bdd_satcountset(f, variables.set()) > static_cast<double>(limit)) return std::nullopt;
  std::vector<uint64_t> out;
  enumerate(f, variables, 0, 0, out);
  return out;
}

}  // namespace nurex
