// Cuts as persistent maps from places to conditions: a cut derived from another by a few
// changes shares all the rest with it, so describing a candidate costs what it changes.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace nurex {

// One pseudo-random word per place; a marking hashes to the sum of its places' words.
uint64_t placeWord(uint32_t place);

// A map of few entries is one sorted array of (place, entry) pairs, copied whole on a
// change: small cuts cost a copy of a few hundred bytes where a tree would copy several
// paths of nodes. Past SparseLimit entries it becomes a radix tree of 16-way nodes over
// place numbers, copied along the path of a change only where another map still uses it.
// Nodes are shared between maps; the reference counts are atomic because the maps of one
// pass are derived from each other by several threads.
// A place maps to the condition that marks it or, flagged Consumed, to a condition that
// was on it and is consumed (a mark of how far the place's history goes); only the
// former count as marked.
class CutMap {
 public:
  static constexpr uint32_t None = 0xFFFFFFFFu;
  static constexpr uint32_t Consumed = 0x80000000u;
  static constexpr uint32_t SparseLimit = 128;
  static bool marks(uint32_t entry) { return entry < Consumed; }

  CutMap() = default;
  explicit CutMap(uint32_t placeCount);
  CutMap(const CutMap& other) : root_(other.root_), levels_(other.levels_), size_(other.size_), sum_(other.sum_) {
    retain(root_);
  }
  CutMap(CutMap&& other) noexcept { swap(other); }
  CutMap& operator=(CutMap other) noexcept {
    swap(other);
    return *this;
  }
  ~CutMap() { release(root_, levels_); }

  // The entry of the place: a condition, possibly flagged Consumed, or None.
  uint32_t get(uint32_t place) const {
    if (!root_) return None;
    return root_->sparse ? sparseGet(root_, place) : treeGet(place);
  }
  // Sets the entry of the place.
  void set(uint32_t place, uint32_t entry);
  // Sets several entries, given as pair(place, entry) by ascending place, each place once:
  // an array is copied once for all of them.
  void setMany(std::span<const uint64_t> changes);
  // The form of one entry in arrays and in setMany.
  static uint64_t pair(uint32_t place, uint32_t entry) { return uint64_t(place) << 32 | entry; }
  // The number of marked places.
  uint32_t size() const { return size_; }
  // Whether the map is one array, where a look-up is cheap next to a walk over differences.
  bool isArray() const { return !root_ || root_->sparse; }
  // The sum of placeWord over the marked places.
  uint64_t sum() const { return sum_; }
  // f(place, condition) for every marked place, by ascending place.
  template <class F>
  void forEach(F&& f) const {
    forEachEntry([&f](uint32_t place, uint32_t entry) {
      if (marks(entry)) f(place, entry);
    });
  }
  // f(place, entry) for every place with an entry, marked or not, by ascending place.
  template <class F>
  void forEachEntry(F&& f) const {
    if (root_ && root_->sparse) {
      for (uint64_t at : pairsOf(root_)) f(placeOf(at), entryOf(at));
    } else {
      visitEntries(root_, levels_, 0, f);
    }
  }
  // f(place, entry in a, entry in b) wherever the two differ; maps of the same
  // place count only. What the two share is skipped.
  template <class F>
  static void forEachDifference(const CutMap& a, const CutMap& b, F&& f) {
    const Node *x = a.root_, *y = b.root_;
    if (x == y) return;
    bool treeX = x && !x->sparse, treeY = y && !y->sparse;
    if (!treeX && !treeY) return mergeDifferences(pairsOf(x), pairsOf(y), f);
    if (!(x && x->sparse) && !(y && y->sparse)) return differ(x, y, a.levels_, 0, f);
    // A tree beside an array: both as arrays.
    std::vector<uint64_t> expandedX, expandedY;
    mergeDifferences(treeX ? expand(x, a.levels_, expandedX) : pairsOf(x),
                     treeY ? expand(y, b.levels_, expandedY) : pairsOf(y), f);
  }

 private:
  struct Node {
    std::atomic<uint32_t> refs{1};
    uint16_t count = 0;  // of a sparse node's pairs
    uint8_t sizeClass = 0;
    bool sparse = false;
    // Followed by the payload: (place << 32 | entry) pairs by ascending place if sparse,
    // else 16 entries in a leaf (level 0) or 16 children above, null for a subtree that
    // maps nothing.
  };
  struct Pairs {
    const uint64_t* first;
    const uint64_t* last;
    const uint64_t* begin() const { return first; }
    const uint64_t* end() const { return last; }
  };
  static uint64_t* pairs(Node* n) { return reinterpret_cast<uint64_t*>(n + 1); }
  static Pairs pairsOf(const Node* n) {
    if (!n) return {nullptr, nullptr};
    auto* p = reinterpret_cast<const uint64_t*>(n + 1);
    return {p, p + n->count};
  }
  static uint32_t* leaf(Node* n) { return reinterpret_cast<uint32_t*>(n + 1); }
  static const uint32_t* leaf(const Node* n) { return reinterpret_cast<const uint32_t*>(n + 1); }
  static Node** children(Node* n) { return reinterpret_cast<Node**>(n + 1); }
  static Node* const* children(const Node* n) { return reinterpret_cast<Node* const*>(n + 1); }
  static uint32_t placeOf(uint64_t pair) { return static_cast<uint32_t>(pair >> 32); }
  static uint32_t entryOf(uint64_t pair) { return static_cast<uint32_t>(pair); }

