// Test support: requirements of the derived functions at the counted states, supports by
// brute force, and exact minimisation by prime implicants and a memoised covering search.
#include "equation_oracle.h"

#include <algorithm>
#include <bit>
#include <unordered_map>

namespace nurex::test {

namespace {

Code codeOf(const CountedState& s) {
  Code code = 0;
  for (size_t i = 0; i < s.code.size(); ++i)
    if (s.code[i]) code |= Code{1} << i;
  return code;
}

void sortUnique(std::vector<Code>& codes) {
  std::sort(codes.begin(), codes.end());
  codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
}

std::vector<uint32_t> bitsOf(Code mask) {
  std::vector<uint32_t> bits;
  for (uint32_t i = 0; i < 64; ++i)
    if (mask >> i & 1) bits.push_back(i);
  return bits;
}

struct Prime {
  uint64_t minterms;  // the points of the cube among the 2^k local codes
  uint32_t literals;
};

// The minimum weight of primes covering `uncovered`, branching on its lowest point;
// memoised on the uncovered set, which makes it exact dynamic programming.
class CoverSearch {
 public:
  explicit CoverSearch(std::vector<Prime> primes) : primes_(std::move(primes)) {}

  std::optional<uint64_t> solve(uint64_t uncovered) {
    if (uncovered == 0) return 0;
    if (auto it = memo_.find(uncovered); it != memo_.end()) return it->second;
    if (memo_.size() > 2000000) return std::nullopt;
    uint64_t point = uncovered & (~uncovered + 1);
    uint64_t best = UINT64_MAX;
    for (const Prime& p : primes_) {
      if (!(p.minterms & point)) continue;
      std::optional<uint64_t> rest = solve(uncovered & ~p.minterms);
      if (!rest) return std::nullopt;
      best = std::min(best, p.literals + *rest);
    }
    memo_.emplace(uncovered, best);
    return best;
  }

 private:
  std::vector<Prime> primes_;
  std::unordered_map<uint64_t, uint64_t> memo_;
};

}  // namespace

Requirement requirementOf(const std::vector<CountedState>& states, const Signal& z, Role role, bool standardC) {
  Requirement r;
  for (const CountedState& s : states) {
    bool c = s.code[z.index] != 0, e = s.excited[z.index] != 0, next = c != e;
    bool on = false, off = false;
    switch (role) {
      case Role::Next: on = next, off = !next; break;
      case Role::Set: on = !c && e, off = !on && (standardC || !next); break;
      case Role::Reset: on = c && e, off = !on && (standardC || next); break;
    }
    if (on) r.on.push_back(codeOf(s));
    if (off) r.off.push_back(codeOf(s));
  }
  sortUnique(r.on);
  sortUnique(r.off);
  return r;
}

bool validSupport(const Requirement& r, Code support) {
  std::vector<Code> on;
  for (Code c : r.on) on.push_back(c & support);
  sortUnique(on);
  return std::none_of(r.off.begin(), r.off.end(),
                      [&](Code c) { return std::binary_search(on.begin(), on.end(), c & support); });
}

bool minimalSupport(const Requirement& r, Code support) {
  if (!validSupport(r, support)) return false;
  for (uint32_t i : bitsOf(support))
    if (validSupport(r, support & ~(Code{1} << i))) return false;
  return true;
}

std::vector<Code> allMinimalSupports(const Requirement& r, Code candidates) {
  std::vector<uint32_t> bits = bitsOf(candidates);
  size_t n = bits.size();
  std::vector<bool> valid(size_t{1} << n);
  auto toCode = [&](size_t subset) {
    Code code = 0;
    for (size_t j = 0; j < n; ++j)
      if (subset >> j & 1) code |= Code{1} << bits[j];
    return code;
  };
  for (size_t subset = 0; subset < valid.size(); ++subset) valid[subset] = validSupport(r, toCode(subset));
  std::vector<Code> minimal;
  for (size_t subset = 0; subset < valid.size(); ++subset) {
    if (!valid[subset]) continue;
    bool dropOne = false;
    for (size_t j = 0; j < n; ++j) dropOne |= (subset >> j & 1) && valid[subset & ~(size_t{1} << j)];
    if (!dropOne) minimal.push_back(toCode(subset));
  }
  std::sort(minimal.begin(), minimal.end());
  return minimal;
}

bool evaluate(const std::vector<OracleCube>& sop, Code code) {
  return std::any_of(sop.begin(), sop.end(), [&](const OracleCube& c) { return (code & c.care) == c.value; });
}

std::optional<uint64_t> minimumLiterals(const Requirement& r, Code support) {
  std::vector<uint32_t> vars = bitsOf(support);
  uint32_t k = vars.size();
  if (k > 6 || !validSupport(r, support)) return std::nullopt;
  auto local = [&](Code code) {
    uint32_t point = 0;
    for (uint32_t j = 0; j < k; ++j)
      if (code >> vars[j] & 1) point |= 1u << j;
    return point;
  };
  uint64_t on = 0, off = 0;
  for (Code c : r.on) on |= uint64_t{1} << local(c);
  for (Code c : r.off) off |= uint64_t{1} << local(c);
  uint32_t points = 1u << k;
  auto mintermsOf = [&](uint32_t care, uint32_t value) {
    uint64_t m = 0;
    for (uint32_t p = 0; p < points; ++p)
      if ((p & care) == value) m |= uint64_t{1} << p;
    return m;
  };
  auto implicant = [&](uint32_t care, uint32_t value) { return (mintermsOf(care, value) & off) == 0; };
  std::vector<Prime> primes;
  for (uint32_t care = 0; care < points; ++care)
    for (uint32_t value = care;; value = (value - 1) & care) {
      if (implicant(care, value)) {
        bool prime = true;
        for (uint32_t j = 0; j < k && prime; ++j)
          if (care >> j & 1) prime = !implicant(care & ~(1u << j), value & ~(1u << j));
        uint64_t m = mintermsOf(care, value);
        if (prime && (m & on)) primes.push_back({m, static_cast<uint32_t>(std::popcount(care))});
      }
      if (value == 0) break;
    }
  return CoverSearch(std::move(primes)).solve(on);
}

}  // namespace nurex::test
