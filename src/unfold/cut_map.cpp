// Persistent maps from places to conditions: look-up, path-copying change, release.
#include "unfold/cut_map.h"

namespace nurex {

uint64_t placeWord(uint32_t place) {
  uint64_t z = (place + 1) * 0x9E3779B97F4A7C15ull;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

CutMap::CutMap(uint32_t placeCount) {
  for (uint64_t covered = 16; covered < placeCount; covered *= 16) ++levels_;
}

CutMap::Node* CutMap::newNode(uint32_t level) {
  Node* n = new Node;
  for (uint32_t i = 0; i < 16; ++i) {
    if (level == 0) n->conditions[i] = None;
    else n->children[i] = nullptr;
  }
  return n;
}

CutMap::Node* CutMap::clone(const Node* n, uint32_t level) {
  Node* copy = new Node;
  for (uint32_t i = 0; i < 16; ++i) {
    if (level == 0) {
      copy->conditions[i] = n->conditions[i];
    } else {
      copy->children[i] = n->children[i];
      retain(copy->children[i]);
    }
  }
  return copy;
}

void CutMap::release(Node* n, uint32_t level) {
  if (!n || n->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  if (level > 0)
    for (Node* child : n->children) release(child, level - 1);
  delete n;
}

uint32_t CutMap::get(uint32_t place) const {
  const Node* n = root_;
  for (uint32_t level = levels_; n && level > 0; --level) n = n->children[slot(place, level)];
  return n ? n->conditions[place & 15] : None;
}

// A node that only this map reaches (one reference, from a parent that is also only ours)
// is changed in place; any other is copied first.
void CutMap::set(uint32_t place, uint32_t entry) {
  if (get(place) == entry) return;
  Node** link = &root_;
  for (uint32_t level = levels_;; --level) {
    Node* n = *link;
    if (!n) {
      n = *link = newNode(level);
    } else if (n->refs.load(std::memory_order_acquire) != 1) {
      Node* copy = clone(n, level);
      release(n, level);
      n = *link = copy;
    }
    if (level == 0) break;
    link = &n->children[slot(place, level)];
  }
  uint32_t& slotEntry = (*link)->conditions[place & 15];
  if (!marks(slotEntry) && marks(entry)) {
    ++size_;
    sum_ += placeWord(place);
  } else if (marks(slotEntry) && !marks(entry)) {
    --size_;
    sum_ -= placeWord(place);
  }
  slotEntry = entry;
}

}  // namespace nurex