  static Node* allocate(uint32_t sizeClass);
  static Node* newTreeNode(uint32_t level);
  static Node* cloneTreeNode(const Node* n, uint32_t level);
  friend class PinnedCut;
  // The reference count of a pinned node (see PinnedCut): it never changes, so a thread
  // only reads the node's header and the line stays shared between cores.
  static constexpr uint32_t PinnedRefs = 0x80000000u;
  static bool pinned(const Node* n) { return n->refs.load(std::memory_order_relaxed) >= PinnedRefs; }
  static void retain(Node* n) {
    if (n && !pinned(n)) n->refs.fetch_add(1, std::memory_order_relaxed);
  }
  static void release(Node* n, uint32_t level);
  static void pinTree(Node* n, uint32_t level);
  static void freePinned(Node* n, uint32_t level);
  static uint32_t sparseGet(const Node* n, uint32_t place);
  uint32_t treeGet(uint32_t place) const;
  // Keeps size and sum up to date with the change of one entry.
  void account(uint32_t place, uint32_t old, uint32_t entry) {
    if (!marks(old) && marks(entry)) {
      ++size_;
      sum_ += placeWord(place);
    } else if (marks(old) && !marks(entry)) {
      --size_;
      sum_ -= placeWord(place);
    }
  }
  // Sets an entry of the sparse root; false if the map must become a tree for it.
  bool sparseSet(uint32_t place, uint32_t entry, uint32_t& old);
  void treeSet(uint32_t place, uint32_t entry);
  void becomeTree();
  static Pairs expand(const Node* tree, uint32_t levels, std::vector<uint64_t>& out);
  void swap(CutMap& other) noexcept {
    std::swap(root_, other.root_);
    std::swap(levels_, other.levels_);
    std::swap(size_, other.size_);
    std::swap(sum_, other.sum_);
  }
  static uint32_t slot(uint32_t place, uint32_t level) { return (place >> (4 * level)) & 15; }

  template <class F>
  static void mergeDifferences(Pairs a, Pairs b, F& f) {
    const uint64_t *x = a.first, *y = b.first;
    while (x != a.last || y != b.last) {
      if (y == b.last || (x != a.last && placeOf(*x) < placeOf(*y))) {
        f(placeOf(*x), entryOf(*x), None);
        ++x;
      } else if (x == a.last || placeOf(*y) < placeOf(*x)) {
        f(placeOf(*y), None, entryOf(*y));
        ++y;
      } else {
        if (*x != *y) f(placeOf(*x), entryOf(*x), entryOf(*y));
        ++x, ++y;
      }
    }
  }
  template <class F>
  static void visitEntries(const Node* n, uint32_t level, uint32_t base, F& f) {
    if (!n) return;
    for (uint32_t i = 0; i < 16; ++i) {
      if (level == 0) {
        if (leaf(n)[i] != None) f((base << 4) + i, leaf(n)[i]);
      } else {
        visitEntries(children(n)[i], level - 1, (base << 4) + i, f);
      }
    }
  }
  template <class F>
  static void differ(const Node* a, const Node* b, uint32_t level, uint32_t base, F& f) {
    if (a == b) return;
    for (uint32_t i = 0; i < 16; ++i) {
      if (level == 0) {
        uint32_t x = a ? leaf(a)[i] : None, y = b ? leaf(b)[i] : None;
        if (x != y) f((base << 4) + i, x, y);
      } else {
        differ(a ? children(a)[i] : nullptr, b ? children(b)[i] : nullptr, level - 1, (base << 4) + i, f);
      }
    }
  }

  Node* root_ = nullptr;  // null: no entries
  uint32_t levels_ = 0;   // of the tree form, above the leaves
  uint32_t size_ = 0;
  uint64_t sum_ = 0;
};

// A map whose nodes stay until it goes: maps derived from it copy and drop them without
// touching their reference counts. Every cut of a run is derived from the initial one, and
// its nodes are those that threads sharing a pass would otherwise all count on at once.
// It must outlive every map derived from it.
class PinnedCut {
 public:
  PinnedCut() = default;
  // The map must hold its nodes alone.
  explicit PinnedCut(CutMap map);
  PinnedCut(PinnedCut&& other) noexcept { map_.swap(other.map_); }
  PinnedCut& operator=(PinnedCut&& other) noexcept {
    map_.swap(other.map_);
    return *this;
  }
  ~PinnedCut();
  const CutMap& map() const { return map_; }

 private:
  CutMap map_;
};

}  // namespace nurex
