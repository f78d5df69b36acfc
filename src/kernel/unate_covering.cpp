// Branch-and-bound unate covering: the classic reductions (essential columns, row dominance,
// column dominance) to a cyclic core, a lower bound from pairwise independent rows, and
// branching over the columns of the shortest row; a greedy cover is the first incumbent.
#include "kernel/unate_covering.h"

#include <algorithm>
#include <numeric>

namespace nurex {

namespace {

using Rows = std::vector<std::vector<uint32_t>>;

std::vector<uint32_t> intersect(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b) {
  std::vector<uint32_t> out;
  std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out));
  return out;
}

// The elements that lie in every one of `lists` (given by index into `of`); `steps` counts
// the entries looked at.
std::vector<uint32_t> commonElements(const std::vector<uint32_t>& lists, const Rows& of, uint64_t& steps) {
  std::vector<uint32_t> common = of[lists[0]];
  for (size_t k = 1; k < lists.size() && common.size() > 1; ++k) {
    steps += common.size() + of[lists[k]].size();
    common = intersect(common, of[lists[k]]);
  }
  return common;
}

std::vector<uint32_t> rowsByLength(const Rows& rows) {
  std::vector<uint32_t> order(rows.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return rows[a].size() < rows[b].size(); });
  return order;
}

template <typename Drop>
void eraseRows(Rows& rows, Drop drop) {
  size_t kept = 0;
  for (size_t r = 0; r < rows.size(); ++r) {
    if (drop(r)) continue;
    if (kept != r) rows[kept] = std::move(rows[r]);
    ++kept;
  }
  rows.resize(kept);
}

// Entries of the matrix looked at that cost the budget as much as one search node, so that
// nodes over a large matrix count as several.
constexpr uint64_t StepsPerNode = 256;

uint64_t entries(const Rows& rows) {
  uint64_t n = 0;
  for (const auto& row : rows) n += row.size();
  return n;
}

class BranchAndBound {
 public:
  BranchAndBound(const std::vector<uint32_t>& weights, uint64_t max_nodes)
      : weights_(weights), max_nodes_(max_nodes), slot_(weights.size()), seen_(weights.size(), 0) {}

  CoveringResult run(Rows rows) {
    CoveringResult result;
    std::vector<uint32_t> chosen;
    uint64_t cost = 0;
    if (!reduce(rows, chosen, cost)) {
      result.feasible = false;
      return result;
    }
    best_ = chosen;
    best_cost_ = cost;
    for (uint32_t column : greedyCover(rows)) {
      best_.push_back(column);
      best_cost_ += weights_[column];
    }
    search(std::move(rows), std::move(chosen), cost);
    std::sort(best_.begin(), best_.end());
    result.columns = best_;
    result.exact = !cut_;
    return result;
  }

 private:
  // The columns that occur in rows, in order of first occurrence, with the rows of each;
  // slot_ maps back. The lists keep their capacity from node to node.
  void index(const Rows& rows) {
    ++generation_;
    columns_.clear();
    steps_ += 2 * entries(rows);
    for (const auto& row : rows)
      for (uint32_t c : row)
        if (seen_[c] != generation_) {
          seen_[c] = generation_;
          slot_[c] = static_cast<uint32_t>(columns_.size());
          columns_.push_back(c);
        }
    if (rows_of_.size() < columns_.size()) rows_of_.resize(columns_.size());
    for (size_t i = 0; i < columns_.size(); ++i) rows_of_[i].clear();
    for (uint32_t r = 0; r < rows.size(); ++r)
      for (uint32_t c : rows[r]) rows_of_[slot_[c]].push_back(r);
  }

  bool reduce(Rows& rows, std::vector<uint32_t>& chosen, uint64_t& cost) {
    for (;;) {
      int essentials = takeEssentials(rows, chosen, cost);
      if (essentials < 0) return false;
      if (rows.empty()) return true;
      bool changed = removeDominatedRows(rows);
      changed |= removeDominatedColumns(rows);
      if (!changed && essentials == 0) return true;
    }
  }

  // A row with one column forces it. -1 if a row has no column left.
  int takeEssentials(Rows& rows, std::vector<uint32_t>& chosen, uint64_t& cost) {
    ++generation_;
    bool any = false;
    for (const auto& row : rows) {
      if (row.empty()) return -1;
      if (row.size() == 1 && seen_[row[0]] != generation_) {
        seen_[row[0]] = generation_;
        chosen.push_back(row[0]);
        cost += weights_[row[0]];
        any = true;
      }
    }
    if (!any) return 0;
    eraseRows(rows, [&](size_t r) {
      return std::any_of(rows[r].begin(), rows[r].end(), [&](uint32_t c) { return seen_[c] == generation_; });
    });
    return 1;
  }

  // A row whose columns include all of another row's is met whenever that one is.
  bool removeDominatedRows(Rows& rows) {
    index(rows);
    std::vector<char> removed(rows.size(), 0);
    bool any = false;
    for (uint32_t r : rowsByLength(rows)) {
      if (removed[r]) continue;
      std::vector<uint32_t> slots;
      for (uint32_t c : rows[r]) slots.push_back(slot_[c]);
      for (uint32_t s : commonElements(slots, rows_of_, steps_))
        if (s != r && !removed[s]) removed[s] = any = true;
    }
    if (any) eraseRows(rows, [&](size_t r) { return removed[r] != 0; });
    return any;
  }

