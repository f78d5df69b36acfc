// Look-up and insertion of final markings.
#include "unfold/marking_table.h"

namespace nurex {

MarkingTable::Record* MarkingTable::find(const std::vector<uint32_t>& marking, uint64_t hash) {
  for (Record& record : buckets_[hash & BucketMask])
    if (record.marking == marking) return &record;
  return nullptr;
}

MarkingTable::Record& MarkingTable::insert(const std::vector<uint32_t>& marking, uint64_t hash) {
  if (Record* found = find(marking, hash)) return *found;
  std::vector<Record>& bucket = buckets_[hash & BucketMask];
  bucket.emplace_back();
  bucket.back().marking = marking;
  ++records_;
  return bucket.back();
}

}  // namespace nurex
