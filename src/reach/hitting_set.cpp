// Greedy hitting set: elements sit in buckets by the number of unmet sets they meet, kept as
// linked lists so that an element moves down in constant time and keeps its place in line.
#include "reach/hitting_set.h"

#include <algorithm>
#include <unordered_map>

#include "platform/reporter.h"

namespace nurex {

namespace {

constexpr uint32_t None = 0xFFFFFFFFu;

struct Record {
  uint32_t element;
  std::vector<uint32_t> sets;  // unmet sets that hold the element
  uint32_t count = 0;          // how many of them are still unmet
  uint32_t previous = None, next = None;
  bool taken = false;
};

class Buckets {
 public:
  Buckets(std::vector<Record>& records, uint32_t top) : records_(records), head_(top + 1, None), tail_(top + 1, None) {}

  void append(uint32_t r) {
    Record& rec = records_[r];
    uint32_t b = rec.count;
    rec.previous = tail_[b];
    rec.next = None;
    if (tail_[b] != None) records_[tail_[b]].next = r;
    else head_[b] = r;
    tail_[b] = r;
  }
  void remove(uint32_t r) {
    Record& rec = records_[r];
    uint32_t b = rec.count;
    if (rec.previous != None) records_[rec.previous].next = rec.next;
    else head_[b] = rec.next;
    if (rec.next != None) records_[rec.next].previous = rec.previous;
    else tail_[b] = rec.previous;
  }
  uint32_t last(uint32_t b) const { return tail_[b]; }

 private:
  std::vector<Record>& records_;
  std::vector<uint32_t> head_, tail_;
};

}  // namespace

std::vector<uint32_t> greedyHittingSet(const std::vector<std::vector<uint32_t>>& sets, const std::vector<bool>& chosen) {
  if (verbosity >= 5) printTo(stdout, "\n Computing Hitting Set of %u non-singleton sets", static_cast<unsigned>(sets.size()));
  std::vector<Record> records;
  std::unordered_map<uint32_t, uint32_t> recordOf;
  std::vector<std::vector<uint32_t>> members(sets.size());  // records of each unmet set
  std::vector<bool> met(sets.size(), true);
  size_t unmet = 0;
  for (size_t i = 0; i < sets.size(); ++i) {
    bool hit = std::any_of(sets[i].begin(), sets[i].end(), [&](uint32_t e) { return e < chosen.size() && chosen[e]; });
    if (hit || sets[i].empty()) continue;
    met[i] = false;
    ++unmet;
    for (uint32_t e : sets[i]) {
      auto [it, fresh] = recordOf.emplace(e, static_cast<uint32_t>(records.size()));
      if (fresh) records.push_back({e, {}});
      Record& rec = records[it->second];
      if (!rec.sets.empty() && rec.sets.back() == i) continue;  // repeated within the set
      rec.sets.push_back(static_cast<uint32_t>(i));
      ++rec.count;
      members[i].push_back(it->second);
    }
  }
  uint32_t high = 0;
  for (const Record& rec : records) high = std::max(high, rec.count);
  Buckets buckets(records, high);
  for (uint32_t r = 0; r < records.size(); ++r) buckets.append(r);

  std::vector<uint32_t> result;
  while (unmet > 0) {
    while (high > 0 && buckets.last(high) == None) --high;
    if (high == 0) break;
    uint32_t r = buckets.last(high);
    buckets.remove(r);
    records[r].taken = true;
    result.push_back(records[r].element);
    for (uint32_t set : records[r].sets) {
      if (met[set]) continue;
      met[set] = true;
      --unmet;
      for (uint32_t other : members[set]) {
        if (records[other].taken) continue;
        buckets.remove(other);
        --records[other].count;
        buckets.append(other);
      }
    }
  }
  if (verbosity >= 5) printTo(stdout, "\n The cardinality of the computed Hitting Set is %u", static_cast<unsigned>(result.size()));
  return result;
}

}  // namespace nurex
