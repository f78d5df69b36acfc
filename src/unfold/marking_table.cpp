// Look-up and insertion of final markings.
#include "unfold/marking_table.h"

#include <algorithm>

namespace nurex {

// Same size, and every place of one is in the other; the places of each are distinct.
bool MarkingTable::sameMarking(std::span<const uint32_t> a, std::span<const uint32_t> b) const {
  if (a.size() != b.size()) return false;
  places_.next();
  for (uint32_t p : a) places_.mark(p);
  for (uint32_t p : b)
    if (!places_.has(p)) return false;
  return true;
}

bool MarkingTable::holds(const Record& r, std::span<const uint32_t> marking) const {
  return sameMarking(marking, std::span<const uint32_t>(markings_.data() + r.markingBegin, r.markingSize));
}

uint32_t MarkingTable::find(std::span<const uint32_t> marking, uint64_t hash) const {
  for (uint32_t r = buckets_[hash & BucketMask]; r != NoRecord; r = records_[r].next)
    if (holds(records_[r], marking)) return r;
  return NoRecord;
}

MarkingTable::Record& MarkingTable::insert(std::span<const uint32_t> marking, uint64_t hash) {
  uint32_t found = find(marking, hash);
  if (found != NoRecord) return records_[found];
  Record r;
  r.markingBegin = static_cast<uint32_t>(markings_.size());
  r.markingSize = static_cast<uint32_t>(marking.size());
  markings_.insert(markings_.end(), marking.begin(), marking.end());
  uint32_t& head = buckets_[hash & BucketMask];
  r.next = head;
  head = static_cast<uint32_t>(records_.size());
  records_.push_back(std::move(r));
  return records_.back();
}

}  // namespace nurex
