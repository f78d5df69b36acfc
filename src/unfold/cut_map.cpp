// Persistent maps from places to conditions: look-up, copying change, release.
#include "unfold/cut_map.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>

#include "unfold/node_pool.h"

namespace nurex {

uint32_t placeWord(uint32_t place) {
  uint64_t z = (place + 1) * 0x9E3779B97F4A7C15ull;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return static_cast<uint32_t>(z ^ (z >> 31));
}

namespace {

constexpr uint32_t LeafClass = 1, InnerClass = 4;
constexpr uint32_t HeaderBytes = 8;

constexpr uint32_t capacityOf(uint32_t sizeClass) { return (node_pool::classBytes[sizeClass] - HeaderBytes) / 8; }

// The smallest class whose sparse node holds n pairs.
uint32_t classFor(uint32_t n) {
  uint32_t k = 0;
  while (capacityOf(k) < n) ++k;
  return k;
}

static_assert(node_pool::classBytes[LeafClass] == HeaderBytes + 16 + 16 * sizeof(uint32_t));
static_assert(node_pool::classBytes[InnerClass] == HeaderBytes + 16 + 16 * sizeof(void*));
static_assert(capacityOf(node_pool::ClassCount - 1) >= CutMap::SparseLimit);

}  // namespace

CutMap::CutMap(uint32_t placeCount, const std::vector<uint32_t>* weights) : weights_(weights) {
  static_assert(sizeof(Node) == HeaderBytes && sizeof(Totals) == 16);
  for (uint64_t covered = 16; covered < placeCount; covered *= 16) ++levels_;
}

CutMap::Node* CutMap::allocate(uint32_t sizeClass) {
  Node* n = new (node_pool::take(sizeClass)) Node;
  n->sizeClass = static_cast<uint8_t>(sizeClass);
  return n;
}

CutMap::Node* CutMap::newTreeNode(uint32_t level) {
  Node* n = allocate(level == 0 ? LeafClass : InnerClass);
  totals(n) = Totals{NoOwner, 0, 0, 0};
  for (uint32_t i = 0; i < 16; ++i) {
    if (level == 0) leaf(n)[i] = None;
    else children(n)[i] = nullptr;
  }
  return n;
}

CutMap::Node* CutMap::cloneTreeNode(const Node* n, uint32_t level) {
  Node* copy = allocate(n->sizeClass);
  totals(copy) = totals(n);
  if (level == 0) {
    std::memcpy(leaf(copy), leaf(n), 16 * sizeof(uint32_t));
  } else {
    std::memcpy(children(copy), children(n), 16 * sizeof(Node*));
    for (uint32_t i = 0; i < 16; ++i) retain(children(copy)[i]);
  }
  return copy;
}

void CutMap::pinTree(Node* n, uint32_t level) {
  if (!n) return;
  assert(n->refs.load() == 1);
  n->refs.store(PinnedRefs, std::memory_order_relaxed);
  if (!n->sparse && level > 0)
    for (uint32_t i = 0; i < 16; ++i) pinTree(children(n)[i], level - 1);
}

void CutMap::freePinned(Node* n, uint32_t level) {
  if (!n) return;
  if (!n->sparse && level > 0)
    for (uint32_t i = 0; i < 16; ++i) freePinned(children(n)[i], level - 1);
  uint32_t sizeClass = n->sizeClass;
  n->~Node();
  node_pool::give(n, sizeClass);
}

PinnedCut::PinnedCut(CutMap map) : map_(std::move(map)) { CutMap::pinTree(map_.root_, map_.levels_); }

PinnedCut::~PinnedCut() {
  CutMap::freePinned(map_.root_, map_.levels_);
  map_.root_ = nullptr;
}

void CutMap::release(Node* n, uint32_t level) {
  if (!n || pinned(n) || n->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  if (!n->sparse && level > 0)
    for (uint32_t i = 0; i < 16; ++i) release(children(n)[i], level - 1);
  uint32_t sizeClass = n->sizeClass;
  n->~Node();
  node_pool::give(n, sizeClass);
}

uint32_t CutMap::sparseGet(const Node* n, uint32_t place) {
  Pairs all = pairsOf(n);
  const uint64_t* it = std::lower_bound(all.first, all.last, pair(place, 0));
  return it != all.last && placeOf(*it) == place ? entryOf(*it) : None;
}

uint32_t CutMap::treeGet(uint32_t place) const {
  const Node* n = root_;
  for (uint32_t level = levels_; n && level > 0; --level) n = children(n)[slot(place, level)];
  return n ? leaf(n)[place & 15] : None;
}

void CutMap::set(uint32_t place, uint32_t entry) {
  uint32_t old;
  if (!root_ || root_->sparse) {
    if (!sparseSet(place, entry, old)) {
      becomeTree();
      treeSet(place, old, entry);
    }
  } else {
    old = treeGet(place);
    if (old == entry) return;
    treeSet(place, old, entry);
  }
  account(place, old, entry);
}

// The array and the changes merged into a new array; a tree, or an array that might grow
// past the limit, takes the changes one by one.
void CutMap::setMany(std::span<const uint64_t> changes) {
  Pairs all = pairsOf(root_);
  uint32_t bound = static_cast<uint32_t>((all.last - all.first) + changes.size());
  if ((root_ && !root_->sparse) || bound > SparseLimit) {
    for (uint64_t change : changes) set(placeOf(change), entryOf(change));
    return;
  }
  if (changes.empty()) return;
  Node* merged = allocate(classFor(bound));
  merged->sparse = true;
  uint64_t* out = pairs(merged);
  const uint64_t* x = all.first;
  for (uint64_t change : changes) {
    uint32_t place = placeOf(change);
    while (x != all.last && placeOf(*x) < place) *out++ = *x++;
    uint32_t old = None;
    if (x != all.last && placeOf(*x) == place) old = entryOf(*x++);
    if (entryOf(change) != None) *out++ = change;
    account(place, old, entryOf(change));
  }
  while (x != all.last) *out++ = *x++;
  merged->count = static_cast<uint16_t>(out - pairs(merged));
  release(root_, levels_);
  root_ = merged;
}

// A node that only this map holds and that has room is changed in place; any other is
// copied with the change.
bool CutMap::sparseSet(uint32_t place, uint32_t entry, uint32_t& old) {
  Node* n = root_;
  Pairs all = pairsOf(n);
  uint32_t count = static_cast<uint32_t>(all.last - all.first);
  uint32_t at = static_cast<uint32_t>(std::lower_bound(all.first, all.last, pair(place, 0)) - all.first);
  bool found = at < count && placeOf(all.first[at]) == place;
  old = found ? entryOf(all.first[at]) : None;
  if (old == entry) return true;
  uint32_t newCount = entry == None ? count - 1 : count + !found;
  if (newCount > SparseLimit) return false;
  uint32_t rest = count - at - found;  // pairs after the place
  if (n && n->refs.load(std::memory_order_acquire) == 1 && capacityOf(n->sizeClass) >= newCount) {
    uint64_t* p = pairs(n);
    if (entry == None) std::memmove(p + at, p + at + 1, rest * 8);
    else if (!found) std::memmove(p + at + 1, p + at, rest * 8);
    if (entry != None) p[at] = pair(place, entry);
    n->count = static_cast<uint16_t>(newCount);
    return true;
  }
  Node* copy = allocate(classFor(newCount));
  copy->sparse = true;
  copy->count = static_cast<uint16_t>(newCount);
  uint64_t* p = pairs(copy);
  std::copy_n(all.first, at, p);
  if (entry != None) p[at] = pair(place, entry);
  std::copy_n(all.first + at + found, rest, p + at + (entry != None));
  release(n, levels_);
  root_ = copy;
  return true;
}

// A node that only this map reaches (one reference, from a parent that is also only ours)
// is changed in place; any other is copied first. The totals along the path follow the
// change from `old`.
void CutMap::treeSet(uint32_t place, uint32_t old, uint32_t entry) {
  int32_t marked = int32_t(marks(entry)) - int32_t(marks(old));
  uint32_t sum = marked == 0 ? 0 : marked > 0 ? placeWord(place) : 0 - placeWord(place);
  uint32_t weight = weightOf(entry) - weightOf(old);
  Node** link = &root_;
  for (uint32_t level = levels_;; --level) {
    Node* n = *link;
    if (!n) {
      n = *link = newTreeNode(level);
      totals(n).owner = owner_;
    } else if (n->refs.load(std::memory_order_acquire) != 1) {
      Node* copy = cloneTreeNode(n, level);
      totals(copy).owner = owner_;
      release(n, level);
      n = *link = copy;
    } else {
      totals(n).owner = owner_;
    }
    Totals& t = totals(n);
    t.marked += marked;
    t.sum += sum;
    t.weight += weight;
    if (level == 0) break;
    link = &children(n)[slot(place, level)];
  }
  leaf(*link)[place & 15] = entry;
}

void CutMap::totalLeaf(Node* n, uint32_t base) const {
  Totals& t = totals(n);
  t.marked = 0, t.sum = 0, t.weight = 0;
  for (uint32_t i = 0; i < 16; ++i) {
    uint32_t entry = leaf(n)[i];
    if (marks(entry)) ++t.marked, t.sum += placeWord((base << 4) + i);
    t.weight += weightOf(entry);
  }
}

void CutMap::totalInner(Node* n) {
  Totals& t = totals(n);
  t.marked = 0, t.sum = 0, t.weight = 0;
  for (uint32_t i = 0; i < 16; ++i)
    if (const Node* c = children(n)[i]) t.marked += totals(c).marked, t.sum += totals(c).sum, t.weight += totals(c).weight;
}

void CutMap::becomeTree() {
  Node* array = root_;
  root_ = nullptr;
  for (uint64_t at : pairsOf(array)) treeSet(placeOf(at), None, entryOf(at));
  release(array, levels_);
}

CutMap::Pairs CutMap::expand(const Node* tree, uint32_t levels, std::vector<uint64_t>& out) {
  out.clear();
  auto add = [&out](uint32_t place, uint32_t entry) { out.push_back(pair(place, entry)); };
  visitEntries(tree, levels, 0, add);
  return {out.data(), out.data() + out.size()};
}

}  // namespace nurex
