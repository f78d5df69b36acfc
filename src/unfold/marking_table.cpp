// Insertion of final markings, and the comparison of markings given as cuts.
#include "unfold/marking_table.h"

namespace nurex {

MarkingTable::Record& MarkingTable::add(uint64_t hash, uint32_t size) {
  Record r;
  r.hash = hash;
  r.size = size;
  uint32_t& head = buckets_[hash & BucketMask];
  r.next = head;
  head = static_cast<uint32_t>(records_.size());
  records_.push_back(std::move(r));
  return records_.back();
}

void MarkingTable::keep(Record& record, std::span<const uint32_t> places) {
  if (places.size() > KeptPlacesLimit || places.size() != record.size) return;
  record.places = static_cast<uint32_t>(places_.size());
  places_.insert(places_.end(), places.begin(), places.end());
}

namespace {
bool inPostset(const Transition* t, uint32_t place) {
  if (t)
    for (const Place* p : t->postset)
      if (p->index == place) return true;
  return false;
}
}  // namespace

bool sameMarking(const CutMap& a, const Transition* ta, const CutMap& b, const Transition* tb) {
  auto marked = [](const CutMap& cut, const Transition* t, uint32_t p) {
    return CutMap::marks(cut.get(p)) || inPostset(t, p);
  };
  bool same = true;
  CutMap::forEachDifference(a, b, [&](uint32_t p, uint32_t x, uint32_t y) {
    if (same) same = (CutMap::marks(x) || inPostset(ta, p)) == (CutMap::marks(y) || inPostset(tb, p));
  });
  if (ta)
    for (const Place* p : ta->postset) same = same && marked(b, tb, p->index);
  if (tb)
    for (const Place* p : tb->postset) same = same && marked(a, ta, p->index);
  return same;
}

}  // namespace nurex
