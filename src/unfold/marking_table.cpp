// Look-up and insertion of final markings.
#include "unfold/marking_table.h"

#include <algorithm>

namespace nurex {

bool MarkingTable::holds(const Record& r, std::span<const uint32_t> marking) const {
  return r.markingSize == marking.size() &&
         std::equal(marking.begin(), marking.end(), places_.begin() + r.markingBegin);
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
  r.markingBegin = static_cast<uint32_t>(places_.size());
  r.markingSize = static_cast<uint32_t>(marking.size());
  places_.insert(places_.end(), marking.begin(), marking.end());
  uint32_t& head = buckets_[hash & BucketMask];
  r.next = head;
  head = static_cast<uint32_t>(records_.size());
  records_.push_back(std::move(r));
  return records_.back();
}

}  // namespace nurex
