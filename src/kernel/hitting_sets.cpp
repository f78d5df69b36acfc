// All minimal hitting sets by MMCS (Murakami and Uno's minimal-to-minimal depth-first search):
// a partial set grows only while each of its elements still has a critical set, one that it
// alone hits, so every branch stays minimal and no set is reached twice.
#include "kernel/hitting_sets.h"

#include <algorithm>
#include <bit>
#include <string>

#include "platform/reporter.h"

namespace nurex {

namespace {

// The hitting sets of a family can be exponentially many; past this the family is refused.
constexpr size_t MaxHittingSets = size_t{1} << 20;

using Bits = std::vector<uint64_t>;

bool has(const Bits& bits, size_t i) { return (bits[i / 64] >> (i % 64)) & 1; }
void set(Bits& bits, size_t i) { bits[i / 64] |= uint64_t{1} << (i % 64); }
void clear(Bits& bits, size_t i) { bits[i / 64] &= ~(uint64_t{1} << (i % 64)); }
bool none(const Bits& bits) {
  return std::all_of(bits.begin(), bits.end(), [](uint64_t w) { return w == 0; });
}
size_t commonCount(const Bits& a, const Bits& b) {
  size_t n = 0;
  for (size_t w = 0; w < a.size(); ++w) n += static_cast<size_t>(std::popcount(a[w] & b[w]));
  return n;
}
bool subsetOf(const Bits& a, const Bits& b) {
  for (size_t w = 0; w < a.size(); ++w)
    if (a[w] & ~b[w]) return false;
  return true;
}

class Mmcs {
 public:
  // `sets` over elements 0..elements-1, none empty.
  Mmcs(std::vector<Bits> sets, size_t elements) : sets_(std::move(sets)), elements_(elements) {
    size_t words = (sets_.size() + 63) / 64;
    holding_.assign(elements_, Bits(words, 0));
    for (size_t j = 0; j < sets_.size(); ++j)
      for (size_t e = 0; e < elements_; ++e)
        if (has(sets_[j], e)) set(holding_[e], j);
  }

  // False when there are more than MaxHittingSets.
  bool run(std::vector<std::vector<uint32_t>>& out) {
    Bits uncovered((sets_.size() + 63) / 64, 0);
    for (size_t j = 0; j < sets_.size(); ++j) set(uncovered, j);
    Bits candidates((elements_ + 63) / 64, 0);
    for (size_t e = 0; e < elements_; ++e) set(candidates, e);
    std::vector<Bits> critical;
    search(uncovered, candidates, critical, out);
    return !overflow_;
  }

 private:
  // `critical[i]`: the sets that chosen_[i] alone hits.
  void search(const Bits& uncovered, Bits& candidates, const std::vector<Bits>& critical,
              std::vector<std::vector<uint32_t>>& out) {
    if (overflow_) return;
    if (none(uncovered)) {
      if (out.size() == MaxHittingSets) overflow_ = true;
      else out.push_back(chosen_);
      return;
    }
    // The uncovered set with the fewest candidates gives the fewest branches.
    size_t pick = sets_.size(), fewest = elements_ + 1;
    for (size_t j = 0; j < sets_.size(); ++j) {
      if (!has(uncovered, j)) continue;
      size_t n = commonCount(sets_[j], candidates);
      if (n < fewest) pick = j, fewest = n;
    }
    std::vector<uint32_t> branch;
    for (size_t e = 0; e < elements_; ++e)
      if (has(sets_[pick], e) && has(candidates, e)) branch.push_back(static_cast<uint32_t>(e));
    for (uint32_t e : branch) clear(candidates, e);
    for (uint32_t e : branch) {
      std::vector<Bits> next;
      if (keepsCritical(critical, e, next)) {
        Bits own = uncovered, rest = uncovered;
        for (size_t w = 0; w < own.size(); ++w) {
          own[w] &= holding_[e][w];
          rest[w] &= ~holding_[e][w];
        }
        next.push_back(std::move(own));
        chosen_.push_back(e);
        search(rest, candidates, next, out);
        chosen_.pop_back();
      }
      set(candidates, e);  // later branches may take e again
    }
  }

  // Whether every chosen element still alone hits some set once e is added; `next` gets what
  // they then alone hit.
  bool keepsCritical(const std::vector<Bits>& critical, uint32_t e, std::vector<Bits>& next) const {
    for (const Bits& c : critical) {
      Bits kept = c;
      for (size_t w = 0; w < kept.size(); ++w) kept[w] &= ~holding_[e][w];
      if (none(kept)) return false;
      next.push_back(std::move(kept));
    }
    return true;
  }

  std::vector<Bits> sets_;     // over elements
  std::vector<Bits> holding_;  // per element, the sets that hold it
  size_t elements_;
  std::vector<uint32_t> chosen_;
  bool overflow_ = false;
};

// Duplicates and supersets of other sets change no hitting set; smaller sets first.
std::vector<Bits> essentialSets(std::vector<Bits> sets) {
  std::stable_sort(sets.begin(), sets.end(),
                   [](const Bits& a, const Bits& b) { return commonCount(a, a) < commonCount(b, b); });
  std::vector<Bits> kept;
  for (Bits& s : sets)
    if (std::none_of(kept.begin(), kept.end(), [&](const Bits& k) { return subsetOf(k, s); }))
      kept.push_back(std::move(s));
  return kept;
}

}  // namespace

std::vector<std::vector<uint32_t>> minimalHittingSets(const std::vector<std::vector<uint32_t>>& family) {
  // Elements are numbered densely in ascending order.
  std::vector<uint32_t> elements;
  for (const auto& s : family) elements.insert(elements.end(), s.begin(), s.end());
  std::sort(elements.begin(), elements.end());
  elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
  std::vector<Bits> sets;
  for (const auto& s : family) {
    if (s.empty()) return {};
    Bits& bits = sets.emplace_back((elements.size() + 63) / 64, 0);
    for (uint32_t e : s) set(bits, static_cast<size_t>(std::lower_bound(elements.begin(), elements.end(), e) - elements.begin()));
  }
  std::vector<std::vector<uint32_t>> result;
  if (!Mmcs(essentialSets(std::move(sets)), elements.size()).run(result)) {
    reportError("more than " + std::to_string(MaxHittingSets) + " minimal hitting sets");
    return {};
  }
  for (auto& hitting : result) {
    for (uint32_t& e : hitting) e = elements[e];
    std::sort(hitting.begin(), hitting.end());
  }
  std::sort(result.begin(), result.end(), [](const auto& a, const auto& b) {
    return a.size() != b.size() ? a.size() < b.size() : a < b;
  });
  return result;
}

}  // namespace nurex