  // A column whose rows all lie in the rows of a column no heavier can be dropped.
  bool removeDominatedColumns(Rows& rows) {
    index(rows);
    std::vector<char> removed(columns_.size(), 0);
    bool any = false;
    for (size_t i = 0; i < columns_.size(); ++i) {
      uint32_t c = columns_[i];
      for (uint32_t d : commonElements(rows_of_[i], rows, steps_)) {
        if (d != c && !removed[slot_[d]] && weights_[d] <= weights_[c]) {
          removed[i] = any = true;
          break;
        }
      }
    }
    if (!any) return false;
    for (auto& row : rows) std::erase_if(row, [&](uint32_t c) { return removed[slot_[c]] != 0; });
    return true;
  }

  // Rows that share no column need distinct columns, each at least its row's lightest.
  uint64_t lowerBound(const Rows& rows) {
    ++generation_;
    uint64_t bound = 0;
    for (uint32_t r : rowsByLength(rows)) {
      const auto& row = rows[r];
      if (std::any_of(row.begin(), row.end(), [&](uint32_t c) { return seen_[c] == generation_; })) continue;
      uint32_t lightest = weights_[row[0]];
      for (uint32_t c : row) {
        lightest = std::min(lightest, weights_[c]);
        seen_[c] = generation_;
      }
      bound += lightest;
    }
    return bound;
  }

  // Most rows per weight first, then columns that became redundant are dropped, latest first.
  std::vector<uint32_t> greedyCover(const Rows& rows) {
    index(rows);
    std::vector<uint64_t> count(columns_.size());
    for (size_t i = 0; i < columns_.size(); ++i) count[i] = rows_of_[i].size();
    std::vector<char> covered(rows.size(), 0);
    size_t remaining = rows.size();
    std::vector<uint32_t> picked;  // slots
    while (remaining > 0) {
      size_t best = columns_.size();
      for (size_t i = 0; i < columns_.size(); ++i) {
        if (count[i] == 0) continue;
        if (best == columns_.size() || count[i] * weights_[columns_[best]] > count[best] * weights_[columns_[i]]) best = i;
      }
      picked.push_back(static_cast<uint32_t>(best));
      for (uint32_t r : rows_of_[best]) {
        if (covered[r]) continue;
        covered[r] = 1;
        --remaining;
        for (uint32_t c : rows[r]) --count[slot_[c]];
      }
    }
    std::vector<uint32_t> times(rows.size(), 0);
    for (uint32_t i : picked)
      for (uint32_t r : rows_of_[i]) ++times[r];
    std::vector<uint32_t> result;
    for (auto i = picked.rbegin(); i != picked.rend(); ++i) {
      const auto& its = rows_of_[*i];
      if (std::all_of(its.begin(), its.end(), [&](uint32_t r) { return times[r] > 1; })) {
        for (uint32_t r : its) --times[r];
      } else {
        result.push_back(columns_[*i]);
      }
    }
    return result;
  }

  // Some column of the shortest row is in every cover; branch i takes its i-th column and
  // excludes the ones before it, so no cover is visited twice.
  void search(Rows rows, std::vector<uint32_t> chosen, uint64_t cost) {
    if (cut_) return;
    steps_ += entries(rows);
    if (++nodes_ + steps_ / StepsPerNode > max_nodes_) {
      cut_ = true;
      return;
    }
    if (!reduce(rows, chosen, cost) || cost >= best_cost_) return;
    if (rows.empty()) {
      best_ = chosen;
      best_cost_ = cost;
      return;
    }
    if (cost + lowerBound(rows) >= best_cost_) return;
    std::vector<uint32_t> branch = branchColumns(rows);
    for (size_t i = 0; i < branch.size() && !cut_; ++i) {
      std::vector<uint32_t> excluded(branch.begin(), branch.begin() + static_cast<long>(i));
      std::sort(excluded.begin(), excluded.end());
      Rows next;
      bool feasible = true;
      for (const auto& row : rows) {
        if (std::binary_search(row.begin(), row.end(), branch[i])) continue;
        std::vector<uint32_t> rest;
        std::set_difference(row.begin(), row.end(), excluded.begin(), excluded.end(), std::back_inserter(rest));
        if (rest.empty()) {
          feasible = false;
          break;
        }
        next.push_back(std::move(rest));
      }
      if (!feasible) continue;
      std::vector<uint32_t> with = chosen;
      with.push_back(branch[i]);
      search(std::move(next), std::move(with), cost + weights_[branch[i]]);
    }
  }

  // The columns of the shortest row, lightest first, then those in more rows.
  std::vector<uint32_t> branchColumns(const Rows& rows) {
    const auto& shortest = rows[rowsByLength(rows)[0]];
    index(rows);
    std::vector<uint32_t> branch = shortest;
    std::stable_sort(branch.begin(), branch.end(), [&](uint32_t a, uint32_t b) {
      if (weights_[a] != weights_[b]) return weights_[a] < weights_[b];
      return rows_of_[slot_[a]].size() > rows_of_[slot_[b]].size();
    });
    return branch;
  }

  const std::vector<uint32_t>& weights_;
  uint64_t max_nodes_, nodes_ = 0, steps_ = 0;
  bool cut_ = false;
  std::vector<uint32_t> best_;
  uint64_t best_cost_ = 0;
  // Scratch of index() and of the marking passes, reused across nodes.
  std::vector<uint32_t> columns_, slot_, seen_;
  Rows rows_of_;
  uint32_t generation_ = 0;
};

}  // namespace

CoveringResult minimumCover(const CoveringMatrix& matrix, uint64_t max_nodes) {
  Rows rows = matrix.rows;
  for (auto& row : rows) {
    std::sort(row.begin(), row.end());
    row.erase(std::unique(row.begin(), row.end()), row.end());
  }
  return BranchAndBound(matrix.weights, max_nodes).run(std::move(rows));
}

}  // namespace nurex
